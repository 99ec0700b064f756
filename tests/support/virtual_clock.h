#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "platform/clock.h"

namespace kestrane {

/// A clock that stands still until somebody sleeps or a test moves it. At the start it is 2024-03-05 20:00:00 local
/// time, one hour ahead of UTC, without daylight time.
class VirtualClock final : public Clock {
public:
    /// Ticks worth starting from: none passed, a minute before the sign change, a minute before the wrap to 0.
    static constexpr Tick kZero{0};
    static constexpr Tick kBeforeSignChange = Tick{INT32_MAX} - 60'000;
    static constexpr Tick kBeforeWrap = Tick{0} - 60'000;

    explicit VirtualClock(Tick firstTick = kZero);

    Tick GetTickCount() override { return first_ + static_cast<std::int32_t>(static_cast<std::uint32_t>(elapsedMs_)); }
    DateTime GetLocalTime() override;
    /// Moves time on; nothing runs but the events whose time comes.
    void Sleep(std::int32_t milliseconds) override;
    double TimeZoneOffset() override;
    DateTime DateLocalToUTC(const DateTime& local) override;
    DateTime DateUTCToLocal(const DateTime& utc) override;

    /// Milliseconds since the start, which the tick count gives only modulo 2^32.
    std::int64_t Elapsed() const { return elapsedMs_; }
    /// Never backwards.
    void MoveTo(std::int64_t elapsedMs);

    /// Runs an event as soon as time has come to `elapsedMs` (at once when it has already), also in the midst of a
    /// sleep: what the rest of the world does meanwhile. Events of one time run in the order of these calls. An event
    /// must not let time pass.
    void At(std::int64_t elapsedMs, std::function<void()> event);
    /// When the next event comes, in milliseconds since the start.
    std::optional<std::int64_t> NextEvent() const;
    void DropEvents() { events_.clear(); }

    /// Sets what the tick count is now; the time of day stays.
    void SetTick(Tick now) { first_ = first_ + (now - GetTickCount()); }
    /// Runs in each sleep, after time has moved on by it; an empty function ends that.
    void OnSleep(std::function<void(std::int32_t milliseconds)> onSleep) { onSleep_ = std::move(onSleep); }
    /// Sets the local time of now, in the zone as it stands.
    void SetLocalTime(const DateTime& local);
    /// UTC minus local standard time, in hours; the local time now jumps with it.
    void SetZone(double hours) { zoneHours_ = hours; }
    /// Local time is one hour ahead of standard time from one moment of UTC up to below another.
    void SetDaylightTime(const DateTime& fromUtc, const DateTime& toUtc);
    DateTime Utc() const;

private:
    double OffsetAtUtc(std::int64_t utcMs) const;

    std::function<void(std::int32_t)> onSleep_;
    Tick first_;
    std::int64_t elapsedMs_ = 0;
    std::multimap<std::int64_t, std::function<void()>> events_;  ///< to come, by their time
    std::int64_t utcAtStartMs_;
    double zoneHours_ = -1.0;
    std::int64_t daylightFromMs_ = 0;
    std::int64_t daylightToMs_ = 0;
};

}  // namespace kestrane
