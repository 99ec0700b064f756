#include "state/event_journal.h"

#include "state/state_fixture.h"

namespace kestrane {
namespace {

class EventJournalTest : public StateFixture {
protected:
    EventJournalTest() { state.g_nDisplayedRate = 1; }

    /// So many different positions, one a millisecond.
    void AddPositions(int count) {
        for (int i = 0; i < count; ++i) {
            Pass(1);
            journal.AddRaDecEvent(12.5, 0.001 * static_cast<double>(++positions_));
        }
    }

private:
    int positions_ = 0;
};

TEST_F(EventJournalTest, NewJournal_IsEmpty) {
    EXPECT_EQ(journal.PulseGuideInfo(), "1,0,0");
    EXPECT_EQ(journal.RaDecInfo(), "1,0,0");
    EXPECT_EQ(journal.PulseGuideEvents("0"), "1,0,4,0,0");
    EXPECT_EQ(journal.RaDecEvents("998"), "1,998,4,2,-1,0,0,-1,0,0,0");
    EXPECT_EQ(journal.PulseGuideEvents("999"), "1,999,4,1,-1,0,0,0,0");
}

TEST_F(EventJournalTest, ReferenceTime_HasTwoDigitsInAllButTheYear) {
    machine.clock.SetLocalTime({2024, 3, 5, 4, 6, 7, 890});
    journal.ResetEvents();
    Pass(90'000);
    EXPECT_EQ(journal.ReferenceTime(), "1,2024,03,05,04,06,07");
}

TEST_F(EventJournalTest, Pulses_AreReadOldestFirst_AndTheReadEndsWithTheNextIndex) {
    journal.ResetEvents();
    Pass(1'500);
    journal.AddPulseGuideEvent(2, 350, 1);
    Pass(500);
    journal.AddPulseGuideEvent(-1, 20'000, 4);
    EXPECT_EQ(journal.PulseGuideInfo(), "1,2,2");
    EXPECT_EQ(journal.PulseGuideEvents("0"), "1,0,4,2,1500,2,350,1,2000,-1,20000,4,2");
    EXPECT_EQ(journal.PulseGuideEvents("1"), "1,1,4,1,2000,-1,20000,4,2");
}

TEST_F(EventJournalTest, Positions_AreReadWithRaBeforeDec) {
    journal.ResetEvents();
    Pass(150);
    journal.AddRaDecEvent(12.5, -5.25);
    EXPECT_EQ(journal.RaDecEvents("0"), "1,0,4,1,150,12.5,-5.25,1");
}

TEST_F(EventJournalTest, MoveInRaAndDec_IsTwoEntries_AndAnEqualPositionNone) {
    journal.AddRaDecEvent(1.0, 10.0);
    journal.AddRaDecEvent(2.0, 10.0);
    journal.AddRaDecEvent(2.0, 20.0);
    journal.AddRaDecEvent(2.0, 20.0);
    EXPECT_EQ(journal.RaDecInfo(), "1,3,3");
    EXPECT_EQ(state.g_nSamePosition, 1);
    journal.AddRaDecEvent(2.0, 21.0);
    EXPECT_EQ(state.g_nSamePosition, 0);
}

TEST_F(EventJournalTest, IndexEqualToTheWriteIndex_ReadsNothing) {
    AddPositions(5);
    EXPECT_EQ(journal.RaDecEvents("5"), "1,5,4,0,5");
}

TEST_F(EventJournalTest, FullRing_StandsAtItsEnd_AndIsReadWholeFromItsStart) {
    AddPositions(1000);
    EXPECT_EQ(journal.RaDecInfo(), "1,1000,1000");
    EXPECT_TRUE(journal.RaDecEvents("0").starts_with("1,0,4,1000,1,12.5,0.001,"));
    EXPECT_TRUE(journal.RaDecEvents("0").ends_with(",1000,12.5,1,0"));
    EXPECT_EQ(journal.RaDecEvents("999"), "1,999,4,1,1000,12.5,1,0");
}

TEST_F(EventJournalTest, FullRing_IsOverwrittenFromItsStart_AndReadAcrossItsEnd) {
    AddPositions(1002);
    EXPECT_EQ(journal.RaDecInfo(), "1,1002,2");
    EXPECT_EQ(journal.RaDecEvents("998"), "1,998,4,4,999,12.5,0.999,1000,12.5,1,1001,12.5,1.001,1002,12.5,1.002,2");
    EXPECT_TRUE(journal.RaDecEvents("2").starts_with("1,2,4,0,"));
    EXPECT_TRUE(journal.RaDecEvents("3").starts_with("1,3,4,999,4,12.5,0.004,"));  // the oldest but one
}

TEST_F(EventJournalTest, PulseRing_WrapsLikewise) {
    for (std::int32_t i = 1; i <= 2001; ++i) {
        journal.AddPulseGuideEvent(0, i, 3);
    }
    EXPECT_EQ(journal.PulseGuideInfo(), "1,2001,1");
    EXPECT_EQ(journal.PulseGuideEvents("999"), "1,999,4,2,0,0,2000,3,0,0,2001,3,1");
}

TEST_F(EventJournalTest, MillionsOfEvents_TakeNoMoreMemory_AndGoOnBeingCounted) {
    for (int i = 0; i < 100'000; ++i) {
        journal.AddRaDecEvent(i % 24, 0.0);
        journal.AddPulseGuideEvent(1, 1, 1);
    }
    EXPECT_EQ(journal.PulseGuideInfo(), "1,100000,1000");
    EXPECT_EQ(journal.RaDecInfo(), "1,100000,1000");
    static_assert(sizeof(EventJournal) < 64 * 1024);
}

TEST_F(EventJournalTest, Reset_EmptiesBoth_AndMakesTheNextReportAnEntryWhateverItIs) {
    AddPositions(3);
    journal.AddRaDecEvent(1.0, 2.0);
    journal.AddPulseGuideEvent(1, 2, 3);
    Pass(10'000);
    journal.ResetEvents();
    EXPECT_EQ(journal.RaDecInfo(), "1,0,0");
    EXPECT_EQ(journal.PulseGuideInfo(), "1,0,0");
    journal.AddRaDecEvent(1.0, 2.0);
    EXPECT_EQ(journal.RaDecEvents("0"), "1,0,4,1,0,1,2,1");
}

struct BadArgument {
    std::string argument, answer;
};

class JournalArgumentTest : public EventJournalTest, public testing::WithParamInterface<BadArgument> {};

TEST_P(JournalArgumentTest, BadIndex_IsRefusedWithTheHighestOneInWords) {
    EXPECT_EQ(journal.PulseGuideEvents(GetParam().argument), "0,GetPulseGuideEvents " + GetParam().answer);
    EXPECT_EQ(journal.RaDecEvents(GetParam().argument), "0,GetRaDecEvents " + GetParam().answer);
}

constexpr const char* kOutOfRange = "argument must have an index 0-999";
INSTANTIATE_TEST_SUITE_P(Arguments, JournalArgumentTest,
                         testing::Values(BadArgument{"", "no index argument must have an index 0-999"},  //
                                         BadArgument{"1000", kOutOfRange},                               //
                                         BadArgument{"-1", kOutOfRange},                                 //
                                         BadArgument{"999.6", kOutOfRange},                              //
                                         BadArgument{"1e300", kOutOfRange},                              //
                                         BadArgument{"99999999999999", kOutOfRange},                     //
                                         BadArgument{"x", kOutOfRange},                                  //
                                         BadArgument{"5x", kOutOfRange},                                 //
                                         BadArgument{" ", kOutOfRange},                                  //
                                         BadArgument{"1;2", kOutOfRange}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

class JournalIndexTest : public EventJournalTest {};

TEST_F(JournalIndexTest, AWholeIndex_IsTakenWithAFractionOfZerosToo) {
    for (const char* index : {"0.0", " 0.00 ", "0,0", "0."}) {
        EXPECT_EQ(journal.PulseGuideEvents(index), journal.PulseGuideEvents("0")) << index;
    }
    EXPECT_EQ(journal.RaDecEvents("5.0"), journal.RaDecEvents("5"));
    EXPECT_EQ(journal.RaDecEvents("5.5"), journal.RaDecEvents("x"));
}

// --- what a position that stands still means

class StandingStillTest : public StateFixture {
protected:
    void Report(int times, double ra = 3.0, double dec = 40.0) {
        for (int i = 0; i < times; ++i) {
            journal.AddRaDecEvent(ra, dec);
        }
    }
};

TEST_F(StandingStillTest, ThirdRepeat_ShowsThatTheMountTracks_WhereNoRateIsShown) {
    Report(3);
    EXPECT_FALSE(state.g_bTracking);
    EXPECT_TRUE(panel.calls.empty());
    Report(1);
    EXPECT_TRUE(state.g_bTracking);
    EXPECT_EQ(panel.calls, std::vector<std::string>{"ShowTrackingRate 1"});
    EXPECT_TRUE(Logged("AddRaDecEvent|0|Determined Tracking rate is enabled!"));
}

TEST_F(StandingStillTest, ShownRate_IsLeftAlone) {
    state.g_nDisplayedRate = 0;
    Report(20);
    EXPECT_FALSE(state.g_bTracking);
    EXPECT_TRUE(panel.calls.empty());
}

TEST_F(StandingStillTest, ParkedMountWithoutAStatusText_IsUnparkedByTheSecondRepeat) {
    state.g_nDisplayedRate = 0;
    motion.MountReportsParked(true);
    Report(2);
    EXPECT_TRUE(state.g_bParked);
    EXPECT_EQ(state.g_nSamePosition, 2);
    Report(1);
    EXPECT_FALSE(state.g_bParked);
    EXPECT_EQ(state.g_nSamePosition, 4);
    EXPECT_EQ(panel.calls, std::vector<std::string>{"SetParkStatus Unparked AddRaDecEvent"});
}

TEST_F(StandingStillTest, ParkedMountWhoseStatusTextIsUsable_StaysParked) {
    motion.MountReportsParked(true);
    state.g_bGosActive = true;
    Report(20);
    EXPECT_TRUE(state.g_bParked);
}

TEST_F(StandingStillTest, ParkedMountThatWasNeverToldWhereItStands_StaysParked) {
    motion.MountReportsParked(true);
    Report(20, 0.0, 90.0);
    EXPECT_TRUE(state.g_bParked);
    EXPECT_EQ(state.g_nSamePosition, 19);  // counted once each
}

TEST_F(StandingStillTest, ParkedMountWhoseRaGoesOn_StaysParked) {
    motion.MountReportsParked(true);
    for (int i = 0; i < 100; ++i) {
        Report(2, 3.0 + i / 3600.0, 40.0);
    }
    EXPECT_TRUE(state.g_bParked);
}

TEST_F(StandingStillTest, NegativeCount_StartsAgainAtZero_AndTheGreatestStays) {
    state.g_nDisplayedRate = 1;
    Report(1);
    state.g_nSamePosition = -5;
    Report(1);
    EXPECT_EQ(state.g_nSamePosition, 1);
    state.g_nSamePosition = INT16_MAX;
    Report(2);
    EXPECT_EQ(state.g_nSamePosition, INT16_MAX);
}

class JournalTimeTest : public StateFixture {
protected:
    JournalTimeTest() : StateFixture(VirtualClock::kBeforeWrap) {}
};

TEST_F(JournalTimeTest, TimesOfEvents_GoOnAcrossTheWrapOfTheCounter) {
    Pass(59'000);
    journal.AddPulseGuideEvent(1, 10, 2);
    Pass(2'000);
    journal.AddPulseGuideEvent(1, 10, 2);
    EXPECT_EQ(journal.PulseGuideEvents("0"), "1,0,4,2,59000,1,10,2,61000,1,10,2,2");
}

}  // namespace
}  // namespace kestrane
