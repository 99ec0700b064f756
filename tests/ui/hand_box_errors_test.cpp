#include "support/driver_fixture.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

constexpr std::string_view kStall =
    "Motor Stall! Press direction button button to reset. If motor stall reoccurs please power down and rebalance your "
    "system. More solutions are in your manual";
constexpr std::string_view kLowPower =
    "Inadequate power supply to the mount. Please check your power supply, cables and connections.";
constexpr std::string_view kServo = "Mount has experienced a servo fault. Please contact KS!";

class HandBoxErrors : public DriverFixture {
protected:
    HandBoxErrors() { Start(); }

    frmHandBox& HandBox() { return driver->handBox; }
    void Show() { driver->panel.UpdateErrorCounts(); }
    bool Yellow(const VisibleControl& control) const {
        return control.BackColour() == 65535 && control.ForeColour() == 0xFF0000;
    }
    bool Normal(const VisibleControl& control) const {
        return control.BackColour() == 128 && control.ForeColour() == 255;
    }
};

TEST_F(HandBoxErrors, UpdateErrorCounts_ShowsRetransmitsAndTheSumOfBothReceiveErrors) {
    driver->state.g_nRetransmits = 7;
    driver->state.g_nReceiveTerminatedErrors = 1;
    driver->state.g_nReceiveCountedErrors = 2;
    Show();
    EXPECT_EQ(HandBox().lblRetransmits.Text(), "7");
    EXPECT_EQ(HandBox().lblReceiveStringErrors.Text(), "3");
}

TEST_F(HandBoxErrors, UpdateErrorCounts_StatusWindowShowsTheSumOfAllSix) {
    driver->state.g_nRetransmits = 1;
    driver->state.g_nReceiveTerminatedErrors = 2;
    driver->state.g_nReceiveCountedErrors = 4;
    driver->state.g_nMotorStalls = 8;
    driver->state.g_nLowPower = 16;
    driver->state.g_nServoFaults = 32;
    Show();
    EXPECT_EQ(driver->statusWindow.lblCommErrors.Text(), "63");
}

TEST_F(HandBoxErrors, UpdateErrorCounts_WithTheCompanionTheLineCountersAreZeroedFirst) {
    driver->state.g_bQuayLink = true;
    driver->state.g_nRetransmits = 7;
    driver->state.g_nReceiveTerminatedErrors = 5;
    driver->state.g_nReceiveCountedErrors = 5;
    driver->state.g_nLowPower = 1;
    Show();
    EXPECT_EQ(HandBox().lblRetransmits.Text(), "0");
    EXPECT_EQ(HandBox().lblReceiveStringErrors.Text(), "0");
    EXPECT_EQ(driver->statusWindow.lblCommErrors.Text(), "1");
    EXPECT_EQ(driver->state.g_nRetransmits, 0);
}

TEST_F(HandBoxErrors, UpdateErrorCounts_TurnsTheHeaderYellowFromFiveReceiveErrorsOrAnyFault) {
    struct Row {
        std::int32_t retransmits, terminated, counted, stalls, lowPower, servo;
        bool yellow;
    };
    for (const Row& row : {Row{0, 0, 0, 0, 0, 0, false}, Row{99, 0, 0, 0, 0, 0, false}, Row{0, 2, 2, 0, 0, 0, false},
                           Row{0, 3, 2, 0, 0, 0, true}, Row{0, 0, 5, 0, 0, 0, true}, Row{0, 0, 0, 1, 0, 0, true},
                           Row{0, 0, 0, 0, 1, 0, true}, Row{0, 0, 0, 0, 0, 1, true}, Row{0, 0, 0, 0, 0, 0, false}}) {
        driver->state.g_nRetransmits = row.retransmits;
        driver->state.g_nReceiveTerminatedErrors = row.terminated;
        driver->state.g_nReceiveCountedErrors = row.counted;
        driver->state.g_nMotorStalls = row.stalls;
        driver->state.g_nLowPower = row.lowPower;
        driver->state.g_nServoFaults = row.servo;
        Show();
        for (const Label* label :
             {&HandBox().lblMain, &HandBox().lblFirmware, &HandBox().lblMountType, &HandBox().lblControllerType}) {
            EXPECT_TRUE(row.yellow ? Yellow(*label) : Normal(*label)) << label->Name();
        }
    }
}

