#include <filesystem>
#include <gtest/gtest.h>

#include "kernel/companion.h"
#include "link/class_tcp_comm.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

class StartupTest : public DriverFixture {
protected:
    bool AnyFileExists() {
        const auto folder = machine.folders.CommonAppData();
        return std::filesystem::exists(folder) && !std::filesystem::is_empty(folder);
    }
    bool LogFileExists() {
        const auto logs = machine.folders.CommonAppData() / "Kestrane" / "ASCOM" / "Logs";
        return std::filesystem::exists(logs) && !std::filesystem::is_empty(logs);
    }
};

TEST_F(StartupTest, Start_WithoutAClientsRequest_ShowsTheOneMessageAndMakesNothing) {
    EXPECT_EQ(Main(machine.Services(), false), nullptr);
    ASSERT_EQ(machine.messageBoxes.shown.size(), 1U);
    EXPECT_EQ(machine.messageBoxes.shown[0].text, "This is an ASCOM driver. It cannot be run stand-alone");
    EXPECT_EQ(machine.messageBoxes.shown[0].title, "Kestrane V2");
    EXPECT_EQ(machine.messageBoxes.shown[0].icon, MessageIcon::Critical);
    EXPECT_FALSE(AnyFileExists());
    EXPECT_TRUE(machine.serialPorts.Openings().empty());
}

TEST_F(StartupTest, Start_ForAClient_LeavesTheLinkClosedAndNoWindowLoaded) {
    Start();
    EXPECT_EQ(driver->state.g_sMountRateType, "unknown");
    EXPECT_FALSE(driver->state.g_bConnected);
    EXPECT_FALSE(driver->state.g_bFocuserConnected);
    ASSERT_TRUE(driver->link);
    EXPECT_FALSE(driver->link->Connected());
    EXPECT_FALSE(driver->handBox.Loaded());
    ASSERT_NE(driver->startup.g_Profile(), nullptr);
    EXPECT_EQ(driver->startup.g_Profile()->DeviceType(), "Telescope");
}

struct TransportRow {
    std::string chkIPAddress;
    bool serial;
};

class TransportTest : public StartupTest, public testing::WithParamInterface<TransportRow> {};

TEST_P(TransportTest, Link_IsSerial_OnlyForTheTextZero) {
    Seed({{"chkIPAddress", GetParam().chkIPAddress}, {"txtIPAddress", "10.0.0.7"}});
    Start();
    auto* ip = dynamic_cast<classTCPComm*>(driver->link.get());
    EXPECT_EQ(ip == nullptr, GetParam().serial);
    if (ip) {
        EXPECT_EQ(ip->IpAddress(), "10.0.0.7");
        EXPECT_EQ(driver->handBox.frameMountPosition.Caption(), "Mount Info: IP=10.0.0.7");
    } else {
        EXPECT_EQ(driver->persist.ReadIniValue("txtIpAddress", "other"), "10.0.0.7");
        EXPECT_FALSE(driver->handBox.Loaded());
    }
}

INSTANTIATE_TEST_SUITE_P(Settings, TransportTest,
                         testing::Values(TransportRow{"0", true}, TransportRow{"1", false}, TransportRow{"2", false},
                                         TransportRow{"abc", false}, TransportRow{"", false}));

struct LogRow {
    std::string chkEnableDebugLog;
    bool file;
};

class LogAtStartTest : public StartupTest, public testing::WithParamInterface<LogRow> {};

TEST_P(LogAtStartTest, LogFile_ExistsBeforeTheFirstClientCall_OnlyWhenItIsEnabled) {
    Seed({{"chkEnableDebugLog", GetParam().chkEnableDebugLog}});
    driver = Main(machine.Services(), true);
    EXPECT_EQ(LogFileExists(), GetParam().file);
}

INSTANTIATE_TEST_SUITE_P(Settings, LogAtStartTest,
                         testing::Values(LogRow{"0", false}, LogRow{"1", true}, LogRow{"2", true}, LogRow{"", false}));

