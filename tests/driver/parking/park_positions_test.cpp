#include <cmath>
#include <gtest/gtest.h>
#include <tuple>

#include "driver/parking/park_fixture.h"

namespace kestrane {
namespace {

constexpr double kTenSeconds = 10.0 / 3600.0;

/// Where a mount stands after a park at a position, degrees.
struct Place {
    double altitude, north, south;
};
constexpr Place kPlaces[]{{},
                          {kTenSeconds, 360.0 - kTenSeconds, 180.0 + kTenSeconds},
                          {kTenSeconds, 90.0 + kTenSeconds, 90.0 - kTenSeconds},
                          {47.0, 360.0 - kTenSeconds, 180.0 - kTenSeconds},
                          {kTenSeconds, 180.0 + kTenSeconds, 360.0 - kTenSeconds},
                          {kTenSeconds, kTenSeconds, 180.0 - kTenSeconds},
                          {30.0, 120.0, 120.0}};

struct Start {
    const char* name;
    MountPointing pointing;
};
constexpr Start kStarts[]{{"West", {-3.0, 40.0, true}}, {"East", {3.0, 40.0, false}}};

/// Index, north or south, converted to equatorial or not, from which side.
class ParkPositionTest : public ParkTest,
                         public testing::WithParamInterface<std::tuple<int, bool, bool, std::size_t>> {};

TEST_P(ParkPositionTest, TheMountParksAtItsPlace) {
    const auto [index, north, converted, start] = GetParam();
    MountPointing pointing = kStarts[start].pointing;
    pointing.declination = north ? pointing.declination : -pointing.declination;
    ConnectAt(north ? 47.0 : -47.0, "S-P01-01",
              {{"cbxParkTo", std::to_string(index)},
               {"cbxParkToText", "Park"},
               {"txtUserParkAlt", "30"},
               {"txtUserParkAz", "120"},
               {"chkConvertAltAzToRaDec", converted ? "1" : "0"}},
              pointing);
    const MountPicture before = mount->Picture();
    telescope->Park();
    ExpectParked(index == 0 ? "Unknown" : "Parked");
    if (index == 0) {
        ExpectPointsAt(before.altitude, before.azimuth, 0.05);
        return;
    }
    const Place& place = kPlaces[index];
    ExpectPointsAt(place.altitude, north ? place.north : place.south, converted ? 0.6 : 0.02);
}

INSTANTIATE_TEST_SUITE_P(Positions, ParkPositionTest,
                         testing::Combine(testing::Range(0, 7), testing::Bool(), testing::Bool(),
                                          testing::Values(std::size_t{0}, std::size_t{1})),
                         [](const auto& row) {
                             return "Park" + std::to_string(std::get<0>(row.param)) +
                                    (std::get<1>(row.param) ? "North" : "South") +
                                    (std::get<2>(row.param) ? "Converted" : "Horizontal") + "From" +
                                    kStarts[std::get<3>(row.param)].name;
                         });

class ParkRoadTest : public ParkTest {};

TEST_F(ParkRoadTest, ParkGoesOutInItsOrder) {
    ConnectAt(47.0, "S-P01-01", {{"cbxParkTo", "2"}, {"chkSetSlewRate", "0"}});
    Tape().Clear();
    telescope->Park();
    // The time; then the mount stops and stands still; then the goto.
    EXPECT_EQ(Tape().Motion(), "SL20:00:16 SC03/05/24 # Q # Q RT9 Sa+00*00:10 Sz090*00:10 MS");
    EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Parking");
    EXPECT_FALSE(telescope->AtPark());
    ExpectParked();
    EXPECT_TRUE(LoggedAs("Telescope", 0, "Parking to index 2, Async = False"));
    EXPECT_TRUE(LoggedAs("PARK**", 0, "Park completed..."));
}

TEST_F(ParkRoadTest, AParkedMountStays) {
    ConnectAt(47.0, "S-P01-01", {{"cbxParkTo", "0"}});
    telescope->Park();
    ExpectParked("Unknown");
    EXPECT_EQ(MotionDuring([&] { telescope->Park(); }), "");
    EXPECT_EQ(error, 0U);
}

TEST_F(ParkRoadTest, ParkWithoutAConnection_Raises) {
    Start();
    TelescopeObject client = driver->CreateTelescope();
    EXPECT_EQ(ErrorOf([&] { client->Park(); }), 0x80040404U);
}

TEST_F(ParkRoadTest, FiveWithoutAText_IsTheUsersPlace_ButOnlyInTheSettings) {
    ConnectAt(47.0, "S-P01-01", {{"cbxParkTo", "5"}, {"txtUserParkAlt", "30"}, {"txtUserParkAz", "120"}});
    driver->persist.Write(setting::cbxParkToText, "");
    telescope->Park();
    ExpectParked();
    ExpectPointsAt(30.0, 120.0, 0.1);
}

TEST_F(ParkRoadTest, FiveFromACaller_IsTheFifthPosition) {
    ConnectAt(47.0, "S-P01-01", {{"cbxParkToText", ""}, {"txtUserParkAlt", "30"}, {"txtUserParkAz", "120"}});
    EXPECT_EQ(telescope->CommandString("RAW,ParkMount,5", true), "1");
    ExpectParked();
    ExpectPointsAt(0.0, 0.0, 0.1);
}

TEST_F(ParkRoadTest, PositionThatThereIsNot_IsLogged_AndNothingIsSent) {
    ConnectAt(47.0, "S-P01-01", {});
    for (const char* index : {"7", "-2", "99999"}) {
        EXPECT_EQ(MotionDuring(
                      [&] { EXPECT_EQ(telescope->CommandString("RAW,ParkMount," + std::string(index), true), "1"); }),
                  "");
    }
    EXPECT_EQ(TimesLogged("There is no park position"), 3);
    EXPECT_FALSE(driver->state.g_bParking);
}

TEST_F(ParkRoadTest, RefusedGoto_EndsThePark_WithoutTracking) {
    ConnectAt(47.0, "S-P01-01", {{"cbxParkTo", "6"}, {"txtUserParkAlt", "-10"}, {"txtUserParkAz", "120"}});
    ExpectSwallow("ParkMount");
    telescope->Park();
    ExpectCancelled(false);
    EXPECT_TRUE(Logged("The mount refused the slew: reply 1"));
    EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Unparked") << "by the status text";
}

TEST_F(ParkRoadTest, PlaceThatIsNone_EndsThePark) {
    ConnectAt(47.0, "S-P01-01", {{"cbxParkTo", "6"}, {"txtUserParkAlt", "95"}, {"txtUserParkAz", "120"}});
    ExpectSwallow("ParkMount");
    telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    const int gotos = TimesSent("MS");
    telescope->Park();
    ExpectCancelled(false);
    EXPECT_EQ(TimesSent("MS"), gotos) << "nor to the last target";
}

}  // namespace
}  // namespace kestrane
