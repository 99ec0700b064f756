#include <algorithm>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

class HandBoxButtons : public DriverFixture {
protected:
    HandBoxButtons() { Start(); }

    frmHandBox& HandBox() { return driver->handBox; }
    void Count(ButtonAction action) {
        driver->panel.OnAction(action, [this, action] { done_.push_back(static_cast<int>(action)); });
    }

    /// How often the mount got a command that begins so.
    int TimesSentWith(const std::string& beginning) const {
        int times = 0;
        for (const std::string& sent : mount->Commands()) {
            times += sent.starts_with(beginning) ? 1 : 0;
        }
        return times;
    }

    std::vector<int> done_;
};

TEST_F(HandBoxButtons, Press_OutsideThePollRunsAtOnce) {
    Count(ButtonAction::SyncMountTime);
    driver->panel.Press(ButtonAction::SyncMountTime);
    EXPECT_EQ(done_, std::vector<int>{12});
}

TEST_F(HandBoxButtons, Press_OfAnActionThatAsksAPerson_RunsAsALongCall) {
    for (const ButtonAction action :
         {ButtonAction::Park, ButtonAction::Unpark, ButtonAction::SetPark, ButtonAction::SwapEW, ButtonAction::SwapNS,
          ButtonAction::InitNow, ButtonAction::WarnOfPark1, ButtonAction::GotoRaDec, ButtonAction::GotoAltAz}) {
        Count(action);
        done_.clear();
        machine.pump.Post(CallKind::Brief, [&] {
            driver->panel.Press(action);
            machine.pump.PumpMessages();
            EXPECT_TRUE(done_.empty()) << "the brief call would be held";
        });
        machine.AdvanceTime(1);
        EXPECT_EQ(done_, std::vector<int>{static_cast<int>(action)});
    }
}

TEST_F(HandBoxButtons, Press_InsideThePollWaitsForItsEndAndRunsOnce) {
    HandBox().EnsureLoaded();
    Count(ButtonAction::Park);
    driver->state.g_bInPoll = true;
    driver->panel.Press(ButtonAction::Park);
    machine.AdvanceTime(200);
    EXPECT_TRUE(done_.empty());
    driver->state.g_bInPoll = false;
    machine.AdvanceTime(20);
    EXPECT_EQ(done_, std::vector<int>{1});
    machine.AdvanceTime(1000);
    EXPECT_EQ(done_.size(), 1U);
}

TEST_F(HandBoxButtons, Press_EachCodeReachesItsOwnAction) {
    HandBox().EnsureLoaded();
    for (int code = 1; code <= 11; ++code) {
        Count(static_cast<ButtonAction>(code));
    }
    std::vector<int> expected;
    for (int code = 1; code <= 11; ++code) {
        driver->state.g_bInPoll = true;
        driver->panel.Press(static_cast<ButtonAction>(code));
        driver->state.g_bInPoll = false;
        machine.AdvanceTime(20);
        expected.push_back(code);
    }
    EXPECT_EQ(done_, expected);
}

TEST_F(HandBoxButtons, Press_OfAnActionThatNobodySetDoesNothing) {
    HandBox().EnsureLoaded();
    driver->state.g_bInPoll = true;
    Count(ButtonAction::Park);
    driver->panel.Press(ButtonAction::Repeat);
    driver->state.g_bInPoll = false;
    machine.AdvanceTime(100);
    EXPECT_TRUE(done_.empty());
    driver->panel.Press(ButtonAction::Park);
    machine.AdvanceTime(1);
    EXPECT_EQ(done_, std::vector<int>{1});
}

TEST_F(HandBoxButtons, DelayedAction_IsClearedBeforeItRunsAndHoldsBackOthers) {
    HandBox().EnsureLoaded();
    Count(ButtonAction::Unpark);
    driver->panel.OnAction(ButtonAction::SyncMountTime, [this] {
        done_.push_back(12);
        driver->state.g_bInPoll = true;
        driver->panel.Press(ButtonAction::Unpark);
        driver->state.g_bInPoll = false;
        HandBox().tmrButtonDelay.FireTick();  // as a pump inside the action would
        EXPECT_EQ(done_, std::vector<int>{12});
    });
    driver->state.g_bInPoll = true;
    driver->panel.Press(ButtonAction::SyncMountTime);
    driver->state.g_bInPoll = false;
    machine.AdvanceTime(20);
    EXPECT_EQ(done_, std::vector<int>{12});
    machine.AdvanceTime(20);
    EXPECT_EQ(done_, (std::vector<int>{12, 2}));
}

