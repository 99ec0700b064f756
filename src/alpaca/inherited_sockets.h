#pragma once

#include <functional>
#include <optional>
#include <vector>

namespace kestrane::alpaca {

/// The sockets to serve, already bound (and listening, for HTTP); the server takes them over.
struct ServerSockets {
    std::vector<int> http;
    std::vector<int> discovery;
};

/// The number of the first socket that the protocol of `TakeInheritedSockets` hands over.
inline constexpr int kFirstDescriptor = 3;

/// Reads an environment variable; null when it is not set.
using ReadEnvironment = std::function<const char*(const char* name)>;

/// The sockets handed over by the socket-activation protocol: LISTEN_PID names this process, LISTEN_FDS counts the
/// sockets from `kFirstDescriptor` up, and LISTEN_FDNAMES ("alpaca:discovery") gives the purpose of each. Nothing when
/// the process was started without a listening "alpaca" socket: then no client asked for it. Sockets of other names or
/// of the wrong kind are left alone; those taken are closed in programs that are started later.
std::optional<ServerSockets> TakeInheritedSockets(const ReadEnvironment& environment, int processId);

}  // namespace kestrane::alpaca
