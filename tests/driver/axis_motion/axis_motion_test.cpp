#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "kernel/base/conversions.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

using Wire = std::vector<std::string>;

constexpr double kSidereal = 15.04107 / 3600.0;  // degrees per second

/// A client whose mount tracks, some seconds after its connect.
class AxisMotionTest : public DriverFixture {
protected:
    void SetUp() override {
        Seed({{"chkAutoCalibrateOnFirstSlew", "0"}, {"chkSetSlewRate", "0"}});
        telescope = ConnectedTelescope();
        machine.AdvanceTime(10'000);
        driver->InternalInstance().MaxSerialRetries(0);  // a refused rate is asked for once
        log.clear();
    }
    void TearDown() override {
        telescope.reset();
        DriverFixture::TearDown();
    }

    Wire Move(std::int32_t axis, double rate) {
        return SentBy([&] { telescope->MoveAxis(axis, rate); });
    }
    bool LoggedAt(int level, const std::string& message) const { return LoggedAs("ASCOM", level, message); }
    bool LoggedLine(const std::string& message) const {
        return std::ranges::any_of(log, [&](const LogLine& line) { return line.message == message; });
    }

    TelescopeObject telescope;
};

struct RateRow {
    double latitude;
    bool westSide;
    std::int32_t axis;
    double rate;
    std::string command;
    std::string shown;
};

class AxisRateTest : public AxisMotionTest, public testing::WithParamInterface<RateRow> {};

TEST_P(AxisRateTest, Rate_GoesToTheMountAsAMultipleOfSidereal) {
    driver->state.g_dSiteLatitude = GetParam().latitude;
    driver->state.g_bWestSide = GetParam().westSide;
    Wire sent = Move(GetParam().axis, GetParam().rate);
    std::erase(sent, "#");  // after a value that this firmware refuses
    EXPECT_EQ(sent, Wire{GetParam().command});
    const auto& box = GetParam().axis == 0 ? driver->handBox.txtRaCustom : driver->handBox.txtDecCustom;
    EXPECT_EQ(box.Text(), GetParam().shown);
    EXPECT_EQ(driver->state.g_nDisplayedRate, GetParam().rate == 0.0 ? 1 : 4);
}

INSTANTIATE_TEST_SUITE_P(Rates, AxisRateTest,
                         testing::Values(RateRow{47.0, false, 0, 0.0, "RR1.00000", "-1.00000"},
                                         RateRow{0.0, false, 0, 0.0, "RR1.00000", "-1.00000"},
                                         RateRow{-33.0, false, 0, 0.0, "RR-1.00000", "-1.00000"},
                                         RateRow{47.0, false, 0, kSidereal, "RR0.00000", "0.00000"},
                                         RateRow{47.0, true, 0, 0.00417807, "RR0.00000", "0.00000"},
                                         RateRow{-33.0, false, 0, 0.00417807, "RR0.00000", "0.00000"},
                                         RateRow{47.0, true, 0, 1.0, "RR-238.34467", "238.34467"},
                                         RateRow{-33.0, true, 0, 1.0, "RR238.34467", "238.34467"},
                                         RateRow{47.0, false, 0, -1.0, "RR240.34467", "-240.34467"},
                                         RateRow{47.0, false, 0, 5.0, "RR-1195.72337", "1195.72337"},
                                         RateRow{47.0, false, 0, -5.0, "RR1197.72337", "-1197.72337"},
                                         RateRow{47.0, false, 1, 0.0, "RD0.00000", "0.00000"},
                                         RateRow{47.0, true, 1, 0.0, "RD0.00000", "0.00000"},
                                         RateRow{47.0, false, 1, 1.0, "RD239.34467", "239.34467"},
                                         RateRow{47.0, true, 1, 1.0, "RD-239.34467", "239.34467"},
                                         RateRow{-33.0, false, 1, 1.0, "RD239.34467", "239.34467"},
                                         RateRow{-33.0, true, 1, -1.0, "RD239.34467", "-239.34467"}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

// --- what is refused

TEST_F(AxisMotionTest, RateAboveTheLargest_IsOutOfRange_AndIsNotStored) {
    for (const double rate : {5.000001, -5.000001, std::numeric_limits<double>::infinity(), std::nan("")}) {
        EXPECT_EQ(ErrorOf([&] { telescope->MoveAxis(0, rate); }), 0x80040405U);
        EXPECT_EQ(ErrorOf([&] { telescope->MoveAxis(1, rate); }), 0x80040405U);
    }
    EXPECT_TRUE(LoggedAt(4, "MoveAxis(1,5.000001) - Rate is out of Range - Max is 5 deg/sec"));
    EXPECT_FALSE(telescope->Axes().Runs());
    EXPECT_EQ(TimesSent("RR1.00000"), 0);
    try {
        telescope->MoveAxis(1, -6.5);
        FAIL();
    } catch (const DriverError& error) {
        EXPECT_STREQ(error.what(), "Method MoveAxis 1 The rate is out of range.");
    }
}

TEST_F(AxisMotionTest, AxisThatThereIsNot_IsNotImplemented_ButEndsTheSupervisionOfASlew) {
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    ASSERT_TRUE(driver->state.g_bSlewing);
    for (const std::int32_t axis : {2, -1, 3}) {
        EXPECT_EQ(ErrorOf([&] { telescope->MoveAxis(axis, 1.0); }), 0x80040400U);
    }
    EXPECT_FALSE(driver->state.g_bSlewing);
    EXPECT_EQ(ErrorOf([&] { telescope->MoveAxis(2, 5.5); }), 0x80040405U) << "the range is checked first";
    EXPECT_TRUE(LoggedAt(0, "MoveAxis(2,1)"));
    try {
        telescope->MoveAxis(2, 1.0);
        FAIL();
    } catch (const DriverError& error) {
        EXPECT_STREQ(error.what(), "Method MoveAxis 2 is not implemented in this driver.");
    }
    EXPECT_FALSE(telescope->Axes().Runs());
}

TEST_F(AxisMotionTest, ParkedOrUnconnected_IsRefused_AndTheRateIsNotStored) {
    driver->motion.MountReportsParked(true);
    EXPECT_EQ(ErrorOf([&] { telescope->MoveAxis(0, 1.0); }), 0x80040409U);
    driver->motion.MountReportsParked(false);
    telescope->Connected(false);
    EXPECT_EQ(ErrorOf([&] { telescope->MoveAxis(1, 1.0); }), 0x80040404U);
    EXPECT_FALSE(telescope->Axes().Runs());
}

TEST_F(AxisMotionTest, RateThatTheMountRefuses_RaisesNothing) {
    ASSERT_EQ(Move(0, 5.0).at(0), "RR-1195.72337");  // beyond what this firmware takes
    EXPECT_TRUE(telescope->Slewing());
}

TEST_F(AxisMotionTest, LargestRate_IsThatOfTheMount) {
    driver->state.g_dMaxAxisRate = 2.5;
    EXPECT_EQ(ErrorOf([&] { telescope->MoveAxis(0, 2.6); }), 0x80040405U);
    EXPECT_TRUE(LoggedAt(4, "MoveAxis(0,2.6) - Rate is out of Range - Max is 2.5 deg/sec"));
    EXPECT_EQ(ErrorOf([&] { telescope->MoveAxis(0, -2.5); }), 0U);
}

// --- motion, and the tracking before it

TEST_F(AxisMotionTest, Axes_RunAtTheirRates_AndTheEndBringsTrackingBack) {
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(1, -0.25);
    EXPECT_NEAR(mount->Picture().hourSpeed, 0.5, 1e-4);
    EXPECT_NEAR(std::abs(mount->Picture().polarSpeed), 0.25, 1e-4);
    machine.AdvanceTime(10'000);
    EXPECT_NEAR(mount->Picture().hourSpeed, 0.5, 1e-4) << "the poll leaves the motion alone";
    telescope->MoveAxis(1, 0.0);
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    EXPECT_NEAR(mount->Picture().hourSpeed, 0.5, 1e-4);
    EXPECT_EQ(Move(0, 0.0), (Wire{"Q", "RT3", "RT2"}));
    EXPECT_NEAR(mount->Picture().hourSpeed, kSidereal, 1e-5);
    EXPECT_TRUE(telescope->Tracking());
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_EQ(telescope->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::NotSet);
}

TEST_F(AxisMotionTest, EndOfAMotion_LeavesAMountThatDidNotTrackAtRest) {
    telescope->Tracking(false);
    telescope->MoveAxis(0, 0.5);
    EXPECT_EQ(telescope->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::TrackingWasDisabled);
    machine.AdvanceTime(6'000);
    telescope->MoveAxis(0, -1.0);
    EXPECT_EQ(telescope->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::TrackingWasDisabled)
        << "the first motion decides";
    EXPECT_EQ(Move(0, 0.0), (Wire{"#", "Q", "RT9"}));
    EXPECT_FALSE(telescope->Tracking());
    EXPECT_NEAR(mount->Picture().hourSpeed, 0.0, 1e-9);
}

TEST_F(AxisMotionTest, ZeroWithNoMotionBefore_StopsTheAxisAgainstTheGround_AndTheSecondBringsTrackingBack) {
    EXPECT_EQ(Move(0, 0.0), Wire{"RR1.00000"});
    EXPECT_EQ(telescope->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::TrackingWasEnabled);
    EXPECT_NEAR(mount->Picture().hourSpeed, 0.0, 1e-9);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_EQ(Move(0, 0.0), (Wire{"Q", "RT3", "RT2"}));
}

TEST_F(AxisMotionTest, ZeroThatStopsTracking_IsARateLikeAnyOther) {
    driver->persist.WriteIniValue("chkRaMoveAxisOfZeroStopsTracking", "1");
    telescope->MoveAxis(0, 0.5);
    EXPECT_EQ(Move(0, 0.0), Wire{"RR1.00000"});
    EXPECT_EQ(telescope->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::TrackingWasEnabled);
    EXPECT_EQ(driver->state.g_nDisplayedRate, 1);
}

TEST_F(AxisMotionTest, ZeroOfTheSecondaryAxis_LeavesTheTrackingStateAlone) {
    telescope->MoveAxis(1, 0.5);
    EXPECT_EQ(telescope->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::NotSet);
    telescope->MoveAxis(0, 0.5);
    EXPECT_EQ(Move(1, 0.0), Wire{"RD0.00000"});
    EXPECT_EQ(telescope->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::TrackingWasEnabled);
    EXPECT_EQ(driver->state.g_nDisplayedRate, 4) << "the other axis runs";
}

TEST_F(AxisMotionTest, WriteOfTheTrackingOrItsRate_ForgetsTheStateAndKeepsTheRates) {
    telescope->MoveAxis(0, 0.5);
    telescope->TrackingRate(1);
    EXPECT_EQ(telescope->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::NotSet);
    telescope->MoveAxis(0, 0.5);
    telescope->Tracking(true);
    EXPECT_EQ(telescope->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::NotSet);
    telescope->MoveAxis(0, 0.5);
    driver->motion.MountReportsParked(true);
    telescope->Tracking(false);  // does nothing else while parked
    driver->motion.MountReportsParked(false);
    EXPECT_EQ(telescope->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::NotSet);
    EXPECT_EQ(ErrorOf([&] { telescope->TrackingRate(7); }), 0x80040405U);
    EXPECT_EQ(telescope->Axes().rates[0], 0.5);
    EXPECT_TRUE(telescope->Slewing());
}

TEST_F(AxisMotionTest, MotionRightBehindAConnectOrASlew_IsNotEndedByTheTrackingThatTheseRestore) {
    telescope.reset();
    Restart();
    telescope = ConnectedTelescope();
    ASSERT_TRUE(driver->state.g_bSlewCompletePending);
    telescope->MoveAxis(1, 0.25);
    machine.AdvanceTime(10'000);
    EXPECT_NEAR(std::abs(mount->Picture().polarSpeed), 0.25, 1e-4);
    telescope->MoveAxis(1, 0.0);
    telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    driver->motion.SlewCompleteDue();  // as up to the next tick of the poll
    telescope->MoveAxis(0, 0.5);
    machine.AdvanceTime(10'000);
    EXPECT_NEAR(mount->Picture().hourSpeed, 0.5, 1e-4);
}

TEST_F(AxisMotionTest, RateOfZeroBehindASlew_LeavesThatSlewItsEnd) {
    for (const double rate : {0.0, 0.25}) {
        driver->motion.SlewCompleteDue();  // as up to the next tick of the poll
        log.clear();
        telescope->MoveAxis(1, rate);
        machine.AdvanceTime(3'000);
        EXPECT_EQ(LoggedLine("Restoring tracking state = 1"), rate == 0.0);
        EXPECT_FALSE(driver->state.g_bSlewCompletePending);
    }
}

TEST_F(AxisMotionTest, MotionDuringAPark_EndsThePark_AndGoesOn) {
    for (const bool byStatus : {true, false}) {
        for (const bool endIsPending : {true, false}) {
            driver->state.g_bDontUseGosForSlew = !byStatus;
            driver->motion.SlewBegins();
            if (endIsPending) {
                driver->motion.SlewEnds();
                driver->motion.SlewCompleteDue();
            }
            driver->motion.ParkBegins();
            telescope->MoveAxis(1, 0.25);
            EXPECT_TRUE(driver->state.g_bAbortPark);
            machine.AdvanceTime(10'000);
            EXPECT_FALSE(driver->state.g_bParking);
            EXPECT_FALSE(driver->state.g_bSlewing);
            EXPECT_NEAR(std::abs(mount->Picture().polarSpeed), 0.25, 1e-4);
            telescope->MoveAxis(1, 0.0);
        }
    }
    telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    EXPECT_FALSE(driver->state.g_bAbortPark);
    EXPECT_NEAR(telescope->Declination(), 20.0, 0.1);
}

TEST_F(AxisMotionTest, AxisThatThereIsNot_DuringAPark_EndsThePark) {
    driver->motion.ParkBegins();
    EXPECT_EQ(ErrorOf([&] { telescope->MoveAxis(2, 0.5); }), 0x80040400U);
    machine.AdvanceTime(5'000);
    EXPECT_FALSE(driver->state.g_bParking);
}

TEST_F(AxisMotionTest, MotionBehindAnAbort_LeavesNoAbortBehind) {
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    telescope->AbortSlew();
    ASSERT_TRUE(driver->state.g_bAbortSlew);
    telescope->MoveAxis(1, 0.25);
    EXPECT_FALSE(driver->state.g_bAbortSlew);
}

TEST_F(AxisMotionTest, AutomaticTracking_IsNotSwitchedOnForAMotion) {
    driver->persist.WriteIniValue("chkAutoEnableTracking", "1");
    telescope->Tracking(false);
    EXPECT_EQ(Move(1, 0.25), Wire{"RD59.83617"});
    EXPECT_EQ(Move(0, 1.0), Wire{"RR-238.34467"});
    EXPECT_FALSE(telescope->Tracking());
}

TEST_F(AxisMotionTest, EndOfThePrimaryAxis_StopsTheSecondaryInTheMountToo_ButNotItsRate) {
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(1, 0.5);
    EXPECT_EQ(Move(0, 0.0), (Wire{"Q", "RT3", "RT2"}));
    EXPECT_EQ(telescope->Axes().rates[1], 0.5);
    EXPECT_TRUE(telescope->Slewing());
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    EXPECT_EQ(Move(1, 0.0), Wire{"RD0.00000"});
    EXPECT_FALSE(telescope->Slewing());
}

TEST_F(AxisMotionTest, EndOfAMotion_WithATrackingRateThatThereIsNot_TellsSo_AndHasEndedIt) {
    driver->state.g_nTrackingRate = 7;
    telescope->MoveAxis(0, 0.5);
    EXPECT_EQ(ErrorOf([&] { telescope->MoveAxis(0, 0.0); }), 0x80040405U);
    EXPECT_FALSE(telescope->Axes().Runs());
    EXPECT_EQ(telescope->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::NotSet);
    EXPECT_LT(mount->Picture().hourSpeed, 0.005);
}

TEST_F(AxisMotionTest, NewRateThatDoesNotReachTheMount_LeavesTheAxisAtItsFormerOne) {
    ExpectSwallow("*");
    telescope->MoveAxis(1, 0.5);
    mount->SetLineDead(true);
    telescope->MoveAxis(1, 5.0);
    mount->SetLineDead(false);
    EXPECT_NEAR(std::abs(mount->Picture().polarSpeed), 0.5, 1e-4);
    EXPECT_EQ(telescope->Axes().rates[1], 5.0);
}

// --- Slewing

TEST_F(AxisMotionTest, Slewing_TellsOfTheClientsOwnAxes) {
    const TelescopeObject other = driver->CreateTelescope();
    telescope->MoveAxis(1, 0.25);
    EXPECT_TRUE(telescope->Slewing());
    EXPECT_TRUE(LoggedAt(0, "GET Slewing = True, MoveAxis(0)=0, MoveAxis(1)=0.25"));
    EXPECT_FALSE(other->Slewing());
    EXPECT_TRUE(LoggedAt(0, "GET Slewing = False, MoveAxis(0)=0, MoveAxis(1)=0"));
    telescope->MoveAxis(0, -0.5);
    telescope->MoveAxis(1, 0.0);
    EXPECT_TRUE(telescope->Slewing());
    EXPECT_TRUE(LoggedAt(0, "GET Slewing = True, MoveAxis(0)=-0.5, MoveAxis(1)=0"));
}

// --- a slew that a motion takes over from

TEST_F(AxisMotionTest, RunningSlew_IsNoLongerSupervised_AndGetsNoStop) {
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    driver->motion.SecondLegPlanned();
    EXPECT_EQ(Move(1, 0.25), Wire{"RD59.83617"});
    EXPECT_FALSE(driver->state.g_bSlewing);
    EXPECT_FALSE(driver->state.g_bMountSlewing);
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    EXPECT_FALSE(driver->state.g_bAbortSlew);
}

TEST_F(AxisMotionTest, MotionDuringASlewThatLasts_OutlivesItsEnd) {
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    for (const bool byStatus : {true, false}) {
        SCOPED_TRACE(byStatus ? "by the status text" : "by the distance");
        driver->state.g_bDontUseGosForSlew = !byStatus;
        telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 4.0), byStatus ? -10.0 : 70.0);
        machine.AdvanceTime(2'000);
        telescope->MoveAxis(1, 0.25);
        machine.AdvanceTime(5'500);
        ASSERT_TRUE(mount->Picture().slewing);
        EXPECT_EQ(driver->state.g_bSlewing, byStatus) << "the status text tells of it again";
        machine.AdvanceTime(60'000);
        EXPECT_FALSE(mount->Picture().slewing);
        EXPECT_FALSE(driver->state.g_bSlewing);
        EXPECT_EQ(LoggedLine("An axis runs: the tracking state is not restored"), byStatus);
        EXPECT_NEAR(std::abs(mount->Picture().polarSpeed), 0.25, 1e-4);
        EXPECT_TRUE(telescope->Slewing());
        telescope->MoveAxis(1, 0.0);
        EXPECT_FALSE(telescope->Slewing());
        log.clear();
    }
    telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    machine.AdvanceTime(3'000);
    EXPECT_TRUE(LoggedLine("Restoring tracking state = 1"));
}

TEST_F(AxisMotionTest, MotionThatEndsBeforeTheSlewItTookOverFrom_LeavesThatSlewItsEnd) {
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    const std::vector<std::function<void()>> ends{[&] { telescope->MoveAxis(1, 0.0); }, [&] { telescope.reset(); }};
    const TelescopeObject other = ConnectedTelescope();
    for (const auto& end : ends) {
        log.clear();
        telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 4.0),
                                          telescope->Declination() > 30.0 ? -10.0 : 70.0);
        machine.AdvanceTime(2'000);
        telescope->MoveAxis(1, 0.25);
        machine.AdvanceTime(5'500);
        ASSERT_TRUE(driver->state.g_bSlewing);
        end();
        machine.AdvanceTime(60'000);
        EXPECT_TRUE(LoggedLine("Restoring tracking state = 1"));
        EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    }
    telescope = ConnectedTelescope();
}

TEST_F(AxisMotionTest, SlewThatIsWaitedFor_ReturnsAndCommandsNoSecondLeg) {
    const TelescopeObject other = driver->CreateTelescope();
    std::size_t sent = 0;
    for (const int offset : {300, 2'500}) {
        SCOPED_TRACE("motion after " + std::to_string(offset) + " ms");
        const std::int64_t start = machine.clock.Elapsed();
        machine.pump.PostAt(start + offset, CallKind::Brief, [&] {
            other->MoveAxis(1, 0.25);
            sent = mount->Commands().size();
        });
        driver->persist.WriteIniValue("DisableSafeSlew", "1");
        telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 1.0), offset < 1'000 ? 10.0 : 70.0);
        EXPECT_LT(machine.clock.Elapsed() - start, offset + 500);
        EXPECT_FALSE(driver->state.g_bSlewing);
        other->MoveAxis(1, 0.0);
        machine.AdvanceTime(20'000);
    }
    const Wire& all = mount->Commands();
    EXPECT_EQ(std::count(all.begin() + static_cast<std::ptrdiff_t>(sent), all.end(), "MS"), 0);
}

}  // namespace
}  // namespace kestrane
