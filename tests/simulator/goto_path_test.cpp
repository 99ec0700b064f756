#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "simulator/mount_fixture.h"

namespace kestrane {
namespace {

/// A mount that tracks where it is put, and the places of its hour axis.
class GotoPathTest : public MountTest {
protected:
    GotoPathTest() { options.parkedAtPowerOn = false; }

    void Goto(double hourAngle, const std::string& declination) {
        Mount().WatchAxes([this](double hour, double) { hours.push_back(hour); });
        EXPECT_EQ(Ask("Sr" + WireHours(Mount().Picture().siderealTime - hourAngle)), "1");
        EXPECT_EQ(Ask("Sd" + declination), "1");
        EXPECT_EQ(Ask("MS"), "0");
        WaitForSlew();
    }
    /// Whether the hour axis has come by the counterweight straight up, which is half a turn either way.
    bool WentOverTheTop() const {
        return std::ranges::any_of(hours, [](double hour) { return std::abs(hour) > 180; });
    }
    /// The sky turns while a goto runs, and its target with it.
    void ExpectAtHourAngle(double hourAngle) { EXPECT_NEAR(Mount().Picture().hourAngle, hourAngle, 0.02); }

    std::vector<double> hours;
};

struct StartCase {
    MountPointing start;
    double hourAxis;
    double polarAxis;
};

TEST_F(GotoPathTest, Start_IsOnTheSideThatIsAskedFor_WithTheCounterweightUpIfNeedBe) {
    const std::vector<StartCase> cases{
        {{3, 45, false}, -45, 45},   {{-3, 45, true}, 45, -45},  {{2, 20, true}, 120, -70},
        {{-2, 20, false}, -120, 70}, {{-8, 60, false}, 150, 30}, {{8, 60, true}, -150, -30},
    };
    for (const StartCase& start : cases) {
        SCOPED_TRACE(start.start.hourAngle);
        options.start = start.start;
        UseFirmware("VKC4-P02-08");
        const MountPicture picture = Mount().Picture();
        EXPECT_NEAR(picture.hourAxis, start.hourAxis, 1e-9);
        EXPECT_NEAR(picture.polarAxis, start.polarAxis, 1e-9);
        EXPECT_NEAR(picture.hourAngle, start.start.hourAngle, 1e-9);
        EXPECT_NEAR(picture.declination, start.start.declination, 1e-9);
        EXPECT_EQ(Ask("pS"), start.start.westSide ? "West#" : "East#");
        EXPECT_EQ(picture.tracking, '2');
    }
}

TEST_F(GotoPathTest, Start_OnASouthernSite_PointsThere) {
    options.latitude = -30;
    options.start = MountPointing{-1, -45, true};
    const MountPicture picture = Mount().Picture();
    EXPECT_NEAR(picture.declination, -45, 1e-9);
    EXPECT_NEAR(picture.hourAngle, -1, 1e-9);
    EXPECT_NEAR(picture.polarAxis, -45, 1e-9);
}

TEST_F(GotoPathTest, Start_OfAParkedMount_IsItsHome) {
    options.parkedAtPowerOn = true;
    options.start = MountPointing{2, 20, true};
    EXPECT_TRUE(Mount().Picture().parked);
    EXPECT_EQ(Mount().Picture().hourAxis, 0);
}

TEST_F(GotoPathTest, Place_EndsASlew_AndTrackingGoesOn) {
    Goto(3, "+20*00:00");
    Ask("Sd+80*00:00");
    Ask("MS");
    Mount().Place({2, 20, true});
    EXPECT_FALSE(Mount().Picture().slewing);
    const MountPicture before = Mount().Picture();
    EXPECT_NEAR(before.hourAngle, 2, 1e-9);
    EXPECT_TRUE(before.westSide);
    Wait(10'000);
    EXPECT_NEAR(Mount().Picture().rightAscension, before.rightAscension, 1e-6);
    EXPECT_NEAR(Mount().Picture().hourAxis - before.hourAxis, 10 * 15.041 / 3600, 1e-4);
}

TEST_F(GotoPathTest, Watcher_SeesEachMillisecondOfAGoto_UntilItIsSentAway) {
    options.start = MountPointing{3, 45, false};
    Goto(3.5, "+40*00:00");
    const std::size_t seen = hours.size();
    EXPECT_GT(seen, 1'500U);
    for (std::size_t i = 1; i < seen; ++i) {
        EXPECT_LT(std::abs(hours[i] - hours[i - 1]), 0.006) << "5 degrees per second, and the sky";
    }
    Mount().WatchAxes({});
    hours.clear();
    Wait(1'000);
    Mount().Picture();
    EXPECT_TRUE(hours.empty());
}

struct PathCase {
    double from;
    bool fromWest;
    double to;
    bool overTheTop;
};

const std::vector<PathCase> kPaths{
    {-3, true, 3, false},   {3, false, -3, false},  // from a hanging counterweight never
    {0.1, true, 11, false}, {4, true, 4.5, false},  // little more than half a turn down, less than half
    {4, true, -11, true},   {4, true, 9, false},    // down 225 and 105 degrees
    {-4, false, 11, true},  {-8, false, 1, true},  {8, true, -11, false},
};

TEST_F(GotoPathTest, ShorterWay_LeadsOverTheTop_WhereTheOtherIsMoreThanHalfATurn) {
    options.gotoPath = GotoPath::ShorterWay;
    for (const PathCase& path : kPaths) {
        SCOPED_TRACE(std::to_string(path.from) + " to " + std::to_string(path.to));
        options.start = MountPointing{path.from, 80, path.fromWest};
        UseFirmware("VKC4-P01-01");
        hours.clear();
        Goto(path.to, "+81*30:00");
        const MountPicture picture = Mount().Picture();
        ExpectAtHourAngle(path.to);
        EXPECT_NEAR(picture.declination, 81.5, 1e-3);
        EXPECT_EQ(picture.westSide, path.to < 0);
        EXPECT_EQ(WentOverTheTop(), path.overTheTop);
        EXPECT_LT(std::abs(hours.back() - hours.front()), 182);
    }
}

TEST_F(GotoPathTest, CounterweightDown_NeverLeadsOverTheTop) {
    for (const PathCase& path : kPaths) {
        SCOPED_TRACE(std::to_string(path.from) + " to " + std::to_string(path.to));
        options.start = MountPointing{path.from, 80, path.fromWest};
        UseFirmware("VKC4-P02-08");
        hours.clear();
        Goto(path.to, "+81*30:00");
        ExpectAtHourAngle(path.to);
        EXPECT_FALSE(WentOverTheTop());
    }
}

TEST_F(GotoPathTest, ShorterWay_WithinADegree_KeepsTheSide) {
    options.gotoPath = GotoPath::ShorterWay;
    for (const double degrees : {-0.9, 0.9, -1.2, 1.2}) {
        SCOPED_TRACE(degrees);
        options.start = MountPointing{2, 60, true};
        UseFirmware("VKC4-P01-01");
        Goto(2 + degrees / 15, "+60*30:00");
        EXPECT_EQ(Mount().Picture().westSide, std::abs(degrees) < 1);
        ExpectAtHourAngle(2 + degrees / 15);
    }
}

}  // namespace
}  // namespace kestrane
