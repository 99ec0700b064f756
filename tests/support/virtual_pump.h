#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/message_pump.h"
#include "platform/pump_engine.h"
#include "support/virtual_clock.h"

namespace kestrane {

/// Virtual time for a pump: a sleep moves the clock, and ends with the next event of the clock at the latest.
class VirtualPumpTime final : public PumpTime {
public:
    explicit VirtualPumpTime(VirtualClock& clock) : clock_(clock) {}

    TimePoint Now() override { return TimePoint(std::chrono::milliseconds(clock_.Elapsed())); }
    void SleepUntil(std::optional<TimePoint> end) override;
    /// Does nothing: on one thread nobody can post while the loop goes to sleep.
    void Wake() override {}

    /// A time in milliseconds since the start of the clock.
    static std::int64_t Elapsed(TimePoint time) {
        return std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
    }

private:
    VirtualClock& clock_;
};

/// The pump engine on virtual time, on one thread. An exception of a call is kept as a fault. The end of the pump fails
/// a test that has not taken its faults, so that none is lost.
class VirtualPump final : public MessagePump {
public:
    explicit VirtualPump(VirtualClock& clock);
    /// All timers must be gone by now. Drops the events of the clock.
    ~VirtualPump() override;

    void Post(CallKind kind, std::function<void()> call) override;
    void PumpMessages() override;
    void PumpBriefly(std::int32_t milliseconds) override;
    void PumpForPerson() override;
    void PumpStops() override { engine_.PumpStops(); }
    void PumpPromptTicks() override { engine_.PumpPromptTicks(); }
    bool OvertakenByStop() const override { return engine_.OvertakenByStop(); }
    std::unique_ptr<PumpTimer> CreateTimer(std::function<void()> onTick) override;
    std::unique_ptr<PumpTimer> CreatePromptTimer(std::function<void()> onTick) override;

    /// The outermost loop for `milliseconds`: runs everything that becomes due on the way, at its due time, or directly
    /// after another call that held it up. Not for use inside a call.
    void AdvanceTime(std::int64_t milliseconds);
    /// Runs a call as the outermost loop does, after the calls that wait already. What it raises goes to the caller and
    /// is no fault.
    void Run(CallKind kind, const std::function<void()>& call);
    /// Posts a call when the time is `elapsedMs`, in milliseconds since the start of the clock, as another thread
    /// would: even in the middle of a sleep.
    void PostAt(std::int64_t elapsedMs, CallKind kind, std::function<void()> call);

    /// Number of explicit pumps so far, for tests that something must not pump.
    int Pumps() const { return pumps_; }
    /// When the next call or tick becomes due, in milliseconds since the start of the clock; nothing when none is to
    /// come.
    std::optional<std::int64_t> NextDue();
    /// The messages of the exceptions from calls and ticks since the last time: a test announces them by taking them.
    std::vector<std::string> TakeFaults() { return std::exchange(faults_, {}); }

private:
    VirtualClock& clock_;
    VirtualPumpTime time_{clock_};
    PumpEngine engine_;
    int pumps_ = 0;
    std::int64_t lastPostMs_ = 0;
    int postsAtOneTime_ = 0;
    std::vector<std::string> faults_;
};

}  // namespace kestrane
