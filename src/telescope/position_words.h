#pragma once

#include <cstddef>
#include <string>

#include "kernel/base/text.h"

namespace kestrane {

/// A position as the log reports it; hours and degrees.
inline std::string RaDecText(double ra, double dec) {
    return "RA=" + PlainNumber(ra) + ", Dec=" + PlainNumber(dec);
}

inline std::string AzAltText(double azimuth, double altitude) {
    return "Az=" + PlainNumber(azimuth) + ", Alt=" + PlainNumber(altitude);
}

/// An angle with "*" after its degrees, in the form that the mount needs for an azimuth: three digits of degrees.
inline std::string WithThreeDigits(const std::string& angle) {
    const std::size_t digits = angle.find('*');
    return digits < 3 ? std::string(3 - digits, '0') + angle : angle;
}

}  // namespace kestrane
