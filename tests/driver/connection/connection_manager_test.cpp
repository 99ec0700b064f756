#include <gtest/gtest.h>

#include "driver/connection/connection_errors.h"
#include "link/ascom_serial.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

class ConnectionManagerTest : public DriverFixture {
protected:
    /// A port with nothing but silence at its end.
    void SilentPort() {
        mount->SetLineDead(true);
        ExpectSwallow("CommandString");
        ExpectSwallow("CommandBool");
    }
    bool LinkOpen() { return driver->link->Connected(); }
};

TEST_F(ConnectionManagerTest, FirstClient_OpensTheLinkAndStartsThePoll) {
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_TRUE(LinkOpen());
    EXPECT_EQ(driver->state.g_sVersion, "VKC4-P02-08");
    EXPECT_TRUE(driver->handBox.tmrQueryRaDecAltAz.Enabled());
    EXPECT_EQ(driver->handBox.tmrQueryRaDecAltAz.Interval(), 150);
    EXPECT_EQ(driver->state.g_nScopeConnects, 1);
    EXPECT_EQ(driver->handBox.lblClients.Text(), "Clients:  1 / 0");
    EXPECT_EQ(driver->statusWindow.lblComPortValue.Text(), "COM1");
    EXPECT_TRUE(Logged("OpenConnection: Scope Clients/Connects=1/1, Focuser Clients/Connects=0/0"));
    ASSERT_EQ(machine.serialPorts.Openings().size(), 1U);
    EXPECT_EQ(machine.serialPorts.Openings()[0].port, 1);
    EXPECT_EQ(machine.serialPorts.Openings()[0].speed, 9600);
}

TEST_F(ConnectionManagerTest, FirstConnect_AsksTheMountInItsOrder) {
    const TelescopeObject telescope = ConnectedTelescope();
    const std::vector<std::string> wanted{"V", "#", "U", "GOS", "G\x05", "U", "Gg", "Gt"};
    std::vector<std::string> sent = mount->Commands();
    ASSERT_GE(sent.size(), wanted.size());
    sent.resize(wanted.size());
    EXPECT_EQ(sent, wanted);
    EXPECT_TRUE(mount->UnknownCommands().empty());
}

TEST_F(ConnectionManagerTest, FirmwareWithoutTheLetters_IsAskedForNoRateKey) {
    BuildMount("E3");
    Start();
    driver->connections.OpenConnection(ClientKind::Telescope);
    EXPECT_EQ(TimesSent("GOS"), 0);
    EXPECT_EQ(driver->state.g_sMountRateType, "");
}

TEST_F(ConnectionManagerTest, SecondClient_OnlyCounts) {
    const TelescopeObject first = ConnectedTelescope();
    const std::size_t sent = mount->Commands().size();
    const TelescopeObject second = driver->CreateTelescope();
    second->Connected(true);
    EXPECT_EQ(mount->Commands().size(), sent);
    EXPECT_EQ(driver->state.g_nScopeConnects, 2);
    EXPECT_EQ(machine.serialPorts.Openings().size(), 1U);
}

TEST_F(ConnectionManagerTest, SameClientTwice_CountsTwice) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->Connected(true);
    telescope->Connected(false);
    EXPECT_TRUE(driver->state.g_bConnected);
    telescope->Connected(false);
    EXPECT_FALSE(driver->state.g_bConnected);
    EXPECT_EQ(driver->state.g_nScopeConnects, 0);
}

TEST_F(ConnectionManagerTest, StrangersDisconnect_TakesFromTheOthers_ClampedAtZero) {
    const TelescopeObject telescope = ConnectedTelescope();
    const TelescopeObject stranger = driver->CreateTelescope();
    stranger->Connected(false);
    EXPECT_FALSE(driver->state.g_bConnected);
    stranger->Connected(false);
    EXPECT_EQ(driver->state.g_nScopeConnects, 0);
    EXPECT_TRUE(Logged("CloseConnection: Scope Clients/Connects=2/0, Focuser Clients/Connects=0/0"));
}

