#pragma once

#include <QHash>
#include <QString>
#include <optional>

namespace kestrane::desktop {

/// What `frmSky` tells, by the names of its labels.
class SkyNumbers final {
public:
    void Note(const QString& label, const QString& text) { texts_[label] = text; }
    QString Text(const QString& label) const { return texts_.value(label); }
    /// Nothing where it is not known.
    std::optional<double> Number(const QString& label) const {
        bool isOne = false;
        const double value = texts_.value(label).toDouble(&isOne);
        return isOne ? std::optional(value) : std::nullopt;
    }
    /// `lblState`.
    QString State() const { return texts_.value("lblState", "Not connected"); }
    bool Moves() const { return State() == "Slewing" || State() == "Parking" || State() == "Moving"; }

private:
    QHash<QString, QString> texts_;
};

/// "2 h 05 min".
QString TimeText(std::optional<double> minutes);
/// "01:02:03.4", with a sign where `isSigned`.
QString ClockText(double hours, bool isSigned);

}  // namespace kestrane::desktop
