#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <functional>
#include <optional>

#include "views/desktop/sky_numbers.h"

namespace kestrane::desktop {

/// What a person wants to hear of without looking. It compares what the driver shows with what it showed before.
class Alerts final : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// `textOf` gives the text of a control of the hand box.
    void Look(const SkyNumbers& sky, const std::function<QString(const QString& control)>& textOf);
    /// What comes next is the beginning, of another driver say.
    void Forget();

Q_SIGNALS:
    void Told(const QString& words, bool isGrave);

private:
    void LookAtState(const QString& now);
    void LookAtRefusals(const QString& refused);

    QString last_;
    std::optional<QString> refused_;
    QHash<QString, int> counts_;
};

}  // namespace kestrane::desktop
