#include <algorithm>

#include "process/process_fixture.h"

/// The page of the hand box, from the command line of the activator to the answer.
namespace kestrane::process {
namespace {

class HandBoxPageTest : public ProcessFixture {
protected:
    /// What the driver answers to a GET, from its first byte on.
    std::string AnswerTo(const std::string& path, const std::string& headers = "Connection: close\r\n") const {
        Socket socket(port);
        socket.Send("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n");
        return socket.Receive();
    }
    int StatusOf(const std::string& path) const {
        const std::string version = "HTTP/1.1 ";
        const std::string head = AnswerTo(path);
        return std::stoi("0" + head.substr(std::min(version.size(), head.size()), 3));
    }
};

TEST_F(HandBoxPageTest, IsThereForThisMachineByItself_WithItsSocket) {
    StartActivator();
    for (const char* path : {"/", "/page/index.html", "/setup", "/setup/v1/focuser/0/setup"}) {
        EXPECT_EQ(StatusOf(path), 200) << path;
    }
    EXPECT_NE(AnswerTo("/").find("\r\nContent-Security-Policy: default-src 'none';"), std::string::npos);
    const std::string socket = AnswerTo("/view",
                                        "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
                                        "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n");
    EXPECT_TRUE(socket.starts_with("HTTP/1.1 101 ")) << socket;
}

TEST_F(HandBoxPageTest, IsNotThereWhereTheActivatorSwitchesItOff) {
    StartActivator({"--handbox", "off"});
    for (const char* path : {"/", "/page/index.html", "/setup", "/view"}) {
        EXPECT_EQ(StatusOf(path), 404) << path;
    }
    EXPECT_EQ(StatusOf("/management/apiversions"), 200);
}

TEST_F(HandBoxPageTest, ForWhomNobodyKnows_IsWrongUsage) {
    Program program("kestrane-activate", {"--handbox", "all", "--port", "0", "--discovery-port", "0"});
    const std::optional<Ending> ending = program.WaitForEnd(kPatience);
    ASSERT_TRUE(ending);
    EXPECT_EQ(ending->code, 2);
    EXPECT_NE(program.Errors().find("--handbox takes local, look, lan or off"), std::string::npos) << program.Errors();
}

}  // namespace
}  // namespace kestrane::process
