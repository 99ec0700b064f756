#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "http/branches.h"
#include "http/limits.h"

namespace kestrane::http {

class Connection;

struct ServerNeeds {
    Limits limits;
    std::vector<Branch> branches;
    std::vector<std::string> machineNames;     ///< names of this machine; they count when bound beyond loopback
    std::function<void(ConnectionId)> closed;  ///< called when a connection has closed
};

/// Accepts connections on sockets that listen already, applies the limits to them, and can shut the gate without losing
/// a request. I/O thread only.
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
    /// true, else accepts again and reports false.
    void CloseGate(std::function<void(bool)> done);
    void OpenGate();

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

    bool MayAccept();
    void AcceptOnAll();
    void Accept(Listener& listener);
    void OnAccepted(const boost::system::error_code& error, boost::asio::ip::tcp::socket socket);
    void AddConnection(boost::asio::ip::tcp::socket socket);
    void OnClosed(ConnectionId id);
    bool EvictStranger();
    void StepLater();
    void DecideGate();
    void CloseConnections();

    boost::asio::io_context& io_;
    ServerNeeds needs_;
    std::vector<std::unique_ptr<Listener>> listeners_;
    std::map<ConnectionId, std::shared_ptr<Connection>> connections_;
    ConnectionId lastConnection_ = 0;
    boost::asio::steady_timer stepTimer_;
    bool loopbackOnly_ = true;
    bool gateShut_ = false;
    std::function<void(bool)> gateAsked_;
};

}  // namespace kestrane::http
