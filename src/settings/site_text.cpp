#include "settings/site_text.h"

#include <algorithm>
#include <cmath>

#include "kernel/base/conversions.h"
#include "kernel/base/errors.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr double kMostLongitudeDegrees = 359.0;

bool IsDecimal(std::string_view field) {
    return IsNumericText(field) && field.find_first_not_of("0123456789.,") == std::string_view::npos;
}

bool NumberUpTo(double most, std::string_view field, double& value, Log& log) {
    value = Val_Global(field, log);
    return value <= most;
}

/// A field of digits alone whose number is from 0 to `most`.
bool ParseWhole(std::string_view field, double most, double& value, Log& log) {
    return IsAllDigits(field) && NumberUpTo(most, field, value, log);
}

/// The same with a fraction; no sign, no exponent.
bool ParseDecimal(std::string_view field, double most, double& value, Log& log) {
    return IsDecimal(field) && NumberUpTo(most, field, value, log);
}

}  // namespace

std::string PadWithZeros(std::string_view text, std::size_t width) {
    while (text.size() > width && text.front() == '0') {
        text.remove_prefix(1);
    }
    return std::string(width > text.size() ? width - text.size() : 0, '0').append(text);
}

bool IsGoodSiteName(std::string_view name) {
    return name.find_first_of(",=") == std::string_view::npos;
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
    if (std::ranges::count(text, ' ') != 3 || text.find("  ") != std::string_view::npos) {
        return false;
    }
    const auto [letter, degreeField, minuteField, secondField] = SplitSiteText(text);
    const std::string hemisphere = ToUpper(letter);
    double whole = 0.0;
    double minutes = 0.0;
    double seconds = 0.0;
    if ((hemisphere != "W" && hemisphere != "E") || !ParseWhole(degreeField, kMostLongitudeDegrees, whole, log) ||
        !ParseWhole(minuteField, 59.0, minutes, log) || !ParseDecimal(secondField, 60.0, seconds, log) ||
        seconds == 60.0) {
        return false;
    }
    const double value = whole + (minutes * 60.0 + seconds) / 3600.0;
    degrees = hemisphere == "E" && value != 0.0 ? 360.0 - value : value;
    return true;
}

}  // namespace kestrane
