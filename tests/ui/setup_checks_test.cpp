#include <algorithm>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "setup_fixture.h"
#include "simulator/companion.h"
#include "simulator/misbehaviours.h"
#include "support/serve_simulator.h"

namespace kestrane {
namespace {

using Texts = std::vector<std::string>;

/// The buttons that talk to the mount, on the wire. The mount is at 47 degrees north and 10 degrees east.
class SetupChecksTest : public SetupFixture {
protected:
    void ChoosePort(const char* name) {
        const Texts& items = Form().cbxPort.ListItems();
        Form().cbxPort.ListIndex(static_cast<std::int32_t>(std::ranges::find(items, name) - items.begin()));
    }
    void ChooseAddress(const char* address) {
        Form().chkIPAddress.Checked(true);
        Form().txtIpAddress.Text(address);
    }
    Texts Position() {
        return {Form().cbxNS.Text(), Form().txtLatDeg.Text(),  Form().txtLatMin.Text(),  Form().txtLatSec.Text(),
                Form().cbxEW.Text(), Form().txtLongDeg.Text(), Form().txtLongMin.Text(), Form().txtLongSec.Text()};
    }
    void BeAt(const char* latitude, const char* longitude) {
        driver->sites.g_SiteDbIndex(AddSite(std::string("At ") + latitude, latitude, longitude));
    }

