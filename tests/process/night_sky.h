#pragma once

#include <algorithm>
#include <cmath>
#include <string>

/// Places of the sky, and the ways of a guider between them.
namespace kestrane::process {

inline constexpr double kArcSecondsPerHour = 15 * 3600;
inline constexpr double kArcSecondsPerDegree = 3600;

/// Right ascension in hours, declination in degrees.
struct SkyPlace {
    double ra = 0;
    double dec = 0;

    SkyPlace PlusArcSeconds(double inRa, double inDec) const {
        return {ra + inRa / kArcSecondsPerHour, dec + inDec / kArcSecondsPerDegree};
    }
};

/// Arc-seconds along the axis that is further away.
inline double ArcSecondsBetween(const SkyPlace& one, const SkyPlace& other) {
    const double hours = std::remainder(one.ra - other.ra, 24.0);
    return std::max(std::abs(hours) * kArcSecondsPerHour, std::abs(one.dec - other.dec) * kArcSecondsPerDegree);
}

/// As the members of a telescope take it.
inline std::string CoordinatesForm(const SkyPlace& place) {
    return "RightAscension=" + std::to_string(place.ra) + "&Declination=" + std::to_string(place.dec);
}

/// A direction of guide pulses.
struct GuideDirection {
    int number;      ///< of the interface
    int ofJournal;   ///< of the driver's journal
    char letter;     ///< of the wire
    double ra;       ///< 1 when it moves the telescope to greater right ascensions, -1 to smaller ones
    double decWest;  ///< the same of the declination, with the tube west of the pier; east of it the other way round
};
inline constexpr GuideDirection kNorth{0, 3, 'n', 0, 1};
inline constexpr GuideDirection kSouth{1, 4, 's', 0, -1};
inline constexpr GuideDirection kEast{2, 1, 'e', 1, 0};
inline constexpr GuideDirection kWest{3, 2, 'w', -1, 0};

struct GuidePulse {
    GuideDirection direction;
    int milliseconds;
};

}  // namespace kestrane::process
