#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "http/io_thread.h"
#include "http/raw_client.h"
#include "http/server.h"
#include "http/web_socket.h"

namespace kestrane::http {

/// Limits that come within a few hundred milliseconds.
Limits QuickLimits();

/// A real server on a port of its own. Each of its branches answers with the request itself, "GET /path?query body":
///   /now     at once
///   /later   after other work of the I/O thread
///   /kept    at once, and the connection is kept from then on
///   /held    when the test releases it
///   /socket  by a WebSocket, which gives each message back
/// What follows after one more "/" is the holder of the connection. PUT /now/urgent is urgent.
class TestServer {
public:
    explicit TestServer(Limits limits = {});
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    RawClient Connect() const { return RawClient(port_); }
    /// Requests that reached a branch.
    int Handled() const { return handled_; }
    /// Connections that have closed.
    int Closed() const { return closed_; }
    int Held() const { return held_; }
    /// How often the server has asked whether a request beyond the limit is urgent.
    int Considered() const { return considered_; }
    /// Answers all requests that are held.
    void Release();
    /// Asks the gate and waits for what it says.
    bool CloseGate();
    void OpenGate();
    std::size_t ConnectionCount();
    std::uint16_t Port() const { return port_; }
    /// The WebSockets that were opened, waiting for the number of them; they may be used at once.
    std::vector<std::shared_ptr<WebSocket>> Sockets(std::size_t count);
    int SocketsClosed() const { return socketsClosed_; }
    /// The requests that asked for the path of the WebSocket.
    std::vector<Request> SocketRequests();
    /// Ends the server as the end of a process does.
    void Stop();

private:
    void HandleSocket(const Request& request, const AnswerFunction& answer);
    ServerNeeds Needs(const Limits& limits);
    void OnIoThread(const std::function<void()>& function);

    std::uint16_t port_ = 0;
    std::atomic<int> handled_{0};
    std::atomic<int> closed_{0};
    std::atomic<int> held_{0};
    std::atomic<int> considered_{0};
    std::atomic<int> socketsClosed_{0};
    IoThread io_;
    std::vector<std::pair<AnswerFunction, Answer>> heldAnswers_;  ///< on the I/O thread
    std::vector<std::shared_ptr<WebSocket>> sockets_;             ///< the same
    std::vector<Request> socketRequests_;                         ///< the same
    Server server_;
};

}  // namespace kestrane::http
