#include <gtest/gtest.h>
#include <string>

#include "support/driver_fixture.h"

/// What a person learns about a connect that found no mount, or a check that found none.
namespace kestrane {
namespace {

class WhyNoMountTest : public DriverFixture {
protected:
    void TearDown() override {
        telescope.reset();
        DriverFixture::TearDown();
    }
    std::string WhyNotConnected() {
        telescope = driver->CreateTelescope();
        EXPECT_NE(ErrorOf([&] { telescope->Connected(true); }), 0U);
        return driver->connections.ConnectFailure();
    }
    std::string WhatTheCheckSays() {
        const MountCheck check = driver->connections.CheckMount();
        EXPECT_FALSE(check.Found());
        return check.whyNone;
    }

    TelescopeObject telescope;  ///< with its end the process would end
};

TEST_F(WhyNoMountTest, SilentPort_WhereACompanionMightAnswer_WasOpened) {
    ExpectSwallow("*");
    Seed({{"chkQUAY", "1"}});
    mount->SetLineDead(true);
    Start();
    const std::string why = WhyNotConnected();
    EXPECT_TRUE(why.starts_with("COM1: it could be opened, but nothing answered in ")) << why;
    EXPECT_TRUE(Logged(why));
}

TEST_F(WhyNoMountTest, MissingPort_WhereACompanionMightMakeIt_WasNot) {
    ExpectSwallow("*");
    Seed({{"chkQUAY", "1"}, {"Port", "COM7"}});
    Start();
    EXPECT_EQ(WhyNotConnected(), "COM7: error 2");
}

TEST_F(WhyNoMountTest, PlatformsSerialObject_HasACauseToo) {
    ExpectSwallow("*");
    Seed({{"chkUseASCOMSerialObject", "1"}, {"Port", "COM7"}});
    Start();
    EXPECT_EQ(WhyNotConnected(), "COM7: error 2");
    EXPECT_EQ(WhatTheCheckSays(), "COM7: error 2");
}

TEST_F(WhyNoMountTest, PlatformsSerialObject_OnASilentPort_WasOpened) {
    ExpectSwallow("*");
    Seed({{"chkUseASCOMSerialObject", "1"}});
    mount->SetLineDead(true);
    Start();
    EXPECT_TRUE(WhyNotConnected().starts_with("COM1: it could be opened, but nothing answered in "));
    driver->link->Connected(false);
    EXPECT_TRUE(WhatTheCheckSays().starts_with("COM1: it could be opened, but nothing answered in "));
}

TEST_F(WhyNoMountTest, Address_IsNamedInPlaceOfAPort) {
    ExpectSwallow("*");
    Seed({{"chkIPAddress", "1"}, {"txtIpAddress", "10.0.0.7"}});
    Start();
    EXPECT_EQ(WhyNotConnected(), "10.0.0.7 takes no connection: Connection refused");
    EXPECT_EQ(WhatTheCheckSays(), "10.0.0.7 takes no connection: Connection refused");
}

TEST_F(WhyNoMountTest, WithoutAnAddress_ThatIsSaid) {
    ExpectSwallow("*");
    Seed({{"chkIPAddress", "1"}});
    Start();
    EXPECT_EQ(WhyNotConnected(), "no address is set");
    EXPECT_EQ(WhatTheCheckSays(), "no address is set");
}

TEST_F(WhyNoMountTest, RestInterface_IsNamedByItsOwnAddress) {
    ExpectSwallow("*");
    machine.applicationSettings.Set("QUAY", "Driver", "RestApiPort", "60007");
    Seed({{"chkIPAddress", "1"}, {"chkQuayRestApi", "1"}, {"txtIpAddress", "10.0.0.7"}});
    Start();
    EXPECT_EQ(WhyNotConnected(), "127.0.0.1:60007 takes no connection: Connection refused");
    EXPECT_EQ(WhatTheCheckSays(), "127.0.0.1:60007 takes no connection: Connection refused");
}

}  // namespace
}  // namespace kestrane
