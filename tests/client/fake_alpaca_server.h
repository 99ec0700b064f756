#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/streambuf.hpp>
#include <boost/asio/write.hpp>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kestrane::client {

/// A tiny HTTP server on a free port of this machine, with a thread for each connection. Its end waits for that of the
/// connections.
class FakeAlpacaServer {
public:
    struct Request {
        std::string verb;
        std::string target;
        std::string body;
        int connection = 0;  ///< 1 for the first one accepted
    };
    /// What becomes of a request.
    struct Answer {
        std::string text;          ///< the whole reply as it goes over the line; empty: none
        bool closesAfter = false;  ///< the connection is closed after it
    };
    using Respond = std::function<Answer(const Request&)>;

    explicit FakeAlpacaServer(Respond respond)
        : respond_(std::move(respond)),
          acceptor_(context_, {boost::asio::ip::address_v4::loopback(), 0}),
          port_(acceptor_.local_endpoint().port()),
          thread_([this] { Serve(); }) {}

    ~FakeAlpacaServer() {
        isStopping_ = true;
        boost::system::error_code error;
        boost::asio::ip::tcp::socket knock(context_);
        knock.connect({boost::asio::ip::address_v4::loopback(), port_}, error);
        thread_.join();
        for (std::thread& each : servants_) {
            each.join();
        }
    }

    std::uint16_t Port() const { return port_; }

    std::vector<Request> Requests() {
        const std::lock_guard lock(mutex_);
        return requests_;
    }

    static std::string Http(const std::string& body, const std::string& status = "200 OK") {
        return "HTTP/1.1 " + status +
               "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
               body;
    }
    static Answer Value(const std::string& value) {
        return {Http(R"({"Value":)" + value + R"(,"ErrorNumber":0,"ErrorMessage":""})"), false};
    }
    static Answer Done() { return {Http(R"({"ErrorNumber":0,"ErrorMessage":""})"), false}; }
    static Answer Error(int number, const std::string& message) {
        return {Http(R"({"ErrorNumber":)" + std::to_string(number) + R"(,"ErrorMessage":")" + message + "\"}"), false};
    }

private:
    void Serve() {
        while (!isStopping_) {
            boost::system::error_code error;
            boost::asio::ip::tcp::socket socket(context_);
            acceptor_.accept(socket, error);
            if (!error && !isStopping_) {
                const int connection = static_cast<int>(servants_.size()) + 1;
                servants_.emplace_back([this, connection, taken = std::move(socket)]() mutable {
                    while (!isStopping_ && ServeOne(taken, connection)) {
                    }
                });
            }
        }
    }

    /// False when the connection is over.
    bool ServeOne(boost::asio::ip::tcp::socket& socket, int connection) {
        boost::system::error_code error;
        boost::asio::streambuf buffer;
        const std::size_t headLength = boost::asio::read_until(socket, buffer, "\r\n\r\n", error);
        if (error) {
            return false;
        }
        std::string text(boost::asio::buffers_begin(buffer.data()), boost::asio::buffers_end(buffer.data()));
        Request request;
        request.verb = text.substr(0, text.find(' '));
        request.target = text.substr(request.verb.size() + 1, text.find(" HTTP/") - request.verb.size() - 1);
        request.body = text.substr(headLength);
        request.connection = connection;
        const std::size_t length = ContentLength(text);
        std::string rest(length - std::min(length, request.body.size()), '\0');
        boost::asio::read(socket, boost::asio::buffer(rest), error);
        request.body += rest;
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(request);
        }
        const Answer answer = respond_(request);
        boost::asio::write(socket, boost::asio::buffer(answer.text), error);
        return !answer.closesAfter;
    }

    static std::size_t ContentLength(const std::string& text) {
        const std::string name = "Content-Length: ";
        const std::size_t at = text.find(name);
        return at == std::string::npos ? 0 : std::stoul(text.substr(at + name.size()));
    }

    Respond respond_;
    boost::asio::io_context context_;
    boost::asio::ip::tcp::acceptor acceptor_;
    std::uint16_t port_;
    std::atomic<bool> isStopping_ = false;
    std::mutex mutex_;
    std::vector<Request> requests_;
    std::vector<std::thread> servants_;  ///< one for each connection; of the thread that accepts
    std::thread thread_;
};

}  // namespace kestrane::client