TEST_F(StartupTest, FirstReaderOfTheLogSetting_FreezesItsDefault) {
    driver = Main(machine.Services(), true);
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_FALSE(driver->state.g_bDebugLog);
    EXPECT_EQ(driver->persist.ReadIniValue("chkEnableDebugLog", "1"), "0");
}

TEST_F(StartupTest, FirstTelescope_RegistersItsClass) {
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    const auto found = machine.profileStore.registered.find({"Telescope", "KestraneV2.Telescope"});
    ASSERT_NE(found, machine.profileStore.registered.end());
    EXPECT_EQ(found->second, "'Kestrane VTR V2 Mount");
    EXPECT_FALSE(machine.profileStore.IsRegistered("Focuser", "KestraneV2.Focuser"));
}

TEST_F(StartupTest, FirstFocuser_RegistersItsClass_AndASecondOneDoesNot) {
    Start();
    const FocuserObject first = driver->CreateFocuser();
    const auto found = machine.profileStore.registered.find({"Focuser", "KestraneV2.Focuser"});
    ASSERT_NE(found, machine.profileStore.registered.end());
    EXPECT_EQ(found->second, "Kestrane VTR V2 Focuser");
    const int registrations = machine.profileStore.registrations;
    const FocuserObject second = driver->CreateFocuser();
    EXPECT_EQ(machine.profileStore.registrations, registrations);
}

TEST_F(StartupTest, SecondTelescope_DoesNotRegisterAgain) {
    Start();
    const TelescopeObject first = driver->CreateTelescope();
    EXPECT_EQ(machine.profileStore.registrations, 1);
    const TelescopeObject second = driver->CreateTelescope();
    EXPECT_EQ(machine.profileStore.registrations, 1);
}

TEST_F(StartupTest, Registration_OverAnExistingEntry_RenewsItSilently) {
    machine.profileStore.registered[{"Telescope", "KestraneV2.Telescope"}] = "an earlier one";
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ((machine.profileStore.registered[{"Telescope", "KestraneV2.Telescope"}]), "'Kestrane VTR V2 Mount");
    EXPECT_TRUE(machine.messageBoxes.shown.empty());
    EXPECT_EQ(machine.processes.ends, 0);
}

TEST_F(StartupTest, FirstFocuser_WithoutTheProfileStore_LivesUnregistered) {
    machine.profileStore.available = false;
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    EXPECT_EQ(driver->state.g_nFocuserObjects, 2);
    EXPECT_EQ(machine.profileStore.registrations, 0);
    EXPECT_TRUE(machine.messageBoxes.shown.empty());
    EXPECT_EQ(machine.processes.ends, 0);
}

TEST(ProfileTest, Operations_WorkOnTheDeviceTypeInForce) {
    RecordingProfileStore store;
    Profile profile(store);
    EXPECT_EQ(profile.DeviceType(), "Telescope");
    profile.Register("an.id", "a mount");
    EXPECT_TRUE(profile.IsRegistered("an.id"));
    profile.DeviceType("Focuser");
    EXPECT_EQ(profile.DeviceType(), "Focuser");
    EXPECT_FALSE(profile.IsRegistered("an.id"));
    profile.Unregister("an.id");
    EXPECT_TRUE(store.IsRegistered("Telescope", "an.id"));
    profile.DeviceType("Telescope");
    profile.Unregister("an.id");
    EXPECT_FALSE(profile.IsRegistered("an.id"));
}

struct OldButtonsRow {
    std::string useOldButtonBehavior;
    bool old;
};

class OldButtonsTest : public StartupTest, public testing::WithParamInterface<OldButtonsRow> {};

TEST_P(OldButtonsTest, OldBehaviourOfTheButtons_IsOnForAnyNumberButZero) {
    Seed({{"UseOldButtonBehavior", GetParam().useOldButtonBehavior}});
    Start();
    EXPECT_EQ(driver->state.g_bUseOldButtonBehavior, GetParam().old);
}

INSTANTIATE_TEST_SUITE_P(Settings, OldButtonsTest,
                         testing::Values(OldButtonsRow{"0", false}, OldButtonsRow{"1", true}, OldButtonsRow{"2", true},
                                         OldButtonsRow{"", false}));

