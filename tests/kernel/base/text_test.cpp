#include "kernel/base/text.h"

#include <gtest/gtest.h>
#include <limits>
#include <utility>
#include <vector>

#include "kernel/base/errors.h"
#include "support/comma_locale.h"

namespace kestrane {
namespace {

TEST(TextTest, PlainNumber_HasUpTo15DigitsAndAPoint) {
    const std::vector<std::pair<double, const char*>> rows{
        {12.5, "12.5"},
        {3.0, "3"},
        {1e-7, "0.0000001"},
        {1.5e-5, "0.000015"},
        {-1.5e-5, "-0.000015"},
        {1e-15, "0.000000000000001"},
        {9.9e-16, "9.9E-16"},
        {999999999999999.0, "999999999999999"},
        {100000000000000.0, "100000000000000"},
        {-120.0, "-120"},
        {0.99999999999999999, "1"},
        {0.1, "0.1"},
        {-2.25, "-2.25"},
        {0.1 + 0.2, "0.3"},
        {1e15, "1E+15"},
        {123456789012345.0, "123456789012345"},
        {-0.0, "0"},
        {0.0001, "0.0001"},
        {2.0 / 3.0, "0.666666666666667"},
    };
    for (const auto& [value, text] : rows) {
        EXPECT_EQ(PlainNumber(value), text);
    }
    const CommaLocale locale;
    EXPECT_EQ(PlainNumber(12.5), "12.5");
}

TEST(TextTest, RoundHalfEven_GoesToTheEvenNeighbour) {
    const std::vector<std::pair<double, int>> rows{
        {0.5, 0}, {1.5, 2}, {2.5, 2}, {-0.5, 0}, {-1.5, -2}, {-2.5, -2}, {2.49, 2}, {2.51, 3}, {-2.51, -3}, {7.0, 7},
    };
    for (const auto& [value, rounded] : rows) {
        EXPECT_EQ(RoundHalfEven(value), rounded) << value;
    }
    EXPECT_EQ(RoundHalfEven(2147483647.25), 2147483647);
}

TEST(TextTest, RoundHalfEven_OfWhatDoesNotFit_Overflows) {
    for (double value : {2147483648.0, -2147483649.0, 1e300, std::numeric_limits<double>::quiet_NaN()}) {
        try {
            RoundHalfEven(value);
            ADD_FAILURE() << value;
        } catch (const RunTimeError& error) {
            EXPECT_EQ(error.Number(), RunTimeError::kOverflow);
        }
    }
}

TEST(TextTest, Trim_TakesBlanksOnly) {
    EXPECT_EQ(Trim("  a b  "), "a b");
    EXPECT_EQ(Trim("\ta\t"), "\ta\t");
    EXPECT_EQ(Trim("   "), "");
    EXPECT_EQ(Trim(""), "");
}

TEST(TextTest, Case_ChangesAsciiLettersOnly) {
    EXPECT_EQ(ToLower("ABZ\xc3\x84z1"), "abz\xc3\x84z1");
    EXPECT_EQ(ToUpper("abz\xc3\xa4Z1"), "ABZ\xc3\xa4Z1");
}

TEST(TextTest, ReplaceAll_GoesOnBehindWhatItPutIn) {
    EXPECT_EQ(ReplaceAll("a,b,,c", ",", "."), "a.b..c");
    EXPECT_EQ(ReplaceAll("aaa", "a", "aa"), "aaaaaa");
    EXPECT_EQ(ReplaceAll("\r\n\r\n\n", "\r\n", ""), "\n");
    EXPECT_EQ(ReplaceAll("abc", "", "x"), "abc");
}

TEST(TextTest, TrueFalse_AreCapitalised) {
    EXPECT_EQ(TrueFalse(true), "True");
    EXPECT_EQ(TrueFalse(false), "False");
}

}  // namespace
}  // namespace kestrane
