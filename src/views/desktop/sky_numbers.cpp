#include "views/desktop/sky_numbers.h"

#include <cmath>

namespace kestrane::desktop {

QString TimeText(std::optional<double> minutes) {
    if (!minutes) {
        return "–";
    }
    const auto whole = static_cast<int>(std::lround(*minutes));
    return QString("%1 h %2 min").arg(whole / 60).arg(whole % 60, 2, 10, QChar('0'));
}

QString ClockText(double hours, bool isSigned) {
    const auto tenths = static_cast<int>(std::lround(std::abs(hours) * 36000));
    const auto two = [](int value) { return QString("%1").arg(value, 2, 10, QChar('0')); };
    const QString sign = !isSigned ? "" : hours < 0 ? "-" : "+";
    return sign + two(tenths / 36000) + ':' + two(tenths / 600 % 60) + ':' + two(tenths / 10 % 60) + '.' +
           QString::number(tenths % 10);
}

}  // namespace kestrane::desktop
