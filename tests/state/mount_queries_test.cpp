#include "state/mount_queries.h"

#include <utility>

#include "kernel/base/conversions.h"
#include "state/position_text.h"
#include "state/state_fixture.h"

namespace kestrane {
namespace {

using Query = bool (MountQueries::*)();

class MountQueriesTest : public StateFixture {};

// --- the replies that a query does not take

struct Failure {
    std::string name;
    Query query;
    std::string command, reply, logged;
    bool answer;
    bool recovers;  ///< counts a retransmit, clears before the next exchange, drains the line
    std::string version = "VKC4-P02-08";
};

class QueryFailureTest : public StateFixture, public testing::WithParamInterface<Failure> {};

TEST_P(QueryFailureTest, WrongReply_IsLogged_AndMendedWhereItShowsASlip) {
    const Failure& row = GetParam();
    state.g_sVersion = row.version;
    state.g_dRa = 3.0;
    state.g_dDec = 4.0;
    state.g_dAlt = state.g_dAz = state.g_dMountTime = state.g_dTimeZone = state.g_dLst = 5.0;
    mount.replies[row.command] = row.reply;
    const int resetsBefore = drains;
    EXPECT_EQ((queries.*row.query)(), row.answer);
    EXPECT_TRUE(Logged(row.logged)) << row.logged;
    EXPECT_EQ(state.g_nRetransmits, row.recovers ? 1 : 0);
    EXPECT_EQ(state.g_bResync, row.recovers);
    EXPECT_EQ(drains - resetsBefore, row.recovers ? 1 : 0);
    EXPECT_EQ(state.g_nNoResponse, 0);
    EXPECT_EQ(state.g_nAnsweredQueries, 0);
    EXPECT_EQ(mount.Times("!U"), row.answer ? 1 : 0);
    EXPECT_EQ(state.g_dRa, 3.0);
    EXPECT_EQ(state.g_dDec, 4.0);
    EXPECT_EQ(state.g_dAlt, 5.0);
    EXPECT_EQ(state.g_dAz, 5.0);
    EXPECT_EQ(state.g_dMountTime, 5.0);
    EXPECT_EQ(state.g_dTimeZone, 5.0);
    EXPECT_EQ(state.g_dLst, 5.0);
}

constexpr const char* kIgnored = "|2|Ignoring Invalid format response...";

INSTANTIATE_TEST_SUITE_P(
    Rows, QueryFailureTest,
    testing::Values(Failure{"RaSlipped", &MountQueries::QueryRa, "GR", "+45*30:15",
                            "RA Query|2|RA Query possibly out of sequence... trying to recover...", false, true},
                    Failure{"RaShort", &MountQueries::QueryRa, "GR", "12:34.5",
                            "RA Query|2|Detected corrupted or short format response... sending long format command...",
                            true, false},
                    Failure{"RaRange", &MountQueries::QueryRa, "GR", "24:00:00.0",
                            "RA Query|2|RA value out of range - command possibly out of sequence...", false, true},
                    Failure{"DecFormat", &MountQueries::QueryDec, "GD", "12:34:56", std::string("Dec Query") + kIgnored,
                            false, false},
                    Failure{"DecRange", &MountQueries::QueryDec, "GD", "+90*00:01",
                            "Dec Query|2|Declination out of range - command possibly out of sequence...", false, true},
                    Failure{"DecOfFirmwareD", &MountQueries::QueryDec, "GD", "+100*20:30",
                            "Dec Query|2|Declination out of range - command possibly out of sequence...", false, true,
                            "D"},
                    Failure{"DecOfFirmwareDThatIsNone", &MountQueries::QueryDec, "GD", "out of step 12",
                            "Dec Query|2|Declination out of range - command possibly out of sequence...", false, true,
                            "D"},
                    Failure{"DecFraction", &MountQueries::QueryDec, "GD", "+45*30.5:15",
                            std::string("Dec Query") + kIgnored, false, false},
                    Failure{"AltFraction", &MountQueries::QueryAlt, "GA", "+45.5*30:15",
                            std::string("Alt Query") + kIgnored, false, false},
                    Failure{"AzFraction", &MountQueries::QueryAz, "GZ", "45*30.5:15",
                            std::string("Az Query") + kIgnored, false, false},
                    Failure{"AltFormat", &MountQueries::QueryAlt, "GA", "+91*00:00",
                            std::string("Alt Query") + kIgnored, false, false},
                    Failure{"AzFormat", &MountQueries::QueryAz, "GZ", "360*00:00", std::string("Az Query") + kIgnored,
                            false, false},
                    Failure{"LstFormat", &MountQueries::QueryLst, "GS", "+45*30:15",
                            std::string("LST Query") + kIgnored, false, true},
                    Failure{"LstRange", &MountQueries::QueryLst, "GS", "24:00:00", std::string("LST Query") + kIgnored,
                            false, true},
                    Failure{"TimeFormat", &MountQueries::QueryTime, "GL", "24:00:00",
                            std::string("Time Query") + kIgnored, false, false},
                    Failure{"ZoneFormat", &MountQueries::QueryTimeZone, "GG", "05:00:00",
                            std::string("Time Zone Query") + kIgnored, false, false},
                    Failure{"ZoneRange", &MountQueries::QueryTimeZone, "GG", "23:59:59.9999999999999",
                            "Time Zone Query|2|Time Zone out of range: 24", false, true}),
    [](const auto& row) { return row.param.name; });

// --- no reply at all

struct Silence {
    std::string name;
    Query query;
    Tick DriverState::*stamp;
    std::string logged;
    bool answer = false;
    std::int32_t stampAhead = 0;  ///< ms
    int drains = 0;
};

class QuerySilenceTest : public StateFixture, public testing::WithParamInterface<Silence> {};

TEST_P(QuerySilenceTest, NoReply_IsCounted_Logged_AndAskedAgainLater) {
    const Silence& row = GetParam();
    Pass(10'000);
    state.g_nNoResponse = 1;
    const int drainsBefore = drains;
    EXPECT_EQ((queries.*row.query)(), row.answer);
    EXPECT_EQ(state.g_nNoResponse, 2);
    EXPECT_TRUE(Logged(row.logged + " - 2")) << row.logged;
    EXPECT_EQ(state.*row.stamp, machine.clock.GetTickCount() + row.stampAhead);
    EXPECT_EQ(drains - drainsBefore, row.drains);
    EXPECT_FALSE(state.g_bLostComms);
    EXPECT_FALSE(state.g_bResync);
    EXPECT_EQ(state.g_nRetransmits, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, QuerySilenceTest,
    testing::Values(
        Silence{"Ra", &MountQueries::QueryRa, &DriverState::g_tickLastRa, "RA Query|2|No response querying RA"},
        Silence{"Dec", &MountQueries::QueryDec, &DriverState::g_tickLastDec, "Dec Query|2|No response querying Dec",
                false, 0, 1},
        Silence{"Alt", &MountQueries::QueryAlt, &DriverState::g_tickLastAlt, "Alt Query|2|No response querying Alt"},
        Silence{"Az", &MountQueries::QueryAz, &DriverState::g_tickLastAz, "Az Query|2|No response querying Az"},
        Silence{"Lst", &MountQueries::QueryLst, &DriverState::g_tickLastLst, "LST Query|2|No response querying LST"},
        Silence{"Time", &MountQueries::QueryTime, &DriverState::g_tickLastTime,
                "Time Query|2|No response querying Time"},
        Silence{"Zone", &MountQueries::QueryTimeZone, &DriverState::g_tickLastTimeZone,
                "TimeZone Query|2|No response querying TimeZone", false, 5'000},
        Silence{"Side", &MountQueries::QuerySideOfMount, &DriverState::g_tickLastSide,
                "SideOfMount Query|2|No response querying SideOfMount", true, 5'000}),
    [](const auto& row) { return row.param.name; });

TEST_F(MountQueriesTest, ThreeSilentQueriesOfAnyKinds_BlankTheDisplay_AndAnyAnswerEndsThat) {
    for (Label* label : {&handBox.lblRA, &handBox.lblDEC, &handBox.lblAlt, &handBox.lblAz, &handBox.lblLST}) {
        label->Text("shown");
    }
    queries.QueryTime();
    queries.QueryTimeZone();
    EXPECT_FALSE(state.g_bLostComms);
    queries.QuerySideOfMount();
    EXPECT_TRUE(state.g_bLostComms);
    for (const Label* label : {&handBox.lblRA, &handBox.lblDEC, &handBox.lblAlt, &handBox.lblAz, &handBox.lblLST}) {
        EXPECT_EQ(label->Text(), "");
    }
    state.g_bLowPower = true;
    mount.replies["GG"] = "-01:00:00.0";
    EXPECT_TRUE(queries.QueryTimeZone());
    EXPECT_FALSE(state.g_bLostComms);
    EXPECT_FALSE(state.g_bLowPower);
    EXPECT_EQ(state.g_nNoResponse, 0);
    EXPECT_EQ(state.g_nAnsweredQueries, 1);
    EXPECT_EQ(state.g_nAnsweredQueriesTotal, 1);
}

TEST_F(MountQueriesTest, BlankedLabels_RefillAsTheirQueriesComeRound) {
    for (Query query : {&MountQueries::QueryRa, &MountQueries::QueryDec, &MountQueries::QueryAlt}) {
        (queries.*query)();
    }
    ASSERT_TRUE(state.g_bLostComms);
    queries.UpdateHourAngle();
    EXPECT_EQ(handBox.lblLST.Text(), "") << "a lost line shows no time that runs on";
    mount.replies = {{"GD", "+40*00:00"}, {"GA", "+50*00:00"}, {"GZ", "180*00:00"}, {"GR", "03:00:00.0"}};
    queries.QueryDec();
    EXPECT_EQ(handBox.lblDEC.Text(), "+40:00:00");
    EXPECT_EQ(handBox.lblRA.Text(), "");
    EXPECT_EQ(handBox.lblAlt.Text(), "");
    queries.QueryAlt();
    queries.QueryAz();
    queries.QueryRa();
    EXPECT_EQ(handBox.lblRA.Text(), "03:00:00.0");
    EXPECT_EQ(handBox.lblAlt.Text(), "+50:00:00");
    EXPECT_EQ(handBox.lblAz.Text(), "180:00:00");
    queries.UpdateHourAngle();
    EXPECT_NE(handBox.lblLST.Text(), "");
}

TEST_F(MountQueriesTest, SilentStatusQuery_CountsAsNoSilence_AndEndsTheUseOfTheStatusText) {
    state.g_bGosSupported = state.g_bGosActive = true;
    EXPECT_FALSE(queries.QueryGos());
    EXPECT_FALSE(state.g_bGosActive);
    EXPECT_EQ(state.g_nNoResponse, 0);
    mount.replies["GOS"] = "02000020000001";
    EXPECT_TRUE(queries.QueryGos());
    EXPECT_EQ(telescope.calls, std::vector<std::string>{"ParseGOS 02000020000001"});
    EXPECT_EQ(state.g_sStatus, "02000020000001");
}

TEST_F(MountQueriesTest, CoordinateInPlaceOfAStatusText_IsASlip_AndSaysNothingOfTheMount) {
    state.g_bGosSupported = state.g_bGosActive = true;
    motion.MountReportsSlewing(true);
    state.g_sStatus = "020S0020000001";
    int retransmits = 0;
    for (const std::string slipped : {"03:36:03.17", "+45*00:00.0", "283*09:50.7", "-01:00:00.0"}) {
        mount.replies["GOS"] = slipped;
        drains = 0;
        EXPECT_FALSE(queries.QueryGos()) << slipped;
        EXPECT_TRUE(state.g_bResync);
        EXPECT_EQ(drains, 1);
        EXPECT_EQ(counters.Values().g_nRetransmits, ++retransmits);
    }
    EXPECT_TRUE(telescope.calls.empty());
    EXPECT_FALSE(state.g_bGosActive) << "until a good one the slew is watched by its distance";
    EXPECT_TRUE(state.g_bMountSlewing);
    EXPECT_EQ(state.g_sStatus, "020S0020000001");
    EXPECT_TRUE(Logged("GOS Query|2|Ignoring Invalid format response..."));
    mount.replies["GOS"] = "020S0020000001";
    mount.sent.clear();
    EXPECT_TRUE(queries.QueryGos());
    EXPECT_EQ(mount.sent, (std::vector<std::string>{"<clear>", "GOS"}));
}

TEST_F(MountQueriesTest, WhatFollowsTheFieldsOfAStatusText_IsNotLookedAt) {
    state.g_bGosSupported = true;
    mount.replies["GOS"] = "020S0020000001 12:30*";
    EXPECT_TRUE(queries.QueryGos());
    EXPECT_TRUE(state.g_bGosActive);
    mount.replies["GOS"] = "020S002000000:";
    EXPECT_FALSE(queries.QueryGos());
}

TEST_F(MountQueriesTest, FirmwareWithoutAStatusText_IsNotAskedForIt) {
    state.g_bGosActive = true;
    EXPECT_FALSE(queries.QueryGos());
    EXPECT_FALSE(state.g_bGosActive);
    EXPECT_TRUE(mount.sent.empty());
}

// --- what all queries have in common

const std::vector<std::pair<Query, Tick DriverState::*>> kAll{
    {&MountQueries::QueryRa, &DriverState::g_tickLastRa},
    {&MountQueries::QueryDec, &DriverState::g_tickLastDec},
    {&MountQueries::QueryAlt, &DriverState::g_tickLastAlt},
    {&MountQueries::QueryAz, &DriverState::g_tickLastAz},
    {&MountQueries::QueryLst, &DriverState::g_tickLastLst},
    {&MountQueries::QueryTime, &DriverState::g_tickLastTime},
    {&MountQueries::QueryTimeZone, &DriverState::g_tickLastTimeZone},
    {&MountQueries::QuerySideOfMount, &DriverState::g_tickLastSide},
    {&MountQueries::QueryGos, &DriverState::g_tickLastGos},
};

TEST_F(MountQueriesTest, SuspendedPoll_LetsNoQueryTouchAnything) {
    Pass(5'000);
    state.g_bPollSuspended = state.g_bGosSupported = state.g_bGosActive = true;
    for (const auto& [query, stamp] : kAll) {
        const Tick before = state.*stamp;
        EXPECT_FALSE((queries.*query)());
        EXPECT_EQ(state.*stamp, before);
    }
    EXPECT_TRUE(mount.sent.empty());
    EXPECT_TRUE(state.g_bGosActive);
}

TEST_F(MountQueriesTest, WithoutATelescopeObject_TheLabelIsBlankedAndTheStampWritten) {
    const std::vector<Label*> labels{&handBox.lblRA,  &handBox.lblDEC,  &handBox.lblAlt, &handBox.lblAz,
                                     &handBox.lblLST, &handBox.lblTime, &handBox.lblTZ,  &handBox.lblPierSide};
    telescopeThere = nullptr;
    Pass(5'000);
    for (std::size_t i = 0; i < kAll.size(); ++i) {
        if (i < labels.size()) {
            labels[i]->Text("shown");
        }
        EXPECT_FALSE((queries.*kAll[i].first)());
        EXPECT_EQ(state.*kAll[i].second, machine.clock.GetTickCount());
        if (i < labels.size()) {
            EXPECT_EQ(labels[i]->Text(), "");
        }
    }
}

TEST_F(MountQueriesTest, SlippedExchange_IsClearedBeforeEachQueryButThatOfTheAzimuth) {
    state.g_bGosSupported = true;
    for (const auto& [query, stamp] : kAll) {
        mount.sent.clear();
        state.g_bResync = true;
        mount.replies["GZ"] = "010*00:00";
        (queries.*query)();
        ASSERT_FALSE(mount.sent.empty());
        EXPECT_EQ(mount.sent.front() == "<clear>", query != &MountQueries::QueryAz) << mount.sent.front();
    }
}

TEST_F(MountQueriesTest, SilentAzimuth_IsClearedAfterwards_WhenTheExchangeHasSlipped) {
    queries.QueryAz();
    EXPECT_EQ(mount.sent, std::vector<std::string>{"GZ"});
    state.g_bResync = true;
    queries.QueryAz();
    EXPECT_EQ(mount.sent, (std::vector<std::string>{"GZ", "GZ", "<clear>"}));
}

TEST_F(MountQueriesTest, StampsAtTheLoad_BringSlowQueriesAtOnce_AndFastOnesASecondLater) {
    Pass(123'456);
    queries.ResetQueryTimes();
    const Tick now = machine.clock.GetTickCount();
    for (const Tick stamp : {state.g_tickLastRa, state.g_tickLastDec, state.g_tickLastAlt, state.g_tickLastAz}) {
        EXPECT_EQ(stamp, now);
    }
    EXPECT_EQ(state.g_tickLastTime, now - 5'000);
    EXPECT_EQ(state.g_tickLastLst, now - 5'000);
    EXPECT_EQ(state.g_tickLastGos, now - 5'000);
    EXPECT_EQ(state.g_tickLastSide, now - 4'000);
    EXPECT_EQ(state.g_tickLastTimeZone, now - 30'000);
}

TEST_F(MountQueriesTest, IntervalTest_IsStrict_AndAStampCanBeMadeDue) {
    Tick stamp = machine.clock.GetTickCount();
    Pass(1'000);
    EXPECT_FALSE(queries.IsDue(stamp, 1'000));
    Pass(1);
    EXPECT_TRUE(queries.IsDue(stamp, 1'000));
    queries.MakeDue(stamp, 60'000);
    EXPECT_EQ(stamp, machine.clock.GetTickCount() - 60'000);
    machine.clock.SetTick(VirtualClock::kBeforeWrap);
    stamp = Tick{-1};
    EXPECT_FALSE(queries.IsDue(stamp, 1'000));
    machine.clock.SetTick(Tick{1'000});
    EXPECT_TRUE(queries.IsDue(stamp, 1'000));  // a little later, across the wrap
}

TEST_F(MountQueriesTest, ShortRa_IsAskedForAgainOnTheNextTick) {
    mount.replies["GR"] = "12:34.5";
    queries.QueryRa();
    EXPECT_TRUE(queries.IsDue(state.g_tickLastRa, 1'000));
    EXPECT_EQ(mount.Times("!U"), 1);
}

TEST_F(MountQueriesTest, PositionQueries_FeedTheJournalAndBothDisplays) {
    mount.replies["GR"] = "12:34:56.7";
    mount.replies["GD"] = "-05*30:15";
    mount.replies["GA"] = "+45*00:00";
    mount.replies["GZ"] = "123*30:00";
    journal.ResetEvents();
    EXPECT_TRUE(queries.QueryRa());
    EXPECT_TRUE(queries.QueryDec());
    EXPECT_TRUE(queries.QueryAlt());
    EXPECT_TRUE(queries.QueryAz());
    EXPECT_EQ(journal.RaDecInfo(), "1,2,2");
    EXPECT_EQ(statusWindow.lblRA.Text(), "12:34:56.7");
    EXPECT_EQ(handBox.lblRA.Text(), "12:34:56.7");
    EXPECT_EQ(statusWindow.lblDEC.Text(), "-05:30:15");
    EXPECT_EQ(statusWindow.lblAlt.Text(), "+45:00:00");
    EXPECT_EQ(statusWindow.lblAz.Text(), "123:30:00");
}

TEST_F(MountQueriesTest, SlewingParkingOrFlashing_KeepsPositionsOffTheHandBox_ButRemembersThem) {
    mount.replies["GR"] = "12:34:56.7";
    struct Occupied {
        std::function<void()> begin;
        std::function<void()> end;
    };
    const std::vector<Occupied> rows{
        {[&] { motion.SlewBegins(); }, [&] { motion.SlewEnds(); }},
        {[&] { motion.ParkBegins(); }, [&] { motion.ParkEnds(); }},
        {[&] { state.g_bFlashShowing = true; }, [&] { state.g_bFlashShowing = false; }},
    };
    for (const Occupied& row : rows) {
        row.begin();
        handBox.lblRA.Text("SLEWING");
        EXPECT_TRUE(queries.QueryRa());
        EXPECT_EQ(handBox.lblRA.Text(), "SLEWING");
        EXPECT_EQ(statusWindow.lblRA.Text(), "12:34:56.7");
        EXPECT_EQ(queries.LastRaText(), "12:34:56.7");
        row.end();
    }
}

// --- altitude and azimuth by computation

TEST_F(MountQueriesTest, ComputedAltAz_AsksNobody_OnlyWhileTheMountTracksAndTheCompanionIsNotThere) {
    state.g_dRa = 5.0;
    state.g_dDec = 30.0;
    state.g_dSiteLatitude = 47.0;
    mount.replies["GS"] = "06:00:00";
    queries.QueryLst();
    mount.sent.clear();
    handBox.chkCalcAzAlt.Checked(true);
    state.g_bTracking = true;
    EXPECT_TRUE(queries.QueryAlt());
    EXPECT_TRUE(queries.QueryAz());
    EXPECT_TRUE(mount.sent.empty());
    double altitude = 0.0;
    double azimuth = 0.0;
    RaDecToAltAz(47.0, queries.GetLst(), 5.0, 30.0, altitude, azimuth);
    EXPECT_DOUBLE_EQ(state.g_dAlt, altitude);
    EXPECT_DOUBLE_EQ(state.g_dAz, azimuth);
    EXPECT_EQ(handBox.lblAz.Text(), DegreesText(azimuth));
    EXPECT_EQ(state.g_nAnsweredQueries, 3);

    state.g_bTracking = false;
    queries.QueryAlt();
    state.g_bTracking = state.g_bQuayLink = true;
    queries.QueryAz();
    EXPECT_EQ(mount.sent, (std::vector<std::string>{"GA", "GZ"}));
}

TEST_F(MountQueriesTest, ComputedAzimuthOfAFullTurn_IsNorth) {
    state.g_dSiteLatitude = 47.0;
    mount.replies["GS"] = "00:00:00";
    queries.QueryLst();
    state.g_dLst = 1e-17;  // a hair past the meridian, north of the zenith
    state.g_dRa = 0.0;
    state.g_dDec = 80.0;
    double altitude = 0.0;
    double azimuth = 0.0;
    RaDecToAltAz(47.0, queries.GetLst(), 0.0, 80.0, altitude, azimuth);
    ASSERT_EQ(azimuth, 360.0);
    queries.CalcAltAz();
    EXPECT_EQ(state.g_dAz, 0.0);
    EXPECT_EQ(handBox.lblAz.Text(), "00:00:00");
}

TEST_F(MountQueriesTest, ComputedAltAz_CountsAsAnswered_ButHidesNoSilentLine) {
    handBox.chkCalcAzAlt.Checked(true);
    state.g_bTracking = true;
    EXPECT_TRUE(queries.QueryAlt());
    EXPECT_EQ(state.g_nAnsweredQueries, 1);
    queries.QueryRa();
    queries.QueryDec();
    EXPECT_EQ(state.g_nNoResponse, 2);
    EXPECT_TRUE(queries.QueryAlt());
    EXPECT_TRUE(queries.QueryAz());
    EXPECT_EQ(state.g_nNoResponse, 0);
    EXPECT_FALSE(queries.LineIsSilent());
    queries.QueryRa();
    EXPECT_FALSE(state.g_bLostComms);
    EXPECT_TRUE(queries.LineIsSilent());
    EXPECT_TRUE(queries.QueryAlt());
    EXPECT_TRUE(queries.LineIsSilent());
    EXPECT_EQ(state.g_nLinkLosses, 1U);
    queries.QueryRa();
    EXPECT_EQ(state.g_nLinkLosses, 1U) << "the same loss";
}

TEST_F(MountQueriesTest, SilentLine_IsCountedInQuestionsOfEveryKind_AndEndsWithAnyReply) {
    state.g_bGosSupported = state.g_bHasMeridianQuery = true;
    queries.QueryGos();
    EXPECT_FALSE(queries.LineIsSilent());
    queries.QueryTime();  // with the meridian delay
    EXPECT_TRUE(queries.LineIsSilent());
    EXPECT_EQ(state.g_nNoResponse, 1);
    mount.replies["GD"] = "rubbish";
    queries.QueryDec();
    EXPECT_FALSE(queries.LineIsSilent());
    for (int i = 0; i < 3; ++i) {
        queries.QueryRa();
    }
    EXPECT_TRUE(queries.LineIsSilent());
    queries.NoteAnswered();  // an exchange that is no query
    EXPECT_FALSE(queries.LineIsSilent());
    EXPECT_EQ(state.g_nLinkLosses, 2U);
}

TEST_F(MountQueriesTest, RefusedRepliesAndComputedValuesBetweenSilences_HideNoLoss) {
    handBox.chkCalcAzAlt.Checked(true);
    state.g_bTracking = true;
    mount.replies["GD"] = "rubbish";
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(state.g_nLinkLosses, 0U);
        queries.QueryRa();
        queries.QueryDec();
        queries.QueryAlt();
        EXPECT_EQ(state.g_nNoResponse, 0);
        EXPECT_FALSE(queries.LineIsSilent());
    }
    EXPECT_EQ(state.g_nLinkLosses, 1U);
}

// --- sidereal time, side of the pier, counterweight

TEST_F(MountQueriesTest, SiderealTime_RunsOn_AndIsNotShiftedByAReplyThatDropsOut) {
    mount.replies["GS"] = "23:59:50";
    queries.QueryLst();
    Pass(20'000);
    EXPECT_NEAR(queries.GetLst(), 10.0 / 3600.0, 1e-9);
    mount.replies["GS"] = "";
    queries.QueryLst();
    EXPECT_NEAR(queries.GetLst(), 10.0 / 3600.0, 1e-9);
    mount.replies["GS"] = "rubbish";
    queries.QueryLst();
    EXPECT_NEAR(queries.GetLst(), 10.0 / 3600.0, 1e-9);
}

TEST_F(MountQueriesTest, SiderealTime_StaysBelowADayHoweverOldTheReplyIs) {
    constexpr std::int32_t kDayMs = 24 * 60 * 60 * 1000;
    for (const std::int32_t days : {2, 20}) {
        mount.replies["GS"] = "23:00:00";
        queries.QueryLst();
        Pass(days * kDayMs + 2 * 3'600'000);
        EXPECT_NEAR(queries.GetLst(), 1.0, 1e-6) << days;
    }
}

TEST_F(MountQueriesTest, SiderealTime_AfterATurnOfTheTickCounter_IsStillATimeOfDay) {
    mount.replies["GS"] = "23:00:00";
    queries.QueryLst();
    constexpr std::int32_t kTenDaysMs = 10 * 24 * 60 * 60 * 1000;
    for (int i = 0; i < 5; ++i) {
        Pass(kTenDaysMs);
        EXPECT_GE(queries.GetLst(), 0.0) << i;
        EXPECT_LT(queries.GetLst(), 24.0) << i;
    }
}

TEST_F(MountQueriesTest, SiderealTimeByComputation_IsForFirmwareWithoutAMeridianDelay) {
    machine.astronomy.lst = 7.5;
    handBox.chkCalcLST.Checked(true);
    EXPECT_EQ(queries.GetLst(), 7.5);
    state.g_bHasMeridianQuery = true;
    EXPECT_LT(queries.GetLst(), 1.0);
}

TEST_F(MountQueriesTest, SideForThePlan_FollowsTheSiderealTimeOfThePlan) {
    mount.replies["GS"] = "12:00:00";
    queries.QueryLst();
    handBox.chkCalcLST.Checked(true);
    machine.astronomy.lst = 12.0;
    state.g_dRa = 11.0;
    queries.QuerySideOfMount();
    ASSERT_EQ(state.g_nSideOfPier, pier_side::East);
    machine.astronomy.lst = 10.0;  // with the longitude of the plan
    EXPECT_EQ(queries.PlanSide(queries.PlanLst(0.0) - state.g_dRa), pier_side::West);
    handBox.chkCalcLST.Checked(false);
    EXPECT_EQ(queries.PlanSide(queries.PlanLst(0.0) - state.g_dRa), pier_side::East);
}

struct SideRow {
    std::string name, version, reply;
    double hourAngle;
    std::int16_t side;
    bool asked;
};

class SideOfMountTest : public StateFixture, public testing::WithParamInterface<SideRow> {};

TEST_P(SideOfMountTest, Side_IsTheMountsWord_OrThatOfTheHourAngle) {
    const SideRow& row = GetParam();
    mount.replies["GS"] = "12:00:00";
    queries.QueryLst();
    mount.sent.clear();
    state.g_dRa = 12.0 - row.hourAngle;
    state.g_sVersion = row.version;
    mount.replies["pS"] = row.reply;
    EXPECT_TRUE(queries.QuerySideOfMount());
    EXPECT_EQ(state.g_nSideOfPier, row.side);
    EXPECT_EQ(state.g_bWestSide, row.side == 1);
    EXPECT_EQ(mount.Times("pS"), row.asked ? 1 : 0);
    EXPECT_EQ(handBox.lblPierSide.Text(), row.side == 1 ? "West" : "East");
    EXPECT_EQ(statusWindow.lblPierSide.Text(), handBox.lblPierSide.Text());
}

INSTANTIATE_TEST_SUITE_P(Rows, SideOfMountTest,
                         testing::Values(SideRow{"WordEast", "D", "East", -3.0, 0, true},
                                         SideRow{"WordWest", "VKC4-P02-08", "West", 3.0, 1, true},
                                         SideRow{"OtherWordAfterMeridian", "E3", "east", 3.0, 0, true},
                                         SideRow{"OtherWordBeforeMeridian", "E3", "12:00:00", -3.0, 1, true},
                                         SideRow{"SilenceBeforeMeridian", "S", "", -3.0, 1, true},
                                         SideRow{"LetterC", "C", "West", 3.0, 0, false},
                                         SideRow{"LetterCWithMore", "C1", "West", 3.0, 1, true},
                                         SideRow{"LetterB9", "B9", "West", -3.0, 1, false},
                                         SideRow{"NoVersion", "", "East", -3.0, 1, false}),
                         [](const auto& row) { return row.param.name; });

struct CounterweightRow {
    std::int16_t side;
    double hourAngle;
    bool up;
};

class CounterweightTest : public StateFixture, public testing::WithParamInterface<CounterweightRow> {};

TEST_P(CounterweightTest, Counterweight_IsUpOnTheWrongSideOfTheMeridian) {
    state.g_nSideOfPier = GetParam().side;
    state.g_dHourAngle = GetParam().hourAngle;
    queries.UpdateCounterweightState();
    EXPECT_EQ(state.g_bCounterweightUp, GetParam().up);
    EXPECT_EQ(handBox.lblCwUp.Visible(), GetParam().up);
}

INSTANTIATE_TEST_SUITE_P(Rows, CounterweightTest,
                         testing::Values(CounterweightRow{0, -11.999, false}, CounterweightRow{0, -11.9, true},
                                         CounterweightRow{0, -0.002, true}, CounterweightRow{0, -0.001, false},
                                         CounterweightRow{0, 3.0, false}, CounterweightRow{1, 0.001, false},
                                         CounterweightRow{1, 0.002, true}, CounterweightRow{1, 11.998, true},
                                         CounterweightRow{1, 11.999, false}, CounterweightRow{1, -3.0, false}));

TEST_F(MountQueriesTest, HourAngle_IsFoldedAndShown_UnlessCommunicationsAreLost) {
    mount.replies["GS"] = "01:00:00";
    state.g_dRa = 23.0;
    queries.QueryLst();
    EXPECT_NEAR(state.g_dHourAngle, 2.0, 1e-9);
    EXPECT_EQ(statusWindow.lblHourAngle.Text(), "+02:00:00.0");
    EXPECT_EQ(statusWindow.lblLST.Text(), "01:00:00.0");
    EXPECT_EQ(handBox.lblLST.Text(), "01:00:00.0");
    handBox.m_bShowHA = true;
    queries.UpdateHourAngle();
    EXPECT_EQ(handBox.lblLST.Text(), "+02:00:00.0");
    for (bool DriverState::*lost : {&DriverState::g_bLostComms, &DriverState::g_bLowPower}) {
        state.*lost = true;
        state.g_dRa = 1.0;
        queries.UpdateHourAngle();
        EXPECT_NEAR(state.g_dHourAngle, 2.0, 1e-9);
        state.*lost = false;
    }
}

// --- a mount that was never told where it stands

class PowerOnPositionTest : public StateFixture {
protected:
    void Report(const std::string& ra, const std::string& dec) {
        mount.replies["GR"] = ra;
        mount.replies["GD"] = dec;
        queries.QueryRa();
        queries.QueryDec();
        queries.CheckInitialPosition();
    }
    int Filled() const { return telescope.Times("InitUI"); }
};

TEST_F(PowerOnPositionTest, EverySecondReport_FillsTheHandBoxAnew) {
    for (const int filled : {1, 1, 2, 2, 3, 3}) {
        Report("00:00:00.0", "+90*00:00");
        EXPECT_EQ(Filled(), filled);
    }
}

TEST_F(PowerOnPositionTest, PoleWithARightAscensionThatWasNeverRead_IsNoPowerOnPosition) {
    for (int i = 0; i < 3; ++i) {
        Report("03:30.5", "+90*00:00");  // the short format of a mount that tracks at the pole
    }
    EXPECT_EQ(Filled(), 0);
    Report("00:00:00.0", "+90*00:00");
    EXPECT_EQ(Filled(), 1);
}

TEST_F(PowerOnPositionTest, AnyOtherPosition_StartsAfresh) {
    Report("00:00:00.0", "+90*00:00");
    Report("00:00:00.0", "+89*59:24");
    EXPECT_FALSE(state.g_bInitUiDone);
    Report("00:00:00.0", "+90*00:00");
    EXPECT_EQ(Filled(), 2);
    Report("00:00:00.4", "+90*00:00");
    Report("00:00:00.4", "+90*00:00");
    EXPECT_EQ(Filled(), 2);
}

TEST_F(PowerOnPositionTest, OpenConfirmation_BlocksOnlyTheClearing) {
    state.g_bUnparkConfirmOpen = true;
    Report("00:00:00.0", "+90*00:00");
    EXPECT_EQ(Filled(), 1);
    for (int i = 0; i < 5; ++i) {
        Report("00:00:00.0", "+90*00:00");
    }
    EXPECT_EQ(Filled(), 1);
    EXPECT_TRUE(state.g_bInitUiDone);
    Report("01:00:00.0", "+90*00:00");
    EXPECT_FALSE(state.g_bInitUiDone);
    EXPECT_FALSE(state.g_bUnparkConfirmOpen);
}

}  // namespace
}  // namespace kestrane
