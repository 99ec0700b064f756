#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kestrane {

/// The longest times of the steps of a request, in milliseconds. A value outside 1 to 60,000 counts as the nearer
/// bound.
struct HttpLimits {
    std::int32_t resolveMs = 100;  ///< the host's name into an address; no part of it while the name is known
    std::int32_t connectMs = 100;  ///< until a connection stands; no part of it on a connection that was kept
    std::int32_t sendMs = 100;     ///< until all of the request has gone out
    std::int32_t receiveMs = 250;  ///< from then on, until all of the reply is there
};

struct HttpRequest {
    enum class Method { Get, Post };

    Method method = Method::Get;
    std::string host;         ///< name or address, of an IPv6 address in brackets; may carry ":port"
    std::uint16_t port = 80;  ///< where `host` carries none
    std::string target;       ///< path and query, encoded
    std::vector<std::pair<std::string, std::string>> headers;  ///< beside those that each request has
    std::string body;
    HttpLimits limits;
    std::size_t mostBodyBytes = 0;  ///< a reply with a longer body counts as none
};

struct HttpReply {
    unsigned status = 0;  ///< 0 when no whole reply came
    std::string body;
    std::string error;    ///< why no whole reply came, part of a sentence for a person; empty when one did
    bool reached = true;  ///< false when no connection stood; `error` then names the host
    /// False when not all of the request went out, or what the other side had not acknowledged was taken back. It may
    /// have heard all of it even so: an acknowledgement can be lost. So ask for a stop again, but for no motion.
    bool sent = true;
    bool foreign = false;  ///< no whole reply came, but what came is none that was asked for: too long, or no HTTP
};

/// Requests over HTTP/1.1. Logic thread only. Raises nothing.
class Http {
public:
    virtual ~Http() = default;

    /// Sends a request and waits for its reply, at most for the sum of the limits; cached reads of clients run
    /// meanwhile (`CallKind::Read`), nothing else does. A redirect is a reply like any other. No byte of a request is
    /// ever sent twice: whoever asks for a motion must know that it cannot be asked for two times.
    virtual HttpReply Send(const HttpRequest& request) = 0;
};

}  // namespace kestrane
