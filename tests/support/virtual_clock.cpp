#include "support/virtual_clock.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <cmath>
#include <utility>

namespace kestrane {
namespace {

/// Milliseconds since 1970-01-01 00:00, in whichever zone the date is.
std::int64_t ToMilliseconds(const DateTime& date) {
    using namespace std::chrono;
    const sys_days day = year{date.year} / date.month / date.day;
    const milliseconds time = day.time_since_epoch() + hours{date.hour} + minutes{date.minute} + seconds{date.second} +
                              milliseconds{date.millisecond};
    return time.count();
}

DateTime FromMilliseconds(std::int64_t ms) {
    using namespace std::chrono;
    const sys_time<milliseconds> time{milliseconds{ms}};
    const sys_days day = floor<days>(time);
    const year_month_day date{day};
    const std::int64_t clock = (time - day).count();
    return {.year = static_cast<int>(date.year()),
            .month = static_cast<int>(static_cast<unsigned>(date.month())),
            .day = static_cast<int>(static_cast<unsigned>(date.day())),
            .hour = static_cast<int>(clock / 3'600'000),
            .minute = static_cast<int>(clock / 60'000 % 60),
            .second = static_cast<int>(clock / 1'000 % 60),
            .millisecond = static_cast<int>(clock % 1'000)};
}

std::int64_t HoursInMs(double hours) {
    return std::llround(hours * 3'600'000.0);
}

}  // namespace

VirtualClock::VirtualClock(Tick firstTick)
    : first_(firstTick), utcAtStartMs_(ToMilliseconds({.year = 2024, .month = 3, .day = 5, .hour = 19})) {}

DateTime VirtualClock::GetLocalTime() {
    return LocalOf(utcAtStartMs_ + elapsedMs_);
}

void VirtualClock::Sleep(std::int32_t milliseconds) {
    if (milliseconds > 0) {
        MoveTo(elapsedMs_ + milliseconds);
    }
    if (onSleep_) {
        onSleep_(milliseconds);
    }
}

void VirtualClock::SleepWithReads(std::int32_t milliseconds) {
    const LetsReadsIn reads(*this);
    Sleep(milliseconds);
}

double VirtualClock::TimeZoneOffset() {
    return OffsetAtUtc(utcAtStartMs_ + elapsedMs_);
}

DateTime VirtualClock::DateLocalToUTC(const DateTime& local) {
    // Daylight time is judged by the moment that the standard offset gives, which is right but for the hour of change.
    const std::int64_t localMs = ToMilliseconds(local);
    return FromMilliseconds(localMs + HoursInMs(OffsetAtUtc(localMs + HoursInMs(zoneHours_))));
}

DateTime VirtualClock::DateUTCToLocal(const DateTime& utc) {
    return LocalOf(ToMilliseconds(utc));
}

DateTime VirtualClock::LocalOf(std::int64_t utcMs) const {
    return FromMilliseconds(utcMs - HoursInMs(OffsetAtUtc(utcMs)));
}

void VirtualClock::MoveTo(std::int64_t elapsedMs) {
    assert(elapsedMs >= elapsedMs_);
    while (!events_.empty() && events_.begin()->first <= elapsedMs) {
        const auto event = events_.extract(events_.begin());
        elapsedMs_ = std::max(elapsedMs_, event.key());
        event.mapped()();
    }
    elapsedMs_ = elapsedMs;
}

void VirtualClock::At(std::int64_t elapsedMs, std::function<void()> event) {
    if (elapsedMs <= elapsedMs_) {
        event();
        return;
    }
    events_.emplace(elapsedMs, std::move(event));
}

std::optional<std::int64_t> VirtualClock::NextEvent() const {
    return events_.empty() ? std::nullopt : std::optional(events_.begin()->first);
}

void VirtualClock::SetLocalTime(const DateTime& local) {
    utcAtStartMs_ = ToMilliseconds(DateLocalToUTC(local)) - elapsedMs_;
}

void VirtualClock::SetDaylightTime(const DateTime& fromUtc, const DateTime& toUtc) {
    daylightFromMs_ = ToMilliseconds(fromUtc);
    daylightToMs_ = ToMilliseconds(toUtc);
}

DateTime VirtualClock::Utc() const {
    return FromMilliseconds(utcAtStartMs_ + elapsedMs_);
}

double VirtualClock::OffsetAtUtc(std::int64_t utcMs) const {
    const bool daylight = utcMs >= daylightFromMs_ && utcMs < daylightToMs_;
    return daylight ? zoneHours_ - 1.0 : zoneHours_;
}

}  // namespace kestrane
