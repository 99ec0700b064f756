#include "alpaca/discovery.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <chrono>

namespace kestrane::alpaca {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;
using udp = asio::ip::udp;

/// The address from which this machine would write to `sender`; unspecified when it cannot.
asio::ip::address ShownTo(const udp::endpoint& sender) {
    error_code error;
    asio::io_context io;
    udp::socket probe(io);
    probe.open(sender.protocol(), error);
    probe.connect(sender, error);
    return error ? asio::ip::address() : probe.local_endpoint(error).address();
}

}  // namespace

bool IsDiscoveryCall(std::string_view datagram) {
    return datagram.starts_with("alpacadiscovery1");
}

std::string DiscoveryReply(std::uint16_t port) {
    return "{\"AlpacaPort\":" + std::to_string(port) + "}";
}

bool IsReachable(const asio::ip::address& bound, const asio::ip::address& shown) {
    return bound.is_unspecified() || bound == shown;
}

std::optional<std::string> DiscoveryReplyTo(const udp::endpoint& sender, std::string_view datagram,
                                            const std::vector<asio::ip::tcp::endpoint>& http) {
    if (!IsDiscoveryCall(datagram)) {
        return std::nullopt;
    }
    const asio::ip::address shown = ShownTo(sender);
    for (const asio::ip::tcp::endpoint& each : http) {
        if (IsReachable(each.address(), shown)) {
            return DiscoveryReply(each.port());
        }
    }
    return std::nullopt;
}

Discovery::Discovery(asio::io_context& io, int socket, std::vector<asio::ip::tcp::endpoint> http,
                     std::function<void()> heard)
    : socket_(io), pause_(io), http_(std::move(http)), heard_(std::move(heard)) {
    socket_.assign(udp::v4(), socket);
}

void Discovery::Stop() {
    error_code ignored;
    pause_.cancel();
    socket_.close(ignored);
}

void Discovery::Receive() {
    socket_.async_receive_from(asio::buffer(buffer_), sender_, [this](const error_code& error, std::size_t count) {
        if (error == asio::error::operation_aborted || !socket_.is_open()) {
            return;
        }
        if (error) {
            ReceiveLater();
            return;
        }
        Answer(std::string_view(buffer_.data(), count));
        Receive();
    });
}

void Discovery::ReceiveLater() {
    pause_.expires_after(std::chrono::milliseconds(100));
    pause_.async_wait([this](const error_code& error) {
        if (!error) {
            Receive();
        }
    });
}

void Discovery::Answer(std::string_view datagram) {
    if (!IsDiscoveryCall(datagram)) {
        return;
    }
    heard_();
    if (const std::optional<std::string> reply = DiscoveryReplyTo(sender_, datagram, http_)) {
        error_code ignored;
        socket_.send_to(asio::buffer(*reply), sender_, 0, ignored);
    }
}

}  // namespace kestrane::alpaca
