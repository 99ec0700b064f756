#include <functional>
#include <gtest/gtest.h>
#include <string>

#include "driver/slews/slew_wire_fixture.h"

/// The verbs that move the mount or tell it something, and the texts that only look like a command to it.
namespace kestrane {
namespace {

class MountVerbsTest : public SlewWireTest {
protected:
    void TearDown() override {
        EndTheDriver();
        SlewWireTest::TearDown();
    }
    std::string Run(const std::string& command) { return telescope->CommandString("RAW," + command, true); }
};

TEST_F(MountVerbsTest, TextToTheDriver_ThatHoldsAStop_CancelsNoPark) {
    Connect("S", {{"cbxParkTo", "2"}});
    telescope->Park();
    machine.AdvanceTime(1'000);
    ASSERT_TRUE(driver->state.g_bParking);
    for (const char* command : {"SetIniValue,Note=:Q#", "GetIniValue,:Q#", "Nonsense:Q#"}) {
        Run(command);
        EXPECT_FALSE(driver->state.g_bAbortPark) << command;
    }
    machine.AdvanceTime(120'000);
    EXPECT_TRUE(telescope->AtPark());
}

TEST_F(MountVerbsTest, TextToTheDriver_ThatHoldsAGoto_IsNone) {
    Connect("S");
    EXPECT_EQ(Run("SetIniValue,Note=:MS#"), "1");
    EXPECT_FALSE(driver->state.g_bGotoRuns);
    EXPECT_EQ(Run("GetIniValue,Note"), "1,:MS#");
}

TEST_F(MountVerbsTest, TextInAFrame_ThatOnlyBeginsLikeOneToTheDriver_IsWatched) {
    Connect("S");
    Stand().replies["RAW"] = "#";
    telescope->CommandString("RAW,:MS", false);
    EXPECT_TRUE(driver->state.g_bGotoRuns);
}

TEST_F(MountVerbsTest, PointingCorrection_ThatHoldsAnotherCommand_IsNotSent) {
    Connect("S");
    EXPECT_EQ(MotionDuring([&] { EXPECT_EQ(Run("QuayPointingCorrection,1#:MS"), "1"); }), "");
    EXPECT_TRUE(LoggedAs("QuayPointingCorrection", 1, "A text that holds a command is not sent: '1#:MS'"));
    EXPECT_FALSE(driver->state.g_bGotoRuns);
}

TEST_F(MountVerbsTest, PointingCorrection_GoesOutWithoutTheWrapOfTheCompanion) {
    Connect("S");
    Stand();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    driver->state.g_bQuayLink = true;
    EXPECT_EQ(SentDuring([&] { EXPECT_EQ(Run("QuayPointingCorrection,1,2"), "1"); }), "ZZ00,1,2");
    driver->state.g_bQuayLink = false;
}

struct ParkRow {
    std::string arguments;
    int index;  ///< where it leads; -1 nowhere
};

class ParkVerbs : public MountVerbsTest, public testing::WithParamInterface<ParkRow> {};

TEST_P(ParkVerbs, ParkAtTheNamedPosition_OrAtThatOfTheSettings) {
    Connect("S", {{"cbxParkTo", "4"}, {"cbxParkToText", "Park 4"}});
    EXPECT_EQ(Run("ParkMount" + GetParam().arguments), "1");
    if (GetParam().index < 0) {
        EXPECT_FALSE(driver->state.g_bParking);
        EXPECT_EQ(TimesSent("MS") + TimesSent("KA"), 0);
        return;
    }
    EXPECT_TRUE(Logged("Parking to index " + std::to_string(GetParam().index) + ", "));
    EXPECT_EQ(TimesSent("MS"), GetParam().index == 0 ? 0 : 1);
    EXPECT_EQ(TimesSent("KA"), GetParam().index == 0 ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Arguments, ParkVerbs,
                         testing::Values(ParkRow{"", 4}, ParkRow{",", 4}, ParkRow{",-1", 4}, ParkRow{",abc", 0},
                                         ParkRow{",0", 0}, ParkRow{",1", 1}, ParkRow{",1.6", 2}, ParkRow{",2", 2},
                                         ParkRow{",3", 3}, ParkRow{",4", 4}, ParkRow{",5", 5}, ParkRow{",6", 6},
                                         ParkRow{",7", -1}, ParkRow{",-2", -1}, ParkRow{",99999", -1}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST_F(MountVerbsTest, CancelPark_IsDone_WithAParkAndWithoutOne) {
    Connect("S", {{"cbxParkTo", "2"}});
    EXPECT_EQ(MotionDuring([&] { EXPECT_EQ(Run("CancelPark"), "1"); }).find("KA"), std::string::npos);
    telescope->Park();
    machine.AdvanceTime(1'000);
    ASSERT_TRUE(driver->state.g_bParking);
    EXPECT_EQ(Run("CancelPark"), "1");
    machine.AdvanceTime(10'000);
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_EQ(TimesSent("KA"), 0);
}

/// "SetParkAltAz" without arguments is the button that takes the place from the mount.
class TakenPlace : public MountVerbsTest {
protected:
    frmAskCustomParkOK& Form() { return driver->windows.askCustomParkOK; }
    /// The verb in a step of the poll or outside, with a person who answers once.
    void RunWithPerson(const std::function<void()>& answer, bool inPoll = false) {
        Form().Attach(view_);
        const When answers(
            machine.pump, [&] { return Form().Visible(); }, answer);
        driver->state.g_bInPoll = inPoll;
        EXPECT_EQ(Run("SetParkAltAz"), "1");
        EXPECT_FALSE(answers.Happened()) << "the client does not wait for the person";
        driver->state.g_bInPoll = false;
        machine.AdvanceTime(200);
        EXPECT_TRUE(answers.Happened());
        Form().Detach(view_);
    }
    std::string Stored() { return driver->persist.Read(setting::txtUserParkAlt); }

private:
    class Watcher final : public FormView {
    public:
        void Changed(kestrane::Form&, std::string_view, Property) override {}
    } view_;
};

TEST_F(TakenPlace, WithoutAView_IsNotKept) {
    Connect("S", {{"txtUserParkAlt", "1.5"}});
    for (const char* command : {"SetParkAltAz", "SetParkAltAz,"}) {
        EXPECT_EQ(Run(command), "1");
        machine.AdvanceTime(100);
        EXPECT_EQ(Stored(), "1.5");
    }
    EXPECT_TRUE(LoggedAs("frmAskCustomParkOK", 1, "No window can be shown: the question counts as cancelled"));
}

TEST_F(TakenPlace, IsKeptWhenAPersonAcceptsIt_AlsoAfterAStepOfThePoll) {
    for (const bool inPoll : {false, true}) {
        Connect("S");
        driver->persist.Write(setting::txtUserParkAlt, "1.5");
        RunWithPerson([&] { Form().btnOK.FireClick(); }, inPoll);
        EXPECT_NEAR(std::stod(Stored()), mount->Picture().altitude, 0.1);
        EXPECT_EQ(driver->handBox.txtUserParkAlt.Text(), Stored());
        EndTheDriver();
    }
}

TEST_F(TakenPlace, IsNotKeptWhenAPersonCancels) {
    Connect("S", {{"txtUserParkAlt", "1.5"}});
    RunWithPerson([&] { Form().btnCancel.FireClick(); });
    EXPECT_EQ(Stored(), "1.5");
}

}  // namespace
}  // namespace kestrane
