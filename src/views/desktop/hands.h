#pragma once

#include <QAbstractButton>
#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <functional>

#include "views/desktop/mirror.h"

namespace kestrane::desktop {

/// Buttons that act while they are held, one at a time. Whatever takes the hand, the window or the eye away ends the
/// hold. The mirror outlives it.
class Hands final : public QObject {
public:
    /// What a hold of a button is: the window, its opening and the control.
    using Report = std::function<QJsonObject()>;

    explicit Hands(Mirror& mirror);

    /// By the left button of the mouse, and by Enter.
    void HoldByHand(QAbstractButton& button, Report report);
    /// From elsewhere, such as a key for a button of the pad.
    void Begin(QAbstractButton& button, const Report& report);
    /// Ends the hold, if there is one.
    void LetGo();

private:
    bool eventFilter(QObject* watched, QEvent* event) override;

    Mirror& mirror_;
    QPointer<QAbstractButton> held_;
    QHash<QObject*, Report> reports_;
};

}  // namespace kestrane::desktop
