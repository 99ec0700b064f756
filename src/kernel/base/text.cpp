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

}  // namespace

std::string_view TrueFalse(bool value) {
    return value ? "True" : "False";
}

std::string PlainNumber(double value) {
    if (value == 0.0) {
        return "0";  // also for a negative zero
    }
    std::array<char, 32> buffer{};
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
