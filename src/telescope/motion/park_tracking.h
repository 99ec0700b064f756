#pragma once

#include "telescope/telescope_core.h"

namespace kestrane {

/// The write of `Tracking` by the park itself, which does not take the mount from it.
class ParkTracking : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    /// Goes out to a parked mount too, and takes it from where it is parked.
    void Stop();
};

}  // namespace kestrane
