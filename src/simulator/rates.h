#pragma once

#include <optional>

#include "simulator/firmware.h"

namespace kestrane::simulator {

/// Degrees per second of the sky's turn.
inline constexpr double kSiderealRate = 15.0 * 1.00273790935 / 3600.0;
inline constexpr double kSolarRate = 15.0 / 3600.0;
inline constexpr double kLunarRate = 14.685 / 3600.0;
inline constexpr double kKingRate = 15.0369 / 3600.0;

/// Multiple of sidereal that "RC" `index` selects; nothing for an index that the family lacks.
std::optional<double> CenteringMultiple(const Firmware& firmware, int index);
/// Multiple of sidereal that "RG" `index` (0 to 3) selects.
std::optional<double> GuideMultiple(int index);
/// Multiple of sidereal that "RS" `index` (0 to 2) selects.
std::optional<double> SlewMultiple(const Firmware& firmware, int index);

/// The motion that the mount follows by itself, in the letters of the status string.
enum class Tracking : char { Lunar = '0', Solar = '1', Sidereal = '2', Custom = 'C', Stopped = '9' };

/// All rates that commands choose, and the speeds that follow from them.
struct Rates {
    Tracking base = Tracking::Sidereal;  ///< never Custom
    bool king = false;                   ///< King correction of the sidereal rate
    std::optional<double> customRa;      ///< replaces the base rate; a multiple of sidereal, subtracted from it
    double customDec = 0;                ///< multiple of sidereal

    double guide = 1.0;         ///< multiple of sidereal
    int guideIndex = 2;         ///< as "RG" gave it
    double centering = 12;      ///< multiple of sidereal
    int centeringIndex = 0;     ///< as "RC" gave it
    bool movesAtGuide = false;  ///< the last of "RG" and "RC" was "RG"
    double slew = 1200;         ///< multiple of sidereal
    int slewIndex = 2;          ///< as "RS" gave it; -1 for a custom one

    Tracking Shown() const;
    /// Degrees per second of the hour axis, for a mount that tracks. `hemisphere` is 1 north, -1 south.
    double HourRate(double hemisphere) const;
    /// Degrees per second at which buttons move.
    double MoveRate() const { return (movesAtGuide ? guide : centering) * kSiderealRate; }
    double GuideRate() const { return guide * kSiderealRate; }
    /// Place of the button rate in the list that a client shows: sub-sidereal rates first. '-' for one beyond the list.
    char MoveRateLetter() const;
};

}  // namespace kestrane::simulator
