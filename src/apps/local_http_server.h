#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <poll.h>
#include <string>
#include <utility>
#include <vector>

namespace kestrane {

/// A small HTTP server of this machine alone, for a program with a poll loop of its own. Answers one request at a time;
/// connections are kept, the oldest one is closed when there are too many. One thread.
class LocalHttpServer {
public:
    static constexpr std::size_t kMostConnections = 16;

    struct Request {
        bool isPost = false;  ///< else a GET; others are refused
        std::string target;
        std::string body;
    };
    struct Answer {
        unsigned status = 200;
        std::string contentType;
        std::string body;
    };
    /// Nothing for a request that is not answered: its connection is closed.
    using Handler = std::function<std::optional<Answer>(const Request&)>;

    /// Listens at a port of the loopback address, 0 for any that is free. Raises `std::runtime_error`.
    LocalHttpServer(std::uint16_t port, Handler handler);

    std::uint16_t Port() const { return acceptor_.local_endpoint().port(); }

    /// Adds what is to be waited for.
    void AddTo(std::vector<pollfd>& waiting);
    /// Accepts, reads and answers what is there; waits for nothing.
    void Serve();

private:
    using Socket = boost::asio::ip::tcp::socket;
    using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;
    struct Connection {
        explicit Connection(Socket accepted) : socket(std::move(accepted)) {}

        Socket socket;
        std::optional<Parser> parser{};
        std::string unread{};
    };

    void Accept();
    bool ServeOne(Connection& connection);
    bool Parse(Connection& connection);
    bool AnswerOne(Connection& connection);

    Handler handler_;
    boost::asio::io_context context_{1};
    boost::asio::ip::tcp::acceptor acceptor_{context_};
    std::list<Connection> connections_;
};

}  // namespace kestrane
