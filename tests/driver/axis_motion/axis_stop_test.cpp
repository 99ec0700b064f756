#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "driver/axis_motion/axis_stop_fixture.h"
#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"

/// Axes that `MoveAxis` runs come to a stop: by a client's abort, by the hand box, by the end of their owner.
namespace kestrane {
namespace {

using Wire = std::vector<std::string>;

const Wire kStopAndTrack{"Q", "Q", "Q", "RT3", "RT2"};

TEST_F(AxisStopTest, Abort_EndsTheAxesOfTheClientItself) {
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(1, -0.5);
    EXPECT_EQ(SentBy([&] { telescope->AbortSlew(); }), kStopAndTrack);
    EXPECT_TRUE(telescope->Tracking());
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "AbortSlew()"));
    ExpectAtRest();
}

TEST_F(AxisStopTest, Abort_EndsTheAxesOfAnotherClient) {
    telescope->MoveAxis(0, 0.5);
    EXPECT_EQ(SentBy([&] { other->AbortSlew(); }), kStopAndTrack);
    ExpectAtRest();
}

TEST_F(AxisStopTest, StopOfTheHandBox_EndsTheAxes) {
    telescope->MoveAxis(0, -0.5);
    EXPECT_EQ(SentBy([&] { driver->InternalInstance().AbortSlewDriver(); }), kStopAndTrack);
    ExpectAtRest();
    telescope->MoveAxis(1, 0.5);
    driver->askAbortSlew.btnOK.FireClick();
    machine.pump.PumpStops();
    ExpectAtRest();
}

TEST_F(AxisStopTest, EndOfTheProcess_StopsTheAxesOfAllClientsAndRestoresTheTracking) {
    telescope->MoveAxis(0, 0.5);
    other->MoveAxis(1, 0.25);
    EXPECT_EQ(SentBy([&] { driver->EndOnRequest(); }), (Wire{"Q", "RD0.00000", "Q", "RT3", "RT2"}));
    EXPECT_TRUE(LoggedAs("MoveAxis", 1, "The driver ends: its axes are stopped"));
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    EXPECT_EQ(machine.processes.ends, 1);
}

