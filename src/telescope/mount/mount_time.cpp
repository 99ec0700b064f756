#include "telescope/mount/mount_time.h"

#include <cmath>

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/date_time.h"
#include "kernel/base/text.h"
#include "link/link_choice.h"
#include "state/mount_replies.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr double kMsPerHour = 3600.0 * 1000.0;
constexpr double kSameDelayHours = 0.5 / 3600.0;  // the mount keeps whole seconds
constexpr double kLongestDelayHours = 6.0;        // either way
constexpr double kSameZoneHours = 0.001;
constexpr std::int32_t kNoticeableMs = 1000;
constexpr std::int32_t kAfterTimeMs = 40;

/// Around midnight the mount would change its date.
bool IsAroundMidnight(const DateTime& local) {
    return (local.hour == 23 && local.minute >= 58) || (local.hour == 0 && local.minute <= 1);
}

std::string TimeOfDay(const DateTime& date) {
    return TwoDigits(date.hour) + ":" + TwoDigits(date.minute) + ":" + TwoDigits(date.second);
}

std::string MonthDayYear(const DateTime& date) {
    return TwoDigits(date.month) + "/" + TwoDigits(date.day) + "/" + TwoDigits(date.year % 100);
}

class TimeSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    bool SendMeridianDelay(Sequence& mount);
    void SendDate(Sequence& mount, const DateTime& local);
    void SendTimeZone(Sequence& mount);

private:
    std::optional<double> AskDelay(Sequence& mount);
    bool MayWriteDelay(Sequence& mount, double inMount);
};

}  // namespace

DateTime Telescope::utcDate() {
    CheckConnected();
    const std::string reply = Talk(procedure::Question).CommandStringInternal(wire::GetLocalTime);
    DateTime local = driver_.clock.GetLocalTime();
    const auto hours = ReadTimeReply(reply, driver_.log);
    if (hours && *hours >= 0.0) {
        local.hour = local.minute = local.second = local.millisecond = 0;
        local = AddMilliseconds(local, std::llround(*hours * kMsPerHour));
    } else {
        driver_.log.LogMessage("ASCOM", LogLevel::Error,
                               "The mount did not tell its time; the computer's time stands for it.");
    }
    const DateTime utc = driver_.clock.DateLocalToUTC(local);
    LogGetText("utcDate", DateTimeText(utc));
    return utc;
}

void MountTime::Sync() {
    Talk(procedure::DriverVerb).DriverCommandInternal(kInitTimeVerb);
}

void MountTime::SendAfresh() {
    if (state_.g_dMeridianDelay != 0.0) {
        needs_.panel.SetMeridianDelayUI(0.0);
        state_.g_bMeridianDelayKnown = true;  // chosen, so that it goes out
    }
    telescope_.utcDate(driver_.clock.DateLocalToUTC(driver_.clock.GetLocalTime()));
    driver_.waits.WaitForMilliseconds(kAfterTimeMs);
}

void Telescope::utcDate(const DateTime& utc) {
    TimeSteps steps(*this);
    CheckConnected();
    state_.g_bDelayTaken = false;
    driver_.log.LogMessage(
        "ASCOM", LogLevel::Info,
        "SET utcDate = " + DateTimeText(utc) + ", Meridian Delay = " + PlainNumber(state_.g_dMeridianDelay));
    const Tick askedAt = driver_.clock.GetTickCount();
    DateTime local = driver_.clock.DateUTCToLocal(utc);
    if (IsAroundMidnight(local)) {
        driver_.log.LogMessage("ASCOM", LogLevel::Error, "Unable to SET Date/time from 23:58 until 00:02");
        return;
    }
    ResumeNext errors{driver_.ledger, "utcDate"};
    Sequence mount = Talk(procedure::SetTime);
    if (state_.g_bHasMeridianQuery) {
        errors.Assign(state_.g_bDelayTaken, [&] { return steps.SendMeridianDelay(mount); });
    } else if (state_.g_dMeridianDelay != 0.0) {
        // Earlier firmware has no delay: its clock is shifted instead.
        local = AddMilliseconds(local, std::llround(state_.g_dMeridianDelay * kMsPerHour));
    }
    if (const std::int32_t passed = driver_.clock.GetTickCount() - askedAt; passed >= kNoticeableMs) {
        local = AddMilliseconds(local, passed);  // the mount was silent to the delay: the time has gone on
    }
    const bool timeTaken = mount.CommandBoolInternal(wire::SetLocalTime, TimeOfDay(local));
    state_.g_bDelayTaken = state_.g_bHasMeridianQuery ? state_.g_bDelayTaken : timeTaken;
    if (!timeTaken) {
        driver_.log.LogMessage("ASCOM", LogLevel::Error, "The time value was rejected by the KS mount.");
    }
    errors.Step([&] { steps.SendDate(mount, local); });
    errors.Step([&] { steps.SendTimeZone(mount); });
}

