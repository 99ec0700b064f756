#include "telescope/motion/unparking.h"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "driver/unparking/unparking_fixture.h"

/// Unparking, as it goes over the wire.
namespace kestrane {
namespace {

TEST_F(UnparkingTest, ClientsUnpark_StartsAParkedMountWhereItStands) {
    ConnectAt(47.0);
    Park();
    EXPECT_EQ(WithoutTimes(MotionDuring([&] { telescope->Unpark(); })), kHead);
    EXPECT_EQ(error, 0U);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_TRUE(driver->state.g_bTracking);
    EXPECT_EQ(Label(), "Unparked");
    EXPECT_EQ(Stored(), "UnParked");
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "Unpark"));
    EXPECT_TRUE(LoggedAs("Telescope", 0, "Unpark Mount, 0"));
    EXPECT_TRUE(LoggedAs("UnparkMount", 0, "Enabled tracking"));
    EXPECT_TRUE(LoggedAs("Telescope", 0, "Unpark Complete, 0"));
}

TEST_F(UnparkingTest, ClientsUnpark_OfAMountThatIsNotParked_SendsNothing_ButIsKept) {
    ConnectAt(47.0);
    driver->persist.Write(setting::ParkStatus, "Parked");
    EXPECT_EQ(SentDuring([&] { telescope->Unpark(); }), "");
    EXPECT_EQ(Stored(), "UnParked");
    EXPECT_TRUE(driver->state.g_bTracking);
}

TEST_F(UnparkingTest, OrderOfTheWholeExchange_WithTheQuestions) {
    ConnectAt(47.0);
    EXPECT_EQ(WithoutTimes(SentDuring([&] { telescope->CommandString("RAW,UnparkMount,4", true); })),
              "RT9 U SM0:00:00.0 GM SL SC GG # Q RT2 Gt Sa+00*00:10 Sz180*00:10 CM GR U GD GA GZ");
    EXPECT_FALSE(driver->state.g_bPollSuspended);
}

