#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The compact status window, shown when the pointer rests on the tray icon.
class frmStatus : public Form {
public:
    frmStatus() : Form("frmStatus", "Kestrane V2") {}

    Label lblComPortValue{*this, "lblComPortValue"};  ///< the port field
    Label lblFirmware{*this, "lblFirmware"};
    Label lblMountType{*this, "lblMountType"};
    Label lblControlBox{*this, "lblControlBox"};
    Label lblRA{*this, "lblRA"};
    Label lblDEC{*this, "lblDEC"};
    Label lblAlt{*this, "lblAlt"};
    Label lblAz{*this, "lblAz"};
    Label lblLST{*this, "lblLST"};
    Label lblHourAngle{*this, "lblHourAngle"};
    Label lblMountTime{*this, "lblMountTime"};
    Label lblTimeZone{*this, "lblTimeZone"};
    Label lblLatitude{*this, "lblLatitude"};
    Label lblLongitude{*this, "lblLongitude"};
    Label lblPierSide{*this, "lblPierSide"};
    Label lblParkStatus{*this, "lblParkStatus"};
    Label lblTrackingRate{*this, "lblTrackingRate"};
    Label lblGuidingRate{*this, "lblGuidingRate"};
    Label lblCenteringRate{*this, "lblCenteringRate"};
    Label lblSlewRate{*this, "lblSlewRate"};
    Label lblPECState{*this, "lblPECState"};
    Label lblPEMState{*this, "lblPEMState"};
    Label lblCommErrors{*this, "lblCommErrors", "0"};  ///< the sum of all error counters
};

}  // namespace kestrane
