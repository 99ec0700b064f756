#include "kernel/base/conversions.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "support/comma_locale.h"
#include "support/kept_log.h"

namespace kestrane {
namespace {

struct NumberRow {
    const char* text;
    double value;
    std::vector<std::string> errors = {};
};

const std::vector<NumberRow> kNumbers{
    {"+1", 1.0},
    {"+0.01", 0.01},
    {"-0.01", -0.01},
    {"1.01", 1.01},
    {"1,01", 1.01},
    {"1.00001", 1.00001},
    {"1,00001", 1.00001},
    {"1.99999", 1.99999},
    {"1,99999", 1.99999},
    {"1,5", 1.5},
    {"1.5", 1.5},
    {"   1.5   ", 1.5},
    {"   1,5   ", 1.5},
    {"+1,5", 1.5},
    {"+1.5", 1.5},
    {"-1,5", -1.5},
    {"-1.5", -1.5},
    {"   1=5   ", 1.0, {"Invalid integer portion in '1=5'"}},
    {"   1 5   ", 1.0, {"Invalid integer portion in '1 5'"}},
    {"", 0.0},
    {"-", 0.0},
    {"+", 0.0},
    {"5-3", 0.0, {"Invalid integer portion in '5-3'"}},
    {"5+3", 0.0, {"Invalid integer portion in '5+3'"}},
    {"1.5-", -0.5, {"Invalid integer portion in '1.5-'", "Invalid fractional portion in '1.5-'"}},
    {".5", 0.5, {"Invalid integer portion in '.5'"}},
    {"1.", 1.0, {"Invalid fractional portion in '1.'"}},
    {"1.2x", 1.2, {"Invalid fractional portion in '1.2x'"}},
    {"1.2.3", 1.2, {"Invalid numeric string='1.2.3'"}},
    {"1,234.5", 1.234, {"Invalid numeric string='1,234.5'"}},
    {"abc", 0.0, {"Invalid integer portion in 'abc'"}},
    {"1e3", 1.0, {"Invalid integer portion in '1e3'"}},
    {"0.12345678901234567890123", 0.12345678901234568},
};

void ExpectNumbers() {
    for (const NumberRow& row : kNumbers) {
        KeptLog kept;
        EXPECT_DOUBLE_EQ(Val_Global(row.text, kept.log), row.value) << row.text;
        std::vector<LogLine> expected;
        for (const std::string& error : row.errors) {
            expected.push_back({"Val_Global", 2, error});
        }
        EXPECT_EQ(kept.messages, expected) << row.text;
        EXPECT_DOUBLE_EQ(Val_US(row.text, kept.log), row.value) << row.text;
    }
}

TEST(ConversionsTest, ValGlobal_OfEachText_GivesWhatCouldBeRead) {
    ExpectNumbers();
}

TEST(ConversionsTest, ValGlobal_UnderACommaLocale_GivesTheSame) {
    const CommaLocale locale;
    ASSERT_FALSE(UsesDecimalPoint());
    ExpectNumbers();
}

TEST(ConversionsTest, ValGlobal_OfMoreDigitsThanANumberHolds_IsZeroAndDoesNotRaise) {
    KeptLog kept;
    EXPECT_EQ(Val_Global(std::string(400, '9'), kept.log), 0.0);
    EXPECT_NEAR(Val_Global("0." + std::string(400, '9'), kept.log), 1.0, 1e-15);
}

TEST(ConversionsTest, FractionValue_DividesByTenForEachDigit) {
    EXPECT_DOUBLE_EQ(FractionValue("25"), 0.25);
    EXPECT_DOUBLE_EQ(FractionValue("025"), 0.025);
    EXPECT_EQ(FractionValue(""), 0.0);
}

TEST(ConversionsTest, IsAllDigits_WantsAtLeastOneDigitAndNothingElse) {
    EXPECT_TRUE(IsAllDigits("0123456789"));
    for (const char* text : {"", " 1", "1.0", "-1", "1a", "\xd9\xa1"}) {
        EXPECT_FALSE(IsAllDigits(text)) << text;
    }
}

TEST(ConversionsTest, IsNumericText_TakesPointAndCommaOnAnyLocale) {
    const auto expectAll = [] {
        for (const char* text : {"1", "1.5", "1,5", " 1.5 ", "-1", "+1", ".5", "5.", "1E3", "59.9"}) {
            EXPECT_TRUE(IsNumericText(text)) << text;
        }
        for (const char* text : {"", " ", "-", "+-1", "1.2.3", "1,2.3", "12a", "a", "inf", "nan", "0x10", "1:2"}) {
            EXPECT_FALSE(IsNumericText(text)) << text;
        }
    };
    EXPECT_TRUE(UsesDecimalPoint());
    expectAll();
    const CommaLocale locale;
    expectAll();
}

struct FormatRow {
    double value;
    const char* pattern;
    const char* text;
};

const std::vector<FormatRow> kFormats{
    {12.5, "", "12.5"},
    {3.0, "", "3"},
    {-0.1, "", "-0.1"},
    {1.0 / 3.0, "", "0.333333333333333"},
    {1e-7, "", "0.0000001"},
    {0.0, "", "0"},
    {-0.0, "", "0"},
    {7.25, "0.0", "7.3"},
    {-7.25, "0.0", "-7.3"},
    {7.24999, "0.0", "7.2"},
    {2.675, "0.00", "2.68"},
    {59.96, "0.0", "60.0"},
    {999.96, "0.0", "1000.0"},
    {0.0, "0.0", "0.0"},
    {-0.04, "0.0", "0.0"},
    {-0.05, "0.0", "-0.1"},
    {1.5, "0", "2"},
    {2.5, "0", "3"},
    {0.4, "0", "0"},
    {5.0, "00", "05"},
    {123.0, "00", "123"},
    {1.25, "00.0", "01.3"},
    {1.5, "0.###", "1.5"},
    {1.0, "0.###", "1."},
    {0.5, "#.0", ".5"},
    {15.04107, "0.00000", "15.04107"},
    {1e-20, "0.00000", "0.00000"},
    {1e15, "0.0", "1000000000000000.0"},
    {4.5, "0.0 deg", "4.5 deg"},
};

void ExpectFormats() {
    for (const FormatRow& row : kFormats) {
        EXPECT_EQ(FormatUs(row.value, row.pattern), row.text) << row.value << " by " << row.pattern;
    }
}

TEST(ConversionsTest, FormatUs_ByEachPattern_RoundsHalfAwayFromZeroWithAPoint) {
    ExpectFormats();
}

TEST(ConversionsTest, FormatUs_UnderACommaLocale_GivesTheSame) {
    const CommaLocale locale;
    ExpectFormats();
}

struct AngleRow {
    const char* text;
    bool good;
    double value;
    const char* fault = "";
};

TEST(ConversionsTest, ParseProtocolHours_OfEachText_GivesTheHoursOrTheFault) {
    const std::vector<AngleRow> rows{
        {"12:34:56.7", true, 12.0 + 34.0 / 60.0 + 56.7 / 3600.0},
        {" 12:34:56,7 ", true, 12.0 + 34.0 / 60.0 + 56.7 / 3600.0},
        {"-01:30:00", true, -1.5},
        {"+01:30:00", true, 1.5},
        {"00:00:00", true, 0.0},
        {"12:59:59.9", true, 12.0 + 59.0 / 60.0 + 59.9 / 3600.0},
        {"", false, 0.0, "Incorrect number of ':' in string"},
        {"12:34", false, 0.0, "Incorrect number of ':' in string"},
        {"12:34:56:7", false, 0.0, "Incorrect number of ':' in string"},
        {"ab:34:56", false, 0.0, "Hours is not numeric"},
        {":34:56", false, 0.0, "Hours is not numeric"},
        {"1.5:34:56", false, 0.0, "Hours is not integer"},
        {"12:xx:56", false, 12.0, "Minutes is not numeric"},
        {"12:60:00", false, 12.0, "Minutes is not integer or out of range"},
        {"12:59.5:00", false, 12.0, "Minutes is not integer or out of range"},
        {"12:-1:00", false, 12.0, "Minutes is not integer or out of range"},
        {"12:30:", false, 12.5, "Seconds is not numeric"},
        {"12:30:5x", false, 12.5, "Seconds is not numeric"},
        {"12:30:60", false, 12.5, "Seconds is out of range"},
        {"12:30:-1", false, 12.5, "Seconds is out of range"},
        {"-12:30:60", false, 12.5, "Seconds is out of range"},
    };
    for (const AngleRow& row : rows) {
        KeptLog kept;
        double hours = 99.0;
        EXPECT_EQ(ParseProtocolHours(row.text, hours, kept.log), row.good) << row.text;
        EXPECT_DOUBLE_EQ(hours, row.value) << row.text;
        EXPECT_DOUBLE_EQ(ProtocolHours(row.text, kept.log), row.value) << row.text;
        const std::size_t lines = row.good ? 2 : 3;
        ASSERT_EQ(kept.messages.size(), 2 * lines) << row.text;
        if (!row.good) {
            EXPECT_EQ(kept.messages[2],
                      (LogLine{"ParseProtocolHours", 2, std::string("Conversion error: ") + row.fault}));
        }
    }
}

TEST(ConversionsTest, ParseProtocolHours_LogsTheTextAndTheHighestIndex) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"12:34:56.7", "UBound(ss) = 2"}, {"12", "UBound(ss) = 0"}, {"", "UBound(ss) = -1"}};
    for (const auto& [text, bound] : rows) {
        KeptLog kept;
        double hours = 0.0;
        ParseProtocolHours(text, hours, kept.log);
        EXPECT_EQ(kept.messages[0], (LogLine{"ParseProtocolHours", 0, "Input string = '" + text + "'"}));
        EXPECT_EQ(kept.messages[1], (LogLine{"ParseProtocolHours", 0, bound}));
    }
}

