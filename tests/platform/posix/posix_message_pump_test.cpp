#include "platform/posix/posix_message_pump.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <utility>
#include <vector>

namespace kestrane {
namespace {

using std::chrono::milliseconds;
using enum CallKind;

/// A pump whose time stands still until the test moves it; no fault is expected.
class PumpTest : public testing::Test {
protected:
    void Note(const std::string& what) { notes_.push_back(what); }
    std::function<void()> Notes(const std::string& what) {
        return [this, what] { Note(what); };
    }
    void PostNote(const std::string& what, CallKind kind = Brief) { pump_.Post(kind, Notes(what)); }
    std::unique_ptr<PumpTimer> StartTimer(std::int32_t interval, std::function<void()> onTick) {
        auto timer = pump_.CreateTimer(std::move(onTick));
        timer->SetInterval(interval);
        timer->SetEnabled(true);
        return timer;
    }
    void Advance(int ms) { now_ += milliseconds(ms); }
    std::vector<std::string> Taken() { return std::exchange(notes_, {}); }

    PosixMessagePump::TimePoint now_{};
    std::vector<std::string> faults_;
    PosixMessagePump pump_{[this](std::exception_ptr fault) {
                               try {
                                   std::rethrow_exception(fault);
                               } catch (const std::exception& error) {
                                   faults_.push_back(error.what());
                               }
                           },
                           [this] { return now_; }};

private:
    std::vector<std::string> notes_;
};

using Sequence = std::vector<std::string>;

TEST_F(PumpTest, Pump_RunsCallsInTheOrderOfTheirPosting) {
    PostNote("a");
    PostNote("b", WaitsLong);
    PostNote("c");
    EXPECT_EQ(Taken(), Sequence{});
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"a", "b", "c"}));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Sequence{});
}

TEST_F(PumpTest, Pump_LeavesWhatArrivesMeanwhileToTheNextPump) {
    pump_.Post(Brief, [this] {
        Note("a");
        PostNote("late");
    });
    PostNote("b");
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"a", "b"}));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"late"}));
}

TEST_F(PumpTest, NestedPump_RunsWhatTheOuterOneHasNotReachedYet) {
    pump_.Post(Brief, [this] {
        PostNote("inner");
        Note("begin");
        pump_.PumpMessages();
        Note("end");
    });
    PostNote("b");
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"begin", "b", "inner", "end"}));
}

TEST_F(PumpTest, Pump_EndsThoughEachCallPostsAnother) {
    int runs = 0;
    std::function<void()> again = [&] {
        ++runs;
        pump_.Post(Brief, again);
    };
    pump_.Post(Brief, again);
    pump_.PumpMessages();
    EXPECT_EQ(runs, 1);
}

TEST_F(PumpTest, TicksAndCalls_RunInTheOrderInWhichTheyFellDue) {
    const auto slow = StartTimer(20, Notes("slow"));
    const auto quick = StartTimer(10, Notes("quick"));
    Advance(15);
    PostNote("at 15");
    Advance(10);
    PostNote("at 25");
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"quick", "at 15", "slow", "at 25"}));
}

TEST_F(PumpTest, TicksAndCalls_DueAtOneTime_RunInTheOrderOfTheirCreation) {
    const auto first = StartTimer(10, Notes("first"));
    const auto second = StartTimer(10, Notes("second"));
    Advance(10);
    PostNote("call");
    const auto third = StartTimer(10, Notes("third"));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"first", "second", "call"}));
}

TEST_F(PumpTest, ExceptionOfACall_IsReportedAndTheNextCallsRun) {
    pump_.Post(Brief, [] { throw std::runtime_error("broken"); });
    PostNote("next");
    PostNote("long", WaitsLong);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"next", "long"}));
    EXPECT_EQ(faults_, (Sequence{"broken"}));
}

TEST_F(PumpTest, ExceptionOfANestedCall_DoesNotReachTheCallThatPumps) {
    pump_.Post(Brief, [this] {
        pump_.Post(Brief, [] { throw std::runtime_error("inner"); });
        pump_.PumpMessages();
        Note("goes on");
    });
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"goes on"}));
    EXPECT_EQ(faults_, (Sequence{"inner"}));
}

TEST_F(PumpTest, ExceptionOfATick_LeavesTheTimerRunning) {
    const auto timer = StartTimer(10, [] { throw std::runtime_error("tick"); });
    Advance(10);
    pump_.PumpMessages();
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(faults_, (Sequence{"tick", "tick"}));
}

