#include "ui/pasted_coordinates.h"

#include <gtest/gtest.h>
#include <string>

namespace kestrane {
namespace {

constexpr double kTiny = 1e-9;

struct PairRow {
    const char* text;
    double first;
    double second;
};

TEST(PairOfText, ReadsWhatAtlasesAndCataloguesWrite) {
    constexpr double kRa = 5.0 + 34.0 / 60 + 31.9 / 3600;
    constexpr double kDec = 22.0 + 0.0 / 60 + 52.0 / 3600;
    for (const PairRow& row : {
             PairRow{"05 34 31.9 +22 00 52", kRa, kDec},
             PairRow{"05 34 31.9 22 00 52", kRa, kDec},
             PairRow{"05 34 31.9 -22 00 52", kRa, -kDec},
             PairRow{"  05:34:31.9, +22:00:52\r\n", kRa, kDec},
             PairRow{"05:34:31.9/-22:00:52", kRa, -kDec},
             PairRow{"05h34m31.9s +22d00m52s", kRa, kDec},
             PairRow{"05h 34m 31.9s, +22* 00' 52\"", kRa, kDec},
             PairRow{"5\xCA\xB0 34\xE1\xB5\x90 31.9\xCB\xA2  \xE2\x88\x92"
                     "22\xC2\xB0\xC2\xA0"
                     "00\xE2\x80\xB2 52\xE2\x80\xB3",
                     kRa, -kDec},
             PairRow{"RA: 05:34:31.9 Dec: +22:00:52", kRa, kDec},
             PairRow{"RA = 05 34 31.9; DEC = -22 00 52 (J2000.0)", kRa, -kDec},
             PairRow{"ICRS 05 34 31.9 +22 00 52", kRa, kDec},
             PairRow{"05 34.5 +22 30", 5.575, 22.5},
             PairRow{"05 34.5 22 30", 5.575, 22.5},
             PairRow{"05 34 30 +22 30", 5.575, 22.5},
             PairRow{"05 34 30 -0 30 0", 5.575, -0.5},
             PairRow{"83.625 +22.5", 5.575, 22.5},
             PairRow{"83.625 22.5", 5.575, 22.5},
             PairRow{"83.625, -22.5", 5.575, -22.5},
             PairRow{"5.575h -22.5", 5.575, -22.5},
             PairRow{"83 -22", 83.0 / 15, -22.0},
             PairRow{"83.625,22.5", 5.575, 22.5},
             PairRow{"05 34 31,9 +22 00 52", kRa, kDec},
             PairRow{"5h +22 30 0", 5.0, 22.5},
         }) {
        const auto pair = PairOfText(row.text, FirstAngle::Hours);
        ASSERT_TRUE(pair) << row.text;
        EXPECT_NEAR(pair->first, row.first, kTiny) << row.text;
        EXPECT_NEAR(pair->second, row.second, kTiny) << row.text;
    }
}

TEST(PairOfText, OfAltitudeAndAzimuth_IsInDegrees) {
    const auto pair = PairOfText("Alt 45.5 Az 120.25", FirstAngle::Degrees);
    ASSERT_TRUE(pair);
    EXPECT_NEAR(pair->first, 45.5, kTiny);
    EXPECT_NEAR(pair->second, 120.25, kTiny);
}

TEST(PairOfText, LeavesWhatMayBeOneCoordinate_OrIsNone) {
    for (const char* text : {"",
                             " ",
                             "12",
                             "12 30",
                             "12 30.5",
                             "12 30 00",
                             "45 30 18,0",
                             "5 -30 0",
                             "5 +30 0",
                             "-12 30 00",
                             "12h30m00s",
                             "12,5",
                             "M 31",
                             "05 34 31.9 +22 60 52",
                             "05 61 31.9 +22 00 52",
                             "05.5 34 31.9 +22 00 52",
                             "+1 -2 +3",
                             "1 2 3 4 5 6 7 8",
                             "1 2 3 4 +5",
                             "05 34 31 x 22 00 52",
                             "1e300 2.5",
                             "+",
                             "- -"}) {
        EXPECT_FALSE(PairOfText(text, FirstAngle::Hours)) << text;
    }
    EXPECT_FALSE(PairOfText(std::string(100'000, '1'), FirstAngle::Hours));
}

}  // namespace
}  // namespace kestrane
