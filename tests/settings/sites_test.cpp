#include "settings/sites.h"

#include <algorithm>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>

#include "settings_fakes.h"

namespace kestrane {
namespace {

struct SitesTest : testing::Test, SettingsWorld {
    SitesTest() { logState.g_bDebugLog = true; }

    SitesNeeds NeedsOfSites() { return {*persist, log, ledger}; }
    /// As the process finds the machine when it starts again.
    void Restart() {
        sites.reset();
        persist.reset();
        persist.emplace(NeedsOfPersist());
        sites.emplace(NeedsOfSites());
    }
    void Pack(const std::string& number, std::string_view packed) {
        persist->WriteIniValue("cbxSiteList_" + number, packed);
    }
    void AddSite(const std::string& name, const std::string& latitude = "N 10 00 00.0",
                 const std::string& longitude = "E 20 00 00.0") {
        bool isNew = true;
        EXPECT_TRUE(persist->database()->SetSite(Site{0, name, "", longitude, latitude, 100.0, 0, 0, 0, 0}, isNew));
    }
    void MarkCopied() { persist->Write(setting::SitesCopiedToDatbase, "True"); }
    std::string Stored(const std::string& key) {
        return Foreign().Cell("select Value from Driver where Property = '" + key + "'");
    }
    std::string StoredIndex() {
        return Foreign().Cell("select Value from CommonSettings where Property = 'sitedbindex'");
    }
    /// Name, longitude, latitude and elevation of each row, in order.
    std::vector<std::string> Rows() {
        return Foreign()
            .Run(
                "select Name || ',' || Longitude || ',' || Latitude || ',' || ElevationMeters from Sites "
                "order by SitesIndex")
            .value();
    }
    std::vector<std::string> Warnings() const {
        std::vector<std::string> warnings;
        std::ranges::copy_if(logged, std::back_inserter(warnings),
                             [](const std::string& line) { return line.starts_with("Sites|1|"); });
        return warnings;
    }
    auto TimesLogged(const std::string& line) const { return std::ranges::count(logged, line); }

