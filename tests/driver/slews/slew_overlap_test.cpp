#include <cmath>
#include <gtest/gtest.h>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"

namespace kestrane {
namespace {

/// Slews that meet other slews, mounts that stand still too early, lines that die. The firmware chooses the road of the
/// supervision.
class SlewOverlapTest : public SlewWireTest, public testing::WithParamInterface<std::string> {
protected:
    void SetUp() override {
        Connect(GetParam());
        lst = telescope->SiderealTime();
    }
    /// A mount three hours past the meridian is said to stand on the west side, so that a slew over it has two legs.
    void StartTwoLegs(double dec) {
        mount->Add(std::make_unique<StandsWest>());
        telescope->SlewToCoordinatesAsync(NormalizeHours(lst + 2.0), dec);
        ASSERT_TRUE(driver->state.g_bSafeSlewPending);
        machine.AdvanceTime(1'000);
        ASSERT_TRUE(mount->Picture().slewing);
    }
    /// Where the slew went that took the place of two legs; nothing was sent after it.
    void ExpectNothingButTheNewSlew() {
        EXPECT_EQ(TimesSent("MS"), 2);
        EXPECT_FALSE(Logged("Slew 2 of 2"));
        ExpectAt(lst - 4.0, 50.0);
    }
    double lst = 0.0;
};

// --- a second slew ------------------------------------------------------------------------------------------------

TEST_P(SlewOverlapTest, SecondAsynchronousSlew_ReplacesTheTargetAtOnce) {
    telescope->SlewToCoordinatesAsync(NormalizeHours(lst - 1.0), 20.0);
    machine.AdvanceTime(1'000);
    ASSERT_TRUE(mount->Picture().slewing);
    Telescope& other = OtherClient();
    other.SlewToCoordinatesAsync(NormalizeHours(lst - 4.0), 50.0);
    EXPECT_EQ(TimesSent("MS"), 2);
    EXPECT_TRUE(WaitForEnd());
    ExpectAt(lst - 4.0, 50.0);
    EXPECT_EQ(TimesSent("MS"), 2);
}

TEST_P(SlewOverlapTest, SynchronousSlewInsideASynchronousOne_EndsBoth) {
    Telescope& other = OtherClient();
    bool innerDone = false;
    machine.pump.PostAt(machine.clock.Elapsed() + 2'000, CallKind::WaitsLong, [&] {
        other.SlewToCoordinates(NormalizeHours(lst - 4.0), 50.0);
        innerDone = true;
        EXPECT_FALSE(mount->Picture().slewing);
        EXPECT_NEAR(mount->Picture().declination, 50.0, 0.05);
    });
    telescope->SlewToCoordinates(NormalizeHours(lst - 1.0), 20.0);
    EXPECT_TRUE(innerDone);
    EXPECT_EQ(TimesSent("MS"), 2);
    EXPECT_FALSE(telescope->Slewing());
    ExpectAt(lst - 4.0, 50.0);
}

TEST_P(SlewOverlapTest, AbortInsideTwoSynchronousSlews_EndsBoth) {
    Telescope& other = OtherClient();
    machine.pump.PostAt(machine.clock.Elapsed() + 2'000, CallKind::WaitsLong,
                        [&] { other.SlewToCoordinates(NormalizeHours(lst - 4.0), 50.0); });
    std::int64_t stopped = 0;
    machine.pump.PostAt(machine.clock.Elapsed() + 4'000, CallKind::Stop, [&] {
        stopped = machine.clock.Elapsed();
        telescope->AbortSlew();
    });
    telescope->SlewToCoordinates(NormalizeHours(lst - 1.0), 20.0);
    EXPECT_GT(stopped, 0);
    EXPECT_LT(machine.clock.Elapsed() - stopped, 1'000);
    EXPECT_EQ(TimesSent("MS"), 2);
    EXPECT_TRUE(WaitForEnd());
}

TEST_P(SlewOverlapTest, SlewInOneLeg_DropsTheSecondLegOfAnEarlierOne) {
    StartTwoLegs(30.0);
    mount->ClearMisbehaviours();  // east again: the new slew needs one leg
    telescope->SlewToCoordinatesAsync(NormalizeHours(lst - 4.0), 50.0);
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_TRUE(WaitForEnd());
    ExpectNothingButTheNewSlew();
}

TEST_P(SlewOverlapTest, SynchronousSlewInOneLeg_DropsTheSecondLegOfAnEarlierOneBeforeItWaits) {
    StartTwoLegs(30.0);
    mount->ClearMisbehaviours();
    OtherClient().SlewToCoordinates(NormalizeHours(lst - 4.0), 50.0);
    ExpectNothingButTheNewSlew();
}

TEST_P(SlewOverlapTest, SlewInTwoLegs_PutsItsSecondLegInThePlaceOfAnEarlierOne) {
    StartTwoLegs(30.0);
    telescope->SlewToCoordinatesAsync(NormalizeHours(lst + 1.0), 60.0);
    EXPECT_TRUE(driver->state.g_bSafeSlewPending);
    EXPECT_TRUE(WaitForEnd());
    ExpectAt(lst + 1.0, 60.0);
    EXPECT_EQ(TimesSent("MS"), 3);
    EXPECT_EQ(TimesLogged("Slew 2 of 2"), 1);
}

TEST_P(SlewOverlapTest, SlewWithoutAPlan_EndsTheSecondLegOfAnEarlierOne) {
    StartTwoLegs(30.0);
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    telescope->SlewToCoordinatesAsync(NormalizeHours(lst - 4.0), 50.0);
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_TRUE(WaitForEnd());
    ExpectNothingButTheNewSlew();
}

TEST_P(SlewOverlapTest, SynchronousSlewWithoutAPlan_WaitsForTheFirstLegOnly) {
    StartTwoLegs(30.0);
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    OtherClient().SlewToCoordinates(NormalizeHours(lst - 4.0), 50.0);
    ExpectNothingButTheNewSlew();
}

TEST_P(SlewOverlapTest, SynchronousSlewWithoutSafeSlew_WaitsAnEarlierOneOut) {
    telescope->SlewToCoordinatesAsync(NormalizeHours(lst - 1.0), 20.0);
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    bool arrived = false;
    const When secondGoto(
        machine.pump, [&] { return TimesSent("MS") == 1 && !mount->Picture().slewing; }, [&] { arrived = true; });
    OtherClient().SlewToCoordinates(NormalizeHours(lst - 4.0), 50.0);
    EXPECT_TRUE(arrived) << "the first one came to its end before the second was sent";
    EXPECT_EQ(TimesSent("MS"), 2);
    ExpectAt(lst - 4.0, 50.0);
}

TEST_P(SlewOverlapTest, TargetWrittenWhileAnEarlierSlewIsWaitedOut_ChangesNothing) {
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    Telescope& other = OtherClient();
    machine.pump.PostAt(machine.clock.Elapsed() + 500, CallKind::Brief, [&] {
        other.TargetRightAscension(1.0);
        other.TargetDeclination(85.0);
    });
    telescope->SlewToCoordinates(NormalizeHours(lst - 1.0), 20.0);
    ExpectAt(lst - 1.0, 20.0);
}

// --- a slew that is asked for inside a poll step ------------------------------------------------------------------

TEST_P(SlewOverlapTest, SynchronousWaitInsideThePollStep_RunsThePollItself) {
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);  // as good as off: the timer sends nothing inside the step
    driver->state.g_bInPoll = true;
    mount->Add(std::make_unique<StandsWest>());
    Tape().Clear();
    telescope->SlewToCoordinates(NormalizeHours(lst + 2.0), 30.0);
    driver->state.g_bInPoll = false;
    const std::string sent = Tape().All();
    EXPECT_NE(sent.find(" GA "), std::string::npos) << "the poll has asked for the altitude";
    EXPECT_EQ(TimesSent("MS"), 3);
    EXPECT_FALSE(driver->state.g_bSlewing);
    ExpectAt(lst + 2.0, 30.0);
}

// --- faults ---------------------------------------------------------------------------------------------------------

TEST_P(SlewOverlapTest, MountThatStallsShortOfItsTarget_EndsTheSlew) {
    mount->Add(std::make_unique<Stalls>(10.0));
    telescope->SlewToCoordinatesAsync(NormalizeHours(lst - 1.0), 20.0);
    EXPECT_TRUE(WaitForEnd());
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_GT(std::abs(mount->Picture().declination - 20.0) +
                  std::abs(NormalizeHourAngle(mount->Picture().rightAscension - lst + 1.0)) * 15.0,
              5.0);
}

TEST_P(SlewOverlapTest, SynchronousSlewThatStalls_Returns) {
    mount->Add(std::make_unique<Stalls>(10.0));
    const std::int64_t start = machine.clock.Elapsed();
    telescope->SlewToCoordinates(NormalizeHours(lst - 1.0), 20.0);
    EXPECT_LT(machine.clock.Elapsed() - start, 60'000);
    EXPECT_FALSE(telescope->Slewing());
}

TEST_P(SlewOverlapTest, FirstLegThatStalls_IsFollowedByTheSecond) {
    mount->Add(std::make_unique<Stalls>(5.0));
    StartTwoLegs(30.0);
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(TimesSent("MS"), 2);
    EXPECT_EQ(TimesLogged("Slew 2 of 2"), 1);
}

TEST_P(SlewOverlapTest, LineThatDiesInTheFirstLeg_AndComesBack_EndsAtTheTarget) {
    for (const char* procedure : {"CommandString", "CommandBool", "CommandBlind", "CommandClear"}) {
        ExpectSwallow(procedure);
    }
    StartTwoLegs(30.0);
    mount->SetLineDead(true);
    machine.AdvanceTime(40'000);
    EXPECT_TRUE(driver->state.g_bLostComms);
    EXPECT_TRUE(telescope->Slewing()) << "the second leg is still to come";
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0x80040429U);
    EXPECT_EQ(TimesSent("MS"), 1);
    mount->SetLineDead(false);
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(TimesSent("MS"), 2);
    ExpectAt(lst + 2.0, 30.0);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0U);
}

TEST_P(SlewOverlapTest, LineThatDiesUnderASynchronousSlew_AndComesBack_LetsItReturn) {
    for (const char* procedure : {"CommandString", "CommandBool", "CommandBlind", "CommandClear"}) {
        ExpectSwallow(procedure);
    }
    const When dies(
        machine.pump, [&] { return mount->Picture().slewing; }, [&] { mount->SetLineDead(true); });
    const std::int64_t back = machine.clock.Elapsed() + 30'000;
    const When comesBack(
        machine.pump, [&] { return machine.clock.Elapsed() >= back; }, [&] { mount->SetLineDead(false); });
    telescope->SlewToCoordinates(NormalizeHours(lst - 1.0), 20.0);
    EXPECT_TRUE(dies.Happened());
    while (!comesBack.Happened()) {
        machine.AdvanceTime(1'000);
    }
    machine.AdvanceTime(10'000);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_FALSE(driver->state.g_bLostComms);
    ExpectAt(lst - 1.0, 20.0);
}

INSTANTIATE_TEST_SUITE_P(Roads, SlewOverlapTest, testing::Values("S", "D"));

class StatusRoadTest : public SlewWireTest {};

TEST_F(StatusRoadTest, MountThatStallsAndClaimsToSlew_IsBelieved_UntilItIsStopped) {
    Connect("S");
    mount->Add(std::make_unique<Stalls>(10.0, true));
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    EXPECT_FALSE(WaitForEnd());
    telescope->AbortSlew();
    mount->ClearMisbehaviours();
    EXPECT_TRUE(WaitForEnd());
}

// --- members that report ------------------------------------------------------------------------------------------

TEST_F(StatusRoadTest, Slewing_LogsItsValueAndTheAxisRates_AndTakesTwentyMilliseconds) {
    Connect("S");
    Stand();
    log.clear();
    const std::int64_t start = machine.clock.Elapsed();
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_EQ(machine.clock.Elapsed() - start, 20);
    EXPECT_EQ(log.front().origin, "ASCOM");
    EXPECT_EQ(log.front().message, "GET Slewing = False, MoveAxis(0)=0, MoveAxis(1)=0");
    driver->motion.SecondLegPlanned();
    EXPECT_TRUE(telescope->Slewing());
    EXPECT_TRUE(Logged("GET Slewing = True, MoveAxis(0)=0, MoveAxis(1)=0"));
    driver->motion.SecondLegDropped();
}

TEST_F(StatusRoadTest, Slewing_PumpsOnce_ButNotInsideThePollStep) {
    Connect("S");
    Stand();
    const int pumps = machine.pump.Pumps();
    telescope->Slewing();
    EXPECT_EQ(machine.pump.Pumps(), pumps + 1);
    driver->state.g_bInPoll = true;
    const std::int64_t start = machine.clock.Elapsed();
    telescope->Slewing();
    EXPECT_EQ(machine.clock.Elapsed() - start, 23);
    EXPECT_EQ(machine.pump.Pumps(), pumps + 1);
    driver->state.g_bInPoll = false;
}

TEST_F(StatusRoadTest, SettleTime_IsZeroToAHundredSeconds_AndIsNotKept) {
    Start();
    const TelescopeObject client = driver->CreateTelescope();
    EXPECT_EQ(client->SlewSettleTime(), 1);
    for (const std::int16_t seconds : {std::int16_t{0}, std::int16_t{100}}) {
        client->SlewSettleTime(seconds);
        EXPECT_EQ(client->SlewSettleTime(), seconds);
        EXPECT_TRUE(Logged("SET SlewSettleTime = " + std::to_string(seconds)));
        EXPECT_TRUE(Logged("GET SlewSettleTime = " + std::to_string(seconds)));
    }
    for (const std::int16_t seconds : {std::int16_t{-1}, std::int16_t{101}}) {
        EXPECT_EQ(ErrorOf([&] { client->SlewSettleTime(seconds); }), 0x80040405U);
        EXPECT_TRUE(Logged("SET SlewSettleTime (out of range) = " + std::to_string(seconds)));
        EXPECT_EQ(client->SlewSettleTime(), 100);
    }
}

TEST_F(StatusRoadTest, SettleTime_IsWaitedOutByTheDistanceRoad) {
    Connect("D");
    std::int64_t stands = 0;
    for (const std::int16_t seconds : {std::int16_t{0}, std::int16_t{10}}) {
        telescope->SlewSettleTime(seconds);
        const int gotos = TimesSent("MS");
        const When arrives(
            machine.pump, [&] { return TimesSent("MS") > gotos && !mount->Picture().slewing; },
            [&] { stands = machine.clock.Elapsed(); });
        telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0 + seconds);
        const std::int64_t settled = machine.clock.Elapsed() - stands;
        EXPECT_GE(settled, 2 * 1'000 * seconds - 4'000);
        EXPECT_LE(settled, 2 * 1'000 * seconds + 8'000);
    }
}

}  // namespace
}  // namespace kestrane
