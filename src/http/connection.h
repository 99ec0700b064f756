#pragma once

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "http/branches.h"
#include "http/limits.h"

namespace kestrane::http {

class WebSocketStream;

/// What a connection needs from its server.
struct ConnectionNeeds {
    const Limits& limits;
    const std::vector<Branch>& branches;
    OwnHosts own;  ///< without address and port, which the connection finds itself
    /// Whether there is room for a request now.
    std::function<bool(ConnectionId, const std::string& method, const std::string& target)> admits;
    /// Whether one more may become a `WebSocket`.
    std::function<bool()> admitsWebSocket;
    std::function<void(ConnectionId)> closed;
};

/// One client connection: reads a request, gets the answer, writes it, and so on until one side closes, or until an
/// answer makes it a `WebSocket`. Requests that
/// are sent before the answer to an earlier one are answered one after the other. I/O thread only.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(ConnectionId id, boost::asio::ip::tcp::socket socket, ConnectionNeeds needs);

    void Start();
    void Close();
    /// One step of the time limits.
    void Step();

    /// Waits for a request of which no byte has come, and is not new, or is already given up, or is a `WebSocket`: the
    /// process may end without a loss. Never while an answer is due, even to a client that has gone.
    bool IsQuiet();
    /// Waits for its next request: may make room for another. Its client opens a new one when it needs one.
    bool MayBeEvicted();
    /// Goes on with a request that the server had no room for, if it has now.
    void Proceed();
    /// Refuses such a request; false when there is none.
    bool Refuse();
    /// Has not sent a whole request yet.
    bool HasAskedNothing() const { return !carriedRequest_ && (phase_ == Phase::Idle || phase_ == Phase::Reading); }
    /// Whose connection it is; its client's address as long as nobody has set another.
    const std::string& Holder() const { return holder_; }
    void SetHolder(const std::string& holder) { holder_ = holder; }
    bool IsWebSocket() const { return phase_ == Phase::WebSocket; }
    /// Closed, or closed by the client, although an answer may still be due to it.
    bool IsGone();

private:
    enum class Phase { Idle, Reading, Working, Writing, Draining, WebSocket, Closed };

    void Enter(Phase phase, int steps);
    void WaitForRequest();
    void ReadRequest();
    void OnHeader(const boost::system::error_code& error);
    void ReadBody();
    void OnRequest(const boost::system::error_code& error);
    void OnReadError(const boost::system::error_code& error);
    ReceivedRequest TakeRequest();
    void Write(const Answer& answer, const AnswerForm& form);
    void Upgrade(const WebSocketHandlers& handlers);
    void Drain();
    void DropInput();

    using HandshakeRequest = boost::beast::http::request<boost::beast::http::string_body>;
    using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;

    ConnectionId id_;
    boost::asio::ip::tcp::socket socket_;
    ConnectionNeeds needs_;
    std::string remoteAddress_;
    std::string holder_;
    boost::beast::flat_buffer buffer_;
    std::optional<Parser> parser_;
    std::shared_ptr<const HandshakeRequest> handshake_;  ///< null: the request does not ask for a `WebSocket`
    std::shared_ptr<WebSocketStream> webSocket_;
    std::string output_;
    std::array<char, 4096> dropped_{};
    std::size_t droppedBytes_ = 0;
    Phase phase_ = Phase::Idle;
    int stepsLeft_ = 0;  ///< 0: no limit
    bool carriedRequest_ = false;
    std::optional<ReceivedRequest> waiting_;  ///< until the server has room
    AnswerForm form_;                         ///< of the answer to the last request
    bool kept_ = false;                       ///< an answer has asked to keep the connection
    bool outOfTime_ = false;
};

}  // namespace kestrane::http
