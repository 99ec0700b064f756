#pragma once

#include <cstdint>
#include <optional>

#include "telescope/telescope.h"

namespace kestrane {

/// How a person confirms the position from which a mount is unparked. Nobody is asked about position 0, nor while the
/// button that asks is disabled. Position 7 is none that somebody could confirm: only an offer leaves it out.
enum class Confirmation {
    AskedElseAccepted,   ///< where nobody can be asked, the position stands
    AskedElseCancelled,  ///< where nobody can be asked, the mount is not unparked
    Offered,             ///< nothing is sent now; a person may still accept it later
};

/// Unparks a mount: tells it where it points, from a known position, and starts it.
class Unparking : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    /// `index` as `park_index`, 0 to 7; with any other nothing is sent. Returns whether the mount was told to leave its
    /// power-on state. Raises nothing; pumps while a person is asked.
    bool UnparkMount(std::int16_t index, Confirmation confirmation);

private:
    /// What a position of the table says, degrees.
    struct Place {
        double altitude = 0.0;
        double azimuth = 0.0;
    };

    bool MayBegin(std::int16_t& index, Confirmation confirmation);
    void EndLogPause();
    void StopTracking();
    bool TakeMount(std::int16_t index);
    std::optional<std::int16_t> Ask(std::int16_t proposed, Unasked unasked);
    bool Confirm(std::int16_t& index, Confirmation confirmation);
    bool LeavePowerOnState();
    void ChooseTracking();
    Place PlaceOf(std::int16_t index);
    bool SyncTo(std::int16_t index);
    bool MayMove() const;
    void NoteUnparked();
};

}  // namespace kestrane
