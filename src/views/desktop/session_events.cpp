#include "views/desktop/session_events.h"

#include <QDBusConnection>

namespace kestrane::desktop {

SessionEvents::SessionEvents(QObject* parent) : QObject(parent) {
    QDBusConnection system = QDBusConnection::systemBus();
    system.connect("org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                   "PrepareForSleep", this, SLOT(OnSleep(bool)));
    // Of any session: that of another person who locks does no more than let go too.
    system.connect("org.freedesktop.login1", QString(), "org.freedesktop.login1.Session", "Lock", this, SLOT(OnLock()));
    for (const char* const saver : {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver", "org.xfce.ScreenSaver"}) {
        QDBusConnection::sessionBus().connect(QString(), QString(), saver, "ActiveChanged", this,
                                              SLOT(OnScreenSaver(bool)));
    }
}

void SessionEvents::OnSleep(bool begins) {
    if (begins) {
        Q_EMIT PersonGone();
    }
}

void SessionEvents::OnScreenSaver(bool active) {
    if (active) {
        Q_EMIT PersonGone();
    }
}

void SessionEvents::OnLock() {
    Q_EMIT PersonGone();
}

}  // namespace kestrane::desktop
