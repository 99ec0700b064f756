#pragma once

#include <cstdint>

namespace kestrane {

/// A reading of the millisecond tick counter: signed 32 bits, wrapping about every 49.7 days. Two ticks are never
/// compared by value; their difference, taken modulo 2^32, is the time between them (up to 24.8 days).
struct Tick {
    std::int32_t value = 0;

    friend constexpr bool operator==(Tick, Tick) = default;
};

/// Milliseconds from `earlier` to `later`, right across the wrap of the counter.
constexpr std::int32_t operator-(Tick later, Tick earlier) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(later.value) -
                                     static_cast<std::uint32_t>(earlier.value));
}

/// The tick `milliseconds` after `tick` (before it, when negative).
constexpr Tick operator+(Tick tick, std::int32_t milliseconds) {
    return Tick{
        static_cast<std::int32_t>(static_cast<std::uint32_t>(tick.value) + static_cast<std::uint32_t>(milliseconds))};
}
constexpr Tick operator-(Tick tick, std::int32_t milliseconds) {
    return Tick{
        static_cast<std::int32_t>(static_cast<std::uint32_t>(tick.value) - static_cast<std::uint32_t>(milliseconds))};
}

/// A calendar date with the time of day; its time zone is stated where it is used.
struct DateTime {
    int year = 1970;
    int month = 1;        ///< 1 to 12
    int day = 1;          ///< 1 to 31
    int hour = 0;         ///< 0 to 23
    int minute = 0;       ///< 0 to 59
    int second = 0;       ///< 0 to 59
    int millisecond = 0;  ///< 0 to 999

    friend constexpr bool operator==(const DateTime&, const DateTime&) = default;
};

/// The only source of time in the driver. Used on the logic thread only.
class Clock {
public:
    virtual ~Clock() = default;

    virtual Tick GetTickCount() = 0;
    /// Local date and time by the system's zone, daylight time included.
    virtual DateTime GetLocalTime() = 0;
    /// Blocks the logic thread without pumping. Values of 0 and below return at once.
    virtual void Sleep(std::int32_t milliseconds) = 0;
    /// The same, but cached reads of clients run meanwhile (`CallKind::Read`).
    virtual void SleepWithReads(std::int32_t milliseconds) = 0;

    /// UTC minus local time in hours, now (New York in winter: +5).
    virtual double TimeZoneOffset() = 0;
    /// Conversions by the system's zone rules for the date given, not for today.
    virtual DateTime DateLocalToUTC(const DateTime& local) = 0;
    virtual DateTime DateUTCToLocal(const DateTime& utc) = 0;
};

}  // namespace kestrane
