#include "kernel/base/log.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "base_fakes.h"
#include "kernel/base/errors.h"

namespace kestrane {
namespace {

struct RecordingWindow final : LogWindow {
    bool Visible() override { return visible; }
    std::size_t TextLength() override { return length; }
    void KeepLast(std::size_t characters) override {
        cuts.push_back(characters);
        length = characters;
    }
    void Append(std::string_view line, std::int32_t colour) override {
        lines.emplace_back(std::string(line), colour);
        length += line.size() + 2;
    }
    void Show(bool show) override { visible = show; }

    bool visible = true;
    std::size_t length = 0;
    std::vector<std::size_t> cuts;
    std::vector<std::pair<std::string, std::int32_t>> lines;
};

struct LogTest : testing::Test {
    LogTest() {
        state.g_bDebugLog = true;
        log.SetFacts(LogFileFacts{[] { return std::string(); }, [] { return std::string("4"); },
                                  [] { return std::string("Alder VTR"); }, [] { return std::string("Windows 10"); },
                                  [] { return true; }, [this] { return folder.Path(); }});
    }

    std::filesystem::path LogsFolder() const { return folder.Path() / "Kestrane" / "ASCOM" / "Logs"; }
    std::filesystem::path LogFile() const { return LogsFolder() / "KS_ASCOM_2024-03-07_09-05-02.log"; }
    void UseWindow() { log.SetWindow(&window); }

