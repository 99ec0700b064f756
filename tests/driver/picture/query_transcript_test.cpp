#include <algorithm>
#include <gtest/gtest.h>

#include "driver/picture/query_transcript_fixture.h"

namespace kestrane {
namespace {

TEST_F(QueryTranscriptTest, GoodReplies_AreKeptAndShown) {
    Play(R"(
        0   = Ra -> True
        0   > :GR#
        10  < 12:34:56.7#
        50  = Dec -> True
        50  > :GD#
        60  < -05*30:15#
        100 = Alt -> True
        100 > :GA#
        110 < +45*00:00#
        150 = Az -> True
        150 > :GZ#
        160 < 123*30:00#
        200 = Lst -> True
        200 > :GS#
        210 < 11:00:00#
        250 = Side -> True
        250 > :pS#
        260 < West#
    )");
    EXPECT_EQ(driver->handBox.lblRA.Text(), "12:34:56.7");
    EXPECT_EQ(driver->handBox.lblDEC.Text(), "-05:30:15");
    EXPECT_EQ(driver->handBox.lblAlt.Text(), "+45:00:00");
    EXPECT_EQ(driver->handBox.lblAz.Text(), "123:30:00");
    EXPECT_EQ(driver->handBox.lblPierSide.Text(), "West");
    EXPECT_EQ(driver->state.g_nSideOfPier, 1);
    EXPECT_NEAR(driver->state.g_dDec, -5.504167, 1e-6);
    EXPECT_NEAR(driver->queries.GetLst(), 11.0, 0.001);
}

TEST_F(QueryTranscriptTest, ShortRa_TogglesTheFormatAndAsksAgainOnTheNextTick) {
    driver->state.g_dRa = 3.0;
    Play(R"(
        0  = Ra -> True
        0  > :GR#
        10 < 12:34.5#
        10 L RA Query Error Detected corrupted or short format response... sending long format command...
        10 > :U#
    )");
    EXPECT_EQ(driver->state.g_dRa, 3.0);
    EXPECT_TRUE(driver->queries.IsDue(driver->state.g_tickLastRa, MountQueries::kCoordinateIntervalMs));
}

TEST_F(QueryTranscriptTest, SlippedRa_DrainsCountsAndClearsBeforeTheNextExchange) {
    Play(R"(
        0   = Ra -> False
        0   > :GR#
        10  < +45*30:15#
        10  < 99#
        *   ~
        *   L ClearReceiveBuffer Info Cleared 3 Bytes
        *   L RA Query Error RA Query possibly out of sequence... trying to recover...
        *   L Telescope Warning Retransmits: 1
        900 = Ra -> True
        900 > #
        921 > :GR#
        930 < 12:34:56.7#
    )");
    EXPECT_FALSE(driver->state.g_bResync);
    EXPECT_EQ(driver->handBox.lblRetransmits.Text(), "1") << "a fault is shown when it is counted";
}

TEST_F(QueryTranscriptTest, RaOfHour24_IsOutOfRangeAndNotShort) {
    Play(R"(
        0  = Ra -> False
        0  > :GR#
        10 < 24:00:00.0#
        10 L RA Query Error RA value out of range - command possibly out of sequence...
        10 L Telescope Warning Retransmits: 1
        *  ~
        *  L ClearReceiveBuffer Info Cleared 0 Bytes
    )");
    EXPECT_TRUE(driver->state.g_bResync);
}

TEST_F(QueryTranscriptTest, Azimuth_SendsNoClearAheadOfAGoodAnswer) {
    driver->state.g_bResync = true;
    driver->state.g_bTracking = true;
    // The exchange itself clears first; the query adds no clear of its own.
    Play(R"(
        0   = Az -> True
        0   > #
        21  > :GZ#
        30  < 010*00:00#
    )");
}

TEST_F(QueryTranscriptTest, ThreeSilentQueriesOfAnyKind_BlankTheDisplay_AndOneAnswerEndsThat) {
    ExpectSwallow("CommandString");
    driver->handBox.lblRA.Text("x");
    driver->handBox.lblLST.Text("x");
    Play(R"(
        0    = Ra -> False
        0    > :GR#
        500  ~
        500  > #
        *    L RA Query Error No response querying RA - 1
        1000 = Alt -> False
        1000 > :GA#
        1500 ~
        1500 > #
        *    L Alt Query Error No response querying Alt - 2
        2000 = Side -> True
        2000 > :pS#
        2500 ~
        2500 > #
        *    L SideOfMount Query Error No response querying SideOfMount - 3
    )");
    EXPECT_TRUE(driver->state.g_bLostComms);
    EXPECT_EQ(driver->handBox.lblRA.Text(), "");
    EXPECT_EQ(driver->handBox.lblLST.Text(), "");
    Play(R"(
        0   = Dec -> True
        0   > :GD#
        10  < +05*00:00#
    )");
    EXPECT_FALSE(driver->state.g_bLostComms);
}

TEST_F(QueryTranscriptTest, FirmwareThatDropsADigit_IsReadWithoutACheck) {
    driver->state.g_sVersion = "D";
    Play(R"(
        0  = Dec -> True
        0  > :GD#
        10 < +845*20:30#
    )");
    EXPECT_NEAR(driver->state.g_dDec, 45.0 + 20.0 / 60.0 + 30.0 / 3600.0, 1e-9);
}

TEST_F(QueryTranscriptTest, PositionThatRepeats_UnparksAMountThatWasTakenForParked_AndShowsIt) {
    driver->motion.MountReportsParked(true);
    driver->handBox.lblParkStatus.Text("Parked");
    driver->statusWindow.lblTrackingRate.Text("");
    driver->state.g_nDisplayedRate = -1;
    driver->state.g_bTracking = false;
    driver->journal.AddRaDecEvent(3.0, 40.0);
    driver->journal.AddRaDecEvent(3.0, 40.0);
    EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Parked");
    driver->journal.AddRaDecEvent(3.0, 40.0);
    EXPECT_FALSE(driver->state.g_bParked);
    EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Unparked");
    driver->journal.AddRaDecEvent(3.0, 40.0);
    EXPECT_TRUE(driver->state.g_bTracking);
    EXPECT_NE(driver->statusWindow.lblTrackingRate.Text(), "");
}

TEST_F(QueryTranscriptTest, SuspendedPoll_TouchesNothing) {
    driver->state.g_bPollSuspended = true;
    const Tick stamp = driver->state.g_tickLastRa;
    Play("0 = Ra -> False");
    EXPECT_EQ(driver->state.g_tickLastRa, stamp);
}

class BabblingMountTest : public DriverFixture {};

TEST_F(BabblingMountTest, LineThatNeverFallsSilent_DoesNotHoldTheDriver) {
    ExpectSwallow("*");
    const TelescopeObject telescope = ConnectedTelescope();
    // A byte each millisecond for ever, from now on.
    class Babble final : public LineEnd {
    public:
        void Write(std::string_view) override {}
        std::string Read(std::size_t maxCount) override { return std::string(std::min<std::size_t>(maxCount, 1), '5'); }
        std::optional<std::int32_t> NextByteIn() override { return 1; }
    } babble;
    machine.serialPorts.Splice(1, babble);
    for (const auto& query : {&MountQueries::QueryRa, &MountQueries::QueryDec, &MountQueries::QueryLst}) {
        const Tick start = machine.clock.GetTickCount();
        (driver->queries.*query)();
        // Three tries of a read limit and a drain of two seconds each, then the drain of the query.
        EXPECT_LT(machine.clock.GetTickCount() - start, 15'000);
    }
    machine.ConnectMount(1, *mount);
}

}  // namespace
}  // namespace kestrane
