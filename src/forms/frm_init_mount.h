#pragma once

#include <string>

#include "forms/controls.h"

namespace kestrane {

/// The dialog that collects what a mount is told after power-up. Each action is a box with its input.
class frmInitMount : public Form {
public:
    frmInitMount() : Form("frmInitMount", "Initialize Mount") {}

    bool UserPressedOK = false;
    std::string MountInitString;  ///< what was chosen, for the verb "InitMount"

    Label lblMessage{*this, "lblMessage",
                     "You can initialize and optionally unpark your mount with this dialog. Do not unpark your mount "
                     "if it has already been unparked."};
    CheckBox chkSyncMountToPCTime{*this, "chkSyncMountToPCTime", "Sync Mount To PC Time"};
    CheckBox chkUnpark{*this, "chkUnpark", "Unpark:"};
    ComboBox cbxUnparkFrom{*this, "cbxUnparkFrom"};
    CheckBox chkSetLongLat{*this, "chkSetLongLat", "Set Longitude/Latitude:"};
    ComboBox cbxSiteList{*this, "cbxSiteList"};
    CheckBox chkSetTrackingRate{*this, "chkSetTrackingRate", "Set Tracking Rate"};
    ComboBox cbxInitTrackingRate{*this, "cbxInitTrackingRate"};
    CheckBox chkSetSlewRate{*this, "chkSetSlewRate", "Set Slew Rate"};
    ComboBox cbxInitSlewRate{*this, "cbxInitSlewRate"};
    Label lblCustomSlew{*this, "lblCustomSlew", "Slew Rate (1-1200):"};
    TextBox txtCustomSlewRate{*this, "txtCustomSlewRate"};  ///< multiples of sidereal
    CheckBox chkSetGuiderRate{*this, "chkSetGuiderRate", "Set PulseGuide/Guide Rate"};
    ComboBox cbxInitGuideRate{*this, "cbxInitGuideRate"};
    CheckBox chkSetPEM{*this, "chkSetPEM", "Set PEM"};
    ComboBox cbxInitPEM{*this, "cbxInitPEM"};
    CheckBox chkSetRABacklash{*this, "chkSetRABacklash", "Set RA Backlash"};
    TextBox txtInitRaBacklash{*this, "txtInitRaBacklash"};  ///< arc-seconds
    CheckBox chkSetDecBacklash{*this, "chkSetDecBacklash", "Set Dec Backlash"};
    TextBox txtInitDecBacklash{*this, "txtInitDecBacklash"};  ///< arc-seconds
    /// Intentional: stands on the window, and nothing comes of it.
    CheckBox chkUseHorizonCheck{*this, "chkUseHorizonCheck", "Use Horizon Check"};
    Button btnOK{*this, "btnOK", "&Initialize"};
    Button btnCancel{*this, "btnCancel", "&Cancel"};
};

}  // namespace kestrane