TEST_F(HandBoxErrors, UpdateErrorCounts_ShowsEachCountedFaultAndTakesItAway) {
    struct Row {
        std::int32_t CounterState::*count;
        Label frmHandBox::*words;
        Label frmHandBox::*number;
        std::string_view text;
    };
    const Row rows[] = {
        {&CounterState::g_nMotorStalls, &frmHandBox::lblMotorStallDetected, &frmHandBox::lblMotorStallCount, kStall},
        {&CounterState::g_nLowPower, &frmHandBox::lblLowPowerVoltage, &frmHandBox::lblLowPowerCount, kLowPower},
        {&CounterState::g_nServoFaults, &frmHandBox::lblServoFault, &frmHandBox::lblServoFaultCount, kServo},
    };
    HandBox().frameCommunicationsErrors.BackColour(1);
    HandBox().frameCommunicationsErrors.ForeColour(2);
    for (const Row& row : rows) {
        Label& words = HandBox().*row.words;
        const Label& number = HandBox().*row.number;
        driver->state.*row.count = 3;
        Show();
        EXPECT_TRUE(words.Visible());
        EXPECT_EQ(words.Text(), row.text);
        EXPECT_TRUE(number.Visible());
        EXPECT_EQ(number.Text(), "3");
        EXPECT_TRUE(Yellow(words));
        driver->state.*row.count = 0;
        Show();
        EXPECT_EQ(words.Text(), "");
        EXPECT_FALSE(number.Visible());
        EXPECT_EQ(words.BackColour(), 1);
        EXPECT_EQ(words.ForeColour(), 2);
    }
}

TEST_F(HandBoxErrors, UpdateErrorCounts_ShowsTheFaultCode) {
    struct Row {
        std::string_view code, caption, toolTip;
    };
    constexpr std::string_view kCcw = "CCW Internal Declination Limit or AE Limit";
    constexpr std::string_view kCw = "CW Internal Declination Limit or AE Limit";
    constexpr std::string_view kEast = "East Internal RA Limit or AE Limit";
    constexpr std::string_view kWest = "West Internal RA Limit or AE Limit";
    constexpr std::string_view kKill = "Kill function has been issued";
    const Row rows[] = {
        {"1", "Motor Stall", kStall},
        {"Z", "Motor Stall", kStall},
        {"2", "Low Power", kLowPower},
        {"Y", "Low Power", kLowPower},
        {"4", "Servo Fault", kServo},
        {"X", "Servo Fault", kServo},
        {"N", kCcw, kCcw},
        {"S", kCw, kCw},
        {"E", kEast, kEast},
        {"W", kWest, kWest},
        {"z", kKill, kKill},
        {"q", "Unknown Fault type q", ""},
        {"3", "Unknown Fault type 3", ""},
    };
    for (const Row& row : rows) {
        driver->state.g_sFaultCode = row.code;
        Show();
        EXPECT_TRUE(HandBox().lblOtherFault.Visible()) << row.code;
        EXPECT_EQ(HandBox().lblOtherFault.Text(), row.caption);
        EXPECT_EQ(HandBox().lblOtherFault.ToolTip(), row.toolTip);
        driver->state.g_sFaultCode = "0";
        Show();
        EXPECT_FALSE(HandBox().lblOtherFault.Visible());
    }
}

TEST_F(HandBoxErrors, ResetErrorCounts_ClearsTheCountersAndTheirDisplay) {
    driver->state.g_nRetransmits = 3;
    driver->state.g_nLowPower = 2;
    Show();
    HandBox().btnResetErrorCounts.FireClick();
    EXPECT_EQ(driver->state.g_nRetransmits, 0);
    EXPECT_EQ(HandBox().lblRetransmits.Text(), "0");
    EXPECT_FALSE(HandBox().lblLowPowerCount.Visible());
    EXPECT_TRUE(Normal(HandBox().lblMain));
}

}  // namespace
}  // namespace kestrane
