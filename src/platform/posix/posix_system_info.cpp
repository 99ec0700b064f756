#include "platform/posix/posix_system_info.h"

#include <fstream>
#include <string_view>
#include <sys/utsname.h>
#include <unistd.h>

namespace kestrane {
namespace {

std::string DistributionName() {
    constexpr std::string_view kKey = "PRETTY_NAME=";
    std::ifstream file("/etc/os-release");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(kKey)) {
            line.erase(0, kKey.size());
            std::erase(line, '"');
            return line;
        }
    }
    return {};
}

}  // namespace

std::optional<OsVersion> PosixSystemInfo::GetVersion() {
    return std::nullopt;
}

std::string PosixSystemInfo::Name() {
    utsname kernel{};
    if (uname(&kernel) != 0) {
        return {};
    }
    const std::string running = std::string(kernel.sysname) + " " + kernel.release + " " + kernel.machine;
    const std::string distribution = DistributionName();
    return distribution.empty() ? running : distribution + ", " + running;
}

bool PosixSystemInfo::ShellAdminTest() {
    return geteuid() == 0;
}

std::optional<int> PosixSystemInfo::TokenElevationType() {
    return std::nullopt;
}

}  // namespace kestrane
