#include "alpaca/parameter_values.h"

#include <gtest/gtest.h>
#include <random>

#include "http/request_parameters.h"

namespace kestrane::alpaca {
namespace {

TEST(ParseId, CountsEverythingButAPlainUnsignedNumberAsZero) {
    struct Row {
        std::string text;
        std::uint32_t id;
    };
    EXPECT_EQ(ParseId(nullptr), 0U);
    for (const Row& row : {Row{"1", 1}, Row{"4294967295", 4294967295U}, Row{"0", 0}, Row{"007", 7}, Row{"", 0},
                           Row{"-1", 0}, Row{"+1", 0}, Row{"4294967296", 0}, Row{"abc", 0}, Row{"1x", 0}, Row{"1.5", 0},
                           Row{" 1", 0}, Row{"99999999999999999999", 0}}) {
        EXPECT_EQ(ParseId(&row.text), row.id) << row.text;
    }
}

TEST(ParseBoolean, KnowsTwoWordsInAnyCase) {
    for (const char* text : {"true", "True", "TRUE", "tRuE"}) {
        EXPECT_EQ(ParseBoolean(text), true) << text;
    }
    for (const char* text : {"false", "False", "FALSE"}) {
        EXPECT_EQ(ParseBoolean(text), false) << text;
    }
    for (const char* text : {"", "1", "0", "yes", "tru", "true ", "-1"}) {
        EXPECT_EQ(ParseBoolean(text), std::nullopt) << text;
    }
}

TEST(ParseInteger, TakesDecimalDigitsWithinItsRangeOnly) {
    struct Row {
        std::string_view text;
        std::optional<std::int32_t> value;
    };
    for (const Row& row :
         {Row{"0", 0}, Row{"-5", -5}, Row{"+5", 5}, Row{"2147483647", 2147483647}, Row{"-2147483648", INT32_MIN},
          Row{"2147483648", {}}, Row{"-2147483649", {}}, Row{"", {}}, Row{"+", {}}, Row{"-", {}}, Row{"+-5", {}},
          Row{"5.0", {}}, Row{"0x10", {}}, Row{" 5", {}}, Row{"5 ", {}}, Row{"five", {}}, Row{"1,000", {}}}) {
        EXPECT_EQ(ParseInteger(row.text), row.value) << row.text;
    }
}

TEST(ParseNumber, TakesFiniteNumbersWithAPointOnly) {
    struct Row {
        std::string_view text;
        std::optional<double> value;
    };
    for (const Row& row : {Row{"0", 0.0}, Row{"12.5", 12.5}, Row{"-0.25", -0.25}, Row{"+1.5", 1.5}, Row{"1e3", 1000.0},
                           Row{"1.5E-2", 0.015}, Row{".5", 0.5}, Row{"5.", 5.0}, Row{"", {}}, Row{"1,5", {}},
                           Row{"nan", {}}, Row{"inf", {}}, Row{"-Infinity", {}}, Row{"1e999", {}}, Row{"0x1p3", {}},
                           Row{"1.5x", {}}, Row{" 1", {}}, Row{"+-1", {}}, Row{"12:30", {}}}) {
        EXPECT_EQ(ParseNumber(row.text), row.value) << row.text;
    }
}

TEST(ParseUtcDate, TakesIsoDatesWithOrWithoutFractionAndZ) {
    struct Row {
        std::string_view text;
        std::optional<DateTime> value;
    };
    for (const Row& row : {Row{"2024-03-05T20:01:02.1234567Z", DateTime{2024, 3, 5, 20, 1, 2, 123}},
                           Row{"2024-03-05T20:01:02.1234567", DateTime{2024, 3, 5, 20, 1, 2, 123}},
                           Row{"2024-03-05T20:01:02Z", DateTime{2024, 3, 5, 20, 1, 2, 0}},
                           Row{"2024-03-05T20:01:02", DateTime{2024, 3, 5, 20, 1, 2, 0}},
                           Row{"2024-02-29T00:00:00.5Z", DateTime{2024, 2, 29, 0, 0, 0, 500}},
                           Row{"2024-03-05T20:01:02+00:00", DateTime{2024, 3, 5, 20, 1, 2, 0}},
                           Row{"2024-03-05T20:01:02.5+00:00", DateTime{2024, 3, 5, 20, 1, 2, 500}},
                           Row{"2024-03-05T20:01:02+01:00", {}},
                           Row{"2024-03-05T20:01:02 00:00", {}},
                           Row{"2023-02-29T00:00:00Z", {}},
                           Row{"2024-13-01T00:00:00Z", {}},
                           Row{"2024-04-31T00:00:00Z", {}},
                           Row{"2024-03-05T24:00:00Z", {}},
                           Row{"2024-03-05T20:60:00Z", {}},
                           Row{"2024-03-05T20:01:60Z", {}},
                           Row{"0000-01-01T00:00:00Z", {}},
                           Row{"2024-03-05 20:01:02Z", {}},
                           Row{"2024-03-05T20:01:02.Z", {}},
                           Row{"2024-03-05T20:01:02ZZ", {}},
                           Row{"2024-03-05T20:01:02+01:00", {}},
                           Row{"24-03-05T20:01:02Z", {}},
                           Row{"2024-3-5T1:1:1", {}},
                           Row{"", {}},
                           Row{"2024-03-05", {}},
                           Row{"-024-03-05T20:01:02Z", {}}}) {
        EXPECT_EQ(ParseUtcDate(row.text), row.value) << row.text;
    }
}

TEST(RequestParameters, SurviveAStormOfRandomBytes) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    constexpr std::string_view kLikely = "&=%+?2345aFTZ:-.e";
    for (int round = 0; round < 20'000; ++round) {
        std::string text(random() % 40, '\0');
        for (char& c : text) {
            c = random() % 3 == 0 ? static_cast<char>(random() & 0xFF) : kLikely[random() % kLikely.size()];
        }
        const auto parameters = http::RequestParameters::Parse(http::SplitTarget(text).query);
        ASSERT_TRUE(parameters);
        if (const std::string* value = parameters->Find("a", http::NameMatch::AnyCase)) {
            ParseId(value);
            ParseInteger(*value);
            ParseNumber(*value);
            ParseUtcDate(*value);
        }
        const auto number = ParseNumber(text);
        ASSERT_TRUE(!number || *number - *number == 0);
    }
}

}  // namespace
}  // namespace kestrane::alpaca
