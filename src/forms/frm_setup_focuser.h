#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The setup dialog of the focuser. `pump` outlives it.
class frmSetupFocuser : public Form {
public:
    explicit frmSetupFocuser(MessagePump& pump)
        : Form("frmSetupFocuser", "Kestrane V2 Focuser Setup"), tmrLink(*this, "tmrLink", pump, 500, false) {}

    Label lblVersion{*this, "lblVersion"};

    ComboBox cbxPort{*this, "cbxPort"};
    Button btnCheckPort{*this, "btnCheckPort", "Check"};

    OptionButton radFocusFast{*this, "radFocusFast", "Fast", "focusSpeed"};
    OptionButton radFocusSlow{*this, "radFocusSlow", "Slow", "focusSpeed"};

    Label lblBacklash{*this, "lblBacklash", "Time (mSec)"};
    TextBox txtBacklashMSecs{*this, "txtBacklashMSecs"};  ///< milliseconds
    OptionButton radFocusFinalDirectionIn{*this, "radFocusFinalDirectionIn", "In", "focusFinalDirection"};
    OptionButton radFocusFinalDirectionOut{*this, "radFocusFinalDirectionOut", "Out", "focusFinalDirection"};

    Label lblStepMultiplier{*this, "lblStepMultiplier", "Step Multiplier (mSec/step):"};
    TextBox txtStepMultiplierMSecs{*this, "txtStepMultiplierMSecs"};  ///< milliseconds of motion for each step
    Label lblMaxIncrement{*this, "lblMaxIncrement", "Max Increment (steps):"};
    TextBox txtMaxIncrementMSecs{*this, "txtMaxIncrementMSecs"};  ///< steps
    CheckBox chkReverseFocusDirection{*this, "chkReverseFocusDirection", "Reverse Direction"};

    Button btnOK{*this, "btnOK", "OK"};

    Timer tmrLink;  ///< looks whether the port may be chosen
};

}  // namespace kestrane
