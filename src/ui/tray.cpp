#include "ui/tray.h"

#include <algorithm>
#include <array>
#include <utility>

#include "kernel/base/text.h"
#include "ui/kept_controls.h"

namespace kestrane {
namespace {

constexpr std::int32_t kPointerOver = 512;
constexpr std::int32_t kLeftUp = 514;
constexpr std::int32_t kLeftDoubleClick = 515;
constexpr std::int32_t kRightUp = 517;

/// Beside the tray, in the corner of the screen where its icons are. The edge with the tray is the one that it reaches
/// over the whole length of.
Corner CornerBesideTray(const TrayIcon::Place& place, std::int32_t width, std::int32_t height) {
    const ScreenArea& tray = place.tray;
    const ScreenArea& screen = place.screen;
    const bool isUpright = tray.bottom - tray.top > tray.right - tray.left;
    if (isUpright) {
        const bool atLeft = tray.left <= screen.left;
        return {.left = atLeft ? tray.right : tray.left - width, .top = screen.bottom - height};
    }
    const bool atTop = tray.top <= screen.top;
    return {.left = screen.right - width, .top = atTop ? tray.bottom : tray.top - height};
}

}  // namespace

Tray::Tray(TrayNeeds needs) : needs_(std::move(needs)), handBox_(needs_.windows.handBox) {
    needs_.icon.OnMessage([this](std::int32_t message) { OnIconMessage(message); });
    needs_.panel.OnAction(ButtonAction::OpenSetup, needs_.openSetup);
    needs_.panel.OnAction(ButtonAction::OpenFocuserSetup, needs_.openFocuserSetup);
    needs_.panel.OnAction(ButtonAction::CloseDriver, [this] { AskUserCloseDriver(); });
    handBox_.lblClients.OnDblClick([this] { needs_.panel.Press(ButtonAction::CloseDriver); });
    WireMenu();
    WireOptions();
}

void Tray::OnIconMessage(std::int32_t message) {
    switch (message) {
        case kPointerOver:
            OnPointerOver();
            break;
        case kLeftUp:
            needs_.shellIcon.CheckShellIcon();
            needs_.shellIcon.ShowAndDeleteShellIcon();
            break;
        case kLeftDoubleClick:
            needs_.shellIcon.ShowAndDeleteShellIcon();
            break;
        case kRightUp:
            OnRightButtonUp();
            break;
        default:
            break;
    }
}

void Tray::OnPointerOver() {
    const PopupShowStatus popup = Popup();
    const bool wanted =
        popup == PopupShowStatus::Always || (popup == PopupShowStatus::WhenDriverHidden && !handBox_.Visible());
    if (wanted && !AnyModalDialogIsOpen()) {
        PlaceStatusWindow();
        needs_.windows.statusWindow.Show();
        needs_.statusWindow.StartTimer();
    }
}

void Tray::PlaceStatusWindow() {
    frmStatus& status = needs_.windows.statusWindow;
    const auto place = needs_.icon.Where();
    status.Place(place ? std::optional(CornerBesideTray(*place, status.width, status.height)) : std::nullopt);
}

/// The menu is shown anew also where a view has not told that it was closed.
void Tray::OnRightButtonUp() {
    if (AnyDialogIsOpen()) {
        return;
    }
    needs_.statusWindow.HideForm();
    handBox_.ToFront();
    handBox_.mPopupSys.Visible(false);
    handBox_.mPopupSys.Visible(true);
}

/// Each window but those that a person may leave open all night.
bool Tray::IsOpenDialog(const Form& form) const {
    const Windows& windows = needs_.windows;
    const std::array<const Form*, 5> panels{&windows.handBox, &windows.statusWindow, &windows.logWindow, &windows.help,
                                            &windows.clients};
    return form.Visible() && std::ranges::find(panels, &form) == panels.end();
}

bool Tray::AnyDialogIsOpen() {
    return std::ranges::any_of(needs_.windows.All(), [this](const Form* form) { return IsOpenDialog(*form); });
}

bool Tray::AnyModalDialogIsOpen() {
    const Windows& windows = needs_.windows;
    return std::ranges::any_of(needs_.windows.All(), [&](const Form* form) {
        return IsOpenDialog(*form) && form != &windows.askGotoRaDec && form != &windows.askGtoAltAz &&
               form != &windows.askAbortSlew;
    });
}

/// A chosen entry closes the menu.
void Tray::OnEntry(Menu& entry, std::function<void()> run) {
    entry.OnClick([this, run = std::move(run)] {
        handBox_.mPopupSys.Visible(false);
        run();
    });
}

void Tray::WireMenu() {
    OnEntry(handBox_.mPopRestore, [this] {
        Restore();
        handBox_.ToFront();
    });
    OnEntry(handBox_.mPopPark, [this] {
        Restore();
        handBox_.btnPark.FireClick();
    });
    OnEntry(handBox_.mPopUnpark, [this] {
        Restore();
        handBox_.btnUNPARK.FireClick();
    });
    OnEntry(handBox_.mPopInitializeMount, [this] {
        Restore();
        handBox_.btnInitNow.FireClick();
    });
    OnEntry(handBox_.mPopEnableTracking, [this] { SetTracking(true); });
    OnEntry(handBox_.mPopDisableTracking, [this] { SetTracking(false); });
    const std::pair<Menu*, ButtonAction> asking[] = {
        {&handBox_.mPopExit, ButtonAction::CloseDriver},
        {&handBox_.mPopSetup, ButtonAction::OpenSetup},
        {&handBox_.mPopFocuser, ButtonAction::OpenFocuserSetup},
    };
    for (const auto& [entry, action] : asking) {
        OnEntry(*entry, [this, pressed = action] { needs_.panel.Press(pressed); });
    }
    const std::pair<Menu*, const std::function<void()>*> opened[] = {
        {&handBox_.mPopupLogZipper, &needs_.openLogZipper},
        {&handBox_.mPopTimerUtility, &needs_.openTimer},
        {&handBox_.mPopupJogUtility, &needs_.openJog},
        {&handBox_.mPopupPAS, &needs_.openPolarAlignment},
        {&handBox_.mPopHelp, &needs_.openHelp},
    };
    for (const auto& [entry, open] : opened) {
        OnEntry(*entry, [run = open] {
            if (*run) {
                (*run)();
            }
        });
    }
}

void Tray::WireOptions() {
    OnEntry(handBox_.mPopShowLogWindow, [this] { needs_.showLogWindow(!handBox_.mPopShowLogWindow.Checked()); });
    OnEntry(handBox_.mPopTopmost, [this] {
        handBox_.mPopTopmost.Checked(!handBox_.mPopTopmost.Checked());
        needs_.persist.Write(setting::mPopTopmost, ZeroOrOne(handBox_.mPopTopmost.Checked()));
    });
    OnEntry(handBox_.mPopupShowStatusAlways, [this] { ChoosePopup(PopupShowStatus::Always); });
    OnEntry(handBox_.mPopupShowStatusWhenDriverHidden, [this] { ChoosePopup(PopupShowStatus::WhenDriverHidden); });
    OnEntry(handBox_.mPopupShowStatusNever, [this] { ChoosePopup(PopupShowStatus::Never); });
}

PopupShowStatus Tray::Popup() {
    return static_cast<PopupShowStatus>(StoredNumber(needs_.persist, setting::PopupShowStatus));
}

void Tray::ChoosePopup(PopupShowStatus value) {
    needs_.persist.Write(setting::PopupShowStatus, std::to_string(static_cast<int>(value)));
    ShowOptions();
}

void Tray::ShowOptions() {
    const PopupShowStatus popup = Popup();
    handBox_.mPopupShowStatusAlways.Checked(popup == PopupShowStatus::Always);
    handBox_.mPopupShowStatusWhenDriverHidden.Checked(popup == PopupShowStatus::WhenDriverHidden);
    handBox_.mPopupShowStatusNever.Checked(popup == PopupShowStatus::Never);
    handBox_.mPopShowLogWindow.Checked(needs_.persist.ReadFlag(setting::mPopShowLogWindow));
    handBox_.mPopTopmost.Checked(needs_.persist.ReadFlag(setting::mPopTopmost));
}

void Tray::Restore() {
    needs_.shellIcon.ShowAndDeleteShellIcon();
}

void Tray::SetTracking(bool on) {
    ResumeNext errors{needs_.ledger, "Tracking"};
    errors.Step([&] {
        if (Telescope* const telescope = needs_.telescope()) {
            telescope->Tracking(on);
        }
    });
}

void Tray::AskUserCloseDriver() {
    if (needs_.questions.AskCloseDriver()) {
        needs_.log.LogMessage("Driver", LogLevel::Info, "User closed driver with connections open...");
        needs_.shutDown();
    }
}

}  // namespace kestrane
