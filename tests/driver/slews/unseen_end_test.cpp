#include <gtest/gtest.h>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"

/// Stops while nothing is supervised, but a goto may still be under way: its end was not seen.
namespace kestrane {
namespace {

class UnseenEndTest : public SlewWireTest, public testing::WithParamInterface<std::string> {
protected:
    void Prepare() {
        for (const char* procedure : {"CommandString", "CommandBool", "CommandBlind", "CommandClear", "SendSlew"}) {
            ExpectSwallow(procedure);
        }
        MountSimulatorOptions options;
        options.firmware = GetParam();
        options.parkedAtPowerOn = false;
        options.slewSpeed = 0.5;
        Connect(options);
        telescope->Tracking(false);
        machine.AdvanceTime(1'000);
    }
    void ExpectStop() {
        ASSERT_TRUE(mount->Picture().slewing);
        ASSERT_FALSE(driver->state.g_bSlewing || driver->state.g_bTracking);
        EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "Q Q");
        EXPECT_EQ(error, 0U);
        machine.AdvanceTime(3'000);
        EXPECT_FALSE(mount->Picture().slewing);
    }
};

TEST_P(UnseenEndTest, GotoWithAGarbledReply_IsStopped) {
    Prepare();
    mount->Add(std::make_unique<AnswersWith>("MS", "7"));
    Try([&] { telescope->SlewToAltAzAsync(90.0, 40.0); });
    EXPECT_EQ(error, 0x80040414U);
    ExpectStop();
}

TEST_P(UnseenEndTest, GotoThatMoveAxisTookOver_IsStopped) {
    Prepare();
    telescope->SlewToAltAzAsync(90.0, 40.0);
    machine.AdvanceTime(500);
    telescope->MoveAxis(1, 0.0);
    ExpectStop();
}

TEST_P(UnseenEndTest, GotoOfAClientsOwnText_IsStopped) {
    Prepare();
    telescope->SlewToAltAzAsync(90.0, 40.0);
    machine.AdvanceTime(1'000);
    telescope->AbortSlew();
    machine.AdvanceTime(20'000);
    ASSERT_FALSE(mount->Picture().slewing);
    EXPECT_TRUE(telescope->CommandBool("MS", false));
    ExpectStop();
}

TEST_P(UnseenEndTest, GotoThatNobodyHeardForLong_IsStopped) {
    Prepare();
    telescope->SlewToAltAzAsync(90.0, 40.0);
    machine.AdvanceTime(1'000);
    mount->SetLineDead(true);
    machine.AdvanceTime(40'000);
    ASSERT_FALSE(driver->state.g_bSlewing) << "its supervision has ended in silence";
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    mount->SetLineDead(false);
    ExpectStop();
}

TEST_P(UnseenEndTest, GotoThatStoppedShortOfItsTarget_IsStopped_UnlessTheMountReportsThatItStands) {
    Prepare();
    mount->Add(std::make_unique<Stalls>(20.0));
    telescope->SlewToAltAzAsync(90.0, 40.0);
    machine.AdvanceTime(400'000);
    ASSERT_FALSE(driver->state.g_bSlewing || driver->state.g_bTracking);
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), GetParam() == "D" ? "Q Q" : "");
}

TEST_P(UnseenEndTest, HandBoxStop_AlwaysGoesOut) {
    Prepare();
    machine.AdvanceTime(10'000);
    EXPECT_EQ(MotionDuring([&] { driver->InternalInstance().AbortSlewDriver(); }), "Q Q");
}

TEST_P(UnseenEndTest, GotoThatWasSeenToArrive_IsNotStopped_NorIsAMountThatNeverSlewed) {
    MountSimulatorOptions options;
    options.firmware = GetParam();
    options.parkedAtPowerOn = false;
    Connect(options);
    telescope->Tracking(false);
    machine.AdvanceTime(1'000);
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "");
    telescope->SlewToAltAz(90.0, 40.0);
    machine.AdvanceTime(1'000);
    ASSERT_FALSE(driver->state.g_bTracking);
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "");
}

INSTANTIATE_TEST_SUITE_P(Roads, UnseenEndTest, testing::Values("S", "D"));

}  // namespace
}  // namespace kestrane
