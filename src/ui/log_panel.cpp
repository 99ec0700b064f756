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

LogPanel::LogPanel(LogPanelNeeds needs) : needs_(std::move(needs)) {
    needs_.log.SetWindow(&needs_.logWindow.ForLog());
    needs_.handBox.chkEnableDebugLog.OnClick([this] { OnEnableClick(); });
    needs_.logWindow.OnLoad([this] { LoadFilters(); });
    for (const FilterRow& filter : kFilters) {
        (needs_.logWindow.*filter.box).OnClick([this] { OnFilterClick(); });
    }
}

LogPanel::~LogPanel() {
    needs_.log.SetWindow(nullptr);
}

void LogPanel::ToggleLog() {
    needs_.log.ToggleLog(needs_.state.g_bDebugLog && needs_.persist.ReadFlag(setting::mPopShowLogWindow));
}

void LogPanel::ShowLogWindow(bool show) {
    needs_.persist.Write(setting::mPopShowLogWindow, ZeroOrOne(show));
    needs_.logWindow.ForLog().Show(show);
}

void LogPanel::Enable(bool enable) {
    needs_.persist.Write(setting::chkEnableDebugLog, ZeroOrOne(enable));
    const bool changes = std::exchange(needs_.state.g_bDebugLog, enable) != enable;
    const FillsHandBox filling(needs_.handBox);
    needs_.handBox.chkEnableDebugLog.Checked(enable);
    if (changes) {
        ToggleLog();
    }
}

void LogPanel::OnEnableClick() {
    if (needs_.handBox.fillings == 0) {
        Enable(needs_.handBox.chkEnableDebugLog.Checked());
    }
}

void LogPanel::LoadFilters() {
    filling_ = true;
    for (const FilterRow& filter : kFilters) {
        needs_.state.*filter.flag = needs_.persist.ReadFlag(filter.key);
        (needs_.logWindow.*filter.box).Checked(needs_.state.*filter.flag);
    }
    filling_ = false;
}

void LogPanel::OnFilterClick() {
    if (filling_) {
        return;
    }
    for (const FilterRow& filter : kFilters) {
        const bool checked = (needs_.logWindow.*filter.box).Checked();
        if (needs_.state.*filter.flag != checked) {
            needs_.state.*filter.flag = checked;
            needs_.persist.Write(filter.key, ZeroOrOne(checked));
        }
    }
}

}  // namespace kestrane