TEST_F(UnparkingTest, HighPrecision_GoesOutWithATenthOfASecond) {
    ConnectAt(47.0, {{"txtUserParkAlt", "30.50001"}, {"txtUserParkAz", "7"}}, "VKC4-P02-08");
    EXPECT_TRUE(Unpark(",6").ends_with(" Sa+30*30:00.0 Sz007*00:00.0 CM U"));
    machine.AdvanceTime(2'000);
    EXPECT_TRUE(Unpark(",1").ends_with(" Sa+00*00:00.0 Sz359*59:50.0 CM U"));
    machine.AdvanceTime(2'000);
    EXPECT_TRUE(Unpark(",4").ends_with(" Sa+00*00:10.0 Sz180*00:10.0 CM U"));
}

TEST_F(UnparkingTest, AMountAfterPowerOn_LeavesThatState_AndIsNotStopped) {
    ConnectAfterPowerOn();
    ASSERT_TRUE(driver->state.g_bParked);
    EXPECT_EQ(Unpark(",0"), "RT9 U SM0:00:00.0 SL SC PO RT2");
    EXPECT_FALSE(driver->state.g_bParked);
    machine.AdvanceTime(20'000);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(mount->Picture().tracking, '2');
    EXPECT_NE(mount->Picture().rightAscension, 0.0);
}

/// Milliseconds by which the unpark comes later: the poll has another query next.
class UnparkAmongQueries : public UnparkingTest, public testing::WithParamInterface<int> {};

TEST_P(UnparkAmongQueries, OfAMountAfterPowerOn_IsNotTakenForParkedAgain_ByAPositionReadBefore) {
    ConnectAfterPowerOn();
    machine.AdvanceTime(GetParam());
    ASSERT_TRUE(driver->state.g_bParked);
    telescope->Unpark();
    for (int i = 0; i < 100; ++i) {
        ASSERT_FALSE(driver->state.g_bParked) << i * 50 << " ms after it";
        machine.AdvanceTime(50);
    }
    EXPECT_NE(driver->state.g_dRa, 0.0);
    EXPECT_EQ(Label(), "Unparked");
}

INSTANTIATE_TEST_SUITE_P(Times, UnparkAmongQueries, testing::Range(0, 3'000, 75));

TEST_F(UnparkingTest, AMountAfterPowerOn_IsSyncedToTheNamedPosition) {
    ConnectAfterPowerOn();
    EXPECT_EQ(Unpark(",2"), "RT9 U SM0:00:00.0 SL SC PO RT2 Sa+00*00:10 Sz090*00:10 CM U");
    EXPECT_NEAR(mount->Picture().azimuth, 90.0, 0.1);
    EXPECT_NEAR(mount->Picture().altitude, 0.0, 0.1);
}

TEST_F(UnparkingTest, FirmwareWithoutMeridianCommands_GetsNoDelay) {
    ConnectAt(47.0, {}, "E");
    EXPECT_EQ(Unpark(",0"), "RT9 U SL SC # Q RT2");
}

TEST_F(UnparkingTest, WithoutTracking_TheMountStandsAfterwards) {
    ConnectAt(47.0, {{"chkEnableMountTracking", "0"}});
    EXPECT_EQ(Unpark(",0"), "RT9 U SM0:00:00.0 SL SC # Q RT9");
    EXPECT_FALSE(driver->state.g_bTracking);
    EXPECT_EQ(driver->state.g_nDisplayedRate, 0);
    EXPECT_FALSE(Logged("Enabled tracking"));
    EXPECT_EQ(mount->Picture().tracking, '9');
}

TEST_F(UnparkingTest, MeridianDelay_IsZeroAfterwards_InTheMountAndInTheDriver) {
    ConnectAt(47.0);
    driver->panel.SetMeridianDelayUI(2.0);
    driver->state.g_bMeridianDelayKnown = true;
    telescope->CommandBool("SM02:00:00", false);
    EXPECT_EQ(Unpark(",0"), kHead);
    EXPECT_EQ(driver->state.g_dMeridianDelay, 0.0);
    machine.AdvanceTime(60'000);
    EXPECT_EQ(mount->Picture().meridianDelay, 0.0);
}

TEST_F(UnparkingTest, DelayOfTheMount_ThatNobodyReadOrSet_IsClearedAlsoWhereTheFirstTryIsRefused) {
    ConnectAt(47.0);
    StandingMount& standing = Stand();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    driver->InternalInstance().MaxSerialRetries(0);
    driver->state.g_bMeridianDelayKnown = driver->state.g_bMeridianDelayRead = false;
    standing.replies["Gt"] = "+47*00:00.0#";
    standing.replies["GM"] = "01:30:00.0#";
    standing.replies["SM"] = "1";
    standing.replies["SM0:"] = "0";
    standing.replies["SL"] = "1";
    standing.replies["SC"] = "1Updating#data#";
    EXPECT_EQ(Unpark(",0"), "RT9 U SM0:00:00.0 # SM00:00:00 SL SC # Q RT2");
    EXPECT_EQ(driver->state.g_dMeridianDelay, 0.0);
}

TEST_F(UnparkingTest, DontUnpark_ChoosesTheTrackingAndLeavesTheParkStateAlone) {
    ConnectAt(47.0);
    Park();
    driver->panel.SetParkStatus("Where it was", "test");
    EXPECT_EQ(Unpark(",7"), kHead);
    EXPECT_TRUE(driver->state.g_bParked);
    EXPECT_TRUE(driver->state.g_bTracking);
    EXPECT_EQ(Label(), "Where it was");
    EXPECT_EQ(Stored(), "Parked");
    EXPECT_FALSE(Logged("Unpark Complete"));
}

TEST_F(UnparkingTest, DontUnpark_WithoutTracking_LeavesTheMountStanding) {
    ConnectAt(47.0, {{"chkEnableMountTracking", "0"}});
    Park();
    EXPECT_EQ(Unpark(",7"), "RT9 U SM0:00:00.0 SL SC # Q RT9");
    EXPECT_TRUE(driver->state.g_bParked);
    EXPECT_FALSE(driver->state.g_bTracking);
    EXPECT_EQ(mount->Picture().tracking, '9');
    EXPECT_EQ(Label(), "Parked");
}

TEST_F(UnparkingTest, PositionThatIsNone_IsLoggedAndNothingIsSent) {
    ConnectAt(47.0);
    Park();
    for (const char* index : {",8", ",-1", ",99999", ",-99999"}) {
        EXPECT_EQ(Unpark(index), "") << index;
    }
    EXPECT_TRUE(LoggedAs("Telescope", 2, "Unpark Mount: there is no position 8"));
    EXPECT_TRUE(driver->state.g_bParked);
}

TEST_F(UnparkingTest, AnyTextIsAPosition) {
    ConnectAt(47.0);
    for (const char* text : {"", ",", ",abc", ",0.4"}) {
        EXPECT_EQ(Unpark(text), kHead) << text;
    }
    EXPECT_TRUE(Unpark(",1.6").ends_with(" Sa+00*00:10 Sz090*00:10 CM U"));
}

TEST_F(UnparkingTest, RefusedHalfOfThePosition_EndsItAndPutsTheLabelBack) {
    for (const char* half : {"Sa", "Sz"}) {
        SCOPED_TRACE(half);
        ConnectAt(47.0);
        Park();
        driver->InternalInstance().MaxSerialRetries(0);
        mount->Add(std::make_unique<AnswersWith>(half, "0"));
        const std::string sent = Unpark(",4");
        EXPECT_EQ(sent.find("CM"), std::string::npos);
        EXPECT_EQ(Label(), "Parked");
        EXPECT_TRUE(driver->state.g_bParked);
        EXPECT_EQ(Stored(), "Parked");
        EXPECT_TRUE(Logged("Unpark Mount, 4: KS mount rejected set Target"));
        EXPECT_TRUE(driver->state.g_bPollSuspended);
        ExpectSwallow("UnparkMount");
        EXPECT_TRUE(Unpark(",4").ends_with(" CM")) << "the next one lifts the suspension";
        EXPECT_FALSE(driver->state.g_bPollSuspended);
        EndTheDriver();
    }
}

TEST_F(UnparkingTest, AMountThatMoves_IsStopped_AndIsGivenNoPosition) {
    ConnectAt(47.0);
    telescope->SlewToCoordinatesAsync(driver->state.g_dLst + 2.0, 20.0);
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(mount->Picture().slewing);
    const std::string label = Label();
    EXPECT_EQ(Unpark(",4"), kHead);
    EXPECT_TRUE(LoggedAs("Telescope", 2, "Unpark Mount, 4: the mount moves, so no position is given to it"));
    EXPECT_EQ(Label(), label);
    machine.AdvanceTime(10'000);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_TRUE(Unpark(",4").ends_with("CM U"));
}

TEST_F(UnparkingTest, AMotionWithoutAnEnd_IsStopped_AndNoPositionIsGivenForThreeSeconds) {
    ConnectAt(47.0);
    for (const char* verb : {"RAW,UnparkMount,4", "RAW,InitMount,Unpark=4"}) {
        telescope->CommandBlind("Mn", false);
        EXPECT_EQ(WithoutTimes(MotionDuring([&] { telescope->CommandString(verb, true); })).find("CM"),
                  std::string::npos)
            << verb;
        machine.AdvanceTime(4'000);
    }
    EXPECT_EQ(TimesLogged("Unpark Mount, 4: the mount moves, so no position is given to it"), 2);
    EXPECT_TRUE(Unpark(",4").ends_with("CM U"));
}

TEST_F(UnparkingTest, AMoveAheadOfAPark_IsStopped_AndNoPositionIsGivenAtOnce) {
    ConnectAt(47.0, {{"cbxParkTo", "2"}});
    driver->motion.ParkMoveBegins();
    driver->state.g_bSlewingEast = true;
    telescope->CommandBlind("Me", false);
    EXPECT_EQ(Unpark(",4").find("CM"), std::string::npos);
    EXPECT_FALSE(driver->state.g_bParking);
}

TEST_F(UnparkingTest, AStop_WaitsForOneExchange_AndOnlyTrackingGoesOnAfterIt) {
    ConnectAt(47.0);
    Telescope& other = OtherClient();
    for (std::int64_t offset = 0; offset < 2'000; offset += 30) {
        Park();
        const std::int64_t due = machine.clock.Elapsed() + offset;
        std::int64_t stopped = -1;
        machine.pump.PostAt(due, CallKind::Stop, [&] {
            stopped = machine.clock.Elapsed();
            other.AbortSlewDriver();
        });
        const std::string sent = Unpark(",4");
        for (const char* part : {"RT9", "SM0:00:00.0", "SL", "SC", "RT2", "CM"}) {
            EXPECT_NE(sent.find(part), std::string::npos) << part << " of " << sent;
        }
        if (stopped < 0) {  // the unpark was over before
            machine.AdvanceTime(offset);
            EXPECT_GE(stopped, due);
            return;
        }
        EXPECT_LE(stopped - due, 200) << offset;
        EXPECT_EQ(Label(), "Unparked");
        machine.AdvanceTime(4'000);
        EXPECT_FALSE(mount->Picture().slewing);
        EXPECT_EQ(mount->Picture().tracking, '2');
    }
    ADD_FAILURE() << "no round in which the unpark ended before its stop";
}

TEST_F(UnparkingTest, AxesOfAllClients_EndWithIt) {
    ConnectAt(47.0);
    telescope->Tracking(false);
    telescope->MoveAxis(0, 1.0);
    Unpark(",0");
    EXPECT_EQ(mount->Picture().tracking, '2');
    EXPECT_FALSE(driver->axisMotions.AnyStillRuns());
    EXPECT_FALSE(driver->state.g_bAxisMotionBegun);
    EXPECT_EQ(MotionDuring([&] { telescope->StopOwnAxes("The client has gone: its axes are stopped"); }), "");
    EXPECT_EQ(mount->Picture().tracking, '2');
}

TEST_F(UnparkingTest, AxisThatItsClientEndsAfterwards_LeavesTheTrackingOfTheUnpark) {
    ConnectAt(47.0);
    telescope->Tracking(true);
    telescope->MoveAxis(0, 1.0);
    Unpark(",0");
    EXPECT_EQ(MotionDuring([&] { telescope->MoveAxis(0, 0.0); }), "Q RT2");
    EXPECT_EQ(mount->Picture().tracking, '2');
}

TEST_F(UnparkingTest, WithoutALine_TheMountStaysParked) {
    ConnectAt(47.0);
    ExpectSwallow("*");
    Park();
    driver->state.g_bTracking = false;
    driver->state.g_bLostComms = true;
    EXPECT_EQ(Unpark(",0"), "");
    EXPECT_EQ(Stored(), "Parked");
    telescope->Unpark();
    EXPECT_EQ(Stored(), "UnParked") << "intentional: the call of a client is kept, whatever became of it";
    EXPECT_TRUE(driver->state.g_bParked);
    EXPECT_FALSE(driver->state.g_bTracking);
    EXPECT_EQ(Label(), "Parked");
    EXPECT_FALSE(Logged("Unpark Complete"));
}

TEST_F(UnparkingTest, AParkUnderWay_IsCancelled) {
    ConnectAt(47.0, {{"cbxParkTo", "2"}});
    telescope->Park();
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(driver->state.g_bParking);
    ASSERT_TRUE(mount->Picture().slewing);
    Unpark(",0");
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_TRUE(Logged("Park canceled..."));
    EXPECT_EQ(Label(), "Unparked");
    machine.AdvanceTime(20'000);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(Stored(), "UnParked");
    EXPECT_EQ(TimesSent("KA"), 0);
    EXPECT_TRUE(driver->state.g_bTracking);
}

TEST_F(UnparkingTest, StatusOfBefore_DoesNotParkTheMountAgain) {
    ConnectAt(47.0);
    Park();
    telescope->Unpark();
    machine.AdvanceTime(1'000);
    driver->state.g_tickLastGos = machine.clock.GetTickCount();
    driver->InternalInstance().ParseGOS("P90000232O0000");
    EXPECT_FALSE(driver->state.g_bParked);
    EXPECT_EQ(Label(), "Unparked");
}

TEST_F(UnparkingTest, StoredParkState_CountsOncePerOpening_WhereTheFirmwareTellsNone) {
    ConnectAt(47.0, {}, "E");
    ASSERT_FALSE(driver->state.g_bGosSupported);
    ASSERT_FALSE(driver->state.g_bFreshConnect);
    driver->persist.Write(setting::ParkStatus, "Parked");
    driver->InternalInstance().InitUI();
    EXPECT_FALSE(driver->state.g_bParked) << "known by now better than from the settings";
    driver->state.g_bFreshConnect = true;
    driver->InternalInstance().InitUI();
    EXPECT_TRUE(driver->state.g_bParked);
    EXPECT_EQ(Label(), "Parked");
}

TEST_F(UnparkingTest, ParkAndUnpark_GoRoundAndRound) {
    ConnectAt(47.0, {{"cbxParkTo", "0"}});
    for (int round = 0; round < 3; ++round) {
        telescope->Park();
        machine.AdvanceTime(20'000);
        ASSERT_TRUE(telescope->AtPark());
        ASSERT_TRUE(mount->Picture().parked);
        telescope->Unpark();
        machine.AdvanceTime(20'000);
        EXPECT_FALSE(telescope->AtPark());
        EXPECT_FALSE(mount->Picture().parked);
        EXPECT_EQ(mount->Picture().tracking, '2');
        EXPECT_TRUE(telescope->Tracking());
        EXPECT_EQ(Stored(), "UnParked");
    }
}

TEST_F(UnparkingTest, SuspensionOfThePoll_IsLiftedAtTheHead_WhateverComesOfIt) {
    ConnectAt(47.0);
    struct Row {
        const char* name;
        std::function<void()> call;
        bool isLifted = true;
    };
    const auto unpark = [&](std::int16_t index, Confirmation confirmation) {
        Unparking(*telescope).UnparkMount(index, confirmation);
    };
    const std::vector<Row> rows{
        {"unpark", [&] { unpark(0, Confirmation::AskedElseAccepted); }},
        {"offer", [&] { unpark(2, Confirmation::Offered); }},
        {"nobody to ask", [&] { unpark(2, Confirmation::AskedElseCancelled); }},
        {"no position", [&] { unpark(8, Confirmation::AskedElseAccepted); }, false},
        {"lost line",
         [&] {
             ExpectSwallow("Unpark");
             Park();
             driver->state.g_bLostComms = true;
             telescope->Unpark();
             driver->state.g_bLostComms = false;
         }},
    };
    for (const Row& row : rows) {
        driver->state.g_bPollSuspended = true;
        row.call();
        EXPECT_EQ(driver->state.g_bPollSuspended, !row.isLifted) << row.name;
    }
    driver->state.g_bPollSuspended = false;
}

TEST_F(UnparkingTest, PauseOfTheLog_Ends) {
    ConnectAt(47.0);
    driver->state.g_bLogPaused = true;
    driver->state.g_tickParkedSince = machine.clock.GetTickCount();
    driver->handBox.pbLoggingPaused.Visible(true);
    Unpark(",0");
    EXPECT_FALSE(driver->state.g_bLogPaused);
    EXPECT_EQ(driver->state.g_tickParkedSince, Tick{});
    EXPECT_FALSE(driver->handBox.pbLoggingPaused.Visible());
}

// --- formats

TEST_F(UnparkingTest, LongFormat_IsEnsured) {
    ConnectAt(47.0);
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    Telescope& internal = driver->InternalInstance();
    ASSERT_TRUE(mount->Picture().longFormat);
    EXPECT_EQ(SentDuring([&] { EXPECT_TRUE(internal.EnsureLongFormat(true)); }), "GR GR");
    EXPECT_EQ(SentDuring([&] { EXPECT_FALSE(internal.EnsureLongFormat(false)); }), "GR U GR");
    EXPECT_EQ(SentDuring([&] { EXPECT_TRUE(internal.EnsureLongFormat(true)); }), "GR U GR");
    mount->SetLineDead(true);
    ExpectSwallow("*");
    internal.MaxSerialRetries(0);
    EXPECT_EQ(SentDuring([&] { EXPECT_FALSE(internal.EnsureLongFormat(true)); }).find('U'), std::string::npos)
        << "silence says nothing about the format";
}

TEST_F(UnparkingTest, FormatOfTheReplies_IsLongAgainSoonAfterwards) {
    ConnectAt(47.0);
    Unpark(",0");
    machine.AdvanceTime(20'000);
    EXPECT_TRUE(mount->Picture().longFormat);
    EXPECT_NEAR(telescope->RightAscension(), mount->Picture().rightAscension, 0.01);
}

}  // namespace
}  // namespace kestrane
