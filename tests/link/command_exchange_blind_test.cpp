#include <gtest/gtest.h>

#include "link/link_fixture.h"

namespace kestrane {
namespace {

class BlindExchange : public LinkFixture {};

TEST_F(BlindExchange, CommandBlind_SendsAndWaitsTenMillisecondsWithoutReading) {
    Play(R"(
        0   = CommandBlind Mn
        0   L ASCOM Info CommandBlind TX=':Mn#'
        0   > :Mn#
        10  = ->
        10  = CommandBlindInternal raw #:U#
        10  L Driver Info CommandBlind TX='#:U#'
        10  > #:U#
        20  = ->
    )");
    EXPECT_EQ(machine.serialPorts.Reads(), 0);
}

TEST_F(BlindExchange, CommandBlind_Empty_SendsNothingFramedOrRaw) {
    Play(R"(
        0   = CommandBlind
        0   L ASCOM Info CommandBlind (no chars to send)
        0   = ->
        0   = CommandBlind raw
        0   L ASCOM Info CommandBlind (no chars to send)
        0   = ->
        0   = CommandBlindInternal
        0   L Driver Info CommandBlind (no chars to send)
        0   = ->
    )");
}

TEST_F(BlindExchange, CommandBlind_OutOfStep_SendsTheEndOfInputBeforeItsOwnText) {
    state.g_bResync = true;
    Play(R"(
        0   < 12:3
        0   = CommandBlind Mn
        0   L Driver Info CommandClear()
        0   > #
        21  L ClearBuffers Info Removed 4 bytes in 1 Ticks
        21  L ASCOM Info CommandBlind TX=':Mn#'
        21  > :Mn#
        31  = ->
        31  = CommandBlind Qn
        31  L ASCOM Info CommandBlind TX=':Qn#'
        31  > :Qn#
        41  = ->
    )");
    EXPECT_FALSE(state.g_bResync);
}

TEST_F(BlindExchange, CommandBlindInternal_OutOfStep_ClearsTheFlag) {
    state.g_bResync = true;
    Play(R"(
        0   = CommandBlindInternal raw :Q#
        0   > #
        21  > :Q#
        31  = ->
    )");
    EXPECT_FALSE(state.g_bResync);
}

TEST_F(BlindExchange, CommandBlind_OutOfStepAfterItsClear_DropsTheInputOnceMore) {
    onLog = [this](std::string_view logged) { state.g_bResync = logged == "ASCOM Info CommandBlind TX=':Mn#'"; };
    Play(R"(
        0   < 99:99#
        0   = CommandBlind Mn
        1   > :Mn#
        11  = ->
    )");
}

TEST_F(BlindExchange, CommandBlind_EmptyAndOutOfStep_ClearsTheLineAllTheSame) {
    state.g_bResync = true;
    Play(R"(
        0   = CommandBlind
        0   > #
        21  = ->
    )");
    EXPECT_FALSE(state.g_bResync);
}

TEST_F(BlindExchange, CommandBlind_WithTheCompanion_IsNotWrapped) {
    state.g_bQuayLink = true;
    state.g_nQuaySeq = 7;
    Play(R"(
        0   = CommandBlind Mn
        0   > :Mn#
        10  = ->
    )");
    EXPECT_EQ(state.g_nQuaySeq, 7);
}

TEST_F(BlindExchange, CommandBlindLight_FramesSendsAndReturnsAtOnce) {
    Play(R"(
        0   = CommandBlindLight Mn250
        0   L ASCOM Info TX: :Mn250#
        0   > :Mn250#
        0   = ->
        0   = CommandBlindLight
        0   L ASCOM Info TX: :#
        0   > :#
        0   = ->
    )");
    EXPECT_EQ(machine.serialPorts.Reads(), 0);
}

TEST_F(BlindExchange, CommandBlindLight_OutOfStep_LeavesTheFlagToTheNextExchange) {
    state.g_bResync = true;
    Play(R"(
        0   = CommandBlindLight FQ
        0   > :FQ#
        0   = ->
    )");
    EXPECT_TRUE(state.g_bResync);
}

TEST_F(BlindExchange, CommandClear_EndsTheInputWaitsAndDrains) {
    state.g_bResync = true;
    Play(R"(
        0   = CommandClear
        0   L ASCOM Info CommandClear()
        0   > #
        15  < late#
        21  L ClearBuffers Info Removed 5 bytes in 1 Ticks
        21  = ->
    )");
    EXPECT_FALSE(state.g_bResync);
    Play(R"(
        0   = CommandClearInternal
        0   L Driver Info CommandClear()
        0   > #
        21  L ClearBuffers Info Removed 0 bytes in 1 Ticks
        21  = ->
    )");
}

TEST_F(BlindExchange, WithoutALink_NothingIsSentAndNothingIsRaised) {
    swallowsExpected = true;
    state.g_bResync = true;
    TakeLinkAway();
    Play(R"(
        0   = CommandBlindLight Mn250
        0   L ASCOM Info TX: :Mn250#
        0   = ->
        0   = CommandBlind Mn
        0   L Driver Info CommandClear()
        20  L ASCOM Info CommandBlind TX=':Mn#'
        30  = ->
        30  = CommandClear
        30  L ASCOM Info CommandClear()
        50  = ->
    )");
    EXPECT_FALSE(state.g_bResync);
    EXPECT_EQ(ledger.Entries().size(), 6U);
    for (const SwallowedError& error : ledger.Entries()) {
        EXPECT_EQ(error.number, RunTimeError::kObjectNotSet);
    }
}

}  // namespace
}  // namespace kestrane
