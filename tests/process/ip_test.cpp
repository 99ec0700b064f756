// The mount over its network adapter.

#include <cmath>
#include <sstream>

#include "process/process_fixture.h"

namespace kestrane::process {
namespace {

class IpOverHttp : public ProcessFixture {
protected:
    /// The second line that the simulated mount prints.
    std::string Address() const {
        std::istringstream lines(mount->Output());
        std::string line;
        std::getline(lines, line);
        std::getline(lines, line);
        return line;
    }
};

TEST_F(IpOverHttp, ClientConnectsAndSlews_WithoutASerialPort) {
    StartMount({"--http", "0", "--slew-speed", "20", "--verbose"});
    ASSERT_TRUE(WaitUntil(kPatience, [this] { return !Address().empty(); }));
    Seed({{"chkIPAddress", "1"}, {"txtIpAddress", Address()}});
    std::filesystem::remove(portLink);
    StartActivator();
    HttpClient client = Client(1);
    Connect(client);
    const double ra = std::fmod(Good(client.Get("siderealtime")).value.to_number<double>() + 22, 24);
    Good(client.Put("slewtocoordinates", "RightAscension=" + std::to_string(ra) + "&Declination=30"));
    EXPECT_TRUE(WaitUntil(Seconds(5), [&] {
        return std::abs(Good(client.Get("declination")).value.to_number<double>() - 30) < 0.05;
    })) << LogText();
    EXPECT_NE(mount->Errors().find(" > :MS#"), std::string::npos);
}

}  // namespace
}  // namespace kestrane::process
