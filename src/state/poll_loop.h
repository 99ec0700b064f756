#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "forms/frm_ask_abort_slew.h"
#include "forms/frm_hand_box.h"
#include "forms/hand_box_display.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "platform/clock.h"
#include "platform/system_services.h"
#include "settings/persist.h"
#include "state/driver_state.h"
#include "state/essentials.h"
#include "state/motion.h"
#include "state/mount_queries.h"
#include "state/sequence.h"
#include "state/stop_watch.h"
#include "state/telescope_actions.h"

namespace kestrane {

struct PollLoopNeeds {
    Essentials driver;
    Motion& motion;
    StopDoor& door;
    Sounds& sounds;
    frmHandBox& handBox;
    frmAskAbortSlew& askAbortSlew;
    HandBoxDisplay& panel;
    MountQueries& queries;
    std::function<TelescopeActions*()> telescope;  ///< null while there is none
    std::function<bool()> periodicQuayCheck;       ///< false when it has asked, and nothing answered
    /// Makes the mount track again after a slew. Rate 0 off, 1 sidereal, 2 lunar, 3 solar; any other does nothing.
    /// Talks to the mount and does not raise.
    std::function<void(std::int16_t rate)> restoreTrackingRate;
};

/// Where a park is to end that the driver leads there.
struct ParkGoal {
    bool isRaDec = true;
    double around = 0.0;  ///< right ascension in hours, else azimuth in degrees
    double up = 0.0;      ///< declination, else altitude; degrees
};

/// Keeps the picture of the mount current and supervises slews, on the poll timer of the hand box. At most one query of
/// a position or time runs on a tick, so that a tick is short and the window stays live. Nothing here raises into the
/// timer.
class PollLoop {
public:
    explicit PollLoop(PollLoopNeeds needs)
        : needs_(std::move(needs)),
          driver_(needs_.driver),
          state_(driver_.state),
          stopWatch_(driver_.state, driver_.log, driver_.clock) {}

    /// The tick of `tmrQueryRaDecAltAz`: polls while a client holds a device object.
    void OnTimer();
    /// One poll step. The timer calls it, and so does any wait inside a poll step, where the timer cannot fire.
    void UpdateMountInfo();
    /// Runs one supervision pass; returns whether a slew runs.
    bool CheckSlewing();
    /// What shows the end of a park that the mount, or the companion, drives to a position by itself. It may not have
    /// heard of it: so its status text has told that it is parked, or that it moved, or it has moved by its
    /// coordinates, or it stood there all along. It stands, and then one more thing.
    enum class MarkedEnd {
        Standing,    ///< nothing more
        AtItsPlace,  ///< it stands at the position: it may pause on its way
        Reported,    ///< the status text tells that it is parked, where the firmware has one: somebody else parks it
    };
    /// Degrees.
    void MarkPark(double altitude, double azimuth, MarkedEnd end);
    bool ParkIsMarked() const { return markedPark_.has_value(); }
    /// Whether communications were lost since such a park went out: whoever was to end it may have forgotten that.
    bool LinkWasLostInMarkedPark() const { return markedPark_ && markedPark_->linkLosses != state_.g_nLinkLosses; }
    /// A park begins: what was known of an earlier one is forgotten. Returns its number.
    std::uint32_t BeginPark();
    /// Of the last park that has begun; wraps.
    std::uint32_t ParkNumber() const { return parkNumber_; }
    /// The park that has begun ends there, whatever targets are written meanwhile: the first of two legs has a target
    /// of its own, and so have other clients.
    void ExpectParkAt(const ParkGoal& goal) { parkGoal_ = goal; }
    /// Why the second leg of a slew must not be sent, in words for the log; empty when nothing speaks against it. May
    /// ask the mount where it stands.
    std::string_view WhyNoSecondLeg();
    /// A stop goes out, which the poll repeats while the mount goes on moving: see `StopWatch::Outgoing`.
    void StopGoesOut(bool endsGoto, bool endsMove) {
        stopWatch_.StopGoesOut({.endsGoto = endsGoto, .endsMove = endsMove, .questions = needs_.queries.Questions()});
    }
    void StopPairWentOut() { stopWatch_.PairWentOut(); }
    void MotionBegins() { stopWatch_.MotionBegins(); }
    bool StopIsOwed() const { return stopWatch_.StopIsOwed(); }
    /// Does what follows the end of a slew, when that is due. After a connect that waits until the mount stands.
    void CheckSlewComplete();
    /// Keeps the poll off the line while a command sequence runs, and brings it back.
    void SetPolling(bool enable);
    /// Whether a coordinate that was accepted last at `readAt` (nothing: never) is too old for clients: more than 30 s,
    /// although the poll could ask. While the driver keeps the poll off the line, and for 10 s after it, nothing is.
    bool IsStale(std::optional<Tick> readAt) const;

private:
    using Query = bool (MountQueries::*)();

