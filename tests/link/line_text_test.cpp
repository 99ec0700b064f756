#include "link/line_text.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace kestrane {
namespace {

struct LineRow {
    std::string_view text;
    std::string_view line;
};

TEST(LineText, ACharacterIsOneByteOnTheLine) {
    for (const LineRow& row :
         {LineRow{"", ""}, LineRow{"Sr12:30#", "Sr12:30#"}, LineRow{"+05\xC3\x9F", "+05\xDF"},
          LineRow{"\xC2\x80\xC3\xBF", "\x80\xFF"}, LineRow{"\xC4\x80|\xE2\x82\xAC|\xF0\x9F\x98\x80", "?|?|?"},
          LineRow{"\xDF\x3A\xC3", "\xDF\x3A\xC3"}, LineRow{"\xE2\x82x", "\xE2\x82x"}}) {
        EXPECT_EQ(ToLine(row.text), row.line) << row.text;
    }
}

TEST(LineText, EachByteOfTheLineComesBackAsItself) {
    for (int byte = 0; byte <= 0xFF; ++byte) {
        const std::string line(1, static_cast<char>(byte));
        EXPECT_EQ(ToLine(FromLine(line)), line) << byte;
    }
}

}  // namespace
}  // namespace kestrane
