#pragma once

#include <cstdint>
#include <optional>

/// The rule of the two-leg slew: a German equatorial mount that has its counterweights up, or would pass through such a
/// position, goes to an intermediate point near the meridian first. Pure.
namespace kestrane {

/// Whether current and final position are within one degree in both axes. RA in hours, Dec in degrees.
bool IsShortSlew(double currentRa, double currentDec, double finalRa, double finalDec);

/// RA in hours, 0 up to below 24, of the intermediate point, or nothing when one leg is enough. `sideOfPier` 0 East, 1
/// West; `hourAngle` -12 to 12; `siderealTime` in hours.
std::optional<double> IntermediateRa(std::int16_t sideOfPier, double hourAngle, double siderealTime);

}  // namespace kestrane