TEST(ConversionsTest, ParseProtocolDegrees_OfEachText_GivesTheDegreesOrWhatWasAdded) {
    const std::vector<AngleRow> rows{
        {"+45*30:15", true, 45.0 + 30.0 / 60.0 + 15.0 / 3600.0},
        {"-45*30:15.5", true, -(45.0 + 30.0 / 60.0 + 15.5 / 3600.0)},
        {" 123*00:00 ", true, 123.0},
        {"-00*30:00", true, -0.5},
        {"", false, 0.0},
        {"45:30:15", false, 0.0},
        {"45*30", false, 45.0},
        {"-45*30", false, 45.0},
        {"45*30*15", false, 0.0},
        {"x*30:15", false, 0.0},
        {"4.5*30:15", false, 0.0},
        {"45*", false, 45.0},
        {"45*60:00", false, 45.0},
        {"45*x:00", false, 45.0},
        {"45*30:15:1", false, 45.0},
        {"45*30:60", false, 45.5},
        {"45*30:x", false, 45.5},
    };
    for (const AngleRow& row : rows) {
        KeptLog kept;
        double degrees = 99.0;
        EXPECT_EQ(ParseProtocolDegrees(row.text, degrees, kept.log), row.good) << row.text;
        EXPECT_DOUBLE_EQ(degrees, row.value) << row.text;
        EXPECT_DOUBLE_EQ(ProtocolDegrees(row.text, kept.log), row.value) << row.text;
        EXPECT_TRUE(kept.messages.empty()) << row.text;
    }
}

