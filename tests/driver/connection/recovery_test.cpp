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

/// The mount is off, a first connect fails, a second one succeeds, since the link is open.
class ConnectWithoutMountTest : public RecoveryTest {
protected:
    ConnectWithoutMountTest() {
        mount->SetLineDead(true);
        Start();
        telescope = driver->CreateTelescope();
        EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), 0x80040402U);
        EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), 0U);
    }

    TelescopeObject telescope;
};

TEST_F(ConnectWithoutMountTest, MembersWithALinkCheck_FailUntilAMountAnswers) {
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), kLostCommunications);
    EXPECT_EQ(ErrorOf([&] { telescope->Declination(); }), kLostCommunications);
    EXPECT_EQ(ErrorOf([&] { telescope->SiderealTime(); }), kLostCommunications);
    EXPECT_EQ(ErrorOf([&] { telescope->SiteLatitude(); }), kLostCommunications);
}

TEST_F(ConnectWithoutMountTest, MountThatComesLater_CompletesTheConnect) {
    machine.AdvanceTime(60'000);
    mount->SetLineDead(false);
    machine.AdvanceTime(20'000);
    EXPECT_EQ(driver->state.g_sVersion, "VKC4-P02-08");
    EXPECT_TRUE(driver->state.g_bGosSupported);
    EXPECT_TRUE(driver->state.g_bGosActive);
    EXPECT_EQ(driver->state.g_nScopeConnects, 1) << "counted once";
    EXPECT_EQ(driver->InternalInstance().MaxSerialRetries(), 2);
    EXPECT_EQ(TimesLogged("The connect is completed now."), 1);
    EXPECT_EQ(ErrorOf([&] { EXPECT_NEAR(telescope->RightAscension(), mount->Picture().rightAscension, 0.01); }), 0U);
    EXPECT_TRUE(driver->handBox.tmrQueryRaDecAltAz.Enabled());
}

TEST_F(RecoveryTest, ClientThatConnectsDuringTheAttemptsOfAnother_StartsNoPollInThem) {
    Seed({{"txtConnectTimeout", "3"}});
    mount->SetLineDead(true);
    Start();
    const TelescopeObject first = driver->CreateTelescope();
    const TelescopeObject second = driver->CreateTelescope();
    machine.pump.PostAt(1'000, CallKind::Brief, [&] { second->Connected(true); });
    EXPECT_EQ(ErrorOf([&] { first->Connected(true); }), 0x80040402U);
    EXPECT_EQ(TimesLogged("No response querying"), 0);
    mount->SetLineDead(false);
    machine.AdvanceTime(20'000);
    EXPECT_EQ(driver->state.g_sVersion, "VKC4-P02-08");
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
