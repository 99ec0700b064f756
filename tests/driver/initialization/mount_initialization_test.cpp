#include "telescope/mount/mount_initialization.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <string>

#include "driver/slews/slew_wire_fixture.h"
#include "settings/database.h"
#include "telescope/mount/mount_setup.h"

/// The initialization of a mount and its single steps, as they go over the wire.
namespace kestrane {
namespace {

const SettingTexts kNoSteps{{"chkSetLongLat", "0"},    {"chkSyncMountToPCTime", "0"}, {"chkSetDecBacklash", "0"},
                            {"chkSetRABacklash", "0"}, {"chkSetGuiderRate", "0"},     {"chkSetPEM", "0"},
                            {"chkSetSlewRate", "0"}};

class InitializationTest : public SlewWireTest {
protected:
    void TearDown() override {
        EndTheDriver();
        SlewWireTest::TearDown();
    }
    std::string Sent(const std::function<void()>& call) {
        return std::regex_replace(std::regex_replace(MotionDuring(call), std::regex("SL\\S+"), "SL"),
                                  std::regex("SC\\S+"), "SC");
    }
    /// The same without what each initialization by the verb begins with.
    std::string InitMount(const std::string& initString) {
        const std::string head = "# # Q U # # U";
        const std::string sent =
            Sent([&] { EXPECT_EQ(telescope->CommandString("RAW,InitMount," + initString, true), "1"); });
        EXPECT_TRUE(sent.starts_with(head)) << sent;
        return sent.size() > head.size() ? sent.substr(head.size() + 1) : "";
    }
    void AddSite(const std::string& name, const std::string& latitude, const std::string& longitude,
                 double elevation = 0.0) {
        Site site;
        site.Name = name;
        site.ElevationMeters = elevation;
        site.Latitude = latitude;
        site.Longitude = longitude;
        bool isNew = true;
        ASSERT_TRUE(driver->persist.database()->SetSite(site, isNew, SiteNames::AsTheyAre));
        driver->sites.GetAllSites();
    }
    Site Stored(const std::string& name) {
        RecordArray<Site> sites;
        driver->persist.database()->GetAllSites(sites);
        for (const auto& site : sites) {
            if (site && site->Name == name) {
                return *site;
            }
        }
        ADD_FAILURE() << "no site " << name;
        return {};
    }
    MountSetup Steps() { return MountSetup(driver->InternalInstance()); }
};

TEST_F(InitializationTest, TheStop_EndsTheAxes_AndACustomRateComesBack) {
    Connect("S");
    telescope->MoveAxis(0, 1.0);
    EXPECT_EQ(Sent([&] { telescope->CommandString("RAW,InitMount,PEM=2", true); }), "# # Q Q RT2 U # # U");
    EXPECT_FALSE(driver->axisMotions.AnyStillRuns());
    EXPECT_EQ(mount->Picture().tracking, '2') << "as before the axis";
    telescope->DeclinationRate(1.0);
    const double speed = mount->Picture().polarSpeed;
    ASSERT_GT(std::abs(speed), 1e-4);
    Sent([&] { telescope->CommandString("RAW,InitMount,PEM=2", true); });
    EXPECT_NEAR(mount->Picture().polarSpeed, speed, 1e-9);
}

// --- init strings

TEST_F(InitializationTest, TimeAlone_LeavesAllElse) {
    Connect("S");
    EXPECT_EQ(InitMount("SyncTime"), "SL SC");
    EXPECT_TRUE(driver->state.g_bTracking);
    EXPECT_TRUE(LoggedAs("UI_INIT", 0, "SyncTime"));
    EXPECT_TRUE(PollRuns());
}

struct ItemRow {
    std::string item;
    std::string sent;
};

class InitItems : public InitializationTest, public testing::WithParamInterface<ItemRow> {};

TEST_P(InitItems, SendsItsStepAlone) {
    Connect("S", {{"txtCustomSlewRate", " 800 "},
                  {"txtInitRaBacklash", "7"},
                  {"txtInitDecBacklash", "8"},
                  {"cbxInitTrackingRate", "0"}});
    EXPECT_EQ(InitMount(GetParam().item), GetParam().sent);
}

INSTANTIATE_TEST_SUITE_P(
    Items, InitItems,
    testing::Values(ItemRow{"Nonsense=3", ""}, ItemRow{"CustomSlewRate=700", ""},
                    ItemRow{"DecBacklash=60", "Bd0*00:59.9"}, ItemRow{"DecBacklash=-3", "Bd0*00:00.0"},
                    ItemRow{"DecBacklash=12.34", "Bd0*00:12.3"}, ItemRow{"RaBacklash=5", "Br0*00:05.0"},
                    ItemRow{"RaBacklash=-1", "Br0*00:07.0"}, ItemRow{"RaBacklash=60", "Br0*00:59.9"},
                    ItemRow{"RaBacklash=-3", "Br0*00:00.0"}, ItemRow{"DecBacklash=-1", "Bd0*00:08.0"},
                    ItemRow{"GuideRate=0", "RG0"}, ItemRow{"GuideRate=1", "RG1"}, ItemRow{"GuideRate=2", "RG2"},
                    ItemRow{"GuideRate=9", "RG2"}, ItemRow{"PEM=1", "pP"}, ItemRow{"PEM=0", "p"}, ItemRow{"PEM=2", ""},
                    ItemRow{"SlewRate=0", "RS0"}, ItemRow{"SlewRate=1", "RS1"}, ItemRow{"SlewRate=2", "RS2"},
                    ItemRow{"SlewRate=3", "Rs800"}, ItemRow{"SlewRate=4", ""}, ItemRow{"TrackingRate=0", "Q RT0"},
                    ItemRow{"TrackingRate=1", "Q RT1"}, ItemRow{"TrackingRate=2", "Q RT2"},
                    ItemRow{"TrackingRate=3", "# Q RT9"}, ItemRow{"TrackingRate=-1", "Q RT0"},
                    ItemRow{"TrackingRate=4", ""}, ItemRow{"Site=Nowhere", "U"}));

TEST_F(InitializationTest, AllItems_GoOutInTheirOrder) {
    Connect("S");
    AddSite("Home", "S 33 30 15.0", "E 151 12 30.0");
    EXPECT_EQ(InitMount("DecBacklash=2,RaBacklash=1,PEM=1,GuideRate=1,SlewRate=1,TrackingRate=0,Site=home,Unpark=2,"
                        "SyncTime"),
              "SL SC St-33*30:15 Sg-151*12:30 U "
              "RT9 U SM0:00:00.0 SL SC # Q RT2 Sa+00*00:10 Sz089*59:50 CM "
              "Bd0*00:02.0 Br0*00:01.0 RG1 pP RS1 Q RT0");
    EXPECT_EQ(driver->state.g_dGuideRate, 0.5);
    EXPECT_EQ(driver->statusWindow.lblGuidingRate.Text(), "0.50x");
    EXPECT_EQ(driver->statusWindow.lblSlewRate.Text(), "x900");
    EXPECT_EQ(driver->handBox.framePemSettings.Caption(), "PEM: Enabled");
    EXPECT_EQ(driver->statusWindow.lblPECState.Text(), "Enabled");
    EXPECT_EQ(driver->state.g_nPemState, 1);
}

TEST_F(InitializationTest, EachStep_FollowsOneThatTheMountRefuses) {
    Connect("S");
    AddSite("Home", "N 50 0 0", "W 10 0 0");
    driver->InternalInstance().MaxSerialRetries(0);
    for (const char* command : {"SL", "St", "Sg", "Bd0*00:", "Br0*00:"}) {
        mount->Add(std::make_unique<AnswersWith>(command, "0"));
    }
    EXPECT_EQ(InitMount("SyncTime,Site=Home,DecBacklash=2,RaBacklash=1,GuideRate=0"),
              "SL # SC St+50*00:00 # Sg010*00:00 # U Bd0*00:02.0 # Br0*00:01.0 # RG0");
    EXPECT_TRUE(Logged("KS mount rejected latitudeSiteLatitude = +50*00:00"));
    EXPECT_TRUE(Logged("KS mount rejected longitudeSiteLongitude = 010*00:00"));
    EXPECT_TRUE(Logged("Error setting Dec Backlash-> Dec Backlash = 2"));
    EXPECT_TRUE(Logged("Error setting RA Backlash-> RA Backlash = 1"));
    const auto line = [&](const std::string& text) {
        return std::ranges::find_if(log, [&](const LogLine& each) { return each.message.starts_with(text); });
    };
    EXPECT_EQ(driver->persist.Read(setting::Latitude), "N 50 0 0") << "stored although the mount has refused it";
    EXPECT_EQ(driver->persist.Read(setting::Longitude), "W 10 0 0");
    EXPECT_LT(line("SET SiteLongitude = "), line("SET SiteLatitude = "));
}

TEST_F(InitializationTest, RefusedHalfOfThePosition_EndsTheUnparkAlone) {
    for (const char* half : {"Sa", "Sz"}) {
        SCOPED_TRACE(half);
        Connect("S");
        ExpectSwallow("UnparkMount");
        driver->InternalInstance().MaxSerialRetries(0);
        mount->Add(std::make_unique<AnswersWith>(half, "0"));
        const bool altitude = std::string(half) == "Sa";
        EXPECT_EQ(InitMount("Unpark=4,PEM=1"), std::string("RT9 U SM0:00:00.0 SL SC # Q RT2 Sa+00*00:10 ") +
                                                   (altitude ? "" : "Sz180*00:10 ") + "# pP");
        EXPECT_TRUE(LoggedAs("Telescope", 2,
                             altitude ? "Unpark Mount, 4: KS mount rejected set TargetAltitude = +00*00:10"
                                      : "Unpark Mount, 4: KS mount rejected set TargetAzimuth = 180*00:10"));
        EndTheDriver();
    }
}

TEST_F(InitializationTest, DontUnparkInAString_ChoosesTheTracking_AndTheRestFollows) {
    Connect("S");
    driver->motion.MountReportsParked(true);
    driver->panel.SetParkStatus("Parked", "test");
    EXPECT_EQ(InitMount("Unpark=7,PEM=1"), "RT9 U SM0:00:00.0 SL SC # Q RT2 pP");
    EXPECT_TRUE(driver->state.g_bParked);
    EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Parked");
}

TEST_F(InitializationTest, ASilentMount_GetsEachStep_AndThePollGoesOn) {
    Connect("S");
    mount->SetLineDead(true);
    ExpectSwallow("CommandString");
    ExpectSwallow("CommandBool");
    driver->InternalInstance().MaxSerialRetries(0);
    const std::string sent = InitMount("SyncTime,DecBacklash=2,GuideRate=1");
    EXPECT_NE(sent.find("Bd0*00:02.0"), std::string::npos);
    EXPECT_TRUE(sent.ends_with("RG1"));
    EXPECT_TRUE(PollRuns());
}

TEST_F(InitializationTest, WithoutALink_NothingIsDone_AndTheReplyIsDone) {
    Connect("S");
    telescope->Connected(false);
    driver->state.g_nScopeConnects = 0;
    driver->state.g_bConnected = false;
    EXPECT_EQ(SentDuring([&] { EXPECT_EQ(telescope->CommandString("RAW,InitMount,PEM=1", true), "1"); }), "");
    EXPECT_EQ(SentDuring([&] { EXPECT_EQ(telescope->CommandString("RAW,InitMount", true), "1"); }), "");
    ExpectSwallow("ExecuteDriverCommand");
}

// --- the settings

TEST_F(InitializationTest, WithoutAString_TheSettingsDecide_AndTheStoredPosition) {
    for (const char* command : {"RAW,InitMount", "RAW,InitMount,"}) {
        Connect("S", {{"chkSetSlewRate", "1"},
                      {"cbxInitSlewRate", "0"},
                      {"cbxInitGuideRate", "1"},
                      {"cbxInitPEM", "1"},
                      {"txtInitRaBacklash", "3"},
                      {"txtInitDecBacklash", "4"},
                      {"cbxUnparkFrom", "0"}});
        if (driver->sites.CurrentSiteName() != "Home") {  // the settings are those of the round before
            AddSite("Home", "N 47 0 0", "E 10 0 0");
            driver->sites.g_SiteDbIndex(Stored("Home").id);
        }
        const std::string sent = Sent([&] { EXPECT_EQ(telescope->CommandString(command, true), "1"); });
        EXPECT_EQ(sent.substr(0, sent.find(" SL")), "# # # U");
        EXPECT_NE(sent.find(" St+"), std::string::npos) << sent;
        EXPECT_TRUE(sent.ends_with(" RT9 U SM0:00:00.0 SL SC # Q RT2 Bd0*00:04.0 Br0*00:03.0 RG1 pP RS0")) << sent;
        EXPECT_FALSE(driver->state.g_bParked);
        EndTheDriver();
    }
}

TEST_F(InitializationTest, EachSetting_TurnsItsStepOff) {
    SettingTexts settings = kNoSteps;
    settings.emplace_back("cbxUnparkFrom", "0");
    Connect("S", settings);
    AddSite("Home", "S 33 30 15.0", "E 151 12 30.0");
    driver->sites.g_SiteDbIndex(Stored("Home").id);
    const std::string unpark = " RT9 U SM0:00:00.0 SL SC # Q RT2";
    const auto init = [&] { return Sent([&] { telescope->CommandString("RAW,InitMount", true); }); };
    EXPECT_EQ(init(), "# # # U" + unpark);
    struct {
        const char* key;
        std::string before, after;
    } const rows[] = {{"chkSyncMountToPCTime", " SL SC", ""},
                      {"chkSetLongLat", " St-33*30:15 Sg-151*12:30 U", ""},
                      {"chkSetDecBacklash", "", " Bd0*00:00.0"},
                      {"chkSetRABacklash", "", " Br0*00:00.0"},
                      {"chkSetGuiderRate", "", " RG2"},
                      {"chkSetPEM", "", " p"},
                      {"chkSetSlewRate", "", " RS2"}};
    for (const auto& row : rows) {
        driver->persist.WriteIniValue(row.key, "1");
        EXPECT_EQ(init(), "# # # U" + row.before + unpark + row.after) << row.key;
        driver->persist.WriteIniValue(row.key, "0");
    }
}

TEST_F(InitializationTest, TrackingRateOfTheSettings_IsNotApplied) {
    Connect("S", {{"chkSetTrackingRate", "1"}, {"cbxInitTrackingRate", "0"}});
    EXPECT_EQ(Sent([&] { telescope->CommandString("RAW,InitMount", true); }).find("RT0"), std::string::npos);
}

TEST_F(InitializationTest, PositionThatNobodyHasChosen_IsWhereTheMountStands) {
    Connect("S", kNoSteps);
    EXPECT_EQ(Sent([&] { telescope->CommandString("RAW,InitMount", true); }),
              "# # # U RT9 U SM0:00:00.0 SL SC # Q RT2");
    EXPECT_TRUE(PollRuns());
}

TEST_F(InitializationTest, StoredPosition_OfAMountThatWasNotParked_IsNotUsedUnconfirmed) {
    SettingTexts settings = kNoSteps;
    settings.insert(settings.end(), {{"chkSetSlewRate", "1"}, {"cbxUnparkFrom", "5"}, {"cbxUnparkFromText", "Park 5"}});
    Connect("S", settings);
    driver->panel.SetMeridianDelayUI(1.5);
    EXPECT_EQ(Sent([&] { telescope->CommandString("RAW,InitMount", true); }), "# # # U RS2")
        << "nothing of the unpark goes out, not even the end of the tracking";
    EXPECT_TRUE(LoggedAs("frmAskUnpark", 1, "No window can be shown: the question counts as cancelled"));
    EXPECT_TRUE(telescope->Tracking());
    EXPECT_EQ(mount->Picture().tracking, '2');
    EXPECT_EQ(driver->state.g_dMeridianDelay, 1.5);
    EXPECT_TRUE(PollRuns());
    driver->motion.MountReportsParked(true);
    EXPECT_NE(Sent([&] { telescope->CommandString("RAW,InitMount", true); }).find("Sz000*00:10 CM"), std::string::npos);
}

TEST_F(InitializationTest, OldIndexOfTheUsersPlace_IsUnderstood) {
    Connect("S", {{"cbxUnparkFrom", "5"}, {"txtUserParkAlt", "12"}, {"txtUserParkAz", "34"}});
    driver->persist.WriteIniValue("cbxUnparkFromText", "");
    driver->motion.MountReportsParked(true);
    EXPECT_NE(Sent([&] { telescope->CommandString("RAW,InitMount", true); }).find("Sa+12*00:00 Sz034*00:00 CM"),
              std::string::npos);
}

TEST_F(InitializationTest, AfterPowerOn_TheTrackingIsChosenOnceMoreAtTheEnd) {
    for (const bool tracks : {true, false}) {
        MountSimulatorOptions options;
        options.firmware = "S";
        options.parkedAtPowerOn = true;
        Connect(options, {{"cbxUnparkFrom", "3"}, {"chkEnableMountTracking", tracks ? "1" : "0"}});
        ASSERT_FALSE(mount->Picture().initialised);
        EXPECT_EQ(InitMount("Unpark=2,PEM=1"),
                  tracks ? "RT9 U SM0:00:00.0 SL SC PO RT2 Sa+00*00:10 Sz090*00:10 CM U pP Q RT2"
                         : "RT9 U SM0:00:00.0 SL SC PO RT9 Sa+00*00:10 Sz090*00:10 CM U pP # Q RT9");
        EXPECT_EQ(driver->state.g_bTracking, tracks);
        EXPECT_EQ(mount->Picture().tracking, tracks ? '2' : '9');
        EndTheDriver();
    }
}

TEST_F(InitializationTest, WithoutUnparking_TheFormatIsToggledTwice) {
    Connect("S", {{"chkSetLongLat", "0"},
                  {"chkSyncMountToPCTime", "0"},
                  {"chkSetDecBacklash", "0"},
                  {"chkSetRABacklash", "0"},
                  {"chkSetGuiderRate", "0"},
                  {"chkSetPEM", "0"}});
    driver->motion.MountReportsParked(true);
    EXPECT_EQ(
        Sent([&] { MountInitialization(driver->InternalInstance()).InitAfterParkCheck(false, Confirmation::Offered); }),
        "# U # # U");
    EXPECT_TRUE(driver->state.g_bParked);
    EXPECT_TRUE(mount->Picture().longFormat);
}

// --- sites

TEST_F(InitializationTest, SiteThatNobodyHasSet_IsNotSent) {
    Connect("S");
    ASSERT_EQ(driver->sites.CurrentSiteName(), "Default");
    EXPECT_EQ(Sent([&] { telescope->CommandString("RAW,InitMount", true); }).find("St"), std::string::npos);
    EXPECT_TRUE(LoggedAs("UI_INIT", 1, "Nobody has set the site yet: the mount keeps its own"));
    EXPECT_EQ(mount->Picture().latitude, 47.0);
    telescope->SiteLatitude(12.0);
    EXPECT_NE(Sent([&] { telescope->CommandString("RAW,InitMount", true); }).find("St+12*00:00"), std::string::npos);
}

TEST_F(InitializationTest, SiteThatIsNamed_BecomesTheCurrentOne_AndNoOtherChanges) {
    Connect("VKC4-P02-08");
    AddSite("Other", "N 1 2 3.0", "E 4 5 6.0");
    AddSite("Home", "S 33 30 15.0", "W 70 12 30.4");
    driver->sites.g_SiteDbIndex(Stored("Other").id);
    EXPECT_EQ(InitMount("Site=HOME"), "St-33*30:15.0 Sg070*12:30.4 U");
    EXPECT_EQ(driver->sites.CurrentSiteName(), "Home");
    EXPECT_EQ(driver->persist.Read(setting::SiteDbIndex), std::to_string(Stored("Home").id));
    EXPECT_EQ(Stored("Other").Latitude, "N 01 02 03.0");
    EXPECT_EQ(Stored("Other").Longitude, "E 04 05 06.0");
    EXPECT_EQ(driver->persist.Read(setting::Latitude), "S 33 30 15");
    EXPECT_TRUE(Logged("SET SiteLongitude = -70.2084"));
    EXPECT_NEAR(mount->Picture().latitude, -33.504167, 1e-4);
    EXPECT_EQ(driver->handBox.txtActualLatitude.Text(), "-33*30:15");
}

TEST_F(InitializationTest, LongitudeBeyondHalfATurn_IsTheSamePlaceForMountAndSettings) {
    Connect("S");
    AddSite("Far", "N 1 0 0.0", "E 200 0 0.0");
    EXPECT_EQ(InitMount("Site=Far"), "St+01*00:00 Sg160*00:00 U");
    EXPECT_EQ(driver->persist.Read(setting::Longitude), "W 160 0 0");
}

TEST_F(InitializationTest, ThePollIsOffTheLineUntilItsEnd) {
    Connect("S");
    AddSite("Home", "S 33 30 15.0", "W 70 12 30.0");
    StandingMount& standing = Stand();
    standing.replies["S"] = "1";
    standing.replies["Bd"] = "1";
    standing.replies["SC"] = "1Updating#data#";
    std::map<std::string, bool> polled;
    standing.onCommand = [&](const std::string& command) {
        polled[command.substr(0, 2)] |= driver->handBox.tmrQueryRaDecAltAz.Enabled();
    };
    EXPECT_EQ(telescope->CommandString("RAW,InitMount,SyncTime,Site=Home,Unpark=0,DecBacklash=1,PEM=1", true), "1");
    for (const char* command : {"SL", "SC", "GG", "St", "Sg", "RT", "Bd", "pP"}) {
        ASSERT_EQ(polled.count(command), 1U) << command;
        EXPECT_FALSE(polled[command]) << command;
    }
    EXPECT_TRUE(PollRuns());
}

TEST_F(InitializationTest, SiteThatIsNamed_IsShown_AndItsElevationCounts) {
    Connect("S");
    AddSite("Other", "N 1 2 3.0", "E 4 5 6.0", 100.0);
    AddSite("Home", "S 33 30 15.0", "W 70 12 30.0", 2400.0);
    driver->sites.g_SiteDbIndex(Stored("Other").id);
    driver->panel.UpdateControls();
    const frmHandBox& handBox = driver->handBox;
    ASSERT_EQ(handBox.lblSiteTag.Text(), "Other");
    InitMount("Site=Home");
    EXPECT_EQ(handBox.lblSiteTag.Text(), "Home");
    EXPECT_EQ(handBox.txtSiteName.Text(), "Home");
    EXPECT_EQ(handBox.txtLatitude.Text(), "S 33 30 15");
    EXPECT_EQ(handBox.txtLongitude.Text(), "W 70 12 30");
    EXPECT_EQ(handBox.txtElevation.Text(), "2400");
    EXPECT_EQ(telescope->SiteElevation(), 2400.0);
    EXPECT_EQ(driver->persist.Read(setting::Elevation), "2400");
    telescope->SiteElevation(2450.0);
    InitMount("Site=Home");
    EXPECT_EQ(telescope->SiteElevation(), 2450.0) << "a client's elevation of the current site stays";
}

TEST_F(InitializationTest, SiteThatCannotBeShown_IsSentAndStored_AndTheRestFollows) {
    Connect("S");
    AddSite("Home", "S 33 30 15.0", "E 151 12 30.0");
    ExpectSwallow("SendLongLat");
    driver->handBox.txtSiteName.OnChange([] { throw RunTimeError(RunTimeError::kObjectNotSet, "the window"); });
    Tape().Clear();
    EXPECT_EQ(InitMount("Site=Home,GuideRate=1"), "St-33*30:15 Sg-151*12:30 U RG1");
    EXPECT_NE(Tape().All().find("Gg"), std::string::npos) << "what the mount took is read back";
    EXPECT_EQ(driver->sites.CurrentSiteName(), "Home");
}

TEST_F(InitializationTest, BlanksAroundTheNameOfAnOldSite_DoNotCount_UnlessAnotherHasTheExactName) {
    Connect("S");
    AddSite(" Home ", "N 50 0 0", "W 10 0 0");
    EXPECT_EQ(InitMount("Site=home"), "St+50*00:00 Sg010*00:00 U");
    EXPECT_EQ(driver->sites.g_SiteDbIndex(), Stored(" Home ").id);
    AddSite("Home", "N 40 0 0", "W 20 0 0");
    EXPECT_EQ(InitMount("Site=home"), "St+40*00:00 Sg020*00:00 U");
    EXPECT_EQ(Stored(" Home ").Latitude, "N 50 00 00.0");
}

TEST_F(InitializationTest, SiteThatIsNotThere_OrHasNoPosition_IsNotSent_ButTheMountsIsRead) {
    Connect("S");
    AddSite("Broken", "here", "there");
    AddSite("Tucson, AZ", "N 32 0 0", "W 110 0 0");
    for (const char* name : {"Nowhere", "Broken", "Tucson, AZ", ""}) {
        EXPECT_EQ(Sent([&] { Steps().SendLongLat(name); }), "U") << name;
        EXPECT_TRUE(LoggedAs("SendLongLat", 1,
                             "Not sending Longitude, Latitude to the mount: error getting latitude or longitude for "
                             "site='" +
                                 std::string(name) + "'"));
    }
}

TEST_F(InitializationTest, NamesThatNoStringCanHold_AreNotStored_ButOldOnesKeepTheirPlace) {
    Connect("S");
    AddSite("Tucson, AZ", "N 32 0 0", "W 110 0 0");
    bool isNew = true;
    for (const char* name : {"A,B", "A=B", ",", "="}) {
        Site site;
        site.Name = name;
        EXPECT_FALSE(driver->persist.database()->SetSite(site, isNew)) << name;
    }
    EXPECT_TRUE(LoggedAs("SetSite", 1, "The name of a site must not hold \",\" or \"=\", it is not stored: 'A,B'"));
    driver->sites.g_SiteDbIndex(Stored("Tucson, AZ").id);
    telescope->SiteLatitude(33.0);
    EXPECT_EQ(Stored("Tucson, AZ").Latitude, "N 33 00 00.0");
}

// --- single steps

TEST_F(InitializationTest, GuideRate_IsThatOfLaterPulsesToo) {
    Connect("S");
    const std::pair<int, double> rows[] = {{0, 0.25}, {1, 0.5}, {2, 1.0}, {-1, 0.5}};
    driver->persist.WriteIniValue("cbxInitGuideRate", "1");
    for (const auto& [index, rate] : rows) {
        Steps().SetGuideRate(index);
        EXPECT_EQ(driver->state.g_dGuideRate, rate) << index;
        EXPECT_NEAR(mount->Picture().guideRate, rate, 1e-9);
    }
}

TEST_F(InitializationTest, Rates_AreShownInTheStatusWindow) {
    Connect("S", {{"txtCustomSlewRate", " 800 "}, {"cbxInitSlewRate", "1"}});
    struct {
        int index;
        const char *command, *others, *fir;
    } const rows[] = {{0, "RS0", "x600", "x300"},
                      {1, "RS1", "x900", "x450"},
                      {2, "RS2", "x1200", "x600"},
                      {3, "Rs800", "x800", "x800"},
                      {-1, "RS1", "x900", "x450"}};
    const Mount_Type other = driver->mount.mountType;
    ASSERT_NE(other, Mount_Type::FIR);
    for (const auto& row : rows) {
        for (const bool fir : {false, true}) {
            driver->mount.mountType = fir ? Mount_Type::FIR : other;
            EXPECT_EQ(Sent([&] { Steps().SetSlewRate(row.index); }), row.command);
            EXPECT_EQ(driver->statusWindow.lblSlewRate.Text(), fir ? row.fir : row.others) << row.index << fir;
        }
    }
    const std::pair<int, const char*> guiding[] = {{0, "0.25x"}, {1, "0.50x"}, {2, "1.00x"}, {9, "1.00x"}};
    for (const auto& [index, text] : guiding) {
        Steps().SetGuideRate(index);
        EXPECT_EQ(driver->statusWindow.lblGuidingRate.Text(), text);
    }
}

TEST_F(InitializationTest, Pem_IsForFirmwareThatHasIt) {
    Connect("S");
    driver->state.g_bPemAvailable = false;
    EXPECT_EQ(Sent([&] { Steps().SetPem(1); }), "");
    driver->state.g_bPemAvailable = true;
    EXPECT_EQ(Sent([&] { Steps().SetPem(0); }), "p");
    EXPECT_EQ(driver->handBox.framePemSettings.Caption(), "PEM: Disabled");
    EXPECT_EQ(driver->state.g_nPemState, 2);
    EXPECT_EQ(Sent([&] { Steps().SetPem(2); }), "");
}

TEST_F(InitializationTest, CustomSlewRate_IsSentBelowItsLimit) {
    Connect("S");
    EXPECT_EQ(Sent([&] { Steps().SendCustomSlewRate(1199.5); }), "Rs1199.5");
    EXPECT_EQ(driver->statusWindow.lblSlewRate.Text(), "1199.5");
    for (const double rate : {0.0, -1.0, 1200.0, 1e9}) {
        EXPECT_EQ(Sent([&] { Steps().SendCustomSlewRate(rate); }), "") << rate;
    }
    EXPECT_EQ(driver->statusWindow.lblSlewRate.Text(), "1199.5");
}

TEST_F(InitializationTest, AStop_WaitsForOneExchange_AndTheRestGoesOutAfterIt) {
    Connect("S");
    Telescope& other = OtherClient();
    for (std::int64_t offset = 0; offset < 1'200; offset += 60) {
        const std::int64_t due = machine.clock.Elapsed() + offset;
        std::int64_t stopped = -1;
        machine.pump.PostAt(due, CallKind::Stop, [&] {
            stopped = machine.clock.Elapsed();
            other.AbortSlewDriver();
        });
        const std::string sent = Sent([&] {
            telescope->CommandString("RAW,InitMount,SyncTime,DecBacklash=2,RaBacklash=1,GuideRate=1,PEM=1", true);
        });
        EXPECT_TRUE(sent.ends_with("pP") || sent.ends_with("Q")) << sent;
        for (const char* part : {"SL", "SC", "Bd0*00:02.0", "Br0*00:01.0", "RG1", "pP"}) {
            EXPECT_NE(sent.find(part), std::string::npos) << part;
        }
        if (stopped < 0) {
            break;  // the initialization was over before
        }
        EXPECT_LE(stopped - due, 200) << offset;
        machine.AdvanceTime(2'000);
    }
}

}  // namespace
}  // namespace kestrane
