#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "client/alpaca_device.h"
#include "client/fake_telescope.h"

/// What the commands that move and set up a device have in common.
namespace kestrane::client {
namespace {

using Words = std::vector<std::string>;

struct Row {
    Words words;
    std::string plain;
    std::string json;
    std::vector<std::string> puts;
    std::string progress;  ///< while the answer to the last PUT is awaited
};

const std::vector<Row> kRows{
    {{"park"}, "parked", R"({"AtPark":true})", {"park"}, "parking for 0 s"},
    {{"unpark"}, "unparked", R"({"Value":null})", {"unpark"}, "unparking for 0 s"},
    {{"setpark"},
     "this is the place to park now",
     R"({"Value":null})",
     {"setpark"},
     "setting the place to park for 0 s"},
    {{"sync", "5.5", "-16.5"},
     "synced; the device reports RA 00:00:00.0  Dec +90:00:00",
     R"({"Name":"","RightAscension":0,"Declination":90})",
     {"synctocoordinates RightAscension=5.5&Declination=-16.5"},
     "syncing for 0 s"},
    {{"guide", "east", "500"},
     "the pulse has ended",
     R"({"Direction":"east","Duration":500})",
     {"pulseguide Direction=2&Duration=500"},
     "0%  guiding"},
    {{"track", "lunar"},
     "tracking, lunar",
     R"({"Tracking":true})",
     {"trackingrate TrackingRate=1", "tracking Tracking=True"},
     "changing the tracking for 0 s"},
    {{"focus", "-120"}, "the focuser stands", R"({"Steps":-120})", {"move Position=-120"}, "moving for 0 s"},
    {{"init", "PEM=1"},
     "initialized; what the mount refused is in the log",
     R"({"InitString":"PEM=1"})",
     {"commandstring Command=RAW%2CInitMount%2CPEM%3D1&Raw=True"},
     "initializing for 0 s"},
};

TEST(ClientVerbs, WithWait_SendTheirPuts_AndReportTheirEnd_ConnectedOrNot_InWordsAndInJson) {
    for (const Row& row : kRows) {
        for (const bool isConnected : {true, false}) {
            for (const bool isJson : {false, true}) {
                SCOPED_TRACE(row.words[0] + (isConnected ? ", connected" : "") + (isJson ? ", in JSON" : ""));
                FakeTelescope telescope;
                telescope.isFocuser = row.words[0] == "focus";
                telescope.isConnected = isConnected;
                telescope.driverReply = "1";
                FakeAlpacaServer server(std::ref(telescope));
                Words words = row.words;
                words.push_back("--wait");
                if (isJson) {
                    words.push_back("--json");
                }
                const Outcome outcome = RunAt(server, words);
                EXPECT_EQ(outcome.code, ExitCode::Done) << outcome.notes;
                EXPECT_EQ(outcome.out, (isJson ? row.json : row.plain) + "\n");
                if (isJson) {
                    EXPECT_EQ(outcome.notes, "");
                }
                std::vector<std::string> puts = row.puts;
                if (!isConnected) {
                    puts.insert(puts.begin(), "connected Connected=True");
                    puts.push_back("connected Connected=False");
                }
                EXPECT_EQ(Puts(server), puts);
            }
        }
    }
}

TEST(ClientVerbs, WhileTheirAnswerIsAwaited_ShowTheirProgress) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.words[0]);
        FakeTelescope telescope;
        telescope.isFocuser = row.words[0] == "focus";
        telescope.driverReply = "1";
        telescope.looks = 0;  // nothing is shown after the answer
        const std::string held = row.puts.back().substr(0, row.puts.back().find(' '));
        Gate shown;
        std::atomic<bool> isShownInTime = false;
        FakeAlpacaServer server([&](const Request& request) {
            if (MemberOf(request) == held && request.verb == "PUT") {
                isShownInTime = shown.Pass();
            }
            return telescope(request);
        });
        const Outcome outcome = RunAt(server, row.words, 1e9, [&] { shown.Open(); });
        EXPECT_EQ(outcome.code, ExitCode::Done) << outcome.notes;
        EXPECT_TRUE(isShownInTime);
        EXPECT_EQ(outcome.notes, row.progress + "\n");
    }
}

struct Motion {
    Words words;
    std::string held;
    std::string stop;
    std::string told;
};

const std::vector<Motion> kMotions{
    {{"park"}, "park", "abortslew", "the park was stopped"},
    {{"guide", "west", "60000", "--wait"}, "pulseguide", "abortslew", "the pulse was stopped"},
    {{"guide", "west", "60000"}, "pulseguide", "abortslew", "the pulse was stopped"},
    {{"slew", "5:30", "10"}, "slewtocoordinatesasync", "abortslew", "the slew was stopped"},
    {{"focus", "9"}, "move", "halt", "the focuser was stopped"},
};

