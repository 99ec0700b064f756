#include <algorithm>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

class HandBoxSettings : public DriverFixture {
protected:
    frmHandBox& HandBox() { return driver->handBox; }
    /// Settings that were written, in any way other than by a first read, since `mark`.
    std::vector<std::string> WrittenSince(std::size_t mark) const {
        std::vector<std::string> written;
        for (std::size_t i = mark; i < log.size(); ++i) {
            if (log[i].origin == "WriteIniValue") {
                written.push_back(log[i].message);
            }
        }
        return written;
    }
    std::string Setting(std::string_view key) { return driver->persist.ReadIniValue(key, "no such setting"); }
};

TEST_F(HandBoxSettings, FillingAtLoad_WritesNoSettings) {
    Seed({{"chkSlewEast", "1"},
          {"chkUseRCAL", "0"},
          {"chkShowAllControls", "1"},
          {"cbxParkTo", "5"},
          {"cbxInitPEM", "1"},
          {"txtRaCustom", "0.5"},
          {"hscrReticleBrightness", "9"},
          {"txtMeridianDelay", "2"},
          {"cbxUnparkFrom", "99"},
          {"cbxWindowsPriority", "3"},
          {"Focus.radFocusFast", "False"}});
    Start();
    driver->sites.CurrentSiteName();  // the sites' own start
    const std::size_t mark = log.size();
    HandBox().EnsureLoaded();
    driver->panel.UpdateControls();
    EXPECT_EQ(WrittenSince(mark), std::vector<std::string>{});
    EXPECT_TRUE(HandBox().chkSlewEast.Checked());
    EXPECT_FALSE(HandBox().chkUseRCAL.Checked());
    EXPECT_EQ(HandBox().txtRaCustom.Text(), "0.5");
    EXPECT_EQ(HandBox().hscrReticleBrightness.Value(), 9);
    EXPECT_EQ(HandBox().lblBrightness.Text(), "9");
    EXPECT_TRUE(HandBox().radFocusSlow.Checked());
    EXPECT_EQ(HandBox().cbxUnparkFrom.Text(), "Don't Unpark");
    EXPECT_EQ(HandBox().cbxWindowsPriority.Text(), "Below Normal");
    EXPECT_FALSE(HandBox().IsFilling());
}

TEST_F(HandBoxSettings, Defaults_AreThoseOfTheKeys) {
    Start();
    driver->panel.UpdateControls();
    EXPECT_TRUE(HandBox().chkUseRCAL.Checked());
    EXPECT_TRUE(HandBox().chkEnableMountTracking.Checked());
    EXPECT_FALSE(HandBox().chkSwapEW.Checked());
    EXPECT_EQ(HandBox().cbxParkTo.Text(), "Current Position");
    EXPECT_EQ(HandBox().cbxUnparkFrom.Text(), "Last Parked");
    EXPECT_EQ(HandBox().cbxInitPEM.Text(), "Disable PEM");
    EXPECT_EQ(HandBox().cbxWindowsPriority.Text(), "Above Normal");
    EXPECT_EQ(HandBox().txtMaxIncrementMSecs.Text(), "5000");
    EXPECT_TRUE(HandBox().radFocusFast.Checked());
    EXPECT_TRUE(HandBox().radFocusFinalDirectionOut.Checked());
    EXPECT_EQ(HandBox().hscrReticleBrightness.Value(), 1);
}

