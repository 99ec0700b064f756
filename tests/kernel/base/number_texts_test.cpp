#include <cmath>
#include <gtest/gtest.h>
#include <vector>

#include "kernel/base/conversions.h"
#include "support/kept_log.h"

namespace kestrane {
namespace {

/// The lines of one kind that a text is answered with.
std::vector<LogLine> Errors(const char* origin, const std::vector<std::string>& messages) {
    std::vector<LogLine> lines;
    for (const std::string& message : messages) {
        lines.push_back({origin, 2, message});
    }
    return lines;
}

TEST(NumberTextsTest, ValGlobal_OfOddSigns_TakesOneCharacterOffAndReadsTheRest) {
    struct Row {
        const char* text;
        double value;
        bool negative;
        std::vector<std::string> errors;
    };
    const std::vector<Row> rows{
        {"--5", 0.0, true, {"Invalid integer portion in '--5'"}},
        {"5-", 0.0, true, {"Invalid integer portion in '5-'"}},
        {"15-", -5.0, true, {"Invalid integer portion in '15-'"}},
        {".", 0.0, false, {"Invalid integer portion in '.'", "Invalid fractional portion in '.'"}},
        {"-.", 0.0, true, {"Invalid integer portion in '-.'", "Invalid fractional portion in '-.'"}},
        {"+-5", 0.0, true, {"Invalid integer portion in '+-5'"}},
        {"++5", 0.0, false, {"Invalid integer portion in '++5'"}},
        {"-1.2.3", -1.2, true, {"Invalid numeric string='-1.2.3'"}},
        {"-0", 0.0, true, {}},
        {"+0", 0.0, false, {}},
        {"0", 0.0, false, {}},
        {"-0,0", 0.0, true, {}},
    };
    for (const Row& row : rows) {
        KeptLog kept;
        const double value = Val_Global(row.text, kept.log);
        EXPECT_DOUBLE_EQ(value, row.value) << row.text;
        EXPECT_EQ(std::signbit(value), row.negative) << row.text;
        EXPECT_EQ(kept.messages, Errors("Val_Global", row.errors)) << row.text;
    }
}

TEST(NumberTextsTest, FractionValue_EndsAtTheFirstCharacterThatIsNoDigit) {
    EXPECT_DOUBLE_EQ(FractionValue("2x3"), 0.2);
    EXPECT_EQ(FractionValue("x3"), 0.0);
    KeptLog kept;
    EXPECT_DOUBLE_EQ(Val_Global("1.2x3", kept.log), 1.2);
    EXPECT_EQ(kept.messages, Errors("Val_Global", {"Invalid fractional portion in '1.2x3'"}));
}

TEST(NumberTextsTest, IsNumericText_TakesExponentsAndNoGroupsOfThousands) {
    for (const char* text : {"1e3", "1E+3", "1e-3", "-.5", "+5.", "  -1,5  "}) {
        EXPECT_TRUE(IsNumericText(text)) << text;
    }
    for (const char* text :
         {"1e", "e3", "1e400", "1 000", "1.000,5", "1,000,000", "- 1", "+", ".", "-.", "INF", "$1"}) {
        EXPECT_FALSE(IsNumericText(text)) << text;
    }
}

TEST(NumberTextsTest, FormatUs_KeepsTheTextAroundItsPlaces) {
    EXPECT_EQ(FormatUs(4.5, "about 0.0 deg"), "about 4.5 deg");
    EXPECT_EQ(FormatUs(-4.5, "a,b 0.0"), "-a.b 4.5");
    EXPECT_EQ(FormatUs(0.5, "0%"), "1%");
}

struct AngleTextRow {
    const char* text;
    bool good;
    double value;
};

TEST(NumberTextsTest, ParseProtocolHours_AtTheEdges) {
    const std::vector<AngleTextRow> rows{
        {"--5:30:00", true, 4.5},
        {"+-5:00:00", true, -5.0},
        {"-+5:00:00", true, -5.0},
        {"5:00:00", true, 5.0},
        {"12:59:00", true, 12.0 + 59.0 / 60.0},
        {"12:00:59.99", true, 12.0 + 59.99 / 3600.0},
        {"-12:34", false, 0.0},
        {"-12:60:00", false, 12.0},
        {"12:30:59.9x", false, 12.5},
    };
    for (const AngleTextRow& row : rows) {
        KeptLog kept;
        double hours = 99.0;
        EXPECT_EQ(ParseProtocolHours(row.text, hours, kept.log), row.good) << row.text;
        EXPECT_DOUBLE_EQ(hours, row.value) << row.text;
    }
}

TEST(NumberTextsTest, ParseProtocolHours_LogsTheTextWithItsBlanks) {
    KeptLog kept;
    double hours = 0.0;
    EXPECT_TRUE(ParseProtocolHours("  12:34:56 ", hours, kept.log));
    EXPECT_EQ(kept.messages[0], (LogLine{"ParseProtocolHours", 0, "Input string = '  12:34:56 '"}));
}

TEST(NumberTextsTest, ParseProtocolDegrees_AtTheEdges) {
    const std::vector<AngleTextRow> rows{
        {"--45*30:00", true, 44.5},
        {"+-45*00:00", true, -45.0},
        {"45*59:00", true, 45.0 + 59.0 / 60.0},
        {"45*30:59.9", true, 45.5 + 59.9 / 3600.0},
        {"45*30:-1", false, 45.5},
        {"45*59.5:00", false, 45.0},
        {"45*-1:00", false, 45.0},
        {"-45*30:60", false, 45.5},
        {"-45*60:00", false, 45.0},
        {"-x*30:00", false, 0.0},
    };
    for (const AngleTextRow& row : rows) {
        KeptLog kept;
        double degrees = 99.0;
        EXPECT_EQ(ParseProtocolDegrees(row.text, degrees, kept.log), row.good) << row.text;
        EXPECT_DOUBLE_EQ(degrees, row.value) << row.text;
    }
}

TEST(NumberTextsTest, TryParseInteger_OfSignsAndZeros) {
    struct Row {
        const char* text;
        bool good;
        std::int16_t value;
    };
    const std::vector<Row> rows{
        {"+", true, 0},     {"-0", true, 0},    {"007", true, 7},  {"-0000000032767", true, -32767},
        {"--1", false, 99}, {"+-1", false, 99}, {"1+", false, 99},
    };
    for (const Row& row : rows) {
        std::int16_t value = 99;
        EXPECT_EQ(TryParseInteger(row.text, value), row.good) << row.text;
        EXPECT_EQ(value, row.value) << row.text;
    }
}

TEST(NumberTextsTest, HoursToHms_OfMoreDecimalsThanSix_GivesSix) {
    for (int decimals : {6, 7, 30, 2147483647}) {
        EXPECT_EQ(HoursToHMS(-1.5, ":", ":", "", decimals), "-01:30:00.000000") << decimals;
    }
}

}  // namespace
}  // namespace kestrane
