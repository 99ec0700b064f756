#include "kernel/base/utf8.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace kestrane {
namespace {

struct LengthRow {
    std::string_view text;
    std::size_t length;
};

TEST(Utf8, LengthOfTheFirstCharacter) {
    for (const LengthRow& row :
         {LengthRow{"a", 1}, LengthRow{"\x7F", 1}, LengthRow{"\xC2\x80", 2}, LengthRow{"\xDF\xBFx", 2},
          LengthRow{"\xE0\xA0\x80", 3}, LengthRow{"\xED\x9F\xBF", 3}, LengthRow{"\xEF\xBF\xBF", 3},
          LengthRow{"\xF0\x90\x80\x80", 4}, LengthRow{"\xF4\x8F\xBF\xBF", 4}}) {
        EXPECT_EQ(Utf8Length(row.text), row.length) << row.text;
    }
}

TEST(Utf8, WhatIsNoCharacterHasNoLength) {
    for (const std::string_view text :
         {"\x80", "\xBFx", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2x", "\xDF\xDF", "\xE0\x9F\x80", "\xE2\x82", "\xE2\x82x",
          "\xED\xA0\x80", "\xF0\x8F\x80\x80", "\xF0\x9F\x98", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF"}) {
        EXPECT_EQ(Utf8Length(text), 0U) << text;
        EXPECT_FALSE(IsUtf8("a" + std::string(text)));
    }
}

TEST(Utf8, EachCharacterOfTheBasicPlaneThatIsAppended_IsRead) {
    for (std::uint32_t character = 1; character <= 0xFFFF; ++character) {
        if (character >= 0xD800 && character <= 0xDFFF) {
            continue;
        }
        std::string text;
        AppendUtf8(text, character);
        ASSERT_EQ(Utf8Length(text), text.size()) << character;
        ASSERT_EQ(text.size(), character < 0x80 ? 1U : character < 0x800 ? 2U : 3U) << character;
        ASSERT_TRUE(IsUtf8(text + text)) << character;
    }
}

TEST(Utf8, DropLastCharacter_TakesAllBytesOfIt) {
    struct Row {
        std::string text, left;
    };
    for (const Row& row : {Row{"", ""}, Row{"#", ""}, Row{"12#", "12"}, Row{"+05\xC3\x9F", "+05"},
                           Row{"\xC3\x9F#", "\xC3\x9F"}, Row{"\xE2\x82\xAC", ""}}) {
        std::string text = row.text;
        DropLastCharacter(text);
        EXPECT_EQ(text, row.left);
    }
}

}  // namespace
}  // namespace kestrane
