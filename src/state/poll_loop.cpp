#include "state/poll_loop.h"

#include <array>
#include <utility>

#include "state/client_connections.h"

namespace kestrane {
namespace {

constexpr std::int32_t kParkedBeforePauseMs = 3 * 60 * 1000;
constexpr std::int32_t kIntervalAfterAbortMs = 1000;  // of the status text
constexpr std::int32_t kRed = 255;
constexpr double kStarvedIntervals = 3.0;
constexpr std::int32_t kOldestReadingMs = 30'000;
constexpr std::int32_t kFirstReadingsMs = 10'000;  // until each coordinate was asked for again
constexpr std::int32_t kLongestWaitMs = 600'000;   // that is looked at; keeps the ticks far from their wrap

struct PolledQuery {
    Tick DriverState::*stamp;
    std::int32_t intervalMs;
    bool (MountQueries::*ask)();
    bool duringSlews;
};

/// In the order in which they have their turn.
// clang-format off
constexpr std::array kPolledQueries{
    PolledQuery{&DriverState::g_tickLastLst,      MountQueries::kSlowIntervalMs,       &MountQueries::QueryLst,         false},
    PolledQuery{&DriverState::g_tickLastTime,     MountQueries::kSlowIntervalMs,       &MountQueries::QueryTime,        false},
    PolledQuery{&DriverState::g_tickLastTimeZone, MountQueries::kTimeZoneIntervalMs,   &MountQueries::QueryTimeZone,    false},
    PolledQuery{&DriverState::g_tickLastSide,     MountQueries::kSideIntervalMs,       &MountQueries::QuerySideOfMount, false},
    PolledQuery{&DriverState::g_tickLastAlt,      MountQueries::kCoordinateIntervalMs, &MountQueries::QueryAlt,         true},
    PolledQuery{&DriverState::g_tickLastAz,       MountQueries::kCoordinateIntervalMs, &MountQueries::QueryAz,          true},
    PolledQuery{&DriverState::g_tickLastRa,       MountQueries::kCoordinateIntervalMs, &MountQueries::QueryRa,          true},
    PolledQuery{&DriverState::g_tickLastDec,      MountQueries::kCoordinateIntervalMs, &MountQueries::QueryDec,         true},
};
// clang-format on

Tick Later(Tick a, Tick b) {
    return a - b > 0 ? a : b;
}

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

/// A poll step waits for one unanswered query at most.
class OneSilence {
public:
    explicit OneSilence(MountQueries& queries) : queries_(queries) { queries_.TickBegins(); }
    ~OneSilence() { queries_.TickEnds(); }
    OneSilence(const OneSilence&) = delete;
    OneSilence& operator=(const OneSilence&) = delete;

private:
    MountQueries& queries_;
};

}  // namespace

void PollLoop::SetPolling(bool enable) {
    if (enable && (state_.g_bPollSuspended || !needs_.handBox.tmrQueryRaDecAltAz.Enabled())) {
        NoteHeldOff();
    }
    state_.g_bPollSuspended = !enable;
    needs_.handBox.tmrQueryRaDecAltAz.Enabled(enable);
}

void PollLoop::OnTimer() {
    const bool isWanted = state_.g_nScopeObjects > 1 || state_.g_nFocuserObjects >= 2 || ParkIsOnItsWay(state_);
    if (!state_.g_bInPoll && isWanted) {
        const InPoll inPoll(state_);
        UpdateMountInfo();
    } else if (state_.g_bInPoll) {
        driver_.log.LogMessage("timer", LogLevel::Info, "In Timer cannot Poll");
    } else {
        NoteHeldOff();
    }
    ResumeNext errors{driver_.ledger, "tmrQueryRaDecAltAz"};
    errors.Step([&] { ShowLogState(); });
}

/// A stop gets in before each part of the step, which takes seconds with a slow mount. The queries let it in too.
void PollLoop::UpdateMountInfo() {
    const OneSilence oneSilence(needs_.queries);
    for (const auto part : {&PollLoop::WatchMotion, &PollLoop::AskWhatIsDue, &PollLoop::FinishSlew}) {
        needs_.door.LetStopIn();
        (this->*part)();
    }
}

/// After an abort the mount is asked more often, until it reports that it stands: clients wait for that.
std::int32_t PollLoop::StatusInterval() const {
    return state_.g_bStandAwaited ? kIntervalAfterAbortMs : MountQueries::kSlowIntervalMs;
}

void PollLoop::WatchMotion() {
    ResumeNext errors{driver_.ledger, "UpdateMountInfo"};
    std::optional<Tick> textAskedAt;
    errors.Step([&] {
        const Tick now = driver_.clock.GetTickCount();
        if (needs_.queries.IsDue(state_.g_tickLastGos, StatusInterval()) && needs_.queries.QueryGos()) {
            textAskedAt = now;
        }
    });
    errors.Step([&] { RepeatStop(textAskedAt); });
    if (needs_.queries.TickIsSilent()) {
        return;  // the supervision must not judge by a position that it may not ask for
    }
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

void PollLoop::RepeatStop(std::optional<Tick> textAskedAt) {
    TelescopeActions* const telescope = needs_.telescope();
    if (!telescope) {
        return;
    }
    if (const auto form = stopWatch_.DueAgain(textAskedAt, needs_.queries.Questions(), needs_.queries.Reads())) {
        const StopWatch::Repeat repeat(stopWatch_);
        telescope->StopAgain(*form);
    }
}

void PollLoop::AskWhatIsDue() {
    ResumeNext errors{driver_.ledger, "UpdateMountInfo"};
    MountQueries& queries = needs_.queries;
    errors.Step([&] {
        if (!queries.TickIsSilent() && !needs_.periodicQuayCheck()) {
            queries.NoteSilentTick();
        }
    });
    errors.Step([&] { AskSideAtEnd(); });
    bool timeAsked = false;
    bool lstAsked = false;
    errors.Step([&] {
        const Query asked = RunDueQuery();
        timeAsked = asked == &MountQueries::QueryTime;
        lstAsked = asked == &MountQueries::QueryLst;
    });
    errors.Step([&] {
        if (!timeAsked) {
            queries.UpdateMountTimeDisplay();
        }
    });
    errors.Step([&] {
        if (!lstAsked) {
            queries.UpdateHourAngle();
        }
    });
}

/// What follows a slew begins with the side. One that went unanswered is left out of the next steps, until something
/// else was answered: a mount that never tells it must not keep the rest from being asked.
void PollLoop::AskSideAtEnd() {
    if (state_.g_bSlewCompletePending && !SlewCompleteWaits() && !needs_.queries.TickIsSilent() && !sideUnanswered_) {
        needs_.queries.QuerySideOfMount();
        sideUnanswered_ = needs_.queries.TickIsSilent();
    }
}

/// Not on a step with a silence: it would judge by what was read before the end.
void PollLoop::FinishSlew() {
    if (needs_.queries.TickIsSilent()) {
        return;
    }
    if (std::exchange(sideUnanswered_, false)) {
        needs_.queries.TickEnds();  // the line is not silent, only the side: the position after it is asked for
    }
    ResumeNext errors{driver_.ledger, "UpdateMountInfo"};
    errors.Step([&] { CheckSlewComplete(); });
}

/// Runs one query that is due, and returns which.
PollLoop::Query PollLoop::RunDueQuery() {
    const bool slewing = state_.g_bSlewing;
    const Query query = ChooseQuery();
    if (query && (needs_.queries.*query)() && query == &MountQueries::QueryDec && !slewing) {
        needs_.queries.TickEnds();  // this may pump: other calls have queries of their own
        needs_.queries.CheckInitialPosition();
    }
    return query;
}

/// The first one that is due. But on a line that is slow or silent for some queries, the first ones are due again
/// before the last ones had their turn: from three intervals on, the one that has waited the most intervals is next.
/// During a slew only the coordinates are asked for; the rest has not waited for that time.
PollLoop::Query PollLoop::ChooseQuery() {
    const Tick now = driver_.clock.GetTickCount();
    if (!asksSince_) {
        NoteHeldOff();
    }
    asksSince_ = Later(*asksSince_, now - kLongestWaitMs);
    asksRestSince_ = state_.g_bSlewing ? now : Later(*asksRestSince_, now - kLongestWaitMs);
    Query first = nullptr;
    Query starved = nullptr;
    double longest = kStarvedIntervals;
    for (const PolledQuery& row : kPolledQueries) {
        if ((state_.g_bSlewing && !row.duringSlews) || !needs_.queries.IsDue(state_.*row.stamp, row.intervalMs)) {
            continue;
        }
        first = first ? first : row.ask;
        const Tick since = Later(state_.*row.stamp, row.duringSlews ? *asksSince_ : *asksRestSince_);
        const double waited = static_cast<double>(now - since) / row.intervalMs;
        if (waited > longest) {
            longest = waited;
            starved = row.ask;
        }
    }
    return starved ? starved : first;
}

/// The poll could not ask until now: what has waited, has waited by the driver's own doing.
void PollLoop::NoteHeldOff() {
    asksSince_ = asksRestSince_ = driver_.clock.GetTickCount();
}

bool PollLoop::IsStale(std::optional<Tick> readAt) const {
    if (!asksSince_ || state_.g_bPollSuspended || !needs_.handBox.tmrQueryRaDecAltAz.Enabled()) {
        return false;
    }
    const Tick now = driver_.clock.GetTickCount();
    return now - readAt.value_or(*asksSince_) > kOldestReadingMs && now - *asksSince_ > kFirstReadingsMs;
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
