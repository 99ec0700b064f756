#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The setup dialog of the telescope.
class frmInitialSetup : public Form {
public:
    explicit frmInitialSetup(MessagePump& pump) : Form("frmInitialSetup", "Kestrane V2 Setup"), pump_(pump) {}

private:
    MessagePump& pump_;  // before the timer, which is made on it

public:
    Label lblVersion{*this, "lblVersion"};
    Timer tmrDifferentVersion{*this, "tmrDifferentVersion", pump_, 500, false};
    PictureBox picASCOM{*this, "picASCOM"};

    // --- link
    Frame frmComm{*this, "frmComm", "COM Port Details"};
    CheckBox chkIPAddress{*this, "chkIPAddress", "IP Address"};
    Label lblPortType{*this, "lblPortType", "Port:"};
    ComboBox cbxPort{*this, "cbxPort"};
    TextBox txtIpAddress{*this, "txtIpAddress"};  ///< host or address of the mount's adapter, with ":port" if need be
    ComboBox cbxTimeout{*this, "cbxTimeout"};     ///< milliseconds
    ComboBox cbxRetry{*this, "cbxRetry"};
    TextBox txtConnectTimeout{*this, "txtConnectTimeout"};  ///< seconds, 0 for ever
    CheckBox chkUseASCOMSerialObject{*this, "chkUseASCOMSerialObject", "Use ASCOM Serial Object"};
    CheckBox chkAllowConnectIfMountNotPresent{*this, "chkAllowConnectIfMountNotPresent",
                                              "Allow Connect If Mount Not Present"};
    Button btnCheckMount{*this, "btnCheckMount", "Check Mount"};
    Label lblLinkChange{*this, "lblLinkChange", "A change of the link takes effect at the next start of the driver."};
    Button btnHelpLink{*this, "btnHelpLink", "?"};

    // --- companion
    CheckBox chkQUAY{*this, "chkQUAY", "Use QUAY"};
    CheckBox chkQuayRestApi{*this, "chkQuayRestApi", "Use QUAY REST API"};
    TextBox txtQuayIpAddr{*this, "txtQuayIpAddr"};  ///< only shows where the companion publishes its REST interface
    Button btnQuaySettings{*this, "btnQuaySettings", "QUAY Settings..."};

    // --- mount
    ComboBox cbxMountType{*this, "cbxMountType"};
    ComboBox cbxController{*this, "cbxController"};
    Button btnHelpMount{*this, "btnHelpMount", "?"};

    // --- site
    ComboBox cbxSiteList{*this, "cbxSiteList"};
    TextBox txtSiteName{*this, "txtSiteName"};
    TextBox txtLatDeg{*this, "txtLatDeg"};
    TextBox txtLatMin{*this, "txtLatMin"};
    TextBox txtLatSec{*this, "txtLatSec"};
    ComboBox cbxNS{*this, "cbxNS"};
    TextBox txtLongDeg{*this, "txtLongDeg"};
    TextBox txtLongMin{*this, "txtLongMin"};
    TextBox txtLongSec{*this, "txtLongSec"};
    ComboBox cbxEW{*this, "cbxEW"};
    TextBox txtElevation{*this, "txtElevation"};  ///< metres
    Button btnNewSite{*this, "btnNewSite", "New Site"};
    Button btnSaveSiteInfo{*this, "btnSaveSiteInfo", "Save Site"};
    Button btnCancelSiteChange{*this, "btnCancelSiteChange", "Cancel Change"};
    Button btnDeleteSite{*this, "btnDeleteSite", "Delete Site"};
    Button btnRefreshSites{*this, "btnRefreshSites", "Refresh"};
    Button btnGetLongLat{*this, "btnGetLongLat", "Get From Mount"};
    Button btnSendLongitudeLatitude{*this, "btnSendLongitudeLatitude", "Send To Mount"};
    Button btnHelpSite{*this, "btnHelpSite", "?"};

    // --- optics
    TextBox txtScopeAperture{*this, "txtScopeAperture"};        ///< millimetres
    TextBox txtScopeFocalLength{*this, "txtScopeFocalLength"};  ///< millimetres