TEST_F(ConnectionManagerTest, LastDisconnect_LeavesTheLinkOpenAndThePollRunning) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->Connected(false);
    EXPECT_TRUE(LinkOpen());
    EXPECT_TRUE(telescope->Connected());
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0x80040404U);
    const int asked = TimesSent("GR");
    machine.AdvanceTime(5000);
    EXPECT_GT(TimesSent("GR"), asked);
}

TEST_F(ConnectionManagerTest, MissingPort_FailsAtOnceWithNoMount) {
    Seed({{"Port", "COM7"}});
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), kNoMount);
    EXPECT_TRUE(Logged("OpenConnection Failed. No response from COM7"));
    EXPECT_TRUE(Logged("Failed to connect: Error = 2"));
    EXPECT_FALSE(LinkOpen());
    EXPECT_EQ(driver->state.g_nScopeConnects, 0);
}

TEST_F(ConnectionManagerTest, EmptyPort_BecomesTheFirstOne) {
    Seed({{"Port", ""}});
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_EQ(driver->persist.ReadIniValue("Port", "x"), "COM1");
    EXPECT_EQ(machine.serialPorts.Openings().at(0).port, 1);
}

TEST_F(ConnectionManagerTest, SilentMount_FailsAfterTheConnectTimeout_AndLeavesThePortOpen) {
    SilentPort();
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    const Tick start = machine.clock.GetTickCount();
    EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), kNoMount);
    const std::int32_t elapsed = machine.clock.GetTickCount() - start;
    EXPECT_GT(elapsed, 1000);
    EXPECT_LT(elapsed, 3000);
    EXPECT_TRUE(LinkOpen());
    EXPECT_TRUE(driver->state.g_bFreshConnect) << "the time-out leaves the loop ahead of the clearing";
}

TEST_F(ConnectionManagerTest, ConnectAfterASilentOne_TakesTheShortRoadWithAWarning) {
    SilentPort();
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), kNoMount);
    const std::size_t openings = machine.serialPorts.Openings().size();
    EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), 0U);
    EXPECT_EQ(machine.serialPorts.Openings().size(), openings);
    EXPECT_EQ(driver->state.g_nScopeConnects, 1);
    EXPECT_TRUE(Logged("The link is open although no mount has answered on it."));
}

TEST_F(ConnectionManagerTest, FailedConnect_TakesACountFromAnEarlierClient) {
    Seed({{"Port", "COM7"}});
    Start();
    driver->state.g_nScopeConnects = 2;
    driver->state.g_bConnected = true;
    EXPECT_EQ(ErrorOf([&] { driver->connections.OpenConnection(ClientKind::Telescope); }), kNoMount);
    EXPECT_EQ(driver->state.g_nScopeConnects, 1);
    EXPECT_TRUE(driver->state.g_bConnected);
}

TEST_F(ConnectionManagerTest, ConnectTimeoutOfZero_GoesOnUntilTheMountAnswers) {
    Seed({{"txtConnectTimeout", "0"}});
    SilentPort();
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    machine.pump.PostAt(300'000, CallKind::Brief, [&] { mount->SetLineDead(false); });
    telescope->Connected(true);
    EXPECT_GE(machine.clock.GetTickCount() - Tick{}, 300'000);
    EXPECT_TRUE(driver->state.g_bConnected);
}

TEST_F(ConnectionManagerTest, OpeningErrorOfThePlatformsSerialObject_ReachesAFocuserUnchanged_AndATelescopeAsNoMount) {
    Seed({{"chkUseASCOMSerialObject", "1"}, {"Port", "COM7"}});
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    const std::uint32_t own = ErrorOf([&] { focuser->Link(true); });
    EXPECT_EQ(own, AscomSerial::kCannotOpen);
    EXPECT_EQ(driver->state.g_nFocuserConnects, 0);
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), kNoMount);
}

