#include "settings/database.h"

#include <gtest/gtest.h>

#include "settings_fakes.h"

namespace kestrane {
namespace {

struct DatabaseTest : testing::Test, SettingsWorld {
    std::string Stored(const std::string& key, const std::string& table = "Driver") {
        return Foreign().Cell("select Value from " + table + " where Property = '" + key + "'");
    }
    std::string AuditRows() { return Foreign().Cell("select count(*) from PropertyChangedEvent"); }
    std::string LastAudit() {
        return Foreign().Cell(
            "select DateTime || '|' || ChangedBy || '|' || \"Table\" || '|' || Property || '|' || OldValue || '|' || "
            "NewValue from PropertyChangedEvent order by PropertyChangedEventIndex desc limit 1");
    }

    Database db{NeedsOfDatabase()};
};

struct SchemaRow {
    const char* table;
    const char* create;
};

TEST_F(DatabaseTest, Schema_IsToTheLetter) {
    const std::vector<SchemaRow> rows{
        {"CommonSettings",
         "CREATE TABLE `CommonSettings` (`CommonSettingsIndex`  INTEGER PRIMARY KEY AUTOINCREMENT,`Property` TEXT NOT "
         "NULL UNIQUE,`Value`    TEXT NOT NULL)"},
        {"Driver",
         "CREATE TABLE `Driver` (`DriverIndex`  INTEGER PRIMARY KEY AUTOINCREMENT,`Property` TEXT NOT NULL "
         "UNIQUE,`Value`    TEXT)"},
        {"GotoAltAz",
         "CREATE TABLE `GotoAltAz` (`GotoAltAzIndex`   INTEGER PRIMARY KEY AUTOINCREMENT,`Name` TEXT NOT "
         "NULL,`Description`  TEXT,`Altitude` TEXT NOT NULL,`Azimuth`  TEXT NOT NULL)"},
        {"GotoRaDec",
         "CREATE TABLE `GotoRaDec` (`GotoRaDecIndex`   INTEGER PRIMARY KEY AUTOINCREMENT,`Name` TEXT NOT "
         "NULL,`Description`  TEXT,`HourAngle`    TEXT,`RightAscension`   TEXT,`Declination`  TEXT NOT NULL)"},
        {"ParkPositions",
         "CREATE TABLE `ParkPositions` (`ParkPositionsIndex`   INTEGER PRIMARY KEY AUTOINCREMENT,`Name` TEXT NOT "
         "NULL,`Description`  TEXT,`IsAltAz`  INTEGER NOT NULL,`ParkCounterweightUp`  INTEGER NOT NULL,`Altitude` "
         "TEXT,`Azimuth`  TEXT,`HourAngle`    TEXT,`Declination`  TEXT)"},
        {"PropertyChangedEvent",
         "CREATE TABLE `PropertyChangedEvent` (`PropertyChangedEventIndex`    INTEGER PRIMARY KEY "
         "AUTOINCREMENT,`DateTime` TEXT NOT NULL,`ChangedBy`    TEXT,`Table`    TEXT NOT NULL,`Property` TEXT NOT "
         "NULL,`OldValue` TEXT,`NewValue` TEXT)"},
        {"Sites",
         "CREATE TABLE `Sites` (`SitesIndex`   INTEGER PRIMARY KEY AUTOINCREMENT,`Name` TEXT UNIQUE NOT "
         "NULL,`Description`  TEXT,`Longitude`    TEXT,`Latitude` TEXT,`ElevationMeters`    REAL,`TimeZone` "
         "REAL,`TemperatureC`  REAL,`PressureMb` REAL,`HumidityPercent` REAL)"},
    };
    auto foreign = Foreign();
    std::vector<std::string> tables;
    for (const SchemaRow& row : rows) {
        EXPECT_EQ(foreign.Cell(std::string("select sql from sqlite_master where name = '") + row.table + "'"),
                  row.create);
        EXPECT_EQ(foreign.Cell(std::string("select count(*) from ") + row.table), "0");
        tables.emplace_back(row.table);
    }
    EXPECT_EQ(foreign.Run("select name from sqlite_master where type = 'table' and name not like 'sqlite_%' "
                          "order by rowid"),
              tables);
}

TEST_F(DatabaseTest, SetDriverSetting_OfANewKey_StoresItInLowerCaseWithAnAuditRow) {
    EXPECT_TRUE(db.SetDriverSetting("chkUseRCAL", "1"));
    EXPECT_EQ(Stored("chkusercal"), "1");
    EXPECT_EQ(AuditRows(), "1");
    EXPECT_EQ(LastAudit(), "2024-03-07 09:05:02|Driver|Driver|chkUseRCAL||1");
    EXPECT_TRUE(db.SetDriverSetting("CHKUSERCAL", "0"));
    EXPECT_EQ(Foreign().Cell("select count(*) from Driver"), "1");
    EXPECT_EQ(LastAudit(), "2024-03-07 09:05:02|Driver|Driver|CHKUSERCAL|1|0");
    std::string value;
    EXPECT_TRUE(db.GetDriverSetting("ChkUseRcal", value, "x"));
    EXPECT_EQ(value, "0");
}

TEST_F(DatabaseTest, SetDriverSetting_OfAnEqualValue_WritesNothing) {
    db.SetDriverSetting("Port", "COM1");
    EXPECT_TRUE(db.SetDriverSetting("port", "COM1"));
    EXPECT_EQ(AuditRows(), "1");
    EXPECT_TRUE(db.SetDriverSetting("port", "com1"));
    EXPECT_EQ(AuditRows(), "2");
    EXPECT_EQ(Stored("port"), "com1");
}

TEST_F(DatabaseTest, GetDriverSetting_WithoutARow_GivesTheFallback) {
    std::string value;
    EXPECT_TRUE(db.GetSetting("Port", value, "COM9"));
    EXPECT_EQ(value, "COM9");
    EXPECT_EQ(Stored("port"), "(no row)");
}

TEST_F(DatabaseTest, AnyValue_ComesBackUnchanged) {
    for (const char* text :
         {"O'Neill's", "''", "\"quoted\"", "'); DROP TABLE Driver; --", "%s %n", "\xc3\xa4\xe2\x82\xac", "a\r\nb\tc",
          "back\\slash", "", " ", "***###", "****####", "caf\xe9"}) {
        EXPECT_TRUE(db.SetSetting("SiteName", "before"));
        EXPECT_TRUE(db.SetSetting("SiteName", text)) << text;
        std::string value = "unset";
        EXPECT_TRUE(db.GetSetting("SiteName", value, "none")) << text;
        EXPECT_EQ(value, text);
    }
    EXPECT_TRUE(ledger.Entries().empty());
    EXPECT_EQ(Foreign().Cell("select count(*) from Driver"), "1");
}

TEST_F(DatabaseTest, TheValueThatStandsForNoRow_IsStoredAndCountsAsEmptyNext) {
    EXPECT_TRUE(db.SetSetting("SiteName", "***###"));
    EXPECT_EQ(Stored("sitename"), "***###");
    EXPECT_TRUE(db.SetSetting("SiteName", "***###"));
    EXPECT_EQ(AuditRows(), "1");
    EXPECT_TRUE(db.SetSetting("SiteName", "y"));
    EXPECT_EQ(LastAudit(), "2024-03-07 09:05:02|Driver|Driver|SiteName||y");
}

TEST_F(DatabaseTest, AKeyWithAnApostrophe_FailsBeforeItReachesSql) {
    db.SetSetting("Port", "COM1");
    for (const char* key : {"o'neill", "'", "x'; Delete from Driver; --", "port' or '1'='1"}) {
        std::string value = "kept";
        EXPECT_FALSE(db.SetSetting(key, "v")) << key;
        EXPECT_FALSE(db.GetSetting(key, value, "none")) << key;
        EXPECT_EQ(value, "kept") << key;
        EXPECT_FALSE(db.SetCommonSetting(key, "v")) << key;
        EXPECT_FALSE(db.GetCommonSetting(key, value, "none")) << key;
        EXPECT_THROW(db.TryDeleteSetting(key), RunTimeError) << key;
    }
    EXPECT_FALSE(ledger.Entries().empty());
    EXPECT_EQ(Foreign().Cell("select count(*) from Driver"), "1");
    EXPECT_EQ(Stored("port"), "COM1");
}

TEST_F(DatabaseTest, AKeyWithABreakInTheStatement_StartsNoSecondStatement) {
    const std::string withNul("a\0b", 3);
    std::string value = "kept";
    EXPECT_FALSE(db.GetSetting(withNul, value, "none"));
    EXPECT_FALSE(db.SetSetting("Port", withNul));
    EXPECT_TRUE(db.SetSetting("a;b--c", "v"));
    EXPECT_TRUE(db.GetSetting("A;B--C", value, "none"));
    EXPECT_EQ(value, "v");
}

TEST_F(DatabaseTest, SiteDbIndex_LivesAmongTheCommonSettingsInAnyCase) {
    EXPECT_TRUE(db.SetSetting("sitedbINDEX", "3"));
    EXPECT_EQ(Stored("sitedbindex", "CommonSettings"), "3");
    EXPECT_EQ(Stored("sitedbindex"), "(no row)");
    EXPECT_EQ(LastAudit(), "2024-03-07 09:05:02|Driver|CommonSettings|SiteDbIndex||3");
    EXPECT_TRUE(db.SetSetting("SiteDbIndex", "3"));
    EXPECT_EQ(AuditRows(), "1");
    EXPECT_TRUE(db.SetSetting("SiteDbIndex", "4"));
    EXPECT_EQ(LastAudit(), "2024-03-07 09:05:02|Driver|CommonSettings|SiteDbIndex|3|4");
    std::string value;
    EXPECT_TRUE(db.GetSetting("SITEDBINDEX", value, "0"));
    EXPECT_EQ(value, "4");
    EXPECT_FALSE(db.TryDeleteSetting("SiteDbIndex"));
    EXPECT_EQ(Stored("sitedbindex", "CommonSettings"), "4");
}

TEST_F(DatabaseTest, TheKeyMaps_HoldTheOneKey) {
    EXPECT_EQ(db.PropertyToCommon(), (Database::KeyMap{{"SiteDbIndex", "SiteDbIndex"}}));
    EXPECT_EQ(db.CommonToProperty(), (Database::KeyMap{{"SiteDbIndex", "SiteDbIndex"}}));
}

TEST_F(DatabaseTest, TryDeleteSetting_TakesTheRowAndSaysFalse) {
    db.SetSetting("LatitudeDeg", "45");
    EXPECT_FALSE(db.TryDeleteSetting("LATITUDEDEG"));
    EXPECT_EQ(Stored("latitudedeg"), "(no row)");
    EXPECT_FALSE(db.TryDeleteSetting("LatitudeDeg"));
}

TEST_F(DatabaseTest, ANullValue_FailsTheRead) {
    Foreign().Run("insert into Driver (Property, Value) values ('port', NULL)");
    std::string value = "kept";
    EXPECT_FALSE(db.GetSetting("Port", value, "COM1"));
    EXPECT_EQ(value, "kept");
    ASSERT_EQ(ledger.Entries().size(), 1U);
    EXPECT_EQ(ledger.Entries()[0].number, RunTimeError::kInvalidUseOfNull);
    EXPECT_TRUE(db.SetSetting("Port", "COM2"));
    EXPECT_EQ(Stored("port"), "COM2");
}

TEST_F(DatabaseTest, GetAllDriverSettings_StartsWithAnEmptySlot) {
    RecordArray<PropValue> all;
    EXPECT_FALSE(db.GetAllDriverSettings(all));
    ASSERT_EQ(all.size(), 1U);
    EXPECT_FALSE(all[0].has_value());
    db.SetSetting("B", "2");
    db.SetSetting("A", "1");
    EXPECT_TRUE(db.GetAllDriverSettings(all));
    ASSERT_EQ(all.size(), 3U);
    EXPECT_FALSE(all[0].has_value());
    EXPECT_EQ(all[1]->id, 1);
    EXPECT_EQ(all[1]->Name, "b");
    EXPECT_EQ(all[1]->Value, "2");
    EXPECT_EQ(all[2]->Name, "a");
    EXPECT_FALSE(db.GetAllCommonSettings(all));
    db.SetSetting("SiteDbIndex", "7");
    EXPECT_TRUE(db.GetAllCommonSettings(all));
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[1]->Name, "sitedbindex");
    EXPECT_EQ(all[1]->Value, "7");
}

TEST_F(DatabaseTest, AnIdBeyond16Bits_FailsTheList) {
    Foreign().Run("insert into Driver (DriverIndex, Property, Value) values (40000, 'port', '1')");
    RecordArray<PropValue> all;
    EXPECT_FALSE(db.GetAllDriverSettings(all));
    ASSERT_FALSE(ledger.Entries().empty());
    EXPECT_EQ(ledger.Entries()[0].number, RunTimeError::kOverflow);
}

TEST_F(DatabaseTest, AFailedAuditRow_DoesNotUndoTheSetting) {
    Foreign().Run("drop table PropertyChangedEvent");
    EXPECT_TRUE(db.SetSetting("Port", "COM3"));
    EXPECT_EQ(Stored("port"), "COM3");
    EXPECT_FALSE(ledger.Entries().empty());
}

TEST_F(DatabaseTest, AMissingTable_FailsQuietly) {
    Foreign().Run("drop table Driver");
    std::string value = "kept";
    EXPECT_FALSE(db.SetSetting("Port", "COM3"));
    EXPECT_FALSE(db.GetSetting("Port", value, "COM1"));
    EXPECT_THROW(db.TryDeleteSetting("Port"), RunTimeError);
    EXPECT_TRUE(boxes.Texts().empty());
    EXPECT_TRUE(logged.empty());
}

TEST_F(DatabaseTest, Open_OnAnOpenFile_SaysSoAndGoesOn) {
    db.SetSetting("Port", "COM3");
    db.Open();
    EXPECT_EQ(boxes.Texts(), std::vector<std::string>{"Db already set!"});
    std::string value;
    EXPECT_TRUE(db.GetSetting("Port", value, ""));
    EXPECT_EQ(value, "COM3");
}

TEST_F(DatabaseTest, ASecondObject_FindsWhatTheFirstStored) {
    db.SetSetting("Port", "COM3");
    Database second(NeedsOfDatabase());
    std::string value;
    EXPECT_TRUE(second.GetSetting("Port", value, ""));
    EXPECT_EQ(value, "COM3");
    EXPECT_TRUE(second.SetSetting("Port", "COM4"));
    EXPECT_TRUE(db.GetSetting("Port", value, ""));
    EXPECT_EQ(value, "COM4");
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(DatabaseTest, AnExistingTable_StaysAsItIs) {
    auto foreign = Foreign();
    foreign.Run("drop table Sites; create table Sites (mine TEXT); insert into Sites values ('kept')");
    const Database second(NeedsOfDatabase());
    EXPECT_EQ(foreign.Cell("select mine from Sites"), "kept");
    EXPECT_TRUE(boxes.Texts().empty());
}

struct ClosedDatabaseTest : testing::Test, SettingsWorld {};

TEST_F(ClosedDatabaseTest, AFileThatCannotBeOpened_ShowsABoxAndFailsEverything) {
    std::filesystem::create_directories(folders.SettingsFile());
    Database db(NeedsOfDatabase());
    ASSERT_EQ(boxes.Texts().size(), 1U);
    EXPECT_TRUE(boxes.Texts()[0].starts_with("Init DB Error: ")) << boxes.Texts()[0];
    EXPECT_GT(boxes.Texts()[0].size(), std::string_view("Init DB Error: ").size());
    EXPECT_FALSE(db.IsOpen());
    std::string value = "kept";
    EXPECT_FALSE(db.SetSetting("Port", "x"));
    EXPECT_FALSE(db.GetSetting("Port", value, "y"));
    EXPECT_EQ(value, "kept");
    EXPECT_FALSE(db.DeleteSite(1));
    RecordArray<Site> sites;
    EXPECT_FALSE(db.GetAllSites(sites));
    bool isNew = true;
    EXPECT_FALSE(db.SetSite(Site{}, isNew));
    EXPECT_THROW(db.TryDeleteSetting("Port"), RunTimeError);
    EXPECT_EQ(boxes.Texts().size(), 1U);
}

TEST_F(ClosedDatabaseTest, AFolderThatCannotBeMade_ShowsABox) {
    std::ofstream(folders.CommonAppData() / "Kestrane") << "a file in the folder's place";
    const Database db(NeedsOfDatabase());
    ASSERT_EQ(boxes.Texts().size(), 1U);
    EXPECT_TRUE(boxes.Texts()[0].starts_with("Init DB Error: "));
}

TEST(EscapedForSqlTest, DoublesApostrophesOnly) {
    EXPECT_EQ(EscapedForSql("a'b\"c"), "a''b\"c");
    EXPECT_EQ(EscapedForSql("''"), "''''");
    EXPECT_EQ(EscapedForSql(""), "");
}

}  // namespace
}  // namespace kestrane
