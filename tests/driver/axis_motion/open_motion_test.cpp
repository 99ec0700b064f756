#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"

/// What a killed driver leaves moving, and how the next one stops it.
namespace kestrane {
namespace {

constexpr std::string_view kStopSent =
    "The last driver ended while something moved that only it would have ended: the stop has gone out";
constexpr std::string_view kStopComes =
    "The last driver ended while something moved that only it would have ended: the stop goes out once the port can be "
    "opened";

class OpenMotionTest : public DriverFixture {
protected:
    OpenMotionTest() { Seed({{"chkAutoCalibrateOnFirstSlew", "0"}, {"chkSetSlewRate", "0"}}); }
    void TearDown() override {
        telescope.reset();
        DriverFixture::TearDown();
    }
    void Connect() {
        telescope = ConnectedTelescope();
        telescope->Tracking(true);
        machine.AdvanceTime(10'000);
    }
    std::filesystem::path File() { return machine.folders.CommonAppData() / "Kestrane" / "ASCOM" / "OpenMotion"; }
    std::string Words() {
        std::ifstream file(File());
        std::string words;
        for (std::string word; file >> word;) {
            words += words.empty() ? word : " " + word;
        }
        return words;
    }
    void Leave(std::string_view words) {
        std::filesystem::create_directories(File().parent_path());
        std::ofstream(File()) << words;
    }

    /// A start whose port cannot be opened yet.
    void StartWithoutACable(std::string_view left) {
        Leave(left);
        machine.serialPorts.Disconnect(1);
        Start();
    }

    TelescopeObject telescope;
    std::string atCommand;  ///< the file's words when the mount got a command
};

TEST_F(OpenMotionTest, FileNamesWhatOnlyTheDriverWouldEnd_AndGoesAfterIt) {
    Connect();
    const FocuserObject focuser = driver->CreateFocuser();
    focuser->Link(true);
    EXPECT_FALSE(std::filesystem::exists(File()));
    struct Row {
        std::string words;
        std::function<void()> begin, end;
    };
    const std::vector<Row> rows{
        {"mount", [&] { telescope->MoveAxis(0, 0.1); }, [&] { telescope->MoveAxis(0, 0.0); }},
        {"mount", [&] { telescope->MoveAxis(1, 0.1); }, [&] { telescope->AbortSlew(); }},
        {"mount", [&] { telescope->PulseGuide(0, 60'000); }, [&] { telescope->AbortSlew(); }},
        {"mount", [&] { telescope->CommandBlind("Mn", false); }, [&] { telescope->CommandBlind("Q", false); }},
        {"focuser", [&] { focuser->Move(5'000); }, [&] { focuser->Halt(); }},
        {"focuser", [&] { telescope->CommandBlind("F+", false); }, [&] { telescope->CommandBlind("FQ", false); }},
    };
    for (const Row& row : rows) {
        row.begin();
        EXPECT_EQ(Words(), row.words);
        machine.AdvanceTime(3'000);
        EXPECT_EQ(Words(), row.words) << "the poll leaves it alone";
        row.end();
        machine.AdvanceTime(2'000);
        EXPECT_FALSE(std::filesystem::exists(File()));
    }
    driver->state.g_nFocuserObjects = 9;  // the process goes on after the release of the object
}

TEST_F(OpenMotionTest, AxisWhoseEndTheMountMayNotHaveHeard_StaysNoted) {
    ExpectSwallow("CommandString");  // the poll's
    Connect();
    telescope->MoveAxis(0, 0.1);
    mount->SetLineDead(true);
    telescope->MoveAxis(0, 0.0);
    machine.AdvanceTime(1'000);
    EXPECT_EQ(Words(), "mount");
    mount->SetLineDead(false);
    machine.AdvanceTime(15'000);
    EXPECT_FALSE(std::filesystem::exists(File()));
}

TEST_F(OpenMotionTest, HealthyEnds_LeaveNoFile) {
    ExpectSwallow("CommandBool");
    ExpectSwallow("CommandClear");
    struct Row {
        std::string firmware;
        std::function<void()> run;
    };
    const std::vector<Row> rows{
        {"VKC4-P02-08", [&] { telescope->MoveAxis(0, 0.1); }},
        {"VKC4-P02-08", [&] { telescope->MoveAxis(1, 0.1); }},
        {"VKC4-P02-08", [&] { telescope->CommandBlind("Mn", false); }},
        {"VKC4-P02-08", [&] { telescope->PulseGuide(0, 200'000); }},
        {"E3", [&] { telescope->PulseGuide(0, 60'000); }},
        {"E3",  // reports no status, so the mount never says that it has heard the end
         [&] {
             telescope->MoveAxis(0, 0.1);
             telescope->MoveAxis(0, 0.0);
         }},
    };
    for (const Row& row : rows) {
        BuildMount(row.firmware);
        Connect();
        row.run();
        machine.AdvanceTime(1'000);
        telescope.reset();  // the last client
        EXPECT_EQ(machine.processes.ends, 1);
        machine.processes.ends = 0;
        driver.reset();
        EXPECT_FALSE(std::filesystem::exists(File())) << row.firmware;
        EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
    }
}

TEST_F(OpenMotionTest, EndThatThePulledCableSwallowed_LeavesTheFileToTheNextDriver) {
    ExpectSwallow("*");
    const std::vector<std::function<void()>> motions{
        [&] { telescope->MoveAxis(1, 0.1); },
        [&] { telescope->CommandBlind("Mn", false); },
        [&] { telescope->PulseGuide(0, 200'000); },
    };
    const std::vector<std::function<void()>> ends{[&] { telescope.reset(); }, [&] { telescope->ClientCount(1); },
                                                  [&] { driver->EndOnRequest(); }};
    for (const auto& begin : motions) {
        for (const auto& end : ends) {
            BuildMount("VKC4-P02-08");
            Connect();
            begin();
            machine.AdvanceTime(500);
            machine.serialPorts.Disconnect(1);
            end();
            telescope.reset();
            driver.reset();
            EXPECT_EQ(Words(), "mount");
            EXPECT_NE(mount->Picture().polarSpeed, 0.0);
            machine.ConnectMount(1, *mount);
            Start();
            machine.AdvanceTime(1'500);
            EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
            driver.reset();
        }
    }
}

TEST_F(OpenMotionTest, FileStandsBeforeTheCommandGoesOut) {
    struct Looks final : Misbehaviour {
        explicit Looks(std::function<void()> look) : look_(std::move(look)) {}
        void Change(SimulatedReply& reply) override {
            if (reply.name == "RD") {
                look_();
            }
        }
        std::function<void()> look_;
    };
    Connect();
    mount->Add(std::make_unique<Looks>([this] { atCommand = Words(); }));
    telescope->MoveAxis(1, 0.1);
    EXPECT_EQ(atCommand, "mount");
}

TEST_F(OpenMotionTest, ASlewIsNoOpenMotion_AlsoAfterAnAxis) {
    Connect();
    telescope->MoveAxis(1, 0.1);
    telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
    machine.AdvanceTime(1'500);
    ASSERT_TRUE(mount->Picture().slewing);
    EXPECT_FALSE(std::filesystem::exists(File()));
}

TEST_F(OpenMotionTest, NextDriver_StopsWhatWasLeft) {
    struct Row {
        std::string words;
        std::vector<std::string> sent;
    };
    for (const Row& row : {Row{"mount", {"Q", "Q"}}, Row{"focuser", {"FQ"}}, Row{"mount\nfocuser", {"Q", "Q", "FQ"}}}) {
        driver.reset();
        log.clear();
        Leave(row.words);
        Start();
        EXPECT_EQ(SentBy([&] { machine.AdvanceTime(1'000); }), row.sent);
        EXPECT_TRUE(LoggedAs("Motion", 2, kStopSent));
        EXPECT_FALSE(std::filesystem::exists(File()));
        EXPECT_FALSE(driver->link->Connected());
        EXPECT_EQ(SentBy([&] { machine.AdvanceTime(10'000); }), std::vector<std::string>{});
    }
}

TEST_F(OpenMotionTest, AxisThatRunsWhenTheDriverIsKilled_StandsAfterTheNextStart) {
    Connect();
    telescope->MoveAxis(1, 0.1);
    ASSERT_GT(std::abs(mount->Picture().polarSpeed), 0.05);
    telescope->CommandBlind(":Mn#", true);
    mount->SetLineDead(true);  // the end of this driver stops nothing, as if it were killed
    ExpectSwallow("*");
    telescope.reset();
    driver.reset();
    mount->SetLineDead(false);
    Leave("mount");
    Start();
    machine.AdvanceTime(1'000);
    EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
}

TEST_F(OpenMotionTest, WhatWasLeft_IsStoppedOnceThePortCanBeOpened) {
    ExpectSwallow("CheckConnection");
    StartWithoutACable("mount");
    machine.AdvanceTime(5'500);
    EXPECT_EQ(TimesLoggedAs("Motion", 2, kStopComes), 1);
    EXPECT_FALSE(Logged(kStopSent));
    EXPECT_TRUE(std::filesystem::exists(File()));
    machine.ConnectMount(1, *mount);
    EXPECT_EQ(SentBy([&] { machine.AdvanceTime(1'500); }), (std::vector<std::string>{"Q", "Q"}));
    EXPECT_FALSE(std::filesystem::exists(File()));
}

TEST_F(OpenMotionTest, AConnectStopsWhatWasLeft_BeforeAClientMovesAnything) {
    ExpectSwallow("*");
    struct Row {
        std::function<void(Telescope&, Focuser&)> move;
        std::function<bool()> goesOn;
    };
    const std::vector<Row> rows{
        {[](Telescope& scope, Focuser&) {
             scope.SlewToCoordinatesAsync(NormalizeHours(scope.SiderealTime() - 2.0), -20.0);
         },
         [&] { return mount->Picture().slewing; }},
        {[](Telescope& scope, Focuser&) { scope.MoveAxis(1, 0.1); },
         [&] { return std::abs(mount->Picture().polarSpeed) > 0.05; }},
        {[](Telescope& scope, Focuser&) { scope.PulseGuide(0, 200'000); },
         [&] { return std::abs(mount->Picture().polarSpeed) > 1e-4; }},
        {[](Telescope&, Focuser& focuser) { focuser.Move(5'000); }, [&] { return mount->Picture().focuserRuns != 0; }},
    };
    for (const Row& row : rows) {
        BuildMount("VKC4-P02-08");
        StartWithoutACable("mount\nfocuser");
        log.clear();
        machine.AdvanceTime(1'900);
        machine.ConnectMount(1, *mount);
        EXPECT_FALSE(Logged(kStopSent));
        telescope = ConnectedTelescope();
        EXPECT_TRUE(Logged(kStopSent));
        FocuserObject focuser = driver->CreateFocuser();
        focuser->Link(true);
        telescope->Tracking(true);
        driver->motion.SlewCompleteTaken();  // what follows a connect has a stop of its own
        EXPECT_EQ(TimesSent("FQ"), 1);
        row.move(*telescope, *focuser);
        const std::vector<std::string> sent = SentBy([&] { machine.AdvanceTime(3'000); });
        EXPECT_EQ(std::ranges::count(sent, "Q") + std::ranges::count(sent, "FQ"), 0);
        EXPECT_TRUE(row.goesOn());
        EXPECT_EQ(TimesLogged(kStopSent), 1);
        focuser.reset();
        telescope.reset();
        driver.reset();
    }
}

TEST_F(OpenMotionTest, ASlewThatTheMountHasTaken_EndsWhatWasLeftOfTheMount_ButNotOfTheFocuser) {
    ExpectSwallow("*");
    StartWithoutACable("mount\nfocuser");
    machine.AdvanceTime(1'500);
    driver->motion.SlewTaken();
    machine.ConnectMount(1, *mount);
    EXPECT_EQ(SentBy([&] { machine.AdvanceTime(3'000); }), std::vector<std::string>{"FQ"});
    EXPECT_FALSE(std::filesystem::exists(File()));
}

TEST_F(OpenMotionTest, WithoutAFile_AStartSendsNothing) {
    Start();
    EXPECT_EQ(SentBy([&] { machine.AdvanceTime(5'000); }), std::vector<std::string>{});
    Leave("rubbish");
    driver.reset();
    Start();
    EXPECT_EQ(SentBy([&] { machine.AdvanceTime(5'000); }), std::vector<std::string>{});
}

}  // namespace
}  // namespace kestrane
