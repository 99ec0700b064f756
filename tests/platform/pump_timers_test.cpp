#include <memory>
#include <string>

#include "pump_fixture.h"

namespace kestrane {
namespace {

class PumpTimerTest : public PumpTest {};

INSTANTIATE_TEST_SUITE_P(Pump, PumpTimerTest, BothClocks(), NameOfClock);

TEST_P(PumpTimerTest, Timer_IsMadeDisabled) {
    const auto timer = pump_.CreateTimer(Notes("tick"));
    timer->SetInterval(10);
    Advance(100);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{});
}

TEST_P(PumpTimerTest, Timer_FiresWhenItsIntervalIsOverAndAgain) {
    const auto timer = StartTimer(10, Notes("tick"));
    Advance(9);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{});
    Advance(1);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"tick"}));
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"tick"}));
}

TEST_P(PumpTimerTest, Timer_ALittleLate_KeepsItsRhythm) {
    const auto timer = StartTimer(10, Notes("tick"));
    Advance(14);
    pump_.PumpMessages();
    Advance(6);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"tick", "tick"}));
}

TEST_P(PumpTimerTest, Timer_WhoseTickOutlastsItsInterval_IsDueAWholeIntervalAfterItsEnd) {
    std::int32_t takes = 25;
    const auto timer = StartTimer(10, [&] {
        Note("tick");
        Advance(takes);
    });
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{"tick"});
    EXPECT_EQ(pump_.NextDue(), In(10));
    takes = 10;
    Advance(12);
    pump_.PumpMessages();
    EXPECT_EQ(pump_.NextDue(), In(-2)) << "a tick that does not outlast it keeps the rhythm";
}

TEST_P(PumpTimerTest, Timer_StartedAnewInItsLongTick_KeepsTheNewBeginning) {
    std::unique_ptr<PumpTimer> timer;
    timer = StartTimer(10, [&] {
        Advance(25);
        timer->SetEnabled(false);
        timer->SetEnabled(true);
        Advance(5);
    });
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(pump_.NextDue(), In(5));
}

TEST_P(PumpTimerTest, Timer_DueSeveralTimesWhileNobodyPumped_FiresOnce) {
    const auto timer = StartTimer(10, Notes("tick"));
    Advance(75);
    EXPECT_EQ(Taken(), Texts{}) << "time alone runs nothing";
    pump_.PumpMessages();
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"tick"}));
    Advance(9);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{});
    Advance(1);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"tick"}));
}

TEST_P(PumpTimerTest, Timer_WithIntervalZero_NeverFires) {
    const auto timer = StartTimer(0, Notes("tick"));
    Advance(1000);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{});
    timer->SetInterval(10);
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"tick"}));
}

TEST_P(PumpTimerTest, Timer_IntervalChangedWhileEnabled_StartsAnew) {
    const auto timer = StartTimer(10, Notes("tick"));
    Advance(9);
    timer->SetInterval(20);
    Advance(19);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{});
    Advance(1);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"tick"}));
}

TEST_P(PumpTimerTest, Timer_EnabledAgainWhileEnabled_KeepsItsTime) {
    const auto timer = StartTimer(10, Notes("tick"));
    Advance(9);
    timer->SetEnabled(true);
    Advance(1);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"tick"}));
}

TEST_P(PumpTimerTest, Timer_DisabledAndEnabled_StartsAnew) {
    const auto timer = StartTimer(10, Notes("tick"));
    Advance(10);
    timer->SetEnabled(false);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{});
    timer->SetEnabled(true);
    Advance(9);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{});
    Advance(1);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"tick"}));
}

TEST_P(PumpTimerTest, Timer_DestroyedInItsOwnTick_EndsAndTheTickRunsOn) {
    std::unique_ptr<PumpTimer> timer;
    timer = StartTimer(10, [this, &timer, kept = std::string("a text too long to lie inside the string itself")] {
        timer.reset();
        Note(kept.substr(0, 6));
    });
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"a text"}));
    Advance(100);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{});
}

