#include <algorithm>
#include <gtest/gtest.h>

#include "settings_fakes.h"

/// A second program that holds the settings file. Time is the clock's, so that no test waits.
namespace kestrane {
namespace {

struct LockedFileTest : testing::Test, SettingsWorld {
    LockedFileTest() {
        onSleep = [] {};
    }

    void PassTime(std::int32_t milliseconds) { clock.MoveTo(clock.Elapsed() + milliseconds); }
    /// The other program lets go after so many milliseconds of our waiting.
    void ReleaseAfter(ForeignProgram& other, std::int32_t milliseconds) {
        const std::int32_t end = sleptMs + milliseconds;
        onSleep = [this, end, &other] {
            if (sleptMs == end) {
                other.Run("COMMIT");
            }
        };
    }
    std::int32_t WaitedMs() { return std::exchange(sleptMs, 0); }

    /// A settings file with Port "COM5", as a process leaves it behind.
    void MakeFile(const std::string& journal) {
        { Persist(NeedsOfPersist()).WriteIniValue("Port", "COM5"); }
        ASSERT_EQ(Foreign().Cell("PRAGMA journal_mode = " + journal), journal);
        WaitedMs();
    }
    std::string Stored(const std::string& key, const std::string& table = "Driver") {
        return Foreign().Cell("select Value from " + table + " where Property = '" + key + "'");
    }
    std::vector<std::string> Audits() {
        return *Foreign().Run(
            "select Property || '|' || OldValue || '|' || NewValue from PropertyChangedEvent order by 1 + "
            "PropertyChangedEventIndex");
    }
};

// --- opening ---------------------------------------------------------------------------------------------------------

struct HarmlessLock {
    const char* journal;
    const char* lock;
};

TEST_F(LockedFileTest, ALockThatAllowsReading_CostsTheStartNoWait) {
    for (const HarmlessLock& row : std::vector<HarmlessLock>{{"delete", "BEGIN IMMEDIATE"},
                                                             {"delete", "BEGIN; select count(*) from Driver"},
                                                             {"wal", "BEGIN IMMEDIATE"},
                                                             {"wal", "BEGIN EXCLUSIVE"},
                                                             {"wal", "BEGIN; select count(*) from Driver"}}) {
        SCOPED_TRACE(std::string(row.journal) + ", " + row.lock);
        SettingsWorld world;
        world.onSleep = [] {};
        { Persist(world.NeedsOfPersist()).WriteIniValue("Port", "COM5"); }
        ForeignProgram other = world.Foreign();
        ASSERT_EQ(other.Cell(std::string("PRAGMA journal_mode = ") + row.journal), row.journal);
        ASSERT_TRUE(other.Run(row.lock));
        Persist persist(world.NeedsOfPersist());
        EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM5");
        EXPECT_EQ(world.sleptMs, 0);
        EXPECT_TRUE(world.boxes.Texts().empty());
        EXPECT_TRUE(world.ledger.Entries().empty());
        EXPECT_EQ(other.Cell("PRAGMA journal_mode"), row.journal);
        ASSERT_TRUE(other.Run("ROLLBACK"));
        persist.WriteIniValue("Port", "COM6");
        EXPECT_EQ(world.Foreign().Cell("select Value from Driver where Property = 'port'"), "COM6");
    }
}

TEST_F(LockedFileTest, ALockAgainstReading_HoldsTheStartUpOnceAndForABoundedTime) {
    MakeFile("delete");
    ForeignProgram other = Foreign();
    other.Run("BEGIN EXCLUSIVE");
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(WaitedMs(), LockWait::kLongestMs);
    EXPECT_EQ(boxes.Texts(), std::vector<std::string>{"Init DB Error: database is locked"});
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM1");
        PassTime(1000);
    }
    RecordArray<Site> sites;
    EXPECT_FALSE(persist.database()->GetAllSites(sites));
    EXPECT_EQ(WaitedMs(), 0) << "tried again, but never with a wait";
    EXPECT_EQ(boxes.Texts().size(), 1U);
}

TEST_F(LockedFileTest, OnceTheLockIsGone_TheSettingsAreBackAndWhatWasWrittenGoesOut) {
    MakeFile("delete");
    ForeignProgram other = Foreign();
    other.Run("BEGIN EXCLUSIVE");
    Persist persist(NeedsOfPersist());
    logState.g_bDebugLog = true;
    logged.clear();
    boxes.mentioned.clear();
    persist.WriteIniValue("Retry", "7");
    bool isNew = true;
    EXPECT_TRUE(persist.database()->SetGotoRaDec(GotoRaDec{0, "a", "", "", "1", "2"}, isNew));
    EXPECT_EQ(persist.ReadIniValue("Retry", "2"), "7");
    EXPECT_EQ(persist.ReadIniValue("Timeout", "500"), "500");
    EXPECT_EQ(WaitedMs(), LockWait::kLongestMs) << "that of the opening";
    EXPECT_TRUE(boxes.mentioned.empty());
    other.Run("COMMIT");
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM5");
    EXPECT_EQ(Stored("retry"), "7");
    EXPECT_EQ(Stored("timeout"), "(no row)") << "a default is not kept";
    EXPECT_EQ(*Foreign().Run("select Name from GotoRaDec"), std::vector<std::string>{"a"});
    EXPECT_EQ(std::ranges::count_if(logged, [](const std::string& line) { return line.starts_with("Settings|"); }), 0);
    EXPECT_EQ(Foreign().Cell("PRAGMA journal_mode"), "wal");
    persist.WriteIniValue("Port", "COM6");
    EXPECT_EQ(Stored("port"), "COM6");
    EXPECT_EQ(boxes.Texts().size(), 1U);
}

TEST_F(LockedFileTest, AFileThatWasNeverOpen_GetsWhatWasKeptAtTheEnd) {
    MakeFile("delete");
    ForeignProgram other = Foreign();
    other.Run("BEGIN EXCLUSIVE");
    {
        Persist persist(NeedsOfPersist());
        persist.WriteIniValue("Port", "COM6");
        WaitedMs();
        ReleaseAfter(other, 500);
    }
    EXPECT_EQ(WaitedMs(), 500) << "the last chance is worth a wait";
    EXPECT_EQ(Stored("port"), "COM6");
}

TEST_F(LockedFileTest, ChangesBeforeAFileThatCannotBeRead_AreDroppedWithOneLine) {
    std::filesystem::create_directories(folders.SettingsFile());  // no program opens that
    logState.g_bDebugLog = true;
    const std::string line =
        "Settings|1|The settings file could not be opened yet. Until then, changes of settings, sites and bookmarks "
        "are not kept: " +
        folders.SettingsFile().string();
    Persist persist(NeedsOfPersist());
    persist.ReadIniValue("Port", "COM1");
    logged.clear();
    boxes.mentioned.clear();
    bool isNew = true;
    for (int i = 0; i < 3; ++i) {
        persist.WriteIniValue("Retry", "7");
        EXPECT_FALSE(persist.database()->SetGotoRaDec(GotoRaDec{0, "a", "", "", "1", "2"}, isNew));
    }
    EXPECT_EQ(std::ranges::count(logged, line), 1);
    EXPECT_EQ(boxes.mentioned, std::vector<std::string>{line.substr(0, 8) + ": " + line.substr(11)});
    std::filesystem::remove(folders.SettingsFile());
    PassTime(Database::kRetryMs);
    EXPECT_EQ(persist.ReadIniValue("Retry", "2"), "2");
    persist.WriteIniValue("Retry", "8");
    EXPECT_EQ(Stored("retry"), "8");
    EXPECT_EQ(std::ranges::count(logged, line), 1);
}

TEST_F(LockedFileTest, ALockThatGoesDuringTheWait_IsWaitedOut) {
    MakeFile("delete");
    ForeignProgram other = Foreign();
    other.Run("BEGIN EXCLUSIVE");
    ReleaseAfter(other, 1500);
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(WaitedMs(), 1500);
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM5");
    EXPECT_TRUE(boxes.Texts().empty());
    EXPECT_TRUE(ledger.Entries().empty());
    EXPECT_EQ(Foreign().Cell("PRAGMA journal_mode"), "wal") << "taken over after all";
}

TEST_F(LockedFileTest, ANewFileThatAnotherHolds_IsCompletedLater) {
    std::filesystem::create_directories(folders.SettingsFile().parent_path());
    ForeignProgram other = Foreign();
    other.Run("BEGIN EXCLUSIVE; create table Mine (a TEXT)");
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(WaitedMs(), LockWait::kLongestMs);
    other.Run("COMMIT");
    persist.WriteIniValue("Port", "COM6");
    EXPECT_EQ(Stored("port"), "COM6");
    EXPECT_EQ(Foreign().Cell("select count(*) from sqlite_master where type = 'table' and name not like 'sqlite_%'"),
              "8");
}

// --- writing ---------------------------------------------------------------------------------------------------------

struct LockedWriteTest : LockedFileTest {
    LockedWriteTest() {
        db.emplace(NeedsOfDatabase());
        db->SetSetting("Port", "COM5");
        other.emplace(folders.SettingsFile());
        other->Run("BEGIN IMMEDIATE");
    }
    std::string Read(const std::string& key) {
        std::string value = "failed";
        db->GetSetting(key, value, "none");
        return value;
    }

