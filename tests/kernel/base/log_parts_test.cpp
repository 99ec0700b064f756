#include <algorithm>
#include <gtest/gtest.h>
#include <set>

#include "kernel/base/date_time.h"
#include "log_fixture.h"

/// Logs in parts, and which old files are kept.
namespace kestrane {
namespace {

struct LogPartsTest : LogTest {
    LogPartsTest() {
        facts = LogFileFacts{{}, {}, {}, {}, {}, [this] { return folder.Path(); }};
        facts.limits = [this] { return limits; };
        log.SetFacts(facts);
        std::filesystem::create_directories(LogsFolder());
    }
    /// A file without content on the disk, last written so many hours ago.
    std::filesystem::path MakeFile(const std::string& name, std::uintmax_t bytes, int hoursAgo) {
        const std::filesystem::path file = LogsFolder() / name;
        std::ofstream(file).close();
        std::filesystem::resize_file(file, bytes);
        const std::int64_t seconds = SecondsSince1970(clock.DateLocalToUTC(kStart)) - hoursAgo * 3600;
        using FileClock = std::filesystem::file_time_type::clock;
        const std::chrono::sys_seconds time{std::chrono::seconds{seconds}};
        std::filesystem::last_write_time(
            file, std::chrono::time_point_cast<std::filesystem::file_time_type::duration>(FileClock::from_sys(time)));
        return file;
    }
    std::set<std::string> Names() {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(LogsFolder())) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