TEST_F(AxisStopTest, EachEndOfTheProcess_StopsWhatNobodyElseWouldEnd) {
    struct Motion {
        std::string name;
        std::function<void()> begin;
        Wire sent;
    };
    const std::vector<Motion> motions{
        {"both axes",
         [&] {
             telescope->MoveAxis(0, 0.5);
             telescope->MoveAxis(1, 0.5);
         },
         {}},
        {"a move of a client's own text", [&] { telescope->CommandBlind("Mn", false); }, {"Q"}},
        {"a held button", [&] { driver->InternalInstance().CommandBlindInternal(":RC1#:Mn#", true); }, {"Q"}},
        {"a pulse", [&] { telescope->PulseGuide(0, 200'000); }, {"Qn"}},
    };
    const std::vector<std::function<void()>> ends{
        [&] {
            other.reset();
            telescope.reset();
        },
        [&] { telescope->ClientCount(1); },
        [&] { driver->EndOnRequest(); },
    };
    for (const Motion& motion : motions) {
        for (const auto& end : ends) {
            SCOPED_TRACE(motion.name);
            motion.begin();
            machine.AdvanceTime(1'000);
            ASSERT_GT(std::abs(mount->Picture().polarSpeed), 1e-4);
            const int before = machine.processes.ends;
            const Wire sent = SentBy(end);
            EXPECT_TRUE(motion.sent.empty() || sent == motion.sent) << testing::PrintToString(sent);
            EXPECT_GT(machine.processes.ends, before);
            EXPECT_FALSE(driver->link->Connected());
            machine.AdvanceTime(200);  // the simulated mount brakes
            EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
            EXPECT_LT(mount->Picture().hourSpeed, 0.005);
            StartAgain();
        }
    }
}

TEST_F(AxisStopTest, EndOfTheProcess_WithoutARunningAxis_SendsNothingAndLetsASlewGoOn) {
    telescope->MoveAxis(1, 0.25);
    other->SlewToCoordinatesAsync(NormalizeHours(other->SiderealTime() - 1.0), 20.0);  // ends the axis' motion
    machine.AdvanceTime(1'500);
    ASSERT_TRUE(mount->Picture().slewing);
    EXPECT_EQ(SentBy([&] { driver->EndOnRequest(); }), Wire{});
    EXPECT_TRUE(mount->Picture().slewing);
    EXPECT_FALSE(driver->link->Connected());
}

struct OwnTexts {
    std::string name;
    std::function<void(Telescope& client, Telescope& other)> send;
    Wire stop;

    friend void PrintTo(const OwnTexts& texts, std::ostream* out) { *out << texts.name; }
};

class OwnTextsTest : public AxisStopTest, public testing::WithParamInterface<OwnTexts> {};

TEST_P(OwnTextsTest, EndOfTheProcess_StopsAMoveThatStillRuns_AndNoOther) {
    GetParam().send(*telescope, *other);
    EXPECT_EQ(SentBy([&] { driver->EndOnRequest(); }), GetParam().stop);
    if (!GetParam().stop.empty()) {
        EXPECT_NEAR(mount->Picture().hourSpeed, 0.0, 0.005);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Moves, OwnTextsTest,
    testing::Values(
        OwnTexts{"StopOfAnotherDirection",
                 [](Telescope& client, Telescope&) {
                     client.CommandBlind("Me", false);
                     client.CommandBlind(":Qn#", true);
                 },
                 {"Q"}},
        OwnTexts{"BegunAfterAStopInOneText",
                 [](Telescope& client, Telescope&) { client.CommandBlind(":Q#:Mn#", true); },
                 {"Q"}},
        OwnTexts{"FollowedByAPark",
                 [](Telescope& client, Telescope&) {
                     client.CommandBlind("Mn", false);
                     client.CommandBlind("KA", false);
                 },
                 {}},
        OwnTexts{"Stopped",
                 [](Telescope& client, Telescope&) {
                     client.CommandBlind(":Mn#:Me#", true);
                     client.CommandBlind("Q", false);
                 },
                 {}},
        OwnTexts{"StoppedInOneText", [](Telescope& client, Telescope&) { client.CommandBlind(":Mn#:Q#", true); }, {}},
        OwnTexts{
            "OfALength_EndsByItself", [](Telescope& client, Telescope&) { client.CommandBlind("Me500", false); }, {}},
        OwnTexts{"ReplacedByASlew",
                 [](Telescope& client, Telescope& other) {
                     client.CommandBlind("Ms", false);
                     const double east = NormalizeHours(other.SiderealTime() - 1.0);
                     other.SlewToCoordinatesAsync(east, 20.0);
                 },
                 {}}),
    [](const auto& row) { return row.param.name; });

TEST_F(AxisStopTest, StopOfAnOwnersAxis_OnFirmwareWithoutRates_IsOver) {
    ExpectSwallow("CommandBool");
    ExpectSwallow("CommandClear");
    for (const char* firmware : {"E3", "D"}) {
        SCOPED_TRACE(firmware);
        telescope.reset();
        other.reset();
        driver.reset();
        BuildMount(firmware);
        telescope = ConnectedTelescope();
        machine.AdvanceTime(10'000);
        telescope->MoveAxis(1, 0.1);
        telescope->StopOwnAxes("The client has gone: its axes are stopped");
        EXPECT_FALSE(telescope->Axes().Runs());
    }
}

TEST_F(AxisStopTest, EndOfTheProcess_ReleasesACallThatWaitsForItsSlew) {
    ExpectSwallow("CommandString");  // the link is closed under the call
    machine.pump.PostAt(machine.clock.Elapsed() + 3'000, CallKind::Stop, [&] { driver->EndOnRequest(); });
    const Tick start = machine.clock.GetTickCount();
    telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 2.0), 60.0);
    EXPECT_LT(machine.clock.GetTickCount() - start, 4'000);  // the slew itself takes some ten seconds
    EXPECT_TRUE(mount->Picture().slewing);
}

TEST_F(AxisStopTest, Abort_WithASecondaryAxisOnly_IsTheStopPair) {
    telescope->MoveAxis(1, 0.5);
    EXPECT_EQ(SentBy([&] { telescope->AbortSlew(); }), (Wire{"Q", "Q"}));
    EXPECT_TRUE(telescope->Tracking());
    ExpectAtRest();
}

TEST_F(AxisStopTest, Abort_PutsBackWhatEachClientFound) {
    telescope->Tracking(false);
    telescope->MoveAxis(0, 0.5);
    other->MoveAxis(1, 0.25);
    EXPECT_EQ(SentBy([&] { other->AbortSlew(); }), (Wire{"Q", "Q", "#", "Q", "RT9"}));
    EXPECT_FALSE(telescope->Tracking());
    EXPECT_NEAR(mount->Picture().hourSpeed, 0.0, 1e-9);
    ExpectAtRest();
}

TEST_F(AxisStopTest, Abort_TakesARateOfZeroThatLeftTheAxisAtRest_WithTheOthers) {
    telescope->MoveAxis(0, 0.0);  // remembers that the mount tracked
    other->MoveAxis(1, 0.25);
    EXPECT_EQ(SentBy([&] { other->AbortSlew(); }), kStopAndTrack);
    ExpectAtRest();
}

TEST_F(AxisStopTest, Abort_LeavesTheCustomRatesOut) {
    telescope->DeclinationRate(1.0);
    telescope->MoveAxis(1, 0.25);
    EXPECT_EQ(SentBy([&] { telescope->AbortSlew(); }), (Wire{"Q", "Q"}));
}

TEST_F(AxisStopTest, SecondAbort_IsThatOfAnIdleMount) {
    telescope->MoveAxis(1, 0.5);
    telescope->AbortSlew();
    EXPECT_EQ(SentBy([&] { telescope->AbortSlew(); }), (Wire{"Q", "RT3", "RT2"}));
}

TEST_F(AxisStopTest, Abort_WithATrackingRateThatThereIsNot_StopsAllTheSame) {
    ExpectSwallow("PutBackTracking");
    driver->state.g_nTrackingRate = 7;
    telescope->MoveAxis(0, 0.5);
    EXPECT_EQ(SentBy([&] { telescope->AbortSlew(); }), (Wire{"Q", "Q", "Q"}));
    EXPECT_FALSE(telescope->Axes().Runs());
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
}

TEST_F(AxisStopTest, AbortOfASlew_ThatCameBehindAMotionNobodyEnded_EndsBoth) {
    telescope->MoveAxis(1, 0.25);
    other->SlewToCoordinatesAsync(NormalizeHours(other->SiderealTime() - 1.0), 20.0);
    driver->motion.SecondLegPlanned();
    machine.AdvanceTime(1'500);
    EXPECT_EQ(SentBy([&] { other->AbortSlew(); }), (Wire{"Q", "Q"}));
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_TRUE(driver->state.g_bAbortSlew);
    machine.AdvanceTime(5'000);
    EXPECT_FALSE(driver->state.g_bAbortSlew);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_EQ(TimesSent("MS"), 1);
    ExpectAtRest();
}

TEST_F(AxisStopTest, Abort_WhileParking_AbortsTheParkToo) {
    telescope->MoveAxis(1, 0.25);
    driver->motion.ParkBegins();
    telescope->AbortSlew();
    EXPECT_TRUE(driver->state.g_bAbortPark);
    driver->motion.ParkEnds();
}

TEST_F(AxisStopTest, MotionAskedForBeforeAStop_StaysAway_ButItsEndDoesNot) {
    const auto post = [&](CallKind kind, std::function<void()> call) {
        machine.pump.PostAt(machine.clock.Elapsed() + 10, kind, std::move(call));
    };
    post(CallKind::Brief, [&] { telescope->MoveAxis(1, 0.5); });
    post(CallKind::Stop, [&] { other->AbortSlew(); });
    machine.AdvanceTime(20);
    EXPECT_TRUE(Logged("MoveAxis() does not begin: it was stopped before it could"));
    ExpectAtRest();
    post(CallKind::Brief, [&] { EXPECT_EQ(ErrorOf([&] { telescope->MoveAxis(2, 0.5); }), 0x80040400U); });
    post(CallKind::Stop, [&] { other->AbortSlew(); });
    machine.AdvanceTime(100);
    // A stop that its checks refuse has stopped nothing.
    telescope->MoveAxis(1, 0.5);
    post(CallKind::Brief, [&] { telescope->MoveAxis(1, 0.0); });
    post(CallKind::Stop, [&] {
        driver->motion.MountReportsParked(true);
        EXPECT_EQ(ErrorOf([&] { other->AbortSlew(); }), 0x80040409U);
        driver->motion.MountReportsParked(false);
    });
    machine.AdvanceTime(20);
    ExpectAtRest();
}

// --- an axis never runs without an owner

TEST_F(AxisStopTest, ClientThatGoes_TakesItsMotionAlong) {
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(1, 0.5);
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), (Wire{"RD0.00000", "Q", "RT3", "RT2"}));
    EXPECT_TRUE(Logged("The client has gone: its axes are stopped"));
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    EXPECT_LT(mount->Picture().hourSpeed, 0.005);
    EXPECT_EQ(SentBy([&] { other->AbortSlew(); }), (Wire{"Q", "RT3", "RT2"})) << "nothing is left of it";
    telescope = ConnectedTelescope();
}

TEST_F(AxisStopTest, LastClientThatGoes_TakesItsMotionAlong_AlsoWhenItDisconnectedBefore) {
    other.reset();
    telescope->MoveAxis(1, 0.5);
    telescope->Connected(false);
    EXPECT_GT(std::abs(mount->Picture().polarSpeed), 0.4);
    telescope.reset();
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    telescope = driver->CreateTelescope();
    other = driver->CreateTelescope();
}

TEST_F(AxisStopTest, ClientThatGoes_LeavesTheMotionOfOthersAlone) {
    other->MoveAxis(1, 0.5);
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), Wire{});
    EXPECT_TRUE(other->Axes().Runs());
    telescope = ConnectedTelescope();
}

TEST_F(AxisStopTest, ClientThatGoes_DoesNotStopALaterSlew) {
    telescope->MoveAxis(0, 0.5);
    other->SlewToCoordinatesAsync(NormalizeHours(other->SiderealTime() - 1.0), 20.0);
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), Wire{});
    EXPECT_TRUE(driver->state.g_bSlewing);
    EXPECT_TRUE(mount->Picture().slewing);
    telescope = ConnectedTelescope();
}

TEST_F(AxisStopTest, EachEndOfTheProcess_StopsAnAxisThatBeganOverASlewUnderWay_AndTheSlewGoesOn) {
    const std::vector<std::function<void()>> ends{
        [&] {
            other.reset();
            telescope.reset();
        },
        [&] { telescope->ClientCount(1); },
        [&] { driver->EndOnRequest(); },
    };
    for (std::size_t i = 0; i < 2 * ends.size(); ++i) {
        const std::int32_t axis = i % 2 == 0 ? 0 : 1;
        SCOPED_TRACE(i);
        telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 0.5), axis == 0 ? -20.0 : 60.0);
        machine.AdvanceTime(1'500);
        telescope->MoveAxis(axis, axis == 0 ? -0.5 : 0.1);
        while (!driver->state.g_bSlewing && mount->Picture().slewing) {
            machine.AdvanceTime(100);
        }
        ASSERT_TRUE(driver->state.g_bSlewing) << "the mount reports the slew";
        EXPECT_EQ(SentBy(ends[i / 2]), axis == 0 ? Wire{"RR0.00000"} : Wire{"RD0.00000"});
        EXPECT_TRUE(mount->Picture().slewing) << "the slew goes on";
        machine.AdvanceTime(60'000);
        EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
        EXPECT_LT(std::abs(mount->Picture().hourSpeed), 0.005);
        StartAgain();
    }
}

/// Which may not have heard it.
TEST_F(AxisStopTest, EndOfTheProcess_WhereARateIsNotTaken_StopsAllMotion) {
    for (const std::int32_t axis : {0, 1}) {
        SCOPED_TRACE(axis);
        telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 0.5), -20.0);
        machine.AdvanceTime(1'500);
        telescope->MoveAxis(axis, -0.1);
        ASSERT_TRUE(mount->Picture().slewing);
        mount->Add(std::make_unique<DropsReply>(axis == 0 ? "RR" : "RD"));
        const Wire sent = SentBy([&] { driver->EndOnRequest(); });
        EXPECT_EQ(sent.back(), "Q") << testing::PrintToString(sent);
        machine.AdvanceTime(3'000);
        EXPECT_FALSE(mount->Picture().slewing);
        EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
        BuildMount("VKC4-P02-08");
        StartAgain();
    }
}

/// A goto by a client's own text, or a slew; the owner of the axis goes, or the process ends, before or after the mount
/// has reported it.
TEST_F(AxisStopTest, ClientThatGoes_StopsAnAxisThatItBeganOverAGoto_AndTheGotoGoesOn) {
    struct Goto {
        std::string name;
        std::function<void()> begin;
    };
    const auto byText = [](Telescope& client) {
        const double ra = NormalizeHours(client.SiderealTime() - 1.0);
        client.CommandBool("Sr" + HoursToHMS(ra, ":", ":", "", 1), false);
        client.CommandBool("Sd-20*00:00", false);
        client.CommandBool("MS", false);
    };
    const std::vector<Goto> gotos{
        {"its own, by text", [&] { byText(*telescope); }},
        {"another's, by text", [&] { byText(*other); }},
        {"another's slew", [&] { other->SlewToCoordinatesAsync(NormalizeHours(other->SiderealTime() - 1.0), -20.0); }},
    };
    const std::vector<std::pair<std::int32_t, bool>> ends{{100, false}, {2'500, false}, {100, true}, {2'500, true}};
    for (const std::string noText : {"0", "1"}) {
        for (const Goto& row : gotos) {
            for (const auto& end : ends) {
                const std::int32_t afterMs = end.first;
                const bool processEnds = end.second;
                SCOPED_TRACE(row.name + " " + noText + " " + std::to_string(afterMs) + (processEnds ? " end" : ""));
                driver->persist.WriteIniValue("DontQueryGOS", noText);
                telescope.reset();
                other.reset();
                Restart();
                telescope = ConnectedTelescope();
                other = ConnectedTelescope();
                machine.AdvanceTime(10'000);
                row.begin();
                machine.AdvanceTime(1'000);
                telescope->MoveAxis(0, -0.2);
                machine.AdvanceTime(afterMs);
                ASSERT_TRUE(mount->Picture().slewing);
                EXPECT_EQ(SentBy([&] { processEnds ? driver->EndOnRequest() : telescope.reset(); }), Wire{"RR0.00000"});
                EXPECT_TRUE(mount->Picture().slewing);
                EXPECT_FALSE(driver->state.g_bMoveSent) << "nothing is left to be ended";
                machine.AdvanceTime(60'000);
                EXPECT_NEAR(mount->Picture().declination, -20.0, 0.1);
                EXPECT_NEAR(mount->Picture().hourSpeed, 0.00418, 1e-4);
                mount->Place({-3.0, 40.0, false});
            }
        }
    }
    driver->persist.WriteIniValue("DontQueryGOS", "0");
    StartAgain();
}

TEST_F(AxisStopTest, LongAfterAnyGotoHasEnded_AnAxisIsStoppedLikeAnyOther) {
    for (const bool processEnds : {false, true}) {
        SCOPED_TRACE(processEnds);
        driver->persist.WriteIniValue("DontQueryGOS", "1");
        StartAgain();
        other->CommandBool("Sr" + HoursToHMS(NormalizeHours(other->SiderealTime() - 1.0), ":", ":", "", 1), false);
        other->CommandBool("Sd-20*00:00", false);
        other->CommandBool("MS", false);
        machine.AdvanceTime(1'000);
        telescope->MoveAxis(0, -0.02);
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);  // nobody sees the goto end
        machine.AdvanceTime(300'000);
        const Wire sent = SentBy([&] { processEnds ? driver->EndOnRequest() : telescope.reset(); });
        EXPECT_EQ(sent,
                  processEnds ? (Wire{"Q", "Q", "RD0.0000", "RT3", "RT2"}) : (Wire{"Q", "RD0.0000", "RT3", "RT2"}));
    }
    driver->persist.WriteIniValue("DontQueryGOS", "0");
    StartAgain();
}

/// Whoever stops the mount next stops that axis too.
TEST_F(AxisStopTest, ClientThatGoes_WhoseAxisOverAGotoDoesNotHearItsEnd_LeavesAMove) {
    ExpectSwallow("*");
    other->SlewToCoordinatesAsync(NormalizeHours(other->SiderealTime() - 1.0), -20.0);
    machine.AdvanceTime(1'000);
    telescope->MoveAxis(0, -0.2);
    mount->SetLineDead(true);
    telescope.reset();
    mount->SetLineDead(false);
    EXPECT_TRUE(driver->state.g_bMoveSent);
    other->AbortSlew();
    machine.AdvanceTime(5'000);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_LT(std::abs(mount->Picture().hourSpeed), 0.005);
    telescope = ConnectedTelescope();
}

TEST_F(AxisStopTest, ClientThatGoes_LeavesTrackingAloneThatItChoseAfterItsMotion) {
    telescope->MoveAxis(0, 0.5);
    telescope->TrackingRate(1);
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), Wire{});
    EXPECT_FALSE(Logged("The client has gone")) << "nothing was stopped";
    telescope = ConnectedTelescope();
}

TEST_F(AxisStopTest, ClientThatGoes_WhereARateOfZeroHoldsTheAxis_LeavesItAtRest) {
    driver->persist.WriteIniValue("chkRaMoveAxisOfZeroStopsTracking", "1");
    telescope->MoveAxis(0, 0.5);
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), Wire{"RR1.00000"});
    EXPECT_NEAR(mount->Picture().hourSpeed, 0.0, 1e-9);
    telescope = ConnectedTelescope();
    telescope->MoveAxis(0, 0.5);
    EXPECT_EQ(SentBy([&] { other->AbortSlew(); }), kStopAndTrack);
    ExpectAtRest();
}

// --- whoever writes the tracking after a motion has the last word

struct Choice {
    std::string name;
    std::function<void(Telescope& other, frmHandBox& handBox)> make;
    bool tracks;

    friend void PrintTo(const Choice& choice, std::ostream* out) { *out << choice.name; }
};

class AxisChoiceTest : public AxisStopTest, public testing::WithParamInterface<Choice> {
protected:
    void Choose() {
        GetParam().make(*other, driver->handBox);
        EXPECT_EQ(driver->state.g_bTracking, GetParam().tracks);
    }
    /// How a choice is put back after a motion that came later.
    Wire PutBack() const { return GetParam().tracks ? Wire{"Q", "RT0"} : Wire{"#", "Q", "RT9"}; }
};

TEST_P(AxisChoiceTest, ClientThatGoes_LeavesItAlone) {
    telescope->Tracking(!GetParam().tracks);
    telescope->MoveAxis(0, 0.5);
    Choose();
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), Wire{});
    EXPECT_EQ(driver->state.g_bTracking, GetParam().tracks);
    EXPECT_FALSE(Logged("The client has gone"));
    telescope = ConnectedTelescope();
}

TEST_P(AxisChoiceTest, ClientThatGoes_StillStopsItsSecondaryAxis) {
    telescope->MoveAxis(0, 0.5);
    Choose();
    telescope->MoveAxis(1, 0.5);
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), Wire{"RD0.00000"});
    EXPECT_TRUE(Logged("The client has gone: its axes are stopped"));
    telescope = ConnectedTelescope();
    ExpectAtRest();
}

TEST_P(AxisChoiceTest, ClientThatGoes_SendsNothingForASecondaryAxisThatItEnded) {
    telescope->MoveAxis(1, 0.5);
    Choose();
    ASSERT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    const std::int16_t shown = driver->state.g_nDisplayedRate;
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), Wire{});
    EXPECT_EQ(driver->state.g_nDisplayedRate, shown);
    EXPECT_FALSE(Logged("The client has gone"));
    telescope = ConnectedTelescope();
}

