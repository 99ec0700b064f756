#include "client/angles.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numbers>
#include <system_error>

namespace kestrane::client {
namespace {

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Digits with at most one point before, between or after them; no sign, no exponent.
std::optional<double> ParseField(std::string_view field) {
    bool pointSeen = false;
    bool digitSeen = false;
    for (const char character : field) {
        if (IsDigit(character)) {
            digitSeen = true;
        } else if (character == '.' && !pointSeen) {
            pointSeen = true;
        } else {
            return std::nullopt;
        }
    }
    return digitSeen ? ParseNumber(field) : std::nullopt;
}

/// One to three fields between ":", the later ones below 60, only the last one with a fraction. No sign.
std::optional<double> ParseSexagesimal(std::string_view text) {
    double sum = 0.0;
    double unit = 1.0;
    for (int field = 0; field < 3; ++field, unit /= 60.0) {
        const std::size_t colon = text.find(':');
        const std::string_view part = text.substr(0, colon);
        const bool isLast = colon == std::string_view::npos;
        const auto value = ParseField(part);
        if (!value || (field > 0 && *value >= 60.0) || (!isLast && part.find('.') != std::string_view::npos)) {
            return std::nullopt;
        }
        sum += *value * unit;
        if (isLast) {
            return sum;
        }
        text.remove_prefix(colon + 1);
    }
    return std::nullopt;
}

std::string TwoDigits(long long value) {
    std::string text = std::to_string(value);
    return text.size() < 2 ? "0" + text : text;
}

}  // namespace

std::optional<double> ParseNumber(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return std::nullopt;
        }
    }
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> ParseRightAscension(std::string_view text) {
    const auto hours = ParseSexagesimal(text);
    return hours && *hours < 24.0 ? hours : std::nullopt;
}

std::optional<double> ParseDeclination(std::string_view text) {
    const bool isSouth = text.starts_with('-');
    if (isSouth || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const auto degrees = ParseSexagesimal(text);
    if (!degrees || *degrees > 90.0) {
        return std::nullopt;
    }
    return isSouth ? -*degrees : *degrees;
}

std::string FormatHours(double hours) {
    constexpr long long kTenthsPerDay = 24LL * 36000;
    const long long rounded = std::llround(hours * 36000.0) % kTenthsPerDay;
    const long long tenths = (rounded + kTenthsPerDay) % kTenthsPerDay;
    return TwoDigits(tenths / 36000) + ":" + TwoDigits(tenths / 600 % 60) + ":" + TwoDigits(tenths / 10 % 60) + "." +
           std::to_string(tenths % 10);
}

std::string FormatDegrees(double degrees) {
    const long long seconds = std::llround(std::abs(degrees) * 3600.0);
    const std::string sign = degrees < 0.0 && seconds != 0 ? "-" : "+";
    return sign + TwoDigits(seconds / 3600) + ":" + TwoDigits(seconds / 60 % 60) + ":" + TwoDigits(seconds % 60);
}

std::string FormatNumber(double value) {
    std::array<char, 64> text{};
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} ? std::string(text.data(), end) : std::string();
}

std::string FormatFixed(double value, int decimals) {
    std::array<char, 400> text{};
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals);
    return error == std::errc{} ? std::string(text.data(), end) : std::string();
}

double Separation(double ra1, double dec1, double ra2, double dec2) {
    constexpr double kRadiansPerDegree = std::numbers::pi / 180.0;
    const double halfDec = (dec2 - dec1) * kRadiansPerDegree / 2.0;
    const double halfRa = (ra2 - ra1) * 15.0 * kRadiansPerDegree / 2.0;
    const double haversine = std::sin(halfDec) * std::sin(halfDec) + std::cos(dec1 * kRadiansPerDegree) *
                                                                         std::cos(dec2 * kRadiansPerDegree) *
                                                                         std::sin(halfRa) * std::sin(halfRa);
    return 2.0 * std::asin(std::sqrt(std::min(1.0, haversine))) / kRadiansPerDegree;
}

}  // namespace kestrane::client