TEST(ConversionsTest, BothParsers_OfAnyShortBytes_GiveFiniteValuesAndNeverRaise) {
    constexpr std::string_view kAlphabet = "0159+-*:., xE";
    KeptLog kept;
    kept.state.g_bDebugLog = false;
    std::uint32_t seed = 12345;
    for (int i = 0; i < 20000; ++i) {
        std::string text;
        for (int k = 0; k < 9; ++k) {
            seed = seed * 1664525U + 1013904223U;
            text += kAlphabet[(seed >> 16) % kAlphabet.size()];
        }
        double value = 0.0;
        ParseProtocolHours(text, value, kept.log);
        EXPECT_TRUE(std::isfinite(value)) << text;
        ParseProtocolDegrees(text, value, kept.log);
        EXPECT_TRUE(std::isfinite(value)) << text;
        EXPECT_TRUE(std::isfinite(Val_Global(text, kept.log))) << text;
    }
}

TEST(ConversionsTest, TryParseInteger_TakesSignedIntegersOf16Bits) {
    struct Row {
        const char* text;
        bool good;
        std::int16_t value;
    };
    const std::vector<Row> rows{
        {"0", true, 0},       {"12", true, 12},      {"-7", true, -7},        {"+7", true, 7},
        {"", true, 0},        {"-", true, 0},        {"32767", true, 32767},  {"-32767", true, -32767},
        {"32768", false, 99}, {"-32768", false, 99}, {"99999999", false, 99}, {"1 ", false, 99},
        {" 1", false, 99},    {"1.0", false, 99},    {"1-", false, 99},       {"a", false, 99},
    };
    for (const Row& row : rows) {
        std::int16_t value = 99;
        EXPECT_EQ(TryParseInteger(row.text, value), row.good) << row.text;
        EXPECT_EQ(value, row.value) << row.text;
    }
}

