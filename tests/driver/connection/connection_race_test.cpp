#include <gtest/gtest.h>

#include "driver/connection/connection_errors.h"
#include "link/ascom_serial.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

/// Within the pumping wait between the first two passes of a connect that meets silence.
constexpr std::int64_t kBetweenPassesMs = 600;

/// What runs inside a connect while that waits.
class ConnectionRaceTest : public DriverFixture {
protected:
    void SilentPort() {
        mount->SetLineDead(true);
        ExpectSwallow("CommandString");
    }
    void At(std::int64_t elapsedMs, std::function<void()> call) {
        machine.pump.PostAt(elapsedMs, CallKind::Brief, std::move(call));
    }
};

TEST_F(ConnectionRaceTest, SecondClientDuringTheLoop_TakesTheShortRoad_AndLosesItsCountToTheFirstOnesFailure) {
    SilentPort();
    Start();
    const TelescopeObject first = driver->CreateTelescope();
    const TelescopeObject second = driver->CreateTelescope();
    std::uint32_t secondError = 1;
    int connectsThen = 0;
    std::size_t openings = 0;
    At(kBetweenPassesMs, [&] {
        secondError = ErrorOf([&] { second->Connected(true); });
        connectsThen = driver->state.g_nScopeConnects;
        openings = machine.serialPorts.Openings().size();
    });
    EXPECT_EQ(ErrorOf([&] { first->Connected(true); }), kNoMount);
    EXPECT_EQ(secondError, 0U);
    EXPECT_EQ(connectsThen, 1);
    EXPECT_EQ(openings, 1U);
    EXPECT_TRUE(Logged("The link is open although no mount has answered on it."));
    EXPECT_EQ(driver->state.g_nScopeConnects, 0);
    EXPECT_FALSE(driver->state.g_bConnected);
}

TEST_F(ConnectionRaceTest, FocuserDuringATelescopesLoop_KeepsItsCountAfterTheFailure) {
    SilentPort();
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    const FocuserObject focuser = driver->CreateFocuser();
    At(kBetweenPassesMs, [&] { focuser->Link(true); });
    EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), kNoMount);
    EXPECT_EQ(driver->state.g_nFocuserConnects, 1);
    EXPECT_TRUE(focuser->Link());
}

TEST_F(ConnectionRaceTest, SecondClientDuringTheLoop_IsCountedNextToTheFirst_WhenTheMountAnswersAtLast) {
    SilentPort();
    Start();
    const TelescopeObject first = driver->CreateTelescope();
    const TelescopeObject second = driver->CreateTelescope();
    At(kBetweenPassesMs, [&] {
        second->Connected(true);
        mount->SetLineDead(false);
    });
    EXPECT_EQ(ErrorOf([&] { first->Connected(true); }), 0U);
    EXPECT_EQ(driver->state.g_nScopeConnects, 2);
    EXPECT_EQ(driver->state.g_sVersion, "VKC4-P02-08");
}

TEST_F(ConnectionRaceTest, SecondClientWhileTheCompanionStarts_OpensTheClosedLinkItself_AndBothAreCounted) {
    Seed({{"chkQUAY", "1"}});
    machine.registry.SetText("KestraneCommandCenter\\ExeName", "Name", "C:\\Quay\\Quay.exe");
    SilentPort();
    Start();
    const TelescopeObject first = driver->CreateTelescope();
    const TelescopeObject second = driver->CreateTelescope();
    bool linkWasOpen = true;
    int connectsThen = 0;
    At(1'500, [&] {
        linkWasOpen = driver->link->Connected();
        mount->SetLineDead(false);
        second->Connected(true);
        connectsThen = driver->state.g_nScopeConnects;
        EXPECT_TRUE(driver->state.g_bOpeningLink) << "the first one still makes its attempts";
    });
    EXPECT_EQ(ErrorOf([&] { first->Connected(true); }), 0U);
    EXPECT_FALSE(driver->state.g_bOpeningLink);
    EXPECT_FALSE(linkWasOpen);
    EXPECT_EQ(connectsThen, 1);
    EXPECT_EQ(driver->state.g_nScopeConnects, 2);
    EXPECT_EQ(machine.processes.starts.size(), 1U);
    EXPECT_TRUE(driver->link->Connected());
    EXPECT_TRUE(driver->handBox.tmrQueryRaDecAltAz.Enabled());
}

// --- which error a client is told ----------------------------------------------------------------------------------

TEST_F(ConnectionRaceTest, PortThatVanishesBetweenThePasses_IsNoMount_WhereTheFirstPassTellsTheOpeningError) {
    Seed({{"chkUseASCOMSerialObject", "1"}});
    SilentPort();
    ExpectSwallow("classSerial.ReceiveTerminated");
    ExpectSwallow("classSerial.ClearBuffers");
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    At(kBetweenPassesMs, [&] { machine.serialPorts.Disconnect(1); });
    EXPECT_EQ(ErrorOf([&] { focuser->Link(true); }), kNoMount);
    EXPECT_EQ(machine.serialPorts.Openings().size(), 2U);
    EXPECT_TRUE(Logged("OpenConnection Failed. No response from COM1"));

    EXPECT_EQ(ErrorOf([&] { focuser->Link(true); }), AscomSerial::kCannotOpen);
    EXPECT_EQ(TimesLogged("OpenConnection Failed."), 1);
}

TEST_F(ConnectionRaceTest, AbsentLink_IsItsOwnErrorToAFocuser_AndNoMountToATelescope) {
    ExpectSwallow("Connected");  // the end of the last telescope wants to drain the link
    Start();
    driver->link.reset();
    const FocuserObject focuser = driver->CreateFocuser();
    EXPECT_EQ(ErrorOf([&] { focuser->Link(true); }), RunTimeError::kObjectNotSet);
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), kNoMount);
    EXPECT_FALSE(Logged("OpenConnection Failed."));
    EXPECT_FALSE(telescope->Connected());
    EXPECT_EQ(driver->state.g_nScopeConnects, 0);
    EXPECT_EQ(driver->state.g_nFocuserConnects, 0);
}

}  // namespace
}  // namespace kestrane
