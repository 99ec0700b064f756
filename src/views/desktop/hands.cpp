#include "views/desktop/hands.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <utility>

#include "views/desktop/theme.h"

namespace kestrane::desktop {
namespace {

bool IsEnter(const QEvent* event) {
    const auto* const key = static_cast<const QKeyEvent*>(event);
    return (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) && !key->isAutoRepeat();
}

}  // namespace

Hands::Hands(Mirror& mirror) : mirror_(mirror) {
    connect(&mirror, &Mirror::HoldEnded, this, &Hands::LetGo);
    connect(&mirror, &Mirror::Closed, this, &Hands::LetGo);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state != Qt::ApplicationActive) {
            LetGo();
        }
    });
}

void Hands::HoldByHand(QAbstractButton& button, Report report) {
    reports_.insert(&button, std::move(report));
    button.installEventFilter(this);
    connect(&button, &QObject::destroyed, this, [this](QObject* gone) { reports_.remove(gone); });
}

void Hands::Begin(QAbstractButton& button, const Report& report) {
    LetGo();
    if (!button.isEnabled()) {
        return;
    }
    held_ = &button;
    button.setDown(true);
    Mark(button, "held", true);
    mirror_.Hold(report(), [this, pressed = held_](bool heard) {
        if (!heard && held_ == pressed) {
            LetGo();
        }
    });
}

void Hands::LetGo() {
    QAbstractButton* const button = std::exchange(held_, nullptr);
    if (button != nullptr) {
        button->setDown(false);
        Mark(*button, "held", false);
        mirror_.Release();
    }
}

bool Hands::eventFilter(QObject* watched, QEvent* event) {
    auto& button = *static_cast<QAbstractButton*>(watched);
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
            if (static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
                button.setFocus(Qt::MouseFocusReason);
                Begin(button, reports_.value(watched));
            } else {
                LetGo();
            }
            return true;
        case QEvent::KeyPress:
            if (IsEnter(event)) {
                Begin(button, reports_.value(watched));
                return true;
            }
            return false;
        case QEvent::MouseMove:
            return held_ == &button;  // a hand that trembles still holds it
        case QEvent::MouseButtonRelease:
        case QEvent::KeyRelease:
            if (held_ == &button && (event->type() == QEvent::MouseButtonRelease || IsEnter(event))) {
                LetGo();
                return true;
            }
            return event->type() == QEvent::MouseButtonRelease;
        case QEvent::FocusOut:
        case QEvent::Hide:
        case QEvent::UngrabMouse:
            if (held_ == &button) {
                LetGo();
            }
            return false;
        case QEvent::EnabledChange:
            if (held_ == &button && !button.isEnabled()) {
                LetGo();
            }
            return false;
        default:
            return false;
    }
}

}  // namespace kestrane::desktop
