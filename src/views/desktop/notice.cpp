#include "views/desktop/notice.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QGuiApplication>
#include <QVariantMap>

#include "views/desktop/application.h"

namespace kestrane::desktop {

void ShowNotice(const QString& words, bool isGrave) {
    constexpr int kAsTheDesktopLikes = -1;
    constexpr uchar kNormal = 1, kCritical = 2;
    QDBusMessage call = QDBusMessage::createMethodCall(
        "org.freedesktop.Notifications", "/org/freedesktop/Notifications", "org.freedesktop.Notifications", "Notify");
    const QVariantMap hints{{"urgency", QVariant::fromValue(isGrave ? kCritical : kNormal)},
                            {"desktop-entry", QGuiApplication::desktopFileName()}};
    call << QString(kProgramName) << 0U << "kestrane-handbox" << QString(kProgramName) << words << QStringList()
         << hints << kAsTheDesktopLikes;
    QDBusConnection::sessionBus().send(call);
}

}  // namespace kestrane::desktop
