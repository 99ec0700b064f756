#include <algorithm>
#include <clocale>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "settings/sites.h"
#include "settings_fakes.h"
#include "support/comma_locale.h"

/// The settings file where its rows, its tables or its callers are not what they usually are.
namespace kestrane {
namespace {

struct DatabaseEdgesTest : testing::Test, SettingsWorld {
    std::string Stored(const std::string& key, const std::string& table = "Driver") {
        return Foreign().Cell("select Value from " + table + " where Property = '" + key + "'");
    }
    std::string AuditRows() { return Foreign().Cell("select count(*) from PropertyChangedEvent"); }
    std::string LastOldValue() {
        return Foreign().Cell("select OldValue from PropertyChangedEvent order by PropertyChangedEventIndex desc");
    }

    Database db{NeedsOfDatabase()};
    bool isNew = true;
};

// --- one statement ---------------------------------------------------------------------------------------------------

TEST(RunStatementTest, RunsExactlyOneStatement) {
    sqlite3* opened = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &opened), SQLITE_OK);
    const SettingsConnection connection(opened);
    RunStatement(*connection, "create table t (a TEXT)");
    RunStatement(*connection, "insert into t values ('1');");
    for (const std::string_view sql :
         {std::string_view("insert into t values ('2'); delete from t"), std::string_view("delete from t;;"),
          std::string_view("delete from t; --"), std::string_view(""), std::string_view(";"),
          std::string_view("delete from t\0where a = 'x'", 27), std::string_view("delete from")}) {
        EXPECT_THROW(RunStatement(*connection, sql), RunTimeError) << sql;
    }
    EXPECT_EQ(RunStatement(*connection, "select count(*) || max(a) from t").Text(0), "11");
    EXPECT_EQ(RunStatement(*connection, std::string_view("select 'x'; delete from t").substr(0, 11)).Text(0), "x")
        << "nothing behind the view is read";
}

// --- settings --------------------------------------------------------------------------------------------------------

