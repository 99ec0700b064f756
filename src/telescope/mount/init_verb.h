#pragma once

#include <string_view>

#include "telescope/telescope_core.h"

namespace kestrane {

/// Initializes the mount as the verb of the driver does. Raises nothing.
class InitVerb : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    /// As "InitMount" with this init string, which must not be empty; see `StepsOfInitString`.
    void InitMount(std::string_view initString);
};

}  // namespace kestrane
