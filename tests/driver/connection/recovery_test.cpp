#include <gtest/gtest.h>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

constexpr std::uint32_t kLostCommunications = 0x80040429;

class RecoveryTest : public DriverFixture {
protected:
    RecoveryTest() { ExpectSwallow("*"); }
};

TEST_F(RecoveryTest, CablePulledAndPutBack_LosesTheMountAndFindsItAgainByItself) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(5'000);
    machine.serialPorts.Disconnect(1);
    machine.AdvanceTime(20'000);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), kLostCommunications);
    BuildMount("VKC4-P02-08");
    machine.AdvanceTime(20'000);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0U);
    EXPECT_FALSE(driver->state.g_bResync);
}

TEST_F(RecoveryTest, ShutdownInsideAConnect_OpensNothingAgain) {
    Seed({{"txtConnectTimeout", "0"}});
    mount->SetLineDead(true);
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    std::size_t openings = 0;
    machine.pump.PostAt(5'000, CallKind::Brief, [&] {
        driver->connections.ShutdownDriver();
        openings = machine.serialPorts.Openings().size();
    });
    EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), 0x80040402U);
    EXPECT_EQ(machine.processes.ends, 1);
    EXPECT_EQ(machine.serialPorts.Openings().size(), openings);
    EXPECT_FALSE(driver->link->Connected());
}

TEST_F(RecoveryTest, FocuserWithAnAbsurdSetting_IsCountedAllTheSame) {
    Seed({{"Focus.txtMaxIncrementMSecs", "99999999999"}});
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    EXPECT_EQ(driver->state.g_nFocuserObjects, 2);
    EXPECT_EQ(machine.processes.ends, 0);
}

}  // namespace
}  // namespace kestrane