/// Runs a motion with a Ctrl-C whose answer is held back until the stop has come; how often that came. The device
/// begins it before the stop, or `overtaken`, after it.
std::ptrdiff_t StopsOfInterrupted(const Motion& row, bool overtaken) {
    FakeTelescope telescope;
    telescope.isFocuser = row.words[0] == "focus";
    telescope.isConnected = false;
    telescope.parks = false;
    Gate stopped;
    std::atomic<bool> isStoppedInTime = false;
    FakeAlpacaServer server([&](const Request& request) {
        const std::string member = MemberOf(request);
        if (member != row.held) {
            Answer answer = telescope(request);
            if (member == row.stop) {
                stopped.Open();
            }
            return answer;
        }
        if (overtaken) {
            isStoppedInTime = stopped.Pass();
            return telescope(request);
        }
        Answer answer = telescope(request);
        isStoppedInTime = stopped.Pass();
        return answer;
    });
    const Outcome outcome = RunAt(server, row.words, 0.0);
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_TRUE(outcome.notes.ends_with("kestrane-client: interrupted; " + row.told + "\n")) << outcome.notes;
    EXPECT_EQ(outcome.out, "");
    EXPECT_TRUE(isStoppedInTime);
    EXPECT_LE(telescope.looksLeft, 0) << "it moves on";
    EXPECT_EQ(Puts(server).back(), "connected Connected=False");
    return std::ranges::count(Calls(server), "PUT " + row.stop);
}

TEST(ClientVerbs, ThatAreInterruptedWhileTheirAnswerIsAwaited_StopTheDeviceOnce_OverAnotherConnection) {
    for (const Motion& row : kMotions) {
        SCOPED_TRACE(row.words[0] + " " + row.words.back());
        EXPECT_EQ(StopsOfInterrupted(row, false), 1);
    }
}

TEST(ClientVerbs, ThatTheStopHasOvertaken_AreStoppedOnceMore) {
    for (const Motion& row : kMotions) {
        SCOPED_TRACE(row.words[0] + " " + row.words.back());
        EXPECT_EQ(StopsOfInterrupted(row, true), 2);
    }
}

TEST(ClientVerbs, WhoseAnswerStaysAwayAfterTheStop_AreStoppedAgain) {
    FakeTelescope telescope;
    Gate stoppedAgain;
    std::atomic<int> stops = 0;
    std::atomic<bool> isStoppedInTime = false;
    FakeAlpacaServer server([&](const Request& request) {
        const std::string member = MemberOf(request);
        if (member == "abortslew" && ++stops == 2) {
            stoppedAgain.Open();
        }
        if (member == "pulseguide") {
            isStoppedInTime = stoppedAgain.Pass();
        }
        return telescope(request);
    });
    std::ostringstream out;
    double now = 0.0;
    RunClient(Words{"guide", "west", "60000", "--port", std::to_string(server.Port())},
              {out, out, false, [&] { return now += 1.0; }, [](double) {}, [] {}, [] { return true; }});
    EXPECT_TRUE(isStoppedInTime);
    EXPECT_TRUE(out.str().ends_with("interrupted; the pulse was stopped\n")) << out.str();
}

TEST(ClientVerbs, Slew_WhileAReadIsAwaited_KeepsTheWordsOfItsWay) {
    FakeTelescope telescope;
    Gate waited;
    std::atomic<bool> isHeld = false;
    std::atomic<int> reads = 0;
    FakeAlpacaServer server([&](const Request& request) {
        if (MemberOf(request) == "declination" && ++reads == 3) {  // the first ones are before the slew and on its way
            isHeld = true;
            EXPECT_TRUE(waited.Pass());
        }
        return telescope(request);
    });
    std::ostringstream out;
    double now = 0.0;
    const auto interrupted = [&] {
        if (isHeld) {
            waited.Open();
        }
        return false;
    };
    RunClient(Words{"slew", "5:30", "10", "--wait", "--port", std::to_string(server.Port())},
              {out, out, false, [&] { return now += 5.0; }, [](double) {}, [] {}, interrupted});
    EXPECT_TRUE(isHeld);
    EXPECT_NE(out.str().find("degrees to go"), std::string::npos) << out.str();
    EXPECT_EQ(out.str().find("slewing for"), std::string::npos) << out.str();
}

