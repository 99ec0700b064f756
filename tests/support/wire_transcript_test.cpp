#include "support/wire_transcript.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>

#include "kernel/base/errors.h"
#include "support/virtual_platform.h"

namespace kestrane {
namespace {

/// A client of a line: asks, and reads up to "#" with a limit of 500 ms.
class Asker {
public:
    explicit Asker(VirtualPlatform& machine) : port_(machine.serialPorts.CreatePort()) {}

    void Open() { ASSERT_EQ(port_->Open(1, 9600), 0); }
    void Send(std::string_view text) { port_->Write(text); }
    std::string Ask(std::string_view command) {
        Send(":" + std::string(command) + "#");
        std::string reply;
        while (!reply.ends_with('#')) {
            const std::string byte = port_->Read(1, 500);
            if (byte.empty()) {
                return reply;
            }
            reply += byte;
        }
        reply.pop_back();
        return reply;
    }

private:
    std::unique_ptr<SerialPort> port_;
};

class WireTranscriptTest : public testing::Test {
protected:
    VirtualPlatform machine;
    Asker asker{machine};

    /// Plays a script in a world with some calls, and gives the first difference.
    std::string Difference(std::string_view script, bool countsAll = false) {
        WireTranscript transcript(machine.clock, machine.pump, script);
        if (countsAll) {
            transcript.CountAllThatIsNamed();
        }
        machine.serialPorts.Connect(1, transcript.Line());
        asker.Open();
        log = transcript.LogListener();
        transcript.Dispatcher([this](std::string_view call) { return asker.Ask(call); });
        transcript.Call("Tell", [this] { asker.Send(":Q#"); });
        transcript.Call("Bytes", [this] { asker.Send(std::string_view("\x05\\", 2)); });
        transcript.Call("Log", [this] { log("Alt Query", 2, "No response"); });
        transcript.Call("Fail", [] { throw DriverError(0x80040404U, "source", "Not connected"); });
        transcript.Call("Fault", [] { throw RunTimeError(5, "Invalid procedure call"); });
        transcript.Call("Wait", [this] {
            for (int round = 0; round < 10; ++round) {
                machine.clock.Sleep(20);
                machine.pump.PumpMessages();
            }
            return std::string("waited");
        });
        const std::string difference = transcript.FirstDifference();
        machine.serialPorts.Disconnect(1);
        return difference;
    }

