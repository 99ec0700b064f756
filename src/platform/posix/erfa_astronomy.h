#pragma once

#include <functional>

#include "platform/clock.h"
#include "platform/system_services.h"

namespace kestrane {

/// Sidereal time and the equator of date by the IAU 2000B models. UTC is taken as UT1; the two never differ by more
/// than 0.9 s.
class ErfaAstronomy final : public Astronomy {
public:
    explicit ErfaAstronomy(std::function<DateTime()> utcNow);

    double NowLst(double westLongitudeRadians) override;
    Equatorial Sun() override;

private:
    /// A Julian date in two parts: the midnight, and the part of the day that has gone since.
    struct JulianDate {
        double midnight = 0.0;
        double part = 0.0;
    };

    JulianDate UtcNow() const;

    std::function<DateTime()> utcNow_;
};

}  // namespace kestrane
