#pragma once

#include "forms/frm_hand_box.h"
#include "forms/frm_log_window.h"
#include "forms/frm_status.h"
#include "kernel/base/log.h"
#include "platform/tray_icon.h"
#include "settings/persist.h"

namespace kestrane {

struct ShellIconNeeds {
    TrayIcon& icon;
    Persist& persist;
    Log& log;
    frmHandBox& handBox;
    frmStatus& statusWindow;
    frmLogWindow& logWindow;
};

/// Puts the hand box into the tray, also where a view hides it, and takes it out again. Keeps the icon alive, and the
/// place of the windows above others. When the hand box is unloaded the icon goes, so that no dead one stays. Logic
/// thread only.
class ShellIcon final {
public:
    explicit ShellIcon(ShellIconNeeds needs);

    /// Hides the hand box behind an icon. An icon that cannot be added is tried again each second. Nothing once the
    /// hand box was unloaded for good.
    void HideAndAddShellIcon();
    /// Tells the tray of the icon again. One that has gone is put back in a second.
    void CheckShellIcon();
    /// Shows the hand box and takes the icon and the status window away.
    void ShowAndDeleteShellIcon();
    /// Puts hand box and log window above others, or not, as "chkAlwaysOnTop" says.
    void FollowAlwaysOnTop();

private:
    void AddIcon();
    void DeleteIcon();
    void OnMinimizeTick();
    void OnCheckTick();

    ShellIconNeeds needs_;
};

}  // namespace kestrane
