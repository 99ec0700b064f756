#pragma once

#include "telescope/telescope_core.h"

namespace kestrane {

/// The custom rates of both axes, on the hand box and in the mount.
class CustomRates {
public:
    explicit CustomRates(TelescopeCore& core) : core_(core), needs_(core.needs_), state_(core.state_) {}

    /// Shows a rate in its box; the settings keep the rate that the user typed.
    void ShowCustomRate(TextBox& box, double rate);
    /// Multiples of sidereal. The mount's refusal is in the log of the exchange; it raises nothing. What rounds to no
    /// offset goes out as "0.00000", without a sign, whatever side or hemisphere has negated it.
    void SendCustomRate(const CharacterCommand& command, double multiple);
    /// Where the mount has custom rates and reports no status, its declination rate outlives a change of the tracking.
    void ClearCustomDecRate(Sequence& mount);

private:
    TelescopeCore& core_;
    TelescopeNeeds& needs_;
    DriverState& state_;
};

}  // namespace kestrane
