#include "support/recording_services.h"

#include <chrono>
#include <cmath>
#include <numbers>

namespace kestrane {
namespace {

/// Days from 2000-01-01 12:00 UTC.
double DaysSinceJ2000(const DateTime& utc) {
    using namespace std::chrono;
    const sys_days day = year{utc.year} / utc.month / utc.day;
    const sys_days epoch = year{2000} / January / 1;
    const double seconds = utc.hour * 3600.0 + utc.minute * 60.0 + utc.second + utc.millisecond / 1000.0;
    return static_cast<double>((day - epoch).count()) - 0.5 + seconds / 86400.0;
}

}  // namespace

double VirtualAstronomy::NowLst(double westLongitudeRadians) {
    if (lst) {
        return *lst;
    }
    const double greenwich = 18.697374558 + 24.06570982441908 * DaysSinceJ2000(clock_.Utc());
    const double local = std::fmod(greenwich - westLongitudeRadians * 12.0 / std::numbers::pi, 24.0);
    return local < 0.0 ? local + 24.0 : local;
}

}  // namespace kestrane
