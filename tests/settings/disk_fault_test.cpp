#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>

#include "settings_fakes.h"
#include "support/small_disk.h"

/// Settings on a disk that is full or read-only: a file system of 4 MB of its own, mounted for each test.
namespace kestrane {
namespace {

/// A settings file as a process left it behind, and the log on.
struct FaultyFileTest : testing::Test, SettingsWorld {
    FaultyFileTest() { logState.g_bDebugLog = true; }
    /// With `killed`, the newest value is in the write-ahead log only, and the file has "COM4".
    void MakeFile(bool killed = false) {
        Persist(NeedsOfPersist()).WriteIniValue("Port", "COM4");
        Persist persist(NeedsOfPersist());
        if (killed) {
            ForeignProgram other = Foreign();  // keeps the log from being merged into the file
            persist.WriteIniValue("Port", "COM5");
            const std::filesystem::path wal = folders.SettingsFile().string() + "-wal";
            std::filesystem::copy_file(wal, folders.CommonAppData() / "kept");
            std::filesystem::copy_file(folders.SettingsFile(), folders.CommonAppData() / "file");
        } else {
            persist.WriteIniValue("Port", "COM5");
        }
    }
    /// Puts the files in place that a killed process left.
    void MakeKilledFile() {
        MakeFile(true);
        std::filesystem::remove(folders.SettingsFile());
        std::filesystem::rename(folders.CommonAppData() / "file", folders.SettingsFile());
        std::filesystem::rename(folders.CommonAppData() / "kept", folders.SettingsFile().string() + "-wal");
    }
    /// Something else under the name of the settings file.
    std::string MakeNoDatabase() {
        std::filesystem::create_directories(folders.SettingsFile().parent_path());
        std::string content(4096, 'x');
        std::ofstream(folders.SettingsFile()) << content;
        std::filesystem::remove(folders.SettingsFile().string() + "-wal");
        return content;
    }
    std::string Stored(const std::string& key) {
        return Foreign().Cell("select Value from Driver where Property = '" + key + "'");
    }
    void PassTime(std::int32_t milliseconds) { clock.MoveTo(clock.Elapsed() + milliseconds); }
    std::vector<std::string> ErrorLines() const {
        std::vector<std::string> errors;
        std::ranges::copy_if(logged, std::back_inserter(errors),
                             [](const std::string& line) { return line.find("|2|") != std::string::npos; });
        return errors;
    }
    void ExpectNothingMoved() {
        for (const auto& entry : std::filesystem::directory_iterator(folders.SettingsFile().parent_path())) {
            EXPECT_EQ(entry.path().string().find("2024-"), std::string::npos) << entry.path();
        }
    }
};

struct DiskFaultTest : FaultyFileTest {
    void SetUp() override {
        if (!disk.Mounted()) {
            GTEST_SKIP() << "mounting is not permitted here: " << disk.WhyNot();
        }
    }

