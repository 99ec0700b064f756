#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "client/fake_telescope.h"

/// The commands that move, stop and set up a device, but for slews.
namespace kestrane::client {
namespace {

TEST_F(ClientTest, Park_ThatDoesNotArrive_IsAFailure) {
    telescope.parks = false;
    const Outcome outcome = Run({"park", "--json"});
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_NE(outcome.out.find("the device stands still and is not parked"), std::string::npos) << outcome.out;
}

TEST_F(ClientTest, Park_ThatIsInterrupted_IsStopped) {
    telescope.parks = false;
    telescope.looks = 1000;
    const Outcome outcome = Run({"park", "--wait"}, 3.0);
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_NE(outcome.notes.find("interrupted; the park was stopped"), std::string::npos) << outcome.notes;
    EXPECT_TRUE(PutTo("abortslew"));
}

TEST_F(ClientTest, Focus_MovesTheFocuser) {
    telescope.isFocuser = true;
    telescope.isConnected = false;
    EXPECT_EQ(Run({"focus", "-120"}).out, "move started; the client stays connected\n");
    EXPECT_EQ(PutTo("move").value_or("").substr(0, 14), "Position=-120&");
    EXPECT_EQ(Run({"focus", "+40", "--wait"}).out, "the focuser stands\n");
    EXPECT_EQ(Run({"focus", "40", "--json", "--wait"}).out, "{\"Steps\":40}\n");
    for (const char* steps : {"0", "near", "1.5", "--1"}) {
        EXPECT_EQ(Run({"focus", steps}).code, ExitCode::Usage) << steps;
    }
}

TEST_F(ClientTest, Focus_ThatIsInterrupted_IsStopped) {
    telescope.isFocuser = true;
    telescope.looks = 1000;
    const Outcome outcome = Run({"focus", "9", "--wait"}, 2.0);
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_TRUE(PutTo("halt"));
}

TEST_F(ClientTest, Sync_TellsThePlaceAndShowsWhatIsReported) {
    const Outcome outcome = Run({"sync", "5.5", "-16.5"});
    EXPECT_EQ(outcome.code, ExitCode::Done);
    EXPECT_EQ(outcome.out.substr(0, 31), "synced; the device reports RA 0");
    EXPECT_EQ(PutTo("synctocoordinates").value_or("").substr(0, 37), "RightAscension=5.5&Declination=-16.5&");
    EXPECT_EQ(Run({"sync"}).code, ExitCode::Usage);
    EXPECT_EQ(Run({"sync", "25", "0"}).code, ExitCode::Usage);
}

TEST_F(ClientTest, Track_ChoosesARateAndBegins_OrEnds) {
    EXPECT_EQ(Run({"track", "lunar"}).out, "tracking, lunar\n");
    std::vector<std::string> bodies;
    for (const Request& request : server.Requests()) {
        if (request.verb == "PUT") {
            bodies.push_back(request.body.substr(0, request.body.find('&')));
        }
    }
    EXPECT_EQ(bodies, (std::vector<std::string>{"TrackingRate=1", "Tracking=True"}));
    EXPECT_EQ(Run({"track", "off"}).out, "not tracking\n");
    EXPECT_EQ(Run({"track", "on", "--json"}).out, "{\"Tracking\":true}\n");
    EXPECT_EQ(Run({"track", "fast"}).code, ExitCode::Usage);
}

TEST_F(ClientTest, Guide_SendsAPulse_AndWaitsForItsEndWhereItIsTold) {
    EXPECT_EQ(Run({"guide", "east", "500"}).out, "pulse started\n");
    EXPECT_EQ(server.Requests().back().body.substr(0, 25), "Direction=2&Duration=500&");
    const Outcome outcome = Run({"guide", "south", "400", "--wait"});
    EXPECT_EQ(outcome.out, "the pulse has ended\n");
    EXPECT_LT(telescope.looksLeft, 0);
    EXPECT_EQ(Run({"guide", "up", "500"}).code, ExitCode::Usage);
    EXPECT_EQ(Run({"guide", "east", "0"}).code, ExitCode::Usage);
    EXPECT_EQ(Run({"guide", "east", "1s"}).code, ExitCode::Usage);
}

TEST_F(ClientTest, Guide_ThatIsInterrupted_StopsThePulse) {
    telescope.looks = 1'000;
    EXPECT_EQ(Run({"guide", "west", "60000", "--wait"}, 1.0).code, ExitCode::DeviceError);
    EXPECT_EQ(Calls(server).back(), "PUT abortslew");
}

TEST_F(ClientTest, Init_RunsTheVerbOfTheDriver) {
    telescope.driverReply = "1";
    EXPECT_EQ(Run({"init", "SyncTime,PEM=1"}).code, ExitCode::Done);
    EXPECT_EQ(server.Requests().back().body.substr(0, 51), "Command=RAW%2CInitMount%2CSyncTime%2CPEM%3D1&Raw=Tr");
    EXPECT_EQ(Run({"init", "--json"}).out, "{\"InitString\":\"\"}\n");
    EXPECT_EQ(server.Requests().back().body.substr(0, 30), "Command=RAW%2CInitMount&Raw=Tr");
}

}  // namespace
}  // namespace kestrane::client
