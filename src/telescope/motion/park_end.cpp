#include "telescope/motion/park_end.h"

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "telescope/motion/park_geometry.h"
#include "telescope/mount/mount_time.h"
#include "telescope/telescope.h"

/// What follows when a move of a park has ended.
namespace kestrane {
namespace {

constexpr std::string_view kParkEnd = "PARK**";
constexpr std::int32_t kBeforeSecondLegMs = 20;
constexpr std::int32_t kTimeAskedAgainMs = 5000;

}  // namespace

CounterweightUpPlace ReadCounterweightUpPlace(Essentials driver) {
    const auto number = [&](const SettingKey& key) { return Val_Global(driver.persist.Read(key), driver.log); };
    return {number(setting::CounterWeightsUpHourAngle), number(setting::CounterWeightsUpTimeOffset),
            number(setting::CounterWeightsUpParkIntermediateSlewDec)};
}

void Telescope::HandleParkComplete() {
    if (!state_.g_bParking || InParkMove(state_)) {
        return;
    }
    driver_.log.LogMessage(kParkEnd, LogLevel::Info, "HandleParkComplete");
    ParkEnd end(*this);
    // A mount that reports its park had arrived before the abort.
    const bool aborted = state_.g_bAbortPark && !state_.g_bParked;
    if (!state_.g_bAbortPark && state_.g_nParkIndex == park_index::User && state_.g_bCwUpPark) {
        end.StartSecondLeg();
        return;
    }
    needs_.channel.EnableSafeSlew();
    aborted ? end.Cancel() : end.Finish();
}

/// The index tells that this leg has begun: its end is the end of the park.
void ParkEnd::StartSecondLeg() {
    const SendingParkLeg sending(core_);
    state_.g_nParkIndex = park_index::InSecondLeg;
    Leg leg = Leg::Refused;
    if (!core_.UntilStopped(procedure::Park, [&](Sequence&) { leg = SendSecondLeg(); })) {
        if (state_.g_bParking) {  // else whatever has taken the mount from the park has ended it
            needs_.channel.EnableSafeSlew();
            Cancel();
        }
    } else if (leg == Leg::Refused) {
        Fail("The mount stays at the end of the first leg of its park: the second one could not be sent");
    }
}

ParkEnd::Leg ParkEnd::SendSecondLeg() {
    ResumeNext errors{driver_.ledger, "HandleParkComplete"};
    const CounterweightUpPlace place = state_.g_cwUpPlace;
    const double rightAscension = CounterweightUpSecondRa(place.hourAngle, state_.g_dLst);
    const bool targetIsSet = errors.Step([&] {
        telescope_.TargetDeclination(place.declination);
        telescope_.TargetRightAscension(rightAscension);
        needs_.poll.ExpectParkAt({true, rightAscension, place.declination});
    });
    // Without its delay the mount would go there from the other side, with the counterweight swinging round.
    if (!targetIsSet || !SetTimeOffset(CounterweightUpDelay(place.hourAngle, place.timeOffset))) {
        return Leg::Refused;
    }
    errors.Step([&] { needs_.channel.KeepSafeSlewOff(); });  // it may have been found since the first leg
    driver_.waits.WaitForMilliseconds(kBeforeSecondLegMs);
    errors.Step([&] { telescope_.SendSlewCommands(); });
    return state_.g_bSlewing ? Leg::Taken : Leg::Refused;
}

bool ParkEnd::SetTimeOffset(double hours) {
    if (!IsPossibleMeridianDelay(hours)) {
        driver_.log.LogMessage(kParkEnd, LogLevel::Warning, kNoDelayForCounterweightUp);
        return false;
    }
    needs_.panel.SetMeridianDelayUI(hours);
    state_.g_bMeridianDelayKnown = true;  // chosen, so that it goes out
    state_.g_bDelayTaken = false;         // that of the last time must not pass for this one
    MountTime(telescope_).Sync();
    state_.g_tickLastTime = driver_.clock.GetTickCount() - kTimeAskedAgainMs;
    return state_.g_bDelayTaken;
}

void ParkEnd::Finish() {
    const bool mayBeForgotten = needs_.poll.LinkWasLostInMarkedPark() && !state_.g_bParked;
    const bool parks = !needs_.channel.EndsPark() || mayBeForgotten;
    const bool parked = core_.UntilStopped(procedure::Park, [&](Sequence& mount) {
        mount.LetStopIn();
        if (parks) {
            driver_.log.LogMessage(kParkEnd, LogLevel::Info, "Sending CommandBlindInternal KA");
            mount.CommandBlindInternal(wire::Park);
        }
    });
    if (!parked) {
        if (state_.g_bParking) {  // else it is ended already, as above
            Cancel();
        }
        return;
    }
    needs_.motion.MountReportsParked(true);
    state_.g_bTracking = false;
    needs_.motion.ParkEnds();
    needs_.axisMotions.ForgetAll(state_);
    needs_.panel.SetParkStatus("Parked", "ParkMount-Done");
    driver_.persist.Write(setting::ParkStatus, "Parked");
    driver_.log.LogMessage(kParkEnd, LogLevel::Info, "Park completed...");
    state_.g_tickParkedSince = driver_.clock.GetTickCount();
    needs_.sounds.Beep();
}

void ParkEnd::Cancel() {
    needs_.motion.ParkEnds();  // first: a write of the tracking would take the mount from it
    ShowCancelled();
    Restore();
    driver_.log.LogMessage(kParkEnd, LogLevel::Info, "Park canceled...");
    needs_.sounds.Beep();
}

void ParkEnd::Restore() {
    ResumeNext errors{driver_.ledger, "HandleParkComplete"};
    errors.Step([&] { telescope_.Tracking(state_.g_bSavedTracking); });
    errors.Step([&] { TakeBackDelay(); });
}

void ParkEnd::Fail(std::string_view reason) {
    driver_.log.LogMessage(kParkEnd, LogLevel::Warning, reason);
    ResumeNext errors{driver_.ledger, "HandleParkComplete"};
    errors.Step([&] { needs_.channel.EnableSafeSlew(); });
    needs_.motion.ParkEnds();
    ShowCancelled();
    errors.Step([&] { telescope_.Tracking(false); });
    errors.Step([&] { TakeBackDelay(); });
    driver_.log.LogMessage(kParkEnd, LogLevel::Info, "Park canceled...");
    needs_.sounds.Beep();
}

/// The delay of a second leg has no use but at the end of that. Left in the mount, it would send every later goto near
/// the meridian to the wrong side. Around midnight it stays there for now; but the driver has 0, which goes out with
/// the next time.
void ParkEnd::TakeBackDelay() {
    if (state_.g_nParkIndex == park_index::InSecondLeg && state_.g_dMeridianDelay != 0.0) {
        const SendingParkLeg sending(core_);
        MountTime(telescope_).SendAfresh();
    }
}

void ParkEnd::ShowCancelled() {
    needs_.panel.SetParkStatus("Park Canceled", "ParkMount-Done");
    driver_.persist.Write(setting::ParkStatus, "UnParked");
}

}  // namespace kestrane
