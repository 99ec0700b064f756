#include "kernel/base/conversions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "kernel/base/astronomy_funcs.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Empty for an empty text, else one piece more than there are separators.
std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    if (text.empty()) {
        return pieces;
    }
    std::size_t from = 0;
    for (std::size_t at = text.find(separator); at != std::string_view::npos; at = text.find(separator, from)) {
        pieces.push_back(text.substr(from, at - from));
        from = at + 1;
    }
    pieces.push_back(text.substr(from));
    return pieces;
}

std::size_t CountDigits(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::find_if_not(text, IsDigit) - text.begin());
}

/// The number that the digits at the start of `text` form; 0 for none, or for more than a double holds.
double LeadingNumber(std::string_view text) {
    double value = 0.0;
    std::from_chars(text.data(), text.data() + CountDigits(text), value, std::chars_format::fixed);
    return value;
}

/// Numeric text in one shape: no blanks around it, no plus sign, a point. Nothing when it is no number.
std::string NumericShape(std::string_view text) {
    std::string number = Trim(text);
    std::ranges::replace(number, ',', '.');
    if (number.starts_with('+')) {
        number.erase(0, 1);
        if (number.starts_with('-')) {
            return {};
        }
    }
    return number;
}

/// The value of numeric text (see `IsNumericText`); false for any other text.
bool NumericValue(std::string_view text, double& value) {
    const std::string number = NumericShape(text);
    const std::size_t first = number.starts_with('-') ? 1 : 0;
    if (first >= number.size() || (!IsDigit(number[first]) && number[first] != '.')) {
        return false;  // refuses what from_chars accepts besides digits: "inf", "nan"
    }
    const char* const end = number.data() + number.size();
    const auto read = std::from_chars(number.data(), end, value);
    return read.ec == std::errc{} && read.ptr == end;
}

bool IsWhole(double value) {
    return value == std::floor(value);
}

bool IsWholeBelow60(double value) {
    return IsWhole(value) && value >= 0.0 && value <= 59.0;
}

bool IsSeconds(double value) {
    return value >= 0.0 && value < 60.0;
}

/// Takes a leading sign off; true when it was a minus.
bool TakeSign(std::string& text) {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.erase(0, 1);
    }
    return negative;
}

/// The parts of HH:MM:SS.S added to `hours` as far as they are right; returns the words of the fault, or none.
std::string_view AddHours(const std::vector<std::string_view>& parts, double& hours, Log& log) {
    if (parts.size() != 3) {
        return "Incorrect number of ':' in string";
    }
    double value = 0.0;
    if (!NumericValue(parts[0], value)) {
        return "Hours is not numeric";
    }
    if (!IsWhole(value)) {
        return "Hours is not integer";
    }
    hours = value;
    if (!NumericValue(parts[1], value)) {
        return "Minutes is not numeric";
    }
    if (!IsWholeBelow60(value)) {
        return "Minutes is not integer or out of range";
    }
    hours += value / 60.0;
    if (!IsNumericText(parts[2])) {
        return "Seconds is not numeric";
    }
    value = Val_US(parts[2], log);
    if (!IsSeconds(value)) {
        return "Seconds is out of range";
    }
    hours += value / 3600.0;
    return {};
}

/// The parts of DD*MM:SS added to `degrees` as far as they are right; false on a fault.
bool AddDegrees(std::string_view text, double& degrees, Log& log) {
    const std::vector<std::string_view> halves = Split(text, '*');
    double value = 0.0;
    if (halves.size() != 2 || !NumericValue(halves[0], value) || !IsWhole(value)) {
        return false;
    }
    degrees = value;
    const std::vector<std::string_view> parts = Split(halves[1], ':');
    if (parts.size() != 2 || !NumericValue(parts[0], value) || !IsWholeBelow60(value)) {
        return false;
    }
    degrees += value / 60.0;
    if (!IsNumericText(parts[1])) {
        return false;
    }
    value = Val_US(parts[1], log);
    if (!IsSeconds(value)) {
        return false;
    }
    degrees += value / 3600.0;
    return true;
}

/// Decimal digits of a magnitude: `text[0]` to `text[point - 1]` before the point, the others after it.
struct Decimal {
    std::string digits;
    std::size_t point = 0;
};

