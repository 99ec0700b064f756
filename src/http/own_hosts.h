#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Whether a request was meant for this machine, by its `Host` and `Origin`: a page of another site, opened in a
/// browser here, must not reach what is served.
namespace kestrane::http {

/// The names by which the server can be reached over one connection.
struct OwnHosts {
    bool loopbackOnly = true;               ///< the server is bound to a loopback address
    std::string localAddress;               ///< the address at which the connection arrived, without brackets
    std::uint16_t port = 0;                 ///< the server's port
    std::vector<std::string> machineNames;  ///< names of this machine; they count when bound elsewhere
};

/// A `Host` header is own when it is empty (old clients send none), "localhost", a loopback address or, for a server
/// bound to another address, the address of the connection or a name of this machine. The port in it does not matter.
bool IsOwnHost(std::string_view host, const OwnHosts& own);

/// An `Origin` header is own when there is none, or when it is plain HTTP on an own host at the server's port.
bool IsOwnOrigin(std::string_view origin, const OwnHosts& own);

/// The names of this machine: its host name, the short form of it, and both with ".local".
std::vector<std::string> MachineNames();

}  // namespace kestrane::http
