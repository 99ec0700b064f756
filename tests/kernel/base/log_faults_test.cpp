#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "log_fixture.h"

namespace kestrane {
namespace {

/// A disk that takes files of so many bytes and no more, while it lives: a write across the limit is taken in part,
/// one after it is refused.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) : signalBefore_(std::signal(SIGXFSZ, SIG_IGN)) {
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &before_), 0);
        const rlimit limit{bytes, before_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, signalBefore_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    void (*signalBefore_)(int);
    rlimit before_{};
};

std::string LinesAfterTheHeader(const std::filesystem::path& file) {
    const std::string content = ContentOf(file);
    const std::size_t header = content.find("# Admin: True\n");
    return header == std::string::npos ? "no header" : content.substr(content.find('\n', header) + 1);
}

// --- the file

TEST_F(LogTest, AFileThatCannotBeWritten_CountsItsLinesAndFailsNobody) {
    std::filesystem::create_directories(LogsFolder());
    std::filesystem::create_symlink("/dev/full", LogFile());
    log.OpenLog();
    ASSERT_TRUE(log.IsOpen());
    EXPECT_NO_THROW(log.LogMessage("ASCOM", LogLevel::Info, "text"));
    EXPECT_EQ(state.g_nLogLine, 6);
}

TEST_F(LogTest, AFullDisk_LosesLines_AndTheSameFileGoesOnWhenThereIsSpaceAgain) {
    log.OpenLog();
    log.WriteLogLine("before");
    {
        const FullDisk disk(std::filesystem::file_size(LogFile()));
        log.WriteLogLine("lost");
        log.WriteLogLine("lost too");
    }
    log.WriteLogLine("after");
    log.WriteLogLine("at the end");
    EXPECT_EQ(LinesAfterTheHeader(LogFile()), "000006 before\n000009 after\n000010 at the end\n");
}

TEST_F(LogTest, AFullDisk_ThatTakesAPartOfALine_GetsTheNextOneOnALineOfItsOwn) {
    struct Row {
        rlim_t taken;  // of the line "000006 across\n"
        const char* lines;
    };
    const std::vector<Row> rows{
        {0, "000008 after\n000009 at the end\n"},
        {1, "0\n000008 after\n000009 at the end\n"},
        {13, "000006 across\n000008 after\n000009 at the end\n"},
        {14, "000006 across\n000008 after\n000009 at the end\n"},
    };
    for (const Row& row : rows) {
        std::filesystem::remove(LogFile());
        log.OpenLog();
        {
            const FullDisk disk(std::filesystem::file_size(LogFile()) + row.taken);
            log.WriteLogLine("across");
            log.WriteLogLine("lost");
        }
        log.WriteLogLine("after");
        log.WriteLogLine("at the end");
        EXPECT_EQ(LinesAfterTheHeader(LogFile()), row.lines) << row.taken;
        log.CloseLog();
    }
}

TEST_F(LogTest, AFullDisk_ThatTakesOnlyTheEndOfABrokenLine_LosesTheNextLineWhole) {
    log.OpenLog();
    const std::uintmax_t header = std::filesystem::file_size(LogFile());
    {
        const FullDisk disk(header + 4);
        log.WriteLogLine("broken");
    }
    {
        const FullDisk disk(header + 5);
        log.WriteLogLine("lost");
    }
    log.WriteLogLine("after");
    EXPECT_EQ(LinesAfterTheHeader(LogFile()), "0000\n000008 after\n");
}

TEST_F(LogTest, ALogOpenedAgain_AfterALineThatWasBroken_BeginsANewLine) {
    log.OpenLog();
    {
        const FullDisk disk(std::filesystem::file_size(LogFile()) + 3);
        log.WriteLogLine("broken");
    }
    log.CloseLog();
    log.OpenLog();
    EXPECT_NE(ContentOf(LogFile()).find("\n000\n000001 # KS ASCOM Driver"), std::string::npos);
}

TEST_F(LogTest, ATroubleThatAFullDiskRefuses_IsInTheFileBeforeTheNextLineThatItTakes) {
    std::vector<std::string> heard;
    log.SetListener([&](std::string_view, int, std::string_view message) { heard.emplace_back(message); });
    UseWindow();
    log.OpenLog();
    {
        const FullDisk disk(std::filesystem::file_size(LogFile()) + 5);
        log.LogTrouble("Settings", LogLevel::Error, "no room\nat all");
        log.LogMessage("ASCOM", LogLevel::Info, "lost");
    }
    log.LogMessage("ASCOM", LogLevel::Info, "after");
    log.LogMessage("ASCOM", LogLevel::Info, "at the end");
    EXPECT_EQ(LinesAfterTheHeader(LogFile()),
              "00000\n"
              "000007 2024-03-07 09:05:02.008: Settings        : Error     : no room\\nat all\n"
              "000008 2024-03-07 09:05:02.008: ASCOM           : Info      : after\n"
              "000009 2024-03-07 09:05:02.008: ASCOM           : Info      : at the end\n");
    EXPECT_EQ(heard, (std::vector<std::string>{"no room\\nat all", "lost", "after", "at the end"}));
    EXPECT_EQ(window.lines.size(), 4U);
}

