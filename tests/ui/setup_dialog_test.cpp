#include <set>
#include <string>
#include <vector>

#include "setup_fixture.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

using Texts = std::vector<std::string>;

struct CheckRow {
    std::string key;  ///< and name of the box
    bool byDefault;
    bool resets;  ///< with the options
};

const CheckRow kCheckRows[] = {
    {"chkIPAddress", false, false},
    {"chkQUAY", false, false},
    {"chkQuayRestApi", false, false},
    {"chkUseASCOMSerialObject", false, false},
    {"chkAllowConnectIfMountNotPresent", false, false},
    {"chkSetLongLat", true, true},
    {"chkSyncMountToPCTime", true, true},
    {"chkSetGuiderRate", true, true},
    {"chkSetPEM", true, true},
    {"chkSetSlewRate", true, true},
    {"chkSetRABacklash", true, true},
    {"chkSetDecBacklash", true, true},
    {"chkEnableDebugLog", false, true},
    {"chkEnableMountTracking", true, true},
    {"chkKeepMountTimeSyncedToPcTime", true, true},
    {"chkShowInTaskBar", true, true},
    {"chkShowPulseGuideMovements", false, true},
    {"chkAutoEnableTracking", false, true},
    {"chkAutoCalibrateOnFirstSlew", true, true},
    {"chkRaMoveAxisOfZeroStopsTracking", false, true},
    {"chkNewVersion", true, true},
    {"chkAlwaysOnTop", true, true},
    {"chkRememberPosition", false, true},
    {"chkAsyncPark", false, true},
    {"MinimizeStatusWindow", false, true},
    {"chkUseRCAL", true, true},
};

struct TextRow {
    std::string key;
    std::string byDefault;
    std::string stored;
    std::string written;
};

const TextRow kTextRows[] = {
    {"txtIpAddress", "", "mount.example", "10.0.0.7:81"},
    {"txtConnectTimeout", "1", "30", "0"},
    {"txtScopeAperture", "0", "155", "200.5"},
    {"txtScopeFocalLength", "0", "1085", "2000"},
    {"txtCustomSlewRate", "600", "700", "800"},
    {"txtInitRaBacklash", "0", "5", "7"},
    {"txtInitDecBacklash", "0", "6", "8"},
};

struct ListRow {
    std::string key;
    std::int32_t byDefault;
    std::int32_t stored;
    std::int32_t chosen;
};

const ListRow kListRows[] = {
    {"cbxInitGuideRate", 2, 1, 0}, {"cbxInitPEM", 0, 1, 0},    {"cbxInitSlewRate", 2, 1, 0},
    {"cbxParkTo", 0, 3, 6},        {"cbxUnparkFrom", 0, 7, 6}, {"cbxWindowsPriority", 1, 4, 0},
};

class SetupDialogTest : public SetupFixture {
protected:
    CheckBox& Box(const std::string& name) { return *Form().Find<CheckBox>(name); }
    TextBox& Text(const std::string& name) { return *Form().Find<TextBox>(name); }
    ComboBox& List(const std::string& name) { return *Form().Find<ComboBox>(name); }
};

// --- opening

TEST_F(SetupDialogTest, Opening_ShowsTheDefaults) {
    Open([&] {
        for (const CheckRow& row : kCheckRows) {
            const bool asTheFixture = row.key == "chkEnableDebugLog";  // whose tests need the log
            EXPECT_EQ(Box(row.key).Checked(), row.byDefault || asTheFixture) << row.key;
        }
        for (const TextRow& row : kTextRows) {
            EXPECT_EQ(Text(row.key).Text(), row.byDefault) << row.key;
        }
        for (const ListRow& row : kListRows) {
            EXPECT_EQ(List(row.key).ListIndex(), row.byDefault) << row.key;
        }
        EXPECT_EQ(Form().cbxPort.Text(), "COM1");
        EXPECT_EQ(Form().cbxTimeout.Text(), "500");
        EXPECT_EQ(Form().cbxRetry.Text(), "2");
        EXPECT_EQ(Form().lblVersion.Text(), "Kestrane V2 - v5.50.03");
    });
}

