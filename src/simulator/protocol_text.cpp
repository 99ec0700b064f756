#include "simulator/protocol_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace kestrane::simulator {
namespace {

struct Sexagesimal {
    std::int64_t units = 0;
    std::int64_t minutes = 0;
    std::int64_t seconds = 0;
    std::int64_t fraction = 0;  // of a second, in the last digit written
};

std::int64_t PowerOfTen(int decimals) {
    std::int64_t power = 1;
    for (int i = 0; i < decimals; ++i) {
        power *= 10;
    }
    return power;
}

// Splits a value that is not negative; with `wrapUnits` above 0, a value that rounding brings up to it becomes 0.
Sexagesimal Split(double value, int decimals, std::int64_t wrapUnits) {
    const std::int64_t scale = PowerOfTen(decimals);
    std::int64_t total = std::llround(value * 3600.0 * static_cast<double>(scale));
    if (wrapUnits > 0) {
        total %= wrapUnits * 3600 * scale;
    }
    Sexagesimal parts;
    parts.fraction = total % scale;
    total /= scale;
    parts.seconds = total % 60;
    parts.minutes = total / 60 % 60;
    parts.units = total / 3600;
    return parts;
}

std::string Padded(std::int64_t value, int width) {
    std::string text = std::to_string(value);
    const auto wanted = static_cast<std::size_t>(width);
    if (text.size() < wanted) {
        text.insert(0, wanted - text.size(), '0');
    }
    return text;
}

std::string Text(const Sexagesimal& parts, int unitDigits, char unitMark, int decimals) {
    std::string text =
        Padded(parts.units, unitDigits) + unitMark + Padded(parts.minutes, 2) + ':' + Padded(parts.seconds, 2);
    if (decimals > 0) {
        text += '.' + Padded(parts.fraction, decimals);
    }
    return text;
}

double Folded(double value, double circle) {
    const double folded = std::fmod(value, circle);
    return folded < 0 ? folded + circle : folded;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Reads one text from left to right; when one step does not fit, the whole reading fails.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    std::optional<double> Digits(std::size_t least, std::size_t most) {
        std::size_t count = 0;
        double value = 0;
        while (count < most && count < rest_.size() && IsDigit(rest_[count])) {
            value = value * 10 + (rest_[count] - '0');
            ++count;
        }
        if (count < least) {
            return std::nullopt;
        }
        rest_.remove_prefix(count);
        return value;
    }
    bool Take(char c) {
        if (rest_.empty() || rest_.front() != c) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }
    // ".d..." if there is one; a point without a digit fails.
    std::optional<double> Fraction() {
        if (!Take('.')) {
            return 0.0;
        }
        double value = 0;
        double scale = 0.1;
        std::size_t count = 0;
        for (; count < rest_.size() && IsDigit(rest_[count]); ++count, scale /= 10) {
            value += scale * (rest_[count] - '0');
        }
        rest_.remove_prefix(count);
        return count == 0 ? std::nullopt : std::optional(value);
    }
    bool AtEnd() const { return rest_.empty(); }

private:
    std::string_view rest_;
};

// units, mark, MM:SS[.d...] up to the end.
std::optional<double> Angle(Scanner scanner, std::size_t leastDigits, std::size_t mostDigits, char mark) {
    const auto units = scanner.Digits(leastDigits, mostDigits);
    if (!units || !scanner.Take(mark)) {
        return std::nullopt;
    }
    const auto minutes = scanner.Digits(2, 2);
    if (!minutes || *minutes > 59 || !scanner.Take(':')) {
        return std::nullopt;
    }
    const auto seconds = scanner.Digits(2, 2);
    const auto fraction = scanner.Fraction();
    if (!seconds || *seconds > 59 || !fraction || !scanner.AtEnd()) {
        return std::nullopt;
    }
    return *units + *minutes / 60.0 + (*seconds + *fraction) / 3600.0;
}

std::optional<double> ShortHours(Scanner scanner) {
    const auto hours = scanner.Digits(2, 2);
    if (!hours || !scanner.Take(':')) {
        return std::nullopt;
    }
    const auto minutes = scanner.Digits(2, 2);
    const auto fraction = scanner.Fraction();
    if (!minutes || *minutes > 59 || !fraction || !scanner.AtEnd()) {
        return std::nullopt;
    }
    return *hours + (*minutes + *fraction) / 60.0;
}

}  // namespace

