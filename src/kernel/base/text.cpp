#include "kernel/base/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "kernel/base/errors.h"

namespace kestrane {
namespace {

constexpr int kSignificantDigits = 15;

constexpr char LowerChar(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
constexpr char UpperChar(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

std::string Mapped(std::string_view text, char (*map)(char)) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), map);
    return result;
}

/// All significant digits of the number without an exponent; empty when it would need more than 15 places on a side.
std::string FixedNumber(double value) {
    if (!std::isfinite(value)) {
        return {};
    }
    std::array<char, 32> buffer{};
    const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::abs(value),
                                       std::chars_format::scientific, kSignificantDigits - 1);
    const std::string_view text(buffer.data(), static_cast<std::size_t>(written.ptr - buffer.data()));
    const std::size_t mark = text.find('e');
    int exponent = 0;
    std::from_chars(text.data() + mark + (text[mark + 1] == '+' ? 2 : 1), text.data() + text.size(), exponent);
    if (exponent < -kSignificantDigits || exponent >= kSignificantDigits) {
        return {};
    }
    std::string digits = std::string(text.substr(0, 1)).append(text.substr(2, mark - 2));
    if (exponent < 0) {
        digits.insert(0, static_cast<std::size_t>(-exponent), '0');
    }
    const std::size_t whole = exponent < 0 ? 1 : static_cast<std::size_t>(exponent) + 1;
    const std::size_t end = std::max(digits.find_last_not_of('0') + 1, whole);
    std::string number = (value < 0.0 ? "-" : "") + digits.substr(0, whole);
    return end > whole ? number.append(".").append(digits.substr(whole, end - whole)) : number;
}

}  // namespace

std::string_view TrueFalse(bool value) {
    return value ? "True" : "False";
}

std::string PlainNumber(double value) {
    if (value == 0.0) {
        return "0";  // also for a negative zero
    }
    std::array<char, 32> buffer{};
    if (const std::string fixed = FixedNumber(value); !fixed.empty()) {
        return fixed;
    }
    const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general,
                                       kSignificantDigits);
    return ToUpper(std::string_view(buffer.data(), static_cast<std::size_t>(written.ptr - buffer.data())));
}

std::int32_t RoundHalfEven(double value) {
    double rounded = std::floor(value);
    const double fraction = value - rounded;
    if (fraction > 0.5 || (fraction == 0.5 && std::fmod(rounded, 2.0) != 0.0)) {
        rounded += 1.0;
    }
    constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
    if (!(rounded >= kLowest && rounded <= kHighest)) {  // also for what is no number
        throw RunTimeError(RunTimeError::kOverflow, "Overflow");
    }
    return static_cast<std::int32_t>(rounded);
}

std::string Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

std::string ToLower(std::string_view text) {
    return Mapped(text, LowerChar);
}

std::string ToUpper(std::string_view text) {
    return Mapped(text, UpperChar);
}

std::string ReplaceAll(std::string_view text, std::string_view what, std::string_view with) {
    if (what.empty()) {
        return std::string(text);
    }
    std::string result;
    result.reserve(text.size());
    std::size_t from = 0;
    for (std::size_t at = text.find(what); at != std::string_view::npos; at = text.find(what, from)) {
        result.append(text.substr(from, at - from)).append(with);
        from = at + what.size();
    }
    return result.append(text.substr(from));
}

}  // namespace kestrane
