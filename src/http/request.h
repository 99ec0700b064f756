#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "http/answer.h"

namespace kestrane::http {

/// One TCP connection, unique in the life of the process; from 1 up.
using ConnectionId = std::uint64_t;

enum class Verb { Get, Put };

/// A complete request, as the function that answers it gets it.
struct Request {
    Verb verb = Verb::Get;
    std::string path;   ///< as it came, still encoded
    std::string query;  ///< the same; without the "?"
    std::string body;
    std::string remoteAddress;  ///< IP address of the client
    ConnectionId connection = 0;
    std::string ifNoneMatch{};    ///< header: the `ETag` of what the client has already; empty when there is none
    bool wantsWebSocket = false;  ///< may be answered by `WebSocketAnswer`
};

/// Takes the answer of one request, once, on the I/O thread.
using AnswerFunction = std::function<void(const Answer&)>;
/// Answers a request now or later. Called on the I/O thread.
using RequestFunction = std::function<void(const Request&, const AnswerFunction&)>;

}  // namespace kestrane::http
