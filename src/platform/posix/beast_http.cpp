#include "platform/posix/beast_http.h"

#include <algorithm>
#include <array>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <linux/sockios.h>
#include <poll.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace kestrane {
namespace {

namespace asio = boost::asio;
namespace beast_http = boost::beast::http;
using SteadyClock = std::chrono::steady_clock;
using ErrorCode = boost::system::error_code;

constexpr unsigned kVersion = 11;
constexpr std::uint32_t kMostHeaderBytes = 8192;
constexpr std::size_t kReadChunk = 4096;

/// No whole reply; the text is for a person.
class NoReply : public std::runtime_error {
public:
    enum class Cause { Fault, Limit, EndOfProcess, ForeignReply };

    explicit NoReply(const std::string& text, Cause why = Cause::Fault) : std::runtime_error(text), cause(why) {}

    Cause cause;
};

std::int32_t Bounded(std::int32_t limitMs) {
    return std::clamp(limitMs, 1, 60000);
}

SlicedWait::TimePoint After(std::int32_t limitMs) {
    return SteadyClock::now() + std::chrono::milliseconds(Bounded(limitMs));
}

std::string Within(std::int32_t limitMs) {
    return " within " + std::to_string(Bounded(limitMs)) + " ms";
}

ErrorCode LastError() {
    return {errno, boost::system::system_category()};
}

/// Whether these first bytes may begin a reply. Most that is no HTTP has no end of a head, which the parser waits for.
bool MayBeHttp(std::string_view bytes) {
    constexpr std::string_view kStart = "HTTP/";
    return bytes.substr(0, kStart.size()) == kStart.substr(0, bytes.size());
}

bool IsTemporary(const ErrorCode& error) {
    return error == asio::error::would_block || error == asio::error::try_again || error == asio::error::interrupted ||
           error == asio::error::in_progress;
}

std::string TextOf(const HttpRequest& request) {
    const auto method = request.method == HttpRequest::Method::Post ? beast_http::verb::post : beast_http::verb::get;
    beast_http::request<beast_http::string_body> message{method, request.target, kVersion, request.body};
    message.set(beast_http::field::host, request.host);
    for (const auto& [name, value] : request.headers) {
        message.set(name, value);
    }
    if (request.method == HttpRequest::Method::Post) {
        message.prepare_payload();
    }
    beast_http::serializer<true, beast_http::string_body> serializer{message};
    std::string text;
    ErrorCode error;
    while (!serializer.is_done()) {
        serializer.next(error, [&](ErrorCode&, const auto& buffers) {
            text += boost::beast::buffers_to_string(buffers);
            serializer.consume(boost::beast::buffer_bytes(buffers));
        });
    }
    return text;
}

}  // namespace

HttpReply BeastHttp::Send(const HttpRequest& request) {
    const bool beganAtTheEnd = isEnding_ && isEnding_();
    bool sent = false;
    std::optional<Place> place;
    try {
        place = PlaceOf(request);
        const std::string text = TextOf(request);
        const bool kept = KeptServes(*place);
        if (!kept) {
            Open(*place, request.limits);
        }
        if (!Write(text, request.limits.sendMs)) {
            if (!kept) {
                throw NoReply("the connection was closed before the request went out");
            }
            Open(*place, request.limits);
            if (!Write(text, request.limits.sendMs)) {
                throw NoReply("the connection was closed before the request went out");
            }
        }
        sent = true;
        return Receive(request);
    } catch (const NoReply& fault) {
        const bool gaveUp =
            fault.cause == NoReply::Cause::Limit || (fault.cause == NoReply::Cause::EndOfProcess && !beganAtTheEnd);
        sent = sent && !(gaveUp && WithdrawsWhatIsUnheard());
        const bool reached = place && connectedTo_.has_value();
        if (place) {
            Close();
        }
        return {.status = 0,
                .body = {},
                .error = fault.what(),
                .reached = reached,
                .sent = sent,
                .foreign = fault.cause == NoReply::Cause::ForeignReply};
    }
}

BeastHttp::Place BeastHttp::PlaceOf(const HttpRequest& request) {
    const std::string& text = request.host;
    const bool isBracketed = text.starts_with('[');
    const std::size_t end = isBracketed ? text.find(']') : text.find(':');
    const std::size_t hostStart = isBracketed ? 1 : 0;
    const std::string host = text.substr(hostStart, end == std::string::npos ? end : end - hostStart);
    std::string_view rest(text);
    rest.remove_prefix(end == std::string::npos ? text.size() : end + (isBracketed ? 1 : 0));
    if (host.empty() || (isBracketed && end == std::string::npos)) {
        throw NoReply("'" + text + "' names no host");
    }
    if (rest.empty()) {
        return {host, request.port};
    }
    if (!rest.starts_with(':')) {
        throw NoReply("'" + text + "' has more than a port after its host");
    }
    if (rest.find(':', 1) != std::string_view::npos) {
        throw NoReply("'" + text + "' has more than one ':'; an IPv6 address stands in brackets");
    }
    rest.remove_prefix(1);
    std::uint16_t port = 0;
    const auto [stop, error] = std::from_chars(rest.data(), rest.data() + rest.size(), port);
    if (error != std::errc{} || stop != rest.data() + rest.size() || port == 0) {
        throw NoReply("'" + text + "' has no valid port after its host");
    }
    return {host, port};
}

/// A kept connection on which anything waits is not used: its end, or bytes that nobody asked for.
bool BeastHttp::KeptServes(const Place& place) {
    const bool serves = connectedTo_ == place && SteadyClock::now() - restsSince_ <= longestRest_ &&
                        !WaitForDescriptor(socket_.native_handle(), POLLIN, SteadyClock::now());
    if (!serves) {
        Close();
    }
    return serves;
}