TEST_F(SetupDialogTest, Opening_ShowsTheSettings_EachTimeAnew) {
    SettingTexts settings{{"Port", "COM4"}, {"Timeout", "2000"}, {"Retry", "5"}, {"chkIPAddress", "0"}};
    for (const CheckRow& row : kCheckRows) {
        if (row.key != "chkIPAddress") {
            settings.emplace_back(row.key, row.byDefault ? "0" : "1");
        }
    }
    for (const TextRow& row : kTextRows) {
        settings.emplace_back(row.key, row.stored);
    }
    for (const ListRow& row : kListRows) {
        settings.emplace_back(row.key, std::to_string(row.stored));
    }
    Seed(settings);
    for (int opening = 0; opening < 2; ++opening) {
        Open([&] {
            for (const CheckRow& row : kCheckRows) {
                EXPECT_EQ(Box(row.key).Checked(), row.key != "chkIPAddress" && !row.byDefault) << row.key;
                const FillsForm filling(Form());
                Box(row.key).Checked(!Box(row.key).Checked());
            }
            for (const TextRow& row : kTextRows) {
                EXPECT_EQ(Text(row.key).Text(), row.stored) << row.key;
                Text(row.key).Text(row.written);
            }
            for (const ListRow& row : kListRows) {
                EXPECT_EQ(List(row.key).ListIndex(), row.stored) << row.key;
                List(row.key).ListIndex(row.chosen);
            }
            EXPECT_EQ(Form().cbxPort.Text(), "COM4");
            EXPECT_EQ(Form().cbxTimeout.Text(), "2000");
            EXPECT_EQ(Form().cbxRetry.Text(), "5");
        });
    }
}

TEST_F(SetupDialogTest, FixedLists_HaveTheirEntries) {
    Seed({{"txtUserParkAlt", "12.345"}, {"txtUserParkAz", "7"}});
    const std::string place = "Alt/Az  ( 12.35 | 7.00 )";
    Open([&] {
        EXPECT_EQ(Form().cbxWindowsPriority.ListItems(),
                  (Texts{"High", "Above Normal", "Normal", "Below Normal", "Low"}));
        EXPECT_EQ(Form().cbxInitPEM.ListItems(), (Texts{"Disable PEM", "Enable PEM"}));
        EXPECT_EQ(Form().cbxParkTo.ListItems(),
                  (Texts{"Current Position", "Park 1", "Park 2", "Park 3", "Park 4", "Park 5", place}));
        EXPECT_EQ(Form().cbxUnparkFrom.ListItems(),
                  (Texts{"Last Parked", "Park 1", "Park 2", "Park 3", "Park 4", "Park 5", place, "Don't Unpark"}));
        EXPECT_EQ(Form().cbxRetry.ListItems(), (Texts{"0", "1", "2", "3", "4", "5"}));
        EXPECT_EQ(Form().txtInitRaBacklash.ToolTip(), "Range is 0-59 arc-seconds");
        EXPECT_EQ(Form().txtInitDecBacklash.ToolTip(), "Range is 0-59 arc-seconds");
        EXPECT_EQ(Form().txtConnectTimeout.ToolTip(), "Range is 1-600 seconds, 0 = forever.");
    });
}

TEST_F(SetupDialogTest, ParkPositionOfTheHandBox_IsFoundByItsBeginning) {
    Seed({{"cbxParkTo", "5"}, {"cbxParkToText", "Alt/Az"}, {"cbxUnparkFrom", "5"}, {"cbxUnparkFromText", ""}});
    Open([&] {
        EXPECT_EQ(Form().cbxParkTo.ListIndex(), 6);
        EXPECT_EQ(Form().cbxUnparkFrom.ListIndex(), 6) << "as older settings have it";
    });
}

