#include "http/server.h"

#include <algorithm>
#include <boost/asio/error.hpp>
#include <cassert>
#include <functional>
#include <iterator>
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
    CloseConnections([](const Connection&) { return true; });
}

std::vector<tcp::endpoint> Server::BoundTo() const {
    std::vector<tcp::endpoint> endpoints;
    for (const auto& listener : listeners_) {
        endpoints.push_back(listener->acceptor.local_endpoint());
    }
    return endpoints;
}

bool Server::MayAccept() const {
    return !gateShut_ && connections_.size() < needs_.limits.connections + needs_.limits.urgentConnections;
}

/// The oldest connections up to the limit are regular ones; when one of them closes, the next one becomes regular.
bool Server::Admits(ConnectionId id, const std::string& method, const std::string& target) const {
    const std::size_t limit = needs_.limits.connections;
    if (connections_.size() <= limit) {
        return true;
    }
    const auto older = std::distance(connections_.begin(), connections_.find(id));
    return static_cast<std::size_t>(older) < limit || (needs_.isUrgent && needs_.isUrgent(method, target));
}

bool Server::AdmitsWebSocket() const {
    const auto count =
        std::ranges::count_if(connections_, [](const auto& entry) { return entry.second->IsWebSocket(); });
    return static_cast<std::size_t>(count) < needs_.limits.webSockets;
}

/// Closes idle connections down to the limit, of whoever holds most first.
void Server::MakeRoom() {
    while (connections_.size() > needs_.limits.connections) {
        std::map<std::string, std::size_t> counts;
        for (const auto& [id, connection] : connections_) {
            ++counts[connection->Holder()];
        }
        std::vector<std::pair<std::size_t, std::string>> holders;
        for (const auto& [holder, count] : counts) {
            holders.emplace_back(count, holder);
        }
        std::ranges::sort(holders, std::greater{});
        if (!CloseOneOf(holders)) {
            return;
        }
    }
}

/// Those who have just come, and have not asked yet, are idle soon: until then nobody who holds fewer has to go.
bool Server::CloseOneOf(const std::vector<std::pair<std::size_t, std::string>>& holders) {
    for (const auto& entry : holders) {
        const std::string& holder = entry.second;
        if (CloseOldestIdle(holder)) {
            return true;
        }
        const bool asksSoon = std::ranges::any_of(connections_, [&holder](const auto& each) {
            return each.second->Holder() == holder && each.second->HasAskedNothing();
        });
        if (asksSoon) {
            return false;
        }
    }
    return false;
}

bool Server::CloseOldestIdle(const std::string& holder) {
    const auto oldest = std::ranges::find_if(connections_, [&holder](const auto& entry) {
        return entry.second->Holder() == holder && entry.second->MayBeEvicted();
    });
    if (oldest == connections_.end()) {
        return false;
    }
    const std::shared_ptr<Connection> connection = oldest->second;
    connection->Close();
    return true;
}

/// The places for urgent requests must not be taken up by those who ask nothing, or wait for room. The newest one is
/// spared: its request is on the way.
void Server::FreeUrgentPlace() {
    const std::size_t limit = needs_.limits.connections;
    if (connections_.size() < limit + needs_.limits.urgentConnections) {
        return;
    }
    std::vector<std::shared_ptr<Connection>> places;
    for (auto entry = std::next(connections_.begin(), static_cast<std::ptrdiff_t>(limit));
         std::next(entry) != connections_.end(); ++entry) {
        places.push_back(entry->second);
    }
    const auto silent = std::ranges::find_if(places, [](const auto& place) { return place->HasAskedNothing(); });
    if (silent != places.end()) {
        (*silent)->Close();
        return;
    }
    for (const auto& place : places) {
        if (place->Refuse()) {
            return;
        }
    }
}

void Server::SetHolder(ConnectionId id, const std::string& holder) {
    const auto found = connections_.find(id);
    if (found == connections_.end() || found->second->Holder() == holder) {
        return;
    }
    found->second->SetHolder(holder);
    const auto count =
        std::ranges::count_if(connections_, [&holder](const auto& entry) { return entry.second->Holder() == holder; });
    if (static_cast<std::size_t>(count) > needs_.limits.perHolder) {
        CloseOldestIdle(holder);
    }
}

void Server::AcceptOnAll() {
    for (const auto& listener : listeners_) {
        if (!listener->accepting && MayAccept()) {
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
    } else if (!error) {
        AcceptOnAll();  // an eviction may have accepted already
    }
    // After an error (no descriptor left, a connection gone while it waited) the next step accepts again.
}

void Server::AddConnection(tcp::socket socket) {
    const ConnectionId id = ++lastConnection_;
    const auto connection = std::make_shared<Connection>(
        id, std::move(socket),
        ConnectionNeeds{.limits = needs_.limits,
                        .branches = needs_.branches,
                        .own = {{}, 0, needs_.names},
                        .admits = [this](ConnectionId asking, const std::string& method,
                                         const std::string& target) { return Admits(asking, method, target); },
                        .admitsWebSocket = [this] { return AdmitsWebSocket(); },
                        .closed = [this](ConnectionId gone) { OnClosed(gone); }});
    connections_.emplace(id, connection);
    connection->Start();
    MakeRoom();
    FreeUrgentPlace();
}

void Server::OnClosed(ConnectionId id) {
    connections_.erase(id);
    needs_.closed(id);
    const std::size_t limit = needs_.limits.connections;
    if (!gateShut_ && limit > 0 && connections_.size() >= limit) {
        const auto promoted = std::next(connections_.begin(), static_cast<std::ptrdiff_t>(limit) - 1)->second;
        promoted->Proceed();
    }
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
        MakeRoom();  // what was too new to be closed
        AcceptOnAll();
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
        CloseConnections([](const Connection& each) { return !each.IsWebSocket(); });
    } else {
        OpenGate();
    }
    done(quiet);
}

void Server::OpenGate() {
    gateShut_ = false;
    AcceptOnAll();
}

void Server::CloseConnections(const std::function<bool(const Connection&)>& which) {
    const auto all = connections_;
    for (const auto& [id, connection] : all) {
        if (which(*connection)) {
            connection->Close();
        }
    }
}

bool Server::ConnectionIsGone(ConnectionId id) const {
    const auto connection = connections_.find(id);
    return connection == connections_.end() || connection->second->IsGone();
}

}  // namespace kestrane::http