void BeastHttp::Open(const Place& place, const HttpLimits& limits) {
    Close();
    const HostNames::Answer found = hostNames_.Find(place.host, After(limits.resolveMs), wait_);
    if (found.addresses.empty() && found.error.empty()) {
        throw NoReply("the address of " + place.host + " was not found" + Within(limits.resolveMs));
    }
    if (found.addresses.empty()) {
        throw NoReply("there is no host " + place.host + ": " + found.error);
    }
    const auto deadline = After(limits.connectMs);
    ErrorCode error;
    for (std::size_t tried = 0; tried < found.addresses.size(); ++tried) {
        const auto& address = found.addresses[firstAddress_ % found.addresses.size()];
        error = Connect({address, place.port}, deadline);
        if (!error) {
            connectedTo_ = place;
            return;
        }
        ++firstAddress_;
        if (SteadyClock::now() >= deadline) {
            break;
        }
    }
    const std::string where = place.host + " port " + std::to_string(place.port);
    throw NoReply(error == asio::error::timed_out ? where + " took no connection" + Within(limits.connectMs)
                                                  : where + " takes no connection: " + error.message());
}

ErrorCode BeastHttp::Connect(const asio::ip::tcp::endpoint& endpoint, TimePoint deadline) {
    ErrorCode error;
    socket_.close(error);
    socket_.open(endpoint.protocol(), error);
    if (!error) {
        socket_.native_non_blocking(true, error);
    }
    if (error) {
        return error;
    }
    ErrorCode ignored;
    socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
    const int descriptor = socket_.native_handle();
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    if (::connect(descriptor, endpoint.data(), static_cast<socklen_t>(endpoint.size())) == 0) {
        return {};
    }
    error = LastError();
    if (!IsTemporary(error)) {
        return error;
    }
    if (!wait_.Await(descriptor, POLLOUT, deadline, SlicedWait::AtTheEnd::WaitsOn)) {
        return asio::error::timed_out;
    }
    int result = 0;
    socklen_t size = sizeof result;
    ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &result, &size);
    return {result, boost::system::system_category()};
}

/// False when the connection was gone before a first byte went out.
bool BeastHttp::Write(std::string_view bytes, std::int32_t limitMs) {
    const auto deadline = After(limitMs);
    bool begun = false;
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket_.native_handle(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent > 0) {
            begun = true;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
            continue;
        }
        const ErrorCode error = LastError();
        if (!IsTemporary(error)) {
            if (!begun) {
                return false;
            }
            throw NoReply("the connection was lost while the request went out: " + error.message());
        }
        if (!wait_.Await(socket_.native_handle(), POLLOUT, deadline, SlicedWait::AtTheEnd::WaitsOn)) {
            throw NoReply("the request did not go out" + Within(limitMs));
        }
    }
    return true;
}

/// Empty at the end of the connection.
std::string BeastHttp::Read(TimePoint deadline, std::int32_t limitMs) {
    std::array<char, kReadChunk> buffer;
    for (;;) {
        if (!wait_.Await(socket_.native_handle(), POLLIN, deadline)) {
            throw NoReply("no whole reply" + Within(limitMs),
                          SteadyClock::now() >= deadline ? NoReply::Cause::Limit : NoReply::Cause::EndOfProcess);
        }
        const ssize_t count = ::recv(socket_.native_handle(), buffer.data(), buffer.size(), 0);
        if (count >= 0) {
            return {buffer.data(), static_cast<std::size_t>(count)};
        }
        const ErrorCode error = LastError();
        if (!IsTemporary(error)) {
            throw NoReply("the connection was lost: " + error.message());
        }
    }
}

HttpReply BeastHttp::Receive(const HttpRequest& request) {
    beast_http::response_parser<beast_http::string_body> parser;
    parser.body_limit(request.mostBodyBytes);
    parser.header_limit(kMostHeaderBytes);
    parser.eager(true);
    const auto deadline = After(request.limits.receiveMs);
    std::string unread;
    while (!parser.is_done()) {
        ErrorCode error;
        const std::string bytes = Read(deadline, request.limits.receiveMs);
        if (!parser.got_some() && !MayBeHttp(bytes)) {
            error = beast_http::error::bad_version;
        } else if (!bytes.empty()) {
            unread += bytes;
            unread.erase(0, parser.put(asio::buffer(unread), error));
        } else if (parser.got_some()) {
            parser.put_eof(error);
        }
        if (bytes.empty() && (error || !parser.is_done())) {
            throw NoReply("the connection was closed before the whole reply");
        }
        if (error == beast_http::error::body_limit) {
            throw NoReply("the reply is longer than " + std::to_string(request.mostBodyBytes) + " bytes",
                          NoReply::Cause::ForeignReply);
        }
        if (error && error != beast_http::error::need_more) {
            throw NoReply("the reply is no HTTP: " + error.message(), NoReply::Cause::ForeignReply);
        }
    }
    restsSince_ = SteadyClock::now();
    if (!parser.keep_alive() || !unread.empty()) {
        Close();
    }
    return {.status = parser.get().result_int(), .body = parser.get().body(), .error = {}};
}

/// A request of which the other side has not taken each byte may arrive much later, after a stop that went another way.
/// Whether there was anything to withdraw.
bool BeastHttp::WithdrawsWhatIsUnheard() {
    int unheard = 0;
    if (::ioctl(socket_.native_handle(), SIOCOUTQ, &unheard) != 0 || unheard == 0) {
        return false;
    }
    ErrorCode ignored;
    socket_.set_option(asio::socket_base::linger(true, 0), ignored);  // the close drops what still waits
    return true;
}

void BeastHttp::Close() {
    connectedTo_.reset();
    ErrorCode ignored;
    socket_.close(ignored);
}

}  // namespace kestrane
