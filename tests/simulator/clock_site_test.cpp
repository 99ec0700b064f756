#include <cmath>
#include <erfa.h>
#include <vector>

#include "mount_fixture.h"
#include "simulator/mount_clock.h"

namespace kestrane {
namespace {

class ClockSiteTest : public MountTest {};

TEST_F(ClockSiteTest, Clock_StartsAsTheOneItWasGivenAndRunsOn) {
    EXPECT_EQ(Ask("GL"), "22:15:30#");
    EXPECT_EQ(Ask("GG"), "-01:00:00.0#");
    Wait(2 * 3'600'000);
    EXPECT_EQ(Ask("GL"), "00:15:30#");
    EXPECT_EQ(Mount().Picture().localTime.day, 21);
    EXPECT_EQ(Mount().Picture().clockSetByMs, 0);
}

TEST_F(ClockSiteTest, Clock_IsSetByTimeDateAndZone) {
    EXPECT_EQ(AskRaw(":SL10:20:30#:SC02/29/28#:SG05:30:00.0#").size(), 1U + 50 + 1);
    EXPECT_EQ(Ask("GL"), "10:20:30#");
    EXPECT_EQ(Ask("GG"), "05:30:00.0#");
    const MountPicture picture = Mount().Picture();
    EXPECT_EQ(picture.localTime.year, 2028);
    EXPECT_EQ(picture.localTime.month, 2);
    EXPECT_EQ(picture.localTime.day, 29);
    EXPECT_EQ(picture.zone, 5.5);
    Wait(24 * 3'600'000);
    EXPECT_EQ(Mount().Picture().localTime.month, 3);
    EXPECT_EQ(Mount().Picture().localTime.day, 1);
}

TEST_F(ClockSiteTest, Clock_TellsByHowMuchItWasSet) {
    Ask("SL22:15:32");
    EXPECT_EQ(Mount().Picture().clockSetByMs, 2000);
}

TEST_F(ClockSiteTest, Time_SetWhileTracking_MovesTheRightAscensionNotTheAxes) {
    options.parkedAtPowerOn = false;
    const MountPicture before = Mount().Picture();
    Mount().Write(":SL23:15:30#");
    const MountPicture after = Mount().Picture();
    EXPECT_EQ(after.hourAxis, before.hourAxis);
    EXPECT_NEAR(std::remainder(after.rightAscension - before.rightAscension, 24.0), 1.0027379, 1e-5);
}

TEST_F(ClockSiteTest, SiderealTime_IsThatOfTheAstronomyLibrary) {
    const std::vector<DateTime> times{
        {1999, 12, 31, 23, 59, 59, 0}, {2000, 1, 1, 12, 0, 0, 0},    {2024, 2, 29, 6, 30, 15, 500},
        {2024, 3, 20, 21, 15, 30, 0},  {2026, 11, 21, 5, 0, 0, 250}, {2049, 7, 1, 0, 0, 0, 0},
    };
    for (const DateTime& utc : times) {
        double djm0 = 0;
        double djm = 0;
        ASSERT_EQ(eraCal2jd(utc.year, utc.month, utc.day, &djm0, &djm), 0);
        djm += (utc.hour + (utc.minute + (utc.second + utc.millisecond / 1000.0) / 60.0) / 60.0) / 24.0;
        const double expected = eraGst06a(djm0, djm, djm0, djm + 69.2 / 86400) * 12 / 3.14159265358979323846;
        const double actual = simulator::GreenwichSiderealTime(simulator::MillisecondsSince1970(utc));
        EXPECT_NEAR(std::remainder(actual - expected, 24.0) * 3600, 0, 0.3) << utc.year;
    }
}

TEST_F(ClockSiteTest, SiderealTimeQuery_FollowsSiteAndZone) {
    // 22:15:30 at UTC+1; 10 degrees east.
    const double greenwich =
        simulator::GreenwichSiderealTime(simulator::MillisecondsSince1970({2024, 3, 20, 21, 15, 30, 0}));
    EXPECT_NEAR(Mount().Picture().siderealTime, std::fmod(greenwich + 10.0 / 15, 24), 1e-9);
    Ask("Sg090*00:00");
    const double later = 0.2 * 1.00273790935 / 3600;
    EXPECT_NEAR(Mount().Picture().siderealTime, std::fmod(greenwich + later - 6 + 24, 24), 1e-6);
    const std::string reply = Ask("GS");
    ASSERT_EQ(reply.size(), 9U);
    EXPECT_EQ(reply[2], ':');
    EXPECT_EQ(reply[5], ':');
}

TEST_F(ClockSiteTest, DateArithmetic_RoundsTrip) {
    for (std::int64_t day = -40000; day < 40000; day += 13) {
        const std::int64_t moment = day * 86'400'000 + 45'296'789;
        const DateTime date = simulator::FromMillisecondsSince1970(moment);
        EXPECT_EQ(simulator::MillisecondsSince1970(date), moment);
        EXPECT_EQ(date.hour, 12);
        EXPECT_EQ(date.millisecond, 789);
    }
    EXPECT_EQ(simulator::MillisecondsSince1970({2000, 3, 1, 0, 0, 0, 0}), 951868800000);
}

TEST_F(ClockSiteTest, Site_IsSetAndTold) {
    EXPECT_EQ(Ask("St-33*30:15"), "1");
    EXPECT_EQ(Ask("Sg-010*30:00"), "1");
    EXPECT_EQ(Ask("Gt"), "-33*30:15.0#");
    EXPECT_EQ(Ask("Gg"), "349*30:00.0#") << "west positive, 0 to 360";
    EXPECT_EQ(AskRaw(":St+00*00:30#"), "1");
    EXPECT_EQ(Ask("Gt"), "+00*00:30.0#");
    EXPECT_EQ(Ask("Sg360*00:00"), "1");
    EXPECT_EQ(Ask("Gg"), "000*00:00.0#");
}

TEST_F(ClockSiteTest, Hemisphere_Changed_LeavesTheDeclination) {
    GotoHourAngle(2, "-10*00:00");
    Ask("St-33*00:00");
    EXPECT_NEAR(Mount().Picture().declination, -10, 1e-9);
    EXPECT_NEAR(Mount().Picture().hourAngle, 2, 0.01);
}

TEST_F(ClockSiteTest, MeridianDelay_IsToldWithItsSign) {
    Ask("SM-0:30:00");
    EXPECT_EQ(Ask("GM"), "-00:30:00.0#");
    Ask("SM0:00:00.0");
    EXPECT_EQ(Ask("GM"), "00:00:00.0#");
}

TEST_F(ClockSiteTest, Backlash_IsKept) {
    Ask("Bd0*00:12.5");
    Ask("Br0*00:59.9");
    EXPECT_EQ(Mount().Picture().decBacklash, 12.5);
    EXPECT_EQ(Mount().Picture().raBacklash, 59.9);
}

}  // namespace
}  // namespace kestrane
