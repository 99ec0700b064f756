#include <gtest/gtest.h>

#include "driver/rate_wire_fixture.h"

namespace kestrane {
namespace {

/// What tracks after a slew, which the mount itself ends at the sidereal rate. The firmware reports no status, so that
/// the driver goes by what it has shown last.
class RateRestoreTest : public RateWireFixture {
protected:
    /// What the mount got from the end of the slew on, queries left out.
    std::string SentAfterSlew() {
        const std::size_t before = mount->Commands().size();
        const double ra = telescope->SiderealTime() - 2.0;
        telescope->SlewToCoordinatesAsync(ra < 0.0 ? ra + 24.0 : ra, 45.0);
        machine.AdvanceTime(90'000);
        EXPECT_FALSE(telescope->Slewing());
        std::string sent;
        bool slewing = true;
        for (std::size_t i = before; i < mount->Commands().size(); ++i) {
            const std::string& command = mount->Commands()[i];
            if (slewing) {
                slewing = command != "MS";
            } else if (command.starts_with("R") || command.starts_with("Q")) {
                sent += (sent.empty() ? "" : " ") + command;
            }
        }
        return sent;
    }
};

TEST_F(RateRestoreTest, ARateOfTheClient_IsTakenUpAgain) {
    struct RestoreRow {
        std::int32_t rate;
        const char* sent;
        const char* logged;
    };
    Connect({.asksStatus = false});
    for (const RestoreRow& row : {RestoreRow{1, "RT3 Q RD0.0000 RT0", "Restoring tracking state = 2"},
                                  RestoreRow{2, "RT3 Q RD0.0000 RT1", "Restoring tracking state = 3"},
                                  RestoreRow{0, "RT3 Q RD0.0000 RT3 RT2", "Restoring tracking state = 1"}}) {
        telescope->TrackingRate(row.rate);
        log.clear();
        EXPECT_EQ(SentAfterSlew(), row.sent);
        EXPECT_TRUE(LoggedAs("CheckSlewComplete", 0, row.logged));
        EXPECT_EQ(telescope->TrackingRate(), row.rate);
        EXPECT_TRUE(telescope->Tracking());
    }
}

TEST_F(RateRestoreTest, ARateOfTheClient_IsTakenUpAgain_AlsoWhereTheMountReportsAnotherDuringTheSlew) {
    for (const std::int32_t rate : {1, 2}) {
        Connect();
        telescope->TrackingRate(rate);
        machine.AdvanceTime(10'000);
        const double ra = telescope->SiderealTime() - 2.0;
        telescope->SlewToCoordinatesAsync(ra < 0.0 ? ra + 24.0 : ra, -10.0);
        machine.AdvanceTime(7'000);
        ASSERT_TRUE(mount->Picture().slewing);
        EXPECT_EQ(mount->Picture().tracking, '2') << "the slew itself is at the sidereal rate";
        EXPECT_EQ(driver->state.g_nDisplayedRate, rate + 1);
        EXPECT_TRUE(telescope->Tracking());
        machine.AdvanceTime(60'000);
        EXPECT_EQ(mount->Picture().tracking, rate == 1 ? '0' : '1');
        EXPECT_EQ(driver->state.g_nDisplayedRate, rate + 1);
        EXPECT_EQ(telescope->TrackingRate(), rate);
        telescope.reset();
        driver.reset();
        machine.serialPorts.Disconnect(1);
    }
}

TEST_F(RateRestoreTest, ACustomRate_FallsBackToSidereal_AlsoWhereTheMountReportsItsRate) {
    Connect();
    telescope->RightAscensionRate(0.1);
    machine.AdvanceTime(10'000);
    EXPECT_EQ(SentAfterSlew().substr(0, 2), "RT");
    EXPECT_EQ(driver->state.g_nDisplayedRate, 1);
    EXPECT_EQ(mount->Picture().tracking, '2');
}

TEST_F(RateRestoreTest, ARateThatAPersonSetsAtTheMount_IsShown_WhileNothingSlews) {
    Connect();
    machine.AdvanceTime(5'000);
    mount->Write(":RT0#");
    machine.AdvanceTime(10'000);
    EXPECT_EQ(driver->state.g_nDisplayedRate, 2);
}

TEST_F(RateRestoreTest, TheKingRate_IsTakenUpAgain) {
    Connect({.asksStatus = false, .king = true});
    telescope->TrackingRate(3);
    EXPECT_EQ(SentAfterSlew(), "RT8 Q RD0.0000 RT8 RT2");
    EXPECT_EQ(telescope->TrackingRate(), 3);
    EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), "King");
    telescope->TrackingRate(0);
    EXPECT_EQ(SentAfterSlew(), "RT8 Q RD0.0000 RT2");
}

TEST_F(RateRestoreTest, TheKingRate_IsTakenUpAgain_AlsoWhereTheMountReportsAnotherDuringTheSlew) {
    Connect({.king = true});
    telescope->TrackingRate(3);
    machine.AdvanceTime(10'000);
    for (int slew = 0; slew < 2; ++slew) {
        EXPECT_EQ(SentAfterSlew(), "RT8 Q RT8 RT2");
        EXPECT_EQ(telescope->TrackingRate(), 3);
        EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), "King");
    }
}

TEST_F(RateRestoreTest, ACustomRate_FallsBackToTheSiderealButton) {
    Connect({.asksStatus = false});
    telescope->RightAscensionRate(0.1);
    ASSERT_EQ(driver->state.g_nDisplayedRate, 4);
    log.clear();
    EXPECT_EQ(SentAfterSlew(), "RT3 Q RD0.0000 RT3 RT2");
    EXPECT_TRUE(LoggedAs("CheckSlewComplete", 0, "Restoring tracking state = 1"));
    EXPECT_EQ(driver->state.g_nDisplayedRate, 1);
}

TEST_F(RateRestoreTest, TheEndOfTrackingShown_StopsTheMountAgain) {
    Connect({.asksStatus = false});
    telescope->Tracking(false);
    const std::size_t before = mount->Commands().size();
    telescope->SlewToAltAzAsync(200.0, 50.0);
    machine.AdvanceTime(90'000);
    EXPECT_TRUE(LoggedAs("CheckSlewComplete", 0, "Restoring tracking state = 0"));
    EXPECT_GT(mount->Commands().size(), before);
    EXPECT_FALSE(telescope->Tracking());
    EXPECT_EQ(mount->Picture().tracking, '9');
}

/// A mount that reports its status reports the sidereal rate while it slews: the rate that was chosen comes back.
TEST_F(RateRestoreTest, AStatusToldDuringTheSlew_DoesNotDecideWhatComesBack) {
    Connect();
    telescope->TrackingRate(1);
    EXPECT_EQ(SentAfterSlew(), "RT3 Q RT0");
    EXPECT_EQ(driver->state.g_nDisplayedRate, 2);
}

}  // namespace
}  // namespace kestrane
