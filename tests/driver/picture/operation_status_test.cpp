#include <gtest/gtest.h>

#include "support/driver_fixture.h"
#include "support/wire_transcript.h"

namespace kestrane {
namespace {

constexpr std::int32_t kYellowColour = 65535;

/// Status texts handed to the driver's own object; the line is closed.
class OperationStatusTest : public DriverFixture {
protected:
    OperationStatusTest() {
        Start();
        driver->InternalInstance();
        machine.AdvanceTime(5'000);
    }

    void Parse(const std::string& status) { driver->InternalInstance().ParseGOS(status); }
    DriverState& State() { return driver->state; }
    frmHandBox& HandBox() { return driver->handBox; }
    frmStatus& StatusWindow() { return driver->statusWindow; }

    /// A good text with one character changed; positions from 1.
    static std::string With(std::size_t position, char character) {
        std::string status = "02000020000001";
        status[position - 1] = character;
        return status;
    }
};

TEST_F(OperationStatusTest, ElevenCharacters_AreEnough) {
    Parse("02000020000");
    EXPECT_TRUE(State().g_bGosActive);
}

TEST_F(OperationStatusTest, TenCharacters_AreUnusableAndChangeNothing) {
    Parse("02000020000");
    driver->motion.MountReportsParked(true);
    Parse("0200002000");
    EXPECT_FALSE(State().g_bGosActive);
    EXPECT_TRUE(State().g_bParked);
}

struct ParkRow {
    char park;
    bool parkedBefore;
    bool parkedAfter;
    std::string shown;
    std::string toolTip;
};

class ParkFieldTest : public OperationStatusTest, public testing::WithParamInterface<ParkRow> {};

TEST_P(ParkFieldTest, FirstCharacter_TellsOfThePark) {
    const ParkRow& row = GetParam();
    driver->motion.MountReportsParked(row.parkedBefore);
    driver->panel.SetParkStatus("before", "test");
    driver->panel.SetParkToolTip("before");
    State().g_tickParkedSince = Tick{77};
    Parse(With(1, row.park));
    EXPECT_EQ(State().g_bParked, row.parkedAfter);
    EXPECT_EQ(HandBox().lblParkStatus.Text(), row.shown);
    EXPECT_EQ(StatusWindow().lblParkStatus.Text(), row.shown);
    EXPECT_EQ(HandBox().lblParkStatus.ToolTip(), row.toolTip);
    EXPECT_EQ(State().g_tickParkedSince == Tick{77}, row.park == 'P');
    EXPECT_EQ(State().g_tickParkedSince == Tick{}, row.park != 'P');
}

INSTANTIATE_TEST_SUITE_P(Characters, ParkFieldTest,
                         testing::Values(ParkRow{'P', false, true, "Parked", ""},
                                         ParkRow{'0', true, false, "Unparked", ""},
                                         ParkRow{'1', true, false, "Unparked*", "Auto-Park enabled"},
                                         ParkRow{'?', true, true, "before", "before"},
                                         ParkRow{'?', false, false, "before", "before"}));

TEST_F(OperationStatusTest, Parked_StampsTheFirstTickOnly) {
    State().g_tickParkedSince = Tick{};
    Parse(With(1, 'P'));
    const Tick first = State().g_tickParkedSince;
    EXPECT_EQ(first, machine.clock.GetTickCount());
    machine.AdvanceTime(1'000);
    Parse(With(1, 'P'));
    EXPECT_EQ(State().g_tickParkedSince, first);
}

TEST_F(OperationStatusTest, WhileParking_UnparkedIsNotShownButParkedIs) {
    driver->motion.ParkBegins();
    driver->panel.SetParkStatus("Parking", "test");
    State().g_tickParkedSince = Tick{77};
    Parse(With(1, '0'));
    EXPECT_EQ(HandBox().lblParkStatus.Text(), "Parking");
    EXPECT_EQ(State().g_tickParkedSince, Tick{77}) << "nothing changes";
    Parse(With(1, 'P'));
    EXPECT_EQ(HandBox().lblParkStatus.Text(), "Parked");
    EXPECT_TRUE(State().g_bParked);
}

struct TrackingFieldRow {
    char character;
    bool tracking;
    std::int16_t shown;
    std::string text;
};

class TrackingFieldTest : public OperationStatusTest, public testing::WithParamInterface<TrackingFieldRow> {};

TEST_P(TrackingFieldTest, SecondCharacter_TellsOfTheTracking) {
    const TrackingFieldRow& row = GetParam();
    State().g_bTracking = !row.tracking;
    State().g_nDisplayedRate = -1;
    Parse(With(2, row.character));
    EXPECT_EQ(State().g_bTracking, row.tracking);
    EXPECT_EQ(State().g_nDisplayedRate, row.shown);
    EXPECT_EQ(StatusWindow().lblTrackingRate.Text(), row.text);
}

INSTANTIATE_TEST_SUITE_P(
    Characters, TrackingFieldTest,
    testing::Values(TrackingFieldRow{'0', true, 2, "Lunar"}, TrackingFieldRow{'1', true, 3, "Solar"},
                    TrackingFieldRow{'2', true, 1, "Sidereal"}, TrackingFieldRow{'C', true, 4, "Custom"},
                    TrackingFieldRow{'T', true, 1, "Corr Sidereal"}, TrackingFieldRow{'c', true, 4, "Corr Custom"},
                    TrackingFieldRow{'9', false, 0, "Not Tracking"}));

TEST_F(OperationStatusTest, UnknownTrackingCharacter_LeavesEverything) {
    State().g_bTracking = true;
    State().g_nDisplayedRate = 2;
    Parse(With(2, 'x'));
    EXPECT_TRUE(State().g_bTracking);
    EXPECT_EQ(State().g_nDisplayedRate, 2);
}

TEST_F(OperationStatusTest, ParkedMount_IsShownStoppedWhateverTheTextSays) {
    State().g_bTracking = true;
    State().g_nDisplayedRate = -1;
    Parse("P2000020000001");
    EXPECT_FALSE(State().g_bTracking);
    EXPECT_EQ(State().g_nDisplayedRate, 0);
}

TEST_F(OperationStatusTest, TrackingWithin1500MsOfARateCommand_IsIgnored) {
    State().g_bTracking = true;
    driver->panel.ShowTrackingRate(2, RateCorrection::Off);
    machine.AdvanceTime(1'500);
    Parse(With(2, '9'));
    EXPECT_TRUE(State().g_bTracking);
    EXPECT_EQ(State().g_nDisplayedRate, 2);
    machine.AdvanceTime(1);
    Parse(With(2, '9'));
    EXPECT_FALSE(State().g_bTracking);
    EXPECT_EQ(State().g_nDisplayedRate, 0);
}

TEST_F(OperationStatusTest, TrackingFarBeyondTheTicksOfTheLastRate_IsTaken) {
    driver->panel.ShowTrackingRate(1, RateCorrection::Off);
    State().g_tickDisplayedRate = machine.clock.GetTickCount() + 1'000'000;  // as 49 days less 17 minutes ago
    State().g_bTracking = true;
    Parse(With(2, '9'));
    EXPECT_FALSE(State().g_bTracking);
}

TEST_F(OperationStatusTest, UnknownPemCharacter_LeavesEverything) {
    Parse(With(10, 'E'));
    Parse(With(10, '?'));
    EXPECT_EQ(StatusWindow().lblPECState.Text(), "Encoder");
    EXPECT_FALSE(HandBox().btnEnablePEM.Enabled());
}

TEST_F(OperationStatusTest, FourthCharacter_TellsOfTheSlew) {
    Parse(With(4, 'S'));
    EXPECT_TRUE(State().g_bMountSlewing);
    Parse(With(4, 'x'));
    EXPECT_TRUE(State().g_bMountSlewing) << "others leave the flag";
    Parse(With(4, '0'));
    EXPECT_FALSE(State().g_bMountSlewing);
}

struct TextRow {
    std::size_t position;
    char character;
    std::string text;
};

class RateFieldTest : public OperationStatusTest, public testing::WithParamInterface<TextRow> {};

TEST_P(RateFieldTest, Rates_AreShownOnTheStatusWindow) {
    const TextRow& row = GetParam();
    HandBox().cbxMoveRate.ListItems({"a", "b", "c", "d", "e"});
    HandBox().cbxInitSlewRate.ListItems({"slow", "middle", "fast", "Custom"});
    driver->state.g_sMountRateType = "1";  // as the text says, so that no lists are filled anew
    Parse(With(row.position, row.character));
    const Label& label = row.position == 7   ? StatusWindow().lblGuidingRate
                         : row.position == 8 ? StatusWindow().lblCenteringRate
                                             : StatusWindow().lblSlewRate;
    EXPECT_EQ(label.Text(), row.text);
}

INSTANTIATE_TEST_SUITE_P(Characters, RateFieldTest,
                         testing::Values(TextRow{7, '0', "0.25x"}, TextRow{7, '1', "0.50x"}, TextRow{7, '2', "1.00x"},
                                         TextRow{7, '3', ""}, TextRow{8, '0', "a"}, TextRow{8, '3', "d"},
                                         TextRow{9, '0', "slow"}, TextRow{9, '2', "fast"}));

TEST_F(OperationStatusTest, RatesThatTheTextDoesNotName_AreAskedOfTheMount) {
    WireTranscript transcript(machine.clock, machine.pump, R"(
        0   = Parse
        0   > :Rc#
        5   < 137#
        5   > :Rs#
        10  < 800#
    )");
    machine.serialPorts.Connect(1, transcript.Line());
    driver->link->Port(1);
    driver->link->ReceiveTimeoutMS(500);
    driver->link->Connected(true);
    transcript.Call("Parse", [&] { Parse("020000245O0001"); });
    transcript.Play();
    EXPECT_EQ(StatusWindow().lblCenteringRate.Text(), "137x");
    EXPECT_EQ(StatusWindow().lblSlewRate.Text(), "800x");
    driver->link->Connected(false);
    machine.serialPorts.Disconnect(1);
}

struct PemFieldRow {
    char character;
    std::string text;
    bool buttons;
    std::int16_t state;
};

class PemFieldTest : public OperationStatusTest, public testing::WithParamInterface<PemFieldRow> {};

TEST_P(PemFieldTest, TenthCharacter_TellsOfThePem) {
    const PemFieldRow& row = GetParam();
    State().g_bPemAvailable = true;
    HandBox().btnEnablePEM.Enabled(!row.buttons);
    HandBox().btnDisablePEM.Enabled(!row.buttons);
    HandBox().btnPEMRecord.Enabled(!row.buttons);
    Parse(With(10, row.character));
    EXPECT_EQ(HandBox().framePemSettings.Caption(), "PEM: " + row.text);
    EXPECT_EQ(StatusWindow().lblPECState.Text(), row.text);
    EXPECT_EQ(HandBox().btnEnablePEM.Enabled(), row.buttons);
    EXPECT_EQ(HandBox().btnDisablePEM.Enabled(), row.buttons);
    EXPECT_EQ(HandBox().btnPEMRecord.Enabled(), row.buttons);
    EXPECT_EQ(State().g_nPemState, row.state);
}

INSTANTIATE_TEST_SUITE_P(Characters, PemFieldTest,
                         testing::Values(PemFieldRow{'O', "Disabled", true, 2}, PemFieldRow{'P', "Enabled", true, 1},
                                         PemFieldRow{'R', "Recording", true, 3},
                                         PemFieldRow{'E', "Encoder", false, 0}));

TEST_F(OperationStatusTest, PemOfAMountWithoutIt_IsNotShown) {
    State().g_bPemAvailable = false;
    const std::string before = HandBox().framePemSettings.Caption();
    Parse(With(10, 'P'));
    EXPECT_EQ(HandBox().framePemSettings.Caption(), before);
    EXPECT_EQ(StatusWindow().lblPECState.Text(), "");
}

struct FaultRow {
    char character;
    int servo;
    int power;
    int stall;
};

class FaultFieldTest : public OperationStatusTest, public testing::WithParamInterface<FaultRow> {};

TEST_P(FaultFieldTest, FaultDigit_CountsEachOfItsBitsOnce) {
    const FaultRow& row = GetParam();
    Parse(With(11, row.character));
    Parse(With(11, row.character));
    EXPECT_EQ(State().g_sFaultCode, std::string(1, row.character));
    EXPECT_EQ(State().g_nServoFaults, row.servo);
    EXPECT_EQ(State().g_nLowPower, row.power);
    EXPECT_EQ(State().g_nMotorStalls, row.stall);
    EXPECT_EQ(HandBox().lblOtherFault.Visible(), row.character != '0');
}

INSTANTIATE_TEST_SUITE_P(Characters, FaultFieldTest,
                         testing::Values(FaultRow{'0', 0, 0, 0}, FaultRow{'1', 0, 0, 1}, FaultRow{'2', 0, 1, 0},
                                         FaultRow{'3', 0, 1, 1}, FaultRow{'4', 1, 0, 0}, FaultRow{'5', 1, 0, 1},
                                         FaultRow{'6', 1, 1, 0}, FaultRow{'7', 1, 1, 1}, FaultRow{'X', 0, 0, 0},
                                         FaultRow{'N', 0, 0, 0}, FaultRow{'z', 0, 0, 0}, FaultRow{'?', 0, 0, 0}));

TEST_F(OperationStatusTest, FaultThatLasts_CountsOnceMoreAfterTheCountersAreReset) {
    Parse(With(11, '4'));
    machine.AdvanceTime(5'000);
    Parse(With(11, '4'));
    EXPECT_EQ(State().g_nServoFaults, 1);
    HandBox().btnResetErrorCounts.FireClick();
    EXPECT_EQ(State().g_nServoFaults, 0);
    Parse(With(11, '4'));
    EXPECT_EQ(State().g_nServoFaults, 1);
}

TEST_F(OperationStatusTest, SwappedDirections_AreMarkedOnTheirButtons) {
    Parse("02000020000111");
    EXPECT_EQ(HandBox().btnSwapEW.BackColour(), kYellowColour);
    EXPECT_EQ(HandBox().btnSwapEW.ToolTip(),
              "WARNING: RA Move direction is swapped... this can causes issues with autoguider calibration");
    EXPECT_EQ(HandBox().btnSwapNS.BackColour(), kYellowColour);
    EXPECT_EQ(HandBox().btnSwapNS.ToolTip(),
              "WARNING: Dec Move direction is swapped... this can causes issues with autoguider calibration");
    Parse("02000020000100");
    EXPECT_EQ(HandBox().btnSwapEW.BackColour(), kYellowColour);
    EXPECT_EQ(HandBox().btnSwapNS.BackColour(), kButtonFaceColour);
    Parse("02000020000010");
    EXPECT_EQ(HandBox().btnSwapEW.BackColour(), kButtonFaceColour);
    EXPECT_EQ(HandBox().btnSwapNS.BackColour(), kYellowColour);
    Parse("02000020000");
    EXPECT_EQ(HandBox().btnSwapEW.BackColour(), kButtonFaceColour);
    EXPECT_EQ(HandBox().btnSwapEW.ToolTip(), ":");
    EXPECT_EQ(HandBox().btnSwapNS.BackColour(), kButtonFaceColour);
    EXPECT_EQ(HandBox().btnSwapNS.ToolTip(), "");
}

TEST_F(OperationStatusTest, TextThatHoldsATimeOrAnAngle_IsNotUsed) {
    Parse("020S0020000000");
    ASSERT_TRUE(State().g_bMountSlewing);
    for (const char* slipped : {"03:36:03.1700", "+45*0000000000"}) {
        Parse(slipped);
        EXPECT_FALSE(State().g_bGosActive) << slipped;
        EXPECT_TRUE(State().g_bMountSlewing) << slipped;
    }
    Parse("020S0020000000 12:30*");
    EXPECT_TRUE(State().g_bGosActive) << "what follows the fields is not looked at";
}

TEST_F(OperationStatusTest, FourteenthCharacter_ChoosesTheRateTables) {
    Parse("02000020000002");
    EXPECT_EQ(State().g_sMountRateType, "2");
    Parse("0200002000000");
    EXPECT_EQ(State().g_sMountRateType, "2") << "13 characters name none";
}

}  // namespace
}  // namespace kestrane
