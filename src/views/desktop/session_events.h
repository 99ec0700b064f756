#pragma once

#include <QObject>

namespace kestrane::desktop {

/// Tells when nobody can be at the controls any more: the session of the desktop is locked, or the machine goes to
/// sleep. Where the system bus is not there it tells nothing.
class SessionEvents final : public QObject {
    Q_OBJECT

public:
    explicit SessionEvents(QObject* parent = nullptr);

Q_SIGNALS:
    void PersonGone();

private Q_SLOTS:
    void OnSleep(bool begins);
    void OnScreenSaver(bool active);
    void OnLock();
};

}  // namespace kestrane::desktop
