#include "process/http_client.h"

#include <arpa/inet.h>
#include <array>
#include <boost/json.hpp>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>

namespace kestrane::process {
namespace {

constexpr std::string_view kHeaderEnd = "\r\n\r\n";

std::string ErrorText(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

int NumberAfter(std::string_view text, std::string_view name) {
    const std::size_t found = text.find(name);
    int number = -1;
    if (found != std::string_view::npos) {
        const std::string_view rest = text.substr(found + name.size());
        std::from_chars(rest.data(), rest.data() + rest.size(), number);
    }
    return number;
}

/// Header and body of the next answer; empty when the connection closed before its first byte.
std::string ReceiveAnswer(Socket& socket) {
    std::string answer;
    for (;;) {
        const std::size_t end = answer.find(kHeaderEnd);
        if (end != std::string::npos) {
            const int length = NumberAfter(std::string_view(answer).substr(0, end), "Content-Length: ");
            if (length < 0) {
                throw NoAnswer("an answer without its length: " + answer);
            }
            if (answer.size() >= end + kHeaderEnd.size() + static_cast<std::size_t>(length)) {
                return answer;
            }
        }
        const std::string more = socket.Receive();
        if (more.empty()) {
            if (!answer.empty()) {
                throw NoAnswer("the connection closed within the answer: " + answer);
            }
            return answer;
        }
        answer += more;
    }
}

Answer Parsed(const std::string& text) {
    Answer answer;
    answer.status = NumberAfter(text, "HTTP/1.1 ");
    const std::string body = text.substr(text.find(kHeaderEnd) + kHeaderEnd.size());
    if (answer.status != 200) {
        answer.errorMessage = body;
        return answer;
    }
    const boost::json::object object = boost::json::parse(body).as_object();
    answer.errorNumber = object.at("ErrorNumber").to_number<std::int64_t>();
    answer.errorMessage = object.at("ErrorMessage").as_string();
    answer.serverTransaction = object.at("ServerTransactionID").to_number<std::int64_t>();
    if (const auto* value = object.if_contains("Value")) {
        answer.value = *value;
    }
    return answer;
}

}  // namespace

Socket::Socket(std::uint16_t port, Seconds limit) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(limit).count();
    const timeval time{whole / 1'000'000, whole % 1'000'000};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
    ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time);
    const int on = 1;
    ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        const std::string what = ErrorText("connect");
        ::close(socket_);
        throw NoAnswer(what);
    }
}

Socket::Socket(Socket&& other) noexcept : socket_(std::exchange(other.socket_, -1)) {}

Socket::~Socket() {
    if (socket_ >= 0) {
        ::close(socket_);
    }
}

bool Socket::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

std::string Socket::Receive() {
    std::array<char, 4096> buffer{};
    const ssize_t count = ::recv(socket_, buffer.data(), buffer.size(), 0);
    if (count < 0 && errno != ECONNRESET) {
        throw NoAnswer(ErrorText("receive"));
    }
    return {buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
}

Answer HttpClient::Get(std::string_view member, const std::string& form) {
    return GetPath(PathOf(member) + "?" + WithIds(form));
}

Answer HttpClient::GetPath(const std::string& path) {
    return Ask("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
}

Answer HttpClient::Put(std::string_view member, const std::string& form) {
    const std::string body = WithIds(form);
    return Ask("PUT " + PathOf(member) +
               " HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
               std::to_string(body.size()) + "\r\n\r\n" + body);
}

std::string HttpClient::PathOf(std::string_view member) const {
    return "/api/v1/" + device_ + "/0/" + std::string(member);
}

std::string HttpClient::WithIds(const std::string& form) {
    return (form.empty() ? "" : form + "&") + "ClientID=" + std::to_string(clientId_) +
           "&ClientTransactionID=" + std::to_string(++transaction_);
}

Answer HttpClient::Ask(const std::string& request) {
    const auto start = SteadyClock::now();
    const bool fresh = !socket_;
    std::string text;
    if (!fresh && socket_->Send(request)) {
        text = ReceiveAnswer(*socket_);
    }
    if (text.empty()) {
        // A kept connection may have been closed between two requests; a fresh one that is closed lost its request.
        socket_ = std::make_unique<Socket>(port_, limit_);
        text = socket_->Send(request) ? ReceiveAnswer(*socket_) : std::string();
    }
    if (text.empty()) {
        throw NoAnswer("the connection closed without an answer");
    }
    if (text.find("Connection: close") < text.find(kHeaderEnd)) {
        socket_.reset();
    }
    Answer answer = Parsed(text);
    answer.took = Since(start);
    return answer;
}

}  // namespace kestrane::process
