#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "platform/message_pump.h"
#include "support/virtual_clock.h"

namespace kestrane {

/// The message pump on virtual time. Stops run first, other calls and ticks in the order in which they fell due,
/// then in that of their creation. A timer whose tick pumps may fire again inside it. It keeps its rhythm as long as no
/// tick was missed, and starts anew after one was. What a call raises goes through to whoever pumped.
class VirtualPump final : public MessagePump {
public:
    explicit VirtualPump(VirtualClock& clock) : clock_(clock) {}
    /// All timers must be gone by now.
    ~VirtualPump() override;

    void Post(CallKind kind, std::function<void()> call) override;
    void PumpMessages() override;
    void PumpStops() override;
    bool OvertakenByStop() const override { return nesting_ > 0 && runningNumber_ < lastStop_; }
    std::unique_ptr<PumpTimer> CreateTimer(std::function<void()> onTick) override;

    /// The outermost loop for so many milliseconds: runs everything that falls due on the way, at its due time or,
    /// where another call held it up, right after that. Not for use inside a call.
    void AdvanceTime(std::int64_t milliseconds);
    /// Runs a call now, as if the outermost loop had started it.
    void Run(CallKind kind, const std::function<void()>& call);
    /// Queues a call that falls due at a later time, in milliseconds since the start of the clock.
    void PostAt(std::int64_t elapsedMs, CallKind kind, std::function<void()> call);

    /// Calls and ticks that are running, one inside the other.
    int Nesting() const { return nesting_; }
    /// Explicit pumps so far, for tests of what must not pump.
    int Pumps() const { return pumps_; }
    /// When the next thing falls due, in milliseconds since the start of the clock; nothing when all is quiet.
    std::optional<std::int64_t> NextDue();

private:
    class Timer;
    /// When it falls due, then its place in the order of creation.
    using Place = std::pair<std::int64_t, std::uint64_t>;
    struct PostedCall {
        Place place;
        CallKind kind;
        std::function<void()> call;
    };
    struct TimerState {
        Place place;
        std::function<void()> onTick;
        std::int32_t intervalMs = 0;
        bool enabled = false;
        bool Armed() const { return enabled && intervalMs > 0; }
    };
    /// What a pump may start: due by then, and queued before.
    struct Horizon {
        std::int64_t dueMs;
        std::uint64_t numberEnd;
    };

    bool MayStart(CallKind kind) const;
    Horizon HorizonNow();
    std::uint64_t TakeNumber();
    bool RunNext(const Horizon& horizon);
    bool RunStop(const Horizon& horizon);
    void RunDue();
    std::optional<PostedCall> TakePosted(const Horizon& horizon, std::optional<Place> before, bool stopsOnly = false);
    std::shared_ptr<TimerState> FirstTimer(const Horizon& horizon) const;
    void RunTick(TimerState& timer);
    void RunCall(CallKind kind, std::uint64_t number, const std::function<void()>& call);

    VirtualClock& clock_;
    std::mutex mutex_;  ///< guards the next two
    std::vector<PostedCall> posted_;
    std::uint64_t nextNumber_ = 0;
    std::vector<std::shared_ptr<TimerState>> timers_;
    int nesting_ = 0;
    int briefNesting_ = 0;
    std::uint64_t runningNumber_ = 0;
    std::uint64_t lastStop_ = 0;
    int pumps_ = 0;
};

}  // namespace kestrane
