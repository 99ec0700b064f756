#include "client/json_text.h"

#include <algorithm>
#include <boost/json.hpp>

#include "client/angles.h"

namespace kestrane::client {

namespace json = boost::json;

namespace {

std::string Escaped(unsigned char byte, std::string_view prefix) {
    constexpr std::string_view kHex = "0123456789abcdef";
    return std::string(prefix) + kHex[byte >> 4U] + kHex[byte & 0x0FU];
}

/// Bytes of the UTF-8 character at the start of a text: 0 when there is none.
std::size_t LengthOfCharacter(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xC2 ? 0
                               : first < 0xE0 ? 2
                               : first < 0xF0 ? 3
                               : first < 0xF5 ? 4
                                              : 0;
    if (length > text.size()) {
        return 0;
    }
    for (std::size_t at = 1; at < length; ++at) {
        if ((static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    return length;
}

/// `text` with its control characters, and the bytes that are no UTF-8, as `prefix` and two digits.
std::string WithoutControls(std::string_view text, std::string_view prefix) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t length = LengthOfCharacter(text);
        const auto first = static_cast<unsigned char>(text[0]);
        const bool upperControl = length == 2 && first == 0xC2 && static_cast<unsigned char>(text[1]) < 0xA0;
        if (length == 0 || first < 0x20 || first == 0x7F) {
            shown += Escaped(first, prefix);
        } else if (upperControl) {
            shown += Escaped(static_cast<unsigned char>(text[1]), prefix);
        } else {
            shown += text.substr(0, length);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return shown;
}

/// JSON as the serializer writes it leaves the upper control characters, and what is no UTF-8, as they are.
std::string Serialized(const json::value& value) {
    return WithoutControls(json::serialize(value), "\\u00");
}

}  // namespace

std::string Shown(std::string_view text) {
    return WithoutControls(text, "\\x");
}

std::string JsonText(const json::value& value) {
    std::string text;
    if (const auto* number = value.if_double()) {
        return FormatNumber(*number);
    }
    if (const auto* object = value.if_object()) {
        for (const auto& member : *object) {
            text += (text.empty() ? "" : ",") + Serialized(json::string(member.key())) + ":" + JsonText(member.value());
        }
        return "{" + text + "}";
    }
    if (const auto* array = value.if_array()) {
        for (const auto& element : *array) {
            text += (text.empty() ? "" : ",") + JsonText(element);
        }
        return "[" + text + "]";
    }
    return Serialized(value);
}

std::string PlainText(const json::value& value) {
    if (value.is_null()) {
        return "-";
    }
    if (const auto* flag = value.if_bool()) {
        return *flag ? "True" : "False";
    }
    if (const auto* text = value.if_string()) {
        return std::string(*text);
    }
    return JsonText(value);
}

}  // namespace kestrane::client
