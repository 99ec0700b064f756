#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "driver/companion/companion_fixture.h"
#include "driver/connection/connection_errors.h"

/// How the companion is found and started, and what is known of it from one connect to the next.
namespace kestrane {
namespace {

class CompanionProofTest : public CompanionRoadTest {
protected:
    std::string Caption() { return driver->handBox.frameMountPosition.Caption(); }
    /// The link falls shut, and a client opens it again.
    std::uint32_t ConnectAgain() {
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
        driver->link->Connected(false);
        return ErrorOf([&] { telescope->Connected(true); });
    }
};

TEST_F(CompanionProofTest, AddressAtAConnect_NamesTheProofOfTheLastOneWithoutABlank) {
    Connect(Road::CompanionPort);
    EXPECT_EQ(Caption(), "Mount Info: COM9 (QUAY)");
    ExpectSwallow("CommandString");
    companion.SetFault(SimulatedCompanion::Fault::Gone);
    machine.applicationSettings.Set("QUAY", "Driver", "COMPort", "");
    EXPECT_EQ(ConnectAgain(), kNoMount);
    EXPECT_EQ(Caption(), "Mount Info: COM9(QUAY)");
}

TEST_F(CompanionProofTest, AProof_LetsTheCompanionBeAskedForTheTimeAgain) {
    Connect(Road::CompanionPort);
    driver->state.g_bQuayTimeSync = false;
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesTold("*TIMESYNC"), 0);
    EXPECT_EQ(ConnectAgain(), 0U);
    EXPECT_TRUE(driver->state.g_bQuayTimeSync);
    MarkNow();
    machine.AdvanceTime(20'000);
    EXPECT_GT(TimesTold("*TIMESYNC"), 0);
}

/// The proof of a link holds until the next one has answered: its first question has the next number still.
TEST_F(CompanionProofTest, ALinkThatIsOpenedAgain_AsksForTheVersionByTheOldProof_AndProvesAnew) {
    Connect(Road::CompanionPort);
    const std::string version = "QUAY," + std::to_string(driver->state.g_nQuaySeq) + ",V";
    const std::size_t before = companion.Commands().size();
    EXPECT_EQ(ConnectAgain(), 0U);
    const std::vector<std::string>& commands = companion.Commands();
    const auto first = commands.begin() + static_cast<std::ptrdiff_t>(before);
    EXPECT_EQ(*first, version);
    const auto proof = std::find(first, commands.end(), "QUAY");
    ASSERT_NE(proof, commands.end());
    EXPECT_TRUE(std::none_of(first + 1, proof, [](const std::string& text) { return text.starts_with("QUAY,"); }));
    const auto next = std::find_if(proof, commands.end(), [](const auto& text) { return text.starts_with("QUAY,"); });
    ASSERT_NE(next, commands.end());
    EXPECT_TRUE(next->starts_with("QUAY,1,")) << *next;
    EXPECT_EQ(TimesLogged("QUAY Found!"), 2);
}

TEST_F(CompanionProofTest, ALimitForRepliesOverIp_HoldsUntilTheFirstConnect) {
    SeedFor(Road::Adapter, {{"IpReceiveTimeoutMSecs", "777"}, {"Timeout", "600"}});
    Start();
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 777);
    telescope = ConnectedTelescope();
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 600);
    EXPECT_EQ(machine.http.Requests().front().limits.receiveMs, 600);
}

struct ControllerRow {
    const char* controller;
    bool offersIp;
};

class IpChoiceTest : public CompanionProofTest, public testing::WithParamInterface<ControllerRow> {};

TEST_P(IpChoiceTest, OutlivesAStart_WhateverTheController) {
    SeedFor(Road::Adapter, {{"Controller", GetParam().controller}});
    for (int start = 0; start < 2; ++start) {
        Restart();
        ASSERT_NE(dynamic_cast<classTCPComm*>(driver->link.get()), nullptr);
        telescope = driver->CreateTelescope();
        EXPECT_EQ(driver->initialSetup.chkIPAddress.Visible(), GetParam().offersIp);
        EXPECT_EQ(driver->persist.Read(setting::chkIPAddress), "1");
        telescope.reset();
    }
}

INSTANTIATE_TEST_SUITE_P(Controllers, IpChoiceTest,
                         testing::Values(ControllerRow{"0", false}, ControllerRow{"1", false},
                                         ControllerRow{"2", false}, ControllerRow{"3", true},
                                         ControllerRow{"4", true}));

// --- finding it -----------------------------------------------------------------------------------------------------

class FoundCompanionTest : public CompanionProofTest, public testing::WithParamInterface<Road> {};

