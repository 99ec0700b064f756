#pragma once

#include <cstdint>

#include "telescope/telescope_core.h"

namespace kestrane {

/// Parks and unparks as the verbs of the driver do. Positions as `park_index`. Raises nothing.
class ParkVerbs : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    /// As "ParkMount"; pumps as `Telescope::Park` does.
    void Park(std::int16_t index);
    /// As "UnparkMount".
    void Unpark(std::int16_t index);
};

}  // namespace kestrane