    std::optional<Database> db;
    std::optional<ForeignProgram> other;
    bool isNew = true;
};

TEST_F(LockedWriteTest, AWriteUnderALock_WaitsForNothingAndIsStoredOnceTheLockIsGone) {
    EXPECT_FALSE(db->SetSetting("Port", "COM6"));
    EXPECT_EQ(WaitedMs(), 0);
    EXPECT_EQ(Read("PORT"), "COM6");
    EXPECT_EQ(Read("Retry"), "none");
    EXPECT_EQ(Stored("port"), "COM5");
    EXPECT_TRUE(ledger.Entries().empty());
    other->Run("COMMIT");
    EXPECT_EQ(Read("Retry"), "none");  // any call will do
    EXPECT_EQ(Stored("port"), "COM6");
    EXPECT_EQ(Audits(), (std::vector<std::string>{"Port||COM5", "Port|COM5|COM6"}));
    EXPECT_EQ(Read("Port"), "COM6");
}

TEST_F(LockedWriteTest, NoCallWaits) {
    for (int i = 0; i < 50; ++i) {
        EXPECT_FALSE(db->SetSetting("Key" + std::to_string(i), "x"));
        EXPECT_TRUE(db->SetGotoRaDec(GotoRaDec{0, "a", "", "", "1", "2"}, isNew));
        EXPECT_TRUE(db->DeleteSite(1));
        EXPECT_FALSE(db->TryDeleteSetting("Port"));
        EXPECT_FALSE(db->SetFirstSetting("Retry", "2", "none", Sync::Later));
        Read("Port");
        PassTime(1000);
    }
    EXPECT_EQ(WaitedMs(), 0);
}

TEST_F(LockedWriteTest, AKeptWrite_DoesNotShowInTheList) {
    db->SetSetting("Port", "COM6");
    RecordArray<PropValue> settings;
    EXPECT_TRUE(db->GetAllDriverSettings(settings));
    ASSERT_EQ(settings.size(), 2U);
    EXPECT_EQ(settings[1]->Value, "COM5");
}

TEST_F(LockedWriteTest, KeptWrites_AreStoredInTheirOrderAndOfEachKeyTheNewest) {
    db->SetSetting("Port", "COM6");
    db->SetSetting("SiteDbIndex", "3");
    db->SetSetting("Retry", "1");
    db->SetSetting("PORT", "COM7");
    EXPECT_EQ(Read("Port"), "COM7");
    EXPECT_EQ(Read("siteDbIndex"), "3");
    other->Run("COMMIT");
    EXPECT_TRUE(db->SetSetting("Timeout", "9"));
    EXPECT_EQ(Audits(),
              (std::vector<std::string>{"Port||COM5", "SiteDbIndex||3", "Retry||1", "PORT|COM5|COM7", "Timeout||9"}));
    EXPECT_EQ(Stored("sitedbindex", "CommonSettings"), "3");
}

TEST_F(LockedWriteTest, AKeptWrite_IsStoredAtTheEnd) {
    db->SetSetting("Port", "COM6");
    WaitedMs();
    ReleaseAfter(*other, 500);
    db.reset();
    EXPECT_EQ(WaitedMs(), 500) << "the last chance is worth a wait";
    EXPECT_EQ(Stored("port"), "COM6");
}

TEST_F(LockedWriteTest, ALockAtTheEnd_HoldsItForABoundedTime) {
    db->SetSetting("Port", "COM6");
    db->SetSetting("Retry", "6");
    WaitedMs();
    db.reset();
    EXPECT_EQ(WaitedMs(), LockWait::kLongestMs);
    EXPECT_EQ(Stored("port"), "COM5");
}

TEST_F(LockedWriteTest, AnEqualValue_NeedsNoWait) {
    EXPECT_TRUE(db->SetSetting("Port", "COM5"));
    EXPECT_EQ(WaitedMs(), 0);
}

TEST_F(LockedWriteTest, AKeptWriteThatFailsForGood_DoesNotHoldUpTheOthers) {
    db->SetSetting("Port", std::string("a\0b", 3));
    db->SetSetting("SiteDbIndex", "3");
    db->SetSetting("Retry", "6");
    other->Run("drop table CommonSettings; COMMIT");
    EXPECT_EQ(Read("Retry"), "6");
    EXPECT_EQ(Stored("retry"), "6");
    EXPECT_EQ(Stored("port"), "COM5");
}

TEST_F(LockedWriteTest, ADeletionUnderALock_TakesTheKeptWriteWithItAndGoesOutLater) {
    db->SetSetting("Port", "COM6");
    EXPECT_FALSE(db->TryDeleteSetting("PORT"));
    EXPECT_EQ(Read("Port"), "none");
    EXPECT_EQ(Stored("port"), "COM5");
    other->Run("COMMIT");
    EXPECT_EQ(Read("Port"), "none");
    EXPECT_EQ(Stored("port"), "(no row)");
}

TEST_F(LockedWriteTest, ARecordUnderALock_IsKeptAndGoesOutInItsTurn) {
    other->Run("insert into GotoRaDec values (7, 'old', '', '', '1', '2'), (8, 'gone', '', '', '1', '2')");
    EXPECT_FALSE(db->KeepsRecords());
    EXPECT_TRUE(db->SetGotoRaDec(GotoRaDec{0, "a", "", "", "1", "2"}, isNew));
    EXPECT_FALSE(db->Answered());
    EXPECT_FALSE(db->SetSetting("Retry", "6"));
    isNew = false;
    EXPECT_TRUE(db->SetGotoRaDec(GotoRaDec{7, "b", "", "", "3", "4"}, isNew));
    EXPECT_TRUE(db->SetGotoRaDec(GotoRaDec{99, "c", "", "", "5", "6"}, isNew));
    EXPECT_TRUE(db->DeleteGotoRaDec(8));
    EXPECT_TRUE(db->KeepsRecords());
    EXPECT_EQ(WaitedMs(), 0);
    other->Run("COMMIT");
    EXPECT_EQ(Read("Retry"), "6");
    EXPECT_FALSE(db->KeepsRecords());
    EXPECT_EQ(*Foreign().Run("select Name from GotoRaDec order by Name"), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(Stored("retry"), "6");
}

TEST_F(LockedWriteTest, ARecordWithoutALock_IsStoredAtOnce) {
    other->Run("COMMIT");
    EXPECT_TRUE(db->SetGotoRaDec(GotoRaDec{0, "a", "", "", "1", "2"}, isNew));
    EXPECT_TRUE(db->Answered());
    EXPECT_EQ(Foreign().Cell("select count(*) from GotoRaDec"), "1");
    isNew = false;
    EXPECT_TRUE(db->SetGotoRaDec(GotoRaDec{99, "c", "", "", "5", "6"}, isNew));
    EXPECT_TRUE(isNew);
}

/// In a rollback journal another program can keep ours from reading too.
TEST_F(LockedFileTest, AReadUnderALock_GivesWhatTheSettingWasBefore) {
    MakeFile("delete");
    ForeignProgram keepsTheJournal = Foreign();
    keepsTheJournal.Run("BEGIN; select count(*) from Driver");
    Database db(NeedsOfDatabase());
    std::string value;
    EXPECT_TRUE(db.GetSetting("Port", value, "COM1"));
    keepsTheJournal.Run("COMMIT");
    ForeignProgram other = Foreign();
    ASSERT_TRUE(other.Run("BEGIN EXCLUSIVE"));
    value.clear();
    EXPECT_TRUE(db.GetSetting("PORT", value, "COM1"));
    EXPECT_EQ(value, "COM5");
    EXPECT_FALSE(db.Answered());
    EXPECT_FALSE(db.GetSetting("Retry", value, "2")) << "nobody knows this one";
    EXPECT_EQ(WaitedMs(), 0);
    other.Run("update Driver set Value = 'COM9'; COMMIT");
    EXPECT_TRUE(db.GetSetting("Port", value, "COM1"));
    EXPECT_EQ(value, "COM9");
}

TEST_F(LockedWriteTest, Persist_ReadsBackWhatItWroteUnderALock) {
    Persist persist(NeedsOfPersist());
    persist.WriteIniValue("ParkStatus", "Parked");
    EXPECT_EQ(persist.ReadIniValue("ParkStatus", "Unknown"), "Parked");
    other->Run("COMMIT");
    EXPECT_EQ(persist.ReadIniValue("ParkStatus", "Unknown"), "Parked");
    EXPECT_EQ(Stored("parkstatus"), "Parked");
}

// --- first reads -----------------------------------------------------------------------------------------------------

/// What the first read of "ParkStatus" answers: a default, or a line of the old ini file.
struct FirstAnswer {
    const char* legacyFile;
    const char* answer;
};

struct LockedFirstReadTest : LockedWriteTest, testing::WithParamInterface<FirstAnswer> {
    LockedFirstReadTest() {
        persist.emplace(NeedsOfPersist());
        WriteLegacyFile(GetParam().legacyFile);
    }
    std::string ReadParkStatus() { return persist->ReadIniValue("ParkStatus", "Unknown"); }
    void OtherSetsParkStatus() {
        EXPECT_TRUE(other->Run("insert into Driver (Property, Value) values ('parkstatus', 'Parked')"));
    }

    std::optional<Persist> persist;
};

INSTANTIATE_TEST_SUITE_P(Answers, LockedFirstReadTest,
                         testing::Values(FirstAnswer{"", "Unknown"},
                                         FirstAnswer{"[default]\nparkstatus=Unparked\n", "Unparked"}));

TEST_P(LockedFirstReadTest, AnAnswerThatMetALock_GivesWayToWhatTheOtherProgramSet) {
    EXPECT_EQ(ReadParkStatus(), GetParam().answer);
    OtherSetsParkStatus();
    other->Run("COMMIT");
    EXPECT_EQ(ReadParkStatus(), "Parked");
    persist.reset();
    EXPECT_EQ(Stored("parkstatus"), "Parked");
}

TEST_P(LockedFirstReadTest, AnAnswerThatMetALock_IsStoredByTheNextReadOnceTheLockIsGone) {
    EXPECT_EQ(ReadParkStatus(), GetParam().answer);
    EXPECT_EQ(Stored("parkstatus"), "(no row)");
    other->Run("COMMIT");
    EXPECT_EQ(ReadParkStatus(), GetParam().answer);
    EXPECT_EQ(Stored("parkstatus"), GetParam().answer);
    EXPECT_EQ(persist->ReadIniValue("ParkStatus", "Later"), GetParam().answer);
}

TEST_P(LockedFirstReadTest, AnAnswerThatMetALock_CountsForReadersWithAnotherDefaultToo) {
    EXPECT_EQ(ReadParkStatus(), GetParam().answer);
    EXPECT_EQ(persist->ReadIniValue("PARKSTATUS", "Other"), GetParam().answer);
    other->Run("COMMIT");
    EXPECT_EQ(persist->ReadIniValue("ParkStatus", "Other"), GetParam().answer);
    EXPECT_EQ(Stored("parkstatus"), GetParam().answer);
}

TEST_F(LockedWriteTest, TheCommonSetting_IsReadFirstLikeTheOthers) {
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(persist.ReadIniValue("SITEDBINDEX", "0"), "0");
    other->Run("insert into CommonSettings (Property, Value) values ('sitedbindex', '4'); COMMIT");
    EXPECT_EQ(persist.ReadIniValue("SiteDbIndex", "0"), "4");
    other->Run("delete from CommonSettings");
    EXPECT_EQ(persist.ReadIniValue("SiteDbIndex", "7"), "7");
    EXPECT_EQ(Stored("sitedbindex", "CommonSettings"), "7");
    EXPECT_EQ(Stored("sitedbindex"), "(no row)");
}

// --- the wait itself -------------------------------------------------------------------------------------------------

TEST(LockWaitTest, AWait_IsAllowedOnceAndForABoundedTime) {
    VirtualClock clock(Tick{INT32_MAX - 1000});
    LockWait wait(clock);
    EXPECT_FALSE(wait.WaitAStep()) << "nothing allowed yet";
    wait.Begin();
    while (wait.WaitAStep()) {
    }
    EXPECT_EQ(clock.Elapsed(), LockWait::kLongestMs);
    wait.Begin();
    EXPECT_TRUE(wait.WaitAStep());
    wait.Forbid();
    EXPECT_FALSE(wait.WaitAStep());
}

}  // namespace
}  // namespace kestrane
