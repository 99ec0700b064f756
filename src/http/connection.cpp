#include "http/connection.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <cerrno>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "http/web_socket_stream.h"

namespace kestrane::http {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast::http;
using boost::system::error_code;
using tcp = asio::ip::tcp;

constexpr int kFreshSteps = 2;
constexpr std::size_t kMostDroppedBytes = 256 * 1024;
constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

/// When a client has vanished without closing, the system finds that out in about two minutes, however long it idles.
void KeepWatch(tcp::socket& socket) {
    error_code ignored;
    socket.set_option(tcp::no_delay(true), ignored);
    socket.set_option(asio::socket_base::keep_alive(true), ignored);
    const auto set = [&socket](int option, int value) {
        ::setsockopt(socket.native_handle(), IPPROTO_TCP, option, &value, sizeof(value));
    };
    set(TCP_KEEPIDLE, 60);
    set(TCP_KEEPINTVL, 15);
    set(TCP_KEEPCNT, 4);
}

std::string AddressText(asio::ip::address address) {
    if (address.is_v6() && address.to_v6().is_v4_mapped()) {
        address = asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6());
    }
    return address.to_string();
}

template <typename Field>
std::string HeaderText(const beast::request<beast::string_body>& message, Field field) {
    const auto value = message[field];
    return std::string(value.data(), value.size());
}

}  // namespace

Connection::Connection(ConnectionId id, tcp::socket socket, ConnectionNeeds needs)
    : id_(id),
      socket_(std::move(socket)),
      needs_(std::move(needs)),
      buffer_(needs_.limits.headerBytes + needs_.limits.bodyBytes) {}

void Connection::Start() {
    error_code remoteError;
    error_code localError;
    const tcp::endpoint remote = socket_.remote_endpoint(remoteError);
    const tcp::endpoint local = socket_.local_endpoint(localError);
    if (remoteError || localError) {
        Close();
        return;
    }
    KeepWatch(socket_);
    remoteAddress_ = AddressText(remote.address());
    holder_ = remoteAddress_;
    needs_.own.localAddress = AddressText(local.address());
    needs_.own.port = local.port();
    WaitForRequest();
}

void Connection::Enter(Phase phase, int steps) {
    phase_ = phase;
    stepsLeft_ = steps;
}

void Connection::WaitForRequest() {
    if (buffer_.size() > 0) {
        ReadRequest();
        return;
    }
    Enter(Phase::Idle, kept_ ? 0 : needs_.limits.idleSteps);
    socket_.async_wait(tcp::socket::wait_read, [self = shared_from_this()](const error_code& error) {
        if (error) {
            self->Close();
        } else {
            self->ReadRequest();
        }
    });
}

void Connection::ReadRequest() {
    if (phase_ == Phase::Closed) {
        return;
    }
    Enter(Phase::Reading, needs_.limits.readSteps);
    parser_.emplace();
    parser_->header_limit(static_cast<std::uint32_t>(needs_.limits.headerBytes));
    parser_->body_limit(needs_.limits.bodyBytes);
    beast::async_read_header(
        socket_, buffer_, *parser_,
        [self = shared_from_this()](const error_code& error, std::size_t) { self->OnHeader(error); });
}

void Connection::OnHeader(const error_code& error) {
    if (error) {
        OnReadError(error);
    } else if (parser_->is_done()) {
        OnRequest({});
    } else if (parser_->get().count(beast::field::expect) > 0) {
        asio::async_write(socket_, asio::buffer(kContinue),
                          [self = shared_from_this()](const error_code& writeError, std::size_t) {
                              if (writeError) {
                                  self->OnReadError(writeError);
                              } else {
                                  self->ReadBody();
                              }
                          });
    } else {
        ReadBody();
    }
}

void Connection::ReadBody() {
    beast::async_read(socket_, buffer_, *parser_,
                      [self = shared_from_this()](const error_code& error, std::size_t) { self->OnRequest(error); });
}

void Connection::OnRequest(const error_code& error) {
    if (error) {
        OnReadError(error);
        return;
    }
    Enter(Phase::Working, 0);
    carriedRequest_ = true;
    form_ = {parser_->keep_alive(), parser_->get().version() < 11, parser_->get().method() == beast::verb::head};
    waiting_ = TakeRequest();
    Proceed();
}

void Connection::Proceed() {
    if (!waiting_ || !needs_.admits(id_, waiting_->method, waiting_->target)) {
        return;
    }
    ReceivedRequest request = std::move(*waiting_);
    waiting_.reset();
    Dispatch(needs_.branches, needs_.own, std::move(request),
             [self = shared_from_this(), form = form_](const Answer& answer) { self->Write(answer, form); });
}

bool Connection::Refuse() {
    if (!waiting_) {
        return false;
    }
    waiting_.reset();
    Write(RefusalAnswer(503, "All connections are in use."), {.keepAlive = false});
    return true;
}

