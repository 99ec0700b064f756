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

TEST_F(BlindExchange, LateBytes_AreShownAsTheCharactersTheyAre) {
    Play(R"(
        0   < +05\xDF00:00#
        5   = CommandBlindInternal Mn
        5   L Driver Info CommandBlind TX=':Mn#'
        5   L Telescope Warning Retransmits: 1
        5   L Driver Warning Dropped a late reply before the next command: '+05\xC3\x9F00:00#'
        5   > :Mn#
        15  = ->
    )");
}

TEST_F(BlindExchange, LateBytes_AreReadOffBeforeTheCommand_WithoutAWait_AndCountOnce) {
    Play(R"(
        0   < 0
        5   = CommandBlindInternal Mn
        5   L Driver Info CommandBlind TX=':Mn#'
        5   L Telescope Warning Retransmits: 1
        5   L Driver Warning Dropped a late reply before the next command: '0'
        5   > :Mn#
        15  = ->
        16  < 12:00:00#Z
        20  = CommandBoolInternal Sr01:00:00.0
        20  L Driver Info CommandBool TX=':Sr01:00:00.0#'
        20  L Telescope Error MOTOR STALL DETECTEDS: 1
        20  L Telescope Warning Retransmits: 2
        20  L Driver Warning Dropped a late reply before the next command: '12:00:00#'
        20  > :Sr01:00:00.0#
        30  < 1
        30  L Driver Info CommandBool Reply Received (TX=':Sr01:00:00.0#'), RX='1'
        30  = -> True
        31  < 1
        40  = CommandStringInternal GR
        40  L Driver Info CommandString TX=':GR#'
        40  L Telescope Warning Retransmits: 3
        40  L Driver Warning Dropped a late reply before the next command: '1'
        40  > :GR#
        50  < 05:00:00.0#
        50  L Driver Info CommandString Reply Received (TX=':GR#'), RX='05:00:00.0#'
        50  = -> 05:00:00.0
    )");
    EXPECT_EQ(counters.Values().g_nRetransmits, 3);
}

TEST_F(BlindExchange, AlarmLettersThatWait_AreNoLateReply) {
    Play(R"(
        0   < Z
        5   = CommandBlindInternal Mn
        5   L Driver Info CommandBlind TX=':Mn#'
        5   L Telescope Error MOTOR STALL DETECTEDS: 1
        5   > :Mn#
        15  = ->
    )");
    EXPECT_EQ(counters.Values().g_nRetransmits, 0);
}

TEST_F(BlindExchange, LateReplyOfTheCompanion_IsLeftForItsSequenceNumber) {
    state.g_bQuayLink = true;
    state.g_nQuaySeq = 7;
    line.Schedule(0, "QUAY,GR,6,01:00:00.0#");
    line.Schedule(20, "QUAY,GR,7,02:00:00.0#");
    EXPECT_EQ(exchange->CommandString("GR", false), "02:00:00.0");
    EXPECT_EQ(counters.Values().g_nRetransmits, 0);
}

TEST_F(BlindExchange, ReplyToTheSlewAfterAnAlarmLetter_IsReadAllTheSame) {
    for (const auto& [bytes, reply] : {std::pair{"Z0", "0"}, {"Z1", "1"}, {"XY2", "2"}, {"0", "0"}, {"Z", ""}}) {
        SCOPED_TRACE(bytes);
        line.Schedule(clock.Elapsed() + 10, bytes);
        const std::int32_t shortReads = counters.Values().g_nReceiveCountedErrors;
        const bool letters = bytes[1] != 0 || *bytes == 'Z';
        EXPECT_EQ(link->ReceiveCharacter().reply, reply);
        EXPECT_EQ(counters.Values().g_nReceiveCountedErrors > shortReads, letters);
        EXPECT_EQ(line.Unread(), "");
    }
    line.Schedule(clock.Elapsed() + 10, "Z0");
    EXPECT_TRUE(exchange->CommandBool("MS", false));
}

TEST_F(BlindExchange, ReplyToTheSlewAfterADoubledOne_IsReadAllTheSame) {
    for (const auto& [bytes, reply, dropped] :
         {std::tuple{"10", "0", 1}, {"11", "1", 1}, {"12", "1", 1}, {"1", "1", 0}, {"1Z", "1", 0}, {"1Z0", "0", 1}}) {
        SCOPED_TRACE(bytes);
        line.Schedule(clock.Elapsed() + 10, bytes);
        const std::int32_t retransmits = counters.Values().g_nRetransmits;
        clock.Sleep(10);
        const ReceivedCharacter received = link->ReceiveCharacter();
        EXPECT_EQ(received.reply, reply);
        EXPECT_EQ(received.afterAnother, received.reply == "0");
        EXPECT_EQ(counters.Values().g_nRetransmits - retransmits, dropped);
        EXPECT_EQ(link->TakeLateBytes(), "");
    }
    line.Schedule(clock.Elapsed() + 10, "01");
    EXPECT_EQ(link->ReceiveCharacter().reply, "0");
    EXPECT_EQ(link->TakeLateBytes(), "1") << "after an accepted slew nothing is looked for";
}

TEST_F(BlindExchange, DeviceThatGoesAndComesBack_IsLoggedByName) {
    machine.serialPorts.Disconnect(1);
    const std::int64_t start = clock.Elapsed();
    EXPECT_EQ(link->ReceiveCounted(1), "");
    EXPECT_EQ(link->ReceiveCounted(1), "");
    EXPECT_EQ(clock.Elapsed(), start) << "nobody waits for a device that is gone";
    machine.serialPorts.Connect(1, line);
    link->Transmit(":Mn#");
    std::string devices;
    for (const std::string& logged : LogLines()) {
        if (logged.find("COM1 (") != std::string::npos) {
            devices += logged + "\n";
        }
    }
    EXPECT_EQ(devices,
              "Serial Warning COM1 (virtual line 1) is gone. Check its cable: the driver goes on when it is back.\n"
              "Serial Warning COM1 (virtual line 1) is back.\n");
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
    FallOutOfStepAt("ASCOM Info CommandBlind TX=':Mn#'");
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
    ExpectSwallowedForWantOfALink();
}

}  // namespace
}  // namespace kestrane
