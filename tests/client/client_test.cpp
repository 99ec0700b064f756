#include "client/client.h"

#include <algorithm>
#include <boost/asio/ip/udp.hpp>
#include <boost/json.hpp>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>

#include "client/alpaca_device.h"
#include "client/discovery.h"
#include "client/fake_telescope.h"
#include "support/temporary_folder.h"

namespace kestrane::client {
namespace {

/// The transaction number at the end of a text; the text is left without it. Each run begins at another one.
std::uint32_t TakeTransaction(std::string& text) {
    constexpr std::string_view kName = "ClientTransactionID=";
    const std::size_t digits = text.find(kName) + kName.size();
    const std::uint32_t number = static_cast<std::uint32_t>(std::stoul(text.substr(digits)));
    text.resize(digits);
    return number;
}

TEST(Client, EachRun_CountsItsRequestsFromANumberOfItsOwn) {
    std::vector<std::uint32_t> numbers;
    for (int run = 0; run < 2; ++run) {
        FakeTelescope telescope;
        FakeAlpacaServer server(std::ref(telescope));
        RunAt(server, {"get", "SiteLatitude"});
        std::string target = server.Requests().at(0).target;
        numbers.push_back(TakeTransaction(target));
        EXPECT_NE(numbers.back(), 0U) << "0 is no number";
    }
    EXPECT_NE(numbers[0], numbers[1]) << "a driver would take the second for a repeat of the first";
}

TEST_F(ClientTest, Get_ShowsTheValueOfAMemberNamedInAnyCase) {
    const Outcome outcome = Run({"get", "SiteLatitude", "--client-id", "42"});
    EXPECT_EQ(outcome.code, ExitCode::Done);
    EXPECT_EQ(outcome.out, "47\n");
    std::string target = server.Requests().at(0).target;
    TakeTransaction(target);
    EXPECT_EQ(target, "/api/v1/telescope/0/sitelatitude?ClientID=42&ClientTransactionID=");
}

TEST_F(ClientTest, Put_SendsTheValuesAsAFormWithNamesAsWritten) {
    const Outcome outcome = Run({"put", "CommandString", "Command=a b&c", "Raw=True", "--client-id", "0"});
    EXPECT_EQ(outcome.code, ExitCode::Done);
    EXPECT_EQ(outcome.out, "reply\n");
    std::string body = server.Requests().at(0).body;
    TakeTransaction(body);
    EXPECT_EQ(body, "Command=a%20b%26c&Raw=True&ClientID=0&ClientTransactionID=");
}

TEST_F(ClientTest, ADevicesErrorIsExitOneWithItsWordsAndNumber) {
    const Outcome outcome = Run({"get", "aperture"});
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.notes, "kestrane-client: aperture is not implemented (0x400)\n");
}

TEST_F(ClientTest, InJsonAnErrorIsAnObjectToo) {
    const Outcome outcome = Run({"get", "aperture", "--json"});
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_EQ(outcome.out, "{\"ErrorNumber\":1024,\"ErrorMessage\":\"aperture is not implemented\"}\n");
    EXPECT_EQ(outcome.notes, "");
}

TEST_F(ClientTest, ARefusedRequestIsExitOneWithTheServersLine) {
    const Outcome outcome = Run({"get", "slewing", "--device", "3"});
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_NE(outcome.notes.find("status 400: no such device"), std::string::npos) << outcome.notes;
}

TEST(Client, WrongUsageIsExitTwo) {
    EXPECT_EQ(RunHere({"fly"}).code, ExitCode::Usage);
}

TEST(Client, NobodyListeningIsExitThree) {
    std::uint16_t freePort = 0;
    {
        FakeAlpacaServer server([](const Request&) { return Answer{}; });
        freePort = server.Port();
    }
    const Outcome outcome = RunHere({"status", "--port", std::to_string(freePort)});
    EXPECT_EQ(outcome.code, ExitCode::Unreachable);
    EXPECT_NE(outcome.notes.find("nobody listens at 127.0.0.1:"), std::string::npos) << outcome.notes;
}

TEST(Client, AServerThatNeverAnswersIsExitThree) {
    FakeAlpacaServer server([](const Request&) { return Answer{}; });
    const Outcome outcome = RunAt(server, {"get", "slewing", "--timeout", "0.05"});
    EXPECT_EQ(outcome.code, ExitCode::Unreachable);
    EXPECT_NE(outcome.notes.find("did not answer"), std::string::npos) << outcome.notes;
}

TEST(Client, AnAnswerCutShortIsExitThreeAndNotRepeated) {
    FakeAlpacaServer server([](const Request&) { return Answer{"HTTP/1.1 200 OK\r\nContent-Le", true}; });
    EXPECT_EQ(RunAt(server, {"get", "slewing"}).code, ExitCode::Unreachable);
    EXPECT_EQ(server.Requests().size(), 1U);
}

TEST(Client, AnAnswerThatIsNoJsonIsExitOne) {
    for (const char* body : {"hello", "", "[1,2]", "{", "7"}) {
        FakeAlpacaServer server([&](const Request&) { return Answer{FakeAlpacaServer::Http(body), false}; });
        const Outcome outcome = RunAt(server, {"get", "slewing"});
        EXPECT_EQ(outcome.code, ExitCode::DeviceError) << body;
        EXPECT_NE(outcome.notes.find("not one of an Alpaca device"), std::string::npos) << outcome.notes;
    }
}

TEST(Client, AValueOfAnotherKindIsExitOneWithoutACrash) {
    FakeAlpacaServer server([](const Request&) { return FakeAlpacaServer::Value("\"soon\""); });
    EXPECT_EQ(RunAt(server, {"slew", "5", "5", "--wait"}).code, ExitCode::DeviceError);
    EXPECT_EQ(RunAt(server, {"park"}).code, ExitCode::DeviceError);
}

TEST_F(ClientTest, Status_PassesOverWhatTheDeviceDoesNotGive) {
    const Outcome outcome = Run({"status"});
    EXPECT_EQ(outcome.code, ExitCode::Done);
    EXPECT_NE(outcome.out.find("declination         +90:00:00\n"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("interface version   -\n"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("driver              one; two\n"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("sidereal time       18:36:00.0\n"), std::string::npos) << outcome.out;
}

TEST_F(ClientTest, Status_InJsonHasNullForWhatIsNotGiven) {
    const auto object = boost::json::parse(Run({"status", "--json"}).out).as_object();
    EXPECT_EQ(object.at("Declination").to_number<double>(), 90.0);
    EXPECT_TRUE(object.at("InterfaceVersion").is_null());
}

TEST_F(ClientTest, Status_OfADeviceThatIsNotThereIsAnError) {
    const Outcome outcome = Run({"status", "--device", "9"});
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_NE(outcome.notes.find("there is no telescope 9"), std::string::npos) << outcome.notes;
}

TEST_F(ClientTest, SlewWithWait_ShowsTheWayAndEndsWithTheSlew) {
    const Outcome outcome = Run({"slew", "5:30", "10", "--wait"});
    EXPECT_EQ(outcome.code, ExitCode::Done) << outcome.notes;
    EXPECT_EQ(outcome.out, "arrived at RA 05:30:00.0  Dec +10:00:00\n");
    EXPECT_NE(outcome.notes.find("slewing to RA 05:30:00.0  Dec +10:00:00\n"), std::string::npos) << outcome.notes;
    EXPECT_NE(outcome.notes.find("0%  slewing, 80.0 degrees to go\n"), std::string::npos) << outcome.notes;
    EXPECT_NE(outcome.notes.find("100%  arrived\n"), std::string::npos) << outcome.notes;
}

TEST_F(ClientTest, SlewWithWait_ThatGoesRound_ShowsNoDistanceThatGrows) {
    telescope.looks = 40;  // ten seconds, a line every two
    telescope.wayDec = [](int left) { return left > 30 ? 50.0 : left > 10 ? 89.0 : 30.0; };
    const std::string notes = Run({"slew", "5:30", "10", "--wait"}).notes;
    const std::size_t first = notes.find("slewing, 40.0 degrees to go\n");
    const std::size_t round = notes.find("slewing, on the way round\n");
    const std::size_t last = notes.find("slewing, 20.0 degrees to go\n");
    EXPECT_LT(first, round) << notes;
    EXPECT_LT(round, last) << notes;
    EXPECT_NE(last, std::string::npos) << notes;
    EXPECT_EQ(notes.find("79.0"), std::string::npos) << notes;
}

TEST_F(ClientTest, SlewWithWait_UsesOneConnection) {
    Run({"slew", "5:30", "10", "--wait"});
    EXPECT_EQ(server.Requests().back().connection, 1);
}

TEST_F(ClientTest, SlewWithWait_ConnectsAndLetsGoWhereNobodyIsConnected) {
    telescope.isConnected = false;
    EXPECT_EQ(Run({"slew", "5:30", "10", "--wait"}).code, ExitCode::Done);
    const auto requests = server.Requests();
    EXPECT_EQ(requests.at(1).body.substr(0, 14), "Connected=True");
    EXPECT_EQ(requests.back().body.substr(0, 15), "Connected=False");
}

TEST_F(ClientTest, SlewWithWait_ThatEndsElsewhereIsAnError) {
    telescope.reachesDec = 40.0;
    const Outcome outcome = Run({"slew", "5:30", "10", "--wait"});
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_NE(outcome.notes.find("the slew ended 30.0 degrees from its target"), std::string::npos) << outcome.notes;
    EXPECT_EQ(outcome.notes.find("100%"), std::string::npos) << outcome.notes;
}

TEST_F(ClientTest, SlewWithWait_ThatIsInterruptedStopsTheTelescope) {
    telescope.isConnected = false;
    const Outcome outcome = Run({"slew", "5:30", "10", "--wait"}, 0.5);
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_NE(outcome.notes.find("the slew was stopped"), std::string::npos) << outcome.notes;
    const auto calls = Calls(server);
    EXPECT_EQ(calls.at(calls.size() - 2), "PUT abortslew");
    EXPECT_EQ(calls.back(), "PUT connected");
}

TEST_F(ClientTest, SlewWithoutWait_StaysConnected) {
    telescope.isConnected = false;
    const Outcome outcome = Run({"slew", "5:30", "10"});
    EXPECT_EQ(outcome.code, ExitCode::Done);
    EXPECT_EQ(outcome.out, "slew started; the client stays connected\n");
    const std::vector<std::string> calls = Calls(server);
    ASSERT_GE(calls.size(), 2U);
    EXPECT_EQ(calls[calls.size() - 2], "PUT slewtocoordinatesasync");
    EXPECT_EQ(calls.back(), "GET slewing");  // one look whether it began
}

TEST_F(ClientTest, SlewWithoutWait_ThatDoesNotBeginIsAnError) {
    telescope.slews = false;
    const Outcome outcome = Run({"slew", "5:30", "10"});
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.notes.find("the device did not slew"), std::string::npos) << outcome.notes;
}

TEST_F(ClientTest, SlewWithoutWait_ThatHasArrivedAtOnceIsNone) {
    telescope.slews = false;
    EXPECT_EQ(Run({"slew", "5:30", "90"}).out, "slew started\n");  // where it stands
}

TEST_F(ClientTest, Slew_ThatTheDeviceRefusesTellsWhy) {
    telescope.slewAnswer = FakeAlpacaServer::Error(0x412, "below the horizon");
    const Outcome outcome = Run({"slew", "5:30", "10", "--wait"});
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    EXPECT_NE(outcome.notes.find("below the horizon (0x412)"), std::string::npos) << outcome.notes;
}

TEST_F(ClientTest, Slew_ChecksItsWordsBeforeItAsksAnything) {
    EXPECT_EQ(Run({"slew", "25", "10"}).code, ExitCode::Usage);
    EXPECT_EQ(Run({"slew", "5", "100"}).code, ExitCode::Usage);
    EXPECT_EQ(Run({"slew", "Nowhere"}).code, ExitCode::Usage);
    EXPECT_TRUE(server.Requests().empty());
}

TEST_F(ClientTest, SlewToAStar_SendsItsPlace) {
    EXPECT_EQ(Run({"slew", "vega"}).code, ExitCode::Done);
    EXPECT_EQ(PutTo("slewtocoordinatesasync").value_or("").substr(0, 49),
              "RightAscension=18.61565&Declination=38.7837&Clien");
}

TEST_F(ClientTest, SlewToABrightStar_ChoosesOneThatIsUp) {
    const Outcome outcome = Run({"slew", "--bright-star", "--json"});
    EXPECT_EQ(outcome.code, ExitCode::Done);
    EXPECT_EQ(boost::json::parse(outcome.out).at("Name").as_string(), "Arcturus");
    EXPECT_EQ(outcome.notes, "");
}

TEST_F(ClientTest, Stars_TakeALatitudeGivenByHand) {
    const Outcome outcome = Run({"stars", "--latitude", "-47"});
    EXPECT_EQ(outcome.code, ExitCode::Done);
    EXPECT_NE(outcome.out.find("Antares"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("Peacock"), std::string::npos) << outcome.out;
    EXPECT_EQ(outcome.out.find("Capella"), std::string::npos) << outcome.out;
}

TEST_F(ClientTest, Abort_StopsAtOnce) {
    EXPECT_EQ(Run({"abort"}).out, "stopped\n");
    EXPECT_EQ(Calls(server).back(), "PUT abortslew");
}

TEST_F(ClientTest, Command_SendsTheTextRaw) {
    EXPECT_EQ(Run({"command", "RAW,Version"}).out, "reply\n");
    EXPECT_EQ(server.Requests().back().body.substr(0, 30), "Command=RAW%2CVersion&Raw=True");
}

TEST_F(ClientTest, Command_ToTheDriverNeedsNoConnection) {
    telescope.isConnected = false;
    telescope.hasMount = false;
    EXPECT_EQ(Run({"command", "RAW,Version"}).out, "reply\n");
    EXPECT_EQ(Calls(server), std::vector<std::string>{"PUT commandstring"});
    EXPECT_EQ(Run({"command", ":GR#"}).code, ExitCode::DeviceError);
}

TEST_F(ClientTest, CommandsToTheDriverOfAFocuser_GoToTheTelescope) {
    telescope.isConnected = false;  // and the server has no focuser
    telescope.driverReply = "1,5.50.03";
    EXPECT_EQ(Run({"command", "RAW,Version", "--type", "focuser"}).out, "1,5.50.03\n");
    EXPECT_EQ(Run({"log", "off", "--type", "focuser"}).out, "the log is off\n");
    EXPECT_EQ(Run({"command", ":FQ#", "--type", "focuser"}).code, ExitCode::DeviceError);
}

TEST_F(ClientTest, AConnectThatFindsNoMount_SaysWhyWhereTheDriverKnows) {
    telescope.isConnected = false;
    telescope.hasMount = false;
    telescope.driverReply = "1,COM1 (/dev/ttyUSB0): it is in use by another program";
    EXPECT_EQ(Run({"connect"}).notes,
              "kestrane-client: No mount. COM1 (/dev/ttyUSB0): it is in use by another program (0x402)\n");
    telescope.driverReply = "what?";
    EXPECT_EQ(Run({"connect"}).notes, "kestrane-client: No mount. (0x402)\n");
    telescope.answersTexts = false;
    EXPECT_EQ(Run({"connect"}).notes, "kestrane-client: No mount. (0x402)\n");
}

TEST(Client, AConnectOfAFocuserThatFindsNoMount_AsksTheTelescopeWhy) {
    FakeTelescope telescope;
    telescope.isConnected = false;
    telescope.driverReply = "1,COM1: no device has this number";
    FakeAlpacaServer server([&](const Request& request) {
        const bool isFocuser = request.target.starts_with("/api/v1/focuser/0/");
        return isFocuser ? FakeAlpacaServer::Error(0x402, "No mount.") : telescope(request);
    });
    EXPECT_EQ(RunAt(server, {"connect", "--type", "focuser"}).notes,
              "kestrane-client: No mount. COM1: no device has this number (0x402)\n");
}

TEST_F(ClientTest, Log_IsTurnedOnAndOffAndShown) {
    telescope.isConnected = false;
    const TemporaryFolders folders;
    const std::filesystem::path file = folders.Root() / "KS.log";
    std::ofstream(file) << "one\ntwo \x1b[2J\n";
    telescope.driverReply = "1," + file.string();
    EXPECT_EQ(Run({"log", "on"}).out, "the log is on: " + file.string() + "\n");
    EXPECT_EQ(server.Requests().at(0).body.substr(0, 32), "Command=RAW%2CSetEnableDebugLog%");
    EXPECT_EQ(Run({"log", "off"}).out, "the log is off\n");
    EXPECT_EQ(Run({"log", "show"}).out, "one\ntwo \\x1b[2J\n");
    telescope.driverReply = "1,";
    EXPECT_NE(Run({"log", "show"}).notes.find("there is no log yet"), std::string::npos);
    EXPECT_EQ(Run({"log", "on"}).out, "the log is on, but the driver could open no file for it\n");
    EXPECT_EQ(Run({"log", "loud"}).code, ExitCode::Usage);
    EXPECT_EQ(Run({"log"}).code, ExitCode::Usage);
}

TEST_F(ClientTest, Status_OfAMissingDeviceIsAnErrorInJsonToo_AndNoFailureHasTheNumberZero) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"status", "--device", "9", "--json"},
                                                  {"fly", "--json"},
                                                  {"get", "x", "--device", "9", "--json"}}) {
        const Outcome outcome = Run(words);
        EXPECT_NE(outcome.code, ExitCode::Done);
        EXPECT_EQ(boost::json::parse(outcome.out).at("ErrorNumber"), 0x4FF) << outcome.out;
    }
}

