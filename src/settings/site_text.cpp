#include "settings/site_text.h"

#include <algorithm>
#include <cmath>

#include "kernel/base/conversions.h"
#include "kernel/base/errors.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

/// The limits of one half of a position.
struct HalfLimits {
    std::string_view positive;
    std::string_view negative;
    double mostDegrees;
};

bool IsDecimal(std::string_view field) {
    return IsNumericText(field) && field.find_first_not_of("0123456789.,") == std::string_view::npos;
}

/// A field without a sign or exponent whose number is from 0 to `most`.
bool ParseField(std::string_view field, bool whole, double most, double& value, Log& log) {
    if (!(whole ? IsAllDigits(field) : IsDecimal(field))) {
        return false;
    }
    value = Val_Global(field, log);
    return value <= most;
}

bool ParseHalf(std::string_view text, const HalfLimits& limits, double& degrees, Log& log) {
    if (std::ranges::count(text, ' ') != 3 || text.find("  ") != std::string_view::npos) {
        return false;
    }
    const auto [letter, degreeField, minuteField, secondField] = SplitSiteText(text);
    const std::string hemisphere = ToUpper(letter);
    double whole = 0.0;
    double minutes = 0.0;
    double seconds = 0.0;
    if ((hemisphere != limits.positive && hemisphere != limits.negative) ||
        !ParseField(degreeField, true, limits.mostDegrees, whole, log) ||
        !ParseField(minuteField, true, 59.0, minutes, log) || !ParseField(secondField, false, 60.0, seconds, log) ||
        seconds == 60.0) {
        return false;
    }
    const double value = whole + (minutes * 60.0 + seconds) / 3600.0;
    degrees = hemisphere == limits.negative && value != 0.0 ? -value : value;
    return true;
}

}  // namespace

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
        if (i > 0 && fields[i].empty() && blank != std::string_view::npos) {  // two blanks would shift the fields after
                                                                              // them: the site would be somewhere else
            throw RunTimeError(RunTimeError::kSubscriptOutOfRange, "Subscript out of range");
        }
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

bool ParseLongitudeText(std::string_view text, double& degrees, Log& log) {
    double west = 0.0;
    if (!ParseHalf(text, {"W", "E", 359.0}, west, log)) {
        return false;
    }
    degrees = west < 0.0 ? west + 360.0 : west;
    return true;
}

bool ParseLatitudeText(std::string_view text, double& degrees, Log& log) {
    return ParseHalf(text, {"N", "S", 90.0}, degrees, log);
}

}  // namespace kestrane
