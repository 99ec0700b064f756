#include "ui/hand_box_panel.h"

#include <utility>

#include "kernel/base/os_info.h"
#include "kernel/base/text.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

constexpr std::int32_t kPollIntervalMs = 150;
constexpr std::int32_t kMinimizeDelayMs = 1000;
constexpr std::int32_t kAllGuideMarks = -1;

struct HelpRow {
    VisibleControl& control;
    std::string_view text;
};

void ShowHelp(frmHandBox& handBox) {
    const HelpRow rows[] = {
        {handBox.lblMain, "Click to show or hide the settings"},
        {handBox.lblLstHA, "Click to change between sidereal time and hour angle"},
        {handBox.lblClients, "Clients of the telescope and of the focuser. Double click to end the driver"},
        {handBox.lblCwUp, "The counterweight stands above the telescope"},
        {handBox.btnPark, "Slews to the park position and stops there"},
        {handBox.btnUNPARK, "Starts from a known position"},
        {handBox.btnSetPark, "Makes the present position the one to park at"},
        {handBox.chkUseRCAL, "A sync corrects the pointing of the mount instead of replacing it"},
        {handBox.chkKeepMountTimeSyncedToPcTime, "Corrects the mount's clock while the driver is connected"},
        {handBox.chkCalcAzAlt, "Computes altitude and azimuth instead of asking the mount"},
        {handBox.chkCalcLST, "Computes the sidereal time instead of asking the mount"},
        {handBox.txtRaCustom, "Seconds of right ascension per sidereal second"},
        {handBox.txtDecCustom, "Arc-seconds per second"},
        {handBox.txtInitRaBacklash, "Range is 0-59 arc-seconds"},
        {handBox.txtInitDecBacklash, "Range is 0-59 arc-seconds"},
        {handBox.txtMeridianDelay, "Hours, -6 to 6"},
        {handBox.lblRetransmits, "Commands that had to be sent again"},
        {handBox.lblReceiveStringErrors, "Replies that did not come whole"},
        {handBox.btnSyncMountTime, "Sets the mount's date, time and zone from this computer"},
    };
    for (const HelpRow& row : rows) {
        row.control.ToolTip(row.text);
    }
}

void Show(Label& label, const std::string& text, Colours colours) {
    label.Text(text);
    Paint(label, colours);
}

}  // namespace

HandBoxPanel::HandBoxPanel(HandBoxPanelNeeds needs)
    : needs_(std::move(needs)),
      driver_(needs_.driver),
      state_(driver_.state),
      kept_(needs_.handBox, driver_.persist, Keeps::AtOnce) {
    needs_.handBox.OnLoad([this] { OnLoad(); });
    needs_.handBox.tmrSlewFlashUI.OnTick([this] { OnFlashTick(); });
    needs_.handBox.tmrSavePos.OnTick([this] { SavePosition(); });
    needs_.handBox.tmrGetLatLong.OnTick([this] { OnSiteTick(); });
    needs_.handBox.lblLstHA.OnClick([this] { ToggleHourAngle(); });
    for (Label* label :
         {&needs_.handBox.lblRA, &needs_.handBox.lblDEC, &needs_.handBox.lblAlt, &needs_.handBox.lblAz}) {
        label->OnClick([this] { AskAbortSlew(); });
    }
    WireSettings();
    WireButtons();
    WireRateButtons();
    WireFocuser();
    WirePaging();
}

void HandBoxPanel::OnLoad() {
    const FillsForm filling(needs_.handBox);
    RestorePosition();
    SetUiGuideIndicator(kAllGuideMarks, false);
    needs_.queries.ResetQueryTimes();
    frmHandBox& handBox = needs_.handBox;
    handBox.tmrQueryRaDecAltAz.Interval(kPollIntervalMs);
    ShowHelp(handBox);
    handBox.btnInitNow.Visible(driver_.persist.ReadFlag(setting::ShowInitNowButton));
    handBox.lblAdministrator.Visible(IsAdmin(needs_.systemInfo));
    // The values that the first queries and a real connect need, long before all controls are filled.
    handBox.chkEnableDebugLog.Checked(state_.g_bDebugLog);
    handBox.chkUseRCAL.Checked(driver_.persist.ReadFlag(setting::chkUseRCAL));
    handBox.chkCalcAzAlt.Checked(driver_.persist.ReadFlag(setting::chkCalcAzAlt));
    handBox.chkCalcLST.Checked(driver_.persist.ReadFlag(setting::chkCalcLST));
    handBox.chkEnableKingRate.Checked(driver_.persist.ReadFlag(setting::chkEnableKingRate));
    handBox.customRateLimit = state_.g_dMaxMoveRate;
    handBox.expanded = driver_.persist.ReadFlag(setting::chkShowAllControls);
    handBox.chkShowAllControls.Checked(handBox.expanded);
    needs_.applyWindowsPriority(StoredNumber(driver_.persist, setting::cbxWindowsPriority));
    ShowFrames();
}

