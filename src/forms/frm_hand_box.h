#pragma once

#include <array>

#include "forms/controls.h"

namespace kestrane {

/// The hand box: it shows the state of the mount and lets a person command it. It owns the driver's timers, so the
/// driver polls only while this window is loaded. `pump` outlives it.
///
/// Each text, check, list, option and scroll control keeps its value in the settings, most of them under their own
/// name. The elements of a control array are separate controls, named with their index: "btnMove(0)".
class frmHandBox : public Form {
private:
    MessagePump& pump_;

public:
    explicit frmHandBox(MessagePump& pump) : Form("frmHandBox", "Kestrane V2"), pump_(pump) {}

    bool m_bFormLoaded = false;    ///< the panel has been filled for a connected mount
    bool m_bShowHA = false;        ///< `lblLST` shows the hour angle instead of the sidereal time
    bool noMessageBoxes = false;   ///< messages are only logged
    bool chosenByCommand = false;  ///< a verb, and not a person, chooses an entry of a list of positions
    bool bForceMinimize = false;   ///< the window goes to the tray as soon as it can
    bool inTray = false;           ///< an icon in the tray stands for the window

    double customRateLimit = 0.0;  ///< `txtRaCustom` and `txtDecCustom` accept values from minus this to plus this
    std::int32_t pageIndex = 0;    ///< the shown page of the panel, 0 to 2
    bool expanded = false;         ///< the panel shows more than position and motion

    /// The place of the window, in pixels from the top left corner of the screen. Set at load; from then on it is where
    /// a person has moved the window to.
    std::int32_t left = 0;
    std::int32_t top = 0;
    bool savePosition = false;  ///< the window was moved; `tmrSavePos` then saves the place

    // --- header
    Label lblMain{*this, "lblMain", "Kestrane V2"};
    Label lblFirmware{*this, "lblFirmware"};
    Label lblFW{*this, "lblFW", "Firmware:"};
    Label lblMountType{*this, "lblMountType"};
    Label lblControllerType{*this, "lblControllerType"};
    Label lblClients{*this, "lblClients"};
    Button btnClients{*this, "btnClients", "Clients"};
    Label lblAdministrator{*this, "lblAdministrator", "Administrator", Shown::No};
    PictureBox picASCOM{*this, "picASCOM"};

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
    Label Label11{*this, "Label11", "Status"};         ///< the words before `lblParkStatus`
    Label Label26{*this, "Label26", "Site"};           ///< the words before `lblSiteTag`
    Label lblGuideNorth{*this, "lblGuideNorth", "N"};  ///< the four light up while a guide pulse runs
    Label lblGuideSouth{*this, "lblGuideSouth", "S"};
    Label lblGuideEast{*this, "lblGuideEast", "E"};
    Label lblGuideWest{*this, "lblGuideWest", "W"};
    Label ramrk{*this, "ramrk", "RA"};  ///< the words before the four coordinates
    Label decmrk{*this, "decmrk", "Dec"};
    Label altmrk{*this, "altmrk", "Alt"};
    Label azmrk{*this, "azmrk", "Az"};

    // --- park
    Frame framePark{*this, "framePark", "Park"};
    Button btnPark{*this, "btnPark", "Park"};
    Button btnUNPARK{*this, "btnUNPARK", "Unpark"};
    Button btnSetPark{*this, "btnSetPark", "Set Park"};
    ComboBox cbxParkTo{*this, "cbxParkTo"};
    ComboBox cbxUnparkFrom{*this, "cbxUnparkFrom"};
    CheckBox chkSlewEast{*this, "chkSlewEast", "Slew East First"};
    TextBox txtSlewEastFirstHours{*this, "txtSlewEastFirstHours", "10"};  ///< hours
    TextBox txtUserParkAlt{*this, "txtUserParkAlt"};                      ///< degrees
    TextBox txtUserParkAz{*this, "txtUserParkAz"};                        ///< degrees
    CheckBox chkConvertAltAzToRaDec{*this, "chkConvertAltAzToRaDec", "Convert Alt/Az to RA/Dec"};
    Button btnHelpParkUnpark{*this, "btnHelpParkUnpark", "?"};

