#include "client/http_connection.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <utility>

namespace kestrane::client {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using boost::system::error_code;

constexpr std::chrono::milliseconds kWaitingRound{200};
constexpr std::uint64_t kLargestBody = 16 * 1024 * 1024;

}  // namespace

class HttpConnection::Implementation {
public:
    Implementation(std::string host, std::uint16_t port) : host_(std::move(host)), port_(std::to_string(port)) {}

    HttpReply Send(const Request& request) {
        const bool isKept = stream_ != nullptr;
        if (!isKept) {
            Open(request);
        }
        error_code error;
        HttpReply reply = Exchange(request, error);
        if (error && isKept && !anyByteCame_ && error != beast::error::timeout) {
            stream_.reset();
            Open(request);
            reply = Exchange(request, error);
        }
        if (error) {
            stream_.reset();
            Fail(error, request);
        }
        return reply;
    }

private:
    /// Runs one operation until it has ended.
    template <typename Start>
    error_code Await(const Request& request, Start&& start) {
        bool isDone = false;
        error_code result;
        std::forward<Start>(start)([&](const error_code& error, const auto&...) {
            result = error;
            isDone = true;
        });
        context_.restart();
        while (!isDone) {
            context_.run_for(kWaitingRound);
            if (!isDone && request.whileWaiting) {
                request.whileWaiting();
            }
        }
        return result;
    }

    void Open(const Request& request) {
        error_code error;
        asio::ip::tcp::resolver resolver(context_);
        const auto addresses = resolver.resolve(host_, port_, error);
        if (error) {
            throw Unreachable("there is no host " + host_ + ": " + error.message());
        }
        stream_ = std::make_unique<beast::tcp_stream>(context_);
        stream_->expires_after(request.limit);
        error = Await(request, [&](auto done) { stream_->async_connect(addresses, done); });
        if (error) {
            stream_.reset();
            Fail(error, request);
        }
        stream_->socket().set_option(asio::ip::tcp::no_delay(true), error);
    }

    /// The request as it goes over the line.
    std::string Message(const Request& request) const {
        std::string message = (request.verb == Verb::Get ? "GET " : "PUT ") + request.target + " HTTP/1.1\r\n" +
                              "Host: " + host_ + ":" + port_ + "\r\n" + "User-Agent: kestrane-client\r\n" +
                              "Accept: application/json\r\n";
        if (request.verb == Verb::Put) {
            message += "Content-Type: application/x-www-form-urlencoded\r\n";
            message += "Content-Length: " + std::to_string(request.form.size()) + "\r\n";
        }
        return message + "\r\n" + (request.verb == Verb::Put ? request.form : "");
    }

    HttpReply Exchange(const Request& request, error_code& error) {
        const std::string message = Message(request);
        anyByteCame_ = false;
        stream_->expires_after(request.limit);
        error = Await(request, [&](auto done) { asio::async_write(*stream_, asio::buffer(message), done); });
        if (error) {
            return {};
        }
        beast::flat_buffer buffer;
        http::response_parser<http::string_body> parser;
        parser.body_limit(kLargestBody);
        error = Await(request, [&](auto done) { http::async_read(*stream_, buffer, parser, done); });
        anyByteCame_ = parser.got_some() || buffer.size() > 0;
        if (error) {
            return {};
        }
        if (!parser.keep_alive()) {
            stream_.reset();
        }
        return {parser.get().result_int(), std::move(parser.get().body())};
    }

    [[noreturn]] void Fail(const error_code& error, const Request& request) const {
        const std::string place = host_ + ":" + port_;
        if (error == beast::error::timeout) {
            const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(request.limit).count();
            throw Unreachable(place + " did not answer within " + std::to_string(seconds) + " s");
        }
        if (error == asio::error::connection_refused) {
            throw Unreachable("nobody listens at " + place);
        }
        throw Unreachable(place + " broke off: " + error.message());
    }

    asio::io_context context_;
    std::string host_;
    std::string port_;
    std::unique_ptr<beast::tcp_stream> stream_;
    bool anyByteCame_ = false;  ///< of the reply that was last read
};

HttpConnection::HttpConnection(std::string host, std::uint16_t port)
    : implementation_(std::make_unique<Implementation>(std::move(host), port)) {}

HttpConnection::~HttpConnection() = default;

HttpReply HttpConnection::Send(const Request& request) {
    return implementation_->Send(request);
}

}  // namespace kestrane::client
