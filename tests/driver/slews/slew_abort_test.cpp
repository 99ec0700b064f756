#include <cmath>
#include <gtest/gtest.h>
#include <tuple>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"
#include "support/onlooker.h"

namespace kestrane {
namespace {

enum class Moment { FirstLeg, BetweenTheLegs, SecondLeg, Settling };
enum class Stopper { TheClientItself, AnotherClient, TheHandBox };

/// A slew in two legs that is stopped.
class SlewAbortTest : public SlewWireTest,
                      public testing::WithParamInterface<std::tuple<std::string, Moment, Stopper, bool>> {
protected:
    void SetUp() override {
        Connect(std::get<0>(GetParam()));
        mount->Add(std::make_unique<StandsWest>());
        other_ = &OtherClient();
        ra_ = NormalizeHours(telescope->SiderealTime() + 2.0);
    }
    bool Waits() const { return std::get<3>(GetParam()); }
    void Slew() { Waits() ? telescope->SlewToCoordinates(ra_, 30.0) : telescope->SlewToCoordinatesAsync(ra_, 30.0); }
    bool IsNow() {
        const bool moves = mount->Picture().slewing;
        const bool watched = driver->state.g_bSlewing && driver->handBox.tmrSlewFlashUI.Enabled();
        const int gotos = TimesSent("MS");
        switch (std::get<1>(GetParam())) {
            case Moment::FirstLeg:
                return watched && gotos == 1 && moves;
            case Moment::BetweenTheLegs:
                return watched && gotos == 1 && !moves && driver->state.g_bSafeSlewPending;
            case Moment::SecondLeg:
                return watched && gotos == 2 && moves;
            case Moment::Settling:
                return watched && gotos == 2 && !moves;
        }
        return false;
    }
    void Stop() {
        switch (std::get<2>(GetParam())) {
            case Stopper::TheClientItself:
                telescope->AbortSlew();
                break;
            case Stopper::AnotherClient:
                other_->AbortSlew();
                break;
            case Stopper::TheHandBox:
                Onlooker view;
                driver->askAbortSlew.Attach(view);
                driver->handBox.lblRA.FireClick();
                EXPECT_TRUE(driver->askAbortSlew.Visible());
                EXPECT_EQ(driver->askAbortSlew.Label1.Text(), "ABORT SLEW?");
                driver->askAbortSlew.btnOK.FireClick();
                machine.pump.PumpStops();
                EXPECT_FALSE(driver->askAbortSlew.Visible());
                driver->askAbortSlew.Detach(view);
                break;
        }
    }

private:
    Telescope* other_ = nullptr;
    double ra_ = 0.0;
};

TEST_P(SlewAbortTest, SendsTheStopPair_AndNothingEverAfter) {
    std::size_t stoppedAt = 0;
    std::int64_t stopped = 0;
    const When stop(
        machine.pump, [&] { return IsNow(); },
        [&] {
            stoppedAt = Tape().Count();
            stopped = machine.clock.Elapsed();
            Stop();
            EXPECT_EQ(Tape().Motion(stoppedAt), "Q Q");
            EXPECT_LE(machine.clock.Elapsed() - stopped, 60);
            EXPECT_FALSE(driver->state.g_bSafeSlewPending);
        });
    Slew();
    if (Waits()) {
        EXPECT_LT(machine.clock.Elapsed() - stopped, 1'000) << "the wait has ended";
    } else {
        for (int i = 0; i < 600 && !stop.Happened(); ++i) {
            machine.AdvanceTime(100);
        }
    }
    ASSERT_TRUE(stop.Happened());
    EXPECT_TRUE(WaitForEnd());
    EXPECT_LT(machine.clock.Elapsed() - stopped, 8'000);
    machine.AdvanceTime(20'000);
    EXPECT_EQ(Tape().Motion(stoppedAt), "Q Q");
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(driver->state.g_bAbortSlew);
    EXPECT_EQ(driver->state.g_bTracking, true);
    EXPECT_TRUE(PollRuns());
}

INSTANTIATE_TEST_SUITE_P(
    AllWays, SlewAbortTest,
    testing::Combine(testing::Values("S", "D"),
                     testing::Values(Moment::FirstLeg, Moment::BetweenTheLegs, Moment::SecondLeg, Moment::Settling),
                     testing::Values(Stopper::TheClientItself, Stopper::AnotherClient, Stopper::TheHandBox),
                     testing::Bool()));

class StopTest : public SlewWireTest {};

TEST_F(StopTest, CustomRates_AreWrittenBackBehindTheStop) {
    Connect("S");
    Stand();
    telescope->RightAscensionRate(0.01);
    telescope->DeclinationRate(0.5);
    telescope->SlewToCoordinatesAsync(5.5, 30.0);
    const std::string sign = driver->state.g_bWestSide ? "-" : "";
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "Q Q RR-0.01000 RD" + sign + "0.03324");
    EXPECT_EQ(error, 0U);
    driver->motion.SlewBegins();
    telescope->RightAscensionRate(0.0);
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlewDriver(); }), "Q Q RD" + sign + "0.03324");
}

TEST_F(StopTest, StopOfAMountThatDoesNotTrack_WritesNoCustomRateBack_AndSwitchesNoTrackingOn) {
    Connect("S");
    StandingMount& standing = Stand();
    telescope->RightAscensionRate(0.01);
    telescope->DeclinationRate(0.5);
    standing.replies["GOS"] = "090000232O0000#";
    telescope->Tracking(false);
    const std::vector<std::function<void()>> stops{[&] { telescope->AbortSlew(); },
                                                   [&] { telescope->AbortSlewDriver(); }};
    for (const char* automatic : {"0", "1"}) {
        driver->persist.WriteIniValue("chkAutoEnableTracking", automatic);
        for (const auto& stop : stops) {
            telescope->SlewToAltAzAsync(150.0, 45.0);
            EXPECT_EQ(MotionDuring(stop), "Q Q");
            EXPECT_EQ(error, 0U);
            EXPECT_TRUE(driver->state.g_bAbortSlew);
            EXPECT_FALSE(driver->state.g_bTracking);
            LeaveTrackingAlone();
            EXPECT_TRUE(WaitForEnd());
            driver->motion.ParkBegins();
            EXPECT_EQ(MotionDuring(stop), "Q Q");
            machine.AdvanceTime(5'000);
            EXPECT_FALSE(driver->state.g_bParking);
            EXPECT_FALSE(driver->state.g_bTracking);
        }
    }
}

TEST_F(StopTest, AbortWithNothingToStop_SetsTheSiderealRate) {
    Connect("S");
    Stand();
    telescope->TrackingRate(1);
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "Q RT2");
    EXPECT_EQ(telescope->TrackingRate(), 0);
    EXPECT_FALSE(driver->state.g_bAbortSlew);
}

TEST_F(StopTest, AbortWithNothingToStop_AndNoTracking_SendsNothing) {
    Connect("S");
    Stand();
    driver->state.g_bTracking = false;
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "");
    EXPECT_EQ(error, 0U);
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlewDriver(); }), "Q Q") << "a person's stop always goes out";
}