    SmallDisk disk{folders.CommonAppData()};
};

// --- full ------------------------------------------------------------------------------------------------------------

TEST_F(DiskFaultTest, ADiskThatIsFullAtTheStart_StillGivesTheSettings) {
    MakeFile();
    disk.Fill();
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM5");
    EXPECT_TRUE(boxes.Texts().empty());
    EXPECT_TRUE(ErrorLines().empty());
}

TEST_F(DiskFaultTest, ADiskThatIsFullAfterAKill_GivesTheSettingsOutOfTheLogToo) {
    MakeKilledFile();
    disk.Fill();
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM5");
    EXPECT_TRUE(boxes.Texts().empty());
}

TEST_F(DiskFaultTest, OnAFullDisk_WritesAreKeptWithOneLineAndStoredOnceThereIsRoom) {
    MakeFile();
    disk.Fill();
    Persist persist(NeedsOfPersist());
    persist.WriteIniValue("Port", std::string(6000, '7'));
    persist.WriteIniValue("Retry", std::string(6000, '8'));
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), std::string(6000, '7'));
    ASSERT_EQ(ErrorLines().size(), 1U);
    EXPECT_EQ(ErrorLines()[0],
              "Settings|2|The settings cannot be written; they are kept and tried again while the driver runs: " +
                  folders.SettingsFile().string() + ": database or disk is full");
    EXPECT_EQ(boxes.mentioned.size(), 1U);
    EXPECT_NE(boxes.mentioned.at(0).find(folders.SettingsFile().string()), std::string::npos);
    disk.MakeRoom();
    persist.ReadIniValue("Port", "COM1");
    PassTime(Database::kRetryMs - 1);
    persist.ReadIniValue("Port", "COM1");
    EXPECT_NE(Stored("retry"), std::string(6000, '8')) << "not tried again before its time";
    PassTime(1);
    persist.ReadIniValue("Port", "COM1");
    EXPECT_EQ(Stored("port"), std::string(6000, '7')) << "and other programs may use the file again";
    EXPECT_EQ(Stored("retry"), std::string(6000, '8'));
    EXPECT_EQ(ErrorLines().size(), 1U);
}

TEST_F(DiskFaultTest, ADiskThatFillsDuringARun_LosesNoSettingAndNoRecord) {
    Persist persist(NeedsOfPersist());
    persist.WriteIniValue("Port", "COM5");
    disk.Fill();
    const std::string large(100'000, 'x');
    persist.WriteIniValue("SiteName", large);
    persist.WriteIniValue("Port", "COM6");
    bool isNew = true;
    EXPECT_TRUE(persist.database()->SetGotoRaDec(GotoRaDec{0, "a", "", "", "1", "2"}, isNew));
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM6");
    EXPECT_EQ(persist.ReadIniValue("SiteName", ""), large);
    EXPECT_EQ(ErrorLines().size(), 1U);
    disk.MakeRoom();
    PassTime(Database::kRetryMs);
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM6");
    EXPECT_EQ(Stored("port"), "COM6");
    EXPECT_EQ(Stored("sitename"), large);
    EXPECT_EQ(Foreign().Cell("select count(*) from GotoRaDec"), "1");
    EXPECT_EQ(std::ranges::count(logged, "Settings|0|The settings can be written again"), 1);
}

TEST_F(DiskFaultTest, ADiskWithoutRoomForTheAuditRow_StoresTheSettingAndSaysNothing) {
    Persist persist(NeedsOfPersist());
    std::string value(4000, 'a');
    persist.WriteIniValue("Port", value);
    const auto audits = [&] {
        return Foreign().Cell("select count(*) from PropertyChangedEvent where NewValue = '" + value + "'");
    };
    constexpr std::uintmax_t kPage = 4096;
    std::uintmax_t room = 20 * kPage;
    do {
        room -= kPage;
        disk.Fill();
        disk.MakeRoom(room);
        ++value[0];
        persist.WriteIniValue("Port", value);
        ASSERT_EQ(Stored("port"), value) << room;
    } while (audits() == "1");
    EXPECT_TRUE(ErrorLines().empty());
    disk.Fill();
    disk.MakeRoom(room);
    PassTime(Database::kRetryMs);
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), value);
    persist.WriteIniValue("Retry", "4");
    EXPECT_EQ(Stored("retry"), "4") << "a setting does not wait for the audit row of another";
    EXPECT_TRUE(ErrorLines().empty());
    disk.MakeRoom();
    PassTime(Database::kRetryMs);
    persist.ReadIniValue("Port", "COM1");
    EXPECT_EQ(audits(), "1");
    EXPECT_EQ(std::ranges::count(logged, "Settings|0|The settings can be written again"), 0);
}