struct SexagesimalRow {
    double value;
    int decimals;
    const char* text;
};

const std::vector<SexagesimalRow> kSexagesimals{
    {0.0, 0, "00:00:00"},
    {12.5, 0, "12:30:00"},
    {12.0 + 34.0 / 60.0 + 56.7 / 3600.0, 1, "12:34:56.7"},
    {12.0 + 34.0 / 60.0 + 56.7 / 3600.0, 0, "12:34:57"},
    {12.0 + 34.0 / 60.0 + 59.96 / 3600.0, 1, "12:35:00.0"},
    {12.0 + 34.0 / 60.0 + 59.94 / 3600.0, 1, "12:34:59.9"},
    {12.0 + 59.0 / 60.0 + 59.6 / 3600.0, 0, "13:00:00"},
    {23.0 + 59.0 / 60.0 + 59.99 / 3600.0, 1, "24:00:00.0"},
    {-1.5, 0, "-01:30:00"},
    {-0.0001, 0, "-00:00:00"},
    {7.0, 2, "07:00:00.00"},
    {123.0, 0, "123:00:00"},
    {5.25, -3, "05:15:00"},
};

TEST(ConversionsTest, HoursToHms_RoundsAndCarries) {
    for (const SexagesimalRow& row : kSexagesimals) {
        EXPECT_EQ(HoursToHMS(row.value, ":", ":", "", row.decimals), row.text) << row.value;
    }
    EXPECT_EQ(HoursToHMS(1.5, "h", "m", "s", 1), "01h30m00.0s");
}

TEST(ConversionsTest, DegreesToDms_UsesItsDelimiters) {
    EXPECT_EQ(DegreesToDMS(45.504166667, "*", ":", "", 0), "45*30:15");
    EXPECT_EQ(DegreesToDMS(-7.0, "*", ":", "", 1), "-07*00:00.0");
    EXPECT_EQ(DegreesToDMS(123.0, "*", ":", "", 0), "123*00:00");
    EXPECT_EQ(DegreesToDMS(1.0, ",", ",", "", 0), "01.00.00");
}

TEST(ConversionsTest, HoursToHms_OfRubbish_DoesNotRaise) {
    EXPECT_EQ(HoursToHMS(std::nan(""), ":", ":", "", 0), "00:00:00");
    EXPECT_FALSE(HoursToHMS(std::numeric_limits<double>::infinity(), ":", ":", "", 6).empty());
}

class AskedAstronomy final : public Astronomy {
public:
    Equatorial Sun() override { return {}; }
    double NowLst(double westLongitudeRadians) override {
        asked = westLongitudeRadians;
        return 5.5;
    }
    double asked = 0.0;
};

TEST(ConversionsTest, LocalSiderealTime_HandsWestLongitudeOverByTheShortPi) {
    AskedAstronomy astronomy;
    EXPECT_EQ(LocalSiderealTime(-122.0, astronomy), 5.5);
    EXPECT_DOUBLE_EQ(astronomy.asked, 122.0 * 3.14159 / 180.0);
    LocalSiderealTime(10.5, astronomy);
    EXPECT_DOUBLE_EQ(astronomy.asked, -10.5 * 3.14159 / 180.0);
}

TEST(ConversionsTest, Normalizers_BringIntoTheirRanges) {
    struct Row {
        double value, hours, hourAngle, degrees;
    };
    const std::vector<Row> rows{
        {0, 0, 0, 0},          {24, 0, 0, 24},       {-1, 23, -1, -1},     {12, 12, 12, 12},
        {-12, 12, -12, -12},   {13, 13, -11, 13},    {49, 1, 1, 49},       {180, 12, 12, 180},
        {-180, 12, -12, -180}, {181, 13, -11, -179}, {541, 13, -11, -179},
    };
    for (const Row& row : rows) {
        EXPECT_DOUBLE_EQ(NormalizeHours(row.value), row.hours) << row.value;
        EXPECT_DOUBLE_EQ(NormalizeHourAngle(row.value), row.hourAngle) << row.value;
        EXPECT_DOUBLE_EQ(NormalizeDegrees180(row.value), row.degrees) << row.value;
    }
    EXPECT_LT(NormalizeHours(-1e-18), 24.0);
    EXPECT_TRUE(std::isinf(NormalizeHours(std::numeric_limits<double>::infinity())));
    EXPECT_LT(NormalizeHours(1e18), 24.0);
}

