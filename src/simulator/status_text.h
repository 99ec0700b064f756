#pragma once

#include <string>

#include "simulator/mount_model.h"

namespace kestrane::simulator {

/// The status string: single characters, as many as the family gives (11, 13 or 14). Positions from 1: park,
/// tracking, -, slew, -, -, guide rate, move rate, slew rate, PEM, fault, RA swapped, Dec swapped, rate type.
std::string StatusText(const MountModel& mount);

}  // namespace kestrane::simulator
