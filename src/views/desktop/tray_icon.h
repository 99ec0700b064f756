#pragma once

#include <QMenu>
#include <QSystemTrayIcon>
#include <QTimer>

#include "views/desktop/mirror.h"

namespace kestrane::desktop {

/// The icon of a hand box that is behind it, where the desktop has a tray. What a person does with it goes to the
/// driver. Its shape shows what the mount does; its tip tells it, also where a tray tells of no pointer. The mirror and
/// the menu outlive it.
class TrayIcon final : public QObject {
    Q_OBJECT

public:
    TrayIcon(Mirror& mirror, QMenu& menu, QObject* parent);

    /// Whether there is a tray now.
    static bool Exists() { return QSystemTrayIcon::isSystemTrayAvailable(); }
    /// Shows the icon, or takes it away. Where there is no tray it tries again each second.
    void Wanted(bool wanted);
    bool IsShown() const { return icon_.isVisible() && Exists(); }
    void ShowState(const QString& state, const QString& tip);
    /// As the driver asks for it.
    void PopUpMenu();

Q_SIGNALS:
    /// There is an icon now, or none any more.
    void Changed(bool isShown);

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void OnActivated(QSystemTrayIcon::ActivationReason reason);
    void Tell(const QString& message);
    /// Where the status window is to be shown beside.
    void TellPlace();
    void Look();

    Mirror& mirror_;
    QMenu& menu_;
    QSystemTrayIcon icon_;
    QTimer again_;
    QString state_;
    bool isWanted_ = false;
    bool wasShown_ = false;
};

}  // namespace kestrane::desktop