// Nesting ----------------------------------------------------------------------------------------------------------

struct NestingRule {
    std::vector<CallKind> stack;
    CallKind kind;
    bool starts;
};

const NestingRule kNestingRules[] = {
    {{}, Brief, true},                          //
    {{}, WaitsLong, true},                      //
    {{Brief}, Brief, true},                     //
    {{Brief}, WaitsLong, false},                //
    {{WaitsLong}, Brief, true},                 //
    {{WaitsLong}, WaitsLong, true},             //
    {{WaitsLong, WaitsLong}, WaitsLong, true},  //
    {{WaitsLong, Brief}, WaitsLong, false},     //
    {{WaitsLong, Brief}, Brief, true},          //
    {{Brief, Brief}, WaitsLong, false},         //
    {{}, Stop, true},                           //
    {{Brief}, Stop, true},                      //
    {{WaitsLong, Brief}, Stop, true},           //
    {{Stop}, WaitsLong, false},                 //
    {{WaitsLong, Stop}, Brief, true},
};

class NestingTest : public PumpTest {
protected:
    /// Runs calls of these kinds inside each other, and `innermost` inside the last of them.
    void RunInside(std::span<const CallKind> stack, const std::function<void()>& innermost) {
        if (stack.empty()) {
            innermost();
            return;
        }
        pump_.Post(stack.front(), [this, stack, innermost] { RunInside(stack.subspan(1), innermost); });
        pump_.PumpMessages();
    }
};

TEST_F(NestingTest, Call_StartsWhereItsKindMay) {
    for (const NestingRule& rule : kNestingRules) {
        SCOPED_TRACE(&rule - kNestingRules);
        bool ran = false;
        bool reached = false;
        RunInside(rule.stack, [&] {
            reached = true;
            pump_.Post(rule.kind, [&] { ran = true; });
            pump_.PumpMessages();
            EXPECT_EQ(ran, rule.starts);
        });
        EXPECT_TRUE(reached);
        pump_.PumpMessages();
        EXPECT_TRUE(ran) << "a call held back runs from the outermost loop";
    }
}

TEST_F(PumpTest, LongCall_HeldBack_IsOvertakenByBriefOnes) {
    pump_.Post(Brief, [this] {
        PostNote("long", WaitsLong);
        PostNote("brief");
        pump_.PumpMessages();
        Note("end");
    });
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"brief", "end"}));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"long"}));
}

TEST_F(PumpTest, Tick_CountsAsABriefCall) {
    const auto timer = StartTimer(10, [this] {
        PostNote("long", WaitsLong);
        PostNote("brief");
        pump_.PumpMessages();
    });
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"brief"}));
}

// Stops ------------------------------------------------------------------------------------------------------------

TEST_F(PumpTest, Stop_OvertakesCallsAndTicks) {
    const auto timer = StartTimer(10, [this] { Note("tick"); });
    PostNote("call");
    Advance(10);
    PostNote("stop", Stop);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"stop", "call", "tick"}));
}

TEST_F(PumpTest, PumpStops_RunsStopsAndNothingElse) {
    const auto timer = StartTimer(10, [this] { Note("tick"); });
    Advance(10);
    PostNote("call");
    PostNote("stop 1", Stop);
    PostNote("stop 2", Stop);
    pump_.PumpStops();
    EXPECT_EQ(Taken(), (Sequence{"stop 1", "stop 2"}));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"tick", "call"}));
}

TEST_F(PumpTest, PumpStops_LeavesAStopThatIsPostedMeanwhileToTheNextPump) {
    pump_.Post(Stop, [this] { PostNote("second", Stop); });
    pump_.PumpStops();
    EXPECT_EQ(Taken(), Sequence{});
    pump_.PumpStops();
    EXPECT_EQ(Taken(), Sequence{"second"});
}

TEST_F(PumpTest, CallThatAStopHasOvertaken_KnowsIt) {
    EXPECT_FALSE(pump_.OvertakenByStop());
    const auto ask = [this](const std::string& who) {
        return [this, who] { Note(who + (pump_.OvertakenByStop() ? " overtaken" : " free")); };
    };
    pump_.Post(Brief, ask("before"));
    pump_.Post(Stop, ask("stop"));
    pump_.Post(Brief, ask("after"));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"stop free", "before overtaken", "after free"}));
    EXPECT_FALSE(pump_.OvertakenByStop());
}

