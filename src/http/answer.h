#pragma once

#include <memory>
#include <string>
#include <string_view>

/// What is sent back over HTTP. Pure functions.
namespace kestrane::http {

struct WebSocketHandlers;

/// A complete answer: status (200, 304, 400, 403, 404, 413, 500 or 503), kind of content, content.
struct Answer {
    int status = 200;
    std::string_view contentType;  ///< of static storage
    std::string body;
    /// From this answer on the connection stays open, however long it is silent: a client depends on it. Only a
    /// full table may close it while it is idle. Others may be closed whenever they are idle.
    bool keepsConnection = false;
    std::string headers{};  ///< further ones, each "Name: value" and a line end (CR LF)
    /// Set: no answer, but the connection becomes a `WebSocket`; see `WebSocketAnswer`.
    std::shared_ptr<const WebSocketHandlers> webSocket{};
};

/// A request that is refused, or that failed: one line of plain text; characters that are not printable ASCII become
/// "?".
Answer RefusalAnswer(int status, std::string_view line);

/// How the connection goes on after the answer, and which parts of the answer the form of the request allows.
struct AnswerForm {
    bool keepAlive = true;
    bool oldProtocol = false;  ///< HTTP/1.0
    bool headOnly = false;     ///< the answer to HEAD has no body
};

/// Status line, headers and body in one text.
std::string HttpText(const Answer& answer, const AnswerForm& form);

}  // namespace kestrane::http
