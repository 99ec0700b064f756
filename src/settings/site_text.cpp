#include "settings/site_text.h"

#include <array>

#include "kernel/base/conversions.h"
#include "kernel/base/errors.h"

namespace kestrane {

std::string PadWithZeros(std::string_view text, std::size_t width) {
    while (text.size() > width && text.front() == '0') {
        text.remove_prefix(1);
    }
    return std::string(width > text.size() ? width - text.size() : 0, '0').append(text);
}

std::string NormalizeSiteText(std::string_view text, Log& log) {
    std::array<std::string_view, 4> fields;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const std::size_t blank = text.find(' ');
        if (blank == std::string_view::npos && i + 1 < fields.size()) {
            throw RunTimeError(RunTimeError::kSubscriptOutOfRange, "Subscript out of range");
        }
        fields[i] = text.substr(0, blank);
        text.remove_prefix(blank == std::string_view::npos ? text.size() : blank + 1);
    }
    std::string result(fields[0]);
    result.append(" ").append(PadWithZeros(fields[1], 2));
    result.append(" ").append(PadWithZeros(fields[2], 2));
    return result.append(" ").append(PadWithZeros(FormatUs(Val_Global(fields[3], log), "0.0"), 4));
}

}  // namespace kestrane
