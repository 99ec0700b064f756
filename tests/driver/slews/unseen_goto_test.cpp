#include <gtest/gtest.h>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"

/// Gotos whose answer was no acceptance. The mount may slew all the same: its answer was garbled then.
namespace kestrane {
namespace {

class UnseenGotoTest : public SlewWireTest, public testing::WithParamInterface<std::string> {
protected:
    void Prepare(double minimumElevation = 0.0, const SettingTexts& settings = {}) {
        ExpectSwallow("SafeSlew");
        ExpectSwallow("CommandString");
        MountSimulatorOptions options;
        options.firmware = GetParam();
        options.parkedAtPowerOn = false;
        options.minimumElevation = minimumElevation;
        Connect(options, settings);
    }
    /// With this answer to the slew command; null for the mount's own.
    void Slew(const char* answer, double hourAngle) {
        if (answer) {
            mount->Add(std::make_unique<AnswersWith>("MS", answer));
        }
        ra = NormalizeHours(telescope->SiderealTime() - hourAngle);
        telescope->SlewToCoordinatesAsync(ra, 20.0);
        ASSERT_EQ(TimesSent("MS"), 1);
        ASSERT_FALSE(telescope->Slewing());
    }
    /// What a client saw that asked four times a second for so long.
    int TimesSlewing(std::int64_t milliseconds) {
        int times = 0;
        for (std::int64_t passed = 0; passed < milliseconds; passed += 250) {
            machine.AdvanceTime(250);
            times += telescope->Slewing() ? 1 : 0;
        }
        return times;
    }
    double ra = 0.0;
};

TEST_P(UnseenGotoTest, GotoWithAGarbledAnswer_IsWatchedWithinFiveSeconds_UntilItEnds) {
    Prepare();
    Slew("2", 1.0);
    EXPECT_GT(TimesSlewing(5'000), 0);
    ASSERT_TRUE(mount->Picture().slewing);
    EXPECT_TRUE(telescope->Slewing());
    EXPECT_TRUE(WaitForEnd());
    ExpectAt(ra, 20.0);
    machine.AdvanceTime(30'000);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_EQ(TimesSent("MS"), 1);
}

TEST_P(UnseenGotoTest, FirstLegWithAGarbledAnswer_IsWatched_AndGetsNoSecondLeg) {
    Prepare();
    mount->Add(std::make_unique<StandsWest>());
    Slew("2", -2.0);
    ASSERT_TRUE(Logged("Slew 1 of 2"));
    EXPECT_GT(TimesSlewing(5'000), 0);
    EXPECT_TRUE(WaitForEnd());
    machine.AdvanceTime(60'000);
    EXPECT_EQ(TimesSent("MS"), 1);
    EXPECT_EQ(TimesLogged("Slew 2 of 2"), 0);
}

TEST_P(UnseenGotoTest, RefusedGoto_IsNoMotion_AlsoWhenOneReadingIsWrong) {
    for (const char* question : {"", "GR", "GD"}) {
        SCOPED_TRACE(question);
        Prepare(85.0);  // the mount refuses
        Slew(nullptr, 1.0);
        ASSERT_TRUE(Logged("The mount refused the slew: reply 2"));
        machine.AdvanceTime(3'000);
        const std::string wrong = *question == '\0'    ? ""
                                  : question[1] == 'R' ? "13:00:00.0#"
                                  : GetParam() == "D"  ? "+812*00:00#"
                                                       : "+12*00:00.0#";
        if (!wrong.empty()) {
            mount->Add(std::make_unique<AnswersWith>(question, wrong));
        }
        EXPECT_EQ(TimesSlewing(20'000), 0);
        EXPECT_EQ(TimesSent("MS"), 1);
        EXPECT_EQ(TimesLogged("The mount moves, although its answer to the slew was no acceptance"), 0);
        EndTheDriver();
    }
}

TEST_P(UnseenGotoTest, GotoWithAGarbledAnswer_AfterAnEarlierOneThatWasRefused_IsWatchedToo) {
    for (const std::int64_t between : {12'000, 20'000}) {
        SCOPED_TRACE(between);
        Prepare(40.0);
        Slew(nullptr, 5.5);
        ASSERT_TRUE(Logged("The mount refused the slew: reply 2"));
        machine.AdvanceTime(between);
        mount->Add(std::make_unique<AnswersWith>("MS", "2"));
        telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() + 1.0), 40.0);
        EXPECT_GT(TimesSlewing(5'000), 0);
        EndTheDriver();
    }
}

INSTANTIATE_TEST_SUITE_P(Roads, UnseenGotoTest, testing::Values("S", "D"));

class UnseenFirstGotoTest : public UnseenGotoTest {};

TEST_P(UnseenFirstGotoTest, GotoWithAGarbledAnswer_AfterTheStopOfTheTestMove_IsWatchedToo) {
    Prepare(0.0, {{"chkAutoCalibrateOnFirstSlew", "1"}, {"DontQueryGOS", "1"}});
    Slew("2", 1.0);
    ASSERT_TRUE(Logged("Autocalibration Successful!"));
    EXPECT_GT(TimesSlewing(5'000), 0);
    EXPECT_TRUE(WaitForEnd());
    ExpectAt(ra, 20.0);
}

INSTANTIATE_TEST_SUITE_P(Roads, UnseenFirstGotoTest, testing::Values("S", "VKC4-P02-08"));

}  // namespace
}  // namespace kestrane
