#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"
#include "telescope/target_texts.h"

/// Syncs and recals, as they go over the wire.
namespace kestrane {
namespace {

constexpr std::uint32_t kRejected = 0x80040418U;

class SyncTest : public SlewWireTest {
protected:
    void SetUp() override { Connect("S"); }
    void TurnTrackingOff() {
        telescope->Tracking(false);
        machine.AdvanceTime(1'000);
    }
    void ExpectError(std::uint32_t number, const std::string& text = {}) {
        EXPECT_EQ(error, number);
        EXPECT_TRUE(text.empty() || words == text) << words;
    }
    void ExpectNothingSent(const std::function<void()>& call, std::uint32_t number) {
        EXPECT_EQ(SentDuring([&] { Try(call); }), "");
        ExpectError(number);
    }
};

TEST_F(SyncTest, TargetGoesOut_DeclinationFirst_ThenTheRecal_AndThePositionIsReadAnew) {
    EXPECT_EQ(SentDuring([&] { telescope->SyncToCoordinates(12.5, 20.25); }),
              "Sd+20*15:00 Sr12:30:00.0 CMR GR GD GA GZ");
    EXPECT_EQ(error, 0U);
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SyncToCoordinates() RA=12.5, Dec=20.25"));
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SyncToTarget = RCAL"));
    EXPECT_NEAR(telescope->RightAscension(), 12.5, 0.001);
    EXPECT_NEAR(telescope->Declination(), 20.25, 0.001);
    EXPECT_NEAR(mount->Picture().rightAscension, 12.5, 0.001);
    EXPECT_DOUBLE_EQ(telescope->TargetRightAscension(), 12.5);
}

TEST_F(SyncTest, SettingAgainstRecals_SendsAPlainSync) {
    driver->persist.Write(setting::chkUseRCAL, "0");
    EXPECT_EQ(MotionDuring([&] { telescope->SyncToCoordinates(12.5, -0.001); }), "Sd-00*00:04 Sr12:30:00.0 CM");
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SyncToTarget = SYNC"));
    TurnTrackingOff();
    EXPECT_EQ(MotionDuring([&] { telescope->SyncToAltAz(90.0, 40.0); }), "Sa+40*00:00 Sz090*00:00 CM");
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SyncToAltAzTarget = SYNC"));
}

TEST_F(SyncTest, OnlyZeroIsAgainstRecals) {
    const std::string target = "Sd+20*00:00 Sr12:30:00.0 ";
    EXPECT_EQ(MotionDuring([&] { telescope->SyncToCoordinates(12.5, 20.0); }), target + "CMR");
    for (const auto& [value, command] :
         {std::pair{"1", "CMR"}, {"2", "CMR"}, {"-1", "CMR"}, {"0", "CM"}, {"0.5", "CMR"}}) {
        driver->persist.Write(setting::chkUseRCAL, value);
        EXPECT_EQ(MotionDuring([&] { telescope->SyncToTarget(); }), target + command) << value;
    }
}

TEST_F(SyncTest, AnyReplyToTheSync_CountsAsSuccess) {
    for (const char* reply : {"#", "no object#", ""}) {
        SCOPED_TRACE(reply);
        ExpectSwallow("CommandString");
        mount->Add(std::make_unique<AnswersWith>("CMR", reply, 3));
        telescope->SyncToCoordinates(12.5, 20.0);
        EXPECT_EQ(error, 0U);
        mount->ClearMisbehaviours();
    }
}

// --- refusals

TEST_F(SyncTest, TrackingThatIsOff_IsNoticedAfterTheTargetHasGoneOut) {
    telescope->SyncToCoordinates(12.5, 20.0);
    TurnTrackingOff();
    EXPECT_EQ(SentDuring([&] { Try([&] { telescope->SyncToTarget(); }); }), "Sd+20*00:00 Sr12:30:00.0");
    ExpectError(0x80040411U);
    EXPECT_EQ(words, "Wrong tracking state");
    ExpectNothingSent([&] { telescope->SyncToCoordinates(12.5, 20.0); }, 0x80040411U);
}

TEST_F(SyncTest, TrackingThatIsOff_IsTurnedOnWhereTheUserWantsIt) {
    telescope->SyncToCoordinates(12.5, 20.0);
    TurnTrackingOff();
    driver->persist.Write(setting::chkAutoEnableTracking, "1");
    EXPECT_TRUE(MotionDuring([&] { telescope->SyncToTarget(); }).ends_with(" CMR"));
    EXPECT_TRUE(telescope->Tracking());
}

TEST_F(SyncTest, PositionsOutOfRange_SendNothing) {
    ExpectNothingSent([&] { telescope->SyncToCoordinates(24.0, 20.0); }, 0x80040405U);
    ExpectNothingSent([&] { telescope->SyncToCoordinates(-0.1, 20.0); }, 0x80040405U);
    ExpectNothingSent([&] { telescope->SyncToCoordinates(12.0, 90.1); }, 0x80040405U);
    TurnTrackingOff();
    ExpectNothingSent([&] { telescope->SyncToAltAz(360.1, 20.0); }, 0x80040405U);
    ExpectNothingSent([&] { telescope->SyncToAltAz(90.0, -90.1); }, 0x80040405U);
}

TEST_F(SyncTest, HalfATarget_SendsNothing) {
    const std::string text = "The sync operation failed because target coordinates are incomplete.";
    ExpectNothingSent([&] { telescope->SyncToTarget(); }, 0x80040407U);
    EXPECT_EQ(words, text);
    telescope->TargetRightAscension(3.0);
    ExpectNothingSent([&] { telescope->SyncToTarget(); }, 0x80040407U);
    TurnTrackingOff();
    telescope->TargetAltitude(30.0);
    ExpectNothingSent([&] { telescope->SyncToAltAzTarget(); }, 0x80040407U);
    EXPECT_EQ(words, text);
}

TEST_F(SyncTest, RefusedHalfOfAnEquatorialTarget_IsAnError_AndNothingFollows) {
    driver->InternalInstance().MaxSerialRetries(0);
    mount->Add(std::make_unique<AnswersWith>("Sd", "0"));
    EXPECT_EQ(SentDuring([&] { Try([&] { telescope->SyncToCoordinates(12.5, 20.0); }); }), "Sd+20*00:00 #");
    ExpectError(kRejected, "KS mount rejected set TargetDeclination = +20*00:00");
    EXPECT_TRUE(LoggedAs("ASCOM", 4, "SyncToTarget: Set TargetDeclination FAILED!"));
    mount->Add(std::make_unique<AnswersWith>("Sr", "0"));
    EXPECT_EQ(SentDuring([&] { Try([&] { telescope->SyncToCoordinates(12.5, 20.0); }); }),
              "Sd+20*00:00 Sr12:30:00.0 #");
    ExpectError(kRejected, "KS mount rejected set TargetRightAscension = 12:30:00.0");
    EXPECT_TRUE(LoggedAs("ASCOM", 4, "SyncToTarget: Set TargetRightAscension FAILED!"));
    EXPECT_TRUE(PollRuns());
}

TEST_F(SyncTest, ParkedMount_IsNotSynced) {
    driver->motion.MountReportsParked(true);
    ExpectNothingSent([&] { telescope->SyncToCoordinates(12.5, 20.0); }, 0x80040409U);
    ExpectNothingSent([&] { telescope->SyncToAltAz(90.0, 20.0); }, 0x80040409U);
    driver->motion.MountReportsParked(false);
}

// --- a mount that moves

class SyncOfAMovingMount : public SyncTest {
protected:
    void SendOwnGoto() {
        const double ra = NormalizeHours(telescope->SiderealTime() - 3.0);
        telescope->CommandBool("Sr" + RaTargetText(ra, driver->state), false);
        telescope->CommandBool("Sd" + DecTargetText(20.0, driver->state), false);
        EXPECT_TRUE(telescope->CommandBool("MS", false));
        machine.AdvanceTime(1'000);
        ASSERT_TRUE(mount->Picture().slewing);
    }
    void ExpectRefused() {
        const std::vector<std::function<void()>> syncs{
            [&] { telescope->SyncToCoordinates(12.5, 20.0); }, [&] { telescope->SyncToTarget(); },
            [&] { telescope->SyncToAltAz(90.0, 20.0); }, [&] { telescope->SyncToAltAzTarget(); }};
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
        for (const auto& sync : syncs) {
            ExpectNothingSent(sync, 0x8004040bU);
            EXPECT_EQ(words, "Invalid operation");
        }
        driver->handBox.tmrQueryRaDecAltAz.Enabled(true);
    }
};

TEST_F(SyncOfAMovingMount, InASlew_IsRefused) {
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 3.0), 20.0);
    ExpectRefused();
    EXPECT_TRUE(WaitForEnd());
}

TEST_F(SyncOfAMovingMount, OfADisconnectedClient_IsRefusedToo) {
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 0.5), -20.0);
    machine.AdvanceTime(1'500);
    telescope->Connected(false);
    while (!driver->state.g_bSlewing && mount->Picture().slewing) {
        machine.AdvanceTime(100);
    }
    ASSERT_TRUE(driver->state.g_bSlewing) << "the mount reports the slew";
    ExpectNothingSent([&] { telescope->SyncToTarget(); }, 0x8004040bU);
    telescope->Connected(true);
    EXPECT_TRUE(WaitForEnd());
}

TEST_F(SyncOfAMovingMount, BetweenTwoLegs_IsRefused) {
    telescope->SyncToCoordinates(NormalizeHours(telescope->SiderealTime() - 3.0), 20.0);
    driver->motion.SecondLegPlanned();
    ExpectRefused();
    driver->motion.SecondLegDropped();
    telescope->SyncToTarget();
    EXPECT_EQ(error, 0x8004040bU) << "of the last refusal";
}

TEST_F(SyncOfAMovingMount, InAPark_IsRefused_AlsoWithoutATarget) {
    driver->motion.ParkBegins();
    ExpectRefused();
    driver->motion.ParkEnds();
}

TEST_F(SyncOfAMovingMount, WhileAnAxisRuns_IsRefused) {
    telescope->SyncToCoordinates(NormalizeHours(telescope->SiderealTime() - 3.0), 20.0);
    telescope->MoveAxis(1, 0.5);
    ExpectRefused();
    telescope->MoveAxis(1, 0.0);
}

/// What ends the supervision of a slew, and does not stop the mount.
struct CutRow {
    std::string firmware;
    bool hasStatusText;
    std::function<void(Telescope&)> cut;
};

TEST_F(SyncOfAMovingMount, InASlewThatNobodyWatchesAnyMore_IsRefused_UntilItsEnd) {
    const auto axis = [](Telescope& client) {
        client.MoveAxis(1, 0.25);
        client.MoveAxis(1, 0.0);
    };
    const auto refusedAxis = [](Telescope& client) {
        EXPECT_EQ(ErrorOf([&] { client.MoveAxis(2, 1.0); }), 0x80040400U);
    };
    for (const CutRow& row : {CutRow{"S", true, axis}, CutRow{"S", true, refusedAxis}, CutRow{"D", false, axis},
                              CutRow{"D", false, refusedAxis}}) {
        SCOPED_TRACE(row.firmware);
        EndTheDriver();
        Connect(row.firmware);
        ASSERT_EQ(driver->state.g_bGosActive, row.hasStatusText);
        telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 3.0), 20.0);
        machine.AdvanceTime(1'000);
        row.cut(*telescope);
        ASSERT_TRUE(mount->Picture().slewing);
        ASSERT_FALSE(driver->state.g_bSlewing || driver->state.g_bMountSlewing);
        ExpectRefused();
        machine.AdvanceTime(60'000);
        ASSERT_FALSE(mount->Picture().slewing);
        EXPECT_TRUE(MotionDuring([&] { telescope->SyncToCoordinates(12.5, 20.0); }).ends_with(" CMR"));
        EXPECT_EQ(error, 0U);
    }
}

TEST_F(SyncOfAMovingMount, InAGotoOfAClientsOwnText_IsRefused_UntilItIsSeenToStand) {
    for (const char* firmware : {"S", "D"}) {
        SCOPED_TRACE(firmware);
        EndTheDriver();
        Connect(firmware);
        SendOwnGoto();
        while (mount->Picture().slewing) {
            ExpectRefused();
            machine.AdvanceTime(1'000);
        }
        machine.AdvanceTime(15'000);
        EXPECT_TRUE(MotionDuring([&] { telescope->SyncToCoordinates(12.5, 20.0); }).ends_with(" CMR"));
        EXPECT_EQ(error, 0U);
    }
}

TEST_F(SyncOfAMovingMount, InAGotoThatNobodySees_IsRefused_ForAsLongAsAGotoCanTake) {
    EndTheDriver();
    Connect("D");
    SendOwnGoto();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    machine.AdvanceTime(290'000);
    ASSERT_FALSE(mount->Picture().slewing);
    ExpectRefused();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    machine.AdvanceTime(10'000);
    EXPECT_TRUE(MotionDuring([&] { telescope->SyncToCoordinates(12.5, 20.0); }).ends_with(" CMR"));
    EXPECT_EQ(error, 0U);
}

TEST_F(SyncOfAMovingMount, AfterASlewThatHasEndedTheAxisOfAnotherClient_GoesOut) {
    telescope->MoveAxis(1, 0.3);
    Telescope& other = OtherClient();
    other.SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    EXPECT_TRUE(MotionDuring([&] { other.SyncToCoordinates(12.5, 20.0); }).ends_with(" CMR"));
    EXPECT_EQ(error, 0U);
}

TEST_F(SyncOfAMovingMount, NeverTurnsTrackingOn) {
    driver->persist.Write(setting::chkAutoEnableTracking, "1");
    TurnTrackingOff();
    driver->motion.ParkBegins();
    ExpectNothingSent([&] { telescope->SyncToCoordinates(12.5, 20.0); }, 0x8004040bU);
    EXPECT_FALSE(telescope->Tracking());
    driver->motion.ParkEnds();
}

// --- horizontal targets

TEST_F(SyncTest, HorizontalTarget_AltitudeFirst_WithoutTracking) {
    ExpectNothingSent([&] { telescope->SyncToAltAz(90.0, 40.0); }, 0x8004040bU);
    EXPECT_TRUE(LoggedAs("check_connected", 4, "SyncToAltAz : Invalid operation (altaz): tracking must be disabled"));
    TurnTrackingOff();
    log.clear();
    EXPECT_EQ(SentDuring([&] { telescope->SyncToAltAz(90.0, 40.5); }), "Sa+40*30:00 Sz090*00:00 CMR GR GD GA GZ");
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SyncToAltAz() Az=90, Alt=40.5"));
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SyncToAltAzTarget = RCAL"));
    EXPECT_FALSE(driver->state.g_bPollSuspended);
    EXPECT_FALSE(driver->state.g_bTargetAltSet || driver->state.g_bTargetAzSet);
    EXPECT_NEAR(telescope->Azimuth(), 90.0, 0.01);
}

struct SignRow {
    double stored;
    double altitude;
    const char* text;
};

TEST_F(SyncTest, SignOfTheAltitude_ComesFromTheStoredTarget_ButNeverBesideAMinus) {
    TurnTrackingOff();
    for (const SignRow& row :
         {SignRow{5.0, 10.0, "Sa+10*00:00 "}, SignRow{-5.0, 10.0, "Sa10*00:00 "}, SignRow{5.0, -10.0, "Sa-10*00:00 "},
          SignRow{-5.0, -10.0, "Sa-10*00:00 "}, SignRow{0.0, 0.0, "Sa+00*00:00 "}}) {
        telescope->TargetAltitude(row.stored);
        const std::string motion =
            MotionDuring([&] { Try([&] { telescope->SyncAltAz(row.altitude, 359.9999, SyncKind::Plain); }); });
        EXPECT_TRUE(motion.starts_with(row.text)) << motion;
        EXPECT_TRUE(motion.find("Sz000*00:00") != std::string::npos || error == kRejected) << motion;
        driver->state.g_bPollSuspended = false;
    }
}

TEST_F(SyncTest, RefusedHalfOfAHorizontalTarget_LeavesThePollOffTheLine_UntilTheNextConnectOrSlew) {
    driver->InternalInstance().MaxSerialRetries(0);
    const auto refuse = [&](const char* command, const char* text) {
        TurnTrackingOff();
        mount->Add(std::make_unique<AnswersWith>(command, "0"));
        Try([&] { telescope->SyncToAltAz(90.0, 40.0); });
        ExpectError(kRejected, text);
        EXPECT_TRUE(driver->state.g_bPollSuspended);
        Tape().Clear();
        machine.AdvanceTime(10'000);
        EXPECT_EQ(Tape().All(), "");
    };
    refuse("Sa", "KS mount rejected set TargetAltitude = +40*00:00");
    telescope->Connected(true);
    EXPECT_TRUE(PollRuns());
    refuse("Sa", "KS mount rejected set TargetAltitude = +40*00:00");
    driver->state.g_bTargetRaSet = false;
    telescope->Tracking(true);
    Try([&] { telescope->SlewToTargetAsync(); });
    EXPECT_NE(error, 0U) << "the target is incomplete";
    EXPECT_TRUE(PollRuns());
    refuse("Sz", "KS mount rejected set TargetAzimuth = 090*00:00");
    telescope->SlewToAltAzAsync(100.0, 40.0);
    EXPECT_TRUE(PollRuns());
    EXPECT_TRUE(WaitForEnd());
    refuse("Sz", "KS mount rejected set TargetAzimuth = 090*00:00");
    telescope->Tracking(true);
    const std::string sent = SentDuring(
        [&] { telescope->SlewToCoordinatesAsync(NormalizeHours(mount->Picture().siderealTime - 3.0), 20.0); });
    EXPECT_NE(sent.find("pS"), std::string::npos) << "asked for the plan: " << sent;
    EXPECT_TRUE(PollRuns());
    EXPECT_TRUE(WaitForEnd());
    telescope->Connected(false);
}

TEST_F(SyncTest, PollThatARefusedSyncHasLeftOffTheLine_IsBackWithAnUnpark_AndAheadOfTheQuestionsOfAPark) {
    driver->InternalInstance().MaxSerialRetries(0);
    const auto refused = [&] {
        TurnTrackingOff();
        mount->Add(std::make_unique<AnswersWith>("Sa", "0"));
        Try([&] { telescope->SyncToAltAz(90.0, 40.0); });
        ASSERT_TRUE(driver->state.g_bPollSuspended);
    };
    refused();
    telescope->CommandString("RAW,UnparkMount,0", true);
    EXPECT_TRUE(PollRuns());
    machine.AdvanceTime(2'000);
    refused();
    const std::string park = SentDuring([&] { telescope->CommandString("RAW,ParkMount,1", true); });
    EXPECT_TRUE(park.starts_with("pS ")) << park;
    EXPECT_TRUE(PollRuns());
    telescope->AbortSlew();
}

TEST_F(SyncTest, StopInTheMiddleOfASync_GetsIn_AndTheSyncIsWhole) {
    Telescope& other = OtherClient();
    mount->Add(std::make_unique<AnswersWith>("Sd", "1"));
    machine.pump.Post(CallKind::Stop, [&] { other.AbortSlew(); });
    const std::string motion = MotionDuring([&] { telescope->SyncToCoordinates(12.5, 20.0); });
    EXPECT_NE(motion.find('Q'), std::string::npos) << motion;
    EXPECT_NE(motion.find("Sd+20*00:00"), std::string::npos) << motion;
    EXPECT_TRUE(motion.ends_with("Sr12:30:00.0 CMR")) << motion;
}

}  // namespace
}  // namespace kestrane
