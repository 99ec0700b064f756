#include "settings/records.h"

#include <gtest/gtest.h>

#include "settings_fakes.h"

namespace kestrane {
namespace {

struct FieldRow {
    const char* name;
    PropertyValue value;
};

template <typename Record>
void ExpectFields(const Record& record, const std::vector<FieldRow>& rows) {
    for (const FieldRow& row : rows) {
        EXPECT_EQ(record.GetProperty(row.name), row.value) << row.name;
    }
    for (const char* name : {"", "idx", "value", " name"}) {
        try {
            record.GetProperty(name);
            ADD_FAILURE() << name;
        } catch (const DriverError& error) {
            EXPECT_EQ(static_cast<std::int32_t>(error.Number()), -1);
        }
    }
}

constexpr std::int16_t kId = 5;

TEST(RecordsTest, GetProperty_OfABookmark_GivesEachField) {
    ExpectFields(GotoRaDec{kId, "n", "d", "h", "r", "c"}, {{"id", kId},
                                                           {"Name", std::string("n")},
                                                           {"DESCRIPTION", std::string("d")},
                                                           {"HourAngle", std::string("h")},
                                                           {"rightascension", std::string("r")},
                                                           {"Declination", std::string("c")}});
    ExpectFields(GotoAltAz{kId, "n", "d", "a", "z"}, {{"ID", kId},
                                                      {"Name", std::string("n")},
                                                      {"Description", std::string("d")},
                                                      {"Altitude", std::string("a")},
                                                      {"Azimuth", std::string("z")}});
}

TEST(RecordsTest, GetProperty_OfASite_GivesEachField) {
    ExpectFields(Site{kId, "n", "d", "lo", "la", 1.5, 2.5, 3.5, 4.5, 5.5}, {{"id", kId},
                                                                            {"name", std::string("n")},
                                                                            {"description", std::string("d")},
                                                                            {"Longitude", std::string("lo")},
                                                                            {"Latitude", std::string("la")},
                                                                            {"ElevationMeters", 1.5},
                                                                            {"TimeZone", 2.5},
                                                                            {"TemperatureC", 3.5},
                                                                            {"PressureMb", 4.5},
                                                                            {"HumidityPercent", 5.5}});
}

TEST(RecordsTest, GetProperty_OfAParkPosition_GivesEachField) {
    ExpectFields(ParkPosition{kId, "n", "d", true, false, 1.5, 2.5, 3.5, 4.5}, {{"id", kId},
                                                                                {"name", std::string("n")},
                                                                                {"description", std::string("d")},
                                                                                {"IsAltAz", true},
                                                                                {"ParkCounterweightUp", false},
                                                                                {"Altitude", 1.5},
                                                                                {"Azimuth", 2.5},
                                                                                {"HourAngle", 3.5},
                                                                                {"Declination", 4.5}});
}

TEST(RecordsTest, AFieldOfAnotherRecord_IsUnknown) {
    EXPECT_THROW(GotoAltAz{}.GetProperty("Declination"), DriverError);
    EXPECT_THROW(GotoRaDec{}.GetProperty("Altitude"), DriverError);
    EXPECT_THROW(Site{}.GetProperty("Altitude"), DriverError);
    EXPECT_THROW(ParkPosition{}.GetProperty("Longitude"), DriverError);
}

struct RecordRowsTest : testing::Test, SettingsWorld {
    Site SiteNamed(const std::string& name) {
        return Site{0, name, "it's dark", "W 122 9 7.25", "N 45 5 3", 1234.5, 8.0, -3.5, 1013.25, 40.0};
    }

