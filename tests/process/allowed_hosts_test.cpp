#include <algorithm>

#include "process/process_fixture.h"

/// Names under which clients may reach the driver, from the command line of the activator to the answer.
namespace kestrane::process {
namespace {

class AllowedHostsTest : public ProcessFixture {
protected:
    /// Status of the answer to a request under this name of the machine.
    int StatusUnder(const std::string& host) const {
        Socket socket(port);
        socket.Send("GET /api/v1/telescope/0/interfaceversion?ClientID=1&ClientTransactionID=1 HTTP/1.1\r\nHost: " +
                    host + "\r\nConnection: close\r\n\r\n");
        const std::string head = socket.Receive();
        const std::string version = "HTTP/1.1 ";
        EXPECT_TRUE(head.starts_with(version)) << head;
        return std::stoi("0" + head.substr(std::min(version.size(), head.size()), 3));
    }
};

TEST_F(AllowedHostsTest, ANameOfTheActivatorsOptions_ReachesTheDriver_AndAnotherDoesNot) {
    StartActivator({"--allow-host", "dome.example", "--allow-host", "hut"});
    EXPECT_EQ(StatusUnder("dome.example"), 200);
    EXPECT_EQ(StatusUnder("hut:" + std::to_string(port)), 200);
    EXPECT_EQ(StatusUnder("127.0.0.1"), 200);
    EXPECT_EQ(StatusUnder("evil.example"), 403);
}

TEST_F(AllowedHostsTest, ANameWithAPort_IsWrongUsage) {
    Program program("kestrane-activate", {"--allow-host", "a:1", "--port", "0", "--discovery-port", "0"});
    const std::optional<Ending> ending = program.WaitForEnd(kPatience);
    ASSERT_TRUE(ending);
    EXPECT_FALSE(ending->bySignal);
    EXPECT_EQ(ending->code, 2);
    EXPECT_NE(program.Errors().find("--allow-host takes a name"), std::string::npos) << program.Errors();
}

}  // namespace
}  // namespace kestrane::process