    // --- motion: the nine-button pad, by index north-west to south-east with the stop in the middle
    Frame frameMoveScope{*this, "frameMoveScope", "Move Telescope"};
    std::array<Button, 9> btnMove{{
        {*this, "btnMove(0)", "NW", Pressing::Held},
        {*this, "btnMove(1)", "N", Pressing::Held},
        {*this, "btnMove(2)", "NE", Pressing::Held},
        {*this, "btnMove(3)", "W", Pressing::Held},
        {*this, "btnMove(4)", "Stop", Pressing::HeldStops},
        {*this, "btnMove(5)", "E", Pressing::Held},
        {*this, "btnMove(6)", "SW", Pressing::Held},
        {*this, "btnMove(7)", "S", Pressing::Held},
        {*this, "btnMove(8)", "SE", Pressing::Held},
    }};
    ComboBox cbxMoveRate{*this, "cbxMoveRate"};
    CheckBox chkSwapEW{*this, "chkSwapEW", "Swap E/W"};
    CheckBox chkSwapNS{*this, "chkSwapNS", "Swap N/S"};
    CheckBox chkRotate90{*this, "chkRotate90", "Rotate 90"};
    Button btnSwapEW{*this, "btnSwapEW", "EW"};  ///< this and the next swap directions in the mount itself
    Button btnSwapNS{*this, "btnSwapNS", "NS"};
    Button btnSlewRaDec{*this, "btnSlewRaDec", "Goto RA/Dec"};
    Button btnSlewAltAz{*this, "btnSlewAltAz", "Goto Alt/Az"};

    // --- tracking: buttons and indicators by displayed rate, 0 off to 4 custom
    Frame frameTrackingRate{*this, "frameTrackingRate", "Tracking Rate"};
    Button btnRateZero{*this, "btnRateZero", "Off"};
    Button btnRateSidereal{*this, "btnRateSidereal", "Sidereal"};
    Button btnRateLunar{*this, "btnRateLunar", "Lunar"};
    Button btnRateSolar{*this, "btnRateSolar", "Solar"};
    Button btnRateCustom{*this, "btnRateCustom", "Custom"};
    std::array<PictureBox, 5> pbTracking{{
        {*this, "pbTracking(0)", Shown::No},
        {*this, "pbTracking(1)", Shown::No},
        {*this, "pbTracking(2)", Shown::No},
        {*this, "pbTracking(3)", Shown::No},
        {*this, "pbTracking(4)", Shown::No},
    }};
    TextBox txtRaCustom{*this, "txtRaCustom"};    ///< seconds of RA per sidereal second; empty leaves the rate alone
    TextBox txtDecCustom{*this, "txtDecCustom"};  ///< arc-seconds per second; empty leaves the rate alone
    CheckBox chkEnableKingRate{*this, "chkEnableKingRate", "King Rate"};

    // --- configuration
    Frame frameConfiguration{*this, "frameConfiguration", "Configuration"};
    ComboBox cbxInitGuideRate{*this, "cbxInitGuideRate"};
    ComboBox cbxInitSlewRate{*this, "cbxInitSlewRate"};
    ComboBox cbxInitPEM{*this, "cbxInitPEM"};
    ComboBox cbxWindowsPriority{*this, "cbxWindowsPriority"};
    TextBox txtInitRaBacklash{*this, "txtInitRaBacklash"};    ///< arc-seconds
    TextBox txtInitDecBacklash{*this, "txtInitDecBacklash"};  ///< arc-seconds
    TextBox txtCustomSlewRate{*this, "txtCustomSlewRate"};    ///< multiples of sidereal
    CheckBox chkEnableMountTracking{*this, "chkEnableMountTracking", "Enable Tracking on Unpark"};
    CheckBox chkKeepMountTimeSyncedToPcTime{*this, "chkKeepMountTimeSyncedToPcTime", "Keep Mount Time Synced to PC"};
    CheckBox chkSynchronousPulseGuide{*this, "chkSynchronousPulseGuide", "Synchronous Pulse Guide"};
    CheckBox chkUseRCAL{*this, "chkUseRCAL", "Use RCal for Syncs"};
    CheckBox chkEnableDebugLog{*this, "chkEnableDebugLog", "Enable Debug Log"};
    PictureBox pbLoggingPaused{*this, "pbLoggingPaused", Shown::No};
    CheckBox chkCalcAzAlt{*this, "chkCalcAzAlt", "Calculate Az/Alt"};
    CheckBox chkCalcLST{*this, "chkCalcLST", "Calculate LST"};
    Button btnInitNow{*this, "btnInitNow", "Initialize Now", Shown::No};
    Button btnSyncMountTime{*this, "btnSyncMountTime", "Sync Mount Time"};
    Button btnSetGuideRate{*this, "btnSetGuideRate", "Set"};  ///< these send the initial value beside them
    Button btnSetSlewRate{*this, "btnSetSlewRate", "Set"};
    Button btnSetPEM{*this, "btnSetPEM", "Set"};
    Button btnSetRaBacklash{*this, "btnSetRaBacklash", "Set"};
    Button btnSetDecBacklash{*this, "btnSetDecBacklash", "Set"};
    Button btnSetAll{*this, "btnSetAll", "Set All"};
    Button btnOpenLogDirectory{*this, "btnOpenLogDirectory", "Open Log Folder"};
    Button btnLogZipper{*this, "btnLogZipper", "Log Zipper"};
    Button btnPolarAlignmentTool{*this, "btnPolarAlignmentTool", "Polar Alignment"};

