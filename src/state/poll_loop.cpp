#include "state/poll_loop.h"

#include <cmath>
#include <string>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr std::int32_t kParkedBeforePauseMs = 3 * 60 * 1000;
constexpr std::int32_t kSupervisionIntervalMs = 2000;
constexpr std::int32_t kSettleUnitMs = 2000;  // of one unit of the settle time while the mount still moves
constexpr double kStillDegrees = 0.01;        // a change of distance below this is stillness
constexpr std::int16_t kStillPasses = 3;      // still passes that end a slew short of its target
constexpr double kRaDecThreshold = 0.1;       // degrees
constexpr double kAltAzThreshold = 0.5;       // degrees
constexpr double kDegreesPerHour = 15.0;
constexpr double kParkRaHours = 0.5;
constexpr double kParkDecDegrees = 0.01;
constexpr double kParkAltAzDegrees = 1.0;
constexpr std::string_view kDistancePattern = "0.0000";
constexpr std::int32_t kYellow = 65535;
constexpr std::int32_t kRed = 255;

/// Marks the poll step as running, whatever way it ends.
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
        needs_.log.LogMessage("timer", LogLevel::Info, "In Timer cannot Poll");
    }
    ResumeNext errors{needs_.ledger, "tmrQueryRaDecAltAz"};
    errors.Step([&] { ShowLogState(); });
}

void PollLoop::UpdateMountInfo() {
    ResumeNext errors{needs_.ledger, "UpdateMountInfo"};
    MountQueries& queries = needs_.queries;
    errors.Step([&] {
        if (queries.IsDue(false, state_.g_tickLastGos, MountQueries::kSlowIntervalMs)) {
            queries.QueryGos();
        }
    });
    errors.Step([&] {
        const bool flashing = needs_.handBox.tmrSlewFlashUI.Enabled();
        if (CheckSlewing() && !flashing) {
            needs_.panel.SlewFlashDisplay();
            needs_.handBox.tmrSlewFlashUI.Enabled(true);
        }
    });
    errors.Step([&] { needs_.periodicQuayCheck(); });
    errors.Step([&] {
        if (state_.g_bSlewCompletePending) {
            queries.QuerySideOfMount();
        }
    });
    bool askedTime = false;
    bool askedLst = false;
    errors.Step([&] { RunDueQuery(askedTime, askedLst); });
    errors.Step([&] {
        if (!askedLst) {
            queries.UpdateHourAngle();
        }
    });
    errors.Step([&] { CheckSlewComplete(); });
}

void PollLoop::RunDueQuery(bool& askedTime, bool& askedLst) {
    MountQueries& queries = needs_.queries;
    const auto due = [&](Tick& stamp, std::int32_t interval) { return queries.IsDue(false, stamp, interval); };
    constexpr std::int32_t fast = MountQueries::kCoordinateIntervalMs;
    askedTime = false;
    if (!state_.g_bSlewing) {
        if (due(state_.g_tickLastLst, MountQueries::kSlowIntervalMs)) {
            askedLst = true;
            queries.QueryLst();
            return;
        }
        if (due(state_.g_tickLastSide, MountQueries::kSideIntervalMs)) {
            queries.QuerySideOfMount();
            return;
        }
    }
    if (due(state_.g_tickLastAlt, fast)) {
        queries.QueryAlt();
    } else if (due(state_.g_tickLastAz, fast)) {
        queries.QueryAz();
    } else if (due(state_.g_tickLastRa, fast)) {
        queries.QueryRa();
    } else if (due(state_.g_tickLastDec, fast)) {
        if (queries.QueryDec() && !state_.g_bSlewing) {
            CheckInitialPosition();
        }
    }
}

void PollLoop::CheckInitialPosition() {
    if (state_.g_dRa != 0.0 || state_.g_dDec != 90.0) {
        initUiDone_ = false;
        return;
    }
    // Every second report of the power-on position fills the hand box again: wanted.
    if (!initUiDone_) {
        needs_.telescope()->InitUI();
        initUiDone_ = true;
    } else {
        initUiDone_ = false;
    }
}

bool PollLoop::CheckSlewing() {
    return state_.g_bGosActive && !state_.g_bDontUseGosForSlew ? CheckByStatus() : CheckByDistance();
}