TEST_P(AxisChoiceTest, Abort_LeavesItAlone) {
    telescope->Tracking(!GetParam().tracks);
    telescope->MoveAxis(0, 0.5);
    Choose();
    EXPECT_EQ(SentBy([&] { other->AbortSlew(); }), (Wire{"Q", "Q"}));
    EXPECT_EQ(driver->state.g_bTracking, GetParam().tracks);
    ExpectAtRest();
}

TEST_P(AxisChoiceTest, NewRateBehindIt_FindsIt_AndTheEndPutsItBack) {
    telescope->Tracking(!GetParam().tracks);
    telescope->MoveAxis(0, 0.5);
    Choose();
    telescope->MoveAxis(0, 0.25);
    Wire sent = SentBy([&] { telescope.reset(); });
    std::erase(sent, "RT3");
    EXPECT_EQ(sent, PutBack());
    EXPECT_LT(mount->Picture().hourSpeed, 0.005);
    telescope = ConnectedTelescope();
    telescope->MoveAxis(0, 0.5);
    Choose();
    telescope->MoveAxis(0, 0.25);
    sent = SentBy([&] { other->AbortSlew(); });
    ASSERT_GE(sent.size(), 2U);
    EXPECT_EQ(Wire(sent.begin() + 2, sent.end()), PutBack());
    ExpectAtRest();
}

