// A site's position text: from the settings file, an older version's list of sites, or a user's typing.

#include "settings/site_text.h"

#include <algorithm>
#include <cmath>

#include "kernel/base/conversions.h"
#include "kernel/base/errors.h"
#include "support.h"

namespace {

using namespace kestrane;
using fuzz::Require;

std::string_view WithoutZeros(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of('0'), text.size()));
}

std::vector<std::string> Fields(std::string_view text) {
    std::vector<std::string> fields(1);
    for (const char c : text) {
        if (c == ' ') {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    return fields;
}

void CheckPadding(std::string_view text) {
    for (std::size_t width = 0; width <= 5; ++width) {
        const std::string padded = PadWithZeros(text, width);
        Require(padded.size() >= width, "a padded text has its width");
        Require(WithoutZeros(padded) == WithoutZeros(text), "only leading zeros come and go");
        Require(padded.size() == width || WithoutZeros(text) == padded, "a longer text has lost all its leading zeros");
        Require(PadWithZeros(padded, width) == padded, "a padded text stays");
    }
}

void CheckNormalForm(const std::string& normal, const std::vector<std::string>& before, Log& log) {
    const std::vector<std::string> fields = Fields(normal);
    Require(fields.size() == 4, "the normal form has four fields");
    Require(fields[0] == before[0], "the letter stays");
    for (const std::size_t i : {std::size_t{1}, std::size_t{2}}) {
        Require(fields[i] == PadWithZeros(before[i], 2), "degrees and minutes are padded, no more");
    }
    const std::string& seconds = fields[3];
    Require(seconds.size() >= 4 && seconds[seconds.size() - 2] == '.', "the seconds have the form 00.0");
    Require(std::ranges::count(seconds, '.') == 1, "the seconds have one point");
    const double given = Val_Global(before[3], log);
    Require(std::abs(Val_Global(seconds, log) - given) <= 0.05 + 1e-9 + 1e-14 * std::abs(given),
            "the seconds are rounded to a tenth");
    Require(NormalizeSiteText(normal, log) == normal, "the normal form stays");
}

/// The numbers of the fields by themselves, as far as they are of a sensible length.
void CheckDegrees(std::string_view text, const std::vector<std::string>& fields, Log& log) {
    const double south = SiteTextDegrees(text, "S", log);
    const bool isSouth = fields[0] == "S" || fields[0] == "s";
    Require(isSouth ? south <= 0.0 : south >= 0.0, "only the letter makes a position negative");
    constexpr std::size_t kSensible = 12;
    if (std::ranges::any_of(fields, [](const std::string& field) { return field.size() > kSensible; })) {
        return;
    }
    const auto seconds = [&](std::size_t i) { return std::abs(Val_Global(fields[i], log)); };
    const double expected = seconds(1) * 3600.0 + seconds(2) * 60.0 + seconds(3);
    Require(std::abs(std::abs(south) * 3600.0 - expected) <= 1e-12 * expected, "the degrees are those of the fields");
    if (std::ranges::any_of(fields, [](const std::string& field) { return field.find_first_of("+-") != field.npos; })) {
        return;  // a sign takes the first character away, which may be one that the padding took already
    }
    const double normal = SiteTextDegrees(NormalizeSiteText(text, log), "S", log);
    Require(std::abs(normal - south) * 3600.0 <= 0.05 + 1e-9 + 1e-12 * expected,
            "the normal form is the same place to a tenth of a second");
}

/// Two blanks in a row, which shift the fields after them.
bool IsShifted(const std::vector<std::string>& fields) {
    for (std::size_t i = 1; i < 4 && i + 1 < fields.size(); ++i) {
        if (fields[i].empty()) {
            return true;
        }
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::KeptLog kept;
    kept.messages.clear();
    const std::string_view text = fuzz::TextOf(data, size);
    CheckPadding(text);
    const std::vector<std::string> fields = Fields(text);
    const bool isPosition = fields.size() >= 4 && !IsShifted(fields);
    try {
        const std::string normal = NormalizeSiteText(text, kept.log);
        Require(isPosition, "a text without its four fields has no normal form");
        CheckNormalForm(normal, fields, kept.log);
        CheckDegrees(text, fields, kept.log);
    } catch (const RunTimeError& error) {
        Require(!isPosition, "a text with four fields has a normal form");
        Require(error.Number() == RunTimeError::kSubscriptOutOfRange, "a missing field is told by its number");
    }
    return 0;
}
