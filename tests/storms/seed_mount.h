#pragma once

#include <array>
#include <cmath>
#include <cstdint>

#include "simulator/mount_simulator.h"

namespace kestrane::storm {

/// The mount of a random hour: its firmware, its side of the earth, and whether it wakes up parked.
inline MountSimulatorOptions MountOfSeed(std::uint32_t seed) {
    constexpr std::array kFirmwares{"D", "E3", "EK5", "S", "VKC4-P02-08", "VKC5-P03-01"};
    MountSimulatorOptions options;
    options.firmware = kFirmwares[seed % kFirmwares.size()];
    options.latitude = seed % 5 == 0 ? -33.0 : 47.0;
    options.parkedAtPowerOn = seed % 7 == 0;
    return options;
}

/// Whether the mount slews or an axis turns, far faster than tracking and pulses.
inline bool Moves(const MountPicture& picture) {
    constexpr double kFast = 0.05;  // degrees per second
    return picture.slewing || std::abs(picture.hourSpeed) > kFast || std::abs(picture.polarSpeed) > kFast;
}

}  // namespace kestrane::storm
