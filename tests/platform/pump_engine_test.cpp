#include <algorithm>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "pump_fixture.h"

/// One list of the pump's rules for both clocks. What only one of them can do: tests/platform_posix, tests/support.
namespace kestrane {
namespace {

using enum CallKind;

INSTANTIATE_TEST_SUITE_P(Pump, PumpTest, BothClocks(), NameOfClock);

TEST_P(PumpTest, Pump_RunsCallsInTheOrderOfTheirPosting) {
    PostNote("a");
    PostNote("b", WaitsLong);
    PostNote("c");
    EXPECT_EQ(Taken(), Texts{});
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"a", "b", "c"}));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{});
}

TEST_P(PumpTest, Pump_LeavesWhatArrivesMeanwhileToTheNextPump) {
    pump_.Post(Brief, [this] {
        Note("a");
        PostNote("late");
    });
    PostNote("b");
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"a", "b"}));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"late"}));
}

TEST_P(PumpTest, NestedPump_RunsWhatTheOuterOneHasNotReachedYet) {
    pump_.Post(Brief, [this] {
        PostNote("inner");
        Note("begin");
        pump_.PumpMessages();
        Note("end");
    });
    PostNote("b");
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"begin", "b", "inner", "end"}));
}

TEST_P(PumpTest, Pump_EndsThoughEachCallPostsAnother) {
    int runs = 0;
    std::function<void()> again = [&] {
        ++runs;
        pump_.Post(Brief, again);
    };
    pump_.Post(Brief, again);
    pump_.PumpMessages();
    EXPECT_EQ(runs, 1);
}

TEST_P(PumpTest, Pump_StartsNothingThatFallsDueWhileItRuns) {
    const auto timer = StartTimer(50, Notes("tick"));
    pump_.Post(Brief, [this] { Advance(100); });
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{});
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{"tick"});
}

TEST_P(PumpTest, TicksAndCalls_RunInTheOrderInWhichTheyFellDue) {
    const auto slow = StartTimer(20, Notes("slow"));
    const auto quick = StartTimer(10, Notes("quick"));
    Advance(15);
    PostNote("at 15");
    Advance(10);
    PostNote("at 25");
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"quick", "at 15", "slow", "at 25"}));
}

TEST_P(PumpTest, TicksAndCalls_DueAtOneTime_RunInTheOrderOfTheirCreation) {
    const auto first = StartTimer(10, Notes("first"));
    const auto second = StartTimer(10, Notes("second"));
    Advance(10);
    PostNote("call");
    const auto third = StartTimer(10, Notes("third"));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"first", "second", "call"}));
}

TEST_P(PumpTest, NextDue_IsWhenTheEarliestCallOrTickFallsDue) {
    EXPECT_FALSE(pump_.NextDue());
    const auto slow = StartTimer(20, Notes("slow"));
    const auto quick = StartTimer(10, Notes("quick"));
    EXPECT_EQ(pump_.NextDue(), In(10));
    PostNote("call");
    EXPECT_EQ(pump_.NextDue(), In(0));
    Advance(10);
    EXPECT_EQ(pump_.NextDue(), In(-10)) << "it still waits";
    pump_.PumpMessages();
    EXPECT_EQ(pump_.NextDue(), In(10));
}

// Exceptions -------------------------------------------------------------------------------------------------------

TEST_P(PumpTest, ExceptionOfACall_IsReportedAndTheNextCallsRun) {
    pump_.Post(Brief, [] { throw std::runtime_error("broken"); });
    PostNote("next");
    PostNote("long", WaitsLong);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"next", "long"}));
    EXPECT_EQ(TakenFaults(), Texts{"broken"});
}

TEST_P(PumpTest, ExceptionOfANestedCall_DoesNotReachTheCallThatPumps) {
    pump_.Post(Brief, [this] {
        pump_.Post(Brief, [] { throw std::runtime_error("inner"); });
        pump_.PumpMessages();
        Note("goes on");
    });
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"goes on"}));
    EXPECT_EQ(TakenFaults(), Texts{"inner"});
}

TEST_P(PumpTest, ExceptionOfATick_LeavesTheTimerRunning) {
    const auto timer = StartTimer(10, [] { throw std::runtime_error("tick"); });
    Advance(10);
    pump_.PumpMessages();
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(TakenFaults(), (Texts{"tick", "tick"}));
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
    {{}, Read, true},
    {{Brief}, Read, true},
    {{WaitsLong, Brief}, Read, true},
    {{Stop}, Read, true},
    {{}, Press, true},
    {{WaitsLong}, Press, true},
    {{Brief}, Press, false},
    {{WaitsLong, Brief}, Press, false},
    {{Press}, Press, false},
    {{Press}, WaitsLong, false},
    {{Press}, Brief, true},
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

INSTANTIATE_TEST_SUITE_P(Pump, NestingTest, BothClocks(), NameOfClock);

TEST_P(NestingTest, Call_StartsWhereItsKindMay) {
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

TEST_P(PumpTest, LongCall_HeldBack_IsOvertakenByBriefOnes) {
    pump_.Post(Brief, [this] {
        PostNote("long", WaitsLong);
        PostNote("brief");
        pump_.PumpMessages();
        Note("end");
    });
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"brief", "end"}));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"long"}));
}

