#pragma once

#include <cstdint>

#include "telescope/telescope_core.h"

namespace kestrane {

/// A place of the sky over the horizon; degrees.
struct HorizonPlace {
    double altitude = 0.0;
    double azimuth = 0.0;
};

/// The goto of a park that the driver leads to its position. Works on settings and state of the moment.
class ParkGoto : TelescopeSteps {
public:
    /// `latitude` of the site in degrees.
    ParkGoto(Telescope& telescope, double latitude) : TelescopeSteps(telescope), latitude_(latitude) {}

    /// Position 1 to 6.
    HorizonPlace Place(std::int16_t index);
    /// Sends the goto to position 1 to 6, for a counterweight-up park that to its first leg. False when the mount did
    /// not accept it, or there is no way there. Raises nothing.
    bool Send(std::int16_t index);

private:
    enum class Way { Direct, Safe };

    Way SetTarget(std::int16_t index);
    void SetRaDec(const HorizonPlace& place, double siderealTime);
    void SetTargetRaDec(double rightAscension, double declination);
    void SetAltAz(const HorizonPlace& place);
    void SetFirstLeg();
    HorizonPlace UserPlace();
    double AsTheMountTakesIt(double degrees);

    const double latitude_;
};

}  // namespace kestrane
