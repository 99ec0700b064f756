#include "link/class_tcp_comm.h"

#include <gtest/gtest.h>

#include "link/link_fixture.h"

namespace kestrane {
namespace {

class IpLink : public LinkFixture {
protected:
    classTCPComm ip{log};
};

TEST_F(IpLink, Connected_True_StaysClosedAndLogsAnError) {
    ip.Connected(true);
    EXPECT_FALSE(ip.Connected());
    EXPECT_EQ(LogLines(), std::vector<std::string>{"TCP Error No IP transport in this build: the link stays closed"});
    ip.Connected(false);
    EXPECT_EQ(LogLines().size(), 1U);
}

TEST_F(IpLink, Reads_GiveEmptyTextsWithoutAnErrorOrAWait) {
    ip.Connected(true);
    ip.Transmit(":GR#");
    ip.ClearBuffers();
    EXPECT_EQ(ip.Receive(), "");
    EXPECT_EQ(ip.ReceiveCounted(3), "");
    EXPECT_EQ(ip.ReceiveTerminated("#"), "");
    EXPECT_EQ(clock.Elapsed(), 0);
}

TEST_F(IpLink, ItsProperties_KeepWhatTheyAreGiven) {
    EXPECT_EQ(ip.ReceiveTimeoutMS(), 250);
    ip.IpAddress("192.0.2.7");
    ip.Port(80);
    ip.Speed(9600);
    ip.ReceiveTimeout(3);
    EXPECT_EQ(ip.IpAddress(), "192.0.2.7");
    EXPECT_EQ(ip.Port(), 80);
    EXPECT_EQ(ip.Speed(), 9600);
    EXPECT_EQ(ip.ReceiveTimeoutMS(), 3000);
    EXPECT_EQ(ip.ReceiveTimeout(), 3);
    ip.ReceiveTimeout(2147484);
    EXPECT_EQ(ip.ReceiveTimeoutMS(), 3000);
    std::int32_t total = 1;
    std::int32_t multiplier = 1;
    std::int32_t interval = 1;
    ip.GetReadTimeouts(total, multiplier, interval);
    EXPECT_EQ(total, 3000);
    EXPECT_EQ(multiplier, 0);
    EXPECT_EQ(interval, 0);
}

}  // namespace
}  // namespace kestrane
