#include <string>
#include <vector>

#include "support/driver_fixture.h"

/// The focuser's controls of the hand box: its buttons move the motor, its settings count from the next move on.
namespace kestrane {
namespace {

using Wire = std::vector<std::string>;

class HandBoxFocuserTest : public DriverFixture {
protected:
    frmHandBox& HandBox() { return driver->handBox; }
    std::string Setting(std::string_view key) { return driver->persist.ReadIniValue(key, "no such setting"); }
    /// A driver that polls nothing.
    TelescopeObject QuietTelescope() {
        TelescopeObject telescope = ConnectedTelescope();
        HandBox().tmrQueryRaDecAltAz.Enabled(false);
        return telescope;
    }
};

TEST_F(HandBoxFocuserTest, TextsOfOtherThanDigits_AreNotKept) {
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    driver->panel.UpdateControls();
    struct Row {
        TextBox frmHandBox::*box;
        std::string key;
    };
    for (const Row& row : {Row{&frmHandBox::txtBacklashMSecs, "Focus.txtBacklashMSecs"},
                           Row{&frmHandBox::txtStepMultiplierMSecs, "Focus.txtStepMultiplierMSecs"},
                           Row{&frmHandBox::txtMaxIncrementMSecs, "Focus.txtMaxIncrementMSecs"}}) {
        (HandBox().*row.box).Text("42");
        for (const char* text : {"", "-5", "4.5", "12 ", "some", "1e3"}) {
            (HandBox().*row.box).Text(text);
            EXPECT_EQ(Setting(row.key), "42") << row.key << " " << text;
        }
    }
    EXPECT_EQ(driver->state.g_sFocusBacklash, "42");
    EXPECT_EQ(driver->state.g_nFocusStepMultiplier, 42);
    EXPECT_EQ(driver->state.g_nFocusMaxIncrement, 42);
}

TEST_F(HandBoxFocuserTest, EachStoredChange_CountsAtOnce) {
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    driver->panel.UpdateControls();
    const DriverState& state = driver->state;
    HandBox().txtBacklashMSecs.Text("70");
    EXPECT_EQ(state.g_sFocusBacklash, "70");
    HandBox().txtStepMultiplierMSecs.Text("3");
    EXPECT_EQ(state.g_nFocusStepMultiplier, 3);
    HandBox().txtMaxIncrementMSecs.Text("250");
    EXPECT_EQ(state.g_nFocusMaxIncrement, 250);
    EXPECT_EQ(focuser->MaxStep(), 250);
    HandBox().radFocusSlow.Checked(true);
    EXPECT_FALSE(state.g_bFocusFast);
    HandBox().radFocusFast.Checked(true);
    EXPECT_TRUE(state.g_bFocusFast);
    HandBox().radFocusFinalDirectionIn.Checked(true);
    EXPECT_FALSE(state.g_bFocusFinalOut);
    HandBox().radFocusFinalDirectionOut.Checked(true);
    EXPECT_TRUE(state.g_bFocusFinalOut);
    HandBox().chkReverseFocusDirection.Checked(true);
    EXPECT_EQ(state.g_sFocusInCommand + state.g_sFocusOutCommand, "F+F-");
    HandBox().chkReverseFocusDirection.Checked(false);
    EXPECT_EQ(state.g_sFocusInCommand + state.g_sFocusOutCommand, "F-F+");
}

TEST_F(HandBoxFocuserTest, ATextBeyondAllNumbers_IsKept_AndLeavesTheValueInForce) {
    ExpectSwallow("UpdateValues");
    Start();
    driver->panel.UpdateControls();
    HandBox().txtBacklashMSecs.Text("99999999999");
    EXPECT_EQ(Setting("Focus.txtBacklashMSecs"), "99999999999");
    EXPECT_EQ(driver->state.g_sFocusBacklash, "100");
    HandBox().txtStepMultiplierMSecs.Text("7");
    EXPECT_EQ(driver->state.g_nFocusStepMultiplier, 7);
}

TEST_F(HandBoxFocuserTest, FillingTheControls_ReloadsNothing) {
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    driver->panel.UpdateControls();
    driver->persist.WriteIniValue("Focus.txtMaxIncrementMSecs", "250");
    driver->persist.WriteIniValue("Focus.radFocusFast", "False");
    driver->panel.UpdateControls();
    EXPECT_EQ(HandBox().txtMaxIncrementMSecs.Text(), "250");
    EXPECT_EQ(focuser->MaxStep(), 5000);
    EXPECT_TRUE(driver->state.g_bFocusFast);
}

TEST_F(HandBoxFocuserTest, HeldButtons_RunTheMotor_UntilTheyAreReleased) {
    const TelescopeObject telescope = QuietTelescope();
    frmHandBox& box = HandBox();
    EXPECT_EQ(SentBy([&] { box.btnFocusIn.FireMouseDown(); }), (Wire{"FF", "F-"}));
    machine.AdvanceTime(700);
    EXPECT_EQ(SentBy([&] { box.btnFocusIn.FireMouseUp(); }), Wire{"FQ"});
    EXPECT_DOUBLE_EQ(mount->Picture().focuserPosition, -700.0);
    box.radFocusSlow.Checked(true);
    EXPECT_EQ(SentBy([&] { box.btnFocusOut.FireMouseDown(); }), (Wire{"FS", "F+"}));
    EXPECT_EQ(SentBy([&] { box.btnFocusOut.FireMouseUp(); }), Wire{"FQ"});
    EXPECT_EQ(SentBy([&] { box.btnFocusOut.FireMouseUp(); }), Wire{}) << "nothing was held";
}

TEST_F(HandBoxFocuserTest, HeldButtons_FollowTheReversedDirection_AlsoWithoutAFocuserClient) {
    Seed({{"Focus.chkReverseFocusDirection", "1"}});
    const TelescopeObject telescope = QuietTelescope();
    EXPECT_EQ(SentBy([&] { HandBox().btnFocusIn.FireMouseDown(); }), (Wire{"FF", "F+"}));
    EXPECT_EQ(SentBy([&] { HandBox().btnFocusIn.FireMouseUp(); }), Wire{"FQ"});
    EXPECT_EQ(SentBy([&] { HandBox().btnFocusOut.FireMouseDown(); }), (Wire{"FF", "F-"}));
    EXPECT_EQ(SentBy([&] { HandBox().btnFocusOut.FireMouseUp(); }), Wire{"FQ"});
}

TEST_F(HandBoxFocuserTest, AButtonOnAClosedLink_DoesNothing) {
    Start();
    HandBox().EnsureLoaded();
    EXPECT_EQ(SentBy([&] {
                  HandBox().btnFocusIn.FireMouseDown();
                  HandBox().btnFocusIn.FireMouseUp();
              }),
              Wire{});
    EXPECT_FALSE(Logged("TX: :F"));
}

TEST_F(HandBoxFocuserTest, EndOfTheProcess_StopsAMotorThatAButtonRuns) {
    TelescopeObject telescope = QuietTelescope();
    HandBox().btnFocusOut.FireMouseDown();
    EXPECT_EQ(mount->Picture().focuserRuns, 1);
    telescope.reset();
    EXPECT_EQ(machine.processes.ends, 1);
    EXPECT_EQ(mount->Picture().focuserRuns, 0);
}

}  // namespace
}  // namespace kestrane
