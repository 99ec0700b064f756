#include <string>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

class StatusWindowTest : public DriverFixture {
protected:
    StatusWindowTest() { Start(); }
    frmStatus& Window() { return driver->statusWindow; }
    /// As the tray icon shows it.
    void Open() {
        Window().Show();
        driver->statusPanel.StartTimer();
    }
};

TEST_F(StatusWindowTest, Caption_HasTheVersion) {
    EXPECT_EQ(Window().Caption(), "Kestrane V2 5.50.03");
}

TEST_F(StatusWindowTest, GoesAfterItsTime) {
    Open();
    machine.AdvanceTime(Window().tmrDisappear.Interval() - 10);
    EXPECT_TRUE(Window().Visible());
    machine.AdvanceTime(20);
    EXPECT_FALSE(Window().Visible());
    EXPECT_FALSE(Window().tmrDisappear.Enabled());
}

TEST_F(StatusWindowTest, StartTimer_BeginsTheTimeAnew) {
    Open();
    machine.AdvanceTime(2'000);
    driver->statusPanel.StartTimer();
    machine.AdvanceTime(2'900);
    EXPECT_TRUE(Window().Visible());
    machine.AdvanceTime(200);
    EXPECT_FALSE(Window().Visible());
}

TEST_F(StatusWindowTest, KeepOn_HoldsItUntilItIsUnticked) {
    Open();
    Window().chkKeepOn.Checked(true);
    machine.AdvanceTime(60'000);
    EXPECT_TRUE(Window().Visible());
    driver->statusPanel.HideForm();
    EXPECT_TRUE(Window().Visible());
    Window().chkKeepOn.Checked(false);
    machine.AdvanceTime(3'000);
    EXPECT_FALSE(Window().Visible());
}

TEST_F(StatusWindowTest, HideForm_StopsTheTimerAtOnce) {
    Open();
    driver->statusPanel.HideForm();
    EXPECT_FALSE(Window().Visible());
    EXPECT_FALSE(Window().tmrDisappear.Enabled());
}

TEST_F(StatusWindowTest, Labels_RepeatThoseOfTheHandBox) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(20'000);
    for (const char* name : {"lblRA", "lblDEC", "lblAlt", "lblAz", "lblLST", "lblPierSide", "lblParkStatus",
                             "lblFirmware", "lblMountType"}) {
        const Label* const here = Window().Find<Label>(name);
        const Label* const there = driver->handBox.Find<Label>(name);
        ASSERT_TRUE(here && there) << name;
        EXPECT_EQ(here->Text(), there->Text()) << name;
    }
    for (const char* name : {"lblRA",           "lblDEC",          "lblAlt",           "lblAz",        "lblLST",
                             "lblHourAngle",    "lblMountTime",    "lblTimeZone",      "lblPierSide",  "lblParkStatus",
                             "lblTrackingRate", "lblGuidingRate",  "lblCenteringRate", "lblSlewRate",  "lblPECState",
                             "lblCommErrors",   "lblComPortValue", "lblLatitude",      "lblLongitude", "lblFirmware",
                             "lblMountType",    "lblControlBox"}) {
        EXPECT_NE(Window().Find<Label>(name)->Text(), "") << name;
    }
    driver->state.g_nScopeObjects = 9;
}

}  // namespace
}  // namespace kestrane
