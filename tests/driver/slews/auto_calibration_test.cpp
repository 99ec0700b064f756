#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"
#include "support/wire_transcript.h"

namespace kestrane {
namespace {

/// The calibration of directions on the wire of an open link, with a read limit of 500 ms.
class AutoCalibrationTranscriptTest : public DriverFixture {
protected:
    struct Place {
        std::string ra, dec;
    };
    AutoCalibrationTranscriptTest() {
        Start();
        telescope = driver->CreateTelescope();
        driver->handBox.EnsureLoaded();
        driver->handBox.tmrGetLatLong.Enabled(false);
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    }
    void TearDown() override {
        telescope.reset();
        DriverFixture::TearDown();
    }

    void Play(std::string_view script) {
        WireTranscript transcript(machine.clock, machine.pump, script);
        transcript.Call("Read", [&] {
            driver->queries.QueryRa();
            driver->queries.QueryDec();
        });
        transcript.Call("Give", [&] { telescope->CommandBlind(given, false); });
        transcript.Call("Calibrate", [&] { return telescope->CommandString("RAW,AutoCalibrateNSEW", true); });
        PlayOnOpenLink(transcript);
    }
    static std::string Exchange(const std::string& command, const std::string& reply) {
        return reply.empty() ? "" : "* > :" + command + "#\n" + "* < " + reply + "#\n";
    }
    /// One attempt up to the reading of its end.
    static std::string Attempt(const std::string& side, const Place& start, const Place& end) {
        return Exchange("pS", side) + Exchange("GR", start.ra) + Exchange("GD", start.dec) +
               "* > :RC1#\n* > :Me#\n* > :Mn#\n* > :Q#\n" + Exchange("pS", side) + Position(end);
    }
    static std::string Position(const Place& place) { return Exchange("GR", place.ra) + Exchange("GD", place.dec); }

