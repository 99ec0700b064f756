#include <gtest/gtest.h>
#include <map>

#include "settings_fakes.h"

/// What is on the disk when a call returns: counted where SQLite asks the system to put it there.
namespace kestrane {
namespace {

int syncs = 0;

/// The usual files of SQLite, with their `xSync` counted.
class CountedFiles {
public:
    CountedFiles() {
        counted_ = *Usual();
        counted_.zName = "counted";
        counted_.xOpen = &Open;
        sqlite3_vfs_register(&counted_, 1);
    }
    ~CountedFiles() {
        sqlite3_vfs_unregister(&counted_);
        sqlite3_vfs_register(Usual(), 1);
    }
    CountedFiles(const CountedFiles&) = delete;
    CountedFiles& operator=(const CountedFiles&) = delete;

private:
    static sqlite3_vfs* Usual() {
        static sqlite3_vfs* const usual = sqlite3_vfs_find("unix");
        return usual;
    }
    static int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
        const int status = Usual()->xOpen(Usual(), name, file, flags, outFlags);
        if (status == SQLITE_OK) {
            file->pMethods = Counted(file->pMethods);
        }
        return status;
    }
    /// Files of each kind (the settings file, its log) have methods of their own; they share the one `xSync`.
    static const sqlite3_io_methods* Counted(const sqlite3_io_methods* usual) {
        static std::map<const sqlite3_io_methods*, sqlite3_io_methods> kinds;
        static const auto usualSync = usual->xSync;
        sqlite3_io_methods& counted = kinds.try_emplace(usual, *usual).first->second;
        counted.xSync = [](sqlite3_file* file, int how) {
            ++syncs;
            return usualSync(file, how);
        };
        return &counted;
    }

    sqlite3_vfs counted_{};
};

struct PowerCutTest : testing::Test, SettingsWorld {
    int SyncsOf(const std::function<void()>& work) {
        syncs = 0;
        work();
        return syncs;
    }

    CountedFiles counted;
};

TEST_F(PowerCutTest, WithAWriteAheadLog_AWriteIsOnTheDiskAndADefaultIsNot) {
    Persist persist(NeedsOfPersist());
    ASSERT_EQ(Foreign().Cell("PRAGMA journal_mode"), "wal");
    persist.WriteIniValue("First", "1");  // the log's own beginning
    Database& db = *persist.database();
    bool isNew = true;
    EXPECT_EQ(SyncsOf([&] { persist.WriteIniValue("ParkStatus", "Parked"); }), 1);
    EXPECT_EQ(SyncsOf([&] { persist.WriteIniValue("ParkStatus", "Parked"); }), 0);
    EXPECT_EQ(SyncsOf([&] { persist.ReadIniValue("Port", "COM1"); }), 0);
    EXPECT_EQ(SyncsOf([&] { persist.WriteIniValue("ParkStatus", "Unparked"); }), 1);
    EXPECT_EQ(SyncsOf([&] { db.SetSetting("SiteDbIndex", "2"); }), 1);
    EXPECT_EQ(SyncsOf([&] { db.SetGotoAltAz(GotoAltAz{0, "a", "", "1", "2"}, isNew); }), 1);
    EXPECT_EQ(SyncsOf([&] { persist.ReadIniValue("Retry", "2"); }), 0);
    EXPECT_EQ(SyncsOf([&] { db.DeleteGotoAltAz(1); }), 1);
    EXPECT_EQ(SyncsOf([&] { persist.ReadIniValue("Timeout", "2"); }), 0);
    EXPECT_EQ(SyncsOf([&] { persist.TryDeleteIniValue("Port"); }), 1);
}

TEST_F(PowerCutTest, AValueOutOfTheLegacyFile_IsOnTheDisk) {
    WriteLegacyFile("[default]\nport=COM7\n");
    Persist persist(NeedsOfPersist());
    persist.WriteIniValue("First", "1");
    EXPECT_EQ(SyncsOf([&] { persist.ReadIniValue("Port", "COM1"); }), 1);
}

TEST_F(PowerCutTest, WithARollbackJournal_EveryWriteIsOnTheDisk) {
    { const Database makesTheFile(NeedsOfDatabase()); }
    ForeignProgram other = Foreign();
    ASSERT_EQ(other.Cell("PRAGMA journal_mode = DELETE"), "delete");
    other.Run("BEGIN; select count(*) from Driver");
    Persist persist(NeedsOfPersist());
    other.Run("COMMIT");
    EXPECT_EQ(other.Cell("PRAGMA journal_mode"), "delete");
    const int ofAWrite = SyncsOf([&] { persist.WriteIniValue("Port", "COM2"); });
    EXPECT_GE(ofAWrite, 6) << "row and audit row, each: the journal, its head, the file";
    EXPECT_EQ(SyncsOf([&] { persist.ReadIniValue("Retry", "2"); }), ofAWrite);
}

TEST_F(PowerCutTest, TheTablesOfANewFile_DoNotWaitForTheDiskOneByOne) {
    std::optional<Database> db;
    EXPECT_LT(SyncsOf([&] { db.emplace(NeedsOfDatabase()); }), 7);
}

}  // namespace
}  // namespace kestrane
