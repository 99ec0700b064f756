#include <cmath>

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "state/mount_queries.h"
#include "state/mount_replies.h"
#include "state/position_text.h"

/// Sidereal time, local time and time zone.
namespace kestrane {
namespace {

constexpr double kMsPerHour = 3600.0 * 1000.0;
constexpr double kSecondsPerHour = 3600.0;
constexpr double kSecondsOff = 2.0;       // off the PC's time; from here on the mount's clock is set
constexpr double kZoneTolerance = 0.001;  // hours
constexpr std::string_view kOn = "1";     // of a setting that is compared as text

/// Whole seconds: the time is compared with the mount's, which has no parts of a second.
double HoursOfDay(const DateTime& time) {
    return time.hour + time.minute / 60.0 + time.second / kSecondsPerHour;
}

/// HH:MM:SS
std::string TimeText(double hours) {
    const std::string text = HoursToHMS(hours, ":", ":", "", 0);
    return text.starts_with("24") ? "00" + text.substr(2) : text;  // rounded up across midnight
}

}  // namespace

bool MountQueries::QueryLst() {
    if (!Begins(state_.g_tickLastLst, needs_.handBox.lblLST)) {
        return false;
    }
    const std::string reply = Ask(wire::GetSiderealTime);
    if (reply.empty()) {
        NoteNoResponse();
        LogNoResponse("LST Query", "LST");
        state_.g_tickLastLst = driver_.clock.GetTickCount();
        return false;
    }
    if (!ReadRaReply(reply, driver_.log)) {
        RecoverSlippedExchange("LST Query", kIgnored);
        ClearReceiveBuffer();
        return false;
    }
    state_.g_dLst = ProtocolHours(reply, driver_.log);
    // A base of its own: a later query without an answer must not shift the sidereal time.
    state_.g_tickLastLst = lstBase_ = driver_.clock.GetTickCount();
    lstKnown_ = true;
    UpdateHourAngle();
    NoteAnswered();
    return true;
}

double MountQueries::GetLst() {
    if (needs_.handBox.chkCalcLST.Checked() && !state_.g_bHasMeridianQuery) {
        return LocalSiderealTime(state_.g_dSiteLongitude, needs_.astronomy);
    }
    const double lst = state_.g_dLst + (driver_.clock.GetTickCount() - lstBase_) / kMsPerHour;
    return NormalizeHours(lst);  // a base may be days old, or the tick counter may have turned since
}

bool MountQueries::QueryTime() {
    if (!MayAsk()) {
        return false;
    }
    state_.g_tickLastTime = driver_.clock.GetTickCount();
    if (!needs_.telescope()) {
        needs_.handBox.lblTime.Text("");
        shownTime_.clear();
        return false;
    }
    if (state_.g_bHasMeridianQuery) {
        QueryMeridianDelay();
    }
    const std::string reply = Ask(wire::GetLocalTime);
    const Tick readAt = driver_.clock.GetTickCount();
    if (reply.empty()) {
        NoteNoResponse();
        LogNoResponse("Time Query", "Time");
        state_.g_tickLastTime = readAt;
        return false;
    }
    if (!ReadTimeReply(reply, driver_.log)) {
        LogIgnored("Time Query");
        return false;
    }
    const double mountTime = ProtocolHours(TimeOfReply(reply), driver_.log);
    const double secondsOff = SecondsFromPcTime(mountTime);
    const std::string kept = driver_.persist.Read(setting::chkKeepMountTimeSyncedToPcTime);
    if (!needs_.door.ExpectsPulseEnd()) {  // it would wait for these exchanges, which may follow the next reading
        KeepTime(kept, secondsOff);
    }
    state_.g_dMountTime = mountTime;
    mountTimeBase_ = readAt;
    mountTimeKnown_ = true;
    if (kept != kOn) {
        return false;  // intentional: shows nothing; the display runs on by itself
    }
    ShowTime(reply);
    NoteAnswered();
    return true;
}

/// Brings a clock that is off back to the PC's time; `kept` is the text of the setting that wants it.
void MountQueries::KeepTime(const std::string& kept, double secondsOff) {
    if (needs_.channel.IsProved()) {
        needs_.channel.SyncTime(kept);
    } else if (kept == kOn && secondsOff >= kSecondsOff) {
        driver_.log.LogMessage("QueryTime", LogLevel::Warning,
                               "Time deviates 2 seconds or more from PC time... resending Time!");
        ResendTime();
    }
}

void MountQueries::QueryMeridianDelay() {
    constexpr std::string_view origin = "Meridian Limits Query";
    if (delaySilences_ == kSilentAfter && !IsDue(meridianDelayAsked_, kSlowIntervalMs)) {
        return;
    }
    const std::string reply = Ask(wire::GetMeridianDelay, Leftovers::Cleared, SilenceOf(delaySilences_));
    if (reply.empty()) {
        NoteSilence(delaySilences_, meridianDelayAsked_);
        driver_.log.LogMessage(origin, LogLevel::Error, "No Response from mount...");
        return;
    }
    delaySilences_ = 0;
    if (!ReadMeridianReply(reply, driver_.log)) {
        LogIgnored(origin);
        return;
    }
    const double delay = ProtocolHours(reply, driver_.log);
    if (delay == state_.g_dMeridianDelay) {
        NoteMeridianDelayAgrees();
    } else if (ReadMeridianReply(Ask(wire::GetMeridianDelay), driver_.log) == delay) {
        TakeOverMeridianDelay(delay);
    } else {
        driver_.log.LogMessage(origin, LogLevel::Warning, "Two readings differ; neither is used.");
    }
}

void MountQueries::TakeOverMeridianDelay(double hours) {
    state_.g_dMeridianDelay = hours;
    state_.g_bMeridianDelayRead = state_.g_bMeridianDelayKnown = true;
    needs_.panel.SetMeridianDelayUI(hours);
}

void MountQueries::NoteMeridianDelayAgrees() {
    state_.g_bMeridianDelayKnown = state_.g_bMeridianDelayKnown || state_.g_bMeridianDelayRead;
    state_.g_bMeridianDelayRead = true;
}

/// Gives the mount the PC's time, date and zone.
void MountQueries::ResendTime() {
    Talk(procedure::DriverVerb).DriverCommandInternal(kInitTimeVerb);
}

/// How far the mount's clock is off, without a sign, to the millisecond. Intentional: a difference of nearly a day
/// across midnight is not folded.
double MountQueries::SecondsFromPcTime(double mountTime) {
    double hours = HoursOfDay(driver_.clock.GetLocalTime()) - mountTime;
    if (!state_.g_bHasMeridianQuery) {
        hours += state_.g_dMeridianDelay;  // such firmware gets its clock set with the delay added
    }
    if (hours > 24.0) {
        hours -= 24.0;
    } else if (hours < -24.0) {
        hours += 24.0;
    }
    return std::round(std::abs(hours) * kMsPerHour) / 1000.0;
}

void MountQueries::UpdateMountTimeDisplay() {
    double time = state_.g_dMountTime + (driver_.clock.GetTickCount() - mountTimeBase_) / kMsPerHour;
    time -= time >= 24.0 ? 24.0 : 0.0;
    const std::string text = TimeText(time);
    if (shownTime_ != text) {
        ShowTime(text);
    }
}

void MountQueries::ShowTime(const std::string& text) {
    shownTime_ = text;
    needs_.handBox.lblTime.Text(text);
    needs_.statusWindow.lblMountTime.Text(text);
}

bool MountQueries::QueryTimeZone() {
    if (!Begins(state_.g_tickLastTimeZone, needs_.handBox.lblTZ)) {
        return false;
    }
    const std::string reply = Ask(wire::GetTimeZone);
    if (reply.empty()) {
        NoteNoResponse();
        LogNoResponse("TimeZone Query", "TimeZone");
        // A silent mount is asked a little less often.
        state_.g_tickLastTimeZone = driver_.clock.GetTickCount() + kSlowIntervalMs;
        return false;
    }
    const auto zone = ReadTimeZoneReply(reply, driver_.log);
    if (!zone) {
        LogIgnored("Time Zone Query");
        return false;
    }
    if (!(*zone > -24.0 && *zone < 24.0)) {
        RecoverSlippedExchange("Time Zone Query", "Time Zone out of range: " + PlainNumber(*zone));
        ClearReceiveBuffer();
        return false;
    }
    state_.g_dTimeZone = *zone;
    if (std::abs(*zone - driver_.clock.TimeZoneOffset()) > kZoneTolerance &&
        driver_.persist.Read(setting::chkKeepMountTimeSyncedToPcTime) == kOn) {
        CorrectTimeZone();
    }
    ShowTimeZone();
    NoteAnswered();
    return true;
}

void MountQueries::CorrectTimeZone() {
    if (needs_.door.ExpectsPulseEnd()) {
        return;  // its end would wait for the exchanges
    }
    if (!needs_.channel.IsProved()) {
        driver_.log.LogMessage("QueryTimeZone", LogLevel::Warning, "Timezone mismatch... updating Timezone.");
        ResendTime();
        return;
    }
    driver_.log.LogMessage("QueryTimeZone", LogLevel::Warning, "Timezone mismatch... sending timesync to QUAY.");
    needs_.channel.SyncTimeZone();
}

void MountQueries::ShowTimeZone() {
    const std::string text = HoursText(0.0 - state_.g_dTimeZone);
    needs_.handBox.lblTZ.Text(text);
    needs_.statusWindow.lblTimeZone.Text(text);
}

}  // namespace kestrane
