#include "platform/posix/erfa_astronomy.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

#include "kernel/base/conversions.h"

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
    const int leapDaysLeftOut = shifted / 100 - shifted / 400;
    const double julian = std::floor(365.25 * (shifted + 4716)) + std::floor(30.6001 * (month + 1)) + day + 2.0 -
                          leapDaysLeftOut - 1524.5;
    return julian - 2451545.0;
}

/// Apparent less mean sidereal time in hours, from the four largest terms of the nutation; right to a few hundredths of
/// a second.
double EquationOfTheEquinoxes(const DateTime& utc) {
    const double t = DaysFromJ2000(utc) / 36525.0;
    const double node = (125.04452 - 1934.136261 * t) * kDegree;
    const double sun = (280.4665 + 36000.7698 * t) * kDegree;
    const double moon = (218.3165 + 481267.8813 * t) * kDegree;
    const double nutationSeconds =
        -17.20 * std::sin(node) - 1.32 * std::sin(2 * sun) - 0.23 * std::sin(2 * moon) + 0.21 * std::sin(2 * node);
    const double obliquity = (23.439291 - 0.0130042 * t) * kDegree;
    return nutationSeconds / 3600.0 * std::cos(obliquity) / 15.0;
}

/// The textbook road: mean sidereal time of 1982 plus the equation of the equinoxes.
double TextbookSiderealTime(const DateTime& utc) {
    const double days = DaysFromJ2000(utc);
    const double t = days / 36525.0;
    const double meanDegrees = 280.46061837 + 360.98564736629 * days + 0.000387933 * t * t;
    const double hours = meanDegrees / 15.0 + EquationOfTheEquinoxes(utc);
    return hours - 24.0 * std::floor(hours / 24.0);
}

struct PublishedTime {
    DateTime utc;
    double hours;
    const char* source;
};

TEST(ErfaAstronomy, NowLst_AtGreenwich_IsThePublishedApparentTime) {
    const PublishedTime rows[] = {
        {{1987, 4, 10, 0, 0, 0, 0}, Hours(13, 10, 46.1351), "Meeus, Astronomical Algorithms, 12.a"},
        {{1987, 4, 10, 19, 21, 0, 0}, Hours(8, 34, 56.853), "Meeus, Astronomical Algorithms, 13.b"},
        {{1988, 3, 20, 0, 0, 0, 0}, Hours(11, 50, 58.10), "Meeus, Astronomical Algorithms, 15.a"},
        {{2006, 1, 1, 0, 0, 0, 0}, 1.754166136020645 * 12.0 / std::numbers::pi, "SOFA test case of gst94"},
    };
    for (const auto& [utc, hours, source] : rows) {
        EXPECT_NEAR(LstAt(utc, 0.0), hours, kTenthOfASecond) << source;
    }
}

TEST(ErfaAstronomy, NowLst_AtGreenwich_IsThePublishedMeanTimeAndTheEquationOfTheEquinoxes) {
    const PublishedTime rows[] = {
        {{2000, 1, 1, 12, 0, 0, 0}, Hours(18, 41, 50.54841), "the constant of the formula of 1982"},
        {{1987, 4, 10, 0, 0, 0, 0}, Hours(13, 10, 46.3668), "Meeus, Astronomical Algorithms, 12.a"},
        {{1987, 4, 10, 19, 21, 0, 0}, Hours(8, 34, 57.0896), "Meeus, Astronomical Algorithms, 12.b"},
        {{1980, 4, 22, 14, 36, 51, 670}, Hours(4, 40, 5.23), "Duffett-Smith, Practical Astronomy, 12"},
    };
    for (const auto& [utc, hours, source] : rows) {
        EXPECT_NEAR(LstAt(utc, 0.0), hours + EquationOfTheEquinoxes(utc), kTenthOfASecond) << source;
    }
}

TEST(ErfaAstronomy, NowLst_AtAPlace_IsThePublishedLocalTime) {
    // Meeus 13.b: the Naval Observatory at Washington, 77 03 56 west.
    const double washington = Hours(77, 3, 56.0);
    EXPECT_NEAR(LstAt({1987, 4, 10, 19, 21, 0, 0}, washington * kDegree), Hours(8, 34, 56.853) - washington / 15.0,
                kTenthOfASecond);
    // Duffett-Smith 14: 64 degrees west; its time is the mean one.
    const DateTime utc{1980, 4, 22, 14, 36, 51, 670};
    EXPECT_NEAR(LstAt(utc, 64.0 * kDegree), Hours(0, 24, 5.23) + EquationOfTheEquinoxes(utc), kTenthOfASecond);
}

TEST(ErfaAstronomy, LocalSiderealTime_TakesEastPositive) {
    const DateTime utc{1987, 4, 10, 19, 21, 0, 0};
    ErfaAstronomy astronomy([&] { return utc; });
    EXPECT_NEAR(LocalSiderealTime(0.0, astronomy), Hours(8, 34, 56.853), kTenthOfASecond);
    // The driver's short pi costs 0.012 s at these longitudes.
    const double washington = Hours(77, 3, 56.0);
    EXPECT_NEAR(LocalSiderealTime(-washington, astronomy), Hours(8, 34, 56.853) - washington / 15.0, kTenthOfASecond);
    EXPECT_NEAR(LocalSiderealTime(washington, astronomy), Hours(8, 34, 56.853) + washington / 15.0, kTenthOfASecond);
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

/// The low-precision formula of the almanacs, good to a hundredth of a degree from 1950 to 2050.
TEST(ErfaSun, AgreesWithTheAlmanacsFormula) {
    for (const DateTime& utc : {DateTime{2000, 1, 1, 12}, DateTime{2026, 3, 20, 14, 46}, DateTime{2026, 6, 21, 8, 25},
                                DateTime{2026, 11, 23, 19, 40, 30}, DateTime{2040, 9, 1, 0, 0, 1}}) {
        const double days = DaysFromJ2000(utc);
        const double anomaly = (357.528 + 0.9856003 * days) * kDegree;
        const double longitude =
            (280.460 + 0.9856474 * days + 1.915 * std::sin(anomaly) + 0.020 * std::sin(2 * anomaly)) * kDegree;
        const double obliquity = (23.439 - 0.0000004 * days) * kDegree;
        const double hours =
            std::atan2(std::cos(obliquity) * std::sin(longitude), std::cos(longitude)) / kDegree / 15.0;
        const double dec = std::asin(std::sin(obliquity) * std::sin(longitude)) / kDegree;
        const auto sun = ErfaAstronomy([&] { return utc; }).Sun();
        EXPECT_LT(AngularDistance(sun.raHours, sun.dec, NormalizeHours(hours), dec), 0.02)
            << utc.year << "-" << utc.month;
        EXPECT_GE(sun.raHours, 0.0);
        EXPECT_LT(sun.raHours, 24.0);
    }
}

}  // namespace
}  // namespace kestrane
