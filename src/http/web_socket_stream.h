#pragma once

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "http/limits.h"
#include "http/web_socket.h"

namespace kestrane::http {

/// A `WebSocket` over the socket of a connection, which it takes over. The members of its own are for the connection,
/// on the I/O thread.
class WebSocketStream final : public WebSocket, public std::enable_shared_from_this<WebSocketStream> {
public:
    using HandshakeRequest = boost::beast::http::request<boost::beast::http::string_body>;

    /// `ended` is called once, when the socket is closed.
    WebSocketStream(boost::asio::ip::tcp::socket socket, const Limits& limits, WebSocketHandlers handlers,
                    std::function<void()> ended);
    ~WebSocketStream() override;

    void Send(std::string text) override;
    std::size_t Unsent() const override { return unsent_; }
    void Close() override;

    /// Answers the request that asked for the socket.
    void Accept(const std::shared_ptr<const HandshakeRequest>& request);
    /// Closes at once.
    void Cut();
    /// One step of the time limits.
    void Step();

private:
    struct Stream;

    void Pulse();
    void Read();
    void OnMessage();
    void WriteNext();
    void Written();
    void SayGoodbye(std::uint16_t code);

    std::unique_ptr<Stream> stream_;  ///< null once it is closed
    boost::asio::any_io_executor executor_;
    boost::asio::steady_timer pulse_;
    const Limits& limits_;
    WebSocketHandlers handlers_;
    std::function<void()> ended_;
    boost::beast::flat_buffer received_;
    std::deque<std::string> queue_;
    std::atomic<std::size_t> unsent_{0};
    std::atomic<bool> closing_{false};  ///< nothing is sent or received any more
    bool opened_ = false;
    bool writing_ = false;
    bool finishing_ = false;  ///< closes when the queue is empty
    bool saidGoodbye_ = false;
    int stepsLeft_ = 0;  ///< for the message being written; 0: none is
};

}  // namespace kestrane::http