/// Its answer may take all night.
TEST_F(HandBoxButtons, DelayedAction_ThatAsksAPerson_HoldsBackNoOther) {
    HandBox().EnsureLoaded();
    Count(ButtonAction::SyncMountTime);
    driver->panel.OnAction(ButtonAction::Park, [this] {
        done_.push_back(1);
        driver->state.g_bInPoll = true;
        driver->panel.Press(ButtonAction::SyncMountTime);
        driver->state.g_bInPoll = false;
        HandBox().tmrButtonDelay.FireTick();  // as the pump of the question would
        EXPECT_EQ(done_, (std::vector<int>{1, 12}));
    });
    driver->state.g_bInPoll = true;
    driver->panel.Press(ButtonAction::Park);
    driver->state.g_bInPoll = false;
    machine.AdvanceTime(40);
    EXPECT_EQ(done_, (std::vector<int>{1, 12}));
}

TEST_F(HandBoxButtons, DelayedAction_ThatFailsLetsTheNextOneRun) {
    ExpectSwallow("tmrButtonDelay");
    HandBox().EnsureLoaded();
    Count(ButtonAction::Unpark);
    driver->panel.OnAction(ButtonAction::Park, [] { throw DriverError(ErrorNumber::NotConnected); });
    for (const ButtonAction action : {ButtonAction::Park, ButtonAction::Unpark}) {
        driver->state.g_bInPoll = true;
        driver->panel.Press(action);
        driver->state.g_bInPoll = false;
        machine.AdvanceTime(20);
    }
    EXPECT_EQ(done_, std::vector<int>{2});
}

TEST_F(HandBoxButtons, Clicks_PressTheActionOfTheirButton) {
    struct Row {
        Button frmHandBox::*button;
        int code;
    };
    for (const Row& row :
         {Row{&frmHandBox::btnPark, 1}, Row{&frmHandBox::btnUNPARK, 2}, Row{&frmHandBox::btnSwapNS, 3},
          Row{&frmHandBox::btnSwapEW, 4}, Row{&frmHandBox::btnSlewRaDec, 5}, Row{&frmHandBox::btnSlewAltAz, 6},
          Row{&frmHandBox::btnSetPark, 7}, Row{&frmHandBox::btnInitNow, 8}}) {
        Count(static_cast<ButtonAction>(row.code));
        (HandBox().*row.button).FireClick();
        machine.AdvanceTime(1);
        EXPECT_EQ(done_, std::vector<int>{row.code});
        done_.clear();
    }
}

TEST_F(HandBoxButtons, ButtonsThatTalkToTheMount_WaitForTheEndOfThePollStep) {
    auto telescope = ConnectedTelescope();
    HandBox().txtMeridianDelay.Text("1.5");
    struct Row {
        Button frmHandBox::*button;
        std::string command;
    };
    for (const Row& row : {Row{&frmHandBox::btnSyncMountTime, "SL"}, Row{&frmHandBox::btnSetMeridianDelay, "SL"},
                           Row{&frmHandBox::btnClearMeridianDelay, "SL"}, Row{&frmHandBox::btnGetLongLat, "Gg"}}) {
        HandBox().tmrQueryRaDecAltAz.Enabled(false);
        driver->state.g_bInPoll = true;
        const std::size_t before = mount->Commands().size();
        const int sent = TimesSentWith(row.command);
        (HandBox().*row.button).FireClick();
        machine.AdvanceTime(100);
        EXPECT_EQ(mount->Commands().size(), before) << row.command;
        driver->state.g_bInPoll = false;
        machine.AdvanceTime(20);
        EXPECT_EQ(TimesSentWith(row.command), sent + 1);
        machine.AdvanceTime(200);
        EXPECT_EQ(TimesSentWith(row.command), sent + 1) << "once only";
    }
}

TEST_F(HandBoxButtons, ButtonsOfTheTime_SendTimeAndDate) {
    auto telescope = ConnectedTelescope();
    HandBox().txtMeridianDelay.Text("1.5");
    for (Button frmHandBox::*button :
         {&frmHandBox::btnSyncMountTime, &frmHandBox::btnSetMeridianDelay, &frmHandBox::btnClearMeridianDelay}) {
        const int times = TimesSentWith("SL");
        const int dates = TimesSentWith("SC");
        const int verbs = TimesLogged("CommandString Extended Command TX='RAW,InitTime'");
        (HandBox().*button).FireClick();
        EXPECT_EQ(TimesLogged("CommandString Extended Command TX='RAW,InitTime'"), verbs + 1);
        EXPECT_EQ(TimesSentWith("SL"), times + 1) << (HandBox().*button).Name();
        EXPECT_EQ(TimesSentWith("SC"), dates + 1) << (HandBox().*button).Name();
    }
}