TEST_P(FoundCompanionTest, IsAskedUnwrapped_AndEachTextAfterThatHasTheNextNumber) {
    Connect(GetParam());
    const std::vector<std::string>& commands = companion.Commands();
    const auto proof = std::ranges::find(commands, "QUAY");
    ASSERT_NE(proof, commands.end());
    EXPECT_EQ(*(proof - 1), "#");
    int number = 0;
    for (auto command = commands.begin(); command != commands.end(); ++command) {
        if (command->starts_with("QUAY,")) {
            EXPECT_GT(command, proof) << *command;
            EXPECT_TRUE(command->starts_with("QUAY," + std::to_string(++number) + ",")) << *command;
        } else {
            EXPECT_FALSE(command > proof && command->starts_with("G")) << *command << " waits for a text";
        }
    }
    EXPECT_GT(number, 20);
    EXPECT_EQ(driver->state.g_nQuaySeq, number + 1);
    EXPECT_EQ(Caption(),
              GetParam() == Road::CompanionPort ? "Mount Info: COM9 (QUAY)" : "Mount Info: REST (Port 60001)");
}

INSTANTIATE_TEST_SUITE_P(Roads, FoundCompanionTest, testing::Values(Road::CompanionPort, Road::CompanionRest));

TEST_F(CompanionProofTest, ACompanionThatDoesNotAnswer_IsAskedAgainEachMinute) {
    Connect(Road::Serial, {{"chkQUAY", "1"}});
    EXPECT_FALSE(driver->state.g_bQuayLink);
    machine.AdvanceTime(120'000);
    EXPECT_EQ(TimesLogged("QUAY Not found!"), 3) << "at the connect, 15 s and 75 s later";
    EXPECT_EQ(driver->state.g_nQuaySeq, 0);
}

// --- starting it ----------------------------------------------------------------------------------------------------

TEST_F(CompanionProofTest, ACompanionThatComesUp_IsFoundOnItsPort) {
    SeedFor(Road::CompanionPort);
    InstallCompanion();
    ExpectSwallow("CommandString");
    companion.SetFault(SimulatedCompanion::Fault::Gone);
    machine.pump.PostAt(8'000, CallKind::Brief, [&] { companion.SetFault(SimulatedCompanion::Fault::None); });
    telescope = ConnectedTelescope();
    EXPECT_GE(machine.clock.Elapsed(), 8'000);
    EXPECT_LT(machine.clock.Elapsed(), 11'000);
    EXPECT_EQ(machine.processes.starts.size(), 1U);
    EXPECT_EQ(machine.processes.starts.at(0).second, " -c");
    EXPECT_TRUE(driver->state.g_bQuayLink);
    EXPECT_EQ(Caption(), "Mount Info: COM9 (QUAY)");
}

TEST_F(CompanionProofTest, ACompanionThatCannotBeStarted_IsToldOnceAndDoesNotCountAsStarted) {
    for (const Road road : {Road::CompanionPort, Road::CompanionRest}) {
        SeedFor(road);
        InstallCompanion();
        ExpectSwallow("CommandString");
        companion.SetFault(SimulatedCompanion::Fault::Gone);
        machine.processes.canStart = false;
        Start();
        log.clear();
        const std::int64_t start = machine.clock.Elapsed();
        telescope = driver->CreateTelescope();
        EXPECT_EQ(ErrorOf([&] { telescope->Connected(true); }), kNoMount);
        EXPECT_LT(machine.clock.Elapsed() - start, 3'000) << "the time-out of the connect holds";
        EXPECT_EQ(TimesLogged("The companion could not be started: C:\\Quay\\Quay.exe"), 1);
        telescope.reset();
        driver.reset();
    }
}

// --- losing it ------------------------------------------------------------------------------------------------------

TEST_F(CompanionProofTest, ACompanionThatIsLostAndComesBack_NeedsNoNewProof_AndTheNumberGoesOn) {
    for (const Road road : {Road::CompanionPort, Road::CompanionRest}) {
        Connect(road);
        ASSERT_TRUE(driver->state.g_bQuayLink);
        ExpectSwallow("CommandString");
        const std::int32_t number = driver->state.g_nQuaySeq;
        companion.SetFault(SimulatedCompanion::Fault::Gone);
        machine.AdvanceTime(90'000);
        EXPECT_TRUE(driver->state.g_bLostComms);
        EXPECT_TRUE(driver->state.g_bQuayLink);
        EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0x80040429U);
        const std::int32_t numberBefore = driver->state.g_nQuaySeq;
        EXPECT_GT(numberBefore, number);
        companion.SetFault(SimulatedCompanion::Fault::None);
        MarkNow();
        machine.AdvanceTime(20'000);
        EXPECT_FALSE(driver->state.g_bLostComms);
        EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0U);
        EXPECT_EQ(TimesTold("QUAY"), 0);
        EXPECT_EQ(TimesLogged("Checking for QUAY!"), 1);
        EXPECT_GT(driver->state.g_nQuaySeq, numberBefore);
        telescope.reset();
        driver.reset();
        log.clear();
    }
}

}  // namespace
}  // namespace kestrane
