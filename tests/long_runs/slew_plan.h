#pragma once

#include <string>

#include "simulator/mount_simulator.h"

namespace kestrane {

/// A place in the sky that a client wants, hours and degrees.
struct SkyTarget {
    double rightAscension = 0;
    double declination = 0;
};

/// Whether something is so, as far as a slew that takes its time can be foretold.
enum class Foretold { No, Yes, Unsure };

/// What a slew of a mount whose firmware needs the driver's two legs must come to, worked out from the mount's axes
/// alone, apart from the driver's own rules and numbers.
struct SlewPlan {
    Foretold isShort = Foretold::No;        ///< within a degree in both axes
    Foretold twoLegs = Foretold::No;        ///< by way of `viaHourAngle`
    double viaHourAngle = 0;                ///< hours
    Foretold firstLegIsUp = Foretold::Yes;  ///< the intermediate point is above the horizon
    Foretold targetIsUp = Foretold::Yes;
};

/// Degrees by which the hour axis stands beyond level with the counterweight above the tube; below 0 when it hangs.
double CounterweightUp(double hourAxis);
/// Degrees on the sky between two places.
double Separation(const SkyTarget& one, const SkyTarget& other);
/// `firmwareNeedsLegs` false for one that finds the safe way itself.
SlewPlan PlanOf(const MountPicture& start, const SkyTarget& target, bool firmwareNeedsLegs);

}  // namespace kestrane
