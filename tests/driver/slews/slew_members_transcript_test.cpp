#include <gtest/gtest.h>
#include <ostream>

#include "driver/slews/slew_wire_fixture.h"

namespace kestrane {
namespace {

using Slew = std::function<void(Telescope&)>;

void SetTarget(Telescope& telescope) {
    telescope.TargetRightAscension(5.5);
    telescope.TargetDeclination(30.25);
}

/// A slew to RA 5.5, Dec 30.25, each in the way of one member.
const Slew kToCoordinates = [](Telescope& t) { t.SlewToCoordinates(5.5, 30.25); };
const Slew kToCoordinatesAsync = [](Telescope& t) { t.SlewToCoordinatesAsync(5.5, 30.25); };
const Slew kToTarget = [](Telescope& t) {
    SetTarget(t);
    t.SlewToTarget();
};
const Slew kToTargetAsync = [](Telescope& t) {
    SetTarget(t);
    t.SlewToTargetAsync();
};

/// The bytes of a slew, and that it gets there.
struct MemberRow {
    const char* name;
    Slew slew;
    bool waits;
    const char* disableSafeSlew;
    const char* sent;  ///< without the questions of the poll where the member waits
};

void PrintTo(const MemberRow& row, std::ostream* out) {
    *out << row.name;
}

class SlewMemberTest : public SlewWireTest, public testing::WithParamInterface<MemberRow> {};

TEST_P(SlewMemberTest, SendsTheTargetAndTheSlewCommand_AndArrives) {
    Connect("VKC4-P02-08", {{"DisableSafeSlew", GetParam().disableSafeSlew}});
    const auto slew = [&] { GetParam().slew(*telescope); };
    EXPECT_EQ(GetParam().waits ? MotionDuring(slew) : SentDuring(slew), GetParam().sent);
    EXPECT_EQ(error, 0U);
    EXPECT_TRUE(PollRuns());
    EXPECT_EQ(driver->state.g_bSlewing, !GetParam().waits);
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(TimesSent("MS"), 1);
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_NEAR(mount->Picture().rightAscension, 5.5, 0.01);
    EXPECT_NEAR(mount->Picture().declination, 30.25, 0.05);
    EXPECT_TRUE(Logged("Sent 'MS', Response: 0"));
}

constexpr const char* kSlew = "RT2 Sr05:30:00.00 Sd+30*15:00.0 MS";

INSTANTIATE_TEST_SUITE_P(Members, SlewMemberTest,
                         testing::Values(MemberRow{"SlewToCoordinates", kToCoordinates, true, "0", kSlew},
                                         MemberRow{"SlewToCoordinates_disabled", kToCoordinates, true, "1", kSlew},
                                         MemberRow{"SlewToCoordinatesAsync", kToCoordinatesAsync, false, "0",
                                                   "GR GD pS RT2 Sr05:30:00.00 Sd+30*15:00.0 MS"},
                                         MemberRow{"SlewToCoordinatesAsync_disabled", kToCoordinatesAsync, false, "1",
                                                   kSlew},
                                         MemberRow{"SlewToTarget", kToTarget, true, "0", kSlew},
                                         MemberRow{"SlewToTarget_disabled", kToTarget, true, "1", kSlew},
                                         MemberRow{"SlewToTargetAsync", kToTargetAsync, false, "0",
                                                   "GR GD pS RT2 Sr05:30:00.00 Sd+30*15:00.0 MS"},
                                         MemberRow{"SlewToTargetAsync_disabled", kToTargetAsync, false, "1", kSlew}),
                         [](const auto& row) { return std::string(row.param.name); });

class SlewTranscriptTest : public SlewWireTest {};

TEST_F(SlewTranscriptTest, AsynchronousSlew_TakesLessThanATenthOfASecond) {
    Connect("VKC4-P02-08");
    Tape().Clear();
    telescope->SlewToCoordinatesAsync(5.5, 30.25);
    EXPECT_EQ(Tape().Timed(), "0:GR 17:GD 34:pS 44:RT2 54:Sr05:30:00.00 59:Sd+30*15:00.0 64:MS");
}

TEST_F(SlewTranscriptTest, SlewWithoutSafeSlew_FirstWaitsASecond_AndAsksWhetherTheMountMoves) {
    Connect("VKC4-P02-08", {{"DisableSafeSlew", "1"}});
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    const std::int64_t start = machine.clock.Elapsed();
    std::int64_t slewed = 0;
    const When sent(
        machine.pump, [&] { return TimesSent("MS") > 0; }, [&] { slewed = machine.clock.Elapsed(); });
    const std::string all = SentDuring([&] { telescope->SlewToCoordinates(5.5, 30.25); });
    EXPECT_TRUE(all.starts_with("GOS GR GD pS GS RT2 Sr05:30:00.00 Sd+30*15:00.0 MS")) << all;
    EXPECT_GE(slewed - start, 1'000);
    EXPECT_LT(slewed - start, 1'500);
}

TEST_F(SlewTranscriptTest, DefaultSettings_SetTheSlewRate_AndCalibrateTheDirectionsOnce) {
    Connect("VKC4-P02-08", {{"chkSetSlewRate", "1"}, {"chkAutoCalibrateOnFirstSlew", "1"}});
    EXPECT_EQ(SentDuring([&] { telescope->SlewToCoordinatesAsync(5.5, 30.25); }),
              "GR GD pS RT2 RS2 pS GR GD RC1 Me Mn Q pS GR GD Sr05:30:00.00 Sd+30*15:00.0 MS");
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(SentDuring([&] { telescope->SlewToCoordinatesAsync(5.5, 40.0); }),
              "GR GD pS RT2 RS2 Sr05:30:00.00 Sd+40*00:00.0 MS");
}

TEST_F(SlewTranscriptTest, CustomRatesWithoutTheStatusText_AreClearedFirst) {
    Connect("S");
    Stand();
    driver->state.g_bGosActive = false;
    ASSERT_TRUE(driver->state.g_bHasCustomRates);
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToCoordinatesAsync(5.5, 30.25); }),
              "RD0.0000 RT2 Sr05:30:00.0 Sd+30*15:00 MS");
    driver->state.g_bGosActive = true;
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToCoordinatesAsync(5.5, 30.25); }), "RT2 Sr05:30:00.0 Sd+30*15:00 MS");
    driver->state.g_bHasCustomRates = driver->state.g_bGosActive = false;
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToCoordinatesAsync(5.5, 30.25); }), "RT2 Sr05:30:00.0 Sd+30*15:00 MS");
}