TEST_P(PumpTest, LongCall_InsideALongOne_KeepsItsPlace) {
    pump_.Post(WaitsLong, [this] {
        PostNote("long", WaitsLong);
        PostNote("brief");
        pump_.PumpMessages();
        Note("end");
    });
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"long", "brief", "end"}));
}

TEST_P(PumpTest, LongCall_HeldBackByABriefOneInsideALongOne_StartsInTheNextPumpOfTheLongOne) {
    pump_.Post(WaitsLong, [this] {
        pump_.Post(Brief, [this] {
            PostNote("long", WaitsLong);
            pump_.PumpMessages();
            Note("brief");
        });
        pump_.PumpMessages();
        pump_.PumpMessages();
        Note("outer");
    });
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"brief", "long", "outer"}));
}

TEST_P(PumpTest, LongCall_StartsWhereABriefOneWaitsForAPerson_ButNotInsideOtherBriefOnesThere) {
    pump_.Post(Brief, [this] {
        PostNote("long", WaitsLong);
        pump_.PumpForPerson();
        Note("round");
        pump_.Post(Brief, [this] {
            PostNote("held back", WaitsLong);
            pump_.PumpMessages();
            Note("inner");
        });
        pump_.PumpForPerson();
        Note("answered");
        pump_.PumpMessages();
    });
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"long", "round", "inner", "answered"})) << "after the answer it is brief again";
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"held back"}));
}

TEST_P(PumpTest, WhileAPressWaitsForAPerson_LongCallsAndPressesStart) {
    pump_.Post(Press, [this] {
        PostNote("long", WaitsLong);
        PostNote("press", Press);
        pump_.PumpMessages();
        Note("asks");
        pump_.PumpForPerson();
        Note("answered");
    });
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"asks", "long", "press", "answered"}));
}

TEST_P(PumpTest, Tick_CountsAsABriefCall) {
    const auto timer = StartTimer(10, [this] {
        PostNote("long", WaitsLong);
        PostNote("brief");
        pump_.PumpMessages();
    });
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"brief"}));
}

TEST_P(PumpTest, Nesting_StopsAtItsLimitAndTheRestWaits) {
    int depth = 0;
    int deepest = 0;
    int runs = 0;
    const std::function<void()> deeper = [&] {
        ++runs;
        deepest = std::max(deepest, ++depth);
        pump_.PumpMessages();
        --depth;
    };
    for (const auto& [kind, limit] :
         {std::pair{Brief, MessagePump::kMaxNesting}, {WaitsLong, MessagePump::kMaxLongNesting}}) {
        deepest = runs = 0;
        const int calls = limit + 5;
        for (int i = 0; i < calls; ++i) {
            pump_.Post(kind, deeper);
        }
        pump_.PumpMessages();
        EXPECT_EQ(deepest, limit);
        EXPECT_EQ(runs, calls) << "what waited ran once the stack had shrunk";
    }
}

TEST_P(PumpTest, CallsThatWaitLong_LeaveRoomForTheTicksThatEndThem) {
    bool finished = false;
    int ended = 0;
    const auto timer = StartTimer(10, [&] { finished = true; });
    for (int i = 0; i < 100; ++i) {
        pump_.Post(WaitsLong, [&] {
            for (int round = 0; round < 1000 && !finished; ++round) {
                Advance(1);
                pump_.PumpMessages();
            }
            ended += finished ? 1 : 0;
        });
    }
    pump_.PumpMessages();
    EXPECT_EQ(ended, 100);
}

TEST_P(PumpTest, StopsAndReads_StartHoweverDeepTheStackIs) {
    int depth = 0;
    const std::function<void()> deeper = [&] {
        if (++depth == MessagePump::kMaxNesting) {
            PostNote("brief");
            PostNote("read", Read);
            PostNote("stop", Stop);
            pump_.PumpMessages();
            EXPECT_EQ(Taken(), (Texts{"stop", "read"}));
            return;
        }
        pump_.Post(Brief, deeper);
        pump_.PumpMessages();
    };
    pump_.Post(Brief, deeper);
    pump_.PumpMessages();
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{"brief"});
}

