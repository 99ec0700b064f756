#include "telescope/motion/unparking.h"

#include <cmath>
#include <string>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "telescope/motion/park_geometry.h"
#include "telescope/mount/mount_time.h"

namespace kestrane {
namespace {

constexpr std::string_view kNoMeridianDelay = "0:00:00.0";
constexpr std::size_t kLongRaLength = 8;  // HH:MM:SS; in the short format HH:MM.T

}  // namespace

void Telescope::Unpark() {
    ResumeNext errors{driver_.ledger, "Unpark"};
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "Unpark");
    if (state_.g_bParked) {
        state_.g_bPollSuspended = false;  // a refused sync may have left the poll off the line
        if (errors.Step([&] { CheckConnected(); })) {
            needs_.motion.MountReportsParked(false);
            state_.g_bTracking = false;
            Unparking(*this).UnparkMount(park_index::Current, Confirmation::AskedElseAccepted);
        }
    }
    errors.Step([&] { driver_.persist.Write(setting::ParkStatus, "UnParked"); });
}

bool Telescope::EnsureLongFormat(bool wanted) {
    Sequence mount = Talk(procedure::Unpark);
    const auto isLong = [](std::string_view reply) { return reply.size() >= kLongRaLength; };
    const std::string reply = mount.CommandStringInternal(wire::GetRa);
    if (!reply.empty() && isLong(reply) != wanted) {
        mount.CommandBlindInternal(wire::ToggleFormat);
    }
    return isLong(mount.CommandStringInternal(wire::GetRa));
}

/// A question that nobody could answer comes before the stop of the tracking, which nobody has confirmed either.
bool Unparking::MayBegin(std::int16_t& index, Confirmation confirmation) {
    if (index < park_index::Current || index > park_index::DontUnpark) {
        driver_.log.LogMessage("Telescope", LogLevel::Error,
                               "Unpark Mount: there is no position " + std::to_string(index));
        return false;
    }
    state_.g_bPollSuspended = false;  // a refused sync may have left the poll off the line
    if (confirmation == Confirmation::Offered && index != park_index::Current) {
        if (index != park_index::DontUnpark) {
            needs_.offerUnpark(index);
        }
        return false;
    }
    return confirmation != Confirmation::AskedElseCancelled || needs_.questions.CanAskUnpark() ||
           Confirm(index, confirmation);
}

bool Unparking::UnparkMount(std::int16_t index, Confirmation confirmation) {
    ResumeNext errors{driver_.ledger, "UnparkMount"};
    if (!MayBegin(index, confirmation) || !TakeMount(index)) {
        return false;
    }
    EndLogPause();
    driver_.log.LogMessage("Telescope", LogLevel::Info, "Unpark Mount, " + std::to_string(index));
    errors.Step([&] { StopTracking(); });
    errors.Step([&] { MountTime(telescope_).SendAfresh(); });
    bool goesOn = false;
    errors.Assign(goesOn, [&] { return Confirm(index, confirmation); });
    if (!goesOn) {
        return false;
    }
    const bool left = LeavePowerOnState();
    errors.Step([&] { ChooseTracking(); });
    const std::string shownBefore = needs_.handBox.lblParkStatus.Text();
    needs_.panel.SetParkStatus("Unparking", "UnParkMount");
    errors.Step([&] { telescope_.SiteLatitude(); });
    // Intentional: not to unpark is no reason to leave the tracking alone.
    const bool leaves = index != park_index::DontUnpark && SyncTo(index);
    needs_.axisMotions.ForgetAll(state_);  // else they would bar a later unpark until their clients end them too
    if (!leaves) {
        needs_.panel.SetParkStatus(shownBefore, "UnParkMount 7");
        return left;
    }
    NoteUnparked();
    errors.Step([&] { driver_.persist.Write(setting::ParkStatus, "UnParked"); });
    driver_.log.LogMessage("Telescope", LogLevel::Info, "Unpark Complete, " + std::to_string(index));
    return left;
}

void Unparking::NoteUnparked() {
    needs_.motion.ParkEnds();
    needs_.motion.MountReportsParked(false);
    state_.g_tickParkSent.reset();
    state_.g_tickUnparkSent = driver_.clock.GetTickCount();  // a status text from before says nothing about it
    needs_.panel.SetParkStatus("Unparked", "UnparkMount");
}

/// To a line that is closed or lost nothing goes out: the mount stays parked, and what is shown stays too.
bool Unparking::TakeMount(std::int16_t index) {
    ResumeNext errors{driver_.ledger, "UnparkMount"};
    if (!errors.Step([&] { telescope_.CheckConnected(); })) {
        driver_.log.LogMessage(
            "Telescope", LogLevel::Error,
            "Unpark Mount, " + std::to_string(index) + ": " + driver_.ledger.Entries().back().message);
        return false;
    }
    core_.TakeMountFromPark();
    return true;
}

void Unparking::EndLogPause() {
    needs_.handBox.pbLoggingPaused.Visible(false);
    state_.g_bLogPaused = false;
    state_.g_tickParkedSince = Tick{};
}