void HandBoxPanel::RestorePosition() {
    frmHandBox& handBox = needs_.handBox;
    const auto number = [&](std::string_view text) { return NumberOf(text, driver_.log); };
    const std::string remember = driver_.persist.Read(setting::chkRememberPosition);
    const std::string top = driver_.persist.Read(setting::FormTop);
    const std::string left = driver_.persist.Read(setting::FormLeft);
    const std::string onTop = driver_.persist.Read(setting::chkAlwaysOnTop);
    handBox.top = number(top);
    handBox.left = number(left);
    handBox.restorePosition = number(remember) != 0;
    handBox.alwaysOnTop = onTop != "0";
    driver_.log.LogMessage("Load", LogLevel::Info,
                           "OnTop=" + onTop + ",RestorePosition=" + remember + ",Left = " + left + ", Top = " + top);
}

void HandBoxPanel::SavePosition() {
    frmHandBox& handBox = needs_.handBox;
    if (!handBox.savePosition) {
        handBox.tmrSavePos.Enabled(false);
        return;
    }
    handBox.savePosition = false;
    const std::string top = std::to_string(handBox.top);
    const std::string left = std::to_string(handBox.left);
    driver_.persist.Write(setting::FormTop, top);
    driver_.persist.Write(setting::FormLeft, left);
    driver_.log.LogMessage("SaveFormPosition", LogLevel::Info, "Left = " + left + ", Top = " + top);
}

void HandBoxPanel::UserShow() {
    frmHandBox& handBox = needs_.handBox;
    handBox.EnsureLoaded();
    handBox.bForceMinimize = driver_.persist.ReadFlag(setting::MinimizeStatusWindow);
    if (handBox.bForceMinimize) {
        Minimize();
        handBox.tmrMinimize.Interval(kMinimizeDelayMs);
    } else {
        Maximize();
    }
}

void HandBoxPanel::Maximize() {
    needs_.handBox.EnsureLoaded();
    needs_.handBox.Show();
    needs_.handBox.inTray = false;
}

void HandBoxPanel::Minimize() {
    needs_.handBox.EnsureLoaded();
    needs_.handBox.Hide();
    needs_.handBox.inTray = true;
}

void HandBoxPanel::SetParkStatus(std::string_view text, std::string_view /*origin*/) {
    needs_.handBox.lblParkStatus.Text(text);
    needs_.statusWindow.lblParkStatus.Text(text);
}

void HandBoxPanel::SetParkToolTip(std::string_view text) {
    needs_.handBox.lblParkStatus.ToolTip(text);
    needs_.statusWindow.lblParkStatus.ToolTip(text);
}

void HandBoxPanel::SlewFlashDisplay() {
    state_.g_bFlashShowing = state_.g_bSlewing && !state_.g_bFlashShowing;
    frmHandBox& handBox = needs_.handBox;
    if (state_.g_bFlashShowing) {
        Show(handBox.lblRA, state_.g_bParking ? "PARKING" : "SLEWING", kWarningColours);
        Show(handBox.lblDEC, "CLICK", kWarningColours);
        Show(handBox.lblAlt, "THIS TO", kWarningColours);
        Show(handBox.lblAz, "ABORT", kWarningColours);
    } else {
        Show(handBox.lblRA, needs_.queries.LastRaText(), kNormalColours);
        Show(handBox.lblDEC, needs_.queries.LastDecText(), kNormalColours);
        Show(handBox.lblAlt, needs_.queries.LastAltText(), kNormalColours);
        Show(handBox.lblAz, needs_.queries.LastAzText(), kNormalColours);
    }
}

void HandBoxPanel::OnFlashTick() {
    if (!state_.g_bSlewing) {
        needs_.handBox.tmrSlewFlashUI.Enabled(false);
        state_.g_bFlashShowing = false;
    }
    SlewFlashDisplay();
}

void HandBoxPanel::AskAbortSlew() {
    if (needs_.handBox.tmrSlewFlashUI.Enabled()) {
        needs_.questions.AskAbort(state_.g_bParking);
    }
}

void HandBoxPanel::AbortSlew() {
    ResumeNext errors{driver_.ledger, "AbortSlew"};
    errors.Step([&] {
        if (Telescope* const telescope = needs_.telescope()) {
            telescope->AbortSlewDriver();
        }
    });
}

void HandBoxPanel::SetUiGuideIndicator(std::int32_t direction, bool on) {
    frmHandBox& handBox = needs_.handBox;
    Label* const single[] = {&handBox.lblGuideNorth, &handBox.lblGuideSouth, &handBox.lblGuideEast,
                             &handBox.lblGuideWest};
    const Colours colours = on ? kWarningColours : kNormalColours;
    if (direction >= 0 && direction < 4) {
        Paint(*single[direction], colours);
        return;
    }
    if (direction == kAllGuideMarks) {
        for (Label* const mark : single) {
            Paint(*mark, colours);
        }
    }
}

void HandBoxPanel::ToggleHourAngle() {
    frmHandBox& handBox = needs_.handBox;
    handBox.m_bShowHA = !handBox.m_bShowHA;
    handBox.lblLstHA.Text(handBox.m_bShowHA ? "HA" : "LST");
    needs_.queries.UpdateHourAngle();
}

}  // namespace kestrane