TEST_F(StopTest, Abort_StopsAMoveOfAClientsOwnText) {
    Connect("S");
    for (const bool tracks : {false, true}) {
        telescope->Tracking(tracks);
        telescope->CommandBlind("Mn", false);
        machine.AdvanceTime(2'000);
        EXPECT_EQ(MotionDuring([&] { OtherClient().AbortSlew(); }), tracks ? "Q Q Q RT2" : "Q Q");
        EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    }
}

TEST_F(StopTest, Abort_StopsAGuidePulseOfATrackingMountByThePair) {
    Connect("S");
    telescope->Tracking(true);
    telescope->PulseGuide(0, 4'000);
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "Q Q Q RT2");
}

TEST_F(StopTest, Abort_StopsAGuidePulseWhoseEndTheLineHasLost) {
    ExpectSwallow("CommandString");  // the poll's
    Connect("E3");
    telescope->Tracking(false);
    telescope->PulseGuide(0, 300);
    mount->SetLineDead(true);
    machine.AdvanceTime(320);
    mount->SetLineDead(false);
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "Q Q");
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlew(); }), "") << "then nothing is left to stop";
}

TEST_F(StopTest, HandBoxStop_OfATrackingMount_IsTheStopPair) {
    Connect("S");
    Stand();
    EXPECT_EQ(MotionDuring([&] { telescope->AbortSlewDriver(); }), "Q Q");
    EXPECT_FALSE(driver->state.g_bAbortSlew) << "nothing slews";
}