TEST_P(PumpTimerTest, Timer_DestroyedByAnotherTickOfTheSamePump_DoesNotFire) {
    std::unique_ptr<PumpTimer> second;
    const auto first = StartTimer(10, [&second] { second.reset(); });
    second = StartTimer(10, Notes("second"));
    Advance(10);
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{});
}

TEST_P(PumpTimerTest, Timer_FiresAgainInsideItsOwnTick_WhenThatPumps) {
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
    EXPECT_EQ(Taken(), (Texts{"begin", "inner", "end"}));
}

// --- prompt timers --------------------------------------------------------------------------------------------------

class PromptTimerTest : public PumpTest {
protected:
    std::unique_ptr<PumpTimer> Prompt(std::int32_t interval, std::function<void()> onTick) {
        auto timer = pump_.CreatePromptTimer(std::move(onTick));
        timer->SetInterval(interval);
        timer->SetEnabled(true);
        return timer;
    }
};

INSTANTIATE_TEST_SUITE_P(Pump, PromptTimerTest, BothClocks(), NameOfClock);

TEST_P(PromptTimerTest, Ticks_WhereAStopGetsIn_AfterTheStop) {
    const auto timer = StartTimer(10, Notes("tick"));
    const auto prompt = Prompt(10, Notes("prompt"));
    PostNote("read", CallKind::Read);
    PostNote("stop", CallKind::Stop);
    PostNote("call");
    pump_.PumpReads();
    EXPECT_EQ(Taken(), Texts{"read"});
    Advance(10);
    pump_.PumpReads();
    EXPECT_EQ(Taken(), Texts{}) << "a reply is awaited";
    pump_.PumpStops();
    EXPECT_EQ(Taken(), (Texts{"stop", "prompt"}));
}

TEST_P(PromptTimerTest, PumpPromptTicks_RunsNothingElse) {
    const auto prompt = Prompt(10, Notes("prompt"));
    PostNote("stop", CallKind::Stop);
    PostNote("read", CallKind::Read);
    pump_.PumpPromptTicks();
    EXPECT_EQ(Taken(), Texts{});
    Advance(10);
    pump_.PumpPromptTicks();
    EXPECT_EQ(Taken(), Texts{"prompt"});
}

TEST_P(PromptTimerTest, DueDuringACallOfAPump_TicksBeforeTheNextCall) {
    const auto prompt = Prompt(10, Notes("prompt"));
    pump_.Post(CallKind::Brief, [&] {
        Note("first");
        Advance(10);
    });
    PostNote("second");
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), (Texts{"first", "prompt", "second"}));
}

TEST_P(PromptTimerTest, Ticks_HoweverDeepCallsAreNested) {
    int depth = 0;
    const auto prompt = Prompt(10, Notes("prompt"));
    std::function<void()> nest = [&] {
        if (++depth < MessagePump::kMaxNesting) {
            pump_.Post(CallKind::Brief, nest);
            pump_.PumpMessages();
        } else {
            Advance(10);
            pump_.PumpMessages();
        }
    };
    pump_.Post(CallKind::Brief, nest);
    pump_.PumpMessages();
    EXPECT_EQ(depth, MessagePump::kMaxNesting);
    EXPECT_EQ(Taken(), Texts{"prompt"});
}

TEST_P(PromptTimerTest, ATick_IsNoStopThatOvertakesCalls) {
    const auto prompt = Prompt(10, Notes("prompt"));
    pump_.Post(CallKind::Brief, [&] {
        Advance(10);
        pump_.PumpStops();
        EXPECT_FALSE(pump_.OvertakenByStop());
    });
    pump_.PumpMessages();
    EXPECT_EQ(Taken(), Texts{"prompt"});
}

}  // namespace
}  // namespace kestrane
