#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "platform/message_pump.h"

namespace kestrane {

/// The time that a pump measures due times by, and how its outermost loop sleeps.
class PumpTime {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual ~PumpTime() = default;

    /// Never goes backwards. Called from every thread that posts; must not enter the pump.
    virtual TimePoint Now() = 0;
    /// Sleeps until a time, or without a time until `Wake`. A `Wake` ends the sleep early, also one that came since the
    /// last sleep; the sleep may also end early for no reason. Logic thread only.
    virtual void SleepUntil(std::optional<TimePoint> end) = 0;
    /// May be called from any thread.
    virtual void Wake() = 0;
};

/// The message pump on any source of time: which call may start where, in what order, and when timers fire. The thread
/// that pumps is the logic thread; `Post` and `Quit` may be called from any thread, everything else only there.
///
/// Stops run first, then ticks of prompt timers, then reads; other calls and ticks run in the order in which they
/// became due, then in the order in which they were created. A call that the nesting rules hold back keeps its place;
/// those that may start go ahead of it.
class PumpEngine final : public MessagePump {
public:
    using TimePoint = PumpTime::TimePoint;
    /// Gets each exception that escapes a call or a tick; the loop goes on. Runs on the logic thread and must not
    /// raise.
    using FaultHandler = std::function<void(std::exception_ptr)>;

    /// `time` must outlive the pump.
    PumpEngine(PumpTime& time, FaultHandler onFault);
    /// All timers must be gone by now. Calls that were never run are dropped.
    ~PumpEngine() override;

    PumpEngine(const PumpEngine&) = delete;
    PumpEngine& operator=(const PumpEngine&) = delete;

    void Post(CallKind kind, std::function<void()> call) override;
    void PumpMessages() override;
    void PumpBriefly(std::int32_t milliseconds) override;
    void PumpForPerson() override;
    void PumpStops() override;
    void PumpPromptTicks() override;
    /// Runs the reads that were queued before, and nothing else: for the waits inside an exchange.
    void PumpReads();
    bool OvertakenByStop() const override { return nesting_ > 0 && running_.second < lastStop_; }
    std::unique_ptr<PumpTimer> CreateTimer(std::function<void()> onTick) override;
    std::unique_ptr<PumpTimer> CreatePromptTimer(std::function<void()> onTick) override;

    /// The outermost loop: runs what becomes due and sleeps in between, until `Quit`.
    void Run() { RunLoop(std::nullopt); }
    /// The outermost loop up to a time: what becomes due later waits, even when a call has run on past the end.
    void RunUntil(TimePoint end) { RunLoop(end); }
    /// Ends the outermost loop after the call that is running now, and leaves alone what is still queued; a loop that
    /// has not begun yet ends at once. Pumps inside the running call go on as usual; once the loop has ended, a pump
    /// runs nothing any more, since what posted the calls is being taken down. There is no way back. Idempotent.
    void Quit();

    /// When the next call or tick becomes due, or became due if it still waits; nothing when none is to come.
    std::optional<TimePoint> NextDue();

private:
    /// When it becomes due, then its number in the order of creation.
    using Place = std::pair<TimePoint, std::uint64_t>;
    struct PostedCall {
        Place place;
        CallKind kind;
        std::function<void()> call;
    };
    struct TimerState {
        std::function<void()> onTick;
        Place place;
        std::chrono::milliseconds interval{0};
        bool enabled = false;
        CallKind kind = CallKind::Brief;  ///< of its ticks
        std::uint32_t starts = 0;         ///< new beginnings of the interval; wraps

        bool Armed() const { return enabled && interval.count() > 0; }
    };
    class Timer;

    /// What a pump may still start: nothing that became due or was queued later than this.
    struct Horizon {
        TimePoint due;
        std::uint64_t numberEnd;
    };

    bool MayStart(CallKind kind) const;
    Horizon HorizonNow();
    std::uint64_t TakeNumber();
    void RunLoop(std::optional<TimePoint> end);
    bool Quitting();
    bool RunNext(const Horizon& horizon);
    bool RunFirst(CallKind kind, const Horizon& horizon);
    bool RunUrgent(const Horizon& horizon);
    bool RunPromptTick(const Horizon& horizon);
    std::unique_ptr<PumpTimer> MakeTimer(CallKind kind, std::function<void()> onTick);
    void PumpUntil(std::optional<TimePoint> end);
    template <class Suits>
    std::optional<PostedCall> TakePosted(const Horizon& horizon, const Suits& suits);
    std::shared_ptr<TimerState> FirstTimer(CallKind kind, const Horizon& horizon) const;
    void RunTick(TimerState& timer);
    void RunCall(CallKind kind, Place place, const std::function<void()>& call);

    PumpTime& time_;
    const FaultHandler onFault_;

    std::mutex mutex_;  ///< guards the next three
    std::deque<PostedCall> posted_;
    std::uint64_t nextNumber_ = 0;
    bool quit_ = false;

    std::vector<std::shared_ptr<TimerState>> timers_;  ///< in order of creation
    bool over_ = false;                                ///< the outermost loop has ended by `Quit`
    int nesting_ = 0;                                  ///< calls on the stack
    int briefNesting_ = 0;                             ///< the calls on the stack that do not wait long
    Place running_{};                                  ///< of the innermost call that runs
    std::uint64_t lastStop_ = 0;                       ///< the latest place in the queue of a stop that has run
};

}  // namespace kestrane