    // poll_loop.cpp
    std::int32_t StatusInterval() const;
    void WatchMotion();
    void RepeatStop(std::optional<Tick> textAskedAt);
    void AskWhatIsDue();
    void AskSideAtEnd();
    void FinishSlew();
    Query RunDueQuery();
    Query ChooseQuery();
    void NoteHeldOff();
    void ShowLogState();
    void PauseLogWhileParked();

    // slew_supervision.cpp
    void LookForUnseenGoto();
    void LookForEndOfGoto();
    bool ParkAborted() const;
    bool CheckByStatus();
    bool CheckByDistance();
    void ReadEndOfSlew();
    void BeepUnlessParking();
    void DistancePass();
    double MeasureDistance();
    double TargetDistance();
    bool NotePosition();
    double Threshold() const;
    bool StartSecondLeg();
    bool MayStartSecondLeg() const;
    bool SecondLegFollows();
    bool LinkWasLostInLeg() const;
    bool SlewCompleteWaits() const;
    void PushSettleEnd();
    void CompleteSlew();
    void FinishPark(std::string_view text);
    void HandParkOver();
    bool JudgedLater();
    bool StandsAtGoal(const ParkGoal& goal) const;
    void CheckParkArrival();
    void WatchMarkedPark();
    void CheckMarkedPark();
    double DegreesFrom(double altitude, double azimuth) const;

    PollLoopNeeds needs_;
    Essentials driver_;
    DriverState& state_;
    StopWatch stopWatch_;
    /// Watches a mount that has refused a goto, for a while: the refusal may be a garbled answer.
    struct RefusedGoto {
        Tick sentAt;
        MotionByReadings readings;
    };
    std::optional<RefusedGoto> refusedGoto_;
    struct UnwatchedGoto {
        Tick sentAt;
        Tick movedAt;  ///< when it was seen to move, or not yet to stand
        MotionByReadings readings;
    };
    std::optional<UnwatchedGoto> unwatchedGoto_;
    /// A park that the mount drives to a position of its own.
    struct MarkedPark {
        double startAlt, startAz;  ///< degrees
        double alt, az;            ///< of the position
        MarkedEnd end;
        CoordinateReads reads;
        std::uint32_t linkLosses;  ///< when it went out
        int moves = 0;             ///< readings in a row that are far from the start
        bool saidToMove = false;   ///< by the status text
        bool nearAllAlong = true;
        bool tracking = false;    ///< while the mount tracks, altitude and azimuth may be computed
        bool beginsAnew = false;  ///< the next reading is the start
    };
    std::optional<MarkedPark> markedPark_;
    std::optional<ParkGoal> parkGoal_;  ///< of a park that is not marked
    std::uint32_t parkNumber_ = 0;
    CoordinateReads lastReads_;  ///< at the last supervision pass
    bool positionIsNew_ = true;  ///< both coordinates of the distance were read since the pass before
    /// The side that is asked for at the end of a slew went unanswered, and so did all since then.
    bool sideUnanswered_ = false;
    /// Since when the poll may ask for the coordinates, and for the rest, which waits during slews; nothing before the
    /// first step.
    std::optional<Tick> asksSince_, asksRestSince_;
};

}  // namespace kestrane
