#pragma once

#include <string>

#include "kernel/base/text.h"

namespace kestrane {

/// A position as the log tells it; hours and degrees.
inline std::string RaDecText(double ra, double dec) {
    return "RA=" + PlainNumber(ra) + ", Dec=" + PlainNumber(dec);
}

inline std::string AzAltText(double azimuth, double altitude) {
    return "Az=" + PlainNumber(azimuth) + ", Alt=" + PlainNumber(altitude);
}

}  // namespace kestrane
