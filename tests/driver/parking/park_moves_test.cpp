#include "telescope/motion/park_moves.h"

#include <functional>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <tuple>

#include "driver/parking/park_fixture.h"
#include "simulator/misbehaviours.h"

/// What a park does ahead of its goto: it goes east, and it lets the counterweight down.
namespace kestrane {
namespace {

constexpr MountPointing kLowInTheEast{-8.0, 70.0, false};

class EastFirstTest : public ParkTest, public testing::WithParamInterface<std::string> {
protected:
    /// A mount from which a park goes east first, by so many hours.
    void ConnectLow(const std::string& hours, const std::string& ticked = "1") {
        ConnectAt(47.0, GetParam(), {{"cbxParkTo", "2"}, {"chkSlewEast", ticked}, {"txtSlewEastFirstHours", hours}},
                  kLowInTheEast);
    }
    int Count(const std::string& command) {
        int count = 0;
        for (const std::string& sent : mount->Commands()) {
            count += sent == command ? 1 : 0;
        }
        return count;
    }
};

TEST_P(EastFirstTest, TheMountGoesEast_AndThenToItsPlace) {
    ConnectLow("3");
    const double before = mount->Picture().hourAxis;
    bool wasParking = false;
    const When moving(
        machine.pump, [&] { return driver->state.g_bSlewingEast && mount->Picture().hourAxis < before - 20.0; },
        [&] {
            wasParking = driver->state.g_bParking && telescope->Slewing() && !telescope->AtPark();
            EXPECT_TRUE(driver->handBox.lblParkStatus.Text().starts_with("East: "));
            EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
        });
    Tape().Clear();
    telescope->Park();
    EXPECT_TRUE(moving.Happened());
    EXPECT_TRUE(wasParking);
    EXPECT_TRUE(Sent().starts_with("RC2 Me Q Q SL")) << Sent();
    EXPECT_TRUE(
        Logged("Slew East First=1, East Hours=3, SideOfPier=" + std::string(pier_side::kEastText) + ", HourAngle=-"));
    EXPECT_TRUE(Logged("Park Slew East 3 hours"));
    EXPECT_TRUE(Logged(", Residual Sanity Time="));
    EXPECT_TRUE(Logged("Park Slewing East Done: 3"));
    ExpectParked();
    ExpectPointsAt(0.0, 90.0, 0.1);
}

TEST_P(EastFirstTest, TheLabelSaysHowFarTheParkIs) {
    ConnectLow("1");
    ParkLabel label(driver->handBox);
    telescope->Park();
    ExpectParked();
    const std::vector<std::string>& texts = label.Texts();
    const auto done = std::find(texts.begin(), texts.end(), "East Slew Done");
    ASSERT_NE(done, texts.end());
    EXPECT_EQ(texts.front(), "East Slew...");
    EXPECT_TRUE((done - 1)->starts_with("East: 1.")) << *(done - 1);
    EXPECT_NE(std::find(done, texts.end(), "Parking"), texts.end());
    EXPECT_EQ(texts.back(), "Parked");
}

TEST_P(EastFirstTest, AMountWithReversedDirections_IsTurnedRound_UntilItIsBackWhereItBegan) {
    ConnectLow("5");
    telescope->CommandBlind("#:EW#", true);
    machine.AdvanceTime(500);
    const double before = mount->Picture().hourAxis;
    telescope->Park();
    EXPECT_GE(Count("Mw"), 1);
    EXPECT_EQ(Count("Me"), 1);
    EXPECT_TRUE(Logged("Park Slewing East: Reversing Direction"));
    EXPECT_TRUE(Logged("Park Slewing East Done: 5"));
    EXPECT_LT(mount->Picture().hourAxis, before - 74.0);
    ExpectParked();
}

TEST_P(EastFirstTest, HoursThatNoMountGoes_AndAnUntickedBox_LeaveItOut) {
    for (const auto& [hours, ticked] : {std::pair{"0", "1"}, {"13", "1"}, {"-1", "1"}, {"3", "0"}}) {
        ConnectLow(hours, ticked);
        telescope->Park();
        EXPECT_FALSE(Logged("Park Slew East ")) << hours;
        EXPECT_TRUE(driver->state.g_bParking);
        EndTheDriver();
    }
}

TEST_P(EastFirstTest, OneWrongReading_NeitherTurnsItRoundNorEndsIt) {
    for (const double hours : {-2.0, -0.1, 6.0}) {
        SCOPED_TRACE(hours);
        ConnectLow("4");
        const double before = mount->Picture().hourAxis;
        const When moving(
            machine.pump, [&] { return mount->Picture().hourAxis < before - 15.0; },
            [&] {
                const double wrong = NormalizeHours(mount->Picture().rightAscension + hours);
                mount->Add(std::make_unique<AnswersWith>("GR", HoursToHMS(wrong, ":", ":", "", 1) + "#"));
            });
        telescope->Park();
        EXPECT_TRUE(moving.Happened());
        EXPECT_EQ(Count("Mw"), 0);
        EXPECT_TRUE(Logged("Park Slewing East Done: 4"));
        EXPECT_LT(mount->Picture().hourAxis, before - 59.0);
        EndTheDriver();
        log.clear();
    }
}

/// The call of another client, or of a person, comes while the park asks on which side the mount is.
TEST_P(EastFirstTest, ACallAheadOfTheMove_KeepsItFromBeginning) {
    struct {
        const char* name;
        CallKind kind;
        std::function<void()> call;
    } const calls[]{
        {"stop", CallKind::Stop, [&] { driver->panel.AbortSlew(); }},
        {"tracking off", CallKind::StopsOne, [&] { telescope->Tracking(false); }},
        {"axis stop", CallKind::StopsOne, [&] { telescope->MoveAxis(1, 0.0); }},
        {"verb", CallKind::StopsOne, [&] { telescope->CommandString("RAW,CancelPark", true); }},
    };
    for (const auto& row : calls) {
        int stoppedInTime = 0;
        for (std::int64_t ms = 5; ms < 1'000; ms += 15) {
            SCOPED_TRACE(std::string(row.name) + " after " + std::to_string(ms) + " ms");
            ConnectLow("5");
            mount->Add(std::make_unique<AnswersLate>("", 50));
            Tape().Clear();
            std::string sentBefore;
            machine.pump.Run(CallKind::WaitsLong, [&] {
                machine.pump.PostAt(machine.clock.Elapsed() + ms, row.kind, [&] {
                    sentBefore = Sent();
                    row.call();
                });
                telescope->Park();
            });
            const bool wasMoving = sentBefore.find("Me") != std::string::npos;
            if (!wasMoving) {
                ++stoppedInTime;
                EXPECT_EQ(Sent().find("Me"), std::string::npos) << Sent();
            }
            ExpectCancelled(std::string(row.name) != "tracking off");
            EXPECT_EQ(TimesSent("MS"), 0);
            // A poll that the call has kept from asking has heard no silence.
            EXPECT_FALSE(Logged("The mount may not have heard a stop"));
            EndTheDriver();
            if (wasMoving) {
                break;
            }
        }
        EXPECT_GT(stoppedInTime, 4) << row.name;
    }
}

TEST_P(EastFirstTest, AnotherTryThatIsStopped_RestoresTheTrackingFromBeforeTheFirst) {
    ConnectLow("1");
    driver->state.g_bRawRaDecSlews = true;  // nothing but the move east comes ahead of the goto
    mount->Add(std::make_unique<Stalls>(1'000.0));
    telescope->Park();
    machine.AdvanceTime(10'000);
    ASSERT_TRUE(driver->state.g_bParking);
    ASSERT_FALSE(driver->state.g_bTracking);
    const double before = mount->Picture().hourAxis;
    const When moving(
        machine.pump, [&] { return driver->state.g_bSlewingEast && mount->Picture().hourAxis < before - 5.0; },
        [&] { telescope->AbortSlew(); });
    telescope->CommandString("RAW,ParkMount,4", true);
    ASSERT_TRUE(moving.Happened());
    ExpectCancelled();
}

TEST_P(EastFirstTest, ThePollStep_CanBegin_WithoutHoldingUpTheMove) {
    ConnectLow("3");
    driver->state.g_bInPoll = true;  // the timer cannot fire: the move runs the step itself
    telescope->Park();
    driver->state.g_bInPoll = false;
    EXPECT_TRUE(Logged("Park Slewing East Done: 3"));
    ExpectParked();
}

TEST_P(EastFirstTest, TwelveHours_AreTheMost) {
    ConnectLow("12");
    const double before = mount->Picture().hourAxis;
    const When moving(
        machine.pump, [&] { return mount->Picture().hourAxis < before - 20.0; }, [&] { telescope->AbortSlew(); });
    telescope->Park();
    EXPECT_TRUE(moving.Happened());
    EXPECT_TRUE(Logged("Park Slew East 12 hours"));
    ExpectCancelled();
}

TEST_P(EastFirstTest, AMountOnTheWestSideBeforeSixHours_GoesEastToo) {
    ConnectAt(47.0, GetParam(), {{"cbxParkTo", "2"}, {"chkSlewEast", "1"}, {"txtSlewEastFirstHours", "1"}},
              MountPointing{4.0, 40.0, true});
    Tape().Clear();
    telescope->Park();
    EXPECT_TRUE(Sent().starts_with("RC2 Me Q Q ")) << Sent();
    EXPECT_TRUE(Logged("Park Slewing East Done: 1"));
    ExpectParked();
}

TEST_P(EastFirstTest, AnotherParkInMidGoto_BeginsWhenTheMountStands) {
    ConnectLow("2", "0");
    driver->state.g_bRawRaDecSlews = true;  // nothing but the move east comes ahead of the goto
    telescope->Park();
    machine.AdvanceTime(1'500);
    ASSERT_TRUE(mount->Picture().slewing);
    driver->persist.Write(setting::chkSlewEast, "1");
    telescope->CommandString("RAW,ParkMount,4", true);
    EXPECT_TRUE(Logged("Park Slewing East Done: 2"));
    EXPECT_EQ(Count("Mw"), 0);
    ExpectParked();
    ExpectPointsAt(0.0, 180.0, 0.1);
}

TEST_P(EastFirstTest, AnotherParkInMidGoto_WaitsAlsoForAMountThatSlowsDownForSeconds) {
    slewAcceleration = 0.7;
    ConnectLow("2", "0");
    driver->state.g_bRawRaDecSlews = true;  // nothing but the move east comes ahead of the goto
    telescope->Park();
    machine.AdvanceTime(6'000);
    ASSERT_GT(std::abs(mount->Picture().hourSpeed) + std::abs(mount->Picture().polarSpeed), 3.0);
    driver->persist.Write(setting::chkSlewEast, "1");
    telescope->CommandString("RAW,ParkMount,4", true);
    EXPECT_TRUE(Logged("Park Slewing East Done: 2"));
    EXPECT_EQ(Count("Mw"), 0);
    ExpectParked();
    ExpectPointsAt(0.0, 180.0, 0.1);
}

TEST_P(EastFirstTest, AParkedMount_LeavesItsParkFirst) {
    ConnectLow("2", "0");
    telescope->CommandString("RAW,ParkMount,0", true);
    machine.AdvanceTime(10'000);
    ASSERT_TRUE(mount->Picture().parked);
    driver->persist.Write(setting::chkSlewEast, "1");
    Tape().Clear();
    telescope->CommandString("RAW,ParkMount,2", true);
    EXPECT_TRUE(Sent().starts_with("RT9 RC2 Me Q Q ")) << Sent();
    EXPECT_TRUE(Logged("Park Slewing East Done: 2"));
    EXPECT_TRUE(WaitForParkEnd());
    machine.AdvanceTime(5'000);
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_TRUE(mount->Picture().parked);
    ExpectPointsAt(0.0, 90.0, 0.1);
}

TEST_P(EastFirstTest, WhatStopsIt_EndsThePark) {
    const std::vector<std::function<void()>> stops{
        [&] { telescope->AbortSlew(); },
        [&] { OtherClient().AbortSlew(); },
        [&] { driver->panel.AbortSlew(); },
        [&] { telescope->CommandString("RAW,CancelPark", true); },
    };
    for (const auto& stop : stops) {
        ConnectLow("5");
        const double before = mount->Picture().hourAxis;
        std::int64_t stoppedAt = 0;
        const When moving(
            machine.pump, [&] { return mount->Picture().hourAxis < before - 20.0; },
            [&] {
                stop();
                stoppedAt = machine.clock.Elapsed();
            });
        Tape().Clear();
        telescope->Park();
        EXPECT_LT(machine.clock.Elapsed() - stoppedAt, 500);
        EXPECT_EQ(Sent().substr(0, 10), "RC2 Me Q Q");
        EXPECT_EQ(Sent().find("SL"), std::string::npos) << Sent();
        EXPECT_TRUE(Logged("Park Slewing East Aborted!"));
        EXPECT_TRUE(Logged("Park aborted in Slew East operation"));
        EXPECT_EQ(TimesSent("MS"), 0);
        ExpectCancelled();
        EndTheDriver();
    }
}

TEST_P(EastFirstTest, WhatTakesTheMount_StopsTheMove_AndGoesOn) {
    ConnectLow("5");
    const double before = mount->Picture().hourAxis;
    const When moving(
        machine.pump, [&] { return mount->Picture().hourAxis < before - 20.0; },
        [&] {
            telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), 30.0);
            EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Park Canceled");
        });
    Tape().Clear();
    telescope->Park();
    EXPECT_EQ(Sent().substr(0, 10), "RC2 Me Q Q");
    EXPECT_EQ(Sent().find('Q', 10), std::string::npos) << Sent();
    EXPECT_TRUE(WaitForEnd());
    machine.AdvanceTime(5'000);
    EXPECT_NEAR(mount->Picture().declination, 30.0, 0.05);
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_EQ(TimesSent("KA"), 0);
    EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
}

TEST_P(EastFirstTest, ASecondParkMeanwhile_DoesNotBegin) {
    ConnectLow("3");
    const double before = mount->Picture().hourAxis;
    const When moving(
        machine.pump, [&] { return mount->Picture().hourAxis < before - 20.0; },
        [&] {
            EXPECT_EQ(MotionDuring([&] { telescope->Park(); }), "");
            EXPECT_EQ(error, 0U);
        });
    telescope->Park();
    EXPECT_TRUE(moving.Happened());
    EXPECT_TRUE(Logged("A park is under way already: this one does not begin"));
    ExpectParked();
}

TEST_P(EastFirstTest, NothingSeesAnArrivalInMidMove) {
    ConnectLow("5");
    // The last goto led to where the mount comes by on its way east.
    telescope->TargetRightAscension(NormalizeHours(mount->Picture().rightAscension + 1.0));
    telescope->TargetDeclination(mount->Picture().declination);
    const double before = mount->Picture().hourAxis;
    const When moving(
        machine.pump, [&] { return mount->Picture().hourAxis < before - 15.0; },
        [&] {
            driver->motion.SlewCompleteDue();
            driver->InternalInstance().HandleParkComplete();
            EXPECT_TRUE(driver->state.g_bParking);
        });
    telescope->Park();
    EXPECT_TRUE(moving.Happened());
    EXPECT_EQ(TimesSent("KA"), 0);
    EXPECT_TRUE(Logged("Park Slewing East Done: 5"));
    ExpectParked();
}

TEST_P(EastFirstTest, APositionThatIsNotHeard_EndsTheMove) {
    for (const char* command : {"", "GR"}) {
        SCOPED_TRACE(command);
        ConnectLow("8");
        ExpectSwallow("*");
        const double before = mount->Picture().hourAxis;
        std::int64_t silentFrom = 0;
        const When moving(
            machine.pump, [&] { return mount->Picture().hourAxis < before - 15.0; },
            [&] {
                mount->Add(std::make_unique<DropsReply>(command));
                silentFrom = machine.clock.Elapsed();
            });
        telescope->Park();
        EXPECT_TRUE(moving.Happened());
        EXPECT_LT(machine.clock.Elapsed() - silentFrom, 7'000);
        machine.AdvanceTime(2'000);
        EXPECT_NEAR(mount->Picture().hourSpeed, 0.00418, 1e-3);
        EXPECT_EQ(TimesSent("MS"), 0);
        EXPECT_TRUE(Logged("The move before the park ends here"));
        mount->ClearMisbehaviours();
        EndTheDriver();
    }
    EXPECT_TRUE(Logged("The move before the park ends here: the right ascension was not read for 3 seconds"));
}

TEST_P(EastFirstTest, ACounterweightThatGoesFurtherUp_IsStopped) {
    ConnectLow("2", "0");
    telescope->CommandBlind("#:EW#", true);
    machine.AdvanceTime(500);
    const double before = mount->Picture().hourAxis;
    telescope->Park();
    EXPECT_LT(mount->Picture().hourAxis, before + 10.0);
    EXPECT_TRUE(Logged("The move before the park ends here: the mount goes the other way"));
    EXPECT_EQ(TimesSent("MS"), 0);
    ExpectCancelled();
}

TEST_P(EastFirstTest, TheEndOfTheProcess_StopsTheMove) {
    ConnectLow("8");
    ExpectSwallow("*");
    const double before = mount->Picture().hourAxis;
    const When moving(
        machine.pump, [&] { return mount->Picture().hourAxis < before - 15.0; }, [&] { driver->EndOnRequest(); });
    telescope->Park();
    EXPECT_TRUE(moving.Happened());
    machine.AdvanceTime(3'000);
    EXPECT_NEAR(mount->Picture().hourSpeed, 0.00418, 1e-3);
    EXPECT_EQ(TimesSent("MS"), 0);
    EXPECT_EQ(TimesSent("KA"), 0);
}

INSTANTIATE_TEST_SUITE_P(Families, EastFirstTest, testing::Values("D", "EK5"),
                         [](const auto& row) { return row.param; });

class ParkMoveTest : public ParkTest {};

TEST_F(ParkMoveTest, AMountThatGoesWestWhateverItIsTold_IsStoppedWhenTheTimeIsOver) {
    Connect("EK5", {{"cbxParkTo", "2"}, {"chkSlewEast", "1"}, {"txtSlewEastFirstHours", "2"}});
    StandingMount& standing = StandForPark();
    standing.Stand("12:00:00.0", "+70*00:00.0", "04:00:00", "East");
    standing.replies["GOS"] = "0200002320O00";
    machine.AdvanceTime(10'000);
    int asked = 0;
    standing.onCommand = [&](const std::string& command) {
        if (command == "GR") {
            standing.replies["GR"] = "11:" + std::to_string(59 - ++asked % 50) + ":00.0#";
        }
    };
    const std::int64_t start = machine.clock.Elapsed();
    Tape().Clear();
    telescope->Park();
    EXPECT_GE(machine.clock.Elapsed() - start, 22'000);
    EXPECT_LT(machine.clock.Elapsed() - start, 24'000);
    const std::string sent = Sent();
    EXPECT_TRUE(sent.starts_with("RC2 Me Q Q Mw Q Q Mw Q Q Mw")) << sent;
    EXPECT_TRUE(sent.ends_with("Q Q")) << sent;
    EXPECT_TRUE(LoggedAs("Telescope", 1, "The move before the park ends here: it takes too long"));
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Park Canceled");
}

TEST_F(ParkMoveTest, TrackingThatIsSwitchedOffWhileTheMoveTurnsRound_KeepsItFromGoingOn) {
    Connect("EK5", {{"cbxParkTo", "2"}, {"chkSlewEast", "1"}, {"txtSlewEastFirstHours", "2"}});
    StandingMount& standing = StandForPark();
    standing.Stand("12:00:00.0", "+70*00:00.0", "04:00:00", "East");
    machine.AdvanceTime(10'000);
    int asked = 0;
    int stops = 0;
    standing.onCommand = [&](const std::string& command) {
        if (command == "GR") {
            standing.replies["GR"] = "11:" + std::to_string(59 - ++asked % 50) + ":00.0#";
        }
        stops += command == "Q" ? 1 : 0;
        if (command == "Q" && stops == 2) {  // the next is to be the move
            machine.pump.PostAt(machine.clock.Elapsed(), CallKind::StopsOne, [&] { telescope->Tracking(false); });
        }
    };
    Tape().Clear();
    telescope->Park();
    EXPECT_TRUE(Sent().starts_with("RC2 Me Q Q ")) << Sent();
    EXPECT_EQ(Sent().find("Mw"), std::string::npos) << Sent();
    EXPECT_FALSE(driver->state.g_bParking);
}

TEST_F(ParkMoveTest, AMountOfTheSlowModel_GetsTwiceTheTime) {
    Connect("EK5", {{"cbxParkTo", "2"}, {"chkSlewEast", "1"}, {"txtSlewEastFirstHours", "2"}});
    driver->mount.mountType = Mount_Type::FIR;
    StandForPark().Stand("12:00:00.0", "+70*00:00.0", "04:00:00", "East");
    machine.AdvanceTime(10'000);
    const std::int64_t start = machine.clock.Elapsed();
    telescope->Park();
    EXPECT_GE(machine.clock.Elapsed() - start, 34'000);
    EXPECT_LT(machine.clock.Elapsed() - start, 36'000);
    EXPECT_TRUE(Logged("The move before the park ends here: it takes too long"));
}

struct UpRow {
    std::string name;
    MountPointing start;
    std::string move;

    friend void PrintTo(const UpRow& row, std::ostream* out) { *out << row.name; }
};

class LeavingTest : public ParkTest, public testing::WithParamInterface<UpRow> {};

TEST_P(LeavingTest, ARaisedCounterweight_GoesDownFirst) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "3"}}, GetParam().start);
    ASSERT_TRUE(driver->state.g_bCounterweightUp);
    bool up = true;
    const When goes(
        machine.pump, [&] { return TimesSent("MS") == 1; }, [&] { up = driver->state.g_bCounterweightUp; });
    Tape().Clear();
    telescope->Park();
    const std::string sent = Sent();
    EXPECT_NE(sent.find("RT9 RC2 " + GetParam().move + " Q Sa"), std::string::npos) << sent;
    EXPECT_FALSE(driver->state.g_bLeavingCwUp);
    ExpectParked();
    EXPECT_FALSE(up);
    ExpectPointsAt(47.0, 0.0, 0.1);
}

INSTANTIATE_TEST_SUITE_P(Sides, LeavingTest,
                         testing::Values(UpRow{"EastFar", {-8.0, 70.0, false}, "Me"},
                                         UpRow{"EastNear", {-2.0, 40.0, false}, "Mw"},
                                         UpRow{"WestNear", {2.0, 40.0, true}, "Me"},
                                         UpRow{"WestFar", {8.0, 70.0, true}, "Mw"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(ParkMoveTest, ARaisedCounterweightInsideAPollStep_GoesDownToo) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "3"}}, MountPointing{2.0, 40.0, true});
    driver->state.g_bInPoll = true;
    telescope->Park();
    driver->state.g_bInPoll = false;
    ExpectParked();
}

TEST_F(ParkMoveTest, ARaisedCounterweightOfAMountThatSlews_GoesDownWhenTheMountStands) {
    for (const bool west : {false, true}) {
        ConnectAt(47.0, "S", {{"cbxParkTo", "3"}}, MountPointing{west ? 2.0 : -2.0, 40.0, west});
        driver->state.g_bRawRaDecSlews = true;
        telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - (west ? -3.0 : 3.0)), 10.0);
        machine.AdvanceTime(1'200);
        ASSERT_TRUE(mount->Picture().slewing);
        ASSERT_TRUE(driver->state.g_bCounterweightUp);
        driver->state.g_bRawRaDecSlews = false;
        telescope->Park();
        EXPECT_FALSE(Logged("The move before the park ends here"));
        ExpectParked();
        EndTheDriver();
        log.clear();
    }
}

/// A motion that a park may begin over.
struct MotionUnderWay {
    std::string name;
    std::function<void(Telescope& client)> begin;
    std::string sent = "Q Q RC2 Me Q Q ";

    friend void PrintTo(const MotionUnderWay& row, std::ostream* out) { *out << row.name; }
};

class MotionUnderWayTest : public ParkTest,
                           public testing::WithParamInterface<std::tuple<std::string, MotionUnderWay>> {};

TEST_P(MotionUnderWayTest, EndsBeforeTheMove) {
    const auto& [firmware, row] = GetParam();
    ConnectAt(47.0, firmware, {{"cbxParkTo", "2"}, {"chkSlewEast", "1"}, {"txtSlewEastFirstHours", "2"}},
              kLowInTheEast);
    row.begin(*telescope);
    Tape().Clear();
    telescope->Park();
    EXPECT_TRUE(Sent().starts_with(row.sent)) << Sent();
    ExpectParked();
}

INSTANTIATE_TEST_SUITE_P(
    Motions, MotionUnderWayTest,
    testing::Combine(testing::Values("EK5", "D"),  // with and without a status text
                     testing::Values(MotionUnderWay{"APulse", [](Telescope& client) { client.PulseGuide(0, 3'000); }},
                                     MotionUnderWay{"APrimaryAxis", [](Telescope& client) { client.MoveAxis(0, 0.2); }},
                                     MotionUnderWay{"ASecondaryAxis",
                                                    [](Telescope& client) { client.MoveAxis(1, 0.2); }},
                                     MotionUnderWay{"AMoveOfItsOwnText",
                                                    [](Telescope& client) { client.CommandBlind(":Mn#", true); }},
                                     MotionUnderWay{"AGotoOfItsOwnText",
                                                    [](Telescope& client) {
                                                        client.CommandBool("Sd+60*00:00", false);
                                                        client.CommandBool("MS", false);
                                                    }},
                                     MotionUnderWay{"AnAxisThatWasJustStopped",
                                                    [](Telescope& client) {
                                                        client.MoveAxis(1, 0.2);
                                                        client.AbortSlew();
                                                    },
                                                    "RC2 Me Q Q "})),
    [](const auto& row) { return std::get<0>(row.param) + std::get<1>(row.param).name; });

TEST_F(ParkMoveTest, ARaisedCounterweightWithoutAWayDown_GetsTheRateOnly) {
    ConnectAt(47.0, "S", {}, MountPointing{-3.0, 40.0, true});
    driver->state.g_bCounterweightUp = true;
    ASSERT_EQ(driver->state.g_nSideOfPier, pier_side::West);
    EXPECT_EQ(MotionDuring([&] { ParkMoves(driver->InternalInstance()).LeaveCounterweightUp(); }), "RC2");
}

TEST_F(ParkMoveTest, TheLatitudeIsAskedForBeforeAnyMove) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "3"}}, MountPointing{2.0, 40.0, true});
    Tape().Clear();
    telescope->Park();
    EXPECT_LT(Tape().All().find(" Gt "), Tape().All().find(" RC2 Me "));
    EndTheDriver();
    ConnectAt(47.0, "S", {{"cbxParkTo", "0"}});
    EXPECT_NE(SentDuring([&] { telescope->Park(); }).find(" Gt "), std::string::npos);
}

TEST_F(ParkMoveTest, FirmwareThatKnowsASafeWay_IsLeftToIt) {
    ConnectAt(47.0, "VKC4-P02-08", {{"cbxParkTo", "6"}, {"txtUserParkAlt", "30"}, {"txtUserParkAz", "120"}},
              MountPointing{2.0, 40.0, true});
    ASSERT_TRUE(driver->state.g_bFirmwareSafeSlew);
    telescope->Park();
    EXPECT_EQ(TimesSent("RC2"), 0);
    ExpectParked();
}

}  // namespace
}  // namespace kestrane
