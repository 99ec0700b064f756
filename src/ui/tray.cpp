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
frmStatus::Corner CornerBesideTray(const TrayIcon::Place& place, std::int32_t width, std::int32_t height) {
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
    handBox_.lblClients.OnDblClick([this] { AskUserCloseDriver(); });
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
    status.place = place ? std::optional(CornerBesideTray(*place, status.width, status.height)) : std::nullopt;
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

void Tray::WireMenu() {
    handBox_.mPopRestore.OnClick([this] {
        Restore();
        handBox_.ToFront();
    });
    handBox_.mPopPark.OnClick([this] {
        Restore();
        handBox_.btnPark.FireClick();
    });
    handBox_.mPopUnpark.OnClick([this] {
        Restore();
        handBox_.btnUNPARK.FireClick();
    });
    handBox_.mPopInitializeMount.OnClick([this] {
        Restore();
        handBox_.btnInitNow.FireClick();
    });
    handBox_.mPopEnableTracking.OnClick([this] { SetTracking(true); });
    handBox_.mPopDisableTracking.OnClick([this] { SetTracking(false); });
    handBox_.mPopExit.OnClick([this] { AskUserCloseDriver(); });
    handBox_.mPopSetup.OnClick([this] { needs_.ask(needs_.openSetup); });
    handBox_.mPopFocuser.OnClick([this] { needs_.ask(needs_.openFocuserSetup); });
    const std::pair<Menu*, const std::function<void()>*> opened[] = {
        {&handBox_.mPopupLogZipper, &needs_.openLogZipper},
        {&handBox_.mPopTimerUtility, &needs_.openTimer},
        {&handBox_.mPopupJogUtility, &needs_.openJog},
        {&handBox_.mPopupPAS, &needs_.openPolarAlignment},
        {&handBox_.mPopHelp, &needs_.openHelp},
    };
    for (const auto& [entry, open] : opened) {
        entry->OnClick([run = open] {
            if (*run) {
                (*run)();
            }
        });
    }
}

void Tray::WireOptions() {
    handBox_.mPopShowLogWindow.OnClick([this] { needs_.showLogWindow(!handBox_.mPopShowLogWindow.Checked()); });
    handBox_.mPopTopmost.OnClick([this] {
        handBox_.mPopTopmost.Checked(!handBox_.mPopTopmost.Checked());
        needs_.persist.Write(setting::mPopTopmost, ZeroOrOne(handBox_.mPopTopmost.Checked()));
    });
    handBox_.mPopupShowStatusAlways.OnClick([this] { ChoosePopup(PopupShowStatus::Always); });
    handBox_.mPopupShowStatusWhenDriverHidden.OnClick([this] { ChoosePopup(PopupShowStatus::WhenDriverHidden); });
    handBox_.mPopupShowStatusNever.OnClick([this] { ChoosePopup(PopupShowStatus::Never); });
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
    needs_.ask([this] {
        if (needs_.questions.AskCloseDriver()) {
            needs_.log.LogMessage("Driver", LogLevel::Info, "User closed driver with connections open...");
            needs_.shutDown();
        }
    });
}

}  // namespace kestrane