struct FormRow {
    std::string reply;
    bool fork;
};

class MountFormTest : public ConnectionManagerTest, public testing::WithParamInterface<FormRow> {};

TEST_P(MountFormTest, ForkMount_IsTheOddForms) {
    MountSimulatorOptions options;
    options.parkedAtPowerOn = false;
    options.mountForm = GetParam().reply;
    BuildMount(options);
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_EQ(driver->state.g_sForkReply, GetParam().reply);
    EXPECT_EQ(driver->state.g_bForkMount, GetParam().fork);
    EXPECT_EQ(driver->state.g_bRawRaDecSlews, GetParam().fork);
    EXPECT_EQ(Logged("OpenConnection: Fork Mount detected - enabling Raw RA/Dec Slews"), GetParam().fork);
}

INSTANTIATE_TEST_SUITE_P(Replies, MountFormTest,
                         testing::Values(FormRow{"0", false}, FormRow{"1", true}, FormRow{"2", false},
                                         FormRow{"3", true}, FormRow{"4", false}, FormRow{"5", true},
                                         FormRow{"6", false}, FormRow{"7", true}, FormRow{"11", false},
                                         FormRow{"", false}));

// --- objects and the end of the process ---------------------------------------------------------------------------

TEST_F(ConnectionManagerTest, LastObject_EndsTheProcess_AndSendsNothing) {
    TelescopeObject telescope = ConnectedTelescope();
    driver->initialSetup.EnsureLoaded();
    driver->setupFocuser.EnsureLoaded();
    driver->logWindow.EnsureLoaded();
    ASSERT_TRUE(driver->handBox.Loaded());
    const std::size_t sent = mount->Commands().size();
    telescope.reset();
    EXPECT_EQ(machine.processes.ends, 1);
    EXPECT_FALSE(LinkOpen());
    EXPECT_FALSE(driver->handBox.Loaded());
    EXPECT_FALSE(driver->initialSetup.Loaded());
    EXPECT_FALSE(driver->setupFocuser.Loaded());
    EXPECT_FALSE(driver->logWindow.Loaded());
    EXPECT_EQ(mount->Commands().size(), sent);
}

TEST_F(ConnectionManagerTest, ObjectsThatOutliveTheEnd_LoadNoWindowAndOpenNoPort) {
    TelescopeObject telescope = ConnectedTelescope();
    FocuserObject focuser = driver->CreateFocuser();
    driver->EndOnRequest();
    const std::size_t openings = machine.serialPorts.Openings().size();
    std::string version;
    EXPECT_FALSE(driver->connections.CheckConnection(1, 300, version));
    EXPECT_EQ(machine.serialPorts.Openings().size(), openings);
    telescope.reset();
    focuser.reset();
    EXPECT_FALSE(driver->handBox.Loaded());
}

TEST_F(ConnectionManagerTest, EndWhileTheCompanionStarts_IsOverSoon) {
    Seed({{"chkQUAY", "1"}, {"txtConnectTimeout", "0"}});
    machine.registry.SetText("KestraneCommandCenter\\ExeName", "Name", "/opt/quay/Quay");
    ExpectSwallow("*");
    mount->SetLineDead(true);
    Start();
    TelescopeObject telescope = driver->CreateTelescope();
    std::int64_t endedAt = -1;
    machine.pump.PostAt(machine.clock.Elapsed() + 1'500, CallKind::Stop, [&] {
        EXPECT_EQ(machine.processes.starts.size(), 1U);
        driver->EndOnRequest();
        endedAt = machine.clock.Elapsed();
    });
    EXPECT_THROW(telescope->Connected(true), DriverError);
    ASSERT_GE(endedAt, 0);
    EXPECT_LE(machine.clock.Elapsed() - endedAt, 200);
}

