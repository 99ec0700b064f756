#include "kernel/base/json_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "kernel/base/utf8.h"

namespace kestrane {
namespace {

unsigned Byte(char c) {
    return static_cast<unsigned char>(c);
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

std::string JsonOf(std::uint64_t value) {
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

}  // namespace kestrane
