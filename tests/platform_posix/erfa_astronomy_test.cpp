#include "platform/posix/erfa_astronomy.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace kestrane {
namespace {

constexpr double kTenthOfASecond = 0.1 / 3600.0;
constexpr double kDegree = std::numbers::pi / 180.0;

double LstAt(const DateTime& utc, double westLongitudeRadians) {
    return ErfaAstronomy([&] { return utc; }).NowLst(westLongitudeRadians);
}

constexpr double Hours(int hour, int minute, double second) {
    return hour + minute / 60.0 + second / 3600.0;
}

/// Days from the epoch J2000 (2000-01-01 12:00) by the count of the Gregorian calendar.
double DaysFromJ2000(const DateTime& utc) {
    const int shifted = utc.month <= 2 ? utc.year - 1 : utc.year;
    const int month = utc.month <= 2 ? utc.month + 12 : utc.month;
    const double day = utc.day + Hours(utc.hour, utc.minute, utc.second + utc.millisecond / 1000.0) / 24.0;
    const double julian = std::floor(365.25 * (shifted + 4716)) + std::floor(30.6001 * (month + 1)) + day + 2.0 -
                          shifted / 100 + shifted / 400 - 1524.5;
    return julian - 2451545.0;
}

/// The textbook road: mean sidereal time of 1982 plus the equation of the equinoxes from the four largest terms of
/// the nutation. Right to a few hundredths of a second around the year 2000.
double TextbookSiderealTime(const DateTime& utc) {
    const double days = DaysFromJ2000(utc);
    const double t = days / 36525.0;
    const double meanDegrees = 280.46061837 + 360.98564736629 * days + 0.000387933 * t * t;
    const double node = (125.04452 - 1934.136261 * t) * kDegree;
    const double sun = (280.4665 + 36000.7698 * t) * kDegree;
    const double moon = (218.3165 + 481267.8813 * t) * kDegree;
    const double nutationSeconds =
        -17.20 * std::sin(node) - 1.32 * std::sin(2 * sun) - 0.23 * std::sin(2 * moon) + 0.21 * std::sin(2 * node);
    const double obliquity = (23.439291 - 0.0130042 * t) * kDegree;
    const double degrees = meanDegrees + nutationSeconds / 3600.0 * std::cos(obliquity);
    return (degrees - 360.0 * std::floor(degrees / 360.0)) / 15.0;
}

TEST(ErfaAstronomy, NowLst_AtGreenwich_IsThePublishedApparentTime) {
    EXPECT_NEAR(LstAt({1987, 4, 10, 0, 0, 0, 0}, 0.0), Hours(13, 10, 46.1351), kTenthOfASecond);
    // Mean time 18:41:50.548 and an equation of the equinoxes of -0.85 s.
    EXPECT_NEAR(LstAt({2000, 1, 1, 12, 0, 0, 0}, 0.0), Hours(18, 41, 49.69), kTenthOfASecond);
}

TEST(ErfaAstronomy, NowLst_FollowsTheTextbookOverTheYears) {
    for (int year = 1995; year <= 2050; ++year) {
        for (int month = 1; month <= 12; ++month) {
            const DateTime utc{year, month, 1 + year % 28, month * 2 - 1, year % 60, month, 500};
            EXPECT_NEAR(LstAt(utc, 0.0), TextbookSiderealTime(utc), kTenthOfASecond) << year << '-' << month;
        }
    }
}

TEST(ErfaAstronomy, NowLst_WestLongitudeIsPositive) {
    const DateTime utc{2024, 6, 1, 3, 4, 5, 0};
    const double greenwich = LstAt(utc, 0.0);
    const auto folded = [](double hours) { return hours - 24.0 * std::floor(hours / 24.0); };
    for (const double degrees : {-180.0, -90.0, -10.5, 15.0, 74.0, 180.0}) {
        EXPECT_NEAR(LstAt(utc, degrees * kDegree), folded(greenwich - degrees / 15.0), 1e-9) << degrees;
    }
}

TEST(ErfaAstronomy, NowLst_StaysBelow24Hours) {
    // Close to 0 h at Greenwich, where the angles are fine enough to come out as a full turn.
    const DateTime utc{2024, 9, 22, 0, 0, 0, 0};
    double longitude = LstAt(utc, 0.0) * std::numbers::pi / 12.0 - 1e-16;
    for (int i = 0; i < 200; ++i) {
        longitude = std::nextafter(longitude, 10.0);
        const double lst = LstAt(utc, longitude);
        EXPECT_GE(lst, 0.0);
        EXPECT_LT(lst, 24.0);
    }
}

TEST(ErfaAstronomy, NowLst_RunsAtTheSiderealRate) {
    const double before = LstAt({2024, 6, 1, 3, 0, 0, 0}, 0.0);
    const double after = LstAt({2024, 6, 1, 3, 0, 0, 1}, 0.0);
    EXPECT_NEAR((after - before) * 3600.0, 0.0010027379, 1e-6);
}

}  // namespace
}  // namespace kestrane
