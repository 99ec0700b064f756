#include <cmath>
#include <gtest/gtest.h>

#include "catalogue/wire_commands.h"
#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"
#include "state/sequence.h"

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
    void ExpectLineFaults() {
        for (const char* procedure : {"CommandString", "CommandBool", "CommandBlind", "CommandClear"}) {
            ExpectSwallow(procedure);
        }
    }
    double ra = 0.0;
};

/// Does something once, as the mount answers a command, if a condition holds then.
class AtReply final : public Misbehaviour {
public:
    AtReply(std::string command, std::function<bool()> condition, std::function<void()> action)
        : command_(std::move(command)), condition_(std::move(condition)), action_(std::move(action)) {}
    void Change(SimulatedReply& reply) override {
        if (!happened_ && reply.name == command_ && condition_()) {
            happened_ = true;
            action_();
        }
    }

private:
    std::string command_;
    std::function<bool()> condition_;
    std::function<void()> action_;
    bool happened_ = false;
};

/// The next reply is the letter of low power alone, and for a while none follows it.
class LosesItsPower final : public Misbehaviour {
public:
    LosesItsPower(VirtualClock& clock, std::int64_t forMs) : clock_(clock), forMs_(forMs) {}
    void Change(SimulatedReply& reply) override {
        if (!end_) {
            end_ = clock_.Elapsed() + forMs_;
            reply.parts = {{0, "Y"}};
        } else if (clock_.Elapsed() < *end_) {
            reply.parts.clear();
        }
    }

private:
    VirtualClock& clock_;
    std::int64_t forMs_;
    std::optional<std::int64_t> end_;
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

TEST_P(SecondLegTest, StopThatEndsAGuidePulse_EndsTheSlewInItsFirstLeg) {
    Prepare();
    StartTwoLegs();
    driver->motion.GuidePulseBegins(GuideDirection::East);
    Sequence(driver->InternalInstance().Commands(), driver->door, procedure::Question).CommandBlindInternal(wire::Stop);
    driver->motion.GuidePulseEnds(GuideDirection::East);
    ExpectEndInTheFirstLeg();
}

TEST_P(SecondLegTest, GuidePulseThatEndsByItself_LetsTheSecondLegFollow) {
    Prepare();
    StartTwoLegs();
    driver->motion.GuidePulseBegins(GuideDirection::East);
    machine.AdvanceTime(500);
    driver->motion.GuidePulseEnds(GuideDirection::East);
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(TimesSent("MS"), 2);
    ExpectAt(ra, 30.0);
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
        EndTheDriver();
    }
}

