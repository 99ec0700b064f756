#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrane::client {

/// A server that answered.
struct FoundServer {
    std::string host;  ///< numeric address
    std::uint16_t port = 0;

    friend bool operator==(const FoundServer&, const FoundServer&) = default;
};

/// The HTTP port in the reply to a discovery question; nothing when the text is no such reply.
std::optional<std::uint16_t> ParseDiscoveryReply(std::string_view text);

/// Asks the broadcast addresses (and `host`, unless it is empty) and collects answers for `duration`, each once, in the
/// order in which they come. A network that cannot be asked is skipped; raises `Unreachable` when none can.
std::vector<FoundServer> Discover(const std::string& host, std::uint16_t discoveryPort,
                                  std::chrono::milliseconds duration);

}  // namespace kestrane::client
