#pragma once

#include "forms/controls.h"

namespace kestrane {

/// What the companion application corrects by itself.
class frmQuaySettings : public Form {
public:
    frmQuaySettings() : Form("frmQuaySettings", "QUAY Settings") {}

    CheckBox chkEnableQUAYPointingCorrection{*this, "chkEnableQUAYPointingCorrection", "Enable Pointing Correction"};
    CheckBox chkEnableQUAYTrackingRateCorrection{*this, "chkEnableQUAYTrackingRateCorrection",
                                                 "Enable Tracking Rate Correction"};
};

}  // namespace kestrane
