#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace kestrane {

/// The value of an environment variable; one that is empty counts as not set.
std::optional<std::string> EnvironmentText(const char* name);

/// The first folder that the environment names: our own variable, then the desktop's (where a relative path counts as
/// not set), then `fallback` below the user's home folder.
std::filesystem::path FolderFromEnvironment(const char* ownVariable, const char* desktopVariable,
                                            const std::filesystem::path& fallback);

/// The folder with the per-user settings of applications: `KESTRANE_USER_CONFIG`, else `XDG_CONFIG_HOME`, else
/// "~/.config".
std::filesystem::path UserConfigFolder();

}  // namespace kestrane
