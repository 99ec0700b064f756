#include <gtest/gtest.h>

#include "settings/sites.h"
#include "settings_fakes.h"

/// The sites while a second program holds the settings file. Time is the clock's, so that no test waits.
namespace kestrane {
namespace {

struct LockedSites : SettingsWorld {
    LockedSites() {
        logState.g_bDebugLog = true;
        onSleep = [] {};
        persist.emplace(NeedsOfPersist());
    }

    void AddSite(const std::string& name) {
        bool isNew = true;
        EXPECT_TRUE(persist->database()->SetSite(Site{0, name, "", "E 20 0 0", "N 10 0 0", 100.0, 0, 0, 0, 0}, isNew));
    }
    /// A file that has long been in use: its sites, of which Hill is the current one, are not those of the old
    /// settings.
    void MakeEstablishedFile(const char* index = "2") {
        AddSite("Home");
        AddSite("Hill");
        AddSite("Default");
        persist->WriteIniValue("cbxSiteList_01", "Gone|N|1|0|0|E|1|0|0|1");
        persist->Write(setting::SitesCopiedToDatbase, "True");
        persist->Write(setting::OldSiteName, "Hill");
        persist->Write(setting::SiteDbIndex, index);
    }
    void Restart() {
        sites.reset();
        persist.reset();
        persist.emplace(NeedsOfPersist());
        sites.emplace(SitesNeeds{*persist, log, ledger});
    }
    /// Opens the file with the rollback journal of older versions, in which a second program may lock readers out.
    void RestartOnRollbackJournal() {
        persist.reset();
        other.emplace(folders.SettingsFile());
        ASSERT_EQ(other->Cell("PRAGMA journal_mode = delete"), "delete");
        ASSERT_TRUE(other->Run("BEGIN; select count(*) from Driver"));
        Restart();
        ASSERT_TRUE(other->Run("COMMIT"));
    }
    void Take() { holds += other->Run("BEGIN EXCLUSIVE") ? 1 : 0; }
    void Release() { holds += other->Run("COMMIT") ? 1 : 0; }
    /// The other program takes the file at the first log line that begins so, at once without one, and lets go at the
    /// first that begins as told.
    void HoldBetween(const std::string& taken, const std::string& released) {
        if (taken.empty()) {
            Take();
        }
        log.SetListener([=, this](std::string_view origin, int, std::string_view message) {
            const std::string line = std::string(origin).append("|").append(message);
            if (line.starts_with(taken) && holds == 0) {
                Take();
            } else if (line.starts_with(released) && holds == 1) {
                Release();
            }
        });
    }
    std::string Stored(const std::string& key, const std::string& table = "Driver") {
        return Foreign().Cell("select Value from " + table + " where Property = '" + key + "'");
    }
    std::vector<std::string> Names() { return *Foreign().Run("select Name from Sites order by SitesIndex"); }

