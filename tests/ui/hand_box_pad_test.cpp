#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "support/driver_fixture.h"

/// The nine-button pad: what its buttons send, and where they stand.
namespace kestrane {
namespace {

using Wire = std::vector<std::string>;

struct SilentView : FormView {
    void Changed(Form& /*form*/, std::string_view /*control*/, Property /*property*/) override {}
};

class HandBoxPad : public DriverFixture {
protected:
    /// Looks at a question and answers it with one of its buttons.
    class Person {
    public:
        Person(HandBoxPad& test, Form& question, Button& answer) : question_(question) {
            question_.Attach(view_);
            eyes_ = test.machine.pump.CreateTimer([this, &answer] {
                if (question_.Visible()) {
                    ++answers_;
                    answer.FireClick();
                }
            });
            eyes_->SetInterval(50);
            eyes_->SetEnabled(true);
        }
        ~Person() { question_.Detach(view_); }
        Person(const Person&) = delete;
        Person& operator=(const Person&) = delete;
        int Answers() const { return answers_; }

    private:
        Form& question_;
        SilentView view_;
        std::unique_ptr<PumpTimer> eyes_;
        int answers_ = 0;
    };
    frmHandBox& HandBox() { return driver->handBox; }
    Button& Pad(std::size_t button) { return HandBox().btnMove[button]; }
    /// A driver that polls nothing, with the rates 300x and 0.50x selected.
    void Ready() {
        telescope_ = ConnectedTelescope();
        HandBox().tmrQueryRaDecAltAz.Enabled(false);
        HandBox().cbxMoveRate.ListIndex(5);
        HandBox().cbxInitGuideRate.ListIndex(1);
        rate_ = driver->panel.Moves().rate[5];
        rate_ = rate_.substr(1, rate_.size() - 2);
    }
    /// What a press of the button has to send.
    Wire MoveAtRate(std::size_t button) {
        const Wire presses[] = {{rate_, "Mn", "Mw"}, {rate_, "Mn"},     {rate_, "Mn", "Me"},
                                {rate_, "Mw"},       {rate_, "Q", "Q"}, {rate_, "Me"},
                                {rate_, "Ms", "Mw"}, {rate_, "Ms"},     {rate_, "Ms", "Me"}};
        return presses[button];
    }
    Wire SentByPress(std::size_t button) {
        return SentBy([&] { Pad(button).FireMouseDown(); });
    }
    Wire SentByRelease(std::size_t button) {
        return SentBy([&] { Pad(button).FireMouseUp(); });
    }
    bool Moves() { return std::abs(mount->Picture().polarSpeed) > 1e-9; }
    std::array<std::int32_t, 2> Colours(const Label& label) { return {label.BackColour(), label.ForeColour()}; }

