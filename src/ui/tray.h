#pragma once

#include <cstdint>
#include <functional>

#include "forms/questions.h"
#include "forms/windows.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "platform/tray_icon.h"
#include "settings/persist.h"
#include "telescope/telescope.h"
#include "ui/hand_box/hand_box_panel.h"
#include "ui/shell_icon.h"
#include "ui/status_window.h"

namespace kestrane {

/// The values of the setting "PopupShowStatus".
enum class PopupShowStatus { Never = 0, Always = 1, WhenDriverHidden = 2 };

struct TrayNeeds {
    SwallowLedger& ledger;
    Log& log;
    Persist& persist;
    Windows& windows;
    TrayIcon& icon;
    ShellIcon& shellIcon;
    StatusWindow& statusWindow;
    Questions& questions;
    HandBoxPanel& panel;
    std::function<Telescope*()> telescope;              ///< the driver's own object; null while there is none
    std::function<void(bool show)> showLogWindow;       ///< ticks its entry of the menu too
    std::function<void()> openSetup, openFocuserSetup;  ///< return when a person has closed the window
    std::function<void()> openLogZipper, openTimer, openJog, openPolarAlignment, openHelp;
    std::function<void()> shutDown;  ///< stops what runs, closes link and windows, ends the process
};

/// What a person does with the icon in the tray, and its menu. Logic thread only.
class Tray final {
public:
    explicit Tray(TrayNeeds needs);

    /// A mouse message of the icon (`TrayIcon::OnMessage`); those without a meaning do nothing.
    void OnIconMessage(std::int32_t message);
    /// Ticks the entries of the menu that are settings. For the load of the hand box.
    void ShowOptions();

private:
    /// Asks a person whether to end the process with its clients, and ends it.
    void AskUserCloseDriver();
    void OnEntry(Menu& entry, std::function<void()> run);
    void WireMenu();
    void WireOptions();
    void ChoosePopup(PopupShowStatus value);
    PopupShowStatus Popup();
    void OnPointerOver();
    void OnRightButtonUp();
    bool IsOpenDialog(const Form& form) const;
    bool AnyDialogIsOpen();
    bool AnyModalDialogIsOpen();
    void PlaceStatusWindow();
    void SetTracking(bool on);
    void Restore();

    TrayNeeds needs_;
    frmHandBox& handBox_;
};

}  // namespace kestrane
