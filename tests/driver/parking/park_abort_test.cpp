#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <tuple>

#include "driver/parking/park_fixture.h"
#include "simulator/misbehaviours.h"

namespace kestrane {
namespace {

enum class Stage { LettingDown, Goto, OutOfTolerance };
enum class Stopper { TheClientItself, AnotherClient, TheHandBox, TheVerb };

class ParkStopTest : public ParkTest, public testing::WithParamInterface<std::tuple<std::string, Stage, Stopper>> {
protected:
    bool IsNow() {
        switch (std::get<1>(GetParam())) {
            case Stage::LettingDown:
                return driver->state.g_bLeavingCwUp && mount->Picture().hourSpeed != 0.0;
            case Stage::Goto:
                return TimesSent("MS") == 1 && mount->Picture().slewing;
            case Stage::OutOfTolerance:
                return driver->state.g_bParking && TimesSent("MS") == 1 && !driver->state.g_bSlewing;
        }
        return false;
    }
    void Stop() {
        switch (std::get<2>(GetParam())) {
            case Stopper::TheClientItself:
                return telescope->AbortSlew();
            case Stopper::AnotherClient:
                return other_->AbortSlew();
            case Stopper::TheHandBox:
                return driver->panel.AbortSlew();
            case Stopper::TheVerb:
                telescope->CommandString("RAW,CancelPark", true);
        }
    }
    Telescope* other_ = nullptr;
};

TEST_P(ParkStopTest, EndsThePark_AndRestoresTheTracking) {
    ConnectAt(47.0, std::get<0>(GetParam()), {{"cbxParkTo", "2"}}, MountPointing{2.0, 40.0, true});
    other_ = &OtherClient();
    if (std::get<1>(GetParam()) == Stage::OutOfTolerance) {
        mount->Add(std::make_unique<Stalls>(5.0));
    }
    const When stop(
        machine.pump, [&] { return IsNow(); },
        [&] {
            Stop();
            EXPECT_EQ(std::get<1>(GetParam()) == Stage::LettingDown ? driver->state.g_bParking : true, true);
        });
    telescope->Park();
    ASSERT_TRUE(RunUntil([&] { return stop.Happened(); }));
    machine.AdvanceTime(4'000);
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_TRUE(Logged("Park canceled..."));
    if (!driver->state.g_bGosActive) {  // a status text shows what the mount says
        EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Park Canceled");
    }
    ExpectCancelled();
    EXPECT_LE(TimesSent("MS"), 1);
}

using ParkStopRow = std::tuple<std::string, Stage, Stopper>;

std::string NameOfStop(const testing::TestParamInfo<ParkStopRow>& row) {
    constexpr const char* kStages[]{"LettingDown", "Goto", "OutOfTolerance"};
    constexpr const char* kStoppers[]{"Client", "Other", "HandBox", "Verb"};
    return std::get<0>(row.param) + kStages[static_cast<int>(std::get<1>(row.param))] +
           kStoppers[static_cast<int>(std::get<2>(row.param))];
}

INSTANTIATE_TEST_SUITE_P(Stages, ParkStopTest,
                         testing::Combine(testing::Values("S", "D"),
                                          testing::Values(Stage::LettingDown, Stage::Goto, Stage::OutOfTolerance),
                                          testing::Values(Stopper::TheClientItself, Stopper::AnotherClient,
                                                          Stopper::TheHandBox, Stopper::TheVerb)),
                         NameOfStop);

/// What gets in between two exchanges of a park.
enum class Caller { Stop, TrackingOff, AxisStop, CancelVerb, PulseStop };
constexpr const char* kCallers[]{"Stop", "TrackingOff", "AxisStop", "CancelVerb", "PulseStop"};

/// Index and firmware: the road by "KA" at once, by the firmware, by the driver.
class ParkDoorTest : public ParkTest, public testing::WithParamInterface<std::tuple<std::string, int, Caller>> {
protected:
    void Call(Telescope& client) {
        switch (std::get<2>(GetParam())) {
            case Caller::Stop:
                return driver->panel.AbortSlew();
            case Caller::TrackingOff:
                return client.Tracking(false);
            case Caller::AxisStop:
                return client.MoveAxis(1, 0.0);
            case Caller::CancelVerb:
                EXPECT_EQ(client.CommandString("RAW,CancelPark", true), "1");
                return;
            case Caller::PulseStop:
                return client.PulseGuide(0, 0);
        }
    }
    CallKind Kind() const { return std::get<2>(GetParam()) == Caller::Stop ? CallKind::Stop : CallKind::StopsOne; }
    /// Whether the mount is taken from the park, so that the tracking is left to the call.
    bool Takes() const {
        return std::get<2>(GetParam()) == Caller::TrackingOff || std::get<2>(GetParam()) == Caller::AxisStop;
    }
};

TEST_P(ParkDoorTest, ACallBetweenAnyTwoExchanges_EndsIt) {
    const auto [firmware, index, caller] = GetParam();
    int stoppedInTime = 0;
    // Without a status text nothing corrects later what the driver believes: between commands without a reply too.
    const std::int64_t step = firmware == "D" ? 10 : 60;
    for (std::int64_t ms = step; ms < 2'400; ms += step) {
        SCOPED_TRACE("call after " + std::to_string(ms) + " ms");
        ConnectAt(47.0, firmware,
                  {{"cbxParkTo", std::to_string(index)}, {"txtUserParkAlt", "30"}, {"txtUserParkAz", "120"}});
        Telescope& other = OtherClient();
        other.Connected(true);
        mount->Add(std::make_unique<AnswersLate>("", 50));
        const std::size_t before = mount->Commands().size();
        bool called = false;
        std::size_t sentBefore = 0;
        const std::int64_t at = machine.clock.Elapsed() + ms;
        machine.pump.Run(CallKind::WaitsLong, [&] {
            machine.pump.PostAt(at, Kind(), [&] {
                called = true;
                sentBefore = mount->Commands().size();
                Try([&] { Call(other); });  // a parked mount takes no axis and no pulse
            });
            telescope->Park();
        });
        const auto wasSent = [&](const std::string& command, std::size_t until) {
            const std::vector<std::string>& all = mount->Commands();
            for (std::size_t i = before; i < std::min(until, all.size()); ++i) {
                if (all[i] == command) {
                    return true;
                }
            }
            return false;
        };
        machine.AdvanceTime(200);
        ASSERT_TRUE(called);
        const bool wasUnderWay = wasSent("MS", sentBefore) || wasSent("$K" + std::to_string(index), sentBefore);
        if (wasSent("KA", sentBefore)) {
            break;
        }
        stoppedInTime += wasUnderWay ? 0 : 1;
        machine.AdvanceTime(15'000);
        EXPECT_FALSE(wasSent("KA", ~std::size_t{0}));
        EXPECT_FALSE(driver->state.g_bParking);
        EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
        EXPECT_EQ(TimesLogged("Park canceled..."), 1);
        EXPECT_EQ(telescope->Tracking(), mount->Picture().tracking != '9');
        if (!Takes()) {
            EXPECT_EQ(mount->Picture().tracking, '2') << "as before";
        }
        if (caller == Caller::TrackingOff) {
            EXPECT_EQ(mount->Picture().tracking, '9') << "as the client wrote";
        }
        if (wasUnderWay) {
            break;
        }
        EXPECT_FALSE(mount->Picture().slewing);
        EXPECT_FALSE(wasSent("MS", ~std::size_t{0}));
        EXPECT_FALSE(wasSent("$K" + std::to_string(index), ~std::size_t{0}));
        EndTheDriver();
        log.clear();
    }
    EXPECT_GT(stoppedInTime, 4);
}

INSTANTIATE_TEST_SUITE_P(
    Roads, ParkDoorTest,
    testing::Values(std::tuple{"S", 0, Caller::Stop}, std::tuple{"S", 2, Caller::Stop},
                    std::tuple{"VKC5-P03-01", 2, Caller::Stop}, std::tuple{"D", 6, Caller::Stop},
                    std::tuple{"D", 2, Caller::AxisStop}, std::tuple{"S", 0, Caller::TrackingOff},
                    std::tuple{"S", 2, Caller::TrackingOff}, std::tuple{"VKC5-P03-01", 2, Caller::TrackingOff},
                    std::tuple{"D", 6, Caller::TrackingOff}, std::tuple{"S", 0, Caller::AxisStop},
                    std::tuple{"S", 2, Caller::AxisStop}, std::tuple{"VKC5-P03-01", 2, Caller::AxisStop},
                    std::tuple{"S", 0, Caller::CancelVerb}, std::tuple{"S", 2, Caller::CancelVerb},
                    std::tuple{"VKC5-P03-01", 2, Caller::CancelVerb}, std::tuple{"S", 0, Caller::PulseStop},
                    std::tuple{"S", 2, Caller::PulseStop}, std::tuple{"VKC5-P03-01", 2, Caller::PulseStop}),
    [](const auto& row) {
        return std::string(std::get<0>(row.param)).substr(0, 1) + std::to_string(std::get<1>(row.param)) +
               kCallers[static_cast<int>(std::get<2>(row.param))];
    });

TEST_F(ParkTest, AStopWhileAParkedMountBeginsToParkElsewhere_IsNotRefused) {
    int stoppedInTime = 0;
    for (std::int64_t ms = 5; ms < 1'500; ms += 60) {
        SCOPED_TRACE("stop after " + std::to_string(ms) + " ms");
        ConnectAt(47.0, "S", {{"cbxParkTo", "0"}});
        telescope->Park();
        machine.AdvanceTime(5'000);
        ASSERT_TRUE(telescope->AtPark());
        Telescope& other = OtherClient();
        other.Connected(true);
        mount->Add(std::make_unique<AnswersLate>("", 50));
        error = 0;
        bool wasSent = false;
        machine.pump.Run(CallKind::WaitsLong, [&] {
            machine.pump.PostAt(machine.clock.Elapsed() + ms, CallKind::Stop, [&] {
                wasSent = TimesSent("MS") > 0;
                Try([&] { other.AbortSlew(); });
            });
            telescope->CommandString("RAW,ParkMount,2", true);
        });
        EXPECT_EQ(error, 0U) << words;
        machine.AdvanceTime(15'000);
        EXPECT_FALSE(mount->Picture().slewing);
        EXPECT_FALSE(driver->state.g_bParking);
        EXPECT_EQ(telescope->AtPark(), mount->Picture().parked);
        if (!wasSent) {
            EXPECT_EQ(TimesSent("MS"), 0);
        }
        EndTheDriver();
        stoppedInTime += wasSent ? 0 : 1;
    }
    EXPECT_GT(stoppedInTime, 4);
}

/// The last exchange of a park is the command that parks.
TEST_F(ParkTest, TrackingThatIsSwitchedOffBeforeTheEnd_KeepsTheMountFromBeingParked) {
    Connect("S", {{"cbxParkTo", "2"}});
    StandingMount& standing = StandForPark();
    machine.AdvanceTime(10'000);
    telescope->Park();
    standing.replies["GA"] = "+00*00:10.0#";
    standing.replies["GZ"] = "090*00:10.0#";
    bool asked = false;
    standing.onCommand = [&](const std::string& command) {
        if (!asked && command == "GZ" && Logged("Parking operation in progress")) {
            asked = true;
            machine.pump.PostAt(machine.clock.Elapsed(), CallKind::StopsOne, [&] { telescope->Tracking(false); });
        }
    };
    Tape().Clear();
    machine.AdvanceTime(30'000);
    ASSERT_TRUE(asked);
    EXPECT_EQ(Tape().Motion(), "# Q RT9") << "as the client wrote, and nothing else";
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
}

class ParkTakenTest : public ParkTest {
protected:
    void ParkAndTake(const std::function<void()>& take) {
        ConnectAt(47.0, "S", {{"cbxParkTo", "2"}});
        telescope->Park();
        machine.AdvanceTime(3'000);
        ASSERT_TRUE(mount->Picture().slewing);
        take();
        EXPECT_FALSE(driver->state.g_bParking);
        EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
        machine.AdvanceTime(30'000);
        EXPECT_EQ(TimesSent("KA"), 0);
        EXPECT_FALSE(telescope->AtPark());
        EXPECT_FALSE(driver->state.g_bParking);
    }
};

TEST_F(ParkTakenTest, BySlew) {
    ParkAndTake([&] {
        EXPECT_EQ(MotionDuring([&] { telescope->SlewToAltAzAsync(150.0, 45.0); }),
                  "# Q RT9 Sa+45*00:00 Sz150*00:00 MS");
        EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Park Canceled");
    });
    ExpectPointsAt(45.0, 150.0, 0.1);
}

TEST_F(ParkTakenTest, ByAxisMotion) {
    ParkAndTake([&] {
        EXPECT_EQ(MotionDuring([&] { telescope->MoveAxis(1, 0.1); }).find("Q Q"), std::string::npos);
        EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Park Canceled");
        telescope->MoveAxis(1, 0.0);
    });
}

TEST_F(ParkTakenTest, ByTracking) {
    ParkAndTake([&] {
        EXPECT_EQ(MotionDuring([&] { telescope->Tracking(true); }), "Q RT2");
        EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Park Canceled");
    });
    EXPECT_EQ(mount->Picture().tracking, '2');
}

TEST_F(ParkTakenTest, ByATrackingRate) {
    ParkAndTake([&] { EXPECT_EQ(MotionDuring([&] { telescope->TrackingRate(1); }), "Q RT0"); });
    EXPECT_EQ(mount->Picture().tracking, '0');
}

TEST_F(ParkTakenTest, AnAbortedPark_EndsBeforeTheFirstCommandOfTheSlewThatOvertakesIt) {
    ParkAndTake([&] {
        telescope->AbortSlew();
        ASSERT_TRUE(driver->state.g_bParking);
        EXPECT_EQ(MotionDuring([&] { telescope->SlewToAltAzAsync(150.0, 45.0); }),
                  "# Q RT9 Sa+45*00:00 Sz150*00:00 MS");
    });
    ExpectPointsAt(45.0, 150.0, 0.1);
}

TEST_F(ParkTakenTest, AnotherParkTakesItsPlace_AndKnowsTheTrackingFromBefore) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "2"}});
    telescope->Park();
    machine.AdvanceTime(3'000);
    telescope->CommandString("RAW,ParkMount,4", true);
    machine.AdvanceTime(1'000);
    EXPECT_TRUE(driver->state.g_bSavedTracking);
    ExpectParked();
    ExpectPointsAt(0.0, 180.0, 0.1);
}

TEST_F(ParkTakenTest, AnotherParkDuringTheMoveBeforeThisOne_IsTheOnlyOneThatGoesOn) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "2"}}, MountPointing{2.0, 40.0, true});
    Telescope& other = OtherClient();
    const When taken(
        machine.pump, [&] { return driver->state.g_bLeavingCwUp && std::abs(mount->Picture().hourSpeed) > 0.5; },
        [&] {
            other.Tracking(true);
            other.CommandString("RAW,ParkMount,4", true);
        });
    telescope->Park();
    EXPECT_TRUE(taken.Happened());
    ExpectParked();
    EXPECT_EQ(TimesSent("MS"), 1);
    ExpectPointsAt(0.0, 180.0, 0.1);
}

TEST_F(ParkTakenTest, TargetsThatAnotherClientWrites_DoNotMatter) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "2"}, {"chkConvertAltAzToRaDec", "1"}});
    telescope->Park();
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(mount->Picture().slewing);
    Telescope& other = OtherClient();
    other.Connected(true);
    other.TargetRightAscension(3.0);
    other.TargetDeclination(50.0);
    ExpectParked();
}

