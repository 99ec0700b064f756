#pragma once

#include <string_view>

#include "telescope/telescope_core.h"

namespace kestrane {

/// The rate of slews, which the initialization of a mount sets, and each slew too if the user wants that.
class SlewRate : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    static constexpr int kOfSettings = -1;

    /// Index 0 to 2 of the slew rates, 3 the custom one, `kOfSettings` the one of the settings.
    void Set(Sequence& mount, int index);

private:
    void SendCustom(Sequence& mount, std::string_view rate);
};

}  // namespace kestrane
