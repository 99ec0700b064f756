#include "support/virtual_pump.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

/// What only virtual time can do; the rules of the pump are in tests/platform.
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

TEST_F(VirtualPumpTest, AdvanceTime_EndsThoughATimerIsSlowerThanItsInterval) {
    const auto timer = StartTimer(10, [this] {
        Note("tick")();
        clock.Sleep(25);
    });
    pump.AdvanceTime(40);
    EXPECT_EQ(ran, Names{"tick@10"}) << "a whole interval follows a tick that took longer than one";
}

TEST_F(VirtualPumpTest, PostAt_WhenTicksFallDue_ComesAfterThem) {
    const auto first = StartTimer(10, Note("first"));
    pump.PostAt(10, CallKind::Brief, Note("call"));
    const auto second = StartTimer(10, Note("second"));
    pump.AdvanceTime(10);
    EXPECT_EQ(ran, (Names{"first@10", "second@10", "call@10"}));
}

TEST_F(VirtualPumpTest, PostAt_OfOneTime_KeepsItsOrder) {
    pump.PostAt(20, CallKind::Brief, Note("last"));
    pump.PostAt(10, CallKind::Brief, Note("first"));
    pump.PostAt(10, CallKind::Brief, Note("second"));
    pump.AdvanceTime(20);
    EXPECT_EQ(ran, (Names{"first@10", "second@10", "last@20"}));
}

TEST_F(VirtualPumpTest, PostAt_DuringASleep_TakesItsPlaceAmongWhatFallsDue) {
    const auto timer = StartTimer(60, Note("tick"));
    pump.PostAt(50, CallKind::Brief, Note("before"));
    pump.PostAt(70, CallKind::Brief, Note("after"));
    clock.Sleep(100);
    pump.Post(CallKind::Brief, Note("now"));
    pump.PumpMessages();
    EXPECT_EQ(ran, (Names{"before@100", "tick@100", "after@100", "now@100"}));
}

TEST_F(VirtualPumpTest, PostAt_ThatFallsDueWhileAPumpRuns_WaitsForTheNext) {
    pump.PostAt(10, CallKind::Brief, Note("call"));
    pump.Post(CallKind::Brief, [this] { clock.Sleep(20); });
    pump.PumpMessages();
    EXPECT_EQ(ran, Names{});
    pump.PumpMessages();
    EXPECT_EQ(ran, Names{"call@20"});
}

TEST_F(VirtualPumpTest, PostAt_OfAStop_OvertakesACallThatSleepsAtItsTime) {
    pump.PostAt(50, CallKind::Stop, Note("stop"));
    pump.PumpStops();
    EXPECT_EQ(ran, Names{});
    pump.AdvanceTime(50);
    EXPECT_EQ(ran, Names{"stop@50"});
    pump.PostAt(60, CallKind::Stop, Note("stop"));
    pump.Post(CallKind::Brief, [this] {
        clock.Sleep(20);
        pump.PumpStops();
        EXPECT_TRUE(pump.OvertakenByStop());
    });
    pump.AdvanceTime(20);
    EXPECT_EQ(ran, (Names{"stop@50", "stop@70"}));
}

TEST_F(VirtualPumpTest, Timer_ALittleLate_KeepsItsRhythm_AndStartsAnewAfterAMissedTick) {
    const auto timer = StartTimer(100, Note("tick"));
    pump.PostAt(90, CallKind::Brief, [this] { clock.Sleep(30); });
    pump.AdvanceTime(200);
    EXPECT_EQ(ran, (Names{"tick@120", "tick@200"}));
    ran.clear();
    clock.Sleep(350);
    pump.AdvanceTime(100);
    EXPECT_EQ(ran, (Names{"tick@550", "tick@650"}));
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

TEST_F(VirtualPumpTest, NextDue_IsThatOfTheEarliestTickCallOrLaterPost) {
    EXPECT_FALSE(pump.NextDue());
    pump.PostAt(20, CallKind::Brief, Note("call"));
    EXPECT_EQ(pump.NextDue(), 20);
    const auto timer = StartTimer(30, Note("tick"));
    EXPECT_EQ(pump.NextDue(), 20);
    pump.AdvanceTime(20);
    EXPECT_EQ(pump.NextDue(), 30);
    pump.Post(CallKind::Brief, Note("now"));
    EXPECT_EQ(pump.NextDue(), 20);
}

TEST_F(VirtualPumpTest, Run_TakesItsTurn_AndPassesOnWhatTheCallRaises) {
    pump.Post(CallKind::Brief, Note("before"));
    EXPECT_THROW(pump.Run(CallKind::Brief, [] { throw std::runtime_error("broken"); }), std::runtime_error);
    pump.Run(CallKind::WaitsLong, [this] {
        pump.Post(CallKind::WaitsLong, Note("inside"));
        pump.PumpMessages();
        Note("run")();
    });
    EXPECT_EQ(ran, (Names{"before@0", "inside@0", "run@0"}));
    EXPECT_EQ(pump.TakeFaults(), Names{});
}

TEST_F(VirtualPumpTest, Faults_AreKeptUntilTheTestTakesThem) {
    pump.Post(CallKind::Brief, [] { throw std::runtime_error("call"); });
    pump.Post(CallKind::Brief, [] { throw 5; });
    const auto timer = StartTimer(10, [] { throw std::runtime_error("tick"); });
    pump.AdvanceTime(10);
    EXPECT_EQ(pump.TakeFaults(), (Names{"call", "something that is no std::exception", "tick"}));
    EXPECT_EQ(pump.TakeFaults(), Names{});
}

void EndAPumpThatHoldsAFault() {
    VirtualClock clock;
    VirtualPump pump(clock);
    pump.Post(CallKind::Brief, [] { throw std::runtime_error("nobody has announced me"); });
    pump.AdvanceTime(0);
}

TEST(VirtualPump, AFaultThatTheTestDidNotAnnounce_FailsIt) {
    EXPECT_NONFATAL_FAILURE(EndAPumpThatHoldsAFault(), "nobody has announced me");
}

}  // namespace
}  // namespace kestrane