TEST_F(LogTest, ATroubleOfTheTimeBeforeAFolderThatCannotBeMade_WaitsForTheFirstFile) {
    std::ofstream(folder.Path() / "Kestrane") << "a file in the folder's place";
    state.g_bDebugLog = false;
    log.LogTrouble("Settings", LogLevel::Error, "before");
    state.g_bDebugLog = true;
    log.ToggleLog(false);
    ASSERT_FALSE(log.IsOpen());
    log.LogTrouble("Settings", LogLevel::Error, "with the log on");
    std::filesystem::remove(folder.Path() / "Kestrane");
    log.ToggleLog(false);
    EXPECT_EQ(LinesAfterTheHeader(LogFile()),
              "000006 2024-03-07 09:05:02.008: Settings        : Error     : before\n"
              "000007 2024-03-07 09:05:02.008: Settings        : Error     : with the log on\n");
}

TEST_F(LogTest, ADiskThatIsFullAtTheOpening_KeepsTheTroubles) {
    state.g_bDebugLog = false;
    log.LogTrouble("Settings", LogLevel::Error, "text");
    state.g_bDebugLog = true;
    {
        const FullDisk disk(0);
        log.OpenLog();
    }
    log.WriteLogLine("after");
    EXPECT_TRUE(ContentOf(LogFile()).ends_with(": Settings        : Error     : text\n000007 after\n"))
        << ContentOf(LogFile());
}

TEST_F(LogTest, ADeletedFile_FailsNobody_AndTheNextSwitchingOnMakesANewOne) {
    log.ToggleLog(false);
    std::filesystem::remove(LogFile());
    EXPECT_NO_THROW(log.LogMessage("ASCOM", LogLevel::Info, "lost"));
    EXPECT_NO_THROW(log.LogMessage("ASCOM", LogLevel::Info, "lost"));
    EXPECT_TRUE(log.IsOpen());
    EXPECT_EQ(state.g_nLogLine, 7);
    EXPECT_FALSE(std::filesystem::exists(LogFile()));
    state.g_bDebugLog = false;
    log.ToggleLog(false);
    state.g_bDebugLog = true;
    log.ToggleLog(false);
    log.WriteLogLine("kept");
    EXPECT_EQ(LinesAfterTheHeader(LogFile()), "000006 kept\n");
}

TEST_F(LogTest, AFolderThatCannotBeMade_LeavesTheWindowWorking) {
    std::ofstream(folder.Path() / "Kestrane") << "a file in the folder's place";
    UseWindow();
    log.OpenLog();
    EXPECT_FALSE(log.IsOpen());
    EXPECT_NO_THROW(log.LogMessage("ASCOM", LogLevel::Info, "text"));
    EXPECT_EQ(window.lines.size(), 1U);
}

TEST_F(LogTest, ToggleLog_WithAFolderThatCannotBeMade_ShowsTheWindowAndTriesAgainTheNextTime) {
    std::ofstream(folder.Path() / "Kestrane") << "a file in the folder's place";
    UseWindow();
    window.visible = false;
    log.ToggleLog(true);
    EXPECT_FALSE(log.IsOpen());
    EXPECT_TRUE(window.visible);
    std::filesystem::remove(folder.Path() / "Kestrane");
    log.ToggleLog(true);
    EXPECT_TRUE(log.IsOpen());
    EXPECT_FALSE(ContentOf(LogFile()).empty());
}

TEST_F(LogTest, FileName_IsThatOfTheLastLog_AndEmptyWhenNoneCouldBeOpened) {
    log.OpenLog();
    const std::filesystem::path first = log.FileName();
    EXPECT_TRUE(std::filesystem::exists(first));
    log.CloseLog();
    EXPECT_EQ(log.FileName(), first) << "it can still be shown";
    std::filesystem::remove_all(folder.Path() / "Kestrane");
    std::ofstream(folder.Path() / "Kestrane") << "a file in the folder's place";
    log.OpenLog();
    EXPECT_EQ(log.FileName(), "");
}