TEST_F(ParkTakenTest, ASlewUnderWay_EndsForAPark) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "2"}});
    bool parked = false;
    const When slews(
        machine.pump, [&] { return mount->Picture().slewing && driver->state.g_bSlewing; },
        [&] {
            telescope->Park();
            parked = true;
        });
    telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() + 2.0), 30.0);
    EXPECT_TRUE(parked);
    ExpectParked();
    EXPECT_EQ(TimesSent("MS"), 2) << "the slew gives way";
    ExpectPointsAt(0.0, 90.0, 0.1);
}

struct CauseRow {
    std::string name;
    std::string line;  ///< a part of the log line that names it
    std::function<void(Telescope& client, Driver& driver)> call;

    friend void PrintTo(const CauseRow& row, std::ostream* out) { *out << row.name; }
};

class CauseOfTheEndTest : public ParkTest, public testing::WithParamInterface<CauseRow> {};

TEST_P(CauseOfTheEndTest, StandsInTheLogAheadOfIt) {
    ConnectAt(47.0, "D", {{"cbxParkTo", "2"}});
    telescope->Park();
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(mount->Picture().slewing);
    const auto mark = static_cast<std::ptrdiff_t>(log.size());
    Try([&] { GetParam().call(*telescope, *driver); });
    EXPECT_EQ(error, 0U) << words;
    EXPECT_TRUE(WaitForParkEnd());
    const auto find = [&](std::string_view part) {
        return std::find_if(log.begin() + mark, log.end(),
                            [&](const LogLine& line) { return line.message.find(part) != std::string::npos; });
    };
    const auto end = find("Park canceled...");
    EXPECT_NE(end, log.end());
    EXPECT_LT(find(GetParam().line) - log.begin(), end - log.begin());
}

