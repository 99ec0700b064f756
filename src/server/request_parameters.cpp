#include "server/request_parameters.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace kestrane::server {
namespace {

char LowerCharacter(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

int HexDigit(char c) {
    if (IsDigit(c)) {
        return c - '0';
    }
    const char lower = LowerCharacter(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
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

RequestTarget SplitTarget(std::string_view target) {
    const std::size_t mark = target.find('?');
    if (mark == std::string_view::npos) {
        return {target, {}};
    }
    std::string_view query = target.substr(mark + 1);
    while (TakeCharacter(query, '?')) {
    }
    return {target.substr(0, mark), query};
}

std::string DecodeForm(std::string_view encoded) {
    std::string decoded;
    decoded.reserve(encoded.size());
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        if (encoded[i] == '%' && i + 2 < encoded.size() && HexDigit(encoded[i + 1]) >= 0 &&
            HexDigit(encoded[i + 2]) >= 0) {
            decoded += static_cast<char>(HexDigit(encoded[i + 1]) * 16 + HexDigit(encoded[i + 2]));
            i += 2;
        } else {
            decoded += encoded[i] == '+' ? ' ' : encoded[i];
        }
    }
    return decoded;
}

std::optional<RequestParameters> RequestParameters::Parse(std::string_view encoded) {
    RequestParameters result;
    while (!encoded.empty()) {
        const std::size_t end = std::min(encoded.find('&'), encoded.size());
        const std::string_view pair = encoded.substr(0, end);
        encoded.remove_prefix(std::min(end + 1, encoded.size()));
        if (pair.empty()) {
            continue;
        }
        if (result.parameters_.size() == kMostParameters) {
            return std::nullopt;
        }
        const std::size_t equals = std::min(pair.find('='), pair.size());
        result.parameters_.emplace_back(DecodeForm(pair.substr(0, equals)),
                                        DecodeForm(pair.substr(std::min(equals + 1, pair.size()))));
    }
    return result;
}

const std::string* RequestParameters::Find(std::string_view name, NameMatch match) const {
    for (const auto& [key, value] : parameters_) {
        if (match == NameMatch::Exact ? key == name : EqualInAnyCase(key, name)) {
            return &value;
        }
    }
    return nullptr;
}

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

bool EqualInAnyCase(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, [](char a, char b) { return LowerCharacter(a) == LowerCharacter(b); });
}

std::string Lowered(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(), LowerCharacter);
    return result;
}

}  // namespace kestrane::server
