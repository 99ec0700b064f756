#include "platform/posix/posix_clock.h"

#include <algorithm>
#include <ctime>
#include <thread>

namespace kestrane {
namespace {

constexpr std::time_t kDay = 24 * 60 * 60;

DateTime FromBroken(const std::tm& broken, int millisecond) {
    // A leap second has no place in DateTime.
    const int second = broken.tm_sec > 59 ? 59 : broken.tm_sec;
    return DateTime{
        broken.tm_year + 1900, broken.tm_mon + 1, broken.tm_mday, broken.tm_hour, broken.tm_min, second, millisecond};
}

/// Seconds since 1970 of a date read as UTC.
std::time_t SecondsOf(const DateTime& date) {
    std::tm broken{};
    broken.tm_year = date.year - 1900;
    broken.tm_mon = date.month - 1;
    broken.tm_mday = date.day;
    broken.tm_hour = date.hour;
    broken.tm_min = date.minute;
    broken.tm_sec = date.second;
    return timegm(&broken);
}

DateTime UtcOf(std::time_t seconds, int millisecond) {
    std::tm broken{};
    gmtime_r(&seconds, &broken);
    return FromBroken(broken, millisecond);
}

DateTime LocalOf(std::time_t seconds, int millisecond) {
    std::tm broken{};
    localtime_r(&seconds, &broken);
    return FromBroken(broken, millisecond);
}

/// Seconds that local time is ahead of UTC at a moment.
std::time_t OffsetAt(std::time_t seconds) {
    std::tm broken{};
    localtime_r(&seconds, &broken);
    return broken.tm_gmtoff;
}

struct SystemTime {
    std::time_t seconds;
    int millisecond;
};

SystemTime Now() {
    using std::chrono::floor, std::chrono::milliseconds, std::chrono::seconds;
    const auto now = std::chrono::system_clock::now();
    const auto whole = floor<seconds>(now);
    return {std::chrono::system_clock::to_time_t(whole), static_cast<int>(floor<milliseconds>(now - whole).count())};
}

}  // namespace

Tick PosixClock::GetTickCount() {
    return TickAt(std::chrono::steady_clock::now());
}

DateTime PosixClock::GetLocalTime() {
    tzset();
    const SystemTime now = Now();
    return LocalOf(now.seconds, now.millisecond);
}

void PosixClock::Sleep(std::int32_t milliseconds) {
    if (milliseconds <= 0) {
        return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void PosixClock::SleepWithReads(std::int32_t milliseconds) {
    if (!letReadsIn_) {
        Sleep(milliseconds);
        return;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(std::max(milliseconds, 0));
    for (;;) {
        const auto slice = std::chrono::steady_clock::now() + std::chrono::milliseconds(kReadSliceMs);
        if (slice >= end) {
            std::this_thread::sleep_until(end);
            return;
        }
        std::this_thread::sleep_until(slice);
        letReadsIn_();
    }
}

double PosixClock::TimeZoneOffset() {
    tzset();
    return static_cast<double>(-OffsetAt(Now().seconds)) / 3600.0;
}

DateTime PosixClock::DateLocalToUTC(const DateTime& local) {
    tzset();
    // mktime resolves an ambiguous time by what it was asked before. Trying the offsets of a day earlier and of a day
    // later gives the same result each time.
    const std::time_t asUtc = SecondsOf(local);
    const std::time_t offsetBefore = OffsetAt(asUtc - kDay);
    const std::time_t offsetAfter = OffsetAt(asUtc + kDay);
    const bool afterHolds = OffsetAt(asUtc - offsetAfter) == offsetAfter;
    return UtcOf(asUtc - (afterHolds ? offsetAfter : offsetBefore), local.millisecond);
}

DateTime PosixClock::DateUTCToLocal(const DateTime& utc) {
    tzset();
    return LocalOf(SecondsOf(utc), utc.millisecond);
}

Tick PosixClock::TickAt(std::chrono::steady_clock::time_point time) {
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
    return Tick{static_cast<std::int32_t>(static_cast<std::uint32_t>(milliseconds))};
}

DateTime PosixClock::GetUtcTime() {
    const SystemTime now = Now();
    return UtcOf(now.seconds, now.millisecond);
}

}  // namespace kestrane