struct TimeoutRow {
    const char* stored;
    Texts items;
    const char* shown;
};

TEST_F(SetupDialogTest, Timeouts_AreTheUsualOnes_AndTheStoredOne) {
    const Texts usual{"250", "500", "1000", "2000", "5000"};
    for (const TimeoutRow& row : {TimeoutRow{"1000", usual, "1000"}, TimeoutRow{"", usual, "500"},
                                  TimeoutRow{"700", {"250", "500", "1000", "2000", "5000", "700"}, "700"}}) {
        Seed({{"Timeout", row.stored}});
        driver.reset();
        EXPECT_TRUE(OpenAndAccept([&] {
            EXPECT_EQ(Form().cbxTimeout.ListItems(), row.items);
            EXPECT_EQ(Form().cbxTimeout.Text(), row.shown);
        }));
        EXPECT_EQ(Setting("Timeout"), row.shown) << "OK changes nothing by itself";
    }
}

TEST_F(SetupDialogTest, OpenedTwice_DoesNothingTheSecondTime) {
    EXPECT_TRUE(OpenAndAccept([&] {
        Form().txtScopeAperture.Text("77");
        EXPECT_FALSE(driver->setupDialog.ShowModal());
        EXPECT_EQ(Form().txtScopeAperture.Text(), "77") << "nothing is filled anew";
        EXPECT_TRUE(Form().Visible());
    }));
    EXPECT_EQ(Setting("txtScopeAperture"), "77");
}

TEST_F(SetupDialogTest, WithoutAView_ReturnsAtOnce_AsCancelled) {
    StartOnce();
    const std::int64_t before = machine.clock.Elapsed();
    EXPECT_FALSE(driver->setupDialog.ShowModal());
    EXPECT_EQ(machine.clock.Elapsed(), before);
    EXPECT_FALSE(Form().Loaded());
    EXPECT_TRUE(LoggedAs("frmInitialSetup", 1, "No window can be shown: the question counts as cancelled"));
}

TEST_F(SetupDialogTest, LastViewThatLeaves_ClosesTheWindow_AsCancelled) {
    Seed({{"MountType", "5"}, {"Controller", "3"}});
    StartOnce();
    Onlooker view;
    Form().Attach(view);
    machine.pump.Post(CallKind::Brief, [&] {
        EXPECT_TRUE(Form().Visible());
        Form().txtScopeAperture.Text("77");
        Form().cbxController.ListIndex(4);
        Form().Detach(view);
    });
    EXPECT_FALSE(driver->setupDialog.ShowModal());
    EXPECT_FALSE(Form().Loaded());
    EXPECT_EQ(driver->mount.ControllerName, "VTRKC4");
    EXPECT_EQ(Setting("txtScopeAperture"), "0");
    EXPECT_TRUE(OpenAndAccept([] {})) << "it opens again";
}

TEST_F(SetupDialogTest, EndOfTheProcess_ClosesTheWindow_AsCancelled) {
    EXPECT_FALSE(Open([&] {
        Form().cbxController.ListIndex(0);
        driver->connections.ShutdownDriver();
        EXPECT_FALSE(Form().Visible());
    }));
}

// --- link

TEST_F(SetupDialogTest, IpAddress_SwitchesTheGroup) {
    Seed({{"Controller", "3"}});
    Open([&] {
        EXPECT_EQ(Form().frmComm.Caption(), "COM Port Details");
        EXPECT_EQ(Form().lblPortType.Text(), "Port:");
        EXPECT_TRUE(Form().cbxPort.Visible());
        EXPECT_FALSE(Form().txtIpAddress.Visible());
        Form().chkIPAddress.Checked(true);
        EXPECT_EQ(Form().frmComm.Caption(), "IP Address Details");
        EXPECT_EQ(Form().lblPortType.Text(), "IP Address:");
        EXPECT_FALSE(Form().cbxPort.Visible());
        EXPECT_TRUE(Form().txtIpAddress.Visible());
        Form().chkIPAddress.Checked(false);
        EXPECT_EQ(Form().lblPortType.Text(), "Port:");
    });
}

