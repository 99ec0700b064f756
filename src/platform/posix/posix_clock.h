#pragma once

#include <chrono>

#include "platform/clock.h"

namespace kestrane {

/// The machine's clocks: ticks from the steady one, dates from the system one. A zone change (`TZ`, or the system's
/// zone while `TZ` is not set) is taken up at the next call. Milliseconds of a date pass through conversions as they
/// are.
class PosixClock final : public Clock {
public:
    Tick GetTickCount() override;
    DateTime GetLocalTime() override;
    void Sleep(std::int32_t milliseconds) override;

    double TimeZoneOffset() override;
    /// Where a local time stands for two moments (clocks set back) the later one is meant, the one in standard time.
    /// A local time that was left out (clocks set forward) is read by the rules before the change.
    DateTime DateLocalToUTC(const DateTime& local) override;
    DateTime DateUTCToLocal(const DateTime& utc) override;

    /// The tick of a time on the steady clock: its milliseconds, folded into signed 32 bits.
    static Tick TickAt(std::chrono::steady_clock::time_point time);
    /// The date and time in UTC, taken from the system clock without the detour over local time.
    static DateTime GetUtcTime();
};

}  // namespace kestrane
