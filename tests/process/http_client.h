#pragma once

#include <boost/json/value.hpp>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "process/waiting.h"

namespace kestrane::process {

/// The request got no whole answer: refused, closed, too late, or no HTTP.
struct NoAnswer : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A plain TCP connection to a port of this machine. Blocking, each wait at most the limit; one thread.
class Socket {
public:
    explicit Socket(std::uint16_t port, Seconds limit = Seconds(30));
    ~Socket();
    Socket(Socket&& other) noexcept;
    Socket& operator=(Socket&&) = delete;

    /// Sends as much as the other side takes; false when it has closed.
    bool Send(std::string_view bytes);
    /// What comes next; empty when the other side has closed. Raises `NoAnswer` at the limit.
    std::string Receive();

private:
    int socket_;
};

/// An answer of a device, taken apart.
struct Answer {
    int status = 0;
    boost::json::value value;
    std::int64_t errorNumber = 0;
    std::string errorMessage;
    std::int64_t serverTransaction = 0;
    Seconds took{0};
};

/// A client of one device over one connection, which is opened at the first request, and anew when the driver has
/// closed it since.
class HttpClient {
public:
    HttpClient(std::uint16_t port, int clientId, Seconds limit = Seconds(30), std::string device = "telescope")
        : port_(port), clientId_(clientId), limit_(limit), device_(std::move(device)) {}

    /// Members in lower case; `form` as "Key=Value&Key=Value". Raises `NoAnswer`; a failure of the device is in the
    /// answer.
    Answer Get(std::string_view member, const std::string& form = "");
    Answer Put(std::string_view member, const std::string& form = "");
    /// What a path outside the devices answers.
    Answer GetPath(const std::string& path);

    void Close() { socket_.reset(); }

private:
    Answer Ask(const std::string& request);
    std::string PathOf(std::string_view member) const;
    std::string WithIds(const std::string& form);

    std::uint16_t port_;
    int clientId_;
    Seconds limit_;
    std::string device_;
    int transaction_ = 0;
    std::unique_ptr<Socket> socket_;
};

}  // namespace kestrane::process