TEST_F(ConnectionManagerTest, EndAtAnyMomentOfAConnect_LoadsNoWindowAgain_AndIsOverSoon) {
    for (const char* procedure : {"CommandString", "CommandBool", "CommandBlind", "CommandClear", "SendStatus"}) {
        ExpectSwallow(procedure);
    }
    for (std::int64_t offset = 10; offset < 1'500; offset += 70) {
        SCOPED_TRACE(offset);
        driver.reset();
        Start();
        TelescopeObject telescope = driver->CreateTelescope();
        std::int64_t endedAt = -1;
        bool wasCounted = false;
        machine.pump.PostAt(machine.clock.Elapsed() + offset, CallKind::Stop, [&] {
            wasCounted = driver->state.g_nScopeConnects > 0;
            driver->EndOnRequest();
            endedAt = machine.clock.Elapsed();
        });
        const std::uint32_t error = ErrorOf([&] { telescope->Connected(true); });
        EXPECT_EQ(error, endedAt < 0 || wasCounted ? 0U : kNoMount);
        const std::int64_t over = machine.clock.Elapsed();
        machine.AdvanceTime(3'000);
        ASSERT_GE(endedAt, 0);
        EXPECT_LE(over - endedAt, 1'000);
        EXPECT_FALSE(driver->handBox.Loaded());
    }
}

TEST_F(ConnectionManagerTest, LastTelescope_WithAFocuserAlive_KeepsProcessAndLink) {
    TelescopeObject telescope = ConnectedTelescope();
    FocuserObject focuser = driver->CreateFocuser();
    telescope.reset();
    EXPECT_EQ(machine.processes.ends, 0);
    EXPECT_TRUE(LinkOpen());
    EXPECT_EQ(driver->handBox.lblClients.Text(), "Clients:  0 / 1");
    focuser.reset();
    EXPECT_EQ(machine.processes.ends, 1);
}

TEST_F(ConnectionManagerTest, FirstOfTwoTelescopes_MayGo) {
    TelescopeObject first = ConnectedTelescope();
    const TelescopeObject second = driver->CreateTelescope();
    second->Connected(true);
    first->Connected(false);
    first.reset();
    EXPECT_EQ(machine.processes.ends, 0);
    EXPECT_EQ(second->RightAscension(), driver->state.g_dRa);
}

TEST_F(ConnectionManagerTest, ClientCount_IsObjectsMinusOne_AndAWriteOfOneEndsTheProcess) {
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_EQ(telescope->ClientCount(), 1);
    const FocuserObject focuser = driver->CreateFocuser();
    EXPECT_EQ(focuser->ClientCount(), 1);
    telescope->ClientCount(1);
    EXPECT_EQ(machine.processes.ends, 0);
    EXPECT_EQ(driver->state.g_nScopeObjects, 1);
    focuser->ClientCount(1);
    EXPECT_EQ(machine.processes.ends, 1);
    driver->state.g_nScopeObjects = 2;
    driver->state.g_nFocuserObjects = 2;
}

TEST_F(ConnectionManagerTest, ClientCountWriteOfOne_WithNoFocuserObject_EndsTheProcess) {
    const TelescopeObject telescope = ConnectedTelescope();
    telescope->ClientCount(2);
    EXPECT_EQ(machine.processes.ends, 0);
    telescope->ClientCount(1);
    EXPECT_EQ(machine.processes.ends, 1);
    EXPECT_FALSE(LinkOpen());
    driver->state.g_nScopeObjects = 2;
}

TEST_F(ConnectionManagerTest, ClientsLabel_NeverShowsANegativeCount) {
    Start();
    driver->state.g_nScopeObjects = 0;
    driver->state.g_nFocuserObjects = -3;
    driver->connections.UpdateClientsLabel();
    EXPECT_EQ(driver->handBox.lblClients.Text(), "Clients:  0 / 0");
}

// --- the companion -------------------------------------------------------------------------------------------------

class CompanionConnectTest : public ConnectionManagerTest {
protected:
    void InstallCompanion() {
        machine.registry.SetText("KestraneCommandCenter\\ExeName", "Name", "C:\\Quay\\Quay.exe");
    }
};

TEST_F(CompanionConnectTest, AbsentPort_StartsTheCompanionOnceAndKeepsTrying) {
    Seed({{"chkQUAY", "1"}, {"Port", "COM7"}});
    ExpectSwallow("CommandString");
    InstallCompanion();
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), kNoMount);
    ASSERT_EQ(machine.processes.starts.size(), 1U);
    EXPECT_EQ(machine.processes.starts[0].second, " -c");
    // The first pass, 99 more after the start, and the passes of the connect time-out, which is over by then.
    EXPECT_EQ(machine.serialPorts.Openings().size(), 100U);
}