    TelescopeObject telescope;
    std::string given;  ///< what the call "Give" sends
};

TEST_F(AutoCalibrationTranscriptTest, MountThatCountsAsExpected_IsMovedForATenthOfASecond_AndSwapsNothing) {
    Play(R"(
        0   = Calibrate -> 1
        0   L AutoCalibrateNSEW Info Starting Autocalibration of RA/Dec Move commands
        0   L AutoCalibrateNSEW Info Starting attempt 1
        0   > :pS#
        10  < East#
        10  L AutoCalibrateNSEW Info Got Starting Pier Side: East
        10  > :GR#
        20  < 03:36:03.2#
        20  L AutoCalibrateNSEW Info Got Start RA: 03:36:03.2
        20  > :GD#
        30  < +45*00:00#
        30  L AutoCalibrateNSEW Info Got Start Dec: +45*00:00
        30  > :RC1#
        40  > :Me#
        50  > :Mn#
        160 > :Q#
        170 > :pS#
        180 < East#
        180 L AutoCalibrateNSEW Info Got Ending Pier Side: East
        180 > :GR#
        190 < 03:36:09.6#
        190 L AutoCalibrateNSEW Info Got End RA: 03:36:09.6
        190 > :GD#
        200 < +44*58:24#
        200 L AutoCalibrateNSEW Info Got Ending Dec: +44*58:24
        200 L AutoCalibrateNSEW Info Autocalibration Successful!
    )");
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
}

TEST_F(AutoCalibrationTranscriptTest, BothDirectionsReversed_AreSwappedInTheMount) {
    Play(R"(
        0   = Read
        0   > :GR#
        10  < 03:36:03.2#
        10  > :GD#
        20  < +45*00:00#
        20  = Calibrate -> 1
        20  > :pS#
        30  < East#
        30  > :GR#
        40  < 03:36:03.2#
        40  > :GD#
        50  < +45*00:00#
        50  > :RC1#
        60  > :Me#
        70  > :Mn#
        180 > :Q#
        190 > :pS#
        200 < East#
        200 > :GR#
        210 < 03:35:56.8#
        210 > :GD#
        220 < +45*01:36#
        220 > :GR#
        230 < 03:35:56.8#
        230 > :GD#
        240 < +45*01:36#
        240 L AutoCalibrateNSEW Info Swapping E/W
        240 > :EW#
        *   L AutoCalibrateNSEW Info Swapping N/S
        *   > :NS#
        *   L AutoCalibrateNSEW Info Autocalibration Successful!
    )");
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
}

TEST_F(AutoCalibrationTranscriptTest, WithoutAFreshPicture_ASwapTakesASecondAttempt) {
    const Place start{"03:36:03.2", "+45*00:00"};
    const Place end{"03:35:56.8", "+45*01:36"};
    const Place secondEnd{"03:35:50.4", "+45*03:12"};
    Play("0 = Calibrate -> 1\n" + Attempt("East", start, end) + Position(end) +
         "* L AutoCalibrateNSEW Warning The start was read only once: a swap takes another attempt\n" +
         Attempt("East", end, secondEnd) + Position(secondEnd) + "* > :EW#\n* > :NS#\n");
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
}

TEST_F(AutoCalibrationTranscriptTest, StartThatDiffersFromAFreshPicture_CostsAnAttempt_AheadOfTheMove) {
    struct Row {
        Place picture;  ///< what the poll has read before
        int ageMs;
        bool costsAnAttempt;
    };
    const Place start{"03:36:03.2", "+45*00:00"};
    const Place end{"03:36:09.6", "+44*58:24"};
    for (const Row& row :
         {Row{{"03:36:12.0", "+45*00:00"}, 1'900, true}, Row{{"03:36:03.2", "+45*02:00"}, 1'900, true},
          Row{{"03:36:05.2", "+44*59:40"}, 1'900, false}, Row{{"03:36:12.0", "+45*00:00"}, 2'100, false}}) {
        SCOPED_TRACE(row.picture.ra + row.picture.dec);
        driver->state.g_bAutoCalibrated = false;
        const std::string lost =
            Exchange("pS", "East") + Position(start) +
            "* L AutoCalibrateNSEW Error The start differs from the reading before it... retrying\n";
        Play("0 = Read\n" + Position(row.picture) + std::to_string(row.ageMs) + " = Calibrate -> 1\n" +
             (row.costsAnAttempt ? lost : "") + Attempt("East", start, end));
        EXPECT_TRUE(driver->state.g_bAutoCalibrated);
    }
}

/// A sync and an unpark give the mount another position than the poll has read before.
TEST_F(AutoCalibrationTranscriptTest, PictureFromBeforeAnotherPosition_SaysNothingOfTheStart) {
    for (const std::string command : {"CM", "CMR", "PO"}) {
        SCOPED_TRACE(command);
        given = command;
        driver->state.g_bAutoCalibrated = false;
        Play("0 = Read\n" + Position({"00:00:00.0", "+90*00:00"}) + "100 = Give\n* > :" + command +
             "#\n500 = Calibrate -> 1\n" + Attempt("East", {"03:36:03.2", "+45*00:00"}, {"03:36:09.6", "+44*58:24"}));
        EXPECT_TRUE(driver->state.g_bAutoCalibrated);
    }
}

TEST_F(AutoCalibrationTranscriptTest, SideThatChangesDuringTheMove_CostsOneAttempt) {
    Play(R"(
        0   = Calibrate -> 1
        0   > :pS#
        10  < East#
        10  > :GR#
        20  < 03:36:03.2#
        20  > :GD#
        30  < +45*00:00#
        30  > :RC1#
        40  > :Me#
        50  > :Mn#
        160 > :Q#
        170 > :pS#
        180 < West#
        180 L AutoCalibrateNSEW Info Got Ending Pier Side: West
        180 L AutoCalibrateNSEW Error Pier Side Changed... retrying
        180 L AutoCalibrateNSEW Info Starting attempt 2
        180 > :pS#
        190 < West#
        190 > :GR#
        200 < 03:36:09.6#
        200 > :GD#
        210 < +44*58:24#
        210 > :RC1#
        220 > :Me#
        230 > :Mn#
        340 > :Q#
        350 > :pS#
        360 < West#
        360 > :GR#
        370 < 03:36:16.0#
        370 > :GD#
        380 < +45*00:00#
        380 L AutoCalibrateNSEW Info Autocalibration Successful!
    )");
}

TEST_F(AutoCalibrationTranscriptTest, BadReplies_CostAnAttemptEach_AndTheLastOneEndsItWithoutAWord) {
    Play(R"(
        0   = Calibrate -> 1
        0   > :pS#
        10  < East#
        10  > :GR#
        20  < 24:00:00.0#
        20  L AutoCalibrateNSEW Info Starting attempt 2
        20  > :pS#
        30  < West#
        30  > :GR#
        40  < 03:36:03.2#
        40  > :GD#
        50  < +91*00:00#
        50  L AutoCalibrateNSEW Info Starting attempt 3
        50  > :pS#
        60  < West#
        60  > :GR#
        70  < 03:36:03.2#
        70  > :GD#
        80  < +45*00:00#
        80  > :RC1#
        90  > :Me#
        100 > :Mn#
        210 > :Q#
        220 > :pS#
        230 < north#
        230 L AutoCalibrateNSEW Info Got Ending Pier Side: north
        230 L AutoCalibrateNSEW Error ... Bad response to Pier Side Command (2): north
    )");
    EXPECT_FALSE(driver->state.g_bAutoCalibrated);
}

TEST_F(AutoCalibrationTranscriptTest, BadEndOfTheMove_SwapsNothing) {
    Play(R"(
        0   = Calibrate -> 1
        0   > :pS#
        10  < West#
        10  > :GR#
        20  < 03:36:03.2#
        20  > :GD#
        30  < +45*00:00#
        30  > :RC1#
        40  > :Me#
        50  > :Mn#
        160 > :Q#
        170 > :pS#
        180 < West#
        180 > :GR#
        190 < 03:35#
        *   L AutoCalibrateNSEW Info Starting attempt 2
        *   > :pS#
        *   < West#
        *   > :GR#
        *   < 03:36:03.2#
        *   > :GD#
        *   < +45*00:00#
        *   > :RC1#
        *   > :Me#
        *   > :Mn#
        *   > :Q#
        *   > :pS#
        *   < West#
        *   > :GR#
        *   < 03:35:56.8#
        *   > :GD#
        *   < 44*58:24:#
        *   L AutoCalibrateNSEW Info Starting attempt 3
        *   > :pS#
        *   < #
    )");
    EXPECT_FALSE(driver->state.g_bAutoCalibrated);
}

TEST_F(AutoCalibrationTranscriptTest, SilentMount_IsAskedThreeTimes_AndNeverMoved) {
    ExpectSwallow("CommandString");
    Play(R"(
        0   = Calibrate -> 1
        0   > :pS#
        500 ~
        500 > #
        *    L AutoCalibrateNSEW Info Starting attempt 2
        *    > :pS#
        *    ~
        *    > #
        *    L AutoCalibrateNSEW Info Starting attempt 3
        *    > :pS#
        *    ~
        *    > #
    )");
    EXPECT_FALSE(driver->state.g_bAutoCalibrated);
}

/// A false reading, which a second one does not confirm or which the test move cannot make, swaps nothing.
struct FalseReadingRow {
    std::string startRa, startDec;
    std::string endRa, endDec;
    std::string secondRa, secondDec;  ///< empty where it is not asked for
};

class FalseReadingTest : public AutoCalibrationTranscriptTest, public testing::WithParamInterface<FalseReadingRow> {};

TEST_P(FalseReadingTest, CostsAnAttempt_AndSwapsNothing) {
    const FalseReadingRow& row = GetParam();
    Play("0 = Calibrate -> 1\n" + Attempt("East", {row.startRa, row.startDec}, {row.endRa, row.endDec}) +
         Position({row.secondRa, row.secondDec}) +
         Attempt("East", {"03:00:06.4", "+44*58:24"}, {"03:00:12.8", "+44*56:48"}));
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FalseReadingTest,
    testing::Values(FalseReadingRow{"03:00:00.0", "+45*00:00", "02:59:46.4", "+44*58:24", "03:00:06.4", "+44*58:24"},
                    FalseReadingRow{"03:00:00.0", "+45*00:00", "03:00:06.4", "+45*03:24", "03:00:06.4", "+44*58:24"},
                    // Of the start: the readings of the end agree.
                    FalseReadingRow{"03:00:20.0", "+45*00:00", "03:00:06.4", "+44*58:24", "03:00:06.4", "+44*58:24"},
                    FalseReadingRow{"03:00:00.0", "+44*56:00", "03:00:06.4", "+44*58:24", "03:00:06.4", "+44*58:24"},
                    // Farther than the test move goes.
                    FalseReadingRow{"03:00:00.0", "+45*00:00", "02:59:06.4", "+44*58:24", "", ""},
                    FalseReadingRow{"03:00:00.0", "+45*00:00", "03:00:06.4", "+45*08:24", "", ""},
                    FalseReadingRow{"13:00:00.0", "+45*00:00", "03:00:06.4", "+44*58:24", "", ""},
                    FalseReadingRow{"03:00:00.0", "+15*00:00", "03:00:06.4", "+44*58:24", "", ""}),
    [](const auto& row) { return "Row" + std::to_string(row.index); });

/// How the two ends of the test move are taken.
struct DecisionRow {
    std::string side;
    std::string startRa, endRa;
    std::string startDec, endDec;
    bool swapsEastWest;
    bool swapsNorthSouth;
};

class DecisionTest : public AutoCalibrationTranscriptTest, public testing::WithParamInterface<DecisionRow> {};

TEST_P(DecisionTest, EndsOfTheMove_DecideWhatIsSwapped) {
    const DecisionRow& row = GetParam();
    const Place start{row.startRa, row.startDec};
    const Place end{row.endRa, row.endDec};
    const bool swaps = row.swapsEastWest || row.swapsNorthSouth;
    Play("0 = Read\n" + Position(start) + "* = Calibrate -> 1\n" + Attempt(row.side, start, end) +
         (swaps ? Position(end) : "") + (row.swapsEastWest ? "* > :EW#\n" : "") +
         (row.swapsNorthSouth ? "* > :NS#\n" : ""));
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DecisionTest,
    testing::Values(DecisionRow{"East", "03:00:00.0", "03:00:06.4", "+45*00:00", "+44*58:24", false, false},
                    DecisionRow{"East", "03:00:00.0", "02:59:53.6", "+45*00:00", "+44*58:24", true, false},
                    DecisionRow{"East", "03:00:00.0", "03:00:06.4", "+45*00:00", "+45*01:36", false, true},
                    DecisionRow{"West", "03:00:00.0", "03:00:06.4", "+45*00:00", "+45*01:36", false, false},
                    DecisionRow{"West", "03:00:00.0", "03:00:06.4", "+45*00:00", "+44*58:24", false, true},
                    DecisionRow{"West", "03:00:00.0", "02:59:53.6", "+45*00:00", "+44*58:24", true, true},
                    DecisionRow{"East", "03:00:00.0", "03:00:00.0", "+45*00:00", "+45*00:00", false, false},
                    DecisionRow{"West", "03:00:00.0", "03:00:00.0", "+45*00:00", "+45*00:00", false, false},
                    // Across the hour 0: a change of -23.9 hours is one of 0.1, and the other way round.
                    DecisionRow{"East", "23:57:00.0", "00:03:00.0", "+45*00:00", "+44*58:24", false, false},
                    DecisionRow{"East", "00:00:03.0", "23:59:57.0", "+45*00:00", "+44*58:24", true, false},
                    // South of the equator declinations count the same way.
                    DecisionRow{"East", "03:00:00.0", "03:00:06.4", "-10*00:00", "-10*01:36", false, false},
                    DecisionRow{"East", "03:00:00.0", "03:00:06.4", "-00*00:48", "+00*00:48", false, true}),
    [](const auto& row) { return "Row" + std::to_string(row.index); });

/// The calibration ahead of a connection's slews, with the simulated mount.
class AutoCalibrationTest : public DriverFixture {
protected:
    void TearDown() override {
        telescope.reset();
        DriverFixture::TearDown();
    }

