#pragma once

#include <string>

#include "kernel/base/astronomy_funcs.h"

namespace kestrane {

/// Without the minus of a value that was rounded up to zero.
std::string WithoutEmptyMinus(std::string text);

/// The texts in which the windows show the mount's position.
std::string HoursText(double hours, ForcedSign sign = ForcedSign::No);      ///< HH:MM:SS.S
std::string DegreesText(double degrees, ForcedSign sign = ForcedSign::No);  ///< DD:MM:SS

/// The texts in which a site goes to the mount, with so many decimals of the seconds.
std::string WireLatitude(double north, int secondDecimals);  ///< degrees: "+47*00:00"
std::string WireLongitude(double east, int secondDecimals);  ///< degrees: "122*10:00", "-010*30:00" in the east

}  // namespace kestrane
