// What a mount, or noise on the line, may send back.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "kernel/base/conversions.h"
#include "kernel/base/counters.h"
#include "link/companion_wrap.h"
#include "state/reply_predicates.h"

namespace {

using namespace kestrane;

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// The parsers log their faults; here the log is off and needs no time.
class NoTime final : public Clock {
public:
    Tick GetTickCount() override { return {}; }
    DateTime GetLocalTime() override { return {}; }
    void Sleep(std::int32_t) override {}
    double TimeZoneOffset() override { return 0.0; }
    DateTime DateLocalToUTC(const DateTime& local) override { return local; }
    DateTime DateUTCToLocal(const DateTime& utc) override { return utc; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static NoTime clock;
    static LogState logState;
    static Log log(logState, clock);
    static CounterState counterState;
    static Counters counters(counterState, log);
    counters.Reset();

    const std::string_view text(reinterpret_cast<const char*>(data), size);
    double value = 0.0;
    if (ParseProtocolHours(text, value, log)) {
        Require(std::isfinite(value));
    }
    if (ParseProtocolDegrees(text, value, log)) {
        Require(std::isfinite(value));
    }
    if (IsRaReply(text, log)) {
        const double hours = ProtocolHours(text, log);
        Require(hours >= 0.0 && hours < 24.0);
    }
    if (IsAzReply(text, log)) {
        const double degrees = ProtocolDegrees(text, log);
        Require(degrees >= 0.0 && degrees < 360.0);
    }
    IsDecReply(text, log);
    Val_Global(text, log);
    std::int16_t integer = 0;
    TryParseInteger(text, integer);

    AlarmFilter filter(counters);
    std::string reply(text);
    Require(filter.FilterAlarms(reply).size() + 3 >= text.size());
    const CompanionReply companion = SplitCompanionReply(text);
    Require(companion.result.size() <= text.size());
    WrapForCompanion(text, size % 2 == 0, 7);
    return 0;
}
