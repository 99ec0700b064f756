// Numbers as text: what settings, clients and replies of the mount hold. Both the plain number and the two protocol
// forms, under a locale with a decimal point and under one with a comma.

#include "kernel/base/conversions.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cmath>
#include <cstring>
#include <locale.h>

#include "support.h"

namespace {

using namespace kestrane;
using fuzz::Require;

/// A locale of this thread while it lives.
class ThreadLocale {
public:
    explicit ThreadLocale(locale_t locale) : before_(::uselocale(locale)) {}
    ~ThreadLocale() { ::uselocale(before_); }
    ThreadLocale(const ThreadLocale&) = delete;
    ThreadLocale& operator=(const ThreadLocale&) = delete;

private:
    locale_t before_;
};

/// The locale with a decimal comma that the build made; the run is worthless without it.
locale_t CommaLocale() {
    ::setenv("LOCPATH", KESTRANE_LOCALE_FOLDER, 1);
    Require(std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr, "there is a locale with a decimal comma");
    Require(!UsesDecimalPoint(), "that locale has a decimal comma");
    const locale_t locale = ::duplocale(LC_GLOBAL_LOCALE);  // newlocale would lose some of its memory
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
    const ThreadLocale inForce(locale);
    Require(!UsesDecimalPoint(), "the copy has a decimal comma");
    return locale;
}

std::string_view WithoutBlanks(std::string_view text) {
    while (text.starts_with(' ')) {
        text.remove_prefix(1);
    }
    while (text.ends_with(' ')) {
        text.remove_suffix(1);
    }
    return text;
}

struct Expected {
    double value = 0.0;
    std::size_t errors = 0;
};

/// The number of a text by one walk over its characters.
Expected NaiveNumber(std::string_view text) {
    text = WithoutBlanks(text);
    const bool minus = text.find('-') != std::string_view::npos;
    if (minus || text.find('+') != std::string_view::npos) {
        text.remove_prefix(1);
    }
    if (text.empty()) {
        return {};
    }
    std::array<long double, 2> sums{};
    std::array<bool, 2> broken{};
    std::array<std::size_t, 2> lengths{};
    std::size_t part = 0;
    long double place = 1.0L;
    for (const char c : text) {
        if (c == '.' || c == ',') {
            ++part;
            continue;
        }
        if (part > 1) {
            continue;
        }
        ++lengths[part];
        broken[part] = broken[part] || c < '0' || c > '9';
        if (broken[part]) {
            continue;
        }
        if (part == 0) {
            sums[0] = sums[0] * 10.0L + static_cast<long double>(c - '0');
        } else {
            place /= 10.0L;
            sums[1] += place * static_cast<long double>(c - '0');
        }
    }
    Expected expected;
    expected.errors += broken[0] || lengths[0] == 0 ? 1U : 0U;
    expected.errors += part > 0 && (broken[1] || lengths[1] == 0) ? 1U : 0U;
    expected.errors += part > 1 ? 1U : 0U;
    // More than a double holds counts as nothing.
    const double whole = static_cast<double>(sums[0]);
    expected.value = (std::isfinite(whole) ? whole : 0.0) + static_cast<double>(sums[1]);
    expected.value = minus ? -expected.value : expected.value;
    return expected;
}

bool Alike(double a, double b) {
    return std::abs(a - b) <= 1e-12 * std::max(1.0, std::abs(b));
}

void CheckNumber(std::string_view text, fuzz::KeptLog& kept) {
    kept.messages.clear();
    const double value = Val_Global(text, kept.log);
    const Expected expected = NaiveNumber(text);
    Require(std::isfinite(value), "Val_Global gives a finite number");
    Require(Alike(value, expected.value), "Val_Global gives what the characters say");
    Require(kept.messages.size() == expected.errors, "Val_Global logs each bad part once");
    Require(Val_US(text, kept.log) == value, "Val_US is Val_Global");
    std::string commas(text);
    std::ranges::replace(commas, '.', ',');
    Require(Val_Global(commas, kept.log) == value, "a comma is a point");
    Require(Val_Global("  " + commas + " ", kept.log) == value, "blanks around a number do not count");
}

/// Text to number, for either protocol form.
using Parser = bool (*)(std::string_view text, double& value, Log& log);

std::string HoursText(double hours) {
    return HoursToHMS(hours, ":", ":", "", 6);
}
std::string DegreesText(double degrees) {
    return DegreesToDMS(degrees, "*", ":", "", 6);
}

struct Form {
    Parser parse;
    std::string (*format)(double);
    double (*value)(std::string_view, Log&);
};

void CheckFormatted(double value, const Form& form, Log& log) {
    constexpr double kExact = 1.0e5;  // up to here the text holds all that the comparison asks for
    if (!(std::abs(value) < kExact)) {
        return;
    }
    double again = 0.0;
    Require(form.parse(form.format(value), again, log), "a formatted value can be read");
    Require(std::abs(again - value) < 1.0e-9, "a formatted value is read as what it was");
}

void CheckProtocol(std::string_view text, const Form& form, fuzz::KeptLog& kept) {
    double value = 0.0;
    const bool right = form.parse(text, value, kept.log);
    Require(std::isfinite(value), "the protocol forms give a finite number");
    Require(form.value(text, kept.log) == value, "the form without a flag gives the same number");
    double again = 0.0;
    Require(form.parse(" " + std::string(text) + " ", again, kept.log) == right && again == value,
            "blanks around it do not count");
    if (!right) {
        return;
    }
    CheckFormatted(value, form, kept.log);
    const std::string_view bare = WithoutBlanks(text);
    if (!bare.starts_with('-') && !bare.starts_with('+')) {
        Require(form.parse("-" + std::string(bare), again, kept.log) && again == -value, "a minus sign negates");
        Require(form.parse("+" + std::string(bare), again, kept.log) && again == value, "a plus sign does not count");
        if (bare.find('-') == std::string_view::npos && bare.find_first_of("eE") == std::string_view::npos) {
            Require(value >= 0.0, "no minus sign, no negative value");
            const double whole = NaiveNumber(bare.substr(0, bare.find_first_of(":*"))).value;
            Require(value >= whole && value - whole < 1.0 + 1e-12 * whole,
                    "minutes and seconds are less than one unit");
        }
    }
}

/// The answers of all parsers to one text.
struct Answers {
    double number = 0.0;
    double hours = 0.0;
    double degrees = 0.0;
    bool isNumeric = false;
    bool isHours = false;
    bool isDegrees = false;
    std::string formatted;