    TelescopeObject telescope_;
    std::string rate_;  ///< the command of the selected rate, without its frame
};

TEST_F(HandBoxPad, EachButton_SendsTheRateAndItsMoveAndStopsWhenReleased) {
    Ready();
    for (std::size_t button = 0; button < 9; ++button) {
        EXPECT_EQ(SentByPress(button), MoveAtRate(button)) << button;
        const Wire released = SentByRelease(button);
        if (button != 4) {
            EXPECT_EQ(released, (Wire{"Q", "Q", "RG1", "#", "Q"})) << button;
        }
        machine.AdvanceTime(5000);
        EXPECT_EQ(Colours(HandBox().lblRA), (std::array<std::int32_t, 2>{128, 255}));
        EXPECT_EQ(Colours(HandBox().lblDEC), (std::array<std::int32_t, 2>{128, 255}));
    }
    EXPECT_TRUE(LoggedAs("ButtonMove", 0, "Move Button 0 pressed. Rate = " + HandBox().cbxMoveRate.Text()));
    EXPECT_TRUE(LoggedAs("ButtonMove", 0, "Move Button 8 released."));
}

TEST_F(HandBoxPad, TheRelease_GivesBackTheGuideRateThatIsChosen) {
    Ready();
    for (std::int32_t rate = 0; rate < 3; ++rate) {
        HandBox().cbxInitGuideRate.ListIndex(rate);
        Pad(1).FireMouseDown();
        EXPECT_EQ(SentByRelease(1), (Wire{"Q", "Q", "RG" + std::to_string(rate), "#", "Q"}));
        machine.AdvanceTime(5000);
    }
}

TEST_F(HandBoxPad, TheLabelsOfTheAxesThatMove_HaveWarningColours) {
    Ready();
    const std::array<std::int32_t, 2> normal{128, 255};
    const std::array<std::int32_t, 2> warning{255, 128};
    for (std::size_t button = 0; button < 9; ++button) {
        Pad(button).FireMouseDown();
        const bool dec = button != 3 && button != 4 && button != 5;
        const bool ra = button != 1 && button != 4 && button != 7;
        EXPECT_EQ(Colours(HandBox().lblDEC), dec ? warning : normal) << button;
        EXPECT_EQ(Colours(HandBox().lblRA), ra ? warning : normal) << button;
        Pad(button).FireMouseUp();
    }
}

TEST_F(HandBoxPad, EachRate_SendsItsOwnCommand) {
    Ready();
    const std::vector<std::string> rates = driver->panel.Moves().rate;
    for (std::size_t index = 0; index < HandBox().cbxMoveRate.ListItems().size(); ++index) {
        HandBox().cbxMoveRate.ListIndex(static_cast<std::int32_t>(index));
        const Wire sent = SentByPress(1);
        ASSERT_FALSE(sent.empty());
        EXPECT_EQ(":" + sent.front() + "#", index < rates.size() ? rates[index] : ":Mn#") << index;
        Pad(1).FireMouseUp();
    }
}

TEST_F(HandBoxPad, TheMiddleButton_AbortsASlewWhenItIsReleasedAndNotWhenItIsPressed) {
    Ready();
    HandBox().tmrQueryRaDecAltAz.Enabled(true);
    machine.AdvanceTime(3000);
    telescope_->SlewToCoordinatesAsync(telescope_->SiderealTime() - 3.0, 20.0);
    machine.AdvanceTime(1000);
    ASSERT_TRUE(driver->state.g_bSlewing);
    Pad(4).FireMouseDown();
    EXPECT_TRUE(driver->state.g_bSlewing);
    HandBox().btnPark.Enabled(false);
    HandBox().btnUNPARK.Enabled(false);
    Pad(4).FireMouseUp();
    machine.AdvanceTime(5000);
    EXPECT_FALSE(driver->state.g_bSlewing);
    EXPECT_TRUE(HandBox().btnPark.Enabled());
    EXPECT_TRUE(HandBox().btnUNPARK.Enabled());
}

TEST_F(HandBoxPad, ADirectionInASlew_IsSentLikeAnyOther_AndAbortsNothingByItself) {
    Ready();
    telescope_->SlewToCoordinatesAsync(telescope_->SiderealTime() - 3.0, 20.0);
    ASSERT_TRUE(driver->state.g_bSlewing);
    EXPECT_EQ(SentByPress(1), MoveAtRate(1));
    EXPECT_EQ(SentByRelease(1), (Wire{"Q", "Q", "RG1", "#", "Q"}));
    EXPECT_FALSE(driver->state.g_bAbortSlew);
}

TEST_F(HandBoxPad, AParkedMount_IsNotMovedAndThePersonIsTold) {
    Ready();
    frmAskAndWarnParked& warning = driver->windows.askAndWarnParked;
    Person person(*this, warning, warning.btnOK);
    driver->motion.MountReportsParked(true);
    EXPECT_EQ(SentByPress(1), Wire{});
    EXPECT_EQ(SentByRelease(1), Wire{});
    machine.AdvanceTime(1000);
    EXPECT_EQ(person.Answers(), 1);
}

TEST_F(HandBoxPad, AParkedMount_IsMovedWhereTheSettingsAllowIt) {
    Seed({{"ButtonsOnParkOK", "1"}});
    Ready();
    driver->motion.MountReportsParked(true);
    EXPECT_EQ(SentByPress(1), (Wire{rate_, "Mn"}));
    EXPECT_EQ(SentByRelease(1), (Wire{"Q", "Q", "RG1", "#", "Q"}));
    machine.AdvanceTime(1000);
    EXPECT_FALSE(driver->windows.askAndWarnParked.Visible());
}

TEST_F(HandBoxPad, APressInAStepOfThePoll_WaitsForItsEnd) {
    Ready();
    driver->state.g_bInPoll = true;
    EXPECT_EQ(SentByPress(1), Wire{});
    machine.AdvanceTime(100);
    driver->state.g_bInPoll = false;
    EXPECT_EQ(SentBy([&] { machine.AdvanceTime(20); }), (Wire{rate_, "Mn"}));
    EXPECT_EQ(SentByRelease(1), (Wire{"Q", "Q", "RG1", "#", "Q"}));
}

/// Noted in a step of the poll, released at once and performed afterwards it would run away.
TEST_F(HandBoxPad, APressThatWaitsWhenItIsReleased_IsNeverPerformed) {
    Ready();
    driver->state.g_bInPoll = true;
    EXPECT_EQ(SentByPress(1), Wire{});
    EXPECT_EQ(SentByRelease(1), Wire{});
    driver->state.g_bInPoll = false;
    EXPECT_EQ(SentBy([&] { machine.AdvanceTime(1000); }), Wire{});
}

/// A call of a client may hold a press up; the release goes ahead of it.
TEST_F(HandBoxPad, APressWhoseReleaseWentAhead_MovesNothing_AndTheMiddleButtonStopsAllTheSame) {
    Ready();
    SilentView view;
    const auto pressed = [&](std::size_t button) {
        return SentBy([&] {
            machine.pump.Post(CallKind::Press, [&, button] { driver->heldButtons.Press(Pad(button), view); });
            machine.pump.Post(CallKind::Stop, [&] { driver->heldButtons.Release(view); });
            machine.AdvanceTime(2000);
        });
    };
    EXPECT_EQ(pressed(1), Wire{});
    const Wire stops = pressed(4);
    ASSERT_GE(stops.size(), 3U);
    EXPECT_EQ(Wire(stops.begin(), stops.begin() + 3), (Wire{"Q", "Q", "RG1"}));
}

TEST_F(HandBoxPad, TheReleaseInAStepOfThePoll_StopsAtOnce) {
    Ready();
    Pad(1).FireMouseDown();
    driver->state.g_bInPoll = true;
    EXPECT_EQ(SentByRelease(1), (Wire{"Q", "Q", "RG1", "#", "Q"}));
    driver->state.g_bInPoll = false;
}

TEST_F(HandBoxPad, ASecondPress_FirstReleasesTheFirst) {
    Ready();
    Pad(1).FireMouseDown();
    EXPECT_EQ(SentByPress(5), (Wire{"Q", "Q", "RG1", "#", "Q", rate_, "Me"}));
    EXPECT_EQ(SentByRelease(1), Wire{}) << "its view is late: the first one is not held any more";
    EXPECT_EQ(SentByRelease(5), (Wire{"Q", "Q", "RG1", "#", "Q"}));
}

TEST_F(HandBoxPad, AViewThatFallsSilent_StopsTheMount) {
    Ready();
    SilentView view;
    driver->heldButtons.Press(Pad(1), view);
    EXPECT_TRUE(Moves());
    EXPECT_EQ(SentBy([&] { machine.AdvanceTime(1200); }), (Wire{"Q", "Q", "RG1", "#", "Q"}));
    machine.AdvanceTime(1000);
    EXPECT_FALSE(Moves());
}

TEST_F(HandBoxPad, TheEndOfTheProcess_ReleasesWhatIsHeld) {
    Ready();
    SilentView view;
    driver->heldButtons.Press(Pad(1), view);
    driver->EndOnRequest();
    machine.AdvanceTime(1000);
    EXPECT_FALSE(Moves());
}

TEST_F(HandBoxPad, SwapsAndTheTurn_MoveTheButtonsAndNotTheirCommands) {
    struct Row {
        bool swapEW, swapNS, rotate;
        std::array<std::int32_t, 9> cells;
    };
    const Row rows[] = {
        {false, false, false, {0, 1, 2, 3, 4, 5, 6, 7, 8}}, {true, false, false, {2, 1, 0, 5, 4, 3, 8, 7, 6}},
        {false, true, false, {6, 7, 8, 3, 4, 5, 0, 1, 2}},  {true, true, false, {8, 7, 6, 5, 4, 3, 2, 1, 0}},
        {false, false, true, {2, 5, 8, 1, 4, 7, 0, 3, 6}},  {true, false, true, {8, 5, 2, 7, 4, 1, 6, 3, 0}},
        {false, true, true, {0, 3, 6, 1, 4, 7, 2, 5, 8}},   {true, true, true, {6, 3, 0, 7, 4, 1, 8, 5, 2}},
    };
    Ready();
    for (const Row& row : rows) {
        HandBox().chkSwapEW.Checked(row.swapEW);
        HandBox().chkSwapNS.Checked(row.swapNS);
        HandBox().chkRotate90.Checked(row.rotate);
        for (std::size_t button = 0; button < 9; ++button) {
            EXPECT_EQ(Pad(button).Cell(), row.cells[button]) << row.swapEW << row.swapNS << row.rotate << " " << button;
        }
        EXPECT_EQ(driver->persist.ReadFlag(setting::chkSwapEW), row.swapEW);
        EXPECT_EQ(driver->persist.ReadFlag(setting::chkSwapNS), row.swapNS);
        EXPECT_EQ(driver->persist.ReadFlag(setting::chkRotate90), row.rotate);
        for (std::size_t button = 0; button < 9; ++button) {
            EXPECT_EQ(SentByPress(button), MoveAtRate(button)) << row.swapEW << row.swapNS << row.rotate;
            Pad(button).FireMouseUp();
        }
    }
}

TEST_F(HandBoxPad, TheButtonsThatSwapInTheMount_AskFirst) {
    Ready();
    frmAskSwapEWNS& question = driver->windows.askSwapEWNS;
    struct Row {
        Button& pressed;
        Button& answer;
        Wire sent;
    };
    for (const Row& row :
         {Row{HandBox().btnSwapEW, question.btnOK, {"#", "EW"}}, Row{HandBox().btnSwapNS, question.btnOK, {"#", "NS"}},
          Row{HandBox().btnSwapEW, question.btnCancel, {}}}) {
        Person person(*this, question, row.answer);
        row.pressed.FireClick();
        EXPECT_EQ(SentBy([&] { machine.AdvanceTime(1000); }), row.sent);
        EXPECT_EQ(person.Answers(), 1);
    }
}

}  // namespace
}  // namespace kestrane
