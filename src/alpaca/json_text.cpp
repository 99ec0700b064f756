#include "alpaca/json_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace kestrane::alpaca {
namespace {

unsigned Byte(char c) {
    return static_cast<unsigned char>(c);
}

/// Length of the UTF-8 sequence at the front of `text`; 0 when there is none.
std::size_t Utf8Length(std::string_view text) {
    const unsigned lead = Byte(text[0]);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || text.size() < length) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((Byte(text[i]) & 0xC0) != 0x80) {
            return 0;
        }
    }
    const unsigned second = length > 2 ? Byte(text[1]) : 0;
    const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
    const bool surrogateOrBeyond = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
    return overlong || surrogateOrBeyond ? 0 : length;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = Utf8Length(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

void AppendEscape(std::string& json, unsigned byte) {
    std::array<char, 8> escape{};
    std::snprintf(escape.data(), escape.size(), "\\u%04x", byte);
    json += escape.data();
}

void AppendCharacter(std::string& json, char c, bool latin1) {
    const unsigned byte = Byte(c);
    if (c == '"' || c == '\\') {
        json += '\\';
        json += c;
    } else if (byte < 0x20 || byte == 0x7F || (latin1 && byte >= 0x80)) {
        AppendEscape(json, byte);
    } else {
        json += c;
    }
}

}  // namespace

std::string JsonOf(bool value) {
    return value ? "true" : "false";
}

std::string JsonOf(int value) {
    return std::to_string(value);
}

std::string JsonOf(std::uint32_t value) {
    return std::to_string(value);
}

std::string JsonOf(double value) {
    if (!std::isfinite(value)) {
        throw std::domain_error("the value is not a number");
    }
    std::array<char, 32> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), value == 0 ? 0.0 : value);
    return std::string(digits.data(), end);
}

std::string JsonOf(std::string_view value) {
    const bool latin1 = !IsUtf8(value);
    std::string json = "\"";
    for (const char c : value) {
        AppendCharacter(json, c, latin1);
    }
    return json + "\"";
}

std::string JsonOf(const std::string& value) {
    return JsonOf(std::string_view(value));
}

std::string JsonOf(const char* value) {
    return JsonOf(std::string_view(value));
}

std::string JsonOf(const DateTime& utc) {
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "\"%04d-%02d-%02dT%02d:%02d:%02d.%03d0000Z\"", utc.year, utc.month, utc.day,
                  utc.hour, utc.minute, utc.second, utc.millisecond);
    return text.data();
}

}  // namespace kestrane::alpaca
