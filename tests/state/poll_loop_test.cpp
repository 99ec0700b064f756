#include "state/poll_loop.h"

#include <tuple>

#include "state/state_fixture.h"

namespace kestrane {
namespace {

/// A mount that answers everything, a poll that is due for everything.
class PollLoopTest : public StateFixture {
protected:
    explicit PollLoopTest(Tick firstTick = VirtualClock::kZero) : StateFixture(firstTick) {
        mount.replies = {{"GR", "03:00:00.0"},  {"GD", "+40*00:00"}, {"GA", "+50*00:00"},
                         {"GZ", "180*00:00"},   {"GS", "06:00:00"},  {"GL", "20:00:00"},
                         {"GG", "-01:00:00.0"}, {"pS", "East"},      {"GOS", "02000020000001"}};
        state.g_dSiteLatitude = 47.0;
        state.g_bGosSupported = true;
        MakeAllDue();
    }

    void MakeAllDue() {
        for (Tick DriverState::*stamp :
             {&DriverState::g_tickLastRa, &DriverState::g_tickLastDec, &DriverState::g_tickLastAlt,
              &DriverState::g_tickLastAz, &DriverState::g_tickLastLst, &DriverState::g_tickLastTime,
              &DriverState::g_tickLastTimeZone, &DriverState::g_tickLastSide, &DriverState::g_tickLastGos}) {
            state.*stamp = machine.clock.GetTickCount() - 40'000;
        }
    }
    /// What so many steps ask, with no time between them.
    std::vector<std::string> Steps(int count) {
        mount.sent.clear();
        for (int i = 0; i < count; ++i) {
            poll.UpdateMountInfo();
        }
        return mount.sent;
    }
};

TEST_F(PollLoopTest, EachStep_AsksTheStatusAndOneThingMore_InTheOrderOfTheTable) {
    EXPECT_EQ(Steps(9), (std::vector<std::string>{"GOS", "GS", "GL", "GG", "pS", "GA", "GZ", "GR", "GD"}));
    EXPECT_EQ(Steps(3), std::vector<std::string>{});
}

TEST_F(PollLoopTest, AfterAQueryThatWentUnanswered_AStepBeginsNoFurtherOne) {
    mount.replies.clear();
    state.g_bHasMeridianQuery = true;
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"GOS"}));
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"GS"}));
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"GM", "GL"})) << "the two are one query";
    motion.SlewCompleteDue();
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"pS"}));
}

TEST_F(PollLoopTest, AfterALongSlew_WhatHasWaitedForItsEnd_KeepsTheOrderOfTheTable) {
    Steps(9);
    mount.replies["GOS"] = "020S0020000001";
    for (int i = 0; i < 400; ++i) {
        Pass(150);
        poll.UpdateMountInfo();
    }
    mount.replies["GOS"] = "02000020000001";
    state.g_tickLastGos = state.g_tickLastRa = state.g_tickLastDec = machine.clock.GetTickCount();
    motion.MountReportsSlewing(false);
    motion.SlewEnds();
    EXPECT_EQ(Steps(4), (std::vector<std::string>{"GS", "GL", "RAW,InitTime", "GG", "pS"}));
}

TEST_F(PollLoopTest, QueryThatHasWaitedThreeIntervals_GoesAheadOfThoseThatAreDue) {
    Steps(9);
    Pass(100'000);
    const Tick later = machine.clock.GetTickCount();
    for (Tick DriverState::*stamp :
         {&DriverState::g_tickLastLst, &DriverState::g_tickLastTime, &DriverState::g_tickLastTimeZone,
          &DriverState::g_tickLastSide, &DriverState::g_tickLastGos, &DriverState::g_tickLastAz}) {
        state.*stamp = later;
    }
    state.g_tickLastAlt = later - 2'900;
    state.g_tickLastRa = later - 3'100;
    state.g_tickLastDec = later - 3'200;
    state.g_tickLastLst = later - 5'100;
    EXPECT_EQ(Steps(4), (std::vector<std::string>{"GD", "GR", "GS", "GA"}));
}

TEST_F(PollLoopTest, Slew_LeavesTheLineToTheCoordinates) {
    mount.replies["GOS"] = "020S0020000001";
    EXPECT_EQ(Steps(6), (std::vector<std::string>{"GOS", "GA", "GZ", "GR", "GD"}));
    EXPECT_TRUE(state.g_bSlewing);
}

TEST_F(PollLoopTest, PendingEndOfASlew_AsksForTheSideTwice) {
    motion.SlewCompleteDue();
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"GOS", "pS", "GS", "pS"}));
}