TEST_F(SetupDialogTest, Companion_ShowsItsAddress_WhileBothBoxesAreTicked) {
    Open([&] {
        EXPECT_FALSE(Form().txtQuayIpAddr.Visible());
        Form().chkQuayRestApi.Checked(true);
        EXPECT_FALSE(Form().txtQuayIpAddr.Visible());
        Form().chkQUAY.Checked(true);
        EXPECT_TRUE(Form().txtQuayIpAddr.Visible());
        EXPECT_EQ(Form().txtQuayIpAddr.Text(), "127.0.0.1:60001");
        EXPECT_FALSE(Form().txtQuayIpAddr.Enabled());
        Form().chkQuayRestApi.Checked(false);
        EXPECT_FALSE(Form().txtQuayIpAddr.Visible());
        EXPECT_EQ(Form().txtQuayIpAddr.Text(), "");
    });
    machine.applicationSettings.Set("QUAY", "Driver", "RestApiPort", "60123");
    for (const auto& [key, text] : SettingTexts{{"chkQUAY", "1"}, {"chkQuayRestApi", "1"}}) {
        driver->persist.WriteIniValue(key, text);
    }
    Open([&] { EXPECT_EQ(Form().txtQuayIpAddr.Text(), "127.0.0.1:60123"); });
}

TEST_F(SetupDialogTest, BoxesOfTheLink_AreShownAsTheLinkReadsThem) {
    struct Row {
        const char* text;
        bool ip;
        bool rest;
    };
    for (const Row& row : {Row{"0", false, false}, Row{"1", true, true}, Row{"2", true, false}, Row{"", true, false},
                           Row{"True", true, false}}) {
        Seed({{"chkIPAddress", row.text}, {"chkQuayRestApi", row.text}, {"Controller", "3"}});
        driver.reset();
        Open([&] {
            EXPECT_EQ(Form().chkIPAddress.Checked(), row.ip) << row.text;
            EXPECT_EQ(Form().chkQuayRestApi.Checked(), row.rest) << row.text;
        });
    }
}

TEST_F(SetupDialogTest, WhileTheLinkIsConnected_RoadAndMountCannotBeChosen) {
    const auto enabled = [&] {
        return std::vector<bool>{Form().chkIPAddress.Enabled(),  Form().txtIpAddress.Enabled(),
                                 Form().chkQUAY.Enabled(),       Form().chkQuayRestApi.Enabled(),
                                 Form().cbxPort.Enabled(),       Form().cbxMountType.Enabled(),
                                 Form().cbxController.Enabled(), Form().chkUseASCOMSerialObject.Enabled()};
    };
    StartOnce();
    driver->state.g_nScopeObjects = 9;
    Open([&] {
        EXPECT_EQ(enabled(), std::vector<bool>(8, true));
        EXPECT_TRUE(Form().cbxTimeout.Enabled());
    });
    TelescopeObject telescope = ConnectedTelescope();
    Open([&] {
        EXPECT_EQ(enabled(), std::vector<bool>(8, false));
        EXPECT_TRUE(Form().cbxTimeout.Enabled());
    });
}

