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
    std::string localAddress;        ///< the address at which the connection arrived, without brackets
    std::uint16_t port = 0;          ///< the server's port
    std::vector<std::string> names;  ///< names of this machine and others that it goes by, in lower case
};

/// A `Host` header is own when it is empty (old clients send none), "localhost", a loopback address, the address of the
/// connection or one of the names. Which port it gives does not matter, since a port may be forwarded, but after the
/// name there must be nothing else.
bool IsOwnHost(std::string_view host, const OwnHosts& own);

/// An `Origin` header is own when there is none, or when it is plain HTTP on an own host at the server's port.
bool IsOwnOrigin(std::string_view origin, const OwnHosts& own);

/// A page of this server, a program, or a person who types the address: everything but a request that a browser marks
/// as another site's, in its `Sec-Fetch-Site` header.
bool IsOwnSite(std::string_view fetchSite);

/// The names of this machine: its host name, the short form of it, and both with ".local".
std::vector<std::string> MachineNames();

/// The names in a list with commas between them, in lower case; empty ones are left out.
std::vector<std::string> HostNames(std::string_view list);

}  // namespace kestrane::http
