#include "telescope/mount/mount_time.h"

#include <gtest/gtest.h>
#include <tuple>

#include "kernel/base/date_time.h"
#include "support/driver_fixture.h"
#include "support/wire_transcript.h"

namespace kestrane {
namespace {

/// The clock of the mount on the wire: an open link of a client's object, 500 ms, no retries. The computer stands on
/// 2024-03-20 at 21:05:30 local time, in a zone of UTC+1.
class MountTimeTest : public DriverFixture {
protected:
    MountTimeTest() {
        Start();
        driver->InternalInstance();
        driver->state.g_nScopeConnects = 1;
        driver->state.g_bConnected = true;
        driver->state.g_bHasMeridianQuery = true;
        machine.clock.SetLocalTime(DateTime{2024, 3, 20, 21, 5, 30, 0});
    }

    /// A person has set the delay, hours.
    void ChooseDelay(double hours) {
        driver->state.g_dMeridianDelay = hours;
        driver->state.g_bMeridianDelayKnown = true;
    }

    void Play(std::string_view script, const DateTime& utc = DateTime{2024, 3, 20, 20, 5, 30, 0}) {
        WireTranscript transcript(machine.clock, machine.pump, script);
        transcript.Call("Set", [&] { driver->InternalInstance().utcDate(utc); });
        transcript.Call("Get", [&] { return DateTimeText(driver->InternalInstance().utcDate()); });
        transcript.Call("InitTime",
                        [&] { return driver->InternalInstance().CommandStringInternal("RAW,InitTime", true); });
        transcript.Call("SendTimeAfresh", [&] { MountTime(driver->InternalInstance()).SendAfresh(); });
        PlayOnOpenLink(transcript);
    }
};

// The steps of a write of the time, as a transcript has them.

const std::string kSet = "0   = Set\n";
const std::string kDone = "*   = ->\n";

std::string Exchange(const std::string& sent, const std::string& reply) {
    return "*   > :" + sent + "#\n*   < " + reply + "\n";
}
std::string NoAnswerTo(const std::string& sent) {
    return "*   > :" + sent + "#\n*   ~\n*   > #\n";
}
std::string Refused(const std::string& sent) {
    return Exchange(sent, "0") + "*   > #\n";
}
std::string DelayIs(const std::string& delay) {
    return Exchange("GM", delay + "#");
}
std::string DateSet(const std::string& date = "03/20/24") {
    return Exchange("SC" + date, "1Updating#") + "*   < data#\n";
}
std::string TimeAndDate(const std::string& time = "21:05:30", const std::string& date = "03/20/24") {
    return Exchange("SL" + time, "1") + DateSet(date);
}
std::string ZoneIs(const std::string& zone = "-01:00:00.0") {
    return Exchange("GG", zone + "#");
}
std::string Logs(const std::string& line) {
    return "*   L " + line + "\n";
}

TEST_F(MountTimeTest, UtcDate_GoesOutAsLocalTimeDateAndZone) {
    Play(R"(
        0   = Set
        0   L ASCOM Info SET utcDate = 2024-03-20 20:05:30, Meridian Delay = 0
        0   > :GM#
        5   < +00:00:00#
        *   L Telescope Info Meridian Delay matches currently set value - no need to change!
        *   > :SL21:05:30#
        *   < 1
        *   > :SC03/20/24#
        *   < 1Updating#
        *   < data#
        *   > :GG#
        *   < -01:00:00.0#
        *   L Telescope Info Mount Time Zone matches PC Time Zone - no need to change!
        *   = ->
    )");
}

TEST_F(MountTimeTest, DelayAndZoneThatDiffer_AreWritten) {
    ChooseDelay(1.5);
    Play(kSet + DelayIs("-00:30:00") + DelayIs("-00:30:00") + Exchange("SM01:30:00", "1") + TimeAndDate() +
         ZoneIs("05:00:00.0") + Exchange("SG-01:00:00.0", "1") + kDone);
    EXPECT_EQ(driver->state.g_dTimeZone, -1.0);
    EXPECT_EQ(driver->handBox.lblTZ.Text(), "01:00:00.0");
    EXPECT_EQ(driver->statusWindow.lblTimeZone.Text(), "01:00:00.0");
}

TEST_F(MountTimeTest, DelayThatNobodyReadOrSet_IsNotWritten_ThatOfTheMountIsTakenOver) {
    driver->state.g_dMeridianDelay = 1.5;  // of an earlier mount
    Play(kSet + DelayIs("-00:30:00") + DelayIs("-00:30:00") +
         Logs("Telescope Warning The Meridian Delay of the mount is taken over: -0.5") + TimeAndDate() + ZoneIs() +
         kDone);
    EXPECT_EQ(driver->state.g_dMeridianDelay, -0.5);
    EXPECT_EQ(driver->handBox.lblMeridianDelay.Text(), "-0.5");
}

TEST_F(MountTimeTest, SentAfresh_TheTimeGoesOutWithoutADelayToo_AndThenTheMountHas40Ms) {
    Play(R"(
        0   = SendTimeAfresh
        0   > :GM#
        0   < +00:00:00#
        0   > :SL21:05:30#
        0   < 1
        0   > :SC03/20/24#
        0   < 1Updating#
        0   < data#
        0   > :GG#
        0   < -01:00:00.0#
        40  = ->
    )");
}

TEST_F(MountTimeTest, SentAfresh_ADelayBecomesZero_AlsoOneThatNoReadingConfirmed) {
    driver->state.g_dMeridianDelay = 1.5;
    Play("0   = SendTimeAfresh\n" + Logs("SetMeridianDelayUI Info Setting Meridian Delay: 0") + DelayIs("-01:30:00") +
         DelayIs("-01:30:00") + Exchange("SM00:00:00", "1") + TimeAndDate() + ZoneIs() + kDone);
    EXPECT_EQ(driver->state.g_dMeridianDelay, 0.0);
    EXPECT_EQ(driver->handBox.lblMeridianDelay.Text(), "");
}

TEST_F(MountTimeTest, SentAfresh_FirmwareWithoutADelayGetsItsClockBack) {
    driver->state.g_bHasMeridianQuery = false;
    ChooseDelay(1.5);
    Play(R"(
        0   = SendTimeAfresh
        0   > :SL21:05:30#
        *   < 1
        *   > :SC03/20/24#
        *   < 1Updating#
        *   < data#
        *   > :GG#
        *   < -01:00:00.0#
        *   = ->
    )");
    EXPECT_EQ(driver->state.g_dMeridianDelay, 0.0);
}

TEST_F(MountTimeTest, DelayThatASecondReadingDoesNotConfirm_ChangesNothing) {
    ChooseDelay(1.5);
    Play(kSet + DelayIs("09:30:00") + DelayIs("01:30:00") +
         Logs("Telescope Error Two readings of the Meridian Delay differ; it is not changed.") + TimeAndDate() +
         ZoneIs() + kDone);
    EXPECT_EQ(driver->state.g_dMeridianDelay, 1.5);
}

TEST_F(MountTimeTest, DelayBeyondSixHours_IsNotSent) {
    ChooseDelay(-6.5);
    Play(kSet + DelayIs("00:00:00") + DelayIs("00:00:00") +
         Logs("Telescope Error A Meridian Delay of more than 6 hours is not sent to the mount: -6.5") + TimeAndDate() +
         ZoneIs() + kDone);
}

TEST_F(MountTimeTest, DelayThatTheMountDoesNotTell_IsNotWrittenOver) {
    ExpectSwallow("CommandString");
    Play(kSet + NoAnswerTo("GM") + Logs("Telescope Error The mount did not tell its Meridian Delay") + TimeAndDate() +
         ZoneIs() + kDone);
}

TEST_F(MountTimeTest, TimeAfterASilence_IsSentAsItIsThen) {
    ExpectSwallow("CommandString");
    driver->InternalInstance().MaxSerialRetries(2);
    Play(kSet + NoAnswerTo("GM") + NoAnswerTo("GM") + DelayIs("+00:00:00") + TimeAndDate("21:05:32") + ZoneIs() +
         kDone);
}

TEST_F(MountTimeTest, EarlierFirmware_GetsTheDelayAddedToItsClock) {
    driver->state.g_bHasMeridianQuery = false;
    driver->state.g_dMeridianDelay = 1.0;
    Play(kSet + TimeAndDate("22:05:30") + ZoneIs() + kDone);
}

TEST_F(MountTimeTest, RefusedTime_IsLoggedAndTheDateFollows) {
    Play(kSet + DelayIs("+00:00:00") + Refused("SL21:05:30") +
         Logs("ASCOM Error The time value was rejected by the KS mount.") + DateSet() + ZoneIs() + kDone);
}

TEST_F(MountTimeTest, RefusedDelay_IsLoggedAndTheTimeFollows) {
    ChooseDelay(1.5);
    Play(kSet + DelayIs("00:00:00") + DelayIs("00:00:00") + Refused("SM01:30:00") +
         Logs("Telescope Error The Meridian Delay was rejected by the KS mount: 01:30:00") + TimeAndDate() + ZoneIs() +
         kDone);
}

TEST_F(MountTimeTest, RefusedZone_IsLoggedAndKeepsTheOldOne) {
    driver->state.g_dTimeZone = 7.0;
    Play(kSet + DelayIs("+00:00:00") + TimeAndDate() + ZoneIs("05:00:00.0") + Refused("SG-01:00:00.0") +
         Logs("Telescope Error Error setting Time Zone from 5 to -1") + kDone);
    EXPECT_EQ(driver->state.g_dTimeZone, 7.0);
}

TEST_F(MountTimeTest, DelayOfAFractionBelowZero_GoesOutInWholeSeconds) {
    ChooseDelay(-1.2501);
    Play(kSet + DelayIs("00:00:00") + DelayIs("00:00:00") + Exchange("SM-01:15:00", "1") + TimeAndDate() +
         ZoneIs("nonsense") + kDone);
}

TEST_F(MountTimeTest, DelayPastMidnight_TakesTheDateAlong) {
    driver->state.g_bHasMeridianQuery = false;
    driver->state.g_dMeridianDelay = 3.0;
    Play(kSet + TimeAndDate("00:05:30", "03/21/24") + ZoneIs("-01:00:03.5") + kDone);
}

TEST_F(MountTimeTest, ZoneJustBeyondItsTolerance_IsSet) {
    Play(kSet + DelayIs("00:00:00") + TimeAndDate() + ZoneIs("-01:00:03.7") + Exchange("SG-01:00:00.0", "1") + kDone);
}

TEST_F(MountTimeTest, AnAdapterChosenWhileTheProcessRuns_LeavesTheSecondLineToBeRead) {
    driver->persist.WriteIniValue("chkIPAddress", "1");
    Play(kSet + DelayIs("+00:00:00") + TimeAndDate() + ZoneIs() + kDone);
}

struct MidnightRow {
    std::string name;
    int hour;
    int minute;
    int second;
    std::string sent;         ///< time and date; empty for nothing
    std::string sentShifted;  ///< to firmware without a delay, with one of an hour and a half
};

enum class Delay { None, HourAndHalf };
enum class DelayCommands { Known, Unknown };

class MidnightTest : public MountTimeTest,
                     public testing::WithParamInterface<std::tuple<MidnightRow, Delay, DelayCommands>> {
protected:
    std::string Script() const {
        const auto& [row, delay, commands] = GetParam();
        if (row.sent.empty()) {
            return R"(
        0   = Set
        *   L ASCOM Error Unable to SET Date/time from 23:58 until 00:02
        0   = ->
    )";
        }
        const bool isShifted = delay == Delay::HourAndHalf && commands == DelayCommands::Unknown;
        const std::string& sent = isShifted ? row.sentShifted : row.sent;
        const std::string zero = "\n 0 > :GM#\n 0 < 00:00:00#";
        const std::string delayed = zero + zero + "\n 0 > :SM01:30:00#\n 0 < 1";
        const std::string asked = delay == Delay::None ? zero : delayed;
        return "\n 0 = Set" + (commands == DelayCommands::Known ? asked : "") + "\n 0 > :SL" + sent.substr(0, 8) +
               "#\n 0 < 1\n 0 > :SC" + sent.substr(9) +
               "#\n 0 < 1Updating#\n 0 < data#\n 0 > :GG#\n 0 < -01:00:00.0#\n * = ->\n";
    }
};

TEST_P(MidnightTest, AroundLocalMidnight_NothingIsSentAndNothingIsRaised) {
    const auto& [row, delay, commands] = GetParam();
    driver->state.g_bHasMeridianQuery = commands == DelayCommands::Known;
    ChooseDelay(delay == Delay::None ? 0.0 : 1.5);
    const DateTime local{2024, 3, 20, row.hour, row.minute, row.second, 0};
    Play(Script(), machine.clock.DateLocalToUTC(local));
}

INSTANTIATE_TEST_SUITE_P(
    Times, MidnightTest,
    testing::Combine(testing::Values(MidnightRow{"Before", 23, 57, 59, "23:57:59 03/20/24", "01:27:59 03/21/24"},
                                     MidnightRow{"Begins", 23, 58, 0, "", ""}, MidnightRow{"Last", 23, 59, 59, "", ""},
                                     MidnightRow{"First", 0, 0, 0, "", ""}, MidnightRow{"Ends", 0, 1, 59, "", ""},
                                     MidnightRow{"After", 0, 2, 0, "00:02:00 03/20/24", "01:32:00 03/20/24"}),
                     testing::Values(Delay::None, Delay::HourAndHalf),
                     testing::Values(DelayCommands::Known, DelayCommands::Unknown)),
    [](const auto& row) {
        return std::get<0>(row.param).name + (std::get<1>(row.param) == Delay::None ? "" : "Delayed") +
               (std::get<2>(row.param) == DelayCommands::Known ? "Delays" : "NoDelays");
    });

struct ShiftRow {
    int hour;
    int minute;
    double delay;
    std::string sent;  ///< time and date; empty for nothing
};

class ShiftedMidnightTest : public MountTimeTest, public testing::WithParamInterface<ShiftRow> {};

TEST_P(ShiftedMidnightTest, TheComputersTimeDecides_AndTheShiftedOneIsSentWithItsDate) {
    const ShiftRow& row = GetParam();
    driver->state.g_bHasMeridianQuery = false;
    driver->state.g_dMeridianDelay = row.delay;
    machine.ConnectMount(1, *mount);
    driver->link->Port(1);
    driver->link->ReceiveTimeoutMS(500);
    driver->link->Connected(true);
    const DateTime local{2024, 3, 20, row.hour, row.minute, 30, 0};
    driver->InternalInstance().utcDate(machine.clock.DateLocalToUTC(local));
    std::string sent;
    for (const std::string& command : mount->Commands()) {
        sent += command.starts_with("SL") || command.starts_with("SC") ? command + " " : "";
    }
    EXPECT_EQ(sent, row.sent);
}

INSTANTIATE_TEST_SUITE_P(Times, ShiftedMidnightTest,
                         testing::Values(ShiftRow{23, 57, 0.0, "SL23:57:30 SC03/20/24 "}, ShiftRow{23, 58, 0.0, ""},
                                         ShiftRow{0, 1, 0.0, ""}, ShiftRow{0, 2, 0.0, "SL00:02:30 SC03/20/24 "},
                                         ShiftRow{21, 59, 2.0, "SL23:59:30 SC03/20/24 "},
                                         ShiftRow{22, 0, 2.0, "SL00:00:30 SC03/21/24 "}, ShiftRow{23, 59, 2.0, ""},
                                         ShiftRow{0, 0, -2.0, ""}, ShiftRow{1, 59, -2.0, "SL23:59:30 SC03/19/24 "},
                                         ShiftRow{2, 0, -2.0, "SL00:00:30 SC03/20/24 "}));

TEST_F(MountTimeTest, UtcDate_IsTheMountsTimeOnTheComputersDate) {
    Play(R"(
        0   = Get
        0   > :GL#
        5   < 22:15:40.5#
        *   L ASCOM Info GET utcDate = 2024-03-20 21:15:40
        *   = -> 2024-03-20 21:15:40
    )");
}

TEST_F(MountTimeTest, TimeThatTheMountDoesNotTell_IsThatOfTheComputer) {
    Play(R"(
        0   = Get
        0   > :GL#
        5   < nonsense#
        *   = -> 2024-03-20 20:05:30
    )");
}

TEST_F(MountTimeTest, Reading_NeedsTheLink) {
    driver->state.g_nScopeConnects = 0;
    driver->state.g_bConnected = false;
    EXPECT_EQ(ErrorOf([&] { driver->InternalInstance().utcDate(); }), 0x80040404U);
    EXPECT_EQ(ErrorOf([&] { driver->InternalInstance().utcDate(DateTime{}); }), 0x80040404U);
}

TEST_F(MountTimeTest, InitTime_GivesTheMountTheComputersTime) {
    Play("0   = InitTime\n" + DelayIs("+00:00:00") + TimeAndDate() + ZoneIs() + "*   = -> 1\n");
}

}  // namespace
}  // namespace kestrane
