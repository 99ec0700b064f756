#include "kernel/base/os_info.h"

namespace kestrane {
namespace {

constexpr std::uint32_t kWin32s = 0;
constexpr std::uint32_t kWindows9x = 1;
constexpr std::uint32_t kNtFamily = 2;
constexpr int kFullElevation = 2;

std::string NameOf9x(const OsVersion& version) {
    if (version.major >= 5) {
        return "Windows ME";
    }
    return version.major == 4 && version.minor > 0 ? "Windows 98" : "Windows 95";
}

std::string NameOfNt(const OsVersion& version) {
    if (version.major < 5) {
        return "Windows NT";
    }
    if (version.major == 5) {
        return version.minor == 0 ? "Windows 2000" : "Windows XP";
    }
    if (version.major == 6 && version.minor <= 3) {
        constexpr const char* kNames[] = {"Windows Vista", "Windows 7", "Windows 8.0", "Windows 8.1"};
        return kNames[version.minor];
    }
    if (version.major == 10) {
        return "Windows 10";
    }
    return "Windows Major,Minor: " + std::to_string(version.major) + " ," + std::to_string(version.minor);
}

}  // namespace

bool IsAdmin(SystemInfo& system) {
    const std::optional<OsVersion> version = system.GetVersion();
    if (!version || version->platformId != kNtFamily || version->major < 6) {
        return system.ShellAdminTest();
    }
    return system.TokenElevationType() == kFullElevation;
}

std::string GetOsName(SystemInfo& system) {
    const std::optional<OsVersion> version = system.GetVersion();
    if (!version) {
        const std::string name = system.Name();
        return name.empty() ? "unknown" : name;
    }
    switch (version->platformId) {
        case kWin32s:
            return "Win32s";
        case kWindows9x:
            return NameOf9x(*version);
        case kNtFamily:
            return NameOfNt(*version);
        default:
            return "unknown";
    }
}

}  // namespace kestrane
