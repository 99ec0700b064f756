#include "client/stars.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace kestrane::client {
namespace {

constexpr double kRadians = std::numbers::pi / 180.0;

constexpr std::array kStars{
    //    name              RA h       Dec deg   mag
    Star{"Sirius", 6.75248, -16.7161, -1.46},   Star{"Canopus", 6.39920, -52.6957, -0.74},
    Star{"Arcturus", 14.26102, 19.1824, -0.05}, Star{"Rigil Kentaurus", 14.66014, -60.8340, -0.01},
    Star{"Vega", 18.61565, 38.7837, 0.03},      Star{"Capella", 5.27815, 45.9980, 0.08},
    Star{"Rigel", 5.24230, -8.2016, 0.13},      Star{"Procyon", 7.65503, 5.2250, 0.34},
    Star{"Achernar", 1.62857, -57.2368, 0.46},  Star{"Betelgeuse", 5.91953, 7.4071, 0.50},
    Star{"Hadar", 14.06372, -60.3730, 0.61},    Star{"Altair", 19.84639, 8.8683, 0.76},
    Star{"Acrux", 12.44330, -63.0991, 0.76},    Star{"Aldebaran", 4.59868, 16.5093, 0.86},
    Star{"Antares", 16.49013, -26.4320, 0.96},  Star{"Spica", 13.41988, -11.1613, 0.97},
    Star{"Pollux", 7.75526, 28.0262, 1.14},     Star{"Fomalhaut", 22.96085, -29.6222, 1.16},
    Star{"Deneb", 20.69053, 45.2803, 1.25},     Star{"Mimosa", 12.79535, -59.6888, 1.25},
    Star{"Regulus", 10.13953, 11.9672, 1.39},   Star{"Adhara", 6.97710, -28.9721, 1.50},
    Star{"Castor", 7.57662, 31.8883, 1.58},     Star{"Shaula", 17.56014, -37.1038, 1.62},
    Star{"Gacrux", 12.51943, -57.1132, 1.64},   Star{"Bellatrix", 5.41885, 6.3497, 1.64},
    Star{"Elnath", 5.43820, 28.6075, 1.65},     Star{"Alnilam", 5.60356, -1.2019, 1.69},
    Star{"Alnair", 22.13722, -46.9610, 1.74},   Star{"Alioth", 12.90049, 55.9598, 1.77},
    Star{"Dubhe", 11.06213, 61.7510, 1.79},     Star{"Mirfak", 3.40538, 49.8612, 1.80},
    Star{"Alkaid", 13.79234, 49.3133, 1.86},    Star{"Peacock", 20.42746, -56.7351, 1.94},
    Star{"Alphard", 9.45979, -8.6586, 2.00},    Star{"Hamal", 2.11956, 23.4624, 2.00},
    Star{"Diphda", 0.72649, -17.9866, 2.02},    Star{"Nunki", 18.92109, -26.2967, 2.05},
    Star{"Alpheratz", 0.13979, 29.0904, 2.06},  Star{"Rasalhague", 17.58224, 12.5600, 2.08},
};

static_assert(std::is_sorted(kStars.begin(), kStars.end(),
                             [](const Star& a, const Star& b) { return a.magnitude < b.magnitude; }));

bool EqualInAnyCase(std::string_view left, std::string_view right) {
    const auto lowered = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [&](char a, char b) { return lowered(a) == lowered(b); });
}

double HoursOfDay(double hours) {
    const double rest = std::fmod(hours, 24.0);
    return rest < 0.0 ? rest + 24.0 : rest;
}

}  // namespace

std::span<const Star> BrightStars() {
    return kStars;
}

const Star* FindStar(std::string_view name) {
    const auto* star =
        std::find_if(kStars.begin(), kStars.end(), [&](const Star& row) { return EqualInAnyCase(row.name, name); });
    return star == kStars.end() ? nullptr : star;
}

Position Precessed(Position j2000, double years) {
    constexpr double kRaHours = 3.07496 / 3600.0;  // per year, along the equator
    constexpr double kSwing = 20.0431 / 3600.0;    // degrees per year at 0 h
    const double ra = j2000.ra * 15.0 * kRadians;
    const double dec = j2000.dec * kRadians;
    return {HoursOfDay(j2000.ra + years * (kRaHours + kSwing / 15.0 * std::sin(ra) * std::tan(dec))),
            j2000.dec + years * kSwing * std::cos(ra)};
}

double Altitude(Position position, double siderealTime, double latitude) {
    const double hourAngle = (siderealTime - position.ra) * 15.0 * kRadians;
    const double dec = position.dec * kRadians;
    const double lat = latitude * kRadians;
    const double sine = std::sin(lat) * std::sin(dec) + std::cos(lat) * std::cos(dec) * std::cos(hourAngle);
    return std::asin(std::clamp(sine, -1.0, 1.0)) / kRadians;
}

double SiderealTimeAt(double unixSeconds, double longitude) {
    const double days = unixSeconds / 86400.0 - 10957.5;  // since 2000-01-01 12:00
    return HoursOfDay(18.697374558 + 24.06570982441908 * days + longitude / 15.0);
}

std::vector<RisenStar> StarsUp(double siderealTime, double latitude, double years) {
    std::vector<RisenStar> up;
    for (const Star& star : kStars) {
        const Position position = Precessed({star.ra, star.dec}, years);
        const double altitude = Altitude(position, siderealTime, latitude);
        if (altitude > 0.0) {
            up.push_back({&star, position, altitude});
        }
    }
    return up;
}

std::optional<RisenStar> ChooseStar(const std::vector<RisenStar>& up) {
    constexpr double kLowest = 25.0;
    constexpr double kHighest = 85.0;
    const auto good = std::find_if(up.begin(), up.end(), [](const RisenStar& star) {
        return star.altitude >= kLowest && star.altitude <= kHighest;
    });
    if (good != up.end()) {
        return *good;
    }
    const auto highest = std::max_element(
        up.begin(), up.end(), [](const RisenStar& a, const RisenStar& b) { return a.altitude < b.altitude; });
    return highest == up.end() ? std::nullopt : std::optional(*highest);
}

}  // namespace kestrane::client
