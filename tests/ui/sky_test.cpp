#include "ui/sky.h"

#include <string>

#include "catalogue/vocabulary.h"
#include "kernel/base/conversions.h"
#include "support/driver_fixture.h"
#include "support/onlooker.h"

namespace kestrane {
namespace {

TEST(MinutesToMeridian, CountTheTimeOfAClock) {
    EXPECT_NEAR(MinutesToMeridian(-1.0), 59.84, 0.01);
    EXPECT_NEAR(MinutesToMeridian(1.0), 23 * 59.84, 0.1) << "it has crossed, and comes again tomorrow";
    EXPECT_EQ(MinutesToMeridian(0.0), 0.0);
}

TEST(MinutesToHorizon, AreKnownOfWhatRisesAndSets) {
    EXPECT_NEAR(MinutesToHorizon(50, 0, 0).value(), 6 * 59.84, 0.1);
    EXPECT_NEAR(MinutesToHorizon(50, 0, 5).value(), 59.84, 0.1);
    EXPECT_NEAR(MinutesToHorizon(0, 60, -3).value(), 9 * 59.84, 0.1);
    EXPECT_NEAR(MinutesToHorizon(-35, 20, 0).value(), 60 * 5.018 * 0.99727, 1.0);
    EXPECT_FALSE(MinutesToHorizon(50, 80, 0)) << "never sets";
    EXPECT_FALSE(MinutesToHorizon(50, -80, 0)) << "never rises";
    EXPECT_FALSE(MinutesToHorizon(50, 0, 7)) << "has set";
    EXPECT_FALSE(MinutesToHorizon(90, 90, 0));
}

TEST(CounterweightAltitude, IsBelowTheHorizonWhereTheMountSlewsTo) {
    EXPECT_NEAR(CounterweightAltitude(50, 3, pier_side::East), -27.03, 0.1);
    EXPECT_NEAR(CounterweightAltitude(50, -3, pier_side::West), -27.03, 0.1);
    EXPECT_NEAR(CounterweightAltitude(50, -3, pier_side::East), 27.03, 0.1);
    EXPECT_NEAR(CounterweightAltitude(50, 6, pier_side::East), -40.0, 0.01);
    EXPECT_NEAR(CounterweightAltitude(-30, 0, pier_side::East), 0.0, 0.01);
}

class SkyTest : public DriverFixture {
protected:
    void SetUp() override {
        Start();
        Form().Attach(view);
        machine.AdvanceTime(1'000);
    }
    void TearDown() override {
        Form().Detach(view);
        DriverFixture::TearDown();
    }
    frmSky& Form() { return driver->windows.sky; }
    double Number(const Label& label) {
        EXPECT_FALSE(label.Text().empty()) << label.Name();
        return label.Text().empty() ? 0 : std::stod(label.Text());
    }
    Onlooker view;
};

TEST_F(SkyTest, WithoutALink_ThereIsNothingToDraw) {
    Form().lblAlt.Text("of the last link");
    machine.AdvanceTime(1'000);
    EXPECT_EQ(Form().lblState.Text(), "Not connected");
    EXPECT_EQ(Form().lblAlt.Text(), "");
    EXPECT_FALSE(Form().Visible());
}

TEST_F(SkyTest, ConnectedMount_IsDrawnWhereItPoints) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(3'000);
    const MountPicture picture = mount->Picture();
    EXPECT_EQ(Form().lblState.Text(), "Tracking");
    EXPECT_NEAR(Number(Form().lblRaHours), picture.rightAscension, 0.001);
    EXPECT_NEAR(Number(Form().lblDec), picture.declination, 0.02);
    EXPECT_NEAR(Number(Form().lblAlt), picture.altitude, 0.05);
    EXPECT_NEAR(Number(Form().lblLatitude), picture.latitude, 0.01);
    EXPECT_EQ(Form().lblTargetRaHours.Text(), "");
    EXPECT_EQ(Form().lblProgress.Text(), "");
}

TEST_F(SkyTest, Slew_IsDrawnWithItsTarget_AndTheWayThatIsLeft) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(3'000);
    const double ra = NormalizeHours(telescope->RightAscension() + 1.0);
    const double dec = telescope->Declination() - 10.0;
    telescope->SlewToCoordinatesAsync(ra, dec);
    machine.AdvanceTime(1'500);
    EXPECT_EQ(Form().lblState.Text(), "Slewing");
    EXPECT_NEAR(Number(Form().lblTargetRaHours), ra, 0.001);
    EXPECT_NEAR(Number(Form().lblTargetDec), dec, 0.001);
    const double left = Number(Form().lblDistance);
    EXPECT_GT(left, 1.0);
    machine.AdvanceTime(2'000);
    EXPECT_LT(Number(Form().lblDistance), left);
    EXPECT_GT(Number(Form().lblProgress), 0.0);
    machine.AdvanceTime(60'000);
    EXPECT_EQ(Form().lblState.Text(), "Tracking");
    EXPECT_EQ(Form().lblDistance.Text(), "");
}

TEST_F(SkyTest, ParkPlace_IsTheOneOfTheList) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(3'000);
    struct Row {
        int index;
        std::string alt;
        std::string az;
    };
    driver->handBox.txtUserParkAlt.Text("12.5");
    driver->handBox.txtUserParkAz.Text("200");
    const std::string latitude = FormatUs(driver->state.g_dSiteLatitude, "0.000");
    for (const Row& row :
         {Row{0, "", ""}, Row{2, "0.003", "90.003"}, Row{3, latitude, "359.997"}, Row{6, "12.500", "200.000"}}) {
        driver->handBox.cbxParkTo.ListIndex(row.index);
        machine.AdvanceTime(1'000);
        EXPECT_EQ(Form().lblParkAlt.Text(), row.alt) << row.index;
        EXPECT_EQ(Form().lblParkAz.Text(), row.az) << row.index;
    }
}

TEST_F(SkyTest, Park_IsDrawnWithItsPlace_AndTheWayThatIsLeft) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->handBox.txtUserParkAlt.Text("50");
    driver->handBox.txtUserParkAz.Text("120");
    machine.AdvanceTime(3'000);
    telescope->ParkMount(6);
    machine.AdvanceTime(2'000);
    ASSERT_EQ(Form().lblState.Text(), "Parking");
    EXPECT_NEAR(Number(Form().lblTargetAlt), 50.0, 0.01);
    EXPECT_NEAR(Number(Form().lblTargetAz), 120.0, 0.01);
    const double whole = Number(Form().lblDistance);
    EXPECT_GT(whole, 10.0);
    double left = whole;
    double progress = 0.0;
    for (int i = 0; i < 200 && !telescope->AtPark(); ++i) {
        left = Number(Form().lblDistance);
        progress = Number(Form().lblProgress);
        machine.AdvanceTime(500);
    }
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_LT(left, whole);
    EXPECT_GT(progress, 30.0);
    machine.AdvanceTime(1'000);
    EXPECT_EQ(Form().lblDistance.Text(), "");
    EXPECT_EQ(Form().lblTargetAlt.Text(), "");
}

TEST_F(SkyTest, ParkAtTheCurrentPosition_HasNoWay) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(3'000);
    telescope->ParkMount(0);
    machine.AdvanceTime(700);
    EXPECT_EQ(Form().lblDistance.Text(), "");
}

TEST_F(SkyTest, RefusedSlews_AreNumbered_AndStayWithoutALink) {
    driver->sky.NoteRefused("SlewToCoordinates", "Parked");
    driver->sky.NoteRefused("SlewToCoordinates", "Parked");
    machine.AdvanceTime(1'000);
    EXPECT_EQ(Form().lblRefused.Text(), "2 SlewToCoordinates: Parked");
}

TEST_F(SkyTest, Sun_IsWhereItStandsAtTheSite) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(3'000);
    machine.astronomy.sun = {telescope->SiderealTime(), -20.0};
    machine.AdvanceTime(1'000);
    EXPECT_NEAR(Number(Form().lblSunAlt), 90.0 - driver->state.g_dSiteLatitude - 20.0, 0.2);
    EXPECT_NEAR(Number(Form().lblSunAz), 180.0, 0.5);
}

}  // namespace
}  // namespace kestrane
