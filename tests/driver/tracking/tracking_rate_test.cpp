#include <gtest/gtest.h>
#include <ostream>
#include <vector>

#include "driver/rate_wire_fixture.h"

namespace kestrane {
namespace {

class TrackingTest : public RateWireFixture {};

// --- bytes by generation, status, King setting and rate --------------------------------------------------------------

/// A mount and what it is sent for each rate and for the end of tracking.
struct GenerationRow {
    const char* firmware;
    bool asksStatus;  ///< with the status asked for, the mount is not told to drop its custom declination rate
    bool king;
    const char* sidereal;
    const char* lunar;
    const char* solar;
    const char* kingRate;
    const char* unknown;
    const char* off;
};

std::ostream& operator<<(std::ostream& out, const GenerationRow& row) {
    return out << row.firmware << (row.asksStatus ? ", status" : "") << (row.king ? ", King" : "");
}

// clang-format off
const GenerationRow kGenerations[] = {
    //                 status king   sidereal           lunar         solar         King               other   off
    {"D",              true,  false, ":Q#:RT2#",        ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT2#",        ":Q#",  "#:Q#:RT9#"},
    {"D",              true,  true,  ":Q#:RT2#",        ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT2#",        ":Q#",  "#:Q#:RT9#"},
    {"E3",             true,  false, ":Q#:RT2#",        ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT2#",        ":Q#",  "#:Q#:RT9#"},
    {"S",              true,  false, ":Q#:RT2#",        ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT2#",        ":Q#",  "#:Q#:RT9#"},
    {"S",              true,  true,  ":Q#:RT2#",        ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT2#",        ":Q#",  "#:Q#:RT9#"},
    {"S",              false, false, ":Q#:RD0.0000#:RT2#", ":Q#:RD0.0000#:RT0#", ":Q#:RD0.0000#:RT1#", ":Q#:RD0.0000#:RT2#", ":Q#:RD0.0000#", "#:Q#:RD0.0000#:RT9#"},
    {"VKC4-P02-07",    true,  false, ":Q#:RT2#",        ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT2#",        ":Q#",  "#:Q#:RT9#"},
    {"VKC4-P02-07",    true,  true,  ":Q#:RT2#",        ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT2#",        ":Q#",  "#:Q#:RT9#"},
    {"VKC4-P02-08",    true,  false, ":Q#:RT3#:RT2#",   ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT2#",        ":Q#",  "#:Q#:RT9#"},
    {"VKC4-P02-08",    true,  true,  ":Q#:RT2#",        ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT8#:RT2#",   ":Q#",  "#:Q#:RT9#"},
    {"VKC4-P02-08",    false, false, ":Q#:RD0.0000#:RT3#:RT2#", ":Q#:RD0.0000#:RT0#", ":Q#:RD0.0000#:RT1#", ":Q#:RD0.0000#:RT2#", ":Q#:RD0.0000#", "#:Q#:RD0.0000#:RT9#"},
    {"VKC4-P02-08",    false, true,  ":Q#:RD0.0000#:RT2#", ":Q#:RD0.0000#:RT0#", ":Q#:RD0.0000#:RT1#", ":Q#:RD0.0000#:RT8#:RT2#", ":Q#:RD0.0000#", "#:Q#:RD0.0000#:RT9#"},
    {"VKC4-P03-00",    true,  false, ":Q#:RT3#:RT2#",   ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT2#",        ":Q#",  "#:Q#:RT9#"},
    {"VKC4-P03-00",    true,  true,  ":Q#:RT2#",        ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT8#:RT2#",   ":Q#",  "#:Q#:RT9#"},
    {"VKC5-P03-01",    true,  false, ":Q#:RT2#",        ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT2#",        ":Q#",  "#:Q#:RT9#"},
    {"VKC5-P03-01",    true,  true,  ":Q#:RT2#",        ":Q#:RT0#",   ":Q#:RT1#",   ":Q#:RT2#",        ":Q#",  "#:Q#:RT9#"},
};
// clang-format on

class TrackingByGenerationTest : public RateWireFixture, public testing::WithParamInterface<GenerationRow> {};

TEST_P(TrackingByGenerationTest, EachRate_IsSentAsTheMountKnowsIt) {
    const GenerationRow& row = GetParam();
    Connect({.firmware = row.firmware, .asksStatus = row.asksStatus, .king = row.king});
    EXPECT_EQ(WireOf([&] { telescope->TrackingRate(0); }), row.sidereal);
    EXPECT_EQ(WireOf([&] { telescope->TrackingRate(1); }), row.lunar);
    EXPECT_EQ(WireOf([&] { telescope->TrackingRate(2); }), row.solar);
    EXPECT_EQ(WireOf([&] { telescope->TrackingRate(3); }), row.kingRate);
    for (const std::int32_t rate : {4, -1, 2'147'483'647}) {
        EXPECT_EQ(WireOf([&] { EXPECT_EQ(ErrorOf([&] { telescope->TrackingRate(rate); }), 0x80040405U); }), row.unknown)
            << rate;
    }
}

TEST_P(TrackingByGenerationTest, Tracking_SendsTheChosenRate_AndItsEnd) {
    const GenerationRow& row = GetParam();
    Connect({.firmware = row.firmware, .asksStatus = row.asksStatus, .king = row.king});
    const char* const sent[] = {row.sidereal, row.lunar, row.solar, row.kingRate};
    for (std::int32_t rate = 0; rate < 4; ++rate) {
        telescope->TrackingRate(rate);
        EXPECT_EQ(WireOf([&] { telescope->Tracking(false); }), row.off);
        EXPECT_EQ(WireOf([&] { telescope->Tracking(true); }), sent[rate]) << rate;
        EXPECT_EQ(driver->state.g_nTrackingRate, rate);
    }
}

INSTANTIATE_TEST_SUITE_P(Mounts, TrackingByGenerationTest, testing::ValuesIn(kGenerations));

// --- Tracking --------------------------------------------------------------------------------------------------------

TEST_F(TrackingTest, Tracking_ReadsTheFlag_AndLogsIt) {
    Connect();
    EXPECT_TRUE(telescope->Tracking());
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET Tracking = True"));
    telescope->Tracking(false);
    EXPECT_FALSE(telescope->Tracking());
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET Tracking = False"));
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET Tracking = False"));
    telescope->Tracking(true);
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET Tracking = True"));
}

TEST_F(TrackingTest, TrackingOff_ShowsThatTheMountStands_AndOffersNoCustomRates) {
    Connect();
    telescope->TrackingRate(0);
    telescope->Tracking(false);
    EXPECT_FALSE(driver->state.g_bTracking);
    EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), "Not Tracking");
    EXPECT_EQ(HandBox().frameTrackingRate.Caption(), "Tracking Rate: Not Tracking");
    EXPECT_EQ(driver->state.g_nDisplayedRate, 0);
    EXPECT_FALSE(HandBox().btnRateCustom.Enabled());
    EXPECT_FALSE(HandBox().txtRaCustom.Enabled());
    EXPECT_FALSE(HandBox().txtDecCustom.Enabled());
}

TEST_F(TrackingTest, TrackingOn_OffersTheCustomRates) {
    Connect();
    telescope->Tracking(false);
    telescope->Tracking(true);
    EXPECT_TRUE(driver->state.g_bTracking);
    EXPECT_TRUE(HandBox().btnRateCustom.Enabled());
    EXPECT_TRUE(HandBox().txtRaCustom.Enabled());
    EXPECT_TRUE(HandBox().txtDecCustom.Enabled());
}

TEST_F(TrackingTest, AnyRate_StartsAMountThatStands_AndOffersTheCustomRates) {
    Connect();
    for (const std::int32_t rate : {0, 1, 2, 3}) {
        telescope->Tracking(false);
        telescope->TrackingRate(rate);
        EXPECT_TRUE(driver->state.g_bTracking) << rate;
        EXPECT_TRUE(HandBox().btnRateCustom.Enabled()) << rate;
    }
}

TEST_F(TrackingTest, TrackingOff_WhileParked_SendsNothingAndLeavesTheFlag) {
    Connect();
    driver->motion.MountReportsParked(true);
    for (const bool tracking : {true, false}) {
        driver->state.g_bTracking = tracking;
        EXPECT_EQ(WireOf([&] { telescope->Tracking(false); }), "");
        EXPECT_EQ(driver->state.g_bTracking, tracking);
        EXPECT_EQ(HandBox().btnRateCustom.Enabled(), tracking) << "the boxes follow the flag all the same";
    }
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET Tracking = False"));
}

TEST_F(TrackingTest, TrackingOn_WhileParked_SendsTheRate) {
    Connect();
    telescope->Tracking(false);
    driver->motion.MountReportsParked(true);
    EXPECT_EQ(WireOf([&] { telescope->Tracking(true); }), ":Q#:RT3#:RT2#");
    EXPECT_TRUE(driver->state.g_bTracking);
}

// --- TrackingRate ----------------------------------------------------------------------------------------------------

TEST_F(TrackingTest, TrackingRate_ThatIsNone_IsKeptAllTheSame_AndTracksNothing) {
    Connect();
    telescope->Tracking(false);
    EXPECT_EQ(MessageOf([&] { telescope->TrackingRate(4); }), "Invalid Tracking Rate Value: 4");
    EXPECT_EQ(telescope->TrackingRate(), 4);
    EXPECT_FALSE(driver->state.g_bTracking);
    EXPECT_EQ(driver->state.g_nDisplayedRate, 0);
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET TrackingRate = 4"));
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET TrackingRate = 4"));
    EXPECT_EQ(MessageOf([&] { telescope->TrackingRate(-1); }), "Invalid Tracking Rate Value: -1");
    EXPECT_EQ(ErrorOf([&] { telescope->Tracking(true); }), 0x80040405U) << "it starts the rate that is kept";
}

TEST_F(TrackingTest, TrackingRate_IsSiderealAfterAConnect) {
    Connect();
    EXPECT_EQ(telescope->TrackingRate(), 0);
    telescope->TrackingRate(2);
    driver->link->Connected(false);
    telescope->Connected(true);
    EXPECT_EQ(telescope->TrackingRate(), 0);
}

struct DisplayRow {
    std::int32_t rate;
    bool king;
    std::int16_t displayed;
    const char* text;
};

TEST_F(TrackingTest, TrackingRate_ShowsOnTheButtonsAndLabels) {
    Connect();
    for (const DisplayRow& row :
         {DisplayRow{1, false, 2, "Lunar"}, DisplayRow{2, false, 3, "Solar"}, DisplayRow{0, false, 1, "Sidereal"},
          DisplayRow{3, false, 1, "Sidereal"}, DisplayRow{0, true, 1, "King"}, DisplayRow{3, true, 1, "King"}}) {
        driver->state.g_bKingRateEnabled = row.king;
        telescope->TrackingRate(row.rate);
        EXPECT_EQ(driver->state.g_nDisplayedRate, row.displayed) << row.rate;
        EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), row.text) << row.rate;
        for (std::size_t button = 0; button < HandBox().pbTracking.size(); ++button) {
            EXPECT_EQ(HandBox().pbTracking[button].Visible(), button == static_cast<std::size_t>(row.displayed));
        }
    }
}

TEST_F(TrackingTest, TrackingRate_NeedsNoConnectionCheck) {
    Connect();
    driver->state.g_bLostComms = true;
    EXPECT_EQ(ErrorOf([&] { telescope->TrackingRate(0); }), 0U);
    driver->motion.MountReportsParked(true);
    EXPECT_EQ(ErrorOf([&] { telescope->TrackingRate(0); }), 0U);
}

// --- tracking that comes by itself -----------------------------------------------------------------------------------

TEST_F(TrackingTest, AutomaticTracking_IsReadAtEachUse_AndStartsTheChosenRate) {
    Connect();
    telescope->TrackingRate(1);
    telescope->Tracking(false);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscensionRate(0.0); }), 0x80040411U);
    driver->persist.WriteIniValue("chkAutoEnableTracking", "1");
    EXPECT_EQ(WireOf([&] { telescope->RightAscensionRate(0.0); }), ":Q#:RT0#:RR0.00000#");
    telescope->Tracking(false);
    driver->persist.WriteIniValue("chkAutoEnableTracking", "0");
    EXPECT_EQ(WireOf([&] { EXPECT_EQ(ErrorOf([&] { telescope->RightAscensionRate(0.0); }), 0x80040411U); }), "");
}

TEST_F(TrackingTest, TrackingRate_ThatIsNone_LeavesAMountThatTracksShownAsItWas) {
    Connect();
    telescope->TrackingRate(1);
    EXPECT_EQ(ErrorOf([&] { telescope->TrackingRate(4); }), 0x80040405U);
    EXPECT_TRUE(telescope->Tracking());
    EXPECT_EQ(driver->state.g_nDisplayedRate, 2);
    EXPECT_EQ(telescope->TrackingRate(), 4);
}

}  // namespace
}  // namespace kestrane
