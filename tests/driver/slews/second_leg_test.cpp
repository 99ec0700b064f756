#include <cmath>
#include <gtest/gtest.h>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"

/// When a second leg starts, and when the slew ends after its first one. The firmware chooses the road of the
/// supervision.
namespace kestrane {
namespace {

class SecondLegTest : public SlewWireTest, public testing::WithParamInterface<std::string> {
protected:
    void Prepare(const SettingTexts& settings = {}) {
        Connect(GetParam(), settings);
        mount->Add(std::make_unique<StandsWest>());
        ra = NormalizeHours(telescope->SiderealTime() + 2.0);
    }
    void StartTwoLegs() {
        telescope->SlewToCoordinatesAsync(ra, 30.0);
        ASSERT_TRUE(driver->state.g_bSafeSlewPending);
        machine.AdvanceTime(1'000);
        ASSERT_TRUE(mount->Picture().slewing);
    }
    void ExpectEndInTheFirstLeg() {
        EXPECT_TRUE(WaitForEnd());
        machine.AdvanceTime(20'000);
        EXPECT_EQ(TimesSent("MS"), 1);
        EXPECT_EQ(TimesLogged("Slew 2 of 2"), 0);
        EXPECT_EQ(TimesLogged("The slew ends here, its second leg is not sent: "), 1);
        EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    }
    double ra = 0.0;
};

TEST_P(SecondLegTest, StopOfAClientsOwnText_EndsTheSlewInItsFirstLeg) {
    Prepare();
    StartTwoLegs();
    OtherClient().CommandBlind(":Q#", true);
    ExpectEndInTheFirstLeg();
}

TEST_P(SecondLegTest, StopOfAClientsOwnText_EndsASlewThatWaits_WithoutAnotherGoto) {
    Prepare();
    Telescope& other = OtherClient();
    const When stop(
        machine.pump, [&] { return TimesSent("MS") == 1 && mount->Picture().slewing; },
        [&] { other.CommandBlind(":Q#", true); });
    telescope->SlewToCoordinates(ra, 30.0);
    ASSERT_TRUE(stop.Happened());
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesSent("MS"), 1);
    EXPECT_EQ(TimesLogged("The target is not sent to the mount again: "), 1);
}

TEST_P(SecondLegTest, StopOfAClientsOwnText_InTheSecondLegOfASlewThatWaits_IsTheLastWord) {
    Prepare();
    Telescope& other = OtherClient();
    const When stop(
        machine.pump, [&] { return TimesSent("MS") == 2 && mount->Picture().slewing; },
        [&] { other.CommandBlind("Q", false); });
    telescope->SlewToCoordinates(ra, 30.0);
    ASSERT_TRUE(stop.Happened());
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesSent("MS"), 2);
}

TEST_P(SecondLegTest, ResetOfCountedStalls_EndsTheSlewInItsFirstLeg) {
    Prepare();
    StartTwoLegs();
    driver->counters.CountMotorStall();
    driver->connections.ResetCommCounters();
    ExpectEndInTheFirstLeg();
}

TEST_P(SecondLegTest, CalibrationAheadOfTheFirstLeg_IsNoSuchStop) {
    for (const bool waits : {false, true}) {
        Prepare({{"chkAutoCalibrateOnFirstSlew", "1"}});
        const int gotos = TimesSent("MS");
        waits ? telescope->SlewToCoordinates(ra, 30.0) : telescope->SlewToCoordinatesAsync(ra, 30.0);
        EXPECT_EQ(TimesSent("Me"), GetParam() == "S" ? 1 : 0) << "the other one tells no declination that can be read";
        EXPECT_TRUE(WaitForEnd());
        EXPECT_EQ(TimesSent("MS"), gotos + (waits ? 3 : 2));
        ExpectAt(ra, 30.0);
        telescope.reset();
        driver.reset();
        machine.serialPorts.Disconnect(1);
    }
}

TEST_P(SecondLegTest, MountThatStandsShortOfTheFirstLeg_AfterItWasLost_GetsNoSecondLeg) {
    for (const char* procedure : {"CommandString", "CommandBool", "CommandBlind", "CommandClear"}) {
        ExpectSwallow(procedure);
    }
    Prepare();
    mount->Add(std::make_unique<Stalls>(5.0));
    StartTwoLegs();
    mount->SetLineDead(true);
    machine.AdvanceTime(40'000);
    ASSERT_TRUE(driver->state.g_bLostComms);
    EXPECT_TRUE(telescope->Slewing());
    mount->SetLineDead(false);
    ExpectEndInTheFirstLeg();
}

TEST_P(SecondLegTest, MountThatComesBackAtItsPowerOnPosition_GetsNoSecondLeg) {
    Prepare();
    StartTwoLegs();
    mount->Add(std::make_unique<AnswersWith>("GR", "00:00:00.0#", kEveryTime));
    mount->Add(std::make_unique<AnswersWith>("GD", "+90*00:00#", kEveryTime));
    EXPECT_TRUE(WaitForEnd());
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesSent("MS"), 1);
    EXPECT_EQ(TimesLogged("its second leg is not sent: the mount reports its power-on position"), 1);
}

INSTANTIATE_TEST_SUITE_P(Roads, SecondLegTest, testing::Values("S", "D"));

// --- the status text around a goto and an abort
// -------------------------------------------------------------------------

/// Reports for a while after a goto that nothing moves.
class ReportsTheGotoLate final : public Misbehaviour {
public:
    ReportsTheGotoLate(VirtualClock& clock, std::int64_t forMs) : clock_(clock), forMs_(forMs) {}
    void Change(SimulatedReply& reply) override {
        if (reply.name == "MS") {
            end_ = clock_.Elapsed() + forMs_;
        } else if (reply.name == "GOS" && clock_.Elapsed() < end_) {
            reply.parts.front().bytes.at(3) = '0';
        }
    }

private:
    VirtualClock& clock_;
    std::int64_t forMs_;
    std::int64_t end_ = 0;
};

class StatusAfterGotoTest : public SlewWireTest {
protected:
    void SetUp() override { Connect("S"); }
};

TEST_F(StatusAfterGotoTest, StandstillReportedTooEarly_EndsNoSlew_AndTheStatusIsDueASecondAfterTheGoto) {
    mount->Add(std::make_unique<ReportsTheGotoLate>(machine.clock, 850));
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    driver->queries.MakeDue(driver->state.g_tickLastGos, 10'000);
    Tape().Clear();
    machine.AdvanceTime(700);
    ASSERT_NE(Tape().All().find("GOS"), std::string::npos);
    EXPECT_TRUE(telescope->Slewing());
    Tape().Clear();
    machine.AdvanceTime(600);
    EXPECT_NE(Tape().All().find("GOS"), std::string::npos) << "asked again a second after the goto";
    EXPECT_TRUE(telescope->Slewing());
    EXPECT_TRUE(WaitForEnd());
    ExpectAt(telescope->TargetRightAscension(), 20.0);
}

TEST_F(StatusAfterGotoTest, StandstillThatIsReportedASecondAfterTheGoto_IsBelieved) {
    StandingMount& standing = Stand();
    telescope->SlewToCoordinatesAsync(5.0, 20.0);
    machine.AdvanceTime(1'000);
    EXPECT_TRUE(telescope->Slewing());
    driver->queries.MakeDue(driver->state.g_tickLastGos, 10'000);
    machine.AdvanceTime(400);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_EQ(standing.tape.Motion().find("Q Q"), std::string::npos);
}

TEST_F(StatusAfterGotoTest, AfterAnAbort_TheStatusIsDueEachSecond_UntilTheMountStands) {
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(mount->Picture().slewing);
    ASSERT_TRUE(driver->queries.QueryGos());
    telescope->AbortSlew();
    machine.AdvanceTime(2'700);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(telescope->Slewing());
    machine.AdvanceTime(1'000);
    Tape().Clear();
    machine.AdvanceTime(4'000);
    const std::string sent = Tape().All();
    EXPECT_EQ(sent.find("GOS"), sent.rfind("GOS")) << "back to each five seconds: " << sent;
}

}  // namespace
}  // namespace kestrane
