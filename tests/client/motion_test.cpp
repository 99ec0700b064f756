#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "client/fake_telescope.h"

/// The commands that move, stop and set up a device, but for slews.
namespace kestrane::client {
namespace {

TEST(Client, Park_ThatDoesNotArrive_IsAFailure) {
    FakeTelescope telescope;
    telescope.parks = false;
    FakeAlpacaServer server(std::ref(telescope));
    const Outcome outcome = RunAt(server, {"park", "--json"});
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_NE(outcome.out.find("the device stands still and is not parked"), std::string::npos) << outcome.out;
}

TEST(Client, Park_ThatIsInterrupted_IsStopped) {
    FakeTelescope telescope;
    telescope.parks = false;
    telescope.looks = 1000;
    FakeAlpacaServer server(std::ref(telescope));
    const Outcome outcome = RunAt(server, {"park", "--wait"}, 3.0);
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_NE(outcome.notes.find("interrupted; the park was stopped"), std::string::npos) << outcome.notes;
    const auto requests = server.Requests();
    EXPECT_TRUE(std::ranges::any_of(requests, [](const Request& each) { return each.target.ends_with("abortslew"); }));
}

TEST(Client, Focus_MovesTheFocuser) {
    FakeTelescope focuser;
    focuser.isFocuser = true;
    focuser.isConnected = false;
    FakeAlpacaServer server(std::ref(focuser));
    EXPECT_EQ(RunAt(server, {"focus", "-120"}).out, "move started; the client stays connected\n");
    const auto requests = server.Requests();
    const auto move = std::ranges::find_if(
        requests, [](const Request& each) { return each.target.starts_with("/api/v1/focuser/0/move"); });
    ASSERT_NE(move, requests.end());
    EXPECT_EQ(move->body.substr(0, 14), "Position=-120&");
    EXPECT_EQ(RunAt(server, {"focus", "+40", "--wait"}).out, "the focuser stands\n");
    EXPECT_EQ(RunAt(server, {"focus", "40", "--json", "--wait"}).out, "{\"Steps\":40}\n");
    for (const char* steps : {"0", "near", "1.5", "--1"}) {
        EXPECT_EQ(RunAt(server, {"focus", steps}).code, ExitCode::Usage) << steps;
    }
}

TEST(Client, Focus_ThatIsInterrupted_IsStopped) {
    FakeTelescope focuser;
    focuser.isFocuser = true;
    focuser.looks = 1000;
    FakeAlpacaServer server(std::ref(focuser));
    const Outcome outcome = RunAt(server, {"focus", "9", "--wait"}, 2.0);
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    const auto requests = server.Requests();
    EXPECT_TRUE(std::ranges::any_of(requests, [](const Request& each) { return each.target.ends_with("halt"); }));
}

TEST(Client, Sync_TellsThePlaceAndShowsWhatIsReported) {
    FakeTelescope telescope;
    FakeAlpacaServer server(std::ref(telescope));
    const Outcome outcome = RunAt(server, {"sync", "5.5", "-16.5"});
    EXPECT_EQ(outcome.code, ExitCode::Done);
    EXPECT_EQ(outcome.out.substr(0, 31), "synced; the device reports RA 0");
    const auto requests = server.Requests();
    const auto sync = std::ranges::find_if(
        requests, [](const Request& request) { return request.target.ends_with("synctocoordinates"); });
    ASSERT_NE(sync, requests.end());
    EXPECT_EQ(sync->body.substr(0, 37), "RightAscension=5.5&Declination=-16.5&");
    EXPECT_EQ(RunAt(server, {"sync"}).code, ExitCode::Usage);
    EXPECT_EQ(RunAt(server, {"sync", "25", "0"}).code, ExitCode::Usage);
}

TEST(Client, Track_ChoosesARateAndBegins_OrEnds) {
    FakeTelescope telescope;
    FakeAlpacaServer server(std::ref(telescope));
    EXPECT_EQ(RunAt(server, {"track", "lunar"}).out, "tracking, lunar\n");
    std::vector<std::string> bodies;
    for (const Request& request : server.Requests()) {
        if (request.verb == "PUT") {
            bodies.push_back(request.body.substr(0, request.body.find('&')));
        }
    }
    EXPECT_EQ(bodies, (std::vector<std::string>{"TrackingRate=1", "Tracking=True"}));
    EXPECT_EQ(RunAt(server, {"track", "off"}).out, "not tracking\n");
    EXPECT_EQ(RunAt(server, {"track", "on", "--json"}).out, "{\"Tracking\":true}\n");
    EXPECT_EQ(RunAt(server, {"track", "fast"}).code, ExitCode::Usage);
}

TEST(Client, Guide_SendsAPulse_AndWaitsForItsEndWhereItIsTold) {
    FakeTelescope telescope;
    FakeAlpacaServer server(std::ref(telescope));
    EXPECT_EQ(RunAt(server, {"guide", "east", "500"}).out, "pulse started\n");
    EXPECT_EQ(server.Requests().back().body.substr(0, 25), "Direction=2&Duration=500&");
    const Outcome outcome = RunAt(server, {"guide", "south", "400", "--wait"});
    EXPECT_EQ(outcome.out, "the pulse has ended\n");
    EXPECT_LT(telescope.looksLeft, 0);
    EXPECT_EQ(RunAt(server, {"guide", "up", "500"}).code, ExitCode::Usage);
    EXPECT_EQ(RunAt(server, {"guide", "east", "0"}).code, ExitCode::Usage);
    EXPECT_EQ(RunAt(server, {"guide", "east", "1s"}).code, ExitCode::Usage);
}

TEST(Client, Guide_ThatIsInterrupted_StopsThePulse) {
    FakeTelescope telescope;
    telescope.looks = 1'000;
    FakeAlpacaServer server(std::ref(telescope));
    std::vector<std::string> words{"guide", "west", "60000", "--wait", "--port", std::to_string(server.Port())};
    EXPECT_EQ(RunHere(words, 1.0).code, ExitCode::DeviceError);
    EXPECT_EQ(Calls(server).back(), "PUT abortslew");
}

TEST(Client, Init_RunsTheVerbOfTheDriver) {
    FakeTelescope telescope;
    telescope.driverReply = "1";
    FakeAlpacaServer server(std::ref(telescope));
    EXPECT_EQ(RunAt(server, {"init", "SyncTime,PEM=1"}).code, ExitCode::Done);
    EXPECT_EQ(server.Requests().back().body.substr(0, 51), "Command=RAW%2CInitMount%2CSyncTime%2CPEM%3D1&Raw=Tr");
    EXPECT_EQ(RunAt(server, {"init", "--json"}).out, "{\"InitString\":\"\"}\n");
    EXPECT_EQ(server.Requests().back().body.substr(0, 30), "Command=RAW%2CInitMount&Raw=Tr");
}

}  // namespace
}  // namespace kestrane::client