TEST_F(PollLoopTest, SilenceAtTheEndOfASlew_PutsOffWhatFollowsToTheNextStep) {
    mount.replies["GOS"] = "020S0020000001";
    Steps(1);
    mount.replies["GOS"] = "02000020000001";
    mount.inTurn["GR"] = {""};
    MakeAllDue();
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"GOS", "GR"}));
    EXPECT_FALSE(state.g_bSlewing);
    EXPECT_TRUE(state.g_bSlewCompletePending);
    EXPECT_EQ(quayChecks, 1) << "that asks the line too";
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"pS", "GS", "pS"}));
    EXPECT_FALSE(state.g_bSlewCompletePending);
}

TEST_F(PollLoopTest, LatitudeThatGoesUnanswered_EndsTheStep) {
    state.g_dSiteLatitude = 0.0;
    telescope.latitudeSilent = true;
    motion.SlewCompleteDue();
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"GOS", "pS", "GS"})) << "and not the side once more";
    EXPECT_EQ(telescope.Times("ReadSiteLatitude"), 1);
}

TEST_F(PollLoopTest, CompanionThatDoesNotAnswer_EndsTheStep) {
    quayAnswers = false;
    EXPECT_EQ(Steps(2), (std::vector<std::string>{"GOS"}));
    quayAnswers = true;
    EXPECT_EQ(Steps(1), std::vector<std::string>{"GS"});
}

TEST_F(PollLoopTest, ParkThatEndsOnASilence_IsJudgedByAPositionReadAfterIt) {
    poll.ExpectParkAt({true, 3.0, 40.0});
    motion.ParkBegins();
    mount.replies["GOS"] = "020S0020000001";
    Steps(1);
    mount.replies["GOS"] = "02000020000001";
    mount.inTurn["GR"] = {""};
    MakeAllDue();
    Steps(1);
    EXPECT_TRUE(state.g_bParking);
    mount.inTurn["GR"] = {""};  // and once more, while the park is judged
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"pS", "GS", "pS", "GR"}));
    EXPECT_TRUE(state.g_bParking);
    EXPECT_TRUE(state.g_bSlewCompletePending);
    Steps(1);
    EXPECT_FALSE(state.g_bParking);
    EXPECT_FALSE(state.g_bSlewCompletePending);
    EXPECT_TRUE(Logged("SLEW COMPLETE|0|Completed move to parked position(2)"));
}

TEST_F(PollLoopTest, SideThatIsNeverTold_DoesNotKeepASlewFromBeingCompleted_NorTheRestFromBeingAsked) {
    mount.replies["pS"] = "";
    motion.SlewCompleteDue();
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"GOS", "pS"}));
    EXPECT_TRUE(state.g_bSlewCompletePending);
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"GS", "pS"}));
    EXPECT_FALSE(state.g_bSlewCompletePending);
}

TEST_F(PollLoopTest, EndOfASlewOnADeadLine_WaitsForAnAnswer) {
    mount.replies = {};
    state.g_bGosSupported = false;
    motion.SlewCompleteDue();
    for (int i = 0; i < 20; ++i) {
        Pass(1'000);
        Steps(1);
        EXPECT_EQ(mount.sent.size(), 1U);
    }
    EXPECT_TRUE(state.g_bSlewCompletePending);
}

TEST_F(PollLoopTest, ShownTimeAndHourAngle_RunOn_ButNotOnTheTickOfTheirQuery) {
    Steps(9);
    Pass(900);
    handBox.lblTime.Text("old");
    statusWindow.lblHourAngle.Text("old");
    poll.UpdateMountInfo();
    EXPECT_EQ(handBox.lblTime.Text(), "20:00:01");
    EXPECT_NE(statusWindow.lblHourAngle.Text(), "old");

    mount.replies["GS"] = mount.replies["GL"] = "";
    Pass(5'000);
    state.g_tickLastAlt = state.g_tickLastAz = state.g_tickLastRa = state.g_tickLastDec =
        machine.clock.GetTickCount();  // no coordinate has missed its turn
    handBox.lblTime.Text("old");
    statusWindow.lblHourAngle.Text("old");
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"GOS", "GS"}));
    EXPECT_EQ(handBox.lblTime.Text(), "20:00:06");
    EXPECT_EQ(statusWindow.lblHourAngle.Text(), "old");
    handBox.lblTime.Text("old");
    EXPECT_EQ(Steps(1), std::vector<std::string>{"GL"});
    EXPECT_EQ(handBox.lblTime.Text(), "old");
    EXPECT_NE(statusWindow.lblHourAngle.Text(), "old");
}