TEST_F(PumpTest, CallOrTickThatAStopHasEntered_KnowsIt_AndTheNextIsFree) {
    const auto run = [this] {
        Note(pump_.OvertakenByStop() ? "overtaken" : "free");
        PostNote("stop", Stop);
        pump_.PumpStops();
        Note(pump_.OvertakenByStop() ? "overtaken" : "free");
    };
    const Sequence freeUntilTheStop{"free", "stop", "overtaken"};
    pump_.Post(Brief, run);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), freeUntilTheStop);
    const auto timer = StartTimer(10, run);
    for (int tick = 0; tick < 2; ++tick) {
        Advance(10);
        pump_.PumpMessages();
        EXPECT_EQ(Taken(), freeUntilTheStop);
    }
}

TEST_F(PumpTest, Nesting_StopsAtItsLimitAndTheRestWaits) {
    int depth = 0;
    int deepest = 0;
    int runs = 0;
    const std::function<void()> deeper = [&] {
        ++runs;
        deepest = std::max(deepest, ++depth);
        pump_.PumpMessages();
        --depth;
    };
    const int calls = MessagePump::kMaxNesting + 5;
    for (int i = 0; i < calls; ++i) {
        pump_.Post(WaitsLong, deeper);
    }
    pump_.PumpMessages();
    EXPECT_EQ(deepest, MessagePump::kMaxNesting);
    EXPECT_EQ(runs, calls) << "what waited ran once the stack had shrunk";
}

TEST_F(PumpTest, NestingLimit_HoldsBackTicks) {
    int ticksAtTheLimit = -1;
    int ticks = 0;
    int depth = 0;
    std::unique_ptr<PumpTimer> timer;
    const std::function<void()> deeper = [&] {
        if (++depth == MessagePump::kMaxNesting) {
            timer = StartTimer(10, [&] { ++ticks; });
            Advance(10);
            pump_.PumpMessages();
            ticksAtTheLimit = ticks;
            return;
        }
        pump_.Post(Brief, deeper);
        pump_.PumpMessages();
    };
    pump_.Post(Brief, deeper);
    pump_.PumpMessages();
    EXPECT_EQ(ticksAtTheLimit, 0);
    pump_.PumpMessages();
    EXPECT_EQ(ticks, 1);
}

// Timers -----------------------------------------------------------------------------------------------------------

TEST_F(PumpTest, Timer_IsMadeDisabled) {
    const auto timer = pump_.CreateTimer(Notes("tick"));
    timer->SetInterval(10);
    Advance(100);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Sequence{});
}

TEST_F(PumpTest, Timer_FiresWhenItsIntervalIsOverAndAgain) {
    const auto timer = StartTimer(10, Notes("tick"));
    Advance(9);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Sequence{});
    Advance(1);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"tick"}));
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"tick"}));
}

TEST_F(PumpTest, Timer_ALittleLate_KeepsItsRhythm) {
    const auto timer = StartTimer(10, Notes("tick"));
    Advance(14);
    pump_.PumpMessages();
    Advance(6);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"tick", "tick"}));
}

TEST_F(PumpTest, Timer_DueSeveralTimesWhileNobodyPumped_FiresOnce) {
    const auto timer = StartTimer(10, Notes("tick"));
    Advance(75);
    pump_.PumpMessages();
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"tick"}));
    Advance(9);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Sequence{});
    Advance(1);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"tick"}));
}

TEST_F(PumpTest, Timer_WithIntervalZero_NeverFires) {
    const auto timer = StartTimer(0, Notes("tick"));
    Advance(1000);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Sequence{});
    timer->SetInterval(10);
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"tick"}));
}

TEST_F(PumpTest, Timer_IntervalChangedWhileEnabled_StartsAnew) {
    const auto timer = StartTimer(10, Notes("tick"));
    Advance(9);
    timer->SetInterval(20);
    Advance(19);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Sequence{});
    Advance(1);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"tick"}));
}

TEST_F(PumpTest, Timer_EnabledAgainWhileEnabled_KeepsItsTime) {
    const auto timer = StartTimer(10, Notes("tick"));
    Advance(9);
    timer->SetEnabled(true);
    Advance(1);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"tick"}));
}

TEST_F(PumpTest, Timer_DisabledAndEnabled_StartsAnew) {
    const auto timer = StartTimer(10, Notes("tick"));
    Advance(10);
    timer->SetEnabled(false);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Sequence{});
    timer->SetEnabled(true);
    Advance(9);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Sequence{});
    Advance(1);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"tick"}));
}