/// A magnitude by its 15 significant digits, rounded half up to `decimals` places: 2.675 to two places is 2.68, as a
/// person would have it.
Decimal RoundedDecimal(double magnitude, std::size_t decimals) {
    constexpr int kSignificant = 15;
    std::array<char, 64> buffer{};
    const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude,
                                       std::chars_format::scientific, kSignificant - 1);
    const std::string_view text(buffer.data(), static_cast<std::size_t>(written.ptr - buffer.data()));
    int exponent = 0;
    const std::size_t e = text.find('e');
    const std::size_t exponentDigits = e + (text[e + 1] == '+' ? 2U : 1U);
    std::from_chars(text.data() + exponentDigits, text.data() + text.size(), exponent);

    Decimal result;
    result.digits = std::string(text.substr(0, 1)).append(text.substr(2, e - 2));
    if (exponent < 0) {
        result.digits.insert(0, static_cast<std::size_t>(-exponent), '0');
        exponent = 0;
    }
    result.point = static_cast<std::size_t>(exponent) + 1;
    const std::size_t kept = result.point + decimals;
    result.digits.resize(std::max(result.digits.size(), kept + 1), '0');
    const bool up = result.digits[kept] >= '5';
    result.digits.resize(kept);
    std::size_t at = kept;
    bool carry = up;
    while (carry && at > 0) {
        --at;
        carry = result.digits[at] == '9';
        result.digits[at] = carry ? '0' : static_cast<char>(result.digits[at] + 1);
    }
    if (carry) {
        result.digits.insert(0, 1, '1');
        ++result.point;
    }
    return result;
}

/// The places of a pattern such as "#0.0##": the least and the greatest number on either side of the point.
struct Pattern {
    std::string_view before;  // literal text around the number
    std::string_view after;
    std::size_t wholeAtLeast = 0;
    std::size_t decimalsAtLeast = 0;
    std::size_t decimalsAtMost = 0;
    bool point = false;
};

Pattern ReadPattern(std::string_view text) {
    constexpr std::string_view kPlaces = "0#.";
    Pattern pattern;
    const std::size_t first = text.find_first_of(kPlaces);
    if (first == std::string_view::npos) {
        pattern.before = text;
        return pattern;
    }
    const std::size_t end = std::min(text.find_first_not_of(kPlaces, first), text.size());
    pattern.before = text.substr(0, first);
    pattern.after = text.substr(end);
    const std::string_view places = text.substr(first, end - first);
    const std::size_t point = std::min(places.find('.'), places.size());
    const std::string_view whole = places.substr(0, point);
    const std::size_t firstZero = whole.find('0');
    pattern.wholeAtLeast = firstZero == std::string_view::npos ? 0 : whole.size() - firstZero;
    pattern.point = point < places.size();
    if (pattern.point) {
        const std::string_view decimals = places.substr(point + 1);
        const std::size_t lastZero = decimals.rfind('0');
        pattern.decimalsAtLeast = lastZero == std::string_view::npos ? 0 : lastZero + 1;
        pattern.decimalsAtMost = decimals.size();
    }
    return pattern;
}

struct Delimiters {
    std::string_view whole;
    std::string_view minute;
    std::string_view second;
};

std::string Sexagesimal(double value, const Delimiters& delimiters, int secondDecimals) {
    constexpr int kMostDecimals = 6;
    constexpr double kLargest = 1.0e8;  // far above any angle or time; keeps the integers below exact
    const int decimals = std::clamp(secondDecimals, 0, kMostDecimals);
    std::int64_t partsOfSecond = 1;
    for (int i = 0; i < decimals; ++i) {
        partsOfSecond *= 10;
    }
    const double magnitude = std::isnan(value) ? 0.0 : std::min(std::abs(value), kLargest);
    const std::int64_t parts = std::llround(magnitude * 3600.0 * static_cast<double>(partsOfSecond));

    const auto padded = [](std::int64_t number, std::size_t width) {
        const std::string digits = std::to_string(number);
        return std::string(width > digits.size() ? width - digits.size() : 0, '0') + digits;
    };
    const std::int64_t seconds = parts / partsOfSecond;
    std::string text = value < 0.0 ? "-" : "";
    text.append(padded(seconds / 3600, 2)).append(delimiters.whole);
    text.append(padded(seconds / 60 % 60, 2)).append(delimiters.minute);
    text.append(padded(seconds % 60, 2));
    if (decimals > 0) {
        text.append(".").append(padded(parts % partsOfSecond, static_cast<std::size_t>(decimals)));
    }
    return text.append(delimiters.second);
}

/// `value` brought into a range by whole turns; a value that is no number, or infinite, stays as it is.
double WithoutTurns(double value, double turn) {
    return std::isfinite(value) ? std::fmod(value, turn) : value;
}

double BroughtIntoHalfTurns(double value, double half) {
    double result = value > half || value < -half ? WithoutTurns(value, 2.0 * half) : value;
    if (result > half) {
        result -= 2.0 * half;
    } else if (result < -half) {
        result += 2.0 * half;
    }
    return result;
}

}  // namespace

double Val_US(std::string_view text, Log& log) {
    return Val_Global(text, log);
}

