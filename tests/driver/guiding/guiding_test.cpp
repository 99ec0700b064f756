#include <array>
#include <gtest/gtest.h>

#include "driver/guiding/guiding_fixture.h"
#include "kernel/base/conversions.h"

/// The forms of a guide pulse, its commands and its journal.
namespace kestrane {
namespace {

struct FormRow {
    std::string_view firmware;
    bool synchronous;
    std::int32_t direction;
    std::int32_t duration;
    std::string wire;
    std::int64_t returnsMs;

    friend void PrintTo(const FormRow& row, std::ostream* out) {
        *out << row.firmware << (row.synchronous ? " sync " : " async ") << row.direction << "/" << row.duration;
    }
};

class PulseFormTest : public GuidingTest, public testing::WithParamInterface<FormRow> {};

TEST_P(PulseFormTest, Wire) {
    const FormRow& row = GetParam();
    ConnectTo(row.firmware, {{"chkSynchronousPulseGuide", row.synchronous ? "1" : "0"}});
    EXPECT_EQ(WireOf(row.direction, row.duration, row.duration + 1'000), row.wire);
    EXPECT_GE(returnedMs, row.returnsMs);
    EXPECT_LE(returnedMs, row.returnsMs + (row.duration > 1'000 ? 50 : 0));  // what it pumped last may run on
    EXPECT_EQ(Flags(), "");
    EXPECT_FALSE(AnyTimerRuns());
    EXPECT_TRUE(Logged("Exiting PulseGuide"));
    ExpectOnlyTracking();
}

// The rate command has its pause of 10 ms, and there are 10 ms before the move.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Asynchronous, PulseFormTest, testing::Values(
    FormRow{kUntimed,      false, 0,      500, "0:RG2 20:Mn 520:Qn",         20},
    FormRow{kUntimed,      false, 1,      500, "0:RG2 20:Ms 520:Qs",         20},
    FormRow{kUntimed,      false, 2,      500, "0:RG2 20:Me 520:Qe",         20},
    FormRow{kUntimed,      false, 3,      500, "0:RG2 20:Mw 520:Qw",         20},
    FormRow{kUntimed,      false, 0,        1, "0:RG2 20:Mn 21:Qn",          21},
    FormRow{kUntimed,      false, 0,      149, "0:RG2 20:Mn 169:Qn",        169},
    FormRow{kUntimed,      false, 0,      150, "0:RG2 20:Mn 170:Qn",         20},
    FormRow{kBrieflyTimed, false, 0,        1, "0:RG2 20:Mn1",               20},
    FormRow{kBrieflyTimed, false, 2,      149, "0:RG2 20:Me149",             20},
    FormRow{kBrieflyTimed, false, 0,      999, "0:RG2 20:Mn999",             20},
    FormRow{kBrieflyTimed, false, 0,     1000, "0:RG2 20:Mn 1020:Qn",        20},
    FormRow{kLongTimed,    false, 3,      999, "0:RG2 20:Mw999",             20},
    FormRow{kLongTimed,    false, 3,     1000, "0:RG2 20:Mw1000 1020:Qw",    20},
    FormRow{kLongTimed,    false, 0,    99999, "0:RG2 20:Mn99999 100019:Qn", 20},
    FormRow{kLongTimed,    false, 0,   100000, "0:RG2 20:Mn 100020:Qn",      20}));
INSTANTIATE_TEST_SUITE_P(Synchronous, PulseFormTest, testing::Values(
    FormRow{kUntimed,      true,  1,      500, "0:RG2 20:Ms 520:Qs",        520},
    FormRow{kUntimed,      true,  2,      100, "0:RG2 20:Me 120:Qe",        120},
    FormRow{kUntimed,      true,  2,      101, "0:RG2 20:Me 121:Qe",        121},
    FormRow{kBrieflyTimed, true,  2,      999, "0:RG2 20:Me999",           1019},
    FormRow{kBrieflyTimed, true,  2,     1000, "0:RG2 20:Me 1020:Qe",      1020},
    FormRow{kLongTimed,    true,  3,     1500, "0:RG2 20:Mw1500",          1520},
    FormRow{kLongTimed,    true,  3,   100000, "0:RG2 20:Mw 100020:Qw",  100020}));
// clang-format on

class PulseTest : public GuidingTest {};

TEST_F(PulseTest, AShortOpenPulse_ArmsNoTimer_ALongerOneDoes) {
    ConnectTo(kUntimed);
    Begin();
    GuideAt(0, 0, 149);
    StopAt(100, [&] {
        EXPECT_EQ(Flags(), "N");
        EXPECT_FALSE(AnyTimerRuns());
    });
    machine.AdvanceTime(590);
    EXPECT_EQ(Flags(), "");
    GuideAt(600, 0, 150);
    machine.AdvanceTime(100);
    EXPECT_EQ(Flags(), "N");
    EXPECT_TRUE(driver->handBox.tmrNorthStop.Enabled());
    EXPECT_EQ(driver->handBox.tmrNorthStop.Interval(), 150);
    EXPECT_FALSE(Logged("North Move Complete"));
    machine.AdvanceTime(100);
    EXPECT_EQ(Flags(), "");
    EXPECT_TRUE(LoggedAs("PulseGuide", 0, "North Move Complete"));
}

TEST_F(PulseTest, LogLines) {
    ConnectTo(kLongTimed);
    const std::array<std::string, 4> names{"North", "South", "East", "West"};
    for (std::int32_t direction = 0; direction < 4; ++direction) {
        const std::string& name = names[static_cast<std::size_t>(direction)];
        log.clear();
        telescope->PulseGuide(direction, 200);
        machine.AdvanceTime(1'000);
        EXPECT_TRUE(LoggedAs("ASCOM", 0, "PulseGuide(" + std::to_string(direction) + ", 200) -- Synchronous: False"));
        EXPECT_TRUE(LoggedAs("ASCOM", 0, "Exiting PulseGuide"));
        EXPECT_TRUE(LoggedAs("PulseGuide", 0, name + " Move Complete"));
        EXPECT_TRUE(LoggedAs("ASCOM", 0, "TX: :M" + std::string(1, "nsew"[direction]) + "200#"));
    }
    driver->handBox.chkSynchronousPulseGuide.Checked(true);
    log.clear();
    telescope->PulseGuide(0, 200);
    EXPECT_TRUE(Logged("PulseGuide(0, 200) -- Synchronous: True"));
    EXPECT_FALSE(Logged("North Move Complete"));
}

TEST_F(PulseTest, EachGuideRate_GoesOutBeforeTheMove) {
    ConnectTo(kLongTimed);
    struct Row {
        double rate;
        std::string command;
        std::string value;
    };
    for (const Row& row :
         {Row{0.25, "RG0", "0"}, Row{0.2511, "RG2", "2"}, Row{0.2509, "RG0", "0"}, Row{0.5, "RG1", "1"},
          Row{0.499, "RG1", "1"}, Row{1.0, "RG2", "2"}, Row{0.75, "RG2", "2"}, Row{0.0, "RG2", "2"}}) {
        driver->state.g_dGuideRate = row.rate;
        driver->journal.ResetEvents();
        EXPECT_EQ(WireOf(2, 100, 500), "0:" + row.command + " 20:Me100") << row.rate;
        EXPECT_EQ(driver->journal.PulseGuideEvents("0"), "1,0,4,1,10," + row.value + ",100,1,1") << row.rate;
    }
}

TEST_F(PulseTest, TheJournalHasItsCodesForTheDirections) {
    ConnectTo(kLongTimed);
    driver->journal.ResetEvents();
    for (const std::int32_t direction : {0, 1, 2, 3}) {
        telescope->PulseGuide(direction, 100 + direction);
        machine.AdvanceTime(980);
    }
    EXPECT_EQ(driver->journal.PulseGuideEvents("0"), "1,0,4,4,10,2,100,3,1010,2,101,4,2010,2,102,1,3010,2,103,2,4");
}

// --- the axis is cleared first --------------------------------------------------------------------------------------

TEST_F(PulseTest, APulseInPlaceOfAnother_StopsItFirst) {
    ConnectTo(kUntimed);
    Begin();
    GuideAt(0, 0, 5'000);
    GuideAt(1'000, 1, 400);
    machine.AdvanceTime(1'100);
    EXPECT_EQ(Flags(), "S");
    EXPECT_FALSE(driver->handBox.tmrNorthStop.Enabled());
    machine.AdvanceTime(8'000);
    EXPECT_EQ(Wire(), "0:RG2 20:Mn 1000:Q 1000:RG2 1020:Ms 1420:Qs");
    EXPECT_EQ(Flags(), "");
    EXPECT_TRUE(Logged("TX: :Q#"));  // the light form
    EXPECT_FALSE(Logged("North Move Complete"));
}

TEST_F(PulseTest, TheStopOfTheOtherAxis_LeavesTheFlagAndTheTimerOfThisOne) {
    ConnectTo(kUntimed);
    Begin();
    GuideAt(0, 0, 2'000);
    GuideAt(100, 2, 2'000);
    GuideAt(500, 2, 300);
    machine.AdvanceTime(900);
    EXPECT_EQ(Flags(), "N");  // ended in the mount, and accepted
    ExpectOnlyTracking();
    machine.AdvanceTime(4'000);
    EXPECT_EQ(Wire(), "0:RG2 20:Mn 100:RG2 120:Me 500:Q 500:RG2 520:Me 820:Qe 2020:Qn");
    EXPECT_EQ(Flags(), "");
}

TEST_F(PulseTest, TwoAxesAtOnce_BothFlagsStayUpUntilTheirTimers) {
    for (const std::string_view firmware : {kUntimed, kLongTimed}) {
        SCOPED_TRACE(firmware);
        EndTheDriver();
        ConnectTo(firmware);
        Begin();
        GuideAt(0, 2, 800);
        GuideAt(50, 0, 300);
        machine.AdvanceTime(200);
        EXPECT_EQ(Flags(), "NE");
        EXPECT_NE(mount->Picture().polarSpeed, 0.0);
        EXPECT_TRUE(telescope->IsPulseGuiding());
        machine.AdvanceTime(250);
        EXPECT_EQ(Flags(), "E");
        EXPECT_TRUE(telescope->IsPulseGuiding());
        machine.AdvanceTime(500);
        EXPECT_FALSE(telescope->IsPulseGuiding());
        EXPECT_EQ(Wire(),
                  firmware == kUntimed ? "0:RG2 20:Me 50:RG2 70:Mn 370:Qn 820:Qe" : "0:RG2 20:Me800 50:RG2 70:Mn300");
    }
}

struct ZeroRow {
    std::int32_t duration;
    std::int32_t direction;
    bool northRuns;
    std::string wire;
};

TEST_F(PulseTest, NoDuration_EndsThePulseOfTheAxis_OrElseStopsTheMount) {
    ConnectTo(kUntimed);
    for (const ZeroRow& row : {ZeroRow{0, 0, false, "0:Q"}, ZeroRow{-5, 2, false, "0:Q"}, ZeroRow{0, 0, true, "0:Q"},
                               ZeroRow{0, 1, true, "0:Q"}, ZeroRow{0, 3, true, "0:Q"}, ZeroRow{0, 9, false, "0:Q"}}) {
        if (row.northRuns) {
            telescope->PulseGuide(0, 60'000);
        }
        log.clear();
        driver->panel.SetUiGuideIndicator(2, true);
        EXPECT_EQ(WireOf(row.direction, row.duration, 2'000), row.wire) << row.direction;
        EXPECT_EQ(Flags(), "") << row.direction;
        EXPECT_FALSE(AnyTimerRuns());
        const bool onTheAxis = row.northRuns && row.direction < 2;
        EXPECT_EQ(Logged("TX: :Q#"), onTheAxis) << row.direction;                 // the light form
        EXPECT_EQ(Logged("CommandBlind TX=':Q#'"), !onTheAxis) << row.direction;  // the other
        EXPECT_EQ(driver->handBox.lblGuideEast.BackColour() == driver->handBox.lblGuideWest.BackColour(), !onTheAxis);
        EXPECT_FALSE(Logged("Exiting PulseGuide"));
        driver->panel.SetUiGuideIndicator(-1, false);
    }
}

TEST_F(PulseTest, AnUnknownDirection_SendsTheRate_AndMovesNothing) {
    for (const bool synchronous : {false, true}) {
        EndTheDriver();
        ConnectTo(kUntimed, {{"chkSynchronousPulseGuide", synchronous ? "1" : "0"}});
        for (const std::int32_t direction : {4, -1, 1'000'000}) {
            driver->journal.ResetEvents();
            EXPECT_EQ(WireOf(direction, 700, 2'000), "0:RG2") << direction;
            EXPECT_EQ(returnedMs, 20);
            EXPECT_EQ(Flags(), "");
            EXPECT_FALSE(AnyTimerRuns());
            EXPECT_EQ(driver->journal.PulseGuideEvents("0"), "1,0,4,1,10,2,700,0,1");
        }
    }
}

TEST_F(PulseTest, AnUnknownDirection_ClearsEastAndWest) {
    ConnectTo(kUntimed);
    Begin();
    GuideAt(0, 3, 5'000);
    GuideAt(100, 0, 5'000);
    GuideAt(500, 7, 100);
    machine.AdvanceTime(1'000);
    EXPECT_EQ(Flags(), "N");
    EXPECT_EQ(Wire(), "0:RG2 20:Mw 100:RG2 120:Mn 500:Q 500:RG2");
}

TEST_F(PulseTest, Checks) {
    ConnectTo(kLongTimed);
    driver->motion.MountReportsParked(true);
    EXPECT_EQ(ErrorOf([&] { telescope->PulseGuide(0, 100); }), 0x80040409U);
    driver->motion.MountReportsParked(false);
    telescope->Tracking(false);
    EXPECT_EQ(ErrorOf([&] { telescope->PulseGuide(0, 100); }), 0U);  // tracking as it is
    machine.AdvanceTime(1'000);
    driver->state.g_bConnected = false;
    EXPECT_EQ(ErrorOf([&] { telescope->PulseGuide(0, 100); }), 0x80040404U);
    driver->state.g_bConnected = true;
}

TEST_F(PulseTest, TheMarksOfTheHandBox_FollowTheFlags_WhenTheyAreWanted) {
    for (const bool wanted : {false, true}) {
        EndTheDriver();
        ConnectTo(kUntimed, {{"chkShowPulseGuideMovements", wanted ? "1" : "0"}});
        const frmHandBox& box = driver->handBox;
        const Label* const marks[] = {&box.lblGuideNorth, &box.lblGuideSouth, &box.lblGuideEast, &box.lblGuideWest};
        const std::int32_t dark = box.lblGuideNorth.BackColour();
        for (const std::int32_t direction : {0, 1, 2, 3}) {
            telescope->PulseGuide(direction, 400);
            for (const std::int32_t other : {0, 1, 2, 3}) {
                EXPECT_EQ(marks[other]->BackColour() != dark, wanted && other == direction) << direction << other;
            }
            machine.AdvanceTime(1'000);
            EXPECT_EQ(marks[direction]->BackColour(), dark);
        }
    }
}

TEST_F(PulseTest, TheCheckBox_DecidesForTheNextPulse) {
    ConnectTo(kLongTimed);
    driver->handBox.chkSynchronousPulseGuide.Checked(true);
    EXPECT_TRUE(driver->state.g_bSynchronousPulseGuide);
    EXPECT_EQ(WireOf(0, 200, 500), "0:RG2 20:Mn200");
    EXPECT_EQ(returnedMs, 220);
    driver->handBox.chkSynchronousPulseGuide.Checked(false);
    EXPECT_EQ(WireOf(0, 200, 500), "0:RG2 20:Mn200");
    EXPECT_EQ(returnedMs, 20);
}

TEST_F(PulseTest, DuringASlew_PulsesGoOut) {
    ConnectTo(kUntimed);
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 2.0), 20.0);
    EXPECT_EQ(WireOf(0, 200, 1'000), "0:RG2 20:Mn 220:Qn");
    EXPECT_TRUE(WaitForEnd());
}

}  // namespace
}  // namespace kestrane