INSTANTIATE_TEST_SUITE_P(
    Causes, CauseOfTheEndTest,
    testing::Values(
        CauseRow{"Stop", "AbortSlew()", [](Telescope& client, Driver&) { client.AbortSlew(); }},
        CauseRow{"HandBox", "AbortSlew()", [](Telescope&, Driver& driver) { driver.panel.AbortSlew(); }},
        CauseRow{"Verb", "RAW,CancelPark",
                 [](Telescope& client, Driver&) { client.CommandString("RAW,CancelPark", true); }},
        CauseRow{"Text", "The park ends: a client's own text stops the mount",
                 [](Telescope& client, Driver&) { client.CommandBlind("Q", false); }},
        CauseRow{"Tracking", "SET Tracking = False", [](Telescope& client, Driver&) { client.Tracking(false); }},
        CauseRow{"Rate", "SET TrackingRate = 1", [](Telescope& client, Driver&) { client.TrackingRate(1); }},
        CauseRow{"Axis", "MoveAxis", [](Telescope& client, Driver&) { client.MoveAxis(1, 0.0); }},
        CauseRow{"Pulse", "PulseGuide", [](Telescope& client, Driver&) { client.PulseGuide(0, 0); }},
        CauseRow{"Unpark", "RAW,UnparkMount",
                 [](Telescope& client, Driver&) { client.CommandString("RAW,UnparkMount,0", true); }},
        CauseRow{"Slew", "SlewToAltAz", [](Telescope& client, Driver&) { client.SlewToAltAzAsync(150.0, 45.0); }}),
    [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace kestrane
