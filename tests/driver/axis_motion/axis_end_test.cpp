#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "driver/axis_motion/axis_stop_fixture.h"
#include "kernel/base/conversions.h"

/// The end of an axis motion that the mount may not have heard.
namespace kestrane {
namespace {

using AxisEndTest = AxisStopTest;
using Wire = std::vector<std::string>;

constexpr std::string_view kEndSentAgain =
    "The mount still runs at the rate of an axis that has ended: the end is sent again";

/// A mount that goes on to report a custom rate, whatever it is told.
class ReportsCustomRate final : public Misbehaviour {
public:
    void Change(SimulatedReply& reply) override {
        if (reply.name == "GOS") {
            reply.parts.front().bytes[1] = 'C';
        }
    }
};

TEST_F(AxisEndTest, EndThatTheMountHasNotHeard_IsSentAgain) {
    telescope->MoveAxis(0, 0.5);
    mount->SetLineDead(true);
    telescope->MoveAxis(0, 0.0);
    mount->SetLineDead(false);
    ASSERT_GT(std::abs(mount->Picture().hourSpeed), 0.4);
    machine.AdvanceTime(10'000);
    ExpectAtRest();
    EXPECT_EQ(TimesLogged(kEndSentAgain), 1);
    EXPECT_TRUE(LoggedAs("MoveAxis", 1, kEndSentAgain));
    EXPECT_TRUE(telescope->Tracking());
    EXPECT_EQ(mount->Picture().tracking, '2');
}

TEST_F(AxisEndTest, EndThatTheMountHasNotHeard_IsSentAgain_AlsoWhereTheMountDidNotTrack) {
    telescope->Tracking(false);
    telescope->MoveAxis(0, 0.5);
    mount->SetLineDead(true);
    telescope->MoveAxis(0, 0.0);
    mount->SetLineDead(false);
    machine.AdvanceTime(10'000);
    EXPECT_FALSE(telescope->Tracking());
    EXPECT_EQ(mount->Picture().tracking, '9');
    EXPECT_EQ(TimesLogged(kEndSentAgain), 1);
}

TEST_F(AxisEndTest, EndThatTheMountHasHeard_IsSentOnce) {
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(0, 0.0);
    machine.AdvanceTime(20'000);
    EXPECT_FALSE(Logged(kEndSentAgain));
}

TEST_F(AxisEndTest, EndThatTheMountNeverHears_IsSentAgainFiveTimes) {
    telescope->MoveAxis(0, 0.5);
    mount->Add(std::make_unique<ReportsCustomRate>());
    telescope->MoveAxis(0, 0.0);
    machine.AdvanceTime(60'000);
    EXPECT_EQ(TimesLogged(kEndSentAgain), 5);
    telescope->CommandString("RAW,AutoCalibrateNSEW", true);
    EXPECT_TRUE(Logged("No calibration now: the mount has not reported that an axis has stopped"));
    EXPECT_EQ(driver->state.g_nDisplayedRate, displayed_rate::Custom) << "what the mount reports is shown then";
}

TEST_F(AxisEndTest, EndOfTheSecondaryAxis_ThatTheMountHasNotHeard_IsSentAgain) {
    ExpectSwallow("CommandBool");
    telescope->MoveAxis(1, 0.5);
    mount->SetLineDead(true);
    telescope->MoveAxis(1, 0.0);
    mount->SetLineDead(false);
    ASSERT_GT(std::abs(mount->Picture().polarSpeed), 0.4);
    machine.AdvanceTime(15'000);
    ExpectAtRest();
    EXPECT_EQ(TimesLogged(kEndSentAgain), 1);
}

TEST_F(AxisEndTest, EndOfTheSecondaryAxisOfAClientThatGoes_ThatTheMountHasNotHeard_IsSentAgain) {
    ExpectSwallow("CommandBool");
    telescope->MoveAxis(1, 0.5);
    mount->SetLineDead(true);
    telescope.reset();
    mount->SetLineDead(false);
    ASSERT_GT(std::abs(mount->Picture().polarSpeed), 0.4);
    machine.AdvanceTime(15'000);
    EXPECT_EQ(TimesLogged(kEndSentAgain), 1);
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    telescope = ConnectedTelescope();
}

TEST_F(AxisEndTest, AbortOfAnAxis_ThatTheMountHasNotHeard_IsSentAgain) {
    for (const std::int32_t axis : {0, 1}) {
        log.clear();
        telescope->MoveAxis(axis, 0.5);
        mount->SetLineDead(true);
        telescope->AbortSlew();
        mount->SetLineDead(false);
        machine.AdvanceTime(15'000);
        ExpectAtRest();
        EXPECT_EQ(TimesLogged(kEndSentAgain), 1) << axis;
    }
}

TEST_F(AxisEndTest, RepeatOfAnEnd_RestoresTheTrackingThatItsMotionFound) {
    telescope->Tracking(false);
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(1, 0.5);
    mount->SetLineDead(true);
    telescope->MoveAxis(0, 0.0);
    mount->SetLineDead(false);
    machine.AdvanceTime(10'000);  // the mount reports a custom rate, and that it tracks
    EXPECT_FALSE(Logged(kEndSentAgain)) << "the other axis runs";
    telescope->MoveAxis(1, 0.0);
    machine.AdvanceTime(15'000);
    EXPECT_EQ(TimesLogged(kEndSentAgain), 1);
    EXPECT_FALSE(telescope->Tracking());
    EXPECT_EQ(mount->Picture().tracking, '9');
}

TEST_F(AxisEndTest, RepeatOfAnEnd_TakesTheTrackingThatSomebodyHasChosenSince) {
    telescope->Tracking(false);
    telescope->MoveAxis(0, 0.5);
    mount->SetLineDead(true);
    telescope->MoveAxis(0, 0.0);
    other->Tracking(true);
    mount->SetLineDead(false);
    machine.AdvanceTime(10'000);
    EXPECT_EQ(TimesLogged(kEndSentAgain), 1);
    EXPECT_TRUE(telescope->Tracking());
    EXPECT_EQ(mount->Picture().tracking, '2');
}

TEST_F(AxisEndTest, RepeatOfAnEnd_StartsNoTrackingOfAMountThatOnlyTheAxisMoved) {
    ExpectSwallow("CommandBool");
    const std::vector<std::function<void()>> ends{[&] { telescope->MoveAxis(1, 0.0); },
                                                  [&] { telescope->AbortSlew(); }};
    for (const auto& end : ends) {
        log.clear();
        telescope->Tracking(false);
        telescope->MoveAxis(1, 0.5);
        machine.AdvanceTime(10'000);
        ASSERT_TRUE(driver->state.g_bTracking) << "the mount reports a custom rate";
        mount->SetLineDead(true);
        end();
        mount->SetLineDead(false);
        machine.AdvanceTime(15'000);
        EXPECT_EQ(TimesLogged(kEndSentAgain), 1);
        EXPECT_EQ(mount->Picture().tracking, '9');
        EXPECT_FALSE(telescope->Tracking());
        ExpectAtRest();
    }
}

TEST_F(AxisEndTest, Abort_RestoresTheTrackingFromBeforeTheFirstOfTwoAxes) {
    telescope->Tracking(false);
    other->MoveAxis(1, 0.5);
    machine.AdvanceTime(10'000);
    ASSERT_TRUE(driver->state.g_bTracking) << "the mount reports a custom rate";
    telescope->MoveAxis(0, 0.5);
    EXPECT_EQ(SentBy([&] { telescope->AbortSlew(); }), (Wire{"Q", "Q", "#", "Q", "RT9"}));
    other->MoveAxis(1, 0.5);
    machine.AdvanceTime(10'000);
    other->MoveAxis(1, 0.0);
    telescope->MoveAxis(0, 0.5);  // the mount has not reported yet that it stands
    EXPECT_EQ(SentBy([&] { telescope->AbortSlew(); }), (Wire{"Q", "Q", "#", "Q", "RT9"}));
    ExpectAtRest();
}

TEST_F(AxisEndTest, AfterTheEndOfAnAxisOfAMountAtRest_NothingStartsItsTracking) {
    const std::vector<std::function<void()>> ends{[&] { telescope->MoveAxis(1, 0.0); },
                                                  [&] { telescope->AbortSlew(); }};
    for (const auto& end : ends) {
        telescope->Tracking(false);
        telescope->MoveAxis(1, 0.5);
        machine.AdvanceTime(10'000);
        ASSERT_TRUE(driver->state.g_bTracking) << "the mount reports a custom rate";
        end();
        EXPECT_FALSE(telescope->Tracking());
        telescope->AbortSlew();
        machine.AdvanceTime(10'000);
        EXPECT_EQ(mount->Picture().tracking, '9');
        ExpectAtRest();
    }
}

TEST_F(AxisEndTest, RepeatOfAnEnd_TakesTheChosenTracking_NotTheReportedOne) {
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(1, 0.5);
    mount->SetLineDead(true);
    telescope->MoveAxis(0, 0.0);
    other->Tracking(false);
    mount->SetLineDead(false);
    machine.AdvanceTime(8'000);
    ASSERT_TRUE(driver->state.g_bTracking) << "the mount reports a custom rate";
    telescope->MoveAxis(1, 0.0);
    machine.AdvanceTime(15'000);
    EXPECT_EQ(TimesLogged(kEndSentAgain), 1);
    EXPECT_EQ(mount->Picture().tracking, '9');
    ExpectAtRest();
}

TEST_F(AxisEndTest, NoCalibrationBegins_RightAfterTheRepeatThatStoppedTheAxis) {
    ExpectSwallow("CommandBool");
    telescope->MoveAxis(1, 0.5);
    mount->SetLineDead(true);
    telescope->MoveAxis(1, 0.0);
    mount->SetLineDead(false);
    while (!Logged(kEndSentAgain)) {
        machine.AdvanceTime(100);
    }
    machine.AdvanceTime(1'000);
    telescope->CommandString("RAW,AutoCalibrateNSEW", true);
    EXPECT_TRUE(Logged("No calibration now: a motion was stopped less than three seconds ago"));
}

TEST_F(AxisEndTest, AbortOfAnAxis_BarsTheCalibrationForThreeSecondsOnly) {
    telescope->MoveAxis(1, 0.5);
    telescope->AbortSlew();
    machine.AdvanceTime(3'200);
    telescope->CommandString("RAW,AutoCalibrateNSEW", true);
    EXPECT_TRUE(Logged("Autocalibration Successful!"));
}

TEST_F(AxisEndTest, AbortAndEndOfTheProcess_StopAnAxisWhoseEndIsInDoubt) {
    const std::vector<std::function<void()>> stops{[&] { other->AbortSlew(); }, [&] { driver->EndOnRequest(); }};
    for (const auto& stop : stops) {
        telescope->Tracking(false);
        telescope->MoveAxis(0, 0.5);
        mount->SetLineDead(true);
        telescope->MoveAxis(0, 0.0);
        mount->SetLineDead(false);
        ASSERT_GT(std::abs(mount->Picture().hourSpeed), 0.4);
        stop();
        EXPECT_NEAR(mount->Picture().hourSpeed, 0.0, 1e-9);
    }
}

TEST_F(AxisEndTest, RepeatOfTheSecondaryEnd_LeavesACustomRateOfTheOtherAxis) {
    ExpectSwallow("CommandBool");
    telescope->RightAscensionRate(1.0);
    const double speed = mount->Picture().hourSpeed;
    telescope->MoveAxis(1, 0.5);
    mount->SetLineDead(true);
    telescope->MoveAxis(1, 0.0);
    mount->SetLineDead(false);
    machine.AdvanceTime(15'000);
    EXPECT_EQ(TimesLogged(kEndSentAgain), 1) << "the mount has answered the first repeat";
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    EXPECT_NEAR(mount->Picture().hourSpeed, speed, 1e-9);
}

TEST_F(AxisEndTest, RepeatOfTwoEnds_TakesTheTrackingThatSomebodyHasChosenBetween) {
    ExpectSwallow("CommandBool");
    telescope->Tracking(false);
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(1, 0.5);
    mount->SetLineDead(true);
    telescope->MoveAxis(0, 0.0);
    other->Tracking(true);
    telescope->MoveAxis(1, 0.0);
    mount->SetLineDead(false);
    machine.AdvanceTime(15'000);
    EXPECT_EQ(TimesLogged(kEndSentAgain), 1);
    EXPECT_EQ(mount->Picture().tracking, '2');
    ExpectAtRest();
}

TEST_F(AxisEndTest, RepeatOfAnEnd_StopsNoGotoOfAClientsOwn) {
    telescope->MoveAxis(0, 0.2);
    mount->SetLineDead(true);
    telescope->MoveAxis(0, 0.0);
    mount->SetLineDead(false);
    const double ra = NormalizeHours(telescope->SiderealTime() - 3.0);
    telescope->CommandBool(":Sr" + HoursToHMS(ra, ":", ":", "", 0) + "#", true);
    telescope->CommandBool(":Sd+20*00:00#", true);
    telescope->CommandBlind(":MS#", true);
    while (mount->Picture().slewing) {
        machine.AdvanceTime(250);
        ASSERT_EQ(TimesLogged(kEndSentAgain), 0);
    }
    EXPECT_NEAR(mount->Picture().declination, 20.0, 0.5);
    machine.AdvanceTime(20'000);
    ExpectAtRest();
}

TEST_F(AxisEndTest, ClientsOwnCustomRate_IsNotTakenForALostEnd) {
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(0, 0.0);
    telescope->CommandBool(":RR1.5#", true);
    machine.AdvanceTime(20'000);
    EXPECT_FALSE(Logged(kEndSentAgain));
}

TEST_F(AxisEndTest, NoCalibration_WhileTheEndOfAnAxisIsInDoubt) {
    telescope->MoveAxis(0, 0.5);
    mount->SetLineDead(true);
    telescope->MoveAxis(0, 0.0);
    mount->SetLineDead(false);
    machine.AdvanceTime(3'500);
    if (!Logged(kEndSentAgain)) {
        telescope->CommandString("RAW,AutoCalibrateNSEW", true);
        EXPECT_TRUE(Logged("No calibration now: the mount has not reported that an axis has stopped"));
    }
    machine.AdvanceTime(20'000);
    telescope->CommandString("RAW,AutoCalibrateNSEW", true);
    EXPECT_TRUE(Logged("Autocalibration Successful!"));
}

TEST_F(AxisEndTest, EndThatTheMountHasHeard_BarsTheCalibrationForThreeSecondsOnly) {
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(0, 0.0);
    machine.AdvanceTime(3'200);
    telescope->CommandString("RAW,AutoCalibrateNSEW", true);
    EXPECT_TRUE(Logged("Autocalibration Successful!"));
}

TEST_F(AxisEndTest, AxisOfAClientWhoseLinkIsClosed_IsStoppedOnceTheLinkIsOpenAgain) {
    ExpectSwallow("CommandBool");
    telescope->MoveAxis(1, 0.5);
    mount->SetLineDead(true);
    driver->link->Connected(false);
    telescope->StopOwnAxes("The client has gone: its axes are stopped");
    EXPECT_TRUE(telescope->Axes().Runs());
    mount->SetLineDead(false);
    driver->link->Connected(true);
    telescope->StopOwnAxes("The client has gone: its axes are stopped");
    EXPECT_FALSE(telescope->Axes().Runs());
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
}

TEST_F(AxisEndTest, CustomRateThatIsChosenAfterAnAxisMotion_Stays) {
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(0, 0.0);
    other->DeclinationRate(1.0);
    machine.AdvanceTime(20'000);
    EXPECT_FALSE(Logged(kEndSentAgain));
    EXPECT_GT(std::abs(mount->Picture().polarSpeed), 1e-4);
}

}  // namespace
}  // namespace kestrane
