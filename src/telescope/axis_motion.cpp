#include "telescope/axis_motion.h"

#include <algorithm>
#include <cmath>

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::int32_t kPrimary = 0;
constexpr std::int32_t kSecondary = 1;
constexpr double kArcSecondsPerDegree = 3600.0;
constexpr double kSiderealSpeed = 15.04107;  // arc-seconds per second
constexpr std::string_view kRatePattern = "0.00000";
constexpr std::int16_t kSiderealRateButton = 1;
constexpr std::int16_t kCustomRateButton = 4;

double MultipleOfSidereal(double degreesPerSecond) {
    return degreesPerSecond * kArcSecondsPerDegree / kSiderealSpeed;
}

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

void AxisMotions::EndAll() {
    for (Telescope* object : objects_) {
        object->ClearAxisRates();
    }
    for (Telescope* object : objects_) {
        object->PutBackTrackingBeforeMoveAxis();
    }
}

void Telescope::MoveAxis(std::int32_t axis, double degreesPerSecond) {
    const std::string call = "MoveAxis(" + std::to_string(axis) + "," + PlainNumber(degreesPerSecond) + ")";
    if (!(std::abs(degreesPerSecond) <= state_.g_dMaxAxisRate)) {
        needs_.log.LogMessage(
            "ASCOM", LogLevel::Exception,
            call + " - Rate is out of Range - Max is " + PlainNumber(state_.g_dMaxAxisRate) + " deg/sec");
        throw DriverError(ErrorNumber::OutOfRange,
                          "Method MoveAxis " + std::to_string(axis) + " The rate is out of range.");
    }
    needs_.log.LogMessage("ASCOM", LogLevel::Info, call);
    check_connected("MoveAxis", true, state_.g_bTracking);
    if (MoveAxisComesTooLate(degreesPerSecond)) {
        return;
    }
    EndSlewSupervision();
    if (axis != kPrimary && axis != kSecondary) {
        throw DriverError(ErrorNumber::NotImplemented,
                          "Method MoveAxis " + std::to_string(axis) + " is not implemented in this driver.");
    }
    state_.g_bSlewCompletePending = false;  // that step takes up tracking again, which would end the motion
    if (axis == kPrimary) {
        MovePrimaryAxis(degreesPerSecond);
    } else {
        MoveSecondaryAxis(degreesPerSecond);
    }
}

/// A motion that was asked for before a stop stays away. The end of a motion never does: the stop may have been
/// refused.
bool Telescope::MoveAxisComesTooLate(double degreesPerSecond) {
    const bool endsMotion = degreesPerSecond == 0.0 && axes_.Runs();
    return !endsMotion && OvertakenByStop("MoveAxis");
}

/// The mount is not stopped for it: the rate that follows takes its place. Counted like an abort, so that no call that
/// waits for the end of that slew goes on to its next leg.
void Telescope::EndSlewSupervision() {
    ++state_.g_nAborts;
    state_.g_bSlewing = state_.g_bMountSlewing = state_.g_bSafeSlewPending = false;
}

void Telescope::MovePrimaryAxis(double degreesPerSecond) {
    axes_.rates[kPrimary] = degreesPerSecond;
    // The mount counts from sidereal tracking: an axis at rest against the ground goes back by one sidereal rate.
    const double multiple = MultipleOfSidereal(degreesPerSecond) - 1.0;
    needs_.handBox.txtRaCustom.Text(FormatUs(multiple, kRatePattern));
    const bool zeroStopsTracking = needs_.persist.ReadFlag(setting::chkRaMoveAxisOfZeroStopsTracking);
    if (degreesPerSecond == 0.0 && !zeroStopsTracking &&
        axes_.m_MoveAxisTrackingState != MoveAxisTrackingState::NotSet) {
        Tracking(TrackedBeforeMoveAxis());
        return;
    }
    ShowAxisRates();
    if (axes_.m_MoveAxisTrackingState == MoveAxisTrackingState::NotSet) {
        axes_.m_MoveAxisTrackingState =
            Tracking() ? MoveAxisTrackingState::TrackingWasEnabled : MoveAxisTrackingState::TrackingWasDisabled;
    }
    SendCustomRate(wire::CustomRaRate, state_.g_dSiteLatitude < 0.0 ? multiple : -multiple);
}

void Telescope::MoveSecondaryAxis(double degreesPerSecond) {
    axes_.rates[kSecondary] = degreesPerSecond;
    const double multiple = MultipleOfSidereal(degreesPerSecond);
    needs_.handBox.txtDecCustom.Text(FormatUs(multiple, kRatePattern));
    ShowAxisRates();
    SendCustomRate(wire::CustomDecRate, state_.g_bWestSide ? -multiple : multiple);
}

void Telescope::ShowAxisRates() {
    needs_.panel.ShowTrackingRate(axes_.Runs() ? kCustomRateButton : kSiderealRateButton, false);
}

/// Takes the remembered state, which is to be put back now.
bool Telescope::TrackedBeforeMoveAxis() {
    const bool tracked = axes_.m_MoveAxisTrackingState != MoveAxisTrackingState::TrackingWasDisabled;
    axes_.m_MoveAxisTrackingState = MoveAxisTrackingState::NotSet;
    return tracked;
}

void Telescope::ClearAxisRates() {
    axes_.rates = {};
}

void Telescope::PutBackTrackingBeforeMoveAxis() {
    if (axes_.m_MoveAxisTrackingState == MoveAxisTrackingState::NotSet) {
        return;
    }
    ResumeNext errors{needs_.ledger, "PutBackTracking"};
    errors.Step([&] { Tracking(TrackedBeforeMoveAxis()); });
}

/// The mount is never left running without an owner. A slew or a park that came later has ended the motion already, as
/// has a write of the tracking for the primary axis.
void Telescope::StopOwnAxes() {
    const AxisMotion left = axes_;
    if (!left.Runs()) {
        return;
    }
    const bool primaryRuns =
        left.rates[kPrimary] != 0.0 && left.m_MoveAxisTrackingState != MoveAxisTrackingState::NotSet;
    const bool replaced = state_.g_bSlewing || state_.g_bParking || state_.g_bParked;
    ResumeNext errors{needs_.ledger, "StopOwnAxes"};
    if (!replaced && needs_.link && needs_.link->Connected()) {
        needs_.log.LogMessage("MoveAxis", LogLevel::Warning, "The client has gone: its axes are stopped");
        if (left.rates[kSecondary] != 0.0) {
            errors.Step([&] { MoveSecondaryAxis(0.0); });
        }
        if (primaryRuns) {
            errors.Step([&] { MovePrimaryAxis(0.0); });
        }
    }
    axes_ = {};
}

}  // namespace kestrane
