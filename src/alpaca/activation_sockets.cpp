#include "alpaca/activation_sockets.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kestrane::alpaca {
namespace {

struct Address {
    sockaddr_storage storage{};
    socklen_t size = 0;

    sockaddr* Pointer() { return reinterpret_cast<sockaddr*>(&storage); }
};

Address ParseAddress(const std::string& text, std::uint16_t port) {
    Address address;
    auto* v4 = reinterpret_cast<sockaddr_in*>(&address.storage);
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&address.storage);
    if (::inet_pton(AF_INET, text.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(port);
        address.size = sizeof(*v4);
    } else if (::inet_pton(AF_INET6, text.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(port);
        address.size = sizeof(*v6);
    } else {
        throw ActivationError(text + " is no IP address");
    }
    return address;
}

/// One address may be written in many ways: "::0" is "::".
std::string InPlainForm(const std::string& text) {
    const Address address = ParseAddress(text, 0);
    const auto* v4 = reinterpret_cast<const sockaddr_in*>(&address.storage);
    const auto* v6 = reinterpret_cast<const sockaddr_in6*>(&address.storage);
    const bool isV4 = address.storage.ss_family == AF_INET;
    std::array<char, INET6_ADDRSTRLEN> plain{};
    ::inet_ntop(address.storage.ss_family, isV4 ? static_cast<const void*>(&v4->sin_addr) : &v6->sin6_addr,
                plain.data(), plain.size());
    return plain.data();
}

void Allow(int descriptor, int option) {
    const int on = 1;
    ::setsockopt(descriptor, SOL_SOCKET, option, &on, sizeof(on));
}

}  // namespace

void FailActivation(const std::string& what) {
    throw ActivationError(what + ": " + std::strerror(errno));
}

void Descriptor::Close() {
    if (number_ >= 0) {
        ::close(number_);
    }
}

std::string AddressText(const std::string& address, std::uint16_t port) {
    const bool v6 = address.find(':') != std::string::npos;
    return (v6 ? "[" + address + "]" : address) + ":" + std::to_string(port);
}

Descriptor BindHttp(const std::string& host, std::uint16_t port) {
    Address address = ParseAddress(host, port);
    Descriptor socket(::socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const std::string where = AddressText(host, port);
    if (!socket.IsOpen()) {
        FailActivation("no socket for " + where);
    }
    Allow(socket.Number(), SO_REUSEADDR);
    if (::bind(socket.Number(), address.Pointer(), address.size) != 0 || ::listen(socket.Number(), SOMAXCONN) != 0) {
        FailActivation("cannot serve at " + where);
    }
    return socket;
}

std::uint16_t PortOf(const Descriptor& socket) {
    Address address;
    address.size = sizeof(address.storage);
    if (::getsockname(socket.Number(), address.Pointer(), &address.size) != 0) {
        FailActivation("the port cannot be told");
    }
    // The port is at the same place in both kinds of address.
    return ntohs(reinterpret_cast<const sockaddr_in*>(&address.storage)->sin_port);
}

std::vector<std::string> AddressesOf(const std::string& written) {
    const std::string bound = InPlainForm(written);
    if (bound != "0.0.0.0" && bound != "::") {
        return {bound};
    }
    std::vector<std::string> addresses{bound == "::" ? "::1" : "127.0.0.1"};
    ifaddrs* first = nullptr;
    if (::getifaddrs(&first) != 0) {
        return addresses;
    }
    for (const ifaddrs* each = first; each != nullptr; each = each->ifa_next) {
        const bool usable = each->ifa_addr != nullptr && each->ifa_addr->sa_family == AF_INET &&
                            (each->ifa_flags & IFF_UP) != 0 && (each->ifa_flags & IFF_LOOPBACK) == 0;
        std::array<char, INET_ADDRSTRLEN> text{};
        if (usable) {
            const auto* address = reinterpret_cast<const sockaddr_in*>(each->ifa_addr);
            ::inet_ntop(AF_INET, &address->sin_addr, text.data(), text.size());
            addresses.emplace_back(text.data());
        }
    }
    ::freeifaddrs(first);
    return addresses;
}

Descriptor BindDiscovery(std::uint16_t port) {
    if (port == 0) {
        return Descriptor();
    }
    Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    Address address = ParseAddress("0.0.0.0", port);
    if (socket.IsOpen()) {
        Allow(socket.Number(), SO_REUSEADDR);
        Allow(socket.Number(), SO_REUSEPORT);
        if (::bind(socket.Number(), address.Pointer(), address.size) == 0) {
            return socket;
        }
    }
    std::fprintf(stderr, "kestrane-activate: no discovery at port %u: %s\n", unsigned{port}, std::strerror(errno));
    return Descriptor();
}

}  // namespace kestrane::alpaca
