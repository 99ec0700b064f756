#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>

#include "driver/slews/slew_wire_fixture.h"
#include "settings/database.h"

/// The verbs that choose an option of the hand box or of the mount, with what they send and store.
namespace kestrane {
namespace {

class HandBoxVerbsTest : public SlewWireTest {
protected:
    void TearDown() override {
        EndTheDriver();
        SlewWireTest::TearDown();
    }
    std::string Run(const std::string& command) { return telescope->CommandString("RAW," + command, true); }
    std::string Setting(const std::string& key) { return driver->persist.ReadIniValue(key, "none"); }
    frmHandBox& HandBox() { return driver->handBox; }
};

struct OptionRow {
    std::string command;
    std::string reply;
    std::string sent;
    std::string key = {};
    std::string stored = {};
};

class OptionVerbs : public HandBoxVerbsTest, public testing::WithParamInterface<OptionRow> {};

TEST_P(OptionVerbs, AnswerSendAndStore) {
    const OptionRow& row = GetParam();
    SCOPED_TRACE(row.command);
    // The mount has four slew rates, and options that none of the rows chooses.
    Connect("S", {{"cbxInitSlewRate", "1"},
                  {"cbxInitGuideRate", "1"},
                  {"cbxInitPEM", "1"},
                  {"txtInitRaBacklash", "11"},
                  {"txtInitDecBacklash", "12"},
                  {"txtUserParkAlt", "1.5"},
                  {"txtUserParkAz", "2.5"},
                  {"cbxParkTo", "1"},
                  {"cbxUnparkFrom", "2"}});
    const std::string before = row.key.empty() ? "" : Setting(row.key);
    EXPECT_EQ(MotionDuring([&] { EXPECT_EQ(Run(row.command), row.reply); }), row.sent);
    if (!row.key.empty()) {
        EXPECT_EQ(Setting(row.key), row.stored.empty() ? before : row.stored);
    }
}

const std::string kNo01 = "0,Value must be numeric 0-1";
const std::string kNo02 = "0,Value must be numeric 0-2";
const std::string kNo59 = "0,Value must be numeric 0-59";
const std::string kNo6 = "0,Value must be numeric -6 to +6";

INSTANTIATE_TEST_SUITE_P(SlewRate, OptionVerbs,
                         testing::Values(OptionRow{"SetSlewRate", "1", "RS1"}, OptionRow{"SetSlewRate,", "1", "RS1"},
                                         OptionRow{"SetSlewRate,0", "1", "RS0", "cbxInitSlewRate", "0"},
                                         OptionRow{"SetSlewRate,2", "1", "RS2", "cbxInitSlewRate", "2"},
                                         OptionRow{"SetSlewRate,1.0", "1", "RS1", "cbxInitSlewRate", "1"},
                                         OptionRow{"SetSlewRate,750", "1", "Rs750", "txtCustomSlewRate", "750"},
                                         OptionRow{"SetSlewRate,750", "1", "Rs750", "cbxInitSlewRate", "3"},
                                         OptionRow{"SetSlewRate,3", "1", "Rs3", "txtCustomSlewRate", "3"},
                                         OptionRow{"SetSlewRate,1.5", "1", "Rs1.5", "txtCustomSlewRate", "1.5"},
                                         OptionRow{"SetSlewRate,1199", "1", "Rs1199"},
                                         OptionRow{"SetSlewRate,1200", "1", ""},
                                         OptionRow{"SetSlewRate,1500", "1", "", "txtCustomSlewRate", "1500"},
                                         OptionRow{"SetSlewRate,1500", "1", "", "cbxInitSlewRate", "3"},
                                         OptionRow{"SetSlewRate,-5", "1", "", "txtCustomSlewRate", "-5"},
                                         OptionRow{"SetSlewRate,abc", "1", "", "cbxInitSlewRate"},
                                         OptionRow{"SetSlewRate,abc", "1", "", "txtCustomSlewRate"},
                                         OptionRow{"SetSlewRate,1e2", "1", "", "cbxInitSlewRate"},
                                         OptionRow{"GetSlewRate", "1,1", ""},
                                         OptionRow{"SetSlewRate,1", "1", "RS1", "cbxInitSlewRate", "1"},
                                         OptionRow{"SetSlewRate,0.5", "1", "Rs0.5", "txtCustomSlewRate", "0.5"},
                                         OptionRow{"SetSlewRate,0,5", "1", "Rs0.5", "cbxInitSlewRate", "3"}));

INSTANTIATE_TEST_SUITE_P(
    GuideRateAndPem, OptionVerbs,
    testing::Values(OptionRow{"SetGuideRate", "1", "RG1"},
                    OptionRow{"SetGuideRate,0", "1", "RG0", "cbxInitGuideRate", "0"},
                    OptionRow{"SetGuideRate,2", "1", "RG2", "cbxInitGuideRate", "2"},
                    OptionRow{"SetGuideRate,3", "0,Range is 0-2", "", "cbxInitGuideRate"},
                    OptionRow{"SetGuideRate,-1", "0,Range is 0-2", "", "cbxInitGuideRate"},
                    OptionRow{"SetGuideRate,0.5", "0,Range is 0-2", ""},
                    OptionRow{"SetGuideRate,x", kNo02, "", "cbxInitGuideRate"}, OptionRow{"GetGuideRate", "1,1", ""},
                    OptionRow{"SetPem", "1", "pP"}, OptionRow{"SetPem,0", "1", "p", "cbxInitPEM", "0"},
                    OptionRow{"SetPem,1", "1", "pP", "cbxInitPEM", "1"}, OptionRow{"SetPem,2", kNo01, "", "cbxInitPEM"},
                    OptionRow{"SetPem,on", kNo01, ""}, OptionRow{"SetGuideRate,", "1", "RG1", "cbxInitGuideRate"},
                    OptionRow{"SetGuideRate,1", "1", "RG1", "cbxInitGuideRate", "1"},
                    OptionRow{"SetPem,", "1", "pP", "cbxInitPEM"}));

INSTANTIATE_TEST_SUITE_P(
    Backlash, OptionVerbs,
    testing::Values(
        OptionRow{"SetRaBacklash", "1", "Br0*00:11.0"}, OptionRow{"SetDecBacklash", "1", "Bd0*00:12.0"},
        OptionRow{"SetRaBacklash,0", "1", "Br0*00:00.0", "txtInitRaBacklash", "0"},
        OptionRow{"SetRaBacklash,59", "1", "Br0*00:59.0", "txtInitRaBacklash", "59"},
        OptionRow{"SetDecBacklash,2.5", "1", "Bd0*00:02.5", "txtInitDecBacklash", "2.5"},
        OptionRow{"SetRaBacklash,60", kNo59, "", "txtInitRaBacklash"}, OptionRow{"SetRaBacklash,59.1", kNo59, ""},
        OptionRow{"SetDecBacklash,-1", kNo59, "", "txtInitDecBacklash"}, OptionRow{"SetDecBacklash,x", kNo59, ""},
        OptionRow{"GetRaBacklash", "1,11", ""}, OptionRow{"GetDecBacklash", "1,12", ""},
        OptionRow{"SetRaBacklash,", "1", "Br0*00:11.0", "txtInitRaBacklash"},
        OptionRow{"SetRaBacklash,-1", kNo59, "", "txtInitRaBacklash"}, OptionRow{"SetRaBacklash,x", kNo59, ""},
        OptionRow{"SetDecBacklash,0", "1", "Bd0*00:00.0", "txtInitDecBacklash", "0"},
        OptionRow{"SetDecBacklash,59", "1", "Bd0*00:59.0", "txtInitDecBacklash", "59"},
        OptionRow{"SetDecBacklash,60", kNo59, "", "txtInitDecBacklash"}));

INSTANTIATE_TEST_SUITE_P(
    MeridianDelay, OptionVerbs,
    testing::Values(OptionRow{"SetMeridianDelay", "0,No value specified... must be numeric -6 to +6", ""},
                    OptionRow{"SetMeridianDelay,6.1", kNo6, "", "txtMeridianDelay"},
                    OptionRow{"SetMeridianDelay,-7", kNo6, ""}, OptionRow{"SetMeridianDelay,x", kNo6, ""},
                    OptionRow{"GetMeridianDelay", "1,True,0", ""},
                    OptionRow{"SetMeridianDelay,", "0,No value specified... must be numeric -6 to +6", "",
                              "txtMeridianDelay"}));

INSTANTIATE_TEST_SUITE_P(
    Boxes, OptionVerbs,
    testing::Values(OptionRow{"GetUseRcalForSync", "1,1", ""},
                    OptionRow{"SetUseRcalForSync,1", "1", "", "chkUseRCAL", "1"},
                    OptionRow{"SetUseRcalForSync,2", kNo01, ""}, OptionRow{"SetUseRcalForSync", kNo01, ""},
                    OptionRow{"SetUseRcalForSync,0", "1", "", "chkUseRCAL", "1"},  // nobody is there to mean it
                    OptionRow{"GetEnableTrackingOnUnpark", "1,1", ""},
                    OptionRow{"SetEnableTrackingOnUnpark,0", "1", "", "chkEnableMountTracking", "0"},
                    OptionRow{"SetEnableTrackingOnUnpark,1", "1", "", "chkEnableMountTracking", "1"},
                    OptionRow{"SetEnableTrackingOnUnpark,x", kNo01, ""},
                    OptionRow{"SetEnableTrackingOnUnpark", kNo01, "", "chkEnableMountTracking"},
                    OptionRow{"SetEnableTrackingOnUnpark,2", kNo01, "", "chkEnableMountTracking"},
                    OptionRow{"SetUseRcalForSync,x", kNo01, "", "chkUseRCAL"}));

INSTANTIATE_TEST_SUITE_P(
    Positions, OptionVerbs,
    testing::Values(OptionRow{"GetParkPosition", "1,1,Park 1", ""}, OptionRow{"GetUnparkPosition", "1,2,Park 2", ""},
                    OptionRow{"SetParkPosition", "0,No Park Position specified", ""},
                    OptionRow{"SetUnparkPosition,", "0,No UnPark Position specified", ""},
                    OptionRow{"SetParkPosition,6", "1,Alt/Az", "", "cbxParkTo", "6"},
                    OptionRow{"SetParkPosition,6", "1,Alt/Az", "", "cbxParkToText", "Alt/Az"},
                    OptionRow{"SetParkPosition,7", "0,Park Position must be in range 0-6", "", "cbxParkTo"},
                    OptionRow{"SetParkPosition,-1", "0,Park Position must be in range 0-6", ""},
                    OptionRow{"SetParkPosition,1.5", "0,Park Position must be in range 0-6", ""},
                    OptionRow{"SetUnparkPosition,8", "0,UnPark Position must be in range 0-7", ""},
                    OptionRow{"SetUnparkPosition,7", "1,Don't Unpark", "", "cbxUnparkFrom", "7"},
                    OptionRow{"SetParkPosition,Park 3", "1,3,Park 3", "", "cbxParkTo", "3"},
                    OptionRow{"SetParkPosition,Park 3", "1,3,Park 3", "", "cbxParkToText", "Park 3"},
                    OptionRow{"SetParkPosition,park 3", "0,Invalid Park Position", "", "cbxParkTo"},
                    OptionRow{"SetUnparkPosition,Nowhere", "0,Invalid Unpark Position", ""},
                    OptionRow{"SetParkPosition,AltAz", "1,6,Alt/Az", "", "cbxParkTo", "6"},
                    OptionRow{"SetUnparkPosition,AltAz", "1,6,Alt/Az", "", "cbxUnparkFrom", "6"},
                    OptionRow{"SetUnparkPosition,Park 3", "1,3,Park 3", "", "cbxUnparkFrom", "3"},
                    OptionRow{"SetUnparkPosition,Park 3", "1,3,Park 3", "", "cbxUnparkFromText", "Park 3"},
                    OptionRow{"SetUnparkPosition,-1", "0,UnPark Position must be in range 0-7", "", "cbxUnparkFrom"},
                    OptionRow{"SetUnparkPosition,1.5", "0,UnPark Position must be in range 0-7", "", "cbxUnparkFrom"},
                    OptionRow{"SetParkPosition,0", "1,Current Position", "", "cbxParkTo", "0"},
                    OptionRow{"SetUnparkPosition,0", "1,Last Parked", "", "cbxUnparkFrom", "0"},
                    OptionRow{"SetParkPosition,Alt/Az", "1,6,Alt/Az", "", "cbxParkToText", "Alt/Az"},
                    OptionRow{"SetUnparkPosition,Alt/Az", "1,6,Alt/Az", "", "cbxUnparkFromText", "Alt/Az"},
                    OptionRow{"SetParkPosition,7", "0,Park Position must be in range 0-6", "", "cbxParkToText"},
                    OptionRow{"SetParkPosition,", "0,No Park Position specified", "", "cbxParkTo"}));

const std::string kBoth = "0,Alt,Az both not specified";

INSTANTIATE_TEST_SUITE_P(
    ParkAltAz, OptionVerbs,
    testing::Values(OptionRow{"GetParkAltAz", "1,1.5,2.5", ""},
                    OptionRow{"SetParkAltAz, 45 , 180.5 ", "1", "", "txtUserParkAlt", "45"},
                    OptionRow{"SetParkAltAz,45,180.5", "1", "", "txtUserParkAz", "180.5"},
                    OptionRow{"SetParkAltAz,-5,0", "1", "", "txtUserParkAlt", "-5"},
                    OptionRow{"SetParkAltAz,90,359.9", "1", "", "txtUserParkAlt", "90"},
                    OptionRow{"SetParkAltAz,-5.1,0", "0,Alt not in range -5 to 90", "", "txtUserParkAlt"},
                    OptionRow{"SetParkAltAz,90.1,400", "0,Alt not in range -5 to 90", ""},
                    OptionRow{"SetParkAltAz,45,360", "0,Az not in range 0 to <360", "", "txtUserParkAlt"},
                    OptionRow{"SetParkAltAz,45,-1", "0,Az not in range 0 to <360", ""},
                    OptionRow{"SetParkAltAz,45", kBoth, ""}, OptionRow{"SetParkAltAz,45,", kBoth, ""},
                    OptionRow{"SetParkAltAz,,45", kBoth, ""}, OptionRow{"SetParkAltAz,a,b", kBoth, ""},
                    OptionRow{"SetParkAltAz,45,5,180", kBoth, "", "txtUserParkAz"},
                    OptionRow{"SetParkAltAz,45,360", "0,Az not in range 0 to <360", "", "txtUserParkAz"},
                    OptionRow{"SetParkAltAz,45", kBoth, "", "txtUserParkAlt"}));

INSTANTIATE_TEST_SUITE_P(Others, OptionVerbs,
                         testing::Values(OptionRow{"QuayPointingCorrection,1,2.5,x", "1", "ZZ00,1,2.5,x"},
                                         OptionRow{"QuayPointingCorrection", "1", "ZZ00,"},
                                         OptionRow{"QuayPointingCorrection,1#:MS", "1", ""},
                                         OptionRow{"QuayPointingCorrection,1:MS", "1", ""},
                                         OptionRow{"QuayPointingCorrection,1:Q", "1", ""},
                                         OptionRow{"QuayPointingCorrection,1:2", "1", "ZZ00,1:2"},
                                         OptionRow{"QuayPointingCorrection,#", "1", ""}, OptionRow{"Quay", "1,0", ""},
                                         OptionRow{"GetDisableSafetySlews", "1,False", ""},
                                         OptionRow{"IsFormMinimized", "1,False", ""}));

TEST_F(HandBoxVerbsTest, CustomRate_IsReadBack_AndNeedsAListThatHasIt) {
    Connect("S");
    EXPECT_EQ(Run("SetSlewRate,750"), "1");
    EXPECT_EQ(Run("GetSlewRate"), "1,3,750");
    HandBox().cbxInitSlewRate.ListItems({"300x", "450x", "600x"});
    const std::string stored = Setting("txtCustomSlewRate");
    EXPECT_EQ(SentDuring([&] {
                  EXPECT_EQ(Run("SetSlewRate,800"), "0,Custom Slew rates are not supported by this mount");
                  EXPECT_EQ(Run("SetSlewRate,abc"), "1");
              }),
              "");
    EXPECT_EQ(Setting("txtCustomSlewRate"), stored);
}

TEST_F(HandBoxVerbsTest, CustomRate_IsShown_AlsoOneThatIsNotSent) {
    Connect("S", {{"cbxInitSlewRate", "1"}});
    EXPECT_EQ(Run("SetSlewRate,1500"), "1");
    EXPECT_EQ(HandBox().cbxInitSlewRate.ListIndex(), 3);
    EXPECT_EQ(HandBox().txtCustomSlewRate.Text(), "1500");
    EXPECT_EQ(Run("GetSlewRate"), "1,3,1500");
    EXPECT_EQ(Run("SetSlewRate,0"), "1");
    HandBox().cbxInitSlewRate.ListItems({"300x", "450x", "600x"});
    driver->persist.WriteIniValue("cbxInitSlewRate", "0");
    EXPECT_EQ(Run("SetSlewRate,800")[0], '0');
    EXPECT_EQ(Setting("cbxInitSlewRate"), "0");
}

TEST_F(HandBoxVerbsTest, Backlash_IsReadBack) {
    Connect("S");
    EXPECT_EQ(Run("SetRaBacklash,3,5"), "1");
    EXPECT_EQ(Run("GetRaBacklash"), "1,3.5");
    EXPECT_EQ(Run("SetDecBacklash,59"), "1");
    EXPECT_EQ(Run("GetDecBacklash"), "1,59");
    EXPECT_EQ(Run("SetDecBacklash,60")[0], '0');
    EXPECT_EQ(Run("GetDecBacklash"), "1,59");
}

TEST_F(HandBoxVerbsTest, UsersPlace_CanBeChangedWhereAListHasIt) {
    Connect("S", {{"cbxParkTo", "0"}, {"cbxUnparkFrom", "0"}});
    const auto enabled = [&] { return HandBox().txtUserParkAlt.Enabled() && HandBox().txtUserParkAz.Enabled(); };
    EXPECT_FALSE(enabled());
    for (const std::string list : {"SetParkPosition", "SetUnparkPosition"}) {
        EXPECT_EQ(Run(list + ",AltAz"), "1,6,Alt/Az");
        EXPECT_TRUE(enabled());
        EXPECT_EQ(Run(list + ",Park 2"), "1,2,Park 2");
        EXPECT_FALSE(enabled());
        EXPECT_EQ(Run(list + ",99")[0], '0');
        EXPECT_EQ(Run(list + ",Alt")[0], '0');
        EXPECT_FALSE(enabled());
    }
    EXPECT_EQ(Run("GetParkPosition"), "1,2,Park 2");
    EXPECT_EQ(Run("GetUnparkPosition"), "1,2,Park 2");
}

struct DelayRow {
    std::string argument;
    std::string sent;
    double hours;
    std::string shown;
};

class MeridianDelays : public HandBoxVerbsTest, public testing::WithParamInterface<DelayRow> {};

TEST_P(MeridianDelays, GoToTheMountWithTheTime_WhichIsAskedForAtOnce) {
    const DelayRow& row = GetParam();
    Connect("S");
    EXPECT_EQ(Run("SetMeridianDelay,2"), "1");
    machine.AdvanceTime(1'000);
    const Tick before = driver->state.g_tickLastTime;
    const std::string all = SentDuring([&] { EXPECT_EQ(Run("SetMeridianDelay," + row.argument), "1"); });
    EXPECT_EQ(all.find("GM GM " + row.sent + " SL20"), 0U) << all;
    EXPECT_EQ(HandBox().frameMeridianDelay.Caption() == "Meridian Delay: Enabled", row.hours != 0.0);
    EXPECT_EQ(driver->state.g_dMeridianDelay, row.hours);
    EXPECT_EQ(mount->Picture().meridianDelay, row.hours);
    EXPECT_EQ(Setting("txtMeridianDelay"), row.shown);
    EXPECT_EQ(Run("GetMeridianDelay"), "1,True," + row.shown);
    EXPECT_LE(driver->state.g_tickLastTime - before, 0) << "the time is due for the next step of the poll";
    EXPECT_GE(machine.clock.GetTickCount() - driver->state.g_tickLastTime, 5'000);
}

INSTANTIATE_TEST_SUITE_P(
    Hours, MeridianDelays,
    testing::Values(DelayRow{"6", "SM06:00:00", 6.0, "6"}, DelayRow{"-6", "SM-06:00:00", -6.0, "-6"},
                    DelayRow{"0", "SM00:00:00", 0.0, "0"}, DelayRow{"1,5", "SM01:30:00", 1.5, "1.5"},
                    DelayRow{"-1.5", "SM-01:30:00", -1.5, "-1.5"}, DelayRow{" -0.5 ", "SM-00:30:00", -0.5, "-0.5"}));

TEST_F(HandBoxVerbsTest, MeridianDelay_InAStepOfThePoll_GoesOutAfterIt) {
    Connect("S");
    driver->state.g_bInPoll = true;
    EXPECT_EQ(SentDuring([&] { EXPECT_EQ(Run("SetMeridianDelay,1"), "1"); }), "");
    driver->state.g_bInPoll = false;
    machine.AdvanceTime(200);
    EXPECT_EQ(driver->state.g_dMeridianDelay, 1.0);
    EXPECT_EQ(mount->Picture().meridianDelay, 1.0);
}

TEST_F(HandBoxVerbsTest, MeridianDelay_SaysWhetherItsBoxCanBeChanged) {
    Connect("S");
    HandBox().txtMeridianDelay.Enabled(false);
    EXPECT_EQ(Run("GetMeridianDelay"), "1,False,0");
}

TEST_F(HandBoxVerbsTest, Pem_IsToldByItsState) {
    Connect("S");
    EXPECT_EQ(Run("SetPem,1"), "1");
    EXPECT_EQ(Run("GetPem"), "1,1");
    EXPECT_EQ(Run("SetPem,0"), "1");
    EXPECT_EQ(Run("GetPem"), "1,2");
    for (const std::int16_t state : {std::int16_t{3}, std::int16_t{0}}) {
        driver->state.g_nPemState = state;
        EXPECT_EQ(Run("GetPem"), "1," + std::to_string(state));
    }
}

TEST_F(HandBoxVerbsTest, Pem_OnFirmwareWithoutIt_IsOnlyStored) {
    Connect("S", {{"cbxInitPEM", "0"}});
    driver->state.g_bPemAvailable = false;
    EXPECT_EQ(MotionDuring([&] { EXPECT_EQ(Run("SetPem,1"), "1"); }), "");
    EXPECT_EQ(Setting("cbxInitPEM"), "1");
}

struct StandingChoice {
    std::string command;
    std::map<std::string, std::string> stored;
};

class StandingChoices : public HandBoxVerbsTest, public testing::WithParamInterface<StandingChoice> {};

TEST_P(StandingChoices, AreStoredAnew_AfterAnotherProgramHasWrittenTheSetting) {
    const SettingTexts settings(GetParam().stored.begin(), GetParam().stored.end());
    Connect("S", settings);
    for (const auto& [key, value] : settings) {
        ASSERT_EQ(Setting(key), value);
        EXPECT_EQ(Run("SetIniValue," + key + "=" + (value == "1" ? "0" : "2")), "1");
    }
    EXPECT_EQ(Run(GetParam().command).substr(0, 1), "1");
    for (const auto& [key, value] : settings) {
        EXPECT_EQ(Setting(key), value) << key;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Verbs, StandingChoices,
    testing::Values(StandingChoice{"SetParkPosition,3", {{"cbxParkTo", "3"}, {"cbxParkToText", "Park 3"}}},
                    StandingChoice{"SetUnparkPosition,Park 4",
                                   {{"cbxUnparkFrom", "4"}, {"cbxUnparkFromText", "Park 4"}}},
                    StandingChoice{"SetEnableTrackingOnUnpark,1", {{"chkEnableMountTracking", "1"}}},
                    StandingChoice{"SetUseRcalForSync,1", {{"chkUseRCAL", "1"}}},
                    StandingChoice{"SetParkAltAz,45,180", {{"txtUserParkAlt", "45"}, {"txtUserParkAz", "180"}}},
                    StandingChoice{"SetMeridianDelay,1.5", {{"txtMeridianDelay", "1.5"}}},
                    StandingChoice{"SetRaBacklash,7", {{"txtInitRaBacklash", "7"}}},
                    StandingChoice{"SetDecBacklash,8", {{"txtInitDecBacklash", "8"}}},
                    StandingChoice{"SetGuideRate,1", {{"cbxInitGuideRate", "1"}}},
                    StandingChoice{"SetPem,1", {{"cbxInitPEM", "1"}}},
                    StandingChoice{"SetSlewRate,1", {{"cbxInitSlewRate", "1"}}},
                    StandingChoice{"SetSlewRate,750", {{"cbxInitSlewRate", "3"}, {"txtCustomSlewRate", "750"}}}));

TEST_F(HandBoxVerbsTest, UsersPlaceThatStandsAlready_IsWhereTheMountParks_AfterAnotherProgramHasWrittenOne) {
    Connect("S");
    EXPECT_EQ(Run("SetParkAltAz,45,180"), "1");
    EXPECT_EQ(Run("SetIniValue,txtUserParkAlt=10"), "1");
    EXPECT_EQ(Run("SetParkAltAz,45,180"), "1");
    EXPECT_EQ(Run("GetParkAltAz"), "1,45,180");
    const std::string sent = MotionDuring([&] { EXPECT_EQ(Run("ParkMount,6"), "1"); });
    EXPECT_NE(sent.find("Sa+45*00:00 Sz180*00:00"), std::string::npos) << sent;
}

TEST_F(HandBoxVerbsTest, SafetySlews_ComeBackOnlyWhereTheFirmwareHasNoneOfItsOwn) {
    Connect("S");
    ASSERT_FALSE(driver->state.g_bFirmwareSafeSlew);
    EXPECT_EQ(Run("DisableSafetySlews,1"), "1");
    EXPECT_EQ(Run("GetDisableSafetySlews"), "1,True");
    EXPECT_EQ(Run("DisableSafetySlews,0"), "1");
    EXPECT_EQ(Run("GetDisableSafetySlews"), "1,False");
    driver->state.g_bFirmwareSafeSlew = true;
    EXPECT_EQ(Run("DisableSafetySlews,1"), "1");
    EXPECT_EQ(Run("DisableSafetySlews"), "1");
    EXPECT_EQ(Run("GetDisableSafetySlews"), "1,True");
}

TEST_F(HandBoxVerbsTest, SafetySlews_AreTurnedOffForThisProcessAlone) {
    Connect("S", {{"DisableSafeSlew", "0"}, {"SafeSlewRaDec", "1"}});
    EXPECT_EQ(Run("DisableSafetySlews,1"), "1");
    EXPECT_EQ(Setting("DisableSafeSlew"), "0");
    EXPECT_EQ(Setting("SafeSlewRaDec"), "1");
    EXPECT_FALSE(driver->state.g_bForkMount);
    EXPECT_FALSE(driver->state.g_bFirmwareSafeSlew);
    EXPECT_EQ(Run("DisableSafetySlews,yes"), "1");
    EXPECT_EQ(Run("GetDisableSafetySlews"), "1,False");
}

TEST_F(HandBoxVerbsTest, Companion_IsToldOnceItIsProved) {
    Connect("S");
    driver->state.g_bQuayLink = true;
    EXPECT_EQ(Run("Quay"), "1,1");
    driver->state.g_bQuayLink = false;
}

TEST_F(HandBoxVerbsTest, Window_GoesToTheTrayAndComesBack) {
    Connect("S");
    ASSERT_TRUE(HandBox().Visible());
    for (int twice = 0; twice < 2; ++twice) {
        EXPECT_EQ(Run("Minimize"), "1");
        EXPECT_FALSE(HandBox().Visible());
        EXPECT_EQ(Run("IsFormMinimized"), "1,True");
    }
    for (int twice = 0; twice < 2; ++twice) {
        EXPECT_EQ(Run("Maximize"), "1");
        EXPECT_TRUE(HandBox().Visible());
        EXPECT_EQ(Run("IsFormMinimized"), "1,False");
    }
}

TEST_F(HandBoxVerbsTest, LegacyFile_IsNamed_AndDeletedOnce) {
    Connect("S");
    const std::filesystem::path file = driver->persist.LegacyFile();
    EXPECT_EQ(Run("GetIniFilename"), "1," + file.string());
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << "[KS]\n";
    EXPECT_EQ(Run("DeleteIniFile"), "1");
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(Run("DeleteIniFile"), "0,File does not exist: " + file.string());
}

TEST_F(HandBoxVerbsTest, LegacyFile_WithoutACommonFolder_HasNoName) {
    class NoFolders final : public Folders {
    public:
        std::filesystem::path CommonAppData() override { throw RunTimeError(RunTimeError::kObjectNotSet, ""); }
        std::filesystem::path Documents() override { return {}; }
    } folders;
    Connect("S");
    Persist persist(PersistNeeds{driver->state, driver->log, machine.clock, folders, driver->messageBoxes,
                                 driver->ledger, [] { return std::unique_ptr<Database>(); }});
    Essentials essentials{driver->state, persist,        driver->log,     machine.clock,
                          driver->waits, driver->ledger, driver->counters};
    DriverCommands commands(DriverCommandsNeeds{
        essentials, driver->door, driver->journal, driver->channel, driver->handBox, {}, {}, {}, {}, {}, {}, {}, {}});
    ASSERT_TRUE(persist.LegacyFile().empty());
    EXPECT_EQ(commands.Execute(*telescope, "DeleteIniFile"), "0,KS.INI is not initialized");
    EXPECT_EQ(commands.Execute(*telescope, "GetIniFilename"), "1,");
    ExpectSwallow("Persist");
}

TEST_F(HandBoxVerbsTest, LegacyFile_ThatCannotBeDeleted_IsLogged) {
    Connect("S");
    const std::filesystem::path file = driver->persist.LegacyFile();
    std::filesystem::remove(file);
    std::filesystem::create_directories(file / "not empty");
    EXPECT_EQ(Run("DeleteIniFile"), "1");
    EXPECT_EQ(TimesLogged("Cannot delete " + file.string() + ": "), 1);
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST_F(HandBoxVerbsTest, AllValues_FailLikeAnUnknownVerb_WhereThereAreAny) {
    Connect("S");
    EXPECT_EQ(Run("GetAllIniValues"), "0,Unknown Command: GetAllIniValues");
    ExpectSwallow("ExecuteDriverCommand");
}

TEST_F(HandBoxVerbsTest, AllValues_OfAnEmptyTable_AreNone) {
    Connect("S");
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    RecordArray<PropValue> settings;
    ASSERT_TRUE(driver->persist.database()->GetAllDriverSettings(settings));
    for (const std::optional<PropValue>& setting : settings) {
        if (setting) {
            driver->persist.database()->TryDeleteSetting(setting->Name);
        }
    }
    EXPECT_EQ(Run("GetAllIniValues"), "1");
}

/// A person in front of the warning about plain syncs.
class PlainSyncWarning : public HandBoxVerbsTest {
protected:
    void Show() {
        Connect("S", {{"chkUseRCAL", "1"}});
        driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
        Form().Attach(view_);
    }
    void TearDown() override {
        if (driver) {
            Form().Detach(view_);
        }
        HandBoxVerbsTest::TearDown();
    }
    frmRcalSyncWarning& Form() { return driver->rcalSyncWarningForm; }
    void AnswerWith(const std::function<void()>& answer) {
        answers_ = std::make_unique<When>(
            machine.pump, [&] { return Form().Visible(); }, answer);
        EXPECT_EQ(Run("SetUseRcalForSync,0"), "1");
        EXPECT_TRUE(answers_->Happened());
    }

    class Watcher final : public FormView {
    public:
        void Changed(kestrane::Form&, std::string_view, Property) override {}
    } view_;

private:
    std::unique_ptr<When> answers_;
};

TEST_F(PlainSyncWarning, WithoutAView_LeavesTheBoxTicked) {
    Connect("S");
    EXPECT_EQ(Run("SetUseRcalForSync,0"), "1");
    EXPECT_TRUE(HandBox().chkUseRCAL.Checked());
    EXPECT_EQ(Run("GetUseRcalForSync"), "1,1");
    EXPECT_TRUE(LoggedAs("frmRcalSyncWarning", 1, "No window can be shown: the question counts as cancelled"));
}

TEST_F(PlainSyncWarning, ThatIsAccepted_ClearsTheOption) {
    Show();
    std::string words;
    std::string storedMeanwhile;
    AnswerWith([&] {
        words = Form().btnOK.Text() + "|" + Form().btnCancel.Text();
        storedMeanwhile = Setting("chkUseRCAL");
        Form().btnOK.FireClick();
    });
    EXPECT_EQ(words, "OK to continue unchecked|CANCEL to leave checked");
    EXPECT_EQ(storedMeanwhile, "1");
    EXPECT_EQ(Setting("chkUseRCAL"), "0");
    EXPECT_EQ(Run("GetUseRcalForSync"), "1,0");
    EXPECT_EQ(Run("SetUseRcalForSync,0"), "1") << "nothing is unticked, so nobody is asked";
}

TEST_F(PlainSyncWarning, ThatIsCancelled_LeavesTheOption) {
    Show();
    AnswerWith([&] { Form().btnCancel.FireClick(); });
    EXPECT_EQ(Setting("chkUseRCAL"), "1");
    EXPECT_EQ(Run("GetUseRcalForSync"), "1,1");
}

TEST_F(PlainSyncWarning, OnlyItsAnswerCounts_NotASecondWishMeanwhile) {
    Show();
    std::string storedMeanwhile;
    AnswerWith([&] {
        EXPECT_EQ(OtherClient().CommandString("RAW,SetUseRcalForSync,0", true), "1");
        storedMeanwhile = Setting("chkUseRCAL");
        Form().btnCancel.FireClick();
    });
    EXPECT_EQ(storedMeanwhile, "1");
    EXPECT_EQ(Setting("chkUseRCAL"), "1");
    EXPECT_TRUE(HandBox().chkUseRCAL.Checked());
    AnswerWith([&] {
        EXPECT_EQ(OtherClient().CommandString("RAW,SetUseRcalForSync,0", true), "1");
        Form().btnOK.FireClick();
    });
    EXPECT_EQ(Setting("chkUseRCAL"), "0");
}

TEST_F(PlainSyncWarning, WhileTheHandBoxIsFilledAnew_IsNeitherAskedAnewNorAnswered) {
    for (const bool accepts : {true, false}) {
        for (const char* storedMeanwhile : {"1", "0"}) {
            SCOPED_TRACE(std::string(accepts ? "accepted" : "cancelled") + ", " + storedMeanwhile);
            Show();
            std::size_t mark = 0;
            AnswerWith([&] {
                Run(std::string("SetIniValue,chkUseRCAL=") + storedMeanwhile);
                mark = log.size();
                driver->InternalInstance().InitUI();
                driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
                EXPECT_EQ(Setting("chkUseRCAL"), storedMeanwhile);
                EXPECT_TRUE(Form().Visible());
                (accepts ? Form().btnOK : Form().btnCancel).FireClick();
            });
            EXPECT_EQ(Setting("chkUseRCAL"), accepts ? "0" : "1");
            EXPECT_EQ(HandBox().chkUseRCAL.Checked(), !accepts);
            const auto warned = [&](const LogLine& line) { return line.origin == "frmRcalSyncWarning"; };
            EXPECT_EQ(std::count_if(log.begin() + static_cast<std::ptrdiff_t>(mark), log.end(), warned), 0);
            Form().Detach(view_);
            EndTheDriver();
        }
    }
}

TEST_F(PlainSyncWarning, IsAskedToo_WhereAnotherProgramHasStoredTheOptionOfATickedBox) {
    for (const bool accepts : {true, false}) {
        SCOPED_TRACE(accepts ? "accepted" : "cancelled");
        Show();
        AnswerWith([&] { Form().btnOK.FireClick(); });
        ASSERT_FALSE(HandBox().chkUseRCAL.Checked());
        EXPECT_EQ(Run("SetIniValue,chkUseRCAL=1"), "1");
        AnswerWith([&] { (accepts ? Form().btnOK : Form().btnCancel).FireClick(); });
        EXPECT_EQ(Setting("chkUseRCAL"), accepts ? "0" : "1");
        EXPECT_EQ(HandBox().chkUseRCAL.Checked(), !accepts);
        Form().Detach(view_);
        EndTheDriver();
    }
}

TEST_F(HandBoxVerbsTest, BeforeTheFirstConnect_TheSettingsAreTold) {
    Seed({{"txtInitRaBacklash", "7"}, {"cbxParkTo", "2"}, {"cbxInitPEM", "1"}});
    Start();
    telescope = driver->CreateTelescope();
    EXPECT_EQ(Run("GetRaBacklash"), "1,7");
    EXPECT_EQ(Run("GetParkPosition"), "1,2,Park 2");
    EXPECT_EQ(Run("SetParkPosition,4"), "1,Park 4");
    EXPECT_EQ(Setting("cbxParkTo"), "4");
}

}  // namespace
}  // namespace kestrane