TEST_F(SlewTranscriptTest, NegativeDeclination_KeepsItsSign_AndZeroHasAPlus) {
    Connect("S");
    Stand();
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToCoordinatesAsync(0.0, -20.5); }), "RT2 Sr00:00:00.0 Sd-20*30:00 MS");
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToCoordinatesAsync(23.5, 0.0); }), "RT2 Sr23:30:00.0 Sd+00*00:00 MS");
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToCoordinatesAsync(0.0, 90.0); }), "RT2 Sr00:00:00.0 Sd+90*00:00 MS");
}

// --- the slew rate of the settings -----------------------------------------------------------------------------------

struct SlewRateRow {
    const char* wanted;  ///< chkSetSlewRate
    const char* index;   ///< cbxInitSlewRate
    const char* custom;  ///< txtCustomSlewRate
    const char* sent;
    bool refused = false;  ///< an error in the log
};

class SlewRateTest : public SlewWireTest, public testing::WithParamInterface<SlewRateRow> {};

TEST_P(SlewRateTest, GoesOutAheadOfTheTarget) {
    const SlewRateRow& row = GetParam();
    Connect("S", {{"chkSetSlewRate", row.wanted}, {"cbxInitSlewRate", row.index}, {"txtCustomSlewRate", row.custom}});
    Stand();
    const std::string rate = *row.sent ? std::string(row.sent) + " " : "";
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToCoordinatesAsync(5.5, 30.25); }),
              "RT2 " + rate + "Sr05:30:00.0 Sd+30*15:00 MS");
    int errors = 0;
    for (const LogLine& line : log) {
        errors += line.level == 2 && line.message.find("custom slew rate") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(errors, row.refused ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Settings, SlewRateTest,
                         testing::Values(SlewRateRow{"1", "0", "600", "RS0"},         //
                                         SlewRateRow{" 1 ", "1", "600", "RS1"},       //
                                         SlewRateRow{"1", "2", "600", "RS2"},         //
                                         SlewRateRow{"1", "3", "600", "Rs600"},       //
                                         SlewRateRow{"1", "3", " 1200 ", "Rs1200"},   // the most
                                         SlewRateRow{"1", "3", "0.5", "Rs0.5"},       //
                                         SlewRateRow{"1", "3", "1200.1", "", true},   //
                                         SlewRateRow{"1", "3", "0", "", true},        //
                                         SlewRateRow{"1", "3", "-5", "", true},       //
                                         SlewRateRow{"1", "3", "fast", "", true},     //
                                         SlewRateRow{"1", "3", " 800 ", "Rs800"},     //
                                         SlewRateRow{"1", "3", "600#:KA", "", true},  //
                                         SlewRateRow{"1", "3", "6.0.0", "", true},    //
                                         SlewRateRow{"1", "3", "8e2", "", true},      //
                                         SlewRateRow{"1", "3", "800,5", "Rs800.5"},   // a decimal comma
                                         SlewRateRow{"1", "3", "1200,5", "", true},   //
                                         SlewRateRow{"1", "3", "6,0,0", "", true},    //
                                         SlewRateRow{"1", "4", "600", ""},            // no such entry
                                         SlewRateRow{"1", "99999999999", "600", ""},  //
                                         SlewRateRow{"0", "2", "600", ""},            //
                                         SlewRateRow{"2", "2", "600", ""},            // only "1" is on
                                         SlewRateRow{"True", "2", "600", ""}));

// --- through the companion ------------------------------------------------------------------------------------------

/// The companion stands in front of the mount and has counted to seven.
class CompanionSlewTest : public SlewWireTest {
protected:
    void SetUp() override {
        Connect("S");
        Stand();
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
        driver->state.g_bQuayLink = driver->state.g_bQuayHandlesSlews = true;
        driver->state.g_nQuaySeq = 7;
        driver->state.g_bDontUseGosForSlew = false;
        driver->state.g_bGosActive = true;
    }
    std::string FirstSentBy(const std::function<void()>& call) {
        const std::string sent = SentDuring(call);
        return sent.substr(0, sent.find(' '));
    }
};

TEST_F(CompanionSlewTest, AsynchronousSlews_AreOneCommand) {
    EXPECT_EQ(SentDuring([&] { telescope->SlewToCoordinatesAsync(5.5, -30.25); }), "QUAY,7,*SLEW,5.5,-30.25");
    EXPECT_TRUE(Logged("Result from QUAY *SLEW=OK"));
    EXPECT_TRUE(driver->state.g_bSlewing);
    driver->state.g_nQuaySeq = 7;
    EXPECT_EQ(SentDuring([&] { telescope->SlewToTargetAsync(); }), "QUAY,7,*SLEW,5.5,-30.25");
    driver->state.g_nQuaySeq = 7;
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    EXPECT_EQ(SentDuring([&] { telescope->SlewToCoordinatesAsync(0.1, 0.0); }), "QUAY,7,*SLEW,0.1,0");
    driver->state.g_bTracking = false;
    driver->state.g_nQuaySeq = 7;
    const std::string sent = SentDuring([&] { telescope->SlewToAltAzAsync(123.456, 45.0); });
    EXPECT_TRUE(sent.ends_with(" QUAY,7,*SLEWALTAZ,45,123.456")) << sent;
    EXPECT_EQ(sent.find("Sa"), std::string::npos);
    EXPECT_TRUE(Logged("Result from QUAY *SLEWALTAZ=OK"));
}

TEST_F(CompanionSlewTest, SynchronousSlews_WaitUntilTheMountStands) {
    driver->handBox.tmrQueryRaDecAltAz.Enabled(true);
    const std::int64_t start = machine.clock.Elapsed();
    EXPECT_EQ(FirstSentBy([&] { telescope->SlewToCoordinates(5.5, 30.25); }), "QUAY,7,*SLEW,5.5,30.25");
    EXPECT_GE(machine.clock.Elapsed() - start, 3'000) << "the companion may plan its way first";
    driver->state.g_nQuaySeq = 7;
    EXPECT_EQ(FirstSentBy([&] { telescope->SlewToTarget(); }), "QUAY,7,*SLEW,5.5,30.25");
    EXPECT_GE(machine.clock.Elapsed() - start, 6'000);
    EXPECT_EQ(Tape().All().find("MS"), std::string::npos);
}

TEST_F(CompanionSlewTest, CompanionThatTakesNoSlews_OrIsNotThere_LeavesThemToTheDriver) {
    driver->state.g_bQuayLink = false;
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToCoordinatesAsync(5.5, 30.25); }), "RT2 Sr05:30:00.0 Sd+30*15:00 MS");
    driver->state.g_bQuayLink = true;
    driver->state.g_bQuayHandlesSlews = false;
    const std::string sent = MotionDuring([&] { telescope->SlewToCoordinatesAsync(5.5, 30.25); });
    EXPECT_EQ(sent.find("*SLEW"), std::string::npos);
    EXPECT_TRUE(sent.ends_with("Sr05:30:00.0 Sd+30*15:00 MS")) << sent;
}

