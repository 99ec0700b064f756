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
    void SlewAndAbort() {
        telescope->SlewToCoordinatesAsync(telescope->SiderealTime(), 20.0);
        machine.AdvanceTime(1'000);
        telescope->AbortSlew();
        ASSERT_TRUE(driver->state.g_bAbortSlew);
    }
};

TEST_F(CalibrationVerbTest, RightBehindAnAbortedSlew_Runs) {
    SlewAndAbort();
    machine.AdvanceTime(500);
    ExpectCalibration();
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
