#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The dialog that initializes a mount after power-up.
class frmInitMount : public Form {
public:
    frmInitMount() : Form("frmInitMount", "Initialize Mount") {}

    ComboBox cbxInitSlewRate{*this, "cbxInitSlewRate"};
    Label lblCustomSlew{*this, "lblCustomSlew", "Slew Rate (1-1200):"};
    ComboBox cbxInitGuideRate{*this, "cbxInitGuideRate"};
    CheckBox chkSetPEM{*this, "chkSetPEM", "Set PEM"};
    ComboBox cbxInitPEM{*this, "cbxInitPEM"};
    CheckBox chkSetRABacklash{*this, "chkSetRABacklash", "Set RA Backlash"};
    TextBox txtInitRaBacklash{*this, "txtInitRaBacklash"};  ///< arc-seconds
    CheckBox chkSetDecBacklash{*this, "chkSetDecBacklash", "Set Dec Backlash"};
    TextBox txtInitDecBacklash{*this, "txtInitDecBacklash"};  ///< arc-seconds
};

}  // namespace kestrane
