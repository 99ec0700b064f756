#include "telescope/motion/axis_motion.h"

#include <algorithm>
#include <cmath>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/motion/custom_rates.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr int kMostRepeatsOfAnEnd = 5;
constexpr std::int32_t kLookedAtAfterEndMs = 1000;
constexpr std::int32_t kTooEarlyForEndMs = 900;  // a mount takes a moment to report what it was told

double MultipleOfSidereal(double degreesPerSecond) {
    return degreesPerSecond * kArcSecondsPerDegree / kSiderealSpeed;
}

bool ChoosesTracking(AxisEnd end) {
    return end == AxisEnd::TrackingOff || end == AxisEnd::TrackingOn;
}

/// `g_nTrackingChoices` once the end has gone out.
std::uint32_t ChoicesAfter(AxisEnd end, const DriverState& state) {
    return state.g_nTrackingChoices + (ChoosesTracking(end) ? 1 : 0);
}

class AxisSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    bool MoveAxisComesTooLate(double degreesPerSecond);
    bool MovePrimaryAxis(double degreesPerSecond);
    bool MoveSecondaryAxis(double degreesPerSecond);
    AxisMotion Stop(bool primary, bool secondary);
    void ShowAxisRates();
    bool TrackingChosenSinceMoveAxis() const;
    void ForgetEndedMotion();
    void ClearRates();
    void Forget(bool tracks);
    void PutBackTracking();
    void EndByTracking(bool tracked);
    void NoteDoubtedEnd(AxisEnd end);
    bool StillRuns(std::int32_t axis) const;
    bool StopSecondaryAxis();
    bool EndPrimaryRate();
};

}  // namespace

void AxisMotions::Enter(Telescope& object) {
    objects_.push_back(&object);
}

void AxisMotions::Leave(const Telescope& object) {
    std::erase(objects_, &object);
}

bool AxisMotions::AnyRuns() const {
    return std::any_of(objects_.begin(), objects_.end(), [](const Telescope* object) { return object->Axes().Runs(); });
}

bool AxisMotions::AnyStillRuns() const {
    return std::any_of(objects_.begin(), objects_.end(), [](Telescope* object) {
        const AxisSteps steps(*object);
        return steps.StillRuns(mount_axis::Primary) || steps.StillRuns(mount_axis::Secondary);
    });
}

bool AxisMotions::StopAll(std::string_view reason) {
    // The secondary axes first: to restore the tracking counts as the end of every motion.
    bool taken = true;
    for (Telescope* object : objects_) {
        taken = AxisSteps(*object).StopSecondaryAxis() && taken;
    }
    for (Telescope* object : objects_) {
        object->StopOwnAxes(reason);
    }
    return taken && !AnyStillRuns();
}

void AxisMotions::EndAll() {
    for (Telescope* object : objects_) {
        AxisSteps(*object).ClearRates();
    }
    for (Telescope* object : objects_) {
        AxisSteps(*object).PutBackTracking();
    }
}

void AxisMotions::ForgetAll(DriverState& state) {
    for (Telescope* object : objects_) {
        AxisSteps(*object).Forget(state.g_bTracking);
    }
    AxisEnded(state);
}

bool AxisMotions::AxisBegins(const DriverState& state) {
    if (!before_ || HasBeenReplaced(*before_, state)) {
        before_ = {state.g_bTracking, {state.g_nTrackingChoices, state.g_nSlewsTaken}};
    }
    return before_->tracked;
}

void AxisMotions::AxisEnded(DriverState& state) {
    if (!before_ || AnyRuns()) {
        return;
    }
    if (!before_->tracked && !HasBeenReplaced(*before_, state)) {
        state.g_bTracking = false;
    }
    before_.reset();
}

/// Whether a later choice of the tracking or a later slew rules now.
bool AxisMotions::HasBeenReplaced(const Before& before, const DriverState& state) const {
    return before.counts.trackingChoices != state.g_nTrackingChoices || before.counts.slewsTaken != state.g_nSlewsTaken;
}

void AxisMotions::EndIsDoubted(AxisEnd end, Tick now, DriverState& state) {
    if (doubtedEnd_) {
        TakeChoiceSince(*doubtedEnd_, state);
        end = ChoosesTracking(end) ? end : std::max(end, doubtedEnd_->end);
    }
    doubtedEnd_ = {end, now, ChoicesAfter(end, state), state.g_nSlewsTaken};
    state.g_tickLastGos = now + kLookedAtAfterEndMs - MountQueries::kSlowIntervalMs;
}

