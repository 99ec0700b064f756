#include "kernel/base/log.h"

#include <gtest/gtest.h>

#include "log_fixture.h"

namespace kestrane {
namespace {

TEST_F(LogTest, AFile_IsToTheByteAsItWasAlways) {
    log.OpenLog();
    log.LogMessage("ASCOM", LogLevel::Info, "GET Slewing = False");
    log.LogMessage("Telescope", LogLevel::Warning, "Retransmits: 1");
    log.LogMessage("Val_Global", LogLevel::Error, "one\r\ntwo\r\n");
    log.LogMessage("OpenConnection", LogLevel::Fatal, "");
    log.LogMessage("ASCOM", LogLevel::Exception, "SET TargetRightAscension FAILED!");
    log.LogMessage("AnOriginLongerThan16", 7, "kept whole");
    log.LogMessage("SixteenCharacter", -1, std::string("a\rb\nc\x1B[2J\0d", 11));
    log.LogMessage("A\nB", 0, "\r\r\n\n");
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
              "000012 2024-03-07 09:05:02.008: SixteenCharacter: -1 : a\\rb\\nc\\e[2J\\0d\n"
              "000013 2024-03-07 09:05:02.008: A\\nB            : Info      : \\r\\n\n");
}

TEST_F(LogTest, Timestamps_HaveTheYearUnpadded) {
    clock.SetLocalTime({987, 11, 30, 23, 59, 58, 120});
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
        std::filesystem::remove(LogFile());
        log.OpenLog();
        log.CloseLog();
        EXPECT_NE(ContentOf(LogFile()).find("# Controller: " + std::string(row.text) + "\n"), std::string::npos);
    }
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

TEST_F(LogTest, WriteLogLine_AtTheGreatestNumber_StaysThere) {
    log.OpenLog();
    state.g_nLogLine = 2147483646;
    log.WriteLogLine("the last number");
    log.WriteLogLine("the same number");
    EXPECT_TRUE(ContentOf(LogFile()).ends_with("\n2147483647 the last number\n2147483647 the same number\n"));
    EXPECT_EQ(state.g_nLogLine, 2147483647);
}

TEST_F(LogTest, WriteLogLine_WithoutAFile_DoesNothing) {
    log.WriteLogLine("lost");
    EXPECT_EQ(state.g_nLogLine, 0);
    EXPECT_FALSE(log.IsOpen());
}

TEST_F(LogTest, OpenLog_OnAnOpenLog_GoesOnWithIt) {
    log.OpenLog();
    clock.Sleep(1000);
    log.OpenLog();
    EXPECT_EQ(log.FileName(), LogFile());
    log.CloseLog();
    log.OpenLog();
    EXPECT_EQ(log.FileName(), LogsFolder() / "KS_ASCOM_2024-03-07_09-05-03.log");
    EXPECT_EQ(state.g_nLogLine, 5);
}

TEST_F(LogTest, OpenLog_ContinuesAFileOfTheSameName) {
    log.OpenLog();
    log.LogMessage("ASCOM", LogLevel::Info, "old");
    log.CloseLog();
    const std::string before = ContentOf(LogFile());
    log.OpenLog();
    EXPECT_TRUE(ContentOf(LogFile()).starts_with(before + "000001 # KS ASCOM Driver"));
}

TEST_F(LogTest, OpenLog_AfterALineThatAKillCutShort_BeginsANewLine) {
    std::filesystem::create_directories(LogsFolder());
    std::ofstream(LogFile()) << "000006 cut sh";
    log.OpenLog();
    EXPECT_TRUE(ContentOf(LogFile()).starts_with("000006 cut sh\n000001 # KS ASCOM Driver"));
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
    log.OpenLog();
    log.CloseLog();
    std::filesystem::remove_all(folder.Path() / "Kestrane");
    const std::filesystem::path set = folder.Path() / "mine";
    std::filesystem::create_directory(set);
    state.g_sLogDir = set.string();
    log.OpenLog();
    EXPECT_EQ(log.FileName(), set / "KS_ASCOM_2024-03-07_09-05-02.log");
    EXPECT_FALSE(ContentOf(log.FileName()).empty());
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / "Kestrane"));
}

TEST_F(LogTest, OpenLog_WithAFolderInTheSettings_NeverAsksForTheCommonOne) {
    const std::filesystem::path set = folder.Path() / "mine";
    std::filesystem::create_directory(set);
    int asked = 0;
    log.SetFacts(LogFileFacts{[&] { return set.string(); },
                              {},
                              {},
                              {},
                              {},
                              [&] {
                                  ++asked;
                                  return folder.Path();
                              }});
    log.OpenLog();
    EXPECT_TRUE(std::filesystem::exists(set / "KS_ASCOM_2024-03-07_09-05-02.log"));
    EXPECT_EQ(state.g_sLogDir, set.string());
    EXPECT_EQ(asked, 0);
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / "Kestrane"));
}