    bool operator==(const Answers&) const = default;
};

Answers AnswersTo(std::string_view text, Log& log) {
    Answers answers;
    answers.number = Val_Global(text, log);
    answers.isNumeric = IsNumericText(text);
    answers.isHours = ParseProtocolHours(text, answers.hours, log);
    answers.isDegrees = ParseProtocolDegrees(text, answers.degrees, log);
    answers.formatted = FormatUs(answers.number, "0.0##") + HoursText(answers.hours) + DegreesText(answers.degrees);
    return answers;
}

constexpr Form kHours{ParseProtocolHours, HoursText, ProtocolHours};
constexpr Form kDegrees{ParseProtocolDegrees, DegreesText, ProtocolDegrees};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::KeptLog kept;
    static const locale_t comma = CommaLocale();
    const std::string_view text = fuzz::TextOf(data, size);

    CheckNumber(text, kept);
    kept.messages.clear();
    double hours = 0.0;
    const bool right = ParseProtocolHours(text, hours, kept.log);
    const auto isFault = [](const std::string& error) { return error.starts_with("Conversion error: "); };
    Require(std::ranges::count_if(kept.messages, isFault) == (right ? 0 : 1), "a fault of the hours is logged once");
    CheckProtocol(text, kHours, kept);
    CheckProtocol(text, kDegrees, kept);

    const Answers withPoint = AnswersTo(text, kept.log);
    {
        const ThreadLocale inForce(comma);
        Require(AnswersTo(text, kept.log) == withPoint, "no locale has a say");
    }

    double any = 0.0;
    if (size >= sizeof any) {
        std::memcpy(&any, data, sizeof any);
        CheckFormatted(any, kHours, kept.log);
        CheckFormatted(any, kDegrees, kept.log);
    }
    return 0;
}
