#include "ui/hand_box/errors.h"

#include "state/companion_channel.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

constexpr std::int64_t kManyReceiveErrors = 5;

constexpr std::string_view kStallText =
    "Motor Stall! Press direction button button to reset. If motor stall reoccurs please power down and rebalance your "
    "system. More solutions are in your manual";
constexpr std::string_view kLowPowerText =
    "Inadequate power supply to the mount. Please check your power supply, cables and connections.";
constexpr std::string_view kServoText = "Mount has experienced a servo fault. Please contact KS!";

/// A fault that is counted, with the labels of its words and of its count.
struct CountedFault {
    std::int32_t CounterState::*count;
    Label frmHandBox::*words;
    Label frmHandBox::*number;
    std::string_view text;
};

constexpr CountedFault kCountedFaults[] = {
    {&CounterState::g_nMotorStalls, &frmHandBox::lblMotorStallDetected, &frmHandBox::lblMotorStallCount, kStallText},
    {&CounterState::g_nLowPower, &frmHandBox::lblLowPowerVoltage, &frmHandBox::lblLowPowerCount, kLowPowerText},
    {&CounterState::g_nServoFaults, &frmHandBox::lblServoFault, &frmHandBox::lblServoFaultCount, kServoText},
};

/// What the fault character of the status text means. An empty tool tip repeats the caption.
struct FaultCode {
    std::string_view code;
    std::string_view caption;
    std::string_view toolTip;
};

constexpr FaultCode kFaultCodes[] = {
    {"1", "Motor Stall", kStallText},
    {"Z", "Motor Stall", kStallText},
    {"2", "Low Power", kLowPowerText},
    {"Y", "Low Power", kLowPowerText},
    {"4", "Servo Fault", kServoText},
    {"X", "Servo Fault", kServoText},
    {"N", "CCW Internal Declination Limit or AE Limit", ""},
    {"S", "CW Internal Declination Limit or AE Limit", ""},
    {"E", "East Internal RA Limit or AE Limit", ""},
    {"W", "West Internal RA Limit or AE Limit", ""},
    {"z", "Kill function has been issued", ""},
};

void ShowCountedFaults(const DriverState& state, frmHandBox& handBox) {
    const Frame& frame = handBox.frameCommunicationsErrors;
    for (const CountedFault& fault : kCountedFaults) {
        Label& words = handBox.*fault.words;
        Label& number = handBox.*fault.number;
        const std::int32_t count = state.*fault.count;
        words.Text(count == 0 ? "" : fault.text);
        number.Visible(count != 0);
        if (count != 0) {
            words.Visible(true);
            number.Text(std::to_string(count));
            Paint(words, kFaultColours);
        } else {
            Paint(words, {frame.BackColour(), frame.ForeColour()});
        }
    }
}

void ShowFaultCode(std::string_view code, Label& label) {
    label.Visible(code != "0");
    if (code == "0") {
        return;
    }
    for (const FaultCode& known : kFaultCodes) {
        if (known.code == code) {
            label.Text(known.caption);
            label.ToolTip(known.toolTip.empty() ? known.caption : known.toolTip);
            return;
        }
    }
    label.Text("Unknown Fault type " + std::string(code));
    label.ToolTip("");
}

}  // namespace

ErrorsFrame::ErrorsFrame(const HandBoxNeeds& needs) : needs_(needs), state_(needs.driver.state) {
    needs_.handBox.btnResetErrorCounts.OnClick([this] { needs_.resetCommCounters(); });
}

void ErrorsFrame::UpdateErrorCounts() {
    if (CompanionIsProved(state_)) {
        // The companion controls the line.
        state_.g_nRetransmits = state_.g_nReceiveCountedErrors = state_.g_nReceiveTerminatedErrors = 0;
    }
    frmHandBox& handBox = needs_.handBox;
    const std::int64_t receiveErrors = std::int64_t{state_.g_nReceiveTerminatedErrors} + state_.g_nReceiveCountedErrors;
    const std::int64_t faults = std::int64_t{state_.g_nMotorStalls} + state_.g_nLowPower + state_.g_nServoFaults;
    handBox.lblRetransmits.Text(std::to_string(state_.g_nRetransmits));
    handBox.lblReceiveStringErrors.Text(std::to_string(receiveErrors));
    const Colours colours = receiveErrors >= kManyReceiveErrors || faults != 0 ? kFaultColours : kNormalColours;
    for (Label* label : {&handBox.lblMain, &handBox.lblFirmware, &handBox.lblMountType, &handBox.lblControllerType}) {
        Paint(*label, colours);
    }
    ShowCountedFaults(state_, handBox);
    ShowFaultCode(state_.g_sFaultCode, handBox.lblOtherFault);
    needs_.statusWindow.lblCommErrors.Text(std::to_string(state_.g_nRetransmits + receiveErrors + faults));
}

}  // namespace kestrane
