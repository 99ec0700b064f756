#include "link/class_serial.h"

#include <gtest/gtest.h>

#include "link/link_fixture.h"

namespace kestrane {
namespace {

enum class BackEnd { Library, AscomObject };

std::string NameOf(const testing::TestParamInfo<BackEnd>& backEnd) {
    return backEnd.param == BackEnd::Library ? "Library" : "AscomObject";
}

/// What holds on both back ends. On the platform's object every read that brings nothing is a swallowed error.
class SerialLink : public LinkFixture, public testing::WithParamInterface<BackEnd> {
protected:
    SerialLink() {
        if (GetParam() == BackEnd::AscomObject) {
            UseAscomObject();
            swallowsExpected = true;
        }
    }
    bool Library() const { return GetParam() == BackEnd::Library; }
};

INSTANTIATE_TEST_SUITE_P(BackEnds, SerialLink, testing::Values(BackEnd::Library, BackEnd::AscomObject), NameOf);

TEST_P(SerialLink, AtCreation_ItIsClosedWithItsFirstValues) {
    MakeLink();
    EXPECT_FALSE(link->Connected());
    EXPECT_EQ(link->Port(), 1);
    EXPECT_EQ(link->Speed(), 9600);
    EXPECT_EQ(link->ReceiveTimeoutMS(), 250);
    EXPECT_EQ(link->ReceiveTimeout(), 0);
}

TEST_P(SerialLink, Connected_True_OpensThePortAndLogsIt) {
    link->Connected(false);
    link->Port(12);
    link->Speed(19200);
    link->ReceiveTimeoutMS(300);
    Play(Library() ? R"(
        0   = Connected True
        0   L Serial Info KS Serial - Port = 12, Speed = 19200, Timeout = 300ms
        0   = ->
    )"
                   : R"(
        0   = Connected True
        0   L Serial Info ASCOM Serial - Port = 12, Speed = 19200, Timeout = 300ms
        0   = ->
    )");
    EXPECT_TRUE(link->Connected());
    EXPECT_EQ(LastOpening().port, 12);
    EXPECT_EQ(LastOpening().speed, 19200);
    EXPECT_EQ(link->Receive(), "");
    EXPECT_EQ(clock.Elapsed(), 300);
}

TEST_P(SerialLink, Connected_TrueOnAnOpenLink_OpensItAgainWithoutHarm) {
    link->Connected(true);
    EXPECT_TRUE(link->Connected());
    line.Schedule(1, "ok#");
    EXPECT_EQ(exchange->CommandString("V", false), "ok");
}

TEST_P(SerialLink, Connected_False_ClosesThePort) {
    Play(R"(
        0   = Connected False
        0   = ->
    )");
    EXPECT_FALSE(link->Connected());
    EXPECT_FALSE(machine.serialPorts.IsOpen(1));
    EXPECT_TRUE(LogLines().empty());
}

TEST_P(SerialLink, AtItsEnd_ItClosesThePortAndSaysSo) {
    link.reset();
    EXPECT_EQ(LogLines(), std::vector<std::string>{"Serial Info Terminating and releasing serial object..."});
    EXPECT_FALSE(machine.serialPorts.IsOpen(1));
}

TEST_P(SerialLink, ReceiveTimeoutMS_OnAnOpenLink_HoldsAtOnce) {
    Play(R"(
        0   = ReceiveTimeoutMS 120
        0   L Serial Info Setting serial receive timeout (mSecs): 120
        0   = ->
        0   = Receive
        120 = ->
    )");
    EXPECT_EQ(link->ReceiveTimeoutMS(), 120);
}

TEST_P(SerialLink, ReceiveTimeoutMS_OnAClosedLink_IsKeptForTheNextConnect) {
    link->Connected(false);
    Play(R"(
        0   = ReceiveTimeoutMS 120
        0   = ->
    )");
    EXPECT_TRUE(LogLines().empty());
    EXPECT_EQ(link->ReceiveTimeoutMS(), 120);
    link->Connected(true);
    link->Receive();
    EXPECT_EQ(clock.Elapsed(), 120);
}

TEST_P(SerialLink, ReceiveTimeout_IsInWholeSecondsWithHalvesToTheEvenOne) {
    struct Row {
        std::int32_t milliseconds;
        std::int32_t seconds;
    };
    for (const Row& row : {Row{0, 0}, {499, 0}, {500, 0}, {501, 1}, {1000, 1}, {1499, 1}, {1500, 2}, {2500, 2}}) {
        link->ReceiveTimeoutMS(row.milliseconds);
        EXPECT_EQ(link->ReceiveTimeout(), row.seconds) << row.milliseconds;
    }
}

TEST_P(SerialLink, ReceiveTimeout_Written_IsAThousandTimesThat) {
    Play(R"(
        0   = ReceiveTimeout 1
        0   L Serial Info Setting serial receive timeout (mSecs): 1000
        0   = ->
    )");
    EXPECT_EQ(link->ReceiveTimeoutMS(), 1000);
}

TEST_P(SerialLink, ReceiveTimeout_TooLargeForMilliseconds_IsIgnored) {
    swallowsExpected = true;
    for (const std::int32_t seconds : {2147484, -2147484}) {
        link->ReceiveTimeout(seconds);
        EXPECT_EQ(link->ReceiveTimeoutMS(), 500);
        EXPECT_EQ(ledger.Entries().back().number, RunTimeError::kOverflow);
    }
}

TEST_P(SerialLink, ClearBuffers_OnAQuietLine_CostsOneReadOfOneMillisecond) {
    Play(R"(
        0   = ClearBuffers
        1   ~ 1
        1   L ClearBuffers Info Removed 0 bytes in 1 Ticks
        1   = ->
    )");
}

TEST_P(SerialLink, ClearBuffers_DropsWhatWaitsAndCountsIt) {
    Play(R"(
        0   < 12:34:56#12:
        0   = ReceiveTerminated #
        0   = -> 12:34:56#
        0   = ClearBuffers
        1   L ClearBuffers Info Removed 3 bytes in 1 Ticks
        1   = ->
    )");
}

TEST_P(SerialLink, ClearBuffers_RestoresTheReadLimit) {
    link->ReceiveTimeoutMS(300);
    Play(R"(
        0   = ClearBuffers
        1   L ClearBuffers Info Removed 0 bytes in 1 Ticks
        1   = ->
        1   = Receive
        301 = ->
    )");
    EXPECT_EQ(link->ReceiveTimeoutMS(), 300);
}

TEST_P(SerialLink, ClearBuffers_CountsAlarmLettersThoughTheFilterTakesThem) {
    Play(R"(
        0   < aXb#
        0   = ClearBuffers
        0   L Telescope Error SERVO FAULT DETECTEDS: 1
        1   L ClearBuffers Info Removed 4 bytes in 1 Ticks
        1   = ->
    )");
    EXPECT_EQ(counters.Values().g_nServoFaults, 1);
}

TEST_P(SerialLink, ClearBuffers_AReadOfNothingButAnAlarmLetter_EndsIt) {
    line.bytesPerRead = 1;
    line.Schedule(0, "Zab");
    link->ClearBuffers();
    EXPECT_EQ(LogLines().back(), "ClearBuffers Info Removed 1 bytes in 0 Ticks");
    EXPECT_EQ(line.Unread(), "ab");
}

TEST_P(SerialLink, ClearBuffers_OnALineThatNeverPauses_StopsAfterTwoSeconds) {
    line.floodEveryMs = 1;
    Play(R"(
        0    = ClearBuffers
        2000 L ClearBuffers Info Removed 2000 bytes in 2000 Ticks
        2000 = ->
    )");
}

TEST_P(SerialLink, ClearBuffers_OnALineThatPausesForTwoMilliseconds_StopsThere) {
    line.floodEveryMs = 2;
    Play(R"(
        0   = ClearBuffers
        1   = ->
    )");
}

TEST_P(SerialLink, ClearBuffers_AcrossTheWrapOfTheTickCounter_StopsAfterTwoSecondsToo) {
    for (const std::int32_t firstTick : {INT32_MAX - 1000, -1000}) {
        clock.SetTick(Tick{firstTick});
        line.floodEveryMs = 1;
        const std::int64_t start = clock.Elapsed();
        link->ClearBuffers();
        EXPECT_EQ(clock.Elapsed() - start, 2000);
    }
}

TEST_P(SerialLink, ClearBuffers_OnAClosedLink_ReadsNothing) {
    link->Connected(false);
    Play(R"(
        0   = ClearBuffers
        0   L ClearBuffers Info Removed 0 bytes in 0 Ticks
        0   = ->
    )");
    EXPECT_EQ(machine.serialPorts.Reads(), 0);
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_P(SerialLink, Receive_GivesWhatIsThere) {
    Play(R"(
        0   < 12Z:34
        0   = Receive
        10  L Telescope Error MOTOR STALL DETECTEDS: 1
        10  = -> 12:34
        10  = Receive
        510 = ->
    )");
}

TEST_P(SerialLink, ReceiveCounted_ExactlyTheCount_CountsNoError) {
    Play(R"(
        0   < 1
        0   = ReceiveCounted 1
        0   = -> 1
        0   = ReceiveCounted 4
        5   < ab
        9   < cd
        9   = -> abcd
        9   = ReceiveCounted 0
        9   = ->
    )");
    EXPECT_EQ(counters.Values().g_nReceiveCountedErrors, 0);
}

TEST_P(SerialLink, ReceiveCounted_Silence_GivesAnEmptyTextAndCountsAnError) {
    Play(R"(
        0   = ReceiveCounted 1
        500 L Telescope Error RECEIVE COUNTED ERRORS: 1
        500 = ->
    )");
}

TEST_P(SerialLink, ReceiveCounted_AnAlarmLetterAmongTheCount_CountsAnError) {
    Play(R"(
        0   < X1
        0   = ReceiveCounted 2
        0   L Telescope Error SERVO FAULT DETECTEDS: 1
        0   L Telescope Error RECEIVE COUNTED ERRORS: 1
        0   = -> 1
    )");
}

TEST_P(SerialLink, ReceiveCounted_OnAClosedLink_GivesAnEmptyTextAtOnceAndCountsAnError) {
    link->Connected(false);
    Play(R"(
        0   = ReceiveCounted 1
        0   L Telescope Error RECEIVE COUNTED ERRORS: 1
        0   = ->
    )");
}

TEST_P(SerialLink, ReceiveTerminated_WithItsTerminator_CountsNoError) {
    Play(R"(
        0   < 1#
        0   = ReceiveTerminated #
        0   = -> 1#
        0   < #
        0   = ReceiveTerminated #
        0   = -> #
    )");
    EXPECT_EQ(counters.Values().g_nReceiveTerminatedErrors, 0);
}

TEST_P(SerialLink, ReceiveTerminated_OnlyAnAlarmLetterBeforeTheTerminator_LeavesTheTerminator) {
    Play(R"(
        0   < X#
        0   = ReceiveTerminated #
        0   L Telescope Error SERVO FAULT DETECTEDS: 1
        0   = -> #
    )");
}

TEST_P(SerialLink, ReceiveTerminated_Silence_RaisesAndCountsNothing) {
    swallowsExpected = !Library();
    Play(R"(
        0   = ReceiveTerminated #
        500 ! 5 Invalid procedure call or argument
    )");
    EXPECT_EQ(counters.Values().g_nReceiveTerminatedErrors, 0);
}

TEST_P(SerialLink, ReceiveTerminated_NothingButAnAlarmLetter_RaisesLikeSilence) {
    Play(R"(
        0   < Z
        0   = ReceiveTerminated #
        500 ! 5 Invalid procedure call or argument
    )");
    EXPECT_EQ(counters.Values().g_nReceiveTerminatedErrors, 0);
}

TEST_P(SerialLink, ReceiveTerminated_OnAClosedLink_RaisesAtOnce) {
    link->Connected(false);
    Play(R"(
        0   = ReceiveTerminated #
        0   ! 5 Invalid procedure call or argument
    )");
}

TEST_P(SerialLink, ReceiveCounted_Short_GivesWhatCameAndCountsAnError) {
    Play(R"(
        0   < ab
        0   = ReceiveCounted 3
        500 L Telescope Error RECEIVE COUNTED ERRORS: 1
        500 = -> ab
    )");
}

TEST_P(SerialLink, ReceiveTerminated_WithoutItsTerminator_GivesWhatCameAndCountsAnError) {
    Play(R"(
        0   < 1
        0   = ReceiveTerminated #
        500 L Telescope Error RECEIVE TERMINATED ERRORS: 1
        500 = -> 1
    )");
}

TEST_P(SerialLink, ReceiveTerminated_ATextShorterThanItsTerminator_RaisesLikeSilence) {
    Play(R"(
        0   < 1
        0   = ReceiveTerminated ##
        500 ! 5 Invalid procedure call or argument
    )");
    EXPECT_EQ(counters.Values().g_nReceiveTerminatedErrors, 0);
}

TEST_P(SerialLink, ReceiveTerminated_TheTerminatorInTheOtherCase_IsNotReadToButCountsNoError) {
    Play(R"(
        0   < abEND
        0   = ReceiveTerminated End
        500 = -> abEND
    )");
    EXPECT_EQ(counters.Values().g_nReceiveTerminatedErrors, 0);
}

TEST_P(SerialLink, ReadsThatBringTooLittle_StillShowTheirAlarms) {
    Play(R"(
        0    < X1
        0    = ReceiveTerminated #
        500  L Telescope Error SERVO FAULT DETECTEDS: 1
        500  L Telescope Error RECEIVE TERMINATED ERRORS: 1
        500  = -> 1
        600  < aZ
        600  = ReceiveCounted 3
        1100 L Telescope Error MOTOR STALL DETECTEDS: 1
        1100 L Telescope Error RECEIVE COUNTED ERRORS: 1
        1100 = -> a
    )");
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_P(SerialLink, Transmit_WritesEveryByteAsItIs) {
    std::string bytes;
    for (int value = 0; value < 256; ++value) {
        bytes += static_cast<char>(value);
    }
    link->Transmit(bytes);
    EXPECT_EQ(line.written, bytes);
}

TEST_P(SerialLink, CharacterOfTheText_IsOneByteOnTheLine_AndComesBackAsTheSame) {
    Play(R"(
        0   = Transmit S\xC3\x9F\xE2\x82\xAC\xDF#
        0   > S\xDF?\xDF#
        100 = ReceiveTerminated # -> \xC3\x9F#
        110 < \xDF#
    )");
}

TEST_P(SerialLink, Transmit_OnAClosedLink_IsDropped) {
    link->Connected(false);
    Play(R"(
        0   = Transmit :GR#
        0   = ->
    )");
    EXPECT_EQ(line.written, "");
}

TEST_P(SerialLink, GetReadTimeouts_IsFilledByTheLibraryAlone) {
    std::int32_t total = 11;
    std::int32_t multiplier = 12;
    std::int32_t interval = 13;
    link->GetReadTimeouts(total, multiplier, interval);
    EXPECT_EQ(total, Library() ? 500 : 11);
    EXPECT_EQ(multiplier, Library() ? 0 : 12);
    EXPECT_EQ(interval, Library() ? 0 : 13);
    link->Connected(false);
    total = 11;
    link->GetReadTimeouts(total, multiplier, interval);
    EXPECT_EQ(total, 11);
}

// Where the back ends differ.

class LibraryLink : public LinkFixture {};

class AscomLink : public LinkFixture {
protected:
    AscomLink() {
        UseAscomObject();
        swallowsExpected = true;
    }
};

TEST_F(AscomLink, ReadsThatBringNothing_AreSwallowedErrorsOfTheObject) {
    link->ReceiveCounted(1);
    EXPECT_EQ(ledger.Entries().back().number, AscomSerial::kReadTimeout);
    EXPECT_THROW(link->ReceiveTerminated("#"), RunTimeError);
    EXPECT_EQ(ledger.Entries().size(), 2U);
    EXPECT_EQ(ledger.Entries().back().number, AscomSerial::kReadTimeout);
}

TEST_F(AscomLink, Connected_ThatFails_RaisesTheObjectsOwnError) {
    link->Connected(false);
    machine.serialPorts.SetOpenError(1, 2);
    try {
        link->Connected(true);
        ADD_FAILURE() << "opened";
    } catch (const DriverError& error) {
        EXPECT_EQ(error.Number(), AscomSerial::kCannotOpen);
    }
    EXPECT_FALSE(link->Connected());
}

TEST_F(AscomLink, TheBackEnd_IsChosenAtCreationAndKept) {
    MakeLink();
    link->Connected(true);
    EXPECT_EQ(LogLines().back(), "Serial Info ASCOM Serial - Port = 1, Speed = 9600, Timeout = 250ms");
}

TEST_F(LibraryLink, Connected_ThatFails_StaysClosedAndRaisesNothing) {
    link->Connected(false);
    machine.serialPorts.SetOpenError(1, 2);
    Play(R"(
        0   = Connected True
        0   L Serial Info KS Serial - Port = 1, Speed = 9600, Timeout = 500ms
        0   L Serial Error Failed to connect: Error = 2
        0   = ->
    )");
    EXPECT_FALSE(link->Connected());
}

TEST_F(LibraryLink, ASettingThatIsNoNumber_ChoosesTheLibrary) {
    SetAscomObject("abc");
    MakeLink();
    link->Connected(true);
    EXPECT_EQ(LogLines().back(), "Serial Info KS Serial - Port = 1, Speed = 9600, Timeout = 250ms");
}

TEST_F(LibraryLink, ASettingOfAnyNumberButZero_ChoosesTheObject) {
    for (const std::string value : {"1", "-1", "2", "0.5"}) {
        SetAscomObject(value);
        MakeLink();
        link->Connected(true);
        EXPECT_EQ(LogLines().back(), "Serial Info ASCOM Serial - Port = 1, Speed = 9600, Timeout = 250ms") << value;
    }
}

}  // namespace
}  // namespace kestrane