ReceivedRequest Connection::TakeRequest() {
    HandshakeRequest message = parser_->release();
    const bool wantsWebSocket = boost::beast::websocket::is_upgrade(message);
    handshake_ = wantsWebSocket ? std::make_shared<const HandshakeRequest>(message) : nullptr;
    return {.method = std::string(message.method_string()),
            .target = std::string(message.target()),
            .host = HeaderText(message, beast::field::host),
            .origin = HeaderText(message, beast::field::origin),
            .fetchSite = HeaderText(message, "Sec-Fetch-Site"),
            .body = std::move(message.body()),
            .remoteAddress = remoteAddress_,
            .connection = id_,
            .ifNoneMatch = HeaderText(message, beast::field::if_none_match),
            .wantsWebSocket = wantsWebSocket};
}

void Connection::OnReadError(const error_code& error) {
    if (phase_ == Phase::Closed) {
        return;
    }
    const bool malformed = error.category() == make_error_code(beast::error::bad_method).category();
    if (outOfTime_) {
        Write(RefusalAnswer(400, "The request did not come to its end in time."), {.keepAlive = false});
    } else if (error == beast::error::body_limit) {
        Write(RefusalAnswer(413, "The body of the request is too long."), {.keepAlive = false});
    } else if (malformed && error != beast::error::end_of_stream) {
        Write(RefusalAnswer(400, "This is no HTTP request: " + error.message() + "."), {.keepAlive = false});
    } else {
        Close();
    }
}

void Connection::Write(const Answer& answer, const AnswerForm& form) {
    if (phase_ == Phase::Closed) {
        return;
    }
    if (answer.webSocket) {
        Upgrade(*answer.webSocket);
        return;
    }
    Enter(Phase::Writing, needs_.limits.writeSteps);
    kept_ = kept_ || answer.keepsConnection;
    output_ = HttpText(answer, form);
    asio::async_write(socket_, asio::buffer(output_),
                      [self = shared_from_this(), keepAlive = form.keepAlive](const error_code& error, std::size_t) {
                          if (error) {
                              self->Close();
                          } else if (keepAlive) {
                              self->WaitForRequest();
                          } else {
                              self->Drain();
                          }
                      });
}

void Connection::Upgrade(const WebSocketHandlers& handlers) {
    if (!handshake_ || buffer_.size() > 0) {  // a client sends nothing before it has the answer
        Write(RefusalAnswer(400, "Here is a WebSocket."), {.keepAlive = false});
    } else if (!needs_.admitsWebSocket()) {
        Write(RefusalAnswer(503, "Too many pages are open."), {.keepAlive = false});
    } else {
        Enter(Phase::WebSocket, 0);
        webSocket_ = std::make_shared<WebSocketStream>(std::move(socket_), needs_.limits, handlers,
                                                       [self = shared_from_this()] { self->Close(); });
        webSocket_->Accept(std::exchange(handshake_, nullptr));
    }
}

/// A close while bytes of the client are unread would destroy the answer on its way: they are read and dropped first.
void Connection::Drain() {
    if (phase_ == Phase::Closed) {
        return;
    }
    error_code ignored;
    socket_.shutdown(tcp::socket::shutdown_send, ignored);
    Enter(Phase::Draining, needs_.limits.drainSteps);
    DropInput();
}

void Connection::DropInput() {
    socket_.async_read_some(asio::buffer(dropped_),
                            [self = shared_from_this()](const error_code& error, std::size_t count) {
                                self->droppedBytes_ += count;
                                if (error || self->droppedBytes_ > kMostDroppedBytes) {
                                    self->Close();
                                } else {
                                    self->DropInput();
                                }
                            });
}

void Connection::Step() {
    if (webSocket_) {
        webSocket_->Step();
        return;
    }
    if (stepsLeft_ == 0 || --stepsLeft_ > 0) {
        return;
    }
    if (phase_ == Phase::Reading) {
        outOfTime_ = true;
        stepsLeft_ = 1;  // a read that has just completed is not affected: the next step tries again
        error_code ignored;
        socket_.cancel(ignored);
    } else {
        Close();
    }
}

bool Connection::IsQuiet() {
    error_code ignored;
    // The first request of a new connection may be on its way.
    const bool fresh = !carriedRequest_ && stepsLeft_ > needs_.limits.idleSteps - kFreshSteps;
    return phase_ == Phase::Draining || phase_ == Phase::WebSocket ||
           (phase_ == Phase::Idle && !fresh && socket_.available(ignored) == 0);
}

bool Connection::MayBeEvicted() {
    return phase_ == Phase::Idle && IsQuiet();
}

bool Connection::IsGone() {
    if (phase_ == Phase::Closed) {
        return true;
    }
    char byte = 0;
    const ssize_t count = ::recv(socket_.native_handle(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return count == 0 || (count < 0 && errno != EAGAIN && errno != EWOULDBLOCK);
}

void Connection::Close() {
    if (phase_ == Phase::Closed) {
        return;
    }
    Enter(Phase::Closed, 0);
    if (webSocket_) {
        webSocket_->Cut();
    }
    error_code ignored;
    socket_.close(ignored);
    needs_.closed(id_);
}

}  // namespace kestrane::http
