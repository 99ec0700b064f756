#include "support/virtual_pump.h"

#include <algorithm>
#include <cassert>
#include <exception>
#include <gtest/gtest.h>
#include <utility>

namespace kestrane {
namespace {

/// Calls posted without a step of time; more means that calls post each other for ever.
constexpr int kMostPostsAtOneTime = 1'000'000;

std::string WordsOf(const std::exception_ptr& fault) {
    try {
        std::rethrow_exception(fault);
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "something that is no std::exception";
    }
}

}  // namespace

void VirtualPumpTime::SleepUntil(std::optional<TimePoint> end) {
    const std::optional<std::int64_t> event = clock_.NextEvent();
    assert((end || event) && "nothing would ever end this sleep");
    const std::int64_t latest = end ? Elapsed(*end) : *event;
    clock_.MoveTo(std::max(clock_.Elapsed(), std::min(latest, event.value_or(latest))));
}

VirtualPump::VirtualPump(VirtualClock& clock)
    : clock_(clock), engine_(time_, [this](const std::exception_ptr& fault) { faults_.push_back(WordsOf(fault)); }) {}

VirtualPump::~VirtualPump() {
    clock_.DropEvents();
    for (const std::string& fault : faults_) {
        ADD_FAILURE() << "A call on virtual time raised: " << fault;
    }
}

void VirtualPump::Post(CallKind kind, std::function<void()> call) {
    postsAtOneTime_ = std::exchange(lastPostMs_, clock_.Elapsed()) == clock_.Elapsed() ? postsAtOneTime_ + 1 : 0;
    assert(postsAtOneTime_ < kMostPostsAtOneTime && "calls post each other for ever");
    engine_.Post(kind, std::move(call));
}

void VirtualPump::PumpMessages() {
    ++pumps_;
    engine_.PumpMessages();
}

void VirtualPump::PumpBriefly(std::int32_t milliseconds) {
    ++pumps_;
    engine_.PumpBriefly(milliseconds);
}

void VirtualPump::PumpForPerson() {
    ++pumps_;
    engine_.PumpForPerson();
}

std::unique_ptr<PumpTimer> VirtualPump::CreateTimer(std::function<void()> onTick) {
    return engine_.CreateTimer(std::move(onTick));
}

std::unique_ptr<PumpTimer> VirtualPump::CreatePromptTimer(std::function<void()> onTick) {
    return engine_.CreatePromptTimer(std::move(onTick));
}

void VirtualPump::AdvanceTime(std::int64_t milliseconds) {
    assert(milliseconds >= 0);
    engine_.RunUntil(time_.Now() + std::chrono::milliseconds(milliseconds));
}

void VirtualPump::Run(CallKind kind, const std::function<void()>& call) {
    std::exception_ptr raised;
    engine_.Post(kind, [&] {
        try {
            call();
        } catch (...) {
            raised = std::current_exception();
        }
    });
    engine_.PumpMessages();
    if (raised) {
        std::rethrow_exception(raised);
    }
}

void VirtualPump::PostAt(std::int64_t elapsedMs, CallKind kind, std::function<void()> call) {
    clock_.At(elapsedMs, [this, kind, call = std::move(call)]() mutable {
        Post(kind, std::move(call));
        if (kind == CallKind::Read && clock_.ReadsGetIn()) {
            engine_.PumpReads();
        }
    });
}

std::optional<std::int64_t> VirtualPump::NextDue() {
    const auto inEngine = engine_.NextDue();
    const std::optional<std::int64_t> event = clock_.NextEvent();
    if (!inEngine) {
        return event;
    }
    const std::int64_t due = VirtualPumpTime::Elapsed(*inEngine);
    return event ? std::min(due, *event) : due;
}

}  // namespace kestrane
