#include "http/web_socket_stream.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <utility>

namespace kestrane::http {
namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;
using tcp = asio::ip::tcp;

/// Bytes that wait in the system. `Unsent` does not see them: a slow client shall be known as one.
constexpr int kSystemBuffer = 64 * 1024;

}  // namespace

Answer WebSocketAnswer(WebSocketHandlers handlers) {
    Answer answer{101, {}, {}};
    answer.webSocket = std::make_shared<const WebSocketHandlers>(std::move(handlers));
    return answer;
}

struct WebSocketStream::Stream : websocket::stream<tcp::socket> {
    using websocket::stream<tcp::socket>::stream;
};

WebSocketStream::WebSocketStream(tcp::socket socket, const Limits& limits, WebSocketHandlers handlers,
                                 std::function<void()> ended)
    : executor_(socket.get_executor()),
      pulse_(executor_),
      limits_(limits),
      handlers_(std::move(handlers)),
      ended_(std::move(ended)) {
    error_code ignored;
    socket.set_option(asio::socket_base::send_buffer_size(kSystemBuffer), ignored);
    stream_ = std::make_unique<Stream>(std::move(socket));
    stream_->read_message_max(kMostReceived);
    stream_->auto_fragment(false);
    // A client that answers no ping has gone.
    stream_->set_option(websocket::stream_base::timeout{
        .handshake_timeout = limits_.step * limits_.drainSteps,
        .idle_timeout = limits_.step * limits_.silentSteps,
        .keep_alive_pings = true,
    });
}

WebSocketStream::~WebSocketStream() = default;

void WebSocketStream::Accept(const std::shared_ptr<const HandshakeRequest>& request) {
    stream_->async_accept(*request, [self = shared_from_this(), request](const error_code& error) {
        if (error) {
            self->Cut();
        } else if (self->stream_) {
            self->opened_ = true;
            self->handlers_.opened(self);
            self->Pulse();
            self->Read();
        }
    });
}

void WebSocketStream::Pulse() {
    if (!handlers_.pulse || !stream_) {
        return;
    }
    pulse_.expires_after(handlers_.pulseEvery);
    pulse_.async_wait([self = shared_from_this()](const error_code& error) {
        if (!error && self->stream_) {
            self->handlers_.pulse();
            self->Pulse();
        }
    });
}

void WebSocketStream::Read() {
    stream_->async_read(received_, [self = shared_from_this()](const error_code& error, std::size_t) {
        if (error) {
            self->Cut();
        } else if (self->stream_) {
            self->OnMessage();
        }
    });
}

void WebSocketStream::OnMessage() {
    if (!stream_->got_text()) {
        SayGoodbye(websocket::close_code::unknown_data);
        return;
    }
    std::string text = boost::beast::buffers_to_string(received_.data());
    received_.consume(received_.size());
    if (!closing_) {
        handlers_.received(std::move(text));
    }
    Read();
}

void WebSocketStream::Send(std::string text) {
    if (closing_) {
        return;
    }
    unsent_ += text.size();
    if (unsent_ > kMostUnsent) {
        closing_ = true;
        asio::post(executor_, [self = shared_from_this()] { self->Cut(); });
        return;
    }
    asio::post(executor_, [self = shared_from_this(), text = std::move(text)]() mutable {
        self->queue_.push_back(std::move(text));
        self->WriteNext();
    });
}

void WebSocketStream::Close() {
    if (closing_.exchange(true)) {
        return;
    }
    asio::post(executor_, [self = shared_from_this()] {
        self->finishing_ = true;
        self->WriteNext();
    });
}

void WebSocketStream::WriteNext() {
    if (!stream_ || saidGoodbye_ || writing_) {
        return;
    }
    if (queue_.empty()) {
        if (finishing_) {
            SayGoodbye(websocket::close_code::normal);
        }
        return;
    }
    writing_ = true;
    stepsLeft_ = limits_.writeSteps;
    stream_->async_write(asio::buffer(queue_.front()),
                         [self = shared_from_this()](const error_code& error, std::size_t) {
                             if (error) {
                                 self->Cut();
                             } else if (self->stream_) {
                                 self->Written();
                             }
                         });
}

void WebSocketStream::Written() {
    writing_ = false;
    stepsLeft_ = 0;
    unsent_ -= queue_.front().size();
    queue_.pop_front();
    WriteNext();
}

void WebSocketStream::SayGoodbye(std::uint16_t code) {
    if (std::exchange(saidGoodbye_, true)) {
        return;
    }
    closing_ = true;
    stream_->async_close(static_cast<websocket::close_code>(code),
                         [self = shared_from_this()](const error_code&) { self->Cut(); });
}

void WebSocketStream::Step() {
    if (stepsLeft_ > 0 && --stepsLeft_ == 0) {
        Cut();
    }
}

void WebSocketStream::Cut() {
    if (!stream_) {
        return;
    }
    closing_ = true;
    error_code ignored;
    stream_->next_layer().close(ignored);
    stream_.reset();
    pulse_.cancel();
    unsent_ = 0;
    if (opened_) {
        handlers_.closed();
    }
    std::exchange(ended_, nullptr)();
}

}  // namespace kestrane::http
