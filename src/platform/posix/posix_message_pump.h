#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/message_pump.h"

namespace kestrane {

/// The pump of the real programs. The thread that calls `Run` (or, without it, `PumpMessages`) is the logic thread;
/// `Post` and `Quit` may be called from any thread, everything else only there.
///
/// Stops run first, other calls and ticks in the order in which they fell due, then in that of their creation. A call
/// that the nesting rules hold back keeps its place and is overtaken by those that may start. A timer whose tick is
/// running does not fire again until that tick has returned.
class PosixMessagePump final : public MessagePump {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    /// Told of an exception that escaped a call; the loop goes on. Runs on the logic thread and must not raise.
    using FaultHandler = std::function<void(std::exception_ptr)>;
    /// The time that due times are measured by; called from every thread that posts.
    using TimeSource = std::function<TimePoint()>;

    explicit PosixMessagePump(FaultHandler onFault, TimeSource now = std::chrono::steady_clock::now);
    /// All timers must be gone by now. Calls that were never run are dropped.
    ~PosixMessagePump() override;

    PosixMessagePump(const PosixMessagePump&) = delete;
    PosixMessagePump& operator=(const PosixMessagePump&) = delete;

    void Post(CallKind kind, std::function<void()> call) override;
    void PumpMessages() override;
    void PumpStops() override;
    bool OvertakenByStop() const override { return nesting_ > 0 && runningNumber_ < lastStop_; }
    std::unique_ptr<PumpTimer> CreateTimer(std::function<void()> onTick) override;

    /// The outermost loop: runs what falls due and sleeps in between, until `Quit`.
    void Run();
    /// Ends `Run` after the call that is running now, with what is still queued left alone; one that has not begun
    /// yet ends at once. Pumps inside the running call go on as usual. There is no way back. Idempotent.
    void Quit();

private:
    struct PostedCall {
        CallKind kind;
        TimePoint due;
        std::uint64_t number;
        std::function<void()> call;
    };
    struct TimerState {
        std::function<void()> onTick;
        std::uint64_t number = 0;
        std::chrono::milliseconds interval{0};
        bool enabled = false;
        TimePoint due{};

        bool Armed() const { return enabled && interval.count() > 0; }
    };
    class Timer;

    /// What a pump may still start: nothing that fell due or was queued later than this.
    struct Horizon {
        TimePoint due;
        std::uint64_t numberEnd;
    };

    bool MayStart(CallKind kind) const;
    Horizon HorizonNow();
    std::uint64_t TakeNumber();
    bool RunNext(const Horizon& horizon);
    bool RunStop(const Horizon& horizon);
    std::deque<PostedCall>::iterator FirstPosted(const Horizon& horizon);
    void RunPosted(std::unique_lock<std::mutex> lock, std::deque<PostedCall>::iterator posted);
    std::shared_ptr<TimerState> FirstTimer(const Horizon& horizon) const;
    void RunTick(TimerState& timer);
    void RunCall(CallKind kind, std::uint64_t number, const std::function<void()>& call);
    void WaitUntilSomethingIsDue();
    std::optional<TimePoint> NextTick() const;

    const FaultHandler onFault_;
    const TimeSource now_;

    std::mutex mutex_;  ///< guards the next four
    std::condition_variable wake_;
    std::deque<PostedCall> posted_;
    std::uint64_t nextNumber_ = 0;
    bool quit_ = false;

    std::vector<std::shared_ptr<TimerState>> timers_;  ///< in order of creation
    int nesting_ = 0;                                  ///< calls on the stack
    int briefNesting_ = 0;                             ///< those that are not long among them
    std::uint64_t runningNumber_ = 0;                  ///< place in the queue of the innermost call that runs
    std::uint64_t lastStop_ = 0;                       ///< the last place at which a stop that has run was queued
};

}  // namespace kestrane
