#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>

#include "driver/companion/companion_fixture.h"
#include "simulator/misbehaviours.h"

/// Slews, parks and questions that go to the companion, and those that stay with the driver.
namespace kestrane {
namespace {

class HandedOverTest : public CompanionRoadTest {
protected:
    const DriverState& State() { return driver->state; }
    void ExpectTakenNow(std::uint32_t takenBefore) {
        EXPECT_TRUE(State().g_bSlewing);
        EXPECT_TRUE(State().g_bMountSlewing);
        EXPECT_FALSE(State().g_bAbortSlew);
        EXPECT_FALSE(State().g_bSlewCompletePending);
        EXPECT_EQ(State().g_nSlewsTaken, takenBefore + 1);
        EXPECT_EQ(State().g_tickLastSlewCheck, machine.clock.GetTickCount());
        EXPECT_EQ(State().g_tickSettleEnd - machine.clock.GetTickCount(), 4'000);
    }
    std::size_t PlaceOf(const std::string& text, std::size_t from = 0) { return Told().find(text, from); }
};

// --- slews ----------------------------------------------------------------------------------------------------------

TEST_F(HandedOverTest, ASlew_IsWatchedLikeOneThatTheMountHasTaken) {
    Connect(Road::CompanionPort);
    telescope->SlewSettleTime(4);
    const std::uint32_t taken = State().g_nSlewsTaken;
    telescope->SlewToCoordinatesAsync(State().g_dRa, 30.0);
    ExpectTakenNow(taken);
    EXPECT_EQ(TimesTold("*SLEW,"), 1);
    EXPECT_TRUE(WaitForSlewEnd());
    EXPECT_NEAR(mount->Picture().declination, 30.0, 0.05);
}

TEST_F(HandedOverTest, ASlewThatIsNotAnswered_IsWatchedToo) {
    ExpectSwallow("CommandString");
    Connect(Road::CompanionPort);
    telescope->SlewSettleTime(4);
    const std::uint32_t taken = State().g_nSlewsTaken;
    companion.SetFault(SimulatedCompanion::Fault::Silent);
    telescope->SlewToCoordinatesAsync(State().g_dRa, 30.0);
    ExpectTakenNow(taken);
    EXPECT_TRUE(LoggedAs("SlewToCoordinatesAsync", 0, "Result from QUAY *SLEW="));
}

TEST_F(HandedOverTest, AHorizontalSlew_NamesTheAltitudeFirst) {
    Connect(Road::CompanionPort);
    telescope->SlewSettleTime(4);
    telescope->Tracking(false);
    const std::uint32_t taken = State().g_nSlewsTaken;
    telescope->SlewToAltAzAsync(123.5, 45.0);
    ExpectTakenNow(taken);
    EXPECT_EQ(TimesTold("*SLEWALTAZ,45,123.5"), 1) << Told();
    machine.AdvanceTime(90'000);
    EXPECT_NEAR(mount->Picture().altitude, 45.0, 0.2);
    EXPECT_NEAR(mount->Picture().azimuth, 123.5, 0.5);
}

struct PlannedRow {
    const char* name;
    void (*begin)(Telescope&);
    bool (*hasCome)(const MountPicture&);
    bool isWatched = true;
};

class PlannedTest : public HandedOverTest, public testing::WithParamInterface<PlannedRow> {
protected:
    void AskForStatus(std::int32_t forMs) {
        for (std::int32_t passed = 0; passed < forMs; passed += 400) {
            driver->queries.QueryGos();
            machine.AdvanceTime(400);
        }
    }
};

/// A status text that tells that the mount stands would end it, and what follows would keep the mount from going.
TEST_P(PlannedTest, ASlewThatTheCompanionPlansFirst_IsNotOverBeforeItBegins) {
    const PlannedRow& row = GetParam();
    Connect(Road::CompanionPort, {{"chkAsyncPark", "1"}, {"txtUserParkAlt", "40"}, {"txtUserParkAz", "100"}});
    companion.beforeGotoMs = 2'500;
    row.begin(*telescope);
    AskForStatus(2'000);
    EXPECT_TRUE(State().g_bGotoRuns);
    EXPECT_EQ(State().g_bSlewing, row.isWatched);
    AskForStatus(120'000);
    EXPECT_TRUE(row.hasCome(mount->Picture()));
    EXPECT_FALSE(State().g_bGotoRuns);
    EXPECT_FALSE(telescope->Slewing());
}

bool IsAtDeclination(const MountPicture& picture) {
    return std::abs(picture.declination - 30.0) < 0.05;
}
bool IsAtAltitude(const MountPicture& picture) {
    return std::abs(picture.altitude - 45.0) < 0.2;
}
bool IsParked(const MountPicture& picture) {
    return picture.parked;
}

INSTANTIATE_TEST_SUITE_P(
    Motions, PlannedTest,
    testing::Values(PlannedRow{"Slew",
                               [](Telescope& scope) { scope.SlewToCoordinatesAsync(scope.RightAscension(), 30.0); },
                               IsAtDeclination},
                    PlannedRow{"HorizontalSlew",
                               [](Telescope& scope) {
                                   scope.Tracking(false);
                                   scope.SlewToAltAzAsync(123.5, 45.0);
                               },
                               IsAtAltitude},
                    PlannedRow{"Park", [](Telescope& scope) { scope.ParkMount(2); }, IsParked},
                    PlannedRow{"ParkAtAngles", [](Telescope& scope) { scope.ParkMount(6); }, IsParked},
                    PlannedRow{"OwnText", [](Telescope& scope) { scope.CommandString("*SLEW,3,30", false); },
                               IsAtDeclination, false}),
    [](const auto& row) { return row.param.name; });

/// It asks for the status text by itself, a second after the command.
TEST_F(HandedOverTest, ACallThatWaitsForASlew_ReturnsAtItsTarget_AlsoWhenTheCompanionPlansFirst) {
    Connect(Road::CompanionPort);
    companion.beforeGotoMs = 2'500;
    telescope->SlewToCoordinates(State().g_dRa, 30.0);
    EXPECT_TRUE(IsAtDeclination(mount->Picture()));
}

TEST_F(HandedOverTest, AShortSlewThatATextHasShown_IsOverOnceATextSaysSo) {
    Connect(Road::CompanionPort);
    companion.beforeGotoMs = 100;
    telescope->SlewToCoordinatesAsync(State().g_dRa, State().g_dDec + 3.0);
    machine.AdvanceTime(500);
    driver->queries.QueryGos();
    ASSERT_TRUE(mount->Picture().slewing);
    while (mount->Picture().slewing) {
        machine.AdvanceTime(50);
    }
    driver->queries.QueryGos();
    EXPECT_FALSE(State().g_bMountSlewing);
}

TEST_F(HandedOverTest, AStopWhileTheCompanionPlans_IsSentAgain_WhenTheMountBeginsAllTheSame) {
    Connect(Road::CompanionPort);
    companion.beforeGotoMs = 2'500;
    telescope->SlewToCoordinatesAsync(State().g_dRa, 10.0);
    machine.AdvanceTime(500);
    MarkNow();
    telescope->AbortSlew();
    machine.AdvanceTime(1'500);
    EXPECT_EQ(TimesTold("Q"), 2) << "a mount that stands is not stopped again: " << Told();
    EXPECT_LE(TimesTold("GOS"), 2);
    mount->Write(":Sr03:00:00#:Sd+10*00:00#:MS#");
    ASSERT_TRUE(mount->Picture().slewing);
    machine.AdvanceTime(3'000);
    EXPECT_EQ(TimesLogged("The mount still moves: the stop is sent again"), 1);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(telescope->Slewing());
}

/// Its motion, too short to be seen, is over by then.
TEST_F(HandedOverTest, ASlewThatNoTextShows_IsOverAfterThreeSeconds) {
    Connect(Road::CompanionPort);
    telescope->SlewToCoordinatesAsync(State().g_dRa, State().g_dDec);
    machine.AdvanceTime(2'800);
    EXPECT_TRUE(telescope->Slewing());
    machine.AdvanceTime(700);
    EXPECT_FALSE(telescope->Slewing());
}

TEST_F(HandedOverTest, WithoutTheSetting_TheDriverSlewsAndParksThroughTheCompanion) {
    Connect(Road::CompanionPort, {{"QuayHandlesSlews", "0"}, {"cbxParkTo", "2"}, {"chkAsyncPark", "1"}});
    ASSERT_TRUE(State().g_bQuayLink);
    telescope->SlewToCoordinatesAsync(State().g_dRa, 30.0);
    EXPECT_TRUE(WaitForSlewEnd());
    EXPECT_EQ(TimesTold("*SLEW"), 0);
    EXPECT_EQ(TimesTold("MS"), 1);
    telescope->Park();
    EXPECT_TRUE(WaitForParkEnd());
    EXPECT_EQ(TimesTold("*PARK"), 0);
    EXPECT_EQ(TimesTold("KA"), 1) << "nobody else parks the mount";
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_TRUE(mount->Picture().parked);
}

TEST_F(HandedOverTest, WithoutTheProof_NothingIsHandedOver_WhateverTheSettings) {
    Connect(Road::Serial, {{"chkQUAY", "1"},
                           {"chkQuayRestApi", "1"},
                           {"QuayHandlesSlews", "1"},
                           {"chkKeepMountTimeSyncedToPcTime", "1"}});
    ASSERT_FALSE(State().g_bQuayLink);
    driver->state.g_bQuayHandlesSlews = true;
    const auto sent = SentBy([&] {
        EXPECT_FALSE(telescope->DoesRefraction());
        telescope->SlewToCoordinatesAsync(State().g_dRa, 30.0);
        EXPECT_TRUE(WaitForSlewEnd());
        telescope->SlewToTargetAsync();
        EXPECT_TRUE(WaitForSlewEnd());
        telescope->SlewToCoordinates(State().g_dRa, 29.0);
        telescope->SlewToTarget();
        telescope->Tracking(false);
        telescope->SlewToAltAzAsync(120.0, 50.0);
        machine.AdvanceTime(60'000);
        telescope->SlewToAltAz(121.0, 50.0);
        telescope->Park();
        EXPECT_TRUE(WaitForParkEnd());
    });
    for (const std::string& command : sent) {
        EXPECT_FALSE(command.starts_with('*')) << command;
    }
    EXPECT_TRUE(telescope->AtPark());
}

class UnprovedParkTest : public HandedOverTest, public testing::WithParamInterface<const char*> {};

TEST_P(UnprovedParkTest, AtAngles_StaysWithTheDriver_AlsoWithTheCounterweightUp) {
    Connect(Road::Serial, {{"chkQUAY", "1"},
                           {"QuayHandlesSlews", "1"},
                           {"cbxParkTo", "6"},
                           {"txtUserParkAlt", "40"},
                           {"txtUserParkAz", "100"},
                           {"CounterWeightsUpPark", GetParam()},
                           {"CounterWeightsUpHourAngle", "2"},
                           {"CounterWeightsUpTimeOffset", "10"},
                           {"CounterWeightsUpParkIntermediateSlewDec", "40"}});
    ASSERT_FALSE(State().g_bQuayLink);
    driver->state.g_bQuayHandlesSlews = true;
    const auto sent = SentBy([&] {
        telescope->Park();
        EXPECT_TRUE(WaitForParkEnd());
    });
    for (const std::string& command : sent) {
        EXPECT_FALSE(command.starts_with('*')) << command;
    }
    EXPECT_TRUE(telescope->AtPark());
}

INSTANTIATE_TEST_SUITE_P(CounterweightUp, UnprovedParkTest, testing::Values("0", "1"));

// --- the end of a park ----------------------------------------------------------------------------------------------

struct ParkEndRow {
    const char* index;
    const char* handedOver;
    int parkCommands;  ///< that the driver sends at the end
};

class HandedOverParkTest : public HandedOverTest, public testing::WithParamInterface<ParkEndRow> {};

TEST_P(HandedOverParkTest, OfANumberedPlace_IsEndedByTheCompanion_AndOfAnotherByTheDriver) {
    Connect(
        Road::CompanionPort,
        {{"cbxParkTo", GetParam().index}, {"txtUserParkAlt", "40"}, {"txtUserParkAz", "100"}, {"chkAsyncPark", "1"}});
    telescope->Park();
    EXPECT_EQ(TimesTold(GetParam().handedOver), 1) << Told();
    EXPECT_TRUE(WaitForParkEnd());
    EXPECT_EQ(TimesTold("KA"), GetParam().parkCommands);
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_TRUE(mount->Picture().parked);
}

INSTANTIATE_TEST_SUITE_P(Places, HandedOverParkTest,
                         testing::Values(ParkEndRow{"0", "*PARK,0", 0}, ParkEndRow{"2", "*PARK,2", 0},
                                         ParkEndRow{"6", "*PARKALTAZ,40,100", 1}));

struct UnansweredRow {
    const char* name;
    const char* index;
    const char* noStatusText;  ///< setting
    SimulatedCompanion::Fault fault;
    bool parks;
};

class UnansweredParkTest : public HandedOverTest, public testing::WithParamInterface<UnansweredRow> {};

/// Nobody knows whether the companion has heard it.
TEST_P(UnansweredParkTest, IsEndedByTheDriver_OnceTheMountStandsAtItsPlace) {
    const UnansweredRow& row = GetParam();
    ExpectSwallow("CommandString");
    Connect(Road::CompanionPort, {{"cbxParkTo", row.index}, {"chkAsyncPark", "1"}, {"DontQueryGOS", row.noStatusText}});
    companion.beforeParkedMs = 10'000'000;
    Before("*PARK,", [&] { companion.SetFault(row.fault); });
    telescope->Park();
    companion.SetFault(SimulatedCompanion::Fault::None);
    EXPECT_EQ(WaitForParkEnd(), row.parks);
    EXPECT_EQ(TimesTold("KA"), row.parks ? 1 : 0);
    EXPECT_EQ(telescope->AtPark(), row.parks);
    EXPECT_EQ(mount->Picture().parked, row.parks);
    EXPECT_EQ(Logged("The mount was not seen to go to its park position"), !row.parks);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, UnansweredParkTest,
    testing::Values(UnansweredRow{"Heard", "2", "0", SimulatedCompanion::Fault::Silent, true},
                    UnansweredRow{"HeardWithoutStatusText", "2", "1", SimulatedCompanion::Fault::Silent, true},
                    UnansweredRow{"Unheard", "2", "0", SimulatedCompanion::Fault::Gone, false},
                    UnansweredRow{"UnheardWithoutStatusText", "2", "1", SimulatedCompanion::Fault::Gone, false},
                    UnansweredRow{"UnheardWhereItStands", "0", "0", SimulatedCompanion::Fault::Gone, true}),
    [](const auto& row) { return row.param.name; });

TEST_F(HandedOverTest, AMountThatBothHaveParked_IsParked) {
    ExpectSwallow("CommandString");
    Connect(Road::CompanionPort, {{"cbxParkTo", "2"}, {"chkAsyncPark", "1"}});
    Before("*PARK,", [&] { companion.SetFault(SimulatedCompanion::Fault::Silent); });
    telescope->Park();
    companion.SetFault(SimulatedCompanion::Fault::None);
    EXPECT_TRUE(WaitForParkEnd());
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesSent("KA"), 2);
    EXPECT_TRUE(mount->Picture().parked);
    EXPECT_TRUE(telescope->AtPark());
}

TEST_F(HandedOverTest, ADriversParkAfterOneOfTheCompanion_IsEndedByTheDriver) {
    Connect(Road::CompanionPort, {{"cbxParkTo", "2"}, {"chkAsyncPark", "1"}});
    telescope->Park();
    EXPECT_TRUE(WaitForParkEnd());
    telescope->Unpark();
    machine.AdvanceTime(10'000);
    driver->state.g_bQuayHandlesSlews = false;
    MarkNow();
    telescope->Park();
    EXPECT_TRUE(WaitForParkEnd());
    EXPECT_EQ(TimesTold("*PARK,"), 0);
    EXPECT_EQ(TimesTold("KA"), 1);
}

class UnheardParkTest : public HandedOverTest, public testing::WithParamInterface<const char*> {};

/// One that is not heard may be on its way, and a "KA" would end that anywhere.
TEST_P(UnheardParkTest, IsNotOverWhileTheMountIsNotHeard) {
    ExpectSwallow("*");
    Connect(Road::CompanionPort,
            {{"cbxParkTo", GetParam()}, {"txtUserParkAlt", "40"}, {"txtUserParkAz", "100"}, {"chkAsyncPark", "1"}});
    mount->Add(std::make_unique<Stalls>(20.0, true));
    telescope->Park();
    machine.AdvanceTime(30'000);
    ASSERT_TRUE(State().g_bMountSlewing);
    companion.SetFault(SimulatedCompanion::Fault::Silent);
    machine.AdvanceTime(120'000);
    EXPECT_TRUE(State().g_bParking);
    companion.SetFault(SimulatedCompanion::Fault::None);
    machine.AdvanceTime(20'000);
    EXPECT_TRUE(State().g_bParking);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(TimesTold("KA"), 0);
    telescope->AbortSlew();
    machine.AdvanceTime(5'000);
    EXPECT_FALSE(State().g_bParking);
}

INSTANTIATE_TEST_SUITE_P(Places, UnheardParkTest, testing::Values("2", "6"));

class VanishedTest : public HandedOverTest {
protected:
    static constexpr const char* kForgotten =
        "Communications were lost during the park: the companion may have forgotten to park the mount: the park is "
        "not finished";

    /// A park that the companion has answered, and forgets on the way while it is not heard.
    void ParkAndVanish(const SettingTexts& settings) {
        ExpectSwallow("*");
        SettingTexts all{{"cbxParkTo", "2"}, {"chkAsyncPark", "1"}};
        all.insert(all.end(), settings.begin(), settings.end());
        Connect(Road::CompanionPort, all);
        telescope->Park();
        machine.AdvanceTime(5'000);
        ASSERT_TRUE(mount->Picture().slewing);
        companion.SetFault(SimulatedCompanion::Fault::Gone);
        machine.AdvanceTime(120'000);
        ASSERT_FALSE(mount->Picture().slewing);
        EXPECT_TRUE(State().g_bParking) << "silence ends no park";
        EXPECT_FALSE(Logged(kForgotten)) << "the mount is not heard yet";
        companion.SetFault(SimulatedCompanion::Fault::None);
        machine.AdvanceTime(120'000);
    }
};

TEST_F(VanishedTest, ACompanionThatForgetsItsPark_LeavesItUnderWay_AndThatIsTold) {
    ParkAndVanish({});
    EXPECT_EQ(TimesLoggedAs("SLEW COMPLETE", 1, kForgotten), 1);
    EXPECT_TRUE(State().g_bParking);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_FALSE(mount->Picture().parked);
    telescope->AbortSlew();
    machine.AdvanceTime(5'000);
    EXPECT_FALSE(State().g_bParking);
}

/// Nothing but its place tells that it is parked.
TEST_F(VanishedTest, AMountWithoutStatusText_IsParkedByTheDriver) {
    ParkAndVanish({{"DontQueryGOS", "1"}});
    EXPECT_FALSE(State().g_bParking);
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_EQ(TimesTold("KA"), 1);
    EXPECT_TRUE(mount->Picture().parked);
}

TEST_F(HandedOverTest, AParkOfANumberedPlace_IsOverOnceTheMountReportsIt) {
    Connect(Road::CompanionPort, {{"cbxParkTo", "2"}, {"chkAsyncPark", "1"}});
    companion.beforeParkedMs = 8'000;
    telescope->Park();
    machine.AdvanceTime(3'000);
    while (mount->Picture().slewing) {
        machine.AdvanceTime(100);
    }
    for (int i = 0; i < 50; ++i) {
        machine.AdvanceTime(100);
        ASSERT_FALSE(telescope->AtPark()) << i;
        ASSERT_FALSE(mount->Picture().parked) << i << Told();
    }
    EXPECT_TRUE(Logged("The mount stands, and has not reported yet that it is parked"));
    EXPECT_TRUE(WaitForParkEnd());
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_TRUE(mount->Picture().parked);
    EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "Parked");
}

/// As the companion may on a safe way.
TEST_F(HandedOverTest, AParkByItsAngles_DoesNotEndWhereTheMountPauses) {
    Connect(Road::CompanionPort,
            {{"cbxParkTo", "6"}, {"txtUserParkAlt", "40"}, {"txtUserParkAz", "100"}, {"chkAsyncPark", "1"}});
    companion.beforeParkedMs = 1'000'000;
    mount->Add(std::make_unique<Stalls>(20.0));
    telescope->Park();
    machine.AdvanceTime(60'000);
    ASSERT_FALSE(mount->Picture().slewing);
    EXPECT_TRUE(Logged("The mount has stopped away from its park position: the park is not finished"));
    EXPECT_TRUE(State().g_bParking);
    EXPECT_EQ(TimesTold("KA"), 0);
    EXPECT_FALSE(telescope->AtPark());
    telescope->AbortSlew();
    machine.AdvanceTime(5'000);
    EXPECT_FALSE(State().g_bParking);
}

TEST_F(HandedOverTest, AStopAheadOfTheSlew_KeepsItFromGoingOut) {
    Connect(Road::CompanionPort);
    machine.pump.Post(CallKind::WaitsLong, [&] {
        machine.pump.Post(CallKind::Stop, [&] { telescope->AbortSlew(); });
        telescope->SlewToCoordinatesAsync(State().g_dRa, 30.0);
    });
    machine.AdvanceTime(5'000);
    EXPECT_EQ(TimesTold("*SLEW,"), 0) << Told();
    EXPECT_TRUE(Logged("The slew is not sent: it was stopped before it could"));
    EXPECT_FALSE(telescope->Slewing());
}

// --- the companion's safe slews -------------------------------------------------------------------------------------

class SafeSlewsOffTest : public HandedOverTest {
protected:
    /// A park with the counterweight up that something takes the mount from.
    void ParkUp(const std::function<void()>& takeMount, const SettingTexts& settings = {}) {
        Connect(Road::CompanionPort, {{"cbxParkTo", "6"},
                                      {"CounterWeightsUpPark", "1"},
                                      {"CounterWeightsUpHourAngle", "2"},
                                      {"CounterWeightsUpTimeOffset", "10"},
                                      {"CounterWeightsUpParkIntermediateSlewDec", "40"}});
        Seed(settings);
        telescope->Park();
        ASSERT_TRUE(companion.safeSlewDisabled);
        ASSERT_TRUE(State().g_bParking);
        takeMount();
        ASSERT_FALSE(State().g_bParking);
    }
    void TakeByAxis() {
        telescope->MoveAxis(0, 0.5);
        machine.AdvanceTime(2'000);
        telescope->MoveAxis(0, 0.0);
        machine.AdvanceTime(5'000);
        telescope->Tracking(true);
        machine.AdvanceTime(1'000);
    }
    void ExpectBackBefore(const std::string& slew) {
        EXPECT_FALSE(companion.safeSlewDisabled);
        const std::size_t off = PlaceOf("*DISABLESAFESLEW,1");
        const std::size_t on = PlaceOf("*DISABLESAFESLEW,0", off);
        ASSERT_NE(on, std::string::npos) << Told();
        EXPECT_NE(PlaceOf(slew, on), std::string::npos) << Told();
        const std::size_t firstLeg = PlaceOf(" MS ", off);
        EXPECT_EQ(Told().substr(firstLeg + 4, on - firstLeg - 4).find(slew), std::string::npos) << Told();
    }
};

TEST_F(SafeSlewsOffTest, AreBackBeforeTheSlewThatTakesTheMountFromItsPark) {
    ParkUp([&] { telescope->SlewToAltAzAsync(200.0, 50.0); });
    ExpectBackBefore("*SLEWALTAZ,");
}

TEST_F(SafeSlewsOffTest, AreBackBeforeAnySlewThatFollows) {
    const std::pair<std::string, std::function<void()>> slews[] = {
        {"*SLEW,", [&] { telescope->SlewToCoordinatesAsync(State().g_dRa, 30.0); }},
        {"*SLEW,", [&] { telescope->SlewToCoordinates(State().g_dRa, 30.0); }},
        {"*SLEW,",
         [&] {
             telescope->TargetRightAscension(State().g_dRa);
             telescope->TargetDeclination(30.0);
             telescope->SlewToTargetAsync();
         }},
        {"*SLEW,",
         [&] {
             telescope->TargetRightAscension(State().g_dRa);
             telescope->TargetDeclination(30.0);
             telescope->SlewToTarget();
         }},
        {"*SLEWALTAZ,",
         [&] {
             telescope->Tracking(false);
             telescope->SlewToAltAzAsync(200.0, 50.0);
         }},
        {"*SLEWALTAZ,",
         [&] {
             telescope->Tracking(false);
             telescope->SlewToAltAz(200.0, 50.0);
         }},
        {"MS", [&] { telescope->CommandBlind("MS", false); }},
        {"*SLEW,", [&] { telescope->CommandString("*SLEW,5,20", false); }},
        {"*PARKALTAZ,", [&] { telescope->CommandString("*PARKALTAZ,40,100", false); }},
        {"*PARK,2", [&] { telescope->CommandString("RAW,ParkMount,2", true); }},
    };
    for (const auto& [command, slew] : slews) {
        ParkUp([&] { TakeByAxis(); });
        EXPECT_TRUE(companion.safeSlewDisabled) << "nothing has asked for a slew yet";
        slew();
        ExpectBackBefore(command);
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
        telescope.reset();
        driver.reset();
        companion.safeSlewDisabled = false;
    }
}

TEST_F(SafeSlewsOffTest, AreBackBeforeASlewOfTheDriver) {
    ParkUp([&] { TakeByAxis(); }, {{"QuayHandlesSlews", "0"}});
    driver->state.g_bQuayHandlesSlews = false;
    telescope->SlewToCoordinatesAsync(State().g_dRa, 30.0);
    ExpectBackBefore("MS");
}

TEST_F(SafeSlewsOffTest, OfACompanionThatDidNotHear_AreAskedForAgain) {
    ExpectSwallow("CommandString");
    ParkUp([&] {
        companion.SetFault(SimulatedCompanion::Fault::Gone);
        telescope->SlewToAltAzAsync(200.0, 50.0);
    });
    companion.SetFault(SimulatedCompanion::Fault::None);
    EXPECT_TRUE(companion.safeSlewDisabled);
    machine.AdvanceTime(5'000);
    telescope->SlewToAltAzAsync(200.0, 50.0);
    ExpectBackBefore("*SLEWALTAZ,");
}

TEST_F(SafeSlewsOffTest, OnceTheyAreBack_AreNotAskedForAgain) {
    ParkUp([&] { telescope->SlewToAltAzAsync(200.0, 50.0); });
    EXPECT_TRUE(WaitForSlewEnd());
    telescope->SlewToAltAzAsync(190.0, 50.0);
    EXPECT_EQ(TimesTold("*DISABLESAFESLEW,0"), 1) << Told();
}

/// A client's own goto may have brought them back, or the companion was found only then.
TEST_F(SafeSlewsOffTest, AreOffForTheSecondLegToo) {
    Connect(Road::CompanionPort, {{"cbxParkTo", "6"},
                                  {"CounterWeightsUpPark", "1"},
                                  {"CounterWeightsUpHourAngle", "2"},
                                  {"CounterWeightsUpTimeOffset", "10"},
                                  {"CounterWeightsUpParkIntermediateSlewDec", "40"}});
    telescope->Park();
    ASSERT_TRUE(companion.safeSlewDisabled);
    driver->channel.EnableSafeSlew();
    ASSERT_FALSE(companion.safeSlewDisabled);
    EXPECT_TRUE(WaitForParkEnd());
    EXPECT_EQ(TimesTold("*DISABLESAFESLEW,1"), 2) << Told();
    EXPECT_EQ(TimesTold("*DISABLESAFESLEW,0"), 2) << Told();
    EXPECT_EQ(TimesTold("MS"), 2);
    EXPECT_FALSE(companion.safeSlewDisabled);
    EXPECT_TRUE(telescope->AtPark());
}

TEST_F(SafeSlewsOffTest, AreBackAtTheEndOfTheProcess) {
    ParkUp([&] { TakeByAxis(); });
    ASSERT_TRUE(companion.safeSlewDisabled);
    telescope.reset();
    EXPECT_EQ(machine.processes.ends, 1);
    EXPECT_FALSE(companion.safeSlewDisabled);
}

// --- questions ------------------------------------------------------------------------------------------------------

TEST_F(HandedOverTest, Refraction_IsWhatTheThirdCharacterOfTheAnswerSays) {
    Connect(Road::CompanionPort);
    EXPECT_FALSE(telescope->DoesRefraction());
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "QUAY DoesRefraction= 1,0"));
    companion.doesRefraction = true;
    EXPECT_TRUE(telescope->DoesRefraction());
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "QUAY DoesRefraction= 1,1"));
}

TEST_F(HandedOverTest, TimeSync_IsAskedForAtEachReadingOfTheClock) {
    Connect(Road::CompanionPort);
    machine.AdvanceTime(30'000);
    EXPECT_GE(TimesTold("GL"), 5);
    EXPECT_EQ(TimesTold("*TIMESYNC,0"), TimesTold("GL")) << "with the text of the setting";
    EXPECT_EQ(companion.TimeSyncs(), 0);
    driver->persist.Write(setting::chkKeepMountTimeSyncedToPcTime, "1");
    MarkNow();
    machine.AdvanceTime(30'000);
    EXPECT_EQ(TimesTold("*TIMESYNC,1"), TimesTold("GL"));
    EXPECT_GE(companion.TimeSyncs(), 5);
}

}  // namespace
}  // namespace kestrane