TEST_F(DatabaseEdgesTest, AWriteThatARuleOfAnotherProgramForbids_IsIgnoredWithoutAnError) {
    db.SetSetting("Port", "COM1");
    db.SetSetting("Retry", "2");
    Foreign().Run("create unique index OneValue on Driver (Value)");
    EXPECT_FALSE(db.SetSetting("Retry", "COM1")) << "by the update, and the insert after it";
    EXPECT_FALSE(db.SetSetting("Timeout", "COM1")) << "by the insert";
    EXPECT_EQ(Stored("retry"), "2");
    EXPECT_EQ(Stored("timeout"), "(no row)");
    Foreign().Run("create unique index OneChange on PropertyChangedEvent (NewValue)");
    EXPECT_TRUE(db.SetSetting("Port", "COM2"));
    EXPECT_TRUE(db.SetSetting("Port", "COM1")) << "only its audit row is not";
    EXPECT_EQ(AuditRows(), "3");
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(DatabaseEdgesTest, TheValueThatOnceStoodForNoRow_IsAValueInBothTables) {
    EXPECT_TRUE(db.SetSetting("SiteDbIndex", "***###"));
    EXPECT_EQ(Stored("sitedbindex", "CommonSettings"), "***###");
    EXPECT_TRUE(db.SetSetting("SiteDbIndex", "***###"));
    EXPECT_EQ(AuditRows(), "1");
    EXPECT_EQ(LastOldValue(), "");
    EXPECT_TRUE(db.SetSetting("SiteDbIndex", "1"));
    EXPECT_EQ(LastOldValue(), "");
}

TEST_F(DatabaseEdgesTest, AnOldValueWithAnApostrophe_StandsInItsAuditRow) {
    db.SetSetting("SiteName", "O'Neill's");
    EXPECT_TRUE(db.SetSetting("SiteName", "it's"));
    EXPECT_TRUE(db.SetSetting("SiteName", "x"));
    EXPECT_EQ(Foreign().Run("select OldValue || '>' || NewValue from PropertyChangedEvent"),
              (std::vector<std::string>{">O'Neill's", "O'Neill's>it's", "it's>x"}));
}

TEST_F(DatabaseEdgesTest, AValueWithANul_FailsAndLeavesTheOldOne) {
    db.SetSetting("SiteName", "home");
    EXPECT_FALSE(db.SetSetting("SiteName", std::string("ho\0me", 5)));
    EXPECT_EQ(Stored("sitename"), "home");
    EXPECT_EQ(AuditRows(), "1");
    EXPECT_EQ(ledger.Entries().size(), 1U);
}

TEST_F(DatabaseEdgesTest, ADelete_LeavesOtherRowsAlone) {
    db.SetSetting("LatitudeDeg", "45");
    db.SetSetting("LatitudeDegX", "46");
    db.TryDeleteSetting("LatitudeDeg");
    EXPECT_EQ(Foreign().Run("select Property from Driver"), std::vector<std::string>{"latitudedegx"});
}

TEST_F(DatabaseEdgesTest, ATableOfTheSameNameInAnotherCase_IsTheTable) {
    Foreign().Run("alter table Driver rename to aside; alter table aside rename to driver");
    ASSERT_EQ(Foreign().Cell("select count(*) from sqlite_master where name = 'driver'"), "1");
    Database second(NeedsOfDatabase());
    EXPECT_TRUE(second.IsOpen());
    EXPECT_TRUE(second.SetSetting("Port", "COM4"));
    EXPECT_TRUE(boxes.Texts().empty());
}

Site SiteNamed(const std::string& name) {
    return Site{0, name, "", "W 122 9 7.25", "N 45 5 3", 0.0, 0.0, 0.0, 0.0, 0.0};
}

TEST_F(DatabaseEdgesTest, AListWithARowThatCannotBeRead_FailsAndKeepsTheOthers) {
    Foreign().Run("insert into Driver values (3, 'port', 'COM1'), (40000, 'retry', '1'), (-2, 'timeout', '9')");
    RecordArray<PropValue> all;
    EXPECT_FALSE(db.GetAllDriverSettings(all));
    EXPECT_TRUE(db.Answered());
    ASSERT_EQ(all.size(), 4U);
    EXPECT_EQ(all[1]->Name, "timeout");
    EXPECT_EQ(all[2]->Name, "port");
    EXPECT_FALSE(all[3].has_value());
}

TEST_F(DatabaseEdgesTest, ANullInARecord_IsEmptyOrZero) {
    Foreign().Run(
        "insert into GotoRaDec values (1, 'a', NULL, NULL, NULL, '2'); insert into GotoAltAz values (1, 'a', NULL, "
        "'1', '2'); insert into ParkPositions values (1, 'p', NULL, 1, 0, NULL, NULL, NULL, NULL)");
    RecordArray<GotoRaDec> raDec;
    ASSERT_TRUE(db.GetAllGotoRaDec(raDec));
    EXPECT_EQ(raDec.at(1)->Description + raDec[1]->HourAngle + raDec[1]->RightAscension, "");
    EXPECT_EQ(raDec[1]->Declination, "2");
    RecordArray<GotoAltAz> altAz;
    ASSERT_TRUE(db.GetAllGotoAltAz(altAz));
    EXPECT_EQ(altAz.at(1)->Description, "");
    EXPECT_EQ(altAz[1]->Azimuth, "2");
    RecordArray<ParkPosition> parks;
    ASSERT_TRUE(db.GetAllParkPositions(parks));
    EXPECT_EQ(parks.at(1)->Description, "");
    EXPECT_EQ(parks[1]->Altitude, 0.0);
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(DatabaseEdgesTest, Answered_TellsANoFromASilence) {
    RecordArray<Site> sites;
    std::string value;
    EXPECT_FALSE(db.GetAllSites(sites));
    EXPECT_TRUE(db.Answered()) << "there are none";
    db.SetSite(SiteNamed("home"), isNew);
    EXPECT_FALSE(db.SetSite(SiteNamed("home"), isNew));
    EXPECT_TRUE(db.Answered()) << "the name is taken";
    Foreign().Run("insert into Driver (Property, Value) values ('port', NULL)");
    EXPECT_FALSE(db.GetSetting("port", value, ""));
    EXPECT_TRUE(db.Answered()) << "the setting is NULL";
    onSleep = [] {};
    ForeignProgram other = Foreign();
    other.Run("BEGIN IMMEDIATE");
    EXPECT_FALSE(db.SetSetting("retry", "1"));
    EXPECT_TRUE(db.GetSetting("retry", value, ""));
    EXPECT_TRUE(db.Answered()) << "kept for the file";
    other.Run("COMMIT");
    Foreign().Run("drop table Driver; drop table Sites");
    EXPECT_FALSE(db.GetSetting("port", value, ""));
    EXPECT_FALSE(db.Answered());
    EXPECT_TRUE(db.GetCommonSetting("port", value, ""));
    EXPECT_TRUE(db.Answered());
    EXPECT_FALSE(db.GetAllSites(sites));
    EXPECT_FALSE(db.Answered());
    EXPECT_FALSE(db.SetSite(SiteNamed("home"), isNew));
    EXPECT_FALSE(db.Answered());
}

TEST_F(DatabaseEdgesTest, AListWithANullText_Fails) {
    Foreign().Run("insert into Driver (Property, Value) values ('port', NULL)");
    RecordArray<PropValue> all;
    EXPECT_FALSE(db.GetAllDriverSettings(all));
    EXPECT_EQ(ledger.Entries().back().number, RunTimeError::kInvalidUseOfNull);
}

// --- records ---------------------------------------------------------------------------------------------------------

TEST_F(DatabaseEdgesTest, NewRecords_AreEmpty) {
    EXPECT_EQ(GotoRaDec{}.id, 0);
    EXPECT_EQ(std::get<std::int16_t>(PropertyValue(PropValue{}.id)), 0);
    for (const char* name : {"Name", "Description", "HourAngle", "RightAscension", "Declination"}) {
        EXPECT_EQ(GotoRaDec{}.GetProperty(name), PropertyValue(std::string())) << name;
    }
    for (const char* name : {"Name", "Description", "Altitude", "Azimuth"}) {
        EXPECT_EQ(GotoAltAz{}.GetProperty(name), PropertyValue(std::string())) << name;
    }
    for (const char* name : {"ElevationMeters", "TimeZone", "TemperatureC", "PressureMb", "HumidityPercent"}) {
        EXPECT_EQ(Site{}.GetProperty(name), PropertyValue(0.0)) << name;
    }
    for (const char* name : {"Altitude", "Azimuth", "HourAngle", "Declination"}) {
        EXPECT_EQ(ParkPosition{}.GetProperty(name), PropertyValue(0.0)) << name;
    }
    for (const char* name : {"IsAltAz", "ParkCounterweightUp"}) {
        EXPECT_EQ(ParkPosition{}.GetProperty(name), PropertyValue(false)) << name;
    }
}

TEST_F(DatabaseEdgesTest, ListsOfNoRows_HaveTheEmptySlot) {
    const auto expectEmpty = [](bool got, const auto& array) {
        EXPECT_FALSE(got);
        ASSERT_EQ(array.size(), 1U);
        EXPECT_FALSE(array[0].has_value());
    };
    RecordArray<GotoAltAz> altAz(3);
    RecordArray<GotoRaDec> raDec(3);
    RecordArray<ParkPosition> parks(3);
    RecordArray<PropValue> values(3);
    expectEmpty(db.GetAllGotoAltAz(altAz), altAz);
    expectEmpty(db.GetAllGotoRaDec(raDec), raDec);
    expectEmpty(db.GetAllParkPositions(parks), parks);
    expectEmpty(db.GetAllCommonSettings(values), values);
}

TEST_F(DatabaseEdgesTest, ListsWithGapsInTheirIds_HaveNone) {
    for (const char* name : {"a", "b", "c", "d"}) {
        db.SetGotoAltAz(GotoAltAz{0, name, "", "1", "2"}, isNew);
    }
    EXPECT_TRUE(db.DeleteGotoAltAz(2));
    RecordArray<GotoAltAz> array;
    EXPECT_TRUE(db.GetAllGotoAltAz(array));
    ASSERT_EQ(array.size(), 4U);
    EXPECT_EQ(array[1]->Name, "a");
    EXPECT_EQ(array[2]->Name, "c");
    EXPECT_EQ(array[3]->Name, "d");
    EXPECT_EQ(array[2]->id, 3);
}

TEST_F(DatabaseEdgesTest, DeletesOfRecords_LeaveOtherRowsAlone) {
    for (const char* name : {"a", "b"}) {
        db.SetGotoRaDec(GotoRaDec{0, name, "", "", "1", "2"}, isNew);
        db.SetSite(SiteNamed(name), isNew);
    }
    EXPECT_TRUE(db.DeleteGotoRaDec(1));
    EXPECT_TRUE(db.DeleteSite(2));
    EXPECT_EQ(Foreign().Run("select Name from GotoRaDec"), std::vector<std::string>{"b"});
    EXPECT_EQ(Foreign().Run("select Name from Sites"), std::vector<std::string>{"a"});
}

TEST_F(DatabaseEdgesTest, AnUpdate_ChangesItsRowOnlyWhateverItHolds) {
    db.SetGotoAltAz(GotoAltAz{0, "a", "", "1", "2"}, isNew);
    db.SetGotoAltAz(GotoAltAz{0, "b", "", "3", "4"}, isNew);
    db.SetSite(SiteNamed("a"), isNew);
    db.SetParkPosition(ParkPosition{0, "a", "", false, false, 1.0, 2.0, 3.0, 4.0}, isNew);
    isNew = false;
    EXPECT_TRUE(db.SetGotoAltAz(GotoAltAz{2, "O'Neill", "it's", "5", "6"}, isNew));
    EXPECT_EQ(Foreign().Run("select Name || Description || Altitude || Azimuth from GotoAltAz"),
              (std::vector<std::string>{"a12", "O'Neillit's56"}));
    EXPECT_TRUE(db.SetSite(Site{1, "b'", "d", "W 1 2 3", "N 1 2 3", 1.5, 2.5, 3.5, 4.5, 5.5}, isNew));
    EXPECT_EQ(Foreign().Cell("select Name || Description || Longitude || Latitude || ElevationMeters || TimeZone || "
                             "TemperatureC || PressureMb || HumidityPercent from Sites"),
              "b'dW 1 2 3N 1 2 31.52.53.54.55.5");
    EXPECT_TRUE(db.SetParkPosition(ParkPosition{1, "b", "d", true, true, 1.5, 2.5, 3.5, 4.5}, isNew));
    EXPECT_EQ(Foreign().Cell("select Name || Description || IsAltAz || ParkCounterweightUp || Altitude || Azimuth || "
                             "HourAngle || Declination from ParkPositions"),
              "bd111.52.53.54.5");
    EXPECT_FALSE(isNew);
}

TEST_F(DatabaseEdgesTest, FlagsOfAParkPosition_AreWrittenAsOneAndReadAsNotZero) {
    db.SetParkPosition(ParkPosition{0, "p", "", true, false, 0.0, 0.0, 0.0, 0.0}, isNew);
    EXPECT_EQ(Foreign().Cell("select IsAltAz || typeof(IsAltAz) || ParkCounterweightUp from ParkPositions"),
              "1integer0");
    Foreign().Run("insert into ParkPositions values (5, 'q', '', 2, -1, '0', '0', '0', '0')");
    RecordArray<ParkPosition> parks;
    EXPECT_TRUE(db.GetAllParkPositions(parks));
    EXPECT_TRUE(parks.at(1)->IsAltAz);
    EXPECT_TRUE(parks.at(2)->IsAltAz);
    EXPECT_TRUE(parks.at(2)->ParkCounterweightUp);
}

TEST_F(DatabaseEdgesTest, NumbersOfManyDigits_ComeBackWhole) {
    Site site = SiteNamed("home");
    site.ElevationMeters = 1234567.8912;
    site.TimeZone = -0.0000001;
    site.PressureMb = 1.0 / 3.0;
    site.HumidityPercent = 1e20;
    EXPECT_TRUE(db.SetSite(site, isNew));
    EXPECT_EQ(Foreign().Cell("select typeof(ElevationMeters) || typeof(TimeZone) || typeof(PressureMb) || "
                             "typeof(HumidityPercent) from Sites"),
              "realrealrealreal");
    RecordArray<Site> sites;
    EXPECT_TRUE(db.GetAllSites(sites));
    EXPECT_EQ(sites.at(1)->ElevationMeters, 1234567.8912);
    EXPECT_EQ(sites.at(1)->TimeZone, -0.0000001);
    EXPECT_NEAR(sites.at(1)->PressureMb, 1.0 / 3.0, 1e-14) << "15 digits";
    EXPECT_DOUBLE_EQ(sites.at(1)->HumidityPercent, 1e20);
}

TEST_F(DatabaseEdgesTest, ASmallElevation_ComesBackAsItWas) {
    for (const double elevation : {1.5e-5, -1.5e-5, 1e-9, 123456789012345.0}) {
        Foreign().Run("delete from Sites");
        Site site = SiteNamed("home");
        site.ElevationMeters = elevation;
        EXPECT_TRUE(db.SetSite(site, isNew));
        RecordArray<Site> sites;
        EXPECT_TRUE(db.GetAllSites(sites));
        EXPECT_EQ(sites.at(1)->ElevationMeters, elevation);
    }
    Foreign().Run("update Sites set ElevationMeters = 'one'");
    RecordArray<Site> sites;
    EXPECT_TRUE(db.GetAllSites(sites));
    EXPECT_EQ(sites.at(1)->ElevationMeters, 0.0) << "a text stays one";
}

TEST_F(DatabaseEdgesTest, ANumberThatIsNotFinite_IsNotStored) {
    for (const double number : {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                                std::numeric_limits<double>::quiet_NaN()}) {
        Site site = SiteNamed("home");
        site.TemperatureC = number;
        EXPECT_FALSE(db.SetSite(site, isNew)) << number;
    }
    EXPECT_EQ(Foreign().Cell("select count(*) from Sites"), "0");
}

struct SiteCell {
    const char* elevation;  // as SQL
    double read;
};

TEST_F(DatabaseEdgesTest, NumbersOfASite_AreReadWhateverWroteThem) {
    for (const SiteCell& row : std::vector<SiteCell>{
             {"'12,5'", 12.5}, {"'12.5'", 12.5}, {"'high'", 0.0}, {"NULL", 0.0}, {"12", 12.0}, {"-3.25", -3.25}}) {
        Foreign().Run("delete from Sites");
        ASSERT_TRUE(Foreign().Run(std::string("insert into Sites (Name, Description, Longitude, Latitude, "
                                              "ElevationMeters) values ('a', '', 'W 1 2 3', 'N 1 2 3', ") +
                                  row.elevation + ")"));
        RecordArray<Site> sites;
        EXPECT_TRUE(db.GetAllSites(sites)) << row.elevation;
        EXPECT_EQ(sites.at(1)->ElevationMeters, row.read) << row.elevation;
        EXPECT_EQ(sites.at(1)->TimeZone, 0.0) << "a NULL";
    }
}

TEST_F(DatabaseEdgesTest, GetAllSites_LogsAnEmptyTableButNoFailure) {
    logState.g_bDebugLog = true;
    RecordArray<Site> sites;
    EXPECT_FALSE(db.GetAllSites(sites));
    ASSERT_EQ(sites.size(), 1U);
    EXPECT_EQ(std::exchange(logged, {}), std::vector<std::string>{"GetAllSites|2|Failed to get sites"});
    Foreign().Run("drop table Sites");
    EXPECT_FALSE(db.GetAllSites(sites));
    EXPECT_TRUE(logged.empty()) << logged.front();
    EXPECT_EQ(ledger.Entries().size(), 1U);
}

TEST_F(DatabaseEdgesTest, GetAllSites_WithTheLogOff_LogsNothing) {
    db.SetSite(SiteNamed("home"), isNew);
    RecordArray<Site> sites;
    EXPECT_TRUE(db.GetAllSites(sites));
    EXPECT_TRUE(logged.empty());
}

// --- no usable file --------------------------------------------------------------------------------------------------

TEST(UnusableFileTest, EveryOperation_FailsQuietlyAndClearsItsList) {
    SettingsWorld world;
    std::filesystem::create_directories(world.folders.SettingsFile());
    Database db(world.NeedsOfDatabase());
    ASSERT_EQ(world.boxes.Texts().size(), 1U);
    bool isNew = true;
    std::string value;
    RecordArray<PropValue> values(3);
    RecordArray<GotoAltAz> altAz(3);
    RecordArray<GotoRaDec> raDec(3);
    RecordArray<Site> sites(3);
    RecordArray<ParkPosition> parks(3);
    EXPECT_FALSE(db.GetAllDriverSettings(values) || db.GetAllCommonSettings(values));
    EXPECT_FALSE(db.GetAllGotoAltAz(altAz) || db.GetAllGotoRaDec(raDec));
    EXPECT_FALSE(db.GetAllSites(sites) || db.GetAllParkPositions(parks));
    EXPECT_EQ(values.size() + altAz.size() + raDec.size() + sites.size() + parks.size(), 5U);
    EXPECT_FALSE(db.SetGotoAltAz({}, isNew) || db.SetGotoRaDec({}, isNew) || db.SetSite({}, isNew) ||
                 db.SetParkPosition({}, isNew));
    EXPECT_FALSE(db.DeleteGotoAltAz(1) || db.DeleteGotoRaDec(1) || db.DeleteSite(1));
    EXPECT_FALSE(db.SetCommonSetting("a", "b") || db.GetCommonSetting("a", value, "b"));
    EXPECT_EQ(world.boxes.Texts().size(), 1U);
    EXPECT_TRUE(world.logged.empty());
    Persist persist(world.NeedsOfPersist());
    EXPECT_EQ(persist.GetAllValues(), "");
}

TEST_F(DatabaseEdgesTest, APositionWithTwoBlanks_StaysInTheListWithoutAPositionAndIsLogged) {
    logState.g_bDebugLog = true;
    Foreign().Run("insert into Sites values (1, 'home', '', 'W  1 2 3.44', 'N 1 2 3', 0, 0, 0, 0, 0)");
    RecordArray<Site> sites;
    EXPECT_FALSE(db.GetAllSites(sites));
    ASSERT_EQ(sites.size(), 2U);
    EXPECT_EQ(sites[1]->Longitude, "W  1 2 3.44");
    EXPECT_EQ(sites[1]->Latitude, "N 01 02 03.0");
    const std::string line =
        "GetAllSites|1|Site 'home' has no position, since its text has not four fields with single "
        "blanks between them: 'W  1 2 3.44'";
    EXPECT_EQ(std::count(logged.begin(), logged.end(), line), 1);
    Persist persist(NeedsOfPersist());
    Sites list(SitesNeeds{persist, log, ledger});
    SiteNumbers numbers;
    EXPECT_FALSE(list.GetSiteNumbers("home", numbers));
    EXPECT_EQ(numbers.longitude, 0.0);
}

// --- under a decimal comma -------------------------------------------------------------------------------------------

TEST_F(DatabaseEdgesTest, UnderACommaLocale_NumbersAndPositionsAreTheSame) {
    const CommaLocale locale;
    Site site = SiteNamed("home");
    site.ElevationMeters = 1234.5;
    site.TemperatureC = -3.5;
    EXPECT_TRUE(db.SetSite(site, isNew));
    Foreign().Run("insert into Sites values (7, 'away', '', 'W 1 2 3.44', 'N 1 2 3', '12,5', '1.5', '2.5', 3.5, 4)");
    RecordArray<Site> sites;
    EXPECT_TRUE(db.GetAllSites(sites));
    EXPECT_EQ(Foreign().Cell("select typeof(ElevationMeters) || ElevationMeters from Sites"), "real1234.5");
    EXPECT_EQ(sites.at(1)->ElevationMeters, 1234.5);
    EXPECT_EQ(sites.at(1)->TemperatureC, -3.5);
    EXPECT_EQ(sites.at(1)->Longitude, "W 122 09 07.3");
    EXPECT_EQ(sites.at(2)->Longitude, "W 01 02 03.4");
    EXPECT_EQ(sites.at(2)->ElevationMeters, 12.5);
    EXPECT_EQ(sites.at(2)->TimeZone, 1.5);
    Persist persist(NeedsOfPersist());
    persist.WriteIniValue("chkSlewEast", "0.5");
    EXPECT_TRUE(persist.ReadFlag(setting::chkSlewEast));
}

}  // namespace
}  // namespace kestrane
