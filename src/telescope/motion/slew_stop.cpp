#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "telescope/motion/custom_rates.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

/// When the stop goes out to the mount.
enum class StopPair { IfMoving, Always };

class StopSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    void StopMotion(std::string_view origin, StopPair pair);
    void StopAgain(StopForm form);
    void StopUnwatchedMotion();
    void StopAxes(std::string_view origin);
    void StopEverything(StopForm form);

private:
    void SendStop(StopForm form);
    void EndAxes();
};

}  // namespace

void Telescope::AbortSlew() {
    StopSteps steps(*this);
    // A parked mount that begins to park elsewhere is to be stopped.
    check_connected("AbortSlew", InPark(state_) ? Parked::IsAllowed : Parked::IsRefused, TrackingMust::BeEither);
    needs_.motion.StopAskedFor();
    if (needs_.axisMotions.AnyRuns()) {
        steps.StopAxes("ASCOM");
    } else if (state_.g_bSlewing || InPark(state_) || state_.g_bSafeSlewPending) {
        steps.StopMotion("ASCOM", needs_.guidePulses.MayMove() ? StopPair::Always : StopPair::IfMoving);
    } else {
        steps.StopUnwatchedMotion();
        if (state_.g_bTracking) {
            TrackingRate(tracking_rate::Sidereal);  // intentional: with nothing to stop, an abort puts the mount back
                                                    // on the sidereal rate
        }
    }
}

void Telescope::AbortSlewDriver() {
    StopSteps steps(*this);
    if (needs_.axisMotions.AnyRuns()) {
        steps.StopAxes("Driver");
    } else {
        steps.StopMotion("Driver", StopPair::Always);  // a person sees more than the driver does
    }
}

void Telescope::StopAgain(StopForm form) {
    StopSteps(*this).StopAgain(form);
}

void Telescope::StopEverything(bool shownAsParked) {
    needs_.motion.StopAskedFor();
    StopSteps(*this).StopEverything(state_.g_bSlewing && !shownAsParked ? StopForm::Pair : StopForm::Single);
}

void StopSteps::StopAgain(StopForm form) {
    SendStop(form);
    CustomRates(core_).Reinstate(telescope_);
}

void StopSteps::SendStop(StopForm form) {
    if (form == StopForm::Pair) {
        core_.SendStopPair();
    } else {
        Talk(procedure::StopPair).CommandBlind(wire::Stop);
    }
}

/// The guide pulses hear of the stop by its text.
void StopSteps::StopEverything(StopForm form) {
    driver_.log.LogMessage("Driver", LogLevel::Info, "StopAll()");
    const bool axisRan = needs_.axisMotions.AnyRuns();
    needs_.motion.Stopped();
    if (!needs_.link || !needs_.link->Connected()) {
        return;
    }
    SendStop(form);
    if (axisRan) {
        EndAxes();
    } else {
        CustomRates(core_).Reinstate(telescope_);
    }
}

void StopSteps::StopMotion(std::string_view origin, StopPair pair) {
    driver_.log.LogMessage(origin, LogLevel::Info, "AbortSlew()");
    needs_.motion.Stopped();
    if (pair == StopPair::Always || state_.g_bTracking || state_.g_bSlewing || InPark(state_)) {
        core_.SendStopPair();
    }
    CustomRates(core_).Reinstate(telescope_);
}

/// What nobody has seen end may still be under way, and nothing but this stop would end it now. With tracking a stop
/// goes out anyway, which is enough for what has most likely ended.
void StopSteps::StopUnwatchedMotion() {
    const bool mayNotHaveEnded =
        state_.g_bGotoSent || needs_.axisMotions.EndIsInDoubt() || needs_.guidePulses.EndMayBeLost();
    if (state_.g_bMoveSent || needs_.guidePulses.MayMove() || (mayNotHaveEnded && !state_.g_bTracking)) {
        StopMotion("ASCOM", StopPair::Always);
    }
}

/// Stops the axes that `MoveAxis` of any client runs. The tracking from before is restored in place of the custom
/// rates, which the stop has cleared in the mount. A slew or a park that came later ends as at any stop.
void StopSteps::StopAxes(std::string_view origin) {
    driver_.log.LogMessage(origin, LogLevel::Info, "AbortSlew()");
    needs_.motion.Stopped();
    core_.SendStopPair();
    EndAxes();
}

void StopSteps::EndAxes() {
    needs_.axisMotions.EndAll();
    needs_.axisMotions.AxisEnded(state_);
    needs_.axisMotions.EndIsDoubted(AxisEnd::StopPair, driver_.clock.GetTickCount(), state_);
}

}  // namespace kestrane