/// Somebody has chosen the tracking since: that is what the mount is to do then.
void AxisMotions::TakeChoiceSince(DoubtedEnd& end, const DriverState& state) const {
    if (static_cast<std::int32_t>(state.g_nTrackingChoices - end.trackingChoices) > 0) {
        end.end = tracksByChoice_ ? AxisEnd::TrackingOn : AxisEnd::TrackingOff;
        end.trackingChoices = state.g_nTrackingChoices;
    }
}

bool AxisMotions::EndMayBeLost(const DriverState& state) const {
    return doubtedEnd_ && state.g_bGosSupported && doubtedEnd_->slewsTaken == state.g_nSlewsTaken;
}

std::optional<AxisEnd> AxisMotions::LostEnd(bool isCustomRate, const DriverState& state) {
    const bool moves = AnyRuns() || state.g_bSlewing || state.g_bMountSlewing || InPark(state) || state.g_bGotoSent ||
                       state.g_bMoveSent;
    if (!doubtedEnd_ || moves || state.g_tickLastGos - doubtedEnd_->sentAt < kTooEarlyForEndMs) {
        return std::nullopt;
    }
    DoubtedEnd& end = *doubtedEnd_;
    if (!isCustomRate || end.slewsTaken != state.g_nSlewsTaken) {
        doubtedEnd_.reset();
        return std::nullopt;
    }
    if (end.repeats == kMostRepeatsOfAnEnd) {
        return std::nullopt;
    }
    TakeChoiceSince(end, state);
    ++end.repeats;
    end.trackingChoices = ChoicesAfter(end.end, state);
    return end.end;
}

void Telescope::MoveAxis(std::int32_t axis, double degreesPerSecond) {
    AxisSteps steps(*this);
    const std::string call = "MoveAxis(" + std::to_string(axis) + "," + PlainNumber(degreesPerSecond) + ")";
    if (!(std::abs(degreesPerSecond) <= state_.g_dMaxAxisRate)) {
        driver_.log.LogMessage(
            "ASCOM", LogLevel::Exception,
            call + " - Rate is out of Range - Max is " + PlainNumber(state_.g_dMaxAxisRate) + " deg/sec");
        throw DriverError(ErrorNumber::OutOfRange,
                          "Method MoveAxis " + std::to_string(axis) + " The rate is out of range.");
    }
    driver_.log.LogMessage("ASCOM", LogLevel::Info, call);
    check_connected("MoveAxis", Parked::IsRefused, TrackingMust::BeEither);
    const bool exists = axis == mount_axis::Primary || axis == mount_axis::Secondary;
    if (exists && steps.MoveAxisComesTooLate(degreesPerSecond)) {
        return;
    }
    if (degreesPerSecond == 0.0) {
        NoteMotionStops();
        needs_.guidePulses.EndOnAxis(axis);
    }
    TakeMountFromPark();
    needs_.motion.AxisTakesOver();
    if (!exists) {
        throw DriverError(ErrorNumber::NotImplemented,
                          "Method MoveAxis " + std::to_string(axis) + " is not implemented in this driver.");
    }
    if (degreesPerSecond != 0.0) {
        needs_.motion.AxisMotionBegins();
    }
    if (axis == mount_axis::Primary) {
        steps.MovePrimaryAxis(degreesPerSecond);
    } else {
        steps.MoveSecondaryAxis(degreesPerSecond);
    }
    steps.ForgetEndedMotion();
}

void AxisSteps::ForgetEndedMotion() {
    needs_.axisMotions.AxisEnded(state_);
    if (!needs_.axisMotions.AnyRuns()) {
        needs_.motion.AxisMotionsEnd();
    }
}

/// A motion that was asked for before a stop is not started. The end of a motion always goes out: the stop may have
/// been refused.
bool AxisSteps::MoveAxisComesTooLate(double degreesPerSecond) {
    const bool endsMotion = degreesPerSecond == 0.0 && axes_.Runs();
    return !endsMotion && !needs_.door.Permit("MoveAxis");
}

