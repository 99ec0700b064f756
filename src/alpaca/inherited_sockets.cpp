#include "alpaca/inherited_sockets.h"

#include <algorithm>
#include <cstdint>
#include <fcntl.h>
#include <string_view>
#include <sys/socket.h>

#include "alpaca/parameter_values.h"

namespace kestrane::alpaca {
namespace {

constexpr int kMostDescriptors = 64;

int SocketOption(int descriptor, int option) {
    int value = 0;
    socklen_t size = sizeof(value);
    return ::getsockopt(descriptor, SOL_SOCKET, option, &value, &size) == 0 ? value : -1;
}

bool IsListening(int descriptor) {
    return SocketOption(descriptor, SO_TYPE) == SOCK_STREAM && SocketOption(descriptor, SO_ACCEPTCONN) == 1;
}

bool IsDatagram(int descriptor) {
    return SocketOption(descriptor, SO_TYPE) == SOCK_DGRAM;
}

std::string_view TakeName(std::string_view& names) {
    const std::size_t end = std::min(names.find(':'), names.size());
    const std::string_view name = names.substr(0, end);
    names.remove_prefix(std::min(end + 1, names.size()));
    return name;
}

int CountOf(const char* text) {
    const std::optional<std::int32_t> count = text == nullptr ? std::nullopt : ParseInteger(text);
    return count ? std::clamp(*count, 0, kMostDescriptors) : 0;
}

}  // namespace

std::optional<ServerSockets> TakeInheritedSockets(const ReadEnvironment& environment, int processId) {
    const char* pid = environment("LISTEN_PID");
    const char* nameList = environment("LISTEN_FDNAMES");
    if (pid == nullptr || nameList == nullptr || ParseInteger(pid) != processId) {
        return std::nullopt;
    }
    ServerSockets sockets;
    std::string_view names = nameList;
    for (int i = 0; i < CountOf(environment("LISTEN_FDS")); ++i) {
        const int descriptor = kFirstDescriptor + i;
        const std::string_view name = TakeName(names);
        if (name == "alpaca" && IsListening(descriptor)) {
            sockets.http.push_back(descriptor);
        } else if (name == "discovery" && IsDatagram(descriptor)) {
            sockets.discovery.push_back(descriptor);
        } else {
            continue;
        }
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    }
    return sockets.http.empty() ? std::nullopt : std::optional(sockets);
}

}  // namespace kestrane::alpaca
