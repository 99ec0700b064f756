#include "ui/shell_icon.h"

#include <utility>

namespace kestrane {
namespace {

constexpr std::int32_t kAddAgainMs = 1000;
constexpr std::int32_t kNever = 0;

}  // namespace

ShellIcon::ShellIcon(ShellIconNeeds needs) : needs_(std::move(needs)) {
    needs_.handBox.tmrMinimize.OnTick([this] { OnMinimizeTick(); });
    needs_.handBox.tmrCheckShellNotifyIcon.OnTick([this] { OnCheckTick(); });
    needs_.handBox.OnHide([this] { AddIcon(); });
    needs_.handBox.OnUnload([this] {
        DeleteIcon();
        needs_.log.LogMessage("Driver", LogLevel::Info, "Driver closing...");
    });
}

void ShellIcon::HideAndAddShellIcon() {
    frmHandBox& handBox = needs_.handBox;
    handBox.EnsureLoaded();
    if (handBox.Visible()) {
        handBox.Hide();  // which adds the icon, as where a person hides it
    } else {
        AddIcon();
    }
}

void ShellIcon::AddIcon() {
    frmHandBox& handBox = needs_.handBox;
    if (!handBox.Loaded()) {
        return;
    }
    handBox.inTray = handBox.inTray || needs_.icon.Add();
    handBox.tmrMinimize.Interval(handBox.inTray ? kNever : kAddAgainMs);
}

void ShellIcon::CheckShellIcon() {
    frmHandBox& handBox = needs_.handBox;
    if (handBox.inTray && !needs_.icon.Modify()) {
        handBox.inTray = false;
        handBox.tmrMinimize.Interval(kAddAgainMs);
    }
}

void ShellIcon::ShowAndDeleteShellIcon() {
    frmHandBox& handBox = needs_.handBox;
    handBox.EnsureLoaded();
    handBox.bForceMinimize = false;
    handBox.Show();
    DeleteIcon();
    if (needs_.statusWindow.Visible()) {
        needs_.statusWindow.Hide();
    }
}

/// In every case: the record of the icon may be wrong, and a dead one stays for ever.
void ShellIcon::DeleteIcon() {
    needs_.handBox.inTray = false;
    needs_.icon.Delete();
}

void ShellIcon::OnMinimizeTick() {
    const bool hides = std::exchange(needs_.handBox.bForceMinimize, false);
    if (needs_.handBox.Visible() && !hides) {
        needs_.handBox.tmrMinimize.Interval(kNever);
    } else {
        HideAndAddShellIcon();
    }
}

void ShellIcon::OnCheckTick() {
    CheckShellIcon();
    if (needs_.handBox.mPopTopmost.Checked() && needs_.handBox.Visible()) {
        FollowAlwaysOnTop();
    }
}

void ShellIcon::FollowAlwaysOnTop() {
    const bool onTop = needs_.persist.Read(setting::chkAlwaysOnTop) != "0";
    needs_.handBox.AlwaysOnTop(onTop);
    needs_.logWindow.AlwaysOnTop(onTop);
}

}  // namespace kestrane