TEST_F(DiskFaultTest, ANewFileOnAFullDisk_MeansDefaultsAndOneBoxAndOneLine) {
    disk.Fill();
    {
        Persist persist(NeedsOfPersist());
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM1");
            PassTime(Database::kRetryMs);
        }
        EXPECT_EQ(boxes.Texts().size(), 1U);
        ASSERT_GE(ErrorLines().size(), 1U);
        EXPECT_TRUE(
            ErrorLines()[0].starts_with("Settings|2|The settings could not be read; defaults take their place"));
        const auto warnings = [&] {
            return std::ranges::count_if(
                logged, [](const std::string& line) { return line.find("are not kept") != std::string::npos; });
        };
        EXPECT_EQ(warnings(), 0) << "a default that is not stored is no change";
        persist.WriteIniValue("Port", "COM2");
        EXPECT_EQ(warnings(), 1);
        disk.MakeRoom();
        PassTime(Database::kRetryMs);
        persist.ReadIniValue("Port", "COM1");
    }
    EXPECT_EQ(Stored("port"), "COM1") << "made once there was room";
}

TEST_F(FaultyFileTest, ADiskWithRoom_SharesTheFile) {
    MakeFile();
    Persist persist(NeedsOfPersist());
    ForeignProgram other = Foreign();
    EXPECT_EQ(other.Cell("select Value from Driver where Property = 'port'"), "COM5");
    EXPECT_TRUE(other.Run("update Driver set Value = 'COM9' where Property = 'port'"));
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM9");
    EXPECT_TRUE(ErrorLines().empty());
}

// --- read-only -------------------------------------------------------------------------------------------------------

TEST_F(DiskFaultTest, AReadOnlyDisk_GivesTheSettingsAndSaysThatTheLastWritesMayBeMissing) {
    MakeFile();
    disk.ReadOnly(true);
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM5");
    persist.WriteIniValue("Port", "COM6");
    persist.WriteIniValue("Port", "COM7");
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM7");
    EXPECT_TRUE(boxes.Texts().empty());
    ASSERT_EQ(ErrorLines().size(), 1U);
    EXPECT_NE(ErrorLines()[0].find("the last writes may be missing"), std::string::npos);
    EXPECT_NE(ErrorLines()[0].find(folders.SettingsFile().string()), std::string::npos);
    disk.ReadOnly(false);
    PassTime(Database::kRetryMs);
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM7");
    EXPECT_EQ(Stored("port"), "COM7");
}

TEST_F(DiskFaultTest, AReadOnlyDiskAfterAKill_GivesTheOlderValueWithTheLine) {
    MakeKilledFile();
    disk.ReadOnly(true);
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM4");
    EXPECT_TRUE(boxes.Texts().empty());
    ASSERT_EQ(ErrorLines().size(), 1U);
    EXPECT_NE(ErrorLines()[0].find("the last writes may be missing"), std::string::npos);
    disk.ReadOnly(false);
    PassTime(Database::kRetryMs);
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM5") << "and the newer one once the disk can be written";
}

TEST_F(DiskFaultTest, TheLastWrites_WaitForAnotherProgramEvenWhenTheFileIsOpenedAnewForThem) {
    onSleep = [] {};
    MakeFile();
    ASSERT_EQ(Foreign().Cell("PRAGMA journal_mode = delete"), "delete");
    disk.ReadOnly(true);
    std::optional<Persist> persist(NeedsOfPersist());
    persist->WriteIniValue("Port", "COM6");
    disk.ReadOnly(false);
    ForeignProgram other = Foreign();
    ASSERT_TRUE(other.Run("BEGIN; select count(*) from Driver"));
    const std::int32_t before = sleptMs;
    onSleep = [&] {
        if (sleptMs - before == 500) {
            other.Run("COMMIT");
        }
    };
    persist.reset();
    EXPECT_EQ(sleptMs - before, 500);
    EXPECT_EQ(Stored("port"), "COM6");
}

// --- no database -----------------------------------------------------------------------------------------------------