    std::optional<Persist> persist{std::in_place, NeedsOfPersist()};
    std::optional<Sites> sites{std::in_place, NeedsOfSites()};
};

// --- the move out of the old settings --------------------------------------------------------------------------------

TEST_F(SitesTest, AFreshMachine_GetsItsOneDefaultSite) {
    EXPECT_EQ(sites->CurrentSiteName(), "Default");
    EXPECT_EQ(sites->g_SiteDbIndex(), 1);
    ASSERT_EQ(sites->g_Sites().size(), 2U);
    EXPECT_FALSE(sites->g_Sites()[0].has_value());
    EXPECT_EQ(sites->g_Sites()[1]->Name, "Default");
    EXPECT_EQ(sites->g_Sites()[1]->Latitude, "N 00 00 00.0");
    EXPECT_EQ(sites->g_Sites()[1]->Longitude, "W 00 00 00.0");

    EXPECT_EQ(*Foreign().Run("select SitesIndex || ',' || Name || ',' || Description || ',' || Longitude || ',' || "
                             "Latitude || ',' || ElevationMeters || ',' || TimeZone || ',' || TemperatureC || ',' || "
                             "PressureMb || ',' || HumidityPercent from Sites"),
              std::vector<std::string>{"1,Default,,W 0 00 00.0,N 00 00 00.0,0.0,0.0,0.0,0.0,0.0"});
    EXPECT_EQ(*Foreign().Run("select Property || '=' || Value from Driver order by DriverIndex"),
              (std::vector<std::string>{
                  "sitescopiedtodatbase=True",
                  "cbxsitelist=0",
                  "cbxsitelist_01=Default|N|0|0|0|W|0|0|0|0",
                  "oldsitename=Default",
                  "cbxsitelist_02=Not Used|N|0|0|0|W|0|0|0|0",
                  "cbxsitelist_03=Not Used|N|0|0|0|W|0|0|0|0",
                  "cbxsitelist_04=Not Used|N|0|0|0|W|0|0|0|0",
                  "cbxsitelist_05=Not Used|N|0|0|0|W|0|0|0|0",
                  "cbxsitelist_06=Not Used|N|0|0|0|W|0|0|0|0",
                  "cbxsitelist_07=Not Used|N|0|0|0|W|0|0|0|0",
                  "cbxsitelist_08=Not Used|N|0|0|0|W|0|0|0|0",
                  "cbxsitelist_09=Not Used|N|0|0|0|W|0|0|0|0",
                  "cbxsitelist_10=Not Used|N|0|0|0|W|0|0|0|0",
              }));
    EXPECT_EQ(*Foreign().Run("select Property || '=' || Value from CommonSettings"),
              std::vector<std::string>{"sitedbindex=1"});
    EXPECT_TRUE(Warnings().empty());
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(SitesTest, EachPackedSite_GetsItsTexts) {
    struct Row {
        const char* packed;
        const char* row;
    };
    const std::vector<Row> rows{
        {"Home|N|45|30|12.34|W|122|7|9|123.5", "Home,W 122 07 09.0,N 45 30 12.3,123.5"},
        {"Down Under|S|5|3|2|E|9|0|0|0", "Down Under,E 9 00 00.0,S 05 03 02.0,0.0"},
        {"Commas|N|1|2|3,25|E|4|5|6,75|7,5", "Commas,E 4 05 06.8,N 01 02 03.3,7.5"},
        {"Zeros|N|005|007|09.99|E|0122|003|1|-12", "Zeros,E 122 03 01.0,N 05 07 10.0,-12.0"},
        {"O'Neill's|N|1|1|1|E|1|1|1|1", "O'Neill's,E 1 01 01.0,N 01 01 01.0,1.0"},
        {"Blanks | N | 1 | 2 | 3 | E | 4 | 5 | 6 | 7 ", "Blanks ,E 4 05 06.0,N 01 02 03.0,7.0"},
        {"Empty||||||||||", "Empty, 0 00 00.0, 00 00 00.0,0.0"},
        {"No elevation|N|1|2|3|E|4|5|6", "No elevation,E 4 05 06.0,N 01 02 03.0,0.0"},
        {"More|N|1|2|3|E|4|5|6|7|8|9", "More,E 4 05 06.0,N 01 02 03.0,7.0"},
        {"Ch\xE2teau|N|1|2|3|E|4|5|6|7", "Ch\xC3\xA2teau,E 4 05 06.0,N 01 02 03.0,7.0"},
    };
    for (const Row& row : rows) {
        SettingsWorld world;
        Persist own(world.NeedsOfPersist());
        own.WriteIniValue("cbxSiteList_01", row.packed);
        Sites(SitesNeeds{own, world.log, world.ledger}).g_Sites();
        EXPECT_EQ(world.Foreign().Cell("select Name || ',' || Longitude || ',' || Latitude || ',' || ElevationMeters "
                                       "from Sites"),
                  row.row);
        EXPECT_TRUE(world.ledger.Entries().empty());
    }
}

TEST_F(SitesTest, SitesInTheOldIniFile_MoveAndTheSelectedOneIsCurrent) {
    WriteLegacyFile(
        "[default]\r\ncbxsitelist=2\r\ncbxsitelist_01=Home|N|45|30|0|W|122|30|0|100\r\n"
        "cbxsitelist_03=Hill|S|30|15|0|E|20|45|0|2000\r\ncbxsitelist_10=Last|N|1|0|0|E|1|0|0|1\r\n");
    EXPECT_EQ(sites->CurrentSiteName(), "Hill");
    EXPECT_EQ(Rows(),
              (std::vector<std::string>{"Home,W 122 30 00.0,N 45 30 00.0,100.0",
                                        "Hill,E 20 45 00.0,S 30 15 00.0,2000.0", "Last,E 1 00 00.0,N 01 00 00.0,1.0"}));
    EXPECT_EQ(Stored("oldsitename"), "Hill");
    EXPECT_EQ(sites->g_SiteDbIndex(), 2);
    EXPECT_EQ(StoredIndex(), "2");
}

TEST_F(SitesTest, TheSelectedSite_MayBeAnUnusedOneAndIsThenNone) {
    persist->Write(setting::cbxSiteList, "4");
    EXPECT_EQ(sites->CurrentSiteName(), "");
    EXPECT_EQ(Stored("oldsitename"), "Not Used");
    EXPECT_EQ(sites->g_SiteDbIndex(), 0);
    EXPECT_EQ(StoredIndex(), "0");
    EXPECT_EQ(Rows().size(), 1U);
}

TEST_F(SitesTest, TheSelectedIndex_NamesTheCurrentSiteOfOld) {
    const std::vector<std::pair<const char*, const char*>> rows{
        {"0", "First"},     {"1", "Second"},     {"1,0", "Second"}, {"-1", "Kept"}, {"10", "Kept"},
        {"70000", "First"}, {"-70000", "First"}, {"abc", "First"},  {"", "First"},  {"1,6", "Third"},
    };
    for (const auto& [selected, oldName] : rows) {
        SettingsWorld world;
        Persist own(world.NeedsOfPersist());
        own.WriteIniValue("cbxSiteList_01", "First|N|0|0|0|W|0|0|0|0");
        own.WriteIniValue("cbxSiteList_02", "Second|N|0|0|0|W|0|0|0|0");
        own.WriteIniValue("cbxSiteList_03", "Third|N|0|0|0|W|0|0|0|0");
        own.Write(setting::cbxSiteList, selected);
        own.Write(setting::OldSiteName, "Kept");
        Sites(SitesNeeds{own, world.log, world.ledger}).g_Sites();
        EXPECT_EQ(own.Read(setting::OldSiteName), oldName) << selected;
    }
}

TEST_F(SitesTest, ANameThatStandsThere_IsDroppedAndTheMoveGoesOn) {
    AddSite("Home");
    Pack("01", "Home|N|45|30|0|W|122|30|0|100");
    Pack("02", "Hill|S|30|15|0|E|20|45|0|2000");
    Pack("03", "Hill|S|1|1|0|E|1|1|0|1");
    sites->g_Sites();
    EXPECT_EQ(Rows(), (std::vector<std::string>{"Home,E 20 00 00.0,N 10 00 00.0,100.0",
                                                "Hill,E 20 45 00.0,S 30 15 00.0,2000.0"}));
    EXPECT_EQ(Stored("sitescopiedtodatbase"), "True");
    EXPECT_EQ(sites->CurrentSiteName(), "Home");
    EXPECT_EQ(Warnings().size(), 2U);
}

TEST_F(SitesTest, ASiteWithoutItsPosition_IsLeftOutAndTheMoveGoesOn) {
    Pack("01", "Home|N|45|30|0|W|122|30|0|100");
    Pack("02", "");
    Pack("03", "Short");
    Pack("04", "Half|N|45|30|0");
    Pack("05", "Nearly|N|45|30|0|W|122|30");
    Pack("06", "Torn|N|4 5|30|0|W|122|30|0|100");
    Pack("07", "Hill|S|30|15|0|E|20|45|0|2000");
    sites->g_Sites();
    EXPECT_EQ(Rows(), (std::vector<std::string>{"Home,W 122 30 00.0,N 45 30 00.0,100.0",
                                                "Hill,E 20 45 00.0,S 30 15 00.0,2000.0"}));
    EXPECT_EQ(Warnings(), (std::vector<std::string>{
                              "Sites|1|An old site without a position is left out: ''",
                              "Sites|1|An old site without a position is left out: 'Short'",
                              "Sites|1|An old site without a position is left out: 'Half|N|45|30|0'",
                              "Sites|1|An old site without a position is left out: 'Nearly|N|45|30|0|W|122|30'",
                              "Sites|1|An old site without a position is left out: 'Torn|N|4 5|30|0|W|122|30|0|100'"}));
    EXPECT_EQ(Stored("cbxsitelist_04"), "Half|N|45|30|0");
    EXPECT_EQ(sites->g_Sites().size(), 3U);
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(SitesTest, OnceCopied_TheOldSettingsAreNotReadAgain) {
    sites->g_Sites();
    persist->database()->DeleteSite(1);
    Pack("02", "Hill|S|30|15|0|E|20|45|0|2000");
    Restart();
    EXPECT_EQ(sites->g_Sites().size(), 1U);
    EXPECT_TRUE(Rows().empty());
}

TEST_F(SitesTest, AnOldIniFileThatCannotBeRead_LeavesTheMoveToTheNextProcess) {
    std::filesystem::create_directories(folders.LegacyFile());
    EXPECT_EQ(sites->CurrentSiteName(), "");
    EXPECT_EQ(sites->g_SiteDbIndex(), 0);
    EXPECT_EQ(Stored("sitescopiedtodatbase"), "(no row)");
    EXPECT_EQ(Warnings().size(), 2U);
    EXPECT_EQ(ledger.Entries().size(), 2U);
    std::filesystem::remove(folders.LegacyFile());
    WriteLegacyFile("[default]\ncbxsitelist_01=Home|N|45|30|0|W|122|30|0|100\n");
    Restart();
    EXPECT_EQ(sites->CurrentSiteName(), "Home");
}

TEST_F(SitesTest, AFailedMove_LeavesTheSitesThatStandThereAndTheCurrentOne) {
    AddSite("Home");
    persist->Write(setting::SiteDbIndex, "1");
    std::filesystem::create_directories(folders.LegacyFile());
    EXPECT_EQ(sites->CurrentSiteName(), "Home");
    EXPECT_EQ(Warnings().size(), 1U);
    sites->g_Sites();
    EXPECT_EQ(Warnings().size(), 1U) << "not again in this process";
}

TEST_F(SitesTest, AnyOtherValueOfTheKey_CountsAsCopied) {
    for (const char* value : {"True", "TRUE", "FALSE", "", "0"}) {
        persist->Write(setting::SitesCopiedToDatbase, value);
        Restart();
        EXPECT_EQ(sites->g_Sites().size(), 1U) << value;
        EXPECT_EQ(Stored("sitescopiedtodatbase"), value);
    }
    persist->Write(setting::SitesCopiedToDatbase, "false");
    Restart();
    EXPECT_EQ(sites->g_Sites().size(), 2U) << "read as False";
}

TEST_F(SitesTest, OnlyTheVeryName_MarksAnUnusedSite) {
    Pack("01", "not used|N|0|0|0|W|0|0|0|0");
    Pack("02", "Not Used |N|0|0|0|W|0|0|0|0");
    Pack("03", "Not Used|N|1|2|3|W|4|5|6|7");
    EXPECT_EQ(sites->g_Sites().size(), 3U);
}

TEST_F(SitesTest, BlanksOfAName_BelongToIt) {
    persist->Write(setting::cbxSiteList, "1");
    Pack("01", "Blanks|N|0|0|0|W|0|0|0|0");
    Pack("02", " Blanks |N|0|0|0|W|0|0|0|0");
    EXPECT_EQ(sites->CurrentSiteName(), " Blanks ");
    EXPECT_EQ(Stored("oldsitename"), " Blanks ");
}

TEST_F(SitesTest, ASiteThatCannotBeStoredForNow_IsTriedAgainByTheNextProcess) {
    Pack("01", "Home|N|1|0|0|E|1|0|0|1");
    Pack("02", "Hill|N|2|0|0|E|2|0|0|2");
    Pack("03", "Last|N|3|0|0|E|3|0|0|3");
    Foreign().Run(
        "create trigger full before insert on Sites when new.Name = 'Hill' begin select raise(abort, 'full'); end");
    EXPECT_EQ(sites->g_Sites().size(), 3U);
    EXPECT_EQ(sites->CurrentSiteName(), "Home");
    EXPECT_EQ(Stored("sitescopiedtodatbase"), "False");
    EXPECT_EQ(Warnings(),
              std::vector<std::string>{"Sites|1|An old site is not added to the sites, which is tried again "
                                       "at the next start: 'Hill|N|2|0|0|E|2|0|0|2'"});
    Foreign().Run("drop trigger full");
    Restart();
    EXPECT_EQ(sites->CurrentSiteName(), "Home");
    EXPECT_EQ(Rows(),
              (std::vector<std::string>{"Home,E 1 00 00.0,N 01 00 00.0,1.0", "Last,E 3 00 00.0,N 03 00 00.0,3.0",
                                        "Hill,E 2 00 00.0,N 02 00 00.0,2.0"}));
    EXPECT_EQ(Stored("sitescopiedtodatbase"), "True");
}

TEST_F(SitesTest, ASiteThatCanNeverBeStored_IsNotTriedAgain) {
    Foreign().Run(
        "insert into Driver (Property, Value) values ('cbxsitelist_01', 'A' || char(0) || '|N|1|1|1|E|1|1|1|1')");
    Pack("02", "High|N|1|1|1|E|1|1|1|" + std::string(400, '9'));
    sites->g_Sites();
    EXPECT_EQ(Rows(), std::vector<std::string>{"High,E 1 01 01.0,N 01 01 01.0,0.0"});
    EXPECT_EQ(Stored("sitescopiedtodatbase"), "True");
    EXPECT_EQ(Warnings().size(), 1U);
}

TEST_F(SitesTest, AMoveThatIsKilledBetweenTwoSites_IsFinishedByTheNextProcess) {
    persist->Write(setting::cbxSiteList, "2");
    Pack("01", "Home|N|1|0|0|E|1|0|0|1");
    Pack("02", "Hill|N|2|0|0|E|2|0|0|2");
    Pack("03", "Last|N|3|0|0|E|3|0|0|3");
    sites.reset();
    persist.reset();
    const auto moveAndDie = [this] {
        log.SetListener([](std::string_view, int, std::string_view message) {
            if (message.starts_with("cbxSiteList_03")) {
                ::kill(::getpid(), SIGKILL);
            }
        });
        Restart();
        sites->g_Sites();
    };
    EXPECT_EXIT(moveAndDie(), testing::KilledBySignal(SIGKILL), "");
    EXPECT_EQ(Rows().size(), 2U);
    EXPECT_EQ(Stored("sitescopiedtodatbase"), "False");
    EXPECT_EQ(Stored("oldsitename"), "(no row)");
    Restart();
    EXPECT_EQ(sites->CurrentSiteName(), "Last");
    EXPECT_EQ(Rows(),
              (std::vector<std::string>{"Home,E 1 00 00.0,N 01 00 00.0,1.0", "Hill,E 2 00 00.0,N 02 00 00.0,2.0",
                                        "Last,E 3 00 00.0,N 03 00 00.0,3.0"}));
    EXPECT_EQ(Stored("sitescopiedtodatbase"), "True");
}

// --- the start-up ----------------------------------------------------------------------------------------------------

TEST_F(SitesTest, WhoeverIsFirst_RunsTheStartUpAndNobodyAfter) {
    const std::vector<std::function<void(Sites&)>> users{
        [](Sites& own) { own.g_Sites(); },
        [](Sites& own) { own.GetAllSites(); },
        [](Sites& own) { own.g_SiteDbIndex(); },
        [](Sites& own) { own.g_SiteDbIndex(1); },
        [](Sites& own) { own.CurrentSiteName(); },
        [](Sites& own) {
            SiteNumbers numbers;
            own.GetSiteNumbers("Default", numbers);
        },
    };
    for (std::size_t first = 0; first < users.size(); ++first) {
        SettingsWorld world;
        world.logState.g_bDebugLog = true;
        Persist own(world.NeedsOfPersist());
        Sites fresh(SitesNeeds{own, world.log, world.ledger});
        EXPECT_TRUE(world.logged.empty());
        users[first](fresh);
        EXPECT_EQ(fresh.CurrentSiteName(), "Default") << first;
        for (const auto& user : users) {
            user(fresh);
        }
        EXPECT_EQ(std::ranges::count(world.logged, "ReadIniValue|0|SitesCopiedToDatbase=>'False'"), 1) << first;
        EXPECT_EQ(std::ranges::count(world.logged, "ReadIniValue|0|SiteDbIndex=>'0'"), 1) << first;
    }
}

TEST_F(SitesTest, ANewProcess_RunsTheStartUpAgain) {
    sites->g_Sites();
    Restart();
    logged.clear();
    EXPECT_EQ(sites->CurrentSiteName(), "Default");
    EXPECT_EQ(TimesLogged("ReadIniValue|0|SitesCopiedToDatbase=>'True'"), 1);
    EXPECT_EQ(TimesLogged("ReadIniValue|0|SiteDbIndex=>'1'"), 1);
    EXPECT_EQ(TimesLogged("ReadIniValue|0|OldSiteName=>'Default'"), 0);
}

TEST_F(SitesTest, TheStoredIndex_RulesOverTheOldName) {
    AddSite("Home");
    AddSite("Hill");
    MarkCopied();
    persist->Write(setting::OldSiteName, "Home");
    persist->Write(setting::SiteDbIndex, "2");
    EXPECT_EQ(sites->CurrentSiteName(), "Hill");
    EXPECT_EQ(StoredIndex(), "2");
}

TEST_F(SitesTest, TheStoredIndex_IsOneRowInAnyCaseOfItsKey) {
    AddSite("Home");
    AddSite("Hill");
    MarkCopied();
    persist->WriteIniValue("SITEDBINDEX", "2");
    EXPECT_EQ(sites->g_SiteDbIndex(), 2);
    EXPECT_EQ(*Foreign().Run("select Property || '=' || Value from CommonSettings"),
              std::vector<std::string>{"sitedbindex=2"});
    EXPECT_EQ(Stored("sitedbindex"), "(no row)");
}

TEST_F(SitesTest, AnIndexBelowOne_IsFoundByTheOldNameInAnyCase) {
    for (const char* index : {"0", "-3", "", "abc", "99999"}) {
        SettingsWorld world;
        Persist own(world.NeedsOfPersist());
        bool isNew = true;
        own.database()->SetSite(Site{0, "Home", "", "E 1 0 0", "N 1 0 0", 0, 0, 0, 0, 0}, isNew);
        own.database()->SetSite(Site{0, "HiLL", "", "E 1 0 0", "N 1 0 0", 0, 0, 0, 0, 0}, isNew);
        own.Write(setting::SitesCopiedToDatbase, "True");
        own.Write(setting::OldSiteName, "hIll");
        own.Write(setting::SiteDbIndex, index);
        Sites fresh(SitesNeeds{own, world.log, world.ledger});
        EXPECT_EQ(fresh.g_SiteDbIndex(), 2) << index;
        EXPECT_EQ(fresh.CurrentSiteName(), "HiLL") << index;
        EXPECT_EQ(world.Foreign().Cell("select Value from CommonSettings"), "2") << index;
    }
}

TEST_F(SitesTest, TheStoredIndex_IsANumberOfSixteenBits) {
    const std::vector<std::pair<const char*, int>> rows{
        {"32767", 32767}, {"32767.4", 0}, {"32768", 0}, {"-32768", -32768}, {"-32769", 0}, {"1,6", 2}, {"0.5", 0},
    };
    MarkCopied();
    for (const auto& [stored, index] : rows) {
        persist->Write(setting::SiteDbIndex, stored);
        Restart();
        EXPECT_EQ(sites->g_SiteDbIndex(), index) << stored;
    }
}

TEST_F(SitesTest, AnOldNameOfTheOldIniFile_IsFoundInItsCodePage) {
    WriteLegacyFile("[default]\r\nsitescopiedtodatbase=True\r\noldsitename=ch\xE2teau\r\n");
    AddSite("Home");
    AddSite("Ch\xC3\xA2teau");
    EXPECT_EQ(sites->CurrentSiteName(), "Ch\xC3\xA2teau");
}

TEST_F(SitesTest, AFirstUseThatLoads_LoadsOnce) {
    EXPECT_TRUE(sites->GetAllSites());
    EXPECT_EQ(TimesLogged("GetAllSites|0|Site Count = 1"), 1);
    EXPECT_TRUE(sites->GetAllSites());
    EXPECT_EQ(TimesLogged("GetAllSites|0|Site Count = 1"), 2);
}

TEST_F(SitesTest, AnOldNameWithoutASite_LeavesNoneSelected) {
    AddSite("Home");
    MarkCopied();
    persist->Write(setting::OldSiteName, "Elsewhere");
    EXPECT_EQ(sites->g_SiteDbIndex(), 0);
    EXPECT_EQ(sites->CurrentSiteName(), "");
    EXPECT_EQ(StoredIndex(), "0");
}

TEST_F(SitesTest, AnOldNameWithoutASite_LeavesANegativeIndexAsItWas) {
    AddSite("Home");
    MarkCopied();
    persist->Write(setting::SiteDbIndex, "-3");
    persist->Write(setting::OldSiteName, "Elsewhere");
    EXPECT_EQ(sites->g_SiteDbIndex(), -3);
    EXPECT_EQ(StoredIndex(), "-3");
}

TEST_F(SitesTest, AnIndexOfASiteThatIsGone_StaysAndHasNoName) {
    AddSite("Default");
    MarkCopied();
    persist->Write(setting::SiteDbIndex, "7");
    EXPECT_EQ(sites->g_SiteDbIndex(), 7);
    EXPECT_EQ(sites->CurrentSiteName(), "");
    EXPECT_EQ(StoredIndex(), "7");
}

// --- the list and the current site -----------------------------------------------------------------------------------

TEST_F(SitesTest, ASelection_HoldsForTheProcessAndLeavesTheSetting) {
    AddSite("Home");
    AddSite("Hill");
    MarkCopied();
    persist->Write(setting::SiteDbIndex, "1");
    sites->g_SiteDbIndex(2);
    EXPECT_EQ(sites->g_SiteDbIndex(), 2);
    EXPECT_EQ(sites->CurrentSiteName(), "Hill");
    EXPECT_EQ(StoredIndex(), "1");
}

TEST_F(SitesTest, GetAllSites_BringsWhatWasAddedSince) {
    EXPECT_EQ(sites->g_Sites().size(), 2U);
    AddSite("Hill");
    EXPECT_EQ(sites->g_Sites().size(), 2U);
    EXPECT_TRUE(sites->GetAllSites());
    ASSERT_EQ(sites->g_Sites().size(), 3U);
    EXPECT_EQ(sites->g_Sites()[2]->Name, "Hill");
}

TEST_F(SitesTest, GetAllSites_WithoutSites_IsFalseAndLeavesTheEmptySlot) {
    MarkCopied();
    EXPECT_FALSE(sites->GetAllSites());
    ASSERT_EQ(sites->g_Sites().size(), 1U);
    EXPECT_FALSE(sites->g_Sites()[0].has_value());
    EXPECT_GE(TimesLogged("GetAllSites|2|Failed to get sites"), 1);
}

// --- numbers of a site -----------------------------------------------------------------------------------------------

TEST_F(SitesTest, TheNumbersOfASite_AreFoundByNameInAnyCase) {
    AddSite("Home", "N 45 30 36.0", "W 122 15 00.0");
    AddSite("Hill", "S 30 06 00.0", "E 20 30 36.0");
    AddSite("Odd", "S -10 00 00.0", "E -20 00 00.0");
    MarkCopied();
    struct Row {
        const char* name;
        bool found;
        SiteNumbers numbers;
    };
    const std::vector<Row> rows{
        {"Home", true, {-122.25, 45.51, 100.0}}, {"hOME", true, {-122.25, 45.51, 100.0}},
        {"HILL", true, {20.51, -30.1, 100.0}},   {"Odd", true, {20.0, -10.0, 100.0}},
        {"Home ", false, {0.0, 0.0, 0.0}},       {"", false, {0.0, 0.0, 0.0}},
    };
    for (const Row& row : rows) {
        SiteNumbers numbers{1.0, 2.0, 3.0};
        EXPECT_EQ(sites->GetSiteNumbers(row.name, numbers), row.found) << row.name;
        EXPECT_NEAR(numbers.longitude, row.numbers.longitude, 1e-12) << row.name;
        EXPECT_NEAR(numbers.latitude, row.numbers.latitude, 1e-12) << row.name;
        EXPECT_EQ(numbers.elevation, row.numbers.elevation) << row.name;
    }
}

TEST_F(SitesTest, TheNumbersOfASiteWhoseTextIsBroken_AreNotGiven) {
    sites->g_Sites()[1]->Longitude = "W 122";
    SiteNumbers numbers{1.0, 2.0, 3.0};
    EXPECT_FALSE(sites->GetSiteNumbers("Default", numbers));
    EXPECT_EQ(numbers.longitude, 0.0);
    EXPECT_EQ(numbers.latitude, 0.0);
    EXPECT_EQ(numbers.elevation, 0.0);
    EXPECT_EQ(ledger.Entries().size(), 1U);
}

TEST_F(SitesTest, ASiteThatCannotBeRead_HidesNoOther) {
    AddSite("Broken", "N 45");
    Foreign().Run("insert into Sites (Name) values ('Nowhere')");
    AddSite("Home");
    MarkCopied();
    persist->Write(setting::OldSiteName, "Home");
    EXPECT_FALSE(sites->GetAllSites());
    EXPECT_EQ(sites->CurrentSiteName(), "Home");
    SiteNumbers numbers;
    EXPECT_TRUE(sites->GetSiteNumbers("Home", numbers));
    EXPECT_FALSE(sites->GetSiteNumbers("Broken", numbers));
    EXPECT_FALSE(sites->GetSiteNumbers("Nowhere", numbers));
    EXPECT_EQ(numbers.latitude, 0.0);
    sites->g_SiteDbIndex(2);
    EXPECT_EQ(sites->CurrentSiteName(), "Nowhere");
}

// --- without a settings file -----------------------------------------------------------------------------------------

TEST_F(SitesTest, WithoutADatabase_ThereAreNoSitesAndNothingFails) {
    PersistNeeds needs = NeedsOfPersist();
    needs.createDatabase = [] { return std::unique_ptr<Database>(); };
    Persist bare(needs);
    Sites none(SitesNeeds{bare, log, ledger});
    SiteNumbers numbers;
    EXPECT_EQ(none.g_Sites().size(), 1U);
    EXPECT_FALSE(none.GetAllSites());
    EXPECT_EQ(none.CurrentSiteName(), "");
    EXPECT_FALSE(none.GetSiteNumbers("Default", numbers));
    EXPECT_EQ(boxes.Texts(), std::vector<std::string>{"Failed to open database"});
}

TEST_F(SitesTest, WithAFileThatCannotBeOpened_ThereAreNoSitesAndNothingFails) {
    SettingsWorld world;
    std::filesystem::create_directories(world.folders.SettingsFile());
    Persist broken(world.NeedsOfPersist());
    Sites none(SitesNeeds{broken, world.log, world.ledger});
    EXPECT_EQ(none.g_Sites().size(), 1U);
    EXPECT_EQ(none.CurrentSiteName(), "");
}

}  // namespace
}  // namespace kestrane
