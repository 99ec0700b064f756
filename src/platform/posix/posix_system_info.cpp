#include "platform/posix/posix_system_info.h"

#include <unistd.h>

namespace kestrane {

std::optional<OsVersion> PosixSystemInfo::GetVersion() {
    return std::nullopt;
}

bool PosixSystemInfo::ShellAdminTest() {
    return geteuid() == 0;
}

std::optional<int> PosixSystemInfo::TokenElevationType() {
    return std::nullopt;
}

}  // namespace kestrane
