#include "platform/posix/erfa_astronomy.h"

#include <cassert>
#include <erfa.h>
#include <numbers>
#include <utility>

namespace kestrane {

ErfaAstronomy::ErfaAstronomy(std::function<DateTime()> utcNow) : utcNow_(std::move(utcNow)) {
    assert(utcNow_);
}

double ErfaAstronomy::NowLst(double westLongitudeRadians) {
    const DateTime utc = utcNow_();
    double epoch = 0.0;
    double midnight = 0.0;
    const int status = eraCal2jd(utc.year, utc.month, utc.day, &epoch, &midnight);
    assert(status == 0);
    static_cast<void>(status);
    const double seconds = utc.hour * 3600.0 + utc.minute * 60.0 + utc.second + utc.millisecond / 1000.0;
    const double greenwich = eraGst00b(epoch, midnight + seconds / 86400.0);
    const double hours = eraAnp(greenwich - westLongitudeRadians) * 12.0 / std::numbers::pi;
    // Folding turns an angle just below zero into a full turn.
    return hours < 24.0 ? hours : 0.0;
}

}  // namespace kestrane
