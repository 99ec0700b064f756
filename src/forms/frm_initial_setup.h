#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The setup dialog of the telescope.
class frmInitialSetup : public Form {
public:
    frmInitialSetup() : Form("frmInitialSetup", "Kestrane V2 Setup") {}

    // --- link
    CheckBox chkIPAddress{*this, "chkIPAddress", "IP Address"};

    // --- initialization
    ComboBox cbxInitGuideRate{*this, "cbxInitGuideRate"};
    CheckBox chkSetPEM{*this, "chkSetPEM", "Set PEM"};
    ComboBox cbxInitPEM{*this, "cbxInitPEM"};
    ComboBox cbxInitSlewRate{*this, "cbxInitSlewRate"};
    Label lblCustomSlew{*this, "lblCustomSlew", "Slew Rate (1-1200):"};
    CheckBox chkSetRABacklash{*this, "chkSetRABacklash", "Set RA Backlash"};
    TextBox txtInitRaBacklash{*this, "txtInitRaBacklash"};  ///< arc-seconds
    CheckBox chkSetDecBacklash{*this, "chkSetDecBacklash", "Set Dec Backlash"};
    TextBox txtInitDecBacklash{*this, "txtInitDecBacklash"};  ///< arc-seconds
};

}  // namespace kestrane
