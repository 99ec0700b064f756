#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kestrane::alpaca {

/// What the replacement for a system's socket activation binds, and what it starts.
struct ActivationOptions {
    std::string bindAddress = "127.0.0.1";  ///< an IP address
    std::uint16_t port = 11111;             ///< 0: any free one
    std::uint16_t discoveryPort = 32227;    ///< 0: no discovery
    std::vector<std::string> allowedHosts;  ///< further names under which clients may reach the driver
    std::string handBox;                    ///< for the driver as KESTRANE_HANDBOX; empty: what this program has itself
    std::string driverPath;                 ///< the program that serves the sockets
    int endingMs = 5'000;                   ///< granted to a driver that was asked to end, in milliseconds
};

/// Binds the sockets and prints "Alpaca: http://ADDR:PORT/" on standard output; for a socket on all addresses one such
/// line for each address of this machine, loopback first. Starts the driver whenever a client calls and no driver runs,
/// answers discovery calls meanwhile, which start none, until SIGTERM, SIGINT or SIGHUP (not after `nohup`), which end
/// the driver first. A driver that crashes or is killed is started again at once, without a client, so that it can stop
/// what it has left moving; one that fails soon after its start only after a pause that grows. Blocks
/// these signals and SIGCHLD for this thread, so there must be no other thread. The result is the exit status: 0 after
/// a signal, 1 with a message on standard error when the address cannot be bound or there is no driver.
int RunActivation(const ActivationOptions& options);

}  // namespace kestrane::alpaca
