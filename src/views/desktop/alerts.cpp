#include "views/desktop/alerts.h"

#include <QRegularExpression>
#include <utility>

namespace kestrane::desktop {
namespace {

bool IsGone(const QString& state) {
    return state == "No link" || state == "Not connected";
}

/// A count that grows, and what it tells.
constexpr std::pair<const char*, const char*> kCounts[] = {
    {"lblLowPowerCount", "The mount reports low power."},
    {"lblServoFaultCount", "The mount reports a servo fault."},
    {"lblMotorStallCount", "A motor has stalled."},
};

/// A count stands at the beginning of a label, which may say more.
int CountOf(const QString& text) {
    static const QRegularExpression digits("^\\s*(\\d+)");
    return digits.match(text).captured(1).toInt();
}

}  // namespace

void Alerts::Forget() {
    last_.clear();
    refused_.reset();
    counts_.clear();
}

void Alerts::Look(const SkyNumbers& sky, const std::function<QString(const QString&)>& textOf) {
    LookAtState(sky.State());
    LookAtRefusals(sky.Text("lblRefused"));
    for (const auto& [label, words] : kCounts) {
        const int count = CountOf(textOf(label));
        if (counts_.contains(label) && count > counts_[label]) {
            Q_EMIT Told(words, true);
        }
        counts_[label] = count;
    }
}

void Alerts::LookAtState(const QString& now) {
    const QString last = std::exchange(last_, now);
    if (last.isEmpty() || now == last) {
        return;
    }
    if (now == "No link") {
        Q_EMIT Told(tr("The mount does not answer."), true);
    } else if (IsGone(now)) {
        return;
    } else if (last == "No link") {
        Q_EMIT Told(tr("The mount answers again."), false);
    } else if (now == "Parking" || now == "Slewing") {
        return;
    } else if (last == "Slewing") {
        Q_EMIT Told(tr("The slew has ended."), false);
    } else if (last == "Parking") {
        Q_EMIT Told(now == "Parked" ? tr("The mount is parked.") : tr("The park has ended; the mount is not parked."),
                    false);
    }
}

/// A growing number stands before the words.
void Alerts::LookAtRefusals(const QString& refused) {
    const auto before = std::exchange(refused_, refused);
    if (before && refused != *before && !refused.isEmpty()) {
        Q_EMIT Told(tr("Refused: %1").arg(refused.section(' ', 1)), false);
    }
}

}  // namespace kestrane::desktop
