#include <gtest/gtest.h>

#include "driver/slews/slew_wire_fixture.h"
#include "simulator/misbehaviours.h"

namespace kestrane {
namespace {

/// Slews to a place over the horizon, from a mount that does not track. The firmware chooses the supervision.
class AltAzSlewTest : public SlewWireTest, public testing::WithParamInterface<std::string> {
protected:
    void SetUp() override {
        Connect(GetParam());
        telescope->Tracking(false);
        machine.AdvanceTime(6'000);
        ASSERT_FALSE(driver->state.g_bTracking);
        LeaveTrackingAlone();
    }
    std::string Stopped() const {
        return driver->state.g_bHasCustomRates && !driver->state.g_bGosActive ? "RD0.0000 " : "";
    }
};

TEST_P(AltAzSlewTest, AsynchronousSlew_StopsTheMountOnceMore_AndSendsAltitudeFirst) {
    EXPECT_EQ(SentDuring([&] { telescope->SlewToAltAzAsync(150.0, 45.5); }),
              "# Q " + Stopped() + "RT9 Sa+45*30:00 Sz150*00:00 MS");
    EXPECT_EQ(error, 0U);
    EXPECT_TRUE(Logged("SlewToAltAzAsync() Az=150, Alt=45.5"));
    EXPECT_TRUE(Logged("Sent 'MS', Response: 0"));
    EXPECT_TRUE(WaitForEnd());
    EXPECT_NEAR(mount->Picture().altitude, 45.5, 0.1);
    EXPECT_NEAR(mount->Picture().azimuth, 150.0, 0.2);
    EXPECT_EQ(TimesSent("MS"), 1);
    EXPECT_FALSE(driver->state.g_bTracking);
}

TEST_P(AltAzSlewTest, SynchronousSlew_ReturnsAtItsEnd) {
    const std::int64_t start = machine.clock.Elapsed();
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToAltAz(150.0, 45.5); }),
              "# Q " + Stopped() + "RT9 Sa+45*30:00 Sz150*00:00 MS");
    EXPECT_GT(machine.clock.Elapsed() - start, 3'000);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(driver->state.g_bSlewing);
    EXPECT_NEAR(mount->Picture().altitude, 45.5, 0.1);
    EXPECT_TRUE(Logged("SlewToAltAz() Az=150, Alt=45.5"));
}

TEST_P(AltAzSlewTest, ThereAreNoTwoLegs) {
    mount->Add(std::make_unique<StandsWest>());
    telescope->SlewToAltAzAsync(90.0, 45.0);
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(TimesSent("MS"), 1);
    EXPECT_FALSE(Logged("Slew 1 of 2"));
}

TEST_P(AltAzSlewTest, Abort_EndsTheWait) {
    Telescope& other = OtherClient();
    std::size_t stoppedAt = 0;
    std::int64_t stopped = 0;
    const When stop(
        machine.pump, [&] { return TimesSent("MS") == 1 && machine.clock.Elapsed() % 4'000 > 2'000; },
        [&] {
            stoppedAt = Tape().Count();
            stopped = machine.clock.Elapsed();
            other.AbortSlew();
        });
    telescope->SlewToAltAz(60.0, 30.0);
    ASSERT_TRUE(stop.Happened());
    EXPECT_LT(machine.clock.Elapsed() - stopped, 1'000);
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(Tape().Motion(stoppedAt), "Q Q");
}

INSTANTIATE_TEST_SUITE_P(Roads, AltAzSlewTest, testing::Values("S", "D"));

class AltAzTargetTest : public SlewWireTest {
protected:
    void SetUp() override {
        Connect("S");
        Stand().replies["GOS"] = "090000232O0000#";
        driver->state.g_bTracking = false;
    }
};

TEST_F(AltAzTargetTest, SignOfTheAltitude_FollowsItsValue) {
    struct Row {
        double altitude;
        const char* sent;
    };
    for (const Row& row :
         {Row{0.0, "Sa+00*00:00"}, Row{5.25, "Sa+05*15:00"}, Row{90.0, "Sa+90*00:00"}, Row{-5.25, "Sa-05*15:00"}}) {
        EXPECT_EQ(MotionDuring([&] { telescope->SlewToAltAzAsync(10.0, row.altitude); }),
                  std::string("# Q RT9 ") + row.sent + " Sz010*00:00 MS");
    }
}

TEST_F(AltAzTargetTest, Azimuth_HasThreeDigitsOfDegrees) {
    struct Row {
        double azimuth;
        const char* sent;
    };
    for (const Row& row :
         {Row{0.0, "Sz000*00:00"}, Row{9.5, "Sz009*30:00"}, Row{60.0, "Sz060*00:00"}, Row{99.9999, "Sz100*00:00"},
          Row{359.5, "Sz359*30:00"}, Row{359.99999, "Sz000*00:00"}, Row{360.0, "Sz000*00:00"}}) {
        EXPECT_EQ(MotionDuring([&] { telescope->SlewToAltAzAsync(row.azimuth, 45.0); }),
                  std::string("# Q RT9 Sa+45*00:00 ") + row.sent + " MS");
    }
}

TEST_F(AltAzTargetTest, PlaceThatIsNone_IsRefused_WithTheFlagsDown) {
    for (const auto& [azimuth, altitude] : {std::pair{-0.1, 45.0}, {360.1, 45.0}, {10.0, 90.1}, {10.0, -90.1}}) {
        EXPECT_EQ(
            MotionDuring([&, azimuth = azimuth, altitude = altitude] { telescope->SlewToAltAz(azimuth, altitude); }),
            "# Q RT9");
        EXPECT_EQ(error, 0x80040405U);
        EXPECT_FALSE(driver->state.g_bSlewing);
        EXPECT_FALSE(driver->state.g_bMountSlewing);
    }
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToAltAzAsync(360.0, 45.0); }), "# Q RT9 Sa+45*00:00 Sz000*00:00 MS");
}

TEST_F(AltAzTargetTest, CustomRatesWithoutTheStatusText_AreClearedByTheStop) {
    driver->state.g_bGosActive = false;
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToAltAzAsync(10.0, 45.0); }),
              "# Q RD0.0000 RT9 Sa+45*00:00 Sz010*00:00 MS");
}

TEST_F(AltAzTargetTest, SlewRateOfTheSettings_GoesOutAheadOfTheTarget) {
    driver->persist.WriteIniValue("chkSetSlewRate", "1");
    EXPECT_EQ(MotionDuring([&] { telescope->SlewToAltAzAsync(10.0, 45.0); }), "# Q RT9 RS2 Sa+45*00:00 Sz010*00:00 MS");
}

}  // namespace
}  // namespace kestrane
