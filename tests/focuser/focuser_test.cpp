#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "kernel/base/text.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

constexpr std::uint32_t kNoMount = 0x80040402;

class FocuserTest : public DriverFixture {
protected:
    FocuserObject LinkedFocuser() {
        Start();
        FocuserObject focuser = driver->CreateFocuser();
        focuser->Link(true);
        return focuser;
    }
    const DriverState& State() { return driver->state; }
    bool PollIsOn() { return driver->handBox.tmrQueryRaDecAltAz.Enabled(); }
    /// Messages of origin "FOCUSER".
    std::vector<std::string> FocuserLog() const {
        std::vector<std::string> messages;
        for (const LogLine& line : log) {
            if (line.origin == "FOCUSER") {
                messages.push_back(line.message);
            }
        }
        return messages;
    }
};

// --- the shared link -----------------------------------------------------------------------------------------------

TEST_F(FocuserTest, LinkTrue_OpensTheLinkAndCountsAFocuser) {
    const FocuserObject focuser = LinkedFocuser();
    EXPECT_TRUE(driver->link->Connected());
    EXPECT_EQ(State().g_nFocuserConnects, 1);
    EXPECT_TRUE(State().g_bFocuserConnected);
    EXPECT_EQ(State().g_nScopeConnects, 0);
    EXPECT_FALSE(State().g_bConnected);
    EXPECT_TRUE(driver->connections.IsClientConnected(ClientKind::Focuser));
    EXPECT_FALSE(driver->connections.IsClientConnected(ClientKind::Telescope));
    EXPECT_TRUE(focuser->Link());
    EXPECT_TRUE(PollIsOn());
    EXPECT_EQ(driver->handBox.lblClients.Text(), "Clients:  0 / 1");
    EXPECT_TRUE(Logged("OpenConnection: Scope Clients/Connects=0/0, Focuser Clients/Connects=1/1"));
}

TEST_F(FocuserTest, LinkFalse_TakesOneFromTheCount_AndLeavesTheLinkOpen) {
    const FocuserObject focuser = LinkedFocuser();
    focuser->Link(true);
    focuser->Link(false);
    EXPECT_TRUE(focuser->Link());
    focuser->Link(false);
    EXPECT_FALSE(focuser->Link());
    EXPECT_FALSE(State().g_bFocuserConnected);
    focuser->Link(false);
    EXPECT_EQ(State().g_nFocuserConnects, 0);
    EXPECT_TRUE(driver->link->Connected());
    EXPECT_TRUE(PollIsOn());
    EXPECT_TRUE(Logged("CloseConnection: Scope Clients/Connects=0/0, Focuser Clients/Connects=1/0"));
}

TEST_F(FocuserTest, LinkFalse_LeavesTheTelescopesCount) {
    const TelescopeObject telescope = ConnectedTelescope();
    const FocuserObject focuser = driver->CreateFocuser();
    focuser->Link(true);
    focuser->Link(false);
    EXPECT_EQ(State().g_nScopeConnects, 1);
    EXPECT_TRUE(State().g_bConnected);
}

TEST_F(FocuserTest, LinkTrue_OnAClosedLink_ReadsThePositionOfTheMountFirst) {
    const FocuserObject focuser = LinkedFocuser();
    EXPECT_GT(TimesSent("GR"), 0);
    EXPECT_NEAR(State().g_dRa, mount->Picture().rightAscension, 0.01);
    EXPECT_TRUE(driver->handBox.m_bFormLoaded);
    EXPECT_FALSE(State().g_bFreshConnect);
    EXPECT_EQ(TimesSent("V"), 1);
}

TEST_F(FocuserTest, LinkTrue_OnAnOpenLink_OnlyCounts) {
    const TelescopeObject telescope = ConnectedTelescope();
    const FocuserObject focuser = driver->CreateFocuser();
    const std::size_t sent = mount->Commands().size();
    focuser->Link(true);
    EXPECT_EQ(mount->Commands().size(), sent);
    EXPECT_EQ(State().g_nFocuserConnects, 1);
}

TEST_F(FocuserTest, LinkTrue_WithoutAMount_IsRefused_AndTakesOneFromTheFocusersAlone) {
    Seed({{"Port", "COM7"}});
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    driver->state.g_nScopeConnects = 2;
    driver->state.g_nFocuserConnects = 2;
    EXPECT_EQ(ErrorOf([&] { focuser->Link(true); }), kNoMount);
    EXPECT_EQ(State().g_nScopeConnects, 2);
    EXPECT_EQ(State().g_nFocuserConnects, 1);
    EXPECT_FALSE(PollIsOn());
}