    Database db{NeedsOfDatabase()};
    bool isNew = true;
};

TEST_F(RecordRowsTest, ABookmark_ComesBackAsItWasSaved) {
    EXPECT_TRUE(db.SetGotoRaDec(GotoRaDec{0, "M'31", "", "", "00:42:44", "+41*16:09"}, isNew));
    RecordArray<GotoRaDec> bookmarks;
    EXPECT_TRUE(db.GetAllGotoRaDec(bookmarks));
    ASSERT_EQ(bookmarks.size(), 2U);
    EXPECT_FALSE(bookmarks[0].has_value());
    EXPECT_EQ(bookmarks[1]->id, 1);
    EXPECT_EQ(bookmarks[1]->Name, "M'31");
    EXPECT_EQ(bookmarks[1]->HourAngle, "");
    EXPECT_EQ(bookmarks[1]->RightAscension, "00:42:44");
    EXPECT_EQ(bookmarks[1]->Declination, "+41*16:09");

    EXPECT_TRUE(db.SetGotoAltAz(GotoAltAz{0, "Zenith", "up", "90", "0"}, isNew));
    RecordArray<GotoAltAz> positions;
    EXPECT_TRUE(db.GetAllGotoAltAz(positions));
    ASSERT_EQ(positions.size(), 2U);
    EXPECT_EQ(positions[1]->Description, "up");
    EXPECT_EQ(positions[1]->Altitude, "90");
    EXPECT_EQ(positions[1]->Azimuth, "0");
}

TEST_F(RecordRowsTest, ARecordWithARow_ReplacesIt) {
    db.SetGotoRaDec(GotoRaDec{0, "a", "", "", "1", "2"}, isNew);
    isNew = false;
    EXPECT_TRUE(db.SetGotoRaDec(GotoRaDec{1, "b", "new", "3", "4", "5"}, isNew));
    EXPECT_FALSE(isNew);
    RecordArray<GotoRaDec> bookmarks;
    db.GetAllGotoRaDec(bookmarks);
    ASSERT_EQ(bookmarks.size(), 2U);
    EXPECT_EQ(bookmarks[1]->Name, "b");
    EXPECT_EQ(bookmarks[1]->Description, "new");
    EXPECT_EQ(bookmarks[1]->HourAngle, "3");
    EXPECT_EQ(bookmarks[1]->RightAscension, "4");
    EXPECT_EQ(bookmarks[1]->Declination, "5");
}

TEST_F(RecordRowsTest, ARecordWhoseRowHasVanished_IsInsertedAnew) {
    db.SetGotoRaDec(GotoRaDec{0, "a", "", "", "1", "2"}, isNew);
    EXPECT_TRUE(db.DeleteGotoRaDec(1));
    isNew = false;
    EXPECT_TRUE(db.SetGotoRaDec(GotoRaDec{1, "a", "", "", "1", "2"}, isNew));
    EXPECT_TRUE(isNew);
    EXPECT_EQ(Foreign().Cell("select GotoRaDecIndex from GotoRaDec"), "2");
}

TEST_F(RecordRowsTest, ARecordOfIdZero_IsNewWhateverTheCallerSays) {
    isNew = false;
    EXPECT_TRUE(db.SetGotoAltAz(GotoAltAz{0, "a", "", "1", "2"}, isNew));
    EXPECT_TRUE(isNew);
}

TEST_F(RecordRowsTest, ARecordWithAnId_SavedAsNew_GetsARowOfItsOwn) {
    db.SetGotoAltAz(GotoAltAz{0, "a", "", "1", "2"}, isNew);
    isNew = true;
    EXPECT_TRUE(db.SetGotoAltAz(GotoAltAz{1, "b", "", "1", "2"}, isNew));
    EXPECT_EQ(Foreign().Cell("select count(*) from GotoAltAz"), "2");
}

TEST_F(RecordRowsTest, Deletes_AreTrueAlsoWithoutARow) {
    db.SetGotoAltAz(GotoAltAz{0, "a", "", "1", "2"}, isNew);
    db.SetSite(SiteNamed("a"), isNew);
    EXPECT_TRUE(db.DeleteGotoAltAz(1));
    EXPECT_TRUE(db.DeleteSite(1));
    EXPECT_EQ(Foreign().Cell("select count(*) from GotoAltAz"), "0");
    EXPECT_EQ(Foreign().Cell("select count(*) from Sites"), "0");
    EXPECT_TRUE(db.DeleteGotoAltAz(1));
    EXPECT_TRUE(db.DeleteGotoRaDec(9));
    EXPECT_TRUE(db.DeleteSite(-1));
}

TEST_F(RecordRowsTest, ASiteOfATakenName_ChangesNothing) {
    EXPECT_TRUE(db.SetSite(SiteNamed("home"), isNew));
    EXPECT_FALSE(db.SetSite(SiteNamed("home"), isNew));
    EXPECT_EQ(Foreign().Cell("select count(*) from Sites"), "1");
    EXPECT_TRUE(db.SetSite(SiteNamed("away"), isNew));
    Site renamed = SiteNamed("home");
    const std::string id = Foreign().Cell("select SitesIndex from Sites where Name = 'away'");
    renamed.id = static_cast<std::int16_t>(std::stoi(id));
    isNew = false;
    EXPECT_FALSE(db.SetSite(renamed, isNew));
    EXPECT_TRUE(isNew);
    EXPECT_EQ(Foreign().Cell("select Name from Sites where SitesIndex = " + id), "away");
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(RecordRowsTest, NumbersOfASite_AreKeptAsNumbers) {
    db.SetSite(SiteNamed("home"), isNew);
    EXPECT_EQ(Foreign().Cell("select typeof(ElevationMeters) || typeof(PressureMb) from Sites"), "realreal");
    EXPECT_EQ(Foreign().Cell("select Longitude from Sites"), "W 122 9 7.25");
}

TEST_F(RecordRowsTest, GetAllSites_NormalisesThePositions) {
    logState.g_bDebugLog = true;
    db.SetSite(SiteNamed("home"), isNew);
    RecordArray<Site> sites;
    EXPECT_TRUE(db.GetAllSites(sites));
    ASSERT_EQ(sites.size(), 2U);
    EXPECT_FALSE(sites[0].has_value());
    EXPECT_EQ(sites[1]->id, 1);
    EXPECT_EQ(sites[1]->Description, "it's dark");
    EXPECT_EQ(sites[1]->Longitude, "W 122 09 07.3");
    EXPECT_EQ(sites[1]->Latitude, "N 45 05 03.0");
    EXPECT_EQ(sites[1]->ElevationMeters, 1234.5);
    EXPECT_EQ(sites[1]->TimeZone, 8.0);
    EXPECT_EQ(sites[1]->TemperatureC, -3.5);
    EXPECT_EQ(sites[1]->PressureMb, 1013.25);
    EXPECT_EQ(sites[1]->HumidityPercent, 40.0);
    EXPECT_EQ(logged,
              (std::vector<std::string>{"GetAllSites|0|Site Count = 1", "GetAllSites|0|Site 1",
                                        "GetAllSites|0|  Site Name, Lat/Long: 'home' - 'W 122 9 7.25' / 'N 45 5 3'",
                                        "GetAllSites|0|  Parsed Longitude: 'W 122 09 07.3'",
                                        "GetAllSites|0|  Parsed Latitude: 'N 45 05 03.0'",
                                        "GetAllSites|0|  Elevation: '1234.5' (1234.5)"}));
}

TEST_F(RecordRowsTest, GetAllSites_OfNone_LogsAndLeavesTheEmptySlot) {
    logState.g_bDebugLog = true;
    RecordArray<Site> sites;
    EXPECT_FALSE(db.GetAllSites(sites));
    ASSERT_EQ(sites.size(), 1U);
    EXPECT_FALSE(sites[0].has_value());
    EXPECT_EQ(logged, std::vector<std::string>{"GetAllSites|2|Failed to get sites"});
}

TEST_F(RecordRowsTest, GetAllSites_WithASiteWithoutItsFourFields_FailsAndReadsItAndTheOthersAllTheSame) {
    Site broken = SiteNamed("broken");
    broken.Latitude = "N 45 5";
    db.SetSite(broken, isNew);
    Foreign().Run(
        "insert into Sites (Name) values ('without a position'); insert into Sites (SitesIndex, Name) values "
        "(-40000, 'no id')");
    db.SetSite(SiteNamed("home"), isNew);
    RecordArray<Site> sites;
    EXPECT_FALSE(db.GetAllSites(sites));
    EXPECT_TRUE(db.Answered());
    ASSERT_EQ(sites.size(), 5U);
    EXPECT_FALSE(sites[1].has_value());
    EXPECT_EQ(sites[2]->Name, "broken");
    EXPECT_EQ(sites[2]->Latitude, "N 45 5");
    EXPECT_EQ(sites[2]->Longitude, "W 122 09 07.3");
    EXPECT_EQ(sites[3]->Name, "without a position");
    EXPECT_EQ(sites[3]->Latitude + sites[3]->Longitude, "");
    EXPECT_EQ(sites[3]->PressureMb, 0.0);
    EXPECT_EQ(sites[4]->Latitude, "N 45 05 03.0");
    ASSERT_EQ(ledger.Entries().size(), 4U);
    EXPECT_EQ(ledger.Entries()[0].number, RunTimeError::kOverflow);
    EXPECT_EQ(ledger.Entries()[1].number, RunTimeError::kSubscriptOutOfRange);
}

TEST_F(RecordRowsTest, AParkPosition_ComesBackAsItWasSaved) {
    EXPECT_TRUE(db.SetParkPosition(ParkPosition{0, "p", "d", true, false, 1.5, 2.25, -3.125, 89.0}, isNew));
    Foreign().Run("insert into ParkPositions values (9, 'q', '', 0, -1, '0', '0', '0', '0')");
    RecordArray<ParkPosition> parks;
    EXPECT_TRUE(db.GetAllParkPositions(parks));
    ASSERT_EQ(parks.size(), 3U);
    EXPECT_TRUE(parks[1]->IsAltAz);
    EXPECT_FALSE(parks[1]->ParkCounterweightUp);
    EXPECT_EQ(parks[1]->Altitude, 1.5);
    EXPECT_EQ(parks[1]->Azimuth, 2.25);
    EXPECT_EQ(parks[1]->HourAngle, -3.125);
    EXPECT_EQ(parks[1]->Declination, 89.0);
    EXPECT_EQ(parks[2]->id, 9);
    EXPECT_FALSE(parks[2]->IsAltAz);
    EXPECT_TRUE(parks[2]->ParkCounterweightUp);
}

}  // namespace
}  // namespace kestrane