void Unparking::StopTracking() {
    {
        Sequence mount = Talk(procedure::Unpark);
        mount.CommandBlindInternal(wire::TrackingRate, wire_rate::kStopTracking);
        mount.CommandBlindInternal(wire::ToggleFormat);
        if (state_.g_bHasMeridianQuery) {
            mount.CommandBoolInternal(wire::SetMeridianDelay, kNoMeridianDelay);
        }
    }
    // What was just sent is chosen: a mount that did not take it gets it once more with the time.
    state_.g_bMeridianDelayKnown = state_.g_bMeridianDelayKnown || state_.g_dMeridianDelay == 0.0;
    state_.g_bTracking = false;
    needs_.panel.ShowTrackingRate(displayed_rate::Off, RateCorrection::Off);
}

/// Whether to go on, and from where: a person may choose another position.
bool Unparking::Confirm(std::int16_t& index, Confirmation confirmation) {
    // Not to unpark is no position that somebody could confirm.
    if (index == park_index::Current || index == park_index::DontUnpark || !needs_.handBox.btnUNPARK.Enabled()) {
        return true;
    }
    const auto unasked = confirmation == Confirmation::AskedElseAccepted ? Unasked::IsAccepted : Unasked::IsCancelled;
    const std::optional<std::int16_t> accepted = Ask(index, unasked);
    if (!accepted) {
        driver_.log.LogMessage("Telescope", LogLevel::Info, "Unpark Mount, " + std::to_string(index) + ": cancelled");
        return false;
    }
    index = *accepted;
    // While a person thought about it, the line may have gone, and somebody may have begun a park.
    return TakeMount(index);
}

/// The poll goes on under the question, however long it stands open, also where the caller keeps the poll off the line.
std::optional<std::int16_t> Unparking::Ask(std::int16_t proposed, Unasked unasked) {
    Timer& timer = needs_.handBox.tmrQueryRaDecAltAz;
    const bool isKeptOff = !timer.Enabled() && needs_.questions.CanAskUnpark();
    if (isKeptOff) {
        needs_.poll.SetPolling(true);
    }
    const std::optional<std::int16_t> accepted = needs_.questions.AskUnpark(proposed, unasked);
    if (isKeptOff) {
        timer.Enabled(false);
    }
    return accepted;
}

bool Unparking::LeavePowerOnState() {
    const bool atPowerOn = needs_.queries.IsAtPowerOnPosition();
    Sequence mount = Talk(procedure::Unpark);
    if (atPowerOn) {
        mount.CommandBlindInternal(wire::Unpark);
        // Half of the old position, beside a half read after this, would show a mount that is parked again.
        state_.g_bRaRead = state_.g_bDecRead = false;
    } else {
        needs_.motion.Stopped();  // whatever still moves is to stand before it is told where it is
        mount.CommandBlind(wire::StopClean);
    }
    return atPowerOn;
}

void Unparking::ChooseTracking() {
    const bool tracks = driver_.persist.ReadFlag(setting::chkEnableMountTracking);
    needs_.axisMotions.TrackingChosen(tracks);
    needs_.motion.TrackingChosen();  // which ends the axes of all clients
    state_.g_bTracking = tracks;
    Talk(procedure::Unpark)
        .CommandBlindInternal(wire::TrackingRate, tracks ? wire_rate::kSidereal : wire_rate::kStopTracking);
    if (tracks) {
        needs_.panel.ShowTrackingRate(displayed_rate::Sidereal, RateCorrection::Off);
        driver_.log.LogMessage("UnparkMount", LogLevel::Info, "Enabled tracking");
    }
}

Unparking::Place Unparking::PlaceOf(std::int16_t index) {
    const auto degrees = [&](std::string_view text) { return ProtocolDegrees(text, driver_.log); };
    if (index == park_index::User) {
        // As the mount would take it: with the precision of its angles.
        const auto ofSetting = [&](const SettingKey& key) {
            return degrees(DegreesToDMS(driver_.persist.ReadNumber(key), "*", ":", "", state_.g_nPrecisionAltAz));
        };
        return {ofSetting(setting::txtUserParkAlt), ofSetting(setting::txtUserParkAz)};
    }
    const FixedPlace& place = FixedUnparkPlace(index);
    const double latitude = state_.g_dSiteLatitude;
    return {place.altitude.empty() ? std::abs(latitude) : degrees(place.altitude), degrees(place.Azimuth(latitude))};
}

/// Tells the mount the position; false when it could not be told. Nothing is told at position 0.
bool Unparking::SyncTo(std::int16_t index) {
    if (index == park_index::Current) {
        return true;
    }
    const std::string at = "Unpark Mount, " + std::to_string(index) + ": ";
    if (MayMove()) {
        driver_.log.LogMessage("Telescope", LogLevel::Error, at + "the mount moves, so no position is given to it");
        return false;
    }
    ResumeNext errors{driver_.ledger, "UnparkMount"};
    if (errors.Step([&] {
            const Place place = PlaceOf(index);
            telescope_.SyncAltAz(place.altitude, place.azimuth, SyncKind::Plain);
        })) {
        return true;
    }
    driver_.log.LogMessage("Telescope", LogLevel::Error, at + driver_.ledger.Entries().back().message);
    return false;
}

bool Unparking::MayMove() const {
    return state_.g_bSlewing || state_.g_bMountSlewing || state_.g_bSafeSlewPending || state_.g_bParking ||
           state_.g_bAxisMotionBegun || !core_.WhyMountMayMove().empty();
}

}  // namespace kestrane
