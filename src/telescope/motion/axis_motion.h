#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kestrane {

class Telescope;

/// Whether the mount tracked before the first `MoveAxis` of its primary axis.
enum class MoveAxisTrackingState : std::int16_t {
    NotSet = 0,
    TrackingWasDisabled = 1,
    TrackingWasEnabled = 2,
};

/// What the `MoveAxis` calls of one telescope object have left behind.
struct AxisMotion {
    std::array<double, 2> rates{};  ///< degrees per second of axis 0 (primary) and 1 (secondary), as last given
    MoveAxisTrackingState m_MoveAxisTrackingState = MoveAxisTrackingState::NotSet;

    /// `g_nTrackingChoices` and `g_nSlewsTaken` at the last rate of an axis: where one has moved on, the motion has
    /// ended in the mount.
    struct Counts {
        std::uint32_t trackingChoices = 0;
        std::uint32_t slewsTaken = 0;
    };
    std::array<Counts, 2> counts{};
    /// What the last rate of the primary axis found: a stop, and the end of the client, put that back.
    bool tracked = false;

    bool Runs() const { return rates[0] != 0.0 || rates[1] != 0.0; }
};

/// The telescope objects of the process, whose axis motions one stop ends all together: the one who presses stop
/// cannot know whose motion it is. An object that ends with an axis running stops it as `MoveAxis` with a rate of 0
/// would, since a telescope that turns with nobody to stop it runs into its pier; it sends nothing for an axis whose
/// motion a later slew, a park or a write of the tracking has ended. What a stop or an object's end puts back is the
/// tracking that the last rate of the primary axis found; a `MoveAxis` of the client itself with a rate of 0 puts
/// back what its first rate found. A client cannot end itself and leave an axis running. Logic thread only.
///
/// Intentional: `MoveAxis` does not stop a slew under way, and its primary axis with a rate of 0 stops the secondary
/// one in the mount as well, whose rate and `Slewing` say that it runs until it gets a 0 too.
class AxisMotions {
public:
    /// The object stays until it leaves, at its end at the latest.
    void Enter(Telescope& object);
    /// An object that never entered may leave too.
    void Leave(const Telescope& object);

    /// Whether an axis of any object runs.
    bool AnyRuns() const;
    /// For a mount that was just stopped: all rates are 0, and each object that remembers a tracking state puts it
    /// back, unless somebody has chosen another since. Raises nothing.
    void EndAll();

private:
    std::vector<Telescope*> objects_;
};

}  // namespace kestrane
