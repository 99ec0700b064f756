#pragma once

#include <cstdint>
#include <string>

#include "forms/controls.h"
#include "kernel/base/application_info.h"

namespace kestrane {

/// The compact status window, shown when the pointer rests on the tray icon. `pump` outlives it.
class frmStatus : public Form {
private:
    MessagePump& pump_;

    static std::string Title() {
        return std::string(application::kTitle) + " " + std::string(application::kDriverVersion);
    }

public:
    explicit frmStatus(MessagePump& pump) : Form("frmStatus", Title()), pump_(pump) {}

    /// The size of the window in pixels, as the last view with places has reported it.
    std::int32_t width = 260;
    std::int32_t height = 320;

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
    Label lblPEMState{*this, "lblPEMState"};           ///< Intentional: nobody fills it
    Label lblCommErrors{*this, "lblCommErrors", "0"};  ///< the sum of all error counters
    Button cmdStopAll{*this, "cmdStopAll", "Stop All", Pressing::Stops};
    CheckBox chkKeepOn{*this, "chkKeepOn", "Keep On"};

    Timer tmrDisappear{*this, "tmrDisappear", pump_, 3000, false};  ///< hides the window; started when it is shown
};

}  // namespace kestrane
