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

/// What goes out for a position: the texts of a horizontal target north and south, and whether a converted one is
/// computed with the sidereal time of now or with that of the last reading.
struct TargetRow {
    int index;
    const char* north;
    const char* south;
    bool now;

    friend void PrintTo(const TargetRow& row, std::ostream* out) { *out << "position " << row.index; }
};

class ParkTargetTest : public ParkTest, public testing::WithParamInterface<TargetRow> {
protected:
    static constexpr std::int64_t kSilenceMs = 20'000;

    /// What goes out last before the goto.
    std::string TargetOf(double latitude, bool converted) {
        Connect("S", {{"cbxParkTo", std::to_string(GetParam().index)},
                      {"cbxParkToText", "Park"},
                      {"txtUserParkAlt", "30.123456"},
                      {"txtUserParkAz", "120.654321"},
                      {"chkConvertAltAzToRaDec", converted ? "1" : "0"}});
        StandingMount& standing = StandForPark();
        standing.replies["Gt"] = latitude < 0.0 ? "-47*00:00.0#" : "+47*00:00.0#";
        machine.AdvanceTime(10'000);
        standing.onCommand = [&](const std::string& command) {
            if (command == "Gt") {  // time goes on after the sidereal time was read
                machine.clock.Sleep(kSilenceMs);
            }
        };
        Tape().Clear();
        telescope->Park();
        const std::string sent = Tape().Motion();
        EXPECT_TRUE(sent.ends_with(" MS")) << sent;
        return sent.substr(sent.find(converted ? "Sr" : "Sa"));
    }
    static std::string WordOf(const std::string& text, const std::string& head) {
        const std::size_t at = text.find(head) + head.size();
        return text.substr(at, text.find(' ', at) - at);
    }
};

TEST_P(ParkTargetTest, AHorizontalTarget_GoesOutAsItsText) {
    EXPECT_EQ(TargetOf(47.0, false), std::string(GetParam().north) + " MS");
    EndTheDriver();
    EXPECT_EQ(TargetOf(-47.0, false), std::string(GetParam().south) + " MS");
}

TEST_P(ParkTargetTest, AConvertedTarget_IsComputedWithItsSiderealTime) {
    for (const bool north : {true, false}) {
        SCOPED_TRACE(north ? "north" : "south");
        const std::string sent = TargetOf(north ? 47.0 : -47.0, true);
        const std::string horizontal = north ? GetParam().north : GetParam().south;
        const bool isUsers = GetParam().index == 6;
        const double altitude = isUsers ? 30.123456 : ProtocolDegrees(WordOf(horizontal, "Sa"), driver->log);
        const double azimuth = isUsers ? 120.654321 : ProtocolDegrees(WordOf(horizontal, "Sz"), driver->log);
        double hourAngle = 0.0;
        double declination = 0.0;
        ASSERT_TRUE(AltAzToHaDec(north ? 47.0 : -47.0, altitude, azimuth, hourAngle, declination));
        const double silence = GetParam().now ? kSilenceMs / 3'600'000.0 : 0.0;
        constexpr double kTwoSeconds = 2.0 / 3600.0;
        EXPECT_NEAR(NormalizeHourAngle(ProtocolHours(WordOf(sent, "Sr"), driver->log) -
                                       NormalizeHours(4.0 + silence - hourAngle)),
                    0.0, kTwoSeconds)
            << sent;
        EXPECT_NEAR(ProtocolDegrees(WordOf(sent, "Sd"), driver->log), declination, kTwoSeconds) << sent;
        EndTheDriver();
    }
}

INSTANTIATE_TEST_SUITE_P(Positions, ParkTargetTest,
                         testing::Values(TargetRow{1, "Sa+00*00:10 Sz359*59:50", "Sa+00*00:10 Sz180*00:10", true},
                                         TargetRow{2, "Sa+00*00:10 Sz090*00:10", "Sa+00*00:10 Sz089*59:50", false},
                                         TargetRow{3, "Sa+47*00:00 Sz359*59:50", "Sa+47*00:00 Sz179*59:50", false},
                                         TargetRow{4, "Sa+00*00:10 Sz180*00:10", "Sa+00*00:10 Sz359*59:50", true},
                                         TargetRow{5, "Sa+00*00:10 Sz000*00:10", "Sa+00*00:10 Sz179*59:50", true},
                                         TargetRow{6, "Sa+30*07:24 Sz120*39:16", "Sa+30*07:24 Sz120*39:16", false}),
                         [](const auto& row) { return "Park" + std::to_string(row.param.index); });

class ParkRoadTest : public ParkTest {};

TEST_F(ParkRoadTest, ParkGoesOutInItsOrder) {
    ConnectAt(47.0, "S-P01-01", {{"cbxParkTo", "2"}, {"chkSetSlewRate", "0"}});
    Tape().Clear();
    telescope->Park();
    // The time; then the mount stops and stands still; then the goto.
    EXPECT_EQ(Tape().Motion(), "SL20:00:16 SC03/05/24 # Q # Q RT9 Sa+00*00:10 Sz090*00:10 MS");
    EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Parking");
    EXPECT_FALSE(telescope->AtPark());
    const int beeps = machine.sounds.beeps;
    ExpectParked();
    EXPECT_GT(machine.sounds.beeps, beeps);
    EXPECT_TRUE(LoggedAs("Telescope", 0, "Park started..."));
    EXPECT_TRUE(LoggedAs("Telescope", 0, "Parking to index 2, Async = False"));
    EXPECT_TRUE(LoggedAs("PARK**", 0, "Sending CommandBlindInternal KA"));
    EXPECT_TRUE(LoggedAs("PARK**", 0, "Park completed..."));
}

TEST_F(ParkRoadTest, AParkedMountStays) {
    ConnectAt(47.0, "S-P01-01", {{"cbxParkTo", "0"}});
    telescope->Park();
    EXPECT_TRUE(LoggedAs("Telescope", 0, "Sending CommandBlind KA"));
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

/// A question that was answered with the same place again has kept its name beside the old index.
TEST_F(ParkRoadTest, FiveWithTheNameOfTheUsersPlace_IsTheUsersPlace) {
    ConnectAt(47.0, "S-P01-01", {{"cbxParkTo", "5"}, {"txtUserParkAlt", "30"}, {"txtUserParkAz", "120"}});
    driver->persist.Write(setting::cbxParkToText, "Alt/Az (30 | 120)");
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
