#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include "alpaca/client_objects.h"
#include "alpaca/request_handler.h"
#include "fake_devices.h"
#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

/// Writes that stop one motion go ahead of other calls, and annul only earlier writes of the same motion.
namespace kestrane::alpaca {
namespace {

std::vector<std::string>& Ran() {
    static std::vector<std::string> ran;
    return ran;
}

std::string NoteMoveAxis(ClientObject&, const Arguments& arguments) {
    Ran().push_back("axis " + std::to_string(arguments.Integer(0)) + (arguments.Number(1) == 0.0 ? " stops" : " runs"));
    return {};
}

std::string NoteTracking(ClientObject&, const Arguments& arguments) {
    Ran().emplace_back(arguments.Boolean(0) ? "tracking on" : "tracking off");
    return {};
}

std::string NoteText(ClientObject&, const Arguments& arguments) {
    Ran().push_back(arguments.Text(0));
    return "\"reply\"";
}

std::string NotePark(ClientObject&, const Arguments&) {
    Ran().emplace_back("park");
    return {};
}

std::string NotePulse(ClientObject&, const Arguments& arguments) {
    Ran().push_back("pulse " + std::to_string(arguments.Integer(0)) + (arguments.Integer(1) <= 0 ? " stops" : " runs"));
    return {};
}

std::string NoteFocuser(ClientObject&, const Arguments& arguments) {
    Ran().push_back(arguments.IsEmpty() ? "halt" : "move " + std::to_string(arguments.Integer(0)));
    return {};
}

std::string NoteOther(ClientObject&, const Arguments&) {
    Ran().emplace_back("other");
    return {};
}

/// The rows of the telescope, with handlers that note what ran.
std::vector<Route> NotingRoutes() {
    std::vector<Route> routes = TelescopeRoutes();
    for (Route& route : routes) {
        route.handler = route.name == "MoveAxis"                              ? NoteMoveAxis
                        : route.name == "PulseGuide"                          ? NotePulse
                        : route.name == "Tracking" && route.verb == Verb::Put ? NoteTracking
                        : route.name == "CommandString"                       ? NoteText
                        : route.name == "Park"                                ? NotePark
                                                                              : NoteOther;
    }
    return routes;
}

/// Those of the focuser likewise.
std::vector<Route> NotingFocuserRoutes() {
    std::vector<Route> routes = FocuserRoutes();
    for (Route& route : routes) {
        route.handler = route.name == "Halt" || route.name == "Move" ? NoteFocuser : NoteOther;
    }
    return routes;
}

class StopOrderTest : public testing::Test {
protected:
    StopOrderTest() { Ran().clear(); }

    /// Asks all of these at once, "member?body", and returns what ran, in order.
    std::vector<std::string> Ask(const std::vector<std::pair<std::string, std::string>>& puts,
                                 const std::string& device = "telescope") {
        bodies.clear();
        for (const auto& [member, body] : puts) {
            http::Request request;
            request.verb = Verb::Put;
            request.path = "/api/v1/" + device + "/0/" + member;
            request.body = "ClientID=1&" + body;
            request.remoteAddress = "10.0.0.1";
            request.connection = 1;
            bodies.emplace_back();
            handler.Handle(request, [this, index = bodies.size() - 1](const http::Answer& answer) {
                answered += answer.status == 200 ? 1 : 0;
                bodies[index] = answer.body;
            });
        }
        pump.PumpMessages();
        return std::exchange(Ran(), {});
    }

