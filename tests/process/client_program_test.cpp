#include <boost/json.hpp>
#include <cmath>
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

    Run RunClient(std::vector<std::string> words) const {
        words.insert(words.end(), {"--port", std::to_string(port)});
        Program program("kestrane-client", words);
        const std::optional<Ending> ending = program.WaitForEnd(Seconds(60));
        EXPECT_TRUE(ending);
        EXPECT_FALSE(ending && ending->bySignal);
        return {ending ? ending->code : -1, program.Output(), program.Errors()};
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