    void Connect() {
        telescope = ConnectedTelescope();
        machine.AdvanceTime(6'000);
    }
    void Slew() {
        telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 2.0), 20.0);
        EXPECT_EQ(driver->state.g_bSlewing, true);
        machine.AdvanceTime(20'000);
        EXPECT_FALSE(telescope->Slewing());
    }
    /// As if somebody had swapped the directions with a hand control.
    void Swap(bool eastWest, bool northSouth) {
        mount->Write(eastWest ? ":EW#" : "");
        mount->Write(northSouth ? ":NS#" : "");
        ASSERT_EQ(mount->Picture().swappedEastWest, eastWest);
        ASSERT_EQ(mount->Picture().swappedNorthSouth, northSouth);
    }

    TelescopeObject telescope;
};

TEST_F(AutoCalibrationTest, FirstSlewOfAConnection_Calibrates_AndLaterOnesDoNot) {
    Connect();
    EXPECT_FALSE(driver->state.g_bAutoCalibrated);
    Slew();
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
    EXPECT_EQ(TimesSent("Me"), 1);
    Slew();
    const TelescopeObject other = ConnectedTelescope();
    Slew();
    EXPECT_EQ(TimesSent("Me"), 1) << "another client on the open link is no new connection";
    EXPECT_EQ(TimesLogged("Starting Autocalibration of RA/Dec Move commands"), 1);
}

TEST_F(AutoCalibrationTest, RealConnect_CallsForACalibrationAnew) {
    Connect();
    Slew();
    telescope->Connected(false);
    driver->link->Connected(false);
    telescope->Connected(true);
    EXPECT_FALSE(driver->state.g_bAutoCalibrated);
    machine.AdvanceTime(6'000);
    Slew();
    EXPECT_EQ(TimesSent("Me"), 2);
}

TEST_F(AutoCalibrationTest, SlewToAltAz_Calibrates) {
    Connect();
    telescope->Tracking(false);
    telescope->SlewToAltAzAsync(120.0, 40.0);
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
    EXPECT_EQ(TimesSent("Me"), 1);
    EXPECT_EQ(TimesSent("EW"), 0);
    EXPECT_EQ(TimesSent("NS"), 0);
}

struct SettingRow {
    std::string value;
    int testMoves;
};

class CalibrationSettingTest : public AutoCalibrationTest, public testing::WithParamInterface<SettingRow> {};

TEST_P(CalibrationSettingTest, OnlyOne_TurnsTheCalibrationOn) {
    Seed({{"chkAutoCalibrateOnFirstSlew", GetParam().value}});
    Connect();
    Slew();
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
    EXPECT_EQ(TimesSent("RC1"), GetParam().testMoves);
    EXPECT_EQ(TimesSent("Me"), GetParam().testMoves);
    driver->persist.WriteIniValue("chkAutoCalibrateOnFirstSlew", "1");
    Slew();
    EXPECT_EQ(TimesSent("Me"), GetParam().testMoves) << "decided once in a connection";
}

INSTANTIATE_TEST_SUITE_P(Values, CalibrationSettingTest,
                         testing::Values(SettingRow{"0", 0}, SettingRow{"1", 1}, SettingRow{"2", 0},
                                         SettingRow{"-1", 0}, SettingRow{" 1", 1}, SettingRow{"x", 0}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

struct SwapRow {
    double hoursWest;  ///< hour angle of the target to start from: decides on the side of the pier
    double latitude;
    bool eastWest;
    bool northSouth;
};

class SwappedMountTest : public AutoCalibrationTest, public testing::WithParamInterface<SwapRow> {};

TEST_P(SwappedMountTest, SwappedDirections_AreSetRight_AndRightOnesAreLeftAlone) {
    MountSimulatorOptions options;
    options.parkedAtPowerOn = false;
    options.latitude = GetParam().latitude;
    BuildMount(options);
    Seed({{"chkAutoCalibrateOnFirstSlew", "0"}});
    Connect();
    const double declination = GetParam().latitude > 0 ? 30.0 : -30.0;
    telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - GetParam().hoursWest), declination);
    ASSERT_EQ(mount->Picture().westSide, GetParam().hoursWest < 0);
    Swap(GetParam().eastWest, GetParam().northSouth);
    EXPECT_EQ(telescope->CommandString("RAW,AutoCalibrateNSEW", true), "1");
    EXPECT_FALSE(mount->Picture().swappedEastWest);
    EXPECT_FALSE(mount->Picture().swappedNorthSouth);
    EXPECT_EQ(TimesSent("EW"), GetParam().eastWest ? 2 : 0);
    EXPECT_EQ(TimesSent("NS"), GetParam().northSouth ? 2 : 0);
    EXPECT_EQ(TimesSent("Me"), 1) << "the poll has just read the start";
    EXPECT_EQ(telescope->CommandString("RAW,AutoCalibrateNSEW", true), "1");
    EXPECT_FALSE(mount->Picture().swappedEastWest);
    EXPECT_FALSE(mount->Picture().swappedNorthSouth);
}

INSTANTIATE_TEST_SUITE_P(Mounts, SwappedMountTest,
                         testing::Values(SwapRow{2.0, 47.0, false, false}, SwapRow{2.0, 47.0, true, false},
                                         SwapRow{2.0, 47.0, false, true}, SwapRow{2.0, 47.0, true, true},
                                         SwapRow{-2.0, 47.0, false, false}, SwapRow{-2.0, 47.0, true, true},
                                         SwapRow{2.0, -33.0, true, true}, SwapRow{-2.0, -33.0, true, true},
                                         SwapRow{-2.0, -33.0, false, false}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST_F(AutoCalibrationTest, MountWithoutAWordForItsSide_SlewsUncalibrated_AndIsAskedAgainAheadOfTheNextSlew) {
    ExpectSwallow("CommandString");
    BuildMount("C");
    Connect();
    telescope->Tracking(true);
    Slew();
    EXPECT_FALSE(driver->state.g_bAutoCalibrated);
    EXPECT_EQ(TimesLogged("... Bad response to Pier Side Command: "), 3);
    EXPECT_EQ(TimesSent("MS"), 1);
    Slew();
    EXPECT_EQ(TimesLogged("... Bad response to Pier Side Command: "), 6);
    EXPECT_EQ(TimesSent("MS"), 2);
    EXPECT_EQ(TimesSent("Me"), 0);
}

TEST_F(AutoCalibrationTest, ThreeBadSides_LeaveTheFirstSlewUncalibrated_AndTheSecondOneCalibrates) {
    Connect();
    mount->Add(std::make_unique<CorruptsReply>("pS"));
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 2.0), 20.0);
    mount->ClearMisbehaviours();
    EXPECT_EQ(TimesLogged("... Bad response to Pier Side Command: E?st"), 3);
    EXPECT_FALSE(driver->state.g_bAutoCalibrated);
    EXPECT_EQ(TimesSent("Me"), 0);
    EXPECT_EQ(TimesSent("MS"), 1);
    machine.AdvanceTime(20'000);
    Slew();
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
    EXPECT_EQ(TimesSent("Me"), 1);
}

TEST_F(AutoCalibrationTest, SlewThatReplacesAnother_DoesNotCalibrateInMidSlew_AndALaterOneDoes) {
    Connect();
    mount->Add(std::make_unique<CorruptsReply>("pS"));
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 2.0), 20.0);
    mount->ClearMisbehaviours();
    machine.AdvanceTime(1'000);
    ASSERT_TRUE(mount->Picture().slewing);
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), 30.0);
    EXPECT_EQ(TimesSent("MS"), 2);
    EXPECT_EQ(TimesSent("Me"), 0);
    EXPECT_FALSE(driver->state.g_bAutoCalibrated);
    machine.AdvanceTime(60'000);
    Slew();
    EXPECT_EQ(TimesSent("Me"), 1);
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
}

TEST_F(AutoCalibrationTest, FalseReadingOfTheStart_SwapsNothing) {
    Connect();
    machine.AdvanceTime(4'000);
    const double falseRa = NormalizeHours(mount->Picture().rightAscension + 20.0 / 3600.0);
    mount->Add(std::make_unique<AnswersWith>("GR", HoursToHMS(falseRa, ":", ":", "", 1) + "#"));
    EXPECT_EQ(telescope->CommandString("RAW,AutoCalibrateNSEW", true), "1");
    EXPECT_TRUE(Logged("The start differs from the reading before it... retrying"));
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
    EXPECT_EQ(TimesSent("Me"), 1);
    EXPECT_EQ(TimesSent("EW"), 0);
}

TEST_F(AutoCalibrationTest, SlewRightAfterTrackingWasSwitchedOn_Calibrates) {
    Connect();
    machine.AdvanceTime(10'000);
    telescope->Tracking(true);
    machine.AdvanceTime(200);
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 2.0), 20.0);
    EXPECT_EQ(TimesSent("Me"), 1);
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
}

TEST_F(AutoCalibrationTest, StopDuringTheCalibration_EndsIt_AndNothingMovesBehindIt) {
    Connect();
    mount->Add(std::make_unique<AnswersLate>("GD", 200));
    const TelescopeObject other = driver->CreateTelescope();
    machine.pump.PostAt(machine.clock.Elapsed() + 300, CallKind::Stop, [&] { other->AbortSlew(); });
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 2.0), 20.0);
    EXPECT_EQ(TimesLogged("Starting attempt 1"), 1) << "the stop is meant to come behind its beginning";
    EXPECT_EQ(TimesSent("Me"), 0);
    EXPECT_EQ(TimesSent("MS"), 0);
    EXPECT_FALSE(driver->state.g_bAutoCalibrated);
}

