#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "platform/clock.h"

namespace kestrane {

/// A clock that stays at one time until somebody sleeps or a test moves it. At the start it is 2024-03-05 20:00:00
/// local time, one hour ahead of UTC, without daylight time.
class VirtualClock final : public Clock {
public:
    /// Useful ticks to start from: zero, a minute before the sign change, a minute before the wrap to 0.
    static constexpr Tick kZero{0};
    static constexpr Tick kBeforeSignChange = Tick{INT32_MAX} - 60'000;
    static constexpr Tick kBeforeWrap = Tick{0} - 60'000;

    explicit VirtualClock(Tick firstTick = kZero);

    Tick GetTickCount() override { return first_ + static_cast<std::int32_t>(static_cast<std::uint32_t>(elapsedMs_)); }
    DateTime GetLocalTime() override;
    /// Moves time on; only events whose time comes are run.
    void Sleep(std::int32_t milliseconds) override;
    /// A sleep in which the reads that `VirtualPump::PostAt` posts meanwhile run at once.
    void SleepWithReads(std::int32_t milliseconds) override;
    double TimeZoneOffset() override;
    DateTime DateLocalToUTC(const DateTime& local) override;
    DateTime DateUTCToLocal(const DateTime& utc) override;

    /// Milliseconds since the start, which the tick count gives only modulo 2^32.
    std::int64_t Elapsed() const { return elapsedMs_; }
    /// Time never goes backwards.
    void MoveTo(std::int64_t elapsedMs);

    /// Runs an event as soon as the time is `elapsedMs` (at once when it is later already), even in the middle of a
    /// sleep: it stands for what happens outside the driver. Events of one time run in the order of these calls. An
    /// event must not let time pass.
    void At(std::int64_t elapsedMs, std::function<void()> event);
    /// When the next event comes, in milliseconds since the start.
    std::optional<std::int64_t> NextEvent() const;
    void DropEvents() { events_.clear(); }

    /// While one lives, the logic thread waits in a way that lets cached reads in.
    class LetsReadsIn {
    public:
        explicit LetsReadsIn(VirtualClock& clock) : clock_(clock) { ++clock_.letsReadsIn_; }
        ~LetsReadsIn() { --clock_.letsReadsIn_; }
        LetsReadsIn(const LetsReadsIn&) = delete;
        LetsReadsIn& operator=(const LetsReadsIn&) = delete;

    private:
        VirtualClock& clock_;
    };
    bool ReadsGetIn() const { return letsReadsIn_ > 0; }

    /// Sets the tick count of now; the time of day stays.
    void SetTick(Tick now) { first_ = first_ + (now - GetTickCount()); }
    /// Called in each sleep, after its time has passed; an empty function ends that.
    void OnSleep(std::function<void(std::int32_t milliseconds)> onSleep) { onSleep_ = std::move(onSleep); }
    /// Sets the present local time, in the zone as it is.
    void SetLocalTime(const DateTime& local);
    /// UTC minus local standard time, in hours; the present local time changes with it.
    void SetZone(double hours) { zoneHours_ = hours; }
    /// Local time is one hour ahead of standard time from one moment in UTC until just before another.
    void SetDaylightTime(const DateTime& fromUtc, const DateTime& toUtc);
    DateTime Utc() const;

private:
    DateTime LocalOf(std::int64_t utcMs) const;
    double OffsetAtUtc(std::int64_t utcMs) const;

    std::function<void(std::int32_t)> onSleep_;
    int letsReadsIn_ = 0;
    Tick first_;
    std::int64_t elapsedMs_ = 0;
    std::multimap<std::int64_t, std::function<void()>> events_;  ///< events to come, by their time
    std::int64_t utcAtStartMs_;
    double zoneHours_ = -1.0;
    std::int64_t daylightFromMs_ = 0;
    std::int64_t daylightToMs_ = 0;
};

}  // namespace kestrane