TEST_P(PumpTest, NestingLimit_HoldsBackTicks) {
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

// Stops ------------------------------------------------------------------------------------------------------------

TEST_P(PumpTest, Stop_OvertakesCallsAndTicks) {
    const auto timer = StartTimer(10, [this] { Note("tick"); });
    PostNote("call");
    Advance(10);
    PostNote("stop", Stop);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"stop", "call", "tick"}));
}

TEST_P(PumpTest, StopOfOneMotion_OvertakesCalls_ButNoneCountsAsOvertaken_AndStopsKeepTheirOrder) {
    pump_.Post(Brief, [this] { Note(pump_.OvertakenByStop() ? "overtaken" : "free"); });
    PostNote("one", CallKind::StopsOne);
    pump_.PumpMessages();
    pump_.Post(Brief, [this] { Note(pump_.OvertakenByStop() ? "overtaken" : "free"); });
    PostNote("two", CallKind::StopsOne);
    PostNote("all", Stop);
    pump_.PumpStops();
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"one", "free", "two", "all", "overtaken"}));
}

TEST_P(PumpTest, PumpStops_RunsStopsAndNothingElse) {
    const auto timer = StartTimer(10, [this] { Note("tick"); });
    Advance(10);
    PostNote("call");
    PostNote("stop 1", Stop);
    PostNote("stop 2", Stop);
    pump_.PumpStops();
    EXPECT_EQ(Taken(), (Texts{"stop 1", "stop 2"}));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"tick", "call"}));
}

TEST_P(PumpTest, StopThatComesDuringAPump_RunsBeforeTheNextCallOfThatPump) {
    pump_.Post(Brief, [this] {
        Note("a");
        PostNote("stop", Stop);
        PostNote("read", Read);
        PostNote("brief");
    });
    PostNote("b");
    PostNote("c");
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"a", "stop", "read", "b", "c"}));
    pump_.Post(Brief, [this] { PostNote("last stop", Stop); });
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"brief", "last stop"})) << "also behind the last call";
}

TEST_P(PumpTest, PumpReads_RunsReadsAndNothingElse) {
    pump_.Post(Brief, [this] {
        PostNote("brief");
        PostNote("first", Read);
        PostNote("stop", Stop);
        PostNote("second", Read);
        pump_.PumpReads();
        EXPECT_EQ(Taken(), (Texts{"first", "second"}));
        pump_.PumpStops();
        EXPECT_EQ(Taken(), Texts{"stop"});
    });
    pump_.PumpMessages();
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{"brief"});
}

TEST_P(PumpTest, PumpBriefly_StartsNothingOnceItsTimeIsOver_ButStops) {
    pump_.Post(Brief, [this] { Note("quick"); });
    pump_.Post(Brief, [this] {
        Note("slow");
        Advance(6);
        PostNote("stop", Stop);
    });
    PostNote("later");
    pump_.PumpBriefly(5);
    EXPECT_EQ(Taken(), (Texts{"quick", "slow", "stop"}));
    pump_.PumpBriefly(5);
    EXPECT_EQ(Taken(), Texts{"later"});
}

TEST_P(PumpTest, PumpBriefly_OfACallThatHasWaitedLong_RunsNothingButStopsAndReads) {
    pump_.Post(Brief, [this] {
        PostNote("brief");
        PostNote("stop", Stop);
        PostNote("read", Read);
        pump_.PumpBriefly(5);
        Note("end");
    });
    Advance(151);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"stop", "read", "end"}));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{"brief"});
}

TEST_P(PumpTest, PumpBriefly_OfACallThatHasWaitedALittle_RunsWhatIsDue) {
    pump_.Post(Brief, [this] {
        PostNote("brief");
        pump_.PumpBriefly(5);
        Note("end");
    });
    Advance(150);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"brief", "end"}));
}

TEST_P(PumpTest, PumpStops_LeavesAStopThatIsPostedMeanwhileToTheNextPump) {
    pump_.Post(Stop, [this] { PostNote("second", Stop); });
    pump_.PumpStops();
    EXPECT_EQ(Taken(), Texts{});
    pump_.PumpStops();
    EXPECT_EQ(Taken(), Texts{"second"});
}

TEST_P(PumpTest, CallThatAStopHasOvertaken_KnowsIt) {
    EXPECT_FALSE(pump_.OvertakenByStop());
    const auto ask = [this](const std::string& who) {
        return [this, who] { Note(who + (pump_.OvertakenByStop() ? " overtaken" : " free")); };
    };
    pump_.Post(Brief, ask("before"));
    pump_.Post(Stop, ask("stop"));
    pump_.Post(Brief, ask("after"));
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"stop free", "before overtaken", "after free"}));
    EXPECT_FALSE(pump_.OvertakenByStop());
}

