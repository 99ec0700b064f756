#include "alpaca/discovery.h"

#include <arpa/inet.h>
#include <array>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "server_fixture.h"

namespace kestrane::alpaca {
namespace {

TEST(Discovery, KnowsTheCallByItsStart) {
    for (const std::string_view call : {"alpacadiscovery1", "alpacadiscovery1\n", "alpacadiscovery1 and more"}) {
        EXPECT_TRUE(IsDiscoveryCall(call)) << call;
    }
    for (const std::string_view other :
         {"", "alpacadiscovery", "alpacadiscovery2", "AlpacaDiscovery1", " alpacadiscovery1"}) {
        EXPECT_FALSE(IsDiscoveryCall(other)) << other;
    }
}

TEST(Discovery, RepliesWithoutWhiteSpace) {
    EXPECT_EQ(DiscoveryReply(11111), "{\"AlpacaPort\":11111}");
}

TEST(Discovery, AnswersOnlyWhoCanReachThePort) {
    struct Row {
        const char* bound;
        const char* shown;
        bool reachable;
    };
    for (const Row& row : {Row{"127.0.0.1", "127.0.0.1", true}, Row{"127.0.0.1", "192.168.1.10", false},
                           Row{"0.0.0.0", "192.168.1.10", true}, Row{"0.0.0.0", "127.0.0.1", true},
                           Row{"192.168.1.10", "192.168.1.10", true}, Row{"192.168.1.10", "10.0.0.1", false},
                           Row{"192.168.1.10", "127.0.0.1", false}, Row{"::", "192.168.1.10", true},
                           Row{"127.0.0.1", "0.0.0.0", false}}) {
        EXPECT_EQ(IsReachable(boost::asio::ip::make_address(row.bound), boost::asio::ip::make_address(row.shown)),
                  row.reachable)
            << row.bound << " " << row.shown;
    }
}

class DatagramClient {
public:
    explicit DatagramClient(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        const timeval limit{10, 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
        server_.sin_family = AF_INET;
        server_.sin_port = htons(port);
        server_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    }
    ~DatagramClient() { ::close(socket_); }
    DatagramClient(const DatagramClient&) = delete;
    DatagramClient& operator=(const DatagramClient&) = delete;

    void Send(std::string_view text) {
        const auto* address = reinterpret_cast<const sockaddr*>(&server_);
        EXPECT_EQ(::sendto(socket_, text.data(), text.size(), 0, address, sizeof(server_)),
                  static_cast<ssize_t>(text.size()));
    }
    std::string Receive() {
        std::array<char, 200> buffer{};
        const ssize_t count = ::recv(socket_, buffer.data(), buffer.size(), 0);
        return count < 0 ? "nothing" : std::string(buffer.data(), static_cast<std::size_t>(count));
    }

private:
    int socket_;
    sockaddr_in server_{};
};

TEST(Discovery, AnswersOnItsSocket_AndPassesOverEverythingElse) {
    TestServer::Options options;
    options.discovery = true;
    TestServer server(options);
    DatagramClient client(server.DiscoveryPort());
    client.Send("hello");
    client.Send("");
    client.Send(std::string(1400, 'x'));
    client.Send("alpacadiscovery1");
    EXPECT_EQ(client.Receive(), "{\"AlpacaPort\":" + std::to_string(server.Port()) + "}");
    EXPECT_EQ(server.ObjectCount(), 0U);
}

}  // namespace
}  // namespace kestrane::alpaca
