#include "ui/hand_box/window.h"

#include "kernel/base/os_info.h"
#include "ui/fixed_lists.h"
#include "ui/kept_controls.h"

namespace kestrane {
namespace {

constexpr std::int32_t kMinimizeDelayMs = 1000;

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
        {handBox.txtInitRaBacklash, fixed_list::kBacklashRange},
        {handBox.txtInitDecBacklash, fixed_list::kBacklashRange},
        {handBox.txtMeridianDelay, "Hours, -6 to 6"},
        {handBox.lblRetransmits, "Commands that had to be sent again"},
        {handBox.lblReceiveStringErrors, "Replies that did not come whole"},
        {handBox.btnSyncMountTime, "Sets the mount's date, time and zone from this computer"},
    };
    for (const HelpRow& row : rows) {
        row.control.ToolTip(row.text);
    }
}

}  // namespace

HandBoxWindow::HandBoxWindow(const HandBoxNeeds& needs) : needs_(needs), driver_(needs.driver) {
    needs_.handBox.tmrSavePos.OnTick([this] { SavePosition(); });
    needs_.handBox.OnMoved([this](const ScreenArea& area) { OnMoved(area); });
}

void HandBoxWindow::Load() {
    RestorePosition();
    ShowHelp(needs_.handBox);
    needs_.handBox.btnInitNow.Visible(driver_.persist.ReadFlag(setting::ShowInitNowButton));
    needs_.handBox.lblAdministrator.Visible(IsAdmin(needs_.systemInfo));
}

void HandBoxWindow::RestorePosition() {
    frmHandBox& handBox = needs_.handBox;
    const auto number = [&](std::string_view text) { return NumberOf(text, driver_.log); };
    const std::string remember = driver_.persist.Read(setting::chkRememberPosition);
    const std::string top = driver_.persist.Read(setting::FormTop);
    const std::string left = driver_.persist.Read(setting::FormLeft);
    const std::string onTop = driver_.persist.Read(setting::chkAlwaysOnTop);
    handBox.top = number(top);
    handBox.left = number(left);
    handBox.Place(number(remember) != 0 ? std::optional(Corner{handBox.left, handBox.top}) : std::nullopt);
    handBox.AlwaysOnTop(onTop != "0");
    driver_.log.LogMessage("Load", LogLevel::Info,
                           "OnTop=" + onTop + ",RestorePosition=" + remember + ",Left = " + left + ", Top = " + top);
}

void HandBoxWindow::OnMoved(const ScreenArea& area) {
    frmHandBox& handBox = needs_.handBox;
    if (handBox.Loaded() && (area.left != handBox.left || area.top != handBox.top)) {
        handBox.left = area.left;
        handBox.top = area.top;
        handBox.savePosition = true;
        handBox.tmrSavePos.Enabled(true);
    }
}

void HandBoxWindow::SavePosition() {
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

void HandBoxWindow::UserShow() {
    frmHandBox& handBox = needs_.handBox;
    handBox.EnsureLoaded();
    handBox.bForceMinimize = driver_.persist.ReadFlag(setting::MinimizeStatusWindow);
    if (handBox.bForceMinimize) {
        needs_.shellIcon.HideAndAddShellIcon();
        handBox.tmrMinimize.Interval(kMinimizeDelayMs);
    } else {
        needs_.shellIcon.ShowAndDeleteShellIcon();
    }
}

}  // namespace kestrane
