#include <gtest/gtest.h>
#include <string>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

/// The button of the status window that stops everything, on the wire.
class StopAllTest : public SlewWireTest {
protected:
    void SetUp() override { Connect("VKC4-P02-08"); }

    /// What a press sends within so long, but for the questions, each with the milliseconds since the press.
    std::string SentByPress(std::int64_t forMs = 100) {
        Tape().Clear();
        const std::int64_t pressed = machine.clock.Elapsed();
        driver->statusWindow.cmdStopAll.FireClick();
        machine.AdvanceTime(forMs);
        return Tape().TimedMotion(pressed);
    }
    double LaterRa() { return telescope->SiderealTime() > 20.0 ? 0.5 : telescope->SiderealTime() + 3.0; }
};

TEST_F(StopAllTest, MountThatTracks_GetsOneStop) {
    EXPECT_EQ(SentByPress(), "0:Q");
    EXPECT_TRUE(driver->state.g_bTracking);
}

TEST_F(StopAllTest, Slew_GetsTwoStops_AndItsFlagIsUp) {
    telescope->SlewToCoordinatesAsync(LaterRa(), 30.0);
    machine.AdvanceTime(1'000);
    ASSERT_TRUE(driver->state.g_bSlewing);
    EXPECT_EQ(SentByPress().substr(0, 4), "0:Q ");
    EXPECT_EQ(Tape().Motion(), "Q Q");
    machine.AdvanceTime(10'000);
    EXPECT_FALSE(driver->state.g_bSlewing);
    EXPECT_FALSE(mount->Picture().slewing);
}

TEST_F(StopAllTest, SlewOfAMountThatIsShownAsParked_GetsOneStop) {
    telescope->SlewToCoordinatesAsync(LaterRa(), 30.0);
    machine.AdvanceTime(1'000);
    driver->panel.SetParkStatus("Parked", "test");
    EXPECT_EQ(SentByPress(20), "0:Q");
    EXPECT_TRUE(driver->state.g_bAbortSlew);
}

TEST_F(StopAllTest, ParkedMount_GetsOneStop) {
    telescope->ParkMount(0);
    machine.AdvanceTime(120'000);
    ASSERT_EQ(driver->statusWindow.lblParkStatus.Text(), "Parked");
    EXPECT_EQ(SentByPress(), "0:Q");
    EXPECT_TRUE(telescope->AtPark());
}

TEST_F(StopAllTest, Park_IsAborted) {
    telescope->ParkMount(1);
    machine.AdvanceTime(2'000);
    ASSERT_TRUE(driver->state.g_bParking);
    driver->statusWindow.cmdStopAll.FireClick();
    machine.AdvanceTime(60);
    EXPECT_TRUE(driver->state.g_bAbortPark);
    machine.AdvanceTime(60'000);
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_FALSE(telescope->AtPark());
}

/// A firmware for which the driver slews in two legs.
class TwoLegStopAllTest : public StopAllTest {
protected:
    void SetUp() override { Connect("S"); }
};

TEST_F(TwoLegStopAllTest, SecondLeg_NeverFollows) {
    mount->Add(std::make_unique<StandsWest>());
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() + 2.0), 30.0);
    for (int i = 0; i < 100 && !driver->state.g_bSafeSlewPending; ++i) {
        machine.AdvanceTime(50);
    }
    ASSERT_TRUE(driver->state.g_bSafeSlewPending);
    EXPECT_EQ(SentByPress(20).substr(0, 3), "0:Q");
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    machine.AdvanceTime(180'000);
    EXPECT_EQ(TimesSent("MS"), 1);
}

TEST_F(StopAllTest, AxisOfAnyClient_Ends_AndItsTrackingComesBack) {
    Telescope& other = OtherClient();
    other.MoveAxis(0, 0.5);
    machine.AdvanceTime(1'000);
    ASSERT_TRUE(driver->axisMotions.AnyRuns());
    EXPECT_EQ(SentByPress(20).substr(0, 3), "0:Q");
    machine.AdvanceTime(2'000);
    EXPECT_FALSE(driver->axisMotions.AnyRuns());
    EXPECT_FALSE(other.Slewing());
    EXPECT_TRUE(telescope->Tracking());
    EXPECT_NEAR(mount->Picture().hourSpeed, 15.04107 / 3600.0, 1e-3);
}

TEST_F(StopAllTest, GuidePulse_Ends) {
    machine.pump.PostAt(machine.clock.Elapsed(), CallKind::WaitsLong, [this] { telescope->PulseGuide(0, 8'000); });
    machine.AdvanceTime(500);
    ASSERT_TRUE(driver->guidePulses.MayMove());
    EXPECT_EQ(SentByPress(20).substr(0, 3), "0:Q");
    EXPECT_FALSE(driver->guidePulses.MayMove());
    EXPECT_FALSE(telescope->IsPulseGuiding());
}

TEST_F(StopAllTest, FocuserRun_AndAHeldButton_End) {
    struct Row {
        const char* name;
        std::function<void()> begin;
    };
    FocusMotor& motor = driver->focusMotor;
    for (const Row& row : {Row{"run", [&] { motor.Move(3'000); }},
                           Row{"held button", [&] { motor.Hold(FocusDirection::In, FocusSpeed::Fast); }}}) {
        SCOPED_TRACE(row.name);
        row.begin();
        ASSERT_TRUE(motor.MayRun());
        EXPECT_EQ(SentByPress(), "0:Q 10:FQ");
        EXPECT_FALSE(motor.MayRun());
        EXPECT_EQ(MotionDuring([&] { motor.Release(); }), "") << "nothing of the motor is left to stop";
        EXPECT_EQ(SentByPress(5'000), "0:Q");
    }
}

TEST_F(StopAllTest, CallThatWasAskedForBefore_MovesNothingAfterwards) {
    Tape().Clear();
    machine.pump.Post(CallKind::Brief, [this] { telescope->SlewToCoordinatesAsync(LaterRa(), 30.0); });
    driver->statusWindow.cmdStopAll.FireClick();
    machine.AdvanceTime(5'000);
    EXPECT_EQ(Tape().Motion(), "Q");
}

TEST_F(StopAllTest, ButtonThatWaitsForThePoll_MovesNothingAfterwards) {
    const std::pair<ButtonAction, bool> rows[] = {{ButtonAction::SlewRaDec, false}, {ButtonAction::SlewAltAz, false},
                                                  {ButtonAction::GotoRaDec, false}, {ButtonAction::GotoAltAz, false},
                                                  {ButtonAction::Park, false},      {ButtonAction::PressMove, false},
                                                  {ButtonAction::Repeat, false},    {ButtonAction::ReleaseMove, true}};
    for (const auto& [action, runs] : rows) {
        SCOPED_TRACE(static_cast<int>(action));
        bool ran = false;
        driver->panel.OnAction(action, [&ran] { ran = true; });
        driver->state.g_bInPoll = true;
        driver->panel.Press(action);
        driver->statusWindow.cmdStopAll.FireClick();
        machine.AdvanceTime(10);
        driver->state.g_bInPoll = false;
        machine.AdvanceTime(1'000);
        EXPECT_EQ(ran, runs);
    }
}

TEST_F(StopAllTest, GetsInWhileACallWaits) {
    std::int64_t stopped = 0;
    const std::int64_t begin = machine.clock.Elapsed();
    machine.pump.PostAt(begin + 1'000, CallKind::Brief, [this] { driver->statusWindow.cmdStopAll.FireClick(); });
    telescope->SlewToCoordinates(LaterRa(), 30.0);
    stopped = machine.clock.Elapsed();
    EXPECT_LT(stopped - begin, 5'000);
    EXPECT_NE(Tape().Motion().find("MS Q Q"), std::string::npos) << Tape().Motion();
}

/// The link may be gone for a moment only: what is planned must not go on when it is back.
TEST_F(TwoLegStopAllTest, WithoutALink_WhatIsPlannedIsTakenBackAllTheSame) {
    mount->Add(std::make_unique<StandsWest>());
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() + 2.0), 30.0);
    for (int i = 0; i < 100 && !driver->state.g_bSafeSlewPending; ++i) {
        machine.AdvanceTime(50);
    }
    ASSERT_TRUE(driver->state.g_bSafeSlewPending);
    driver->link->Connected(false);
    EXPECT_EQ(SentByPress(20), "");
    EXPECT_FALSE(driver->state.g_bSafeSlewPending);
    driver->link->Connected(true);
    machine.AdvanceTime(180'000);
    EXPECT_EQ(TimesSent("MS"), 1);
}

TEST_F(StopAllTest, WithoutALink_SendsNothing) {
    driver->poll.SetPolling(false);
    driver->link->Connected(false);
    EXPECT_EQ(SentByPress(), "");
}

}  // namespace
}  // namespace kestrane
