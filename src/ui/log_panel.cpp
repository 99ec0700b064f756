#include "ui/log_panel.h"

#include <utility>

#include "kernel/base/text.h"

namespace kestrane {
namespace {

/// A filter of the log window: its check box, its setting, and the flag that the log tests.
struct FilterRow {
    CheckBox frmLogWindow::*box;
    SettingKey key;
    bool LogState::*flag;
};

constexpr FilterRow kFilters[] = {
    {&frmLogWindow::chkShowASCOMCommands, setting::chkShowASCOMCommands, &LogState::g_bShowAscom},
    {&frmLogWindow::chkShowFocuserCommands, setting::chkShowFocuserCommands, &LogState::g_bShowFocuser},
    {&frmLogWindow::chkShowTelescopeCommands, setting::chkShowTelescopeCommands, &LogState::g_bShowTelescope},
    {&frmLogWindow::chkShowNoRaDecAltAz, setting::chkShowNoRaDecAltAz, &LogState::g_bShowNoRaDec},
};

}  // namespace

LogPanel::LogPanel(LogPanelNeeds needs)
    : needs_(std::move(needs)), filters_(needs_.logWindow, needs_.persist, Keeps::AtOnce) {
    needs_.log.SetWindow(&needs_.logWindow.ForLog());
    needs_.handBox.chkEnableDebugLog.OnClick([this] { OnEnableClick(); });
    needs_.logWindow.OnLoad([this] {
        filters_.Fill();
        TakeFilters();
        FollowAlwaysOnTop();
    });
    needs_.logWindow.OnHide([this] { OnHide(); });
    for (const FilterRow& filter : kFilters) {
        filters_.Add(KeptCheck{needs_.logWindow.*filter.box, filter.key, [this] { TakeFilters(); }});
    }
}

LogPanel::~LogPanel() {
    needs_.log.SetWindow(nullptr);
}

/// A window that goes and comes with the log is wanted all the time.
void LogPanel::ToggleLog() {
    const FillsForm byDriver(needs_.logWindow);
    FollowAlwaysOnTop();
    needs_.log.ToggleLog(needs_.state.g_bDebugLog && needs_.persist.ReadFlag(setting::mPopShowLogWindow));
}

void LogPanel::ShowWhereWanted() {
    if (needs_.handBox.mPopShowLogWindow.Checked()) {
        FollowAlwaysOnTop();
        needs_.logWindow.ForLog().Show(true);
    }
}

void LogPanel::ShowLogWindow(bool show) {
    KeepWanted(show);
    FollowAlwaysOnTop();
    needs_.logWindow.ForLog().Show(show);
}

void LogPanel::KeepWanted(bool wanted) {
    needs_.persist.Write(setting::mPopShowLogWindow, ZeroOrOne(wanted));
    needs_.handBox.mPopShowLogWindow.Checked(wanted);
}

/// A person who closes the window does not want it any more: a tick that stayed would let the next press of the entry
/// of the menu hide what is hidden.
void LogPanel::OnHide() {
    if (!needs_.logWindow.IsFilling()) {
        KeepWanted(false);
    }
}

void LogPanel::FollowAlwaysOnTop() {
    needs_.logWindow.AlwaysOnTop(needs_.persist.Read(setting::chkAlwaysOnTop) != "0");
}

void LogPanel::Enable(bool enable) {
    needs_.persist.Write(setting::chkEnableDebugLog, ZeroOrOne(enable));
    const bool changes = std::exchange(needs_.state.g_bDebugLog, enable) != enable;
    const FillsForm filling(needs_.handBox);
    needs_.handBox.chkEnableDebugLog.Checked(enable);
    if (changes) {
        ToggleLog();
    }
}

void LogPanel::OnEnableClick() {
    if (!needs_.handBox.IsFilling()) {
        Enable(needs_.handBox.chkEnableDebugLog.Checked());
    }
}

void LogPanel::TakeFilters() {
    for (const FilterRow& filter : kFilters) {
        needs_.state.*filter.flag = (needs_.logWindow.*filter.box).Checked();
    }
}

}  // namespace kestrane