    TemporaryFolder folder;
    StandingClock clock;
    LogState state;
    Log log{state, clock};
    RecordingWindow window;
};

TEST_F(LogTest, AFile_IsToTheByteAsItWasAlways) {
    log.OpenLog();
    log.LogMessage("ASCOM", LogLevel::Info, "GET Slewing = False");
    log.LogMessage("Telescope", LogLevel::Warning, "Retransmits: 1");
    log.LogMessage("Val_Global", LogLevel::Error, "one\r\ntwo\r\n");
    log.LogMessage("OpenConnection", LogLevel::Fatal, "");
    log.LogMessage("ASCOM", LogLevel::Exception, "SET TargetRightAscension FAILED!");
    log.LogMessage("AnOriginLongerThan16", 7, "kept whole");
    log.LogMessage("SixteenCharacter", -1, "a\rb\nc");
    EXPECT_EQ(log.FileName(), LogFile());
    EXPECT_EQ(ContentOf(LogFile()),
              "000001 # KS ASCOM Driver - 5.50.03\n"
              "000002 # Controller: VTRKC5\n"
              "000003 # Mount Type: Alder VTR\n"
              "000004 # O/S: Windows 10\n"
              "000005 # Admin: True\n"
              "000006 2024-03-07 09:05:02.008: ASCOM           : Info      : GET Slewing = False\n"
              "000007 2024-03-07 09:05:02.008: Telescope       : Warning   : Retransmits: 1\n"
              "000008 2024-03-07 09:05:02.008: Val_Global      : Error     : onetwo\n"
              "000009 2024-03-07 09:05:02.008: OpenConnection  : Fatal     : \n"
              "000010 2024-03-07 09:05:02.008: ASCOM           : Exception : SET TargetRightAscension FAILED!\n"
              "000011 2024-03-07 09:05:02.008: AnOriginLongerThan16: 7 : kept whole\n"
              "000012 2024-03-07 09:05:02.008: SixteenCharacter: -1 : a\rb\nc\n");
}

TEST_F(LogTest, Timestamps_HaveTheYearUnpadded) {
    clock.local = DateTime{987, 11, 30, 23, 59, 58, 120};
    EXPECT_EQ(log.GetTimestamp(), "987-11-30 23:59:58.120");
    EXPECT_EQ(log.GetFileTimestamp(), "987-11-30_23-59-58");
}

struct ControllerRow {
    const char* setting;
    const char* text;
};

TEST_F(LogTest, Header_NamesTheController) {
    const std::vector<ControllerRow> rows{{"0", "VTRKC1"}, {"1", "VTRKC2"}, {"2", "VTRKC3"}, {"3", "VTRKC4"},
                                          {"4", "VTRKC5"}, {"5", "5"},      {"", ""},        {"01", "01"}};
    for (const ControllerRow& row : rows) {
        log.SetFacts(
            LogFileFacts{{}, [&] { return std::string(row.setting); }, {}, {}, {}, [this] { return folder.Path(); }});
        log.OpenLog();
        log.CloseLog();
        EXPECT_NE(ContentOf(LogFile()).find("# Controller: " + std::string(row.text) + "\n"), std::string::npos);
    }
}

TEST_F(LogTest, Header_WithFactsThatFailOrAreMissing_TellsTheHarmlessAnswers) {
    log.SetFacts(LogFileFacts{{},
                              []() -> std::string { throw RunTimeError(RunTimeError::kFileAccess, "no file"); },
                              {},
                              {},
                              {},
                              [this] { return folder.Path(); }});
    log.OpenLog();
    EXPECT_EQ(ContentOf(LogFile()),
              "000001 # KS ASCOM Driver - 5.50.03\n000002 # Controller: VTRKC3\n000003 # Mount Type: \n"
              "000004 # O/S: unknown\n000005 # Admin: False\n");
}

TEST_F(LogTest, AFactThatLogsItself_ComesBeforeItsOwnLine) {
    log.SetFacts(LogFileFacts{{},
                              [this] {
                                  log.LogMessage("ReadIniValue", LogLevel::Info, "Controller=>'2'");
                                  return std::string("2");
                              },
                              {},
                              {},
                              {},
                              [this] { return folder.Path(); }});
    log.OpenLog();
    EXPECT_TRUE(ContentOf(LogFile()).starts_with(
        "000001 # KS ASCOM Driver - 5.50.03\n"
        "000002 2024-03-07 09:05:02.008: ReadIniValue    : Info      : Controller=>'2'\n"
        "000003 # Controller: VTRKC3\n"));
}

TEST_F(LogTest, LoggingOff_WritesAndShowsNothing) {
    UseWindow();
    log.OpenLog();
    const std::string before = ContentOf(LogFile());
    state.g_bDebugLog = false;
    int heard = 0;
    log.SetListener([&](auto, auto, auto) { ++heard; });
    log.LogMessage("ASCOM", LogLevel::Info, "text");
    EXPECT_EQ(ContentOf(LogFile()), before);
    EXPECT_TRUE(window.lines.empty());
    EXPECT_EQ(heard, 0);
}

TEST_F(LogTest, Paused_SpareTheFileButFeedTheWindow) {
    UseWindow();
    log.OpenLog();
    const std::string before = ContentOf(LogFile());
    state.g_bLogPaused = true;
    log.LogMessage("ASCOM", LogLevel::Info, "text");
    EXPECT_EQ(ContentOf(LogFile()), before);
    EXPECT_EQ(window.lines.size(), 1U);
    state.g_bLogPaused = false;
    log.LogMessage("ASCOM", LogLevel::Info, "text");
    EXPECT_NE(ContentOf(LogFile()).find("000006 "), std::string::npos);
}

TEST_F(LogTest, WriteLogLine_WithANegativeNumber_WritesTheLineAlone) {
    log.OpenLog();
    state.g_nLogLine = -1;
    log.WriteLogLine("plain");
    EXPECT_TRUE(ContentOf(LogFile()).ends_with("\nplain\n"));
    EXPECT_EQ(state.g_nLogLine, -1);
    state.g_nLogLine = 1234566;
    log.WriteLogLine("numbered");
    EXPECT_TRUE(ContentOf(LogFile()).ends_with("\n1234567 numbered\n"));
}

TEST_F(LogTest, WriteLogLine_WithoutAFile_DoesNothing) {
    log.WriteLogLine("lost");
    EXPECT_EQ(state.g_nLogLine, 0);
    EXPECT_FALSE(log.IsOpen());
}

TEST_F(LogTest, OpenLog_OnAnOpenLog_GoesOnWithIt) {
    log.OpenLog();
    clock.local.second = 3;
    log.OpenLog();
    EXPECT_EQ(log.FileName(), LogFile());
    log.CloseLog();
    log.OpenLog();
    EXPECT_EQ(log.FileName(), LogsFolder() / "KS_ASCOM_2024-03-07_09-05-03.log");
    EXPECT_EQ(state.g_nLogLine, 5);
}

TEST_F(LogTest, OpenLog_ReplacesAFileOfTheSameName) {
    log.OpenLog();
    log.LogMessage("ASCOM", LogLevel::Info, "old");
    log.CloseLog();
    log.OpenLog();
    EXPECT_EQ(ContentOf(LogFile()).find("old"), std::string::npos);
}

TEST_F(LogTest, OpenLog_WithoutASetFolder_MakesTheCommonOneEachTime) {
    log.OpenLog();
    EXPECT_EQ(state.g_sLogDir, LogsFolder().string());
    log.CloseLog();
    std::filesystem::remove_all(folder.Path() / "Kestrane");
    log.OpenLog();
    EXPECT_TRUE(log.IsOpen());
    EXPECT_TRUE(std::filesystem::exists(LogFile()));
}

TEST_F(LogTest, OpenLog_WithASetFolder_WritesThereAndMakesNone) {
    const std::filesystem::path set = folder.Path() / "mine";
    log.SetFacts(LogFileFacts{[&] { return set.string(); }, {}, {}, {}, {}, [this] { return folder.Path(); }});
    log.OpenLog();
    EXPECT_FALSE(log.IsOpen());
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / "Kestrane"));
    std::filesystem::create_directory(set);
    log.OpenLog();
    EXPECT_TRUE(std::filesystem::exists(set / "KS_ASCOM_2024-03-07_09-05-02.log"));
    EXPECT_EQ(state.g_sLogDir, set.string());
}

