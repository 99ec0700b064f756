#include "support/scripted_line.h"

#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace kestrane {
namespace {

/// A line at the far end of an open port.
class ScriptedLineTest : public testing::Test {
protected:
    ScriptedLineTest() {
        ports.Connect(1, line);
        port->Open(1, 9600);
    }

    VirtualClock clock;
    VirtualSerialPorts ports{clock};
    ScriptedLine line{clock};
    std::unique_ptr<SerialPort> port = ports.CreatePort();
};

TEST_F(ScriptedLineTest, Bytes_ArriveAtTheirTime) {
    line.Schedule(30, "ab");
    line.Schedule(40, "c");
    EXPECT_EQ(line.Unread(), "abc");
    EXPECT_EQ(port->Read(100, 20), "");
    EXPECT_EQ(clock.Elapsed(), 20);
    EXPECT_EQ(port->Read(100, 20), "ab");
    EXPECT_EQ(clock.Elapsed(), 30);
    EXPECT_EQ(line.Unread(), "c");
}

TEST_F(ScriptedLineTest, BytesPerRead_CutsWhatWaits) {
    line.bytesPerRead = 2;
    line.Schedule(0, "abc");
    EXPECT_EQ(port->Read(100, 20), "ab");
    EXPECT_EQ(port->Read(100, 20), "c");
}

TEST_F(ScriptedLineTest, WritesAndSilences_AreTold) {
    std::vector<std::int32_t> waits;
    std::string told;
    line.onWrite = [&](std::string_view bytes) { told += bytes; };
    line.onSilence = [&](std::int32_t waitedMs) { waits.push_back(waitedMs); };
    port->Write(":GR#");
    port->Write(":GD#");
    port->Read(1, 0);
    port->Read(1, 250);
    EXPECT_EQ(told, ":GR#:GD#");
    EXPECT_EQ(line.written, told);
    EXPECT_EQ(waits, (std::vector<std::int32_t>{250}));
}

TEST_F(ScriptedLineTest, Flood_BringsAByteEachSoManyMilliseconds_BetweenThoseThatWereTold) {
    line.floodEveryMs = 10;
    line.Schedule(15, "a");
    EXPECT_EQ(port->Read(100, 100), ".");
    EXPECT_EQ(clock.Elapsed(), 10);
    clock.Sleep(25);
    EXPECT_EQ(port->Read(100, 100), "a..");
    EXPECT_EQ(port->Read(100, 4), "");
}

TEST_F(ScriptedLineTest, FullLine_GivesAsMuchAsIsAskedForAtOnce) {
    line.full = true;
    EXPECT_EQ(port->Read(5, 100), ".....");
    EXPECT_EQ(clock.Elapsed(), 0);
}

TEST_F(ScriptedLineTest, Reads_AreCountedAlsoOfAClosedPort) {
    port->Read(1, 0);
    port->Close();
    EXPECT_EQ(port->Read(1, 100), "");
    EXPECT_EQ(ports.Reads(), 1) << "a look without a wait is none";
    EXPECT_EQ(clock.Elapsed(), 0);
}

}  // namespace
}  // namespace kestrane
