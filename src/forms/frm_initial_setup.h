#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The setup dialog of the telescope.
class frmInitialSetup : public Form {
public:
    frmInitialSetup() : Form("frmInitialSetup", "Kestrane V2 Setup") {}

    // --- link
    CheckBox chkIPAddress{*this, "chkIPAddress", "IP Address"};
    TextBox txtIpAddress{*this, "txtIpAddress"};  ///< host or address of the mount's adapter, with ":port" if need be
    Label lblLinkChange{*this, "lblLinkChange", "A change of the link takes effect at the next start of the driver."};

    // --- companion
    CheckBox chkQUAY{*this, "chkQUAY", "Use QUAY"};
    CheckBox chkQuayRestApi{*this, "chkQuayRestApi", "Use QUAY REST API"};
    Button btnQuaySettings{*this, "btnQuaySettings", "QUAY Settings..."};

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