/// False when the mount has not taken the rate, as far as that is known.
bool AxisSteps::MovePrimaryAxis(double degreesPerSecond) {
    const bool trackedBefore = needs_.axisMotions.AxisBegins(state_);
    axes_.rates[mount_axis::Primary] = degreesPerSecond;
    // The mount counts from sidereal tracking: an axis that is at rest against the ground runs at minus one sidereal
    // rate.
    const double multiple = MultipleOfSidereal(degreesPerSecond) - 1.0;
    CustomRates(core_).ShowCustomRate(needs_.handBox.txtRaCustom, multiple);
    const bool zeroStopsTracking = driver_.persist.ReadFlag(setting::chkRaMoveAxisOfZeroStopsTracking);
    if (degreesPerSecond == 0.0 && !zeroStopsTracking &&
        axes_.m_MoveAxisTrackingState != MoveAxisTrackingState::NotSet) {
        const bool tracked = axes_.m_MoveAxisTrackingState != MoveAxisTrackingState::TrackingWasDisabled;
        axes_.m_MoveAxisTrackingState = MoveAxisTrackingState::NotSet;
        EndByTracking(tracked);
        return !state_.g_bLostComms && !needs_.queries.LineIsSilent();  // what ends the motion has no reply
    }
    ShowAxisRates();
    const bool isFirst = axes_.m_MoveAxisTrackingState == MoveAxisTrackingState::NotSet;
    if (isFirst) {
        axes_.m_MoveAxisTrackingState = telescope_.Tracking() ? MoveAxisTrackingState::TrackingWasEnabled
                                                              : MoveAxisTrackingState::TrackingWasDisabled;
    }
    if (isFirst || TrackingChosenSinceMoveAxis()) {
        axes_.tracked = trackedBefore;
    }
    axes_.counts[mount_axis::Primary] = {state_.g_nTrackingChoices, state_.g_nSlewsTaken};
    return CustomRates(core_).SendCustomRate(wire::CustomRaRate, state_.g_dSiteLatitude < 0.0 ? multiple : -multiple);
}

/// False when the mount has not taken the rate.
bool AxisSteps::MoveSecondaryAxis(double degreesPerSecond) {
    if (degreesPerSecond != 0.0) {
        needs_.axisMotions.AxisBegins(state_);
    }
    axes_.rates[mount_axis::Secondary] = degreesPerSecond;
    axes_.counts[mount_axis::Secondary] = {state_.g_nTrackingChoices, state_.g_nSlewsTaken};
    const double multiple = MultipleOfSidereal(degreesPerSecond);
    CustomRates(core_).ShowCustomRate(needs_.handBox.txtDecCustom, multiple);
    ShowAxisRates();
    const bool taken =
        CustomRates(core_).SendCustomRate(wire::CustomDecRate, state_.g_bWestSide ? -multiple : multiple);
    if (!taken && degreesPerSecond == 0.0 && state_.g_bHasCustomRates) {
        NoteDoubtedEnd(AxisEnd::RateOfSecondary);
    }
    return taken;
}

void AxisSteps::ShowAxisRates() {
    needs_.panel.ShowTrackingRate(axes_.Runs() ? displayed_rate::Custom : displayed_rate::Sidereal,
                                  RateCorrection::Off);
}

/// Somebody has chosen the tracking since the last rate of the primary axis: that ended the motion, and it stays in
/// force.
bool AxisSteps::TrackingChosenSinceMoveAxis() const {
    return axes_.counts[mount_axis::Primary].trackingChoices != state_.g_nTrackingChoices;
}

/// False when a later slew or a later write of the tracking has ended the motion in the mount.
bool AxisSteps::StillRuns(std::int32_t axis) const {
    const auto index = static_cast<std::size_t>(axis);
    const AxisMotion::Counts& counts = axes_.counts[index];
    return axes_.rates[index] != 0.0 && counts.trackingChoices == state_.g_nTrackingChoices &&
           counts.slewsTaken == state_.g_nSlewsTaken;
}

/// False when the mount has not taken the rate, as far as that is known.
bool AxisSteps::StopSecondaryAxis() {
    if (!StillRuns(mount_axis::Secondary)) {
        return true;
    }
    ResumeNext errors{driver_.ledger, "StopOwnAxes"};
    bool taken = false;
    errors.Assign(taken, [&] { return MoveSecondaryAxis(0.0); });
    return taken || !state_.g_bHasCustomRates;  // such firmware answers no rate, and runs at none
}

void AxisSteps::ClearRates() {
    axes_.rates = {};
    needs_.motion.AxisMotionsEnd();
    if (TrackingChosenSinceMoveAxis()) {
        axes_.m_MoveAxisTrackingState = MoveAxisTrackingState::NotSet;
    }
}

void AxisSteps::Forget(bool tracks) {
    axes_.rates = {};
    needs_.motion.AxisMotionsEnd();
    if (axes_.m_MoveAxisTrackingState != MoveAxisTrackingState::NotSet) {
        axes_.m_MoveAxisTrackingState =
            tracks ? MoveAxisTrackingState::TrackingWasEnabled : MoveAxisTrackingState::TrackingWasDisabled;
    }
}