TEST_F(CompanionSlewTest, SlewThatMoveAxisTookOver_IsStoppedByAnAbort_AndMeasuredByNoCalibration) {
    driver->state.g_bTracking = false;
    telescope->SlewToAltAzAsync(123.456, 45.0);
    telescope->MoveAxis(1, 0.0);
    const auto calibrate = [&] { telescope->CommandString("RAW,AutoCalibrateNSEW", true); };
    EXPECT_EQ(MotionDuring(calibrate), "");
    EXPECT_TRUE(LoggedAs("AutoCalibrateNSEW", 1, "No calibration now: the end of a goto has not been seen"));
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "Q Q");
}

TEST_F(CompanionSlewTest, TextOfAClientWithoutAFrame_CountsAsWhatItDoes) {
    ASSERT_FALSE(driver->state.g_bGotoSent);
    telescope->CommandBlind("MS", true);
    EXPECT_FALSE(driver->state.g_bGotoSent) << "it goes out as it is, and is no command";
    telescope->CommandString("MS", true);
    EXPECT_TRUE(driver->state.g_bGotoSent && driver->state.g_bGotoRuns);
    telescope->CommandString("Q", true);
    EXPECT_FALSE(driver->state.g_bGotoRuns);
}

// --- the side of the pier at the end ---------------------------------------------------------------------------------