    LogFileFacts facts;
    LogLimits limits;
    const std::string opened = "KS_ASCOM_2024-03-07_09-05-02.log";
};

TEST_F(LogPartsTest, AFileOf50MBytes_IsContinuedInTheNextWithItsHeadAndNumbers) {
    log.OpenLog();
    log.WriteLogLine("first");
    log.CloseLog();
    std::filesystem::resize_file(LogFile(), Log::kPartBytes - 100);
    log.OpenLog();  // the head crosses the limit
    clock.SetLocalTime({2024, 3, 7, 10, 0, 0, 0});
    log.WriteLogLine("next");
    EXPECT_EQ(log.FileName(), LogsFolder() / "KS_ASCOM_2024-03-07_10-00-00.log");
    const std::string content = ContentOf(log.FileName());
    EXPECT_TRUE(content.starts_with("000006 # KS ASCOM Driver - 5.50.03\n")) << content;
    EXPECT_TRUE(content.ends_with("000011 # Continues: " + opened + "\n000012 next\n")) << content;
    EXPECT_LT(std::filesystem::file_size(LogFile()), Log::kPartBytes + 400);
}

TEST_F(LogPartsTest, AFullFileOfTheSameSecond_IsNotContinued) {
    MakeFile(opened, Log::kPartBytes, 0);
    MakeFile("KS_ASCOM_2024-03-07_09-05-02_2.log", Log::kPartBytes, 0);
    log.OpenLog();
    EXPECT_EQ(log.FileName().filename(), "KS_ASCOM_2024-03-07_09-05-02_3.log");
}

TEST_F(LogPartsTest, FilesOlderThan30Days_AreRemoved) {
    MakeFile("KS_ASCOM_2024-02-06_00-00-00.log", 10, 30 * 24 + 1);
    MakeFile("KS_ASCOM_2024-02-05_00-00-00.log", 10, 30 * 24 - 1);
    log.OpenLog();
    EXPECT_EQ(Names(), (std::set<std::string>{"KS_ASCOM_2024-02-05_00-00-00.log", opened}));
}

TEST_F(LogPartsTest, FilesBeyond500MBytes_AreRemovedOldestFirst) {
    for (int i = 1; i <= 11; ++i) {
        MakeFile("KS_ASCOM_" + std::to_string(i) + ".log", Log::kPartBytes - 1000, i);
    }
    log.OpenLog();
    EXPECT_EQ(Names().size(), 11U);
    EXPECT_FALSE(Names().contains("KS_ASCOM_11.log"));
    EXPECT_TRUE(Names().contains("KS_ASCOM_10.log"));
}

TEST_F(LogPartsTest, ANewPart_RemovesOldFilesToo) {
    log.OpenLog();
    log.CloseLog();
    std::filesystem::resize_file(LogFile(), Log::kPartBytes - 100);
    log.OpenLog();
    MakeFile("KS_ASCOM_old.log", 10, 30 * 24 + 1);
    clock.SetLocalTime({2024, 3, 7, 10, 0, 0, 0});
    log.WriteLogLine("next");
    EXPECT_EQ(Names(), (std::set<std::string>{opened, "KS_ASCOM_2024-03-07_10-00-00.log"}));
}

TEST_F(LogPartsTest, WithoutTheNextPartAndTheFileBefore_EachLineTriesAgain) {
    log.OpenLog();
    log.CloseLog();
    std::filesystem::resize_file(LogFile(), Log::kPartBytes - 100);
    log.OpenLog();
    std::filesystem::rename(LogsFolder(), folder.Path() / "away");
    log.WriteLogLine("lost");
    EXPECT_FALSE(log.IsOpen());
    EXPECT_EQ(log.FileName(), "");
    log.LogTrouble("Settings", LogLevel::Error, "kept");
    std::filesystem::create_directory(LogsFolder());
    log.WriteLogLine("next");
    const std::string content = ContentOf(log.FileName());
    EXPECT_NE(content.find(": kept\n"), std::string::npos) << content;
    EXPECT_TRUE(content.ends_with(" next\n")) << content;
}

TEST_F(LogPartsTest, BothLimits_AreSettings) {
    MakeFile("KS_ASCOM_a.log", 10, 25);
    MakeFile("KS_ASCOM_b.log", 900, 2);
    MakeFile("KS_ASCOM_c.log", 900, 1);
    limits = LogLimits{.keptBytes = 2000, .keptDays = 1};
    log.OpenLog();
    EXPECT_EQ(Names(), (std::set<std::string>{"KS_ASCOM_b.log", "KS_ASCOM_c.log", opened}));
    log.CloseLog();
    limits.keptBytes = 1500;
    log.OpenLog();
    EXPECT_EQ(Names(), (std::set<std::string>{"KS_ASCOM_c.log", opened}));
}

TEST_F(LogPartsTest, OtherFilesAndLinks_AreLeftAlone) {
    MakeFile("KS_ASCOM_old.txt", 10, 1000);
    MakeFile("MyKS_ASCOM_.log", 10, 1000);
    std::filesystem::create_directory(LogsFolder() / "KS_ASCOM_folder.log");
    std::filesystem::create_symlink("/nowhere", LogsFolder() / "KS_ASCOM_link.log");
    limits = LogLimits{.keptBytes = 0, .keptDays = 0};
    log.OpenLog();
    EXPECT_EQ(Names(), (std::set<std::string>{"KS_ASCOM_old.txt", "MyKS_ASCOM_.log", "KS_ASCOM_folder.log",
                                              "KS_ASCOM_link.log", opened}));
}

TEST_F(LogPartsTest, AFolderThatAPersonChose_IsReadAgainWhenNoFileCouldBeOpenedInIt) {
    std::string chosen = (folder.Path() / "gone").string();
    facts.logFileDir = [&] { return chosen; };
    std::vector<std::string> reported;
    facts.reportMissingFolder = [&](const std::string& where) { reported.push_back(where); };
    log.SetFacts(facts);
    log.OpenLog();
    EXPECT_EQ(reported, std::vector<std::string>{chosen});
    log.OpenLog();
    ASSERT_FALSE(log.IsOpen());
    chosen.clear();
    log.OpenLog();
    EXPECT_EQ(log.FileName(), LogFile());
    chosen = (folder.Path() / "gone").string();
    log.CloseLog();
    log.OpenLog();
    EXPECT_EQ(log.FileName(), LogFile()) << "a folder that works is kept";
    EXPECT_EQ(reported.size(), 1U);
}

TEST_F(LogPartsTest, AFolderThatAPersonChose_IsLeftAlone) {
    MakeFile("KS_ASCOM_old.log", 10, 1000);
    facts.logFileDir = [this] { return LogsFolder().string(); };
    log.SetFacts(facts);
    log.OpenLog();
    EXPECT_EQ(Names(), (std::set<std::string>{"KS_ASCOM_old.log", opened}));
}

}  // namespace
}  // namespace kestrane
