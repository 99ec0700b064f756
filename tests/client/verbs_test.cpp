#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "client/fake_telescope.h"

/// What the commands that move and set up a device have in common.
namespace kestrane::client {
namespace {

using Words = std::vector<std::string>;

TEST(ClientVerbs, ThatFail_LetGoOfWhatTheyConnected) {
    struct Refusal {
        Words words;
        std::string member;
    };
    for (const Refusal& row : {Refusal{{"sync", "5.5", "-16.5"}, "synctocoordinates"},
                               {{"park"}, "park"},
                               {{"unpark"}, "unpark"},
                               {{"setpark"}, "setpark"},
                               {{"guide", "east", "500"}, "pulseguide"},
                               {{"track", "lunar"}, "trackingrate"},
                               {{"init"}, "commandstring"},
                               {{"slew", "5:30", "10"}, "slewtocoordinatesasync"},
                               {{"command", ":GR#"}, "commandstring"}}) {
        SCOPED_TRACE(row.words[0]);
        FakeTelescope telescope;
        telescope.isConnected = false;
        telescope.refused = row.member;
        FakeAlpacaServer server(std::ref(telescope));
        const Outcome outcome = RunAt(server, row.words);
        EXPECT_EQ(outcome.code, ExitCode::DeviceError);
        EXPECT_NE(outcome.notes.find("Invalid operation (0x40b)"), std::string::npos) << outcome.notes;
        EXPECT_EQ(Puts(server).back(), "connected Connected=False");
    }
}

TEST(ClientVerbs, Unpark_OfADeviceThatStaysParked_IsAFailure) {
    FakeTelescope telescope;
    telescope.unparks = false;
    FakeAlpacaServer server(std::ref(telescope));
    EXPECT_EQ(RunAt(server, {"unpark"}).notes, "kestrane-client: the device is still parked\n");
}

TEST(ClientVerbs, Track_OfADeviceThatGoesOnAsBefore_IsAFailure) {
    FakeTelescope telescope;
    FakeAlpacaServer server(std::ref(telescope));
    telescope.choosesTracking = false;
    for (const char* word : {"on", "solar"}) {
        EXPECT_EQ(RunAt(server, {"track", word}).notes, "kestrane-client: the device does not track\n") << word;
    }
    telescope.choosesTracking = true;
    EXPECT_EQ(RunAt(server, {"track", "on"}).out, "tracking\n");
    telescope.choosesTracking = false;
    EXPECT_EQ(RunAt(server, {"track", "off"}).notes, "kestrane-client: the device still tracks\n");
}

}  // namespace
}  // namespace kestrane::client
