#include "support/virtual_clock.h"

#include <gtest/gtest.h>
#include <vector>

#include "support/recording_services.h"

namespace kestrane {
namespace {

TEST(VirtualClock, Sleep_MovesTicksAndLocalTime) {
    VirtualClock clock;
    EXPECT_EQ(clock.GetTickCount(), Tick{0});
    clock.Sleep(1500);
    clock.Sleep(0);
    clock.Sleep(-7);
    EXPECT_EQ(clock.GetTickCount(), Tick{1500});
    EXPECT_EQ(clock.GetLocalTime(),
              (DateTime{.year = 2024, .month = 3, .day = 5, .hour = 20, .second = 1, .millisecond = 500}));
}

TEST(VirtualClock, TickCount_GoesOverTheSignChangeAndTheWrap) {
    for (const Tick first : {VirtualClock::kBeforeSignChange, VirtualClock::kBeforeWrap}) {
        VirtualClock clock(first);
        EXPECT_EQ(clock.GetTickCount(), first);
        clock.Sleep(60'001);
        EXPECT_EQ(clock.GetTickCount() - first, 60'001);
    }
    VirtualClock sign(VirtualClock::kBeforeSignChange);
    sign.Sleep(60'001);
    EXPECT_EQ(sign.GetTickCount().value, INT32_MIN);
    VirtualClock wrap(VirtualClock::kBeforeWrap);
    wrap.Sleep(60'000);
    EXPECT_EQ(wrap.GetTickCount().value, 0);
}

TEST(VirtualClock, SetTick_IsTheCountNow_AndLeavesTheTimeOfDay) {
    VirtualClock clock;
    clock.Sleep(5000);
    const DateTime before = clock.GetLocalTime();
    for (const Tick tick : {Tick{7}, Tick{INT32_MIN}, VirtualClock::kBeforeWrap}) {
        clock.SetTick(tick);
        EXPECT_EQ(clock.GetTickCount(), tick);
    }
    EXPECT_EQ(clock.GetLocalTime(), before);
    EXPECT_EQ(clock.Elapsed(), 5000);
}

TEST(VirtualClock, OnSleep_SeesEachSleepAfterItsTime) {
    VirtualClock clock;
    std::vector<std::int64_t> seen;
    clock.OnSleep([&](std::int32_t milliseconds) { seen.insert(seen.end(), {milliseconds, clock.Elapsed()}); });
    clock.Sleep(20);
    clock.MoveTo(50);
    clock.Sleep(0);
    EXPECT_EQ(seen, (std::vector<std::int64_t>{20, 20, 0, 50}));
    clock.OnSleep({});
    clock.Sleep(5);
    EXPECT_EQ(seen.size(), 4U);
}

TEST(VirtualClock, SetLocalTime_IsTheTimeNow) {
    VirtualClock clock;
    clock.Sleep(5000);
    const DateTime evening{.year = 2023, .month = 12, .day = 31, .hour = 23, .minute = 59, .second = 59};
    clock.SetLocalTime(evening);
    EXPECT_EQ(clock.GetLocalTime(), evening);
    clock.Sleep(1000);
    EXPECT_EQ(clock.GetLocalTime(), (DateTime{.year = 2024, .month = 1, .day = 1}));
}

TEST(VirtualClock, Zone_IsUtcMinusLocal) {
    VirtualClock clock;
    clock.SetZone(5.0);
    clock.SetLocalTime({.year = 2024, .month = 2, .day = 29, .hour = 22});
    EXPECT_EQ(clock.TimeZoneOffset(), 5.0);
    EXPECT_EQ(clock.Utc(), (DateTime{.year = 2024, .month = 3, .day = 1, .hour = 3}));
    clock.SetZone(-5.5);
    EXPECT_EQ(clock.DateLocalToUTC({.year = 2024, .month = 3, .day = 1, .hour = 3}),
              (DateTime{.year = 2024, .month = 2, .day = 29, .hour = 21, .minute = 30}));
    EXPECT_EQ(clock.DateUTCToLocal({.year = 2024, .month = 2, .day = 29, .hour = 21, .minute = 30}),
              (DateTime{.year = 2024, .month = 3, .day = 1, .hour = 3}));
}

TEST(VirtualClock, DaylightTime_CountsForTheDateGivenAndNotForToday) {
    VirtualClock clock;
    clock.SetZone(-1.0);
    clock.SetDaylightTime({.year = 2024, .month = 3, .day = 31, .hour = 1},
                          {.year = 2024, .month = 10, .day = 27, .hour = 1});
    EXPECT_EQ(clock.TimeZoneOffset(), -1.0);
    const DateTime summerUtc{.year = 2024, .month = 7, .day = 1, .hour = 10};
    const DateTime summerLocal{.year = 2024, .month = 7, .day = 1, .hour = 12};
    EXPECT_EQ(clock.DateUTCToLocal(summerUtc), summerLocal);
    EXPECT_EQ(clock.DateLocalToUTC(summerLocal), summerUtc);
    clock.SetLocalTime(summerLocal);
    EXPECT_EQ(clock.TimeZoneOffset(), -2.0);
    EXPECT_EQ(clock.GetLocalTime(), summerLocal);
}

TEST(VirtualAstronomy, NowLst_FollowsTheClockAndTheLongitude) {
    VirtualClock clock;
    VirtualAstronomy astronomy(clock);
    clock.SetZone(0.0);
    // Greenwich mean sidereal time at 0 h UTC of 2024-01-01 is 6 h 40 m 36.6 s.
    clock.SetLocalTime({.year = 2024, .month = 1, .day = 1});
    EXPECT_NEAR(astronomy.NowLst(0.0), 6.0 + 40.0 / 60.0 + 36.6 / 3600.0, 1.0 / 3600.0);
    const double quarterTurn = 1.5707963267948966;
    EXPECT_NEAR(astronomy.NowLst(quarterTurn), astronomy.NowLst(0.0) - 6.0, 1e-9);
    clock.Sleep(3'600'000);
    EXPECT_NEAR(astronomy.NowLst(0.0), 7.0 + 40.0 / 60.0 + 46.5 / 3600.0, 1.0 / 3600.0);
    astronomy.lst = 12.5;
    EXPECT_EQ(astronomy.NowLst(quarterTurn), 12.5);
}

}  // namespace
}  // namespace kestrane
