// The roads to the mount beside its own serial port: its network adapter, and the companion application.

#include <cmath>
#include <fstream>
#include <iterator>
#include <sstream>

#include "process/process_fixture.h"

namespace kestrane::process {
namespace {

namespace fs = std::filesystem;

class Roads : public ProcessFixture {
protected:
    void StartQuickMount(std::vector<std::string> options) {
        options.insert(options.end(), {"--slew-speed", "20", "--verbose"});
        StartMount(options);
    }

    /// The second line that the simulated mount prints.
    std::string Address() const {
        std::string line;
        EXPECT_TRUE(WaitUntil(kPatience, [&] {
            std::istringstream lines(mount->Output());
            std::getline(lines, line);
            return std::getline(lines, line) && !line.empty();
        }));
        return line;
    }

    /// What the companion publishes for its user.
    void Publish(const std::string& setting) const {
        std::ofstream(folder.Path() / "QUAY.ini") << "[Driver]\n" << setting << "\n";
    }

    void ExpectSlews(HttpClient& client) const {
        const double ra = std::fmod(Good(client.Get("siderealtime")).value.to_number<double>() + 22, 24);
        Good(client.Put("slewtocoordinates", "RightAscension=" + std::to_string(ra) + "&Declination=30"));
        EXPECT_TRUE(WaitUntil(Seconds(5), [&] {
            return std::abs(Good(client.Get("declination")).value.to_number<double>() - 30) < 0.05;
        })) << LogText();
        EXPECT_NE(mount->Errors().find(" > :MS#"), std::string::npos);
    }

    /// A client connects and slews, and the driver leaves the slew to the companion.
    void ExpectSlewsThroughCompanion() {
        StartActivator();
        HttpClient client = Client(1);
        Connect(client);
        EXPECT_EQ(Good(client.Put("commandstring", "Command=RAW,Quay&Raw=True")).value, "1,1");
        ExpectSlews(client);
        EXPECT_NE(LogText().find("Result from QUAY *SLEW=1"), std::string::npos) << LogText();
    }
};

TEST_F(Roads, OverTheNetworkAdapter_ClientConnectsAndSlews_WithoutASerialPort) {
    StartQuickMount({"--http", "0"});
    Seed({{"chkIPAddress", "1"}, {"txtIpAddress", Address()}});
    fs::remove(portLink);
    StartActivator();
    HttpClient client = Client(1);
    Connect(client);
    ExpectSlews(client);
}

TEST_F(Roads, ThroughTheCompanionsVirtualPort_ItTakesTheSlew) {
    portLink.replace_filename("COM7");
    StartQuickMount({"--companion"});
    Publish("COMPort=COM7 virtual");
    Seed({{"chkQUAY", "1"}, {"chkEnableDebugLog", "1"}});
    ExpectSlewsThroughCompanion();
    EXPECT_EQ(Setting("Port"), "COM7");
}

TEST_F(Roads, ThroughTheCompanionsRestInterface_ItTakesTheSlew_WithoutASerialPort) {
    StartQuickMount({"--companion", "--http", "0"});
    const std::string address = Address();
    Publish("RestApiPort=" + address.substr(address.rfind(':') + 1));
    Seed({{"chkIPAddress", "1"}, {"chkQuayRestApi", "1"}, {"chkEnableDebugLog", "1"}});
    fs::remove(portLink);
    ExpectSlewsThroughCompanion();
}

/// What docs/connecting.md says that the log shows.
TEST_F(Roads, ThatLeadNowhere_AreLoggedAsThePageSays) {
    struct Row {
        std::vector<std::pair<std::string, std::string>> settings;
        std::string reason;
    };
    std::ifstream file(fs::path(KESTRANE_SOURCES) / "docs" / "connecting.md");
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    Publish("COMPort=COM9 virtual\nRestApiPort=18998");
    for (const Row& row :
         {Row{{{"chkIPAddress", "1"}}, "'' names no host"},
          Row{{{"txtIpAddress", "fe80::1"}}, "'fe80::1' has more than one ':'; an IPv6 address stands in brackets"},
          Row{{{"txtIpAddress", "127.0.0.1:18999"}}, "127.0.0.1 port 18999 takes no connection: Connection refused"},
          Row{{{"chkQuayRestApi", "1"}},
              "URI: http://127.0.0.1:18998/api/mount/sendcmd, Sent: :V#, Response = , ErrorMessage = 127.0.0.1 port "
              "18998 takes no connection: Connection refused"},
          Row{{{"chkIPAddress", "0"}, {"chkQuayRestApi", "0"}, {"Port", "COM3"}}, "COM3: no device has this number"},
          Row{{{"chkQUAY", "1"}}, "COM9: no device has this number"}}) {
        Seed({{"chkEnableDebugLog", "1"}});
        Seed(row.settings);
        StartActivator();
        HttpClient client = Client(1);
        EXPECT_EQ(client.Put("connected", "Connected=True").errorNumber, 0x402);
        EXPECT_NE(LogText().find(row.reason), std::string::npos) << row.reason;
        EXPECT_NE(page.find(row.reason), std::string::npos) << row.reason;
        activator.reset();
    }
}

}  // namespace
}  // namespace kestrane::process
