#include "link/adapter_reply.h"

#include <algorithm>

#include "kernel/base/text.h"
#include "link/line_text.h"

namespace kestrane {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::size_t kMostLineEnds = 3;

bool IsLetterOrDigit(char character) {
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
           (character >= 'a' && character <= 'z');
}

/// Two digits.
std::string Hexadecimal(char byte) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    return {kDigits[value / 16], kDigits[value % 16]};
}

/// What stands after `"key":` and blanks, or nothing.
std::string_view AfterKey(std::string_view body, std::string_view key) {
    const std::string name = '"' + std::string(key) + '"';
    for (std::size_t at = body.find(name); at != std::string_view::npos; at = body.find(name, at + 1)) {
        const std::size_t colon = body.find_first_not_of(kBlanks, at + name.size());
        if (colon != std::string_view::npos && body[colon] == ':') {
            return body.substr(std::min(body.find_first_not_of(kBlanks, colon + 1), body.size()));
        }
    }
    return {};
}

std::string Field(std::string_view body, std::string_view key) {
    std::string value;
    bool inQuotes = false;
    bool wasQuoted = false;
    bool isLiteral = false;
    for (const char character : AfterKey(body, key)) {
        if (isLiteral) {
            value += character;
            isLiteral = false;
        } else if (character == '\\') {
            isLiteral = true;
        } else if (character == '"') {
            if (inQuotes) {
                break;
            }
            inQuotes = true;
            wasQuoted = true;
        } else if (!inQuotes && (character == ',' || character == '}')) {
            break;
        } else {
            value += character;
        }
    }
    if (wasQuoted) {
        return Trim(value);
    }
    value = Trim(std::string_view(value).substr(0, value.find_last_not_of(kBlanks) + 1));
    return value == "null" ? std::string{} : value;
}

}  // namespace

std::string EncodeUrl(std::string_view text) {
    std::string encoded;
    for (const char byte : ToLine(text)) {
        encoded += IsLetterOrDigit(byte) ? std::string(1, byte) : "%" + Hexadecimal(byte);
    }
    return encoded;
}

std::string TrimLineEnds(std::string_view text) {
    for (std::size_t cut = 0; cut < kMostLineEnds && (text.ends_with('\r') || text.ends_with('\n')); ++cut) {
        text.remove_suffix(1);
    }
    return std::string(text);
}

std::string RestBody(std::string_view command) {
    std::string escaped;
    for (const char character : command) {
        if (character == '\\' || character == '"') {
            escaped += '\\';
            escaped += character;
        } else if (static_cast<unsigned char>(character) < ' ') {
            escaped += "\\u00" + Hexadecimal(character);
        } else {
            escaped += character;
        }
    }
    return R"({  "Command": ")" + escaped + "\"}";
}

RestReply StripResponse(std::string_view body, Log& log) {
    if (body.empty()) {
        return {};
    }
    const auto info = [&](const std::string& text) { log.LogMessage("StripResponse", LogLevel::Info, text); };
    info("--- Input: " + std::string(body) + " ---");
    const auto field = [&](std::string_view key, std::string_view label) {
        std::string value = Field(body, key);
        info("  " + std::string(label) + ": " + value);
        return value;
    };
    RestReply reply;
    reply.response = field("ResponseString", "Response");
    reply.message = field("Result", "Result");
    reply.success = field("Success", "Success") == "true";
    return reply;
}

}  // namespace kestrane
