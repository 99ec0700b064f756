#pragma once

#include <cstdint>
#include <string_view>

/// Where a mount parks, from where it unparks, and on which ways. Pure tables and formulas; hours, degrees. "Text" is
/// the form in which the mount takes angles.
namespace kestrane {

/// The park positions by their index in `cbxParkTo` and `cbxUnparkFrom`.
namespace park_index {
enum : std::int16_t {
    FromSettings = -1,
    Current = 0,  ///< where the mount stands; of unparking: where it was parked last
    FirstFixed = 1,
    LastFixed = 5,
    User = 6,
    DontUnpark = 7,
    InSecondLeg = -1,  ///< in the place of the index of a park whose second leg has begun
};
}  // namespace park_index

/// From which reading of the sidereal time a right ascension is computed.
enum class SiderealTimeOf { Now, LastReading };

/// A fixed position. An empty altitude stands for the size of the latitude.
struct FixedPlace {
    std::string_view altitude;
    std::string_view azimuthNorth;  ///< for latitudes from 0 up
    std::string_view azimuthSouth;
    SiderealTimeOf siderealTime = SiderealTimeOf::LastReading;

    std::string_view Azimuth(double latitude) const { return latitude < 0.0 ? azimuthSouth : azimuthNorth; }
};

/// `index` from 1 to 5.
const FixedPlace& FixedParkPlace(std::int16_t index);
/// The same for unparking. Intentional: position 1 differs from the one to park at by its altitude.
const FixedPlace& FixedUnparkPlace(std::int16_t index);

/// Whether a direct way to a park position would lead across the pole, so that the mount has to go east first.
/// `sideOfPier` as `pier_side`.
bool WouldCrossPole(std::int16_t sideOfPier, double hourAngle);
/// Whether a mount can go east for so many hours: above 0 to 12.
bool CanSlewEast(double hours);

/// Parking with the counterweight up takes two legs. The first goes near the meridian, with a right ascension from 0 to
/// below 24 hours. `hourAngle` is the one of the position to come back to, as the settings keep it.
double CounterweightUpFirstRa(double hourAngle, double siderealTime);
/// The second goes to the position itself, once the mount has a meridian delay.
double CounterweightUpSecondRa(double hourAngle, double siderealTime);
/// That delay, in hours. `offset` as the settings keep it beside the hour angle. A mount takes -6 to 6 hours, which
/// leaves out hour angles whose size lies between 5 and 7.
double CounterweightUpDelay(double hourAngle, double offset);
/// Whether a mount takes a delay, in hours.
bool IsPossibleMeridianDelay(double hours);
/// The offset that belongs to a mount with the counterweight up.
double CounterweightUpOffset(std::int16_t sideOfPier, double hourAngle);

}  // namespace kestrane
