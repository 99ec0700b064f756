#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <utility>

#include "platform/clock.h"

namespace kestrane {

/// The machine's clocks: ticks from the steady one, dates from the system one. A change of the zone (`TZ`, or the
/// system's zone while `TZ` is not set) takes effect at the next call. Conversions keep the milliseconds of a date.
class PosixClock final : public Clock {
public:
    /// `letReadsIn` runs the cached reads that wait; empty for a program without a pump.
    explicit PosixClock(std::function<void()> letReadsIn = {}) : letReadsIn_(std::move(letReadsIn)) {}

    /// A cached read waits no longer than this, in milliseconds, while the logic thread waits for something else.
    static constexpr std::int32_t kReadSliceMs = 2;

    Tick GetTickCount() override;
    DateTime GetLocalTime() override;
    void Sleep(std::int32_t milliseconds) override;
    void SleepWithReads(std::int32_t milliseconds) override;

    double TimeZoneOffset() override;
    /// When a local time occurs twice (clocks set back), the later one is meant, which is in standard time. A local
    /// time that was skipped (clocks set forward) is read by the rules before the change.
    DateTime DateLocalToUTC(const DateTime& local) override;
    DateTime DateUTCToLocal(const DateTime& utc) override;

    /// The tick of a time on the steady clock: its milliseconds, folded into signed 32 bits.
    static Tick TickAt(std::chrono::steady_clock::time_point time);
    /// The date and time in UTC, taken from the system clock without the detour over local time.
    static DateTime GetUtcTime();

private:
    const std::function<void()> letReadsIn_;
};

}  // namespace kestrane