bool PollLoop::CheckByStatus() {
    if (state_.g_bParking && state_.g_bAbortPark) {
        state_.g_bSlewing = state_.g_bMountSlewing = state_.g_bAbortSlew = false;
        return false;
    }
    if (state_.g_bSlewing && !state_.g_bMountSlewing) {
        if (MayStartSecondLeg()) {
            StartSecondLeg();
            state_.g_bMountSlewing = true;
        } else {
            needs_.queries.QueryRa();
            needs_.queries.QueryDec();
            needs_.queries.QuerySideOfMount();
            needs_.queries.QueryLst();
            state_.g_bAbortSlew = false;
            state_.g_bSlewCompletePending = true;
        }
    }
    state_.g_bSlewing = state_.g_bMountSlewing;
    return state_.g_bSlewing;
}

bool PollLoop::CheckByDistance() {
    if (!state_.g_bSlewing) {
        return false;
    }
    if (needs_.clock.GetTickCount() - state_.g_tickLastSlewCheck < kSupervisionIntervalMs) {
        return true;
    }
    if (state_.g_bAbortSlew || (state_.g_bParking && state_.g_bAbortPark)) {
        state_.g_bAbortSlew = false;
        state_.g_bSlewing = state_.g_bMountSlewing = false;
    } else {
        DistancePass();
    }
    state_.g_tickLastSlewCheck = needs_.clock.GetTickCount();
    if (!state_.g_bSlewing) {
        needs_.queries.QuerySideOfMount();
        needs_.queries.QueryLst();
        state_.g_bSlewCompletePending = true;
    }
    return state_.g_bSlewing;
}

void PollLoop::DistancePass() {
    const double distance = TargetDistance();
    const double delta = std::abs(state_.g_dLastTargetDistance - distance);
    const double deltaChange = std::abs(state_.g_dLastDelta - delta);
    needs_.log.LogMessage("CheckSlewing", LogLevel::Info,
                          "Slew Target Distance=" + FormatUs(distance, kDistancePattern) +
                              ",  Delta=" + FormatUs(delta, kDistancePattern) +
                              ", Delta Change=" + FormatUs(deltaChange, kDistancePattern));
    if (delta < kStillDegrees) {
        ++state_.g_nSameDistance;
        needs_.log.LogMessage("CheckSlewing", LogLevel::Info,
                              "Target Distance equal to last time: " + std::to_string(state_.g_nSameDistance));
    } else {
        state_.g_nSameDistance = 0;
    }
    state_.g_dLastTargetDistance = distance;
    state_.g_dLastDelta = delta;

    if (distance > Threshold() && state_.g_nSameDistance < kStillPasses) {
        PushSettleEnd();
        return;
    }
    if (distance < Threshold() && MayStartSecondLeg()) {
        StartSecondLeg();
        PushSettleEnd();
        state_.g_bSlewing = true;
        return;
    }
    if (delta >= kStillDegrees) {
        return;
    }
    if (MayStartSecondLeg()) {
        StartSecondLeg();
        PushSettleEnd();
        state_.g_bSlewing = true;
    } else if (needs_.clock.GetTickCount() - state_.g_tickSettleEnd > 0) {
        state_.g_bSlewing = state_.g_bMountSlewing = false;
        state_.g_bAbortSlew = false;
    }
}

/// Degrees from the target, with a fresh position if the poll has not read one since the last pass.
double PollLoop::TargetDistance() {
    MountQueries& queries = needs_.queries;
    if (state_.g_bTargetIsRaDec) {
        if (state_.g_tickSeenRa == state_.g_tickLastRa && state_.g_tickSeenDec == state_.g_tickLastDec) {
            queries.QueryRa();
            queries.QueryDec();
        }
        state_.g_tickSeenRa = state_.g_tickLastRa;
        state_.g_tickSeenDec = state_.g_tickLastDec;
        return AngularDistance(state_.g_dRa, state_.g_dDec, state_.g_dTargetRa, state_.g_dTargetDec);
    }
    if (state_.g_tickSeenAz == state_.g_tickLastAz && state_.g_tickSeenAlt == state_.g_tickLastAlt) {
        queries.QueryAz();
        queries.QueryAlt();
    }
    state_.g_tickSeenAz = state_.g_tickLastAz;
    state_.g_tickSeenAlt = state_.g_tickLastAlt;
    return AngularDistance(state_.g_dAz / kDegreesPerHour, state_.g_dAlt, state_.g_dTargetAz / kDegreesPerHour,
                           state_.g_dTargetAlt);
}

double PollLoop::Threshold() const {
    return state_.g_bTargetIsRaDec ? kRaDecThreshold : kAltAzThreshold;
}