TEST_F(HandBoxSettings, TextsThatNobodySet_AreThoseOfTheBoxesAndAreKept) {
    struct Row {
        TextBox frmHandBox::*box;
        std::string key, text;
    };
    const Row rows[] = {
        {&frmHandBox::txtSlewEastFirstHours, "txtSlewEastFirstHours", "10"},
        {&frmHandBox::txtMeridianDelay, "txtMeridianDelay", "0"},
        {&frmHandBox::txtRaCustom, "txtRaCustom", ""},
        {&frmHandBox::txtDecCustom, "txtDecCustom", ""},
        {&frmHandBox::txtUserParkAlt, "txtUserParkAlt", "0"},
        {&frmHandBox::txtUserParkAz, "txtUserParkAz", "0"},
        {&frmHandBox::txtInitRaBacklash, "txtInitRaBacklash", "0"},
        {&frmHandBox::txtInitDecBacklash, "txtInitDecBacklash", "0"},
        {&frmHandBox::txtCustomSlewRate, "txtCustomSlewRate", "600"},
        {&frmHandBox::txtScopeFocalLength, "txtScopeFocalLength", "0"},
        {&frmHandBox::txtScopeAperture, "txtScopeAperture", "0"},
        {&frmHandBox::txtBacklashMSecs, "Focus.txtBacklashMSecs", "100"},
        {&frmHandBox::txtStepMultiplierMSecs, "Focus.txtStepMultiplierMSecs", "1"},
        {&frmHandBox::txtMaxIncrementMSecs, "Focus.txtMaxIncrementMSecs", "5000"},
    };
    Start();
    driver->panel.UpdateControls();
    for (const Row& row : rows) {
        EXPECT_EQ((HandBox().*row.box).Text(), row.text) << row.key;
        EXPECT_EQ(Setting(row.key), row.text) << row.key;
    }
}

TEST_F(HandBoxSettings, FocuserOptions_StoredEmptyAreThoseOfTheKeys) {
    Seed({{"Focus.radFocusFast", ""}, {"Focus.radFocusFinalDirectionIn", ""}});
    Start();
    driver->panel.UpdateControls();
    EXPECT_TRUE(HandBox().radFocusFast.Checked());
    EXPECT_TRUE(HandBox().radFocusFinalDirectionOut.Checked());
}

TEST_F(HandBoxSettings, UpdateControls_ShowsWhetherTheLogIsOn) {
    Start();
    HandBox().EnsureLoaded();
    for (const bool on : {false, true}) {
        driver->state.g_bDebugLog = on;
        driver->panel.UpdateControls();
        EXPECT_EQ(HandBox().chkEnableDebugLog.Checked(), on);
    }
}

TEST_F(HandBoxSettings, BacklashBoxes_TellTheirRange) {
    Start();
    HandBox().EnsureLoaded();
    EXPECT_EQ(HandBox().txtInitRaBacklash.ToolTip(), "Range is 0-59 arc-seconds");
    EXPECT_EQ(HandBox().txtInitDecBacklash.ToolTip(), "Range is 0-59 arc-seconds");
}

TEST_F(HandBoxSettings, Lists_HoldTheirFixedEntries) {
    Start();
    driver->panel.UpdateControls();
    using Items = std::vector<std::string>;
    EXPECT_EQ(HandBox().cbxParkTo.ListItems(),
              (Items{"Current Position", "Park 1", "Park 2", "Park 3", "Park 4", "Park 5", "Alt/Az"}));
    EXPECT_EQ(HandBox().cbxUnparkFrom.ListItems(),
              (Items{"Last Parked", "Park 1", "Park 2", "Park 3", "Park 4", "Park 5", "Alt/Az", "Don't Unpark"}));
    EXPECT_EQ(HandBox().cbxInitPEM.ListItems(), (Items{"Disable PEM", "Enable PEM"}));
    EXPECT_EQ(HandBox().cbxWindowsPriority.ListItems(),
              (Items{"High", "Above Normal", "Normal", "Below Normal", "Low"}));
}

TEST_F(HandBoxSettings, CheckBoxes_AreKeptUnderTheirNames) {
    Start();
    driver->panel.UpdateControls();
    for (const std::string name :
         {"chkSlewEast", "chkConvertAltAzToRaDec", "chkSwapEW", "chkSwapNS", "chkRotate90", "chkEnableKingRate",
          "chkEnableMountTracking", "chkKeepMountTimeSyncedToPcTime", "chkSynchronousPulseGuide", "chkCalcAzAlt",
          "chkCalcLST", "chkReverseFocusDirection", "chkShowAllControls", "chkEnableDebugLog"}) {
        CheckBox& box = *HandBox().Find<CheckBox>(name);
        const std::string key = name == "chkReverseFocusDirection" ? "Focus." + name : name;
        const bool before = box.Checked();
        box.Checked(!before);
        EXPECT_EQ(Setting(key), before ? "0" : "1") << name;
        box.Checked(before);
        EXPECT_EQ(Setting(key), before ? "1" : "0") << name;
    }
}

