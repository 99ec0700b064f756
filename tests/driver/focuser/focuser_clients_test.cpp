#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "kernel/base/text.h"
#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"

/// Focuser clients on the whole driver, with the simulated mount: alone, beside telescopes, at the end of the process.
namespace kestrane {
namespace {

using Wire = std::vector<std::string>;

class FocuserClientsTest : public DriverFixture {
protected:
    FocuserObject LinkedFocuser() {
        if (!driver) {
            Start();
        }
        FocuserObject focuser = driver->CreateFocuser();
        focuser->Link(true);
        return focuser;
    }
    /// The focuser's commands among those that the mount has got since `mark`.
    Wire FocusWire(std::size_t mark) const {
        Wire wire;
        std::ranges::copy_if(mount->Commands().begin() + static_cast<std::ptrdiff_t>(mark), mount->Commands().end(),
                             std::back_inserter(wire), [](const std::string& text) { return text.starts_with("F"); });
        return wire;
    }
    std::size_t Mark() const { return mount->Commands().size(); }
    double Place() const { return mount->Picture().focuserPosition; }
    int Runs() const { return mount->Picture().focuserRuns; }
};

// --- who moves it --------------------------------------------------------------------------------------------------

TEST_F(FocuserClientsTest, AlonePollsTheMountAndMovesTheMotor) {
    const FocuserObject focuser = LinkedFocuser();
    const std::size_t mark = Mark();
    focuser->Move(2000);
    EXPECT_TRUE(focuser->IsMoving());
    machine.AdvanceTime(10'000);
    EXPECT_FALSE(focuser->IsMoving());
    EXPECT_EQ(FocusWire(mark), (Wire{"FF", "F+", "FQ"}));
    EXPECT_NEAR(Place(), 2000.0, 150.0) << "an exchange of the poll may delay the end";
    EXPECT_EQ(Runs(), 0);
    EXPECT_FALSE(driver->state.g_bConnected);
}

TEST_F(FocuserClientsTest, NetTravelAgainstTheFinalDirection_IsThatOfTheSteps) {
    const FocuserObject focuser = LinkedFocuser();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);  // the times of the runs are exact then
    focuser->Move(-300);
    machine.AdvanceTime(10'000);
    EXPECT_DOUBLE_EQ(Place(), -300.0);
    focuser->Move(250);
    machine.AdvanceTime(10'000);
    EXPECT_DOUBLE_EQ(Place(), -50.0);
}

TEST_F(FocuserClientsTest, BesideATelescope_NeitherDisturbsTheOther) {
    const TelescopeObject telescope = ConnectedTelescope();
    const FocuserObject focuser = LinkedFocuser();
    machine.AdvanceTime(3'000);
    const std::size_t mark = Mark();
    telescope->SlewToCoordinatesAsync(telescope->RightAscension(), 20.0);
    focuser->Move(-500);
    machine.AdvanceTime(300);
    EXPECT_TRUE(telescope->Slewing());
    EXPECT_EQ(Runs(), -1);
    machine.AdvanceTime(300'000);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_NEAR(telescope->Declination(), 20.0, 0.01);
    EXPECT_EQ(FocusWire(mark), (Wire{"FF", "F-", "FQ", "F+", "FQ"}));
    EXPECT_EQ(Runs(), 0);
}

TEST_F(FocuserClientsTest, AnAbortOfTheTelescope_LeavesTheFocuser_AndAHaltTheSlew) {
    const TelescopeObject telescope = ConnectedTelescope();
    const FocuserObject focuser = LinkedFocuser();
    machine.AdvanceTime(3'000);
    focuser->Move(4000);
    telescope->AbortSlew();
    EXPECT_EQ(Runs(), 1);
    telescope->SlewToCoordinatesAsync(telescope->RightAscension(), 20.0);
    focuser->Halt();
    EXPECT_EQ(Runs(), 0);
    EXPECT_TRUE(telescope->Slewing());
    machine.AdvanceTime(300'000);
    EXPECT_NEAR(telescope->Declination(), 20.0, 0.01);
}

TEST_F(FocuserClientsTest, AllFocusersShareOneMotor) {
    const FocuserObject first = LinkedFocuser();
    const FocuserObject second = driver->CreateFocuser();
    first->Move(4000);
    EXPECT_TRUE(second->IsMoving());
    second->Halt();
    EXPECT_FALSE(first->IsMoving());
    EXPECT_EQ(Runs(), 0);
}

TEST_F(FocuserClientsTest, ControllersWithoutTheirOwnFocuserFrame_MoveTheMotorAllTheSame) {
    for (const Controller_Type controller : {Controller_Type::VTRKC4, Controller_Type::VTRKC5}) {
        const FocuserObject focuser = LinkedFocuser();
        driver->controller.Apply(controller, 0, 0);
        driver->panel.ShowMountFeatures();
        EXPECT_FALSE(driver->state.g_bFocuserAvailable);
        EXPECT_FALSE(driver->handBox.frameFocuser.Visible());
        focuser->Move(5);
        EXPECT_EQ(Runs(), 1);
        focuser->Halt();
        const FocuserObject keeps = driver->CreateFocuser();
        EXPECT_EQ(Runs(), 0);
        driver->state.g_nFocuserObjects = 5;  // the release of these must not end the process
    }
}

// --- members without a meaning here --------------------------------------------------------------------------------

TEST_F(FocuserClientsTest, MembersThatTheMotorCannotHave_RaiseInTheirOwnWords_AndAreLogged) {
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    struct Row {
        std::function<void()> call;
        std::string logged, words;
    };
    const Row rows[] = {
        {[&] { focuser->Position(); }, "GET Position", "Property Position is not implemented in this driver."},
        {[&] { focuser->StepSize(); }, "GET StepSize", "Property StepSize  is not implemented in this driver."},
        {[&] { focuser->TempComp(true); }, "SET TempComp", "Property TempComp is not implemented in this driver."},
        {[&] { focuser->Temperature(); }, "GET Temperature", "Property Temperature is not implemented in this driver."},
    };
    for (const Row& row : rows) {
        try {
            row.call();
            ADD_FAILURE() << row.logged;
        } catch (const DriverError& error) {
            EXPECT_EQ(error.Number(), 0x80040400U);
            EXPECT_EQ(error.Source(), "ASCOM V2 Kestrane VTR Driver");
            EXPECT_EQ(error.Message(), row.words);
        }
        EXPECT_TRUE(LoggedAs("FOCUSER", 1, row.logged));
    }
}

// --- the end -------------------------------------------------------------------------------------------------------

struct EndRow {
    std::string name;
    std::int64_t afterMs;
    int runs;
};

class FocuserEndTest : public FocuserClientsTest, public testing::WithParamInterface<EndRow> {
protected:
    void ExpectStopped(const std::function<void(FocuserObject&)>& end) {
        FocuserObject focuser = LinkedFocuser();
        machine.AdvanceTime(2'000);
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
        focuser->Move(-500);
        machine.AdvanceTime(GetParam().afterMs);
        EXPECT_EQ(Runs(), GetParam().runs);
        const std::size_t mark = Mark();
        end(focuser);
        EXPECT_EQ(machine.processes.ends, 1);
        EXPECT_FALSE(driver->link->Connected());
        EXPECT_EQ(FocusWire(mark), Wire{"FQ"});
        EXPECT_EQ(Runs(), 0);
        EXPECT_TRUE(LoggedAs("FOCUSER", 1, "The driver ends: the focuser is stopped"));
        const double place = Place();
        machine.AdvanceTime(10'000);
        EXPECT_EQ(FocusWire(mark), Wire{"FQ"}) << "nothing runs on";
        EXPECT_DOUBLE_EQ(Place(), place);
        driver->state.g_nFocuserObjects = 5;
    }
};

TEST_P(FocuserEndTest, LastClient) {
    ExpectStopped([](FocuserObject& focuser) { focuser.reset(); });
}
TEST_P(FocuserEndTest, WriteOfTheCount) {
    ExpectStopped([](FocuserObject& focuser) { focuser->ClientCount(1); });
}
TEST_P(FocuserEndTest, RequestOfTheSystem) {
    ExpectStopped([this](FocuserObject&) { driver->EndOnRequest(); });
}

INSTANTIATE_TEST_SUITE_P(Stages, FocuserEndTest,
                         testing::Values(EndRow{"FirstLeg", 300, -1}, EndRow{"Pause", 1'000, 0},
                                         EndRow{"ReturnLeg", 1'650, 1}),
                         [](const auto& row) { return row.param.name; });

TEST_F(FocuserClientsTest, EndOfTheProcess_StopsAMotorThatAClientsOwnTextRuns) {
    TelescopeObject telescope = ConnectedTelescope();
    telescope->CommandBlind(":FQ#:FS#:F+#", true);
    ASSERT_EQ(Runs(), 1);
    const std::size_t mark = Mark();
    telescope.reset();
    EXPECT_EQ(FocusWire(mark), Wire{"FQ"});
    EXPECT_EQ(Runs(), 0);
}

TEST_F(FocuserClientsTest, EndOfTheProcess_AtRestSendsNoStop) {
    FocuserObject focuser = LinkedFocuser();
    focuser->Move(5);
    machine.AdvanceTime(2'000);
    const std::size_t mark = Mark();
    focuser.reset();
    EXPECT_EQ(FocusWire(mark), Wire{});
}

TEST_F(FocuserClientsTest, ReleaseOfItsObjectBesideATelescope_LetsTheRunEndAtItsTime) {
    const TelescopeObject telescope = ConnectedTelescope();
    FocuserObject focuser = LinkedFocuser();
    const std::size_t mark = Mark();
    focuser->Move(3000);
    focuser.reset();
    EXPECT_EQ(machine.processes.ends, 0);
    EXPECT_FALSE(driver->state.g_bFocuserConnected);
    EXPECT_EQ(Runs(), 1);
    machine.AdvanceTime(5'000);
    EXPECT_EQ(Runs(), 0);
    EXPECT_EQ(FocusWire(mark), (Wire{"FF", "F+", "FQ"}));
}

// --- a line that takes nothing -------------------------------------------------------------------------------------

TEST_F(FocuserClientsTest, AStopThatCouldNotBeWritten_GoesOutWhenTheLineIsBack) {
    ExpectSwallow("*");
    const FocuserObject focuser = LinkedFocuser();
    focuser->Move(500);
    EXPECT_EQ(Runs(), 1);
    const std::size_t mark = Mark();
    machine.serialPorts.Disconnect(1);
    machine.AdvanceTime(20'000);
    EXPECT_FALSE(focuser->IsMoving());
    EXPECT_EQ(Runs(), 1) << "the mount has not heard of the end";
    EXPECT_EQ(TimesLoggedAs("FOCUSER", 1, "The stop could not be written: it goes out when the line is back"), 1);
    machine.ConnectMount(1, *mount);
    machine.AdvanceTime(3'000);
    EXPECT_EQ(Runs(), 0);
    EXPECT_EQ(FocusWire(mark), Wire{"FQ"});
    machine.AdvanceTime(20'000);
    EXPECT_EQ(FocusWire(mark), Wire{"FQ"}) << "once is enough";
}

TEST_F(FocuserClientsTest, AStopThatTheEndOfTheProcessCouldNotWrite_IsLeftToTheNextDriver) {
    ExpectSwallow("*");
    FocuserObject focuser = LinkedFocuser();
    focuser->Move(5000);
    machine.serialPorts.Disconnect(1);
    focuser.reset();
    driver.reset();
    machine.ConnectMount(1, *mount);
    EXPECT_EQ(Runs(), 1);
    const std::size_t mark = Mark();
    Start();
    machine.AdvanceTime(1'500);
    EXPECT_EQ(FocusWire(mark), Wire{"FQ"});
    EXPECT_EQ(Runs(), 0);
}

TEST_F(FocuserClientsTest, AMoveThatTheMountHears_ReplacesAStopThatIsOwed) {
    ExpectSwallow("*");
    const FocuserObject focuser = LinkedFocuser();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    machine.serialPorts.Disconnect(1);
    focuser->Halt();
    machine.ConnectMount(1, *mount);
    const std::size_t mark = Mark();
    focuser->Move(4000);
    machine.AdvanceTime(10'000);
    EXPECT_EQ(FocusWire(mark), (Wire{"FF", "F+", "FQ"}));
    EXPECT_NEAR(Place(), 4000.0, 1.0) << "the owed stop did not cut it short";
}

}  // namespace
}  // namespace kestrane
