#pragma once

#include <string>

#include "state/driver_state.h"

/// Targets in the form that the mount takes, with the precision of its firmware.
namespace kestrane {

/// Hours. A value that rounds up across midnight goes out as 0 hours: the mount accepts no hour 24.
std::string RaTargetText(double hours, const DriverState& state);
/// Degrees, with its sign.
std::string DecTargetText(double degrees, const DriverState& state);
/// Degrees. A text without a minus gets a plus when `signValue` is not negative.
std::string AltTargetText(double degrees, double signValue, const DriverState& state);
/// Degrees, three digits. A value that rounds up to a full turn goes out as 0: the mount accepts no 360.
std::string AzTargetText(double degrees, const DriverState& state);

}  // namespace kestrane
