#pragma once

#include <string>

namespace kestrane {

enum class ForcedSign { No, Yes };

/// The texts in which the windows show the mount's position.
std::string HoursText(double hours, ForcedSign sign = ForcedSign::No);      ///< HH:MM:SS.S
std::string DegreesText(double degrees, ForcedSign sign = ForcedSign::No);  ///< DD:MM:SS

}  // namespace kestrane
