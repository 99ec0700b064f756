#include "settings/legacy_text.h"

#include <array>
#include <cstdint>

#include "kernel/base/utf8.h"

namespace kestrane {
namespace {

/// The characters of the bytes 80 to 9F in code page 1252; the five without a character keep their number.
constexpr std::array<char16_t, 32> kPage1252{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  //
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  //
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  //
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

}  // namespace

std::string Utf8OfLegacyText(std::string_view bytes) {
    if (IsUtf8(bytes)) {
        return std::string(bytes);
    }
    std::string text;
    for (const char each : bytes) {
        const std::uint32_t byte = static_cast<unsigned char>(each);
        AppendUtf8(text, byte >= 0x80 && byte < 0xA0 ? kPage1252[byte - 0x80] : byte);
    }
    return text;
}

}  // namespace kestrane