TEST_F(LogTest, OpenLog_WithAFolderInTheSettingsThatIsMissing_MakesNone) {
    const std::filesystem::path set = folder.Path() / "mine";
    int reported = 0;
    LogFileFacts facts{[&] { return set.string(); }, {}, {}, {}, {}, [this] { return folder.Path(); }};
    facts.reportMissingFolder = [&](const std::string& missing) {
        EXPECT_EQ(missing, set.string());
        ++reported;
    };
    log.SetFacts(facts);
    log.OpenLog();
    EXPECT_FALSE(log.IsOpen());
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    log.OpenLog();
    EXPECT_EQ(reported, 1) << "once";
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

TEST_F(LogTest, ToggleLog_Off_EndsAPause) {
    log.ToggleLog(false);
    state.g_bLogPaused = true;
    state.g_bDebugLog = false;
    log.ToggleLog(false);
    EXPECT_FALSE(state.g_bLogPaused);
}

TEST_F(LogTest, ToggleLog_OnAnOpenLog_LeavesAPause) {
    log.ToggleLog(false);
    state.g_bLogPaused = true;
    log.ToggleLog(false);
    EXPECT_TRUE(state.g_bLogPaused);
}

// --- troubles

TEST_F(LogTest, ATroubleOfTheTimeWithoutALog_StandsAfterTheHeadOfTheNextWithItsOwnTime) {
    state.g_bDebugLog = false;
    for (std::size_t i = 0; i <= Log::kKeptTroubles; ++i) {
        log.LogTrouble("Settings", LogLevel::Error, "no " + std::to_string(i));
    }
    log.LogMessage("ASCOM", LogLevel::Info, "lost");
    clock.SetLocalTime({2024, 3, 7, 10, 0, 0, 0});
    state.g_bDebugLog = true;
    log.OpenLog();
    const std::string content = ContentOf(log.FileName());
    EXPECT_NE(content.find("True\n000006 2024-03-07 09:05:02.008: Settings        : Error     : no 1\n"),
              std::string::npos)
        << content;
    EXPECT_TRUE(content.ends_with(": no 20\n"));
    log.CloseLog();
    std::filesystem::remove(log.FileName());
    log.OpenLog();
    EXPECT_EQ(ContentOf(log.FileName()).find("Settings"), std::string::npos) << "once";
}

TEST_F(LogTest, ATroubleOfTheTimeWithoutALog_StandsAfterTheHeadAlsoWhenAFactOfItLogs) {
    int announced = 0;
    log.SetListener([&](std::string_view origin, int, std::string_view) { announced += origin == "Settings" ? 1 : 0; });
    LogFileFacts facts{{},
                       [this] {
                           log.LogMessage("ReadIniValue", LogLevel::Info, "Controller");
                           return std::string("4");
                       },
                       {},
                       {},
                       {},
                       [this] { return folder.Path(); }};
    log.SetFacts(facts);
    state.g_bDebugLog = false;
    log.LogTrouble("Settings", LogLevel::Error, "the disk is full");
    state.g_bDebugLog = true;
    log.OpenLog();
    const std::string content = ContentOf(log.FileName());
    EXPECT_LT(content.find("# Controller:"), content.find("the disk is full")) << content;
    EXPECT_TRUE(content.ends_with(": the disk is full\n")) << content;
    EXPECT_EQ(announced, 1);
}

TEST_F(LogTest, ATrouble_ReachesTheFileDuringAPauseToo) {
    log.OpenLog();
    state.g_bLogPaused = true;
    log.LogTrouble("Settings", LogLevel::Error, "text");
    log.LogMessage("ASCOM", LogLevel::Info, "paused");
    EXPECT_TRUE(ContentOf(LogFile()).ends_with(": Settings        : Error     : text\n"));
    EXPECT_TRUE(state.g_bLogPaused);
}

TEST_F(LogTest, AKeptTrouble_StandsOnOneLine) {
    state.g_bDebugLog = false;
    log.LogTrouble("Set\ntings", LogLevel::Error, "two\nlines\x1B[2J");
    state.g_bDebugLog = true;
    log.OpenLog();
    EXPECT_TRUE(ContentOf(LogFile()).ends_with(": Set\\ntings      : Error     : two\\nlines\\e[2J\n"))
        << ContentOf(LogFile());
}

TEST_F(LogTest, ATroubleWithALog_IsALineLikeOthers) {
    log.OpenLog();
    log.LogTrouble("Settings", LogLevel::Error, "text");
    EXPECT_TRUE(ContentOf(LogFile()).ends_with(": Settings        : Error     : text\n"));
}

}  // namespace
}  // namespace kestrane
