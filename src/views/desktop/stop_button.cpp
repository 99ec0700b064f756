#include "views/desktop/stop_button.h"

#include <QKeyEvent>
#include <QMouseEvent>

#include "views/desktop/theme.h"

namespace kestrane::desktop {
namespace {

constexpr int kShownMs = 3000;

}  // namespace

StopButton::StopButton(QWidget* parent) : QPushButton(tr("STOP"), parent) {
    setObjectName("ownStop");
    setAutoDefault(false);
    setMinimumHeight(44);
    shown_.setSingleShot(true);
    shown_.setInterval(kShownMs);
    connect(&shown_, &QTimer::timeout, this, [this] { Show(tr("STOP"), false); });
}

void StopButton::ShowAsked() {
    shown_.stop();
    Show(tr("STOP …"), false);
}

void StopButton::ShowAnswer(bool heard) {
    Show(heard ? tr("STOP HEARD") : tr("NOT HEARD"), !heard);
    shown_.start();
}

void StopButton::Show(const QString& text, bool isUnheard) {
    setText(text);
    Mark(*this, "unheard", isUnheard);
}

bool StopButton::event(QEvent* event) {
    const bool isTouch = event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick;
    const bool isKey = event->type() == QEvent::KeyPress && !static_cast<QKeyEvent*>(event)->isAutoRepeat() &&
                       (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Return ||
                        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space);
    if ((isTouch && static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) || isKey) {
        Q_EMIT StopPressed();
        return true;
    }
    return QPushButton::event(event);
}

}  // namespace kestrane::desktop