    std::optional<Persist> persist;
    std::optional<Sites> sites;
    std::optional<ForeignProgram> other;
    int holds = 0;  ///< 1 taken, 2 released
};

struct LockedSitesTest : testing::Test, LockedSites {};

TEST_F(LockedSitesTest, AFileHeldAtTheStart_GivesItsSitesOnceItIsFree) {
    MakeEstablishedFile();
    persist.reset();
    other.emplace(folders.SettingsFile());
    ASSERT_EQ(other->Cell("PRAGMA journal_mode = delete"), "delete");
    ASSERT_TRUE(other->Run("BEGIN EXCLUSIVE"));
    Restart();
    EXPECT_EQ(sites->CurrentSiteName(), "");
    EXPECT_FALSE(sites->GetAllSites());
    EXPECT_EQ(sites->g_Sites().size(), 1U);
    EXPECT_EQ(sites->g_SiteDbIndex(), 0);
    ASSERT_TRUE(other->Run("COMMIT"));
    EXPECT_EQ(sites->CurrentSiteName(), "Hill");
    EXPECT_EQ(Names(), (std::vector<std::string>{"Home", "Hill", "Default"}));
}

TEST_F(LockedSitesTest, AReadThatGetsNoAnswer_StartsNoMoveAndReplacesNoSelection) {
    struct Row {
        const char* index;
        const char* taken;
        const char* released;
    };
    const std::vector<Row> rows{
        {"2", "", "ReadIniValue|SitesCopiedToDatbase=>'False'"},
        {"2", "ReadIniValue|SitesCopiedToDatbase", "ReadIniValue|SiteDbIndex"},
        {"2", "GetAllSites|  Parsed Longitude", "ReadIniValue|SiteDbIndex=>'0'"},
        {"0", "ReadIniValue|SiteDbIndex=>'0'", "ReadIniValue|OldSiteName=>'Default'"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.taken);
        LockedSites world;
        world.MakeEstablishedFile(row.index);
        world.RestartOnRollbackJournal();
        world.HoldBetween(row.taken, row.released);
        world.sites->g_Sites();
        if (world.holds == 1) {
            world.Release();
        }
        EXPECT_EQ(world.holds, 2);
        EXPECT_EQ(world.sites->CurrentSiteName(), "Hill");
        EXPECT_EQ(world.Names(), (std::vector<std::string>{"Home", "Hill", "Default"}));
        EXPECT_EQ(world.Stored("sitedbindex", "CommonSettings"), "2");
        EXPECT_EQ(world.Stored("oldsitename"), "Hill");
    }
}

TEST_F(LockedSitesTest, APackedSiteThatIsNotAnswered_IsMovedByALaterUse) {
    const std::vector<std::pair<const char*, const char*>> rows{
        {"", "ReadIniValue|SitesCopiedToDatbase"},
        {"ReadIniValue|SitesCopiedToDatbase", "ReadIniValue|cbxSiteList=>"},
        {"ReadIniValue|cbxSiteList_01", "ReadIniValue|cbxSiteList_02"},
    };
    for (const auto& [taken, released] : rows) {
        SCOPED_TRACE(taken);
        LockedSites world;
        world.persist->WriteIniValue("cbxSiteList", "1");
        world.persist->WriteIniValue("cbxSiteList_01", "Home|N|1|0|0|E|1|0|0|1");
        world.persist->WriteIniValue("cbxSiteList_02", "Hill|N|2|0|0|E|2|0|0|2");
        world.persist->WriteIniValue("cbxSiteList_03", "Last|N|3|0|0|E|3|0|0|3");
        world.RestartOnRollbackJournal();
        world.HoldBetween(taken, released);
        world.sites->g_Sites();
        EXPECT_EQ(world.holds, 2);
        EXPECT_EQ(world.sites->g_Sites().size(), 4U);
        EXPECT_EQ(world.sites->CurrentSiteName(), "Hill");
        EXPECT_EQ(world.Names(), (std::vector<std::string>{"Home", "Hill", "Last"}));
        EXPECT_EQ(world.Stored("sitescopiedtodatbase"), "True");
    }
}

TEST_F(LockedSitesTest, AListThatIsNotAnswered_IsLoadedByALaterUse) {
    MakeEstablishedFile();
    Restart();
    Foreign().Run("alter table Sites rename to Aside");
    EXPECT_EQ(sites->g_Sites().size(), 1U);
    Foreign().Run("alter table Aside rename to Sites");
    EXPECT_EQ(sites->g_Sites().size(), 4U);
}

TEST_F(LockedSitesTest, SitesThatCannotBeStoredUnderALock_AreMovedByTheNextProcess) {
    other.emplace(folders.SettingsFile());
    ASSERT_TRUE(other->Run("BEGIN IMMEDIATE"));
    Restart();
    EXPECT_EQ(sites->g_Sites().size(), 1U);
    ASSERT_TRUE(other->Run("COMMIT"));
    Restart();
    EXPECT_EQ(sites->CurrentSiteName(), "Default");
    EXPECT_EQ(Stored("sitescopiedtodatbase"), "True");
}

TEST_F(LockedSitesTest, GetAllSites_WithoutAnAnswer_KeepsTheList) {
    MakeEstablishedFile();
    RestartOnRollbackJournal();
    EXPECT_TRUE(sites->GetAllSites());
    Take();
    EXPECT_FALSE(sites->GetAllSites());
    EXPECT_EQ(sites->g_Sites().size(), 4U);
    EXPECT_EQ(sites->CurrentSiteName(), "Hill");
    Release();
    EXPECT_TRUE(sites->GetAllSites());
}

TEST_F(LockedSitesTest, ASelectionMadeWithoutAnAnswer_HoldsAfterwards) {
    MakeEstablishedFile();
    RestartOnRollbackJournal();
    Take();
    sites->g_SiteDbIndex(1);
    Release();
    EXPECT_EQ(sites->CurrentSiteName(), "Home");
    EXPECT_EQ(sites->g_SiteDbIndex(), 1);
}

}  // namespace
}  // namespace kestrane