std::optional<double> TimeSteps::AskDelay(Sequence& mount) {
    return ReadMeridianReply(mount.CommandStringInternal(wire::GetMeridianDelay), driver_.log);
}

/// Whether the mount has the delay now.
bool TimeSteps::SendMeridianDelay(Sequence& mount) {
    const std::optional<double> inMount = AskDelay(mount);
    if (!inMount) {
        // While the delay of the mount is not known, no other value is written over it.
        driver_.log.LogMessage("Telescope", LogLevel::Error, "The mount did not tell its Meridian Delay");
        return false;
    }
    if (std::abs(*inMount - state_.g_dMeridianDelay) < kSameDelayHours) {
        needs_.queries.NoteMeridianDelayAgrees();
        driver_.log.LogMessage("Telescope", LogLevel::Info,
                               "Meridian Delay matches currently set value - no need to change!");
        return true;
    }
    if (!MayWriteDelay(mount, *inMount)) {
        return false;
    }
    const std::string delay = HoursToHMS(state_.g_dMeridianDelay, ":", ":", "", 0);
    if (!mount.CommandBoolInternal(wire::SetMeridianDelay, delay)) {
        driver_.log.LogMessage("Telescope", LogLevel::Error,
                               "The Meridian Delay was rejected by the KS mount: " + delay);
        return false;
    }
    return true;
}

/// Whether the delay of the driver may take the place of the one in the mount.
bool TimeSteps::MayWriteDelay(Sequence& mount, double inMount) {
    if (AskDelay(mount) != inMount) {
        driver_.log.LogMessage("Telescope", LogLevel::Error,
                               "Two readings of the Meridian Delay differ; it is not changed.");
        return false;
    }
    if (!state_.g_bMeridianDelayKnown) {
        // What the driver holds was neither read from this mount nor chosen by anybody.
        driver_.log.LogMessage("Telescope", LogLevel::Warning,
                               "The Meridian Delay of the mount is taken over: " + PlainNumber(inMount));
        needs_.queries.TakeOverMeridianDelay(inMount);
        return false;
    }
    if (std::abs(state_.g_dMeridianDelay) > kLongestDelayHours) {
        driver_.log.LogMessage(
            "Telescope", LogLevel::Error,
            "A Meridian Delay of more than 6 hours is not sent to the mount: " + PlainNumber(state_.g_dMeridianDelay));
        return false;
    }
    return true;
}

void TimeSteps::SendDate(Sequence& mount, const DateTime& local) {
    mount.CommandStringInternal(wire::SetDate, MonthDayYear(local));
    if (needs_.link && !LinkIsOverIp(needs_.link.get(), driver_.persist, driver_.log)) {
        // Over the serial line a second reply follows: the mount reports that it computes.
        needs_.link->ReceiveTerminated(wire::kReplyEnd);
    }
}

void TimeSteps::SendTimeZone(Sequence& mount) {
    const auto inMount = ReadTimeZoneReply(mount.CommandStringInternal(wire::GetTimeZone), driver_.log);
    if (!inMount) {
        return;
    }
    const double zone = driver_.clock.TimeZoneOffset();
    if (std::abs(*inMount - zone) <= kSameZoneHours) {
        driver_.log.LogMessage("Telescope", LogLevel::Info,
                               "Mount Time Zone matches PC Time Zone - no need to change!");
        return;
    }
    const std::string text = HoursToHMS(zone, ":", ":", "", 1);
    if (!mount.CommandBoolInternal(wire::SetTimeZone, text)) {
        driver_.log.LogMessage("Telescope", LogLevel::Error,
                               "Error setting Time Zone from " + PlainNumber(*inMount) + " to " + PlainNumber(zone));
        return;
    }
    state_.g_dTimeZone = zone;
    needs_.queries.ShowTimeZone();
}

}  // namespace kestrane
