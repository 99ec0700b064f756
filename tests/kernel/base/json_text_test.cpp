#include "kernel/base/json_text.h"

#include <array>
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>

namespace kestrane {
namespace {

TEST(JsonOf, WritesNumbersInTheShortestFormThatReadsBack) {
    EXPECT_EQ(JsonOf(0.0), "0");
    EXPECT_EQ(JsonOf(-0.0), "0");
    EXPECT_EQ(JsonOf(12.5), "12.5");
    EXPECT_EQ(JsonOf(0.1), "0.1");
    EXPECT_EQ(JsonOf(1e-7), "1e-07");
    EXPECT_EQ(JsonOf(-3), "-3");
    EXPECT_EQ(JsonOf(4294967295U), "4294967295");
    EXPECT_EQ(JsonOf(true), "true");
    EXPECT_EQ(JsonOf(false), "false");
}

TEST(JsonOf, RaisesForWhatIsNoNumber) {
    EXPECT_THROW(JsonOf(std::numeric_limits<double>::quiet_NaN()), std::domain_error);
    EXPECT_THROW(JsonOf(std::numeric_limits<double>::infinity()), std::domain_error);
}

TEST(JsonOf, EscapesTextsAndTakesBrokenUtf8AsLatin1) {
    struct Row {
        std::string_view text, json;
    };
    for (const Row& row :
         {Row{"", R"("")"}, Row{"a\"b\\c", R"("a\"b\\c")"}, Row{"a\r\n\x05", R"("a\u000d\u000a\u0005")"},
          Row{"\x7F", R"("\u007f")"}, Row{"\xC3\xA4", "\"\xC3\xA4\""}, Row{"\xDF", R"("\u00df")"},
          Row{"12\xDF"
              "30",
              R"("12\u00df30")"},
          Row{"\xC3", R"("\u00c3")"}, Row{"\xED\xA0\x80", R"("\u00ed\u00a0\u0080")"},
          Row{"\xC0\x80", R"("\u00c0\u0080")"}, Row{"\xF0\x9F\x94\xAD", "\"\xF0\x9F\x94\xAD\""}}) {
        EXPECT_EQ(JsonOf(row.text), row.json);
    }
    EXPECT_EQ(JsonOf(std::string_view("\0", 1)), R"("\u0000")");
}

TEST(JsonOf, WritesListsAndDates) {
    const std::array<int, 3> numbers{0, 1, 2};
    const std::array<std::string, 2> texts{"a", "b"};
    EXPECT_EQ(JsonList(numbers), "[0,1,2]");
    EXPECT_EQ(JsonList(texts), R"(["a","b"])");
    EXPECT_EQ(JsonList(std::array<int, 0>()), "[]");
    EXPECT_EQ(JsonOf(DateTime{2024, 3, 5, 20, 1, 2, 34}), R"("2024-03-05T20:01:02.0340000Z")");
}

}  // namespace
}  // namespace kestrane
