#include "server/parameter_values.h"

#include <charconv>
#include <cmath>

#include "server/request_parameters.h"

namespace kestrane::server {
namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view WithoutPlus(std::string_view text) {
    const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-';
    return plus ? text.substr(1) : text;
}

template <typename Number>
std::optional<Number> FromWholeText(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

/// Takes exactly `digits` digits off the front of `text`; -1 when they are not there.
int TakeDigits(std::string_view& text, std::size_t digits) {
    int value = 0;
    if (text.size() < digits) {
        return -1;
    }
    for (std::size_t i = 0; i < digits; ++i) {
        if (!IsDigit(text[i])) {
            return -1;
        }
        value = value * 10 + (text[i] - '0');
    }
    text.remove_prefix(digits);
    return value;
}

bool TakeCharacter(std::string_view& text, char character) {
    if (text.empty() || text.front() != character) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

/// Takes the digits of a fraction and gives its milliseconds; nothing when there is no digit.
std::optional<int> TakeFraction(std::string_view& text) {
    int milliseconds = 0;
    int place = 100;
    if (text.empty() || !IsDigit(text.front())) {
        return std::nullopt;
    }
    while (!text.empty() && IsDigit(text.front())) {
        milliseconds += (text.front() - '0') * place;
        place /= 10;
        text.remove_prefix(1);
    }
    return milliseconds;
}

int DaysOfMonth(int year, int month) {
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    if (month == 2) {
        return leap ? 29 : 28;
    }
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

bool Exists(const DateTime& date) {
    return date.year >= 1 && date.month >= 1 && date.month <= 12 && date.day >= 1 &&
           date.day <= DaysOfMonth(date.year, date.month) && date.hour >= 0 && date.hour <= 23 && date.minute >= 0 &&
           date.minute <= 59 && date.second >= 0 && date.second <= 59;
}

}  // namespace

std::uint32_t ParseId(const std::string* text) {
    return text == nullptr ? 0 : FromWholeText<std::uint32_t>(*text).value_or(0);
}

std::optional<bool> ParseBoolean(std::string_view text) {
    if (EqualInAnyCase(text, "true")) {
        return true;
    }
    if (EqualInAnyCase(text, "false")) {
        return false;
    }
    return std::nullopt;
}

std::optional<std::int32_t> ParseInteger(std::string_view text) {
    return FromWholeText<std::int32_t>(WithoutPlus(text));
}

std::optional<double> ParseNumber(std::string_view text) {
    const std::optional<double> number = FromWholeText<double>(WithoutPlus(text));
    return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<DateTime> ParseUtcDate(std::string_view text) {
    DateTime date;
    date.year = TakeDigits(text, 4);
    const bool firstDash = TakeCharacter(text, '-');
    date.month = TakeDigits(text, 2);
    const bool secondDash = TakeCharacter(text, '-');
    date.day = TakeDigits(text, 2);
    const bool separator = TakeCharacter(text, 'T');
    date.hour = TakeDigits(text, 2);
    const bool firstColon = TakeCharacter(text, ':');
    date.minute = TakeDigits(text, 2);
    const bool secondColon = TakeCharacter(text, ':');
    date.second = TakeDigits(text, 2);
    if (TakeCharacter(text, '.')) {
        const std::optional<int> fraction = TakeFraction(text);
        if (!fraction) {
            return std::nullopt;
        }
        date.millisecond = *fraction;
    }
    TakeCharacter(text, 'Z');
    const bool shaped = firstDash && secondDash && separator && firstColon && secondColon && text.empty();
    return shaped && Exists(date) ? std::optional(date) : std::nullopt;
}

}  // namespace kestrane::server
