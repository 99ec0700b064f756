#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <tuple>

#include "driver/parking/park_fixture.h"
#include "simulator/misbehaviours.h"

/// A stop that the mount has not heard goes out again, whatever the stop was a part of.
namespace kestrane {
namespace {

constexpr std::string_view kStillMoves = "The mount still moves: the stop is sent again";

class RepeatedStopTest : public ParkTest {
protected:
    /// The line takes nothing while the next so many stops go out; it takes all the rest.
    void LoseStops(int count) {
        driver->log.SetListener(
            [this, left = count](std::string_view origin, int level, std::string_view message) mutable {
                log.push_back({std::string(origin), level, std::string(message)});
                const bool isStop = message.ends_with(":Q#'") || message == "TX: :Q#";
                if (isStop && left > 0) {
                    --left;
                    mount->SetLineDead(true);
                } else if (mount) {
                    mount->SetLineDead(false);
                }
            });
    }
    void Slew() {
        telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), -20.0);
        machine.AdvanceTime(2'000);
        ASSERT_TRUE(mount->Picture().slewing);
    }
    void BeginPark() {
        telescope->Park();
        machine.AdvanceTime(2'000);
        ASSERT_TRUE(mount->Picture().slewing);
    }
    /// Nothing but tracking moves, long before a goto would have ended.
    void ExpectStandsSoon() {
        machine.AdvanceTime(9'000);
        EXPECT_FALSE(mount->Picture().slewing);
        EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-6);
        EXPECT_LT(std::abs(mount->Picture().hourSpeed), 0.006);
    }
};

struct LostStop {
    std::string name;
    bool parks;
    int lost;  ///< of the stops
    std::function<void(Telescope& client)> stop;