TEST_F(PollLoopTest, ShownTime_RunsOnDuringASlew) {
    Steps(9);
    motion.MountReportsSlewing(true);
    Pass(10'000);
    mount.replies["GOS"] = "020S0020000001";
    const std::vector<std::string> sent = Steps(6);
    for (const char* slow : {"GS", "GL", "GG"}) {
        EXPECT_EQ(std::count(sent.begin(), sent.end(), slow), 0) << slow;
    }
    EXPECT_EQ(handBox.lblTime.Text(), "20:00:10");
}

TEST_F(PollLoopTest, StartOfASlew_ShowsTheFlashAndItsTimer_Once) {
    mount.replies["GOS"] = "020S0020000001";
    poll.UpdateMountInfo();
    EXPECT_TRUE(handBox.tmrSlewFlashUI.Enabled());
    EXPECT_EQ(panel.calls, std::vector<std::string>{"SlewFlashDisplay"});
    poll.UpdateMountInfo();
    EXPECT_EQ(panel.calls.size(), 1U);
}

TEST_F(PollLoopTest, FlashThatCannotBeShown_IsTriedAgainByItsTimer) {
    mount.replies["GOS"] = "020S0020000001";
    panel.slewFlashFails = true;
    poll.UpdateMountInfo();
    EXPECT_EQ(ledger.Entries().size(), 1U);
    EXPECT_TRUE(handBox.tmrSlewFlashUI.Enabled());
}

TEST_F(PollLoopTest, PowerOnPosition_IsNoticedAfterADeclination_ButNotDuringASlew) {
    mount.replies["GR"] = "00:00:00.0";
    mount.replies["GD"] = "+90*00:00";
    Steps(7);
    EXPECT_EQ(telescope.Times("InitUI"), 0);
    Steps(1);
    EXPECT_EQ(telescope.Times("InitUI"), 1);
    MakeAllDue();
    mount.replies["GD"] = "rubbish";
    Steps(9);
    EXPECT_TRUE(state.g_bInitUiDone);
    MakeAllDue();
    mount.replies["GD"] = "+90*00:00";
    mount.replies["GOS"] = "020S0020000001";
    Steps(9);
    EXPECT_TRUE(state.g_bInitUiDone);
}

TEST_F(PollLoopTest, CoordinateThatIsNeverReadAgain_StaysTooOldForMonths) {
    handBox.tmrQueryRaDecAltAz.Enabled(true);
    Steps(9);
    mount.replies["GZ"] = "";
    for (int day = 1; day < 60; ++day) {
        Pass(24 * 3'600 * 1'000);
        Steps(1);
        Pass(11'000);
        Steps(1);
        Pass(11'000);
        ASSERT_TRUE(poll.IsStale(queries.ReadAt().az)) << day;
    }
}

TEST_F(PollLoopTest, CompanionCheck_IsOfferedOnEachStep) {
    Steps(4);
    EXPECT_EQ(quayChecks, 4);
}

// --- the timer

TEST_F(PollLoopTest, WithoutAClient_TheTickAsksNothing_ButShowsTheLogState) {
    state.g_nScopeObjects = 1;
    state.g_nFocuserObjects = 1;
    state.g_bDebugLog = false;
    poll.OnTimer();
    EXPECT_TRUE(mount.sent.empty());
    EXPECT_TRUE(handBox.pbLoggingPaused.Visible());
    EXPECT_EQ(handBox.pbLoggingPaused.BackColour(), 255);
}

TEST_F(PollLoopTest, AnyClient_BringsThePoll) {
    state.g_nScopeObjects = 1;
    state.g_nFocuserObjects = 2;
    poll.OnTimer();
    EXPECT_FALSE(mount.sent.empty());
    mount.sent.clear();
    state.g_nScopeObjects = 2;
    state.g_nFocuserObjects = 1;
    poll.OnTimer();
    EXPECT_FALSE(mount.sent.empty());
    EXPECT_FALSE(state.g_bInPoll);
}

TEST_F(PollLoopTest, TickInsideAPoll_IsLoggedOnly) {
    state.g_bInPoll = true;
    poll.OnTimer();
    EXPECT_TRUE(mount.sent.empty());
    EXPECT_TRUE(Logged("timer|0|In Timer cannot Poll"));
    EXPECT_TRUE(state.g_bInPoll);
}

TEST_F(PollLoopTest, PollLongerThanItsTick_IsNoTickAtAll_UnlessSomethingPumps) {
    handBox.tmrQueryRaDecAltAz.Enabled(true);
    duringQuayCheck = [&] { Pass(400); };
    machine.AdvanceTime(5'000);
    EXPECT_GT(quayChecks, 5);
    EXPECT_FALSE(LoggedPart("In Timer cannot Poll"));
    duringQuayCheck = [&] {
        duringQuayCheck = {};
        Pass(400);
        mount.sent.clear();
        machine.pump.PumpMessages();
        EXPECT_TRUE(mount.sent.empty()) << "a poll never enters a poll";
        EXPECT_TRUE(state.g_bInPoll);
    };
    machine.AdvanceTime(500);
    EXPECT_TRUE(Logged("timer|0|In Timer cannot Poll"));
    EXPECT_FALSE(state.g_bInPoll);
}

// --- the timers of the hand box

struct TimerRow {
    std::string name;
    Timer frmHandBox::*timer;
    std::int32_t interval;  ///< ms; 0 where it is set at run time
    bool enabled;
};

class TimerTest : public StateFixture, public testing::WithParamInterface<TimerRow> {};

TEST_P(TimerTest, Timer_StartsAsItsWorkWantsIt) {
    frmHandBox fresh{machine.pump};
    const TimerRow& row = GetParam();
    EXPECT_EQ((fresh.*row.timer).Interval(), row.interval);
    EXPECT_EQ((fresh.*row.timer).Enabled(), row.enabled);
}

INSTANTIATE_TEST_SUITE_P(Timers, TimerTest,
                         testing::Values(TimerRow{"Poll", &frmHandBox::tmrQueryRaDecAltAz, 1000, false},
                                         TimerRow{"ButtonDelay", &frmHandBox::tmrButtonDelay, 20, true},
                                         TimerRow{"SlewFlash", &frmHandBox::tmrSlewFlashUI, 500, false},
                                         TimerRow{"SavePos", &frmHandBox::tmrSavePos, 50, true},
                                         TimerRow{"GetLatLong", &frmHandBox::tmrGetLatLong, 2000, true},
                                         TimerRow{"ShellIcon", &frmHandBox::tmrCheckShellNotifyIcon, 5000, true},
                                         TimerRow{"Minimize", &frmHandBox::tmrMinimize, 0, true},
                                         TimerRow{"EastStop", &frmHandBox::tmrEastStop, 0, false},
                                         TimerRow{"WestStop", &frmHandBox::tmrWestStop, 0, false},
                                         TimerRow{"NorthStop", &frmHandBox::tmrNorthStop, 0, false},
                                         TimerRow{"SouthStop", &frmHandBox::tmrSouthStop, 0, false},
                                         TimerRow{"Calibrate", &frmHandBox::tmrCalibratePulseGuide, 250, false},
                                         TimerRow{"VersionDifferent", &frmHandBox::tmrVersionDifferent, 0, true}),
                         [](const auto& row) { return row.param.name; });

TEST_F(PollLoopTest, Polling_IsSwitchedByItsTimerAndTheSuspension_AndAStuckSuspensionGoes) {
    poll.SetPolling(false);
    EXPECT_TRUE(state.g_bPollSuspended);
    EXPECT_FALSE(handBox.tmrQueryRaDecAltAz.Enabled());
    EXPECT_EQ(Steps(3), std::vector<std::string>{});
    poll.SetPolling(true);
    EXPECT_FALSE(state.g_bPollSuspended);
    EXPECT_TRUE(handBox.tmrQueryRaDecAltAz.Enabled());
    EXPECT_EQ(Steps(1), (std::vector<std::string>{"GOS", "GS"}));
}

// --- the counter of milliseconds

class TickCounterTest : public PollLoopTest, public testing::WithParamInterface<Tick> {
protected:
    TickCounterTest() : PollLoopTest(GetParam()) {}

    /// Steps of the poll for so many seconds, as its timer brings them.
    void Poll(int seconds) {
        for (int i = 0; i < seconds * 1'000 / 150; ++i) {
            Pass(150);
            poll.OnTimer();
        }
    }
};

TEST_P(TickCounterTest, Polling_KeepsItsPaceAcrossTheWrap) {
    Poll(30);
    mount.sent.clear();
    Poll(60);  // the counter wraps, or changes its sign, in the middle
    for (const auto& [command, least, most] : std::vector<std::tuple<std::string, int, int>>{{"GR", 50, 60},
                                                                                             {"GD", 50, 60},
                                                                                             {"GA", 50, 60},
                                                                                             {"GZ", 50, 60},
                                                                                             {"GS", 11, 12},
                                                                                             {"GL", 11, 12},
                                                                                             {"GG", 1, 2},
                                                                                             {"pS", 13, 16},
                                                                                             {"GOS", 11, 12}}) {
        EXPECT_GE(mount.Times(command), least) << command;
        EXPECT_LE(mount.Times(command), most) << command;
    }
    EXPECT_NEAR(queries.GetLst(), 6.0 + 2.5 / 3600.0, 2.6 / 3600.0);
}

TEST_P(TickCounterTest, Slew_EndsInItsTimeAcrossTheWrap) {
    state.g_bDontUseGosForSlew = true;
    Poll(56);
    state.g_dTargetRa = 3.0;
    state.g_dTargetDec = 40.0;
    state.g_bTargetRaSet = state.g_bTargetDecSet = true;
    mount.replies["GD"] = "+10*00:00";
    motion.SlewBegins();
    state.g_tickLastSlewCheck = machine.clock.GetTickCount();
    state.g_tickSettleEnd = machine.clock.GetTickCount() + 1'000;
    Poll(3);
    EXPECT_TRUE(state.g_bSlewing);
    mount.replies["GD"] = "+40*00:00";
    Poll(3);
    EXPECT_TRUE(state.g_bSlewing);  // there, and not yet still
    Poll(4);
    EXPECT_FALSE(state.g_bSlewing);
    EXPECT_FALSE(state.g_bSlewCompletePending);
}

TEST_P(TickCounterTest, SlewToTheHorizon_EndsInItsTimeAcrossTheWrap) {
    state.g_bDontUseGosForSlew = true;
    Poll(56);
    state.g_bTargetIsRaDec = false;
    state.g_dTargetAlt = 50.0;
    state.g_dTargetAz = 180.0;
    mount.replies["GZ"] = "090*00:00";
    motion.SlewBegins();
    state.g_tickLastSlewCheck = machine.clock.GetTickCount();
    state.g_tickSettleEnd = machine.clock.GetTickCount() + 1'000;
    Poll(3);
    EXPECT_TRUE(state.g_bSlewing);
    mount.replies["GZ"] = "180*00:00";
    Poll(3);
    EXPECT_TRUE(state.g_bSlewing);  // there, and not yet still
    Poll(4);
    EXPECT_FALSE(state.g_bSlewing);
}

TEST_P(TickCounterTest, SilentZoneAndSide_AreAskedAgainAcrossTheWrap) {
    mount.replies["GG"] = mount.replies["pS"] = "";
    Poll(57);
    Pass(1'000);
    queries.QueryTimeZone();  // due again 35 seconds from now, and the side after 9
    queries.QuerySideOfMount();
    mount.sent.clear();
    Poll(8);
    EXPECT_EQ(mount.Times("GG"), 0);
    EXPECT_EQ(mount.Times("pS"), 0);
    Poll(28);
    EXPECT_EQ(mount.Times("GG"), 1);
    EXPECT_GE(mount.Times("pS"), 2);
}

TEST_P(TickCounterTest, PauseOfTheLog_ComesThreeMinutesAfterThePark_AcrossTheWrap) {
    mount.replies["GOS"] = "";
    state.g_nDisplayedRate = 0;
    mount.replies["GR"] = "00:00:00.0";  // a parked mount that was never told where it stands stays parked
    mount.replies["GD"] = "+90*00:00";
    motion.MountReportsParked(true);
    state.g_tickParkedSince = machine.clock.GetTickCount();
    Poll(178);
    EXPECT_FALSE(state.g_bLogPaused);
    Poll(6);
    EXPECT_TRUE(state.g_bLogPaused);
    EXPECT_TRUE(handBox.pbLoggingPaused.Visible());
}

INSTANTIATE_TEST_SUITE_P(FirstTicks, TickCounterTest,
                         testing::Values(VirtualClock::kZero, VirtualClock::kBeforeSignChange,
                                         VirtualClock::kBeforeWrap),
                         [](const auto& row) {
                             return row.param == VirtualClock::kZero         ? "Zero"
                                    : row.param == VirtualClock::kBeforeWrap ? "BeforeWrap"
                                                                             : "BeforeSignChange";
                         });

}  // namespace
}  // namespace kestrane
