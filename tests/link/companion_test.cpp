#include <gtest/gtest.h>

#include "link/companion_wrap.h"
#include "link/link_fixture.h"

namespace kestrane {
namespace {

struct WrapRow {
    std::string command;
    bool raw;
    std::string wrapped;
};

TEST(CompanionWrap, WrapsFramedAndRawCommands) {
    const WrapRow rows[] = {
        {"GR", false, ":QUAY,7,GR#"},     {"", false, ":QUAY,7,#"},
        {":GR#", false, ":QUAY,7,:GR##"},  // only a raw command is taken out of its frame
        {":GR#", true, ":QUAY,7,GR##"},    // the last but one character is looked at, so the "#" stays
        {":GR##", true, ":QUAY,7,GR##"},  {"#:U#", true, ":QUAY,7,#:U##"},
        {":GR#x", true, ":QUAY,7,GR##"},  {"GR", true, ":QUAY,7,GR#"},
        {"::GR", true, ":QUAY,7,:GR#"},   {"#", true, ":QUAY,7,##"},
        {":#", true, ":QUAY,7,##"},       {"##", true, ":QUAY,7,##"},
        {":", true, ":QUAY,7,#"},
    };
    for (const WrapRow& row : rows) {
        EXPECT_EQ((row.raw ? WrapRawForCompanion : WrapForCompanion)(row.command, 7), row.wrapped) << row.command;
    }
    EXPECT_EQ(WrapForCompanion("GR", -3), ":QUAY,-3,GR#");
}

struct SplitRow {
    std::string reply;
    bool fromCompanion;
    bool hasNumber;
    std::string number;
    std::string result;
};

TEST(CompanionWrap, TakesRepliesApart) {
    const SplitRow rows[] = {
        {"QUAY,GR,7,12:34:56#", true, true, "7", "12:34:56#"},
        {"QUAY,,7,#", true, true, "7", "#"},
        {"QUAY,GR,,x#", true, true, "", "x#"},
        {"QUAY,*SLEW,7,1,2,3#", true, true, "7", "1,2,3#"},
        {"QUAY,GR,7#", true, false, "", "7#"},
        {"QUAY,GR#", true, false, "", "GR#"},
        {"QUAY,", true, false, "", ""},
        {"quay,GR,7,x#", false, false, "", "quay,GR,7,x#"},
        {"QUAY#", false, false, "", "QUAY#"},
        {"12:34:56#", false, false, "", "12:34:56#"},
        {"", false, false, "", ""},
    };
    for (const SplitRow& row : rows) {
        const CompanionReply parts = SplitCompanionReply(row.reply);
        EXPECT_EQ(parts.fromCompanion, row.fromCompanion) << row.reply;
        EXPECT_EQ(parts.hasNumber, row.hasNumber) << row.reply;
        EXPECT_EQ(parts.number, row.number) << row.reply;
        EXPECT_EQ(parts.result, row.result) << row.reply;
    }
}

TEST(CompanionWrap, CutsATextBeforeEachHead) {
    const std::pair<std::string, std::vector<std::string>> rows[] = {
        {"", {""}},
        {"12:34#", {"12:34#"}},
        {"QUAY,GR,7,x#", {"", "QUAY,GR,7,x#"}},
        {"old#QUAY,GR,7,x#QUAY,GD,8,y#z", {"old#", "QUAY,GR,7,x#", "QUAY,GD,8,y#z"}},
        {"12:3QUAY,GR", {"12:3", "QUAY,GR"}},
        {"QUAY,QUAY,", {"", "QUAY,", "QUAY,"}},
        {"QUAY", {"QUAY"}},
    };
    for (const auto& [text, parts] : rows) {
        EXPECT_EQ(CutAtCompanionHeads(text), parts) << text;
    }
}

class CompanionExchange : public LinkFixture, public testing::WithParamInterface<std::size_t> {
protected:
    CompanionExchange() {
        line.bytesPerRead = GetParam();
        state.g_bQuayLink = true;
        state.g_nQuaySeq = 7;
        exchange->MaxSerialRetries(2);
    }
};

INSTANTIATE_TEST_SUITE_P(Line, CompanionExchange, testing::Values(4096, 1), [](const auto& line) {
    return line.param == 1 ? std::string("ByteByByte") : std::string("InOnePiece");
});

TEST_P(CompanionExchange, CommandString_TheRightNumber_GivesTheResult) {
    Play(R"(
        0   = CommandString GR
        0   L Telescope Info CommandString TX=':GR#'
        0   > :QUAY,7,GR#
        30  < QUAY,GR,7,12:34:56#
        30  L Telescope Info CommandString: QUAY response: ':QUAY,7,GR#', Response='12:34:56#'
        30  = -> 12:34:56
    )");
    EXPECT_EQ(state.g_nQuaySeq, 8);
}

TEST_P(CompanionExchange, CommandString_LettersOfTheCompanionsHead_AreNoAlarms) {
    Play(R"(
        0   = CommandString *TIMESYNC,1
        0   > :QUAY,7,*TIMESYNC,1#
        30  < QUAY,*TIMESYNC,7,X1#
        30  = -> 1
    )");
    EXPECT_EQ(counters.Values().g_nLowPower, 0);
    EXPECT_EQ(counters.Values().g_nServoFaults, 1);  // what the mount itself sent is looked at
}

TEST_P(CompanionExchange, CommandString_NumbersRiseFromCallToCall) {
    Play(R"(
        0   = CommandStringInternal GR
        0   L Driver Info CommandString TX=':GR#'
        0   > :QUAY,7,GR#
        30  < QUAY,GR,7,1#
        30  L Driver Info CommandString: QUAY response: ':QUAY,7,GR#', Response='1#'
        30  = -> 1
        30  = CommandStringInternal raw :GD#
        30  L Driver Info CommandString TX=':GD#'
        30  > :QUAY,8,GD##
        60  < QUAY,GD,8,2#
        60  L Driver Info CommandString: QUAY response: ':QUAY,8,GD##', Response='2#'
        60  = -> 2
    )");
    EXPECT_EQ(state.g_nQuaySeq, 9);
}

TEST_P(CompanionExchange, CommandString_LateByOne_ReadsOnForTheRightReply) {
    Play(R"(
        0   = CommandString GR
        0   L Telescope Info CommandString TX=':GR#'
        0   > :QUAY,7,GR#
        10  < QUAY,GD,6,old#
        10  L Telescope Error 6
        10  L Telescope Error CommandString: QUAY response: ':QUAY,7,GR#', Response='old#', SeqNum Mismatch=7 6
        10  L Telescope Error RECEIVE TERMINATED ERRORS: 1
        40  < QUAY,GR,7,12:34:56#
        40  L Telescope Info CommandString: QUAY response: ':QUAY,7,GR#', Response='12:34:56#'
        40  = -> 12:34:56
    )");
    EXPECT_EQ(state.g_nQuaySeq, 8);
}

TEST_P(CompanionExchange, CommandString_LateByTwoThenByOne_ReadsOnTwice) {
    Play(R"(
        0   = CommandString GR
        0   > :QUAY,7,GR#
        10  < QUAY,GD,5,older#QUAY,GD,6,old#
        40  < QUAY,GR,7,12:34:56#
        40  = -> 12:34:56
    )");
    EXPECT_EQ(counters.Values().g_nReceiveTerminatedErrors, 2);
    EXPECT_EQ(state.g_nQuaySeq, 8);
}

TEST_P(CompanionExchange, CommandString_LateByThree_GivesAnEmptyResultAndOneClearOfTheLine) {
    Play(R"(
        0   = CommandString GR
        0   L Telescope Info CommandString TX=':GR#'
        0   > :QUAY,7,GR#
        10  < QUAY,GD,4,old#more
        10  L Telescope Error 4
        10  L Telescope Error CommandString: QUAY response: ':QUAY,7,GR#', Response='old#', SeqNum Mismatch=7 4
        10  L Telescope Error RECEIVE TERMINATED ERRORS: 1
        10  L Telescope Warning CommandString: Sequence number is behind by 3
        11  L ClearBuffers Info Removed 4 bytes in 1 Ticks
        11  = ->
    )");
    EXPECT_EQ(state.g_nQuaySeq, 8);
}

TEST_P(CompanionExchange, CommandString_AheadOfTheNumber_IsNoStaleReply) {
    Play(R"(
        0   = CommandString GR
        0   > :QUAY,7,GR#
        10  < QUAY,GR,8,new#
        11  = ->
    )");
    EXPECT_EQ(LogLines().back(), "ClearBuffers Info Removed 0 bytes in 1 Ticks");
    EXPECT_EQ(LogLines().rbegin()[1], "Telescope Warning CommandString: Sequence number is behind by -1");
}

TEST_P(CompanionExchange, CommandString_WithoutANumber_CountsAsMinusOne) {
    Play(R"(
        0   = CommandString GR
        0   L Telescope Info CommandString TX=':GR#'
        0   > :QUAY,7,GR#
        10  < QUAY,GR#
        10  L Telescope Error -1
        10  L Telescope Error CommandString: QUAY response: ':QUAY,7,GR#', Response='GR#', SeqNum Mismatch=7 -1
        10  L Telescope Error RECEIVE TERMINATED ERRORS: 1
        10  L Telescope Warning CommandString: Sequence number is behind by 8
        11  L ClearBuffers Info Removed 0 bytes in 1 Ticks
        11  = ->
    )");
}

TEST_P(CompanionExchange, CommandString_TheFirstOfAllWithoutANumber_IsTakenForAStaleOne) {
    state.g_nQuaySeq = 1;  // 1 less the -1 of a missing number is a lag of 2
    Play(R"(
        0   = CommandString GR
        0   L Telescope Info CommandString TX=':GR#'
        0   > :QUAY,1,GR#
        10  < QUAY,GR#
        10  L Telescope Error -1
        10  L Telescope Error CommandString: QUAY response: ':QUAY,1,GR#', Response='GR#', SeqNum Mismatch=1 -1
        10  L Telescope Error RECEIVE TERMINATED ERRORS: 1
        40  < QUAY,GR,1,12:34:56#
        40  L Telescope Info CommandString: QUAY response: ':QUAY,1,GR#', Response='12:34:56#'
        40  = -> 12:34:56
    )");
    EXPECT_EQ(state.g_nQuaySeq, 2);
}

TEST_P(CompanionExchange, ClearBuffers_SparesTheHeadsAmongTheAlarms) {
    line.bytesPerRead = 4096;
    Play(R"(
        0   < 12:3XQUAY,SKY,6,aZ#QUAY,SKY,7,b#
        0   = ClearBuffers
        1   = ->
    )");
    EXPECT_EQ(counters.Values().g_nServoFaults, 1);
    EXPECT_EQ(counters.Values().g_nMotorStalls, 1);
    EXPECT_EQ(counters.Values().g_nLowPower, 0);
    EXPECT_EQ(LogLines().back(), "ClearBuffers Info Removed 32 bytes in 1 Ticks");
}

TEST_P(CompanionExchange, CommandString_StaleRepliesWithoutEnd_StopAfterTwoFurtherReads) {
    line.bytesPerRead = 4096;  // the drain would end at a lone "Y"
    Play(R"(
        0   = CommandString GR
        0   > :QUAY,7,GR#
        10  < QUAY,GD,6,a#QUAY,GD,6,b#QUAY,GD,6,c#QUAY,GD,6,d#
        11  = ->
    )");
    EXPECT_EQ(counters.Values().g_nReceiveTerminatedErrors, 3);
    EXPECT_EQ(LogLines().back(), "ClearBuffers Info Removed 12 bytes in 1 Ticks");
    EXPECT_EQ(counters.Values().g_nLowPower, 0);
    EXPECT_EQ(state.g_nQuaySeq, 8);
}

TEST_P(CompanionExchange, CommandString_StaleReplyThenSilence_GivesNoStaleResult) {
    swallowsExpected = true;
    Play(R"(
        0   = CommandString GR
        0   > :QUAY,7,GR#
        10  < QUAY,GD,6,old#
        510 = ->
    )");
    EXPECT_EQ(
        LogLines().back(),
        "Telescope Error CommandString: NO Response or bad QUAY response: ':QUAY,7,GR#', Response='GR' -> Giving up!");
    EXPECT_EQ(state.g_nQuaySeq, 8);
}

TEST_P(CompanionExchange, CommandString_AForeignReply_IsGivenBackLessItsLastCharacter) {
    Play(R"(
        0   = CommandStringInternal raw :GR#
        0   L Driver Info CommandString TX=':GR#'
        0   > :QUAY,7,GR##
        30  < 12:34:56#
        30  L Telescope Error CommandString: NO Response or bad QUAY response: ':QUAY,7,GR##', Response=':GR#' -> Giving up!
        30  = -> 12:34:56
    )");
    EXPECT_EQ(state.g_nQuaySeq, 8);
    EXPECT_EQ(counters.Values().g_nRetransmits, 0);
}

TEST_P(CompanionExchange, CommandString_ASilentCompanion_GivesUpWithoutARetry) {
    swallowsExpected = true;
    Play(R"(
        0   = CommandString GR
        0   L Telescope Info CommandString TX=':GR#'
        0   > :QUAY,7,GR#
        500 L Telescope Error CommandString: NO Response or bad QUAY response: ':QUAY,7,GR#', Response='GR' -> Giving up!
        500 = ->
    )");
    EXPECT_EQ(state.g_nQuaySeq, 8);
    EXPECT_EQ(counters.Values().g_nRetransmits, 0);
}

TEST_P(CompanionExchange, CommandString_OnlyATerminatorAsResult_IsEmpty) {
    Play(R"(
        0   = CommandString CM
        0   > :QUAY,7,CM#
        30  < QUAY,CM,7,#
        30  = ->
    )");
}

TEST_P(CompanionExchange, CommandString_OutOfStep_ClearsTheLineFirst) {
    state.g_bResync = true;
    Play(R"(
        0   = CommandString GR
        0   > #
        21  > :QUAY,7,GR#
        30  < QUAY,GR,7,ok#
        30  = -> ok
    )");
    EXPECT_FALSE(state.g_bResync);
}

TEST_P(CompanionExchange, CommandString_WithALongReadLimit_KeepsIt) {
    link->ReceiveTimeoutMS(5000);
    line.Schedule(0, "QUAY,GR,7,ok#");
    EXPECT_EQ(exchange->CommandString("GR", false), "ok");
    EXPECT_EQ(link->ReceiveTimeoutMS(), 5000);
}

TEST_P(CompanionExchange, CommandString_BeginningWithSmallSm_TakesNoPause) {
    Play(R"(
        0   = CommandString Sm0:00
        0   > :QUAY,7,Sm0:00#
        10  < QUAY,Sm,7,1#
        10  = -> 1
    )");
}

TEST_P(CompanionExchange, CommandString_EmptyAndRaw_SendsNothingAndKeepsTheNumber) {
    Play(R"(
        0   = CommandString raw
        0   = ->
    )");
    EXPECT_EQ(state.g_nQuaySeq, 7);
}

TEST_P(CompanionExchange, CommandString_WithoutALink_FailsSilentlyAndTheNumberMovesOn) {
    swallowsExpected = true;
    TakeLinkAway();
    Play(R"(
        0   = CommandString GR
        0   L Telescope Info CommandString TX=':GR#'
        0   L Telescope Error CommandString: NO Response or bad QUAY response: ':QUAY,7,GR#', Response='GR' -> Giving up!
        0   = ->
    )");
    EXPECT_EQ(state.g_nQuaySeq, 8);
}

struct NumberRow {
    std::string text;
    bool matches;
};

TEST_P(CompanionExchange, CommandString_TheNumberIsReadAsNumbersAreReadElsewhere) {
    for (const NumberRow& row : {NumberRow{"7", true}, {" 7 ", true}, {"07", true}, {"7.0", true}, {"17", false}}) {
        state.g_nQuaySeq = 7;
        line.Schedule(clock.Elapsed(), "QUAY,GR," + row.text + ",ok#");
        EXPECT_EQ(exchange->CommandString("GR", false), row.matches ? "ok" : "") << row.text;
    }
}

TEST_P(CompanionExchange, CommandString_AtTheGreatestNumber_StaysThere) {
    state.g_nQuaySeq = 2147483647;
    line.Schedule(0, "QUAY,GR,2147483647,ok#");
    EXPECT_EQ(exchange->CommandString("GR", false), "ok");
    EXPECT_EQ(state.g_nQuaySeq, 2147483647);
}

TEST_P(CompanionExchange, CommandString_AHugeNumber_IsAForeignOne) {
    swallowsExpected = true;
    line.Schedule(0, "QUAY,GR,99999999999999999999,ok#");
    EXPECT_EQ(exchange->CommandString("GR", false), "");
    EXPECT_EQ(state.g_nQuaySeq, 8);
}

}  // namespace
}  // namespace kestrane