TEST_P(SecondLegTest, MountThatStandsShortOfTheFirstLeg_AfterItWasLost_GetsNoSecondLeg) {
    ExpectLineFaults();
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

/// Nothing but silence and declinations that cannot be read.
class AnswersWithRubbish final : public Misbehaviour {
public:
    void Change(SimulatedReply& reply) override {
        if (strikes && reply.name == "GD") {
            reply.parts = {{0, "+9x#"}};
        } else if (strikes) {
            reply.parts.clear();
        }
    }
    bool strikes = true;
};

TEST_P(SecondLegTest, RubbishBetweenTheSilences_HidesNoLossOfTheFirstLeg) {
    ExpectLineFaults();
    Prepare();
    mount->Add(std::make_unique<Stalls>(5.0));
    StartTwoLegs();
    auto rubbish = std::make_unique<AnswersWithRubbish>();
    bool& strikes = rubbish->strikes;
    mount->Add(std::move(rubbish));
    machine.AdvanceTime(40'000);
    ASSERT_TRUE(driver->state.g_bLostComms);
    strikes = false;
    ExpectEndInTheFirstLeg();
}

TEST_P(SecondLegTest, FirstLegWhoseCommandWasLost_GetsNoSecondLeg) {
    for (const char* answer : {"", "#"}) {
        SCOPED_TRACE(answer);
        log.clear();
        ExpectSwallow("SendSlew");
        Prepare();
        mount->Add(std::make_unique<Stalls>(300.0));  // it does not begin to move
        mount->Add(std::make_unique<AnswersWith>("MS", answer));
        telescope->SlewToCoordinatesAsync(ra, 30.0);
        ASSERT_TRUE(driver->state.g_bSafeSlewPending);
        ExpectEndInTheFirstLeg();
        EndTheDriver();
    }
}

TEST_P(SecondLegTest, FirstLegWhoseAnswerWasLost_IsFollowedByTheSecond) {
    ExpectSwallow("SendSlew");
    Prepare();
    mount->Add(std::make_unique<AnswersWith>("MS", ""));
    telescope->SlewToCoordinatesAsync(ra, 30.0);
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(TimesSent("MS"), 2);
    ExpectAt(ra, 30.0);
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

TEST_P(SecondLegTest, MountThatComesBackAtItsPowerOnPosition_InASlewThatWaits_DoesNotGetTheTargetAgain) {
    Prepare();
    const When comesBack(
        machine.pump, [&] { return TimesSent("MS") == 2 && mount->Picture().slewing; },
        [&] {
            mount->Add(std::make_unique<AnswersWith>("GR", "00:00:00.0#", kEveryTime));
            mount->Add(std::make_unique<AnswersWith>("GD", "+90*00:00#", kEveryTime));
        });
    telescope->SlewToCoordinates(ra, 30.0);
    ASSERT_TRUE(comesBack.Happened());
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesSent("MS"), 2);
    EXPECT_EQ(TimesLogged("The target is not sent to the mount again: the mount reports its power-on position"), 1);
}

TEST_P(SecondLegTest, StopWhileTheMountIsAskedWhereItStands_IsTheLastWord) {
    ExpectLineFaults();
    const auto end = [](Telescope& client, bool byAxis) { byAxis ? client.MoveAxis(1, 0.0) : client.Tracking(false); };
    for (const bool byAxis : {true, false}) {
        for (int question = 1; question <= 8; ++question) {
            SCOPED_TRACE(std::string(byAxis ? "axis" : "tracking") + " at question " + std::to_string(question));
            Prepare();
            Telescope& other = OtherClient();
            bool stands = false;
            int gotosThen = -1;
            const When standing(
                machine.pump, [&] { return TimesSent("MS") == 1 && !mount->Picture().slewing; },
                [&] { stands = true; });
            int left = question;
            mount->Add(std::make_unique<AtReply>(
                "GR", [&] { return stands && --left == 0; },
                [&] {
                    machine.pump.Post(CallKind::StopsOne, [&] {
                        gotosThen = TimesSent("MS");
                        end(other, byAxis);
                    });
                }));
            StartTwoLegs();
            mount->Add(std::make_unique<DropsReply>("GR", 3));  // all tries of one question
            machine.AdvanceTime(60'000);
            ASSERT_GT(gotosThen, 0);
            EXPECT_EQ(TimesSent("MS"), gotosThen);
            EndTheDriver();
        }
    }
}

TEST_P(SecondLegTest, LowPowerAheadOfTheSilence_HidesNoLossOfCommunications) {
    ExpectLineFaults();
    Prepare();
    mount->Add(std::make_unique<Stalls>(20.0));
    StartTwoLegs();
    mount->Add(std::make_unique<LosesItsPower>(machine.clock, 20'000));
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(driver->state.g_bLowPower);
    ExpectEndInTheFirstLeg();
    EXPECT_EQ(TimesLogged("its second leg is not sent: communications were lost"), 1);
}

TEST_P(SecondLegTest, GotoOfAClientsOwnText_InTheFirstLeg_IsTheLastGoto) {
    Prepare();
    StartTwoLegs();
    EXPECT_TRUE(OtherClient().CommandBool("MS", false));
    EXPECT_TRUE(WaitForEnd());
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesSent("MS"), 2);
    EXPECT_EQ(TimesLogged("Slew 2 of 2"), 0);
    EXPECT_TRUE(LoggedAs("SafeSlew", 1, "No second leg is sent any more: a client has sent a goto of its own"));
}

TEST_P(SecondLegTest, GotoOfAClientsOwnText_InALegOfASlewThatWaits_IsTheLastGoto) {
    for (const int leg : {1, 2}) {
        SCOPED_TRACE(leg);
        Prepare();
        Telescope& other = OtherClient();
        const When goesElsewhere(
            machine.pump, [&] { return TimesSent("MS") == leg && mount->Picture().slewing; },
            [&] { other.CommandBool("MS", false); });
        telescope->SlewToCoordinates(ra, 30.0);
        ASSERT_TRUE(goesElsewhere.Happened());
        machine.AdvanceTime(20'000);
        EXPECT_EQ(TimesSent("MS"), leg + 1);
        EndTheDriver();
    }
}

TEST_P(SecondLegTest, FirstLegWhoseAcceptanceStoodAfterAnotherReply_GetsNoSecondLeg) {
    for (const bool waits : {false, true}) {
        Prepare();
        mount->Add(std::make_unique<AnswersWith>("MS", "10"));
        log.clear();
        waits ? telescope->SlewToCoordinates(ra, 30.0) : telescope->SlewToCoordinatesAsync(ra, 30.0);
        EXPECT_TRUE(WaitForEnd());
        machine.AdvanceTime(20'000);
        EXPECT_EQ(TimesSent("MS"), 1);
        EXPECT_EQ(TimesLogged("No second leg is sent any more: the answer to the first one is in doubt"), 1);
        EndTheDriver();
    }
}

TEST_P(SecondLegTest, RefusedFirstLegBehindAnAlarmLetter_GetsNoSecondLeg) {
    ExpectSwallow("SafeSlew");
    Prepare();
    mount->Add(std::make_unique<AnswersWith>("MS", "Z1"));
    telescope->SlewToCoordinatesAsync(ra, 30.0);
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_TRUE(Logged("The mount refused the slew: reply 1, below the horizon"));
    machine.AdvanceTime(60'000);
    EXPECT_EQ(TimesSent("MS"), 1);
}

TEST_P(SecondLegTest, DoubledAcceptance_EndsNoGoto) {
    Prepare();
    mount->Add(std::make_unique<AnswersWith>("MS", "00", kEveryTime));
    StartTwoLegs();
    machine.AdvanceTime(1'000);
    EXPECT_TRUE(telescope->Slewing());
    EXPECT_TRUE(WaitForEnd());
    EXPECT_EQ(TimesSent("MS"), 2);
    ExpectAt(ra, 30.0);
}

INSTANTIATE_TEST_SUITE_P(Roads, SecondLegTest, testing::Values("S", "D"));

TEST_F(SlewWireTest, StopOfAClientsOwnText_BetweenTheStatusAndTheDistance_EndsTheSlewInItsFirstLeg) {
    Connect("S", {{"DontUseGOSForSlew", "1"}});
    mount->Add(std::make_unique<StandsWest>());
    Telescope& other = OtherClient();
    const When stands(
        machine.pump, [&] { return TimesSent("MS") == 1 && !mount->Picture().slewing; },
        [&] { driver->queries.MakeDue(driver->state.g_tickLastGos, 10'000); });
    const When stop(
        machine.pump,
        [&] { return driver->state.g_bSafeSlewPending && TimesSent("MS") == 1 && !driver->state.g_bGotoRuns; },
        [&] { other.CommandBlind(":Q#", true); });
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() + 2.0), 30.0);
    EXPECT_TRUE(WaitForEnd());
    ASSERT_TRUE(stop.Happened());
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesSent("MS"), 1);
}

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

TEST_F(StatusAfterGotoTest, StandstillReportedTooEarly_BehindAGarbledAnswer_LeavesTheGotoToAnAbort) {
    telescope->Tracking(false);
    machine.AdvanceTime(2'000);
    mount->Add(std::make_unique<AnswersWith>("MS", "7"));
    mount->Add(std::make_unique<ReportsTheGotoLate>(machine.clock, 850));
    Try([&] { telescope->SlewToAltAzAsync(90.0, 40.0); });
    ASSERT_EQ(error, 0x80040414U);
    driver->queries.MakeDue(driver->state.g_tickLastGos, 10'000);
    Tape().Clear();
    machine.AdvanceTime(500);
    ASSERT_NE(Tape().All().find("GOS"), std::string::npos);
    ASSERT_FALSE(driver->state.g_bSlewing || driver->state.g_bTracking);
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "Q Q");
    machine.AdvanceTime(3'000);
    EXPECT_FALSE(mount->Picture().slewing);
}

TEST_F(StatusAfterGotoTest, EndOfTrackingInMidSlew_IsKnown_AndChangesNoChosenRate) {
    telescope->TrackingRate(1);
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(driver->state.g_bTracking && mount->Picture().slewing);
    const int shown = driver->state.g_nDisplayedRate;
    telescope->ParseGOS("090S00232O0000");
    EXPECT_FALSE(driver->state.g_bTracking);
    EXPECT_EQ(driver->state.g_nDisplayedRate, shown);
    EXPECT_EQ(driver->state.g_nTrackingRate, 1);
    telescope->ParseGOS("020S00232O0000");
    EXPECT_TRUE(driver->state.g_bTracking);
    EXPECT_EQ(driver->state.g_nDisplayedRate, shown);
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
