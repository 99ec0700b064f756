#include "telescope/motion/guiding.h"

#include <gtest/gtest.h>

#include "catalogue/vocabulary.h"

namespace kestrane {
namespace {

struct FormRow {
    bool customRates;
    bool extended;
    std::int32_t milliseconds;
    bool timed;
    bool timerStops;
};

class PulseRule : public testing::TestWithParam<FormRow> {};

TEST_P(PulseRule, FollowsTheController) {
    const FormRow& row = GetParam();
    DriverState state;
    state.g_bHasCustomRates = row.customRates;
    state.g_bExtendedPulses = row.extended;
    EXPECT_EQ(FormOfPulse(state, row.milliseconds) == PulseForm::Timed, row.timed);
    EXPECT_EQ(StopTimerSendsStop(state, row.milliseconds), row.timerStops);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Bounds, PulseRule, testing::Values(
    FormRow{false, false,       1, false, true},
    FormRow{false, false,     999, false, true},
    FormRow{true,  false,       1, true,  false},
    FormRow{true,  false,     999, true,  false},
    FormRow{true,  false,    1000, false, true},
    FormRow{true,  true,      999, true,  false},
    FormRow{true,  true,     1000, true,  true},   // a stop that nobody needs
    FormRow{true,  true,   99'999, true,  true},
    FormRow{true,  true,  100'000, false, true},
    FormRow{false, true,      999, true,  true},
    FormRow{false, true,  100'000, false, true}));
// clang-format on

TEST(PulseRate, IsTheRowOfItsMultiple_ElseTheFastest) {
    EXPECT_EQ(kGuideRates[GuideRateIndex(0.25)].argument, "0");
    EXPECT_EQ(kGuideRates[GuideRateIndex(0.251)].argument, "0");
    EXPECT_EQ(kGuideRates[GuideRateIndex(0.249)].argument, "0");
    EXPECT_EQ(kGuideRates[GuideRateIndex(0.2511)].argument, "2");
    EXPECT_EQ(kGuideRates[GuideRateIndex(0.5)].argument, "1");
    EXPECT_EQ(kGuideRates[GuideRateIndex(0.5011)].argument, "2");
    EXPECT_EQ(kGuideRates[GuideRateIndex(1.0)].argument, "2");
    EXPECT_EQ(kGuideRates[GuideRateIndex(3.0)].argument, "2");
    EXPECT_EQ(kGuideRates[GuideRateIndex(0.0)].argument, "2");
}

}  // namespace
}  // namespace kestrane