double Val_Global(std::string_view text, Log& log) {
    const std::string trimmed = Trim(text);
    const auto complain = [&](std::string_view what) {
        log.LogMessage("Val_Global", LogLevel::Error, std::string(what) + trimmed + "'");
    };
    std::string working = trimmed;
    std::ranges::replace(working, ',', '.');
    double sign = 1.0;
    // Intentional: a sign anywhere counts, and the first character is the one that is removed.
    if (working.find('-') != std::string::npos) {
        sign = -1.0;
        working.erase(0, 1);
    } else if (working.find('+') != std::string::npos) {
        working.erase(0, 1);
    }
    if (working.empty()) {
        return 0.0;
    }
    const std::vector<std::string_view> pieces = Split(working, '.');
    if (!IsAllDigits(pieces[0])) {
        complain("Invalid integer portion in '");
    }
    double value = LeadingNumber(pieces[0]);
    if (pieces.size() > 1) {
        if (!IsAllDigits(pieces[1])) {
            complain("Invalid fractional portion in '");
        }
        value += FractionValue(pieces[1]);
    }
    if (pieces.size() > 2) {
        complain("Invalid numeric string='");
    }
    return sign * value;
}

bool IsAllDigits(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, IsDigit);
}

double FractionValue(std::string_view digits) {
    // A double does not change with more than eighteen digits, and eighteen still fit an exact integer.
    constexpr std::size_t kMostDigits = 18;
    const std::size_t count = std::min(CountDigits(digits), kMostDigits);
    std::int64_t number = 0;
    double divisor = 1.0;
    for (char digit : digits.substr(0, count)) {
        number = number * 10 + (digit - '0');
        divisor *= 10.0;
    }
    return static_cast<double>(number) / divisor;
}

bool UsesDecimalPoint() {
    std::array<char, 16> text{};
    const int length = std::snprintf(text.data(), text.size(), "%.1f", 8.5);
    return length > 0 && std::string_view(text.data()).find('.') != std::string_view::npos;
}

bool IsNumericText(std::string_view text) {
    // Both separators are accepted, so the test is the same in every locale.
    double ignored = 0.0;
    return NumericValue(text, ignored);
}

std::optional<double> PlainDecimal(std::string_view text, Log& log) {
    if (!IsNumericText(text) || text.find_first_of("eE") != std::string_view::npos) {
        return std::nullopt;
    }
    return Val_Global(text, log);
}

std::string FormatUs(double value, std::string_view pattern) {
    if (pattern.empty() || !std::isfinite(value)) {
        return PlainNumber(value);
    }
    const Pattern form = ReadPattern(pattern);
    Decimal number = RoundedDecimal(std::abs(value), form.decimalsAtMost);
    const bool isZero = number.digits.find_first_not_of('0') == std::string::npos;
    std::string whole = number.digits.substr(0, number.point);
    whole.erase(0, whole.find_first_not_of('0'));
    whole.insert(0, form.wholeAtLeast > whole.size() ? form.wholeAtLeast - whole.size() : 0, '0');
    std::string decimals = number.digits.substr(number.point);
    while (decimals.size() > form.decimalsAtLeast && decimals.back() == '0') {
        decimals.pop_back();
    }
    std::string text = value < 0.0 && !isZero ? "-" : "";
    text.append(form.before).append(whole).append(form.point ? "." : "").append(decimals).append(form.after);
    return ReplaceAll(text, ",", ".");
}

bool ParseProtocolHours(std::string_view text, double& hours, Log& log) {
    constexpr std::string_view kOrigin = "ParseProtocolHours";
    log.LogMessage(kOrigin, LogLevel::Info, "Input string = '" + std::string(text) + "'");
    hours = 0.0;
    std::string unsignedText = Trim(text);
    const bool negative = TakeSign(unsignedText);
    const std::vector<std::string_view> parts = Split(unsignedText, ':');
    log.LogMessage(kOrigin, LogLevel::Info, "UBound(ss) = " + std::to_string(std::ssize(parts) - 1));
    const std::string_view fault = AddHours(parts, hours, log);
    if (!fault.empty()) {
        log.LogMessage(kOrigin, LogLevel::Error, "Conversion error: " + std::string(fault));
        return false;
    }
    hours = negative ? -hours : hours;
    return true;
}

bool ParseProtocolDegrees(std::string_view text, double& degrees, Log& log) {
    degrees = 0.0;
    std::string unsignedText = Trim(text);
    const bool negative = TakeSign(unsignedText);
    if (!AddDegrees(unsignedText, degrees, log)) {
        return false;  // intentional: the sign is not applied to a partial result
    }
    degrees = negative ? -degrees : degrees;
    return true;
}

double ProtocolHours(std::string_view text, Log& log) {
    double hours = 0.0;
    ParseProtocolHours(text, hours, log);
    return hours;
}