struct MissingServiceRow {
    bool utility;
    bool profile;
    bool focuser;
    std::string message;
};

class MissingServiceTest : public StartupTest, public testing::WithParamInterface<MissingServiceRow> {};

TEST_P(MissingServiceTest, FirstObject_WithoutAPlatformService_SaysSoAndEndsTheProcess) {
    machine.utility.available = GetParam().utility;
    machine.profileStore.available = GetParam().profile;
    Start();
    if (GetParam().focuser) {
        const FocuserObject focuser = driver->CreateFocuser();
        EXPECT_EQ(machine.processes.ends, 1);
    } else {
        const TelescopeObject telescope = driver->CreateTelescope();
        EXPECT_EQ(machine.processes.ends, 1);
    }
    ASSERT_EQ(machine.messageBoxes.shown.size(), 1U);
    EXPECT_EQ(machine.messageBoxes.shown[0].text, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Services, MissingServiceTest,
    testing::Values(MissingServiceRow{false, true, false, "Failed to create ASCOM.Utilities.Util... exiting driver"},
                    MissingServiceRow{true, false, false, "Failed to create ASCOM.Utilities.Profile... exiting driver"},
                    MissingServiceRow{false, true, true,
                                      "KSV2 ASCOM Focuser: Unable to create ASCOM.Utilities.Util for g_Util!"}));

struct PriorityRow {
    int index;
    std::uint32_t priorityClass;
};

class PriorityTest : public StartupTest, public testing::WithParamInterface<PriorityRow> {};

TEST_P(PriorityTest, PriorityList_PassesItsClass) {
    ApplyWindowsPriority(machine.processes, GetParam().index);
    EXPECT_EQ(machine.processes.priorities[machine.processes.currentProcessId], GetParam().priorityClass);
    EXPECT_EQ(machine.processes.openHandles, 0);
}

INSTANTIATE_TEST_SUITE_P(List, PriorityTest,
                         testing::Values(PriorityRow{0, 128}, PriorityRow{1, 32768}, PriorityRow{2, 527},
                                         PriorityRow{3, 16384}, PriorityRow{4, 64}, PriorityRow{5, 0},
                                         PriorityRow{-1, 0}));

TEST_F(StartupTest, Priority_OfAProcessThatMayOnlyBeAsked_IsReadBackUnchanged) {
    machine.processes.mayOpen = [](std::uint32_t, std::uint32_t mask) { return mask == 1024; };
    machine.processes.windowOwners[55] = 99;
    EXPECT_EQ(SetProcessPriority(machine.processes, 55, 0, 128), 32U);
    EXPECT_FALSE(machine.processes.priorities.contains(99));
    EXPECT_EQ(machine.processes.openHandles, 0);
}

TEST_F(StartupTest, Priority_PrefersTheProcessOverTheWindow) {
    machine.processes.windowOwners[55] = 99;
    EXPECT_EQ(SetProcessPriority(machine.processes, 55, 42, 64), 64U);
    EXPECT_EQ(SetProcessPriority(machine.processes, 55, 0, 128), 128U);
    EXPECT_EQ(machine.processes.priorities[42], 64U);
    EXPECT_EQ(machine.processes.priorities[99], 128U);
}

class CompanionTest : public StartupTest {
protected:
    static constexpr std::string_view kKey = "KestraneCommandCenter\\ExeName";
    Waits waits{machine.clock, machine.pump};
    KeptLog kept;
    Companion companion{machine.registry, machine.processes, waits, kept.log};
    bool toldBefore = false;
};

TEST_F(CompanionTest, Path_ComesFromATextOrANumber_AndFromNothingElse) {
    EXPECT_EQ(companion.GetCompanionExePath(), "");
    machine.registry.SetText(kKey, "Name", "C:\\Quay\\Quay.exe");
    EXPECT_EQ(companion.GetCompanionExePath(), "C:\\Quay\\Quay.exe");
    machine.registry.values[{std::string(kKey), "Name"}] = {4, std::string("\x02\x01\x00\x00", 4)};
    EXPECT_EQ(companion.GetCompanionExePath(), "258");
    machine.registry.values[{std::string(kKey), "Name"}] = {3, "bytes"};
    EXPECT_EQ(companion.GetCompanionExePath(), "");
}

TEST_F(CompanionTest, Start_WithArgumentAndTwoSecondsOfPumping) {
    machine.registry.SetText(kKey, "Name", "C:\\Quay\\Quay.exe");
    const Tick before = machine.clock.GetTickCount();
    EXPECT_TRUE(companion.StartCompanion(toldBefore));
    ASSERT_EQ(machine.processes.starts.size(), 1U);
    EXPECT_EQ(machine.processes.starts[0].first, "C:\\Quay\\Quay.exe");
    EXPECT_EQ(machine.processes.starts[0].second, " -c");
    EXPECT_EQ(machine.clock.GetTickCount() - before, 2000);
    EXPECT_GT(machine.pump.Pumps(), 0);
}

TEST_F(CompanionTest, Start_WhileItRunsInAnyCase_StartsNothing) {
    machine.registry.SetText(kKey, "Name", "C:\\Quay\\Quay.EXE");
    machine.processes.list.push_back("qUAY.exe");
    EXPECT_FALSE(companion.StartCompanion(toldBefore));
    EXPECT_TRUE(machine.processes.starts.empty());
}

TEST_F(CompanionTest, Start_OfOneThatCannotBeStarted_CountsAsNotStartedAndIsLoggedAsAWarning) {
    machine.registry.SetText(kKey, "Name", "/opt/quay/Quay");
    machine.processes.canStart = false;
    const Tick before = machine.clock.GetTickCount();
    EXPECT_FALSE(companion.StartCompanion(toldBefore));
    EXPECT_EQ(machine.clock.GetTickCount() - before, 0);
    EXPECT_TRUE(toldBefore);
    EXPECT_FALSE(companion.StartCompanion(toldBefore));  // which says it no second time
    ASSERT_EQ(kept.messages.size(), 1U);
    EXPECT_EQ(kept.messages[0].level, 1);
    EXPECT_NE(kept.messages[0].message.find("/opt/quay/Quay"), std::string::npos);
}

TEST_F(CompanionTest, Start_WithoutAnExecutableName_StartsNothing) {
    machine.registry.SetText(kKey, "Name", "C:\\Quay\\");
    EXPECT_FALSE(companion.StartCompanion(toldBefore));
    EXPECT_TRUE(machine.processes.starts.empty());
}

TEST_F(CompanionTest, Start_WithAnEmptyText_StartsNothing) {
    machine.registry.SetText(kKey, "Name", "");
    EXPECT_EQ(companion.GetCompanionExePath(), "");
    EXPECT_FALSE(companion.StartCompanion(toldBefore));
    EXPECT_TRUE(machine.processes.starts.empty());
}

TEST_F(CompanionTest, Start_TakesTheNameBehindTheLastSlashOfEitherKind) {
    machine.registry.SetText(kKey, "Name", "/opt/quay/Quay");
    machine.processes.list.push_back("quay");
    EXPECT_FALSE(companion.StartCompanion(toldBefore));
    machine.processes.list.pop_back();
    EXPECT_TRUE(companion.StartCompanion(toldBefore));
    ASSERT_EQ(machine.processes.starts.size(), 1U);
    EXPECT_EQ(machine.processes.starts[0].first, "/opt/quay/Quay");
    machine.registry.SetText(kKey, "Name", "/opt/quay/");
    EXPECT_FALSE(companion.StartCompanion(toldBefore));
}

TEST_F(CompanionTest, ProcessName_IsLoweredInPlaceAndCutAtItsFirstNul) {
    machine.processes.list.push_back(std::string("Quay.exe\0rest", 13));
    std::string name = "QUAY.EXE";
    EXPECT_TRUE(companion.IsProcessRunning(name));
    EXPECT_EQ(name, "quay.exe");
}

}  // namespace
}  // namespace kestrane
