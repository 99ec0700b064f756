#include <gtest/gtest.h>

#include "kernel/base/conversions.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

class ConnectInMidSlewTest : public DriverFixture {
protected:
    /// A slow mount that somebody has sent to Dec +20 half a second ago.
    void BuildMountInMidSlew() {
        MountSimulatorOptions options;
        options.parkedAtPowerOn = false;
        options.slewSpeed = 1.0;
        BuildMount(options);
        const std::string ra = HoursToHMS(NormalizeHours(mount->Picture().siderealTime - 1.0), ":", ":", "", 1);
        mount->Write(":Sr" + ra + "#:Sd+20*00:00#:MS#");
        machine.AdvanceTime(500);
        mount->Read(100);
        ASSERT_TRUE(mount->Picture().slewing);
    }
};

TEST_F(ConnectInMidSlewTest, ConnectDuringAGoto_LetsItArrive_AndDoesWhatFollowsAConnectThen) {
    BuildMountInMidSlew();
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(8'000);
    ASSERT_TRUE(mount->Picture().slewing);
    EXPECT_EQ(TimesSent("Q"), 0);
    EXPECT_FALSE(driver->state.g_bSideInitDone);
    machine.AdvanceTime(120'000);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_NEAR(mount->Picture().declination, 20.0, 0.05);
    EXPECT_TRUE(driver->state.g_bSideInitDone);
}

TEST_F(ConnectInMidSlewTest, SlewOfTheClientItself_BeforeTheGotoHasEnded_ArrivesUndisturbed) {
    Seed({{"chkAutoCalibrateOnFirstSlew", "0"}});
    BuildMountInMidSlew();
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(5'000);
    ASSERT_TRUE(mount->Picture().slewing);
    ASSERT_FALSE(driver->state.g_bSideInitDone);
    driver->state.g_bTracking = true;
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 2.0), 40.0);
    const int stops = TimesSent("Q");
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(mount->Picture().slewing);
    EXPECT_EQ(TimesSent("Q"), stops) << "nothing stops it on its way";
    machine.AdvanceTime(120'000);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_NEAR(mount->Picture().declination, 40.0, 0.05);
    EXPECT_TRUE(driver->state.g_bSideInitDone);
}

TEST_F(ConnectInMidSlewTest, ConnectToAMountThatStands_DoesWhatFollowsAtOnce) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(1'000);
    EXPECT_TRUE(driver->state.g_bSideInitDone);
}

}  // namespace
}  // namespace kestrane