TEST_P(PumpTest, CallThatAStopHasOvertaken_KnowsItInALaterPumpToo) {
    const auto ask = [this] { Note(pump_.OvertakenByStop() ? "overtaken" : "free"); };
    pump_.Post(Brief, ask);
    PostNote("stop", Stop);
    pump_.PumpStops();
    EXPECT_EQ(Taken(), Texts{"stop"});
    pump_.Post(Brief, ask);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"overtaken", "free"}));
}

TEST_P(PumpTest, CallOrTickThatAStopHasEntered_KnowsIt_AndTheNextIsFree) {
    const auto run = [this] {
        Note(pump_.OvertakenByStop() ? "overtaken" : "free");
        PostNote("stop", Stop);
        pump_.PumpStops();
        Note(pump_.OvertakenByStop() ? "overtaken" : "free");
    };
    const Texts freeUntilTheStop{"free", "stop", "overtaken"};
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

// The outermost loop -----------------------------------------------------------------------------------------------

TEST_P(PumpTest, RunUntil_RunsWhatWasPostedMeanwhile) {
    pump_.Post(Brief, [this] { PostNote("posted"); });
    RunFor(0);
    EXPECT_EQ(Taken(), Texts{"posted"});
}

TEST_P(PumpTest, RunUntil_LeavesWhatFallsDueAfterItsEnd_ThoughACallHasRunOnPastIt) {
    const auto early = StartTimer(10, Notes("due before the end"));
    const auto late = StartTimer(30, Notes("due after the end"));
    pump_.Post(Brief, [this] {
        Advance(40);
        PostNote("posted after the end");
        PostNote("stop after the end", Stop);
    });
    RunFor(20);
    EXPECT_EQ(Taken(), Texts{"due before the end"});
    RunFor(0);
    EXPECT_EQ(Taken(), (Texts{"stop after the end", "due after the end", "posted after the end"}));
}

TEST_P(PumpTest, RunUntil_EndsThoughATimerIsSlowerThanItsInterval) {
    const auto timer = StartTimer(10, [this] {
        Note("tick");
        Advance(25);
    });
    Advance(10);
    RunFor(25);
    EXPECT_EQ(Taken(), Texts{"tick"});
}

/// A pump whose time runs, each on its clock: the virtual one whenever the loop sleeps.
class RunTest : public testing::TestWithParam<PumpClock> {
protected:
    PumpTime::TimePoint In(int ms) { return time_.Now() + std::chrono::milliseconds(ms); }

private:
    VirtualClock virtualClock_;
    VirtualPumpTime virtualTime_{virtualClock_};
    PosixPumpTime realTime_;

protected:
    PumpTime& time_ = GetParam() == PumpClock::Virtual ? static_cast<PumpTime&>(virtualTime_) : realTime_;
    PumpEngine pump_{time_, [](const std::exception_ptr&) { ADD_FAILURE() << "a call raised"; }};
};

INSTANTIATE_TEST_SUITE_P(Pump, RunTest, BothClocks(), NameOfClock);

TEST_P(RunTest, Quit_EndsRunAfterTheRunningCall) {
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

TEST_P(RunTest, Quit_LetsTheRunningCallPumpOn) {
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

TEST_P(RunTest, AfterTheLoopHasQuit_APumpRunsNothing) {
    std::string order;
    pump_.Post(Brief, [&] { pump_.Quit(); });
    pump_.Post(Brief, [&] { order += "a"; });
    pump_.Post(CallKind::Stop, [&] { order += "s"; });
    pump_.Run();
    pump_.Post(CallKind::Stop, [&] { order += "t"; });
    pump_.Post(CallKind::Read, [&] { order += "r"; });
    pump_.PumpMessages();
    pump_.PumpStops();
    pump_.PumpReads();
    EXPECT_EQ(order, "s");
}

TEST_P(RunTest, Run_FiresTimersWithoutBeingWokenByCalls) {
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

TEST_P(RunTest, RunUntil_SleepsUpToItsEnd_AndFiresTimersOnTheWay) {
    int ticks = 0;
    const auto timer = pump_.CreateTimer([&] { ++ticks; });
    timer->SetInterval(5);
    timer->SetEnabled(true);
    const PumpTime::TimePoint end = In(20);
    pump_.RunUntil(end);
    EXPECT_GE(time_.Now(), end);
    EXPECT_GE(ticks, 1);
    EXPECT_LE(ticks, 4);
}

TEST_P(RunTest, Quit_EndsRunUntilBeforeItsEnd) {
    pump_.Post(Brief, [this] { pump_.Quit(); });
    const PumpTime::TimePoint end = In(3'600'000);
    pump_.RunUntil(end);
    EXPECT_LT(time_.Now(), end);
}

}  // namespace
}  // namespace kestrane
