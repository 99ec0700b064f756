#pragma once

#include "telescope/telescope_core.h"

namespace kestrane {

/// The custom rates of both axes, on the hand box and in the mount.
class CustomRates {
public:
    explicit CustomRates(TelescopeCore& core) : core_(core), needs_(core.needs_), state_(core.state_) {}

    /// Shows a rate in its box; the settings keep the rate that the user typed.
    void ShowCustomRate(TextBox& box, double rate);
    /// Multiples of sidereal. A refusal of the mount is in the log of the exchange; nothing is raised. A rate that
    /// rounds to no offset goes out as "0.00000", never with a minus, on either side and in either hemisphere. Returns
    /// whether the mount has taken it.
    bool SendCustomRate(const CharacterCommand& command, double multiple);
    /// After a stop, which clears the custom rates of the mount. They are offsets from tracking: a mount that does not
    /// track stays at rest, even where something could switch tracking on by itself. Raises nothing.
    void Reinstate(Telescope& telescope);
    /// Where the mount has custom rates and reports no status, its declination rate stays on after a change of the
    /// tracking.
    void ClearCustomDecRate(Sequence& mount);

private:
    TelescopeCore& core_;
    TelescopeNeeds& needs_;
    DriverState& state_;
};

}  // namespace kestrane
