#include <functional>
#include <gtest/gtest.h>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

struct RefusalRow {
    std::string name;
    std::function<void(Telescope&)> call;
    std::uint32_t number;
    std::string words;
};

class RefusalTest : public DriverFixture, public testing::WithParamInterface<RefusalRow> {};

TEST_P(RefusalTest, WhatTheDriverRefuses_TellsTheClientNumberSourceAndWords) {
    const TelescopeObject telescope = ConnectedTelescope();
    try {
        GetParam().call(*telescope);
        FAIL() << "nothing was raised";
    } catch (const DriverError& error) {
        EXPECT_EQ(error.Number(), GetParam().number);
        EXPECT_EQ(error.Source(), "ASCOM V2 Kestrane VTR Driver");
        EXPECT_EQ(error.Message(), GetParam().words);
    }
}

INSTANTIATE_TEST_SUITE_P(
    EachRefusal, RefusalTest,
    testing::Values(RefusalRow{"SettingTheSideOfPier", [](Telescope& telescope) { telescope.SideOfPier(1); },
                               0x80040400U, "Property Set SideOfPier() is not implemented in this driver."},
                    RefusalRow{"FindHome", [](Telescope& telescope) { telescope.FindHome(); }, 0x80040400U,
                               "Method FindHome() is not implemented in this driver."},
                    RefusalRow{"TargetDeclinationBeforeItWasSet",
                               [](Telescope& telescope) { telescope.TargetDeclination(); }, 0x80040403U,
                               "Property TargetDeclination  property has not yet been set."},
                    RefusalRow{"TargetRightAscensionBeforeItWasSet",
                               [](Telescope& telescope) { telescope.TargetRightAscension(); }, 0x80040403U,
                               "Property TargetRightAscension  property has not yet been set."},
                    RefusalRow{"ATargetOutOfRange", [](Telescope& telescope) { telescope.TargetRightAscension(24.0); },
                               0x80040405U, "The property value is out of range"}),
    [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace kestrane
