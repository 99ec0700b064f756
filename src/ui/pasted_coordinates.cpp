#include "ui/pasted_coordinates.h"

#include <array>
#include <charconv>
#include <regex>
#include <string>
#include <utility>
#include <vector>

namespace kestrane {
namespace {

constexpr std::size_t kLongestText = 200;
constexpr double kSixty = 60.0;
constexpr double kDegreesInAnHour = 15.0;

struct Number {
    bool negative = false;
    bool hasSign = false;
    bool hasFraction = false;
    char unit = ' ';  ///< what stands behind it
    double value = 0.0;
};
using Numbers = std::vector<Number>;

/// The signs that people copy, as those that they type.
std::string InAscii(std::string_view text) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 9> kSigns{{
        {"\xC2\xB0", "d"},       // degrees
        {"\xC2\xA0", " "},       // a blank that does not break
        {"\xE2\x80\xB2", "'"},   // minutes
        {"\xE2\x80\xB3", "\""},  // seconds
        {"\xE2\x88\x92", "-"},   // minus
        {"\xE2\x80\x93", "-"},   // a dash
        {"\xCA\xB0", "h"},       // raised letters
        {"\xE1\xB5\x90", "m"},
        {"\xCB\xA2", "s"},
    }};
    std::string ascii(text);
    for (const auto& [sign, letter] : kSigns) {
        for (std::size_t at = ascii.find(sign); at != std::string::npos; at = ascii.find(sign, at)) {
            ascii.replace(at, sign.size(), letter);
        }
    }
    return ascii;
}

/// Names of coordinates and of their epoch; a single letter is a unit.
std::string WithoutWords(const std::string& text) {
    static const std::regex kWords(R"(\(?\b(?:[JB](?:1950|2000)(?:\.0)?|[A-Za-z]{2,})\b\)?\s*[.:=]?)");
    return std::regex_replace(text, kWords, " ");
}

/// Nothing where anything but numbers and what stands between them is found.
std::optional<Numbers> NumbersOf(const std::string& text) {
    static const std::regex kNumber(R"(([+-]?)\s*(\d{1,5}\.\d*|\d{1,5},\d+|\d{1,5})\s*([hHdDmMsS:*'"/;,]*)\s*)");
    Numbers numbers;
    auto at = text.cbegin();
    for (std::smatch match; at != text.cend(); at = match[0].second) {
        if (!std::regex_search(at, text.cend(), match, kNumber, std::regex_constants::match_continuous)) {
            return std::nullopt;
        }
        Number& number = numbers.emplace_back();
        number.hasSign = match[1].length() > 0;
        number.negative = match[1] == "-";
        number.unit = match[3].length() > 0 ? *match[3].first : ' ';
        std::string digits = match[2];
        const std::size_t point = digits.find_first_of(".,");
        if (point != std::string::npos) {
            number.hasFraction = true;
            digits[point] = '.';
        }
        std::from_chars(digits.data(), digits.data() + digits.size(), number.value);
    }
    return numbers;
}

/// How many numbers the first coordinate has; 0 where the text is not two coordinates.
std::size_t NumbersOfFirst(const Numbers& numbers) {
    for (std::size_t at = 1; at < numbers.size(); ++at) {
        if (numbers[at].hasSign) {
            const bool isUnclear = at == 1 && numbers.size() > 2 && !numbers[0].hasFraction && numbers[0].unit == ' ';
            return isUnclear ? 0 : at;  // "5 -30 0" is a slip of the pen
        }
    }
    const bool isOneCoordinate = numbers.size() == 2 && !numbers[0].hasFraction;
    return numbers.size() % 2 != 0 || isOneCoordinate ? 0 : numbers.size() / 2;
}

std::optional<double> AngleOf(Numbers::const_iterator begin, Numbers::const_iterator end) {
    constexpr std::ptrdiff_t kMostNumbers = 3;
    if (end - begin < 1 || end - begin > kMostNumbers) {
        return std::nullopt;
    }
    double angle = 0.0;
    double part = 1.0;
    for (auto number = begin; number != end; ++number, part /= kSixty) {
        const bool isFirst = number == begin;
        const bool isLast = number + 1 == end;
        if ((number->hasFraction && !isLast) || (!isFirst && (number->hasSign || number->value >= kSixty))) {
            return std::nullopt;
        }
        angle += number->value * part;
    }
    return begin->negative ? -angle : angle;
}

}  // namespace

std::optional<CoordinatePair> PairOfText(std::string_view text, FirstAngle angle) {
    if (text.size() > kLongestText) {
        return std::nullopt;
    }
    const std::string plain = WithoutWords(InAscii(text));
    const std::size_t begin = plain.find_first_not_of(" \t\r\n");
    const std::optional<Numbers> numbers = begin == std::string::npos ? std::nullopt : NumbersOf(plain.substr(begin));
    const std::size_t split = numbers ? NumbersOfFirst(*numbers) : 0;
    if (split == 0) {
        return std::nullopt;
    }
    const auto second = numbers->begin() + static_cast<std::ptrdiff_t>(split);
    std::optional<double> ofFirst = AngleOf(numbers->begin(), second);
    const std::optional<double> ofSecond = AngleOf(second, numbers->end());
    if (!ofFirst || !ofSecond) {
        return std::nullopt;
    }
    const char unit = numbers->front().unit;
    const bool isInDegrees = angle == FirstAngle::Hours && split == 1 && unit != 'h' && unit != 'H';
    return CoordinatePair{isInDegrees ? *ofFirst / kDegreesInAnHour : *ofFirst, *ofSecond};
}

}  // namespace kestrane
