#include "client/json_text.h"

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

/// JSON leaves two kinds of control characters as they are: DEL and those above it.
std::string WithoutControls(std::string_view serialized) {
    std::string text;
    for (std::size_t at = 0; at < serialized.size(); ++at) {
        const auto byte = static_cast<unsigned char>(serialized[at]);
        const bool second =
            byte == 0xC2 && at + 1 < serialized.size() && static_cast<unsigned char>(serialized[at + 1]) < 0xA0;
        if (byte == 0x7F) {
            text += "\\u007f";
        } else if (second) {
            text += Escaped(static_cast<unsigned char>(serialized[++at]), "\\u00");
        } else {
            text += serialized[at];
        }
    }
    return text;
}

}  // namespace

std::string Shown(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t length = LengthOfCharacter(text);
        const auto first = static_cast<unsigned char>(text[0]);
        const bool upperControl = length == 2 && first == 0xC2 && static_cast<unsigned char>(text[1]) < 0xA0;
        if (length == 0 || first < 0x20 || first == 0x7F) {
            shown += Escaped(first, "\\x");
            text.remove_prefix(1);
        } else if (upperControl) {
            shown += Escaped(static_cast<unsigned char>(text[1]), "\\x");
            text.remove_prefix(2);
        } else {
            shown += text.substr(0, length);
            text.remove_prefix(length);
        }
    }
    return shown;
}

std::string JsonText(const json::value& value) {
    std::string text;
    if (const auto* number = value.if_double()) {
        return FormatNumber(*number);
    }
    if (const auto* object = value.if_object()) {
        for (const auto& member : *object) {
            text += (text.empty() ? "" : ",") + WithoutControls(json::serialize(json::string(member.key()))) + ":" +
                    JsonText(member.value());
        }
        return "{" + text + "}";
    }
    if (const auto* array = value.if_array()) {
        for (const auto& element : *array) {
            text += (text.empty() ? "" : ",") + JsonText(element);
        }
        return "[" + text + "]";
    }
    return WithoutControls(json::serialize(value));
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