TEST_P(AxisChoiceTest, RateOfZeroByTheClient_PutsBackWhatItsFirstRateFound) {
    telescope->Tracking(!GetParam().tracks);
    telescope->MoveAxis(0, 0.5);
    Choose();
    telescope->MoveAxis(0, 0.0);
    EXPECT_EQ(driver->state.g_bTracking, !GetParam().tracks);
    ExpectAtRest();
}

INSTANTIATE_TEST_SUITE_P(
    Choices, AxisChoiceTest,
    testing::Values(Choice{"ByAnotherClient", [](Telescope& other, frmHandBox&) { other.Tracking(false); }, false},
                    Choice{"RateOfAnotherClient", [](Telescope& other, frmHandBox&) { other.TrackingRate(1); }, true},
                    Choice{"ZeroButton", [](Telescope&, frmHandBox& box) { box.btnRateZero.FireClick(); }, false},
                    Choice{"LunarButton", [](Telescope&, frmHandBox& box) { box.btnRateLunar.FireClick(); }, true}),
    [](const auto& row) { return row.param.name; });

TEST_F(AxisStopTest, Abort_PutsBackWhatOneClientFound_WhereAnotherHasChosenSince) {
    telescope->MoveAxis(0, 0.5);
    other->Tracking(false);
    other->MoveAxis(0, 0.25);
    EXPECT_EQ(SentBy([&] { telescope->AbortSlew(); }), (Wire{"Q", "Q", "#", "Q", "RT9"}));
    EXPECT_FALSE(telescope->Tracking());
    ExpectAtRest();
}

