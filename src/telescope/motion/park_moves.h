#pragma once

#include "telescope/telescope_core.h"

namespace kestrane {

/// The moves of a park ahead of its goto. They pump, and raise nothing.
class ParkMoves : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    /// Goes east where a direct way to a park position would lead across the pole, if the user wants that. False when
    /// the park is over: it was aborted, or somebody has taken the mount.
    bool CheckSlewEast();
    /// Lets the counterweight down where firmware does not do that by itself. False when it stays up, or the park is
    /// over.
    bool LeaveCounterweightUp();
};

}  // namespace kestrane