    // --- initialization
    CheckBox chkSetLongLat{*this, "chkSetLongLat", "Set Longitude/Latitude"};
    CheckBox chkSyncMountToPCTime{*this, "chkSyncMountToPCTime", "Sync Mount To PC Time"};
    CheckBox chkSetGuiderRate{*this, "chkSetGuiderRate", "Set PulseGuide/Guide Rate"};
    ComboBox cbxInitGuideRate{*this, "cbxInitGuideRate"};
    CheckBox chkSetPEM{*this, "chkSetPEM", "Set PEM"};
    ComboBox cbxInitPEM{*this, "cbxInitPEM"};
    CheckBox chkSetSlewRate{*this, "chkSetSlewRate", "Set Slew Rate"};
    ComboBox cbxInitSlewRate{*this, "cbxInitSlewRate"};
    Label lblCustomSlew{*this, "lblCustomSlew", "Slew Rate (1-1200):"};
    TextBox txtCustomSlewRate{*this, "txtCustomSlewRate"};  ///< multiple of the sidereal rate
    CheckBox chkSetRABacklash{*this, "chkSetRABacklash", "Set RA Backlash"};
    TextBox txtInitRaBacklash{*this, "txtInitRaBacklash"};  ///< arc-seconds
    CheckBox chkSetDecBacklash{*this, "chkSetDecBacklash", "Set Dec Backlash"};
    TextBox txtInitDecBacklash{*this, "txtInitDecBacklash"};  ///< arc-seconds
    Button btnHelpInitialization{*this, "btnHelpInitialization", "?"};

    // --- park
    ComboBox cbxParkTo{*this, "cbxParkTo"};
    ComboBox cbxUnparkFrom{*this, "cbxUnparkFrom"};
    Button btnHelpPark{*this, "btnHelpPark", "?"};

    // --- options, which only the long window shows
    Button btnShowAdvancedOptions{*this, "btnShowAdvancedOptions", "Advanced >>>>>>"};
    Frame frameOptions{*this, "frameOptions", "Options"};
    CheckBox chkUseRCAL{*this, "chkUseRCAL", "Use RCal for Syncs"};
    CheckBox chkEnableDebugLog{*this, "chkEnableDebugLog", "Enable Debug Log"};
    CheckBox chkEnableMountTracking{*this, "chkEnableMountTracking", "Enable Mount Tracking"};
    CheckBox chkKeepMountTimeSyncedToPcTime{*this, "chkKeepMountTimeSyncedToPcTime", "Keep Mount Time Synced To PC"};
    CheckBox chkShowInTaskBar{*this, "chkShowInTaskBar", "Show In Task Bar"};
    CheckBox chkShowPulseGuideMovements{*this, "chkShowPulseGuideMovements", "Show PulseGuide Movements"};
    CheckBox chkAutoEnableTracking{*this, "chkAutoEnableTracking", "Auto Enable Tracking"};
    CheckBox chkAutoCalibrateOnFirstSlew{*this, "chkAutoCalibrateOnFirstSlew", "Auto Calibrate On First Slew"};
    CheckBox chkRaMoveAxisOfZeroStopsTracking{*this, "chkRaMoveAxisOfZeroStopsTracking",
                                              "RA MoveAxis Of Zero Stops Tracking"};
    CheckBox chkNewVersion{*this, "chkNewVersion", "Check For New Version"};
    CheckBox chkAlwaysOnTop{*this, "chkAlwaysOnTop", "Always On Top"};
    CheckBox chkRememberPosition{*this, "chkRememberPosition", "Remember Position"};
    CheckBox chkAsyncPark{*this, "chkAsyncPark", "Asynchronous Park"};
    CheckBox MinimizeStatusWindow{*this, "MinimizeStatusWindow", "Start Minimized"};
    ComboBox cbxWindowsPriority{*this, "cbxWindowsPriority"};
    Button btnHelpOptions{*this, "btnHelpOptions", "?"};

    // --- the whole window
    Button btnOK{*this, "btnOK", "OK"};
    Button btnCancel{*this, "btnCancel", "Cancel"};
    Button btnResetToDefaults{*this, "btnResetToDefaults", "Reset To Defaults"};
    Button btnLogZipper{*this, "btnLogZipper", "Log Zipper"};
    Button btnOpenLogDirectory{*this, "btnOpenLogDirectory", "Open Log Folder"};
};

}  // namespace kestrane
