#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "simulator/misbehaviours.h"
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

TEST_F(ConnectWithoutMountTest, ConnectIsCompleted_WithAllThatAConnectSends) {
    machine.AdvanceTime(10'000);
    mount->SetLineDead(false);
    const std::vector<std::string> sent = SentBy([&] { machine.AdvanceTime(20'000); });
    const auto begin = std::ranges::find(sent, "V");
    ASSERT_GE(sent.end() - begin, 11);
    EXPECT_EQ((std::vector<std::string>(begin, begin + 8)),
              (std::vector<std::string>{"V", "#", "U", "GOS", "G\x05", "U", "Gg", "Gt"}));
    const auto picture = std::find(begin, sent.end(), "G_S");
    ASSERT_NE(picture, sent.end()) << "the first picture follows";
    EXPECT_EQ((std::vector<std::string>(picture + 1, picture + 6)),
              (std::vector<std::string>{"GOS", "GR", "GD", "Gt", "Gg"}));
    EXPECT_EQ(TimesSent("V"), 1);
}

TEST_F(ConnectWithoutMountTest, VersionThatIsLostAgain_IsAskedForAfterTheNextAnswer) {
    machine.AdvanceTime(10'000);
    mount->Add(std::make_unique<DropsReply>("V", 1));
    mount->SetLineDead(false);
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesSent("V"), 2);
    EXPECT_EQ(TimesLogged("The connect is completed now."), 2);
    EXPECT_EQ(driver->state.g_sVersion, "VKC4-P02-08");
    EXPECT_FALSE(driver->state.g_bMountUnproved);
}

/// Tries to start a long call while the version is asked for, which the pump allows where no brief call and no tick is
/// on the stack.
class StartsALongCall final : public Misbehaviour {
public:
    explicit StartsALongCall(VirtualPump& pump) : pump_(pump) {}
    void Change(SimulatedReply& reply) override {
        if (reply.name == "V") {
            pump_.Post(CallKind::WaitsLong, [this] { ++starts; });
            pump_.PumpMessages();
        }
    }

    int starts = 0;

private:
    VirtualPump& pump_;
};

TEST_F(ConnectWithoutMountTest, ConnectIsCompleted_OutsideATick_AndNotInsideABriefCall) {
    machine.AdvanceTime(10'000);
    mount->SetLineDead(false);
    bool inside = true;
    machine.pump.Run(CallKind::Brief, [&] {
        driver->waits.WaitForMilliseconds(15'000);
        inside = TimesSent("V") > 0;
    });
    EXPECT_FALSE(inside);
    auto look = std::make_unique<StartsALongCall>(machine.pump);
    const StartsALongCall& looked = *look;
    mount->Add(std::move(look));
    machine.AdvanceTime(100);
    EXPECT_EQ(driver->state.g_sVersion, "VKC4-P02-08");
    EXPECT_EQ(looked.starts, 1);
    machine.AdvanceTime(10'000);
    EXPECT_EQ(TimesLogged("The connect is completed now."), 1);
}

TEST_F(ConnectWithoutMountTest, ComputedCoordinates_AreNoAnswer) {
    driver->handBox.chkCalcAzAlt.Checked(true);
    driver->state.g_bTracking = true;
    machine.AdvanceTime(30'000);
    EXPECT_EQ(TimesLogged("The connect is completed now."), 0);
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
