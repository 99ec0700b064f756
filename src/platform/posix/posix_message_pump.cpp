#include "platform/posix/posix_message_pump.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace kestrane {

class PosixMessagePump::Timer final : public PumpTimer {
public:
    Timer(PosixMessagePump& pump, std::shared_ptr<TimerState> state) : pump_(pump), state_(std::move(state)) {}

    ~Timer() override {
        state_->enabled = false;
        std::erase(pump_.timers_, state_);
    }

    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    void SetInterval(std::int32_t milliseconds) override {
        assert(milliseconds >= 0);
        const std::chrono::milliseconds interval(milliseconds);
        if (interval == state_->interval) {
            return;
        }
        state_->interval = interval;
        StartAnew();
    }

    void SetEnabled(bool enabled) override {
        if (enabled == state_->enabled) {
            return;
        }
        state_->enabled = enabled;
        StartAnew();
    }

private:
    void StartAnew() { state_->due = pump_.now_() + state_->interval; }

    PosixMessagePump& pump_;
    std::shared_ptr<TimerState> state_;
};

PosixMessagePump::PosixMessagePump(FaultHandler onFault, TimeSource now)
    : onFault_(std::move(onFault)), now_(std::move(now)) {
    assert(onFault_ && now_);
}

PosixMessagePump::~PosixMessagePump() {
    assert(timers_.empty());
    assert(nesting_ == 0);
}

void PosixMessagePump::Post(CallKind kind, std::function<void()> call) {
    assert(call);
    {
        const std::lock_guard lock(mutex_);
        posted_.push_back({kind, now_(), nextNumber_++, std::move(call)});
    }
    wake_.notify_one();
}

void PosixMessagePump::PumpMessages() {
    const Horizon horizon = HorizonNow();
    while (RunNext(horizon)) {
    }
}

void PosixMessagePump::PumpStops() {
    const Horizon horizon = HorizonNow();
    while (RunStop(horizon)) {
    }
}

std::unique_ptr<PumpTimer> PosixMessagePump::CreateTimer(std::function<void()> onTick) {
    assert(onTick);
    auto state = std::make_shared<TimerState>();
    state->onTick = std::move(onTick);
    state->number = TakeNumber();
    timers_.push_back(state);
    return std::make_unique<Timer>(*this, std::move(state));
}

void PosixMessagePump::Run() {
    assert(nesting_ == 0);
    const auto quitting = [this] {
        const std::lock_guard lock(mutex_);
        return quit_;
    };
    while (!quitting()) {
        if (!RunNext(HorizonNow())) {
            WaitUntilSomethingIsDue();
        }
    }
}

void PosixMessagePump::Quit() {
    {
        const std::lock_guard lock(mutex_);
        quit_ = true;
    }
    wake_.notify_one();
}

bool PosixMessagePump::MayStart(CallKind kind) const {
    return nesting_ < kMaxNesting && (kind != CallKind::WaitsLong || briefNesting_ == 0);
}

PosixMessagePump::Horizon PosixMessagePump::HorizonNow() {
    const std::lock_guard lock(mutex_);
    return {now_(), nextNumber_};
}

bool PosixMessagePump::RunStop(const Horizon& horizon) {
    std::unique_lock lock(mutex_);
    const auto stop = std::ranges::find_if(posted_, [&](const PostedCall& call) {
        return call.kind == CallKind::Stop && call.number < horizon.numberEnd && MayStart(call.kind);
    });
    if (stop == posted_.end()) {
        return false;
    }
    RunPosted(std::move(lock), stop);
    return true;
}

void PosixMessagePump::RunPosted(std::unique_lock<std::mutex> lock, std::deque<PostedCall>::iterator posted) {
    const PostedCall call = std::move(*posted);
    posted_.erase(posted);
    lock.unlock();
    RunCall(call.kind, call.number, call.call);
}

std::uint64_t PosixMessagePump::TakeNumber() {
    const std::lock_guard lock(mutex_);
    return nextNumber_++;
}

/// Runs a stop, or else the earliest of what is due and may start; false when there is nothing.
bool PosixMessagePump::RunNext(const Horizon& horizon) {
    if (RunStop(horizon)) {
        return true;
    }
    const std::shared_ptr<TimerState> timer = FirstTimer(horizon);
    std::unique_lock lock(mutex_);
    const auto posted = FirstPosted(horizon);
    if (posted == posted_.end()) {
        lock.unlock();
        if (!timer) {
            return false;
        }
        RunTick(*timer);
        return true;
    }
    if (timer && std::pair(timer->due, timer->number) < std::pair(posted->due, posted->number)) {
        lock.unlock();
        RunTick(*timer);
        return true;
    }
    RunPosted(std::move(lock), posted);
    return true;
}

std::deque<PosixMessagePump::PostedCall>::iterator PosixMessagePump::FirstPosted(const Horizon& horizon) {
    return std::ranges::find_if(
        posted_, [&](const PostedCall& call) { return call.number < horizon.numberEnd && MayStart(call.kind); });
}

std::shared_ptr<PosixMessagePump::TimerState> PosixMessagePump::FirstTimer(const Horizon& horizon) const {
    if (!MayStart(CallKind::Brief)) {
        return nullptr;
    }
    std::shared_ptr<TimerState> first;
    for (const auto& timer : timers_) {
        const bool due = timer->Armed() && timer->due <= horizon.due;
        if (due && (!first || timer->due < first->due)) {
            first = timer;
        }
    }
    return first;
}

void PosixMessagePump::RunTick(TimerState& timer) {
    // The rhythm is kept as long as no tick was missed; after that it starts anew.
    const TimePoint now = now_();
    timer.due = timer.due + timer.interval > now ? timer.due + timer.interval : now + timer.interval;
    RunCall(CallKind::Brief, TakeNumber(), timer.onTick);
}

void PosixMessagePump::RunCall(CallKind kind, std::uint64_t number, const std::function<void()>& call) {
    const int brief = kind == CallKind::WaitsLong ? 0 : 1;
    const std::uint64_t outerNumber = std::exchange(runningNumber_, number);
    if (kind == CallKind::Stop) {
        lastStop_ = std::max(lastStop_, number);
    }
    nesting_ += 1;
    briefNesting_ += brief;
    try {
        call();
    } catch (...) {
        onFault_(std::current_exception());
    }
    nesting_ -= 1;
    briefNesting_ -= brief;
    runningNumber_ = outerNumber;
}

/// Sleeps on the outermost loop, where everything that is due may start.
void PosixMessagePump::WaitUntilSomethingIsDue() {
    const std::optional<TimePoint> nextTick = NextTick();
    const auto awake = [this] { return quit_ || !posted_.empty(); };
    std::unique_lock lock(mutex_);
    if (nextTick) {
        wake_.wait_for(lock, *nextTick - now_(), awake);
    } else {
        wake_.wait(lock, awake);
    }
}

std::optional<PosixMessagePump::TimePoint> PosixMessagePump::NextTick() const {
    std::optional<TimePoint> next;
    for (const auto& timer : timers_) {
        if (timer->Armed() && (!next || timer->due < *next)) {
            next = timer->due;
        }
    }
    return next;
}

}  // namespace kestrane
