#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <tuple>

#include "driver/unparking/unparking_fixture.h"
#include "kernel/base/conversions.h"
#include "support/stands_west.h"

/// The positions from which a mount is unparked, and when it is told one.
namespace kestrane {
namespace {

struct PlaceRow {
    int index;
    double latitude;
    std::string sync;
};

enum class Road { Verb, InitString };

/// A position, whether the mount is as after power-on, and who asks.
class UnparkPlaces : public UnparkingTest,
                     public testing::WithParamInterface<std::tuple<PlaceRow, bool /*fresh*/, Road>> {
protected:
    std::string Expected() {
        const auto& [row, fresh, road] = GetParam();
        const std::string left = fresh ? "RT9 U SM0:00:00.0 SL SC PO RT2" : kHead;
        return road == Road::Verb ? left + row.sync : "# # Q U # # U " + left + row.sync + (fresh ? " Q RT2" : "");
    }
};

TEST_P(UnparkPlaces, MountIsToldWhereItPoints) {
    const auto& [row, fresh, road] = GetParam();
    const SettingTexts place{{"txtUserParkAlt", "30.5"}, {"txtUserParkAz", "123.25"}};
    if (fresh) {
        ConnectAfterPowerOn(place, row.latitude);
        ASSERT_TRUE(telescope->AtPark());
    } else {
        ConnectAt(row.latitude, place);
        Park();
    }
    const std::string verb =
        (road == Road::Verb ? "RAW,UnparkMount," : "RAW,InitMount,Unpark=") + std::to_string(row.index);
    EXPECT_EQ(WithoutTimes(MotionDuring([&] { EXPECT_EQ(telescope->CommandString(verb, true), "1"); })), Expected());
    EXPECT_FALSE(driver->state.g_bParked);
    EXPECT_EQ(Label(), "Unparked");
    EXPECT_EQ(Stored(), "UnParked");
    EXPECT_EQ(mount->Picture().tracking, '2');
    EXPECT_TRUE(PollRuns());
}

INSTANTIATE_TEST_SUITE_P(
    Positions, UnparkPlaces,
    testing::Combine(
        testing::Values(
            PlaceRow{0, 47.0, ""}, PlaceRow{1, 47.0, " Sa+00*00:00 Sz359*59:50 CM U"},
            PlaceRow{2, 47.0, " Sa+00*00:10 Sz090*00:10 CM U"}, PlaceRow{3, 47.0, " Sa+47*00:00 Sz359*59:50 CM U"},
            PlaceRow{4, 47.0, " Sa+00*00:10 Sz180*00:10 CM U"}, PlaceRow{5, 47.0, " Sa+00*00:10 Sz000*00:10 CM U"},
            PlaceRow{6, 47.0, " Sa+30*30:00 Sz123*15:00 CM U"}, PlaceRow{3, 0.0, " Sa+00*00:00 Sz359*59:50 CM U"},
            PlaceRow{0, -33.0, ""}, PlaceRow{1, -33.0, " Sa+00*00:00 Sz180*00:10 CM U"},
            PlaceRow{2, -33.0, " Sa+00*00:10 Sz089*59:50 CM U"}, PlaceRow{3, -33.0, " Sa+33*00:00 Sz179*59:50 CM U"},
            PlaceRow{4, -33.0, " Sa+00*00:10 Sz359*59:50 CM U"}, PlaceRow{5, -33.0, " Sa+00*00:10 Sz179*59:50 CM U"},
            PlaceRow{6, -33.0, " Sa+30*30:00 Sz123*15:00 CM U"}),
        testing::Bool(), testing::Values(Road::Verb, Road::InitString)));

TEST_F(UnparkingTest, TheLatitude_IsToldToTheSecond_ByAMountWhoseOwnAnglesHaveNone) {
    MountSimulatorOptions options;
    options.firmware = "S";
    options.parkedAtPowerOn = false;
    options.shortAngles = true;
    options.latitude = 47.5125;
    Connect(options);
    EXPECT_EQ(Unpark(",3"), kHead + " U Sa+47*30:45 Sz359*59:50 CM");
}

/// A position, north or south.
class RoundTrips : public UnparkingTest, public testing::WithParamInterface<std::tuple<int, bool>> {};

TEST_P(RoundTrips, AMountThatHasParked_PointsAsBeforeOnceItIsUnparkedFromThere) {
    const auto [index, north] = GetParam();
    ConnectAt(north ? 47.0 : -47.0,
              {{"cbxParkTo", std::to_string(index)},
               {"cbxParkToText", "Park"},
               {"txtUserParkAlt", "30"},
               {"txtUserParkAz", "120"}},
              "S-P01-01");
    telescope->Park();
    for (int i = 0; i < 30'000 && !driver->state.g_bParked; ++i) {
        machine.AdvanceTime(10);
    }
    ASSERT_TRUE(driver->state.g_bParked);
    const MountPicture parked = mount->Picture();
    // At once: a park that has just ended is no motion that could go on.
    const std::string sent = Unpark("," + std::to_string(index));
    EXPECT_EQ(sent.find("CM") != std::string::npos, index != 0) << sent;
    EXPECT_FALSE(Logged("the mount moves, so no position is given to it"));
    const MountPicture unparked = mount->Picture();
    EXPECT_NEAR(unparked.altitude, parked.altitude, 0.05);
    EXPECT_NEAR(std::remainder(unparked.azimuth - parked.azimuth, 360.0), 0.0, 0.1);
    machine.AdvanceTime(20'000);
    EXPECT_FALSE(mount->Picture().parked);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_TRUE(telescope->Tracking());
    EXPECT_EQ(mount->Picture().tracking, '2');
    EXPECT_EQ(Stored(), "UnParked");
}

INSTANTIATE_TEST_SUITE_P(Positions, RoundTrips, testing::Combine(testing::Range(0, 7), testing::Bool()));

struct MotionRow {
    std::string name;
    std::string firmware;
    std::function<void(Driver& driver, Telescope& telescope, VirtualPlatform& machine)> begin;
};

void SlewFar(Driver& driver, Telescope& telescope) {
    telescope.SlewToCoordinatesAsync(NormalizeHours(driver.state.g_dLst + 2.0), 20.0);
}

const MotionRow kMotions[] = {
    {"Slew", "S", [](Driver& driver, Telescope& telescope, VirtualPlatform&) { SlewFar(driver, telescope); }},
    {"SecondLegPending", "S",
     [](Driver& driver, Telescope& telescope, VirtualPlatform&) {
         SlewFar(driver, telescope);
         ASSERT_TRUE(driver.state.g_bSafeSlewPending);
     }},
    {"ParkGoto", "S", [](Driver&, Telescope& telescope, VirtualPlatform&) { telescope.Park(); }},
    {"FirmwarePark", "VKC5-P03-01", [](Driver&, Telescope& telescope, VirtualPlatform&) { telescope.Park(); }},
    {"Axis", "S",
     [](Driver&, Telescope& telescope, VirtualPlatform&) {
         telescope.Tracking(false);
         telescope.MoveAxis(0, 1.0);
     }},
    {"Pulse", "S", [](Driver&, Telescope& telescope, VirtualPlatform&) { telescope.PulseGuide(0, 8'000); }},
    {"JustAborted", "S",
     [](Driver& driver, Telescope& telescope, VirtualPlatform& machine) {
         SlewFar(driver, telescope);
         machine.AdvanceTime(3'000);
         telescope.AbortSlew();
     }},
};

class MovingMounts : public UnparkingTest, public testing::WithParamInterface<std::tuple<MotionRow, int>> {};

TEST_P(MovingMounts, AreToldNoPosition_UntilTheyStand) {
    const auto& [row, index] = GetParam();
    ConnectAt(47.0, {{"cbxParkTo", "4"}, {"cbxParkToText", "Park 4"}}, row.firmware);
    if (row.name == "SecondLegPending") {
        mount->Add(std::make_unique<StandsWest>());
        machine.AdvanceTime(2'000);
    }
    row.begin(*driver, *telescope, machine);
    machine.AdvanceTime(1'000);
    const std::string at = "Unpark Mount, " + std::to_string(index) + ": ";
    const std::string sent = Unpark("," + std::to_string(index));
    EXPECT_EQ(sent.find("CM"), std::string::npos) << sent;
    EXPECT_EQ(sent.find("Sa"), std::string::npos) << sent;
    EXPECT_TRUE(LoggedAs("Telescope", 2, at + "the mount moves, so no position is given to it"));
    EXPECT_FALSE(Logged("Unpark Complete"));
    EXPECT_TRUE(PollRuns());
    machine.AdvanceTime(15'000);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(driver->axisMotions.AnyRuns()) << "a motion that has ended in the mount bars no later unpark";
    EXPECT_NE(Unpark("," + std::to_string(index)).find("CM"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Motions, MovingMounts, testing::Combine(testing::ValuesIn(kMotions), testing::Range(1, 7)),
                         [](const auto& row) {
                             return std::get<0>(row.param).name + "From" + std::to_string(std::get<1>(row.param));
                         });

}  // namespace
}  // namespace kestrane
