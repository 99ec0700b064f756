#include "platform/posix/environment.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace kestrane {
namespace {

std::filesystem::path HomeFolder() {
    if (const auto home = EnvironmentText("HOME")) {
        return *home;
    }
    const passwd* user = getpwuid(getuid());
    return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "/";
}

}  // namespace

std::optional<std::string> EnvironmentText(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') {
        return std::nullopt;
    }
    return value;
}

std::filesystem::path FolderFromEnvironment(const char* ownVariable, const char* desktopVariable,
                                            const std::filesystem::path& fallback) {
    if (const auto own = EnvironmentText(ownVariable)) {
        return *own;
    }
    if (const auto desktop = desktopVariable ? EnvironmentText(desktopVariable) : std::nullopt) {
        if (std::filesystem::path(*desktop).is_absolute()) {
            return *desktop;
        }
    }
    return HomeFolder() / fallback;
}

std::filesystem::path UserConfigFolder() {
    return FolderFromEnvironment("KESTRANE_USER_CONFIG", "XDG_CONFIG_HOME", ".config");
}

}  // namespace kestrane
