#include "kernel/base/waits.h"

#include <chrono>
#include <exception>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

#include "kernel/base/errors.h"
#include "platform/pump_engine.h"
#include "support/virtual_clock.h"

namespace kestrane {
namespace {

/// Counts the pumps; a pump may take time.
class CountingPump final : public MessagePump {
public:
    explicit CountingPump(VirtualClock& clock) : clock_(clock) {}

    void Post(CallKind, std::function<void()>) override {}
    void PumpMessages() override {
        ++pumps;
        clock_.MoveTo(clock_.Elapsed() + pumpTakesMs);
        if (!jumps.empty()) {
            clock_.SetTick(clock_.GetTickCount() + jumps.front());
            jumps.erase(jumps.begin());
        }
    }
    void PumpBriefly(std::int32_t) override { ++pumps; }
    void PumpForPerson() override { ++pumps; }
    void PumpStops() override { ++stopPumps; }
    void PumpPromptTicks() override { ++promptPumps; }
    bool OvertakenByStop() const override { return false; }
    std::unique_ptr<PumpTimer> CreateTimer(std::function<void()>) override { return nullptr; }
    std::unique_ptr<PumpTimer> CreatePromptTimer(std::function<void()>) override { return nullptr; }

    int pumps = 0;
    int stopPumps = 0;
    int promptPumps = 0;
    std::int32_t pumpTakesMs = 0;
    std::vector<std::int32_t> jumps;  ///< by how much the ticks jump at the first pumps

private:
    VirtualClock& clock_;
};

struct WaitsTest : testing::Test {
    WaitsTest() {
        clock.OnSleep([this](std::int32_t milliseconds) { sleeps.push_back(milliseconds); });
    }

    VirtualClock clock;
    std::vector<std::int32_t> sleeps;
    CountingPump pump{clock};
    Waits waits{clock, pump};
};

TEST_F(WaitsTest, PauseForStops_LetsAStopInEachMillisecond_AndNothingElse) {
    waits.PauseForStops(20);
    EXPECT_EQ(sleeps, std::vector<std::int32_t>(20, 1));
    EXPECT_EQ(pump.stopPumps, 20);
    EXPECT_EQ(pump.pumps, 0);
    waits.PauseForStops(0);
    waits.PauseForStops(-1);
    EXPECT_EQ(pump.stopPumps, 20);
}

struct WaitRow {
    std::int32_t milliseconds;
    std::vector<std::int32_t> sleeps;
    int pumps;
};

TEST_F(WaitsTest, WaitForMilliseconds_PumpsAfterEachPieceWhileMoreThan100Remain) {
    const std::vector<WaitRow> rows{
        {-5, {}, 0},
        {0, {}, 0},
        {1, {1}, 0},
        {100, {100}, 0},
        {101, {100, 1}, 1},
        {200, {100, 100}, 1},
        {201, {100, 100, 1}, 2},
        {250, {100, 100, 50}, 2},
    };
    for (const std::int32_t start : {0, 2147483600, -1}) {
        for (const WaitRow& row : rows) {
            clock.SetTick(Tick{start});
            sleeps.clear();
            pump.pumps = 0;
            waits.WaitForMilliseconds(row.milliseconds);
            EXPECT_EQ(sleeps, row.sleeps) << row.milliseconds << " from " << start;
            EXPECT_EQ(pump.pumps, row.pumps) << row.milliseconds << " from " << start;
        }
    }
}

TEST_F(WaitsTest, WaitForMilliseconds_CountsTheTimeThatAPumpTook) {
    pump.pumpTakesMs = 500;
    waits.WaitForMilliseconds(300);
    EXPECT_EQ(pump.pumps, 1);
    EXPECT_EQ(sleeps, std::vector<std::int32_t>{100});
}

TEST_F(WaitsTest, WaitForMilliseconds_WhenTheTicksJumpBack_WaitsTheTimeThatTheyTell) {
    pump.jumps = {-150, -150};
    waits.WaitForMilliseconds(250);
    EXPECT_EQ(sleeps, (std::vector<std::int32_t>{100, 100, 100, 100, 100, 50}));
    EXPECT_EQ(pump.pumps, 5);
}

TEST_F(WaitsTest, WaitForMilliseconds_WhenTheTicksJumpByHalfTheirRange_GoesOnInPieces) {
    pump.jumps = {-2147483647, 2147483647};
    waits.WaitForMilliseconds(250);
    EXPECT_EQ(sleeps, (std::vector<std::int32_t>{100, 100, 50}));
}

TEST_F(WaitsTest, PumpOnce_PumpsWithoutSleeping) {
    waits.PumpOnce();
    EXPECT_EQ(pump.pumps, 1);
    EXPECT_TRUE(sleeps.empty());
}

/// A standing clock as the pump sees it.
class StandingTime final : public PumpTime {
public:
    explicit StandingTime(VirtualClock& clock) : clock_(clock) {}

    TimePoint Now() override { return TimePoint(std::chrono::milliseconds(clock_.Elapsed())); }
    void SleepUntil(std::optional<TimePoint>) override { FAIL() << "only the outermost loop sleeps"; }
    void Wake() override {}

private:
    VirtualClock& clock_;
};

TEST(WaitsOnTheRealPump, WaitForMilliseconds_WhenAnotherEventFails_WaitsOn) {
    VirtualClock clock;
    std::vector<std::int32_t> sleeps;
    clock.OnSleep([&](std::int32_t milliseconds) { sleeps.push_back(milliseconds); });
    StandingTime time(clock);
    int faults = 0;
    PumpEngine pump(time, [&](const std::exception_ptr&) { ++faults; });
    Waits waits(clock, pump);
    pump.Post(CallKind::Brief, [] { throw DriverError(ErrorNumber::InvalidOperation); });
    pump.Post(CallKind::Stop, [] { throw DriverError(ErrorNumber::InvalidOperation); });
    EXPECT_NO_THROW(waits.PumpStops());
    EXPECT_EQ(faults, 1);
    EXPECT_NO_THROW(waits.WaitForMilliseconds(250));
    EXPECT_EQ(faults, 2);
    EXPECT_EQ(sleeps, (std::vector<std::int32_t>{100, 100, 50}));
}

}  // namespace
}  // namespace kestrane
