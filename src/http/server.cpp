#include "http/server.h"

#include <algorithm>
#include <boost/asio/error.hpp>
#include <cassert>
#include <sys/socket.h>

#include "http/connection.h"

namespace kestrane::http {
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

Server::Server(asio::io_context& io, ServerNeeds needs) : io_(io), needs_(std::move(needs)), stepTimer_(io) {}

Server::~Server() = default;

void Server::AddListener(int socket) {
    auto listener = std::make_unique<Listener>(Listener{tcp::acceptor(io_), false});
    listener->acceptor.assign(ProtocolOf(socket), socket);
    listeners_.push_back(std::move(listener));
}

void Server::Start() {
    loopbackOnly_ =
        std::ranges::all_of(BoundTo(), [](const auto& endpoint) { return endpoint.address().is_loopback(); });
    AcceptOnAll();
    StepLater();
}

void Server::Stop() {
    gateShut_ = true;
    stepTimer_.cancel();
    for (const auto& listener : listeners_) {
        error_code ignored;
        listener->acceptor.close(ignored);
    }
    CloseConnections();
}

std::vector<tcp::endpoint> Server::BoundTo() const {
    std::vector<tcp::endpoint> endpoints;
    for (const auto& listener : listeners_) {
        endpoints.push_back(listener->acceptor.local_endpoint());
    }
    return endpoints;
}

/// At the limit, an idle connection that no answer has kept makes room for the next.
bool Server::MayAccept() {
    return !gateShut_ && (connections_.size() < needs_.limits.connections || EvictStranger());
}

bool Server::EvictStranger() {
    const auto oldest =
        std::ranges::find_if(connections_, [](const auto& entry) { return entry.second->MayBeEvicted(); });
    if (oldest == connections_.end()) {
        return false;
    }
    const std::shared_ptr<Connection> connection = oldest->second;
    connection->Close();
    return true;
}

void Server::AcceptOnAll() {
    for (const auto& listener : listeners_) {
        if (!listener->accepting && !gateShut_ && connections_.size() < needs_.limits.connections) {
            Accept(*listener);
        }
    }
}

void Server::Accept(Listener& listener) {
    assert(!listener.accepting);
    listener.accepting = true;
    listener.acceptor.async_accept([this, &listener](const error_code& error, tcp::socket socket) {
        listener.accepting = false;
        OnAccepted(error, std::move(socket));
    });
}

void Server::OnAccepted(const error_code& error, tcp::socket socket) {
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

void Server::AddConnection(tcp::socket socket) {
    const ConnectionId id = ++lastConnection_;
    const auto connection =
        std::make_shared<Connection>(id, std::move(socket),
                                     ConnectionNeeds{.limits = needs_.limits,
                                                     .branches = needs_.branches,
                                                     .own = {loopbackOnly_, {}, 0, needs_.machineNames},
                                                     .closed = [this](ConnectionId gone) { OnClosed(gone); }});
    connections_.emplace(id, connection);
    connection->Start();
}

void Server::OnClosed(ConnectionId id) {
    connections_.erase(id);
    needs_.closed(id);
    AcceptOnAll();
}

void Server::StepLater() {
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

void Server::CloseGate(std::function<void(bool)> done) {
    gateShut_ = true;
    gateAsked_ = std::move(done);
    for (const auto& listener : listeners_) {
        error_code ignored;
        listener->acceptor.cancel(ignored);
    }
    DecideGate();
}

/// Decides only when no accept is under way any more: one that succeeded before it was cancelled brings a connection
/// that counts.
void Server::DecideGate() {
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

void Server::OpenGate() {
    gateShut_ = false;
    AcceptOnAll();
}

void Server::CloseConnections() {
    const auto all = connections_;
    for (const auto& [id, connection] : all) {
        connection->Close();
    }
}

bool Server::ConnectionIsGone(ConnectionId id) const {
    const auto connection = connections_.find(id);
    return connection == connections_.end() || connection->second->IsGone();
}

}  // namespace kestrane::http