TEST_F(FocuserTest, LinkTrue_BeforeAMountAnswers_IsCompletedOnceOneDoes) {
    ExpectSwallow("*");
    mount->SetLineDead(true);
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    EXPECT_EQ(ErrorOf([&] { focuser->Link(true); }), kNoMount);
    EXPECT_EQ(ErrorOf([&] { focuser->Link(true); }), 0U);
    machine.AdvanceTime(10'000);
    mount->SetLineDead(false);
    machine.AdvanceTime(20'000);
    EXPECT_EQ(State().g_sVersion, "VKC4-P02-08");
    EXPECT_EQ(State().g_nFocuserConnects, 1);
    EXPECT_TRUE(PollIsOn());
}

TEST_F(FocuserTest, LinkTrue_DuringTheAttemptsOfAnother_StartsNoPollInThem) {
    ExpectSwallow("*");
    Seed({{"txtConnectTimeout", "3"}});
    mount->SetLineDead(true);
    Start();
    const FocuserObject first = driver->CreateFocuser();
    const FocuserObject second = driver->CreateFocuser();
    machine.pump.PostAt(1'000, CallKind::Brief, [&] { second->Link(true); });
    EXPECT_EQ(ErrorOf([&] { first->Link(true); }), kNoMount);
    EXPECT_EQ(TimesLogged("No response querying"), 0);
    EXPECT_TRUE(PollIsOn());
}

// --- objects -------------------------------------------------------------------------------------------------------

TEST_F(FocuserTest, LastFocuser_EndsTheProcess_AndSendsNothing) {
    FocuserObject first = LinkedFocuser();
    FocuserObject second = driver->CreateFocuser();
    first.reset();
    EXPECT_EQ(machine.processes.ends, 0);
    EXPECT_EQ(State().g_nFocuserConnects, 1) << "the count is given back by writes, or with the last object";
    const std::size_t sent = mount->Commands().size();
    second.reset();
    EXPECT_EQ(machine.processes.ends, 1);
    EXPECT_EQ(State().g_nFocuserConnects, 0);
    EXPECT_FALSE(driver->link->Connected());
    EXPECT_EQ(mount->Commands().size(), sent);
}

TEST_F(FocuserTest, LastFocuser_WithATelescopeAlive_KeepsTheProcess) {
    FocuserObject focuser = LinkedFocuser();
    const TelescopeObject telescope = driver->CreateTelescope();
    focuser.reset();
    EXPECT_EQ(machine.processes.ends, 0);
    EXPECT_TRUE(driver->link->Connected());
    EXPECT_FALSE(State().g_bFocuserConnected);
    EXPECT_EQ(driver->handBox.lblClients.Text(), "Clients:  1 / 0");
}

TEST_F(FocuserTest, ClientCount_IsObjectsWithoutThePermanentSlot_AndIsWrittenAsItIs) {
    Start();
    const FocuserObject first = driver->CreateFocuser();
    const FocuserObject second = driver->CreateFocuser();
    EXPECT_EQ(first->ClientCount(), 2);
    second->ClientCount(5);
    EXPECT_EQ(State().g_nFocuserObjects, 5);
    EXPECT_EQ(first->ClientCount(), 4);
    EXPECT_EQ(driver->handBox.lblClients.Text(), "Clients:  0 / 4");
    second->ClientCount(1);
    EXPECT_EQ(machine.processes.ends, 1);
    driver->state.g_nFocuserObjects = 3;
}

// --- members -------------------------------------------------------------------------------------------------------

struct MemberRow {
    std::string name;
    std::function<std::string(Focuser&)> read;
    std::string value;
};

void PrintTo(const MemberRow& row, std::ostream* stream) {
    *stream << row.name;
}

std::string Text(bool value) {
    return std::string(TrueFalse(value));
}

class LoggedMemberTest : public FocuserTest, public testing::WithParamInterface<MemberRow> {};

TEST_P(LoggedMemberTest, FixedMember_GivesItsValueAndLogsIt) {
    const MemberRow& row = GetParam();
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    EXPECT_EQ(row.read(*focuser), row.value);
    EXPECT_EQ(FocuserLog(), std::vector<std::string>{"GET " + row.name + " = " + row.value});
}

INSTANTIATE_TEST_SUITE_P(
    Members, LoggedMemberTest,
    testing::Values(MemberRow{"InterfaceVersion", [](Focuser& f) { return std::to_string(f.InterfaceVersion()); }, "2"},
                    MemberRow{"Name", [](Focuser& f) { return f.Name(); }, "KestraneV2"},
                    MemberRow{"Description", [](Focuser& f) { return f.Description(); }, "Kestrane VTR V2 Focuser"},
                    MemberRow{"DriverVersion", [](Focuser& f) { return f.DriverVersion(); }, "5.50.03"},
                    MemberRow{"Absolute", [](Focuser& f) { return Text(f.Absolute()); }, "False"},
                    MemberRow{"IsMoving", [](Focuser& f) { return Text(f.IsMoving()); }, "False"},
                    MemberRow{"Link", [](Focuser& f) { return Text(f.Link()); }, "False"},
                    MemberRow{"MaxIncrement", [](Focuser& f) { return std::to_string(f.MaxIncrement()); }, "5000"},
                    MemberRow{"MaxStep", [](Focuser& f) { return std::to_string(f.MaxStep()); }, "5000"},
                    MemberRow{"TempComp", [](Focuser& f) { return Text(f.TempComp()); }, "False"},
                    MemberRow{"TempCompAvailable", [](Focuser& f) { return Text(f.TempCompAvailable()); }, "False"}));

TEST_F(FocuserTest, IdentityMembers_AreFixedAndLogged) {
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    EXPECT_EQ(focuser->InterfaceVersion(), 2);
    EXPECT_EQ(focuser->Name(), "KestraneV2");
    EXPECT_EQ(focuser->Description(), "Kestrane VTR V2 Focuser");
    EXPECT_EQ(focuser->DriverInfo(), "5.50.3 Kestrane V2\r\nKestrane V2 telescope-mount driver");
    EXPECT_EQ(focuser->DriverVersion(), "5.50.03");
    EXPECT_EQ(FocuserLog().size(), 5U);
    EXPECT_EQ(FocuserLog().at(3), "GET DriverInfo = 5.50.3 Kestrane V2Kestrane V2 telescope-mount driver");
}

TEST_F(FocuserTest, LinkWrites_AreLoggedWithTheirValue) {
    const FocuserObject focuser = LinkedFocuser();
    focuser->Link(false);
    EXPECT_EQ(FocuserLog(), (std::vector<std::string>{"SET Link = True", "SET Link = False"}));
}

// --- the greatest step count ---------------------------------------------------------------------------------------

struct IncrementRow {
    std::string setting;
    std::int32_t steps;
};

class MaxIncrementTest : public FocuserTest, public testing::WithParamInterface<IncrementRow> {};

TEST_P(MaxIncrementTest, GreatestStepCount_ComesFromTheSetting) {
    Seed({{"Focus.txtMaxIncrementMSecs", GetParam().setting}});
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    EXPECT_EQ(focuser->MaxIncrement(), GetParam().steps);
    EXPECT_EQ(focuser->MaxStep(), GetParam().steps);
}

INSTANTIATE_TEST_SUITE_P(Settings, MaxIncrementTest,
                         testing::Values(IncrementRow{"", 5000}, IncrementRow{"5000", 5000}, IncrementRow{"250", 250},
                                         IncrementRow{"rubbish", 0}));

TEST_F(FocuserTest, StepCountBeyondAllMeasure_HarmsNeitherCountsNorProcess) {
    Seed({{"Focus.txtMaxIncrementMSecs", "99999999999"}});
    ExpectSwallow("UpdateValues");
    Start();
    {
        const FocuserObject focuser = driver->CreateFocuser();
        EXPECT_EQ(State().g_nFocuserObjects, 2);
        EXPECT_EQ(machine.processes.ends, 0);
        driver->persist.WriteIniValue("Focus.txtMaxIncrementMSecs", "300");
        focuser->Link(true);
        EXPECT_EQ(focuser->MaxIncrement(), 300);
    }
    EXPECT_EQ(State().g_nFocuserObjects, 1);
    EXPECT_EQ(machine.processes.ends, 1);
}

TEST_F(FocuserTest, LinkTrue_TakesUpAChangedSetting) {
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    driver->persist.WriteIniValue("Focus.txtMaxIncrementMSecs", "123");
    EXPECT_EQ(focuser->MaxIncrement(), 5000);
    focuser->Link(true);
    EXPECT_EQ(focuser->MaxIncrement(), 123);
}

}  // namespace
}  // namespace kestrane
