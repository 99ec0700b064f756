#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kThreeMinutes = 180'000;

/// The log of a whole driver: its file, its window and what turns them on.
class LogWiringTest : public DriverFixture {
protected:
    fs::path LogsFolder() { return machine.folders.CommonAppData() / "Kestrane" / "ASCOM" / "Logs"; }
    std::vector<fs::path> LogFiles() {
        std::vector<fs::path> files;
        for (const fs::directory_entry& entry : fs::directory_iterator(LogsFolder())) {
            files.push_back(entry.path());
        }
        std::sort(files.begin(), files.end());
        return files;
    }
    static std::size_t TimesIn(const std::string& text, const std::string& part) {
        std::size_t times = 0;
        for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
            ++times;
        }
        return times;
    }
    std::string LogFile() { return ContentOf(driver->log.FileName()); }

    /// A mount that was parked away from its power-on position, with a client connected; the poll knows for a few
    /// seconds at most.
    TelescopeObject ParkedTelescope() {
        TelescopeObject telescope = ConnectedTelescope();
        telescope->CommandBlind("KA", false);
        for (int tries = 0; tries < 200 && !driver->state.g_bParked; ++tries) {
            machine.AdvanceTime(50);
        }
        EXPECT_TRUE(driver->state.g_bParked);
        return telescope;
    }
    /// A read that works in every state and is logged.
    void Touch(Telescope& telescope) { EXPECT_EQ(telescope.Name().empty(), false); }
};

// --- pausing
// -----------------------------------------------------------------------------------------------------------

