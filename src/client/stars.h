#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// The bright stars, and which of them are above the horizon.
namespace kestrane::client {

struct Star {
    std::string_view name;
    double ra;         ///< hours, J2000
    double dec;        ///< degrees, J2000
    double magnitude;  ///< smaller is brighter
};

/// The whole table, brightest first.
std::span<const Star> BrightStars();

/// By name, in any case; null when it is not in the table.
const Star* FindStar(std::string_view name);

struct Position {
    double ra = 0.0;   ///< hours
    double dec = 0.0;  ///< degrees
};

/// A J2000 position at the equinox of a date, `years` after J2000: precession alone, correct to an arc-minute within a
/// century, away from the poles.
Position Precessed(Position j2000, double years);

/// Degrees above the horizon.
double Altitude(Position position, double siderealTime, double latitude);

/// Local mean sidereal time in hours, correct to a few seconds; `unixSeconds` since 1970, longitude in degrees, east
/// positive.
double SiderealTimeAt(double unixSeconds, double longitude);

struct RisenStar {
    const Star* star = nullptr;
    Position position;      ///< at the equinox of the date
    double altitude = 0.0;  ///< degrees
};

/// The stars above the horizon, brightest first.
std::vector<RisenStar> StarsUp(double siderealTime, double latitude, double years);

/// A star to slew to: the brightest from 25 to 85 degrees of altitude, else the highest; nothing when none is up.
std::optional<RisenStar> ChooseStar(const std::vector<RisenStar>& up);

}  // namespace kestrane::client
