#pragma once

#include "forms/frm_hand_box.h"
#include "forms/frm_log_window.h"
#include "kernel/base/log.h"
#include "settings/persist.h"
#include "ui/kept_controls.h"

namespace kestrane {

struct LogPanelNeeds {
    LogState& state;
    Persist& persist;
    Log& log;
    frmHandBox& handBox;
    frmLogWindow& logWindow;
};

/// The logic of the log window and of the check box that turns logging on. From its creation on, the log writes into
/// the window; the flags of the window's filters are read from their settings when the window is loaded. Logic thread
/// only.
class LogPanel final {
public:
    explicit LogPanel(LogPanelNeeds needs);
    ~LogPanel();
    LogPanel(const LogPanel&) = delete;
    LogPanel& operator=(const LogPanel&) = delete;

    /// For the load of the hand box, whose entry is ticked already: a window that was shown when the driver ended comes
    /// back.
    void ShowWhereWanted();
    /// By `g_bDebugLog`, opens a new log and shows the window if the user wants it (`mPopShowLogWindow`), or closes
    /// both.
    void ToggleLog();
    /// Turns logging on or off and keeps that as a setting, also where logging is that way already: another program may
    /// have stored something else.
    void Enable(bool enable);
    /// Keeps whether the user wants the window, and shows or hides it. A person who closes the window does the same.
    void ShowLogWindow(bool show);

private:
    void OnEnableClick();
    void OnHide();
    void KeepWanted(bool wanted);
    void FollowAlwaysOnTop();
    void TakeFilters();

    LogPanelNeeds needs_;
    KeptControls filters_;
};

}  // namespace kestrane
