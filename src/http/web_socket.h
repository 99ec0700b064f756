#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "http/answer.h"

namespace kestrane::http {

/// A connection that carries messages both ways: texts in UTF-8. Made by a branch's answer to a request that asks for
/// one. Its members may be used on any thread, also when the connection has gone; the server must not be destroyed
/// meanwhile.
class WebSocket {
public:
    static constexpr std::size_t kMostReceived = std::size_t{64} * 1024;  ///< bytes of a message; a longer one closes
    static constexpr std::size_t kMostUnsent = std::size_t{1024} * 1024;  ///< bytes; who goes beyond them closes

    virtual ~WebSocket() = default;

    /// Sends a message after those before it. Does nothing once the connection is closing.
    virtual void Send(std::string text) = 0;
    /// Bytes of messages that the system has not taken yet, since the client is slower than its sender; 0 once closed.
    virtual std::size_t Unsent() const = 0;
    /// Closes when what was sent has gone out. Nothing is received any more.
    virtual void Close() = 0;
};

/// Who uses a `WebSocket`. Called on the I/O thread, none of them after `closed`.
struct WebSocketHandlers {
    std::function<void(const std::shared_ptr<WebSocket>&)> opened;
    std::function<void(std::string)> received;  ///< a message of at most `WebSocket::kMostReceived` bytes
    std::function<void()> closed;               ///< once, whoever has closed; only after `opened`
    std::function<void()> pulse = {};           ///< each `pulseEvery` while it is open; empty: no pulse
    std::chrono::milliseconds pulseEvery{0};
};

/// The answer that makes a connection a `WebSocket`, for a request with `wantsWebSocket` only.
Answer WebSocketAnswer(WebSocketHandlers handlers);

}  // namespace kestrane::http
