#include "platform/pump_engine.h"

#include <algorithm>
#include <cassert>

namespace kestrane {

namespace {

constexpr std::chrono::milliseconds kLongestDelay{150};  // of a call that still pumps briefly

}  // namespace

class PumpEngine::Timer final : public PumpTimer {
public:
    Timer(PumpEngine& pump, std::shared_ptr<TimerState> state) : pump_(pump), state_(std::move(state)) {}

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
    void StartAnew() {
        state_->place.first = pump_.time_.Now() + state_->interval;
        ++state_->starts;
    }

    PumpEngine& pump_;
    std::shared_ptr<TimerState> state_;
};

PumpEngine::PumpEngine(PumpTime& time, FaultHandler onFault) : time_(time), onFault_(std::move(onFault)) {
    assert(onFault_);
}

PumpEngine::~PumpEngine() {
    assert(timers_.empty());
    assert(nesting_ == 0);
}

void PumpEngine::Post(CallKind kind, std::function<void()> call) {
    assert(call);
    {
        const std::lock_guard lock(mutex_);
        posted_.push_back({{time_.Now(), nextNumber_++}, kind, std::move(call)});
    }
    time_.Wake();
}

void PumpEngine::PumpMessages() {
    PumpUntil(std::nullopt);
}

void PumpEngine::PumpBriefly(std::int32_t milliseconds) {
    const TimePoint now = time_.Now();
    if (nesting_ > 0 && now - running_.first > kLongestDelay) {
        PumpStops();
    } else {
        PumpUntil(now + std::chrono::milliseconds(milliseconds));
    }
}

void PumpEngine::PumpForPerson() {
    const int brief = std::exchange(briefNesting_, 0);
    PumpMessages();
    briefNesting_ = brief;
}

void PumpEngine::PumpUntil(std::optional<TimePoint> end) {
    if (over_) {
        return;
    }
    const Horizon horizon = HorizonNow();
    do {
        // These may have come since the pump began: a stop must not wait for more than the call that runs.
        PumpStops();
    } while ((!end || time_.Now() <= *end) && RunNext(horizon));
}

void PumpEngine::PumpStops() {
    if (over_) {
        return;
    }
    const Horizon horizon = HorizonNow();
    while (RunUrgent(horizon)) {
    }
}

void PumpEngine::PumpPromptTicks() {
    if (over_) {
        return;
    }
    const Horizon horizon = HorizonNow();
    while (RunPromptTick(horizon)) {
    }
}

void PumpEngine::PumpReads() {
    if (over_) {
        return;
    }
    const Horizon horizon = HorizonNow();
    while (RunFirst(CallKind::Read, horizon)) {
    }
}

std::unique_ptr<PumpTimer> PumpEngine::CreateTimer(std::function<void()> onTick) {
    return MakeTimer(CallKind::Brief, std::move(onTick));
}

std::unique_ptr<PumpTimer> PumpEngine::CreatePromptTimer(std::function<void()> onTick) {
    return MakeTimer(CallKind::StopsOne, std::move(onTick));
}

std::unique_ptr<PumpTimer> PumpEngine::MakeTimer(CallKind kind, std::function<void()> onTick) {
    assert(onTick);
    auto state = std::make_shared<TimerState>();
    state->kind = kind;
    state->onTick = std::move(onTick);
    state->place.second = TakeNumber();
    timers_.push_back(state);
    return std::make_unique<Timer>(*this, std::move(state));
}

void PumpEngine::Quit() {
    {
        const std::lock_guard lock(mutex_);
        quit_ = true;
    }
    time_.Wake();
}

std::optional<PumpEngine::TimePoint> PumpEngine::NextDue() {
    std::optional<TimePoint> next;
    for (const auto& timer : timers_) {
        if (timer->Armed() && (!next || timer->place.first < *next)) {
            next = timer->place.first;
        }
    }
    const std::lock_guard lock(mutex_);
    if (!posted_.empty() && (!next || posted_.front().place.first < *next)) {
        next = posted_.front().place.first;
    }
    return next;
}

bool PumpEngine::MayStart(CallKind kind) const {
    switch (kind) {
        case CallKind::Stop:
        case CallKind::StopsOne:
        case CallKind::Read:
            return true;
        case CallKind::WaitsLong:
            return nesting_ < kMaxLongNesting && briefNesting_ == 0;
        case CallKind::Press:
            return nesting_ < kMaxNesting && briefNesting_ == 0;
        case CallKind::Brief:
            break;
    }
    return nesting_ < kMaxNesting;
}

PumpEngine::Horizon PumpEngine::HorizonNow() {
    const std::lock_guard lock(mutex_);
    return {time_.Now(), nextNumber_};
}

std::uint64_t PumpEngine::TakeNumber() {
    const std::lock_guard lock(mutex_);
    return nextNumber_++;
}

bool PumpEngine::Quitting() {
    const std::lock_guard lock(mutex_);
    return quit_;
}

void PumpEngine::RunLoop(std::optional<TimePoint> end) {
    assert(nesting_ == 0 && "the outermost loop is not for use inside a call");
    while (!Quitting()) {
        Horizon horizon = HorizonNow();
        const bool over = end && horizon.due >= *end;
        if (over) {
            horizon.due = *end;
        }
        if (RunNext(horizon)) {
            continue;
        }
        if (over) {
            return;
        }
        // All that is due may start here, so what is left becomes due later.
        const std::optional<TimePoint> next = NextDue();
        time_.SleepUntil(next && end ? std::min(*next, *end) : next ? next : end);
    }
    over_ = true;
}

/// Runs what may start anywhere, or else the earliest of what is due and may start; false when there is nothing.
bool PumpEngine::RunNext(const Horizon& horizon) {
    if (RunUrgent(horizon)) {
        return true;
    }
    const std::shared_ptr<TimerState> timer =
        MayStart(CallKind::Brief) ? FirstTimer(CallKind::Brief, horizon) : nullptr;
    const std::optional<PostedCall> posted = TakePosted(
        horizon, [&](const PostedCall& call) { return MayStart(call.kind) && (!timer || call.place < timer->place); });
    if (posted) {
        RunCall(posted->kind, posted->place, posted->call);
    } else if (timer) {
        RunTick(*timer);
    }
    return posted || timer;
}

/// Runs a stop, or a tick of a prompt timer, or a read; false when there is none.
bool PumpEngine::RunUrgent(const Horizon& horizon) {
    return RunFirst(CallKind::Stop, horizon) || RunPromptTick(horizon) || RunFirst(CallKind::Read, horizon);
}

bool PumpEngine::RunPromptTick(const Horizon& horizon) {
    const std::shared_ptr<TimerState> timer = FirstTimer(CallKind::StopsOne, horizon);
    if (timer) {
        RunTick(*timer);
    }
    return timer != nullptr;
}

/// Runs the earliest call of a kind that may start anywhere; false when there is none. Both kinds of stops are one
/// here.
bool PumpEngine::RunFirst(CallKind kind, const Horizon& horizon) {
    const std::optional<PostedCall> first = TakePosted(horizon, [&](const PostedCall& call) {
        return call.kind == kind || (kind == CallKind::Stop && call.kind == CallKind::StopsOne);
    });
    if (first) {
        RunCall(first->kind, first->place, first->call);
    }
    return first.has_value();
}

/// Takes the earliest posted call that suits out of the queue.
template <class Suits>
std::optional<PumpEngine::PostedCall> PumpEngine::TakePosted(const Horizon& horizon, const Suits& suits) {
    const std::lock_guard lock(mutex_);
    const auto first = std::ranges::find_if(posted_, [&](const PostedCall& call) {
        return call.place.first <= horizon.due && call.place.second < horizon.numberEnd && suits(call);
    });
    if (first == posted_.end()) {
        return std::nullopt;
    }
    PostedCall taken = std::move(*first);
    posted_.erase(first);
    return taken;
}

/// The earliest timer that is due, of those whose ticks are of that kind; null when there is none.
std::shared_ptr<PumpEngine::TimerState> PumpEngine::FirstTimer(CallKind kind, const Horizon& horizon) const {
    std::shared_ptr<TimerState> first;
    for (const auto& timer : timers_) {
        const bool due = timer->kind == kind && timer->Armed() && timer->place.first <= horizon.due;
        if (due && (!first || timer->place < first->place)) {
            first = timer;
        }
    }
    return first;
}

void PumpEngine::RunTick(TimerState& timer) {
    const TimePoint now = time_.Now();
    const TimePoint due = timer.place.first;
    const TimePoint next = due + timer.interval;
    timer.place.first = next > now ? next : now + timer.interval;
    const std::uint32_t starts = timer.starts;
    RunCall(timer.kind, {due, TakeNumber()}, timer.onTick);
    const TimePoint end = time_.Now();
    if (timer.starts == starts && end - now > timer.interval) {
        timer.place.first = end + timer.interval;
    }
}

void PumpEngine::RunCall(CallKind kind, Place place, const std::function<void()>& call) {
    const int brief = kind == CallKind::WaitsLong ? 0 : 1;
    const Place outer = std::exchange(running_, place);
    if (kind == CallKind::Stop) {
        lastStop_ = std::max(lastStop_, place.second);
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
    running_ = outer;
}

}  // namespace kestrane
