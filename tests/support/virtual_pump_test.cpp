#include "support/virtual_pump.h"

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace kestrane {
namespace {

using Names = std::vector<std::string>;

class VirtualPumpTest : public testing::Test {
protected:
    VirtualClock clock;
    VirtualPump pump{clock};
    Names ran;

    std::function<void()> Note(const std::string& name) {
        return [this, name] { ran.push_back(name + "@" + std::to_string(clock.Elapsed())); };
    }
    std::unique_ptr<PumpTimer> StartTimer(std::int32_t interval, std::function<void()> tick) {
        auto timer = pump.CreateTimer(std::move(tick));
        timer->SetInterval(interval);
        timer->SetEnabled(true);
        return timer;
    }
};

TEST_F(VirtualPumpTest, AdvanceTime_RunsEverythingDueAtItsTimeAndInOrder) {
    const auto slow = StartTimer(100, Note("slow"));
    const auto fast = StartTimer(50, Note("fast"));
    pump.PostAt(75, CallKind::Brief, Note("call"));
    pump.AdvanceTime(150);
    EXPECT_EQ(ran, (Names{"fast@50", "call@75", "slow@100", "fast@100", "fast@150"}));
    EXPECT_EQ(clock.Elapsed(), 150);
}

TEST_F(VirtualPumpTest, EqualDueTimes_GoInTheOrderOfCreation) {
    const auto first = StartTimer(10, Note("first"));
    pump.PostAt(10, CallKind::Brief, Note("second"));
    const auto third = StartTimer(10, Note("third"));
    pump.AdvanceTime(10);
    EXPECT_EQ(ran, (Names{"first@10", "second@10", "third@10"}));
}

TEST_F(VirtualPumpTest, AdvanceTime_RunsWhatWasPostedMeanwhile) {
    pump.Post(CallKind::Brief, [this] { pump.Post(CallKind::Brief, Note("posted")); });
    pump.AdvanceTime(0);
    EXPECT_EQ(ran, Names{"posted@0"});
}

TEST_F(VirtualPumpTest, Stop_OvertakesWhatWaits_AndPumpStopsRunsNothingElse) {
    pump.Post(CallKind::Brief, [this] { Note(pump.OvertakenByStop() ? "overtaken" : "free")(); });
    pump.Post(CallKind::Stop, Note("stop"));
    pump.PumpStops();
    EXPECT_EQ(ran, Names{"stop@0"});
    pump.Post(CallKind::Brief, [this] { Note(pump.OvertakenByStop() ? "overtaken" : "free")(); });
    pump.PumpMessages();
    EXPECT_EQ(ran, (Names{"stop@0", "overtaken@0", "free@0"}));
}

TEST_F(VirtualPumpTest, Stop_DoesNotRunBeforeItIsDue) {
    pump.PostAt(50, CallKind::Stop, Note("stop"));
    pump.PumpStops();
    EXPECT_EQ(ran, Names{});
    pump.AdvanceTime(50);
    EXPECT_EQ(ran, Names{"stop@50"});
}

TEST_F(VirtualPumpTest, Pump_RunsOnlyWhatWasQueuedBeforeItBegan) {
    pump.Post(CallKind::Brief, [this] {
        Note("outer")();
        pump.Post(CallKind::Brief, Note("later"));
    });
    pump.PumpMessages();
    EXPECT_EQ(ran, Names{"outer@0"});
    pump.PumpMessages();
    EXPECT_EQ(ran, (Names{"outer@0", "later@0"}));
}

TEST_F(VirtualPumpTest, Pump_StartsNothingThatFallsDueWhileItRuns) {
    pump.Post(CallKind::Brief, [this] { clock.Sleep(100); });
    const auto timer = StartTimer(50, Note("tick"));
    pump.PumpMessages();
    EXPECT_EQ(ran, Names{});
    pump.PumpMessages();
    EXPECT_EQ(ran, Names{"tick@100"});
}

TEST_F(VirtualPumpTest, Sleep_RunsNoTimer_AndMissedTicksRunOnce) {
    const auto timer = StartTimer(100, Note("tick"));
    clock.Sleep(350);
    EXPECT_EQ(ran, Names{});
    pump.PumpMessages();
    EXPECT_EQ(ran, Names{"tick@350"});
    pump.PumpMessages();
    EXPECT_EQ(ran, Names{"tick@350"});
    pump.AdvanceTime(100);
    EXPECT_EQ(ran, (Names{"tick@350", "tick@450"})) << "the rhythm starts anew after a missed tick";
}

TEST_F(VirtualPumpTest, Timer_ALittleLate_KeepsItsRhythm) {
    const auto timer = StartTimer(100, Note("tick"));
    pump.PostAt(90, CallKind::Brief, [this] { clock.Sleep(30); });
    pump.AdvanceTime(200);
    EXPECT_EQ(ran, (Names{"tick@120", "tick@200"}));
}

TEST_F(VirtualPumpTest, Timer_Rules) {
    const auto timer = pump.CreateTimer(Note("tick"));
    timer->SetInterval(100);
    pump.AdvanceTime(500);
    EXPECT_EQ(ran, Names{}) << "it is made disabled";
    timer->SetEnabled(true);
    pump.AdvanceTime(60);
    timer->SetEnabled(true);
    pump.AdvanceTime(40);
    EXPECT_EQ(ran, Names{"tick@600"}) << "enabling an enabled timer changes nothing";
    pump.AdvanceTime(60);
    timer->SetInterval(200);
    pump.AdvanceTime(199);
    EXPECT_EQ(ran.size(), 1U) << "a new interval starts anew";
    pump.AdvanceTime(1);
    EXPECT_EQ(ran.back(), "tick@860");
    timer->SetEnabled(false);
    timer->SetEnabled(true);
    timer->SetInterval(0);
    pump.AdvanceTime(10'000);
    EXPECT_EQ(ran.size(), 2U) << "an interval of 0 never fires";
}

TEST_F(VirtualPumpTest, Timer_MayBeDestroyedInItsOwnTick) {
    std::unique_ptr<PumpTimer> timer;
    timer = StartTimer(10, [&] {
        Note("tick")();
        timer.reset();
    });
    pump.AdvanceTime(100);
    EXPECT_EQ(ran, Names{"tick@10"});
}

TEST_F(VirtualPumpTest, Timer_FiresAgainInsideItsOwnTick_WhenThatPumps) {
    bool inTick = false;
    const auto timer = StartTimer(10, [&] {
        if (inTick) {
            Note("inner")();
            return;
        }
        inTick = true;
        Note("in")();
        clock.Sleep(20);
        pump.PumpMessages();
        Note("out")();
        inTick = false;
    });
    pump.AdvanceTime(10);
    EXPECT_EQ(ran, (Names{"in@10", "inner@30", "out@30"}));
}

TEST_F(VirtualPumpTest, LongCall_StartsInALongCallButNotInABriefOne) {
    for (const CallKind outer : {CallKind::Brief, CallKind::WaitsLong}) {
        ran.clear();
        pump.Post(CallKind::WaitsLong, Note("long"));
        pump.Post(CallKind::Brief, Note("brief"));
        pump.Run(outer, [&] {
            pump.PumpMessages();
            ran.emplace_back("end");
        });
        pump.PumpMessages();
        const Names underBrief{"brief@0", "end", "long@0"};
        const Names underLong{"long@0", "brief@0", "end"};
        EXPECT_EQ(ran, outer == CallKind::Brief ? underBrief : underLong);
    }
}

TEST_F(VirtualPumpTest, LongCall_DoesNotStartInABriefOneInsideALongOne) {
    pump.Post(CallKind::Brief, [this] {
        pump.Post(CallKind::WaitsLong, Note("long"));
        pump.PumpMessages();
        Note("brief")();
    });
    pump.Run(CallKind::WaitsLong, [this] {
        pump.PumpMessages();
        pump.PumpMessages();
        Note("outer")();
    });
    EXPECT_EQ(ran, (Names{"brief@0", "long@0", "outer@0"}));
}

TEST_F(VirtualPumpTest, Nesting_DeeperThanTheLimit_Waits) {
    int deepest = 0;
    std::function<void()> descend = [&] {
        deepest = std::max(deepest, pump.Nesting());
        pump.Post(CallKind::WaitsLong, descend);
        if (pump.Nesting() <= MessagePump::kMaxNesting) {
            pump.PumpMessages();
        }
    };
    pump.Run(CallKind::WaitsLong, descend);
    EXPECT_EQ(deepest, MessagePump::kMaxNesting);
    EXPECT_EQ(pump.Nesting(), 0);
}

TEST_F(VirtualPumpTest, ARaisingCall_GoesThroughAndLeavesThePumpInOrder) {
    pump.Post(CallKind::Brief, [] { throw std::runtime_error("fault"); });
    pump.Post(CallKind::WaitsLong, Note("next"));
    EXPECT_THROW(pump.PumpMessages(), std::runtime_error);
    EXPECT_EQ(pump.Nesting(), 0);
    pump.PumpMessages();
    EXPECT_EQ(ran, Names{"next@0"});
}

TEST_F(VirtualPumpTest, ALongCallThatPumps_LetsTimersAndOthersIn) {
    const auto timer = StartTimer(150, Note("poll"));
    pump.PostAt(40, CallKind::WaitsLong, Note("abort"));
    pump.Post(CallKind::WaitsLong, [this] {
        for (int round = 0; round < 10; ++round) {
            clock.Sleep(20);
            pump.PumpMessages();
        }
        Note("slew")();
    });
    pump.AdvanceTime(300);
    EXPECT_EQ(ran, (Names{"abort@40", "poll@160", "slew@200", "poll@300"}));
    EXPECT_EQ(pump.Pumps(), 10);
}

TEST_F(VirtualPumpTest, ATimerSlowerThanItsInterval_LetsAdvanceTimeEnd) {
    const auto timer = StartTimer(10, [this] {
        Note("tick")();
        clock.Sleep(25);
    });
    pump.AdvanceTime(40);
    EXPECT_EQ(ran, (Names{"tick@10", "tick@35"}));
}

}  // namespace
}  // namespace kestrane