TEST_F(CompanionConnectTest, CompanionThatCannotBeStarted_IsToldOnceForEachConnect) {
    Seed({{"chkQUAY", "1"}, {"txtConnectTimeout", "5"}});
    ExpectSwallow("CommandString");
    InstallCompanion();
    machine.processes.canStart = false;
    mount->SetLineDead(true);
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    for (int connects = 1; connects <= 2; ++connects) {
        EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), kNoMount);
        EXPECT_EQ(TimesLogged("The companion could not be started: C:\\Quay\\Quay.exe"), connects);
        driver->link->Connected(false);
    }
}

TEST_F(CompanionConnectTest, CompanionThatAppears_IsFound) {
    Seed({{"chkQUAY", "1"}, {"Port", "COM7"}});
    ExpectSwallow("CommandString");
    InstallCompanion();
    Start();
    MountSimulatorOptions options;
    options.parkedAtPowerOn = false;
    MountSimulator late(machine.clock, options);
    machine.pump.PostAt(10'000, CallKind::Brief, [&] { machine.ConnectMount(7, late); });
    const TelescopeObject telescope = driver->CreateTelescope();
    telescope->Connected(true);
    EXPECT_TRUE(driver->state.g_bConnected);
    EXPECT_EQ(machine.processes.starts.size(), 1U);
    machine.serialPorts.Disconnect(7);
}

struct CompanionPortRow {
    std::string comPort;
    std::string comPortAdmin;
    bool elevated;
    std::int32_t opened;
};

class CompanionPortTest : public CompanionConnectTest, public testing::WithParamInterface<CompanionPortRow> {};

TEST_P(CompanionPortTest, PublishedPort_IsTakenOnlyInItsForm) {
    const CompanionPortRow& row = GetParam();
    Seed({{"chkQUAY", "1"}});
    machine.applicationSettings.Set("QUAY", "Driver", "COMPort", row.comPort);
    machine.applicationSettings.Set("QUAY", "Driver", "COMPortAdmin", row.comPortAdmin);
    machine.systemInfo.shellAdmin = row.elevated;
    ExpectSwallow("CommandString");
    Start();
    EXPECT_EQ(ErrorOf([&] { driver->connections.OpenConnection(ClientKind::Telescope); }),
              row.opened == 1 ? 0U : kNoMount);
    ASSERT_FALSE(machine.serialPorts.Openings().empty());
    EXPECT_EQ(machine.serialPorts.Openings()[0].port, row.opened);
}

INSTANTIATE_TEST_SUITE_P(Settings, CompanionPortTest,
                         testing::Values(CompanionPortRow{"", "", false, 1},              //
                                         CompanionPortRow{"COM9", "", false, 1},          // no blank
                                         CompanionPortRow{"COM9 x", "", false, 9},        //
                                         CompanionPortRow{"COM9 ", "", false, 9},         // an empty second piece
                                         CompanionPortRow{"com12 a b", "", false, 12},    // rest with blanks
                                         CompanionPortRow{"COM x", "", false, 1},         // too short
                                         CompanionPortRow{"LPT9 x", "", false, 1},        //
                                         CompanionPortRow{"COM9 x", "COM8 x", false, 9},  //
                                         CompanionPortRow{"COM9 x", "COM8 x", true, 8},   //
                                         CompanionPortRow{"COM9 x", "", true, 9}));

TEST_F(CompanionConnectTest, ConfiguredButUnproved_IsAskedAgainAfterFifteenSecondsThenEachMinute) {
    Seed({{"chkQUAY", "1"}});
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_TRUE(driver->state.g_bQuayConfigured);
    EXPECT_FALSE(driver->state.g_bQuayLink);
    EXPECT_EQ(TimesLogged("QUAY Not found!"), 1);
    machine.AdvanceTime(12'000);
    EXPECT_EQ(TimesLogged("QUAY Not found!"), 1);
    machine.AdvanceTime(5'000);
    EXPECT_EQ(TimesLogged("QUAY Not found!"), 2);
    machine.AdvanceTime(55'000);
    EXPECT_EQ(TimesLogged("QUAY Not found!"), 2);
    machine.AdvanceTime(8'000);
    EXPECT_EQ(TimesLogged("QUAY Not found!"), 3);
}

TEST_F(CompanionConnectTest, NotConfigured_ClearsWhatTheCompanionTakesOver) {
    Start();
    driver->state.g_bQuayHandlesSlews = true;
    driver->channel.CheckQuay();
    EXPECT_FALSE(driver->state.g_bQuayHandlesSlews);
    EXPECT_TRUE(log.empty() || !Logged("Checking for QUAY!"));
}

struct CaptionRow {
    std::string chkIPAddress;
    std::string chkQuayRestApi;
    std::string port;
    std::string caption;
};

class CaptionTest : public CompanionConnectTest, public testing::WithParamInterface<CaptionRow> {};

TEST_P(CaptionTest, MountInfo_NamesTheRoadToTheMount) {
    const CaptionRow& row = GetParam();
    Seed({{"chkIPAddress", row.chkIPAddress}, {"chkQuayRestApi", row.chkQuayRestApi}, {"txtIPAddress", "10.0.0.7"}});
    Start();
    driver->channel.ShowMountInfo(row.port);
    EXPECT_EQ(driver->handBox.frameMountPosition.Caption(), row.caption);
    EXPECT_TRUE(driver->handBox.Loaded());
    EXPECT_FALSE(driver->handBox.Visible());
    if (!row.port.empty() && row.chkIPAddress == "0") {
        EXPECT_EQ(driver->persist.ReadIniValue("Port", ""), row.port);
    }
}

INSTANTIATE_TEST_SUITE_P(Roads, CaptionTest,
                         testing::Values(CaptionRow{"0", "0", "", "Mount Info: COM1 (QUAY)"},
                                         CaptionRow{"0", "1", "COM5", "Mount Info: COM5 (QUAY)"},
                                         CaptionRow{"1", "0", "", "Mount Info: IP=10.0.0.7"},
                                         CaptionRow{"1", "abc", "", "Mount Info: IP=10.0.0.7"},
                                         CaptionRow{"1", "1", "", "Mount Info: REST (Port 60001)"}));

TEST_F(ConnectionManagerTest, AddressOfAPlainConnect_IsShownWithoutTheCompanion) {
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_EQ(driver->handBox.frameMountPosition.Caption(), "Mount Information: COM1");
}

// --- counters --------------------------------------------------------------------------------------------------------

TEST_F(ConnectionManagerTest, ResetOfCounters_StopsTheMountOnlyAfterAStall) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->counters.CountRetransmit();
    const int stops = TimesSent("Q");
    driver->connections.ResetCommCounters();
    EXPECT_EQ(driver->state.g_nRetransmits, 0);
    EXPECT_EQ(driver->handBox.lblRetransmits.Text(), "0");
    EXPECT_EQ(TimesSent("Q"), stops);
    driver->counters.CountMotorStall();
    driver->connections.ResetCommCounters();
    EXPECT_EQ(TimesSent("Q"), stops + 1);
    EXPECT_EQ(driver->state.g_nMotorStalls, 0);
}

// --- checks of the setup dialog -----------------------------------------------------------------------------------

TEST_F(ConnectionManagerTest, CheckOfAPort_OnAClosedLink_OpensItAndClosesItAgain) {
    Start();
    std::string version;
    EXPECT_TRUE(driver->connections.CheckConnection(1, 300, version));
    EXPECT_EQ(version, "VKC4-P02-08");
    EXPECT_FALSE(LinkOpen());
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 300);
    EXPECT_TRUE(Logged("Checking for mount on COM1"));
    EXPECT_EQ(TimesLogged("Sending request for version"), 1);
}

TEST_F(ConnectionManagerTest, CheckOfAMissingPort_IsFalseAtOnce) {
    Start();
    std::string version = "old";
    const Tick start = machine.clock.GetTickCount();
    EXPECT_FALSE(driver->connections.CheckConnection(9, 300, version));
    EXPECT_EQ(version, "");
    EXPECT_EQ(machine.clock.GetTickCount() - start, 0);
}

TEST_F(ConnectionManagerTest, CheckOfASilentPort_AsksThreeTimes) {
    SilentPort();
    Start();
    std::string version;
    EXPECT_FALSE(driver->connections.CheckConnection(1, 300, version));
    EXPECT_EQ(TimesLogged("Sending request for version"), 3);
    EXPECT_FALSE(LinkOpen());
}

TEST_F(ConnectionManagerTest, CheckOfAnOpenLink_LeavesItOpenWithTheNewLimit) {
    const TelescopeObject telescope = ConnectedTelescope();
    std::string version;
    EXPECT_TRUE(driver->connections.CheckConnection(1, 700, version));
    EXPECT_TRUE(LinkOpen());
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 700);
    ExpectSwallow("CommandString");
    mount->SetLineDead(true);
    EXPECT_FALSE(driver->connections.CheckConnection(1, 0, version));
    EXPECT_TRUE(LinkOpen());
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 700);
}

TEST_F(ConnectionManagerTest, SiteOfTheMount_IsReadOnAClosedLink) {
    MountSimulatorOptions options;
    options.latitude = -33.5;
    options.longitudeWest = 350.25;
    options.longFormat = false;
    BuildMount(options);
    Start();
    double longitude = 0.0;
    double latitude = 0.0;
    EXPECT_TRUE(driver->connections.GetMountLongLat(1, 300, longitude, latitude));
    EXPECT_NEAR(longitude, -9.75, 1e-6);
    EXPECT_NEAR(latitude, -33.5, 1e-6);
    EXPECT_FALSE(LinkOpen());
}

TEST_F(ConnectionManagerTest, SiteOfASilentMount_IsZeroAndFalse) {
    SilentPort();
    Start();
    double longitude = 5.0;
    double latitude = 5.0;
    EXPECT_FALSE(driver->connections.GetMountLongLat(1, 300, longitude, latitude));
    EXPECT_EQ(longitude, 0.0);
    EXPECT_EQ(latitude, 0.0);
}

TEST_F(ConnectionManagerTest, SiteOfTheMount_IsWritten_AndARefusedLongitudeDoesNotKeepTheLatitudeBack) {
    Start();
    EXPECT_TRUE(driver->connections.SetMountLongLat(1, 300, "350*15:00", "+40*30:00"));
    double longitude = 0.0;
    double latitude = 0.0;
    EXPECT_TRUE(driver->connections.GetMountLongLat(1, 300, longitude, latitude));
    EXPECT_NEAR(longitude, -9.75, 1e-6);
    EXPECT_NEAR(latitude, 40.5, 1e-6);
    EXPECT_FALSE(driver->connections.SetMountLongLat(1, 300, "rubbish", "+41*00:00"));
    EXPECT_EQ(TimesSent("St+41*00:00"), 1);
    EXPECT_FALSE(LinkOpen());
}

}  // namespace
}  // namespace kestrane
