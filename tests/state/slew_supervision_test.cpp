#include <cmath>

#include "kernel/base/conversions.h"
#include "state/state_fixture.h"

namespace kestrane {
namespace {

/// A slew to RA 5 h, Dec 40 is under way; the settle time is one unit.
class SupervisionTest : public StateFixture {
protected:
    explicit SupervisionTest(Tick firstTick = VirtualClock::kZero) : StateFixture(firstTick) {
        mount.replies["GS"] = "06:00:00";
        mount.replies["pS"] = "East";
        mount.replies["GA"] = "+50*00:00";
        mount.replies["GZ"] = "180*00:00";
        state.g_dSiteLatitude = 47.0;
        Target(5.0, 40.0);
        Point(5.0, 10.0);
        StartSlew();
    }

    void Target(double ra, double dec) {
        state.g_dTargetRa = ra;
        state.g_dTargetDec = dec;
        state.g_bTargetRaSet = state.g_bTargetDecSet = state.g_bTargetIsRaDec = true;
    }
    void Point(double ra, double dec) {
        mount.replies["GR"] = HoursToHMS(ra, ":", ":", "", 1);
        mount.replies["GD"] = (dec < 0.0 ? "" : "+") + DegreesToDMS(dec, "*", ":", "", 0);
    }
    void PointAltAz(double alt, double az) {
        mount.replies["GA"] = "+" + DegreesToDMS(alt, "*", ":", "", 0);
        mount.replies["GZ"] = DegreesToDMS(az, "*", ":", "", 0);
    }
    void StartSlew() {
        const Tick now = machine.clock.GetTickCount();
        motion.SlewBegins();
        state.g_tickSettleEnd = now + 1'000;
        state.g_tickLastSlewCheck = now;
    }
    /// Two seconds, then a pass.
    bool NextPass() {
        Pass(2'000);
        return poll.CheckSlewing();
    }
    void OnTheStatusRoad() { state.g_bGosActive = state.g_bGosSupported = true; }

    /// Nothing of a slew is left behind but the order to do what follows its end.
    void ExpectEnded() {
        EXPECT_FALSE(state.g_bSlewing);
        EXPECT_FALSE(state.g_bMountSlewing);
        EXPECT_FALSE(state.g_bAbortSlew);
        EXPECT_FALSE(state.g_bSafeSlewPending);
        EXPECT_EQ(state.g_nSameDistance, 0);
        EXPECT_TRUE(state.g_bSlewCompletePending);
    }
};

// --- by distance

TEST_F(SupervisionTest, PassesWithinTwoSeconds_AskNothing) {
    for (int i = 0; i < 19; ++i) {
        Pass(100);
        EXPECT_TRUE(poll.CheckSlewing());
    }
    EXPECT_TRUE(mount.sent.empty());
    Pass(100);
    EXPECT_TRUE(poll.CheckSlewing());
    EXPECT_EQ(mount.sent, (std::vector<std::string>{"GR", "GD"}));
    EXPECT_TRUE(Logged("CheckSlewing|0|Slew Target Distance=30.0000,  Delta=30.0000, Delta Change=30.0000"));
}

TEST_F(SupervisionTest, FreshPosition_IsNotAskedForAgain) {
    NextPass();
    Pass(1'000);
    queries.QueryRa();
    queries.QueryDec();
    mount.sent.clear();
    NextPass();
    EXPECT_TRUE(mount.sent.empty());
    NextPass();
    EXPECT_EQ(mount.sent, (std::vector<std::string>{"GR", "GD"}));
}

TEST_F(SupervisionTest, Arrival_IsDeclaredWhenStillAndSettled_WithTwoBeeps) {
    EXPECT_TRUE(NextPass());
    Point(5.0, 40.0);
    EXPECT_TRUE(NextPass());  // near, but its distance has just changed
    EXPECT_EQ(machine.sounds.beeps, 0);
    state.g_tickSettleEnd = machine.clock.GetTickCount() + 3'000;
    EXPECT_TRUE(NextPass());  // still, not settled
    EXPECT_TRUE(state.g_bSlewing);
    EXPECT_TRUE(Logged("CheckSlewing|0|Target Distance equal to last time: 1"));
    mount.sent.clear();
    EXPECT_FALSE(NextPass());
    EXPECT_EQ(machine.sounds.beeps, 2);
    EXPECT_EQ(mount.sent, (std::vector<std::string>{"GR", "GD", "pS", "GS"}));
    ExpectEnded();
}

TEST_F(SupervisionTest, SettleEnd_IsMovedOnByTwoSecondsAUnitWhileFar) {
    state.g_nSlewSettleTime = 3;
    NextPass();
    EXPECT_EQ(state.g_tickSettleEnd, machine.clock.GetTickCount() + 6'000);
}

TEST_F(SupervisionTest, StallTwoDegreesShort_EndsAfterThreeStillPassesAndTheSettleTime) {
    Point(5.0, 38.0);
    EXPECT_TRUE(NextPass());
    EXPECT_TRUE(NextPass());
    EXPECT_TRUE(NextPass());
    EXPECT_EQ(state.g_nSameDistance, 2);
    EXPECT_TRUE(NextPass());  // the third still pass falls on the end of the settle time, not after it
    EXPECT_EQ(state.g_nSameDistance, 3);
    EXPECT_FALSE(NextPass());
    EXPECT_EQ(machine.sounds.beeps, 2);
    ExpectEnded();
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(SupervisionTest, MovementOfAHundredthOfADegree_StartsTheStillPassesAnew) {
    Point(5.0, 38.0);
    NextPass();
    NextPass();
    NextPass();
    Point(5.0, 38.02);
    EXPECT_TRUE(NextPass());
    EXPECT_EQ(state.g_nSameDistance, 0);
}

TEST_F(SupervisionTest, StillPassesOfOneSlew_DoNotCountForTheNext) {
    Point(5.0, 38.0);
    while (NextPass()) {
    }
    StartSlew();
    state.g_dLastTargetDistance = 2.0;  // the mount is slow to start
    EXPECT_TRUE(NextPass());
    EXPECT_EQ(state.g_nSameDistance, 1);
}

TEST_F(SupervisionTest, TargetInAltAz_IsMeasuredThere_WithAWiderThreshold) {
    state.g_bTargetIsRaDec = false;
    state.g_dTargetAlt = 50.0;
    state.g_dTargetAz = 90.0;
    PointAltAz(50.0, 91.0);
    EXPECT_TRUE(NextPass());
    EXPECT_EQ(mount.sent, (std::vector<std::string>{"GZ", "GA"}));
    EXPECT_TRUE(LoggedPart("Slew Target Distance=0.64"));  // above half a degree
    EXPECT_EQ(state.g_tickSettleEnd, machine.clock.GetTickCount() + 2'000);
    PointAltAz(50.0, 90.5);
    EXPECT_TRUE(NextPass());
    EXPECT_FALSE(NextPass());
    ExpectEnded();
}

TEST_F(SupervisionTest, Abort_EndsTheSlewOnTheNextPass_WithOneBeep) {
    motion.Stopped();
    EXPECT_FALSE(NextPass());
    EXPECT_EQ(machine.sounds.beeps, 1);
    EXPECT_EQ(mount.sent, (std::vector<std::string>{"pS", "GS"}));
    ExpectEnded();
}

TEST_F(SupervisionTest, NoSlew_IsNoSlew) {
    motion.SlewEnds();
    EXPECT_FALSE(NextPass());
    EXPECT_TRUE(mount.sent.empty());
    EXPECT_FALSE(state.g_bSlewCompletePending);
}

// --- by the status text

TEST_F(SupervisionTest, StatusText_EndsTheSlewWhenTheMountHasStopped_WithoutABeep) {
    OnTheStatusRoad();
    EXPECT_TRUE(poll.CheckSlewing());
    EXPECT_TRUE(mount.sent.empty());
    handBox.lblRA.Text("flash");
    motion.MountReportsSlewing(false);
    EXPECT_FALSE(poll.CheckSlewing());
    EXPECT_EQ(handBox.lblRA.Text(), "flash") << "until the slew has ended the label is the flash's";
    EXPECT_EQ(mount.sent, (std::vector<std::string>{"GR", "GD", "pS", "GS"}));
    EXPECT_EQ(machine.sounds.beeps, 0);
    ExpectEnded();
}

TEST_F(SupervisionTest, MotionThatTheMountStartedByItself_CountsAsASlew) {
    OnTheStatusRoad();
    motion.SlewEnds();
    motion.MountReportsSlewing(true);
    EXPECT_TRUE(poll.CheckSlewing());
    EXPECT_TRUE(state.g_bSlewing);
}

TEST_F(SupervisionTest, SettingAgainstTheStatusText_KeepsTheDistance) {
    OnTheStatusRoad();
    state.g_bDontUseGosForSlew = true;
    motion.MountReportsSlewing(false);
    EXPECT_TRUE(NextPass());
    EXPECT_TRUE(LoggedPart("Slew Target Distance="));
}

TEST_F(SupervisionTest, StatusTextThatGoesSilentInMidSlew_LeavesTheSlewToTheDistance) {
    OnTheStatusRoad();
    mount.replies["GOS"] = "020S0020000001";
    Pass(5'001);
    poll.UpdateMountInfo();
    EXPECT_TRUE(state.g_bSlewing);
    EXPECT_FALSE(LoggedPart("Slew Target Distance="));
    mount.replies["GOS"] = "";
    Pass(5'001);
    poll.UpdateMountInfo();
    EXPECT_FALSE(state.g_bGosActive);
    EXPECT_FALSE(LoggedPart("Slew Target Distance=")) << "one silence is enough for a step";
    poll.UpdateMountInfo();
    EXPECT_TRUE(LoggedPart("Slew Target Distance=30.0000"));
    Point(5.0, 40.0);
    for (int i = 0; i < 3; ++i) {
        Pass(2'001);
        poll.UpdateMountInfo();
    }
    EXPECT_FALSE(state.g_bSlewing);
    EXPECT_FALSE(state.g_bMountSlewing);
}

TEST_F(SupervisionTest, RoadThatChangesTwice_CountsOnlyPassesByDistance_AndEndsTheSlew) {
    Point(5.0, 38.0);
    NextPass();
    NextPass();
    EXPECT_EQ(state.g_nSameDistance, 1);
    OnTheStatusRoad();
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(NextPass());
    }
    EXPECT_EQ(state.g_nSameDistance, 1);
    state.g_bGosActive = false;
    EXPECT_TRUE(NextPass());
    EXPECT_EQ(state.g_nSameDistance, 2);
    OnTheStatusRoad();
    motion.MountReportsSlewing(false);
    EXPECT_FALSE(NextPass());
    ExpectEnded();
}

TEST_F(SupervisionTest, SlewThatAClientSeesEnd_IsFinishedByTheNextStep) {
    OnTheStatusRoad();
    motion.MountReportsSlewing(false);
    EXPECT_FALSE(poll.CheckSlewing());  // as `Slewing` does, between two ticks
    EXPECT_TRUE(state.g_bSlewCompletePending);
    poll.UpdateMountInfo();
    EXPECT_FALSE(state.g_bSlewCompletePending);
    EXPECT_TRUE(Logged("Inititialization|0|Side of mount initilization complete!"));
}

// --- two legs

struct LegRow {
    std::string name;
    bool byStatus;
    void (*abort)(Motion& motion);  ///< null: none
    bool starts;
};

void AbortTheSlew(Motion& motion) {
    motion.Stopped();
}
/// A park was aborted before, and has ended. No slew clears the flag before its own first leg.
void AbortAPark(Motion& motion) {
    motion.ParkBegins();
    motion.AxisTakesOver();
    motion.ParkEnds();
    motion.SecondLegWatchedByDistance();
    motion.SecondLegWatchedByStatus();
}

class SecondLegTest : public SupervisionTest, public testing::WithParamInterface<LegRow> {};

TEST_P(SecondLegTest, SecondLeg_StartsAtTheEndOfTheFirst_AndNeverAfterAnAbort) {
    const LegRow& row = GetParam();
    if (row.abort) {
        row.abort(motion);
    }
    motion.SecondLegPlanned();
    state.g_dSafeSlewRa = 4.5;
    state.g_dSafeSlewDec = -10.0;
    state.g_nSlewSettleTime = 2;
    state.g_dLastTargetDistance = 5.0;
    Point(5.0, 40.0);
    if (row.byStatus) {
        OnTheStatusRoad();
        motion.MountReportsSlewing(false);
    }
    bool slewing = NextPass();
    EXPECT_EQ(slewing, row.starts || (row.abort == AbortAPark && !row.byStatus));
    for (int i = 0; i < 5 && slewing && !row.starts; ++i) {
        slewing = NextPass();
    }
    EXPECT_EQ(telescope.calls,
              row.starts ? std::vector<std::string>{"StartSecondLeg 4.50 -10.00"} : std::vector<std::string>{});
    EXPECT_EQ(Logged("SafeSlew|0|Slew 2 of 2: RA=4.5, Dec=-10"), row.starts);
    EXPECT_FALSE(state.g_bSafeSlewPending);
    EXPECT_EQ(state.g_bSlewing, row.starts);
    EXPECT_EQ(state.g_bSlewCompletePending, !row.starts);
    if (row.starts && !row.byStatus) {
        EXPECT_EQ(state.g_tickSettleEnd, machine.clock.GetTickCount() + 4'000);
    }
    if (row.starts && row.byStatus) {
        EXPECT_TRUE(state.g_bMountSlewing);
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, SecondLegTest,
                         testing::Values(LegRow{"Distance", false, nullptr, true},
                                         LegRow{"Status", true, nullptr, true},
                                         LegRow{"DistanceAborted", false, AbortTheSlew, false},
                                         LegRow{"StatusAborted", true, AbortTheSlew, false},
                                         LegRow{"DistanceParkAborted", false, AbortAPark, false},
                                         LegRow{"StatusParkAborted", true, AbortAPark, false}),
                         [](const auto& row) { return row.param.name; });

TEST_F(SupervisionTest, FirstLegThatStallsShort_IsFollowedByTheSecond) {
    motion.SecondLegPlanned();
    Point(5.0, 38.0);
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(NextPass());
    }
    EXPECT_EQ(telescope.Times("StartSecondLeg"), 1);
    EXPECT_TRUE(state.g_bSlewing);
    EXPECT_FALSE(state.g_bSafeSlewPending);
}

TEST_F(SupervisionTest, SilenceInMidFirstLeg_IsNoStillness_AndStartsNoSecondLeg) {
    for (const std::string silent : {"GR", "GD"}) {
        telescope.calls.clear();
        StartSlew();
        motion.SecondLegPlanned();
        motion.DistanceChanged();
        state.g_dLastTargetDistance = 50.0;
        Point(5.0, 20.0);
        EXPECT_TRUE(NextPass());
        mount.inTurn[silent] = std::deque<std::string>(10);
        for (int i = 0; i < 10; ++i) {
            EXPECT_TRUE(NextPass()) << silent;
        }
        EXPECT_EQ(state.g_nSameDistance, 0);
        EXPECT_TRUE(telescope.calls.empty());
        for (int i = 0; i < 3; ++i) {  // it has stalled in truth
            EXPECT_TRUE(NextPass());
        }
        EXPECT_EQ(telescope.Times("StartSecondLeg"), 1);
    }
}

TEST_F(SupervisionTest, SilenceInMidSlew_EndsASlewInOneLeg) {
    Point(5.0, 20.0);
    EXPECT_TRUE(NextPass());
    mount.replies["GR"] = mount.replies["GD"] = "";
    int passes = 0;
    while (NextPass() && passes < 10) {
        ++passes;
    }
    EXPECT_LT(passes, 10);
    ExpectEnded();
}

TEST_F(SupervisionTest, PassThatEntersWhileTheSecondLegIsStarted_StartsNoOther) {
    OnTheStatusRoad();
    motion.SecondLegPlanned();
    state.g_dSafeSlewRa = 4.5;
    state.g_dSafeSlewDec = -10.0;
    motion.MountReportsSlewing(false);
    telescope.duringSecondLeg = [&] {
        telescope.duringSecondLeg = {};
        EXPECT_FALSE(state.g_bSafeSlewPending);
        motion.SecondLegWatchedByDistance();  // the leg is under way, the status text has not told it yet
        poll.CheckSlewing();
        motion.SecondLegPlanned();  // of a slew that begins meanwhile
    };
    poll.CheckSlewing();
    EXPECT_EQ(telescope.Times("StartSecondLeg"), 1);
    EXPECT_TRUE(state.g_bSafeSlewPending);
}

TEST_F(SupervisionTest, WithoutATelescope_EverySlewAndParkComesToItsEnd) {
    telescopeThere = nullptr;
    motion.SecondLegPlanned();
    state.g_dLastTargetDistance = 0.0;
    state.g_dRa = state.g_dTargetRa;
    state.g_dDec = state.g_dTargetDec;
    for (int i = 0; i < 4; ++i) {
        NextPass();
    }
    ExpectEnded();
    state.g_dSiteLatitude = 0.0;
    motion.MountReportsParked(true);
    motion.ParkBegins();
    poll.CheckSlewComplete();
    EXPECT_FALSE(state.g_bParking);
    motion.MountReportsParked(false);
    motion.ParkBegins();
    motion.Stopped();
    motion.SlewCompleteDue();
    poll.CheckSlewComplete();
    EXPECT_FALSE(state.g_bParking);
    state.g_dRa = 0.0;
    state.g_dDec = 90.0;
    queries.CheckInitialPosition();
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(SupervisionTest, SecondLegThatTheMountRefuses_EndsWithoutAnErrorAndLeavesNothingBehind) {
    motion.SecondLegPlanned();
    telescope.secondLegFails = true;
    Point(5.0, 40.0);
    EXPECT_TRUE(NextPass());  // under supervision all the same
    EXPECT_EQ(ledger.Entries().size(), 1U);
    int passes = 0;
    while (NextPass() && passes < 10) {
        ++passes;
    }
    EXPECT_LT(passes, 5);
    ExpectEnded();
}

// --- the end of a slew

TEST_F(SupervisionTest, WhatFollowsTheEnd_RunsOnce_AndRestoresTheRate) {
    motion.SlewEnds();
    motion.SlewCompleteDue();
    state.g_bRestoreRatePending = true;
    state.g_nDisplayedRate = 2;
    askAbortSlew.Show();
    poll.CheckSlewComplete();
    EXPECT_FALSE(state.g_bSlewCompletePending);
    EXPECT_FALSE(askAbortSlew.Visible());
    EXPECT_EQ(mount.sent, std::vector<std::string>{"pS"});
    EXPECT_TRUE(Logged("Inititialization|0|Side of mount initilization complete!"));
    EXPECT_TRUE(Logged("CheckSlewComplete|0|Restoring tracking state = 2"));
    EXPECT_EQ(panel.calls, std::vector<std::string>{"RestoreTrackingRate 2"});
    poll.CheckSlewComplete();
    EXPECT_EQ(panel.calls.size(), 1U);
    motion.SlewCompleteDue();
    poll.CheckSlewComplete();
    EXPECT_TRUE(Logged("SLEW COMPLETE|0|Slew complete: Setting tracking rates"));
}

TEST_F(SupervisionTest, CustomRate_FallsBackToSidereal_AndNoRateIsRestoredBeforeOneWasShown) {
    motion.SlewCompleteDue();
    poll.CheckSlewComplete();
    EXPECT_TRUE(panel.calls.empty());
    motion.SlewCompleteDue();
    state.g_bRestoreRatePending = true;
    state.g_nDisplayedRate = 4;
    poll.CheckSlewComplete();
    EXPECT_EQ(panel.calls, std::vector<std::string>{"RestoreTrackingRate 1"});
    EXPECT_TRUE(Logged("CheckSlewComplete|0|Restoring tracking state = 1"));
}

TEST_F(SupervisionTest, RateIsNotRestored_WhileAnAxisMotionRunsThatBeganSince) {
    motion.SlewCompleteDue();
    motion.AxisMotionBegins();
    state.g_bRestoreRatePending = true;
    state.g_nDisplayedRate = 2;
    poll.CheckSlewComplete();
    EXPECT_TRUE(panel.calls.empty());
    EXPECT_TRUE(Logged("CheckSlewComplete|0|An axis runs: the tracking state is not restored"));
    motion.SlewCompleteDue();
    motion.AxisMotionsEnd();
    poll.CheckSlewComplete();
    EXPECT_EQ(panel.calls, std::vector<std::string>{"RestoreTrackingRate 2"});
}

TEST_F(SupervisionTest, LatitudeOfExactlyZero_IsAskedFor) {
    state.g_dSiteLatitude = 0.0;
    motion.SlewCompleteDue();
    poll.CheckSlewComplete();
    EXPECT_EQ(state.g_dSiteLatitude, 47.0);
    EXPECT_EQ(telescope.Times("ReadSiteLatitude"), 1);
    motion.SlewCompleteDue();
    poll.CheckSlewComplete();
    EXPECT_EQ(telescope.Times("ReadSiteLatitude"), 1);
}

TEST_F(SupervisionTest, ParkedMount_FinishesThePark_AndRestoresNoRate) {
    motion.MountReportsParked(true);
    motion.ParkBegins();
    motion.SlewCompleteDue();
    state.g_bRestoreRatePending = true;
    poll.CheckSlewComplete();
    EXPECT_TRUE(Logged("SLEW COMPLETE|0|Completed move to parked position"));
    EXPECT_FALSE(state.g_bParking);
    EXPECT_EQ(telescope.calls, std::vector<std::string>{"HandleParkComplete"});
    EXPECT_TRUE(panel.calls.empty());
}

// --- parks

struct ParkRow {
    std::string name;
    bool raDec;
    double atRaOrAlt, atDecOrAz;  ///< the park ends at RA 23.9, Dec -10, or Alt 30, Az 359.5
    bool arrived;
};

class ParkArrivalTest : public SupervisionTest, public testing::WithParamInterface<ParkRow> {};

TEST_P(ParkArrivalTest, Park_EndsWithinItsTolerance_AndStaysUnderWayOutsideIt) {
    const ParkRow& row = GetParam();
    motion.SlewEnds();
    motion.ParkBegins();
    motion.SlewCompleteDue();
    state.g_bRestoreRatePending = true;
    poll.ExpectParkAt(row.raDec ? ParkGoal{true, 23.9, -10.0} : ParkGoal{false, 359.5, 30.0});
    // Of another client, which has written it meanwhile.
    state.g_bTargetRaSet = state.g_bTargetDecSet = true;
    state.g_dTargetRa = row.atRaOrAlt;
    state.g_dTargetDec = row.atDecOrAz;
    if (row.raDec) {
        Point(row.atRaOrAlt, row.atDecOrAz);
    } else {
        PointAltAz(row.atRaOrAlt, row.atDecOrAz);
    }
    poll.CheckSlewComplete();
    EXPECT_TRUE(Logged("SLEW COMPLETE|0|Parking operation in progress"));
    EXPECT_EQ(mount.sent,
              row.raDec ? (std::vector<std::string>{"pS", "GR", "GD"}) : (std::vector<std::string>{"pS", "GA", "GZ"}));
    EXPECT_EQ(Logged(std::string("SLEW COMPLETE|0|Completed move to parked position") + (row.raDec ? "(2)" : "(3)")),
              row.arrived);
    EXPECT_EQ(state.g_bParking, !row.arrived);
    EXPECT_EQ(Logged("SLEW COMPLETE|1|The mount has stopped away from its park position: the park is not finished"),
              !row.arrived);
    EXPECT_TRUE(panel.calls.empty());
}

INSTANTIATE_TEST_SUITE_P(Rows, ParkArrivalTest,
                         testing::Values(ParkRow{"RaDecThere", true, 23.9, -10.0, true},
                                         ParkRow{"RaNearAcrossMidnight", true, 0.3, -10.0, true},
                                         ParkRow{"RaHalfAnHourOff", true, 0.45, -10.0, false},
                                         ParkRow{"DecAHundredthOff", true, 23.9, -9.98, false},
                                         ParkRow{"AltAzThere", false, 30.0, 359.5, true},
                                         ParkRow{"AzNearAcrossNorth", false, 30.9, 0.4, true},
                                         ParkRow{"AzADegreeOff", false, 30.0, 0.6, false},
                                         ParkRow{"AltADegreeOff", false, 31.0, 359.5, false}),
                         [](const auto& row) { return row.param.name; });

TEST_F(SupervisionTest, ParkWithoutAGoal_StaysUnderWay) {
    poll.ExpectParkAt({true, state.g_dRa, state.g_dDec});
    poll.BeginPark();
    motion.SlewEnds();
    motion.ParkBegins();
    motion.SlewCompleteDue();
    poll.CheckSlewComplete();
    EXPECT_TRUE(state.g_bParking);
    EXPECT_EQ(mount.sent, std::vector<std::string>{"pS"});
}

TEST_F(SupervisionTest, SilentParkCheck_LeavesTheParkUnderWay) {
    motion.SlewEnds();
    motion.ParkBegins();
    motion.SlewCompleteDue();
    poll.ExpectParkAt({true, state.g_dTargetRa, state.g_dTargetDec});
    state.g_dRa = 12.0;
    mount.replies["GR"] = mount.replies["GD"] = "";
    poll.CheckSlewComplete();
    EXPECT_TRUE(state.g_bParking);
}

TEST_F(SupervisionTest, ParkThatArrivedBeforeItsAbort_IsFinishedAsParked) {
    motion.SlewEnds();
    motion.MountReportsParked(true);
    motion.ParkBegins();
    motion.Stopped();
    motion.SlewCompleteDue();
    poll.CheckSlewComplete();
    EXPECT_TRUE(Logged("SLEW COMPLETE|0|Completed move to parked position"));
    EXPECT_FALSE(state.g_bParking);
    EXPECT_EQ(telescope.calls, std::vector<std::string>{"HandleParkComplete"});
}

TEST_F(SupervisionTest, Park_BeepsNeverDuringItsSlew) {
    motion.ParkBegins();
    Point(5.0, 40.0);
    while (NextPass()) {
    }
    ExpectEnded();
    EXPECT_EQ(machine.sounds.beeps, 0);
}

class ParkAbortTest : public SupervisionTest, public testing::WithParamInterface<bool> {};

TEST_P(ParkAbortTest, AbortedPark_EndsOnBothRoads_AndTheParkLearnsOfIt) {
    const bool byStatus = GetParam();
    motion.ParkBegins();
    motion.Stopped();
    motion.SecondLegPlanned();
    if (byStatus) {
        OnTheStatusRoad();
    }
    EXPECT_FALSE(NextPass());
    ExpectEnded();
    EXPECT_TRUE(state.g_bAbortPark);
    EXPECT_EQ(mount.sent, (std::vector<std::string>{"pS", "GS"}));
    EXPECT_EQ(machine.sounds.beeps, 0);
    poll.CheckSlewComplete();
    EXPECT_FALSE(state.g_bParking);
    EXPECT_EQ(telescope.calls, std::vector<std::string>{"HandleParkComplete"});
    EXPECT_FALSE(LoggedPart("Parking operation in progress"));
    EXPECT_FALSE(state.g_bSlewCompletePending);
    EXPECT_FALSE(NextPass());
    EXPECT_FALSE(state.g_bSlewCompletePending);
}

TEST_P(ParkAbortTest, ParkThatStandsOutOfTolerance_IsEndedByAnAbort) {
    if (GetParam()) {
        OnTheStatusRoad();
    }
    motion.SlewEnds();
    motion.ParkBegins();
    motion.SlewCompleteDue();
    poll.CheckSlewComplete();
    EXPECT_TRUE(state.g_bParking);
    poll.UpdateMountInfo();
    EXPECT_TRUE(state.g_bParking);
    motion.Stopped();
    poll.UpdateMountInfo();
    poll.UpdateMountInfo();  // a status text that does not come ends a step
    EXPECT_FALSE(state.g_bParking);
}

INSTANTIATE_TEST_SUITE_P(Roads, ParkAbortTest, testing::Values(false, true),
                         [](const auto& row) { return row.param ? "Status" : "Distance"; });

}  // namespace
}  // namespace kestrane