void AxisSteps::PutBackTracking() {
    if (axes_.m_MoveAxisTrackingState == MoveAxisTrackingState::NotSet) {
        return;
    }
    axes_.m_MoveAxisTrackingState = MoveAxisTrackingState::NotSet;
    ResumeNext errors{driver_.ledger, "PutBackTracking"};
    errors.Step([&] { EndByTracking(axes_.tracked); });
}

void AxisSteps::EndByTracking(bool tracked) {
    NoteDoubtedEnd(tracked ? AxisEnd::TrackingOn : AxisEnd::TrackingOff);
    telescope_.Tracking(tracked);
}

void AxisSteps::NoteDoubtedEnd(AxisEnd end) {
    needs_.axisMotions.EndIsDoubted(end, driver_.clock.GetTickCount(), state_);
}

/// Stops these axes; returns the motion that the mount did not hear end.
AxisMotion AxisSteps::Stop(bool primary, bool secondary) {
    AxisMotion left = axes_;
    ResumeNext errors{driver_.ledger, "StopOwnAxes"};
    bool secondaryStopped = true;
    bool primaryStopped = true;
    if (secondary) {
        errors.Assign(secondaryStopped, [&] { return MoveSecondaryAxis(0.0); });
    }
    if (primary) {
        axes_.m_MoveAxisTrackingState =
            axes_.tracked ? MoveAxisTrackingState::TrackingWasEnabled : MoveAxisTrackingState::TrackingWasDisabled;
        errors.Assign(primaryStopped, [&] { return MovePrimaryAxis(0.0); });
    }
    if (!state_.g_bHasCustomRates) {
        primaryStopped = secondaryStopped = true;  // such firmware answers no rate, and runs at none
    }
    if (primaryStopped) {
        left.rates[mount_axis::Primary] = 0.0;
        left.m_MoveAxisTrackingState = MoveAxisTrackingState::NotSet;
    }
    if (secondaryStopped) {
        left.rates[mount_axis::Secondary] = 0.0;
    }
    left.counts.fill({state_.g_nTrackingChoices, state_.g_nSlewsTaken});  // what was sent here has ended nothing
    return left.Runs() ? left : AxisMotion{};
}

/// Ends the motion of the primary axis alone, by its rate: what chooses the tracking would stop the whole mount. False
/// when the mount has not taken it.
bool AxisSteps::EndPrimaryRate() {
    const double multiple = axes_.tracked ? 0.0 : -1.0;  // from sidereal tracking, as in `MovePrimaryAxis`
    ResumeNext errors{driver_.ledger, "StopOwnAxes"};
    bool taken = false;
    errors.Assign(taken, [&] {
        return CustomRates(core_).SendCustomRate(wire::CustomRaRate,
                                                 state_.g_dSiteLatitude < 0.0 ? multiple : -multiple);
    });
    needs_.panel.ShowTrackingRate(axes_.tracked ? displayed_rate::Sidereal : displayed_rate::Off, RateCorrection::Off);
    return taken || !state_.g_bHasCustomRates;  // such firmware answers no rate, and runs at none
}

/// The mount is never left running without an owner, and a goto that the axis was begun over, whoever sent it, goes on.
/// A primary axis that does not hear its end then counts as a move without an end, which a stop, a goto or the end of
/// the process ends.
void Telescope::StopOwnAxes(std::string_view reason) {
    AxisSteps steps(*this);
    const bool primaryRuns =
        steps.StillRuns(mount_axis::Primary) && axes_.m_MoveAxisTrackingState != MoveAxisTrackingState::NotSet;
    const bool secondaryRuns = steps.StillRuns(mount_axis::Secondary);
    const bool replaced = state_.g_bParking || state_.g_bParked;
    const bool overGoto = primaryRuns && (state_.g_bSlewing || GotoMayRun(state_, driver_.clock.GetTickCount()));
    const bool isToStop = (primaryRuns || secondaryRuns) && !replaced;
    if (isToStop && !(needs_.link && needs_.link->Connected())) {
        return;  // it goes on in the mount, and is stopped once the line is open again
    }
    AxisMotion left;
    if (isToStop) {
        driver_.log.LogMessage("MoveAxis", LogLevel::Warning, reason);
        NoteMotionStops();
        left = steps.Stop(primaryRuns && !overGoto, secondaryRuns);
        if (overGoto && !steps.EndPrimaryRate()) {
            needs_.motion.MoveSent();
        }
    }
    axes_ = left;
    steps.ForgetEndedMotion();
}

}  // namespace kestrane
