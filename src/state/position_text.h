#pragma once

#include <string>

#include "kernel/base/astronomy_funcs.h"

namespace kestrane {

/// Without the minus of a value that was rounded up to zero.
std::string WithoutEmptyMinus(std::string text);

/// The texts in which the windows show the mount's position.
std::string HoursText(double hours, ForcedSign sign = ForcedSign::No);      ///< HH:MM:SS.S
std::string DegreesText(double degrees, ForcedSign sign = ForcedSign::No);  ///< DD:MM:SS

}  // namespace kestrane