TEST_F(SetupDialogTest, ConnectWhileTheWindowIsOpen_ClosesTheChoice) {
    StartOnce();
    const TelescopeObject telescope = driver->CreateTelescope();
    Open([&] {
        EXPECT_TRUE(Form().cbxController.Enabled());
        telescope->Connected(true);
        driver->waits.WaitForMilliseconds(1'000);
        EXPECT_FALSE(Form().cbxController.Enabled());
    });
    driver->state.g_nScopeObjects = 9;
}

// --- OK

TEST_F(SetupDialogTest, OK_StoresEachControlUnderItsKey) {
    Seed({{"Controller", "3"}, {"txtUserParkAlt", "12.3"}});
    EXPECT_TRUE(OpenAndAccept([&] {
        AnswerWarning(true);
        for (const CheckRow& row : kCheckRows) {
            const FillsForm filling(Form());
            Box(row.key).Checked(!row.byDefault);
        }
        for (const TextRow& row : kTextRows) {
            Text(row.key).Text(row.written);
        }
        for (const ListRow& row : kListRows) {
            List(row.key).ListIndex(row.chosen);
        }
        Form().cbxTimeout.ListIndex(3);
        Form().cbxRetry.ListIndex(4);
    }));
    for (const CheckRow& row : kCheckRows) {
        EXPECT_EQ(Setting(row.key), row.byDefault ? "0" : "1") << row.key;
    }
    for (const TextRow& row : kTextRows) {
        EXPECT_EQ(Setting(row.key), row.written) << row.key;
    }
    for (const ListRow& row : kListRows) {
        EXPECT_EQ(Setting(row.key), std::to_string(row.chosen)) << row.key;
    }
    EXPECT_EQ(Setting("Timeout"), "2000");
    EXPECT_EQ(Setting("Retry"), "4");
    EXPECT_EQ(Setting("cbxParkToText"), "Alt/Az  ( 12.30 | 0.00 )");
    EXPECT_EQ(Setting("cbxUnparkFromText"), "Alt/Az  ( 12.30 | 0.00 )");
    EXPECT_FALSE(driver->handBox.chkUseRCAL.Checked()) << "the hand box is filled anew";
    EXPECT_EQ(driver->handBox.cbxParkTo.ListIndex(), 6);
}

TEST_F(SetupDialogTest, OK_WritesTheStatedKeys_AndNoOther) {
    Seed({{"chkEnableDebugLog", "1"}, {"MountRateType", ""}});
    StartOnce();
    log.clear();
    EXPECT_TRUE(OpenAndAccept([&] { log.clear(); }));
    std::set<std::string> written;
    for (const LogLine& line : log) {
        if (line.origin == "WriteIniValue") {
            written.insert(line.message.substr(0, line.message.find("=>")));
        }
    }
    std::set<std::string> stated{"Port",        "Timeout",  "Retry",     "SiteName",      "SiteListIndex",
                                 "SiteDbIndex", "Latitude", "Longitude", "Elevation",     "MountType",
                                 "Controller",  "FormTop",  "FormLeft",  "cbxParkToText", "cbxUnparkFromText"};
    for (const CheckRow& row : kCheckRows) {
        stated.insert(row.key);
    }
    for (const TextRow& row : kTextRows) {
        stated.insert(row.key);
    }
    for (const ListRow& row : kListRows) {
        stated.insert(row.key);
    }
    EXPECT_EQ(written, stated);
}

TEST_F(SetupDialogTest, OK_DeletesTheOlderFormOfThePosition) {
    SettingTexts old;
    for (const std::string_view key : kRemovedKeys) {
        old.emplace_back(key, "1");
    }
    Seed(old);
    Open([] {});
    const auto left = [&] {
        std::size_t count = 0;
        for (const std::string_view key : kRemovedKeys) {
            count += driver->persist.ReadIfAnswered(key, "gone").value_or("") == "1" ? 1U : 0U;
        }
        return count;
    };
    EXPECT_EQ(left(), kRemovedKeys.size()) << "Cancel deletes nothing";
    EXPECT_TRUE(OpenAndAccept([] {}));
    EXPECT_EQ(left(), 0U);
}

TEST_F(SetupDialogTest, OK_StoresThePlaceOfTheHandBox) {
    Seed({{"FormTop", "50"}, {"FormLeft", "60"}});
    StartOnce();
    driver->handBox.EnsureLoaded();
    driver->handBox.left = 70;
    EXPECT_TRUE(OpenAndAccept([] {}));
    EXPECT_EQ(Setting("FormTop"), "50");
    EXPECT_EQ(Setting("FormLeft"), "70");
}

TEST_F(SetupDialogTest, LatePressOfOK_StoresNothing) {
    EXPECT_FALSE(Open([&] {
        Form().txtScopeAperture.Text("77");
        Form().btnCancel.FireClick();
        Form().btnOK.FireClick();
    }));
    EXPECT_EQ(Setting("txtScopeAperture"), "0");
}

// --- Cancel and the defaults

TEST_F(SetupDialogTest, Cancel_WritesNoSetting) {
    Open([] {});
    const Texts before = AllSettings();
    EXPECT_FALSE(Open([&] {
        for (const CheckRow& row : kCheckRows) {
            const FillsForm filling(Form());
            Box(row.key).Checked(!row.byDefault);
        }
        for (const TextRow& row : kTextRows) {
            Text(row.key).Text(row.written);
        }
        for (const ListRow& row : kListRows) {
            List(row.key).ListIndex(row.chosen);
        }
        Form().cbxMountType.ListIndex(8);
        Form().cbxTimeout.ListIndex(3);
        Form().cbxRetry.ListIndex(4);
    }));
    EXPECT_EQ(AllSettings(), before);
}

TEST_F(SetupDialogTest, OK_PutsAnOpenLogWindowAboveOthers_AsTheBoxSays) {
    StartOnce();
    driver->handBox.mPopShowLogWindow.FireClick();
    for (const bool onTop : {false, true}) {
        EXPECT_TRUE(OpenAndAccept([&] { Form().chkAlwaysOnTop.Checked(onTop); }));
        EXPECT_EQ(driver->logWindow.AlwaysOnTop(), onTop);
        EXPECT_EQ(driver->handBox.AlwaysOnTop(), onTop);
    }
}

TEST_F(SetupDialogTest, RetryThatIsOnlyShown_IsStoredOnceAPersonHasChosenIt) {
    Seed({{"Retry", "9"}});
    StartOnce();
    EXPECT_TRUE(OpenAndAccept([&] {
        Form().cbxRetry.ListIndex(4);
        Form().cbxRetry.ListIndex(5);
    }));
    EXPECT_EQ(Setting("Retry"), "5");
}

struct RetryRow {
    const char* stored;
    const char* shown;
};

class SetupRetryTest : public SetupDialogTest, public testing::WithParamInterface<RetryRow> {};

TEST_P(SetupRetryTest, IsShownAsTheLinkReadsIt_AndStaysUnlessAnotherIsChosen) {
    Seed({{"Retry", GetParam().stored}});
    StartOnce();
    EXPECT_TRUE(OpenAndAccept([] {}));
    EXPECT_EQ(Setting("Retry"), GetParam().stored);
    EXPECT_TRUE(OpenAndAccept([&] {
        EXPECT_EQ(Form().cbxRetry.Text(), GetParam().shown);
        Form().cbxRetry.ListIndex(1);
    }));
    EXPECT_EQ(Setting("Retry"), "1");
}

INSTANTIATE_TEST_SUITE_P(Texts, SetupRetryTest,
                         testing::Values(RetryRow{"0", "0"}, RetryRow{"5", "5"}, RetryRow{"9", "5"},
                                         RetryRow{"-1", "0"}, RetryRow{"rubbish", "2"}));

TEST_F(SetupDialogTest, ResetToDefaults_ReturnsTheOptions_AndStoresNothing) {
    SettingTexts settings{{"Port", "COM4"},   {"Timeout", "2000"}, {"cbxInitPEM", "1"}, {"cbxWindowsPriority", "4"},
                          {"MountType", "5"}, {"Controller", "3"}};
    for (const CheckRow& row : kCheckRows) {
        settings.emplace_back(row.key, row.byDefault ? "0" : "1");
    }
    for (const TextRow& row : kTextRows) {
        settings.emplace_back(row.key, row.stored);
    }
    for (const char* const key : {"cbxInitGuideRate", "cbxInitSlewRate"}) {
        settings.emplace_back(key, "0");
    }
    for (const char* const key : {"cbxParkTo", "cbxUnparkFrom"}) {
        settings.emplace_back(key, "3");
    }
    Seed(settings);
    Open([] {});
    const Texts before = AllSettings();
    Open([&] {
        Paint(Form().txtConnectTimeout, kFaultColours);
        Form().btnResetToDefaults.FireClick();
        EXPECT_EQ(Form().txtConnectTimeout.BackColour(), kNormalColours.back) << "its value is good now";
        for (const CheckRow& row : kCheckRows) {
            EXPECT_EQ(Box(row.key).Checked(), row.resets ? row.byDefault : !row.byDefault) << row.key;
        }
        EXPECT_EQ(Form().txtInitRaBacklash.Text(), "0");
        EXPECT_EQ(Form().txtInitDecBacklash.Text(), "0");
        EXPECT_EQ(Form().txtConnectTimeout.Text(), "1");
        EXPECT_EQ(Form().cbxInitGuideRate.ListIndex(), 2);
        EXPECT_EQ(Form().cbxInitSlewRate.ListIndex(), 2);
        EXPECT_EQ(Form().cbxParkTo.ListIndex(), 0);
        EXPECT_EQ(Form().cbxUnparkFrom.ListIndex(), 0);
        EXPECT_EQ(Form().cbxPort.Text(), "COM4") << "the link stays";
        EXPECT_EQ(Form().cbxTimeout.Text(), "2000");
        EXPECT_EQ(Form().txtIpAddress.Text(), "mount.example");
        EXPECT_EQ(Form().cbxMountType.Text(), "Fir VTR");
        EXPECT_EQ(Form().txtScopeAperture.Text(), "155");
        EXPECT_EQ(AllSettings(), before);
    });
    EXPECT_EQ(AllSettings(), before);
}

// --- plain syncs

TEST_F(SetupDialogTest, UntickingRecals_IsAskedAbout) {
    for (const bool accepts : {false, true}) {
        Open([&] {
            AnswerWarning(accepts);
            Form().chkUseRCAL.Checked(false);
            EXPECT_EQ(Captions(), (Texts{"OK to continue unchecked", "CANCEL to leave checked"}));
            EXPECT_EQ(Form().chkUseRCAL.Checked(), !accepts);
            EXPECT_EQ(Setting("chkUseRCAL"), "1") << "nothing is stored before OK";
        });
    }
}

TEST_F(SetupDialogTest, OKWithPlainSyncs_AsksEachTime_AlsoWhenTheyWereChosenBefore) {
    Seed({{"chkUseRCAL", "0"}});
    EXPECT_FALSE(Open([&] {
        AnswerWarning(false);
        Form().btnOK.FireClick();
        EXPECT_EQ(Captions(), (Texts{"OK to close window", "CANCEL to return to setup"}));
        EXPECT_TRUE(Form().Visible());
    }));
    EXPECT_TRUE(OpenAndAccept([&] { AnswerWarning(true); }));
    EXPECT_EQ(Setting("chkUseRCAL"), "0");
}

TEST_F(SetupDialogTest, OKWithPlainSyncs_WithoutAnAnswer_Stays) {
    Seed({{"chkUseRCAL", "0"}});
    EXPECT_FALSE(OpenAndAccept([] {})) << "no view shows the question";
}

TEST_F(SetupDialogTest, WindowThatIsClosedDuringTheQuestion_StoresNothing) {
    Seed({{"chkUseRCAL", "0"}});
    EXPECT_FALSE(Open([&] {
        Form().txtScopeAperture.Text("77");
        AnswerWarning(true);
        const auto other = machine.pump.CreateTimer([&] { Form().btnCancel.FireClick(); });
        other->SetInterval(50);
        other->SetEnabled(true);
        Form().btnOK.FireClick();
    }));
    EXPECT_EQ(Setting("txtScopeAperture"), "0");
}

TEST_F(SetupDialogTest, EditingOfASiteThatBeginsDuringTheQuestion_BlocksOK) {
    Seed({{"chkUseRCAL", "0"}});
    EXPECT_FALSE(Open([&] {
        AnswerWarning(true);
        const auto other = machine.pump.CreateTimer([&] { Form().txtElevation.Text("5"); });
        other->SetInterval(50);
        other->SetEnabled(true);
        Form().btnOK.FireClick();
        EXPECT_EQ(Shown(), "Please Save or Cancel Site Settings first!");
        EXPECT_TRUE(Form().Visible());
    }));
    EXPECT_NE(Setting("Elevation"), "5");
}

TEST_F(SetupDialogTest, OK_AsksAboutTheSiteFirst_ThenAboutPlainSyncs_ThenLooksAtTheFields) {
    Seed({{"chkUseRCAL", "0"}});
    Open([&] {
        Form().txtConnectTimeout.Text("601");
        Form().txtElevation.Text("5");
        Form().btnOK.FireClick();
        EXPECT_EQ(Shown(), "Please Save or Cancel Site Settings first!");
        Form().btnCancelSiteChange.FireClick();
        AnswerWarning(false);
        Form().btnOK.FireClick();
        EXPECT_EQ(machine.messageBoxes.shown.size(), 1U);
        AnswerWarning(true);
        Form().btnOK.FireClick();
        EXPECT_EQ(machine.messageBoxes.shown.size(), 2U);
        EXPECT_TRUE(Form().Visible());
    });
}

// --- tools

TEST_F(SetupDialogTest, AdvancedOptions_AreShownInTheLongWindow) {
    for (int opening = 0; opening < 2; ++opening) {
        Open([&] {
            EXPECT_EQ(Form().btnShowAdvancedOptions.Text(), "Advanced >>>>>>");
            EXPECT_FALSE(Form().frameOptions.Visible());
            Form().btnShowAdvancedOptions.FireClick();
            EXPECT_EQ(Form().btnShowAdvancedOptions.Text(), "SHRINK <<<<<<");
            EXPECT_TRUE(Form().frameOptions.Visible());
            Form().btnShowAdvancedOptions.FireClick();
            EXPECT_EQ(Form().btnShowAdvancedOptions.Text(), "Advanced >>>>>>");
            EXPECT_FALSE(Form().frameOptions.Visible());
            Form().btnShowAdvancedOptions.FireClick();
        });
    }
}

TEST_F(SetupDialogTest, OpenLogDirectory_OpensTheFolderOfTheLog) {
    Seed({{"chkEnableDebugLog", "1"}});
    Open([&] { Form().btnOpenLogDirectory.FireClick(); });
    ASSERT_NE(driver->state.g_sLogDir, "");
    EXPECT_EQ(machine.processes.opened, Texts{driver->state.g_sLogDir});
}

TEST_F(SetupDialogTest, QuaySettings_OpenTheirWindow) {
    Onlooker view;
    Open([&] {
        driver->quaySettingsForm.Attach(view);
        machine.pump.Post(CallKind::Brief, [&] {
            EXPECT_TRUE(driver->quaySettingsForm.Visible());
            driver->quaySettingsForm.Hide();
        });
        Form().btnQuaySettings.FireClick();
        driver->quaySettingsForm.Detach(view);
    });
}

TEST_F(SetupFixture, AddressThatIsStored_CanBeSeenAndCleared_AlsoWithAControllerWithoutAnAdapter) {
    Seed({{"chkIPAddress", "1"}, {"Controller", "0"}});
    StartOnce();
    driver->controller.Apply(Controller_Type::VTRKC1, 0, 0);
    OpenAndAccept([&] {
        EXPECT_TRUE(Form().chkIPAddress.Visible());
        EXPECT_TRUE(Form().chkIPAddress.Checked());
        Form().chkIPAddress.Checked(false);
    });
    EXPECT_EQ(Setting("chkIPAddress"), "0");
}

}  // namespace
}  // namespace kestrane
