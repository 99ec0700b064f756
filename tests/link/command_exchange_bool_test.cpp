#include <gtest/gtest.h>

#include "link/link_fixture.h"

namespace kestrane {
namespace {

class BoolExchange : public LinkFixture {};

TEST_F(BoolExchange, CommandBool_GoodReply_IsTrueAndReportsSuccess) {
    Play(R"(
        0   = CommandBool Sr12:34:56.7
        0   L Telescope Info CommandBool TX=':Sr12:34:56.7#'
        0   > :Sr12:34:56.7#
        25  < 1
        25  L Telescope Info CommandBool Reply Received (TX=':Sr12:34:56.7#'), RX='1'
        25  = -> True
    )");
    EXPECT_EQ(querySuccesses, 1);
}

TEST_F(BoolExchange, CommandBoolInternal_LogsAsTheDriver) {
    Play(R"(
        0   = CommandBoolInternal raw :St+47*00:00#
        0   L Driver Info CommandBool TX=':St+47*00:00#'
        0   > :St+47*00:00#
        25  < 1
        25  L Driver Info CommandBool Reply Received (TX=':St+47*00:00#'), RX='1'
        25  = -> True
    )");
    EXPECT_EQ(querySuccesses, 1);
}

TEST_F(BoolExchange, CommandBool_ReadsOneCharacterOnly) {
    Play(R"(
        0   = CommandBool SC
        0   > :SC#
        5   < 1Updating#
        5   = -> True
        5   = ReceiveTerminated #
        5   = -> Updating#
    )");
}

TEST_F(BoolExchange, CommandBool_ZeroToTheSlew_IsTrueForTheClientMethodOnly) {
    swallowsExpected = true;
    Play(R"(
        0   = CommandBool MS
        0   > :MS#
        10  < 0
        10  = -> True
        10  = CommandBool raw :MS#
        10  > :MS#
        20  < 0
        20  = -> True
        20  = CommandBoolInternal MS
        20  > :MS#
        30  < 0
        30  > #
        51  = -> False
        60  = CommandBoolInternal raw :MS#
        60  > :MS#
        70  < 0
        70  > #
        91  = -> False
    )");
    EXPECT_EQ(querySuccesses, 2);
}

TEST_F(BoolExchange, CommandBool_OneToTheSlew_IsTrueForBoth) {
    Play(R"(
        0   = CommandBool MS
        0   > :MS#
        10  < 1
        10  = -> True
        10  = CommandBoolInternal MS
        10  > :MS#
        20  < 1
        20  = -> True
    )");
}

TEST_F(BoolExchange, CommandBool_ZeroToAnythingButTheSlew_IsFalse) {
    for (const auto& [command, raw] :
         {std::pair{"Sr12:00:00", false}, {"#:MS#", true}, {"ms", false}, {"MS ", false}}) {
        line.Schedule(clock.Elapsed(), "0");
        EXPECT_FALSE(exchange->CommandBool(command, raw)) << command;
    }
}

TEST_F(BoolExchange, CommandBool_SilentMount_GivesUpAfterOneTry) {
    Play(R"(
        0   = CommandBool Sr12:00:00
        0   L Telescope Info CommandBool TX=':Sr12:00:00#'
        0   > :Sr12:00:00#
        500 L Telescope Error RECEIVE COUNTED ERRORS: 1
        500 L Telescope Warning Retransmits: 1
        500 L Telescope Error CommandBool: NO Response or bad response: ':Sr12:00:00#', Response='' -> Giving up!
        500 L Telescope Error RECEIVE COUNTED ERRORS: 2
        500 L Driver Info CommandClear()
        500 > #
        521 L ClearBuffers Info Removed 0 bytes in 1 Ticks
        521 = -> False
    )");
    EXPECT_EQ(querySuccesses, 0);
}

TEST_F(BoolExchange, CommandBool_BadReply_ClearsTheLineAndTriesAgain) {
    exchange->MaxSerialRetries(2);
    Play(R"(
        0   = CommandBoolInternal Sd+45*00:00
        0   L Driver Info CommandBool TX=':Sd+45*00:00#'
        0   > :Sd+45*00:00#
        10  < 0rest
        10  L Telescope Warning Retransmits: 1
        10  L Driver Error CommandBool: NO Response or bad response to ':Sd+45*00:00#', Response='0' -> Retrying!
        10  L Driver Info CommandClear()
        10  > #
        31  L ClearBuffers Info Removed 4 bytes in 1 Ticks
        31  L Driver Info CommandBool TX=':Sd+45*00:00#'
        31  > :Sd+45*00:00#
        40  < ?
        40  L Telescope Warning Retransmits: 2
        40  L Driver Error CommandBool: NO Response or bad response to ':Sd+45*00:00#', Response='?' -> Retrying!
        40  L Driver Info CommandClear()
        40  > #
        61  L ClearBuffers Info Removed 0 bytes in 1 Ticks
        61  L Driver Info CommandBool TX=':Sd+45*00:00#'
        61  > :Sd+45*00:00#
        70  < 1
        70  L Driver Info CommandBool Reply Received (TX=':Sd+45*00:00#'), RX='1'
        70  = -> True
    )");
    EXPECT_EQ(counters.Values().g_nReceiveCountedErrors, 0);
}

TEST_F(BoolExchange, CommandBool_SilentMountWithRetries_NeedsNoPauseBeforeTheClear) {
    exchange->MaxSerialRetries(1);
    Play(R"(
        0    = CommandBool RR0.00000
        0    > :RR0.00000#
        500  ~ 500
        500  > #
        521  ~ 1
        521  > :RR0.00000#
        1021 ~ 500
        1021 > #
        1042 ~ 1
        1042 = -> False
    )");
    EXPECT_EQ(counters.Values().g_nRetransmits, 2);
    EXPECT_EQ(counters.Values().g_nReceiveCountedErrors, 3);  // two short reads and the exchange as a whole
}

TEST_F(BoolExchange, CommandBool_AnAlarmLetterInPlaceOfTheReply_IsABadReply) {
    exchange->MaxSerialRetries(1);
    Play(R"(
        0   = CommandBool KA
        0   > :KA#
        10  < Z1
        10  > #
        31  > :KA#
        40  < 1
        40  = -> True
    )");
    EXPECT_EQ(counters.Values().g_nMotorStalls, 1);
    EXPECT_EQ(counters.Values().g_nReceiveCountedErrors, 1);
}

TEST_F(BoolExchange, CommandBool_Empty_IsTrueAndSendsNothing) {
    Play(R"(
        0   = CommandBool
        0   L Telescope Info CommandBool TX (no Chars to send)
        0   = -> True
        0   = CommandBool raw
        0   L Telescope Info CommandBool TX (no Chars to send)
        0   = -> True
        0   = CommandBoolInternal
        0   L Driver Info CommandBool TX (no Chars to send)
        0   = -> True
    )");
    EXPECT_EQ(querySuccesses, 0);
}

TEST_F(BoolExchange, CommandBool_BeginningWithSmallSm_PausesAfterAGoodReply) {
    Play(R"(
        0   = CommandBool Sm0:00:00
        0   > :Sm0:00:00#
        10  < 1
        30  = -> True
        30  = CommandBool SM0:00:00.0
        30  > :SM0:00:00.0#
        40  < 1
        40  = -> True
        40  = CommandBool Sm0:00:00
        40  > :Sm0:00:00#
        50  < 0
        50  > #
        71  = -> False
    )");
}

TEST_F(BoolExchange, CommandBool_OutOfStep_ClearsTheLineFirst) {
    state.g_bResync = true;
    Play(R"(
        0   < 1
        0   = CommandBool PO
        0   > #
        21  > :PO#
        30  < 1
        30  = -> True
    )");
    EXPECT_FALSE(state.g_bResync);
}

TEST_F(BoolExchange, CommandBool_OutOfStepAfterItsClear_DropsTheInputOnceMore) {
    onLog = [this](std::string_view logged) {
        if (logged == "Telescope Info CommandBool TX=':PO#'") {
            state.g_bResync = true;
        }
    };
    Play(R"(
        0   < 0
        0   = CommandBool PO
        1   > :PO#
        30  < 1
        30  = -> True
    )");
}

TEST_F(BoolExchange, CommandBool_EmptyAndOutOfStep_ClearsTheLineAllTheSame) {
    state.g_bResync = true;
    Play(R"(
        0   = CommandBool
        0   > #
        21  = -> True
    )");
    EXPECT_FALSE(state.g_bResync);
}

TEST_F(BoolExchange, CommandBool_WithTheCompanion_IsNotWrapped) {
    state.g_bQuayLink = true;
    state.g_nQuaySeq = 7;
    Play(R"(
        0   = CommandBoolInternal QUAY
        0   > :QUAY#
        10  < 1
        10  = -> True
    )");
    EXPECT_EQ(state.g_nQuaySeq, 7);
}

TEST_F(BoolExchange, CommandBool_WithALongReadLimit_KeepsIt) {
    link->ReceiveTimeoutMS(5000);
    line.Schedule(1, "1");
    EXPECT_TRUE(exchange->CommandBool("QUAY", false));
    EXPECT_EQ(link->ReceiveTimeoutMS(), 5000);
}

TEST_F(BoolExchange, CommandBool_WithoutALink_FailsSilently) {
    swallowsExpected = true;
    TakeLinkAway();
    Play(R"(
        0   = CommandBool PO
        0   L Telescope Info CommandBool TX=':PO#'
        0   L Telescope Warning Retransmits: 1
        0   L Telescope Error CommandBool: NO Response or bad response: ':PO#', Response='' -> Giving up!
        0   L Telescope Error RECEIVE COUNTED ERRORS: 1
        0   L Driver Info CommandClear()
        20  = -> False
    )");
}

TEST_F(BoolExchange, CommandBool_OnALineThatNeverStopsSending_EndsWithinTheLimitOfTheDrain) {
    line.floodEveryMs = 1;
    Play(R"(
        0    = CommandBool PO
        0    > :PO#
        1    > #
        2021 = -> False
    )");
}

struct RetriesRow {
    std::int16_t written;
    std::int16_t readBack;
    int tries;
};

TEST_F(BoolExchange, MaxSerialRetries_IsHeldBetweenZeroAndFive) {
    EXPECT_EQ(exchange->MaxSerialRetries(), 0);
    constexpr RetriesRow kRows[] = {{0, 0, 1}, {1, 1, 2},     {2, 2, 3},  {5, 5, 6},     {6, 5, 6},
                                    {9, 5, 6}, {32767, 5, 6}, {-1, 0, 1}, {-32768, 0, 1}};
    for (const RetriesRow& row : kRows) {
        exchange->MaxSerialRetries(row.written);
        EXPECT_EQ(exchange->MaxSerialRetries(), row.readBack) << row.written;
        const std::int32_t before = counters.Values().g_nRetransmits;
        exchange->CommandBool("PO", false);
        EXPECT_EQ(counters.Values().g_nRetransmits - before, row.tries) << row.written;
    }
}

TEST_F(BoolExchange, MaxSerialRetries_BelongsToOneExchange) {
    CommandExchange other(ExchangeNeeds{essentials, link, [](std::string_view) { return std::string(); }, [] {}});
    exchange->MaxSerialRetries(3);
    EXPECT_EQ(other.MaxSerialRetries(), 0);
}

}  // namespace
}  // namespace kestrane