TEST_F(HandBoxSettings, TextBoxes_AreKeptUnderTheirNames) {
    Start();
    driver->panel.UpdateControls();
    for (const std::string name :
         {"txtSlewEastFirstHours", "txtUserParkAlt", "txtUserParkAz", "txtRaCustom", "txtDecCustom",
          "txtInitRaBacklash", "txtInitDecBacklash", "txtCustomSlewRate", "txtScopeFocalLength", "txtScopeAperture",
          "txtMeridianDelay", "txtBacklashMSecs", "txtStepMultiplierMSecs", "txtMaxIncrementMSecs"}) {
        HandBox().Find<TextBox>(name)->Text("42");
        EXPECT_EQ(Setting(name.ends_with("MSecs") ? "Focus." + name : name), "42") << name;
    }
}

TEST_F(HandBoxSettings, EveryControlThatAPersonChanges_IsKeptOrIsOneOfTheSite) {
    Seed({{"chkUseRCAL", "0"}});  // a person is asked before it is unticked
    const auto telescope = ConnectedTelescope();
    driver->panel.UpdateControls();
    const std::set<std::string> ofTheSite{"txtSiteName",  "txtLatitude",       "txtLongitude",
                                          "txtElevation", "txtActualLatitude", "txtActualLongitude"};
    for (Control* control : HandBox().Controls()) {
        const std::size_t mark = log.size();
        if (auto* box = HandBox().Find<CheckBox>(control->Name())) {
            driver->state.g_bDebugLog = true;
            box->Checked(!box->Checked());
            driver->state.g_bDebugLog = true;
        } else if (auto* text = HandBox().Find<TextBox>(control->Name())) {
            text->Text("17");
        } else if (auto* list = HandBox().Find<ComboBox>(control->Name())) {
            list->ListIndex(list->ListIndex() == 0 ? 1 : 0);
        } else if (auto* option = HandBox().Find<OptionButton>(control->Name())) {
            option->Checked(!option->Checked());
            option->Checked(true);
        } else {
            continue;
        }
        EXPECT_EQ(WrittenSince(mark).empty(), ofTheSite.contains(control->Name())) << control->Name();
    }
}

TEST_F(HandBoxSettings, Lists_AreKeptByIndexAndParkPositionsByTextToo) {
    Start();
    driver->panel.UpdateControls();
    HandBox().cbxParkTo.ListIndex(3);
    EXPECT_EQ(Setting("cbxParkTo"), "3");
    EXPECT_EQ(Setting("cbxParkToText"), "Park 3");
    HandBox().cbxUnparkFrom.ListIndex(7);
    EXPECT_EQ(Setting("cbxUnparkFrom"), "7");
    EXPECT_EQ(Setting("cbxUnparkFromText"), "Don't Unpark");
    HandBox().cbxInitPEM.ListIndex(1);
    EXPECT_EQ(Setting("cbxInitPEM"), "1");
}

TEST_F(HandBoxSettings, ParkPositionFiveWithoutAText_IsAltAz) {
    Seed({{"cbxParkTo", "5"}, {"cbxUnparkFrom", "5"}, {"cbxUnparkFromText", "Park 5"}});
    Start();
    driver->panel.UpdateControls();
    EXPECT_EQ(HandBox().cbxParkTo.Text(), "Alt/Az");
    EXPECT_EQ(HandBox().cbxUnparkFrom.Text(), "Park 5");
}

TEST_F(HandBoxSettings, UserParkBoxes_AreEnabledForTheAltAzEntriesOnly) {
    Start();
    driver->panel.UpdateControls();
    EXPECT_FALSE(HandBox().txtUserParkAlt.Enabled());
    EXPECT_FALSE(HandBox().txtUserParkAz.Enabled());
    HandBox().cbxParkTo.ListIndex(6);
    EXPECT_TRUE(HandBox().txtUserParkAlt.Enabled());
    EXPECT_TRUE(HandBox().txtUserParkAz.Enabled());
    HandBox().cbxParkTo.ListIndex(0);
    EXPECT_FALSE(HandBox().txtUserParkAlt.Enabled());
    HandBox().cbxUnparkFrom.ListIndex(6);
    EXPECT_TRUE(HandBox().txtUserParkAz.Enabled());
}