struct SideRow {
    double ra;
    int side;
    const char* logged;
};

class DestinationSideTest : public SlewWireTest, public testing::WithParamInterface<SideRow> {};

TEST_P(DestinationSideTest, FollowsTheHourAngleAlone) {
    Connect("S");
    Stand().replies["GS"] = "12:00:00#";
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    ASSERT_TRUE(driver->queries.QueryLst());
    for (const double dec : {-90.0, 0.0, 89.5}) {
        EXPECT_EQ(SentDuring([&] { EXPECT_EQ(telescope->DestinationSideOfPier(GetParam().ra, dec), GetParam().side); }),
                  "");
    }
    EXPECT_TRUE(Logged(std::string("DestinationSideOfPier: TargetRA=") + GetParam().logged));
}

INSTANTIATE_TEST_SUITE_P(HourAngles, DestinationSideTest,
                         testing::Values(SideRow{12.0, 0, "12, TargetDec=0, HA=0, PierSide=East"},  // on the meridian
                                         SideRow{12.25, 1, "12.25, TargetDec=0, HA=-0.25, PierSide=West"},  //
                                         SideRow{11.75, 0, "11.75, TargetDec=0, HA=0.25, PierSide=East"},   //
                                         SideRow{0.0, 1,
                                                 "0, TargetDec=0, HA=12, PierSide=West"},  // twelve belongs to the west
                                         SideRow{0.5, 0, "0.5, TargetDec=0, HA=11.5, PierSide=East"},  //
                                         SideRow{23.5, 1, "23.5, TargetDec=0, HA=-11.5, PierSide=West"}));

TEST_F(SlewTranscriptTest, DestinationSide_NeedsALink) {
    Start();
    const TelescopeObject client = driver->CreateTelescope();
    EXPECT_EQ(ErrorOf([&] { client->DestinationSideOfPier(1.0, 1.0); }), 0x80040404U);
}

}  // namespace
}  // namespace kestrane