    VirtualClock clock;
    VirtualPump pump{clock};
    FakeWorld world;
    FakeDevices devices{world};
    RequestGate gate{[](const std::function<void(bool)>&) {}, [] {}};
    ClientObjects objects{ClientObjectsNeeds{pump, clock, devices, gate, [] {}, LeaseTimes{}}};
    RouteTable routes{NotingRoutes(), NotingFocuserRoutes()};
    Management management{{"server", "maker", "1", "here"}, std::filesystem::temp_directory_path() / "no_such_file"};
    RequestHandler handler{RequestHandlerNeeds{
        routes, objects, pump, management, [](const std::function<void()>& function) { function(); },
        [](http::ConnectionId) { return false; }, [](std::chrono::milliseconds, const std::function<void()>&) {},
        std::chrono::milliseconds{60'000}, [](http::ConnectionId, const std::string&) {}}};
    int answered = 0;
    std::vector<std::string> bodies;  ///< of the answers, by the order of the questions
};

using Texts = std::vector<std::string>;

TEST_F(StopOrderTest, AxisThatIsStopped_GoesAheadOfOtherCalls_AndAnEarlierStartOfItIsNotRun) {
    EXPECT_EQ(Ask({{"slewtotarget", ""}, {"moveaxis", "Axis=0&Rate=1"}, {"moveaxis", "Axis=0&Rate=0"}}),
              (Texts{"axis 0 stops", "other"}));
    EXPECT_EQ(answered, 3) << "each call is answered";
    EXPECT_EQ(world.diary.Count("telescope does not begin MoveAxis"), 1);
    EXPECT_EQ(Ask({{"moveaxis", "Axis=0&Rate=1"}}), Texts{"axis 0 runs"});
}

TEST_F(StopOrderTest, WritesOfOneAxisKeepTheirOrder) {
    EXPECT_EQ(Ask({{"moveaxis", "Axis=0&Rate=0"}, {"moveaxis", "Axis=0&Rate=1"}}),
              (Texts{"axis 0 stops", "axis 0 runs"}));
    EXPECT_EQ(Ask({{"moveaxis", "Axis=1&Rate=1"},
                   {"moveaxis", "Axis=1&Rate=0"},
                   {"moveaxis", "Axis=1&Rate=2"},
                   {"moveaxis", "Axis=1&Rate=0"},
                   {"moveaxis", "Axis=1&Rate=3"}}),
              (Texts{"axis 1 stops", "axis 1 stops", "axis 1 runs"}));
}

TEST_F(StopOrderTest, StopOfOneAxis_LeavesTheOtherOneAndTrackingAlone) {
    EXPECT_EQ(Ask({{"moveaxis", "Axis=1&Rate=1"}, {"tracking", "Tracking=True"}, {"moveaxis", "Axis=0&Rate=0"}}),
              (Texts{"axis 0 stops", "axis 1 runs", "tracking on"}));
}

TEST_F(StopOrderTest, TrackingThatIsSwitchedOff_GoesAhead_AndAnEarlierSwitchingOnIsNotRun) {
    EXPECT_EQ(Ask({{"slewtotarget", ""},
                   {"tracking", "Tracking=True"},
                   {"moveaxis", "Axis=0&Rate=1"},
                   {"tracking", "Tracking=False"}}),
              (Texts{"tracking off", "other", "axis 0 runs"}));
    EXPECT_EQ(world.diary.Count("telescope does not begin Tracking"), 1);
    EXPECT_EQ(Ask({{"tracking", "Tracking=False"}, {"tracking", "Tracking=True"}}),
              (Texts{"tracking off", "tracking on"}));
}

TEST_F(StopOrderTest, CancelledPark_GoesAheadOfOtherCalls_AndAnEarlierParkIsNotRun) {
    EXPECT_EQ(Ask({{"slewtotarget", ""},
                   {"park", ""},
                   {"commandstring", "Command=RAW,ParkMount,2&Raw=True"},
                   {"commandstring", "Command=GR&Raw=False"},
                   {"commandstring", "Command=RAW,UnparkMount&Raw=True"},
                   {"commandstring", "Command=RAW,CancelPark&Raw=True"}}),
              (Texts{"RAW,CancelPark", "other", "GR", "RAW,UnparkMount"}));
    EXPECT_EQ(world.diary.Count("telescope does not begin Park"), 1);
    EXPECT_EQ(world.diary.Count("telescope does not begin CommandString"), 1);
    EXPECT_NE(bodies[2].find("\"Value\":\"1\""), std::string::npos) << "as a park that was cancelled: " << bodies[2];
    EXPECT_EQ(Ask({{"commandstring", "Command=RAW,CancelPark&Raw=True"},
                   {"park", ""},
                   {"commandstring", "Command=RAW,ParkMount&Raw=True"}}),
              (Texts{"RAW,CancelPark", "park", "RAW,ParkMount"}));
}

TEST_F(StopOrderTest, TextThatIsNoCancel_KeepsItsPlace) {
    EXPECT_EQ(Ask({{"slewtotarget", ""},
                   {"commandstring", "Command=RAW,CancelPark&Raw=False"},
                   {"commandstring", "Command=RAW,CancelParkX&Raw=True"},
                   {"commandstring", "Command=RAW,CancelPark,1&Raw=True"}}),
              (Texts{"RAW,CancelPark,1", "other", "RAW,CancelPark", "RAW,CancelParkX"}));
}

TEST_F(StopOrderTest, PulseWithoutADuration_GoesAhead_AndEarlierPulsesOfItsAxisAreNotRun) {
    EXPECT_EQ(Ask({{"slewtotarget", ""},
                   {"pulseguide", "Direction=0&Duration=500"},
                   {"pulseguide", "Direction=2&Duration=500"},
                   {"pulseguide", "Direction=1&Duration=0"}}),
              (Texts{"pulse 1 stops", "other", "pulse 2 runs"}));
    EXPECT_EQ(answered, 4) << "each call is answered";
    EXPECT_EQ(world.diary.Count("telescope does not begin PulseGuide"), 1);
    // A direction that there is not stops the axis that it would move: the primary one.
    EXPECT_EQ(Ask({{"pulseguide", "Direction=0&Duration=500"},
                   {"pulseguide", "Direction=3&Duration=500"},
                   {"pulseguide", "Direction=9&Duration=0"}}),
              (Texts{"pulse 9 stops", "pulse 0 runs"}));
    EXPECT_EQ(Ask({{"pulseguide", "Direction=0&Duration=0"}, {"pulseguide", "Direction=0&Duration=500"}}),
              (Texts{"pulse 0 stops", "pulse 0 runs"}));
}

TEST_F(StopOrderTest, HaltOfTheFocuser_GoesAhead_AndAnEarlierMoveIsNotRun) {
    const auto ask = [&](const std::vector<std::pair<std::string, std::string>>& puts) { return Ask(puts, "focuser"); };
    EXPECT_EQ(ask({{"tempcomp", "TempComp=False"}, {"move", "Position=10"}, {"halt", ""}}), (Texts{"halt", "other"}));
    EXPECT_EQ(answered, 3) << "each call is answered";
    EXPECT_EQ(world.diary.Count("focuser does not begin Move"), 1);
    EXPECT_EQ(ask({{"halt", ""}, {"move", "Position=10"}}), (Texts{"halt", "move 10"}));
    EXPECT_EQ(ask({{"move", "Position=10"}, {"move", "Position=0"}, {"move", "Position=-5"}}),
              (Texts{"move 0", "move -5"}));
}

}  // namespace
}  // namespace kestrane::alpaca
