#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/posix/posix_pump_time.h"
#include "platform/pump_engine.h"
#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

namespace kestrane {

/// What the pump runs on: the clock of the tests or that of the programs.
enum class PumpClock { Virtual, Real };

inline auto BothClocks() {
    return testing::Values(PumpClock::Virtual, PumpClock::Real);
}
inline std::string NameOfClock(const testing::TestParamInfo<PumpClock>& info) {
    return info.param == PumpClock::Virtual ? "VirtualClock" : "RealClock";
}

using Texts = std::vector<std::string>;

/// A pump whose time stands still until the test moves it: the real clock reads an injected time.
class PumpTest : public testing::TestWithParam<PumpClock> {
protected:
    void TearDown() override { EXPECT_EQ(faults_, Texts{}) << "a call or a tick has raised"; }

    void Note(const std::string& what) { notes_.push_back(what); }
    std::function<void()> Notes(const std::string& what) {
        return [this, what] { Note(what); };
    }
    void PostNote(const std::string& what, CallKind kind = CallKind::Brief) { pump_.Post(kind, Notes(what)); }
    std::unique_ptr<PumpTimer> StartTimer(std::int32_t interval, std::function<void()> onTick) {
        auto timer = pump_.CreateTimer(std::move(onTick));
        timer->SetInterval(interval);
        timer->SetEnabled(true);
        return timer;
    }
    /// Lets time pass, and nothing run.
    void Advance(int ms) {
        now_ += std::chrono::milliseconds(ms);
        virtualClock_.Sleep(ms);
    }
    PumpTime::TimePoint In(int ms) { return time_.Now() + std::chrono::milliseconds(ms); }
    /// The outermost loop up to so many milliseconds from now. The calls must take that time themselves: a sleep moves
    /// the virtual clock, and no injected one.
    void RunFor(int ms) { pump_.RunUntil(In(ms)); }
    Texts Taken() { return std::exchange(notes_, {}); }
    /// What calls and ticks have raised; a test must take it.
    Texts TakenFaults() { return std::exchange(faults_, {}); }

private:
    PumpTime::TimePoint now_{};
    VirtualClock virtualClock_;
    VirtualPumpTime virtualTime_{virtualClock_};
    PosixPumpTime realTime_{[this] { return now_; }};
    PumpTime& time_ = GetParam() == PumpClock::Virtual ? static_cast<PumpTime&>(virtualTime_) : realTime_;
    Texts notes_;
    Texts faults_;

protected:
    PumpEngine pump_{time_, [this](const std::exception_ptr& fault) {
                         try {
                             std::rethrow_exception(fault);
                         } catch (const std::exception& error) {
                             faults_.push_back(error.what());
                         }
                     }};
};

}  // namespace kestrane