TEST(ConversionsTest, AngularDistance_IsStableForSmallAndLargeAngles) {
    EXPECT_NEAR(AngularDistance(0, 0, 6, 0), 90.0, 1e-12);
    EXPECT_NEAR(AngularDistance(0, 90, 13, 90), 0.0, 1e-12);
    EXPECT_NEAR(AngularDistance(0, -90, 5, 90), 180.0, 1e-12);
    EXPECT_NEAR(AngularDistance(23.999, 0, 0.001, 0), 0.03, 1e-12);
    EXPECT_EQ(AngularDistance(5, 45, 5, 45), 0.0);
    EXPECT_NEAR(AngularDistance(5, 45, 5, 45 + 1e-9) / 1e-9, 1.0, 1e-5);
    EXPECT_NEAR(AngularDistance(5, 60, 5 + 1e-8, 60) / (15e-8 * 0.5), 1.0, 1e-5);
}

TEST(ConversionsTest, AltAzToHaDec_RefusesWhatLiesOutside) {
    double hourAngle = 1.0;
    double declination = 2.0;
    EXPECT_FALSE(AltAzToHaDec(90.1, 0, 0, hourAngle, declination));
    EXPECT_FALSE(AltAzToHaDec(-90.1, 0, 0, hourAngle, declination));
    EXPECT_FALSE(AltAzToHaDec(0, 90.1, 0, hourAngle, declination));
    EXPECT_FALSE(AltAzToHaDec(0, -90.1, 0, hourAngle, declination));
    EXPECT_FALSE(AltAzToHaDec(0, 0, 360.1, hourAngle, declination));
    EXPECT_EQ(hourAngle, 1.0);
    EXPECT_EQ(declination, 2.0);
    EXPECT_TRUE(AltAzToHaDec(45, 0, 360, hourAngle, declination));
}

TEST(ConversionsTest, AltAzToHaDec_OfKnownPoints_IsRight) {
    struct Row {
        double latitude, altitude, azimuth, hourAngle, declination;
    };
    const std::vector<Row> rows{
        {45, 45, 180, 0, 0},  // on the meridian, at the equator
        {40, 0, 90, -6, 0},   // rising in the east
        {40, 0, 270, 6, 0},   // setting in the west
        {40, 90, 0, 0, 40},   // overhead
        {-30, 60, 0, 0, 0},   // the southern meridian points north
    };
    for (const Row& row : rows) {
        double hourAngle = 0.0;
        double declination = 0.0;
        ASSERT_TRUE(AltAzToHaDec(row.latitude, row.altitude, row.azimuth, hourAngle, declination));
        EXPECT_NEAR(hourAngle, row.hourAngle, 1e-9);
        EXPECT_NEAR(declination, row.declination, 1e-9);
    }
}

TEST(ConversionsTest, RaDecToAltAz_UndoesAltAzToHaDec) {
    for (double latitude : {-67.0, -10.0, 0.0, 33.0, 88.0}) {
        for (double altitude : {-40.0, 0.5, 20.0, 85.0}) {
            for (double azimuth : {0.5, 45.0, 135.0, 181.0, 300.0}) {
                double hourAngle = 0.0;
                double declination = 0.0;
                ASSERT_TRUE(AltAzToHaDec(latitude, altitude, azimuth, hourAngle, declination));
                double backAltitude = 0.0;
                double backAzimuth = 0.0;
                RaDecToAltAz(latitude, 3.0, 3.0 - hourAngle, declination, backAltitude, backAzimuth);
                EXPECT_NEAR(backAltitude, altitude, 1e-8);
                EXPECT_NEAR(backAzimuth, azimuth, 1e-8);
            }
        }
    }
}

}  // namespace
}  // namespace kestrane
