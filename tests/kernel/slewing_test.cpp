#include <cmath>
#include <gtest/gtest.h>

#include "kernel/base/conversions.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

/// Firmware families by the road that supervises their slews.
class SlewRoadTest : public DriverFixture, public testing::WithParamInterface<std::string> {
protected:
    void SetUp() override {
        BuildMount(GetParam());
        telescope = ConnectedTelescope();
        if (!telescope->Tracking()) {
            telescope->Tracking(true);
        }
        machine.AdvanceTime(10'000);
    }
    /// A target that is up, some 30 degrees from where the mount points.
    void ChooseTarget() {
        targetRa = telescope->SiderealTime() - 1.0;
        targetRa += targetRa < 0.0 ? 24.0 : 0.0;
        targetDec = 20.0;
    }
    void ExpectAtTarget() {
        machine.AdvanceTime(3'000);
        EXPECT_NEAR(telescope->RightAscension(), targetRa, 0.01);
        EXPECT_NEAR(telescope->Declination(), targetDec, 0.05);
    }

    TelescopeObject telescope;
    double targetRa = 0.0;
    double targetDec = 0.0;
};

TEST_P(SlewRoadTest, SynchronousSlew_ReturnsAtTheTarget) {
    ChooseTarget();
    telescope->SlewToCoordinates(targetRa, targetDec);
    EXPECT_FALSE(driver->state.g_bSlewing);
    ExpectAtTarget();
}

TEST_P(SlewRoadTest, AsynchronousSlew_ReturnsAtOnce_AndEndsByThePoll) {
    ChooseTarget();
    const Tick start = machine.clock.GetTickCount();
    telescope->SlewToCoordinatesAsync(targetRa, targetDec);
    EXPECT_LT(machine.clock.GetTickCount() - start, 3'000);
    EXPECT_TRUE(telescope->Slewing());
    int seconds = 0;
    while (telescope->Slewing() && seconds < 300) {
        machine.AdvanceTime(1'000);
        ++seconds;
    }
    EXPECT_LT(seconds, 300);
    ExpectAtTarget();
}

TEST_P(SlewRoadTest, Abort_StopsTheMountShortOfTheTarget) {
    ChooseTarget();
    telescope->SlewToCoordinatesAsync(targetRa, targetDec);
    machine.AdvanceTime(1'500);
    telescope->AbortSlew();
    EXPECT_TRUE(driver->state.g_bAbortSlew || !driver->state.g_bSlewing);
    machine.AdvanceTime(12'000);
    EXPECT_FALSE(telescope->Slewing());
    const double dec = telescope->Declination();
    machine.AdvanceTime(5'000);
    EXPECT_NEAR(telescope->Declination(), dec, 0.01);
    EXPECT_GT(std::abs(dec - targetDec), 0.5);
}

TEST_P(SlewRoadTest, AbortByAnotherClient_EndsASynchronousSlew) {
    ChooseTarget();
    const TelescopeObject other = driver->CreateTelescope();
    machine.pump.PostAt(machine.clock.Elapsed() + 4'000, CallKind::Brief, [&] { other->AbortSlew(); });
    const std::int64_t start = machine.clock.Elapsed();
    telescope->SlewToCoordinates(targetRa, targetDec);
    EXPECT_LT(machine.clock.Elapsed() - start, 7'000);
}

TEST_P(SlewRoadTest, ReadsOfOtherClients_GetInDuringASynchronousSlew) {
    ChooseTarget();
    int answered = 0;
    for (int i = 1; i <= 20; ++i) {
        machine.pump.PostAt(machine.clock.Elapsed() + i * 100, CallKind::Brief, [&] {
            EXPECT_TRUE(telescope->Slewing());
            telescope->IsPulseGuiding();
            telescope->AtPark();
            telescope->Declination();
            ++answered;
        });
    }
    telescope->SlewToCoordinates(targetRa, targetDec);
    EXPECT_EQ(answered, 20);
}

TEST_P(SlewRoadTest, AbortAtAnyMoment_IsTheLastWord) {
    for (const int offset : {500, 1'990, 2'010, 2'030, 3'990, 4'010, 4'030}) {
        ChooseTarget();
        const TelescopeObject other = driver->CreateTelescope();
        int slews = 0;
        machine.pump.PostAt(machine.clock.Elapsed() + offset, CallKind::Brief, [&] {
            other->AbortSlew();
            slews = TimesSent("MS");
        });
        telescope->SlewToCoordinates(targetRa, targetDec);
        machine.AdvanceTime(15'000);
        EXPECT_EQ(TimesSent("MS"), slews) << "abort after " << offset << " ms";
        EXPECT_FALSE(telescope->Slewing());
        EXPECT_FALSE(driver->state.g_bAbortSlew);
        EXPECT_FALSE(driver->state.g_bSafeSlewPending);
        telescope->SlewToCoordinates(targetRa, 70.0);  // away again, for the next round
    }
}

INSTANTIATE_TEST_SUITE_P(Families, SlewRoadTest, testing::Values("VKC4-P02-08", "VKC5-P03-01", "E3", "D", "S"));

class SlewTest : public DriverFixture {};

TEST_F(SlewTest, RangeOfACall_IsCheckedBeforeTheConnection) {
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinates(24.0, 10.0); }), 0x80040405U);
    EXPECT_TRUE(Logged("SlewToCoordinatesAsync RightAscension (out of range) = 24"));
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinatesAsync(1.0, 90.5); }), 0x80040405U);
    EXPECT_TRUE(Logged("SlewToCoordinatesAsync Declination (out of range) = 90.5"));
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinates(0.0, 90.0); }), 0x80040404U);
}

TEST_F(SlewTest, WithoutTracking_IsTheWrongTrackingState_UnlessTrackingComesByItself) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->Tracking(false);
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinates(1.0, 45.0); }), 0x80040411U);
    driver->persist.WriteIniValue("chkAutoEnableTracking", "1");
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinatesAsync(telescope->SiderealTime(), 45.0); }), 0U);
    EXPECT_TRUE(driver->state.g_bTracking);
}

