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

/// The telescope objects of the process, whose axis motions one stop ends all together. Logic thread only.
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
