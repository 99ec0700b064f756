#include "settings/legacy_text.h"

#include <array>
#include <cstdint>

namespace kestrane {
namespace {

/// The characters of the bytes 80 to 9F in code page 1252; the five without a character keep their number.
constexpr std::array<char16_t, 32> kPage1252{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  //
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  //
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  //
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

constexpr std::uint32_t ByteAt(std::string_view bytes, std::size_t at) {
    return static_cast<unsigned char>(bytes[at]);
}

/// Bytes of the character at `at`; 0 when there is no well-formed one.
std::size_t Utf8Length(std::string_view bytes, std::size_t at) {
    const std::uint32_t lead = ByteAt(bytes, at);
    if (lead < 0x80) {
        return 1;
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() - at < length) {
        return 0;
    }
    std::uint32_t character = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const std::uint32_t next = ByteAt(bytes, at + i);
        if ((next & 0xC0U) != 0x80) {
            return 0;
        }
        character = character << 6U | (next & 0x3FU);
    }
    const bool overlong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    return overlong || surrogate || character > 0x10FFFF ? 0 : length;
}

bool IsUtf8(std::string_view bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t length = Utf8Length(bytes, at);
        if (length == 0) {
            return false;
        }
        at += length;
    }
    return true;
}

void AppendUtf8(std::string& text, std::uint32_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
        return;
    }
    if (character < 0x800) {
        text += static_cast<char>(0xC0U | character >> 6U);
    } else {
        text += static_cast<char>(0xE0U | character >> 12U);
        text += static_cast<char>(0x80U | (character >> 6U & 0x3FU));
    }
    text += static_cast<char>(0x80U | (character & 0x3FU));
}

}  // namespace

std::string Utf8OfLegacyText(std::string_view bytes) {
    if (IsUtf8(bytes)) {
        return std::string(bytes);
    }
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        const std::uint32_t byte = ByteAt(bytes, at);
        AppendUtf8(text, byte >= 0x80 && byte < 0xA0 ? kPage1252[byte - 0x80] : byte);
    }
    return text;
}

}  // namespace kestrane