TEST_F(AxisStopTest, ClientThatGoesBehindAnothersFinishedSlew_LeavesItsTracking) {
    telescope->Tracking(false);
    telescope->MoveAxis(0, 0.5);
    other->Tracking(true);
    other->SlewToCoordinates(NormalizeHours(other->SiderealTime() - 1.0), 20.0);
    machine.AdvanceTime(10'000);
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), Wire{});
    EXPECT_TRUE(other->Tracking());
    EXPECT_EQ(mount->Picture().tracking, '2');
    telescope = ConnectedTelescope();
}

TEST_F(AxisStopTest, ClientThatGoesBehindAnothersFinishedSlew_LeavesTheCustomRateOfTheOther) {
    telescope->MoveAxis(1, 0.5);
    other->SlewToCoordinates(NormalizeHours(other->SiderealTime() - 1.0), 20.0);
    machine.AdvanceTime(10'000);
    other->DeclinationRate(1.0);
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), Wire{});
    EXPECT_EQ(driver->state.g_nDisplayedRate, 4);
    EXPECT_GT(std::abs(mount->Picture().polarSpeed), 1e-4);
    EXPECT_FALSE(Logged("The client has gone"));
    telescope = ConnectedTelescope();
}

TEST_F(AxisStopTest, ClientThatGoesBehindAnothersSlew_SendsNothingForTheAxesThatItEnded) {
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(1, 0.5);
    const std::uint32_t choices = driver->state.g_nTrackingChoices;
    other->SlewToCoordinatesAsync(NormalizeHours(other->SiderealTime() - 1.0), 20.0);
    for (int passes = 0; driver->state.g_bSlewing && passes < 10'000; ++passes) {
        driver->state.g_bRestoreRatePending = false;  // the slew alone has ended the motion
        machine.AdvanceTime(10);
    }
    ASSERT_FALSE(driver->state.g_bSlewing);
    ASSERT_EQ(driver->state.g_nTrackingChoices, choices);
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), Wire{});
    telescope = ConnectedTelescope();
}

TEST_F(AxisStopTest, ClientThatGoes_StopsAMotionThatItBeganBehindASlew) {
    telescope->MoveAxis(1, 0.5);
    other->SlewToCoordinates(NormalizeHours(other->SiderealTime() - 1.0), 20.0);
    machine.AdvanceTime(10'000);
    telescope->MoveAxis(1, 0.25);
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), Wire{"RD0.00000"});
    telescope = ConnectedTelescope();
    ExpectAtRest();
}

TEST_F(AxisStopTest, TrackingOffWhileParked_DoesNothing_AndIsNoChoice) {
    telescope->MoveAxis(0, 0.5);
    driver->motion.MountReportsParked(true);
    other->Tracking(false);
    driver->motion.MountReportsParked(false);
    EXPECT_EQ(SentBy([&] { telescope.reset(); }), (Wire{"Q", "RT3", "RT2"}));
    telescope = ConnectedTelescope();
    ExpectAtRest();
}

}  // namespace
}  // namespace kestrane