    WireTranscript::Listener log;
};

TEST_F(WireTranscriptTest, WhatComesToPassAsWritten_HasNoDifference) {
    EXPECT_EQ(Difference(R"(
        # A client asks twice; the mount is silent the second time.
        0    = GR
        0    > :GR#
        20   < 12:34:56#
        20   = -> 12:34:56

        1000 = GD
        1000 > :GD#
        1500 ~
        1500 = ->
        2000 = Tell
        2000 > :Q#
    )"),
              "");
    EXPECT_EQ(machine.clock.Elapsed(), 2000);
}

TEST_F(WireTranscriptTest, AWrongCommand_IsTheDifference) {
    EXPECT_EQ(Difference("0 = GR\n0 > :GD#\n5 < 1#"), "line 2: expected '0 > :GD#', '0 > :GR#' came");
}

TEST_F(WireTranscriptTest, ACommandTooMany_IsTheDifference) {
    EXPECT_EQ(Difference("0 = Tell"), "line 1 was the last, but then '0 > :Q#' came");
    EXPECT_EQ(Difference("0 = Tell\n10 = Tell\n10 > :Q#"), "line 2: expected '10 = Tell', '0 > :Q#' came");
}

TEST_F(WireTranscriptTest, AMissingCommand_IsTheDifference) {
    EXPECT_EQ(Difference("0 = Tell\n0 > :Q#\n* > :Q#"), "line 3: expected '* > :Q#', nothing came");
    EXPECT_EQ(Difference("0 = Tell\n0 > :Q#\n5 > :GR#\n10 = Tell\n"), "line 3: expected '5 > :GR#', '10 = Tell' came");
}

TEST_F(WireTranscriptTest, AWrongTime_IsTheDifference) {
    EXPECT_EQ(Difference("0 = GR\n20 > :GR#\n20 < 1#"), "line 2: expected '20 > :GR#', '0 > :GR#' came");
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n20 < 1#\n25 = -> 1"), "line 4: expected '25 = -> 1', '20 = -> 1' came");
}

TEST_F(WireTranscriptTest, AnUnreadByte_IsTheDifference) {
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n20 < 1#\n20 < X\\x05"), "line 4: nobody read 'X\\x05'");
    EXPECT_EQ(Difference("0 = Tell\n0 > :Q#\n100 < late"), "line 3: nobody read 'late'");
}

TEST_F(WireTranscriptTest, AWrongResult_IsTheDifference) {
    EXPECT_EQ(Difference("0 = GR -> 2\n0 > :GR#\n20 < 1#"), "line 1: expected '0 = GR -> 2', its result was '1'");
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n20 < 1#\n20 = -> 2"), "line 4: expected '20 = -> 2', '20 = -> 1' came");
    EXPECT_EQ(Difference("0 = Tell -> 1\n0 > :Q#"), "line 1: expected '0 = Tell -> 1', its result was ''");
}

TEST_F(WireTranscriptTest, ARightResultBehindTheCall_MayComeAtAnyTime) {
    EXPECT_EQ(Difference("0 = GR -> 1\n0 > :GR#\n20 < 1#"), "");
    EXPECT_EQ(Difference("0 = Tell ->\n0 > :Q#"), "");
}

TEST_F(WireTranscriptTest, AResultThatTheScriptDoesNotName_IsPassedOver) {
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n20 < 1#\n30 = Tell\n30 > :Q#"), "");
}

TEST_F(WireTranscriptTest, Errors_AreNumberAndMessage) {
    EXPECT_EQ(Difference("0 = Fail\n0 ! 0x80040404 Not connected\n1 = Fault\n1 ! 5 Invalid procedure call"), "");
    EXPECT_EQ(Difference("0 = Fail\n0 ! 0x80040404 Other words"),
              "line 2: expected '0 ! 0x80040404 Other words', '0 ! 0x80040404 Not connected' came");
}

TEST_F(WireTranscriptTest, AnErrorThatTheScriptDoesNotName_IsTheDifference) {
    EXPECT_EQ(Difference("0 = Fail"), "line 1 was the last, but then '0 ! 0x80040404 Not connected' came");
    EXPECT_EQ(Difference("0 = Fail ->"), "line 1 was the last, but then '0 ! 0x80040404 Not connected' came");
}

TEST_F(WireTranscriptTest, AnErrorThatDoesNotCome_IsTheDifference) {
    EXPECT_EQ(Difference("0 = Tell\n0 > :Q#\n0 ! 0x80040404 Not connected"),
              "line 3: expected '0 ! 0x80040404 Not connected', nothing came");
}

TEST_F(WireTranscriptTest, LogLines_CountWhereTheScriptNamesThem) {
    EXPECT_EQ(Difference("0 = Log\n0 L Alt Query Error No response"), "");
    EXPECT_EQ(Difference("0 = Log"), "");
    EXPECT_EQ(Difference("0 = Log\n0 L Alt Query Error Other words"),
              "line 2: expected '0 L Alt Query Error Other words', nothing came");
    EXPECT_EQ(Difference("0 = Log\n5 = Log\n5 L Alt Query Error No response"), "");
}

TEST_F(WireTranscriptTest, SilenceThatDoesNotCome_IsTheDifference) {
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n500 ~"), "");
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n400 ~"), "line 3: expected '400 ~', '500 ~ 500' came");
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n20 < 1#\n500 ~"), "line 4: expected '500 ~', nothing came");
}

TEST_F(WireTranscriptTest, SilenceOfAnotherLength_IsTheDifference) {
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n500 ~ 500"), "");
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n20 < 1\n520 ~ 500"), "");
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n500 ~ 480"), "line 3: expected '500 ~ 480', nothing came");
}

TEST_F(WireTranscriptTest, WhereAllThatIsNamedCounts_NothingOfANamedKindIsPassedOver) {
    constexpr bool kCountsAll = true;
    EXPECT_EQ(Difference("0 = Log\n0 L Alt Query Error No response\n5 = Log", kCountsAll),
              "line 3 was the last, but then '5 L Alt Query Error No response' came");
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n500 ~\n600 = GR\n600 > :GR#", kCountsAll),
              "line 5 was the last, but then '1100 ~ 500' came");
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n5 < 1#\n5 = -> 1\n10 = Tell\n10 > :Q#", kCountsAll),
              "line 6 was the last, but then '10 = ->' came");
    EXPECT_EQ(Difference("0 = Log\n5 = GR\n5 > :GR#", kCountsAll), "") << "kinds that it does not name";
}

