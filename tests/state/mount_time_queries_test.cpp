#include "state/state_fixture.h"

namespace kestrane {
namespace {

constexpr const char* kInitTime = "RAW,InitTime";
constexpr const char* kKeep = "chkKeepMountTimeSyncedToPcTime";

/// It is 20:00:00 on the PC, one hour ahead of UTC.
class TimeQueryTest : public StateFixture {};

// --- how far off the clock may be

struct Deviation {
    std::string name, pc, mount;
    bool meridianQuery;
    double delay;  ///< hours
    bool corrected;
    std::string keep = "1";
};

class TimeDeviationTest : public StateFixture, public testing::WithParamInterface<Deviation> {};

TEST_P(TimeDeviationTest, TwoSecondsOrMore_SetTheMountsClock) {
    const Deviation& row = GetParam();
    const auto two = [&](std::size_t at) { return std::stoi(row.pc.substr(at, 2)); };
    machine.clock.SetLocalTime({2024, 3, 5, two(0), two(3), two(6), 950});  // the milliseconds do not count
    persist.WriteIniValue(kKeep, row.keep);
    state.g_bHasMeridianQuery = row.meridianQuery;
    state.g_dMeridianDelay = row.delay;
    mount.replies["GM"] = "";
    mount.replies["GL"] = row.mount;
    EXPECT_EQ(queries.QueryTime(), row.keep == "1");
    EXPECT_EQ(mount.Times(kInitTime), row.corrected ? 1 : 0);
    EXPECT_EQ(Logged("QueryTime|1|Time deviates 2 seconds or more from PC time... resending Time!"), row.corrected);
}

constexpr double kSecond = 1.0 / 3600.0;
INSTANTIATE_TEST_SUITE_P(
    Rows, TimeDeviationTest,
    testing::Values(Deviation{"Equal", "20:00:00", "20:00:00", true, 0.0, false},
                    Deviation{"OneBehind", "20:00:00", "19:59:59", true, 0.0, false},
                    Deviation{"TwoBehind", "20:00:00", "19:59:58", true, 0.0, true},
                    Deviation{"TwoAhead", "20:00:01", "20:00:03", true, 0.0, true},
                    Deviation{"OneAhead", "20:00:01", "20:00:02", true, 0.0, false},
                    Deviation{"TwoBehindUnwanted", "20:00:00", "19:59:58", true, 0.0, false, "0"},
                    // Firmware without the delay has it in its clock.
                    Deviation{"OnePointNine", "20:00:02", "20:00:00", false, -0.1 * kSecond, false},
                    Deviation{"TwoPointZero", "20:00:01", "20:00:00", false, kSecond, true},
                    Deviation{"ShiftedByTheDelay", "20:00:00", "20:30:00", false, 0.5, false},
                    Deviation{"DelayTheMountKnows", "20:00:00", "20:30:00", true, 0.5, true},
                    Deviation{"NotShiftedByTheDelay", "20:00:00", "20:00:00", false, 0.5, true},
                    // A difference is folded beyond 24 hours only.
                    Deviation{"AcrossMidnight", "23:59:59", "00:00:00", true, 0.0, true},
                    Deviation{"AcrossMidnightBack", "00:00:00", "23:59:59", true, 0.0, true},
                    Deviation{"BeyondADay", "23:30:00", "00:00:00", false, 0.5, true},
                    Deviation{"FoldedBeyondADay", "23:59:59", "00:00:00", false, 2.0 * kSecond, false},
                    Deviation{"FoldedBelowADay", "00:00:00", "23:59:59", false, -2.0 * kSecond, false},
                    Deviation{"EightCharactersCount", "20:00:00", "20:00:00.9", true, 0.0, false}),
    [](const auto& row) { return row.param.name; });

TEST_F(TimeQueryTest, GoodTime_IsShownAsItCame) {
    mount.replies["GL"] = "20:00:00";
    EXPECT_TRUE(queries.QueryTime());
    EXPECT_EQ(handBox.lblTime.Text(), "20:00:00");
    EXPECT_EQ(statusWindow.lblMountTime.Text(), "20:00:00");
    EXPECT_EQ(state.g_dMountTime, 20.0);
    EXPECT_EQ(state.g_nAnsweredQueries, 1);
}

TEST_F(TimeQueryTest, UnkeptTime_ReportsFailure_ShowsNothing_AndRunsOnAllTheSame) {
    persist.WriteIniValue(kKeep, "0");
    handBox.lblTime.Text("before");
    mount.replies["GL"] = "19:00:00";
    EXPECT_FALSE(queries.QueryTime());
    EXPECT_EQ(handBox.lblTime.Text(), "before");
    EXPECT_EQ(mount.Times(kInitTime), 0);
    EXPECT_EQ(state.g_nAnsweredQueries, 0);
    Pass(3'000);
    queries.UpdateMountTimeDisplay();
    EXPECT_EQ(handBox.lblTime.Text(), "19:00:03");
    EXPECT_EQ(statusWindow.lblMountTime.Text(), "19:00:03");
}

TEST_F(TimeQueryTest, ShownTime_RunsOnAcrossMidnight_AndIsNotShiftedByAReplyThatDropsOut) {
    machine.clock.SetLocalTime({2024, 3, 5, 23, 59, 58, 0});
    mount.replies["GL"] = "23:59:58";
    queries.QueryTime();
    Pass(1'000);
    mount.replies["GL"] = "";
    queries.QueryTime();
    mount.replies["GL"] = "rubbish!";
    queries.QueryTime();
    Pass(700);  // rounded up
    queries.UpdateMountTimeDisplay();
    EXPECT_EQ(handBox.lblTime.Text(), "00:00:00");
    Pass(3'300);
    queries.UpdateMountTimeDisplay();
    EXPECT_EQ(handBox.lblTime.Text(), "00:00:03");
}

TEST_F(TimeQueryTest, HandBoxThatIsLoadedAnew_ShiftsNoTimeThatWasRead) {
    mount.replies["GL"] = "20:00:00";
    mount.replies["GS"] = "06:00:00";
    queries.QueryTime();
    queries.QueryLst();
    const double lst = queries.GetLst();
    queries.ResetQueryTimes();
    EXPECT_EQ(queries.GetLst(), lst);
    queries.UpdateMountTimeDisplay();
    EXPECT_EQ(handBox.lblTime.Text(), "20:00:00");
}

TEST_F(TimeQueryTest, EqualText_IsNotWrittenAgain) {
    mount.replies["GL"] = "20:00:00";
    queries.QueryTime();
    statusWindow.lblMountTime.Text("a sign");
    Pass(300);
    queries.UpdateMountTimeDisplay();
    EXPECT_EQ(statusWindow.lblMountTime.Text(), "a sign");
}

// --- meridian delay

TEST_F(TimeQueryTest, MeridianDelay_IsTakenWhenItDiffers_AndTheQueryGoesOn) {
    state.g_bHasMeridianQuery = true;
    mount.replies["GL"] = "20:00:00";
    mount.replies["GM"] = "-00:30:00.0";
    EXPECT_TRUE(queries.QueryTime());
    EXPECT_EQ(state.g_dMeridianDelay, -0.5);
    EXPECT_EQ(panel.calls, std::vector<std::string>{"SetMeridianDelayUI -0.500000"});
    EXPECT_TRUE(queries.QueryTime());
    EXPECT_EQ(panel.calls.size(), 1U);
    EXPECT_EQ(mount.sent, (std::vector<std::string>{"GM", "GM", "GL", "GM", "GL"})) << "a new one twice";
}

TEST_F(TimeQueryTest, MeridianDelayThatASecondReadingDoesNotConfirm_IsNotTaken) {
    state.g_bHasMeridianQuery = true;
    state.g_dMeridianDelay = 0.5;
    mount.replies["GL"] = "20:00:00";
    mount.replies["GM"] = "00:30:00.0";
    for (const std::string wrong : {"07:30:00.0", "00:80:00.0", "20:00:00"}) {
        mount.inTurn["GM"] = {wrong};
        EXPECT_TRUE(queries.QueryTime());
        EXPECT_EQ(state.g_dMeridianDelay, 0.5) << wrong;
    }
    mount.inTurn["GM"] = {"07:30:00.0", ""};
    EXPECT_TRUE(queries.QueryTime());
    EXPECT_EQ(state.g_dMeridianDelay, 0.5);
    EXPECT_TRUE(panel.calls.empty());
    EXPECT_TRUE(Logged("Meridian Limits Query|1|Two readings differ; neither is used."));
}

TEST_F(TimeQueryTest, BadMeridianDelay_IsLogged_CountsNoSilence_AndTheQueryGoesOn) {
    state.g_bHasMeridianQuery = true;
    mount.replies["GL"] = "20:00:00";
    mount.replies["GM"] = "";
    EXPECT_TRUE(queries.QueryTime());
    EXPECT_TRUE(Logged("Meridian Limits Query|2|No Response from mount..."));
    mount.replies["GM"] = "24:00:00";
    EXPECT_TRUE(queries.QueryTime());
    EXPECT_TRUE(Logged("Meridian Limits Query|2|Ignoring Invalid format response..."));
    EXPECT_TRUE(panel.calls.empty());
    EXPECT_EQ(state.g_nRetransmits, 0);
}

TEST_F(TimeQueryTest, FirmwareWithoutAMeridianDelay_IsNotAskedForIt) {
    mount.replies["GL"] = "20:00:00";
    queries.QueryTime();
    EXPECT_EQ(mount.Times("GM"), 0);
}

// --- the companion

struct QuayRow {
    std::string name, keep, reply;
    bool asksOn;
};

class QuayTimeTest : public StateFixture, public testing::WithParamInterface<QuayRow> {};

TEST_P(QuayTimeTest, Companion_IsToldTheSetting_UntilItRefuses) {
    const QuayRow& row = GetParam();
    persist.WriteIniValue(kKeep, row.keep);
    state.g_bQuayLink = true;
    mount.replies["GL"] = "10:00:00";
    mount.replies["*TIMESYNC," + row.keep] = row.reply;
    queries.QueryTime();
    EXPECT_EQ(mount.Times("*TIMESYNC," + row.keep), 1);
    EXPECT_EQ(mount.Times(kInitTime), 0);
    EXPECT_EQ(state.g_bQuayTimeSync, row.asksOn);
    queries.QueryTime();
    EXPECT_EQ(mount.Times("*TIMESYNC," + row.keep), row.asksOn ? 2 : 1);
}

INSTANTIATE_TEST_SUITE_P(Rows, QuayTimeTest,
                         testing::Values(QuayRow{"Done", "1", "11", true}, QuayRow{"Refused", "1", "10", false},
                                         QuayRow{"OneCharacter", "1", "0", true}, QuayRow{"Silent", "1", "", true},
                                         QuayRow{"Off", "0", "01", true}),
                         [](const auto& row) { return row.param.name; });

// --- time zone

struct ZoneRow {
    std::string name, reply, shown;
    bool corrected;
    std::string keep = "1";
};

class TimeZoneTest : public StateFixture, public testing::WithParamInterface<ZoneRow> {};

TEST_P(TimeZoneTest, Zone_IsShownAsLocalTimeMinusUtc_AndCorrectedWhenItIsNotThePcs) {
    const ZoneRow& row = GetParam();
    persist.WriteIniValue(kKeep, row.keep);
    mount.replies["GG"] = row.reply;
    EXPECT_TRUE(queries.QueryTimeZone());
    EXPECT_EQ(handBox.lblTZ.Text(), row.shown);
    EXPECT_EQ(statusWindow.lblTimeZone.Text(), row.shown);
    EXPECT_EQ(mount.Times(kInitTime), row.corrected ? 1 : 0);
    EXPECT_EQ(Logged("QueryTimeZone|1|Timezone mismatch... updating Timezone."), row.corrected);
}

INSTANTIATE_TEST_SUITE_P(Rows, TimeZoneTest,
                         testing::Values(ZoneRow{"OfThePc", "-01:00:00.0", "01:00:00.0", false},
                                         ZoneRow{"ThreeSecondsOff", "-01:00:03.0", "01:00:03.0", false},
                                         ZoneRow{"FourSecondsOff", "-01:00:04.0", "01:00:04.0", true},
                                         ZoneRow{"None", "-00:00:00.0", "00:00:00.0", true},
                                         ZoneRow{"West", "05:00:00.0", "-05:00:00.0", true},
                                         ZoneRow{"WestUnkept", "05:00:00.0", "-05:00:00.0", false, "0"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(TimeQueryTest, WrongZoneWithTheCompanion_IsItsMatter_AndOnlyAYesKeepsItAsked) {
    state.g_bQuayLink = true;
    mount.replies["GG"] = "05:00:00.0";
    mount.replies["*TIMESYNC,1"] = "1";
    EXPECT_TRUE(queries.QueryTimeZone());
    EXPECT_TRUE(Logged("QueryTimeZone|1|Timezone mismatch... sending timesync to QUAY."));
    EXPECT_EQ(mount.Times("*TIMESYNC,1"), 1);
    EXPECT_EQ(mount.Times(kInitTime), 0);
    EXPECT_TRUE(state.g_bQuayTimeSync);
    mount.replies["*TIMESYNC,1"] = "";
    queries.QueryTimeZone();
    EXPECT_FALSE(state.g_bQuayTimeSync);
}

}  // namespace
}  // namespace kestrane