TEST_F(FaultyFileTest, AFileThatIsNoDatabase_IsMovedAsideUnderADatedNameAfterTheBox) {
    const std::string content = MakeNoDatabase();
    const std::filesystem::path aside = folders.SettingsFile().string() + ".2024-03-07_09-05-02";
    bool thereAtTheBox = true;
    boxes.whenShown = [&](const RecordingMessageBoxes::Box&) { thereAtTheBox = std::filesystem::exists(aside); };
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(boxes.Texts(), std::vector<std::string>{"Init DB Error: file is not a database"});
    EXPECT_FALSE(thereAtTheBox);
    EXPECT_EQ(ContentOf(aside), content);
    persist.WriteIniValue("Port", "COM6");
    EXPECT_EQ(Stored("port"), "COM6");
    ASSERT_EQ(ErrorLines().size(), 1U);
    EXPECT_NE(ErrorLines()[0].find(aside.string()), std::string::npos);
}

TEST_F(FaultyFileTest, ASecondFileThatIsNoDatabase_TakesTheNextName) {
    for (int i = 0; i < 2; ++i) {
        MakeNoDatabase();
        const Persist persist(NeedsOfPersist());
    }
    EXPECT_TRUE(std::filesystem::exists(folders.SettingsFile().string() + ".2024-03-07_09-05-02"));
    EXPECT_TRUE(std::filesystem::exists(folders.SettingsFile().string() + ".2024-03-07_09-05-02_2"));
}

TEST_F(DiskFaultTest, OtherFaultsMoveNothing) {
    MakeFile();
    disk.ReadOnly(true);
    { const Persist persist(NeedsOfPersist()); }
    disk.ReadOnly(false);
    disk.Fill();
    { const Persist persist(NeedsOfPersist()); }
    disk.MakeRoom();
    ExpectNothingMoved();
    EXPECT_EQ(Stored("port"), "COM5");
}

TEST_F(FaultyFileTest, ADamagedFile_IsNotMovedAside) {
    MakeFile();
    std::string damaged = ContentOf(folders.SettingsFile());
    damaged.replace(100, 3000, 3000, 'x');  // the head, which says that it is a database, stays
    std::ofstream(folders.SettingsFile(), std::ios::binary) << damaged;
    {
        Persist persist(NeedsOfPersist());
        EXPECT_EQ(boxes.Texts(), std::vector<std::string>{"Init DB Error: database disk image is malformed"});
        EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM1");
    }
    ExpectNothingMoved();
    EXPECT_EQ(ContentOf(folders.SettingsFile()), damaged);
    ASSERT_EQ(ErrorLines().size(), 1U);
    EXPECT_NE(ErrorLines()[0].find("could not be read"), std::string::npos);
}

TEST_F(FaultyFileTest, ALockedFile_IsNotMovedAside) {
    onSleep = [] {};
    MakeFile();
    ForeignProgram other = Foreign();
    ASSERT_EQ(other.Cell("PRAGMA journal_mode = delete"), "delete");
    ASSERT_TRUE(other.Run("BEGIN EXCLUSIVE"));
    { const Persist persist(NeedsOfPersist()); }
    EXPECT_EQ(boxes.Texts(), std::vector<std::string>{"Init DB Error: database is locked"});
    ExpectNothingMoved();
    other.Run("COMMIT");
    EXPECT_EQ(Stored("port"), "COM5");
}

TEST_F(DiskFaultTest, AFileThatIsNoDatabase_OnAReadOnlyDisk_StaysAndMeansDefaults) {
    const std::string content = MakeNoDatabase();
    disk.ReadOnly(true);
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(boxes.Texts(), std::vector<std::string>{"Init DB Error: file is not a database"});
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM1");
    ExpectNothingMoved();
    EXPECT_EQ(ContentOf(folders.SettingsFile()), content);
    ASSERT_EQ(ErrorLines().size(), 1U) << "and not the one that names a file moved aside";
    EXPECT_NE(ErrorLines()[0].find("could not be read; defaults take their place"), std::string::npos);
}

}  // namespace
}  // namespace kestrane