TEST_F(SlewTest, WhileParked_IsIllegal) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->state.g_bParked = true;
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinates(1.0, 45.0); }), 0x80040409U);
    EXPECT_EQ(ErrorOf([&] { telescope->AbortSlew(); }), 0x80040409U);
}

TEST_F(SlewTest, TargetBelowTheHorizon_IsLoggedWithItsMeaning_AndReturnsWithoutAnError) {
    ExpectSwallow("SafeSlew");
    const TelescopeObject telescope = ConnectedTelescope();
    const double ra = telescope->SiderealTime();
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinates(ra, -89.0); }), 0U);
    EXPECT_TRUE(Logged("The mount refused the slew: reply 1, below the horizon"));
    EXPECT_FALSE(driver->state.g_bSlewing);
}

TEST_F(SlewTest, TargetBelowTheHorizon_WithSafeSlewDisabled_RaisesTheMountsReason) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    const double ra = telescope->SiderealTime();
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToCoordinates(ra, -89.0); }), 0x80040412U);
    EXPECT_FALSE(driver->state.g_bSlewing);
    EXPECT_FALSE(driver->state.g_bPollSuspended);
}

TEST_F(SlewTest, RightAscensionThatRoundsUpToMidnight_IsSentAsHourZero) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->SlewToCoordinatesAsync(23.9999999, 80.0);
    EXPECT_EQ(TimesSent("Sr00:00:00.00"), 1);
}

TEST_F(SlewTest, SettleTime_IsZeroToAHundred) {
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    telescope->SlewSettleTime(100);
    EXPECT_EQ(telescope->SlewSettleTime(), 100);
    EXPECT_EQ(ErrorOf([&] { telescope->SlewSettleTime(101); }), 0x80040405U);
    EXPECT_EQ(ErrorOf([&] { telescope->SlewSettleTime(-1); }), 0x80040405U);
}

TEST_F(SlewTest, AbortWhileIdleAndTracking_SetsTheSiderealRate_AndSendsNoStopPair) {
    const TelescopeObject telescope = ConnectedTelescope();
    const int stops = TimesSent("Q");
    const int rates = TimesSent("RT2");
    telescope->AbortSlew();
    EXPECT_EQ(TimesSent("Q"), stops + 1);
    EXPECT_EQ(TimesSent("RT2"), rates + 1);
}

TEST_F(SlewTest, AbortWhileAnEarlierSlewIsWaitedOut_SendsNothingMore) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    int slews = 0;
    machine.pump.PostAt(machine.clock.Elapsed() + 500, CallKind::Brief, [&] {
        telescope->AbortSlew();
        slews = TimesSent("MS");
    });
    telescope->SlewToCoordinates(telescope->SiderealTime(), 20.0);
    EXPECT_EQ(TimesSent("MS"), slews);
    EXPECT_EQ(slews, 0);
}

TEST_F(SlewTest, TwoLegSlew_GoesThroughItsIntermediatePoint_AndAnAbortBetweenStopsIt) {
    BuildMount("E3");
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->Tracking(true);
    // West side with a positive hour angle: the counterweights are up.
    const auto prepare = [&] {
        machine.AdvanceTime(3'000);
        driver->state.g_bForkMount = driver->state.g_bRawRaDecSlews = driver->state.g_bFirmwareSafeSlew = false;
    };
    prepare();
    const double ra = NormalizeHours(telescope->SiderealTime() + 2.0);
    telescope->SlewToCoordinatesAsync(ra, 30.0);
    const bool twoLegs = Logged("Slew 1 of 2: ");
    EXPECT_EQ(driver->state.g_bSafeSlewPending, twoLegs);
    telescope->AbortSlew();
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    machine.AdvanceTime(30'000);
    EXPECT_FALSE(Logged("Slew 2 of 2: "));
    EXPECT_FALSE(telescope->Slewing());
}

// --- a mount that misbehaves
// ------------------------------------------------------------------------------------------

TEST_F(SlewTest, CablePulledInMidSlew_LosesCommunications_AndRecoversWhenItIsBack) {
    ExpectSwallow("*");
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->SlewToCoordinatesAsync(telescope->SiderealTime(), 45.0);
    machine.AdvanceTime(1'000);
    mount->SetLineDead(true);
    machine.AdvanceTime(20'000);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0x80040429U);
    mount->SetLineDead(false);
    machine.AdvanceTime(30'000);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0U);
    EXPECT_FALSE(telescope->Slewing());
}

}  // namespace
}  // namespace kestrane
