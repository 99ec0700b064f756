#include <cmath>
#include <gtest/gtest.h>

#include "driver/parking/park_fixture.h"
#include "simulator/misbehaviours.h"

/// A park whose way to its position has two legs. The firmware chooses the road of the supervision.
namespace kestrane {
namespace {

class SafeSlewParkTest : public ParkTest, public testing::WithParamInterface<std::string> {
protected:
    /// A park in two legs: the side of which the mount tells first is the wrong one, so that the counterweight does not
    /// seem to be up.
    void StartPark() {
        ConnectAt(47.0, GetParam(), {{"cbxParkTo", "2"}, {"chkConvertAltAzToRaDec", "1"}});
        mount->Add(std::make_unique<StandsWest>());
        mount->Add(std::make_unique<AnswersWith>("pS", "East#", 2));
        telescope->Park();
        ASSERT_TRUE(driver->state.g_bSafeSlewPending);
        ASSERT_EQ(TimesSent("MS"), 1);
    }
};

TEST_P(SafeSlewParkTest, BothLegsLeadToIt) {
    StartPark();
    ExpectParked();
    EXPECT_EQ(TimesSent("MS"), 2);
    ExpectPointsAt(0.0, 90.0, 0.6);
}

TEST_P(SafeSlewParkTest, AClientThatGoesInTheFirstLeg_DoesNotKeepTheSecondFromFollowing) {
    StartPark();
    telescope->Connected(false);
    telescope.reset();
    EXPECT_TRUE(WaitForParkEnd());
    machine.AdvanceTime(3'000);
    EXPECT_EQ(TimesSent("MS"), 2);
    EXPECT_TRUE(mount->Picture().parked);
}

TEST_P(SafeSlewParkTest, WhereTheSettingForbidsTwoLegs_OneLeadsToIt) {
    ConnectAt(47.0, GetParam(), {{"cbxParkTo", "2"}, {"chkConvertAltAzToRaDec", "1"}, {"DisableSafeSlew", "1"}});
    mount->Add(std::make_unique<StandsWest>());
    mount->Add(std::make_unique<AnswersWith>("pS", "East#", 2));
    telescope->Park();
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    ExpectParked();
    EXPECT_EQ(TimesSent("MS"), 1);
}

TEST_P(SafeSlewParkTest, WithoutItsSecondLeg_TheParkIsNotFinished) {
    StartPark();
    // Near the end of the first leg, half an hour before the meridian, in the declination that the mount had.
    const double declination = driver->state.g_dFirstLegDec;
    const When nearEnd(
        machine.pump,
        [&] {
            const MountPicture now = mount->Picture();
            return now.slewing && std::abs(now.hourAngle + 0.5) < 0.2 &&
                   std::abs(now.declination - declination) < 0.005;
        },
        [&] { driver->motion.SecondLegBarred(); });
    ASSERT_TRUE(RunUntil([&] { return nearEnd.Happened(); }));
    machine.AdvanceTime(60'000);
    EXPECT_EQ(TimesSent("MS"), 1);
    EXPECT_EQ(TimesSent("KA"), 0);
    EXPECT_TRUE(driver->state.g_bParking);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_NE(driver->persist.Read(setting::ParkStatus), "Parked");
    EXPECT_EQ(TimesLogged("The mount has stopped away from its park position: the park is not finished"), 1);
    telescope->AbortSlew();
    ExpectCancelled();
}

TEST_P(SafeSlewParkTest, ARefusedSecondLeg_EndsThePark_WithoutTracking) {
    StartPark();
    ExpectSwallow("ParkMount");
    mount->Add(std::make_unique<AnswersWith>("MS", "1"));
    ExpectCancelled(false);
    EXPECT_EQ(TimesSent("MS"), 2);
    EXPECT_TRUE(Logged("The mount refused the slew: reply 1"));
    EXPECT_TRUE(Logged("The mount does not go to its park position"));
    EXPECT_TRUE(Logged("Park canceled..."));
}

INSTANTIATE_TEST_SUITE_P(Families, SafeSlewParkTest, testing::Values("S", "D"),
                         [](const auto& row) { return row.param; });

}  // namespace
}  // namespace kestrane