TEST_F(HandBoxButtons, OpenLogDirectory_OpensTheFolderOfTheLog) {
    HandBox().btnOpenLogDirectory.FireClick();
    ASSERT_NE(driver->state.g_sLogDir, "");
    EXPECT_EQ(machine.processes.opened, std::vector{driver->state.g_sLogDir});
}

TEST_F(HandBoxButtons, OpenLogDirectory_WithoutAFileBrowser_NamesTheFolderInTheLog) {
    machine.processes.canStart = false;
    HandBox().btnOpenLogDirectory.FireClick();
    EXPECT_TRUE(Logged("The logs are in " + driver->state.g_sLogDir));
}

TEST_F(HandBoxButtons, OpenLogDirectory_BeforeTheFirstLogOpensNothing) {
    driver->state.g_sLogDir.clear();
    HandBox().btnOpenLogDirectory.FireClick();
    EXPECT_TRUE(machine.processes.opened.empty());
}

TEST_F(HandBoxButtons, SetMeridianDelay_TakesTheBoxAndAsksForTheTimeAtOnce) {
    auto telescope = ConnectedTelescope();
    HandBox().txtMeridianDelay.Text("1.5");
    HandBox().btnSetMeridianDelay.FireClick();
    EXPECT_EQ(driver->state.g_dMeridianDelay, 1.5);
    EXPECT_EQ(machine.clock.GetTickCount() - driver->state.g_tickLastTime, 5000);
    HandBox().btnClearMeridianDelay.FireClick();
    EXPECT_EQ(driver->state.g_dMeridianDelay, 0.0);
    EXPECT_EQ(HandBox().frameMeridianDelay.Caption(), "Meridian Delay: Disabled");
}

TEST_F(HandBoxButtons, RateButtons_StartAndStopTheMount) {
    auto telescope = ConnectedTelescope();
    struct Row {
        std::int16_t rate;
        std::string command;
        bool tracking;
    };
    for (const Row& row : {Row{2, "RT0", true}, Row{3, "RT1", true}, Row{0, "RT9", false}, Row{1, "RT2", true}}) {
        const int before = TimesSent(row.command);
        driver->tracking.ChooseRate(row.rate);
        EXPECT_EQ(TimesSent(row.command), before + 1) << row.command;
        EXPECT_EQ(driver->state.g_nDisplayedRate, row.rate);
        EXPECT_EQ(driver->state.g_bTracking, row.tracking);
        EXPECT_EQ(HandBox().txtRaCustom.Enabled(), row.tracking);
    }
}

TEST_F(HandBoxButtons, ChooseRate_OutsideTheButtonsDoesNothing) {
    auto telescope = ConnectedTelescope();
    const std::size_t before = mount->Commands().size();
    driver->tracking.ChooseRate(5);
    driver->tracking.ChooseRate(-1);
    EXPECT_EQ(mount->Commands().size(), before);
}

TEST_F(HandBoxButtons, SetKingRateState_SendsTheChoiceOnlyWhereTheFirmwareHasIt) {
    auto telescope = ConnectedTelescope();
    struct Row {
        bool available, enabled;
        int on, off;
    };
    for (const Row& row :
         {Row{true, true, 1, 0}, Row{true, false, 0, 1}, Row{false, true, 0, 0}, Row{false, false, 0, 0}}) {
        driver->state.g_bKingRateAvailable = row.available;
        driver->state.g_bKingRateEnabled = row.enabled;
        const int on = TimesSent("RT8");
        const int off = TimesSent("RT3");
        driver->tracking.SetKingRateState();
        EXPECT_EQ(TimesSent("RT8") - on, row.on);
        EXPECT_EQ(TimesSent("RT3") - off, row.off);
        EXPECT_TRUE(Logged(row.enabled ? "King Rate Enabled: True" : "King Rate Enabled: False"));
    }
}

