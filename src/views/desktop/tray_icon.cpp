#include "views/desktop/tray_icon.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QHash>
#include <QIcon>
#include <QJsonArray>
#include <QScreen>
#include <algorithm>
#include <utility>

namespace kestrane::desktop {
namespace {

constexpr int kLookForTrayMs = 1000;

/// A state, and the picture that shows it.
QString PictureOf(const QString& state) {
    static const QHash<QString, QString> pictures{
        {"Slewing", "slewing"},   {"Parking", "slewing"},   {"Moving", "slewing"},        {"Parked", "parked"},
        {"Tracking", "tracking"}, {"Standing", "standing"}, {"Not connected", "unlinked"}};
    return ":/icons/tray-" + pictures.value(state, "fault") + ".svg";
}

QJsonArray JsonOf(const QRect& area) {
    return {area.left(), area.top(), area.right() + 1, area.bottom() + 1};
}

/// The bar that holds the icon, over the whole of its edge of the screen. The edge is the one that the desktop keeps
/// windows away from where the icon is; without such a one, that which is nearest.
QRect BarOf(const QRect& icon, const QRect& screen, const QRect& forWindows) {
    struct Edge {
        QRect bar;
        int away;     ///< of the icon from the edge
        bool isKept;  ///< windows are kept away from there
    };
    const Edge edges[] = {
        {{QPoint(screen.left(), icon.top()), screen.bottomRight()},
         screen.bottom() - icon.bottom(),
         icon.top() > forWindows.bottom()},
        {{screen.topLeft(), QPoint(screen.right(), icon.bottom())},
         icon.top() - screen.top(),
         icon.bottom() < forWindows.top()},
        {{screen.topLeft(), QPoint(icon.right(), screen.bottom())},
         icon.left() - screen.left(),
         icon.right() < forWindows.left()},
        {{QPoint(icon.left(), screen.top()), screen.bottomRight()},
         screen.right() - icon.right(),
         icon.left() > forWindows.right()},
    };
    return std::ranges::min_element(edges, {}, [](const Edge& edge) { return std::pair(!edge.isKept, edge.away); })
        ->bar;
}

}  // namespace

TrayIcon::TrayIcon(Mirror& mirror, QMenu& menu, QObject* parent) : QObject(parent), mirror_(mirror), menu_(menu) {
    ShowState("Not connected", {});
    icon_.installEventFilter(this);
    connect(&icon_, &QSystemTrayIcon::activated, this, &TrayIcon::OnActivated);
    again_.setInterval(kLookForTrayMs);
    connect(&again_, &QTimer::timeout, this, &TrayIcon::Look);
    again_.start();
}

void TrayIcon::Wanted(bool wanted) {
    isWanted_ = wanted;
    icon_.setVisible(wanted && Exists());
    Look();
}

/// A tray may come or go at any time, with the panel that holds it.
void TrayIcon::Look() {
    if (isWanted_ && !icon_.isVisible() && Exists()) {
        icon_.show();
    }
    const bool isShown = isWanted_ && IsShown();
    if (std::exchange(wasShown_, isShown) != isShown) {
        Q_EMIT Changed(isShown);
    }
}

void TrayIcon::ShowState(const QString& state, const QString& tip) {
    if (std::exchange(state_, state) != state) {
        icon_.setIcon(QIcon(PictureOf(state)));
    }
    if (icon_.toolTip() != tip) {
        icon_.setToolTip(tip);
    }
}

/// Only a tray that takes windows of other programs tells of the pointer.
bool TrayIcon::eventFilter(QObject* /*watched*/, QEvent* event) {
    if (event->type() != QEvent::ToolTip) {
        return false;
    }
    TellPlace();
    Tell("over");
    return true;
}

void TrayIcon::OnActivated(QSystemTrayIcon::ActivationReason reason) {
    switch (reason) {
        case QSystemTrayIcon::Trigger:
            Tell("left");
            break;
        case QSystemTrayIcon::DoubleClick:
            Tell("double");
            break;
        case QSystemTrayIcon::Context:
            Tell("right");
            break;
        default:
            break;
    }
}

void TrayIcon::Tell(const QString& message) {
    mirror_.Act({{"do", "icon"}, {"message", message}});
}

void TrayIcon::TellPlace() {
    const QRect icon = icon_.geometry();
    const QScreen* const screen = QGuiApplication::screenAt(icon.center());
    if (icon.isValid() && screen != nullptr) {
        mirror_.Send({{"do", "tray"},
                      {"at", JsonOf(BarOf(icon, screen->geometry(), screen->availableGeometry()))},
                      {"screen", JsonOf(screen->geometry())}});
    }
}

void TrayIcon::PopUpMenu() {
    menu_.popup(QCursor::pos());
}

}  // namespace kestrane::desktop
