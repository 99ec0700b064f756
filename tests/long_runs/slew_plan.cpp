#include "long_runs/slew_plan.h"

#include <algorithm>
#include <cmath>

#include "simulator/geometry.h"

namespace kestrane {
namespace {

constexpr double kDegreesPerHour = 15;
constexpr double kShortDegrees = 1;
constexpr double kWireDegrees = 0.02;     // what the roundings of the wire and the age of a read position come to
constexpr double kSideDegrees = 0.1;      // the same, with the age of a sidereal time
constexpr double kHorizonDegrees = 0.7;   // how far the sky turns in the longest slew, and then some
constexpr double kViaFromMeridian = 0.5;  // hours

Foretold Above(double value, double limit, double unsure) {
    return std::abs(value - limit) < unsure ? Foretold::Unsure : value > limit ? Foretold::Yes : Foretold::No;
}

Foretold IsUp(double hourAngle, double declination, double latitude) {
    const simulator::Equatorial direction{simulator::FoldDegrees(hourAngle * kDegreesPerHour), declination};
    return Above(simulator::ToHorizontal(direction, latitude).altitude, 0, kHorizonDegrees);
}

Foretold IsShort(const MountPicture& start, const SkyTarget& target) {
    const double hours = simulator::FoldHourAngle(target.rightAscension - start.rightAscension);
    const double farther =
        std::max(std::abs(hours) * kDegreesPerHour, std::abs(target.declination - start.declination));
    return Above(-farther, -kShortDegrees, kWireDegrees);
}

}  // namespace

double CounterweightUp(double hourAxis) {
    return std::abs(simulator::FoldDegrees(hourAxis)) - 90;
}

double Separation(const SkyTarget& one, const SkyTarget& other) {
    // As altitudes seen from one of them: the other is its own distance short of the zenith.
    const double hours = simulator::FoldHourAngle(other.rightAscension - one.rightAscension);
    return 90 - simulator::ToHorizontal({hours * kDegreesPerHour, other.declination}, one.declination).altitude;
}

SlewPlan PlanOf(const MountPicture& start, const SkyTarget& target, bool firmwareNeedsLegs) {
    SlewPlan plan;
    plan.isShort = IsShort(start, target);
    plan.targetIsUp = IsUp(start.siderealTime - target.rightAscension, target.declination, start.latitude);
    if (!firmwareNeedsLegs || plan.isShort == Foretold::Yes) {
        return plan;
    }
    const double axis = simulator::FoldDegrees(start.hourAxis);
    const Foretold up = Above(CounterweightUp(axis), 0, kSideDegrees);
    const bool atTheTop = std::abs(axis) > 180 - kSideDegrees;
    plan.twoLegs = up == Foretold::Yes && plan.isShort == Foretold::Unsure ? Foretold::Unsure : up;
    // Level with the counterweight is where the tube is at a meridian: the upper one (0 h) or the lower one (12 h). The
    // intermediate point is half an hour on the hanging side of the level that is nearer.
    const double level = axis > 0 ? 90 - kViaFromMeridian * kDegreesPerHour : kViaFromMeridian * kDegreesPerHour - 90;
    plan.viaHourAngle = simulator::FoldHourAngle((level + (start.westSide ? -90 : 90)) / kDegreesPerHour);
    plan.firstLegIsUp = atTheTop ? Foretold::Unsure : IsUp(plan.viaHourAngle, start.declination, start.latitude);
    return plan;
}

}  // namespace kestrane