TEST_F(HandBoxButtons, KingCheckBox_SwitchesTheMountAndSetsTheSiderealRateAnew) {
    auto telescope = ConnectedTelescope();
    driver->tracking.ChooseRate(1);
    driver->state.g_bKingRateAvailable = true;
    HandBox().chkEnableKingRate.Enabled(true);
    const int on = TimesSent("RT8");
    const int sidereal = TimesSent("RT2");
    HandBox().chkEnableKingRate.Checked(true);
    EXPECT_TRUE(driver->state.g_bKingRateEnabled);
    EXPECT_EQ(TimesSent("RT8"), on + 1);
    EXPECT_EQ(TimesSent("RT2"), sidereal + 1);
    EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), "King");
    EXPECT_TRUE(LoggedAs("User", 0, "King tracking option enabled"));
    EXPECT_TRUE(LoggedAs("King Rate", 0, "King Rate Enabled: True"));
    HandBox().chkEnableKingRate.Checked(false);
    EXPECT_TRUE(LoggedAs("User", 0, "King tracking option disabled"));
    EXPECT_TRUE(LoggedAs("King Rate", 0, "King Rate Enabled: False"));
    HandBox().chkEnableKingRate.Checked(true);
    EXPECT_EQ(driver->persist.Read(setting::chkEnableKingRate), "1");
}

TEST_F(HandBoxButtons, KingCheckBox_LeavesTheMountAtSiderealWhateverTheClientAskedFor) {
    auto telescope = ConnectedTelescope();
    driver->tracking.ChooseRate(1);
    driver->state.g_bKingRateAvailable = true;
    const int lunar = TimesSent("RT0");
    const int sidereal = TimesSent("RT2");
    for (const std::int16_t asked : {std::int16_t{1}, std::int16_t{2}}) {
        driver->state.g_nTrackingRate = asked;
        HandBox().chkEnableKingRate.Checked(!HandBox().chkEnableKingRate.Checked());
    }
    EXPECT_EQ(TimesSent("RT0"), lunar);
    EXPECT_EQ(TimesSent("RT2"), sidereal + 2);
    EXPECT_EQ(driver->state.g_nDisplayedRate, 1);
}

TEST_F(HandBoxButtons, KingCheckBox_AtAnotherRateOnlyKeepsTheChoice) {
    auto telescope = ConnectedTelescope();
    driver->tracking.ChooseRate(2);
    driver->state.g_bKingRateAvailable = true;
    const std::size_t before = mount->Commands().size();
    HandBox().chkEnableKingRate.Checked(true);
    EXPECT_EQ(mount->Commands().size(), before);
    EXPECT_TRUE(Logged("King tracking option enabled"));
}

TEST_F(HandBoxButtons, MoveCommands_ByButtonAndByRateList) {
    const MoveCommands open = MoveCommandsOfOpenType();
    const std::array<std::string, 9> move{":Mn#:Mw#", ":Mn#",     ":Mn#:Me#", ":Mw#",    ":Q#:Q#",
                                          ":Me#",     ":Ms#:Mw#", ":Ms#",     ":Ms#:Me#"};
    const std::vector<std::string> guide{":RG0#", ":RG1#", ":RG2#", ":RG3#"};
    EXPECT_EQ(open.move, move);
    EXPECT_EQ(open.rate, (std::vector<std::string>{":RG0#", ":RG1#", ":RG2#", ":RC0#", ":RC1#", ":RC2#", ":RC3#"}));
    EXPECT_EQ(open.guide, guide);
    const MoveCommands told = MoveCommandsOfToldType();
    EXPECT_EQ(told.move, move);
    EXPECT_EQ(told.rate,
              (std::vector<std::string>{":RC5#", ":RC6#", ":RC7#", ":RC0#", ":RC1#", ":RC2#", ":RC3#", ":RC4#"}));
    EXPECT_EQ(told.guide, guide);
}

TEST_F(HandBoxButtons, Moves_FollowTheRateTypeThatTheMountTellsAtAnyTime) {
    struct Row {
        std::string type;
        std::size_t rates;
        std::string first;
    };
    for (const Row& row : {Row{"0", 8, ":RC5#"}, Row{"", 7, ":RG0#"}, Row{"3", 8, ":RC5#"}, Row{"unknown", 7, ":RG0#"},
                           Row{"1", 8, ":RC5#"}, Row{"2", 8, ":RC5#"}}) {
        driver->state.g_sMountRateType = row.type;
        EXPECT_EQ(driver->panel.Moves().rate.size(), row.rates) << row.type;
        EXPECT_EQ(driver->panel.Moves().rate.front(), row.first) << row.type;
    }
}

}  // namespace
}  // namespace kestrane
