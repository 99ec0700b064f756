#include "server/http_server.h"

#include <algorithm>
#include <boost/asio/error.hpp>
#include <cassert>
#include <sys/socket.h>

#include "server/http_connection.h"

namespace kestrane::server {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;
using tcp = asio::ip::tcp;

tcp ProtocolOf(int socket) {
    sockaddr_storage address{};
    socklen_t size = sizeof(address);
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw boost::system::system_error(errno, boost::system::system_category(), "listening socket");
    }
    return address.ss_family == AF_INET6 ? tcp::v6() : tcp::v4();
}

}  // namespace

HttpServer::HttpServer(asio::io_context& io, HttpServerNeeds needs)
    : io_(io), needs_(std::move(needs)), stepTimer_(io) {}

HttpServer::~HttpServer() = default;

void HttpServer::AddListener(int socket) {
    auto listener = std::make_unique<Listener>(Listener{tcp::acceptor(io_), false});
    listener->acceptor.assign(ProtocolOf(socket), socket);
    listeners_.push_back(std::move(listener));
}

void HttpServer::Start() {
    loopbackOnly_ =
        std::ranges::all_of(BoundTo(), [](const auto& endpoint) { return endpoint.address().is_loopback(); });
    AcceptOnAll();
    StepLater();
}

void HttpServer::Stop() {
    gateShut_ = true;
    stepTimer_.cancel();
    for (const auto& listener : listeners_) {
        error_code ignored;
        listener->acceptor.close(ignored);
    }
    CloseConnections();
}

std::vector<tcp::endpoint> HttpServer::BoundTo() const {
    std::vector<tcp::endpoint> endpoints;
    for (const auto& listener : listeners_) {
        endpoints.push_back(listener->acceptor.local_endpoint());
    }
    return endpoints;
}

/// At the limit, an idle connection that served no device makes room for the next.
bool HttpServer::MayAccept() {
    return !gateShut_ && (connections_.size() < needs_.limits.connections || EvictStranger());
}

bool HttpServer::EvictStranger() {
    const auto oldest =
        std::ranges::find_if(connections_, [](const auto& entry) { return entry.second->MayBeEvicted(); });
    if (oldest == connections_.end()) {
        return false;
    }
    const std::shared_ptr<HttpConnection> connection = oldest->second;
    connection->Close();
    return true;
}

void HttpServer::AcceptOnAll() {
    for (const auto& listener : listeners_) {
        if (!listener->accepting && !gateShut_ && connections_.size() < needs_.limits.connections) {
            Accept(*listener);
        }
    }
}

void HttpServer::Accept(Listener& listener) {
    assert(!listener.accepting);
    listener.accepting = true;
    listener.acceptor.async_accept([this, &listener](const error_code& error, tcp::socket socket) {
        listener.accepting = false;
        OnAccepted(error, std::move(socket));
    });
}

void HttpServer::OnAccepted(const error_code& error, tcp::socket socket) {
    if (!error) {
        AddConnection(std::move(socket));
    }
    if (gateAsked_) {
        DecideGate();
    } else if (!error && MayAccept()) {
        AcceptOnAll();  // an eviction may have accepted already
    }
    // After an error (no descriptor left, a connection gone while it waited) the next step accepts again.
}

void HttpServer::AddConnection(tcp::socket socket) {
    const ConnectionId id = ++lastConnection_;
    const auto connection =
        std::make_shared<HttpConnection>(id, std::move(socket),
                                         ConnectionNeeds{.limits = needs_.limits,
                                                         .branches = needs_.branches,
                                                         .own = {loopbackOnly_, {}, 0, needs_.machineNames},
                                                         .closed = [this](ConnectionId gone) { OnClosed(gone); }});
    connections_.emplace(id, connection);
    connection->Start();
}

void HttpServer::OnClosed(ConnectionId id) {
    connections_.erase(id);
    needs_.closed(id);
    AcceptOnAll();
}

void HttpServer::StepLater() {
    stepTimer_.expires_after(needs_.limits.step);
    stepTimer_.async_wait([this](const error_code& error) {
        if (error) {
            return;
        }
        const auto now = connections_;
        for (const auto& [id, connection] : now) {
            connection->Step();
        }
        if (MayAccept()) {
            AcceptOnAll();
        }
        StepLater();
    });
}

void HttpServer::CloseGate(std::function<void(bool)> done) {
    gateShut_ = true;
    gateAsked_ = std::move(done);
    for (const auto& listener : listeners_) {
        error_code ignored;
        listener->acceptor.cancel(ignored);
    }
    DecideGate();
}

/// Decides only when no accept is under way any more: one that had succeeded before it was cancelled brings a
/// connection that counts.
void HttpServer::DecideGate() {
    if (std::ranges::any_of(listeners_, [](const auto& listener) { return listener->accepting; })) {
        return;
    }
    const auto done = std::exchange(gateAsked_, nullptr);
    const bool quiet = std::ranges::all_of(connections_, [](const auto& entry) { return entry.second->IsQuiet(); });
    if (quiet) {
        CloseConnections();
    } else {
        OpenGate();
    }
    done(quiet);
}

void HttpServer::OpenGate() {
    gateShut_ = false;
    AcceptOnAll();
}

void HttpServer::CloseConnections() {
    const auto all = connections_;
    for (const auto& [id, connection] : all) {
        connection->Close();
    }
}

bool HttpServer::ConnectionIsGone(ConnectionId id) const {
    const auto connection = connections_.find(id);
    return connection == connections_.end() || connection->second->IsGone();
}

}  // namespace kestrane::server