double ProtocolDegrees(std::string_view text, Log& log) {
    double degrees = 0.0;
    ParseProtocolDegrees(text, degrees, log);
    return degrees;
}

bool TryParseInteger(std::string_view text, std::int16_t& value) {
    const bool negative = text.starts_with('-');
    const bool hasSign = negative || text.starts_with('+');
    std::int32_t magnitude = 0;
    for (char c : text.substr(hasSign ? 1 : 0)) {
        if (!IsDigit(c)) {
            return false;
        }
        magnitude = magnitude * 10 + (c - '0');
        if (magnitude > std::numeric_limits<std::int16_t>::max()) {
            return false;
        }
    }
    value = static_cast<std::int16_t>(negative ? -magnitude : magnitude);
    return true;
}

std::string HoursToHMS(double hours, std::string_view hourDelimiter, std::string_view minuteDelimiter,
                       std::string_view secondDelimiter, int secondDecimals) {
    return ReplaceAll(Sexagesimal(hours, {hourDelimiter, minuteDelimiter, secondDelimiter}, secondDecimals), ",", ".");
}

std::string DegreesToDMS(double degrees, std::string_view degreeDelimiter, std::string_view minuteDelimiter,
                         std::string_view secondDelimiter, int secondDecimals) {
    return HoursToHMS(degrees, degreeDelimiter, minuteDelimiter, secondDelimiter, secondDecimals);
}

double LocalSiderealTime(double longitude, Astronomy& astronomy) {
    constexpr double kShortPi = 3.14159;  // this precision belongs to the result that clients expect
    return astronomy.NowLst(-longitude * kShortPi / 180.0);
}

double NormalizeHours(double hours) {
    double result = hours < 0.0 || hours >= 24.0 ? WithoutTurns(hours, 24.0) : hours;
    if (result < 0.0) {
        result += 24.0;
    }
    return result >= 24.0 ? result - 24.0 : result;
}

double NormalizeHourAngle(double hours) {
    return BroughtIntoHalfTurns(hours, 12.0);
}

double NormalizeDegrees180(double degrees) {
    return BroughtIntoHalfTurns(degrees, 180.0);
}

double AngularDistance(double ra1, double dec1, double ra2, double dec2) {
    const double difference = (ra2 - ra1) * 15.0;
    // The distance from both sine and cosine, so that neither small angles nor those near 180 degrees lose digits.
    const double east = CosDegrees(dec2) * SinDegrees(difference);
    const double north =
        CosDegrees(dec1) * SinDegrees(dec2) - SinDegrees(dec1) * CosDegrees(dec2) * CosDegrees(difference);
    const double along =
        SinDegrees(dec1) * SinDegrees(dec2) + CosDegrees(dec1) * CosDegrees(dec2) * CosDegrees(difference);
    return ArcTan2Degrees(std::hypot(east, north), along);
}

bool AltAzToHaDec(double latitude, double altitude, double azimuth, double& hourAngle, double& declination) {
    if (latitude < -90.0 || latitude > 90.0 || altitude < -90.0 || altitude > 90.0 || azimuth > 360.0) {
        return false;
    }
    declination = ArcSinDegrees(SinDegrees(latitude) * SinDegrees(altitude) +
                                CosDegrees(latitude) * CosDegrees(altitude) * CosDegrees(azimuth));
    const double cosDec = CosDegrees(declination);
    const double y = -CosDegrees(altitude) * SinDegrees(azimuth) / cosDec;
    const double x = (CosDegrees(latitude) * SinDegrees(altitude) -
                      SinDegrees(latitude) * CosDegrees(altitude) * CosDegrees(azimuth)) /
                     cosDec;
    hourAngle = ArcTan2Degrees(y, x) / 15.0;
    return true;
}

void HaDecToAltAz(double latitude, double hourAngleDegrees, double dec, double& altitude, double& azimuth) {
    altitude = ArcSinDegrees(SinDegrees(latitude) * SinDegrees(dec) +
                             CosDegrees(latitude) * CosDegrees(dec) * CosDegrees(hourAngleDegrees));
    const double east = -CosDegrees(dec) * SinDegrees(hourAngleDegrees);
    const double north =
        CosDegrees(latitude) * SinDegrees(dec) - SinDegrees(latitude) * CosDegrees(dec) * CosDegrees(hourAngleDegrees);
    const double angle = ArcTan2Degrees(east, north);
    azimuth = angle < 0.0 ? angle + 360.0 : std::abs(angle);  // due north is 0, not -0
}

void RaDecToAltAz(double latitude, double siderealTime, double ra, double dec, double& altitude, double& azimuth) {
    HaDecToAltAz(latitude, NormalizeDegrees180((siderealTime - ra) * 15.0), dec, altitude, azimuth);
}

}  // namespace kestrane
