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

/// The bar with the icon reaches over the whole of the edge that is nearest to it.
QRect BarOf(const QRect& icon, const QRect& screen) {
    const int left = icon.left() - screen.left();
    const int right = screen.right() - icon.right();
    const int top = icon.top() - screen.top();
    const int bottom = screen.bottom() - icon.bottom();
    const int nearest = std::min({left, right, top, bottom});
    if (nearest == bottom) {
        return {QPoint(screen.left(), icon.top()), screen.bottomRight()};
    }
    if (nearest == top) {
        return {screen.topLeft(), QPoint(screen.right(), icon.bottom())};
    }
    if (nearest == left) {
        return {screen.topLeft(), QPoint(icon.right(), screen.bottom())};
    }
    return {QPoint(icon.left(), screen.top()), screen.bottomRight()};
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
        mirror_.Send(
            {{"do", "tray"}, {"at", JsonOf(BarOf(icon, screen->geometry()))}, {"screen", JsonOf(screen->geometry())}});
    }
}

void TrayIcon::PopUpMenu() {
    menu_.popup(QCursor::pos());
}

}  // namespace kestrane::desktop
