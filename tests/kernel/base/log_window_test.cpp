#include <gtest/gtest.h>

#include "kernel/base/log.h"
#include "log_fixture.h"

namespace kestrane {
namespace {

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

TEST_F(LogTest, Window_ShowsAMessageOnOneLine) {
    UseWindow();
    log.LogMessage("AS\rCOM", LogLevel::Info, std::string("two\nlines\x1B[2J\0", 14));
    ASSERT_EQ(window.lines.size(), 1U);
    EXPECT_EQ(window.lines[0].first, " 09:05:02.008: AS\\rCOM         : Info      : two\\nlines\\e[2J\\0");
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

TEST_F(LogTest, Window_WithoutPositions_HidesAQueryWhereverItStandsInTheLine) {
    UseWindow();
    state.g_bShowNoRaDec = true;
    log.LogMessage("Driver", LogLevel::Info, "COM1 TX=:GR# and more");
    EXPECT_TRUE(window.lines.empty());
    EXPECT_TRUE(state.g_bSuppressNextReply);
}

TEST_F(LogTest, Window_WithoutPositions_TakesASentTextWithoutTheBlankForAReply) {
    UseWindow();
    state.g_bShowNoRaDec = true;
    log.LogMessage("Driver", LogLevel::Info, "COM1TX=:GR#");
    ASSERT_EQ(window.lines.size(), 1U);
    EXPECT_EQ(window.lines[0].second, 0x1FFFF);
    EXPECT_FALSE(state.g_bSuppressNextReply);
}

TEST_F(LogTest, Window_WhileTelescopeLinesAreHidden_KeepsTheNextReplyHidden) {
    UseWindow();
    state.g_bShowNoRaDec = true;
    log.LogMessage("Driver", LogLevel::Info, "COM1 TX=:GR#");
    state.g_bShowTelescope = false;
    log.LogMessage("Driver", LogLevel::Info, "COM1 RX=1#");
    EXPECT_TRUE(state.g_bSuppressNextReply);
    log.LogMessage("Driver", LogLevel::Info, "COM1 TX=:GS#");
    EXPECT_TRUE(state.g_bSuppressNextReply);
    state.g_bShowTelescope = true;
    log.LogMessage("Driver", LogLevel::Info, "COM1 RX=2#");
    EXPECT_TRUE(window.lines.empty());
    EXPECT_FALSE(state.g_bSuppressNextReply);
}

TEST_F(LogTest, Window_WhenPositionsAreShownAgain_ShowsTheReplyAndRemembersToHideOne) {
    UseWindow();
    state.g_bShowNoRaDec = true;
    log.LogMessage("Driver", LogLevel::Info, "COM1 TX=:GR#");
    state.g_bShowNoRaDec = false;
    log.LogMessage("Driver", LogLevel::Info, "COM1 RX=1#");
    EXPECT_EQ(window.lines.size(), 1U);
    EXPECT_TRUE(state.g_bSuppressNextReply);
    state.g_bShowNoRaDec = true;
    log.LogMessage("Driver", LogLevel::Info, "COM1 RX=2#");
    EXPECT_EQ(window.lines.size(), 1U);
    EXPECT_FALSE(state.g_bSuppressNextReply);
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
    window.length = 20001;
    log.LogMessage("Other", LogLevel::Info, "x");
    log.LogMessage("Driver", LogLevel::Info, "COM1 TX=:GS#");
    EXPECT_TRUE(window.lines.empty());
    EXPECT_TRUE(window.cuts.empty());
}

TEST_F(LogTest, Window_Hidden_StillMarksTheReplyOfAHiddenQuery) {
    UseWindow();
    window.visible = false;
    state.g_bShowNoRaDec = true;
    log.LogMessage("Driver", LogLevel::Info, "COM1 TX=:GD#");
    EXPECT_TRUE(state.g_bSuppressNextReply);
    window.visible = true;
    log.LogMessage("Driver", LogLevel::Info, "COM1 RX=1#");
    EXPECT_TRUE(window.lines.empty());
}

}  // namespace
}  // namespace kestrane