    const Texts ofMount{"N", "47", "00", "00.0", "E", "10", "00", "00.0"};
};

TEST_F(SetupChecksTest, CheckMount_AsksForTheVersion_OnThePortThatTheWindowShows_AndClosesIt) {
    Seed({{"Port", "COM4"}, {"Timeout", "700"}});
    Open([&] {
        ChoosePort("COM1");
        EXPECT_EQ(SentBy([&] { Form().btnCheckMount.FireClick(); }), Texts{"V"});
        EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 700);
        EXPECT_EQ(driver->link->Port(), 1);
        EXPECT_FALSE(driver->link->Connected());
    });
    EXPECT_EQ(Shown(), "Mount found! Firmware Rev: VKC4-P02-08");
    EXPECT_EQ(Setting("Port"), "COM4");
}

TEST_F(SetupChecksTest, CheckMount_WithoutAMount_SaysSo) {
    Seed({{"Port", "COM4"}});
    Open([&] { Form().btnCheckMount.FireClick(); });
    EXPECT_EQ(Shown(), "Mount not found!");
    ExpectSwallow("*");
    mount->Add(std::make_unique<DropsReply>());
    Open([&] {
        ChoosePort("COM1");
        Form().btnCheckMount.FireClick();
        EXPECT_FALSE(driver->link->Connected());
    });
    EXPECT_EQ(machine.messageBoxes.Texts(), (Texts{"Mount not found!", "Mount not found!"}));
}

TEST_F(SetupChecksTest, CheckMount_OfAConnectedMount_LeavesTheLinkOpen) {
    const TelescopeObject telescope = ConnectedTelescope();
    Open([&] { Form().btnCheckMount.FireClick(); });
    EXPECT_EQ(Shown(), "Mount found! Firmware Rev: VKC4-P02-08");
    EXPECT_TRUE(telescope->Connected());
    EXPECT_TRUE(driver->link->Connected());
}

TEST_F(SetupChecksTest, CheckMount_OfAnAddress_AsksTheAdapter_AndLeavesTheLinkOfTheProcessAlone) {
    Seed({{"Controller", "3"}, {"Timeout", "700"}});
    HttpAdapter adapter(machine.clock, *mount);
    ServeAdapter(machine.http, adapter);
    Open([&] {
        ChooseAddress("mount.example");
        Form().btnCheckMount.FireClick();
        EXPECT_EQ(adapter.Commands(), Texts{"#:V#"});
        EXPECT_EQ(machine.http.Requests().back().host, "mount.example");
        EXPECT_EQ(machine.http.Requests().back().limits.receiveMs, 700);
        EXPECT_FALSE(driver->link->IsOverIp());
        EXPECT_FALSE(driver->link->Connected());
    });
    EXPECT_EQ(Shown(), "Mount found! Firmware Rev: VKC4-P02-08");
}

TEST_F(SetupChecksTest, CheckMount_OfAnAddressWithoutAMount_SaysSo) {
    Seed({{"Controller", "3"}});
    Open([&] {
        ChooseAddress("mount.example");
        Form().btnCheckMount.FireClick();
    });
    EXPECT_EQ(Shown(), "Mount not found!");
}

TEST_F(SetupChecksTest, CheckMount_ByTheCompanionsInterface_GoesWhereThatIsPublished) {
    machine.applicationSettings.Set("QUAY", "Driver", "RestApiPort", "60123");
    Seed({{"Controller", "3"}});
    SimulatedCompanion companion{machine.clock, *mount};
    ServeRest(machine.http, companion);
    Open([&] {
        ChooseAddress("mount.example");
        Form().chkQUAY.Checked(true);
        Form().chkQuayRestApi.Checked(true);
        EXPECT_EQ(Form().txtQuayIpAddr.Text(), "127.0.0.1:60123");
        Form().btnCheckMount.FireClick();
        EXPECT_EQ(machine.http.Requests().back().host, "127.0.0.1:60123");
    });
    EXPECT_EQ(Shown(), "Mount found! Firmware Rev: VKC4-P02-08");
}

TEST_F(SetupChecksTest, CheckMount_OfAPort_InAProcessThatStartedWithAnAddress_OpensAPortOfItsOwn) {
    Seed({{"chkIPAddress", "1"}, {"Controller", "3"}, {"txtIpAddress", "mount.example"}});
    Open([&] {
        Form().chkIPAddress.Checked(false);
        ChoosePort("COM1");
        EXPECT_EQ(SentBy([&] { Form().btnCheckMount.FireClick(); }), (Texts{"#", "V"}));
        EXPECT_EQ(Shown(), "Mount found! Firmware Rev: VKC4-P02-08");
        mount->Add(std::make_unique<DropsReply>("V", 2));
        EXPECT_EQ(SentBy([&] { Form().btnCheckMount.FireClick(); }), (Texts{"#", "V", "#", "V", "#", "V"}));
        EXPECT_EQ(Shown(), "Mount found! Firmware Rev: VKC4-P02-08") << "a lost reply is asked for again";
        mount->Add(std::make_unique<DropsReply>());
        EXPECT_EQ(SentBy([&] { Form().btnCheckMount.FireClick(); }), (Texts{"#", "V", "#", "V", "#", "V"}));
        EXPECT_EQ(Shown(), "Mount not found!");
    });
    EXPECT_TRUE(driver->link->IsOverIp());
}

TEST_F(SetupChecksTest, GetLongLat_FillsThePosition_WhichIsAnEditing) {
    StartOnce();
    Open([&] {
        EXPECT_EQ(SentBy([&] { Form().btnGetLongLat.FireClick(); }), (Texts{"U", "Gg", "Gt"}));
        EXPECT_EQ(Position(), ofMount);
        EXPECT_TRUE(Form().btnSaveSiteInfo.Enabled());
        EXPECT_FALSE(driver->link->Connected());
    });
    EXPECT_EQ(machine.messageBoxes.Texts(), Texts{});
}

TEST_F(SetupChecksTest, GetLongLat_TakesTheHemispheresFromTheSigns_AndPadsTheFields) {
    MountSimulatorOptions options;
    options.latitude = -(5.0 + 7.0 / 60.0 + 3.0 / 3600.0);
    options.longitudeWest = 122.0 + 9.0 / 60.0 + 5.0 / 3600.0;
    BuildMount(options);
    StartOnce();
    Open([&] {
        Form().btnGetLongLat.FireClick();
        EXPECT_EQ(Position(), (Texts{"S", "05", "07", "03.0", "W", "122", "09", "05.0"}));
    });
}

TEST_F(SetupChecksTest, GetLongLat_WithoutAnAnswer_SaysSo_AndLeavesTheFields) {
    ExpectSwallow("*");
    mount->Add(std::make_unique<DropsReply>("Gt"));
    StartOnce();
    BeAt("S 33 00 00.0", "W 122 10 05.5");
    Open([&] {
        Form().btnGetLongLat.FireClick();
        EXPECT_EQ(Position(), (Texts{"S", "33", "00", "00.0", "W", "122", "10", "05.5"}));
        EXPECT_FALSE(Form().btnSaveSiteInfo.Enabled());
        EXPECT_FALSE(driver->link->Connected());
    });
    EXPECT_EQ(Shown(), "Failed to get Longitude/Latitude from mount on COM1");
}

TEST_F(SetupChecksTest, GetLongLat_OfAnAddress_AsksTheAdapter) {
    Seed({{"Controller", "3"}});
    HttpAdapter adapter(machine.clock, *mount);
    ServeAdapter(machine.http, adapter);
    Open([&] {
        ChooseAddress("mount.example");
        Form().btnGetLongLat.FireClick();
        EXPECT_EQ(adapter.Commands(), (Texts{":Gg#", ":Gt#"}));
        EXPECT_EQ(Position(), ofMount);
        adapter.SetFault(HttpAdapter::Fault::Unplugged);
        Form().btnGetLongLat.FireClick();
    });
    EXPECT_EQ(Shown(), "Failed to get Longitude/Latitude from mount on mount.example");
}

TEST_F(SetupChecksTest, GetLongLat_OfAnAddress_TogglesAMountInItsShortFormat) {
    MountSimulatorOptions options;
    options.longFormat = false;
    options.shortAngles = true;
    BuildMount(options);
    Seed({{"Controller", "3"}});
    HttpAdapter adapter(machine.clock, *mount);
    ServeAdapter(machine.http, adapter);
    Open([&] {
        ChooseAddress("mount.example");
        Form().btnGetLongLat.FireClick();
        EXPECT_EQ(adapter.Commands(), (Texts{":Gg#", ":U#", ":Gg#", ":Gt#"}));
        EXPECT_EQ(Position(), ofMount);
    });
}

struct SendRow {
    const char* latitude;
    const char* longitude;
    Texts sent;
};

void PrintTo(const SendRow& row, std::ostream* stream) {
    *stream << row.latitude << ", " << row.longitude;
}

class EachPosition : public SetupChecksTest, public testing::WithParamInterface<SendRow> {};

TEST_P(EachPosition, IsSentInTheFormOfTheWire) {
    StartOnce();
    BeAt(GetParam().latitude, GetParam().longitude);
    Open([&] {
        EXPECT_EQ(SentBy([&] { Form().btnSendLongitudeLatitude.FireClick(); }), GetParam().sent);
        EXPECT_FALSE(driver->link->Connected());
    });
    EXPECT_EQ(machine.messageBoxes.Texts(), Texts{});
}

INSTANTIATE_TEST_SUITE_P(Setup, EachPosition,
                         testing::Values(SendRow{"N 45 07 03.2", "W 122 10 05.5", {"U", "Sg122*10:06", "St+45*07:03"}},
                                         SendRow{"S 05 07 03.0", "W 7 08 09.0", {"U", "Sg007*08:09", "St-05*07:03"}},
                                         SendRow{"N 00 00 00.0", "E 10 30 00.0", {"U", "Sg-010*30:00", "St+00*00:00"}},
                                         SendRow{
                                             "S 90 00 00.0", "E 350 00 00.0", {"U", "Sg010*00:00", "St-90*00:00"}}));

TEST_F(SetupChecksTest, SendLongLat_SendsTheOtherHalfToo_WhenOneIsRejected_AndSaysSo) {
    for (const char* const refused : {"Sg", "St"}) {
        SCOPED_TRACE(refused);
        driver.reset();
        BuildMount("VKC4-P02-08");
        ExpectSwallow("*");
        mount->Add(std::make_unique<CorruptsReply>(refused, kEveryTime, 0, '0'));
        StartOnce();
        BeAt(refused == std::string("Sg") ? "N 45 07 03.0" : "N 45 07 03.1", "W 122 10 05.0");
        machine.messageBoxes.shown.clear();
        Open([&] {
            const Texts sent = SentBy([&] { Form().btnSendLongitudeLatitude.FireClick(); });
            EXPECT_NE(std::ranges::find(sent, "Sg122*10:05"), sent.end());
            EXPECT_NE(std::ranges::find(sent, "St+45*07:03"), sent.end());
            EXPECT_FALSE(driver->link->Connected());
        });
        EXPECT_EQ(machine.messageBoxes.Texts(), Texts{"Failed to send Longitude/Latitude to mount on COM1"});
    }
}

TEST_F(SetupChecksTest, SendLongLat_OfFieldsThatAreNoPosition_SendsNothing_AndSaysSo) {
    StartOnce();
    Open([&] {
        for (const char* const degrees : {"91", "", "north"}) {
            machine.messageBoxes.shown.clear();
            Form().txtLatDeg.Text(degrees);
            EXPECT_EQ(SentBy([&] { Form().btnSendLongitudeLatitude.FireClick(); }), Texts{});
            EXPECT_EQ(machine.messageBoxes.Texts(), Texts{"Failed to send Longitude/Latitude to mount on COM1"});
        }
    });
}

TEST_F(SetupChecksTest, SendLongLat_ToAnAddress_GoesToTheAdapter) {
    Seed({{"Controller", "3"}});
    HttpAdapter adapter(machine.clock, *mount);
    ServeAdapter(machine.http, adapter);
    StartOnce();
    BeAt("N 45 07 03.0", "W 122 10 05.0");
    Open([&] {
        ChooseAddress("mount.example");
        Form().btnSendLongitudeLatitude.FireClick();
        EXPECT_EQ(adapter.Commands(), (Texts{":Sg122*10:05#", ":St+45*07:03#"}));
        EXPECT_EQ(machine.messageBoxes.Texts(), Texts{});
        mount->Add(std::make_unique<CorruptsReply>("Sg", 1, 0, '0'));
        Form().btnSendLongitudeLatitude.FireClick();
        EXPECT_EQ(adapter.Commands().back(), ":St+45*07:03#") << "also after a rejected longitude";
        EXPECT_EQ(adapter.Commands().size(), 4U);
        EXPECT_EQ(machine.messageBoxes.shown.size(), 1U);
        adapter.SetFault(HttpAdapter::Fault::Silent);
        Form().btnSendLongitudeLatitude.FireClick();
    });
    EXPECT_EQ(Shown(), "Failed to send Longitude/Latitude to mount on mount.example");
}

}  // namespace
}  // namespace kestrane
