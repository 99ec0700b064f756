#include <gtest/gtest.h>

#include "driver/slews/slew_wire_fixture.h"

namespace kestrane {
namespace {

/// The calibration that a client asks for, after other motions.
class CalibrationVerbTest : public SlewWireTest {
protected:
    void SetUp() override { Connect("S"); }
    void ExpectCalibration() {
        driver->state.g_bAutoCalibrated = false;
        log.clear();
        std::string reply;
        const std::string motion =
            MotionDuring([&] { reply = telescope->CommandString("RAW,AutoCalibrateNSEW", true); });
        EXPECT_EQ(error, 0U);
        EXPECT_EQ(reply, "1");
        EXPECT_TRUE(motion.starts_with("RC1 Me Mn Q")) << motion;
        EXPECT_TRUE(driver->state.g_bAutoCalibrated);
        EXPECT_EQ(TimesLogged("Autocalibration Successful!"), 1);
    }
    void ExpectNoCalibration(const std::string& reason) {
        log.clear();
        std::string reply;
        EXPECT_EQ(MotionDuring([&] { reply = telescope->CommandString("RAW,AutoCalibrateNSEW", true); }), "");
        EXPECT_EQ(reply, "1");
        EXPECT_TRUE(LoggedAs("AutoCalibrateNSEW", 1, "No calibration now: " + reason));
    }
    void SlewAndAbort() {
        telescope->SlewToCoordinatesAsync(telescope->SiderealTime(), 20.0);
        machine.AdvanceTime(1'000);
        telescope->AbortSlew();
        ASSERT_TRUE(driver->state.g_bAbortSlew);
    }
};

TEST_F(CalibrationVerbTest, WithinThreeSecondsOfAnAbort_DoesNothing_AndRunsAfterThem) {
    SlewAndAbort();
    machine.AdvanceTime(2'800);
    ExpectNoCalibration("a motion was stopped less than three seconds ago");
    machine.AdvanceTime(250);
    ExpectCalibration();
}

TEST_F(CalibrationVerbTest, DuringAGoto_DoesNothing) {
    telescope->SlewToCoordinatesAsync(telescope->SiderealTime(), 20.0);
    machine.AdvanceTime(1'000);
    ExpectNoCalibration("the end of a goto has not been seen");
    telescope->AbortSlew();
}

TEST_F(CalibrationVerbTest, WhileAnAxisRuns_DoesNothing_NorRightAfterIt) {
    telescope->MoveAxis(1, 0.1);
    ExpectNoCalibration("an axis runs");
    telescope->MoveAxis(1, 0.0);
    ExpectNoCalibration("a motion was stopped less than three seconds ago");
    machine.AdvanceTime(3'000);
    ExpectCalibration();
}

TEST_F(CalibrationVerbTest, DuringAMoveOfAClientsOwnText_DoesNothing) {
    telescope->CommandBlind(":Mw#", true);
    ExpectNoCalibration("a move without an end was sent");
    telescope->CommandBlind(":Q#", true);
    machine.AdvanceTime(3'000);
    ExpectCalibration();
}

TEST_F(CalibrationVerbTest, DuringAGuidePulse_DoesNothing) {
    driver->motion.GuidePulseBegins(GuideDirection::West);
    ExpectNoCalibration("a guide pulse runs");
    driver->motion.GuidePulseEnds(GuideDirection::West);
    ExpectCalibration();
}

TEST_F(CalibrationVerbTest, OfAParkedMount_DoesNothing) {
    driver->motion.MountReportsParked(true);
    ExpectNoCalibration("the mount is parked");
    driver->motion.MountReportsParked(false);
}

TEST_F(CalibrationVerbTest, BehindAnAbortedSlewAndAnAxisMotion_Runs) {
    SlewAndAbort();
    telescope->MoveAxis(0, 1.0);
    machine.AdvanceTime(500);
    telescope->MoveAxis(0, 0.0);
    machine.AdvanceTime(10'000);
    ExpectCalibration();
}

TEST_F(CalibrationVerbTest, WithAFlagThatAnAbortHasLeftUp_Runs) {
    driver->motion.SlewBegins();
    driver->motion.Stopped();
    driver->motion.SlewRefused();
    ASSERT_TRUE(driver->state.g_bAbortSlew && !driver->state.g_bSlewing);
    ExpectCalibration();
    driver->motion.SlewEnds();
}

TEST_F(CalibrationVerbTest, StoppedOnItsWay_MovesNothingMore) {
    machine.pump.PostAt(machine.clock.Elapsed() + 25, CallKind::Stop, [&] { OtherClient().AbortSlew(); });
    const std::string motion = MotionDuring([&] { telescope->CommandString("RAW,AutoCalibrateNSEW", true); });
    EXPECT_EQ(motion.find("Me"), std::string::npos) << motion;
    EXPECT_FALSE(Logged("Autocalibration Successful!"));
}

}  // namespace
}  // namespace kestrane