TEST_F(WireTranscriptTest, ALineOfTheTests_IsPlayedOnOneScriptAfterTheOther) {
    ScriptedLine line(machine.clock);
    line.bytesPerRead = 1;
    machine.serialPorts.Connect(1, line);
    asker.Open();
    for (const std::string script :
         {"0 = GR\n0 > :GR#\n20 < 12#\n20 = -> 12", "0 = GR\n0 > :GR#\n5 < 34#\n5 = -> 34"}) {
        WireTranscript transcript(machine.clock, machine.pump, script, line);
        transcript.Dispatcher([this](std::string_view call) { return asker.Ask(call); });
        EXPECT_EQ(transcript.FirstDifference(), "");
    }
    line.Schedule(machine.clock.Elapsed(), "56#");
    EXPECT_EQ(asker.Ask("GR"), "56") << "behind the scripts it is a line like any other";
    EXPECT_EQ(line.written, ":GR#:GR#:GR#");
    machine.serialPorts.Disconnect(1);
}

TEST_F(WireTranscriptTest, AnyTime_TakesWhatComesNext) {
    EXPECT_EQ(Difference("7 = Tell\n* > :Q#\n* = GR\n* > :GR#\n* < 1#\n* = -> 1"), "");
    EXPECT_EQ(machine.clock.Elapsed(), 7) << "a call at any time is made at once";
}

TEST_F(WireTranscriptTest, Bytes_AreWrittenByNumber) {
    EXPECT_EQ(Difference("0 = Bytes\n0 > \\x05\\\\\n1 = GR\n1 > :GR#\n1 < \\xff#\n1 = -> \\xff"), "");
    EXPECT_EQ(Difference("0 = Bytes\n0 > \\x06"), "line 2: expected '0 > \\x06', '0 > \\x05\\\\' came");
}

TEST_F(WireTranscriptTest, ACallInsideACallThatPumps_IsMadeAtItsTime) {
    EXPECT_EQ(Difference(R"(
        0   = Wait
        100 = Tell
        100 > :Q#
        200 = -> waited
    )"),
              "");
}

TEST_F(WireTranscriptTest, ACallThatIsHeldUp_IsLate) {
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n100 = Tell\n100 > :Q#"),
              "line 3: expected '100 = Tell', '500 = Tell' came");
}

TEST_F(WireTranscriptTest, Timers_RunWhileTheScriptPlays) {
    const auto timer = machine.pump.CreateTimer([this] { asker.Ask("GR"); });
    timer->SetInterval(150);
    timer->SetEnabled(true);
    EXPECT_EQ(Difference("150 > :GR#\n160 < 1#\n300 > :GR#\n310 < 2#"), "");
}

TEST_F(WireTranscriptTest, Times_CountFromTheStartOfPlaying) {
    machine.AdvanceTime(12'345);
    EXPECT_EQ(Difference("0 = GR\n0 > :GR#\n20 < 1#\n20 = -> 1"), "");
}

TEST_F(WireTranscriptTest, Play_FailsTheTestWithTheDifference) {
    static VirtualPlatform* current = nullptr;
    current = &machine;
    WireTranscript(machine.clock, machine.pump, "# nothing at all").Play();
    EXPECT_NONFATAL_FAILURE(WireTranscript(current->clock, current->pump, "5 > :GR#").Play(),
                            "line 1: expected '5 > :GR#', nothing came");
}

TEST_F(WireTranscriptTest, AScriptThatCannotBeRead_IsRefused) {
    for (const std::string script : {"x > :GR#", "0 ? GR", "0", "-1 > :GR#", "0 >", "0 =", "0 ~ x", "0 >:GR#",
                                     "0 > \\x0", "0 > \\q", "10 > :GR#\n5 > :GD#"}) {
        EXPECT_THROW(WireTranscript(machine.clock, machine.pump, script), std::invalid_argument) << script;
    }
}

}  // namespace
}  // namespace kestrane
