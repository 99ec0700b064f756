#include "link/serial_reader.h"

#include <gtest/gtest.h>

#include "link/line_world.h"

namespace kestrane {
namespace {

class SerialReading : public testing::TestWithParam<std::size_t>, public LineWorld {
protected:
    SerialReading() {
        line.bytesPerRead = GetParam();
        port->Open(1, 9600);
    }

    std::unique_ptr<SerialPort> port = ports.CreatePort();
    SerialReader reader{*port, clock};
};

INSTANTIATE_TEST_SUITE_P(Line, SerialReading, testing::Values(4096, 1), [](const auto& line) {
    return line.param == 1 ? std::string("ByteByByte") : std::string("InOnePiece");
});

TEST_P(SerialReading, Terminated_StopsBehindTheTerminatorAndKeepsTheRest) {
    line.Schedule(0, "12:34#5");
    line.Schedule(20, "6#7");
    EXPECT_EQ(reader.Terminated("#", 100), "12:34#");
    EXPECT_EQ(reader.Terminated("#", 100), "56#");
    EXPECT_EQ(reader.Terminated("#", 100), "7");
    EXPECT_EQ(clock.Elapsed(), 120);
}

TEST_P(SerialReading, Terminated_ATerminatorInTwoPieces_IsFound) {
    line.Schedule(0, "abc\r");
    line.Schedule(10, "\ndef");
    EXPECT_EQ(reader.Terminated("\r\n", 100), "abc\r\n");
    EXPECT_EQ(reader.Counted(3, 100), "def");
}

TEST_P(SerialReading, Terminated_ATerminatorAlreadyThere_IsNotWaitedFor) {
    line.Schedule(0, "a#b#");
    EXPECT_EQ(reader.Terminated("#", 100), "a#");
    EXPECT_EQ(reader.Terminated("#", 100), "b#");
    EXPECT_EQ(clock.Elapsed(), 0);
}

TEST_P(SerialReading, Counted_ReadsAcrossPieces) {
    line.Schedule(0, "ab");
    line.Schedule(30, "cde");
    EXPECT_EQ(reader.Counted(4, 100), "abcd");
    EXPECT_EQ(clock.Elapsed(), 30);
    EXPECT_EQ(reader.Counted(4, 100), "e");
    EXPECT_EQ(clock.Elapsed(), 130);
}

TEST_P(SerialReading, Counted_None_ReadsNothing) {
    line.Schedule(0, "ab");
    EXPECT_EQ(reader.Counted(0, 100), "");
    EXPECT_EQ(ports.Reads(), 0);
}

TEST_P(SerialReading, Waiting_GivesWhatComesUntilTheLineIsQuiet) {
    line.Schedule(40, "a");
    line.Schedule(50, "b");
    line.Schedule(61, "c");
    EXPECT_EQ(reader.Waiting(100), "ab");
    EXPECT_EQ(clock.Elapsed(), 60);
    EXPECT_EQ(reader.Waiting(100), "c");
    EXPECT_EQ(clock.Elapsed(), 71);
    EXPECT_EQ(reader.Waiting(100), "");
    EXPECT_EQ(clock.Elapsed(), 171);
}

TEST_P(SerialReading, Waiting_ForAReplyAtLineSpeed_GivesAllOfIt) {
    for (const std::string reply : {"-45*12:33#", "12:34:56.7#"}) {
        const std::int64_t start = clock.Elapsed();
        std::int64_t arrival = start + 300;
        for (const char byte : reply) {
            line.Schedule(arrival++, {&byte, 1});
        }
        EXPECT_EQ(reader.Waiting(500), reply);
        EXPECT_EQ(clock.Elapsed(), arrival - 1 + SerialReader::kQuietMs);
    }
}

TEST_P(SerialReading, Waiting_ForALineThatIsNeverQuiet_EndsAtItsLimit) {
    line.floodEveryMs = 9;
    EXPECT_EQ(reader.Waiting(100), std::string(11, '.'));
    EXPECT_EQ(clock.Elapsed(), 100);
}

TEST_P(SerialReading, Waiting_WithALimitBelowTheQuiet_LooksOnce) {
    line.Schedule(1, "a");
    line.Schedule(2, "b");
    EXPECT_EQ(reader.Waiting(1), "a");
    EXPECT_EQ(clock.Elapsed(), 1);
    EXPECT_EQ(reader.Waiting(9), "b");
    EXPECT_EQ(clock.Elapsed(), 2);
}

TEST_P(SerialReading, Waiting_WithBytesKept_WaitsOnlyForTheirRest) {
    line.Schedule(0, "a#b");
    line.Schedule(3, "c");
    reader.Terminated("#", 100);
    EXPECT_EQ(reader.Waiting(100), "bc");
    EXPECT_EQ(clock.Elapsed(), 13);
}

TEST_P(SerialReading, ALineThatKeepsSending_HoldsAReadForItsLimitOnly) {
    line.floodEveryMs = 9;
    EXPECT_EQ(reader.Terminated("#", 100), std::string(11, '.'));
    EXPECT_EQ(clock.Elapsed(), 100);
    EXPECT_EQ(reader.Counted(1000, 100), std::string(11, '.'));
    EXPECT_EQ(clock.Elapsed(), 200);
}

TEST_P(SerialReading, ALineWhoseEveryLookIsFull_HoldsAReadForTheMostBytesOnly) {
    const std::string most(4096, '.');
    line.Schedule(0, "a#b");
    reader.Terminated("#", 100);
    line.full = true;
    EXPECT_EQ(reader.Terminated("#", 100).size(), 4096U) << "what was kept counts";
    EXPECT_EQ(reader.Terminated("#", 100), most);
    EXPECT_EQ(reader.Counted(5000, 100), most);
    EXPECT_EQ(reader.Waiting(100), most);
    EXPECT_EQ(reader.Counted(3, 100), "...");
    EXPECT_EQ(reader.Terminated("#", 100), most);
    EXPECT_EQ(clock.Elapsed(), 0);
}

TEST_P(SerialReading, ATerminatorAsTheLastOfTheMostBytes_IsFound) {
    const std::string text = std::string(4095, '.') + "#";
    line.Schedule(0, text + "a#");
    EXPECT_EQ(reader.Terminated("#", 100), text);
    EXPECT_EQ(reader.Terminated("#", 100), "a#");
}

TEST_P(SerialReading, ALimitOfZeroOrBelow_TakesWhatIsThere) {
    line.Schedule(0, "abc");
    line.Schedule(1, "d");
    EXPECT_EQ(reader.Terminated("#", 0), "abc");
    EXPECT_EQ(reader.Counted(5, -20), "");
    EXPECT_EQ(clock.Elapsed(), 0);
}

TEST_P(SerialReading, TheLimitHoldsAcrossTheWrapOfTheTickCounter) {
    for (const std::int32_t firstTick : {INT32_MAX - 50, -50, INT32_MIN}) {
        clock.SetTick(Tick{firstTick});
        const std::int64_t start = clock.Elapsed();
        line.Schedule(start + 40, "a");
        line.Schedule(start + 90, "b");
        EXPECT_EQ(reader.Terminated("#", 100), "ab");
        EXPECT_EQ(clock.Elapsed() - start, 100);
    }
}

TEST_P(SerialReading, Forget_DropsWhatWasKept) {
    line.Schedule(0, "a#b");
    reader.Terminated("#", 100);
    reader.Waiting(0);
    line.Schedule(0, "c#d");
    reader.Terminated("#", 100);
    reader.Forget();
    EXPECT_EQ(reader.Waiting(0), GetParam() == 1 ? "d" : "");
}

TEST_P(SerialReading, EveryByteValuePasses) {
    std::string bytes;
    for (int value = 0; value < 256; ++value) {
        if (value != '#') {
            bytes += static_cast<char>(value);
        }
    }
    line.Schedule(0, bytes + "#");
    EXPECT_EQ(reader.Terminated("#", 100), bytes + "#");
}

}  // namespace
}  // namespace kestrane