TEST_F(StopTest, AbortOfASlewWithoutTracking_IsOneStopPair_LoggedOnItsOrigin) {
    Connect("S");
    StandingMount& standing = Stand();
    standing.replies["GOS"] = "090000232O0000#";
    telescope->Tracking(false);
    telescope->SlewToAltAzAsync(150.0, 45.0);
    log.clear();
    Tape().Clear();
    telescope->AbortSlew();
    EXPECT_EQ(Tape().Motion(), "Q Q");
    EXPECT_EQ(log.front().origin, "ASCOM");
    EXPECT_EQ(log.front().message, "AbortSlew()");
    log.clear();
    driver->motion.SlewBegins();
    telescope->AbortSlewDriver();
    EXPECT_EQ(log.front().origin, "Driver");
}

TEST_F(StopTest, EndOfAStoppedSlew_PutsTheTrackingRateBack_AndMovesNothing) {
    Connect("S");
    driver->state.g_bRestoreRatePending = true;
    telescope->SlewToCoordinatesAsync(5.5, 30.0);
    machine.AdvanceTime(2'000);
    EXPECT_EQ(MotionDuring([&] {
                  telescope->AbortSlew();
                  EXPECT_TRUE(WaitForEnd());
                  machine.AdvanceTime(10'000);
              }),
              "Q Q Q RT2");
}

TEST_F(StopTest, AbortDuringTheSecondOfWaitingBehindTheSlewCommand_EndsTheWait) {
    for (const char* firmware : {"S", "D"}) {
        for (const bool horizontal : {false, true}) {
            SCOPED_TRACE(std::string(firmware) + (horizontal ? " SlewToAltAz" : " SlewToCoordinates"));
            telescope.reset();
            driver.reset();
            Connect(firmware, {{"DisableSafeSlew", "1"}});
            if (horizontal) {
                telescope->Tracking(false);
                LeaveTrackingAlone();
            }
            const double ra = telescope->SiderealTime();
            std::size_t stoppedAt = 0;
            std::int64_t stopped = 0;
            const int gotos = TimesSent("MS");
            std::int64_t sent = 0;
            const When slewSent(
                machine.pump, [&] { return TimesSent("MS") > gotos; }, [&] { sent = machine.clock.Elapsed(); });
            const When stop(
                machine.pump, [&] { return sent != 0 && machine.clock.Elapsed() >= sent + 300; },
                [&] {
                    stoppedAt = Tape().Count();
                    stopped = machine.clock.Elapsed();
                    telescope->AbortSlew();
                });
            horizontal ? telescope->SlewToAltAz(150.0, 45.0) : telescope->SlewToCoordinates(ra, 20.0);
            ASSERT_TRUE(stop.Happened());
            EXPECT_LE(machine.clock.Elapsed() - stopped, 100);
            EXPECT_TRUE(WaitForEnd());
            machine.AdvanceTime(20'000);
            EXPECT_EQ(Tape().Motion(stoppedAt), "Q Q");
            EXPECT_FALSE(mount->Picture().slewing);
        }
    }
}

TEST_F(StopTest, AbortWhileTheCompanionSlews_SendsTheStopPair_AndEndsTheWait) {
    Connect("S");
    StandingMount& standing = Stand();
    driver->state.g_bQuayLink = driver->state.g_bQuayHandlesSlews = true;
    for (const bool horizontal : {false, true}) {
        SCOPED_TRACE(horizontal ? "*SLEWALTAZ" : "*SLEW");
        driver->state.g_nQuaySeq = 7;
        // The status text reports a mount that moves, with or without tracking.
        standing.replies["GOS"] = horizontal ? "090S00232O0000#" : "020S00232O0000#";
        driver->state.g_bTracking = !horizontal;
        std::size_t stoppedAt = 0;
        std::int64_t stopped = 0;
        const std::int64_t due = machine.clock.Elapsed() + 3'000;
        machine.pump.PostAt(due, CallKind::Stop, [&] {
            stoppedAt = Tape().Count();
            stopped = machine.clock.Elapsed();
            telescope->AbortSlew();
        });
        horizontal ? telescope->SlewToAltAz(150.0, 45.0) : telescope->SlewToCoordinates(5.5, 30.0);
        ASSERT_GT(stopped, 0);
        EXPECT_LE(machine.clock.Elapsed() - stopped, 200);
        const std::string sent = Tape().All(stoppedAt);
        EXPECT_EQ(sent, "Q Q");
        standing.replies["GOS"] = horizontal ? "090000232O0000#" : "020000232O0000#";
        EXPECT_TRUE(WaitForEnd());
        EXPECT_EQ(Tape().All(stoppedAt).find("*SLEW"), std::string::npos);
    }
    driver->state.g_bQuayLink = driver->state.g_bQuayHandlesSlews = false;
}

/// Tracking is off, and would come by itself with the slew.
TEST_F(StopTest, SlewOvertakenByAStop_DoesNotTurnTrackingOn) {
    Connect("S", {{"chkAutoEnableTracking", "1"}});
    telescope->TargetRightAscension(5.5);
    telescope->TargetDeclination(30.0);
    telescope->Tracking(false);
    machine.AdvanceTime(10'000);
    LeaveTrackingAlone();
    const std::vector<std::function<void()>> slews{
        [&] { telescope->SlewToCoordinatesAsync(5.5, 30.0); },
        [&] { telescope->SlewToCoordinates(5.5, 30.0); },
        [&] { telescope->SlewToTarget(); },
        [&] { telescope->SlewToTargetAsync(); },
    };
    for (const auto& slew : slews) {
        EXPECT_EQ(MotionDuring([&] {
                      machine.pump.Post(CallKind::WaitsLong, slew);
                      machine.pump.Post(CallKind::Stop, [&] { OtherClient().AbortSlew(); });
                      machine.AdvanceTime(5'000);
                  }),
                  "");
        EXPECT_FALSE(driver->state.g_bTracking);
        EXPECT_FALSE(telescope->Slewing());
    }
    EXPECT_EQ(TimesLogged("() does not begin: it was stopped before it could"), 4);
    EXPECT_EQ(MotionDuring([&] {
                  machine.pump.Post(CallKind::Brief, slews[0]);
                  machine.AdvanceTime(100);
              }),
              "Q RT2 RT2 Sr05:30:00.0 Sd+30*00:00 MS");
}

// --- a stop that the mount has not heard, or does not obey

constexpr std::string_view kStopAgain = "The mount still moves: the stop is sent again";
constexpr std::string_view kGivenUp = "The mount still moves although it was stopped again and again";
constexpr const char* kReportsSlewing = "020S00232O0000#";

class UnheardStopTest : public StopTest, public testing::WithParamInterface<std::tuple<std::string, bool>> {};

TEST_P(UnheardStopTest, GoesOutAgainWhenTheLineIsBack) {
    const auto& [firmware, cableIsPulled] = GetParam();
    ExpectSwallow("*");
    Connect(firmware, {{"DisableSafeSlew", "1"}});
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), -20.0);
    machine.AdvanceTime(2'000);
    cableIsPulled ? machine.serialPorts.Disconnect(1) : mount->SetLineDead(true);
    telescope->AbortSlew();
    machine.AdvanceTime(1'000);
    EXPECT_TRUE(mount->Picture().slewing);
    cableIsPulled ? machine.ConnectMount(1, *mount) : mount->SetLineDead(false);
    machine.AdvanceTime(8'000);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_GT(mount->Picture().declination, -10.0) << "it was stopped on its way";
    EXPECT_TRUE(LoggedAs("Motion", 1, kStopAgain));
    EXPECT_FALSE(Logged(kGivenUp));
    const int stops = TimesSent("Q");
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesSent("Q"), stops);
}

TEST_P(UnheardStopTest, OfAMove_GoesOutAgainWhenTheLineIsBack) {
    const auto& [firmware, cableIsPulled] = GetParam();
    ExpectSwallow("*");
    Connect(firmware);
    for (const bool tracks : {false, true}) {
        telescope->Tracking(tracks);
        telescope->CommandBlind("Mn", false);
        machine.AdvanceTime(500);
        cableIsPulled ? machine.serialPorts.Disconnect(1) : mount->SetLineDead(true);
        telescope->AbortSlew();
        machine.AdvanceTime(3'000);
        EXPECT_GT(std::abs(mount->Picture().polarSpeed), 1e-3);
        cableIsPulled ? machine.ConnectMount(1, *mount) : mount->SetLineDead(false);
        machine.AdvanceTime(8'000);
        EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
        EXPECT_EQ(TimesLoggedAs("Motion", 1, "The mount may not have heard a stop: it is sent again"), 1);
        const int stops = TimesSent("Q");
        machine.AdvanceTime(20'000);
        EXPECT_EQ(TimesSent("Q"), stops);
        log.clear();
    }
}

TEST_F(StopTest, StopInOneTextWithItsMove_GoesOutAgainWhereTheLineFailsAfterIt) {
    ExpectSwallow("*");
    Connect("S");
    for (const char* text : {":Mn#:Q#", ":Q#:Mn#:Q#", ":Mn100#:Q#", ":Q#:Q#"}) {
        SCOPED_TRACE(text);
        telescope->CommandBlind(text, true);
        mount->SetLineDead(true);
        machine.AdvanceTime(3'000);
        mount->SetLineDead(false);
        machine.AdvanceTime(8'000);
        const bool moved = std::string_view(text).find("Mn#") != std::string_view::npos;
        EXPECT_EQ(TimesLogged("The mount may not have heard a stop: it is sent again"), moved ? 1 : 0);
        log.clear();
    }
}

TEST_F(StopTest, StopOfAMoveThatTheMountHears_IsNotRepeated_NorOneThatAnotherMoveFollows) {
    ExpectSwallow("*");
    Connect("S");
    telescope->CommandBlind("Mn", false);
    telescope->AbortSlew();
    machine.AdvanceTime(10'000);
    const int stops = TimesSent("Q");
    telescope->CommandBlind("Mn", false);
    mount->SetLineDead(true);
    telescope->AbortSlew();
    machine.AdvanceTime(2'000);
    telescope->CommandBlind("Ms", false);
    mount->SetLineDead(false);
    telescope->CommandBlind("Ms", false);
    const int stopsBefore = TimesSent("Q");
    machine.AdvanceTime(10'000);
    EXPECT_EQ(TimesSent("Q"), stopsBefore);
    EXPECT_GT(stops, 0);
    EXPECT_FALSE(Logged("The mount may not have heard a stop: it is sent again"));
}

INSTANTIATE_TEST_SUITE_P(Lines, UnheardStopTest, testing::Combine(testing::Values("S", "D"), testing::Bool()));

TEST_F(StopTest, MountThatGoesOnMoving_GetsTheStopAgainEachSecond_FiveTimes) {
    Connect("S");
    StandingMount& standing = Stand();
    telescope->SlewToCoordinatesAsync(5.5, 30.0);
    standing.replies["GOS"] = kReportsSlewing;
    Tape().Clear();
    const Tick start = machine.clock.GetTickCount();
    telescope->AbortSlew();
    while (!Logged(kGivenUp) && machine.clock.GetTickCount() - start < 60'000) {
        machine.AdvanceTime(100);
    }
    EXPECT_LT(machine.clock.GetTickCount() - start, 8'000);
    EXPECT_EQ(Tape().Motion(), "Q Q Q Q Q Q Q Q Q Q Q Q");
    EXPECT_EQ(TimesLoggedAs("Motion", 1, kStopAgain), 5);
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesLoggedAs("Motion", 2, kGivenUp), 1);
    EXPECT_EQ(Tape().Motion(), "Q Q Q Q Q Q Q Q Q Q Q Q");
    telescope->AbortSlew();  // another stop has repeats of its own
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesLogged(kStopAgain), 10);
}

TEST_F(StopTest, WhatMovesTheMountAfterAStop_EndsItsRepeats) {
    ExpectSwallow("*");
    const std::vector<std::function<void()>> motions{
        [&] { telescope->SlewToCoordinatesAsync(5.5, 31.0); },
        [&] { telescope->CommandBlind(":MS#", true); },
        [&] { telescope->CommandBlind("Mn", false); },
        [&] { telescope->CommandBlind("KA", false); },
        [&] { telescope->CommandBlind("$K1#", true); },
        [&] { telescope->CommandBlind(":Q#:MS#", true); },
        [&] { telescope->MoveAxis(1, 0.5); },
    };
    for (const auto& move : motions) {
        EndTheDriver();
        Connect("S");
        StandingMount& standing = Stand();
        telescope->SlewToCoordinatesAsync(5.5, 30.0);
        standing.replies["GOS"] = kReportsSlewing;
        telescope->AbortSlew();
        machine.AdvanceTime(1'800);
        ASSERT_EQ(TimesLogged(kStopAgain), 1);
        move();
        machine.AdvanceTime(10'000);
        EXPECT_EQ(TimesLogged(kStopAgain), 1);
        log.clear();
    }
}

TEST_F(StopTest, AStopAfterAGotoInOneText_KeepsItsRepeats) {
    Connect("S");
    StandingMount& standing = Stand();
    telescope->SlewToCoordinatesAsync(5.5, 30.0);
    standing.replies["GOS"] = kReportsSlewing;
    telescope->CommandBlind(":MS#:Q#", true);
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesLogged(kStopAgain), 5);
}

/// A client's own text of several commands: what comes last counts.
TEST_F(StopTest, AGotoAmongOthersInOneText_CountsAsItStandsAmongThem) {
    struct Row {
        std::string text;
        bool gotoRuns;
        bool moves;
    };
    for (const Row& row : {Row{":MS#", true, false}, Row{":MS#:Q#", false, false}, Row{":Q#:MS#", true, false},
                           Row{":MS#:Me#", true, true}, Row{":Me#:MS#", true, false}, Row{":MS#:Me#:Q#", false, false},
                           Row{":Me#:MS#:Mn#", true, true}}) {
        for (int member = 0; member < 3; ++member) {
            SCOPED_TRACE(row.text + " " + std::to_string(member));
            Connect("S");
            Stand().replies["MS"] = "0";
            machine.AdvanceTime(5'000);
            driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
            switch (member) {
                case 0:
                    telescope->CommandBlind(row.text, true);
                    break;
                case 1:
                    telescope->CommandBool(row.text, true);
                    break;
                default:
                    telescope->CommandString(row.text, true);
            }
            EXPECT_EQ(driver->state.g_bGotoRuns, row.gotoRuns);
            EXPECT_EQ(driver->state.g_bMoveSent, row.moves);
            EndTheDriver();
        }
    }
}

TEST_F(StopTest, StopPair_IsTwentyMillisecondsApart) {
    Connect("S");
    telescope->SlewToCoordinatesAsync(5.5, 30.0);
    Tape().Clear();
    telescope->AbortSlew();
    EXPECT_EQ(Tape().Timed(), "0:Q 30:Q") << "ten of them are the pause behind every command without a reply";
}

}  // namespace
}  // namespace kestrane
