// What a mount, or noise on the line, may send back.

#include "kernel/base/conversions.h"
#include "link/companion_wrap.h"
#include "state/reply_predicates.h"
#include "support.h"

namespace {

using namespace kestrane;
using fuzz::Require;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::KeptLog kept;
    kept.messages.clear();
    Log& log = kept.log;
    const std::string_view text = fuzz::TextOf(data, size);
    if (IsRaReply(text, log)) {
        const double hours = ProtocolHours(text, log);
        Require(hours >= 0.0 && hours < 24.0, "a right ascension is below 24 h");
    }
    if (IsAzReply(text, log)) {
        const double degrees = ProtocolDegrees(text, log);
        Require(degrees >= 0.0 && degrees < 360.0, "an azimuth is below 360 degrees");
    }
    IsDecReply(text, log);
    if (IsMeridianReply(text, log)) {
        const double hours = ProtocolHours(text, log);
        Require(hours > -24.0 && hours < 24.0, "a meridian delay is below a day");
    }
    if (IsTimeReply(text, log)) {
        Require(TimeOfReply(text).size() <= 8, "eight characters of a local time count");
    }
    if (IsTimeZoneReply(text, log)) {
        Require(text.size() >= 10, "a time zone has a fraction of a second");
        const double hours = ProtocolHours(text, log);
        Require(hours >= -24.0 && hours <= 24.0, "a time zone is within a day");
    }
    std::int16_t integer = 0;
    if (TryParseInteger(text, integer)) {
        Require(IsAllDigits(text) || text.empty() || text[0] == '+' || text[0] == '-',
                "an integer is digits and a sign");
    }
    const CompanionReply companion = SplitCompanionReply(text);
    Require(companion.result.size() <= text.size(), "a companion's result is a part of its reply");
    WrapForCompanion(text, size % 2 == 0, 7);
    return 0;
}