    // --- site: the one of the settings, and the mount's own
    Frame frameSiteSetup{*this, "frameSiteSetup", "Site"};
    TextBox txtSiteName{*this, "txtSiteName"};
    TextBox txtLatitude{*this, "txtLatitude"};
    TextBox txtLongitude{*this, "txtLongitude"};
    TextBox txtElevation{*this, "txtElevation"};  ///< metres
    TextBox txtActualLatitude{*this, "txtActualLatitude"};
    TextBox txtActualLongitude{*this, "txtActualLongitude"};
    Button btnGetLongLat{*this, "btnGetLongLat", "Get from Mount"};
    Button btnCopyLatLongToSite{*this, "btnCopyLatLongToSite", "Copy to Site"};

    // --- telescope
    Frame frameTelescope{*this, "frameTelescope", "Telescope"};
    TextBox txtScopeFocalLength{*this, "txtScopeFocalLength"};
    TextBox txtScopeAperture{*this, "txtScopeAperture"};

    // --- periodic error correction
    Frame framePemSettings{*this, "framePemSettings", "PEM"};
    Button btnEnablePEM{*this, "btnEnablePEM", "Enable"};
    Button btnDisablePEM{*this, "btnDisablePEM", "Disable"};
    Button btnPEMRecord{*this, "btnPEMRecord", "Record"};

    // --- focuser
    Frame frameFocuser{*this, "frameFocuser", "Focuser"};
    Button btnFocusIn{*this, "btnFocusIn", "In", Pressing::Held};
    Button btnFocusOut{*this, "btnFocusOut", "Out", Pressing::Held};
    OptionButton radFocusFast{*this, "radFocusFast", "Fast", "focusSpeed"};
    OptionButton radFocusSlow{*this, "radFocusSlow", "Slow", "focusSpeed"};
    TextBox txtBacklashMSecs{*this, "txtBacklashMSecs"};              ///< milliseconds
    TextBox txtStepMultiplierMSecs{*this, "txtStepMultiplierMSecs"};  ///< milliseconds of motion for each step
    TextBox txtMaxIncrementMSecs{*this, "txtMaxIncrementMSecs"};      ///< milliseconds
    OptionButton radFocusFinalDirectionIn{*this, "radFocusFinalDirectionIn", "In", "focusFinalDirection"};
    OptionButton radFocusFinalDirectionOut{*this, "radFocusFinalDirectionOut", "Out", "focusFinalDirection"};
    CheckBox chkReverseFocusDirection{*this, "chkReverseFocusDirection", "Reverse Direction"};

    // --- meridian
    Frame frameMeridianDelay{*this, "frameMeridianDelay", "Meridian Delay: Disabled"};
    TextBox txtMeridianDelay{*this, "txtMeridianDelay", "0"};  ///< hours
    Label lblMeridianDelay{*this, "lblMeridianDelay"};
    Button btnSetMeridianDelay{*this, "btnSetMeridianDelay", "Set"};
    Button btnClearMeridianDelay{*this, "btnClearMeridianDelay", "Clear"};

    // --- brightness of the reticle
    Frame frameBrightness{*this, "frameBrightness", "Reticle Brightness"};
    ScrollBar hscrReticleBrightness{*this, "hscrReticleBrightness", 0, 10};
    Button btnReticleBrightness{*this, "btnReticleBrightness", "Set"};
    Label lblBrightness{*this, "lblBrightness"};

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

