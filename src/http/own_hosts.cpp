#include "http/own_hosts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <unistd.h>

#include "kernel/base/text.h"

namespace kestrane::http {
namespace {

struct HostAndPort {
    std::string name;       ///< lower case, without brackets and final point
    std::string_view port;  ///< digits; empty when there is none
    bool good = true;       ///< nothing else stands there
};

bool IsPort(std::string_view text) {
    return !text.empty() && text.size() <= 5 && text.find_first_not_of("0123456789") == std::string_view::npos;
}

HostAndPort SplitHost(std::string_view host) {
    std::string_view name = host;
    std::string_view port;
    bool good = true;
    const std::size_t bracket = host.rfind(']');
    const std::size_t colon = host.rfind(':');
    if (colon != std::string_view::npos && (bracket == std::string_view::npos || colon > bracket)) {
        name = host.substr(0, colon);
        port = host.substr(colon + 1);
        good = port.empty() || IsPort(port);
    }
    if (name.size() >= 2 && name.front() == '[' && name.back() == ']') {
        name = name.substr(1, name.size() - 2);
    }
    if (!name.empty() && name.back() == '.') {
        name.remove_suffix(1);
    }
    return {ToLower(name), port, good};
}

/// Four decimal numbers up to 255, the first of them 127.
bool IsLoopback4(std::string_view name) {
    for (int part = 0; part < 4; ++part) {
        int value = -1;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), value);
        const auto digits = static_cast<std::size_t>(end - name.data());
        if (error != std::errc{} || digits > 3 || value < 0 || value > 255 || (part == 0 && value != 127)) {
            return false;
        }
        name.remove_prefix(digits);
        const bool last = part == 3;
        if (last != name.empty() || (!last && name.front() != '.')) {
            return false;
        }
        name.remove_prefix(last ? 0 : 1);
    }
    return true;
}

bool IsOwnName(const std::string& name, const OwnHosts& own) {
    if (name == "localhost" || name == "::1" || IsLoopback4(name)) {
        return true;
    }
    return !name.empty() && (name == own.localAddress || std::ranges::find(own.names, name) != own.names.end());
}

}  // namespace

bool IsOwnHost(std::string_view host, const OwnHosts& own) {
    const HostAndPort parts = SplitHost(host);
    return host.empty() || (parts.good && IsOwnName(parts.name, own));
}

bool IsOwnOrigin(std::string_view origin, const OwnHosts& own) {
    constexpr std::string_view kScheme = "http://";
    if (origin.empty()) {
        return true;
    }
    if (ToLower(origin.substr(0, kScheme.size())) != kScheme) {
        return false;
    }
    const HostAndPort parts = SplitHost(origin.substr(kScheme.size()));
    const std::string port(parts.port.empty() ? "80" : parts.port);
    return port == std::to_string(own.port) && IsOwnName(parts.name, own);
}

bool IsOwnSite(std::string_view fetchSite) {
    return ToLower(fetchSite) != "cross-site";
}

std::vector<std::string> HostNames(std::string_view list) {
    std::vector<std::string> names;
    while (!list.empty()) {
        const std::size_t comma = std::min(list.find(','), list.size());
        HostAndPort name = SplitHost(list.substr(0, comma));
        if (!name.name.empty()) {
            names.push_back(std::move(name.name));
        }
        list.remove_prefix(std::min(comma + 1, list.size()));
    }
    return names;
}

std::vector<std::string> MachineNames() {
    std::array<char, 256> buffer{};
    if (gethostname(buffer.data(), buffer.size() - 1) != 0) {
        return {};
    }
    const std::string full = ToLower(buffer.data());
    const std::string brief = full.substr(0, full.find('.'));
    return {full, brief, full + ".local", brief + ".local"};
}

}  // namespace kestrane::http
