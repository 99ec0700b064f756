#include "settings/site_text.h"

#include <cmath>

#include "kernel/base/conversions.h"
#include "kernel/base/errors.h"
#include "kernel/base/text.h"

namespace kestrane {

std::string PadWithZeros(std::string_view text, std::size_t width) {
    while (text.size() > width && text.front() == '0') {
        text.remove_prefix(1);
    }
    return std::string(width > text.size() ? width - text.size() : 0, '0').append(text);
}

SiteFields SplitSiteText(std::string_view text) {
    SiteFields fields;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const std::size_t blank = text.find(' ');
        if (blank == std::string_view::npos && i + 1 < fields.size()) {
            throw RunTimeError(RunTimeError::kSubscriptOutOfRange, "Subscript out of range");
        }
        fields[i] = text.substr(0, blank);
        text.remove_prefix(blank == std::string_view::npos ? text.size() : blank + 1);
    }
    return fields;
}

std::string MakeSiteText(const SiteFields& fields, std::size_t degreeWidth, Log& log) {
    const auto& [hemisphere, degrees, minutes, seconds] = fields;
    std::string text(hemisphere);
    text.append(" ").append(PadWithZeros(degrees, degreeWidth));
    text.append(" ").append(PadWithZeros(minutes, 2));
    return text.append(" ").append(PadWithZeros(FormatUs(Val_Global(seconds, log), "0.0"), 4));
}

std::string NormalizeSiteText(std::string_view text, Log& log) {
    return MakeSiteText(SplitSiteText(text), 2, log);
}

double SiteTextDegrees(std::string_view text, std::string_view negativeHemisphere, Log& log) {
    const auto [hemisphere, degrees, minutes, seconds] = SplitSiteText(text);
    const auto number = [&log](std::string_view field) { return std::abs(Val_Global(field, log)); };
    const double value = number(degrees) + (number(minutes) * 60.0 + number(seconds)) / 3600.0;
    return ToUpper(hemisphere) == negativeHemisphere ? -value : value;
}

}  // namespace kestrane
