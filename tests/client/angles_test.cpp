#include "client/angles.h"

#include <gtest/gtest.h>

namespace kestrane::client {
namespace {

TEST(Angles, ParseRightAscension_TakesHoursAndSexagesimalTexts) {
    struct Case {
        const char* text;
        double hours;
    };
    for (const Case& row : {Case{"0", 0.0}, Case{"5.5", 5.5}, Case{"5:30", 5.5}, Case{"05:30:36", 5.51},
                            Case{"23:59:59.9", 24.0 - 0.1 / 3600.0}, Case{"12:30.5", 12.0 + 30.5 / 60.0}}) {
        const auto hours = ParseRightAscension(row.text);
        ASSERT_TRUE(hours) << row.text;
        EXPECT_NEAR(*hours, row.hours, 1e-9) << row.text;
    }
}

TEST(Angles, ParseRightAscension_RefusesWhatIsNoRightAscension) {
    for (const char* text : {"",           "24", "24:00:00", "-1",  "+5",  "5:60", "5:30:60", "5.5:30", "5:", ":30",
                             "5:30:00:00", "5h", "1e1",      "nan", "inf", " 5",   "5 ",      "5,5",    "..", "."}) {
        EXPECT_FALSE(ParseRightAscension(text)) << "\"" << text << "\"";
    }
}

TEST(Angles, ParseDeclination_TakesSignedDegreesAndSexagesimalTexts) {
    struct Case {
        const char* text;
        double degrees;
    };
    for (const Case& row : {Case{"0", 0.0}, Case{"+7.5", 7.5}, Case{"-7.5", -7.5}, Case{"-00:30", -0.5},
                            Case{"-16:42:36", -16.71}, Case{"90:00:00", 90.0}, Case{"-90", -90.0}}) {
        const auto degrees = ParseDeclination(row.text);
        ASSERT_TRUE(degrees) << row.text;
        EXPECT_NEAR(*degrees, row.degrees, 1e-9) << row.text;
    }
}

TEST(Angles, ParseDeclination_RefusesWhatIsNoDeclination) {
    for (const char* text : {"", "-", "+", "90.1", "90:00:01", "-91", "--5", "+-5", "5:60:00", "5d", "1e1"}) {
        EXPECT_FALSE(ParseDeclination(text)) << "\"" << text << "\"";
    }
}

TEST(Angles, FormatHours_RoundsToTenthsAndCarries) {
    EXPECT_EQ(FormatHours(0.0), "00:00:00.0");
    EXPECT_EQ(FormatHours(5.51), "05:30:36.0");
    EXPECT_EQ(FormatHours(12.9999999), "13:00:00.0");
    EXPECT_EQ(FormatHours(23.99999999), "00:00:00.0");
    EXPECT_EQ(FormatHours(-1.0), "23:00:00.0");
}

TEST(Angles, FormatDegrees_HasASignAndNoNegativeZero) {
    EXPECT_EQ(FormatDegrees(0.0), "+00:00:00");
    EXPECT_EQ(FormatDegrees(-0.0001), "+00:00:00");
    EXPECT_EQ(FormatDegrees(-0.5), "-00:30:00");
    EXPECT_EQ(FormatDegrees(-16.71), "-16:42:36");
    EXPECT_EQ(FormatDegrees(359.99999), "+360:00:00");
}

TEST(Angles, FormatNumber_IsShortAndPlain) {
    EXPECT_EQ(FormatNumber(12.5), "12.5");
    EXPECT_EQ(FormatNumber(0.1), "0.1");
    EXPECT_EQ(FormatNumber(-3.0), "-3");
    EXPECT_EQ(FormatFixed(2.345, 1), "2.3");
}

TEST(Angles, Separation_IsTheAngleOnTheSphere) {
    EXPECT_NEAR(Separation(0.0, 0.0, 6.0, 0.0), 90.0, 1e-9);
    EXPECT_NEAR(Separation(3.0, 90.0, 15.0, 90.0), 0.0, 1e-9);
    EXPECT_NEAR(Separation(23.9, 10.0, 0.1, 10.0), 0.2 * 15.0 * 0.98481, 1e-3);
    EXPECT_NEAR(Separation(5.0, 20.0, 5.0, 20.0001), 0.0001, 1e-9);
}

}  // namespace
}  // namespace kestrane::client