TEST_F(ClientTest, Slew_BelowTheHorizonIsToldFirst_AndOneThatDidNotBeginAfterIt) {
    telescope.reachesDec = 90.0;
    const Outcome outcome = Run({"slew", "6:36", "-60", "--wait"});
    EXPECT_EQ(outcome.code, ExitCode::DeviceError);
    const std::size_t below = outcome.notes.find("the target is 77.0 degrees below the horizon\n");
    EXPECT_LT(below, outcome.notes.find("slewing to")) << outcome.notes;
    EXPECT_NE(outcome.notes.find("the device did not slew"), std::string::npos) << outcome.notes;
    EXPECT_EQ(Run({"slew", "18:36", "40"}).notes.find("below the horizon"), std::string::npos);
    const std::string error = Run({"slew", "6:36", "-60", "--wait", "--json"}).out;
    EXPECT_NE(error.find("; the target is 77.0 degrees below the horizon\"}"), std::string::npos) << error;
    telescope.reachesDec = -60.0;
    const std::string good = Run({"slew", "5:30", "-60", "--json"}).out;
    EXPECT_NE(good.find("\"Note\":\"the target is "), std::string::npos) << good;
}

TEST(Client, ControlCharactersOfAServerAreShown) {
    FakeAlpacaServer server([](const Request&) { return FakeAlpacaServer::Error(0x500, R"(\u001b[2Jgone)"); });
    EXPECT_EQ(RunAt(server, {"get", "name"}).notes, "kestrane-client: \\x1b[2Jgone (0x500)\n");
    FakeAlpacaServer good([](const Request&) { return FakeAlpacaServer::Value(R"("\u001b[2Ja\nb")"); });
    EXPECT_EQ(RunAt(good, {"get", "name"}).out, "\\x1b[2Ja\\x0ab\n");
    EXPECT_NE(RunAt(good, {"status"}).out.find("name                \\x1b[2Ja; b\n"), std::string::npos);
}

TEST(AlpacaDevice, AKeptConnectionThatWasClosedIsOpenedAnewOnce) {
    FakeAlpacaServer server([](const Request& request) {
        Answer answer = FakeAlpacaServer::Value(std::to_string(request.connection));
        answer.closesAfter = request.connection == 1;
        return answer;
    });
    AlpacaDevice device({"127.0.0.1", server.Port(), "telescope", 0, 1}, {});
    EXPECT_EQ(device.Get("slewing"), 1);
    EXPECT_EQ(device.Get("slewing"), 2);
    EXPECT_EQ(device.Get("slewing"), 2);
    EXPECT_EQ(server.Requests().size(), 3U);
}

TEST(AlpacaDevice, AServerThatClosesEveryConnectionWithoutAByteIsNotAskedForEver) {
    FakeAlpacaServer server([](const Request&) { return Answer{"", true}; });
    AlpacaDevice device({"127.0.0.1", server.Port(), "telescope", 0, 1}, {});
    EXPECT_THROW(device.Get("slewing"), Unreachable);
    EXPECT_EQ(server.Requests().size(), 1U);
}

TEST(AlpacaDevice, ParseReply_ToleratesMissingFields) {
    EXPECT_TRUE(ParseReply({200, "{}"}).value.is_null());
    EXPECT_EQ(ParseReply({200, "{}"}).errorNumber, 0);
    EXPECT_EQ(ParseReply({200, R"({"Value":[1],"ErrorNumber":1025,"ErrorMessage":"no"})"}).errorMessage, "no");
}

TEST(Discovery, ParseDiscoveryReply_TakesOnlyAPort) {
    EXPECT_EQ(ParseDiscoveryReply(R"({"AlpacaPort":11111})"), 11111);
    EXPECT_EQ(ParseDiscoveryReply(R"({ "AlpacaPort" : 1, "More": "x" })"), 1);
    for (const char* text : {"", "{}", "[]", "alpacadiscovery1", R"({"AlpacaPort":0})", R"({"AlpacaPort":65536})",
                             R"({"AlpacaPort":"11111"})", R"({"AlpacaPort":-5})"}) {
        EXPECT_FALSE(ParseDiscoveryReply(text)) << text;
    }
}

TEST(Discovery, Discover_ListsEachAnsweringServerOnceWithItsDevices) {
    using boost::asio::ip::udp;
    FakeAlpacaServer server([](const Request&) {
        return FakeAlpacaServer::Value(R"([{"DeviceName":"Big one","DeviceType":"Telescope","DeviceNumber":0}])");
    });
    boost::asio::io_context context;
    udp::socket socket(context, udp::endpoint(boost::asio::ip::address_v4::loopback(), 0));
    const std::string reply = R"({"AlpacaPort":)" + std::to_string(server.Port()) + "}";
    std::thread answering([&] {
        std::array<char, 64> question{};
        udp::endpoint asker;
        const std::size_t length = socket.receive_from(boost::asio::buffer(question), asker);
        EXPECT_EQ(std::string(question.data(), length), "alpacadiscovery1");
        socket.send_to(boost::asio::buffer(std::string("rubbish")), asker);
        socket.send_to(boost::asio::buffer(reply), asker);
        socket.send_to(boost::asio::buffer(reply), asker);
    });
    const Outcome outcome = RunHere({"discover", "--host", "127.0.0.1", "--timeout", "0.5", "--discovery-port",
                                     std::to_string(socket.local_endpoint().port())});
    answering.join();
    EXPECT_EQ(outcome.code, ExitCode::Done) << outcome.notes;
    EXPECT_EQ(outcome.out, "127.0.0.1:" + std::to_string(server.Port()) + "\n  Telescope 0  Big one\n");
}

}  // namespace
}  // namespace kestrane::client
