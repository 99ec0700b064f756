#include "platform/posix/posix_clock.h"

#include <gtest/gtest.h>
#include <tuple>

#include "platform/posix/test_world.h"

namespace kestrane {

/// For messages of failed tests.
static void PrintTo(const DateTime& date, std::ostream* out) {
    *out << date.year << '-' << date.month << '-' << date.day << ' ' << date.hour << ':' << date.minute << ':'
         << date.second << '.' << date.millisecond;
}

namespace {

using test::ScopedVariable;

constexpr const char* kNewYork = "EST5EDT,M3.2.0,M11.1.0";
constexpr const char* kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr const char* kKolkata = "IST-5:30";
constexpr const char* kLondon = "GMT0BST,M3.5.0/1,M10.5.0";
constexpr const char* kSydney = "AEST-10AEDT,M10.1.0,M4.1.0/3";
constexpr const char* kLordHowe = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0";  // daylight time of half an hour
constexpr const char* kChatham = "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45";
constexpr const char* kSaintJohns = "NST3:30NDT,M3.2.0,M11.1.0";
constexpr const char* kKathmandu = "<+0545>-5:45";
constexpr const char* kKiritimati = "<+14>-14";

struct Conversion {
    const char* zone;
    DateTime local;
    DateTime utc;
};

const Conversion kConversions[] = {
    {kNewYork, {2024, 1, 15, 12, 0, 0, 0}, {2024, 1, 15, 17, 0, 0, 0}},
    {kNewYork, {2024, 7, 15, 12, 0, 0, 250}, {2024, 7, 15, 16, 0, 0, 250}},
    {kNewYork, {2023, 12, 31, 20, 30, 15, 999}, {2024, 1, 1, 1, 30, 15, 999}},
    {kNewYork, {2024, 3, 10, 1, 59, 59, 0}, {2024, 3, 10, 6, 59, 59, 0}},
    {kNewYork, {2024, 3, 10, 3, 0, 0, 0}, {2024, 3, 10, 7, 0, 0, 0}},
    {kNewYork, {2024, 11, 3, 0, 59, 59, 0}, {2024, 11, 3, 4, 59, 59, 0}},
    {kNewYork, {2024, 11, 3, 2, 0, 0, 0}, {2024, 11, 3, 7, 0, 0, 0}},
    {kBerlin, {2024, 2, 29, 0, 30, 0, 0}, {2024, 2, 28, 23, 30, 0, 0}},
    {kBerlin, {2024, 8, 1, 0, 30, 0, 0}, {2024, 7, 31, 22, 30, 0, 0}},
    {kKolkata, {2024, 6, 1, 5, 0, 0, 0}, {2024, 5, 31, 23, 30, 0, 0}},
    {"UTC0", {2024, 6, 1, 5, 0, 0, 1}, {2024, 6, 1, 5, 0, 0, 1}},
    {kBerlin, {2024, 3, 31, 1, 59, 59, 0}, {2024, 3, 31, 0, 59, 59, 0}},
    {kBerlin, {2024, 3, 31, 3, 0, 0, 0}, {2024, 3, 31, 1, 0, 0, 0}},
    {kBerlin, {2024, 10, 27, 1, 59, 59, 0}, {2024, 10, 26, 23, 59, 59, 0}},
    {kBerlin, {2024, 10, 27, 3, 0, 0, 0}, {2024, 10, 27, 2, 0, 0, 0}},
    {kLondon, {2024, 3, 31, 0, 59, 59, 0}, {2024, 3, 31, 0, 59, 59, 0}},
    {kLondon, {2024, 3, 31, 2, 0, 0, 0}, {2024, 3, 31, 1, 0, 0, 0}},
    {kLondon, {2024, 10, 27, 2, 0, 0, 0}, {2024, 10, 27, 2, 0, 0, 0}},
    {kSydney, {2024, 1, 1, 0, 0, 0, 0}, {2023, 12, 31, 13, 0, 0, 0}},
    {kSydney, {2024, 4, 7, 1, 59, 59, 0}, {2024, 4, 6, 14, 59, 59, 0}},
    {kSydney, {2024, 4, 7, 3, 0, 0, 0}, {2024, 4, 6, 17, 0, 0, 0}},
    {kSydney, {2024, 10, 6, 1, 59, 59, 0}, {2024, 10, 5, 15, 59, 59, 0}},
    {kSydney, {2024, 10, 6, 3, 0, 0, 0}, {2024, 10, 5, 16, 0, 0, 0}},
    {kLordHowe, {2024, 1, 1, 0, 0, 0, 0}, {2023, 12, 31, 13, 0, 0, 0}},
    {kLordHowe, {2024, 7, 1, 0, 0, 0, 0}, {2024, 6, 30, 13, 30, 0, 0}},
    {kLordHowe, {2024, 10, 6, 2, 30, 0, 0}, {2024, 10, 5, 15, 30, 0, 0}},
    {kChatham, {2024, 1, 1, 0, 0, 0, 0}, {2023, 12, 31, 10, 15, 0, 0}},
    {kChatham, {2024, 7, 1, 0, 0, 0, 0}, {2024, 6, 30, 11, 15, 0, 0}},
    {kSaintJohns, {2024, 1, 1, 0, 0, 0, 0}, {2024, 1, 1, 3, 30, 0, 0}},
    {kSaintJohns, {2024, 7, 1, 23, 45, 0, 0}, {2024, 7, 2, 2, 15, 0, 0}},
    {kKathmandu, {2024, 1, 1, 0, 0, 0, 0}, {2023, 12, 31, 18, 15, 0, 0}},
    {kKiritimati, {2024, 3, 1, 13, 59, 59, 0}, {2024, 2, 29, 23, 59, 59, 0}},
    // Rules that changed over the years, from the system's own table of zones.
    {"America/New_York", {2006, 3, 20, 12, 0, 0, 0}, {2006, 3, 20, 17, 0, 0, 0}},
    {"America/New_York", {2007, 3, 20, 12, 0, 0, 0}, {2007, 3, 20, 16, 0, 0, 0}},
    {"Europe/London", {1970, 1, 15, 12, 0, 0, 0}, {1970, 1, 15, 11, 0, 0, 0}},
    {"Europe/Moscow", {2013, 1, 15, 12, 0, 0, 0}, {2013, 1, 15, 8, 0, 0, 0}},
    {"Europe/Moscow", {2015, 7, 15, 12, 0, 0, 0}, {2015, 7, 15, 9, 0, 0, 0}},
    // The day that Samoa left out.
    {"Pacific/Apia", {2011, 12, 29, 23, 59, 59, 0}, {2011, 12, 30, 9, 59, 59, 0}},
    {"Pacific/Apia", {2011, 12, 31, 0, 0, 0, 0}, {2011, 12, 30, 10, 0, 0, 0}},
};

TEST(PosixClock, LocalToUtc_FollowsTheRulesOfTheDate) {
    for (const auto& [zone, local, utc] : kConversions) {
        const ScopedVariable inForce("TZ", zone);
        EXPECT_EQ(PosixClock().DateLocalToUTC(local), utc) << zone;
    }
}

TEST(PosixClock, UtcToLocal_FollowsTheRulesOfTheDate) {
    for (const auto& [zone, local, utc] : kConversions) {
        const ScopedVariable inForce("TZ", zone);
        EXPECT_EQ(PosixClock().DateUTCToLocal(utc), local) << zone;
    }
}

TEST(PosixClock, LocalToUtc_OfATimeThatStandsTwice_MeansStandardTimeWhateverWasAskedBefore) {
    const ScopedVariable zone("TZ", kNewYork);
    PosixClock clock;
    const DateTime twice{2024, 11, 3, 1, 30, 0, 0};
    const DateTime later{2024, 11, 3, 6, 30, 0, 0};
    clock.DateLocalToUTC({2024, 7, 1, 0, 0, 0, 0});
    EXPECT_EQ(clock.DateLocalToUTC(twice), later);
    clock.DateLocalToUTC({2024, 12, 1, 0, 0, 0, 0});
    EXPECT_EQ(clock.DateLocalToUTC(twice), later);
}

TEST(PosixClock, LocalToUtc_OfATimeThatWasLeftOut_IsReadByTheRulesBefore) {
    const ScopedVariable zone("TZ", kNewYork);
    EXPECT_EQ(PosixClock().DateLocalToUTC({2024, 3, 10, 2, 30, 0, 0}), (DateTime{2024, 3, 10, 7, 30, 0, 0}));
}

TEST(PosixClock, TimeZoneOffset_IsUtcMinusLocalInHours) {
    PosixClock clock;
    {
        const ScopedVariable zone("TZ", "EST5");
        EXPECT_EQ(clock.TimeZoneOffset(), 5.0);
    }
    {
        const ScopedVariable zone("TZ", kKolkata);
        EXPECT_EQ(clock.TimeZoneOffset(), -5.5);
    }
    {
        const ScopedVariable alwaysDaylightTime("TZ", "EST5EDT,0/0,J365/25");
        EXPECT_EQ(clock.TimeZoneOffset(), 4.0);
    }
    {
        const ScopedVariable zone("TZ", "EST5EDT,0/0,J365/25");  // daylight time all the year
        EXPECT_EQ(clock.TimeZoneOffset(), 4.0);
    }
    {
        const ScopedVariable zone("TZ", kKathmandu);
        EXPECT_EQ(clock.TimeZoneOffset(), -5.75);
    }
    const ScopedVariable zone("TZ", "UTC0");
    EXPECT_EQ(clock.TimeZoneOffset(), 0.0);
}

TEST(PosixClock, TimeZoneOffset_IsWhatTheConversionOfThisMomentAdds) {
    for (const char* name : {kNewYork, kBerlin, kSydney, kLordHowe, kChatham}) {
        const ScopedVariable zone("TZ", name);
        PosixClock clock;
        DateTime local = clock.GetLocalTime();
        local.second = local.millisecond = 0;
        const DateTime utc = clock.DateLocalToUTC(local);
        const auto day = [](const DateTime& date) { return std::tuple(date.year, date.month, date.day); };
        const double days = day(utc) < day(local) ? -1.0 : day(local) < day(utc) ? 1.0 : 0.0;
        const double hours = days * 24.0 + utc.hour - local.hour + (utc.minute - local.minute) / 60.0;
        EXPECT_DOUBLE_EQ(clock.TimeZoneOffset(), hours) << name;
    }
}

TEST(PosixClock, GetLocalTime_IsTheUtcTimeInTheZone) {
    const ScopedVariable zone("TZ", kKolkata);
    PosixClock clock;
    const auto ordered = [](const DateTime& d) {
        return std::tuple(d.year, d.month, d.day, d.hour, d.minute, d.second, d.millisecond);
    };
    const DateTime before = PosixClock::GetUtcTime();
    const DateTime now = clock.DateLocalToUTC(clock.GetLocalTime());
    const DateTime after = PosixClock::GetUtcTime();
    EXPECT_LE(ordered(before), ordered(now));
    EXPECT_LE(ordered(now), ordered(after));
}

TEST(PosixClock, TickAt_WrapsToSigned32Bits) {
    using std::chrono::milliseconds, std::chrono::microseconds;
    using TimePoint = std::chrono::steady_clock::time_point;
    EXPECT_EQ(PosixClock::TickAt(TimePoint(milliseconds(0))).value, 0);
    EXPECT_EQ(PosixClock::TickAt(TimePoint(microseconds(1999))).value, 1);
    EXPECT_EQ(PosixClock::TickAt(TimePoint(milliseconds(2147483647))).value, 2147483647);
    EXPECT_EQ(PosixClock::TickAt(TimePoint(milliseconds(2147483648))).value, -2147483647 - 1);
    EXPECT_EQ(PosixClock::TickAt(TimePoint(milliseconds(4294967295))).value, -1);
    EXPECT_EQ(PosixClock::TickAt(TimePoint(milliseconds(4294967301))).value, 5);
}

TEST(PosixClock, Sleep_LastsAtLeastItsTime) {
    PosixClock clock;
    const Tick start = clock.GetTickCount();
    clock.Sleep(5);
    EXPECT_GE(clock.GetTickCount() - start, 5);
}

TEST(PosixClock, Sleep_OfNothingOrLess_ReturnsAtOnce) {
    PosixClock clock;
    const Tick start = clock.GetTickCount();
    clock.Sleep(0);
    clock.Sleep(-60000);
    EXPECT_LT(clock.GetTickCount() - start, 5000);
}

}  // namespace
}  // namespace kestrane
