#pragma once

#include <functional>

#include "platform/clock.h"
#include "platform/system_services.h"

namespace kestrane {

/// Sidereal time by the IAU 2000B models. UTC is taken as UT1; the two never differ by more than 0.9 s.
class ErfaAstronomy final : public Astronomy {
public:
    explicit ErfaAstronomy(std::function<DateTime()> utcNow);

    double NowLst(double westLongitudeRadians) override;

private:
    std::function<DateTime()> utcNow_;
};

}  // namespace kestrane
