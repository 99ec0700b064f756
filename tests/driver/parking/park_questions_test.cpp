#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "driver/parking/park_fixture.h"

/// The questions of the buttons that park and unpark: when they open, and how often.
namespace kestrane {
namespace {

class ParkQuestionsTest : public ParkTest {
protected:
    /// The windows end before the view that they show themselves to.
    void TearDown() override { EndTheDriver(); }

    /// A mount from which a park goes three hours east first, and a person who looks at the questions.
    void ConnectWithPerson() {
        ConnectAt(47.0, "EK5", {{"cbxParkTo", "2"}, {"chkSlewEast", "1"}, {"txtSlewEastFirstHours", "3"}},
                  MountPointing{-8.0, 70.0, false});
        Windows& windows = driver->windows;
        watched_ = {&windows.askPark, &windows.askUnpark, &windows.askCustomParkOK};
        for (Form* const form : watched_) {
            form->Attach(view_);
        }
    }
    bool AnyOpen() const {
        return std::any_of(watched_.begin(), watched_.end(), [](const Form* form) { return form->Visible(); });
    }
    frmHandBox& HandBox() { return driver->handBox; }
    frmAskPark& AskPark() { return driver->windows.askPark; }
    frmAskCustomParkOK& AskSetPark() { return driver->windows.askCustomParkOK; }
    double MovedEast(double from) const { return from - mount->Picture().hourAxis; }
    int TimesCancelled() const {
        return TimesLogged("The question is open already: this one counts as cancelled") +
               TimesLogged(
                   "The mount moves ahead of a park, and nothing may wait meanwhile: the question counts as "
                   "cancelled");
    }

private:
    ParkWatcher view_;
    std::vector<Form*> watched_;
};

/// Nobody but the loop of that move would end it.
TEST_F(ParkQuestionsTest, DuringTheMoveAheadOfAPark_WaitForItsEnd) {
    const std::vector<std::function<void()>> presses{
        [&] { HandBox().btnSetPark.FireClick(); },
        [&] { HandBox().btnPark.FireClick(); },
        [&] { HandBox().btnUNPARK.FireClick(); },
        [&] { telescope->CommandString("RAW,SetParkAltAz", true); },
    };
    for (std::size_t i = 0; i < 2 * presses.size(); ++i) {
        SCOPED_TRACE(i);
        ConnectWithPerson();
        const double before = mount->Picture().hourAxis;
        const bool duringAStepOfThePoll = i % 2 == 1;
        int opened = 0;
        const When moving(
            machine.pump, [&] { return driver->state.g_bSlewingEast && MovedEast(before) > 10.0; },
            [&] {
                const bool wasInPoll = driver->state.g_bInPoll;
                driver->state.g_bInPoll = wasInPoll || duringAStepOfThePoll;
                presses[i / 2]();
                driver->state.g_bInPoll = wasInPoll;
            });
        const When opens(
            machine.pump, [&] { return AnyOpen(); },
            [&] {
                ++opened;
                EXPECT_FALSE(InParkMove(driver->state));
                AskPark().Hide();
                AskSetPark().Hide();
                driver->windows.askUnpark.btnCancel.FireClick();
            });
        telescope->Park();
        EXPECT_TRUE(moving.Happened());
        EXPECT_TRUE(Logged("Park Slewing East Done: 3"));
        machine.AdvanceTime(1'000);
        EXPECT_EQ(opened, 1);
        ExpectParked();
        EndTheDriver();
    }
}

TEST_F(ParkQuestionsTest, OfAPressJustBeforeTheMove_WaitsForItsEnd) {
    ConnectWithPerson();
    bool openedInTheMove = false;
    const When opens(
        machine.pump, [&] { return AnyOpen(); },
        [&] {
            openedInTheMove = InParkMove(driver->state);
            AskSetPark().Hide();
        });
    const When moves(
        machine.pump, [&] { return driver->state.g_bSlewingEast; }, [] {});
    machine.pump.Post(CallKind::WaitsLong, [&] {
        HandBox().btnSetPark.FireClick();
        telescope->Park();
    });
    machine.AdvanceTime(60'000);
    EXPECT_TRUE(moves.Happened());
    EXPECT_TRUE(opens.Happened());
    EXPECT_FALSE(openedInTheMove);
    EXPECT_TRUE(Logged("Park Slewing East Done: 3"));
    ExpectParked();
}

/// Such a question cannot be put off.
TEST_F(ParkQuestionsTest, OfOtherWindowsDuringTheMove_CountAsCancelled) {
    ConnectWithPerson();
    const double before = mount->Picture().hourAxis;
    bool asked = true;
    const When moving(
        machine.pump, [&] { return driver->state.g_bSlewingEast && MovedEast(before) > 10.0; },
        [&] {
            machine.pump.PostAt(machine.clock.Elapsed() + 60'000, CallKind::Brief, [&] { AskSetPark().Hide(); });
            asked = driver->questions.AskSetPark({});
        });
    telescope->Park();
    EXPECT_TRUE(moving.Happened());
    EXPECT_FALSE(asked);
    EXPECT_EQ(TimesCancelled(), 1);
    ExpectParked();
}

TEST_F(ParkQuestionsTest, ADoubleClick_AsksOnce_AndTheButtonsStayOffUntilTheAnswer) {
    for (Button frmHandBox::*const button : {&frmHandBox::btnPark, &frmHandBox::btnUNPARK, &frmHandBox::btnSetPark}) {
        ConnectWithPerson();
        SCOPED_TRACE((HandBox().*button).Name());
        const bool setsPark = button == &frmHandBox::btnSetPark;
        int openMs = 0;
        machine.pump.Post(CallKind::Brief, [&] {
            (HandBox().*button).FireClick();
            (HandBox().*button).FireClick();
        });
        machine.pump.PostAt(machine.clock.Elapsed() + 2'000, CallKind::Brief, [&] {
            EXPECT_TRUE(AnyOpen());
            EXPECT_EQ(HandBox().btnPark.Enabled(), setsPark);
            EXPECT_EQ(HandBox().btnUNPARK.Enabled(), setsPark);
            (HandBox().*button).FireClick();
        });
        machine.pump.PostAt(machine.clock.Elapsed() + 4'000, CallKind::Brief, [&] {
            EXPECT_TRUE(AnyOpen());
            openMs = 4'000;
            AskPark().btnCancel.FireClick();
            AskSetPark().btnCancel.FireClick();
            driver->windows.askUnpark.btnCancel.FireClick();
        });
        machine.AdvanceTime(6'000);
        EXPECT_EQ(openMs, 4'000);
        EXPECT_FALSE(AnyOpen()) << "asked once";
        EXPECT_TRUE(Logged("A button does nothing: its question is being asked already"));
        EXPECT_EQ(TimesCancelled(), 0);
        EXPECT_TRUE(HandBox().btnPark.Enabled());
        EXPECT_TRUE(HandBox().btnUNPARK.Enabled());
        (HandBox().*button).FireClick();
        machine.pump.PostAt(machine.clock.Elapsed() + 500, CallKind::Brief, [&] {
            EXPECT_TRUE(AnyOpen()) << "asked anew";
            AskPark().btnCancel.FireClick();
            AskSetPark().btnCancel.FireClick();
            driver->windows.askUnpark.btnCancel.FireClick();
        });
        machine.AdvanceTime(1'000);
        EndTheDriver();
    }
}

TEST_F(ParkQuestionsTest, AnOfferThatIsAnsweredUnderThem_LeavesTheButtonsOff) {
    ConnectWithPerson();
    HandBox().tmrQueryRaDecAltAz.Enabled(false);  // the poll would withdraw it
    HandBox().btnPark.FireClick();
    machine.pump.PostAt(machine.clock.Elapsed() + 1'000, CallKind::Brief, [&] {
        EXPECT_TRUE(AskPark().Visible());
        driver->panel.OfferUnpark(2);
    });
    machine.pump.PostAt(machine.clock.Elapsed() + 3'000, CallKind::Brief, [&] {
        EXPECT_TRUE(driver->windows.askUnpark.Visible());
        driver->windows.askUnpark.btnCancel.FireClick();
        EXPECT_FALSE(HandBox().btnPark.Enabled());
        AskPark().btnCancel.FireClick();
    });
    machine.AdvanceTime(5'000);
    EXPECT_FALSE(AnyOpen());
    EXPECT_TRUE(HandBox().btnPark.Enabled());
}

/// A view may show the window a moment longer than it is open.
TEST_F(ParkQuestionsTest, AnAnswerThatComesTooLate_ParksNothing) {
    ConnectWithPerson();
    HandBox().btnPark.FireClick();
    machine.pump.PostAt(machine.clock.Elapsed() + 1'000, CallKind::Brief, [&] {
        AskPark().cbxAskParkTo.ListIndex(4);
        AskPark().btnCancel.FireClick();
        AskPark().btnOK.FireClick();
    });
    machine.AdvanceTime(2'000);
    AskPark().btnOK.FireClick();
    machine.AdvanceTime(2'000);
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_EQ(driver->persist.Read(setting::cbxParkToText), "");
    EXPECT_EQ(TimesSent("KA"), 0);
}

TEST_F(ParkQuestionsTest, AnAnswerThatComesTooLate_UnparksAndKeepsNothing) {
    ConnectWithPerson();
    const std::string before = driver->persist.Read(setting::txtUserParkAlt);
    const std::pair<Button*, std::function<void()>> rows[] = {
        {&HandBox().btnUNPARK,
         [&] {
             driver->windows.askUnpark.btnCancel.FireClick();
             driver->windows.askUnpark.btnOK.FireClick();
         }},
        {&HandBox().btnSetPark,
         [&] {
             AskSetPark().btnCancel.FireClick();
             AskSetPark().btnOK.FireClick();
         }},
    };
    for (const auto& [button, answer] : rows) {
        button->FireClick();
        machine.pump.PostAt(machine.clock.Elapsed() + 1'000, CallKind::Brief, answer);
        machine.AdvanceTime(3'000);
    }
    EXPECT_EQ(TimesSent("PO"), 0);
    EXPECT_EQ(driver->persist.Read(setting::txtUserParkAlt), before);
}

TEST_F(ParkQuestionsTest, ThePlaceToKeep_IsTheOneOfThePress) {
    ConnectWithPerson();
    const double altitude = driver->state.g_dAlt;
    driver->state.g_bInPoll = true;
    HandBox().btnSetPark.FireClick();
    driver->state.g_bInPoll = false;
    driver->state.g_dAlt = altitude - 7.0;
    double shown = 0.0;
    machine.pump.PostAt(machine.clock.Elapsed() + 500, CallKind::Brief, [&] {
        shown = AskSetPark().Alt;
        AskSetPark().btnCancel.FireClick();
    });
    machine.AdvanceTime(1'000);
    EXPECT_EQ(shown, altitude);
}

}  // namespace
}  // namespace kestrane