std::string HoursText(double hours, int decimals) {
    return Text(Split(Folded(hours, 24), decimals, 24), 2, ':', decimals);
}

std::string ShortHoursText(double hours) {
    const std::int64_t tenths = std::llround(Folded(hours, 24) * 600.0) % 14400;
    return Padded(tenths / 600, 2) + ':' + Padded(tenths / 10 % 60, 2) + '.' + Padded(tenths % 10, 1);
}

std::string OffsetText(double hours) {
    const std::string text = Text(Split(std::abs(hours), 1, 0), 2, ':', 1);
    const bool negative = hours < 0 && text != "00:00:00.0";
    return negative ? '-' + text : text;
}

std::string SignedDegreesText(double degrees, int decimals) {
    const std::string text = Text(Split(std::abs(degrees), decimals, 0), 2, '*', decimals);
    const bool negative = degrees < 0 && text.find_first_of("123456789") != std::string::npos;
    return (negative ? '-' : '+') + text;
}

std::string CircleText(double degrees, int decimals) {
    return Text(Split(Folded(degrees, 360), decimals, 360), 3, '*', decimals);
}

std::string ShortSignedDegreesText(double degrees) {
    const std::int64_t minutes = std::llround(std::abs(degrees) * 60.0);
    return (degrees < 0 && minutes != 0 ? "-" : "+") + Padded(minutes / 60, 2) + '*' + Padded(minutes % 60, 2);
}

std::string ShortCircleText(double degrees) {
    const std::int64_t minutes = std::llround(Folded(degrees, 360) * 60.0) % 21600;
    return Padded(minutes / 60, 3) + '*' + Padded(minutes % 60, 2);
}

std::string NumberText(double value) {
    std::array<char, 32> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return {buffer.data(), result.ptr};
}

std::optional<double> ParseHours(std::string_view text) {
    auto hours = Angle(Scanner(text), 2, 2, ':');
    if (!hours) {
        hours = ShortHours(Scanner(text));
    }
    return hours && *hours < 24 ? hours : std::nullopt;
}

std::optional<double> ParseOffset(std::string_view text) {
    const bool negative = text.starts_with('-');
    text.remove_prefix(negative ? 1 : 0);
    const auto hours = Angle(Scanner(text), 1, 2, ':');
    if (!hours || *hours >= 24) {
        return std::nullopt;
    }
    return negative ? -*hours : *hours;
}

std::optional<double> ParseSignedDegrees(std::string_view text) {
    if (!text.starts_with('+') && !text.starts_with('-')) {
        return std::nullopt;
    }
    const auto degrees = Angle(Scanner(text.substr(1)), 2, 2, '*');
    if (!degrees || *degrees > 90) {
        return std::nullopt;
    }
    return text.front() == '-' ? -*degrees : *degrees;
}

std::optional<double> ParseCircle(std::string_view text, bool mayBeNegative) {
    const bool negative = mayBeNegative && text.starts_with('-');
    text.remove_prefix(negative ? 1 : 0);
    const auto degrees = Angle(Scanner(text), 3, 3, '*');
    if (!degrees || *degrees > (negative ? 180 : 360)) {
        return std::nullopt;
    }
    return negative ? -*degrees : *degrees;
}

std::optional<double> ParseNumber(std::string_view text) {
    const bool negative = text.starts_with('-');
    text.remove_prefix(negative ? 1 : 0);
    Scanner scanner(text);
    const auto whole = scanner.Digits(1, 9);
    const auto fraction = scanner.Fraction();
    if (!whole || !fraction || !scanner.AtEnd()) {
        return std::nullopt;
    }
    const double value = *whole + *fraction;
    return negative ? -value : value;
}

std::optional<int> ParseInteger(std::string_view text) {
    Scanner scanner(text);
    const auto value = scanner.Digits(1, 9);
    if (!value || !scanner.AtEnd()) {
        return std::nullopt;
    }
    return static_cast<int>(*value);
}

}  // namespace kestrane::simulator
