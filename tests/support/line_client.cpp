#include "support/line_client.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace kestrane {

LineClient::LineClient(const std::filesystem::path& path) : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(path.native(), address.sun_path);
    if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        Close();
    }
}

void LineClient::SendBytes(const std::string& bytes) const {
    EXPECT_EQ(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

std::optional<std::string> LineClient::Read() {
    for (;;) {
        if (const std::size_t end = got_.find('\n'); end != std::string::npos) {
            std::string line = got_.substr(0, end);
            got_.erase(0, end + 1);
            return line;
        }
        std::array<char, 65536> bytes;
        const ssize_t size = ::recv(socket_, bytes.data(), bytes.size(), 0);
        if (size <= 0) {
            return std::nullopt;
        }
        got_.append(bytes.data(), static_cast<std::size_t>(size));
    }
}

void LineClient::Close() {
    if (socket_ >= 0) {
        ::close(std::exchange(socket_, -1));
    }
}

}  // namespace kestrane