/// No second leg ever follows an abort.
bool PollLoop::MayStartSecondLeg() const {
    return state_.g_bSafeSlewPending && !state_.g_bAbortSlew && !state_.g_bAbortPark;
}

void PollLoop::StartSecondLeg() {
    needs_.log.LogMessage(
        "SafeSlew", LogLevel::Info,
        "Slew 2 of 2: RA=" + PlainNumber(state_.g_dSafeSlewRa) + ", Dec=" + PlainNumber(state_.g_dSafeSlewDec));
    ResumeNext errors{needs_.ledger, "CheckSlewing"};
    errors.Step([&] { needs_.telescope()->StartSecondLeg(state_.g_dSafeSlewRa, state_.g_dSafeSlewDec); });
    state_.g_bSafeSlewPending = false;
}

void PollLoop::PushSettleEnd() {
    state_.g_tickSettleEnd = needs_.clock.GetTickCount() + state_.g_nSlewSettleTime * kSettleUnitMs;
}

void PollLoop::CheckSlewComplete() {
    if (!state_.g_bSlewCompletePending) {
        return;
    }
    state_.g_bSlewCompletePending = false;
    if (state_.g_dSiteLatitude == 0.0 && needs_.telescope()) {
        ResumeNext errors{needs_.ledger, "CheckSlewComplete"};
        errors.Assign(state_.g_dSiteLatitude, [&] { return needs_.telescope()->SiteLatitude(); });
    }
    needs_.queries.QuerySideOfMount();
    if (state_.g_bParked) {
        needs_.log.LogMessage("SLEW COMPLETE", LogLevel::Info, "Completed move to parked position");
        needs_.telescope()->HandleParkComplete();
        return;
    }
    if (state_.g_bParking) {
        CheckParkArrival();
        return;
    }
    if (!state_.g_bSideInitDone) {
        state_.g_bSideInitDone = true;
        needs_.log.LogMessage("Inititialization", LogLevel::Info, "Side of mount initilization complete!");
    } else {
        needs_.log.LogMessage("SLEW COMPLETE", LogLevel::Info, "Slew complete: Setting tracking rates");
    }
}

void PollLoop::CheckParkArrival() {
    needs_.log.LogMessage("SLEW COMPLETE", LogLevel::Info, "Parking operation in progress");
    if (state_.g_bTargetRaSet && state_.g_bTargetDecSet) {
        needs_.queries.QueryRa();
        needs_.queries.QueryDec();
        const double raDistance = std::abs(NormalizeHourAngle(state_.g_dTargetRa - state_.g_dRa));
        if (raDistance < kParkRaHours && std::abs(state_.g_dTargetDec - state_.g_dDec) < kParkDecDegrees) {
            needs_.log.LogMessage("SLEW COMPLETE", LogLevel::Info, "Completed move to parked position(2)");
            needs_.telescope()->HandleParkComplete();
        }
    } else if (state_.g_bTargetAltSet && state_.g_bTargetAzSet) {
        needs_.queries.QueryAlt();
        needs_.queries.QueryAz();
        const double azDistance = std::abs(NormalizeDegrees180(state_.g_dTargetAz - state_.g_dAz));
        if (std::abs(state_.g_dTargetAlt - state_.g_dAlt) < kParkAltAzDegrees && azDistance < kParkAltAzDegrees) {
            needs_.log.LogMessage("SLEW COMPLETE", LogLevel::Info, "Completed move to parked position(3)");
            needs_.telescope()->HandleParkComplete();
        }
    }
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
        state_.g_bLogPaused = false;
        state_.g_tickParkedSince = Tick{};
    }
    indicator.BackColour(kYellow);
}

void PollLoop::PauseLogWhileParked() {
    PictureBox& indicator = needs_.handBox.pbLoggingPaused;
    if (needs_.persist.Read(setting::LogWhenParked) != "0") {
        indicator.Visible(false);
        state_.g_bLogPaused = false;
        return;
    }
    const Tick now = needs_.clock.GetTickCount();
    if (state_.g_tickParkedSince == Tick{}) {
        state_.g_tickParkedSince = now;
    } else if (now - state_.g_tickParkedSince > kParkedBeforePauseMs && !state_.g_bLogPaused) {
        indicator.Visible(true);
        needs_.log.LogMessage("Logging", LogLevel::Info, "Pausing Logging...");
        state_.g_bLogPaused = true;
    }
}

}  // namespace kestrane
