#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <string_view>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "support/driver_fixture.h"

/// The runs of the focus motor on the wire, millisecond by millisecond.
namespace kestrane {
namespace {

class FocuserRunsTest : public DriverFixture {
protected:
    void Play(std::string_view script) {
        Start();
        FocuserObject focuser = driver->CreateFocuser();
        WireTranscript transcript(machine.clock, machine.pump, script);
        // The count alone: a whole connect would poll the mount between the commands.
        transcript.Call("Link True", [&] { driver->state.g_bFocuserConnected = true; });
        transcript.Call("Link False", [&] { focuser->Link(false); });
        transcript.Call("Halt", [&] { focuser->Halt(); });
        transcript.Call("IsMoving", [&] { return std::string(TrueFalse(focuser->IsMoving())); });
        transcript.Call("Quiet", [] {});
        transcript.Dispatcher([&](std::string_view call) {
            EXPECT_TRUE(call.starts_with("Move ")) << call;
            focuser->Move(static_cast<std::int32_t>(std::stol(std::string(call.substr(5)))));
            return std::string();
        });
        PlayOnOpenLink(transcript);
        driver->state.g_bFocuserConnected = false;
    }
};

struct RunRow {
    std::string_view name;
    SettingTexts settings;
    std::string_view script;
};

void PrintTo(const RunRow& row, std::ostream* stream) {
    *stream << row.name;
}

class FocuserRun : public FocuserRunsTest, public testing::WithParamInterface<RunRow> {};

TEST_P(FocuserRun, OnTheWire) {
    Seed(GetParam().settings);
    Play(GetParam().script);
}

const SettingTexts kIn{{"Focus.radFocusFinalDirectionIn", "True"}};
const SettingTexts kReversed{{"Focus.chkReverseFocusDirection", "1"}};
const SettingTexts kReversedIn{{"Focus.chkReverseFocusDirection", "1"}, {"Focus.radFocusFinalDirectionIn", "True"}};

INSTANTIATE_TEST_SUITE_P(Directions, FocuserRun,
                         testing::Values(RunRow{"OutWithTheFinalDirection", {}, R"(
                        0    = Link True
                        0    = Move 10
                        0    > :FF#
                        0    > :F+#
                        5    = IsMoving -> True
                        10   > :FQ#
                        10   = IsMoving -> False
                        5000 = Quiet
                    )"},
                                         RunRow{"InAgainstTheFinalDirection", {}, R"(
                        0    = Link True
                        0    = Move -10
                        0    > :FF#
                        0    > :F-#
                        110  > :FQ#
                        500  = IsMoving -> True
                        1110 > :F+#
                        1150 = IsMoving -> True
                        1210 > :FQ#
                        1210 = IsMoving -> False
                        9000 = Quiet
                    )"},
                                         RunRow{"InWithTheFinalDirection", kIn, R"(
                        0    = Link True
                        0    = Move -7
                        0    > :FF#
                        0    > :F-#
                        7    > :FQ#
                        5000 = IsMoving -> False
                    )"},
                                         RunRow{"OutAgainstTheFinalDirection", kIn, R"(
                        0    = Link True
                        0    = Move 7
                        0    > :FF#
                        0    > :F+#
                        107  > :FQ#
                        1107 > :F-#
                        1207 > :FQ#
                        5000 = IsMoving -> False
                    )"},
                                         RunRow{"ReversedOutWithTheFinalDirection", kReversed, R"(
                        0    = Link True
                        0    = Move 7
                        0    > :FF#
                        0    > :F-#
                        7    > :FQ#
                        5000 = IsMoving -> False
                    )"},
                                         RunRow{"ReversedInAgainstTheFinalDirection", kReversed, R"(
                        0    = Link True
                        0    = Move -7
                        0    > :FF#
                        0    > :F+#
                        107  > :FQ#
                        1107 > :F-#
                        1207 > :FQ#
                        5000 = IsMoving -> False
                    )"},
                                         RunRow{"ReversedInWithTheFinalDirection", kReversedIn, R"(
                        0    = Link True
                        0    = Move -7
                        0    > :FF#
                        0    > :F+#
                        7    > :FQ#
                        5000 = IsMoving -> False
                    )"},
                                         RunRow{"ReversedOutAgainstTheFinalDirection", kReversedIn, R"(
                        0    = Link True
                        0    = Move 10
                        0    > :FF#
                        0    > :F-#
                        110  > :FQ#
                        1110 > :F+#
                        1210 > :FQ#
                        5000 = IsMoving -> False
                    )"}),
                         [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Settings, FocuserRun,
    testing::Values(RunRow{"SlowSpeed", {{"Focus.radFocusFast", "False"}}, R"(
                        0  = Link True
                        0  = Move 5
                        0  > :FS#
                        0  > :F+#
                        5  > :FQ#
                    )"},
                    RunRow{"EmptySpeedIsFast", {{"Focus.radFocusFast", ""}}, R"(
                        0  = Link True
                        0  = Move 5
                        0  > :FF#
                        0  > :F+#
                        5  > :FQ#
                    )"},
                    RunRow{"MultiplierLengthensTheStepsAndNotTheBacklash",
                           {{"Focus.txtStepMultiplierMSecs", "3"}, {"Focus.txtBacklashMSecs", "40"}},
                           R"(
                        0    = Link True
                        0    = Move -10
                        0    > :FF#
                        0    > :F-#
                        70   > :FQ#
                        1070 > :F+#
                        1110 > :FQ#
                    )"},
                    RunRow{"EmptyMultiplierIsTen", {{"Focus.txtStepMultiplierMSecs", ""}}, R"(
                        0   = Link True
                        0   = Move 20
                        0   > :FF#
                        0   > :F+#
                        200 > :FQ#
                    )"},
                    RunRow{"EmptyBacklashIsAHundred", {{"Focus.txtBacklashMSecs", ""}}, R"(
                        0    = Link True
                        0    = Move -1
                        0    > :FF#
                        0    > :F-#
                        101  > :FQ#
                        1101 > :F+#
                        1201 > :FQ#
                    )"},
                    RunRow{"NoBacklashIsASingleRun", {{"Focus.txtBacklashMSecs", "0"}}, R"(
                        0    = Link True
                        0    = Move -10
                        0    > :FF#
                        0    > :F-#
                        10   > :FQ#
                        5000 = IsMoving -> False
                    )"},
                    RunRow{"BacklashThatIsNoNumberIsNone", {{"Focus.txtBacklashMSecs", "much"}}, R"(
                        0    = Link True
                        0    = Move -10
                        0    > :FF#
                        0    > :F-#
                        10   > :FQ#
                        5000 = IsMoving -> False
                    )"},
                    RunRow{"ANegativeBacklashShortensAndComesBackAtOnce", {{"Focus.txtBacklashMSecs", "-4"}}, R"(
                        0    = Link True
                        0    = Move -10
                        0    > :FF#
                        0    > :F-#
                        6    > :FQ#
                        1006 > :F+#
                        1007 > :FQ#
                        5000 = IsMoving -> False
                    )"},
                    RunRow{"ARunOfNoTimeEndsAtOnce", {{"Focus.txtStepMultiplierMSecs", "0"}}, R"(
                        0    = Link True
                        0    = Move 4000
                        0    > :FF#
                        0    > :F+#
                        1    > :FQ#
                        5000 = IsMoving -> False
                    )"},
                    RunRow{"TheLongestRun",
                           {{"Focus.txtStepMultiplierMSecs", "1"}, {"Focus.txtMaxIncrementMSecs", "2147483647"}},
                           R"(
                        0      = Link True
                        0      = Move 2147483647
                        0      > :FF#
                        0      > :F+#
                        600000 = IsMoving -> True
                        600000 = Halt
                        600000 > :FQ#
                    )"},
                    RunRow{"ARunBeyondTheLongestIsNotSent",
                           {{"Focus.txtStepMultiplierMSecs", "1"}, {"Focus.txtMaxIncrementMSecs", "2147483647"}},
                           R"(
                        0    = Link True
                        0    = Move -2147483547
                        0    > :FF#
                        0    > :F-#
                        10   = Halt
                        10   > :FQ#
                        20   = Move -2147483548
                        20   L FOCUSER Exception Move: 2147483648 ms are too long, the motor does not run
                        20   = IsMoving -> False
                        5000 = Quiet
                    )"},
                    RunRow{"TheLargestMultiplierOverflowsNothing", {{"Focus.txtStepMultiplierMSecs", "2147483647"}}, R"(
                        0    = Link True
                        0    = Move 5000
                        0    L FOCUSER Exception Move: 10737418235000 ms are too long, the motor does not run
                        5000 = IsMoving -> False
                    )"}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Calls, FocuserRun,
    testing::Values(RunRow{"NothingWithoutALink", {}, R"(
                        0    = Move 10
                        0    = Move 0
                        0    = Move 6000
                        0    = Halt
                        0    = IsMoving -> False
                        5000 = Quiet
                    )"},
                    RunRow{"TheGreatestStepCountsAreTaken", {}, R"(
                        0    = Link True
                        0    = Move 5000
                        0    > :FF#
                        0    > :F+#
                        5000 > :FQ#
                        5000 = Move -5000
                        5000 > :FF#
                        5000 > :F-#
                        5001 = Halt
                        5001 > :FQ#
                    )"},
                    RunRow{"OneStepTooFarOutIsRefused", {}, R"(
                        0 = Link True
                        0 = Move 5001
                        0 ! 0x80040402 No mount on IP Address or COM port, or initialization failed.
                        9 = Quiet
                    )"},
                    RunRow{"OneStepTooFarInIsRefused", {}, R"(
                        0 = Link True
                        0 = Move -5001
                        0 ! 0x80040402 No mount on IP Address or COM port, or initialization failed.
                        9 = Quiet
                    )"},
                    RunRow{"TheLowestNumberIsRefused", {{"Focus.txtMaxIncrementMSecs", "2147483647"}}, R"(
                        0 = Link True
                        0 = Move -2147483648
                        0 ! 0x80040402 No mount on IP Address or COM port, or initialization failed.
                    )"},
                    RunRow{"NoStepIsAStop", {}, R"(
                        0    = Link True
                        0    = Move 0
                        0    > :FQ#
                        5000 = IsMoving -> False
                    )"},
                    RunRow{"NoStepLeavesTheTimers", {}, R"(
                        0    = Link True
                        0    = Move -10
                        0    > :FF#
                        0    > :F-#
                        50   = Move 0
                        50   > :FQ#
                        60   = IsMoving -> True
                        110  > :FQ#
                        1110 > :F+#
                        1210 > :FQ#
                        5000 = IsMoving -> False
                    )"},
                    RunRow{"CommandsAreInTheLogOnBothOrigins", {}, R"(
                        0 = Link True
                        0 = Move 10
                        0 L FOCUSER Info SET Move = 10
                        0 L FOCUSER Info TX: :FF#
                        0 L ASCOM Info TX: :FF#
                        0 > :FF#
                        0 L FOCUSER Info TX: :F+#
                        0 L ASCOM Info TX: :F+#
                        0 > :F+#
                        3 = Halt
                        3 L FOCUSER Info Halt()
                        3 L FOCUSER Info TX: :FQ#
                        3 L ASCOM Info TX: :FQ#
                        3 > :FQ#
                    )"}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(Halts, FocuserRun,
                         testing::Values(RunRow{"InASingleRun", {}, R"(
                        0    = Link True
                        0    = Move 100
                        0    > :FF#
                        0    > :F+#
                        50   = Halt
                        50   > :FQ#
                        50   = IsMoving -> False
                        5000 = Quiet
                    )"},
                                         RunRow{"InTheFirstLeg", {}, R"(
                        0    = Link True
                        0    = Move -100
                        0    > :FF#
                        0    > :F-#
                        50   = Halt
                        50   > :FQ#
                        50   = IsMoving -> False
                        5000 = Move 5
                        5000 > :FF#
                        5000 > :F+#
                        5005 > :FQ#
                        9000 = IsMoving -> False
                    )"},
                                         RunRow{"InThePause", {}, R"(
                        0    = Link True
                        0    = Move -100
                        0    > :FF#
                        0    > :F-#
                        200  > :FQ#
                        700  = Halt
                        700  > :FQ#
                        700  = IsMoving -> False
                        9000 = Quiet
                    )"},
                                         RunRow{"InTheReturnLeg", {}, R"(
                        0    = Link True
                        0    = Move -100
                        0    > :FF#
                        0    > :F-#
                        200  > :FQ#
                        1200 > :F+#
                        1250 = Halt
                        1250 > :FQ#
                        1250 = IsMoving -> False
                        9000 = Quiet
                    )"},
                                         RunRow{"AtRest", {}, R"(
                        0    = Link True
                        0    = Halt
                        0    > :FQ#
                        9000 = IsMoving -> False
                    )"}),
                         [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(SecondMoves, FocuserRun,
                         testing::Values(RunRow{"InASingleRun_TakesOverTheTimer", {}, R"(
                        0    = Link True
                        0    = Move 100
                        0    > :FF#
                        0    > :F+#
                        50   = Move 200
                        50   > :FF#
                        50   > :F+#
                        250  > :FQ#
                        9000 = IsMoving -> False
                    )"},
                                         RunRow{"OfTheSameLength_GetsItsWholeTime", {}, R"(
                        0    = Link True
                        0    = Move -100
                        0    > :FF#
                        0    > :F-#
                        50   = Move -100
                        50   > :FF#
                        50   > :F-#
                        250  > :FQ#
                        1250 > :F+#
                        1350 > :FQ#
                        9000 = IsMoving -> False
                    )"},
                                         RunRow{"InTheFirstLeg_KeepsTheReturn", {}, R"(
                        0    = Link True
                        0    = Move -100
                        0    > :FF#
                        0    > :F-#
                        50   = Move 30
                        50   > :FF#
                        50   > :F+#
                        80   > :FQ#
                        1080 > :F+#
                        1180 > :FQ#
                        9000 = IsMoving -> False
                    )"},
                                         RunRow{"InThePause_IsOvertakenByTheReturn", {}, R"(
                        0    = Link True
                        0    = Move -100
                        0    > :FF#
                        0    > :F-#
                        200  > :FQ#
                        700  = Move 3000
                        700  > :FF#
                        700  > :F+#
                        1200 > :F+#
                        1300 > :FQ#
                        9000 = IsMoving -> False
                    )"},
                                         RunRow{"InThePause_WithABacklash_BeginsThePauseAnew", {}, R"(
                        0    = Link True
                        0    = Move -100
                        0    > :FF#
                        0    > :F-#
                        200  > :FQ#
                        700  = Move -50
                        700  > :FF#
                        700  > :F-#
                        850  > :FQ#
                        1700 > :F+#
                        1800 > :FQ#
                        9000 = IsMoving -> False
                    )"},
                                         RunRow{"ThatIsRefused_LeavesTheRun", {}, R"(
                        0    = Link True
                        0    = Move 100
                        0    > :FF#
                        0    > :F+#
                        50   = Move 5001
                        50   ! 0x80040402 No mount on IP Address or COM port, or initialization failed.
                        100  > :FQ#
                        9000 = IsMoving -> False
                    )"}),
                         [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(Links, FocuserRun, testing::Values(RunRow{"LinkFalseInARun_LetsItEndAtItsTime", {}, R"(
                        0    = Link True
                        0    = Move -100
                        0    > :FF#
                        0    > :F-#
                        50   = Link False
                        60   = Halt
                        60   = Move 5
                        60   = IsMoving -> True
                        200  > :FQ#
                        1200 > :F+#
                        1300 > :FQ#
                        9000 = IsMoving -> False
                    )"}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace kestrane