TEST_F(LogWiringTest, TheQuestionWhetherToLogAParkedMount_LeavesNoLine) {
    const TelescopeObject telescope = ParkedTelescope();
    machine.AdvanceTime(10'000);
    EXPECT_FALSE(Logged("LogWhenParked"));
}

TEST_F(LogWiringTest, ParkedForThreeMinutes_PausesTheFile_AfterSayingSoOnce) {
    const TelescopeObject telescope = ParkedTelescope();
    machine.AdvanceTime(kThreeMinutes - 5000);
    EXPECT_FALSE(driver->state.g_bLogPaused);
    EXPECT_FALSE(driver->handBox.pbLoggingPaused.Visible());
    machine.AdvanceTime(10'000);
    EXPECT_TRUE(driver->state.g_bLogPaused);
    EXPECT_TRUE(driver->handBox.pbLoggingPaused.Visible());
    EXPECT_EQ(driver->handBox.pbLoggingPaused.BackColour(), 65535);
    const std::string file = LogFile();
    EXPECT_TRUE(file.ends_with(": Logging         : Info      : Pausing Logging...\n"));
    machine.AdvanceTime(2 * kThreeMinutes);
    EXPECT_TRUE(LogFile() == file);
    EXPECT_EQ(TimesLogged("Pausing Logging..."), 1);
}

TEST_F(LogWiringTest, Paused_GoesOnWritingWhenTheMountIsUnparked_AndPausesAnewOnlyAfterThreeMinutes) {
    const TelescopeObject telescope = ParkedTelescope();
    machine.AdvanceTime(kThreeMinutes + 5000);
    ASSERT_TRUE(driver->state.g_bLogPaused);
    driver->motion.MountReportsParked(false);
    driver->poll.OnTimer();
    EXPECT_FALSE(driver->state.g_bLogPaused);
    EXPECT_FALSE(driver->handBox.pbLoggingPaused.Visible());
    const std::string before = LogFile();
    Touch(*telescope);
    EXPECT_GT(LogFile().size(), before.size());
    driver->motion.MountReportsParked(true);  // the mount's own status says so all the time
    machine.AdvanceTime(kThreeMinutes - 5000);
    EXPECT_FALSE(driver->state.g_bLogPaused);
    machine.AdvanceTime(10'000);
    EXPECT_TRUE(driver->state.g_bLogPaused);
    EXPECT_EQ(TimesIn(LogFile(), "Pausing Logging..."), 2U);
}

TEST_F(LogWiringTest, TurningLoggingOff_EndsThePauseOfAParkedMount) {
    const TelescopeObject telescope = ParkedTelescope();
    machine.AdvanceTime(kThreeMinutes + 5000);
    ASSERT_TRUE(driver->state.g_bLogPaused);
    driver->handBox.EnsureLoaded();
    driver->handBox.chkEnableDebugLog.Checked(false);
    EXPECT_FALSE(driver->state.g_bLogPaused);
    machine.AdvanceTime(1000);
    EXPECT_FALSE(driver->state.g_bLogPaused);
}

TEST_F(LogWiringTest, LogWhenParked_NeverPauses_AndEndsAPause) {
    Seed({{"LogWhenParked", "1"}});
    const TelescopeObject telescope = ParkedTelescope();
    machine.AdvanceTime(2 * kThreeMinutes);
    EXPECT_FALSE(driver->state.g_bLogPaused);
    EXPECT_FALSE(Logged("Pausing Logging..."));
    driver->persist.WriteIniValue("LogWhenParked", "0");
    machine.AdvanceTime(1000);
    ASSERT_TRUE(driver->state.g_bLogPaused) << "it was parked long enough all the time";
    driver->persist.WriteIniValue("LogWhenParked", "yes");
    machine.AdvanceTime(1000);
    EXPECT_FALSE(driver->state.g_bLogPaused);
    EXPECT_FALSE(driver->handBox.pbLoggingPaused.Visible());
}

TEST_F(LogWiringTest, AMountAtItsPowerOnPosition_PausesLikeAnyParkedOne) {
    MountSimulatorOptions options;
    options.parkedAtPowerOn = true;
    BuildMount(options);
    Seed({{"cbxUnparkFrom", "3"}});  // nobody is there to confirm it
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(kThreeMinutes + 10'000);
    EXPECT_TRUE(driver->state.g_bParked);
    EXPECT_TRUE(driver->state.g_bLogPaused);
}

TEST_F(LogWiringTest, AMountAtItsPowerOnPosition_IsInitializedAgainAndAgain_ButNoSettingIsWritten) {
    MountSimulatorOptions options;
    options.parkedAtPowerOn = true;
    BuildMount(options);
    Seed({{"cbxUnparkFrom", "3"}});  // nobody is there to confirm it
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(10'000);
    log.clear();
    machine.AdvanceTime(60'000);
    EXPECT_GE(TimesLogged("Precision: RA="), 5) << "initialized";
    EXPECT_FALSE(Logged("MountRateType=>''"));
    EXPECT_EQ(TimesLoggedAs("WriteIniValue", 0, "MountRateType=>'0'"), 0);
    for (const LogLine& line : log) {
        EXPECT_NE(line.origin, "WriteIniValue") << line.message;
    }
}

TEST_F(LogWiringTest, NotParked_NeverPauses) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(2 * kThreeMinutes);
    EXPECT_FALSE(driver->state.g_bLogPaused);
    EXPECT_FALSE(Logged("Pausing Logging..."));
}

TEST_F(LogWiringTest, LoggingOff_ShowsTheIndicatorInRed_AndPausesNothing) {
    const TelescopeObject telescope = ParkedTelescope();
    driver->handBox.chkEnableDebugLog.Checked(false);
    machine.AdvanceTime(2 * kThreeMinutes);
    EXPECT_FALSE(driver->state.g_bLogPaused);
    EXPECT_TRUE(driver->handBox.pbLoggingPaused.Visible());
    EXPECT_EQ(driver->handBox.pbLoggingPaused.BackColour(), 255);
}

// --- turning it on and off
// ---------------------------------------------------------------------------------------------

TEST_F(LogWiringTest, TheEnableBox_ShowsWhetherLoggingIsOn) {
    Start();
    driver->handBox.EnsureLoaded();
    EXPECT_TRUE(driver->handBox.chkEnableDebugLog.Checked());
    EXPECT_EQ(LogFiles().size(), 1U) << "filling the box is no click";
}

TEST_F(LogWiringTest, FillingTheEnableBox_ChangesNothing) {
    Start();
    driver->handBox.EnsureLoaded();
    const FillsForm filling(driver->handBox);
    driver->handBox.chkEnableDebugLog.Checked(false);
    EXPECT_TRUE(driver->state.g_bDebugLog);
    EXPECT_TRUE(driver->log.IsOpen());
    EXPECT_EQ(driver->persist.ReadIniValue("chkEnableDebugLog", "?"), "1");
}

TEST_F(LogWiringTest, TheEnableBox_ClosesTheLogAndReopensItUnderANewName) {
    Start();
    driver->handBox.EnsureLoaded();
    const fs::path first = driver->log.FileName();
    driver->handBox.chkEnableDebugLog.Checked(false);
    EXPECT_FALSE(driver->log.IsOpen());
    EXPECT_FALSE(driver->state.g_bDebugLog);
    EXPECT_EQ(driver->persist.ReadIniValue("chkEnableDebugLog", "?"), "0");
    const std::string before = ContentOf(first);
    machine.AdvanceTime(2000);
    driver->handBox.chkEnableDebugLog.Checked(true);
    EXPECT_TRUE(driver->log.IsOpen());
    EXPECT_EQ(driver->persist.ReadIniValue("chkEnableDebugLog", "?"), "1");
    EXPECT_NE(driver->log.FileName(), first);
    EXPECT_EQ(ContentOf(first), before);
    EXPECT_TRUE(LogFile().starts_with("000001 # KS ASCOM Driver - 5.50.03\n"));
    EXPECT_EQ(LogFiles().size(), 2U);
}

TEST_F(LogWiringTest, TheEnableBox_TakesTheWindowAlong_WhereTheUserWantsIt) {
    Seed({{"mPopShowLogWindow", "1"}});
    Start();
    driver->handBox.EnsureLoaded();
    EXPECT_TRUE(driver->logWindow.Visible());
    driver->handBox.chkEnableDebugLog.Checked(false);
    EXPECT_FALSE(driver->logWindow.Visible());
    driver->handBox.chkEnableDebugLog.Checked(true);
    EXPECT_TRUE(driver->logWindow.Visible());
    driver->handBox.chkEnableDebugLog.Checked(false);
    EXPECT_FALSE(driver->logWindow.Visible());
    driver->logPanel.ShowLogWindow(false);
    driver->handBox.chkEnableDebugLog.Checked(true);
    EXPECT_FALSE(driver->logWindow.Visible());
    EXPECT_EQ(driver->persist.ReadIniValue("mPopShowLogWindow", "?"), "0");
}

// --- the window
// --------------------------------------------------------------------------------------------------------

TEST_F(LogWiringTest, TheWindow_ShowsTheRunInItsColours) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->logPanel.ShowLogWindow(true);
    EXPECT_EQ(driver->persist.ReadIniValue("mPopShowLogWindow", "?"), "1");
    driver->log.LogMessage("Other", LogLevel::Info, "the last before");
    const std::size_t before = driver->logWindow.rtbLog.Pieces().size();
    Touch(*telescope);
    machine.AdvanceTime(3000);
    std::set<std::int32_t> colours;
    const auto& pieces = driver->logWindow.rtbLog.Pieces();
    for (std::size_t i = before; i < pieces.size(); ++i) {
        colours.insert(pieces[i].colour);
        EXPECT_TRUE(pieces[i].text.starts_with("\r\n ")) << pieces[i].text;
    }
    EXPECT_TRUE(colours.contains(91903)) << "a client's read";
    EXPECT_TRUE(colours.contains(0xE0E0E0)) << "a query of the poll";
    EXPECT_TRUE(colours.contains(0x1FFFF)) << "its reply";
}

TEST_F(LogWiringTest, TheWindow_StaysBelowItsLimitThroughALongRun) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->logPanel.ShowLogWindow(true);
    std::size_t longest = 0;
    std::size_t cuts = 0;
    std::size_t last = 0;
    for (int second = 0; second < 300; ++second) {
        machine.AdvanceTime(1000);
        const std::size_t length = driver->logWindow.rtbLog.TextLength();
        longest = std::max(longest, length);
        cuts += length < last ? 1U : 0U;
        last = length;
    }
    EXPECT_GT(cuts, 10U);
    EXPECT_LE(longest, 20'200U) << "20000 characters and one more line";
    EXPECT_GT(last, 10'000U - 1);
}

struct FilterRow {
    const char* setting;
    CheckBox frmLogWindow::*box;
    bool LogState::*flag;
    const char* fallback;
};

class LogFilterTest : public LogWiringTest, public testing::WithParamInterface<FilterRow> {};

TEST_P(LogFilterTest, AFilter_IsReadWhenTheWindowIsLoaded) {
    const FilterRow& row = GetParam();
    const std::string other = std::string(row.fallback) == "1" ? "0" : "1";
    Seed({{row.setting, other}});
    Start();
    driver->logPanel.ShowLogWindow(true);
    EXPECT_EQ(driver->state.*row.flag, other == "1");
    EXPECT_EQ((driver->logWindow.*row.box).Checked(), other == "1");
    EXPECT_EQ(driver->persist.ReadIniValue(row.setting, "?"), other);
}

TEST_P(LogFilterTest, AFilter_HasItsDefault_AndAClickIsKept) {
    const FilterRow& row = GetParam();
    Start();
    driver->logPanel.ShowLogWindow(true);
    const bool fallback = std::string(row.fallback) == "1";
    EXPECT_EQ(driver->state.*row.flag, fallback);
    EXPECT_EQ(driver->persist.ReadIniValue(row.setting, "?"), row.fallback);
    (driver->logWindow.*row.box).Checked(!fallback);
    EXPECT_EQ(driver->state.*row.flag, !fallback);
    Restart();
    driver->logPanel.ShowLogWindow(true);
    EXPECT_EQ(driver->state.*row.flag, !fallback);
    EXPECT_EQ((driver->logWindow.*row.box).Checked(), !fallback);
}

INSTANTIATE_TEST_SUITE_P(Settings, LogFilterTest,
                         testing::Values(FilterRow{"chkShowASCOMCommands", &frmLogWindow::chkShowASCOMCommands,
                                                   &LogState::g_bShowAscom, "1"},
                                         FilterRow{"chkShowFocuserCommands", &frmLogWindow::chkShowFocuserCommands,
                                                   &LogState::g_bShowFocuser, "1"},
                                         FilterRow{"chkShowTelescopeCommands", &frmLogWindow::chkShowTelescopeCommands,
                                                   &LogState::g_bShowTelescope, "1"},
                                         FilterRow{"chkShowNoRaDecAltAz", &frmLogWindow::chkShowNoRaDecAltAz,
                                                   &LogState::g_bShowNoRaDec, "0"}));

TEST_F(LogWiringTest, TheWindow_WithoutPositions_ShowsNeitherTheirQueriesNorTheirReplies) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->logPanel.ShowLogWindow(true);
    driver->logWindow.chkShowNoRaDecAltAz.Checked(true);
    const std::size_t before = driver->logWindow.rtbLog.Pieces().size();
    machine.AdvanceTime(2500);
    std::size_t sent = 0;
    std::size_t replies = 0;
    const auto& pieces = driver->logWindow.rtbLog.Pieces();
    for (std::size_t i = before; i < pieces.size(); ++i) {
        for (const char* query : {":GD#", ":GR#", ":GZ#", ":GA#"}) {
            EXPECT_EQ(pieces[i].text.find(query), std::string::npos) << pieces[i].text;
        }
        sent += pieces[i].colour == 0xE0E0E0 && pieces[i].text.find("CommandString") != std::string::npos ? 1U : 0U;
        replies += pieces[i].text.find("RX=") != std::string::npos ? 1U : 0U;
    }
    EXPECT_GT(sent, 0U);
    EXPECT_EQ(replies, sent);
    EXPECT_GT(TimesIn(LogFile(), ":GD#"), 0U) << "the file has them all the same";
}

class CountingView final : public FormView {
public:
    std::size_t lines = 0;   ///< pieces that grew at the end of a text
    std::size_t others = 0;  ///< all other changes
    void Changed(Form&, std::string_view, Property property) override {
        (property == Property::Appended ? lines : others) += 1;
    }
};

TEST_F(LogWiringTest, AnEndedDriver_LeavesTheWindowsQuietly) {
    Start();
    driver->logPanel.ShowLogWindow(true);
    CountingView view;
    for (Form* form : std::initializer_list<Form*>{&driver->logWindow, &driver->handBox, &driver->statusWindow}) {
        form->Attach(view);
    }
    driver->log.LogMessage("Test", LogLevel::Info, "a line");
    ASSERT_EQ(view.lines, 1U);
    view.lines = 0;
    const std::size_t before = log.size();
    driver.reset();
    EXPECT_EQ(view.others, 0U) << "an ending driver changes nothing on a window";
    EXPECT_EQ(view.lines, log.size() - before) << "its last lines come while the window is there to take them";
}

// --- faults of the disk
// ------------------------------------------------------------------------------------------------

TEST_F(LogWiringTest, AFullDisk_NeverFailsAClient) {
    fs::create_directories(LogsFolder());
    LogState state;
    Log names(state, machine.clock);
    fs::create_symlink("/dev/full", LogsFolder() / ("KS_ASCOM_" + names.GetFileTimestamp() + ".log"));
    const TelescopeObject telescope = ConnectedTelescope();
    ASSERT_TRUE(fs::is_symlink(driver->log.FileName()));
    EXPECT_TRUE(telescope->Connected());
    machine.AdvanceTime(5000);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_GT(driver->state.g_nLogLine, 50);
}

TEST_F(LogWiringTest, ALogFolderThatMayNotBeWritten_NeverFailsAClient) {
    Seed({{"LogFileDir", "/proc/self"}});  // nobody makes a file there, not even root
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_FALSE(driver->log.IsOpen());
    EXPECT_TRUE(telescope->Connected());
    machine.AdvanceTime(5000);
    EXPECT_FALSE(telescope->Slewing());
    driver->logPanel.ShowLogWindow(true);
    Touch(*telescope);
    EXPECT_FALSE(driver->logWindow.rtbLog.Pieces().empty()) << "the window works without a file";
}

TEST_F(LogWiringTest, ADeletedLogFile_NeverFailsAClient_AndStaysDeleted) {
    const TelescopeObject telescope = ConnectedTelescope();
    fs::remove_all(LogsFolder());
    machine.AdvanceTime(5000);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_FALSE(fs::exists(LogsFolder()));
    driver->handBox.chkEnableDebugLog.Checked(false);
    driver->handBox.chkEnableDebugLog.Checked(true);
    EXPECT_EQ(LogFiles().size(), 1U) << "a new log makes its folders anew";
}

// --- the ports
// ---------------------------------------------------------------------------------------------------------

TEST_F(LogWiringTest, Start_NumbersThePortsAndTellsThem) {
    machine.serialPorts.Connect(3, std::make_unique<SimulatorLine>(*mount));
    machine.serialPorts.Disconnect(3);
    machine.serialPorts.PlugIn("an adapter");
    machine.serialPorts.SetTroubles({"The serial device x was given no number: Permission denied"});
    Start();
    EXPECT_EQ(machine.serialPorts.Listings(), 1);
    const std::string file = LogFile();
    EXPECT_NE(file.find(": Ports           : Info      : COM1 is virtual line 1\n"), std::string::npos);
    EXPECT_NE(file.find(": Ports           : Info      : COM2 is an adapter\n"), std::string::npos);
    EXPECT_NE(file.find(": Ports           : Info      : COM3 is virtual line 3, which is not there now\n"),
              std::string::npos);
    EXPECT_NE(file.find(": Ports           : Warning   : The serial device x was given no number: Permission denied\n"),
              std::string::npos);
}

TEST_F(LogWiringTest, Start_WithLoggingOff_NumbersThePortsAllTheSame) {
    driver = Main(machine.Services(), true);
    EXPECT_EQ(machine.serialPorts.Listings(), 1);
    EXPECT_FALSE(fs::exists(LogsFolder()));
}

}  // namespace
}  // namespace kestrane
