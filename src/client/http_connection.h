#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace kestrane::client {

/// No answer: no such host, refused, broken off, or too late. The message is for the user.
class Unreachable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct HttpReply {
    unsigned status = 0;
    std::string body;
};

/// One HTTP/1.1 connection that is kept alive from request to request. Blocking; one thread.
class HttpConnection {
public:
    HttpConnection(std::string host, std::uint16_t port);
    ~HttpConnection();
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;

    enum class Verb { Get, Put };
    struct Request {
        Verb verb = Verb::Get;
        std::string target;  ///< path and query, encoded
        std::string form;    ///< body of a PUT, form-encoded
        std::chrono::milliseconds limit{10000};
        std::function<void()> whileWaiting;  ///< called a few times a second until the reply is there; may be empty
    };

    /// Sends the request and returns the reply, whatever its status. When the server had closed a kept connection
    /// before any byte of the reply, it is opened again and the request is sent once more. Raises `Unreachable`.
    HttpReply Send(const Request& request);

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

}  // namespace kestrane::client
