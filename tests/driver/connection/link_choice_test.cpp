#include <algorithm>
#include <gtest/gtest.h>
#include <string>

#include "driver/companion/companion_fixture.h"

/// The link is chosen when the process starts. What the settings choose later holds from the next start on.
namespace kestrane {
namespace {

constexpr const char* kFromNextStart =
    "The settings choose another kind of link: it is used from the next start of the driver on";

class LinkChoiceTest : public CompanionRoadTest {
protected:
    std::string Caption() const { return driver->handBox.frameMountPosition.Caption(); }
    std::string ShownPort() const { return driver->statusWindow.lblComPortValue.Text(); }
    std::string WhatACheckOfASilentMountSays() {
        mount->SetLineDead(true);
        adapter.SetFault(HttpAdapter::Fault::Unplugged);
        return driver->connections.CheckMount().whyNone;
    }
};

TEST_F(LinkChoiceTest, ASerialLineChosenWhileTheProcessRuns_LeavesTheAdapterInUse) {
    ExpectSwallow("*");
    SeedFor(Road::Adapter, {{"chkTimeDateUpdate", "1"}});
    Start();
    driver->persist.WriteIniValue("chkIPAddress", "0");
    driver->persist.WriteIniValue("Port", "COM3");
    telescope = ConnectedTelescope();
    EXPECT_TRUE(Logged(kFromNextStart));
    EXPECT_EQ(Caption(), "Mount Info: IP=192.0.2.7");
    EXPECT_EQ(ShownPort(), "192.0.2.7");
    EXPECT_FALSE(machine.serialPorts.IsOpen(3));

    driver->state.g_nReceiveTerminatedErrors = 0;
    driver->handBox.btnSyncMountTime.FireClick();
    EXPECT_TRUE(std::any_of(mount->Commands().begin(), mount->Commands().end(),
                            [](const std::string& command) { return command.starts_with("SC"); }));
    EXPECT_EQ(driver->state.g_nReceiveTerminatedErrors, 0) << "no second line follows a date over IP";
    EXPECT_EQ(WhatACheckOfASilentMountSays(), "192.0.2.7 took no connection within 100 ms");
}

TEST_F(LinkChoiceTest, AnAdapterChosenWhileTheProcessRuns_LeavesTheSerialLineInUse) {
    ExpectSwallow("*");
    Seed({{"Port", "COM1"}});
    Start();
    driver->persist.WriteIniValue("chkIPAddress", "1");
    driver->persist.WriteIniValue("txtIpAddress", "192.0.2.7");
    telescope = ConnectedTelescope();
    EXPECT_TRUE(Logged(kFromNextStart));
    EXPECT_EQ(Caption(), "Mount Information: COM1");
    EXPECT_EQ(ShownPort(), "COM1");
    EXPECT_TRUE(machine.serialPorts.IsOpen(1));
    EXPECT_TRUE(WhatACheckOfASilentMountSays().starts_with("COM1: it could be opened, but nothing answered in "));
}

}  // namespace
}  // namespace kestrane
