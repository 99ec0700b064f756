#include "state/poll_loop.h"

namespace kestrane {
namespace {

constexpr std::int32_t kParkedBeforePauseMs = 3 * 60 * 1000;
constexpr std::int32_t kRed = 255;

/// Marks the poll step as running, however it ends.
class InPoll {
public:
    explicit InPoll(DriverState& state) : state_(state) { state_.g_bInPoll = true; }
    ~InPoll() { state_.g_bInPoll = false; }
    InPoll(const InPoll&) = delete;
    InPoll& operator=(const InPoll&) = delete;

private:
    DriverState& state_;
};

}  // namespace

void PollLoop::SetPolling(bool enable) {
    state_.g_bPollSuspended = !enable;
    needs_.handBox.tmrQueryRaDecAltAz.Enabled(enable);
}

void PollLoop::OnTimer() {
    if (!state_.g_bInPoll && (state_.g_nScopeObjects > 1 || state_.g_nFocuserObjects >= 2)) {
        const InPoll inPoll(state_);
        UpdateMountInfo();
    } else if (state_.g_bInPoll) {
        driver_.log.LogMessage("timer", LogLevel::Info, "In Timer cannot Poll");
    }
    ResumeNext errors{driver_.ledger, "tmrQueryRaDecAltAz"};
    errors.Step([&] { ShowLogState(); });
}

/// A stop gets in before each part of the step, which takes seconds with a slow mount. The queries let it in too.
void PollLoop::UpdateMountInfo() {
    for (const auto part : {&PollLoop::WatchMotion, &PollLoop::AskWhatIsDue, &PollLoop::FinishSlew}) {
        needs_.door.LetStopIn();
        (this->*part)();
    }
}

void PollLoop::WatchMotion() {
    ResumeNext errors{driver_.ledger, "UpdateMountInfo"};
    errors.Step([&] {
        if (needs_.queries.IsDue(state_.g_tickLastGos, MountQueries::kSlowIntervalMs)) {
            needs_.queries.QueryGos();
        }
    });
    bool slewHasBegun = false;
    errors.Step([&] {
        const bool flashing = needs_.handBox.tmrSlewFlashUI.Enabled();
        slewHasBegun = CheckSlewing() && !flashing;
    });
    if (slewHasBegun) {
        errors.Step([&] { needs_.panel.SlewFlashDisplay(); });
        errors.Step([&] { needs_.handBox.tmrSlewFlashUI.Enabled(true); });
    }
}

void PollLoop::AskWhatIsDue() {
    ResumeNext errors{driver_.ledger, "UpdateMountInfo"};
    MountQueries& queries = needs_.queries;
    errors.Step([&] { needs_.periodicQuayCheck(); });
    errors.Step([&] {
        if (state_.g_bSlewCompletePending) {
            queries.QuerySideOfMount();
        }
    });
    Asked asked = Asked::Other;
    errors.Step([&] { asked = RunDueQuery(); });
    errors.Step([&] {
        if (asked != Asked::Time) {
            queries.UpdateMountTimeDisplay();
        }
    });
    errors.Step([&] {
        if (asked != Asked::Lst) {
            queries.UpdateHourAngle();
        }
    });
}

void PollLoop::FinishSlew() {
    ResumeNext errors{driver_.ledger, "UpdateMountInfo"};
    errors.Step([&] { CheckSlewComplete(); });
}

/// Runs the first query that is due, and no other. During a slew only the coordinates are asked for.
PollLoop::Asked PollLoop::RunDueQuery() {
    MountQueries& queries = needs_.queries;
    const auto due = [&](Tick stamp, std::int32_t interval) { return queries.IsDue(stamp, interval); };
    const bool slewing = state_.g_bSlewing;
    constexpr std::int32_t fast = MountQueries::kCoordinateIntervalMs;
    if (!slewing && due(state_.g_tickLastLst, MountQueries::kSlowIntervalMs)) {
        queries.QueryLst();
        return Asked::Lst;
    }
    if (!slewing && due(state_.g_tickLastTime, MountQueries::kSlowIntervalMs)) {
        queries.QueryTime();
        return Asked::Time;
    }
    if (!slewing && due(state_.g_tickLastTimeZone, MountQueries::kTimeZoneIntervalMs)) {
        queries.QueryTimeZone();
    } else if (!slewing && due(state_.g_tickLastSide, MountQueries::kSideIntervalMs)) {
        queries.QuerySideOfMount();
    } else if (due(state_.g_tickLastAlt, fast)) {
        queries.QueryAlt();
    } else if (due(state_.g_tickLastAz, fast)) {
        queries.QueryAz();
    } else if (due(state_.g_tickLastRa, fast)) {
        queries.QueryRa();
    } else if (due(state_.g_tickLastDec, fast)) {
        if (queries.QueryDec() && !slewing) {
            queries.CheckInitialPosition();
        }
    }
    return Asked::Other;
}

void PollLoop::ShowLogState() {
    PictureBox& indicator = needs_.handBox.pbLoggingPaused;
    if (!state_.g_bDebugLog) {
        indicator.Visible(true);
        indicator.BackColour(kRed);
        return;
    }
    if (state_.g_bParked) {
        PauseLogWhileParked();
    } else {
        indicator.Visible(false);
        state_.g_bLogPaused = false;
        state_.g_tickParkedSince = Tick{};
    }
    indicator.BackColour(kYellow);
}

void PollLoop::PauseLogWhileParked() {
    PictureBox& indicator = needs_.handBox.pbLoggingPaused;
    if (driver_.persist.ReadQuietly(setting::LogWhenParked) != "0") {
        indicator.Visible(false);
        state_.g_bLogPaused = false;
        return;
    }
    const Tick now = driver_.clock.GetTickCount();
    if (state_.g_tickParkedSince == Tick{}) {
        state_.g_tickParkedSince = now;
    } else if (now - state_.g_tickParkedSince > kParkedBeforePauseMs && !state_.g_bLogPaused) {
        indicator.Visible(true);
        driver_.log.LogMessage("Logging", LogLevel::Info, "Pausing Logging...");
        state_.g_bLogPaused = true;
    }
}

}  // namespace kestrane