TEST_F(PumpTest, Timer_DestroyedInItsOwnTick_EndsAndTheTickRunsOn) {
    std::unique_ptr<PumpTimer> timer;
    timer = StartTimer(10, [this, &timer, kept = std::string("a text too long to lie inside the string itself")] {
        timer.reset();
        Note(kept.substr(0, 6));
    });
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"a text"}));
    Advance(100);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Sequence{});
}

TEST_F(PumpTest, Timer_DestroyedByAnotherTickOfTheSamePump_DoesNotFire) {
    std::unique_ptr<PumpTimer> second;
    const auto first = StartTimer(10, [&second] { second.reset(); });
    second = StartTimer(10, Notes("second"));
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Sequence{});
}

TEST_F(PumpTest, Timer_FiresAgainInsideItsOwnTick_WhenThatPumps) {
    bool inTick = false;
    const auto timer = StartTimer(10, [&] {
        if (inTick) {
            Note("inner");
            return;
        }
        inTick = true;
        Note("begin");
        Advance(50);
        pump_.PumpMessages();
        Note("end");
        inTick = false;
    });
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Sequence{"begin", "inner", "end"}));
}

// Run --------------------------------------------------------------------------------------------------------------

/// A pump on real time whose faults fail the test.
class RunTest : public testing::Test {
protected:
    PosixMessagePump pump_{[](std::exception_ptr) { ADD_FAILURE() << "a call raised"; }};
};

TEST_F(RunTest, Quit_EndsRunAfterTheRunningCall) {
    std::string order;
    pump_.Post(Brief, [&] {
        order += "a";
        pump_.Quit();
        pump_.Quit();
        order += "b";
    });
    pump_.Post(Brief, [&] { order += "c"; });
    pump_.Run();
    EXPECT_EQ(order, "ab");
    pump_.Run();
    EXPECT_EQ(order, "ab");
}

TEST_F(RunTest, Quit_LetsTheRunningCallPumpOn) {
    std::string order;
    pump_.Post(WaitsLong, [&] {
        pump_.Quit();
        pump_.Post(Brief, [&] { order += "a"; });
        pump_.PumpMessages();
        order += "b";
    });
    pump_.Run();
    EXPECT_EQ(order, "ab");
}

TEST_F(RunTest, Quit_FromAnotherThread_WakesTheLoop) {
    std::thread other([&] { pump_.Quit(); });
    pump_.Run();
    other.join();
}

TEST_F(RunTest, Run_TakesCallsOfSeveralThreadsEachInItsOrder) {
    constexpr int kThreads = 4;
    constexpr int kCalls = 500;
    std::vector<std::vector<int>> seen(kThreads);
    int left = kThreads * kCalls;
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kCalls; ++i) {
                pump_.Post(i % 2 == 0 ? Brief : WaitsLong, [&, thread, i] {
                    seen[thread].push_back(i);
                    if (--left == 0) {
                        pump_.Quit();
                    }
                    pump_.PumpMessages();
                });
            }
        });
    }
    pump_.Run();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(left, 0);
    for (const auto& calls : seen) {
        EXPECT_EQ(calls.size(), std::size_t{kCalls});
        // Long calls may be overtaken by brief ones, never by each other.
        for (const int parity : {0, 1}) {
            std::vector<int> ofOneKind;
            std::ranges::copy_if(calls, std::back_inserter(ofOneKind), [&](int i) { return i % 2 == parity; });
            EXPECT_TRUE(std::ranges::is_sorted(ofOneKind));
        }
    }
}

TEST_F(RunTest, Run_FiresTimersWithoutBeingWokenByCalls) {
    int ticks = 0;
    const auto timer = pump_.CreateTimer([&] {
        if (++ticks == 3) {
            pump_.Quit();
        }
    });
    timer->SetInterval(1);
    timer->SetEnabled(true);
    pump_.Run();
    EXPECT_EQ(ticks, 3);
}

TEST_F(RunTest, Run_WithNothingDue_UsesNoProcessorTime) {
    const auto processorTime = [] {
        rusage usage{};
        getrusage(RUSAGE_THREAD, &usage);
        return milliseconds(usage.ru_utime.tv_sec * 1000 + usage.ru_utime.tv_usec / 1000 +
                            usage.ru_stime.tv_sec * 1000 + usage.ru_stime.tv_usec / 1000);
    };
    const auto timer = pump_.CreateTimer([&] { pump_.Quit(); });
    timer->SetInterval(60);
    timer->SetEnabled(true);
    const auto before = processorTime();
    pump_.Run();
    EXPECT_LT(processorTime() - before, milliseconds(20));
}

}  // namespace
}  // namespace kestrane
