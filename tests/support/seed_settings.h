#pragma once

#include <string>
#include <utility>
#include <vector>

#include "support/virtual_platform.h"

namespace kestrane {

/// Settings by key, as texts.
using SettingTexts = std::vector<std::pair<std::string, std::string>>;

/// Writes settings as an earlier process would have left them on the machine.
void SeedSettings(VirtualPlatform& machine, const SettingTexts& settings);

}  // namespace kestrane