TEST_F(HandBoxSettings, FocuserOptions_AreKeptAsWords) {
    Start();
    driver->panel.UpdateControls();
    HandBox().radFocusSlow.Checked(true);
    EXPECT_EQ(Setting("Focus.radFocusFast"), "False");
    HandBox().radFocusFast.Checked(true);
    EXPECT_EQ(Setting("Focus.radFocusFast"), "True");
    HandBox().radFocusFinalDirectionIn.Checked(true);
    EXPECT_EQ(Setting("Focus.radFocusFinalDirectionIn"), "True");
}

TEST_F(HandBoxSettings, ReticleBrightness_IsKeptAndShown) {
    Start();
    driver->panel.UpdateControls();
    HandBox().hscrReticleBrightness.Value(5);
    EXPECT_EQ(Setting("hscrReticleBrightness"), "5");
    EXPECT_EQ(HandBox().lblBrightness.Text(), "5");
}

TEST_F(HandBoxSettings, CustomRates_OutsideTheLimitAreNotKept) {
    Start();
    driver->panel.UpdateControls();
    driver->state.g_dMaxMoveRate = 99.9999;
    driver->panel.UpdateRateLimits();
    struct Row {
        std::string text;
        bool kept;
    };
    for (const Row& row : {Row{"99.9999", true}, Row{"100", false}, Row{"-99.9999", true}, Row{"-100", false},
                           Row{"0", true}, Row{"", true}, Row{"abc", false}, Row{"1x", false}, Row{"0.5", true}}) {
        for (const std::string name : {"txtRaCustom", "txtDecCustom"}) {
            driver->persist.WriteIniValue(name, "before");
            HandBox().Find<TextBox>(name)->Text(row.text);
            EXPECT_EQ(Setting(name), row.kept ? row.text : "before") << row.text;
        }
    }
    driver->state.g_dMaxMoveRate = 999.9999;
    driver->panel.UpdateRateLimits();
    HandBox().txtRaCustom.Text("100");
    EXPECT_EQ(Setting("txtRaCustom"), "100");
}

TEST_F(HandBoxSettings, CustomRates_AreBoundBeforeAnyConnect) {
    Start();
    driver->panel.UpdateControls();
    for (const std::string name : {"txtRaCustom", "txtDecCustom"}) {
        for (const char* text : {"99.9999", "100", "-100"}) {
            HandBox().Find<TextBox>(name)->Text(text);
            EXPECT_EQ(Setting(name), "99.9999") << text;
        }
    }
}

TEST_F(HandBoxSettings, WindowsPriority_IsAppliedAtLoadAndOnAChange) {
    Seed({{"cbxWindowsPriority", "4"}});
    Start();
    driver->panel.UpdateControls();
    EXPECT_EQ(machine.processes.priorities[machine.processes.currentProcessId], 64U);
    HandBox().cbxWindowsPriority.ListIndex(0);
    EXPECT_EQ(machine.processes.priorities[machine.processes.currentProcessId], 128U);
    EXPECT_EQ(Setting("cbxWindowsPriority"), "0");
}

TEST_F(HandBoxSettings, Load_TellsItsSettingsAndSetsUpTheWindow) {
    Seed({{"chkRememberPosition", "1"},
          {"FormTop", "120"},
          {"FormLeft", "-7"},
          {"chkAlwaysOnTop", "0"},
          {"ShowInitNowButton", "1"}});
    machine.systemInfo.shellAdmin = true;
    Start();
    HandBox().EnsureLoaded();
    EXPECT_TRUE(LoggedAs("Load", 0, "OnTop=0,RestorePosition=1,Left = -7, Top = 120"));
    EXPECT_EQ(HandBox().Place(), (Corner{-7, 120}));
    EXPECT_EQ(HandBox().top, 120);
    EXPECT_EQ(HandBox().left, -7);
    EXPECT_FALSE(HandBox().AlwaysOnTop());
    EXPECT_TRUE(HandBox().btnInitNow.Visible());
    EXPECT_TRUE(HandBox().lblAdministrator.Visible());
    EXPECT_EQ(HandBox().tmrQueryRaDecAltAz.Interval(), 150);
    EXPECT_NE(HandBox().txtRaCustom.ToolTip(), "");
}