TEST_F(LogTest, OpenLog_WithNoFolderAtAll_StaysWithoutAFile) {
    log.SetFacts({});
    log.OpenLog();
    EXPECT_FALSE(log.IsOpen());
    EXPECT_EQ(state.g_sLogDir, "");
}

TEST_F(LogTest, AFolderThatCannotBeMade_LeavesTheWindowWorking) {
    std::ofstream(folder.Path() / "Kestrane") << "a file in the folder's place";
    UseWindow();
    log.OpenLog();
    EXPECT_FALSE(log.IsOpen());
    EXPECT_NO_THROW(log.LogMessage("ASCOM", LogLevel::Info, "text"));
    EXPECT_EQ(window.lines.size(), 1U);
}

TEST_F(LogTest, AFullDisk_LosesLinesAndNothingElse) {
    std::filesystem::create_directories(LogsFolder());
    std::filesystem::create_symlink("/dev/full", LogFile());
    log.OpenLog();
    ASSERT_TRUE(log.IsOpen());
    EXPECT_NO_THROW(log.LogMessage("ASCOM", LogLevel::Info, "text"));
    EXPECT_EQ(state.g_nLogLine, 6);
    log.CloseLog();
    std::filesystem::remove(LogFile());
    log.OpenLog();
    EXPECT_FALSE(ContentOf(LogFile()).empty());
}

