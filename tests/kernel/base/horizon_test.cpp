#include <cmath>
#include <gtest/gtest.h>
#include <vector>

#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

/// Degrees between two directions on the horizon, whichever way is shorter.
double Apart(double azimuth1, double azimuth2) {
    return std::abs(NormalizeDegrees180(azimuth1 - azimuth2));
}

struct HorizonRow {
    const char* name;
    double latitude, hourAngle, declination;  // degrees
    double altitude, azimuth;
};

const std::vector<HorizonRow> kHorizon{
    {"the equator on the meridian", 40, 0, 0, 50, 180},
    {"setting", 40, 90, 0, 0, 270},
    {"rising", 40, -90, 0, 0, 90},
    {"overhead's neighbour", 40, 0, 50, 80, 0},
    {"below the pole", 40, 180, 80, 30, 0},
    {"under the horizon", 40, 180, 0, -50, 0},
    {"southern meridian", -30, 0, 0, 60, 0},
    {"southern pole", -30, 77, -90, 30, 180},
    {"west of the northern pole", 0, 90, 89.5, 0, 359.5},
    {"east of the northern pole", 0, -90, 89.5, 0, 0.5},
    {"seen from the pole", 90, 30, 20, 20, 210},
    {"seen from the southern pole", -90, 30, -20, 20, 330},
    // Worked out beside the driver, by turning the star's direction as a vector by the latitude.
    {"a star in the south-west", 45, 31, -16.716, 22.154926, 212.181067},
};

TEST(HorizonTest, HaDecToAltAz_OfKnownPoints_IsRight) {
    for (const HorizonRow& row : kHorizon) {
        double altitude = 0.0;
        double azimuth = 0.0;
        HaDecToAltAz(row.latitude, row.hourAngle, row.declination, altitude, azimuth);
        EXPECT_NEAR(altitude, row.altitude, 1e-4) << row.name;
        EXPECT_LT(Apart(azimuth, row.azimuth), 1e-4) << row.name << ": " << azimuth;
        EXPECT_GE(azimuth, 0.0) << row.name;
        EXPECT_LE(azimuth, 360.0) << row.name;
    }
}

TEST(HorizonTest, RaDecToAltAz_TakesTheHourAngleAcrossMidnight) {
    for (const double siderealTime : {0.0, 1.0, 12.0, 23.5}) {
        for (const HorizonRow& row : kHorizon) {
            const double ra = NormalizeHours(siderealTime - row.hourAngle / 15.0);
            double altitude = 0.0;
            double azimuth = 0.0;
            RaDecToAltAz(row.latitude, siderealTime, ra, row.declination, altitude, azimuth);
            EXPECT_NEAR(altitude, row.altitude, 1e-4) << row.name << " at " << siderealTime;
            EXPECT_LT(Apart(azimuth, row.azimuth), 1e-4) << row.name << " at " << siderealTime;
        }
    }
}

TEST(HorizonTest, HaDecToAltAz_DueNorth_IsNeverANegativeZero) {
    for (const double hourAngle : {0.0, -0.0, 180.0, -180.0}) {
        for (const double latitude : {-40.0, 0.0, 40.0}) {
            for (const double declination : {60.0, 90.0}) {
                double altitude = 0.0;
                double azimuth = 99.0;
                HaDecToAltAz(latitude, hourAngle, declination, altitude, azimuth);
                EXPECT_FALSE(std::signbit(azimuth)) << latitude << " " << hourAngle << " " << declination;
                EXPECT_LE(azimuth, 360.0);
            }
        }
    }
}

TEST(HorizonTest, HaDecToAltAz_JustWestOfNorth_MayComeOutAs360) {
    double altitude = 0.0;
    double azimuth = 0.0;
    HaDecToAltAz(40, 180, 90, altitude, azimuth);
    EXPECT_EQ(azimuth, 360.0);
}

TEST(HorizonTest, AltAzToHaDec_OfANegativeAzimuth_TurnsWest) {
    double hourAngle = 0.0;
    double declination = 99.0;
    ASSERT_TRUE(AltAzToHaDec(40, 0, -90, hourAngle, declination));
    EXPECT_NEAR(hourAngle, 6.0, 1e-9);
    EXPECT_NEAR(declination, 0.0, 1e-9);
    ASSERT_TRUE(AltAzToHaDec(40, 0, -450, hourAngle, declination));
    EXPECT_NEAR(hourAngle, 6.0, 1e-9);
}

TEST(HorizonTest, AltAzToHaDec_SeenFromThePole_TurnsTheHorizon) {
    double hourAngle = 0.0;
    double declination = 0.0;
    ASSERT_TRUE(AltAzToHaDec(90, 20, 210, hourAngle, declination));
    EXPECT_NEAR(hourAngle, 2.0, 1e-9);
    EXPECT_NEAR(declination, 20.0, 1e-9);
}

TEST(HorizonTest, AltAzToHaDec_OfTheCelestialPole_HasTheDeclinationAndSomeHourAngle) {
    struct Row {
        double latitude, altitude, azimuth, declination;
    };
    for (const Row& row : {Row{40, 40, 0, 90}, Row{-40, 40, 180, -90}, Row{90, 90, 0, 90}, Row{0, 0, 0, 90}}) {
        double hourAngle = 99.0;
        double declination = 0.0;
        ASSERT_TRUE(AltAzToHaDec(row.latitude, row.altitude, row.azimuth, hourAngle, declination));
        EXPECT_NEAR(declination, row.declination, 1e-5) << row.latitude;
        EXPECT_LE(std::abs(hourAngle), 12.0) << row.latitude;
    }
}

}  // namespace
}  // namespace kestrane