TEST_F(AutoCalibrationTest, CalibrationAskedForBeforeAStop_MovesNothing) {
    Connect();
    const TelescopeObject other = driver->CreateTelescope();
    const std::int64_t due = machine.clock.Elapsed() + 10;
    machine.pump.PostAt(due, CallKind::WaitsLong, [&] { telescope->CommandString("RAW,AutoCalibrateNSEW", true); });
    machine.pump.PostAt(due, CallKind::Stop, [&] { other->AbortSlew(); });
    machine.AdvanceTime(1'000);
    EXPECT_TRUE(Logged("AutoCalibrateNSEW() does not begin: it was stopped before it could"));
    EXPECT_EQ(TimesSent("Me"), 0);
}

TEST_F(AutoCalibrationTest, TestMove_LetsNoOtherCallIn) {
    Connect();
    std::size_t sentAtTheCall = 0;
    bool movingAtTheCall = true;
    for (int ms = 20; ms < 1'000; ms += 20) {
        machine.pump.PostAt(machine.clock.Elapsed() + ms, CallKind::Brief, [&] {
            if (sentAtTheCall == 0) {
                sentAtTheCall = mount->Commands().size();
                movingAtTheCall = TimesSent("Me") != 1 || mount->Commands().back() != "GD";
            }
        });
    }
    EXPECT_EQ(telescope->CommandString("RAW,AutoCalibrateNSEW", true), "1");
    EXPECT_EQ(sentAtTheCall, 0U) << "no call runs inside the calibration";
    machine.AdvanceTime(20);
    EXPECT_GT(sentAtTheCall, 0U);
    EXPECT_FALSE(movingAtTheCall);
}

}  // namespace
}  // namespace kestrane