TEST_F(LogTest, ADeletedFile_DoesNotFailACaller) {
    log.OpenLog();
    std::filesystem::remove(LogFile());
    EXPECT_NO_THROW(log.LogMessage("ASCOM", LogLevel::Info, "text"));
    EXPECT_EQ(state.g_nLogLine, 6);
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

TEST_F(LogTest, ToggleLog_OpensAndClosesWithTheFlag) {
    UseWindow();
    window.visible = false;
    log.ToggleLog(true);
    EXPECT_TRUE(log.IsOpen());
    EXPECT_TRUE(window.visible);
    log.ToggleLog(false);
    EXPECT_TRUE(log.IsOpen());
    EXPECT_FALSE(window.visible);
    window.visible = true;
    state.g_bDebugLog = false;
    log.ToggleLog(true);
    EXPECT_FALSE(log.IsOpen());
    EXPECT_FALSE(window.visible);
}

TEST_F(LogTest, ToggleLog_WithoutAWindow_StillOpensTheFile) {
    log.ToggleLog(true);
    EXPECT_TRUE(log.IsOpen());
}

// --- the window --------------------------------------------------------------------------------------------------

struct WindowRow {
    const char* origin;
    const char* message;
    std::int32_t colour;
};

TEST_F(LogTest, Window_ColoursEachLineByItsWords) {
    UseWindow();
    const std::vector<WindowRow> rows{
        {"FOCUSER", "GET Position", 11823615},
        {"ASCOM", "FOCUSER and Driver TX=", 11823615},
        {"Driver", "COM1 TX=:GD#", 0xE0E0E0},
        {"Driver", "COM1 RX=1#", 0x1FFFF},
        {"Counterweight", "up", 0x1FFFF},
        {"ASCOM", "from the Driver", 0x1FFFF},
        {"ASCOM", "GET Slewing", 91903},
        {"ReadIniValue", "x", 255},
        {"driver", "lower case does not count", 255},
    };
    for (const WindowRow& row : rows) {
        window.lines.clear();
        log.LogMessage(row.origin, LogLevel::Info, row.message);
        ASSERT_EQ(window.lines.size(), 1U) << row.origin;
        EXPECT_EQ(window.lines[0].second, row.colour) << row.origin << " " << row.message;
    }
}

TEST_F(LogTest, Window_ShowsTheLineWithoutItsDate) {
    UseWindow();
    log.LogMessage("ASCOM", LogLevel::Info, "text");
    EXPECT_EQ(window.lines[0].first, " 09:05:02.008: ASCOM           : Info      : text");
}

TEST_F(LogTest, Window_HidesWhatTheFiltersHide) {
    UseWindow();
    state.g_bShowFocuser = false;
    state.g_bShowTelescope = false;
    state.g_bShowAscom = false;
    log.LogMessage("FOCUSER", LogLevel::Info, "x");
    log.LogMessage("Driver", LogLevel::Info, "x");
    log.LogMessage("Counterweight", LogLevel::Info, "x");
    log.LogMessage("ASCOM", LogLevel::Info, "x");
    EXPECT_TRUE(window.lines.empty());
    log.LogMessage("Other", LogLevel::Info, "x");
    EXPECT_EQ(window.lines.size(), 1U);
}

TEST_F(LogTest, Window_WithoutPositions_HidesEachQueryAndItsReplyOnly) {
    UseWindow();
    state.g_bShowNoRaDec = true;
    for (const char* query : {":GD#", ":GR#", ":GZ#", ":GA#"}) {
        window.lines.clear();
        log.LogMessage("Driver", LogLevel::Info, std::string("COM1 TX=") + query);
        EXPECT_TRUE(state.g_bSuppressNextReply) << query;
        log.LogMessage("Driver", LogLevel::Info, "COM1 RX=hidden#");
        EXPECT_FALSE(state.g_bSuppressNextReply) << query;
        EXPECT_TRUE(window.lines.empty()) << query;
        log.LogMessage("Driver", LogLevel::Info, "COM1 RX=shown#");
        EXPECT_EQ(window.lines.size(), 1U) << query;
    }
    log.LogMessage("Driver", LogLevel::Info, "COM1 TX=:GS#");
    EXPECT_FALSE(state.g_bSuppressNextReply);
    EXPECT_EQ(window.lines.size(), 2U);
}

TEST_F(LogTest, Window_WithPositions_ShowsQueryAndReply) {
    UseWindow();
    log.LogMessage("Driver", LogLevel::Info, "COM1 TX=:GD#");
    log.LogMessage("Driver", LogLevel::Info, "COM1 RX=1#");
    EXPECT_EQ(window.lines.size(), 2U);
    EXPECT_FALSE(state.g_bSuppressNextReply);
}

TEST_F(LogTest, Window_Above20000Characters_IsCutTo10000First) {
    UseWindow();
    window.length = 20000;
    log.LogMessage("Other", LogLevel::Info, "x");
    EXPECT_TRUE(window.cuts.empty());
    log.LogMessage("Other", LogLevel::Info, "x");
    EXPECT_EQ(window.cuts, std::vector<std::size_t>{10000});
    EXPECT_EQ(window.lines.size(), 2U);
}

TEST_F(LogTest, Window_Hidden_IsNotFed) {
    UseWindow();
    window.visible = false;
    state.g_bShowNoRaDec = true;
    log.LogMessage("Driver", LogLevel::Info, "COM1 TX=:GD#");
    EXPECT_TRUE(window.lines.empty());
    EXPECT_TRUE(state.g_bSuppressNextReply);
}

}  // namespace
}  // namespace kestrane
