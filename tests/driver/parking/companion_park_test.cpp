#include <gtest/gtest.h>

#include "driver/parking/park_fixture.h"

/// A companion that takes slews takes parks too.
namespace kestrane {
namespace {

class CompanionParkTest : public ParkTest {
protected:
    StandingMount& Ready(const SettingTexts& settings) {
        Connect("S", settings);
        StandingMount& standing = StandForPark();
        standing.replies["*PARK"] = "OK#";
        standing.replies["*DISABLESAFESLEW"] = "OK#";
        driver->state.g_bQuayConfigured = true;
        driver->state.g_bQuayLink = true;
        driver->state.g_bQuayHandlesSlews = true;
        driver->state.g_nQuaySeq = 1;
        machine.AdvanceTime(10'000);
        Tape().Clear();
        ExpectSwallow("*");
        return standing;
    }
    bool WasSent(const std::string& text) { return Tape().All().find(text) != std::string::npos; }
};

TEST_F(CompanionParkTest, EachPositionIsItsOwn) {
    for (int index = 0; index < 6; ++index) {
        StandingMount& standing =
            Ready({{"cbxParkTo", std::to_string(index)}, {"cbxParkToText", "Park"}, {"chkAsyncPark", "1"}});
        telescope->Park();
        EXPECT_TRUE(WasSent("*PARK," + std::to_string(index))) << Tape().All();
        EXPECT_FALSE(WasSent("MS"));
        EXPECT_TRUE(driver->state.g_bParking);
        EXPECT_TRUE(Logged("Async Park"));
        standing.replies["GOS"] = "P90000232O0000#";
        machine.AdvanceTime(15'000);
        EXPECT_TRUE(telescope->AtPark());
        EXPECT_FALSE(driver->state.g_bParking);
        EXPECT_FALSE(WasSent("KA")) << "the companion has parked it";
        EXPECT_TRUE(WasSent("*DISABLESAFESLEW,0"));
        EndTheDriver();
    }
}

TEST_F(CompanionParkTest, TheUsersPlace_GoesWithItsAngles) {
    Ready({{"cbxParkTo", "6"}, {"txtUserParkAlt", "030.50"}, {"txtUserParkAz", "120"}, {"chkAsyncPark", "1"}});
    telescope->Park();
    EXPECT_TRUE(WasSent("*PARKALTAZ,030.50,120")) << "as it is kept: " << Tape().All();
}

TEST_F(CompanionParkTest, TheUsersPlace_WithADecimalComma_IsTheSamePlace) {
    Ready({{"cbxParkTo", "6"}, {"txtUserParkAlt", " 30,5"}, {"txtUserParkAz", "120,25 "}, {"chkAsyncPark", "1"}});
    telescope->Park();
    EXPECT_TRUE(WasSent("*PARKALTAZ,30.5,120.25")) << Tape().All();
}

TEST_F(CompanionParkTest, TheUsersPlace_ThatIsNoNumber_IsRefused) {
    for (const auto& [altitude, azimuth] : {std::pair{"abc", "120"}, {"30", ""}, {"3e1", "120"}, {"30", "1,2,3"}}) {
        Ready({{"cbxParkTo", "6"}, {"txtUserParkAlt", altitude}, {"txtUserParkAz", azimuth}});
        telescope->Park();
        EXPECT_FALSE(WasSent("*PARK")) << altitude << "/" << azimuth;
        EXPECT_TRUE(LoggedAs("Telescope", 2, "The angles of the park position are no numbers: nothing is sent"));
        EXPECT_FALSE(driver->state.g_bParking);
        EXPECT_FALSE(telescope->AtPark());
        EXPECT_TRUE(Logged("Park canceled..."));
        EndTheDriver();
    }
}

TEST_F(CompanionParkTest, ASynchronousPark_ReturnsWhenItHasEnded) {
    StandingMount& standing = Ready({{"cbxParkTo", "2"}});
    const std::int64_t start = machine.clock.Elapsed();
    const When parked(
        machine.pump, [&] { return machine.clock.Elapsed() > start + 20'000; },
        [&] { standing.replies["GOS"] = "P90000232O0000#"; });
    telescope->Park();
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_LT(machine.clock.Elapsed() - start, 30'000);
}

TEST_F(CompanionParkTest, AnAbort_EndsTheWait) {
    Ready({{"cbxParkTo", "2"}});
    const std::int64_t start = machine.clock.Elapsed();
    const When stop(
        machine.pump, [&] { return machine.clock.Elapsed() > start + 5'000; }, [&] { telescope->AbortSlew(); });
    telescope->Park();
    EXPECT_LT(machine.clock.Elapsed() - start, 8'000);
    machine.AdvanceTime(5'000);
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_FALSE(telescope->AtPark());
}

TEST_F(CompanionParkTest, ASlewThatTakesTheMount_EndsTheWait) {
    Ready({{"cbxParkTo", "2"}});
    const std::int64_t start = machine.clock.Elapsed();
    const When taken(
        machine.pump, [&] { return machine.clock.Elapsed() > start + 5'000; },
        [&] { telescope->SlewToCoordinatesAsync(4.0, 40.0); });
    telescope->Park();
    EXPECT_TRUE(taken.Happened());
    EXPECT_LT(machine.clock.Elapsed() - start, 8'000);
    EXPECT_FALSE(driver->state.g_bParking);
}

/// A park with the counterweight up, which the driver leads: the companion must not slew in its own way meanwhile.
class CompanionReleaseTest : public CompanionParkTest {
protected:
    StandingMount& ReadyUp() {
        StandingMount& standing = Ready({{"cbxParkTo", "6"},
                                         {"CounterWeightsUpPark", "1"},
                                         {"CounterWeightsUpHourAngle", "2"},
                                         {"CounterWeightsUpTimeOffset", "10"},
                                         {"CounterWeightsUpParkIntermediateSlewDec", "40"}});
        // Near the end of the first leg.
        standing.Stand("04:06:00.0", "+40*00:00.0", "04:00:00", "West");
        machine.AdvanceTime(10'000);
        Tape().Clear();
        return standing;
    }
    void ExpectReleased() {
        const std::string sent = Tape().All();
        const std::size_t forbidden = sent.rfind("*DISABLESAFESLEW,1");
        const std::size_t allowed = sent.rfind("*DISABLESAFESLEW,0");
        ASSERT_NE(forbidden, std::string::npos) << sent;
        ASSERT_NE(allowed, std::string::npos) << sent;
        EXPECT_LT(forbidden, allowed) << sent;
        EXPECT_FALSE(driver->state.g_bParking);
        EXPECT_FALSE(WasSent("KA"));
    }
};

TEST_F(CompanionReleaseTest, AfterBothLegs_WhichEndWithTheParkOfTheDriver) {
    StandingMount& standing = ReadyUp();
    standing.replies["SM"] = "1";
    telescope->Park();
    EXPECT_TRUE(Logged("Disabling QUAY Safe Slewing for CW Up Park = "));
    ASSERT_TRUE(RunUntil([&] { return driver->state.g_nParkIndex == -1 && driver->state.g_bSlewing; }));
    EXPECT_FALSE(Logged("Re-enabled QUAY Safe Slewing = ")) << "not between the legs";
    standing.Stand("02:00:00.0", "+40*00:00.0", "04:00:00", "West");
    ASSERT_TRUE(WaitForParkEnd());
    EXPECT_TRUE(Logged("Re-enabled QUAY Safe Slewing = "));
    EXPECT_TRUE(WasSent("KA")) << "a park with the counterweight up is that of the driver";
    EXPECT_TRUE(telescope->AtPark());
}

TEST_F(CompanionReleaseTest, AfterARefusedFirstLeg) {
    ReadyUp().replies["MS"] = "1";
    telescope->Park();
    ExpectReleased();
}

TEST_F(CompanionReleaseTest, AfterAStopOnTheWayToTheSecondLeg) {
    StandingMount& standing = ReadyUp();
    bool stopped = false;
    standing.onCommand = [&](const std::string& command) {
        if (!stopped && driver->state.g_nParkIndex == -1 && command.find("GM") != std::string::npos) {
            stopped = true;
            machine.pump.PostAt(machine.clock.Elapsed(), CallKind::Stop, [&] { driver->panel.AbortSlew(); });
        }
    };
    telescope->Park();
    machine.AdvanceTime(30'000);
    EXPECT_TRUE(stopped);
    ExpectReleased();
    EXPECT_TRUE(Logged("Park canceled..."));
}

TEST_F(CompanionReleaseTest, AfterAStopOfAnotherTryThatGoesEast) {
    StandingMount& standing = ReadyUp();
    telescope->Park();
    ASSERT_TRUE(driver->state.g_bParking);
    standing.Stand("12:00:00.0", "+70*00:00.0", "04:00:00", "East");
    machine.AdvanceTime(3'000);
    driver->persist.Write(setting::chkSlewEast, "1");
    driver->persist.Write(setting::txtSlewEastFirstHours, "5");
    const When goesEast(
        machine.pump, [&] { return driver->state.g_bSlewingEast; }, [&] { telescope->AbortSlew(); });
    telescope->CommandString("RAW,ParkMount,6", true);
    EXPECT_TRUE(goesEast.Happened());
    ExpectReleased();
}

TEST_F(CompanionParkTest, AParkThatNeverEnds_ReturnsAfterFiveMinutes) {
    Ready({{"cbxParkTo", "2"}});
    const std::int64_t start = machine.clock.Elapsed();
    telescope->Park();
    EXPECT_NEAR(static_cast<double>(machine.clock.Elapsed() - start), 300'000.0, 3'000.0);
    EXPECT_TRUE(driver->state.g_bParking);
}

}  // namespace
}  // namespace kestrane
