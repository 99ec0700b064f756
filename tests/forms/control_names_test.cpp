#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

#include "forms/frm_clients.h"
#include "forms/frm_hand_box.h"
#include "forms/frm_help.h"
#include "forms/frm_initial_setup.h"
#include "forms/frm_log_window.h"
#include "forms/frm_quay_settings.h"
#include "forms/frm_setup_focuser.h"
#include "forms/frm_status.h"
#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

/// Programs outside, settings and stored layouts know the controls by name and kind, so neither may change.
namespace kestrane {
namespace {

struct KindRow {
    ControlKind kind;
    std::vector<std::string> names;
};

/// Timers have a table of their own beside their intervals.
void ExpectControls(const Form& form, const std::vector<KindRow>& rows) {
    std::map<std::string, ControlKind> left;
    for (const Control* control : form.Controls()) {
        if (control->Kind() != ControlKind::Timer) {
            left.emplace(control->Name(), control->Kind());
        }
    }
    for (const KindRow& row : rows) {
        for (const std::string& name : row.names) {
            const auto found = left.find(name);
            ASSERT_NE(found, left.end()) << name << " is missing or stands twice in the table";
            EXPECT_EQ(static_cast<int>(found->second), static_cast<int>(row.kind)) << name;
            left.erase(found);
        }
    }
    for (const auto& [name, kind] : left) {
        ADD_FAILURE() << form.Name() << " has " << name << " beside the table";
    }
}

class ControlNames : public testing::Test {
protected:
    VirtualClock clock;
    VirtualPump pump{clock};
};

TEST_F(ControlNames, HandBox_HasEachControlUnderItsNameAndKind) {
    ExpectControls(
        frmHandBox(pump),
        {
            {ControlKind::Label,
             {"lblMain",
              "lblFirmware",
              "lblFW",
              "lblMountType",
              "lblControllerType",
              "lblClients",
              "lblAdministrator",
              "lblRA",
              "lblDEC",
              "lblAlt",
              "lblAz",
              "lblLST",
              "lblLstHA",
              "lblTime",
              "lblTimeLbl",
              "lblTZ",
              "lblTzLbl",
              "lblPierSide",
              "lblCwUp",
              "lblSiteTag",
              "lblParkStatus",
              "Label11",
              "Label26",
              "lblGuideNorth",
              "lblGuideSouth",
              "lblGuideEast",
              "lblGuideWest",
              "ramrk",
              "decmrk",
              "altmrk",
              "azmrk",
              "lblMeridianDelay",
              "lblBrightness",
              "lblRetransmits",
              "lblReceiveStringErrors",
              "lblMotorStallDetected",
              "lblMotorStallCount",
              "lblLowPowerVoltage",
              "lblLowPowerCount",
              "lblServoFault",
              "lblServoFaultCount",
              "lblOtherFault"}},
            {ControlKind::PictureBox,
             {"picASCOM", "pbLoggingPaused", "pbTracking(0)", "pbTracking(1)", "pbTracking(2)", "pbTracking(3)",
              "pbTracking(4)"}},
            {ControlKind::Frame,
             {"frameMountPosition", "framePark", "frameMoveScope", "frameTrackingRate", "frameConfiguration",
              "frameSiteSetup", "frameTelescope", "framePemSettings", "frameFocuser", "frameMeridianDelay",
              "frameBrightness", "frameCommunicationsErrors"}},
            {ControlKind::Button,
             {"btnClients",
              "btnPark",
              "btnUNPARK",
              "btnSetPark",
              "btnHelpParkUnpark",
              "btnMove(0)",
              "btnMove(1)",
              "btnMove(2)",
              "btnMove(3)",
              "btnMove(4)",
              "btnMove(5)",
              "btnMove(6)",
              "btnMove(7)",
              "btnMove(8)",
              "btnSlewRaDec",
              "btnSlewAltAz",
              "btnSwapEW",
              "btnSwapNS",
              "btnRateZero",
              "btnRateSidereal",
              "btnRateLunar",
              "btnRateSolar",
              "btnRateCustom",
              "btnInitNow",
              "btnSyncMountTime",
              "btnSetAll",
              "btnSetGuideRate",
              "btnSetSlewRate",
              "btnSetPEM",
              "btnSetRaBacklash",
              "btnSetDecBacklash",
              "btnOpenLogDirectory",
              "btnLogZipper",
              "btnPolarAlignmentTool",
              "btnGetLongLat",
              "btnCopyLatLongToSite",
              "btnEnablePEM",
              "btnDisablePEM",
              "btnPEMRecord",
              "btnFocusIn",
              "btnFocusOut",
              "btnSetMeridianDelay",
              "btnClearMeridianDelay",
              "btnReticleBrightness",
              "btnResetErrorCounts",
              "btnMore",
              "btnNext",
              "btnContract",
              "btnContract2"}},
            {ControlKind::TextBox, {"txtSlewEastFirstHours", "txtUserParkAlt",     "txtUserParkAz",
                                    "txtRaCustom",           "txtDecCustom",       "txtInitRaBacklash",
                                    "txtInitDecBacklash",    "txtCustomSlewRate",  "txtSiteName",
                                    "txtLatitude",           "txtLongitude",       "txtElevation",
                                    "txtActualLatitude",     "txtActualLongitude", "txtScopeFocalLength",
                                    "txtScopeAperture",      "txtBacklashMSecs",   "txtStepMultiplierMSecs",
                                    "txtMaxIncrementMSecs",  "txtMeridianDelay"}},
            {ControlKind::CheckBox,
             {"chkSlewEast", "chkConvertAltAzToRaDec", "chkSwapEW", "chkSwapNS", "chkRotate90", "chkEnableKingRate",
              "chkEnableMountTracking", "chkKeepMountTimeSyncedToPcTime", "chkSynchronousPulseGuide", "chkUseRCAL",
              "chkEnableDebugLog", "chkCalcAzAlt", "chkCalcLST", "chkReverseFocusDirection", "chkShowAllControls"}},
            {ControlKind::ComboBox,
             {"cbxParkTo", "cbxUnparkFrom", "cbxMoveRate", "cbxInitGuideRate", "cbxInitSlewRate", "cbxInitPEM",
              "cbxWindowsPriority"}},
            {ControlKind::OptionButton,
             {"radFocusFast", "radFocusSlow", "radFocusFinalDirectionIn", "radFocusFinalDirectionOut"}},
            {ControlKind::ScrollBar, {"hscrReticleBrightness"}},
            {ControlKind::Menu,
             {"mPopupSys",
              "mPopRestore",
              "mPopSetup",
              "mPopFocuser",
              "mPopupLogZipper",
              "mPopTimerUtility",
              "mPopupJogUtility",
              "mPopupPAS",
              "mPopPark",
              "mPopUnpark",
              "mPopEnableTracking",
              "mPopDisableTracking",
              "mPopInitializeMount",
              "mPopupShowStatus",
              "mPopupShowStatusAlways",
              "mPopupShowStatusWhenDriverHidden",
              "mPopupShowStatusNever",
              "mPopShowLogWindow",
              "mPopTopmost",
              "mPopHelp",
              "mPopExit"}},
        });
}

TEST_F(ControlNames, StatusWindow_HasEachControlUnderItsNameAndKind) {
    ExpectControls(frmStatus(pump),
                   {
                       {ControlKind::Label,
                        {"lblRA",           "lblDEC",         "lblAlt",           "lblAz",       "lblLST",
                         "lblHourAngle",    "lblMountTime",   "lblTimeZone",      "lblPierSide", "lblParkStatus",
                         "lblTrackingRate", "lblGuidingRate", "lblCenteringRate", "lblSlewRate", "lblPECState",
                         "lblPEMState",     "lblCommErrors",  "lblComPortValue",  "lblLatitude", "lblLongitude",
                         "lblFirmware",     "lblMountType",   "lblControlBox"}},
                       {ControlKind::Button, {"cmdStopAll"}},
                       {ControlKind::CheckBox, {"chkKeepOn"}},
                   });
}

TEST_F(ControlNames, SetupOfTheFocuser_HasEachControlUnderItsNameAndKind) {
    const frmSetupFocuser form(pump);
    ExpectControls(form,
                   {
                       {ControlKind::Label, {"lblVersion", "lblBacklash", "lblStepMultiplier", "lblMaxIncrement"}},
                       {ControlKind::ComboBox, {"cbxPort"}},
                       {ControlKind::Button, {"btnCheckPort", "btnOK"}},
                       {ControlKind::OptionButton,
                        {"radFocusFast", "radFocusSlow", "radFocusFinalDirectionIn", "radFocusFinalDirectionOut"}},
                       {ControlKind::TextBox, {"txtBacklashMSecs", "txtStepMultiplierMSecs", "txtMaxIncrementMSecs"}},
                       {ControlKind::CheckBox, {"chkReverseFocusDirection"}},
                   });
    EXPECT_EQ(form.lblStepMultiplier.Text(), "Step Multiplier (mSec/step):");
    EXPECT_EQ(form.lblMaxIncrement.Text(), "Max Increment (steps):");
    EXPECT_EQ(form.lblBacklash.Text(), "Time (mSec)");
}

TEST_F(ControlNames, SettingsOfTheCompanion_HaveEachControlUnderItsNameAndKind) {
    ExpectControls(frmQuaySettings(), {{ControlKind::CheckBox,
                                        {"chkEnableQUAYPointingCorrection", "chkEnableQUAYTrackingRateCorrection"}}});
}

TEST_F(ControlNames, Clients_HaveEachControlUnderItsNameAndKind) {
    ExpectControls(frmClients(pump), {
                                         {ControlKind::Label, {"lblNone"}},
                                         {ControlKind::ListView, {"lvwClients"}},
                                         {ControlKind::Button, {"btnRelease"}},
                                     });
}

TEST_F(ControlNames, Help_HasEachControlUnderItsNameAndKind) {
    ExpectControls(frmHelp(), {{ControlKind::ComboBox, {"cbxTopic"}}, {ControlKind::Label, {"lblPage"}}});
}

TEST_F(ControlNames, Setup_HasEachControlUnderItsNameAndKind) {
    ExpectControls(
        frmInitialSetup(pump),
        {
            {ControlKind::Label, {"lblVersion", "lblPortType", "lblLinkChange", "lblCustomSlew"}},
            {ControlKind::PictureBox, {"picASCOM"}},
            {ControlKind::Frame, {"frmComm", "frameOptions"}},
            {ControlKind::CheckBox,
             {"chkIPAddress",
              "chkUseASCOMSerialObject",
              "chkAllowConnectIfMountNotPresent",
              "chkQUAY",
              "chkQuayRestApi",
              "chkSetLongLat",
              "chkSyncMountToPCTime",
              "chkSetGuiderRate",
              "chkSetPEM",
              "chkSetSlewRate",
              "chkSetRABacklash",
              "chkSetDecBacklash",
              "chkUseRCAL",
              "chkEnableDebugLog",
              "chkEnableMountTracking",
              "chkKeepMountTimeSyncedToPcTime",
              "chkShowInTaskBar",
              "chkShowPulseGuideMovements",
              "chkAutoEnableTracking",
              "chkAutoCalibrateOnFirstSlew",
              "chkRaMoveAxisOfZeroStopsTracking",
              "chkNewVersion",
              "chkAlwaysOnTop",
              "chkRememberPosition",
              "chkAsyncPark",
              "MinimizeStatusWindow"}},
            {ControlKind::ComboBox,
             {"cbxPort", "cbxTimeout", "cbxRetry", "cbxMountType", "cbxController", "cbxSiteList", "cbxNS", "cbxEW",
              "cbxInitGuideRate", "cbxInitPEM", "cbxInitSlewRate", "cbxParkTo", "cbxUnparkFrom", "cbxWindowsPriority"}},
            {ControlKind::TextBox,
             {"txtIpAddress", "txtConnectTimeout", "txtQuayIpAddr", "txtSiteName", "txtLatDeg", "txtLatMin",
              "txtLatSec", "txtLongDeg", "txtLongMin", "txtLongSec", "txtElevation", "txtScopeAperture",
              "txtScopeFocalLength", "txtCustomSlewRate", "txtInitRaBacklash", "txtInitDecBacklash"}},
            {ControlKind::Button,
             {"btnCheckMount",
              "btnHelpLink",
              "btnQuaySettings",
              "btnHelpMount",
              "btnNewSite",
              "btnSaveSiteInfo",
              "btnCancelSiteChange",
              "btnDeleteSite",
              "btnRefreshSites",
              "btnGetLongLat",
              "btnSendLongitudeLatitude",
              "btnHelpSite",
              "btnHelpInitialization",
              "btnHelpPark",
              "btnShowAdvancedOptions",
              "btnHelpOptions",
              "btnOK",
              "btnCancel",
              "btnResetToDefaults",
              "btnLogZipper",
              "btnOpenLogDirectory"}},
        });
}

TEST_F(ControlNames, LogWindow_HasEachControlUnderItsNameAndKind) {
    ExpectControls(
        frmLogWindow(),
        {
            {ControlKind::RichTextBox, {"rtbLog"}},
            {ControlKind::CheckBox,
             {"chkShowASCOMCommands", "chkShowFocuserCommands", "chkShowTelescopeCommands", "chkShowNoRaDecAltAz"}},
        });
}

}  // namespace
}  // namespace kestrane