TEST_F(HandBoxSettings, Load_OfAPlainUserHidesWhatIsNotForHim) {
    Start();
    HandBox().EnsureLoaded();
    EXPECT_TRUE(Logged("OnTop=1,RestorePosition=0,Left = 0, Top = 0"));
    EXPECT_FALSE(HandBox().Place());
    EXPECT_FALSE(HandBox().btnInitNow.Visible());
    EXPECT_FALSE(HandBox().lblAdministrator.Visible());
}

TEST_F(HandBoxSettings, SavePosition_StoresAMoveOnceAndThenRests) {
    Start();
    HandBox().EnsureLoaded();
    machine.AdvanceTime(50);
    EXPECT_FALSE(HandBox().tmrSavePos.Enabled());
    const std::size_t mark = log.size();
    HandBox().Moved({0, 0, 400, 600});  // as it stood
    EXPECT_FALSE(HandBox().tmrSavePos.Enabled());
    HandBox().Moved({40, 30, 440, 630});
    HandBox().Moved({44, 33, 444, 633});
    machine.AdvanceTime(500);
    EXPECT_EQ(Setting("FormTop"), "33");
    EXPECT_EQ(Setting("FormLeft"), "44");
    EXPECT_EQ(WrittenSince(mark).size(), 2U);
    EXPECT_FALSE(HandBox().tmrSavePos.Enabled());
    EXPECT_TRUE(LoggedAs("SaveFormPosition", 0, "Left = 44, Top = 33"));
}

TEST_F(HandBoxSettings, UserShow_ComesUpOrGoesToTheTray) {
    Start();
    driver->panel.UserShow();
    EXPECT_TRUE(HandBox().Visible());
    EXPECT_FALSE(HandBox().bForceMinimize);
    driver->persist.WriteIniValue("MinimizeStatusWindow", "1");
    driver->panel.UserShow();
    EXPECT_FALSE(HandBox().Visible());
    EXPECT_TRUE(HandBox().bForceMinimize);
    EXPECT_EQ(HandBox().tmrMinimize.Interval(), 1000);
}

TEST_F(HandBoxSettings, StoredEntryBehindTheEndOfAList_IsItsLast) {
    Seed({{"cbxMoveRate", "7"}});
    Start();
    HandBox().cbxMoveRate.ListItems({"a", "b", "c", "d", "e"});
    driver->panel.UpdateControls();
    EXPECT_EQ(HandBox().cbxMoveRate.ListIndex(), 4);
    EXPECT_EQ(Setting("cbxMoveRate"), "7");
}

TEST_F(HandBoxSettings, RateListsThatTheMountFilled_StayAndTakeTheStoredEntry) {
    Seed({{"cbxMoveRate", "3"}, {"cbxInitSlewRate", "99"}});
    const auto telescope = ConnectedTelescope();
    const std::vector<std::string> items = HandBox().cbxMoveRate.ListItems();
    driver->panel.UpdateControls();
    EXPECT_EQ(HandBox().cbxMoveRate.ListItems(), items);
    EXPECT_EQ(HandBox().cbxMoveRate.ListIndex(), 3);
    EXPECT_EQ(HandBox().cbxInitSlewRate.ListIndex() + 1,
              static_cast<std::int32_t>(HandBox().cbxInitSlewRate.ListItems().size()));
    EXPECT_EQ(Setting("cbxInitSlewRate"), "99");
    HandBox().cbxMoveRate.ListIndex(1);
    EXPECT_EQ(Setting("cbxMoveRate"), "1");
}

TEST_F(HandBoxSettings, Connect_FillsTheLabelsOfMountAndSite) {
    auto telescope = ConnectedTelescope();
    driver->panel.UpdateControls();
    EXPECT_EQ(HandBox().lblMountType.Text(), driver->mount.Name());
    EXPECT_EQ(driver->statusWindow.lblMountType.Text(), driver->mount.Name());
    EXPECT_NE(HandBox().lblMountType.Text(), "");
    EXPECT_EQ(driver->statusWindow.lblControlBox.Text(), driver->mount.ControllerName);
    EXPECT_NE(driver->statusWindow.lblControlBox.Text(), "");
    EXPECT_EQ(HandBox().lblSiteTag.Text(), "Default");
    EXPECT_EQ(HandBox().txtSiteName.Text(), "Default");
    EXPECT_EQ(HandBox().txtLatitude.Text(), "N 00 00 00.0");
}

}  // namespace
}  // namespace kestrane
