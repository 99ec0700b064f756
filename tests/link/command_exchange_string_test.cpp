#include <gtest/gtest.h>

#include "link/link_fixture.h"

namespace kestrane {
namespace {

/// Each exchange on a line that brings its bytes in one piece, and one by one.
class StringExchange : public LinkFixture, public testing::WithParamInterface<std::size_t> {
protected:
    StringExchange() { line.bytesPerRead = GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(Line, StringExchange, testing::Values(4096, 1), [](const auto& line) {
    return line.param == 1 ? std::string("ByteByByte") : std::string("InOnePiece");
});

TEST_P(StringExchange, CommandString_WithAReply_GivesItWithoutItsTerminator) {
    Play(R"(
        0   = CommandString GR
        0   L Telescope Info CommandString TX=':GR#'
        0   > :GR#
        35  < 12:34:56.7#
        35  L Telescope Info CommandString Reply Received (TX=':GR#'), RX='12:34:56.7#'
        35  = -> 12:34:56.7
    )");
    EXPECT_EQ(counters.Values().g_nRetransmits, 0);
}

TEST_P(StringExchange, ReplyThatEndsInTheMiddle_LosesItsLastCharacterWhole) {
    Play(R"(
        0   = CommandString GD
        0   > :GD#
        35  < +05\xDF
        500 = -> +05
    )");
}

TEST_P(StringExchange, CommandStringInternal_LogsAsTheDriver) {
    Play(R"(
        0   = CommandStringInternal GR
        0   L Driver Info CommandString TX=':GR#'
        0   > :GR#
        35  < 12:34:56.7#
        35  L Driver Info CommandString Reply Received (TX=':GR#'), RX='12:34:56.7#'
        35  = -> 12:34:56.7
    )");
}

TEST_P(StringExchange, CommandString_AReplyInPieces_WaitsForItsTerminator) {
    Play(R"(
        0   = CommandString GD
        0   > :GD#
        5   < +4
        90  < 5*12:
        480 < 33#
        480 = -> +45*12:33
    )");
}

TEST_P(StringExchange, CommandString_BytesBehindTheTerminator_StayForTheNextRead) {
    Play(R"(
        0   = CommandString SC03/05/24
        0   > :SC03/05/24#
        10  < 1Updating#          #
        10  = -> 1Updating
        10  = ReceiveTerminated #
        10  = -> \x20         #
    )");
}

TEST_P(StringExchange, CommandString_OnlyATerminator_GivesAnEmptyResultAtOnce) {
    Play(R"(
        0   = CommandString CM
        0   > :CM#
        5   < #
        5   = ->
    )");
    EXPECT_EQ(counters.Values().g_nRetransmits, 0);
}

TEST_P(StringExchange, CommandString_WithoutATerminator_TakesWhatCameLessItsLastCharacter) {
    Play(R"(
        0   = CommandString GR
        0   L Telescope Info CommandString TX=':GR#'
        0   > :GR#
        20  < 12:34
        500 ~ 480
        500 L Telescope Error RECEIVE TERMINATED ERRORS: 1
        500 L Telescope Info CommandString Reply Received (TX=':GR#'), RX='12:34'
        500 = -> 12:3
    )");
}

TEST_P(StringExchange, CommandString_AlarmLettersInTheReply_AreTakenOut) {
    Play(R"(
        0   = CommandString GR
        0   > :GR#
        20  < 12:X34:56.7#
        20  = -> 12:34:56.7
    )");
    EXPECT_EQ(counters.Values().g_nServoFaults, 1);
}

TEST_P(StringExchange, CommandString_RawText_GoesOutAsItIs) {
    Play(R"(
        0   = CommandString raw :G\x05#
        0   L Telescope Info CommandString TX=':G\x05#'
        0   > :G\x05#
        5   < 3#
        5   L Telescope Info CommandString Reply Received (TX=':G\x05#'), RX='3#'
        5   = -> 3
    )");
}

TEST_P(StringExchange, CommandString_EmptyAndFramed_SendsTheBareFrame) {
    Play(R"(
        0   = CommandString
        0   > :#
        5   < ok#
        5   = -> ok
    )");
}

TEST_P(StringExchange, CommandString_EmptyAndRaw_SendsNothing) {
    Play(R"(
        0   = CommandString raw
        0   L Telescope Info CommandString TX (no Chars to send)
        0   = ->
        0   = CommandStringInternal raw
        0   L Driver Info CommandString TX (no Chars to send)
        0   = ->
    )");
}

TEST_P(StringExchange, CommandString_SilentMount_GivesUpAtTheReadLimitWithoutRetries) {
    swallowsExpected = true;
    Play(R"(
        0   = CommandString GR
        0   L Telescope Info CommandString TX=':GR#'
        0   > :GR#
        500 L Telescope Warning Retransmits: 1
        500 L Telescope Error CommandString: NO Response or bad response: ':GR#', Response='' -> Giving up!
        500 L Telescope Error RECEIVE TERMINATED ERRORS: 1
        500 L Driver Info CommandClear()
        500 > #
        521 L ClearBuffers Info Removed 0 bytes in 1 Ticks
        521 = ->
    )");
}

TEST_P(StringExchange, CommandString_SilentMount_TriesOnceMoreForEachRetry) {
    swallowsExpected = true;
    exchange->MaxSerialRetries(2);
    Play(R"(
        0    = CommandStringInternal GR
        0    L Driver Info CommandString TX=':GR#'
        0    > :GR#
        500  ~ 500
        500  L Telescope Warning Retransmits: 1
        500  L Driver Error CommandString: NO Response or bad response: ':GR#', Response='' -> Retrying!
        540  L Driver Info CommandClear()
        540  > #
        561  ~ 1
        561  L ClearBuffers Info Removed 0 bytes in 1 Ticks
        1061 ~ 500
        1061 L Driver Info CommandString TX=':GR#'
        1061 > :GR#
        1561 ~ 500
        1561 L Telescope Warning Retransmits: 2
        1561 L Driver Error CommandString: NO Response or bad response: ':GR#', Response='' -> Retrying!
        1601 L Driver Info CommandClear()
        1601 > #
        1622 ~ 1
        1622 L ClearBuffers Info Removed 0 bytes in 1 Ticks
        2122 ~ 500
        2122 L Driver Info CommandString TX=':GR#'
        2122 > :GR#
        2622 ~ 500
        2622 L Telescope Warning Retransmits: 3
        2622 L Driver Error CommandString: NO Response or bad response: ':GR#', Response='' -> Giving up!
        2622 L Telescope Error RECEIVE TERMINATED ERRORS: 1
        2622 L Driver Info CommandClear()
        2622 > #
        2643 ~ 1
        2643 L ClearBuffers Info Removed 0 bytes in 1 Ticks
        2643 = ->
    )");
}

TEST_P(StringExchange, CommandString_AnsweredAtTheSecondTry_GivesThatReply) {
    swallowsExpected = true;
    exchange->MaxSerialRetries(2);
    Play(R"(
        0    = CommandString GR
        0    > :GR#
        540  > #
        1061 > :GR#
        1080 < 12:34:56.7#
        1080 = -> 12:34:56.7
    )");
    EXPECT_EQ(counters.Values().g_nRetransmits, 1);
    EXPECT_EQ(counters.Values().g_nReceiveTerminatedErrors, 0);
}

TEST_P(StringExchange, CommandString_LateReplyBeforeTheClear_IsDroppedByIt) {
    swallowsExpected = true;
    exchange->MaxSerialRetries(1);
    Play(R"(
        0    = CommandString GR
        0    > :GR#
        510  < 01:02:03.4#
        540  > #
        1061 > :GR#
        1070 < 05:06:07.8#
        1070 = -> 05:06:07.8
    )");
}

TEST_P(StringExchange, CommandString_LateReplyCaughtInARetryOnASerialLine_IsTakenWhenTheRepeatBringsNothing) {
    swallowsExpected = true;
    exchange->MaxSerialRetries(1);
    Play(R"(
        0    = CommandString GR
        0    L Telescope Info CommandString TX=':GR#'
        0    > :GR#
        500  L Telescope Warning Retransmits: 1
        500  L Telescope Error CommandString: NO Response or bad response: ':GR#', Response='' -> Retrying!
        540  L Driver Info CommandClear()
        540  > #
        561  L ClearBuffers Info Removed 0 bytes in 1 Ticks
        700  < 01:02:03.4#
        710  L Telescope Info CommandString TX=':GR#'
        710  > :GR#
        1210 L Telescope Info CommandString Reply Received (TX=':GR#'), RX='01:02:03.4#'
        1210 = -> 01:02:03.4
    )");
}

TEST_P(StringExchange, CommandString_LateReplyCaughtInARetry_GivesWayToTheReplyOfTheRepeat) {
    swallowsExpected = true;
    exchange->MaxSerialRetries(1);
    Play(R"(
        0    = CommandString GR
        0    > :GR#
        540  > #
        700  < 01:02:03.4#
        710  > :GR#
        900  < 05:06:07.8#
        900  = -> 05:06:07.8
    )");
}

TEST_P(StringExchange, CommandString_LateReplyAtLineSpeed_IsNotTornByTheRetry) {
    struct Row {
        std::string command;
        std::string reply;
        std::string answerToTheRepeat;
        std::string result;
    };
    const Row rows[] = {
        {"GD", "-45*12:33#", "", "-45*12:33"},
        {"GR", "12:34:56.7#", "", "12:34:56.7"},
        {"GD", "-45*12:33#", "-45*12:34#", "-45*12:34"},
        {"GR", "12:34:56.7#", "12:34:57.8#", "12:34:57.8"},
    };
    swallowsExpected = true;
    exchange->MaxSerialRetries(1);
    for (const Row& row : rows) {
        const std::int64_t start = clock.Elapsed();
        std::int64_t arrival = start + 700;
        for (const char byte : row.reply) {
            line.Schedule(arrival++, {&byte, 1});
        }
        line.Schedule(start + 900, row.answerToTheRepeat);
        EXPECT_EQ(exchange->CommandString(row.command, false), row.result);
        EXPECT_EQ(line.Unread(), "");
    }
}

/// A link whose silent read gives an empty text instead of an error, as one without a line does.
class OverwritingLink final : public MountLink {
public:
    explicit OverwritingLink(std::unique_ptr<MountLink> serial) : serial_(std::move(serial)) {}

    bool Connected() override { return serial_->Connected(); }
    void Connected(bool connect) override { serial_->Connected(connect); }
    std::int32_t Port() override { return serial_->Port(); }
    void Port(std::int32_t port) override { serial_->Port(port); }
    std::int32_t Speed() override { return serial_->Speed(); }
    void Speed(std::int32_t baud) override { serial_->Speed(baud); }
    std::int32_t ReceiveTimeoutMS() override { return serial_->ReceiveTimeoutMS(); }
    void ReceiveTimeoutMS(std::int32_t milliseconds) override { serial_->ReceiveTimeoutMS(milliseconds); }
    std::int32_t ReceiveTimeout() override { return serial_->ReceiveTimeout(); }
    void ReceiveTimeout(std::int32_t seconds) override { serial_->ReceiveTimeout(seconds); }
    void ClearBuffers() override { serial_->ClearBuffers(); }
    std::string Receive() override { return serial_->Receive(); }
    std::string ReceiveCounted(std::int32_t count) override { return serial_->ReceiveCounted(count); }
    std::string ReceiveTerminated(std::string_view terminator) override {
        try {
            return serial_->ReceiveTerminated(terminator);
        } catch (const RunTimeError&) {
            return {};
        }
    }
    ReceivedCharacter ReceiveCharacter() override { return serial_->ReceiveCharacter(); }
    std::string TakeLateBytes() override { return serial_->TakeLateBytes(); }
    void Transmit(std::string_view text) override { serial_->Transmit(text); }
    void GetReadTimeouts(std::int32_t& total, std::int32_t& multiplier, std::int32_t& interval) override {
        ++timeoutReads;
        serial_->GetReadTimeouts(total, multiplier, interval);
    }

    int timeoutReads = 0;

private:
    std::unique_ptr<MountLink> serial_;
};

TEST_P(StringExchange, CommandString_LateReplyCaughtInARetryOnAnOverwritingLink_IsLost) {
    link = std::make_unique<OverwritingLink>(std::move(link));
    exchange->MaxSerialRetries(1);
    Play(R"(
        0    = CommandString GR
        0    > :GR#
        540  > #
        700  < 01:02:03.4#
        710  > :GR#
        1210 > #
        1231 = ->
    )");
    EXPECT_EQ(counters.Values().g_nRetransmits, 2);
    EXPECT_EQ(counters.Values().g_nReceiveTerminatedErrors, 1);
}

TEST_P(StringExchange, CommandString_BeforeARetry_ReadsTheTimeOutsOfTheLink) {
    auto counting = std::make_unique<OverwritingLink>(std::move(link));
    const OverwritingLink& counted = *counting;
    link = std::move(counting);
    exchange->MaxSerialRetries(2);
    exchange->CommandString("GR", false);
    EXPECT_EQ(counted.timeoutReads, 2);
}

TEST_P(StringExchange, CommandString_BeginningWithSmallSm_PausesAfterAGoodReply) {
    Play(R"(
        0   = CommandString Sm12:00
        0   > :Sm12:00#
        10  < 1#
        30  = -> 1
        30  = CommandString raw :Sm12:00#
        30  > :Sm12:00#
        40  < 1#
        60  = -> 1
        60  = CommandString SM12:00
        60  > :SM12:00#
        70  < 1#
        70  = -> 1
        70  = CommandString raw #:Sm12:00#
        70  > #:Sm12:00#
        80  < 1#
        80  = -> 1
    )");
}

TEST_P(StringExchange, CommandString_AfterAPortCheck_PutsTheLongReadLimitBack) {
    swallowsExpected = true;
    state.g_nReceiveTimeoutMS = 300;
    link->ReceiveTimeoutMS(5000);
    Play(R"(
        0   = CommandString GR
        0   L Telescope Info CommandString TX=':GR#'
        0   L Serial Info Setting serial receive timeout (mSecs): 300
        0   > :GR#
        300 L Telescope Warning Retransmits: 1
        300 L Telescope Error CommandString: NO Response or bad response: ':GR#', Response='' -> Giving up!
        300 L Telescope Error RECEIVE TERMINATED ERRORS: 1
        300 L Driver Info CommandClear()
        300 > #
        321 L ClearBuffers Info Removed 0 bytes in 1 Ticks
        321 = ->
    )");
    EXPECT_EQ(link->ReceiveTimeoutMS(), 300);
}

TEST_P(StringExchange, CommandString_AnyOtherReadLimit_IsLeftAlone) {
    for (const std::int32_t limit : {4999, 5001, 250}) {
        link->ReceiveTimeoutMS(limit);
        line.Schedule(clock.Elapsed() + 1, "ok#");
        EXPECT_EQ(exchange->CommandString("V", false), "ok");
        EXPECT_EQ(link->ReceiveTimeoutMS(), limit);
    }
}

TEST_P(StringExchange, CommandString_OutOfStep_ClearsTheLineFirst) {
    state.g_bResync = true;
    Play(R"(
        0   < 99:99#
        0   = CommandString GR
        0   L Driver Info CommandClear()
        0   > #
        21  L ClearBuffers Info Removed 6 bytes in 1 Ticks
        21  L Telescope Info CommandString TX=':GR#'
        21  > :GR#
        30  < 12:34:56.7#
        30  L Telescope Info CommandString Reply Received (TX=':GR#'), RX='12:34:56.7#'
        30  = -> 12:34:56.7
    )");
    EXPECT_FALSE(state.g_bResync);
}

TEST_P(StringExchange, CommandString_OutOfStepAfterItsClear_DropsTheInputOnceMore) {
    FallOutOfStepAt("Telescope Info CommandString TX=':GR#'");
    Play(R"(
        0   < 99:99#
        0   = CommandString GR
        1   > :GR#
        30  < 12:34:56.7#
        30  = -> 12:34:56.7
    )");
    EXPECT_TRUE(state.g_bResync);
}

TEST_P(StringExchange, CommandString_ADriverCommand_GoesToTheDriverCommandChannel) {
    driverReply = [](std::string_view) { return std::string("1,Park2"); };
    Play(R"(
        0   = CommandString raw RAW,GetParkPosition,x
        0   L Telescope Info CommandString Extended Command TX='RAW,GetParkPosition,x'
        0   L Telescope Info CommandString Extended Command RX='1,Park2'
        0   = -> 1,Park2
        0   = CommandStringInternal raw RAW,
        0   L Driver Info CommandString Extended Command TX='RAW,'
        0   L Driver Info CommandString Extended Command RX='1,Park2'
        0   = -> 1,Park2
    )");
    EXPECT_EQ(driverCommands, (std::vector<std::string>{"GetParkPosition,x", ""}));
}

TEST_P(StringExchange, CommandString_ADriverCommandOutOfStep_ClearsTheLineAllTheSame) {
    state.g_bResync = true;
    Play(R"(
        0   = CommandString raw RAW,Version
        0   > #
        21  = -> 1
    )");
    EXPECT_FALSE(state.g_bResync);
}

TEST_P(StringExchange, CommandString_ADriverCommandThatRaises_GivesAnEmptyResult) {
    swallowsExpected = true;
    driverReply = [](std::string_view) -> std::string { throw DriverError(0x80040400, "x", "no"); };
    Play(R"(
        0   = CommandString raw RAW,Version
        0   L Telescope Info CommandString Extended Command TX='RAW,Version'
        0   L Telescope Info CommandString Extended Command RX=''
        0   = ->
    )");
    EXPECT_EQ(ledger.Entries().size(), 1U);
}

TEST_P(StringExchange, CommandString_ADriverCommandFramedOrInSmallLetters_GoesToTheMount) {
    Play(R"(
        0   = CommandString RAW,Version
        0   > :RAW,Version#
        5   < a#
        5   = -> a
        5   = CommandString raw raw,Version
        5   > raw,Version
        9   < b#
        9   = -> b
    )");
    EXPECT_TRUE(driverCommands.empty());
}

TEST_P(StringExchange, CommandString_ADriverCommandWithTheCompanion_IsNotWrapped) {
    state.g_bQuayLink = true;
    state.g_nQuaySeq = 7;
    Play(R"(
        0   = CommandString raw RAW,Version
        0   = -> 1
    )");
    EXPECT_EQ(state.g_nQuaySeq, 7);
}

TEST_P(StringExchange, CommandString_OnALineThatNeverStopsSending_EndsAtTheReadLimit) {
    line.floodEveryMs = 7;
    const std::string reply = exchange->CommandString("GR", false);
    EXPECT_EQ(reply, std::string(500 / 7 - 1, '.'));
    EXPECT_EQ(clock.Elapsed(), 500);
}

TEST_P(StringExchange, CommandString_WithoutALink_FailsSilentlyAfterAllItsTries) {
    swallowsExpected = true;
    exchange->MaxSerialRetries(1);
    TakeLinkAway();
    Play(R"(
        0   = CommandString GR
        0   L Telescope Info CommandString TX=':GR#'
        0   L Telescope Warning Retransmits: 1
        0   L Telescope Error CommandString: NO Response or bad response: ':GR#', Response='' -> Retrying!
        40  L Driver Info CommandClear()
        60  L Telescope Info CommandString TX=':GR#'
        60  L Telescope Warning Retransmits: 2
        60  L Telescope Error CommandString: NO Response or bad response: ':GR#', Response='' -> Giving up!
        60  L Telescope Error RECEIVE TERMINATED ERRORS: 1
        60  L Driver Info CommandClear()
        80  = ->
    )");
    ExpectSwallowedForWantOfALink();
}

TEST_P(StringExchange, CommandString_OnAClosedLink_FailsAtOnceWithoutWaitingForTheReadLimit) {
    swallowsExpected = true;
    link->Connected(false);
    Play(R"(
        0   = CommandString GR
        20  = ->
    )");
    EXPECT_EQ(counters.Values().g_nReceiveTerminatedErrors, 1);
}

TEST_P(StringExchange, MaxSerialRetries_ChangedDuringAnExchange_CountsFromTheNextOne) {
    swallowsExpected = true;
    exchange->MaxSerialRetries(1);
    line.onWrite = [this](std::string_view) { exchange->MaxSerialRetries(0); };
    exchange->CommandString("GR", false);
    EXPECT_EQ(counters.Values().g_nRetransmits, 2);
}

}  // namespace
}  // namespace kestrane
