#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The hand box: the display of the mount's state and a person's way to command it. It owns the driver's timers, so
/// the driver polls only while this window is loaded. `pump` outlives it.
class frmHandBox : public Form {
private:
    MessagePump& pump_;

public:
    explicit frmHandBox(MessagePump& pump) : Form("frmHandBox", "Kestrane V2"), pump_(pump) {}

    bool m_bFormLoaded = false;   ///< the panel has been filled for a connected mount
    bool m_bShowHA = false;       ///< `lblLST` shows the hour angle instead of the sidereal time
    bool noMessageBoxes = false;  ///< messages are only logged
    bool bForceMinimize = false;  ///< the window goes to the tray as soon as it can

    // --- header
    Label lblMain{*this, "lblMain", "Kestrane V2"};
    Label lblFirmware{*this, "lblFirmware"};
    Label lblFW{*this, "lblFW", "Firmware:"};
    Label lblMountType{*this, "lblMountType"};
    Label lblControllerType{*this, "lblControllerType"};
    Label lblClients{*this, "lblClients"};
    Label lblAdministrator{*this, "lblAdministrator", "Administrator", Shown::No};

    // --- position
    Frame frameMountPosition{*this, "frameMountPosition", "Mount Information"};
    Label lblRA{*this, "lblRA"};
    Label lblDEC{*this, "lblDEC"};
    Label lblAlt{*this, "lblAlt"};
    Label lblAz{*this, "lblAz"};
    Label lblLST{*this, "lblLST"};
    Label lblLstHA{*this, "lblLstHA", "LST"};
    Label lblTime{*this, "lblTime"};
    Label lblTimeLbl{*this, "lblTimeLbl", "Time"};
    Label lblTZ{*this, "lblTZ"};
    Label lblTzLbl{*this, "lblTzLbl", "Time Zone"};
    Label lblPierSide{*this, "lblPierSide"};
    Label lblCwUp{*this, "lblCwUp", "CW Up", Shown::No};
    Label lblSiteTag{*this, "lblSiteTag"};
    Label lblParkStatus{*this, "lblParkStatus"};

    // --- site of the mount itself
    TextBox txtActualLatitude{*this, "txtActualLatitude"};
    TextBox txtActualLongitude{*this, "txtActualLongitude"};

    // --- park
    Button btnPark{*this, "btnPark", "Park"};
    Button btnUNPARK{*this, "btnUNPARK", "Unpark"};

    // --- configuration
    CheckBox chkUseRCAL{*this, "chkUseRCAL", "Use RCal for Syncs"};
    CheckBox chkEnableDebugLog{*this, "chkEnableDebugLog", "Enable Debug Log"};
    PictureBox pbLoggingPaused{*this, "pbLoggingPaused", Shown::No};
    CheckBox chkCalcAzAlt{*this, "chkCalcAzAlt", "Calculate Az/Alt"};
    CheckBox chkCalcLST{*this, "chkCalcLST", "Calculate LST"};

    // --- errors
    Frame frameCommunicationsErrors{*this, "frameCommunicationsErrors", "Communications Errors"};
    Label lblRetransmits{*this, "lblRetransmits", "0"};
    Label lblReceiveStringErrors{*this, "lblReceiveStringErrors", "0"};
    Label lblMotorStallDetected{*this, "lblMotorStallDetected"};
    Label lblMotorStallCount{*this, "lblMotorStallCount", "", Shown::No};
    Label lblLowPowerVoltage{*this, "lblLowPowerVoltage"};
    Label lblLowPowerCount{*this, "lblLowPowerCount", "", Shown::No};
    Label lblServoFault{*this, "lblServoFault"};
    Label lblServoFaultCount{*this, "lblServoFaultCount", "", Shown::No};
    Label lblOtherFault{*this, "lblOtherFault", "", Shown::No};
    Button btnResetErrorCounts{*this, "btnResetErrorCounts", "Reset"};

    // --- timers: first interval in milliseconds, first state
    Timer tmrQueryRaDecAltAz{*this, "tmrQueryRaDecAltAz", pump_, 1000, false};  ///< the poll; 150 once loaded
    Timer tmrButtonDelay{*this, "tmrButtonDelay", pump_, 20, true};             ///< deferred button actions
    Timer tmrSlewFlashUI{*this, "tmrSlewFlashUI", pump_, 500, false};           ///< flash of the position while slewing
    Timer tmrSavePos{*this, "tmrSavePos", pump_, 50, true};                     ///< saves the window's place
    Timer tmrGetLatLong{*this, "tmrGetLatLong", pump_, 2000, true};             ///< reads the site from the mount
    Timer tmrCheckShellNotifyIcon{*this, "tmrCheckShellNotifyIcon", pump_, 5000, true};  ///< tray, always on top
    Timer tmrMinimize{*this, "tmrMinimize", pump_, 0, true};     ///< puts the tray icon back; set at run time
    Timer tmrEastStop{*this, "tmrEastStop", pump_, 0, false};    ///< end of a pulse, its length
    Timer tmrWestStop{*this, "tmrWestStop", pump_, 0, false};    ///< end of a pulse, its length
    Timer tmrNorthStop{*this, "tmrNorthStop", pump_, 0, false};  ///< end of a pulse, its length
    Timer tmrSouthStop{*this, "tmrSouthStop", pump_, 0, false};  ///< end of a pulse, its length
    Timer tmrCalibratePulseGuide{*this, "tmrCalibratePulseGuide", pump_, 250, false};  ///< without an action
    Timer tmrVersionDifferent{*this, "tmrVersionDifferent", pump_, 0, true};  ///< tells of a new version in `lblMain`
};

}  // namespace kestrane
