#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>

#include "settings_fakes.h"
#include "support/small_disk.h"

/// Settings on a disk that is full or read-only: a file system of 4 MB of its own, mounted for each test.
namespace kestrane {
namespace {

struct DiskFaultTest : testing::Test, SettingsWorld {
    void SetUp() override {
        if (!disk.Mounted()) {
            GTEST_SKIP() << "mounting is not permitted here: " << disk.WhyNot();
        }
        logState.g_bDebugLog = true;
    }
    /// The settings as a process left them behind. With `killed`, the newest are still in the write-ahead log.
    void MakeFile(bool killed = false) {
        Persist persist(NeedsOfPersist());
        persist.WriteIniValue("Port", "COM4");
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
        disk.MakeRoom();
        PassTime(Database::kRetryMs);
        persist.ReadIniValue("Port", "COM1");
    }
    EXPECT_EQ(Stored("port"), "COM1") << "made once there was room";
}

TEST_F(DiskFaultTest, ADiskWithRoom_SharesTheFile) {
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

// --- no database -----------------------------------------------------------------------------------------------------

TEST_F(DiskFaultTest, AFileThatIsNoDatabase_IsMovedAsideUnderADatedNameAfterTheBox) {
    std::filesystem::create_directories(folders.SettingsFile().parent_path());
    const std::string content(4096, 'x');
    std::ofstream(folders.SettingsFile()) << content;
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

TEST_F(DiskFaultTest, ASecondFileThatIsNoDatabase_TakesTheNextName) {
    std::filesystem::create_directories(folders.SettingsFile().parent_path());
    for (int i = 0; i < 2; ++i) {
        std::ofstream(folders.SettingsFile()) << std::string(4096, 'x');
        std::filesystem::remove(folders.SettingsFile().string() + "-wal");
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
    for (const auto& entry : std::filesystem::directory_iterator(folders.SettingsFile().parent_path())) {
        EXPECT_EQ(entry.path().string().find("2024-"), std::string::npos) << entry.path();
    }
    EXPECT_EQ(Stored("port"), "COM5");
}

}  // namespace
}  // namespace kestrane
