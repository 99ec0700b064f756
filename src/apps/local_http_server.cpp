#include "apps/local_http_server.h"

#include <array>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/write.hpp>
#include <fcntl.h>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <sys/socket.h>
#include <utility>

namespace kestrane {
namespace {

namespace asio = boost::asio;
namespace beast_http = boost::beast::http;
using ErrorCode = boost::system::error_code;

constexpr unsigned kVersion = 11;
constexpr std::uint32_t kMostHeaderBytes = 8192;
constexpr std::uint64_t kMostBodyBytes = 4096;
constexpr unsigned kMethodNotAllowed = 405;

/// False when not all went out: these answers fit into any socket's buffer, unless nobody takes them.
bool SendAll(int descriptor, std::string_view bytes) {
    return ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

}  // namespace

LocalHttpServer::LocalHttpServer(std::uint16_t port, Handler handler) : handler_(std::move(handler)) {
    const asio::ip::tcp::endpoint here(asio::ip::address_v4::loopback(), port);
    try {
        acceptor_.open(here.protocol());
        ::fcntl(acceptor_.native_handle(), F_SETFD, FD_CLOEXEC);
        acceptor_.set_option(asio::ip::tcp::acceptor::reuse_address(true));
        acceptor_.non_blocking(true);
        acceptor_.bind(here);
        acceptor_.listen();
    } catch (const boost::system::system_error& error) {
        throw std::runtime_error("cannot listen at port " + std::to_string(port) + ": " + error.code().message());
    }
}

void LocalHttpServer::AddTo(std::vector<pollfd>& waiting) {
    waiting.push_back({acceptor_.native_handle(), POLLIN, 0});
    for (Connection& connection : connections_) {
        waiting.push_back({connection.socket.native_handle(), POLLIN, 0});
    }
}

void LocalHttpServer::Serve() {
    Accept();
    connections_.remove_if([this](Connection& connection) { return !ServeOne(connection); });
}

void LocalHttpServer::Accept() {
    for (;;) {
        ErrorCode error;
        Socket socket = acceptor_.accept(error);
        if (error) {
            return;
        }
        ::fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);
        ErrorCode ignored;
        socket.non_blocking(true, ignored);
        socket.set_option(asio::ip::tcp::no_delay(true), ignored);
        if (connections_.size() >= kMostConnections) {
            connections_.pop_front();
        }
        connections_.emplace_back(std::move(socket));
    }
}

/// False when the connection is at its end.
bool LocalHttpServer::ServeOne(Connection& connection) {
    for (;;) {
        std::array<char, 4096> buffer{};
        ErrorCode error;
        const std::size_t count = connection.socket.read_some(asio::buffer(buffer), error);
        if (error) {
            return error == asio::error::would_block || error == asio::error::try_again;
        }
        connection.unread.append(buffer.data(), count);
        if (!Parse(connection)) {
            return false;
        }
    }
}

bool LocalHttpServer::Parse(Connection& connection) {
    while (!connection.unread.empty()) {
        if (!connection.parser) {
            connection.parser.emplace();
            connection.parser->eager(true);
            connection.parser->header_limit(kMostHeaderBytes);
            connection.parser->body_limit(kMostBodyBytes);
        }
        ErrorCode error;
        connection.unread.erase(0, connection.parser->put(asio::buffer(connection.unread), error));
        if (error == beast_http::error::need_more) {
            return true;
        }
        if (error) {
            return false;
        }
        if (connection.parser->is_done() && !AnswerOne(connection)) {
            return false;
        }
    }
    return true;
}

bool LocalHttpServer::AnswerOne(Connection& connection) {
    const bool keepsAlive = connection.parser->keep_alive();
    const auto asked = connection.parser->release();
    connection.parser.reset();
    std::optional<Answer> answer = Answer{kMethodNotAllowed, "text/plain", ""};
    if (asked.method() == beast_http::verb::get || asked.method() == beast_http::verb::post) {
        answer = handler_({.isPost = asked.method() == beast_http::verb::post,
                           .target = std::string(asked.target()),
                           .body = asked.body()});
    }
    if (!answer) {
        return false;
    }
    beast_http::response<beast_http::string_body> message{beast_http::int_to_status(answer->status), kVersion};
    message.set(beast_http::field::content_type, answer->contentType);
    message.keep_alive(keepsAlive);
    message.body() = std::move(answer->body);
    message.prepare_payload();
    std::ostringstream text;
    text << message;
    return SendAll(connection.socket.native_handle(), text.str()) && keepsAlive;
}

}  // namespace kestrane
