#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "alpaca/client_objects.h"
#include "alpaca/request_handler.h"
#include "fake_devices.h"
#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

/// PUTs that come again after the connection of the first one has closed.
namespace kestrane::alpaca {
namespace {

std::vector<std::string>& Ran() {
    static std::vector<std::string> ran;
    return ran;
}

/// The rows of the telescope, with handlers that note what ran.
std::vector<Route> RunningRoutes() {
    std::vector<Route> routes = TelescopeRoutes();
    for (Route& route : routes) {
        route.handler = [](ClientObject&, const Arguments&) {
            Ran().emplace_back("ran");
            return std::string();
        };
    }
    return routes;
}

class RepeatedPutTest : public testing::Test {
protected:
    RepeatedPutTest() { Ran().clear(); }

    /// Over a connection of its own, which its client closes before the answer is written where `hangsUp`.
    void Put(const std::string& member, const std::string& body, bool hangsUp,
             const std::string& address = "10.0.0.1") {
        http::Request request;
        request.verb = Verb::Put;
        request.path = "/api/v1/telescope/0/" + member;
        request.body = body;
        request.remoteAddress = address;
        request.connection = ++connection;
        if (hangsUp) {
            gone.insert(connection);
        }
        handler.Handle(request, [this](const http::Answer& answer) { answered += answer.status == 200 ? 1 : 0; });
        pump.PumpMessages();
        if (hangsUp) {
            handler.ConnectionClosed(connection);
        }
        pump.PumpMessages();
    }
    /// How often the member runs when it is repeated after an answer that nobody heard.
    std::size_t RunsOf(const std::string& member, const std::string& body) {
        Ran().clear();
        Put(member, body, true);
        Put(member, body, false);
        return Ran().size();
    }

    VirtualClock clock;
    VirtualPump pump{clock};
    FakeWorld world;
    FakeDevices devices{world};
    RequestGate gate{[](const std::function<void(bool)>&) {}, [] {}};
    ClientObjects objects{ClientObjectsNeeds{pump, clock, devices, gate, [] {}, LeaseTimes{3'600'000, 3'600'000}}};
    RouteTable routes{RunningRoutes(), FocuserRoutes()};
    Management management{{"server", "maker", "1", "here"}, std::filesystem::temp_directory_path() / "no_such_file"};
    std::set<http::ConnectionId> gone;
    RequestHandler handler{RequestHandlerNeeds{
        routes, objects, pump, management, [](const std::function<void()>& function) { function(); },
        [this](http::ConnectionId id) { return gone.contains(id); },
        [](std::chrono::milliseconds, const std::function<void()>&) {}, std::chrono::milliseconds{60'000},
        [](http::ConnectionId, const std::string&) {}}};
    http::ConnectionId connection = 0;
    int answered = 0;
};

constexpr const char* kIds = "ClientID=7&ClientTransactionID=5";

TEST_F(RepeatedPutTest, Stop_RunsEachTime_AndWhatStartsAMotionDoesNot) {
    const std::string ids = std::string("&") + kIds;
    EXPECT_EQ(RunsOf("abortslew", kIds), 2U);
    EXPECT_EQ(RunsOf("moveaxis", "Axis=0&Rate=0" + ids), 2U);
    EXPECT_EQ(RunsOf("tracking", "Tracking=False" + ids), 2U);
    EXPECT_EQ(RunsOf("moveaxis", "Axis=0&Rate=1" + ids), 1U);
    EXPECT_EQ(RunsOf("tracking", "Tracking=True" + ids), 1U);
    EXPECT_EQ(RunsOf("slewtotarget", kIds), 1U);
    EXPECT_EQ(answered, 12);
}

TEST_F(RepeatedPutTest, AnotherAddressOrAnotherMember_IsNoRepeat) {
    Put("slewtotarget", kIds, true);
    Put("slewtotarget", kIds, false, "10.0.0.2");
    EXPECT_EQ(Ran().size(), 2U);
    Put("slewtotargetasync", kIds, false);
    EXPECT_EQ(Ran().size(), 3U);
    Put("slewtotarget", kIds, false);
    EXPECT_EQ(Ran().size(), 3U);
}

TEST_F(RepeatedPutTest, AnswerFromMemory_IsASignOfLifeOfItsClient) {
    const std::string body = std::string("Axis=0&Rate=1&") + kIds;
    Put("moveaxis", body, true);
    world.movesOn = true;
    pump.AdvanceTime(50'000);
    Put("moveaxis", body, false);
    ASSERT_EQ(Ran().size(), 1U);
    pump.AdvanceTime(300'000);
    EXPECT_EQ(world.diary.Count("telescope stops"), 0) << "its client has an open connection";
    gone.insert(connection);
    handler.ConnectionClosed(connection);
    pump.AdvanceTime(59'900);
    EXPECT_EQ(world.diary.Count("telescope stops"), 0);
    pump.AdvanceTime(200);
    EXPECT_EQ(world.diary.Count("telescope stops"), 1);
}

}  // namespace
}  // namespace kestrane::alpaca
