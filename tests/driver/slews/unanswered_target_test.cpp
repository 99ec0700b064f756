#include <gtest/gtest.h>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"

/// A half of the target that the mount never answers: a slew command would lead to the half of an older target.
namespace kestrane {
namespace {

class UnansweredTargetTest : public SlewWireTest, public testing::WithParamInterface<const char*> {
protected:
    void SetUp() override {
        ExpectSwallow("CommandBool");
        ExpectSwallow("SafeSlew");
        Connect("S");
        telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 3.0), 45.0);
        ra = NormalizeHours(telescope->SiderealTime() - 1.0);
        gotos = TimesSent("MS");
    }
    double ra = 0.0;
    int gotos = 0;
};

TEST_P(UnansweredTargetTest, SendsNoSlewCommand_AndIsLogged) {
    for (const bool waits : {false, true}) {
        mount->Add(std::make_unique<DropsReply>(GetParam()));
        log.clear();
        Try([&] { waits ? telescope->SlewToCoordinates(ra, 20.0) : telescope->SlewToCoordinatesAsync(ra, 20.0); });
        EXPECT_EQ(error, 0U) << "a two-leg slew raises nothing";
        EXPECT_EQ(TimesSent("MS"), gotos);
        EXPECT_EQ(TimesLogged(": the slew is not sent. Check the line to the mount"), 1);
        EXPECT_EQ(TimesLogged("The mount refused the slew"), 0);
        EXPECT_FALSE(telescope->Slewing());
        EXPECT_TRUE(PollRuns());
        mount->ClearMisbehaviours();
        machine.AdvanceTime(5'000);
    }
    EXPECT_EQ(TimesSent("MS"), gotos);
    telescope->SlewToCoordinates(ra, 20.0);
    ExpectAt(ra, 20.0);
}

TEST_P(UnansweredTargetTest, WithoutSafeSlew_RaisesAnUnknownReason) {
    driver->persist.WriteIniValue("DisableSafeSlew", "1");
    mount->Add(std::make_unique<DropsReply>(GetParam()));
    Try([&] { telescope->SlewToCoordinatesAsync(ra, 20.0); });
    EXPECT_EQ(error, 0x80040414U);
    EXPECT_EQ(TimesSent("MS"), gotos);
    EXPECT_FALSE(telescope->Slewing());
}

TEST_P(UnansweredTargetTest, SecondLegWithoutATarget_EndsTheSlewAtTheFirstOne) {
    ExpectSwallow("CheckSlewing");
    mount->Add(std::make_unique<StandsWest>());
    ra = NormalizeHours(telescope->SiderealTime() + 2.0);
    telescope->SlewToCoordinatesAsync(ra, 30.0);
    ASSERT_TRUE(driver->state.g_bSafeSlewPending);
    mount->Add(std::make_unique<DropsReply>(GetParam()));
    EXPECT_TRUE(WaitForEnd());
    machine.AdvanceTime(10'000);
    EXPECT_EQ(TimesSent("MS"), gotos + 1);
    EXPECT_GT(std::abs(NormalizeHourAngle(mount->Picture().rightAscension - ra)), 1.0);
}

TEST_P(UnansweredTargetTest, RefusedHalf_GoesOn) {
    mount->Add(std::make_unique<AnswersWith>(GetParam(), "0", kEveryTime));
    telescope->SlewToCoordinatesAsync(ra, 20.0);
    EXPECT_EQ(TimesSent("MS"), gotos + 1);
    EXPECT_EQ(TimesLogged(": the slew is not sent"), 0);
    mount->ClearMisbehaviours();
    EXPECT_TRUE(WaitForEnd());
}

INSTANTIATE_TEST_SUITE_P(Halves, UnansweredTargetTest, testing::Values("Sr", "Sd"));

}  // namespace
}  // namespace kestrane
