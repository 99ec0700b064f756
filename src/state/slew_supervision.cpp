#include <cmath>
#include <string>
#include <utility>

#include "catalogue/vocabulary.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "state/poll_loop.h"

/// How a running slew or park is watched, and what follows its end.
namespace kestrane {
namespace {

constexpr std::int32_t kSupervisionIntervalMs = 2000;
constexpr std::int32_t kSettleUnitMs = 2000;  // one unit of the settle time, from the last motion on
constexpr double kStillDegrees = 0.01;        // a smaller change of distance counts as stillness
constexpr std::int16_t kStillPasses = 3;      // still passes that end a slew short of its target
constexpr double kRaDecThreshold = 0.1;       // degrees
constexpr double kAltAzThreshold = 0.5;       // degrees
constexpr double kNearFirstLegDegrees = 1.0;
constexpr double kDegreesPerHour = 15.0;
constexpr std::int32_t kRefusalDoubtedMs = 15'000;
constexpr double kParkRaHours = 0.5;
constexpr double kParkDecDegrees = 0.01;
constexpr double kParkAltAzDegrees = 1.0;
constexpr double kAtMarkedDegrees = 2.0;
constexpr double kStandingDegrees = 0.05;  // between two readings: a mount that does not track, in its short format
constexpr std::int32_t kStandsForMs = 8000;
constexpr std::string_view kDistancePattern = "0.0000";
constexpr std::string_view kSlewComplete = "SLEW COMPLETE";
constexpr std::string_view kMayBeForgotten =
    "Communications were lost during the park: the companion may have forgotten to park the mount";
constexpr std::string_view kStoppedAway = "The mount has stopped away from its park position";

}  // namespace

bool PollLoop::CheckSlewing() {
    if (InParkMove(state_)) {
        return true;  // by the targets of an earlier slew, a pass could see an arrival in the middle of the move
    }
    LookForUnseenGoto();
    LookForEndOfGoto();
    WatchMarkedPark();
    const bool isParked = state_.g_bParking && state_.g_bParked;
    if ((ParkAborted() || isParked) && !state_.g_bSlewing) {
        // The park has stopped out of tolerance, or the firmware moves it: the supervision sees no motion that could
        // end.
        needs_.motion.SlewCompleteDue();
    }
    return state_.g_bGosActive && !state_.g_bDontUseGosForSlew ? CheckByStatus() : CheckByDistance();
}

/// A garbled answer can hide that the mount has accepted a goto. Where the status text does not show the motion, the
/// coordinates do: it is watched then like any other slew.
void PollLoop::LookForUnseenGoto() {
    const Tick now = driver_.clock.GetTickCount();
    const std::int32_t passed = now - state_.g_tickLastGoto;
    const bool doubted =
        state_.g_bGotoSent && !state_.g_bGotoRuns && passed >= 0 && passed < kRefusalDoubtedMs && !state_.g_bMoveSent;
    if (!doubted || state_.g_bSlewing || state_.g_bParking || state_.g_bAxisMotionBegun || state_.g_bStandAwaited) {
        refusedGoto_.reset();
        return;
    }
    if (!refusedGoto_ || refusedGoto_->sentAt != state_.g_tickLastGoto) {
        refusedGoto_.emplace(RefusedGoto{state_.g_tickLastGoto, MotionByReadings(state_, needs_.queries.Reads())});
    } else if (refusedGoto_->readings.Look(state_, needs_.queries.Reads()) == MotionByReadings::Seen::Moves) {
        driver_.log.LogMessage(
            "CheckSlewing", LogLevel::Warning,
            "The mount moves, although its answer to the slew was no acceptance: the slew is watched");
        needs_.motion.SupervisionBegins();
        state_.g_tickLastSlewCheck = now;
        PushSettleEnd();
    }
}

/// A goto that nothing supervises, as one of a client's own text, shows its end in no other way where there is no
/// status text. It may pause, and end slowly.
void PollLoop::LookForEndOfGoto() {
    if (!state_.g_bGotoRuns || state_.g_bGosActive || state_.g_bSlewing || state_.g_bParking) {
        unwatchedGoto_.reset();
        return;
    }
    const Tick now = driver_.clock.GetTickCount();
    if (!unwatchedGoto_ || unwatchedGoto_->sentAt != state_.g_tickLastGoto) {
        const MotionByReadings readings(state_, needs_.queries.Reads(), kStandingDegrees);
        unwatchedGoto_.emplace(UnwatchedGoto{.sentAt = state_.g_tickLastGoto, .movedAt = now, .readings = readings});
        return;
    }
    const MotionByReadings::Seen seen = unwatchedGoto_->readings.Look(state_, needs_.queries.Reads());
    if (seen == MotionByReadings::Seen::Moves || seen == MotionByReadings::Seen::MayMove) {
        unwatchedGoto_->movedAt = now;
    } else if (seen == MotionByReadings::Seen::Stands && now - unwatchedGoto_->movedAt >= kStandsForMs) {
        needs_.motion.SeenToStandShort();
    }
}

bool PollLoop::ParkAborted() const {
    return state_.g_bParking && state_.g_bAbortPark;
}

bool PollLoop::CheckByStatus() {
    if (state_.g_bSlewing && ParkAborted()) {
        needs_.motion.SlewEnds();
        ReadEndOfSlew();
        return false;
    }
    if (state_.g_bSlewing && !state_.g_bMountSlewing) {
        if (SecondLegFollows()) {
            if (StartSecondLeg()) {
                needs_.motion.SecondLegWatchedByStatus();
            }
        } else {
            needs_.queries.QueryRa();
            needs_.queries.QueryDec();
            ReadEndOfSlew();
            needs_.motion.SlewEnds();
        }
    }
    needs_.motion.SupervisionFollowsStatus();
    return state_.g_bSlewing;
}

bool PollLoop::CheckByDistance() {
    if (!state_.g_bSlewing) {
        return false;
    }
    if (driver_.clock.GetTickCount() - state_.g_tickLastSlewCheck < kSupervisionIntervalMs) {
        return true;
    }
    const bool parks = state_.g_bParking;
    if (state_.g_bAbortSlew || ParkAborted()) {
        needs_.motion.SlewEnds();
    } else {
        DistancePass();
    }
    state_.g_tickLastSlewCheck = driver_.clock.GetTickCount();
    const bool parkHasFailed = parks && !state_.g_bParking;
    if (!state_.g_bSlewing && !parkHasFailed) {
        BeepUnlessParking();
        ReadEndOfSlew();
    }
    return state_.g_bSlewing;
}

void PollLoop::ReadEndOfSlew() {
    needs_.queries.QuerySideOfMount();
    needs_.queries.QueryLst();
    needs_.motion.SlewCompleteDue();
}

void PollLoop::BeepUnlessParking() {
    if (!state_.g_bParking) {
        needs_.sounds.Beep();
    }
}

void PollLoop::DistancePass() {
    const double delta = MeasureDistance();
    if (markedPark_ && !positionIsNew_) {
        return;  // a mount that is not heard may be on its way, and its park must not be ended there
    }
    const double distance = state_.g_dLastTargetDistance;
    if (distance > Threshold() && state_.g_nSameDistance < kStillPasses) {
        PushSettleEnd();
        return;
    }
    const bool still = delta < kStillDegrees;
    const bool nearIsEnough = distance < Threshold() && !LinkWasLostInLeg();
    if (MayStartSecondLeg() && !nearIsEnough && !(still && (positionIsNew_ || !LinkWasLostInLeg()))) {
        return;  // the mount is not heard yet, or not to stand
    }
    if (SecondLegFollows()) {
        if (StartSecondLeg()) {
            PushSettleEnd();
            needs_.motion.SecondLegWatchedByDistance();
        }
    } else if (still && driver_.clock.GetTickCount() - state_.g_tickSettleEnd > 0) {
        BeepUnlessParking();  // intentional: once more when the pass has ended
        if (positionIsNew_) {
            distance <= Threshold() ? needs_.motion.SeenToStandAtTarget() : needs_.motion.SeenToStandShort();
        }
        needs_.motion.SlewEnds();
    }
}

/// Degrees by which the distance to the target has changed since the last pass.
double PollLoop::MeasureDistance() {
    const double distance = TargetDistance();
    const double delta = std::abs(state_.g_dLastTargetDistance - distance);
    const double deltaChange = std::abs(state_.g_dLastDelta - delta);
    driver_.log.LogMessage("CheckSlewing", LogLevel::Info,
                           "Slew Target Distance=" + FormatUs(distance, kDistancePattern) +
                               ",  Delta=" + FormatUs(delta, kDistancePattern) +
                               ", Delta Change=" + FormatUs(deltaChange, kDistancePattern));
    positionIsNew_ = NotePosition();
    if (delta >= kStillDegrees) {
        needs_.motion.DistanceChanged();
    } else if (needs_.motion.DistanceStayed(positionIsNew_)) {
        driver_.log.LogMessage("CheckSlewing", LogLevel::Info,
                               "Target Distance equal to last time: " + std::to_string(state_.g_nSameDistance));
    }
    state_.g_dLastTargetDistance = distance;
    state_.g_dLastDelta = delta;
    return delta;
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

/// Whether both coordinates that the distance is measured in have been read since the last pass.
bool PollLoop::NotePosition() {
    const CoordinateReads last = std::exchange(lastReads_, needs_.queries.Reads());
    return state_.g_bTargetIsRaDec ? lastReads_.ra != last.ra && lastReads_.dec != last.dec
                                   : lastReads_.alt != last.alt && lastReads_.az != last.az;
}

double PollLoop::Threshold() const {
    return state_.g_bTargetIsRaDec ? kRaDecThreshold : kAltAzThreshold;
}

/// No second leg ever follows an abort.
bool PollLoop::MayStartSecondLeg() const {
    return state_.g_bSafeSlewPending && !state_.g_bAbortSlew && !state_.g_bAbortPark;
}

/// Whether the second leg is to be sent now. One that must not be sent any more is dropped: the slew ends where it is.
bool PollLoop::SecondLegFollows() {
    if (!MayStartSecondLeg()) {
        return false;
    }
    const std::string_view reason = WhyNoSecondLeg();
    if (!reason.empty()) {
        driver_.log.LogMessage("SafeSlew", LogLevel::Warning,
                               "The slew ends here, its second leg is not sent: " + std::string(reason));
        needs_.motion.SecondLegBarred();
    }
    // Looked at again: a stop may have come in while the mount was asked where it stands.
    return reason.empty() && MayStartSecondLeg() && !state_.g_bSecondLegBarred;
}

bool PollLoop::LinkWasLostInLeg() const {
    return state_.g_bSafeSlewPending && state_.g_nLinkLosses != state_.g_nLinkLossesAtGoto;
}

/// A first leg that was cut, or that nobody could watch, may have left the mount where a direct way to the target leads
/// past the counterweights. A mount without power for a moment has forgotten where it points.
std::string_view PollLoop::WhyNoSecondLeg() {
    if (state_.g_bSecondLegBarred) {
        return "its first leg was cut, or could not be watched";
    }
    const CoordinateReads before = needs_.queries.Reads();
    const bool wasSilent = state_.g_bSafeSlewPending && state_.g_nSilences != state_.g_nSilencesAtGoto;
    if (wasSilent) {
        needs_.queries.QueryRa();
        needs_.queries.QueryDec();
    }
    if (state_.g_dRa == kPowerOnRa && state_.g_dDec == kPowerOnDec) {
        return "the mount reports its power-on position";
    }
    if (LinkWasLostInLeg()) {
        const CoordinateReads now = needs_.queries.Reads();
        const bool read = now.ra != before.ra && now.dec != before.dec;
        const double distance =
            AngularDistance(state_.g_dRa, state_.g_dDec, state_.g_dFirstLegRa, state_.g_dFirstLegDec);
        if (!read || distance > kNearFirstLegDegrees) {
            return "communications were lost, and the mount does not stand at the end of the first leg";
        }
    }
    return {};
}

/// False when that was the end of a park, and nothing is left to be watched.
bool PollLoop::StartSecondLeg() {
    const bool parks = state_.g_bParking;
    const double rightAscension = state_.g_dSafeSlewRa;
    const double declination = state_.g_dSafeSlewDec;
    driver_.log.LogMessage("SafeSlew", LogLevel::Info,
                           "Slew 2 of 2: RA=" + PlainNumber(rightAscension) + ", Dec=" + PlainNumber(declination));
    // Before the call: a call that gets in while it waits must not start the leg again, and this must not clear the
    // second leg of a later slew.
    needs_.motion.SecondLegTaken();
    ResumeNext errors{driver_.ledger, "CheckSlewing"};
    errors.Step([&] {
        if (TelescopeActions* telescope = needs_.telescope()) {
            telescope->StartSecondLeg(rightAscension, declination);
        }
    });
    return !parks || state_.g_bParking;
}

void PollLoop::PushSettleEnd() {
    state_.g_tickSettleEnd = driver_.clock.GetTickCount() + state_.g_nSlewSettleTime * kSettleUnitMs;
}

/// What follows a connect stops the mount; a goto that is under way then goes on first.
bool PollLoop::SlewCompleteWaits() const {
    const bool isOfConnect = !state_.g_bSideInitDone && !state_.g_bOwnSlew;
    return isOfConnect && (state_.g_bSlewing || state_.g_bMountSlewing);
}

void PollLoop::CheckSlewComplete() {
    if (!state_.g_bSlewCompletePending || SlewCompleteWaits() || InParkMove(state_)) {
        return;
    }
    needs_.motion.SlewCompleteTaken();
    if (needs_.askAbortSlew.Visible()) {
        needs_.askAbortSlew.Hide();
    }
    TelescopeActions* telescope = needs_.telescope();
    if (telescope && state_.g_dSiteLatitude == 0.0) {
        ResumeNext errors{driver_.ledger, "CheckSlewComplete"};
        errors.Step([&] {
            if (telescope->ReadSiteLatitude() == SiteAnswer::Silent) {
                needs_.queries.NoteSilentQuestion();
            }
        });
    }
    needs_.queries.QuerySideOfMount();
    if (state_.g_bParked) {
        FinishPark("Completed move to parked position");
    } else if (state_.g_bParking) {
        CheckParkArrival();
    } else {
        CompleteSlew();
    }
}

void PollLoop::CompleteSlew() {
    if (!state_.g_bSideInitDone) {
        state_.g_bSideInitDone = true;
        driver_.log.LogMessage("Inititialization", LogLevel::Info, "Side of mount initilization complete!");
    } else {
        driver_.log.LogMessage(kSlewComplete, LogLevel::Info, "Slew complete: Setting tracking rates");
    }
    if (state_.g_bAxisMotionBegun) {
        // The mount may have gone on with a slew that `MoveAxis` took over from. A restored rate would end the axis
        // motion.
        driver_.log.LogMessage("CheckSlewComplete", LogLevel::Info, "An axis runs: the tracking state is not restored");
    } else if (state_.g_bRestoreRatePending) {
        // A custom rate is not restored: sidereal takes its place.
        const bool isCustom = state_.g_nDisplayedRate == displayed_rate::Custom;
        const std::int16_t rate = isCustom ? std::int16_t{displayed_rate::Sidereal} : state_.g_nDisplayedRate;
        driver_.log.LogMessage("CheckSlewComplete", LogLevel::Info,
                               "Restoring tracking state = " + std::to_string(rate));
        needs_.restoreTrackingRate(rate);
    }
}

void PollLoop::FinishPark(std::string_view text) {
    driver_.log.LogMessage(kSlewComplete, LogLevel::Info, text);
    HandParkOver();
}

void PollLoop::HandParkOver() {
    if (TelescopeActions* telescope = needs_.telescope()) {
        telescope->HandleParkComplete();
    } else {
        needs_.motion.ParkEnds();
    }
}

/// A park whose position went unanswered is judged on a later tick, when it was read.
bool PollLoop::JudgedLater() {
    const bool later = needs_.queries.TickIsSilent();
    if (later) {
        needs_.motion.SlewCompleteDue();
    }
    return later;
}

/// A park that has stopped out of tolerance stays under way.
void PollLoop::CheckParkArrival() {
    if (state_.g_bAbortPark) {
        HandParkOver();
        return;
    }
    driver_.log.LogMessage(kSlewComplete, LogLevel::Info, "Parking operation in progress");
    if (markedPark_) {
        CheckMarkedPark();
        return;
    }
    if (!parkGoal_) {
        return;
    }
    const ParkGoal goal = *parkGoal_;
    goal.isRaDec ? needs_.queries.QueryRa() : needs_.queries.QueryAlt();
    goal.isRaDec ? needs_.queries.QueryDec() : needs_.queries.QueryAz();
    if (JudgedLater()) {
        return;
    }
    if (StandsAtGoal(goal)) {
        FinishPark(goal.isRaDec ? "Completed move to parked position(2)" : "Completed move to parked position(3)");
    } else {
        driver_.log.LogMessage(kSlewComplete, LogLevel::Warning,
                               std::string(kStoppedAway) + ": the park is not finished");
    }
}

bool PollLoop::StandsAtGoal(const ParkGoal& goal) const {
    if (goal.isRaDec) {
        return std::abs(NormalizeHourAngle(goal.around - state_.g_dRa)) < kParkRaHours &&
               std::abs(goal.up - state_.g_dDec) < kParkDecDegrees;
    }
    return std::abs(NormalizeDegrees180(goal.around - state_.g_dAz)) < kParkAltAzDegrees &&
           std::abs(goal.up - state_.g_dAlt) < kParkAltAzDegrees;
}

std::uint32_t PollLoop::BeginPark() {
    markedPark_.reset();
    parkGoal_.reset();
    return ++parkNumber_;
}

void PollLoop::MarkPark(double altitude, double azimuth, MarkedEnd end) {
    markedPark_ =
        MarkedPark{state_.g_dAlt, state_.g_dAz, altitude, azimuth, end, needs_.queries.Reads(), state_.g_nLinkLosses};
    markedPark_->nearAllAlong = DegreesFrom(altitude, azimuth) <= kAtMarkedDegrees;
    markedPark_->tracking = state_.g_bTracking;
}

double PollLoop::DegreesFrom(double altitude, double azimuth) const {
    return AngularDistance(state_.g_dAz / kDegreesPerHour, state_.g_dAlt, azimuth / kDegreesPerHour, altitude);
}

/// A mount that stands stays at its place of the sky: it does not track during a park.
void PollLoop::WatchMarkedPark() {
    if (!state_.g_bParking) {
        markedPark_.reset();
    }
    if (!markedPark_) {
        return;
    }
    MarkedPark& park = *markedPark_;
    const bool textIsNew = state_.g_tickLastGos - state_.g_tickLastGoto > 0;
    // The flag of the motion would not do: it is set from the command on, until a text clears it.
    park.saidToMove = park.saidToMove || (state_.g_bGosActive && textIsNew && LastTextSaysSlewing(state_));
    const CoordinateReads now = needs_.queries.Reads();
    if (park.tracking != state_.g_bTracking) {
        // What is computed and what the mount tells may differ: that is no motion.
        park.tracking = state_.g_bTracking;
        park.reads = now;
        park.beginsAnew = true;
    }
    if (now.alt == park.reads.alt || now.az == park.reads.az) {
        return;
    }
    park.reads = now;
    if (std::exchange(park.beginsAnew, false)) {
        park.startAlt = state_.g_dAlt;
        park.startAz = state_.g_dAz;
    }
    park.nearAllAlong = park.nearAllAlong && DegreesFrom(park.alt, park.az) <= kAtMarkedDegrees;
    if (park.moves < MotionByReadings::kFarReadings) {
        park.moves = DegreesFrom(park.startAlt, park.startAz) > MotionByReadings::kFarDegrees ? park.moves + 1 : 0;
    }
}

/// The command has no reply: a lost one must not end as a park wherever the mount stands.
void PollLoop::CheckMarkedPark() {
    needs_.queries.QueryAlt();
    needs_.queries.QueryAz();
    if (JudgedLater()) {
        return;
    }
    WatchMarkedPark();
    if (state_.g_bMountSlewing) {
        return;  // again: the end of that is looked for
    }
    const MarkedPark& park = *markedPark_;
    const auto isNotFinished = [&](LogLevel level, std::string_view reason) {
        driver_.log.LogMessage(kSlewComplete, level, std::string(reason) + ": the park is not finished");
    };
    if (!park.saidToMove && park.moves < MotionByReadings::kFarReadings && !park.nearAllAlong) {
        isNotFinished(LogLevel::Warning, "The mount was not seen to go to its park position");
    } else if (park.end == MarkedEnd::AtItsPlace && DegreesFrom(park.alt, park.az) > kAtMarkedDegrees) {
        isNotFinished(LogLevel::Warning, kStoppedAway);
    } else if (park.end == MarkedEnd::Reported && state_.g_bGosSupported) {
        const bool mayBeForgotten = LinkWasLostInMarkedPark();
        isNotFinished(
            mayBeForgotten ? LogLevel::Warning : LogLevel::Info,
            mayBeForgotten ? kMayBeForgotten : "The mount stands, and has not reported yet that it is parked");
    } else {
        FinishPark("Completed move to parked position(4)");
    }
}

}  // namespace kestrane
