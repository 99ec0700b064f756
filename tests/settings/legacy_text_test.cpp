#include "settings/legacy_text.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace kestrane {
namespace {

using namespace std::string_literals;

TEST(LegacyTextTest, Utf8_StaysAsItIs) {
    for (const std::string& text : {""s, "M31"s, "Ch\xC3\xA2teau"s, "+41\xC2\xB0 16'"s, "\xE6\x97\xA5"s,
                                    "\xF0\x9F\x94\xAD"s, "a\0b"s, "\xEF\xBF\xBD"s, "\xF4\x8F\xBF\xBF"s}) {
        EXPECT_EQ(Utf8OfLegacyText(text), text);
    }
}

TEST(LegacyTextTest, OtherBytes_AreTakenFromTheWesternCodePage) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"+41\xB0 16'", "+41\xC2\xB0 16'"},
        {"Ch\xE2teau", "Ch\xC3\xA2teau"},
        {"Barnard\x92s", "Barnard\xE2\x80\x99s"},
        {"\x80\x9F\xFF", "\xE2\x82\xAC\xC5\xB8\xC3\xBF"},
        {"\x81\x9D", "\xC2\x81\xC2\x9D"},                          // no character there
        {"\xC3", "\xC3\x83"},                                      // cut short
        {"\xE2\x82", "\xC3\xA2\xE2\x80\x9A"},                      // cut short
        {"\xE2\x28\xA1", "\xC3\xA2(\xC2\xA1"},                     // broken in the middle
        {"\xC0\xAF", "\xC3\x80\xC2\xAF"},                          // two bytes for what needs one
        {"\xE0\x80\xAF", "\xC3\xA0\xE2\x82\xAC\xC2\xAF"},          // three bytes for what needs one
        {"\xED\xA0\xB0", "\xC3\xAD\xC2\xA0\xC2\xB0"},              // half of a pair
        {"\xF5\xA0\xA0\xA0", "\xC3\xB5\xC2\xA0\xC2\xA0\xC2\xA0"},  // beyond the last character
        {"\xF4\xA0\xA0\xA0", "\xC3\xB4\xC2\xA0\xC2\xA0\xC2\xA0"},  // beyond the last character
    };
    for (const auto& [bytes, text] : rows) {
        EXPECT_EQ(Utf8OfLegacyText(bytes), text) << bytes;
    }
}

TEST(LegacyTextTest, EveryByte_BecomesOneCharacter) {
    for (int byte = 0x80; byte <= 0xFF; ++byte) {
        const std::string text = Utf8OfLegacyText(std::string(1, static_cast<char>(byte)));
        EXPECT_GE(text.size(), 2U);
        EXPECT_EQ(Utf8OfLegacyText(text), text) << byte;
    }
}

}  // namespace
}  // namespace kestrane
