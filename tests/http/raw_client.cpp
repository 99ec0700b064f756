#include "raw_client.h"

#include <arpa/inet.h>
#include <array>
#include <charconv>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>

namespace kestrane::http {
namespace {

sockaddr_in Loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

std::size_t LengthIn(const std::string& head) {
    constexpr std::string_view kName = "Content-Length: ";
    const std::size_t at = head.find(kName);
    std::size_t length = 0;
    if (at != std::string::npos) {
        std::from_chars(head.data() + at + kName.size(), head.data() + head.size(), length);
    }
    return length;
}

}  // namespace

RawClient::RawClient(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const timeval limit{20, 0};
    const int on = 1;
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
    ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    const sockaddr_in address = Loopback(port);
    EXPECT_EQ(::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
}

RawClient::~RawClient() {
    if (socket_ >= 0) {
        ::close(socket_);
    }
}

RawClient::RawClient(RawClient&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)), received_(std::move(other.received_)) {}

bool RawClient::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool RawClient::Receive() {
    std::array<char, 8192> buffer{};
    const ssize_t count = ::recv(socket_, buffer.data(), buffer.size(), 0);
    EXPECT_FALSE(count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) << "the server kept the client waiting";
    if (count > 0) {
        received_.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return count > 0;
}

std::optional<RawAnswer> RawClient::Read(bool hasBody) {
    std::size_t headEnd = 0;
    while ((headEnd = received_.find("\r\n\r\n")) == std::string::npos) {
        if (!Receive()) {
            return std::nullopt;
        }
    }
    headEnd += 4;
    RawAnswer answer;
    answer.head = received_.substr(0, headEnd);
    std::from_chars(answer.head.data() + 9, answer.head.data() + 12, answer.status);
    const std::size_t length = hasBody ? LengthIn(answer.head) : 0;
    while (received_.size() < headEnd + length) {
        if (!Receive()) {
            return std::nullopt;
        }
    }
    answer.body = received_.substr(headEnd, length);
    received_.erase(0, headEnd + length);
    return answer;
}

std::string RawClient::GetText(const std::string& target, const std::string& headers) {
    return "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + headers + "\r\n";
}

std::string RawClient::PutText(const std::string& target, const std::string& body, const std::string& headers) {
    return "PUT " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/x-www-form-urlencoded\r\n" +
           "Content-Length: " + std::to_string(body.size()) + "\r\n" + headers + "\r\n" + body;
}

std::optional<RawAnswer> RawClient::Get(const std::string& target, const std::string& headers) {
    return Send(GetText(target, headers)) ? Read() : std::nullopt;
}

std::optional<RawAnswer> RawClient::Put(const std::string& target, const std::string& body,
                                        const std::string& headers) {
    return Send(PutText(target, body, headers)) ? Read() : std::nullopt;
}

bool RawClient::WaitForClose() {
    const bool nothing = received_.empty();
    while (Receive()) {
    }
    return nothing && received_.empty();
}

void RawClient::FinishSending() {
    ::shutdown(socket_, SHUT_WR);
}

void RawClient::Reset() {
    const linger hard{1, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &hard, sizeof(hard));
    ::close(std::exchange(socket_, -1));
}

int ListenOnLoopback() {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Loopback(0);
    EXPECT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(::listen(socket, 1024), 0);
    return socket;
}

std::uint16_t PortOfSocket(int socket) {
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    EXPECT_EQ(::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size), 0);
    return ntohs(address.sin_port);
}

}  // namespace kestrane::http
