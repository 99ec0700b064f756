#include <boost/json.hpp>
#include <cmath>
#include <csignal>
#include <filesystem>

#include "process/process_fixture.h"

namespace kestrane::process {
namespace {

constexpr int kDone = 0;
constexpr int kDeviceError = 1;
constexpr int kUsage = 2;
constexpr int kUnreachable = 3;

class ClientProgramTest : public ProcessFixture {
protected:
    struct Run {
        int code = -1;
        std::string output;
        std::string errors;
    };

    Run RunClient(const std::vector<std::string>& words) const {
        const auto program = StartClient(words);
        return EndOf(*program, Seconds(60));
    }
    std::unique_ptr<Program> StartClient(std::vector<std::string> words) const {
        words.insert(words.end(), {"--port", std::to_string(port)});
        return std::make_unique<Program>("kestrane-client", words);
    }
    static Run EndOf(Program& program, Seconds limit) {
        const std::optional<Ending> ending = program.WaitForEnd(limit);
        EXPECT_TRUE(ending);
        EXPECT_FALSE(ending && ending->bySignal);
        return {ending ? ending->code : -1, program.Output(), program.Errors()};
    }
    /// Presses Ctrl-C at a client once the mount has got a command; the client ends long before its motion would.
    Run InterruptAt(std::string_view command, const std::vector<std::string>& words) const {
        const auto program = StartClient(words);
        const std::string line = " > " + std::string(command);
        EXPECT_TRUE(WaitUntil(kPatience, [&] { return mount->Errors().find(line) != std::string::npos; })) << command;
        program->Signal(SIGINT);
        return EndOf(*program, kPatience);
    }
    static boost::json::object Object(const Run& run) {
        boost::system::error_code error;
        const boost::json::value value = boost::json::parse(run.output, error);
        EXPECT_TRUE(value.is_object()) << run.output << run.errors;
        return value.is_object() ? value.as_object() : boost::json::object();
    }
};

TEST_F(ClientProgramTest, Status_AsJson_IsOneObjectWithAllValues) {
    StartSystem();
    ASSERT_EQ(RunClient({"connect"}).code, kDone);
    const Run run = RunClient({"--json", "status"});
    EXPECT_EQ(run.code, kDone) << run.errors;
    EXPECT_EQ(run.errors, "");
    const boost::json::object status = Object(run);
    EXPECT_EQ(status.at("Connected"), true);
    EXPECT_EQ(status.at("InterfaceVersion"), 2);
    EXPECT_EQ(status.at("Slewing"), false);
    EXPECT_TRUE(status.at("Name").is_string());
    EXPECT_TRUE(status.at("RightAscension").is_number());
    EXPECT_NEAR(status.at("SiteLatitude").to_number<double>(), 47.0, 0.01);
}

TEST_F(ClientProgramTest, Status_NotConnected_StillIsAnswered) {
    StartActivator();
    const Run run = RunClient({"--json", "status"});
    EXPECT_EQ(run.code, kDone) << run.errors;
    const boost::json::object status = Object(run);
    EXPECT_EQ(status.at("Connected"), false);
    EXPECT_TRUE(status.at("RightAscension").is_null());
}

TEST_F(ClientProgramTest, Get_Name_IsTheNameInOneLine) {
    StartActivator();
    const boost::json::value name = Good(Client(1).Get("name")).value;
    const Run run = RunClient({"get", "name"});
    EXPECT_EQ(run.code, kDone) << run.errors;
    EXPECT_EQ(run.output, std::string(name.as_string()) + "\n");
}

TEST_F(ClientProgramTest, Slew_WithWait_EndsWhenTheMountIsThere) {
    StartMount({"--slew-speed", "20"});
    StartActivator();
    HttpClient client = Client(1);
    Connect(client);
    const double ra = Good(client.Get("rightascension")).value.to_number<double>();
    const double dec = Good(client.Get("declination")).value.to_number<double>();
    const double target = dec > 45 ? dec - 10 : dec + 10;
    const Run run = RunClient({"--json", "slew", std::to_string(ra), std::to_string(target), "--wait"});
    EXPECT_EQ(run.code, kDone) << run.output << run.errors;
    EXPECT_NEAR(Object(run).at("Declination").to_number<double>(), target, 0.001);
    EXPECT_EQ(Good(client.Get("slewing")).value, false);
    EXPECT_NEAR(Good(client.Get("declination")).value.to_number<double>(), target, 0.05);
}

TEST_F(ClientProgramTest, EveryVerb_DoesWithTheMountWhatItSays) {
    Seed({{"chkAutoCalibrateOnFirstSlew", "0"}, {"cbxParkTo", "6"}});
    StartMount({"--slew-speed", "80", "--acceleration", "160", "--verbose"});
    StartActivator();
    struct Verb {
        std::vector<std::string> words;
        std::string command;  ///< one that the mount gets by it
        std::string output;
    };
    const std::vector<Verb> verbs{
        {{"init", "PEM=0"}, ":p#", R"({"InitString":"PEM=0"})"},
        {{"track", "lunar"}, ":RT0#", R"({"Tracking":true})"},
        {{"guide", "east", "300"}, ":Me300#", R"({"Direction":"east","Duration":300})"},
        {{"focus", "50"}, ":F+#", R"({"Steps":50})"},
        {{"sync", "3.5", "45"}, ":CMR#", R"({"Name":"","RightAscension":3.5,"Declination":45})"},
        {{"setpark"}, ":GZ#", R"({"Value":null})"},
        {{"park"}, ":KA#", R"({"AtPark":true})"},
        {{"unpark"}, ":RT2#", R"({"Value":null})"},
    };
    for (const Verb& verb : verbs) {
        SCOPED_TRACE(verb.words[0]);
        const std::size_t before = mount->Errors().size();
        std::vector<std::string> words = verb.words;
        words.insert(words.end(), {"--wait", "--json"});
        const Run run = RunClient(words);
        EXPECT_EQ(run.code, kDone) << run.errors;
        EXPECT_EQ(run.output, verb.output + "\n");
        EXPECT_EQ(run.errors, "");
        // A command without a reply is on its way when its verb has ended.
        EXPECT_TRUE(WaitUntil(kPatience, [&] {
            return mount->Errors().find(verb.command, before) != std::string::npos;
        })) << mount->Errors().substr(before);
    }
}

TEST_F(ClientProgramTest, CtrlC_StopsAPulseAndAPark_ThatAreNotAnsweredYet) {
    Seed({{"chkAutoCalibrateOnFirstSlew", "0"},
          {"chkSynchronousPulseGuide", "1"},
          {"chkSlewEast", "1"},
          {"txtSlewEastFirstHours", "5"},
          {"cbxParkTo", "2"}});
    StartMount({"--hour-angle", "-8", "--declination", "70", "--side", "east", "--verbose"});
    StartActivator();
    const Run pulse = InterruptAt(":Mn60000#", {"guide", "north", "60000"});
    EXPECT_EQ(pulse.code, kDeviceError);
    EXPECT_TRUE(pulse.errors.ends_with("kestrane-client: interrupted; the pulse was stopped\n")) << pulse.errors;
    const Run park = InterruptAt(":Me#", {"park"});
    EXPECT_EQ(park.code, kDeviceError);
    EXPECT_TRUE(park.errors.ends_with("kestrane-client: interrupted; the park was stopped\n")) << park.errors;
    const std::string wire = mount->Errors();
    EXPECT_NE(wire.find(" > :Q#", wire.find(" > :Me#")), std::string::npos) << wire;
    EXPECT_EQ(wire.find(" > :MS#"), std::string::npos) << wire;
    EXPECT_EQ(wire.find(" > :KA#"), std::string::npos) << wire;
}

TEST_F(ClientProgramTest, Get_NotConnected_GivesTheDevicesErrorAndOne) {
    StartActivator();
    const Run plain = RunClient({"get", "rightascension"});
    EXPECT_EQ(plain.code, kDeviceError);
    EXPECT_EQ(plain.output, "");
    EXPECT_NE(plain.errors.find("0x404"), std::string::npos) << plain.errors;
    const Run json = RunClient({"--json", "get", "rightascension"});
    EXPECT_EQ(json.code, kDeviceError);
    EXPECT_EQ(Object(json).at("ErrorNumber"), 0x404);
}

TEST_F(ClientProgramTest, Connect_NoMount_GivesTheDevicesErrorAndOne) {
    StartActivator();
    const Run run = RunClient({"connect"});
    EXPECT_EQ(run.code, kDeviceError);
    EXPECT_NE(run.errors.find("0x402"), std::string::npos) << run.errors;
}

TEST_F(ClientProgramTest, Connect_OfAFocuserOverThePlatformsSerialObject_SaysWhy) {
    Seed({{"chkUseASCOMSerialObject", "1"}});
    std::filesystem::create_directories(portLink.parent_path());
    std::filesystem::create_symlink("/dev/null", portLink);
    StartActivator();
    const Run focuser = RunClient({"--type", "focuser", "connect"});
    EXPECT_EQ(focuser.code, kDeviceError);
    const Run telescope = RunClient({"connect"});
    EXPECT_NE(telescope.errors.find("COM1 (/dev/null): it is no serial line (0x402)"), std::string::npos)
        << telescope.errors;
    const Run check = RunClient({"command", "RAW,CheckMount"});
    EXPECT_EQ(check.output, "0,COM1 (/dev/null): it is no serial line\n");
}

TEST_F(ClientProgramTest, Connect_OfAFocuserWithoutAMount_SaysWhy) {
    StartActivator();
    const Run run = RunClient({"--type", "focuser", "connect"});
    EXPECT_EQ(run.code, kDeviceError);
    EXPECT_NE(run.errors.find("COM1: no device has this number"), std::string::npos) << run.errors;
}

TEST_F(ClientProgramTest, UnknownCommand_EndsWithTwo) {
    StartActivator();
    const Run run = RunClient({"turn"});
    EXPECT_EQ(run.code, kUsage);
    EXPECT_NE(run.errors.find("turn"), std::string::npos) << run.errors;
    EXPECT_EQ(Driver(), 0);
}

TEST_F(ClientProgramTest, NobodyServes_EndsWithThree) {
    StartActivator();
    activator.reset();
    const Run run = RunClient({"get", "name"});
    EXPECT_EQ(run.code, kUnreachable);
    EXPECT_NE(run.errors, "");
}

}  // namespace
}  // namespace kestrane::process