    // --- panel paging
    Button btnMore{*this, "btnMore", "More >>"};
    Button btnNext{*this, "btnNext", "Next"};
    Button btnContract{*this, "btnContract", "<< Less"};
    Button btnContract2{*this, "btnContract2", "<< Less"};
    CheckBox chkShowAllControls{*this, "chkShowAllControls", "Show All Controls"};

    // --- popup menu of the tray icon
    Menu mPopupSys{*this, "mPopupSys", "", Shown::No};  ///< the menu itself: shown while it is open
    Menu mPopRestore{*this, "mPopRestore", "&Driver Handbox..."};
    Menu mPopSetup{*this, "mPopSetup", "Setup &Telescope..."};
    Menu mPopFocuser{*this, "mPopFocuser", "Setup &Focuser..."};
    Menu mPopupLogZipper{*this, "mPopupLogZipper", "Log File &Zipper Utility"};
    Menu mPopTimerUtility{*this, "mPopTimerUtility", "T&imer Utility"};
    Menu mPopupJogUtility{*this, "mPopupJogUtility", "&Jog Utility"};
    Menu mPopupPAS{*this, "mPopupPAS", "&Polar Alignment Scope"};
    Menu mPopPark{*this, "mPopPark", "Park..."};
    Menu mPopUnpark{*this, "mPopUnpark", "Unpark..."};
    Menu mPopEnableTracking{*this, "mPopEnableTracking", "Enable Tracking"};
    Menu mPopDisableTracking{*this, "mPopDisableTracking", "Disable Tracking"};
    Menu mPopInitializeMount{*this, "mPopInitializeMount", "Initialize Mount..."};
    Menu mPopupShowStatus{*this, "mPopupShowStatus", "Show Status Window..."};  ///< the next three are its submenu
    Menu mPopupShowStatusAlways{*this, "mPopupShowStatusAlways", "When hovering over system tray icon"};
    Menu mPopupShowStatusWhenDriverHidden{*this, "mPopupShowStatusWhenDriverHidden",
                                          "When hovering over system tray icon when driver window hidden"};
    Menu mPopupShowStatusNever{*this, "mPopupShowStatusNever", "Never"};
    Menu mPopShowLogWindow{*this, "mPopShowLogWindow", "Show Log Window"};
    Menu mPopTopmost{*this, "mPopTopmost", "&Force driver handbox window to top every 5 seconds"};
    Menu mPopHelp{*this, "mPopHelp", "&Help..."};
    Menu mPopExit{*this, "mPopExit", "E&xit"};

    // --- timers: first interval in milliseconds, first state
    Timer tmrQueryRaDecAltAz{*this, "tmrQueryRaDecAltAz", pump_, 1000, false};  ///< the poll; 150 once loaded
    Timer tmrButtonDelay{*this, "tmrButtonDelay", pump_, 20, true};             ///< deferred button actions
    Timer tmrSlewFlashUI{*this, "tmrSlewFlashUI", pump_, 500, false};           ///< flash of the position while slewing
    Timer tmrSavePos{*this, "tmrSavePos", pump_, 50, true};                     ///< saves the window's place
    Timer tmrGetLatLong{*this, "tmrGetLatLong", pump_, 2000, true};             ///< reads the site from the mount
    Timer tmrCheckShellNotifyIcon{*this, "tmrCheckShellNotifyIcon", pump_, 5000, true};  ///< tray, always on top
    Timer tmrMinimize{*this, "tmrMinimize", pump_, 0, true};  ///< restores the tray icon; interval set at run time
    Timer tmrEastStop{*this, "tmrEastStop", pump_, 0, false, Ticks::Promptly};         ///< end of a pulse, its length
    Timer tmrWestStop{*this, "tmrWestStop", pump_, 0, false, Ticks::Promptly};         ///< end of a pulse, its length
    Timer tmrNorthStop{*this, "tmrNorthStop", pump_, 0, false, Ticks::Promptly};       ///< end of a pulse, its length
    Timer tmrSouthStop{*this, "tmrSouthStop", pump_, 0, false, Ticks::Promptly};       ///< end of a pulse, its length
    Timer tmrCalibratePulseGuide{*this, "tmrCalibratePulseGuide", pump_, 250, false};  ///< without an action
    Timer tmrVersionDifferent{*this, "tmrVersionDifferent", pump_, 0, true};  ///< shows a new version in `lblMain`
};

}  // namespace kestrane
