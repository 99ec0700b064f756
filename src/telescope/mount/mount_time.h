#pragma once

#include "telescope/telescope_core.h"

namespace kestrane {

/// The PC's time for the mount.
class MountTime : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    /// Gives it time, date and zone, as the verb "InitTime" of the driver does.
    void Sync();
    /// What a park and an unpark begin with: the meridian delay becomes 0, in the mount too, and the mount gets the
    /// PC's time in any case. Ends with a pause of 40 ms; does not pump. Raises what a write of `utcDate` raises.
    void SendAfresh();
};

}  // namespace kestrane
