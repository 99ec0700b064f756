// What a mount, or noise on the line, may send back.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

#include "kernel/base/conversions.h"
#include "link/companion_wrap.h"
#include "state/mount_replies.h"
#include "support.h"

namespace {

using namespace kestrane;
using fuzz::Require;

/// The integer of a text by its significant digits alone.
std::optional<std::int16_t> NaiveInteger(std::string_view text) {
    constexpr std::string_view kHighest = "32767";
    const bool minus = text.starts_with('-');
    if (minus || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    if (text.find_first_not_of("0123456789") != std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
    if (text.size() > kHighest.size() || (text.size() == kHighest.size() && text > kHighest)) {
        return std::nullopt;
    }
    std::int16_t magnitude = 0;
    std::from_chars(text.data(), text.data() + text.size(), magnitude);
    return static_cast<std::int16_t>(minus ? -magnitude : magnitude);
}

void CheckDeclination(std::string_view text, Log& log) {
    if (const auto degrees = ReadDecReply(text, log)) {
        // 90 degrees with minutes and seconds pass; the last of these may round up to 91.
        Require(std::abs(*degrees) <= 91.0, "a declination is below 91 degrees");
    }
}

void CheckInteger(std::string_view text) {
    constexpr std::int16_t kBefore = 4711;
    std::int16_t integer = kBefore;
    const bool parsed = TryParseInteger(text, integer);
    const std::optional<std::int16_t> naive = NaiveInteger(text);
    Require(parsed == naive.has_value(), "an integer is a sign and digits, and fits 16 bits");
    Require(integer == naive.value_or(kBefore), "an integer is what its digits say, and none leaves the value alone");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::KeptLog kept;
    kept.messages.clear();
    Log& log = kept.log;
    const std::string_view text = fuzz::TextOf(data, size);
    if (const auto hours = ReadRaReply(text, log)) {
        Require(*hours >= 0.0 && *hours < 24.0, "a right ascension is below 24 h");
    }
    if (const auto degrees = ReadAzReply(text, log)) {
        Require(*degrees >= 0.0 && *degrees < 360.0, "an azimuth is below 360 degrees");
    }
    CheckDeclination(text, log);
    if (const auto hours = ReadMeridianReply(text, log)) {
        Require(*hours > -24.0 && *hours < 24.0, "a meridian delay is below a day");
    }
    Require(ReadTimeReply(text, log) == ReadTimeReply(text.substr(0, 8), log),
            "eight characters of a local time count");
    if (const auto hours = ReadTimeZoneReply(text, log)) {
        Require(text.size() >= 10, "a time zone has a fraction of a second");
        Require(*hours >= -24.0 && *hours <= 24.0, "a time zone is within a day");
    }
    CheckInteger(text);
    const CompanionReply companion = SplitCompanionReply(text);
    Require(companion.result.size() <= text.size(), "a companion's result is a part of its reply");
    WrapForCompanion(text, 7);
    WrapRawForCompanion(text, 7);
    return 0;
}
