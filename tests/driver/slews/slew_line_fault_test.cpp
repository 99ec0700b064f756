#include <gtest/gtest.h>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"

namespace kestrane {
namespace {

/// The line is dead from the moment at which the mount would answer a command.
class DiesAt final : public Misbehaviour {
public:
    DiesAt(MountSimulator& mount, std::string command) : mount_(mount), command_(std::move(command)) {}
    void Change(SimulatedReply& reply) override {
        if (!dead_ && reply.name == command_) {
            dead_ = true;
            reply.parts.clear();
            mount_.SetLineDead(true);
        }
    }

private:
    MountSimulator& mount_;
    std::string command_;
    bool dead_ = false;
};

/// Slews over a line that fails, and clients that go away. The firmware chooses the road of the supervision.
class SlewLineFaultTest : public SlewWireTest, public testing::WithParamInterface<std::string> {
protected:
    void SetUp() override {
        Connect(GetParam());
        lst = telescope->SiderealTime();
    }
    void ExpectLineFaults() {
        for (const char* procedure :
             {"CommandString", "CommandBool", "CommandBlind", "CommandClear", "SendSlew", "SafeSlew"}) {
            ExpectSwallow(procedure);
        }
    }
    double TwoLegsAway() {
        mount->Add(std::make_unique<StandsWest>());
        return NormalizeHours(lst + 2.0);
    }
    double lst = 0.0;
};

// --- between the target and the slew command ------------------------------------------------------------------------

TEST_P(SlewLineFaultTest, LineThatDiesAmongTheCommandsOfASlew_LeavesNoPollBehindThatIsSuspended) {
    ExpectLineFaults();
    for (const char* command : {"Sr", "Sd", "MS"}) {
        SCOPED_TRACE(command);
        mount->Add(std::make_unique<DiesAt>(*mount, command));
        telescope->SlewToCoordinatesAsync(NormalizeHours(lst - 1.0), 20.0);
        EXPECT_TRUE(PollRuns());
        machine.AdvanceTime(30'000);
        EXPECT_TRUE(driver->state.g_bLostComms);
        mount->ClearMisbehaviours();
        mount->SetLineDead(false);
        EXPECT_TRUE(WaitForEnd());
        machine.AdvanceTime(10'000);
        EXPECT_FALSE(driver->state.g_bLostComms);
        EXPECT_TRUE(PollRuns());
        telescope->SlewToCoordinates(NormalizeHours(lst - 1.0), 20.0);
        ExpectAt(lst - 1.0, 20.0);
        telescope->SlewToCoordinates(NormalizeHours(lst - 3.0), 45.0);
    }
}

TEST_P(SlewLineFaultTest, SlewCommandThatIsAnsweredLate_CountsAsAccepted_AndItsAnswerIsTakenForNoOther) {
    ExpectLineFaults();
    for (const char* reply : {"0", "1"}) {
        SCOPED_TRACE(reply);
        class AnswersLateWith final : public Misbehaviour {
        public:
            explicit AnswersLateWith(std::string bytes) : bytes_(std::move(bytes)) {}
            void Change(SimulatedReply& reply) override {
                if (reply.name == "MS") {
                    reply.parts = {{8'000, bytes_}};
                }
            }

        private:
            std::string bytes_;
        };
        mount->Add(std::make_unique<AnswersLateWith>(reply));
        const double dec = *reply == '0' ? 20.0 : 40.0;
        telescope->SlewToCoordinatesAsync(NormalizeHours(lst - 1.0), dec);
        mount->ClearMisbehaviours();
        EXPECT_TRUE(WaitForEnd());
        machine.AdvanceTime(15'000);
        ExpectAt(lst - 1.0, dec);
        EXPECT_FALSE(driver->state.g_bLostComms);
        EXPECT_NEAR(telescope->Declination(), dec, 0.05);
        EXPECT_TRUE(PollRuns());
        telescope->SlewToCoordinates(NormalizeHours(lst - 3.0), 45.0);
    }
}

// --- refused halves and legs ----------------------------------------------------------------------------------------

TEST_P(SlewLineFaultTest, RefusedHalfOfAFirstLeg_IsLogged_AndTheSecondLegFollows) {
    driver->InternalInstance().MaxSerialRetries(0);
    for (const char* command : {"Sr", "Sd"}) {
        SCOPED_TRACE(command);
        const double ra = TwoLegsAway();
        mount->Add(std::make_unique<AnswersWith>(command, "0"));
        const int gotos = TimesSent("MS");
        log.clear();
        telescope->SlewToCoordinatesAsync(ra, 30.0);
        EXPECT_EQ(TimesLogged(" FAILED!"), 1);
        EXPECT_TRUE(driver->state.g_bSafeSlewPending);
        EXPECT_TRUE(WaitForEnd());
        EXPECT_EQ(TimesSent("MS"), gotos + 2);
        EXPECT_EQ(TimesLogged("Slew 2 of 2"), 1);
        ExpectAt(ra, 30.0);
        EXPECT_TRUE(PollRuns());
        mount->ClearMisbehaviours();
        telescope->SlewToCoordinates(NormalizeHours(lst - 3.0), 45.0);
    }
}

TEST_P(SlewLineFaultTest, RefusedSecondLegOfASynchronousSlew_IsAskedForOnceMore) {
    ExpectSwallow("CheckSlewing");
    ExpectSwallow("SafeSlew");
    const double ra = TwoLegsAway();
    const std::string motion = MotionDuring([&] { telescope->SlewToCoordinates(ra, -80.0); });
    EXPECT_EQ(error, 0U);
    EXPECT_EQ(TimesSent("MS"), 3) << motion;
    EXPECT_EQ(TimesLogged("The mount refused the slew: reply 1, below the horizon"), 2);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_TRUE(PollRuns());
}

// --- clients that go away -------------------------------------------------------------------------------------------

TEST_P(SlewLineFaultTest, ClientThatDisconnectsDuringItsSynchronousSlew_LeavesItToTheOthers) {
    Telescope& other = OtherClient();
    other.Connected(true);
    machine.AdvanceTime(2'000);
    const double ra = TwoLegsAway();
    machine.pump.PostAt(machine.clock.Elapsed() + 1'500, CallKind::Brief, [&] {
        ASSERT_TRUE(mount->Picture().slewing);
        telescope->Connected(false);
    });
    Try([&] { telescope->SlewToCoordinates(ra, 30.0); });
    EXPECT_EQ(error, 0U);
    for (int i = 0; i < 480 && other.Slewing(); ++i) {
        machine.AdvanceTime(250);
    }
    EXPECT_FALSE(other.Slewing());
    ExpectAt(ra, 30.0);
    EXPECT_GE(TimesSent("MS"), 2);
}

TEST_P(SlewLineFaultTest, LastClientThatDisconnects_EndsTheSlew_AndNoSecondLegEverFollows) {
    ExpectSwallow("CheckSlewing");  // the second leg has nobody to go to
    ExpectSwallow("SafeSlew");
    for (const bool waits : {true, false}) {
        SCOPED_TRACE(waits ? "synchronous" : "asynchronous");
        const double ra = TwoLegsAway();
        const int gotos = TimesSent("MS");
        const std::int64_t moment = machine.clock.Elapsed() + 1'500;
        machine.pump.PostAt(moment, CallKind::Brief, [&] {
            ASSERT_TRUE(driver->state.g_bSafeSlewPending);
            telescope->Connected(false);
        });
        Try([&] { waits ? telescope->SlewToCoordinates(ra, 30.0) : telescope->SlewToCoordinatesAsync(ra, 30.0); });
        EXPECT_LT(machine.clock.Elapsed(), moment + 60'000) << "the call has returned";
        machine.AdvanceTime(60'000);
        EXPECT_EQ(TimesSent("MS"), gotos + 1);
        EXPECT_FALSE(driver->state.g_bSlewing || driver->state.g_bSafeSlewPending || driver->state.g_bAbortSlew);
        mount->ClearMisbehaviours();
        telescope->Connected(true);
        machine.AdvanceTime(10'000);
        LeaveTrackingAlone();
        EXPECT_FALSE(telescope->Slewing());
        EXPECT_TRUE(PollRuns());
        if (!driver->state.g_bTracking) {
            telescope->Tracking(true);
        }
        lst = telescope->SiderealTime();
        telescope->SlewToCoordinates(NormalizeHours(lst - 3.0), 45.0);
        ExpectAt(lst - 3.0, 45.0);
    }
}

INSTANTIATE_TEST_SUITE_P(Roads, SlewLineFaultTest, testing::Values("S", "D"));

}  // namespace
}  // namespace kestrane