TEST_F(LogTest, OpenLog_WithNoFolderAtAll_StaysWithoutAFileAndCountsAnew) {
    log.SetFacts({});
    state.g_nLogLine = 17;
    log.OpenLog();
    EXPECT_FALSE(log.IsOpen());
    EXPECT_EQ(state.g_sLogDir, "");
    EXPECT_EQ(state.g_nLogLine, 0);
}

TEST_F(LogTest, AKill_LosesNoLineThatWasLogged) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        log.OpenLog();
        for (int i = 0; i < 500; ++i) {
            log.LogMessage("ASCOM", LogLevel::Info, "line");
        }
        ::kill(::getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_TRUE(ContentOf(LogFile()).ends_with(": line\n"));
    EXPECT_NE(ContentOf(LogFile()).find("000505 "), std::string::npos);
}

// --- the facts

TEST_F(LogTest, Header_WithFactsThatAreMissing_TellsTheHarmlessAnswers) {
    log.SetFacts(LogFileFacts{{}, {}, {}, {}, {}, [this] { return folder.Path(); }});
    log.OpenLog();
    EXPECT_EQ(ContentOf(LogFile()),
              "000001 # KS ASCOM Driver - 5.50.03\n000002 # Controller: \n000003 # Mount Type: \n"
              "000004 # O/S: unknown\n000005 # Admin: False\n");
}

TEST_F(LogTest, Header_WithFactsThatFail_InventsNone) {
    const auto noText = []() -> std::string { throw RunTimeError(RunTimeError::kFileAccess, "no file"); };
    const auto noFlag = []() -> bool { throw RunTimeError(RunTimeError::kFileAccess, "no file"); };
    log.SetFacts(LogFileFacts{noText, noText, noText, noText, noFlag, [this] { return folder.Path(); }});
    EXPECT_NO_THROW(log.OpenLog());
    EXPECT_EQ(ContentOf(LogFile()),
              "000001 # KS ASCOM Driver - 5.50.03\n000002 # Controller: \n000003 # Mount Type: \n"
              "000004 # O/S: unknown\n000005 # Admin: False\n");
}

TEST_F(LogTest, OpenLog_WhenTheCommonFolderCannotBeAsked_StaysWithoutAFile) {
    log.SetFacts(LogFileFacts{{}, {}, {}, {}, {}, []() -> std::filesystem::path {
                                  throw RunTimeError(RunTimeError::kFileAccess, "no folder");
                              }});
    EXPECT_NO_THROW(log.OpenLog());
    EXPECT_FALSE(log.IsOpen());
}

// --- the window and the listener

TEST_F(LogTest, AWindowThatFails_FailsNobodyAndKeepsNoLineFromTheFile) {
    UseWindow();
    log.OpenLog();
    for (const char* operation : {"Visible", "TextLength", "KeepLast", "Append"}) {
        window.failing = operation;
        window.failures = 0;
        window.length = 20001;
        int heard = 0;
        log.SetListener([&](auto, auto, auto) { ++heard; });
        EXPECT_NO_THROW(log.LogMessage("ASCOM", LogLevel::Info, operation)) << operation;
        EXPECT_EQ(window.failures, 1) << operation;
        EXPECT_EQ(heard, 1) << operation;
        EXPECT_TRUE(ContentOf(LogFile()).ends_with(std::string(operation) + "\n")) << operation;
    }
}

TEST_F(LogTest, AWindowThatCannotBeCut_StillGetsTheLine) {
    UseWindow();
    for (const char* operation : {"TextLength", "KeepLast"}) {
        window.failing = operation;
        window.length = 20001;
        window.lines.clear();
        log.LogMessage("ASCOM", LogLevel::Info, "text");
        EXPECT_EQ(window.lines.size(), 1U) << operation;
    }
}

TEST_F(LogTest, ToggleLog_WithAWindowThatFails_StillOpensAndClosesTheFile) {
    UseWindow();
    window.failing = "Show";
    EXPECT_NO_THROW(log.ToggleLog(true));
    EXPECT_TRUE(log.IsOpen());
    state.g_bDebugLog = false;
    EXPECT_NO_THROW(log.ToggleLog(true));
    EXPECT_FALSE(log.IsOpen());
    EXPECT_EQ(window.failures, 2);
}

TEST_F(LogTest, AListenerThatFails_FailsNobody) {
    log.SetListener([](auto, auto, auto) { throw DriverError(ErrorNumber::InvalidOperation); });
    EXPECT_NO_THROW(log.LogMessage("ASCOM", LogLevel::Info, "text"));
}

TEST_F(LogTest, ToggleLog_WithoutAWindow_StillOpensTheFile) {
    log.ToggleLog(true);
    EXPECT_TRUE(log.IsOpen());
}

}  // namespace
}  // namespace kestrane