    friend void PrintTo(const LostStop& row, std::ostream* out) { *out << row.name; }
};

class LostStopTest : public RepeatedStopTest, public testing::WithParamInterface<std::tuple<std::string, LostStop>> {};

TEST_P(LostStopTest, TheMountStandsAllTheSame_AndIsLeftAloneThen) {
    const auto& [firmware, row] = GetParam();
    ConnectAt(47.0, firmware, {{"cbxParkTo", "3"}, {"cbxParkToText", "Park"}});
    row.parks ? BeginPark() : Slew();
    LoseStops(row.lost);
    row.stop(*telescope);
    LeaveTrackingAlone();  // what follows the end of a slew has a stop of its own
    ExpectStandsSoon();
    EXPECT_GE(TimesLoggedAs("Motion", 1, kStillMoves), 1);
    EXPECT_FALSE(mount->Picture().parked);
    const int stops = TimesSent("Q");
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesSent("Q"), stops);
    EXPECT_EQ(TimesSent("KA"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Stops, LostStopTest,
    testing::Combine(
        testing::Values("S", "D"),
        testing::Values(LostStop{"AbortOfASlew", false, 2, [](Telescope& client) { client.AbortSlew(); }},
                        LostStop{"AbortOfAPark", true, 3, [](Telescope& client) { client.AbortSlew(); }},
                        LostStop{"VerbThatCancelsAPark", true, 1,
                                 [](Telescope& client) { client.CommandString("RAW,CancelPark", true); }},
                        LostStop{"TrackingOffInAPark", true, 1, [](Telescope& client) { client.Tracking(false); }},
                        LostStop{"TrackingOnInAPark", true, 1, [](Telescope& client) { client.Tracking(true); }},
                        LostStop{"RateInAPark", true, 2, [](Telescope& client) { client.TrackingRate(1); }},
                        LostStop{"TrackingOffInASlew", false, 1, [](Telescope& client) { client.Tracking(false); }},
                        LostStop{"RateInASlew", false, 1, [](Telescope& client) { client.TrackingRate(1); }},
                        LostStop{"OwnTextInASlew", false, 1,
                                 [](Telescope& client) { client.CommandBlind("Q", false); }},
                        LostStop{"StopOfPulsesInAPark", true, 3, [](Telescope& client) { client.PulseGuide(0, 0); }})),
    [](const auto& row) { return std::get<0>(row.param) + std::get<1>(row.param).name; });

TEST_F(RepeatedStopTest, OfAMountThatNoLongerTellsItsStatus_GoesByTheCoordinates) {
    ExpectSwallow("*");
    ConnectAt(47.0, "S", {{"SerialRetries", "0"}});
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), -20.0);
    machine.AdvanceTime(1'000);
    mount->Add(std::make_unique<DropsReply>("GOS"));
    machine.AdvanceTime(1'000);
    LoseStops(2);
    telescope->AbortSlew();
    machine.AdvanceTime(12'000);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_GT(mount->Picture().declination, -15.0) << "on its way";
    EXPECT_GE(TimesLoggedAs("Motion", 1, kStillMoves), 1);
}

/// The status text does not show such a move.
TEST_F(RepeatedStopTest, OfAMoveAheadOfAPark_GoesByTheCoordinates) {
    for (const char* firmware : {"S", "D"}) {
        SCOPED_TRACE(firmware);
        ConnectAt(47.0, firmware, {{"cbxParkTo", "2"}, {"chkSlewEast", "1"}, {"txtSlewEastFirstHours", "5"}},
                  MountPointing{-8.0, 30.0, false});
        const double before = mount->Picture().hourAxis;
        const When moving(
            machine.pump, [&] { return mount->Picture().hourAxis < before - 10.0; },
            [&] {
                LoseStops(5);  // both pairs, and what puts the tracking back
                OtherClient().AbortSlew();
            });
        telescope->Park();
        ASSERT_TRUE(moving.Happened());
        ExpectStandsSoon();
        EXPECT_GE(TimesLoggedAs("Motion", 1, kStillMoves), 1);
        EndTheDriver();
        log.clear();
    }
}

/// What moves without a goto, and is stopped on a dead line.
struct OwedStop {
    std::string name;
    std::function<void(Telescope& client)> begin;
    MountPointing start{-8.0, 70.0, false};

    friend void PrintTo(const OwedStop& row, std::ostream* out) { *out << row.name; }
};

class OwedStopTest : public RepeatedStopTest, public testing::WithParamInterface<std::tuple<std::string, OwedStop>> {};

TEST_P(OwedStopTest, KeepsTheProcessUntilItWasHeard) {
    const auto& [noText, row] = GetParam();
    ExpectSwallow("*");
    ConnectAt(47.0, "S",
              {{"cbxParkTo", "2"}, {"chkSlewEast", "1"}, {"txtSlewEastFirstHours", "5"}, {"DontQueryGOS", noText}},
              row.start);
    ASSERT_EQ(driver->state.g_bGosActive, noText == "0");
    // A move ahead of a park ends the wait for it.
    const When moving(
        machine.pump, [&] { return InParkMove(driver->state) && std::abs(mount->Picture().hourSpeed) > 0.01; },
        [&] { mount->SetLineDead(true); });
    row.begin(*telescope);
    if (!moving.Happened()) {
        machine.AdvanceTime(500);
        mount->SetLineDead(true);
        telescope->AbortSlew();
    }
    machine.AdvanceTime(10'000);
    EXPECT_GT(std::abs(mount->Picture().hourSpeed), 0.01) << "it has not heard the stop";
    EXPECT_FALSE(driver->MayEnd(0));
    mount->SetLineDead(false);
    machine.AdvanceTime(15'000);
    EXPECT_LT(std::abs(mount->Picture().hourSpeed), 0.006);
    EXPECT_TRUE(driver->MayEnd(0));
}

INSTANTIATE_TEST_SUITE_P(
    Moves, OwedStopTest,
    testing::Combine(testing::Values("0", "1"),  // with and without a status text
                     testing::Values(OwedStop{"AMoveOfItsOwnText",
                                              [](Telescope& client) { client.CommandBlind(":RC2#:Me#", true); }},
                                     OwedStop{"AnAxis", [](Telescope& client) { client.MoveAxis(0, 0.2); }},
                                     OwedStop{"AMoveEastAheadOfAPark", [](Telescope& client) { client.Park(); }},
                                     OwedStop{"AMoveEastOverAnAxis",
                                              [](Telescope& client) {
                                                  client.MoveAxis(1, 0.1);
                                                  client.Park();
                                              }},
                                     OwedStop{"AMoveThatLetsTheCounterweightDown",
                                              [](Telescope& client) { client.Park(); },
                                              {2.0, 40.0, true}})),
    [](const auto& row) {
        return std::get<1>(row.param).name + (std::get<0>(row.param) == "0" ? "" : "WithoutAStatusText");
    });

/// Such a park begins without a goto of the driver.
TEST_F(RepeatedStopTest, DoesNotStopAParkOfTheFirmwareThatFollows) {
    for (const bool byText : {false, true}) {
        ConnectAt(47.0, "VKC5-P03-01", {{"cbxParkTo", "3"}, {"cbxParkToText", "Park"}});
        telescope->CommandBlind("Mn", false);
        machine.AdvanceTime(500);
        LoseStops(2);
        driver->InternalInstance().AbortSlewDriver();
        if (byText) {
            telescope->CommandBlind("$K3#", true);
        } else {
            telescope->Park();
        }
        machine.AdvanceTime(3'000);
        ASSERT_TRUE(mount->Picture().slewing);
        machine.AdvanceTime(90'000);
        EXPECT_TRUE(mount->Picture().parked) << byText;
        EXPECT_FALSE(Logged(kStillMoves));
        EndTheDriver();
        log.clear();
    }
}

}  // namespace
}  // namespace kestrane
