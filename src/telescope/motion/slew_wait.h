#pragma once

#include <cstdint>
#include <string_view>

#include "telescope/telescope_core.h"

namespace kestrane {

/// The wait of a call for the end of its slew. Made before the slew begins: a stop from then on ends the wait, and the
/// call does nothing more after it.
class SlewWait {
public:
    explicit SlewWait(TelescopeCore& core)
        : driver_(core.driver_), needs_(core.needs_), aborts_(core.state_.g_nAborts) {}

    /// Whether a stop was asked for since. The count shows it even when the supervision has already cleared the flag,
    /// or a new slew has.
    bool Aborted() const;
    /// Whether another slew was asked for since `slew` began: the mount goes there now, and the earlier slew counts no
    /// more. Logged.
    bool Replaced(std::uint32_t slew, std::string_view who) const;
    /// Gives the mount a second to begin, then waits for the end of its slew; pumps.
    void ForEnd();
    /// Waits as long as the supervision sees a slew; pumps.
    void WhileSlewing();

private:
    void PumpRound();

    Essentials& driver_;
    TelescopeNeeds& needs_;
    std::uint32_t aborts_;  ///< stops before this call
};

}  // namespace kestrane
