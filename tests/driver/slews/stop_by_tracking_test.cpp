#include <functional>
#include <gtest/gtest.h>
#include <string>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"

/// A write of the tracking stops the mount, and nothing of the slew follows: no second leg from where the first one was
/// cut, and no repetition of the target.
namespace kestrane {
namespace {

/// Three hours past the meridian and said to stand on the west side: a slew over it takes two legs. Tracking would be
/// switched on for it.
class StopByTrackingFixture : public SlewWireTest {
protected:
    void Prepare(const std::string& firmware) {
        Connect(firmware, {{"chkAutoEnableTracking", "1"}});
        mount->Add(std::make_unique<StandsWest>());
        ra = NormalizeHours(telescope->SiderealTime() + 2.0);
    }
    void Slew(bool waits) {
        waits ? telescope->SlewToCoordinates(ra, kDec) : telescope->SlewToCoordinatesAsync(ra, kDec);
    }
    bool InLeg(int leg) { return driver->state.g_bSlewing && TimesSent("MS") == leg && mount->Picture().slewing; }

    static constexpr double kDec = 30.0;
    double ra = 0.0;
};

struct Write {
    std::string name;
    std::function<void(Telescope& other, frmHandBox& handBox)> call;
    bool tracksBehind;

    friend void PrintTo(const Write& write, std::ostream* out) { *out << write.name; }
};

class StopByTrackingTest : public StopByTrackingFixture,
                           public testing::WithParamInterface<std::tuple<std::string, Write, bool, int>> {};

TEST_P(StopByTrackingTest, WriteDuringALeg_EndsTheSlewThere) {
    const auto& [firmware, write, waits, leg] = GetParam();
    Prepare(firmware);
    Telescope& other = OtherClient();
    std::int64_t stopped = 0;
    const When stop(
        machine.pump, [&, leg = leg] { return InLeg(leg); },
        [&, &write = write] {
            stopped = machine.clock.Elapsed();
            write.call(other, driver->handBox);
            EXPECT_FALSE(driver->state.g_bSafeSlewPending);
        });
    Slew(waits);
    if (waits) {
        EXPECT_LT(machine.clock.Elapsed() - stopped, 1'000) << "the wait has ended";
    }
    for (int i = 0; i < 600 && !stop.Happened(); ++i) {
        machine.AdvanceTime(100);
    }
    ASSERT_TRUE(stop.Happened());
    EXPECT_TRUE(WaitForEnd());
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesSent("MS"), leg);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_EQ(driver->state.g_bTracking, write.tracksBehind);
    EXPECT_GE(TimesLogged("The slew ends here: a write of the tracking stops the mount"), 1);
    EXPECT_TRUE(PollRuns());
}

INSTANTIATE_TEST_SUITE_P(
    Writes, StopByTrackingTest,
    testing::Combine(
        testing::Values("S", "D"),
        testing::Values(Write{"TrackingOff", [](Telescope& other, frmHandBox&) { other.Tracking(false); }, false},
                        Write{"TrackingOn", [](Telescope& other, frmHandBox&) { other.Tracking(true); }, true},
                        Write{"LunarRate", [](Telescope& other, frmHandBox&) { other.TrackingRate(1); }, true},
                        Write{"RateThatThereIsNot",
                              [](Telescope& other, frmHandBox&) {
                                  EXPECT_THROW(other.TrackingRate(9), DriverError);
                                  other.TrackingRate(0);
                              },
                              true},
                        Write{"ZeroButton", [](Telescope&, frmHandBox& box) { box.btnRateZero.FireClick(); }, false},
                        Write{"SolarButton", [](Telescope&, frmHandBox& box) { box.btnRateSolar.FireClick(); }, true},
                        Write{"KingCheckBox",
                              [](Telescope&, frmHandBox& box) {
                                  box.chkEnableKingRate.Checked(!box.chkEnableKingRate.Checked());
                              },
                              true}),
        testing::Bool(), testing::Values(1, 2)),
    [](const auto& row) {
        return std::get<0>(row.param) + std::get<1>(row.param).name + (std::get<2>(row.param) ? "Waits" : "Async") +
               "Leg" + std::to_string(std::get<3>(row.param));
    });

class OwnTrackingTest : public StopByTrackingFixture, public testing::WithParamInterface<std::string> {};

TEST_P(OwnTrackingTest, SlewThatSwitchesTrackingOnByItself_KeepsItsSecondLeg) {
    Prepare(GetParam());
    for (const bool waits : {false, true}) {
        telescope->Tracking(false);
        driver->motion.SecondLegPlanned();  // of a slew whose mount has stopped tracking by itself
        const int before = TimesSent("MS");
        Slew(waits);
        EXPECT_TRUE(WaitForEnd());
        machine.AdvanceTime(3'000);
        EXPECT_EQ(TimesSent("MS"), before + (waits ? 3 : 2));
        EXPECT_NEAR(mount->Picture().rightAscension, ra, 0.01);
        EXPECT_NEAR(mount->Picture().declination, kDec, 0.05);
        telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 3.0), 40.0);
        ra = NormalizeHours(telescope->SiderealTime() + 2.0);
    }
}

TEST_P(OwnTrackingTest, RestoreBehindAFinishedSlew_LeavesTheNextOneItsSecondLeg) {
    Prepare(GetParam());
    telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 3.0), 40.0);
    driver->state.g_bRestoreRatePending = true;
    driver->motion.SlewCompleteDue();  // as up to the next tick of the poll
    const int before = TimesSent("MS");
    Slew(false);
    ASSERT_TRUE(driver->state.g_bSafeSlewPending);
    EXPECT_TRUE(WaitForEnd());
    machine.AdvanceTime(3'000);
    EXPECT_EQ(TimesSent("MS"), before + 2);
    EXPECT_NEAR(mount->Picture().rightAscension, ra, 0.01);
}

TEST_P(OwnTrackingTest, HorizontalSlewInThePlaceOfAFirstLeg_IsWaitedFor) {
    Prepare(GetParam());
    telescope->Tracking(false);
    driver->motion.SecondLegPlanned();
    telescope->SlewToAltAz(200.0, 50.0);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_NEAR(mount->Picture().azimuth, 200.0, 0.2);
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesSent("MS"), 1);
}

INSTANTIATE_TEST_SUITE_P(Roads, OwnTrackingTest, testing::Values("S", "D"));

}  // namespace
}  // namespace kestrane
