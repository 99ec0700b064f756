#include "support/virtual_pump.h"

#include <algorithm>
#include <cassert>

namespace kestrane {
namespace {

/// Runs without a step of time; more means that calls post each other for ever.
constexpr int kMostRunsAtOneTime = 1'000'000;

}  // namespace

class VirtualPump::Timer final : public PumpTimer {
public:
    Timer(VirtualPump& pump, std::shared_ptr<TimerState> state) : pump_(pump), state_(std::move(state)) {}
    ~Timer() override {
        state_->enabled = false;
        std::erase(pump_.timers_, state_);
    }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    void SetInterval(std::int32_t milliseconds) override {
        assert(milliseconds >= 0);
        if (state_->intervalMs != milliseconds) {
            state_->intervalMs = milliseconds;
            StartAnew();
        }
    }
    void SetEnabled(bool enabled) override {
        if (state_->enabled != enabled) {
            state_->enabled = enabled;
            StartAnew();
        }
    }

private:
    void StartAnew() { state_->place.first = pump_.clock_.Elapsed() + state_->intervalMs; }

    VirtualPump& pump_;
    std::shared_ptr<TimerState> state_;
};

VirtualPump::~VirtualPump() {
    assert(timers_.empty());
    assert(nesting_ == 0);
}

void VirtualPump::Post(CallKind kind, std::function<void()> call) {
    PostAt(clock_.Elapsed(), kind, std::move(call));
}

void VirtualPump::PostAt(std::int64_t elapsedMs, CallKind kind, std::function<void()> call) {
    assert(call);
    const std::lock_guard lock(mutex_);
    posted_.push_back({{elapsedMs, nextNumber_++}, kind, std::move(call)});
}

void VirtualPump::PumpMessages() {
    ++pumps_;
    const Horizon horizon = HorizonNow();
    while (RunNext(horizon)) {
    }
}

void VirtualPump::PumpStops() {
    const Horizon horizon = HorizonNow();
    while (RunStop(horizon)) {
    }
}

std::unique_ptr<PumpTimer> VirtualPump::CreateTimer(std::function<void()> onTick) {
    assert(onTick);
    auto state = std::make_shared<TimerState>();
    state->onTick = std::move(onTick);
    state->place.second = TakeNumber();
    timers_.push_back(state);
    return std::make_unique<Timer>(*this, std::move(state));
}

void VirtualPump::AdvanceTime(std::int64_t milliseconds) {
    assert(milliseconds >= 0);
    assert(nesting_ == 0 && "only the outermost loop lets time pass");
    const std::int64_t end = clock_.Elapsed() + milliseconds;
    RunDue();
    for (auto next = NextDue(); next && *next <= end; next = NextDue()) {
        clock_.MoveTo(std::max(*next, clock_.Elapsed()));
        RunDue();
    }
    clock_.MoveTo(std::max(end, clock_.Elapsed()));
}

void VirtualPump::Run(CallKind kind, const std::function<void()>& call) {
    assert(nesting_ == 0);
    RunCall(kind, TakeNumber(), call);
}

std::optional<std::int64_t> VirtualPump::NextDue() {
    std::optional<std::int64_t> next;
    const auto consider = [&](std::int64_t due) { next = next ? std::min(*next, due) : due; };
    for (const auto& timer : timers_) {
        if (timer->Armed()) {
            consider(timer->place.first);
        }
    }
    const std::lock_guard lock(mutex_);
    for (const PostedCall& call : posted_) {
        consider(call.place.first);
    }
    return next;
}

bool VirtualPump::MayStart(CallKind kind) const {
    return nesting_ < kMaxNesting && (kind != CallKind::WaitsLong || briefNesting_ == 0);
}

VirtualPump::Horizon VirtualPump::HorizonNow() {
    const std::lock_guard lock(mutex_);
    return {clock_.Elapsed(), nextNumber_};
}

/// Runs what is due as the outermost loop does: also what was queued meanwhile.
void VirtualPump::RunDue() {
    const std::int64_t start = clock_.Elapsed();
    for (int runs = 0; RunNext(HorizonNow()) && clock_.Elapsed() == start; ++runs) {
        assert(runs < kMostRunsAtOneTime && "calls post each other for ever");
    }
}

std::uint64_t VirtualPump::TakeNumber() {
    const std::lock_guard lock(mutex_);
    return nextNumber_++;
}

bool VirtualPump::RunStop(const Horizon& horizon) {
    const std::optional<PostedCall> stop = TakePosted(horizon, std::nullopt, true);
    if (stop) {
        RunCall(stop->kind, stop->place.second, stop->call);
    }
    return stop.has_value();
}

/// Runs a stop, or else the earliest of what is due and may start; false when there is nothing.
bool VirtualPump::RunNext(const Horizon& horizon) {
    if (RunStop(horizon)) {
        return true;
    }
    const std::shared_ptr<TimerState> timer = FirstTimer(horizon);
    if (std::optional<PostedCall> posted = TakePosted(horizon, timer ? std::optional(timer->place) : std::nullopt)) {
        RunCall(posted->kind, posted->place.second, posted->call);
        return true;
    }
    if (timer) {
        RunTick(*timer);
    }
    return timer != nullptr;
}

/// Takes the earliest posted call off the queue, if it may start and comes before the place given.
std::optional<VirtualPump::PostedCall> VirtualPump::TakePosted(const Horizon& horizon, std::optional<Place> before,
                                                               bool stopsOnly) {
    const std::lock_guard lock(mutex_);
    auto first = posted_.end();
    for (auto call = posted_.begin(); call != posted_.end(); ++call) {
        const bool due = call->place.first <= horizon.dueMs && call->place.second < horizon.numberEnd;
        const bool wanted = !stopsOnly || call->kind == CallKind::Stop;
        const bool starts = due && wanted && MayStart(call->kind) && (!before || call->place < *before);
        if (starts && (first == posted_.end() || call->place < first->place)) {
            first = call;
        }
    }
    if (first == posted_.end()) {
        return std::nullopt;
    }
    PostedCall taken = std::move(*first);
    posted_.erase(first);
    return taken;
}

std::shared_ptr<VirtualPump::TimerState> VirtualPump::FirstTimer(const Horizon& horizon) const {
    std::shared_ptr<TimerState> first;
    for (const auto& timer : timers_) {
        const bool starts = timer->Armed() && timer->place.first <= horizon.dueMs && MayStart(CallKind::Brief);
        if (starts && (!first || timer->place < first->place)) {
            first = timer;
        }
    }
    return first;
}

void VirtualPump::RunTick(TimerState& timer) {
    const std::int64_t next = timer.place.first + timer.intervalMs;
    const std::int64_t now = clock_.Elapsed();
    timer.place.first = next > now ? next : now + timer.intervalMs;
    RunCall(CallKind::Brief, TakeNumber(), timer.onTick);
}

void VirtualPump::RunCall(CallKind kind, std::uint64_t number, const std::function<void()>& call) {
    if (kind == CallKind::Stop) {
        lastStop_ = std::max(lastStop_, number);
    }
    struct Nested {
        Nested(VirtualPump& of, bool isBrief, std::uint64_t number)
            : pump(of), brief(isBrief ? 1 : 0), outerNumber(std::exchange(of.runningNumber_, number)) {
            ++pump.nesting_;
            pump.briefNesting_ += brief;
        }
        ~Nested() {
            --pump.nesting_;
            pump.briefNesting_ -= brief;
            pump.runningNumber_ = outerNumber;
        }
        VirtualPump& pump;
        int brief;
        std::uint64_t outerNumber;
    } nested(*this, kind != CallKind::WaitsLong, number);
    call();
}

}  // namespace kestrane
