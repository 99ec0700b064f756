#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "driver/companion/companion_fixture.h"
#include "kernel/base/conversions.h"
#include "support/stands_west.h"

/// Slews and parks of the companion that something gets in the way of: a stop, a line that falls silent, a client that
/// goes.
namespace kestrane {
namespace {

using Fault = SimulatedCompanion::Fault;

class CompanionMotionTest : public CompanionRoadTest {
protected:
    const DriverState& State() { return driver->state; }
    void ConnectToPark(const std::string& index, const SettingTexts& settings = {}) {
        SettingTexts all{
            {"cbxParkTo", index}, {"txtUserParkAlt", "40"}, {"txtUserParkAz", "100"}, {"chkAsyncPark", "1"}};
        all.insert(all.end(), settings.begin(), settings.end());
        Connect(Road::CompanionPort, all);
    }
    void ConnectToParkUp(const SettingTexts& settings = {}) {
        SettingTexts all{{"CounterWeightsUpPark", "1"},
                         {"CounterWeightsUpHourAngle", "2"},
                         {"CounterWeightsUpTimeOffset", "10"},
                         {"CounterWeightsUpParkIntermediateSlewDec", "40"}};
        all.insert(all.end(), settings.begin(), settings.end());
        ConnectToPark("6", all);
    }
    /// The companion's safe slews are off, and nobody has switched them on again.
    void OweSafeSlews() {
        ConnectToParkUp();
        telescope->Park();
        ASSERT_TRUE(companion.safeSlewDisabled);
        telescope->MoveAxis(0, 0.5);
        machine.AdvanceTime(2'000);
        telescope->MoveAxis(0, 0.0);
        machine.AdvanceTime(5'000);
        telescope->Tracking(true);
        machine.AdvanceTime(1'000);
        ASSERT_FALSE(State().g_bParking);
        ASSERT_TRUE(companion.safeSlewDisabled);
        MarkNow();
    }
    void ExpectPaidBeforeTheNextSlew() {
        MarkNow();
        telescope->SlewToCoordinatesAsync(State().g_dRa, 30.0);
        const std::size_t paid = Told().find("*DISABLESAFESLEW,0");
        ASSERT_NE(paid, std::string::npos) << Told();
        EXPECT_NE(Told().find("*SLEW,", paid), std::string::npos) << Told();
        EXPECT_FALSE(companion.safeSlewDisabled);
    }
};

// --- a line that falls silent ---------------------------------------------------------------------------------------

class SilentOnTheWayTest : public CompanionMotionTest, public testing::WithParamInterface<Fault> {};

TEST_P(SilentOnTheWayTest, ASlew_GoesToItsTarget_AndIsOverOnceTheMountIsHeardThere) {
    ExpectSwallow("*");
    Connect(Road::CompanionPort);
    telescope->SlewToCoordinatesAsync(State().g_dRa, -10.0);
    machine.AdvanceTime(2'000);
    ASSERT_TRUE(mount->Picture().slewing);
    companion.SetFault(GetParam());
    machine.AdvanceTime(7'000);
    EXPECT_TRUE(State().g_bLostComms);
    EXPECT_TRUE(mount->Picture().slewing);
    companion.SetFault(Fault::None);
    machine.AdvanceTime(1'500);
    EXPECT_TRUE(telescope->Slewing()) << "the mount is still on its way";
    EXPECT_TRUE(WaitForSlewEnd());
    EXPECT_FALSE(State().g_bLostComms);
    EXPECT_NEAR(mount->Picture().declination, -10.0, 0.05);
    EXPECT_EQ(TimesTold("*SLEW,"), 1);
}

TEST_P(SilentOnTheWayTest, AParkAtAngles_IsEndedByTheDriver_OnceTheMountIsHeardThere) {
    ExpectSwallow("*");
    ConnectToPark("6");
    companion.beforeParkedMs = 10'000'000;
    telescope->Park();
    machine.AdvanceTime(4'000);
    ASSERT_TRUE(mount->Picture().slewing);
    companion.SetFault(GetParam());
    machine.AdvanceTime(60'000);
    EXPECT_TRUE(State().g_bLostComms);
    EXPECT_TRUE(State().g_bParking);
    EXPECT_FALSE(mount->Picture().parked);
    companion.SetFault(Fault::None);
    EXPECT_TRUE(WaitForParkEnd());
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_EQ(TimesTold("KA"), 1);
    EXPECT_TRUE(mount->Picture().parked);
}

INSTANTIATE_TEST_SUITE_P(Faults, SilentOnTheWayTest, testing::Values(Fault::Silent, Fault::Gone));

TEST_F(CompanionMotionTest, AParkOfANumberedPlace_ThatTheCompanionEndsUnheard_IsOverOnceTheMountIsHeard) {
    ExpectSwallow("*");
    ConnectToPark("2");
    telescope->Park();
    machine.AdvanceTime(4'000);
    companion.SetFault(Fault::Silent);
    machine.AdvanceTime(60'000);
    companion.Advance();
    EXPECT_TRUE(mount->Picture().parked);
    EXPECT_TRUE(State().g_bParking) << "silence ends no park";
    companion.SetFault(Fault::None);
    EXPECT_TRUE(WaitForParkEnd());
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_EQ(TimesTold("KA"), 0);
}

// --- stops ----------------------------------------------------------------------------------------------------------

class StoppedParkTest : public CompanionMotionTest, public testing::WithParamInterface<const char*> {};

TEST_P(StoppedParkTest, OfTheCompanion_LeavesTheMountUnparkedAndTracking) {
    ConnectToPark(GetParam());
    telescope->Park();
    machine.AdvanceTime(5'000);
    ASSERT_TRUE(mount->Picture().slewing);
    telescope->AbortSlew();
    machine.AdvanceTime(10'000);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(State().g_bParking);
    EXPECT_TRUE(State().g_bTracking);
    EXPECT_TRUE(Logged("Park canceled..."));
    EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
    machine.AdvanceTime(120'000);
    EXPECT_FALSE(companion.Parking());
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_FALSE(mount->Picture().parked);
    EXPECT_EQ(TimesTold("KA"), 0);
}

INSTANTIATE_TEST_SUITE_P(Places, StoppedParkTest, testing::Values("2", "6"));

struct InMotionRow {
    const char* name;
    void (*handOver)(Telescope&);
};

class HandedOverInMotionTest : public CompanionMotionTest, public testing::WithParamInterface<InMotionRow> {};

/// No text shows that the mount stands in between.
TEST_P(HandedOverInMotionTest, ASlew_IsStoppedAgain_WhereTheStopIsLost) {
    ConnectToPark("2");
    telescope->SlewToCoordinatesAsync(State().g_dRa, -10.0);
    machine.AdvanceTime(6'000);
    ASSERT_TRUE(LastTextSaysSlewing(State()));
    GetParam().handOver(*telescope);
    machine.AdvanceTime(6'000);
    ASSERT_TRUE(mount->Picture().slewing);
    companion.SetFault(Fault::Gone);
    telescope->AbortSlew();
    companion.SetFault(Fault::None);
    ASSERT_TRUE(mount->Picture().slewing);
    machine.AdvanceTime(3'000);
    EXPECT_EQ(TimesLogged("The mount still moves: the stop is sent again"), 1);
    EXPECT_FALSE(mount->Picture().slewing);
}

INSTANTIATE_TEST_SUITE_P(
    Slews, HandedOverInMotionTest,
    testing::Values(InMotionRow{"OverAnother",
                                [](Telescope& scope) { scope.SlewToCoordinatesAsync(scope.RightAscension(), 80.0); }},
                    InMotionRow{"AfterAnAbort",
                                [](Telescope& scope) {
                                    scope.AbortSlew();
                                    scope.SlewToCoordinatesAsync(scope.RightAscension(), 80.0);
                                }},
                    InMotionRow{"Park", [](Telescope& scope) { scope.Park(); }},
                    InMotionRow{"OwnText", [](Telescope& scope) { scope.CommandString("*SLEW,3,80", false); }}),
    [](const auto& row) { return row.param.name; });

TEST_F(CompanionMotionTest, AParkWithTheCounterweightUp_StoppedInItsFirstLeg_SwitchesSafeSlewsOnAgain) {
    ConnectToParkUp();
    telescope->Park();
    machine.AdvanceTime(1'000);
    ASSERT_TRUE(mount->Picture().slewing);
    ASSERT_TRUE(companion.safeSlewDisabled);
    telescope->AbortSlew();
    machine.AdvanceTime(30'000);
    EXPECT_FALSE(State().g_bParking);
    EXPECT_FALSE(companion.safeSlewDisabled);
    EXPECT_EQ(TimesTold("*DISABLESAFESLEW,0"), 1);
    EXPECT_EQ(TimesTold("MS"), 1) << "no second leg";
    EXPECT_EQ(TimesTold("KA"), 0);
}

// --- safe slews that are owed ---------------------------------------------------------------------------------------

TEST_F(CompanionMotionTest, OwedSafeSlews_OutliveANewProof) {
    OweSafeSlews();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    driver->link->Connected(false);
    telescope->Connected(true);
    ASSERT_EQ(TimesLogged("QUAY Found!"), 2);
    EXPECT_EQ(TimesTold("*DISABLESAFESLEW,0"), 1) << "paid as soon as the companion is there";
    EXPECT_FALSE(companion.safeSlewDisabled);
}

TEST_F(CompanionMotionTest, OwedSafeSlews_AreAskedForAgain_WhereTheLineLosesTheCommand) {
    ExpectSwallow("*");
    OweSafeSlews();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    companion.SetLag(3, 1);
    telescope->SlewToCoordinatesAsync(State().g_dRa, 30.0);
    EXPECT_EQ(TimesTold("*DISABLESAFESLEW,0"), 2);
    EXPECT_FALSE(companion.safeSlewDisabled);
}

TEST_F(CompanionMotionTest, OwedSafeSlews_AreAskedForThreeTimesAheadOfASlew_AndTheSlewGoesOn) {
    ExpectSwallow("*");
    OweSafeSlews();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    companion.SetFault(Fault::Silent);
    telescope->SlewToCoordinatesAsync(State().g_dRa, 30.0);
    EXPECT_EQ(TimesTold("*DISABLESAFESLEW,0"), 3);
    EXPECT_EQ(TimesLogged("The companion may still slew without its own protection"), 1);
    EXPECT_EQ(TimesTold("*SLEW,"), 1);
}

struct OwingSlewRow {
    const char* name;
    bool isHandedOver;
    void (*slew)(Telescope&);
};

class OwingSlewTest : public CompanionMotionTest, public testing::WithParamInterface<OwingSlewRow> {
protected:
    void StopAtTheFirstTry(Fault fault) {
        ExpectSwallow("*");
        OweSafeSlews();
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
        driver->state.g_bQuayHandlesSlews = GetParam().isHandedOver;
        Before("*DISABLESAFESLEW,0", [&] {
            companion.SetFault(fault);
            machine.pump.Post(CallKind::Stop, [&] { telescope->AbortSlew(); });
        });
        GetParam().slew(*telescope);
        EXPECT_EQ(TimesTold("*DISABLESAFESLEW,0"), 1) << Told();
        EXPECT_EQ(TimesTold("*SLEW"), 0) << Told();
        EXPECT_EQ(TimesTold("MS"), 0) << Told();
        EXPECT_FALSE(companion.safeSlewDisabled);
        companion.SetFault(Fault::None);
        driver->handBox.tmrQueryRaDecAltAz.Enabled(true);
        machine.AdvanceTime(5'000);
        EXPECT_FALSE(telescope->Slewing());
        EXPECT_FALSE(mount->Picture().slewing);
    }
};

TEST_P(OwingSlewTest, IsNotSentAfterAStopWhileSafeSlewsAreSwitchedOn) {
    StopAtTheFirstTry(Fault::None);
}

TEST_P(OwingSlewTest, IsNotSentAfterAStopBetweenTwoTriesToSwitchThemOn) {
    StopAtTheFirstTry(Fault::Silent);
}

INSTANTIATE_TEST_SUITE_P(
    Slews, OwingSlewTest,
    testing::Values(OwingSlewRow{"HandedOver", true,
                                 [](Telescope& scope) { scope.SlewToCoordinatesAsync(scope.RightAscension(), 30.0); }},
                    OwingSlewRow{"HandedOverByAngles", true,
                                 [](Telescope& scope) {
                                     scope.Tracking(false);
                                     scope.SlewToAltAzAsync(200.0, 50.0);
                                 }},
                    OwingSlewRow{"OfTheDriver", false,
                                 [](Telescope& scope) { scope.SlewToCoordinatesAsync(scope.RightAscension(), 30.0); }},
                    OwingSlewRow{"OwnBlindText", true, [](Telescope& scope) { scope.CommandBlind("MS", false); }},
                    OwingSlewRow{"OwnText", true, [](Telescope& scope) { scope.CommandString("*SLEW,5,20", false); }}),
    [](const auto& row) { return row.param.name; });

TEST_F(CompanionMotionTest, AStopGetsIn_BetweenTwoTriesToSwitchSafeSlewsOnAtANewProof) {
    ExpectSwallow("*");
    OweSafeSlews();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    driver->link->Connected(false);
    int triesBefore = 0;
    Before("*DISABLESAFESLEW,0", [&] {
        companion.SetFault(Fault::Silent);
        machine.pump.Post(CallKind::Stop, [&] {
            triesBefore = TimesTold("*DISABLESAFESLEW,0");
            companion.SetFault(Fault::None);
        });
    });
    telescope->Connected(true);
    EXPECT_EQ(triesBefore, 1);
    EXPECT_EQ(TimesTold("*DISABLESAFESLEW,0"), 2);
}

/// A call that waits for the companion's park must not hold the process.
TEST_F(CompanionMotionTest, TheEndOfTheProcess_EndsACallThatWaitsForAPark) {
    ExpectSwallow("*");
    ConnectToPark("2", {{"chkAsyncPark", "0"}});
    const std::int64_t begin = machine.clock.Elapsed();
    machine.pump.PostAt(begin + 5'000, CallKind::Stop, [&] { driver->EndOnRequest(); });
    telescope->ParkMount(2);
    EXPECT_EQ(machine.processes.ends, 1);
    EXPECT_LE(machine.clock.Elapsed() - begin, 6'500);
}

class SynchronousParkTest : public CompanionMotionTest, public testing::WithParamInterface<const char*> {};

TEST_P(SynchronousParkTest, ReturnsWhenTheMountIsParked) {
    ConnectToPark(GetParam(), {{"chkAsyncPark", "0"}});
    telescope->Park();
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_TRUE(mount->Picture().parked);
    EXPECT_EQ(TimesTold("*PARK"), 1);
}

INSTANTIATE_TEST_SUITE_P(Places, SynchronousParkTest, testing::Values("2", "6"));

/// What the mount does meanwhile belongs to the slew before.
TEST_F(CompanionMotionTest, ASlewThatIsPlannedWhileTheMountMoves_IsNotOverWithTheOneBefore) {
    Connect(Road::CompanionPort);
    telescope->SlewToCoordinatesAsync(State().g_dRa, 30.0);
    while (std::abs(mount->Picture().declination - 30.0) > 4.0) {
        machine.AdvanceTime(50);
    }
    ASSERT_TRUE(mount->Picture().slewing);
    driver->queries.QueryGos();
    companion.beforeGotoMs = 2'800;
    telescope->SlewToCoordinatesAsync(State().g_dRa, 60.0);
    for (int i = 0; i < 9; ++i) {
        driver->queries.QueryGos();
        machine.AdvanceTime(300);
        EXPECT_TRUE(telescope->Slewing()) << i;
    }
    EXPECT_TRUE(WaitForSlewEnd());
    EXPECT_NEAR(mount->Picture().declination, 60.0, 0.1);
}

TEST_F(CompanionMotionTest, OwedSafeSlews_OutliveAnUnpark) {
    OweSafeSlews();
    telescope->Unpark();
    machine.AdvanceTime(10'000);
    ASSERT_TRUE(companion.safeSlewDisabled);
    telescope->Tracking(true);
    ExpectPaidBeforeTheNextSlew();
}

TEST_F(CompanionMotionTest, OwedSafeSlews_AreSwitchedOnWhenASignalEndsTheProcess) {
    OweSafeSlews();
    driver->EndOnRequest();
    EXPECT_EQ(machine.processes.ends, 1);
    EXPECT_FALSE(companion.safeSlewDisabled);
}

struct OwedRow {
    const char* name;
    std::function<void(SimulatedCompanion&)> go;
    bool staysOwed;
};

class OwedSafeSlewsTest : public CompanionMotionTest, public testing::WithParamInterface<OwedRow> {};

TEST_P(OwedSafeSlewsTest, StayOwed_UntilAReplyWithTheNumberOfTheCommandHasCome) {
    ExpectSwallow("*");
    OweSafeSlews();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    GetParam().go(companion);
    driver->channel.EnableSafeSlewIfOwed();
    companion.SetFault(Fault::None);
    companion.SetLag(0);
    MarkNow();
    driver->channel.EnableSafeSlewIfOwed();
    EXPECT_EQ(TimesTold("*DISABLESAFESLEW,0"), GetParam().staysOwed ? 1 : 0);
    EXPECT_FALSE(companion.safeSlewDisabled);
    driver->channel.EnableSafeSlewIfOwed();
    EXPECT_EQ(TimesTold("*DISABLESAFESLEW,0"), GetParam().staysOwed ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    Replies, OwedSafeSlewsTest,
    testing::Values(OwedRow{"Answered", [](SimulatedCompanion&) {}, false},
                    OwedRow{"AnsweredAfterAStaleReply", [](auto& companion) { companion.SetLag(1, 1, true); }, false},
                    OwedRow{"Stale", [](auto& companion) { companion.SetLag(1, 9); }, true},
                    OwedRow{"TooStale", [](auto& companion) { companion.SetLag(3, 9); }, true},
                    OwedRow{"Ahead", [](auto& companion) { companion.SetLag(-1, 9); }, true},
                    OwedRow{"Silent", [](auto& companion) { companion.SetFault(Fault::Silent); }, true},
                    OwedRow{"Gone", [](auto& companion) { companion.SetFault(Fault::Gone); }, true}),
    [](const auto& row) { return row.param.name; });

// --- parks that stay with the driver --------------------------------------------------------------------------------

TEST_F(CompanionMotionTest, ACompanionThatIsFoundBetweenTheLegsOfAPark_SlewsInNoWayOfItsOwn) {
    ConnectToParkUp();
    driver->state.g_bQuayLink = false;
    telescope->Park();
    ASSERT_TRUE(State().g_bParking);
    EXPECT_EQ(TimesTold("*"), TimesTold("*TIMESYNC"));
    driver->channel.CheckQuay();
    ASSERT_TRUE(State().g_bQuayLink);
    MarkNow();
    EXPECT_TRUE(WaitForParkEnd());
    const std::size_t off = Told().find("*DISABLESAFESLEW,1");
    const std::size_t leg = Told().find(" MS ", off);
    EXPECT_NE(off, std::string::npos) << Told();
    EXPECT_NE(Told().find("*DISABLESAFESLEW,0", leg), std::string::npos) << Told();
    EXPECT_EQ(TimesTold("*PARK"), 0);
    EXPECT_EQ(TimesTold("KA"), 1);
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_FALSE(companion.safeSlewDisabled);
}

TEST_F(CompanionMotionTest, WithoutTheSetting_AParkAtAngles_IsThatOfTheDriver) {
    ConnectToPark("6", {{"QuayHandlesSlews", "0"}});
    telescope->Park();
    EXPECT_TRUE(WaitForParkEnd());
    EXPECT_EQ(TimesTold("*PARK"), 0);
    EXPECT_EQ(TimesTold("MS"), 1);
    EXPECT_EQ(TimesTold("KA"), 1);
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_TRUE(mount->Picture().parked);
}

// --- slews in two legs ----------------------------------------------------------------------------------------------

class TwoLegTest : public CompanionMotionTest {
protected:
    void ConnectForTwoLegs(const SettingTexts& settings = {}) {
        Connect(Road::CompanionPort, settings);
        driver->state.g_bFirmwareSafeSlew = false;
        mount->Add(std::make_unique<StandsWest>());
        target_ = NormalizeHours(telescope->SiderealTime() + 2.0);
    }
    void StartTwoLegs() {
        telescope->SlewToCoordinatesAsync(target_, 30.0);
        ASSERT_TRUE(State().g_bSafeSlewPending);
        machine.AdvanceTime(1'000);
        ASSERT_TRUE(mount->Picture().slewing);
    }
    void ExpectTheSlewToEndAtItsTarget() {
        EXPECT_TRUE(WaitForSlewEnd());
        EXPECT_EQ(TimesTold("*DISABLESAFESLEW"), 0);
        EXPECT_EQ(TimesLogged("Slew 2 of 2"), 1);
        EXPECT_FALSE(State().g_bSafeSlewPending);
        EXPECT_NEAR(mount->Picture().declination, 30.0, 0.05);
        EXPECT_NEAR(mount->Picture().rightAscension, target_, 0.01);
    }

private:
    double target_ = 0.0;
};

TEST_F(TwoLegTest, WithoutTheSetting_BothLegsAreThoseOfTheDriver) {
    ConnectForTwoLegs({{"QuayHandlesSlews", "0"}});
    ASSERT_TRUE(State().g_bQuayLink);
    StartTwoLegs();
    ExpectTheSlewToEndAtItsTarget();
    EXPECT_EQ(TimesTold("MS"), 2);
    EXPECT_EQ(TimesTold("*SLEW"), 0);
}

/// The second leg is a slew of its own, which goes by the road that is there when it begins.
TEST_F(TwoLegTest, ACompanionThatIsFoundBetweenTheLegs_TakesTheSecondOne) {
    ConnectForTwoLegs();
    driver->state.g_bQuayLink = false;
    StartTwoLegs();
    driver->channel.CheckQuay();
    ASSERT_TRUE(State().g_bQuayLink);
    ASSERT_TRUE(State().g_bQuayHandlesSlews);
    MarkNow();
    ExpectTheSlewToEndAtItsTarget();
    EXPECT_EQ(TimesTold("MS"), 0);
    EXPECT_EQ(TimesTold("*SLEW,"), 1);
}

// --- parks that the companion plans first ---------------------------------------------------------------------------

class PlannedParkTest : public CompanionMotionTest, public testing::WithParamInterface<const char*> {};

TEST_P(PlannedParkTest, ThatIsStoppedWhileItIsPlanned_DoesNotBegin) {
    ConnectToPark(GetParam());
    companion.beforeGotoMs = 2'500;
    telescope->Park();
    machine.AdvanceTime(500);
    ASSERT_TRUE(State().g_bParking);
    ASSERT_FALSE(mount->Picture().slewing);
    telescope->AbortSlew();
    machine.AdvanceTime(120'000);
    EXPECT_TRUE(Logged("Park canceled..."));
    EXPECT_FALSE(State().g_bParking);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(mount->Picture().parked);
    EXPECT_FALSE(companion.Parking());
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(TimesTold("KA"), 0);
    EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
}

INSTANTIATE_TEST_SUITE_P(Places, PlannedParkTest, testing::Values("2", "6"));

// --- clients --------------------------------------------------------------------------------------------------------

class LastClientTest : public CompanionMotionTest, public testing::WithParamInterface<const char*> {};

TEST_P(LastClientTest, ThatGoesInMidPark_LeavesTheParkToItsEnd) {
    ConnectToPark(GetParam());
    telescope->Park();
    machine.AdvanceTime(4'000);
    ASSERT_TRUE(mount->Picture().slewing);
    telescope->Connected(false);
    telescope.reset();
    EXPECT_EQ(machine.processes.ends, 0);
    EXPECT_TRUE(WaitForParkEnd());
    machine.AdvanceTime(5'000);
    EXPECT_TRUE(mount->Picture().parked);
    EXPECT_EQ(machine.processes.ends, 1);
    EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "Parked");
}

INSTANTIATE_TEST_SUITE_P(Places, LastClientTest, testing::Values("2", "6"));

struct MemberOriginRow {
    const char* member;
    const char* head;
    void (*slew)(Telescope&);
};

class SlewLogTest : public CompanionMotionTest, public testing::WithParamInterface<MemberOriginRow> {};

TEST_P(SlewLogTest, TheAnswerOfTheCompanion_IsLoggedUnderTheMember) {
    Connect(Road::CompanionPort);
    telescope->TargetRightAscension(State().g_dRa);
    telescope->TargetDeclination(40.0);
    GetParam().slew(*telescope);
    EXPECT_EQ(TimesLoggedAs(GetParam().member, 0, std::string(GetParam().head) + "1"), 1);
    EXPECT_EQ(TimesLogged("Result from QUAY"), 1);
}

constexpr const char* kSlewHead = "Result from QUAY *SLEW=";
constexpr const char* kSlewAltAzHead = "Result from QUAY *SLEWALTAZ=";

INSTANTIATE_TEST_SUITE_P(
    Members, SlewLogTest,
    testing::Values(
        MemberOriginRow{"SlewToCoordinates", kSlewHead,
                        [](Telescope& scope) { scope.SlewToCoordinates(scope.RightAscension(), 40.0); }},
        MemberOriginRow{"SlewToCoordinatesAsync", kSlewHead,
                        [](Telescope& scope) { scope.SlewToCoordinatesAsync(scope.RightAscension(), 40.0); }},
        MemberOriginRow{"SlewToTarget", kSlewHead, [](Telescope& scope) { scope.SlewToTarget(); }},
        MemberOriginRow{"SlewToTargetAsync", kSlewHead, [](Telescope& scope) { scope.SlewToTargetAsync(); }},
        MemberOriginRow{"SlewToAltAz", kSlewAltAzHead,
                        [](Telescope& scope) {
                            scope.Tracking(false);
                            scope.SlewToAltAz(200.0, 50.0);
                        }},
        MemberOriginRow{"SlewToAltAzAsync", kSlewAltAzHead,
                        [](Telescope& scope) {
                            scope.Tracking(false);
                            scope.SlewToAltAzAsync(200.0, 50.0);
                        }}),
    [](const auto& row) { return row.param.member; });

}  // namespace
}  // namespace kestrane
