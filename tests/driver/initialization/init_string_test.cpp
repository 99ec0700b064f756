#include "telescope/mount/init_string.h"

#include <gtest/gtest.h>

#include "support/kept_log.h"

namespace kestrane {
namespace {

struct InitStringRow {
    const char* text;
    InitSteps steps;
};

class InitStringTest : public testing::TestWithParam<InitStringRow> {};

TEST_P(InitStringTest, HoldsItsSteps) {
    KeptLog kept;
    EXPECT_EQ(StepsOfInitString(GetParam().text, kept.log), GetParam().steps) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    Items, InitStringTest,
    testing::Values(
        InitStringRow{"", {}}, InitStringRow{"SyncTime", {.time = true}}, InitStringRow{"SyncTime=0", {.time = true}},
        InitStringRow{"Site=My Site", {.site = "My Site"}}, InitStringRow{"Unpark=6", {.unparkFrom = 6}},
        InitStringRow{"TrackingRate=1", {.trackingRate = 1}}, InitStringRow{"SlewRate=3", {.slewRate = 3}},
        InitStringRow{"CustomSlewRate=750", {.customSlewRate = 750.0}}, InitStringRow{"GuideRate=0", {.guideRate = 0}},
        InitStringRow{"PEM=1", {.pem = 1}}, InitStringRow{"RaBacklash=12.5", {.raBacklash = 12.5}},
        InitStringRow{"DecBacklash=-3", {.decBacklash = -3.0}}, InitStringRow{"GuideRate=-1", {.guideRate = -1}},
        InitStringRow{"SyncTime,Unpark=2,Site=Home,TrackingRate=2,SlewRate=1,CustomSlewRate=9,GuideRate=1,PEM=0,"
                      "RaBacklash=1,DecBacklash=2",
                      {.time = true,
                       .site = "Home",
                       .unparkFrom = 2,
                       .decBacklash = 2.0,
                       .raBacklash = 1.0,
                       .guideRate = 1,
                       .pem = 0,
                       .slewRate = 1,
                       .customSlewRate = 9.0,
                       .trackingRate = 2}}));

INSTANTIATE_TEST_SUITE_P(Edges, InitStringTest,
                         testing::Values(InitStringRow{"Nonsense", {}}, InitStringRow{"Nonsense=1,PEM=1", {.pem = 1}},
                                         InitStringRow{"synctime,pem=1", {}}, InitStringRow{"PEM,PEM=", {}},
                                         InitStringRow{"PEM=on", {}}, InitStringRow{"PEM=0.5", {}},
                                         InitStringRow{"Unpark=70000", {}}, InitStringRow{"PEM=99999999999", {}},
                                         InitStringRow{"RaBacklash=1e3", {}}, InitStringRow{"Site=", {}},
                                         InitStringRow{",,=,=3,", {}},
                                         InitStringRow{" PEM = 1 , SyncTime ", {.time = true, .pem = 1}},
                                         InitStringRow{"Site=A=B", {.site = "A=B"}},
                                         InitStringRow{"PEM=1,PEM=0", {.pem = 0}}));

}  // namespace
}  // namespace kestrane
