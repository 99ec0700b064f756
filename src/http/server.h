#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "http/branches.h"
#include "http/limits.h"

namespace kestrane::http {

class Connection;

struct ServerNeeds {
    Limits limits;
    std::vector<Branch> branches;
    std::vector<std::string> names;            ///< names of this machine, see `OwnHosts`
    std::function<void(ConnectionId)> closed;  ///< called when a connection has closed
    /// Requests that are answered however many connections there are; empty: none.
    std::function<bool(std::string_view method, std::string_view target)> isUrgent = {};
};

/// Accepts connections on sockets that listen already, applies the limits to them, and can shut the gate without losing
/// a request. At their greatest number, a new one closes the oldest idle one of whoever holds most. When none is idle,
/// a few more are taken, for urgent requests: other requests on these wait for room, and the oldest of them is refused
/// with status 503 when all these places are taken. I/O thread only.
class Server {
public:
    Server(boost::asio::io_context& io, ServerNeeds needs);
    ~Server();

    /// Takes over a listening socket; raises `boost::system::system_error` if it is not one.
    void AddListener(int socket);
    void Start();
    /// Closes everything at once.
    void Stop();

    /// Stops accepting; then, if no request is half read or not answered yet, closes the idle connections and reports
    /// true, else accepts again and reports false. A `WebSocket` hinders nothing, and stays open until `Stop`: it may
    /// be told why the process ends.
    void CloseGate(std::function<void(bool)> done);
    void OpenGate();

    /// Says whose connection this is, in any words. Of a holder's connections beyond the limit the oldest idle ones are
    /// closed.
    void SetHolder(ConnectionId id, const std::string& holder);

    /// Whether the connection is closed, or closed by its client.
    bool ConnectionIsGone(ConnectionId id) const;
    std::size_t ConnectionCount() const { return connections_.size(); }

    /// Local addresses of the listeners, in the order of adding.
    std::vector<boost::asio::ip::tcp::endpoint> BoundTo() const;

private:
    struct Listener {
        boost::asio::ip::tcp::acceptor acceptor;
        bool accepting = false;  ///< an accept is under way
    };

    bool MayAccept() const;
    bool Admits(ConnectionId id, const std::string& method, const std::string& target) const;
    bool AdmitsWebSocket() const;
    void AcceptOnAll();
    void Accept(Listener& listener);
    void OnAccepted(const boost::system::error_code& error, boost::asio::ip::tcp::socket socket);
    void AddConnection(boost::asio::ip::tcp::socket socket);
    void OnClosed(ConnectionId id);
    void MakeRoom();
    bool CloseOneOf(const std::vector<std::pair<std::size_t, std::string>>& holders);
    bool CloseOldestIdle(const std::string& holder);
    void FreeUrgentPlace();
    void StepLater();
    void DecideGate();
    void CloseConnections(const std::function<bool(const Connection&)>& which);

    boost::asio::io_context& io_;
    ServerNeeds needs_;
    std::vector<std::unique_ptr<Listener>> listeners_;
    std::map<ConnectionId, std::shared_ptr<Connection>> connections_;
    ConnectionId lastConnection_ = 0;
    boost::asio::steady_timer stepTimer_;
    bool gateShut_ = false;
    std::function<void(bool)> gateAsked_;
};

}  // namespace kestrane::http
