#include "platform/posix/erfa_astronomy.h"

#include <cassert>
#include <erfa.h>
#include <numbers>
#include <utility>

namespace kestrane {
namespace {

/// Folding turns an angle just below zero into a full turn.
double HoursOf(double radians) {
    const double hours = eraAnp(radians) * 12.0 / std::numbers::pi;
    return hours < 24.0 ? hours : 0.0;
}

}  // namespace

ErfaAstronomy::ErfaAstronomy(std::function<DateTime()> utcNow) : utcNow_(std::move(utcNow)) {
    assert(utcNow_);
}

ErfaAstronomy::JulianDate ErfaAstronomy::UtcNow() const {
    const DateTime utc = utcNow_();
    double epoch = 0.0;
    double midnight = 0.0;
    const int status = eraCal2jd(utc.year, utc.month, utc.day, &epoch, &midnight);
    assert(status == 0);
    static_cast<void>(status);
    const double seconds = utc.hour * 3600.0 + utc.minute * 60.0 + utc.second + utc.millisecond / 1000.0;
    return {epoch + midnight, seconds / 86400.0};
}

double ErfaAstronomy::NowLst(double westLongitudeRadians) {
    const JulianDate utc = UtcNow();
    return HoursOf(eraGst00b(utc.midnight, utc.part) - westLongitudeRadians);
}

/// Opposite to the earth as the sun sees it. Time by the earth's turning serves: the sun moves by 3 seconds of arc in
/// the minute between the two times.
Astronomy::Equatorial ErfaAstronomy::Sun() {
    const JulianDate now = UtcNow();
    double earth[2][3];
    double ofSolarSystem[2][3];
    eraEpv00(now.midnight, now.part, earth, ofSolarSystem);
    double toOfDate[3][3];
    eraPnm00b(now.midnight, now.part, toOfDate);
    double ofDate[3];
    eraRxp(toOfDate, earth[0], ofDate);
    double ra = 0.0;
    double dec = 0.0;
    eraC2s(ofDate, &ra, &dec);
    return {HoursOf(ra + std::numbers::pi), -dec * 180.0 / std::numbers::pi};
}

}  // namespace kestrane
