#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "catalogue/vocabulary.h"
#include "platform/clock.h"
#include "state/driver_state.h"

namespace kestrane {

class Telescope;

/// Whether the mount tracked before the first `MoveAxis` of its primary axis.
enum class MoveAxisTrackingState : std::int16_t {
    NotSet = 0,
    TrackingWasDisabled = 1,
    TrackingWasEnabled = 2,
};

/// What ends the motion of an axis, the weakest first. A choice of the tracking stops both axes ahead of it.
enum class AxisEnd { RateOfSecondary, StopPair, TrackingOff, TrackingOn };

/// The state that the `MoveAxis` calls of one telescope object have left.
struct AxisMotion {
    std::array<double, 2> rates{};  ///< degrees per second of axis 0 (primary) and 1 (secondary), as last given
    MoveAxisTrackingState m_MoveAxisTrackingState = MoveAxisTrackingState::NotSet;

    /// `g_nTrackingChoices` and `g_nSlewsTaken` at the last rate of an axis: when one of them has changed since, the
    /// motion has ended in the mount.
    struct Counts {
        std::uint32_t trackingChoices = 0;
        std::uint32_t slewsTaken = 0;
    };
    std::array<Counts, 2> counts{};
    /// Whether the mount tracked before the axes that run began: a stop, and the end of the client, restore that. A
    /// mount at rest reports a custom rate, and so seems to track, as soon as one of its axes runs.
    bool tracked = false;

    bool Runs() const { return rates[mount_axis::Primary] != 0.0 || rates[mount_axis::Secondary] != 0.0; }
};

/// The telescope objects of the process. One stop ends the axis motions of all of them: whoever presses stop cannot
/// know whose motion it is. An object that ends while its axis runs stops it as `MoveAxis` with a rate of 0 would,
/// since a telescope that turns with nobody to stop it runs into its pier; it sends nothing for an axis whose motion a
/// later slew, a park or a write of the tracking has ended. A stop, or the end of an object, restores the tracking that
/// the last rate of the primary axis found; a `MoveAxis` of the client itself with a rate of 0 restores what its first
/// rate found. A client cannot end and leave an axis running. Logic thread only.
///
/// Intentional: `MoveAxis` does not stop a slew under way. Intentional: its primary axis with a rate of 0 stops the
/// secondary one in the mount as well, but the rate of that axis and `Slewing` still say that it runs until it gets a 0
/// too.
class AxisMotions {
public:
    /// The object stays entered until it leaves, at its end at the latest.
    void Enter(Telescope& object);
    /// Also allowed for an object that never entered.
    void Leave(const Telescope& object);

    /// Whether an axis of any object runs.
    bool AnyRuns() const;
    /// The same, without those that a later slew or a later choice of the tracking has ended in the mount.
    bool AnyStillRuns() const;
    /// Ends the axes of each object as its own end would, with `reason` in the log. False when the mount has not taken
    /// the end of an axis, as far as that is known; for a primary one over a goto see `Telescope::StopOwnAxes`. Raises
    /// nothing.
    bool StopAll(std::string_view reason);
    /// For a mount that was just stopped: sets all rates to 0, and each object that remembers a tracking state restores
    /// it, unless somebody has chosen another since. Raises nothing.
    void EndAll();
    /// The mount tracks, or does not, by what a park or an unpark has chosen: no axis of any object runs any more. The
    /// client that ends its motion afterwards gets that tracking again. Sends nothing.
    void ForgetAll(DriverState& state);

    /// To be called before an axis begins. Returns whether the mount tracked before the first of those that run.
    bool AxisBegins(const DriverState& state);
    /// To be called after an axis has ended. Once none runs, a mount that did not track before does not track now,
    /// whatever its last report was.
    void AxisEnded(DriverState& state);
    /// To be called when somebody chooses whether the mount tracks.
    void TrackingChosen(bool tracks) { tracksByChoice_ = tracks; }

    /// What ends the motion of an axis goes out, and nobody hears whether the mount takes it. The end is in doubt until
    /// the mount reports another rate than a custom one, or until somebody chooses a custom rate or the mount accepts a
    /// slew. Of two doubted ends the stronger one stays: it ends what the other was to end. To be called before a
    /// choice of the tracking goes out, and after any other end. Makes the next status due early.
    void EndIsDoubted(AxisEnd end, Tick now, DriverState& state);
    bool EndIsInDoubt() const { return doubtedEnd_.has_value(); }
    /// The same where the status of the mount will say how it is, and no later slew has ended the motion.
    bool EndMayBeLost(const DriverState& state) const;
    /// The mount has taken the end after all.
    void EndIsHeard() { doubtedEnd_.reset(); }
    void CustomRateChosen() { doubtedEnd_.reset(); }
    /// The mount's status text has come and reports a custom rate, or another. Returns the end that has to go out
    /// again. That is five times at most, and never during another motion.
    std::optional<AxisEnd> LostEnd(bool isCustomRate, const DriverState& state);

private:
    struct DoubtedEnd {
        AxisEnd end;
        Tick sentAt;
        std::uint32_t trackingChoices = 0;  ///< `g_nTrackingChoices` once the end has gone out
        std::uint32_t slewsTaken = 0;
        int repeats = 0;
    };

    struct Before {
        bool tracked = false;
        AxisMotion::Counts counts;
    };
    bool HasBeenReplaced(const Before& before, const DriverState& state) const;
    void TakeChoiceSince(DoubtedEnd& end, const DriverState& state) const;

    std::vector<Telescope*> objects_;
    std::optional<DoubtedEnd> doubtedEnd_;
    std::optional<Before> before_;  ///< the first axis of those that run
    bool tracksByChoice_ = false;   ///< the last choice of the tracking; what the mount reports leaves it alone
};

}  // namespace kestrane
