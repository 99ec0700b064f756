#include "alpaca/parameter_values.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>

#include "kernel/base/text.h"

namespace kestrane::alpaca {
namespace {

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

/// Takes the parts of a text off its front. When one of them is missing, the whole text has the wrong form.
class PartReader {
public:
    explicit PartReader(std::string_view text) : rest_(text) {}

    /// A number of exactly `digits` digits.
    int Number(std::size_t digits) {
        int value = 0;
        for (; digits > 0; --digits) {
            value = value * 10 + Digit();
        }
        return value;
    }
    void Expect(char character) { good_ = Take(character) && good_; }
    /// A character that may be missing.
    bool Take(char character) {
        const bool there = !rest_.empty() && rest_.front() == character;
        rest_.remove_prefix(there ? 1 : 0);
        return there;
    }
    void Skip(std::size_t count) { rest_.remove_prefix(std::min(count, rest_.size())); }
    /// The digits of a fraction of a second, at least one; what is below a millisecond is cut off.
    int Milliseconds() {
        int milliseconds = 100 * Digit();
        for (int place = 10; DigitIsNext(); place /= 10) {
            milliseconds += place * Digit();
        }
        return milliseconds;
    }
    /// Whether every part was there, and nothing is left.
    bool IsAtGoodEnd() const { return good_ && rest_.empty(); }

private:
    bool DigitIsNext() const { return !rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9'; }
    int Digit() {
        if (!DigitIsNext()) {
            good_ = false;
            return 0;
        }
        const int digit = rest_.front() - '0';
        rest_.remove_prefix(1);
        return digit;
    }

    std::string_view rest_;
    bool good_ = true;
};

bool Exists(const DateTime& date) {
    using namespace std::chrono;
    const year_month_day day(year(date.year), month(static_cast<unsigned>(date.month)),
                             std::chrono::day(static_cast<unsigned>(date.day)));
    return date.year >= 1 && day.ok() && date.hour <= 23 && date.minute <= 59 && date.second <= 59;
}

}  // namespace

std::uint32_t ParseId(const std::string* text) {
    return text == nullptr ? 0 : FromWholeText<std::uint32_t>(*text).value_or(0);
}

std::optional<bool> ParseBoolean(std::string_view text) {
    const std::string lower = ToLower(text);
    return lower == "true" || lower == "false" ? std::optional(lower == "true") : std::nullopt;
}

std::optional<std::int32_t> ParseInteger(std::string_view text) {
    return FromWholeText<std::int32_t>(WithoutPlus(text));
}

std::optional<double> ParseNumber(std::string_view text) {
    const std::optional<double> number = FromWholeText<double>(WithoutPlus(text));
    return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<DateTime> ParseUtcDate(std::string_view text) {
    PartReader reader(text);
    DateTime date;
    date.year = reader.Number(4);
    reader.Expect('-');
    date.month = reader.Number(2);
    reader.Expect('-');
    date.day = reader.Number(2);
    reader.Expect('T');
    date.hour = reader.Number(2);
    reader.Expect(':');
    date.minute = reader.Number(2);
    reader.Expect(':');
    date.second = reader.Number(2);
    if (reader.Take('.')) {
        date.millisecond = reader.Milliseconds();
    }
    if (text.ends_with("+00:00")) {
        reader.Skip(std::string_view("+00:00").size());
    } else {
        reader.Take('Z');
    }
    return reader.IsAtGoodEnd() && Exists(date) ? std::optional(date) : std::nullopt;
}

}  // namespace kestrane::alpaca
