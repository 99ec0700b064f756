#pragma once

#include <chrono>
#include <cstddef>

namespace kestrane::http {

/// Limits for requests. Times are counted in steps, since they need no precision.
struct Limits {
    std::size_t headerBytes = std::size_t{16} * 1024;
    std::size_t bodyBytes = std::size_t{64} * 1024;
    std::size_t connections = 1024;
    std::size_t perHolder = 64;          ///< connections of one holder, see `Server::SetHolder`
    std::size_t webSockets = 64;         ///< of all connections; beyond them a request for one is refused
    std::size_t urgentConnections = 16;  ///< beyond `connections`, for urgent requests only
    std::chrono::milliseconds step{1000};
    int readSteps = 15;    ///< from the first byte of a request to its last
    int idleSteps = 150;   ///< of a connection without a request; not for one that an answer has kept
    int writeSteps = 30;   ///< until the client has taken an answer, or a message of a `WebSocket`
    int drainSteps = 2;    ///< until the client has closed a connection that was closed on this side
    int silentSteps = 30;  ///< until a `WebSocket` is closed whose client does not even answer pings
};

}  // namespace kestrane::http