/// A device that answers slowly whether it moves: the stop goes out meanwhile, and it stands when it answers.
TEST(ClientVerbs, WhoseStopGoesOutWhileAReadIsAwaited_DoNotEndAsDone) {
    struct Held {
        Words words;
        std::string read;
        std::string stop;
        std::string told;
        int looks = 4;
    };
    for (const Held& row :
         {Held{{"focus", "9", "--wait"}, "ismoving", "halt", "the focuser was stopped"},
          {{"guide", "west", "60000", "--wait"}, "ispulseguiding", "abortslew", "the pulse was stopped"},
          {{"slew", "5:30", "10", "--wait"}, "slewing", "abortslew", "the slew was stopped"},
          {{"slew", "5:30", "10"}, "slewing", "abortslew", "the slew was stopped"},
          {{"slew", "5:30", "10"}, "declination", "abortslew", "the slew was stopped", 0}}) {
        SCOPED_TRACE(row.words[0] + " " + row.words.back() + ", " + row.read);
        FakeTelescope telescope;
        telescope.isFocuser = row.words[0] == "focus";
        telescope.looks = row.looks;
        Gate stopped;
        std::atomic<bool> hasBegun = false;
        std::atomic<bool> isPressed = false;
        std::atomic<bool> isStoppedInTime = false;
        FakeAlpacaServer server([&](const Request& request) {
            const std::string member = MemberOf(request);
            hasBegun = hasBegun || request.verb == "PUT";
            if (member == row.read && hasBegun && !isPressed.exchange(true)) {
                isStoppedInTime = stopped.Pass();
            }
            Answer answer = telescope(request);
            if (member == row.stop) {
                stopped.Open();
            }
            return answer;
        });
        Words words = row.words;
        words.insert(words.end(), {"--port", std::to_string(server.Port())});
        std::ostringstream out;
        std::ostringstream notes;
        const ExitCode code = RunClient(
            words, {out, notes, false, [] { return 0.0; }, [](double) {}, [] {}, [&] { return isPressed.load(); }});
        EXPECT_TRUE(isStoppedInTime);
        EXPECT_EQ(code, ExitCode::DeviceError);
        EXPECT_EQ(out.str(), "");
        EXPECT_TRUE(notes.str().ends_with("kestrane-client: interrupted; " + row.told + "\n")) << notes.str();
        EXPECT_EQ(std::ranges::count(Calls(server), "PUT " + row.stop), 1);
    }
}

TEST(ClientVerbs, WhoseStopTheDeviceRefuses_SaySo) {
    FakeTelescope telescope;
    telescope.looks = 1'000;
    telescope.parks = false;
    telescope.refused = "abortslew";
    FakeAlpacaServer server(std::ref(telescope));
    EXPECT_TRUE(RunAt(server, {"park"}, 1.0)
                    .notes.ends_with("interrupted, but the device was not stopped: Invalid operation\n"));
}

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
    for (const Words& words : {Words{"unpark"}, Words{"unpark", "--wait"}}) {
        FakeTelescope telescope;
        telescope.unparks = false;
        FakeAlpacaServer server(std::ref(telescope));
        const Outcome outcome = RunAt(server, words);
        EXPECT_EQ(outcome.code, ExitCode::DeviceError);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(outcome.notes.ends_with("kestrane-client: the device is still parked\n")) << outcome.notes;
    }
}

TEST(ClientVerbs, Unpark_OfADeviceThatMovesFirst_HasStarted) {
    FakeTelescope telescope;
    telescope.isConnected = false;
    telescope.looksParked = 3;
    telescope.looksLeft = 2;
    FakeAlpacaServer server(std::ref(telescope));
    const Outcome outcome = RunAt(server, {"unpark"});
    EXPECT_EQ(outcome.code, ExitCode::Done) << outcome.notes;
    EXPECT_EQ(outcome.out, "unpark started; the client stays connected\n");
    EXPECT_EQ(Puts(server).back(), "unpark");
}

TEST(ClientVerbs, Unpark_WithWait_GoesOnUntilTheDeviceIsUnparked) {
    FakeTelescope telescope;
    telescope.looksParked = 3;
    FakeAlpacaServer server(std::ref(telescope));
    EXPECT_EQ(RunAt(server, {"unpark", "--wait"}).out, "unparked\n");
    EXPECT_EQ(std::ranges::count(Calls(server), "GET atpark"), 4);
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

TEST(AlpacaDevice, LimitOfPut_IsThatOfTheLongestWayToAnAnswer) {
    const AlpacaDevice::Limits limits;
    const auto of = [&](std::string_view member, const Values& values = {}) {
        return AlpacaDevice::LimitOfPut(limits, member, values);
    };
    EXPECT_EQ(of("tracking"), 10.0);
    EXPECT_EQ(of("unpark"), 120.0);
    EXPECT_EQ(of("slewtocoordinates"), 120.0);
    EXPECT_EQ(of("park"), 600.0);
    EXPECT_EQ(of("pulseguide", {{"Direction", "0"}, {"Duration", "45500"}}), 55.5);
    EXPECT_EQ(of("pulseguide", {{"Duration", "-1"}}), 10.0);
    EXPECT_EQ(of("pulseguide", {{"Duration", "long"}}), 10.0);
}

}  // namespace
}  // namespace kestrane::client
