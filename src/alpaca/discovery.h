#pragma once

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrane::alpaca {

/// Whether a datagram is a discovery call: "alpacadiscovery1" at its start.
bool IsDiscoveryCall(std::string_view datagram);
/// "{"AlpacaPort":11111}", without white space.
std::string DiscoveryReply(std::uint16_t port);
/// Whether a server bound to `bound` can be reached by a client that sees this machine at the address `shown`: clients
/// try the address that the reply comes from.
bool IsReachable(const boost::asio::ip::address& bound, const boost::asio::ip::address& shown);

/// The reply to what a sender wrote: nothing when that is no discovery call, or when the sender can reach none of the
/// addresses served.
std::optional<std::string> DiscoveryReplyTo(const boost::asio::ip::udp::endpoint& sender, std::string_view datagram,
                                            const std::vector<boost::asio::ip::tcp::endpoint>& http);

/// Answers discovery calls on one datagram socket. I/O thread only.
class Discovery {
public:
    /// Takes over a bound socket; `http` are the addresses served. `heard` is called for each call.
    Discovery(boost::asio::io_context& io, int socket, std::vector<boost::asio::ip::tcp::endpoint> http,
              std::function<void()> heard);

    void Start() { Receive(); }
    void Stop();

private:
    void Receive();
    void Answer(std::string_view datagram);
    void ReceiveLater();

    boost::asio::ip::udp::socket socket_;
    boost::asio::steady_timer pause_;
    std::vector<boost::asio::ip::tcp::endpoint> http_;
    std::function<void()> heard_;
    std::array<char, 512> buffer_{};
    boost::asio::ip::udp::endpoint sender_;
};

}  // namespace kestrane::alpaca
