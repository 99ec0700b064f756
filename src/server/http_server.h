#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "server/http_limits.h"
#include "server/request_handler.h"

namespace kestrane::server {

class HttpConnection;

struct HttpServerNeeds {
    HttpLimits limits;
    std::function<void(const HttpRequest&, const AnswerFunction&)> handle;
    std::function<bool(ConnectionId)> carriesClient;
    std::function<void(ConnectionId)> closed;
    std::function<std::size_t()> callsUnderWay;
};

/// Accepts connections on sockets that listen already, holds them to their limits, and can shut the gate without
/// losing a request. I/O thread only.
class HttpServer {
public:
    HttpServer(boost::asio::io_context& io, HttpServerNeeds needs);
    ~HttpServer();

    /// Takes over a listening socket; raises `boost::system::system_error` if it is none.
    void AddListener(int socket);
    void Start();
    /// Closes everything at once.
    void Stop();

    /// Stops accepting; then, if nothing is under way, closes the idle connections and says true, else accepts again
    /// and says false.
    void CloseGate(std::function<void(bool)> done);
    void OpenGate();

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
    bool IsQuiet() const;
    void CloseConnections();

    boost::asio::io_context& io_;
    HttpServerNeeds needs_;
    std::vector<std::unique_ptr<Listener>> listeners_;
    std::map<ConnectionId, std::shared_ptr<HttpConnection>> connections_;
    ConnectionId lastConnection_ = 0;
    boost::asio::steady_timer stepTimer_;
    bool gateShut_ = false;
    std::function<void(bool)> gateAsked_;
};

}  // namespace kestrane::server
