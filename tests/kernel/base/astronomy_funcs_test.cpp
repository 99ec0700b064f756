#include "kernel/base/astronomy_funcs.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace kestrane {
namespace {

double Dms(int degrees, int minutes, double seconds) {
    return degrees + minutes / 60.0 + seconds / 3600.0;
}

TEST(AstronomyFuncsTest, SplitToSeconds_RoundsToTheNearestSecond) {
    struct Row {
        double value;
        bool negative;
        int whole, minutes, seconds;
    };
    const std::vector<Row> rows{
        {0.0, false, 0, 0, 0},
        {Dms(12, 34, 56.4), false, 12, 34, 56},
        {Dms(12, 34, 56.6), false, 12, 34, 57},
        {Dms(12, 34, 56.499), false, 12, 34, 56},
        {Dms(12, 34, 56.501), false, 12, 34, 57},
        {Dms(12, 34, 59.499), false, 12, 34, 59},
        {Dms(12, 34, 59.501), false, 12, 35, 0},
        {-Dms(12, 34, 59.6), true, 12, 35, 0},
        {-Dms(0, 59, 59.9), true, 1, 0, 0},
    };
    for (const Row& row : rows) {
        const SexagesimalParts parts = SplitToSeconds(row.value);
        EXPECT_EQ(parts.negative, row.negative) << row.value;
        EXPECT_EQ(parts.whole, row.whole) << row.value;
        EXPECT_EQ(parts.minutes, row.minutes) << row.value;
        EXPECT_EQ(parts.seconds, row.seconds) << row.value;
    }
}

TEST(AstronomyFuncsTest, SplitToTenths_AddsHalfATenthAndCarriesNearTheMinute) {
    struct Row {
        double value;
        bool negative;
        int whole, minutes;
        double seconds;
    };
    const std::vector<Row> rows{
        {Dms(12, 34, 56.4), false, 12, 34, 56.45},    {-Dms(12, 34, 0.0), true, 12, 34, 0.05},
        {Dms(12, 34, 59.89), false, 12, 34, 59.94},   {Dms(12, 34, 59.92), false, 12, 35, 0.0},
        {Dms(12, 34, 59.898), false, 12, 34, 59.948}, {Dms(12, 34, 59.899), false, 12, 34, 59.949},
        {Dms(12, 34, 59.901), false, 12, 35, 0.0},    {-Dms(0, 59, 59.901), true, 1, 0, 0.0},
        {Dms(12, 59, 59.92), false, 13, 0, 0.0},      {Dms(12, 59, 59.97), false, 13, 0, 0.02},
    };
    for (const Row& row : rows) {
        const SexagesimalTenths parts = SplitToTenths(row.value);
        EXPECT_EQ(parts.negative, row.negative) << row.value;
        EXPECT_EQ(parts.whole, row.whole) << row.value;
        EXPECT_EQ(parts.minutes, row.minutes) << row.value;
        EXPECT_NEAR(parts.seconds, row.seconds, 1e-6) << row.value;
    }
}

TEST(AstronomyFuncsTest, SexagesimalText_CutsOffAtEachStep) {
    EXPECT_EQ(SexagesimalText(Dms(12, 34, 56.9), ForcedSign::No), "12:34:56");
    EXPECT_EQ(SexagesimalText(Dms(12, 34, 56.9), ForcedSign::Yes), "+12:34:56");
    EXPECT_EQ(SexagesimalText(-Dms(1, 2, 3.5), ForcedSign::No), "-01:02:03");
    EXPECT_EQ(SexagesimalText(-Dms(1, 2, 3.5), ForcedSign::Yes, " "), "-01 02 03");
    EXPECT_EQ(SexagesimalText(123.5, ForcedSign::No, "*"), "123*30*00");
}

TEST(AstronomyFuncsTest, SexagesimalText_OfWholeSeconds_MayShowTheSecondBefore) {
    EXPECT_EQ(SexagesimalText(Dms(0, 0, 13.0), ForcedSign::No), "00:00:12");
    EXPECT_EQ(SexagesimalText(Dms(0, 0, 12.0), ForcedSign::No), "00:00:12");
}

TEST(AstronomyFuncsTest, SexagesimalTenthsText_RoundsAndCarries) {
    EXPECT_EQ(SexagesimalTenthsText(Dms(12, 34, 56.749), ForcedSign::No), "12:34:56.7");
    EXPECT_EQ(SexagesimalTenthsText(Dms(12, 34, 56.751), ForcedSign::No), "12:34:56.8");
    EXPECT_EQ(SexagesimalTenthsText(Dms(12, 34, 59.949), ForcedSign::No), "12:34:59.9");
    EXPECT_EQ(SexagesimalTenthsText(Dms(12, 34, 59.951), ForcedSign::No), "12:35:00.0");
    EXPECT_EQ(SexagesimalTenthsText(0.0, ForcedSign::Yes), "+00:00:00.0");
    EXPECT_EQ(SexagesimalTenthsText(Dms(12, 34, 56.74), ForcedSign::No), "12:34:56.7");
    EXPECT_EQ(SexagesimalTenthsText(Dms(12, 34, 56.76), ForcedSign::Yes), "+12:34:56.8");
    EXPECT_EQ(SexagesimalTenthsText(-Dms(12, 59, 59.96), ForcedSign::No), "-13:00:00.0");
}

TEST(AstronomyFuncsTest, Splits_OfRubbish_DoNotRaise) {
    EXPECT_EQ(SplitToSeconds(std::nan("")).whole, 0);
    EXPECT_FALSE(SexagesimalTenthsText(std::numeric_limits<double>::infinity(), ForcedSign::No).empty());
}

TEST(AstronomyFuncsTest, Trigonometry_InDegrees) {
    EXPECT_NEAR(SinDegrees(30.0), 0.5, 1e-12);
    EXPECT_NEAR(CosDegrees(60.0), 0.5, 1e-12);
    EXPECT_NEAR(TanDegrees(45.0), 1.0, 1e-12);
    EXPECT_NEAR(ArcSinDegrees(0.5), 30.0, 1e-12);
    EXPECT_NEAR(ArcSinDegrees(-1.0), -90.0, 1e-12);
    EXPECT_NEAR(ArcSinDegrees(1.0 + 1e-15), 90.0, 1e-12);
    EXPECT_NEAR(ArcTanDegrees(1.0), 45.0, 1e-12);
}

TEST(AstronomyFuncsTest, ArcTan2_IsRightInEachOctant) {
    for (int degrees = -179; degrees <= 180; ++degrees) {
        EXPECT_NEAR(ArcTan2Degrees(SinDegrees(degrees), CosDegrees(degrees)), degrees, 1e-9);
    }
    EXPECT_EQ(ArcTan2Degrees(0.0, 0.0), 0.0);
    EXPECT_EQ(ArcTan2Degrees(-0.0, -0.0), 0.0);
    EXPECT_NEAR(ArcTan2Radians(0.0, -1.0), kPi, 1e-15);
}

TEST(AstronomyFuncsTest, ArcTan2_OnTheAxes_IsExact) {
    struct Row {
        double y, x, degrees;
    };
    for (const Row& row : {Row{1.0, 0.0, 90.0}, Row{1.0, -0.0, 90.0}, Row{-1.0, 0.0, -90.0}, Row{-1.0, -0.0, -90.0},
                           Row{0.0, 1.0, 0.0}, Row{-0.0, 1.0, 0.0}, Row{0.0, -1.0, 180.0}, Row{-0.0, -1.0, 180.0},
                           Row{1e-300, 0.0, 90.0}, Row{-1e-300, 0.0, -90.0}}) {
        EXPECT_DOUBLE_EQ(ArcTan2Degrees(row.y, row.x), row.degrees) << row.y << " " << row.x;
    }
}

}  // namespace
}  // namespace kestrane
