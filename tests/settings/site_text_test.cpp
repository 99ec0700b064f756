#include "settings/site_text.h"

#include <cmath>
#include <gtest/gtest.h>

#include "settings_fakes.h"

namespace kestrane {
namespace {

TEST(SiteTextTest, PadWithZeros_FillsUpAndTakesLeadingZerosOff) {
    struct Row {
        const char* text;
        std::size_t width;
        const char* padded;
    };
    const std::vector<Row> rows{
        {"7", 2, "07"},       {"", 2, "00"},      {"45", 2, "45"},  {"099", 2, "99"},
        {"122", 2, "122"},    {"0122", 2, "122"}, {"000", 2, "00"}, {"3.0", 4, "03.0"},
        {"003.0", 4, "03.0"}, {"5", 1, "5"},      {"05", 1, "5"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(PadWithZeros(row.text, row.width), row.padded) << row.text;
    }
}

TEST(SiteTextTest, NormalizeSiteText_OfEachText_IsItsNormalForm) {
    const std::vector<std::pair<const char*, const char*>> rows{
        {"N 45 7 3.2", "N 45 07 03.2"},    {"W 122 09 07.25", "W 122 09 07.3"}, {"E 9 0 0", "E 09 00 00.0"},
        {"S 099 007 1,5", "S 99 07 01.5"}, {"N 1 2 59.96", "N 01 02 60.0"},     {"N 1 2 3 more", "N 01 02 03.0"},
        {" 1 2 3", " 01 02 03.0"},         {"N 1 2 ", "N 01 02 00.0"},
    };
    SettingsWorld world;
    for (const auto& [text, normal] : rows) {
        EXPECT_EQ(NormalizeSiteText(text, world.log), normal) << text;
    }
}

TEST(SiteTextTest, NormalizeSiteText_WithoutFourFields_IsARunTimeError) {
    SettingsWorld world;
    for (const char* text : {"", "N", "N 45", "N 45 7", "N  45 07 03.2", "N 45  07 03.2", "N 45 07  03.2", "   "}) {
        EXPECT_THROW(NormalizeSiteText(text, world.log), RunTimeError) << text;
    }
}

TEST(SiteTextTest, MakeSiteText_PadsTheDegreesToTheWidthAsked) {
    SettingsWorld world;
    EXPECT_EQ(MakeSiteText({"N", "5", "7", "3,25"}, 2, world.log), "N 05 07 03.3");
    EXPECT_EQ(MakeSiteText({"W", "005", "007", ""}, 1, world.log), "W 5 07 00.0");
    EXPECT_EQ(MakeSiteText({"W", "122", "", "59.94"}, 1, world.log), "W 122 00 59.9");
}

TEST(SiteTextTest, SiteTextDegrees_OfEachText_HasItsSignFromTheLetterAlone) {
    struct Row {
        const char* text;
        const char* negativeHemisphere;
        double degrees;
    };
    const std::vector<Row> rows{
        {"N 45 30 00.0", "S", 45.5},    {"S 45 30 00.0", "S", -45.5},    {"s 45 30 00.0", "S", -45.5},
        {"E 122 06 36.0", "W", 122.11}, {"W 122 06 36.0", "W", -122.11}, {"w 0 30 0", "W", -0.5},
        {"N -45 30 00.0", "S", 45.5},   {"S -45 30 00.0", "S", -45.5},   {"N 0 -30 -36.0", "S", 0.51},
        {"S 00 00 00.0", "S", 0.0},     {"W 10 0 0", "S", 10.0},         {"N 45 00 03,6 m", "S", 45.001},
    };
    SettingsWorld world;
    for (const Row& row : rows) {
        EXPECT_NEAR(SiteTextDegrees(row.text, row.negativeHemisphere, world.log), row.degrees, 1e-12) << row.text;
    }
}

TEST(SiteTextTest, SiteTextDegrees_WithoutFourFields_IsARunTimeError) {
    SettingsWorld world;
    for (const char* text : {"", "N", "N 45", "N 45 7"}) {
        EXPECT_THROW(SiteTextDegrees(text, "S", world.log), RunTimeError) << text;
    }
}

struct ParsedRow {
    const char* text;
    double degrees;  ///< -1000 for a text that is none
};

constexpr double kNone = -1000.0;

TEST(SiteTextTest, ParseLongitudeText_CountsWestFromZeroToThreeHundredSixty) {
    SettingsWorld world;
    for (const ParsedRow& row : {
             ParsedRow{"W 122 6 36", 122.11},
             ParsedRow{"w 122 06 36.0", 122.11},
             ParsedRow{"E 10 30 0", 349.5},
             ParsedRow{"e 10 30 0", 349.5},
             ParsedRow{"E 0 0 0", 0.0},
             ParsedRow{"W 0 0 0", 0.0},
             ParsedRow{"E 359 0 0", 1.0},
             ParsedRow{"W 359 59 59", 359.0 + 3599.0 / 3600.0},
             ParsedRow{"W 1 2 59,99", 1.0 + 179.99 / 3600.0},
             ParsedRow{"W 360 0 0", kNone},
             ParsedRow{"E -1 0 0", kNone},
             ParsedRow{"W 1 60 0", kNone},
             ParsedRow{"W 1 0 60", kNone},
             ParsedRow{"W 1 0 -1", kNone},
             ParsedRow{"N 1 0 0", kNone},
             ParsedRow{"10 0 0", kNone},
             ParsedRow{"", kNone},
             ParsedRow{"W 1 0", kNone},
             ParsedRow{"W 1 0 0 0", kNone},
             ParsedRow{"W 1 0 0 ", kNone},
             ParsedRow{"W  1 0 0", kNone},
             ParsedRow{" W 1 0 0", kNone},
             ParsedRow{"W 1.5 0 0", kNone},
             ParsedRow{"W 1 0.5 0", kNone},
             ParsedRow{"W x 0 0", kNone},
             ParsedRow{"W 1 0 1e1", kNone},
             ParsedRow{"W   ", kNone},
             ParsedRow{"WEST 1 0 0", kNone},
             ParsedRow{" 1 0 0", kNone},
             ParsedRow{"W 1 0 .", kNone},
         }) {
        double degrees = kNone;
        EXPECT_EQ(ParseLongitudeText(row.text, degrees, world.log), row.degrees != kNone) << row.text;
        EXPECT_NEAR(degrees, row.degrees, 1e-9) << row.text;
        EXPECT_FALSE(std::signbit(degrees) && degrees == 0.0);
    }
}

}  // namespace
}  // namespace kestrane
