#include "ui/question_windows.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/driver_fixture.h"
#include "support/onlooker.h"

namespace kestrane {
namespace {

class QuestionWindowsTest : public DriverFixture {
protected:
    void TearDown() override {
        timer_.reset();
        DriverFixture::TearDown();
    }
    Questions& Ask() { return driver->questions; }
    std::optional<std::int16_t> AskPark() {
        std::optional<std::int16_t> answer;
        Ask().AskPark([&](std::int16_t index) { answer = index; });
        return answer;
    }
    Windows& Window() { return driver->windows; }
    std::string Setting(std::string_view key) { return driver->persist.ReadIniValue(key, "no such setting"); }
    /// What a person does in the window, two seconds and a quarter after it was shown.
    template <class Answer>
    Answer WithPerson(Form& form, const std::function<void()>& does, const std::function<Answer()>& ask) {
        form.Attach(view_);
        timer_ = machine.pump.CreateTimer([this, does] {
            timer_->SetEnabled(false);
            does();
        });
        timer_->SetInterval(2'250);
        timer_->SetEnabled(true);
        const Answer answer = ask();
        form.Detach(view_);
        EXPECT_FALSE(form.Loaded());
        return answer;
    }

    /// The only view of the window goes.
    void LookAway(Form& form) { form.Detach(view_); }

private:
    Onlooker view_;
    std::unique_ptr<PumpTimer> timer_;
};

using Index = std::optional<std::int16_t>;

const std::string kAlreadyOpen = "The question is open already: this one counts as cancelled";
const std::string kNobody = "No window can be shown: the question counts as cancelled";

// --- unpark

TEST_F(QuestionWindowsTest, Unpark_ShowsThePositions_AndTheOneOfTheSettings) {
    Seed({{"cbxUnparkFrom", "3"}, {"txtUserParkAlt", "12.345"}, {"txtUserParkAz", "7"}});
    Start();
    frmAskUnpark& form = Window().askUnpark;
    std::vector<std::string> items;
    std::string selected;
    const Index answer = WithPerson<Index>(
        form,
        [&] {
            items = form.cbxAskUnparkFrom.ListItems();
            selected = form.cbxAskUnparkFrom.Text();
            form.cbxAskUnparkFrom.ListIndex(4);
            form.btnOK.FireClick();
        },
        [&] { return Ask().AskUnpark(std::nullopt, Unasked::IsCancelled); });
    EXPECT_EQ(items, (std::vector<std::string>{"Last Parked", "Park 1", "Park 2", "Park 3", "Park 4", "Park 5",
                                               "Alt/Az (12.35... / 7.00...)"}));
    EXPECT_EQ(selected, "Park 3");
    EXPECT_EQ(answer, 4);
    EXPECT_EQ(Setting("cbxUnparkFrom"), "3");
}

struct SelectionRow {
    const char* index;
    const char* text;
    int selected;
};

class UnparkSelection : public QuestionWindowsTest, public testing::WithParamInterface<SelectionRow> {};

TEST_P(UnparkSelection, GoesByTheTextWhereThereIsOne) {
    Seed({{"cbxUnparkFrom", GetParam().index}, {"cbxUnparkFromText", GetParam().text}});
    Start();
    frmAskUnpark& form = Window().askUnpark;
    int selected = -2;
    WithPerson<Index>(
        form,
        [&] {
            selected = form.cbxAskUnparkFrom.ListIndex();
            form.btnCancel.FireClick();
        },
        [&] { return Ask().AskUnpark(std::nullopt, Unasked::IsCancelled); });
    EXPECT_EQ(selected, GetParam().selected);
}

INSTANTIATE_TEST_SUITE_P(Settings, UnparkSelection,
                         testing::Values(SelectionRow{"0", "", 0}, SelectionRow{"5", "", 6},
                                         SelectionRow{"5", "Park 5", 5}, SelectionRow{"2", "Park 4", 4},
                                         SelectionRow{"2", "Alt/Az", 6}, SelectionRow{"2", "no such place", 2},
                                         SelectionRow{"7", "Don't Unpark", 0}, SelectionRow{"x", "", 0}));

TEST_F(QuestionWindowsTest, Unpark_WithAPositionOfTheCommand_SelectsThat) {
    Seed({{"cbxUnparkFrom", "3"}});
    Start();
    frmAskUnpark& form = Window().askUnpark;
    EXPECT_EQ(WithPerson<Index>(
                  form, [&] { form.btnOK.FireClick(); },
                  [&] { return Ask().AskUnpark(std::int16_t{2}, Unasked::IsCancelled); }),
              2);
}

TEST_F(QuestionWindowsTest, Unpark_OfAListWithoutASelection_WaitsForOne) {
    Start();
    frmAskUnpark& form = Window().askUnpark;
    EXPECT_EQ(WithPerson<Index>(
                  form,
                  [&] {
                      form.btnOK.FireClick();
                      EXPECT_TRUE(form.Visible());
                      form.btnCancel.FireClick();
                  },
                  [&] { return Ask().AskUnpark(std::int16_t{9}, Unasked::IsCancelled); }),
              std::nullopt);
}

/// A mount that is not to be unparked has no position that could be confirmed.
TEST_F(QuestionWindowsTest, Unpark_PreparedWithDontUnpark_ShowsLastParked_AndGivesItBackWhenNobodyCanBeAsked) {
    Start();
    frmAskUnpark& form = Window().askUnpark;
    std::string shown;
    EXPECT_EQ(WithPerson<Index>(
                  form,
                  [&] {
                      shown = form.cbxAskUnparkFrom.Text();
                      form.btnOK.FireClick();
                      form.btnCancel.FireClick();
                  },
                  [&] { return Ask().AskUnpark(std::int16_t{7}, Unasked::IsAccepted); }),
              0);
    EXPECT_EQ(shown, "Last Parked");
    EXPECT_EQ(Ask().AskUnpark(std::int16_t{7}, Unasked::IsAccepted), 7);
    EXPECT_EQ(Ask().AskUnpark(std::int16_t{7}, Unasked::IsCancelled), std::nullopt);
}

TEST_F(QuestionWindowsTest, Unpark_ThatNobodyCanBeAsked_IsWhatTheCallerSays) {
    Start();
    EXPECT_EQ(Ask().AskUnpark(std::int16_t{3}, Unasked::IsCancelled), std::nullopt);
    EXPECT_TRUE(LoggedAs("frmAskUnpark", 1, kNobody));
    EXPECT_EQ(Ask().AskUnpark(std::int16_t{3}, Unasked::IsAccepted), 3);
    EXPECT_TRUE(
        LoggedAs("frmAskUnpark", 1, "No window can be shown: the question gets the answer that came with the command"));
}

TEST_F(QuestionWindowsTest, QuestionThatIsOpenAlready_CountsAsCancelled) {
    Start();
    frmAskUnpark& form = Window().askUnpark;
    Index second = std::int16_t{9};
    const Index first = WithPerson<Index>(
        form,
        [&] {
            second = Ask().AskUnpark(std::int16_t{5}, Unasked::IsAccepted);
            form.btnOK.FireClick();
        },
        [&] { return Ask().AskUnpark(std::int16_t{2}, Unasked::IsCancelled); });
    EXPECT_EQ(second, std::nullopt);
    EXPECT_EQ(first, 2);
}

TEST_F(QuestionWindowsTest, QuestionThatIsOpenAlready_SaysSoInTheLog) {
    Start();
    Windows& windows = Window();
    struct Row {
        Form& form;
        std::function<bool()> ask;
    };
    for (const Row& row : {Row{windows.askUnpark, [&] { return Ask().AskUnpark({}, Unasked::IsAccepted).has_value(); }},
                           Row{windows.askPark, [&] { return AskPark().has_value(); }},
                           Row{windows.askSwapEWNS, [&] { return Ask().AskSwap(SwappedAxes::NorthSouth); }},
                           Row{windows.askCustomParkOK, [&] { return Ask().AskSetPark({}); }},
                           Row{windows.askUserCloseDriver, [&] { return Ask().AskCloseDriver(); }}}) {
        WithPerson<bool>(
            row.form,
            [&] {
                EXPECT_FALSE(row.ask());
                row.form.Hide();
            },
            row.ask);
        EXPECT_EQ(TimesLoggedAs(row.form.Name(), 1, kAlreadyOpen), 1) << row.form.Name();
    }
}

TEST_F(QuestionWindowsTest, OfferUnderAnOpenQuestion_IsCancelled_AndNotForWantOfAView) {
    Start();
    frmAskUnpark& form = Window().askUnpark;
    int answers = 0;
    EXPECT_EQ(WithPerson<Index>(
                  form,
                  [&] {
                      Ask().OfferUnpark(3, [&](Index index) { answers += index ? 100 : 1; });
                      EXPECT_FALSE(Ask().OfferIsOpen());
                      form.btnOK.FireClick();
                  },
                  [&] { return Ask().AskUnpark(std::int16_t{2}, Unasked::IsCancelled); }),
              2);
    EXPECT_EQ(answers, 1);
    EXPECT_TRUE(LoggedAs("frmAskUnpark", 1, kAlreadyOpen));
    EXPECT_FALSE(Logged(kNobody));
}

TEST_F(QuestionWindowsTest, OfferWhoseWindowAPersonHasClosed_IsCancelled_BeforeTheNextQuestionShowsIt) {
    Start();
    frmAskUnpark& form = Window().askUnpark;
    std::vector<Index> first;
    std::vector<Index> second;
    EXPECT_EQ(WithPerson<Index>(
                  form, [&] { form.btnOK.FireClick(); },
                  [&] {
                      Ask().OfferUnpark(3, [&](Index index) { first.push_back(index); });
                      form.Hide();
                      Ask().OfferUnpark(4, [&](Index index) { second.push_back(index); });
                      EXPECT_EQ(first, std::vector<Index>{std::nullopt});
                      EXPECT_TRUE(Ask().OfferIsOpen());
                      form.Hide();
                      return Ask().AskUnpark(std::int16_t{2}, Unasked::IsCancelled);
                  }),
              2);
    EXPECT_EQ(second, std::vector<Index>{std::nullopt});
}

TEST_F(QuestionWindowsTest, PositionOfTheCommand_IsNotTaken_WhereAPersonWasAskedAndHasGone) {
    Start();
    frmAskUnpark& form = Window().askUnpark;
    EXPECT_EQ(WithPerson<Index>(
                  form,
                  [&] {
                      form.cbxAskUnparkFrom.ListIndex(1);
                      LookAway(form);
                  },
                  [&] { return Ask().AskUnpark(std::int16_t{4}, Unasked::IsAccepted); }),
              std::nullopt);
}

// --- park

TEST_F(QuestionWindowsTest, Park_KeepsTheTextOfThePosition_WhenAccepted) {
    Seed({{"cbxParkTo", "1"}});
    Start();
    frmAskPark& form = Window().askPark;
    const auto press = [&](Button& button) {
        return WithPerson<Index>(
            form,
            [&] {
                EXPECT_EQ(form.cbxAskParkTo.ListItems().front(), "Current Position");
                EXPECT_EQ(form.cbxAskParkTo.Text(), "Park 1");
                form.cbxAskParkTo.ListIndex(3);
                button.FireClick();
            },
            [&] { return AskPark(); });
    };
    EXPECT_EQ(press(form.btnCancel), std::nullopt);
    EXPECT_EQ(Setting("cbxParkToText"), "");
    EXPECT_EQ(press(form.btnOK), 3);
    EXPECT_EQ(Setting("cbxParkToText"), "Park 3");
    EXPECT_EQ(Setting("cbxParkTo"), "1");
}

class ParkSelection : public QuestionWindowsTest, public testing::WithParamInterface<SelectionRow> {};

TEST_P(ParkSelection, GoesByTheTextWhereThereIsOne) {
    Seed({{"cbxParkTo", GetParam().index},
          {"cbxParkToText", GetParam().text},
          {"txtUserParkAlt", "12.345"},
          {"txtUserParkAz", "7"}});
    Start();
    frmAskPark& form = Window().askPark;
    WithPerson<Index>(
        form,
        [&] {
            EXPECT_EQ(form.cbxAskParkTo.ListItems(),
                      (std::vector<std::string>{"Current Position", "Park 1", "Park 2", "Park 3", "Park 4", "Park 5",
                                                "Alt/Az (12.35... / 7.00...)"}));
            EXPECT_EQ(form.cbxAskParkTo.ListIndex(), GetParam().selected);
            form.btnCancel.FireClick();
        },
        [&] { return AskPark(); });
}

INSTANTIATE_TEST_SUITE_P(Settings, ParkSelection,
                         testing::Values(SelectionRow{"0", "", 0}, SelectionRow{"4", "", 4}, SelectionRow{"6", "", 6},
                                         SelectionRow{"2", "Park 4", 4},
                                         SelectionRow{"2", "Alt/Az  ( 1.00 | 2.00 )", 6},
                                         SelectionRow{"2", "no such place", 2}, SelectionRow{"x", "", 0}));

TEST_F(QuestionWindowsTest, Park_ThatWillGoEastFirst_SaysSo) {
    Seed({{"chkSlewEast", "1"}, {"txtSlewEastFirstHours", "3.5"}});
    Start();
    driver->state.g_nSideOfPier = pier_side::West;
    frmAskPark& form = Window().askPark;
    struct Row {
        double hourAngle;
        const char* text;
    };
    for (const Row& row : {Row{2.0, "WARNING: Mount will slew EAST in RA 3.5 Hours before parking..."}, Row{7.0, ""}}) {
        driver->state.g_dHourAngle = row.hourAngle;
        bool shown = false;
        WithPerson<Index>(
            form,
            [&] {
                EXPECT_EQ(form.lblEastSlewWarning.Text(), row.text);
                const bool before = form.lblEastSlewWarning.Visible();
                driver->waits.WaitForMilliseconds(form.tmrWarning.Interval());
                shown = before || form.lblEastSlewWarning.Visible();
                form.btnCancel.FireClick();
            },
            [&] { return AskPark(); });
        EXPECT_EQ(shown, row.hourAngle == 2.0) << "it blinks";
    }
}

// --- yes or no

TEST_F(QuestionWindowsTest, Swap_NamesTheDirections) {
    Start();
    frmAskSwapEWNS& form = Window().askSwapEWNS;
    for (const SwappedAxes axes : {SwappedAxes::EastWest, SwappedAxes::NorthSouth}) {
        const bool northSouth = axes == SwappedAxes::NorthSouth;
        const auto press = [&](Button& button) {
            return WithPerson<bool>(
                form,
                [&] {
                    EXPECT_EQ(form.DoNS, northSouth);
                    EXPECT_EQ(form.lblCaptionNS.Visible(), northSouth);
                    EXPECT_EQ(form.lblCaptionEW.Visible(), !northSouth);
                    button.FireClick();
                },
                [&] { return Ask().AskSwap(axes); });
        };
        EXPECT_TRUE(press(form.btnOK));
        EXPECT_FALSE(press(form.btnCancel)) << "the answer before is forgotten";
    }
}

TEST_F(QuestionWindowsTest, SetPark_WarnsOfARaisedCounterweight) {
    Start();
    frmAskCustomParkOK& form = Window().askCustomParkOK;
    const std::string question = "Are you sure you want to set this Alt/Az Park Position?";
    const std::string warning = "WARNING: Counter-weight is in the up position!!";
    EXPECT_TRUE(WithPerson<bool>(
        form,
        [&] {
            EXPECT_EQ(form.lblAlt.Text(), "12.3457");
            EXPECT_EQ(form.lblAz.Text(), "340.0000");
            driver->waits.WaitForMilliseconds(10 * form.tmrBlink.Interval());
            EXPECT_EQ(form.lblMessage.Text(), question);
            form.btnOK.FireClick();
        },
        [&] { return Ask().AskSetPark({.altitude = 12.34567, .azimuth = 340.0}); }));
    EXPECT_FALSE(WithPerson<bool>(
        form,
        [&] {
            const std::string one = form.lblMessage.Text();
            driver->waits.WaitForMilliseconds(form.tmrBlink.Interval());
            const std::string other = form.lblMessage.Text();
            EXPECT_TRUE((one == warning + "\r\n" + question) != (other == warning + "\r\n" + question));
            EXPECT_TRUE((one == "\r\n" + question) != (other == "\r\n" + question));
            EXPECT_TRUE(form.IsCwUp);
            EXPECT_TRUE(form.IsOnEastSide);
            form.btnCancel.FireClick();
        },
        [&] { return Ask().AskSetPark({.counterweightUp = true, .eastSide = true}); }));
}

TEST_F(QuestionWindowsTest, Abort_ThatNobodyCanBeAsked_StopsNothing) {
    Start();
    Ask().AskAbort(false);
    EXPECT_FALSE(Window().askAbortSlew.Visible());
    EXPECT_TRUE(LoggedAs("frmAskAbortSlew", 1, kNobody));
    EXPECT_FALSE(Logged("AbortSlew()"));
}

TEST_F(QuestionWindowsTest, CloseDriver_TellsHowManyClientsOfEachDeviceThereAre) {
    Start();
    const TelescopeObject one = driver->CreateTelescope();
    const TelescopeObject other = driver->CreateTelescope();
    const FocuserObject focuser = driver->CreateFocuser();
    frmAskUserCloseDriver& form = Window().askUserCloseDriver;
    std::string text;
    EXPECT_TRUE(WithPerson<bool>(
        form,
        [&] {
            text = form.lblMessage.Text();
            form.btnOK.FireClick();
        },
        [&] { return Ask().AskCloseDriver(); }));
    EXPECT_NE(text.find("connected: 2 of the telescope, 1 of the focuser."), std::string::npos) << text;
    EXPECT_FALSE(Ask().AskCloseDriver()) << "nobody can be asked";
}

TEST_F(QuestionWindowsTest, ParkedWarning_WaitsForItsButton) {
    Start();
    frmAskAndWarnParked& form = Window().askAndWarnParked;
    const std::int64_t begin = machine.clock.Elapsed();
    WithPerson<bool>(
        form, [&] { form.btnOK.FireClick(); },
        [&] {
            Ask().WarnParked();
            return true;
        });
    EXPECT_GE(machine.clock.Elapsed() - begin, 2'000);
}

// --- captions and texts

TEST_F(QuestionWindowsTest, Captions) {
    Start();
    Windows& windows = Window();
    const std::pair<std::string, std::string> rows[] = {
        {windows.askUnpark.Caption(), "KS V2 ASCOM - Confirm Unpark"},
        {windows.askPark.Caption(), "KS V2 ASCOM Park Telescope"},
        {windows.askSwapEWNS.Caption(), "KS V2 Swap Move Direction"},
        {windows.askAbortSlew.Caption(), "KS V2 - Abort Slew?"},
        {windows.rcalSyncWarning.Caption(), "KS V2 ASCOM Driver - RCAL vs. SYNC Warning!"},
        {windows.askCustomParkOK.Caption(), "KS V2 Driver - Custom Alt/Az Park"},
        {windows.askAndWarnParked.Caption(), "KSV2 Driver - Mount Parked"},
        {windows.park1Warning.Caption(), "KS V2 - Park 1 Warning"},
        {windows.askUnpark.lblMessage.Text(), "Click OK to confirm Unpark from this park position:"},
        {windows.askUnpark.btnCancel.Text(), "&Don't Unpark"},
        {windows.askPark.lblMessage.Text(), "Select the park position to which you would like to Park the telescope:"},
        {windows.askPark.lblImportant.Text(),
         "IMPORTANT: Click the STOP button in the Move Scope Controls if you need to stop the mount."},
        {windows.askPark.btnCancel.Text(), "&Don't Park"},
        {windows.askSwapEWNS.lblCaptionNS.Text(),
         "WARNING: This button will swap the mount's NORTH and SOUTH button directions. N/S buttons and the ASCOM "
         "PulseGuide N/S directions will be reversed."},
        {windows.askSwapEWNS.lblCaptionEW.Text(),
         "WARNING: This button will swap the mount's EAST and WEST button directions. E/W buttons and the ASCOM "
         "PulseGuide E/W directions will be reversed."},
        {windows.askSwapEWNS.lblOkCancel.Text(), "Are you sure you want to do this?"},
        {windows.askAndWarnParked.lblMessage.Text(), "WARNING: Operation cannot be completed because mount is parked!"},
        {windows.rcalSyncWarning.lblWarning.Text(), "WARNING!"},
        {windows.rcalSyncWarning.lblMessage.Text(),
         "If this box is not checked, Sync commands can be issued to the mount by software programs, which may cause "
         "the mount to slew incorrectly and possibly cause damage to equipment."},
        {windows.rcalSyncWarning.lblAdvice.Text(),
         "Kestrane recommends that you keep the box \"Use RCal for Syncs\" checked."},
        {windows.park1Warning.lblWarning.Text(), "WARNING!! "},
        {windows.park1Warning.lblMessage.Text(),
         "Park 1 is considered an obsolete park position.  It presents some potential problems that are further "
         "described in the Help page for parking.  "},
        {windows.park1Warning.lblRisk.Text(),
         "Use Park 1 at your own risk.  Issues related to the use of Park 1 will not be supported by Kestrane. "},
        {windows.park1Warning.chkDontShowAgain.Text(), "Don't show this warning again"},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(text, expected);
    }
}

// --- stops

/// Whatever else waits, and would begin to move the mount, is overtaken.
TEST_F(QuestionWindowsTest, AbortOfASlew_IsAStop) {
    Start();
    Onlooker view;
    Window().askAbortSlew.Attach(view);
    Ask().AskAbort(false);
    bool overtaken = false;
    machine.pump.Post(CallKind::Brief, [&] { overtaken = driver->waits.OvertakenByStop(); });
    Window().askAbortSlew.btnOK.FireClick();
    EXPECT_FALSE(Logged("AbortSlew()"));
    driver->InternalInstance();
    machine.AdvanceTime(1);
    EXPECT_TRUE(overtaken);
    EXPECT_TRUE(LoggedAs("Driver", 0, "AbortSlew()"));
    Window().askAbortSlew.Detach(view);
}

TEST_F(QuestionWindowsTest, EndOfTheDriver_CancelsAnOpenQuestion) {
    Start();
    frmAskSwapEWNS& form = Window().askSwapEWNS;
    EXPECT_FALSE(WithPerson<bool>(
        form, [&] { Window().UnloadAtShutdown(); }, [&] { return Ask().AskSwap(SwappedAxes::EastWest); }));
}

/// Its opener waits for a person and sees the answer a moment later.
TEST_F(QuestionWindowsTest, QuestionThatWasAnsweredAndNotReadYet_IsNotAskedAnew) {
    Start();
    frmAskSwapEWNS& form = Window().askSwapEWNS;
    bool second = true;
    const bool first = WithPerson<bool>(
        form,
        [&] {
            form.btnOK.FireClick();
            second = Ask().AskSwap(SwappedAxes::NorthSouth);
        },
        [&] { return Ask().AskSwap(SwappedAxes::EastWest); });
    EXPECT_TRUE(first);
    EXPECT_FALSE(second);
    EXPECT_TRUE(LoggedAs("frmAskSwapEWNS", 1, kAlreadyOpen));
}

}  // namespace
}  // namespace kestrane
