#include "client/discovery.h"

#include <algorithm>
#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>
#include <boost/json.hpp>

#include "client/http_connection.h"

namespace kestrane::client {
namespace {

namespace asio = boost::asio;
using asio::ip::udp;
using boost::system::error_code;

constexpr std::string_view kQuestion = "alpacadiscovery1";

std::vector<asio::ip::address> AddressesToAsk(asio::io_context& context, const std::string& host) {
    std::vector<asio::ip::address> addresses{asio::ip::address_v4::broadcast(),
                                             asio::ip::make_address_v4("127.255.255.255")};
    if (!host.empty()) {
        error_code error;
        const auto found = udp::resolver(context).resolve(udp::v4(), host, "", error);
        if (error) {
            throw Unreachable("there is no host " + host + ": " + error.message());
        }
        addresses.push_back(found.begin()->endpoint().address());
    }
    return addresses;
}

}  // namespace

std::optional<std::uint16_t> ParseDiscoveryReply(std::string_view text) {
    error_code error;
    const auto document = boost::json::parse(text, error);
    if (error || !document.is_object()) {
        return std::nullopt;
    }
    const auto* port = document.get_object().if_contains("AlpacaPort");
    if (port == nullptr || !port->is_int64() || port->get_int64() < 1 || port->get_int64() > 65535) {
        return std::nullopt;
    }
    return static_cast<std::uint16_t>(port->get_int64());
}

std::vector<FoundServer> Discover(const std::string& host, std::uint16_t discoveryPort,
                                  std::chrono::milliseconds duration) {
    asio::io_context context;
    udp::socket socket(context, udp::endpoint(udp::v4(), 0));
    socket.set_option(asio::socket_base::broadcast(true));
    bool anyAsked = false;
    for (const auto& address : AddressesToAsk(context, host)) {
        error_code error;
        socket.send_to(asio::buffer(kQuestion), udp::endpoint(address, discoveryPort), 0, error);
        anyAsked = anyAsked || !error;
    }
    if (!anyAsked) {
        throw Unreachable("no network can be asked for devices");
    }

    std::vector<FoundServer> found;
    std::array<char, 1024> reply{};
    udp::endpoint sender;
    auto onReply = [&](auto& self) -> void {
        socket.async_receive_from(asio::buffer(reply), sender, [&](const error_code& error, std::size_t length) {
            if (!error) {
                const auto port = ParseDiscoveryReply({reply.data(), length});
                const FoundServer server{sender.address().to_string(), port.value_or(0)};
                if (port && std::find(found.begin(), found.end(), server) == found.end()) {
                    found.push_back(server);
                }
            }
            if (error != asio::error::operation_aborted) {
                self(self);
            }
        });
    };
    onReply(onReply);
    context.run_for(duration);
    return found;
}

}  // namespace kestrane::client
