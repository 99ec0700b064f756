#include <algorithm>
#include <gtest/gtest.h>
#include <memory>

#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

/// The site of the mount, read and written for the dialogs.
class PortChecksTest : public DriverFixture {
protected:
    /// On port 1; false as the call says.
    bool ReadSite(std::int16_t timeoutMs = 300) {
        return driver->connections.GetMountLongLat(1, timeoutMs, longitude, latitude);
    }
    bool WriteSite(std::int16_t timeoutMs = 300) {
        return driver->connections.SetMountLongLat(1, timeoutMs, "350*15:00", "+40*30:00");
    }

    double longitude = 5.0;
    double latitude = 5.0;
};

TEST_F(PortChecksTest, SiteWrite_OnALinkOpenedForIt_ReadsForOneSecond) {
    Start();
    EXPECT_TRUE(WriteSite(0));
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 1000);
    EXPECT_TRUE(WriteSite(700));
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 700);
}

TEST_F(PortChecksTest, ACheckWithALongTimeout_Works_AndTheLimitStaysRight) {
    Seed({{"Timeout", "5000"}});
    Start();
    const std::string version = driver->connections.CheckMount().version;
    EXPECT_TRUE(version.starts_with("VKC")) << version;
    EXPECT_FALSE(driver->link->Connected());
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 5000);
    EXPECT_TRUE(driver->connections.CheckMount().Found());
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 5000);
    EXPECT_EQ(driver->state.g_nReceiveTimeoutMS, 5000);
    EXPECT_TRUE(telescope->Connected());
}

TEST_F(PortChecksTest, ACheck_TakesTheTimeoutAsAConnectDoes) {
    struct Row {
        const char* setting;
        std::int32_t limit;
    };
    Start();
    for (const Row& row : {Row{"700", 700}, Row{"40000", 40'000}, Row{"60001", 60'000}, Row{"1e9", 500}, Row{"0", 500},
                           Row{"-3", 500}, Row{"soon", 500}, Row{"250.4", 250}}) {
        driver->persist.Write(setting::Timeout, row.setting);
        EXPECT_TRUE(driver->connections.CheckMount().Found()) << row.setting;
        EXPECT_EQ(driver->link->ReceiveTimeoutMS(), row.limit) << row.setting;
    }
}

TEST_F(PortChecksTest, AStopDuringACheckOfASilentLine_GetsInAfterOneTry_AndTheCheckGoesOn) {
    const TelescopeObject telescope = ConnectedTelescope();
    const TelescopeObject other = driver->CreateTelescope();
    ExpectSwallow("CommandString");
    driver->poll.SetPolling(false);
    mount->Add(std::make_unique<DropsReply>("V"));
    machine.pump.PostAt(machine.clock.Elapsed() + 300, CallKind::Stop, [&] { other->AbortSlew(); });
    const std::vector<std::string> sent = SentBy([&] { EXPECT_FALSE(driver->connections.CheckMount().Found()); });
    const auto stop = std::ranges::find(sent, "Q");
    ASSERT_NE(stop, sent.end());
    EXPECT_EQ(std::count(sent.begin(), stop, "V"), 1);
    EXPECT_EQ(std::count(stop, sent.end(), "V"), 8) << "three exchanges with two retries each, without the first try";
    EXPECT_TRUE(telescope->Connected());
}

TEST_F(PortChecksTest, TheEndOfTheProcessDuringACheck_EndsItAfterOneTry) {
    for (const bool isOpen : {false, true}) {
        SCOPED_TRACE(isOpen);
        driver.reset();
        BuildMount("VKC4-P02-08");
        const TelescopeObject telescope = isOpen ? ConnectedTelescope() : TelescopeObject{};
        ExpectSwallow("*");
        if (isOpen) {
            driver->poll.SetPolling(false);
        } else {
            Start();
        }
        mount->Add(std::make_unique<DropsReply>("V"));
        std::int64_t endedAt = -1;
        machine.pump.PostAt(machine.clock.Elapsed() + 300, CallKind::Stop, [&] {
            driver->EndOnRequest();
            endedAt = machine.clock.Elapsed();
        });
        const std::vector<std::string> sent = SentBy([&] { EXPECT_FALSE(driver->connections.CheckMount().Found()); });
        EXPECT_EQ(std::ranges::count(sent, "V"), 1);
        ASSERT_GE(endedAt, 0);
        EXPECT_LE(machine.clock.Elapsed() - endedAt, 500);
        EXPECT_FALSE(driver->link->Connected());
    }
}

TEST_F(PortChecksTest, SiteWrite_OnAnOpenLink_LeavesItsLimit) {
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_TRUE(WriteSite(0));
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 500);
    EXPECT_TRUE(driver->link->Connected());
}

TEST_F(PortChecksTest, SiteRead_SetsNoLimitOfItsOwn) {
    Start();
    driver->link->ReceiveTimeoutMS(432);
    EXPECT_TRUE(ReadSite(0));
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 432);
    EXPECT_FALSE(driver->link->Connected());
}

TEST_F(PortChecksTest, SiteRead_WithoutALongitude_IsFalse_YetGivesTheLatitude) {
    ExpectSwallow("CommandString");
    mount->Add(std::make_unique<DropsReply>("Gg"));
    Start();
    EXPECT_FALSE(ReadSite());
    EXPECT_EQ(longitude, 0.0);
    EXPECT_NEAR(latitude, 47.0, 1e-6);
}

TEST_F(PortChecksTest, SiteRead_WithoutALatitude_IsFalse_YetGivesTheLongitude) {
    ExpectSwallow("CommandString");
    mount->Add(std::make_unique<DropsReply>("Gt"));
    Start();
    EXPECT_FALSE(ReadSite());
    EXPECT_NEAR(longitude, -10.0, 1e-6);
    EXPECT_EQ(latitude, 0.0);
}

TEST_F(PortChecksTest, SiteRead_OfAMissingPort_IsFalseAtOnce) {
    machine.serialPorts.Disconnect(1);
    Start();
    EXPECT_FALSE(ReadSite());
    EXPECT_EQ(longitude, 0.0);
    EXPECT_EQ(machine.clock.GetTickCount() - Tick{}, 0);
}

TEST_F(PortChecksTest, SiteThatFails_OnAnOpenLink_LeavesItOpen) {
    const TelescopeObject telescope = ConnectedTelescope();
    ExpectSwallow("CommandString");
    mount->SetLineDead(true);
    EXPECT_FALSE(ReadSite());
    EXPECT_TRUE(driver->link->Connected());
    EXPECT_FALSE(WriteSite());
    EXPECT_TRUE(driver->link->Connected());
}

TEST_F(PortChecksTest, SiteThatFails_OnALinkOpenedForIt_ClosesIt) {
    ExpectSwallow("CommandString");
    mount->SetLineDead(true);
    Start();
    EXPECT_FALSE(ReadSite());
    EXPECT_FALSE(driver->link->Connected());
    EXPECT_FALSE(WriteSite());
    EXPECT_FALSE(driver->link->Connected());
}

}  // namespace
}  // namespace kestrane
