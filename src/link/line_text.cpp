#include "link/line_text.h"

#include "kernel/base/utf8.h"

namespace kestrane {

std::string ToLine(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        const std::size_t length = Utf8Length(text);
        const auto lead = static_cast<unsigned char>(text[0]);
        if (length <= 1) {
            bytes += text[0];
        } else if (lead <= 0xC3) {
            bytes += static_cast<char>((lead & 0x03) << 6 | (static_cast<unsigned char>(text[1]) & 0x3F));
        } else {
            bytes += '?';
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return bytes;
}

std::string FromLine(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        AppendUtf8(text, static_cast<unsigned char>(byte));
    }
    return text;
}

}  // namespace kestrane
