#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <utility>

#include "support/driver_fixture.h"
#include "support/other_program.h"
#include "support/small_disk.h"

/// A driver whose settings file is held by another program, or is on a full disk.
namespace kestrane {
namespace {

struct LockRow {
    const char* journal;
    const char* lock;
};

class LockedSettingsTest : public DriverFixture, public testing::WithParamInterface<LockRow> {};

INSTANTIATE_TEST_SUITE_P(Locks, LockedSettingsTest,
                         testing::Values(LockRow{"PRAGMA journal_mode = WAL", "BEGIN IMMEDIATE"},
                                         LockRow{"PRAGMA journal_mode = DELETE", "BEGIN EXCLUSIVE"}));

TEST_P(LockedSettingsTest, ALockAtTheStart_TurnsNoLogOnAndHoldsTheConnectUpForNothing) {
    Seed({{"Port", "COM1"}});
    OtherProgram other(machine.folders.SettingsFile());
    ASSERT_TRUE(other.Run(GetParam().journal));
    ASSERT_TRUE(other.Run(GetParam().lock));
    std::int32_t sleptMs = 0;
    machine.clock.OnSleep([&](std::int32_t milliseconds) { sleptMs += milliseconds; });
    driver = Main(machine.Services(), true);
    ExpectSwallow("*");
    const std::int32_t ofTheStart = std::exchange(sleptMs, 0);
    EXPECT_LE(ofTheStart, 2000);
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_FALSE(driver->state.g_bDebugLog);
    EXPECT_FALSE(std::filesystem::exists(machine.folders.CommonAppData() / "Kestrane" / "ASCOM" / "Logs"));
    EXPECT_EQ(sleptMs, 0);
    telescope->Connected(true);
    EXPECT_TRUE(telescope->Connected());
    EXPECT_FALSE(driver->state.g_bDebugLog);
}

TEST_F(DriverFixture, ALockSinceTheStart_KeepsWhatAClientStores_AndNoDefaultReplacesASetting) {
    const SettingTexts stored{{"Port", "COM2"}, {"MountType", "11"}, {"Controller", "4"}, {"MountRateType", "3"}};
    BuildMount("VKC5-P03-01");
    Seed(stored);
    OtherProgram other(machine.folders.SettingsFile());
    ASSERT_TRUE(other.Run("PRAGMA journal_mode = DELETE"));
    ASSERT_TRUE(other.Run("BEGIN EXCLUSIVE"));
    driver = Main(machine.Services(), true);
    ExpectSwallow("*");
    TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(telescope->CommandString("RAW,SetComTimeout,900", true), "1");
    telescope->Connected(true);  // with the defaults
    ASSERT_TRUE(telescope->Connected());
    driver->handBox.EnsureLoaded();
    driver->panel.UpdateControls();
    machine.AdvanceTime(10'000);
    EXPECT_EQ(telescope->CommandString("RAW,GetComTimeout", true), "1,900");
    ASSERT_TRUE(other.Run("COMMIT"));
    EXPECT_EQ(telescope->CommandString("RAW,GetComTimeout", true), "1,900");
    for (const auto& [key, value] : stored) {
        EXPECT_EQ(driver->persist.ReadIniValue(key, "none"), value) << key;
    }
}

TEST_F(DriverFixture, WithoutALock_TheLogIsOnOnlyWhenItsSettingSaysSo) {
    driver = Main(machine.Services(), true);
    const TelescopeObject first = driver->CreateTelescope();
    EXPECT_FALSE(driver->state.g_bDebugLog);
}

TEST_F(DriverFixture, AMessageBoxOfTheTimeWithoutALog_IsInTheNextOne) {
    Seed({{"chkEnableDebugLog", "1"}});
    std::filesystem::create_directories(machine.folders.LegacyFile());  // cannot be read
    Start();
    ASSERT_EQ(machine.messageBoxes.shown.size(), 1U);
    EXPECT_NE(ContentOf(driver->log.FileName()).find(": MessageBox      : Error     : The old settings file cannot"),
              std::string::npos);
    ExpectSwallow("*");
    EXPECT_NO_THROW(ConnectedTelescope());
    EXPECT_EQ(machine.messageBoxes.shown.size(), 1U);
}

TEST_F(DriverFixture, ALogFolderThatIsNotThere_IsReportedOnce) {
    const std::string folder = (machine.folders.Root() / "gone").string();
    Seed({{"LogFileDir", folder}});
    Start();
    const TelescopeObject telescope = ConnectedTelescope();
    ASSERT_EQ(machine.messageBoxes.Texts().size(), 1U);
    EXPECT_NE(machine.messageBoxes.Texts()[0].find(folder), std::string::npos);
}

TEST_F(DriverFixture, TheLimitsOfTheLogs_AreSettings) {
    const auto keeps = [&](const char* days) {
        driver.reset();
        machine.AdvanceTime(1000);
        Seed({{"LogKeepDays", days}});
        const std::filesystem::path old =
            machine.folders.CommonAppData() / "Kestrane" / "ASCOM" / "Logs" / "KS_ASCOM_1970-01-01_00-00-00.log";
        std::filesystem::create_directories(old.parent_path());
        std::ofstream(old) << "old";
        using FileClock = std::filesystem::file_time_type::clock;
        const std::chrono::sys_days day = std::chrono::year{machine.clock.GetLocalTime().year} / 1 / 1;
        std::filesystem::last_write_time(
            old, std::chrono::time_point_cast<std::filesystem::file_time_type::duration>(FileClock::from_sys(
                     std::chrono::time_point_cast<std::chrono::seconds>(day - std::chrono::days{60}))));
        Start();
        return std::filesystem::exists(old);
    };
    EXPECT_FALSE(keeps("30"));
    EXPECT_TRUE(keeps("100000"));
    EXPECT_FALSE(keeps("none")) << "counts as 30";
    EXPECT_FALSE(keeps("1e5")) << "and so does this";
}

TEST_F(DriverFixture, TheSizeOfTheLogs_IsASettingInMillionsOfBytes) {
    const auto keeps = [&](const char* megabytes) {
        driver.reset();
        machine.AdvanceTime(1000);
        Seed({{"LogKeepMBytes", megabytes}, {"LogKeepDays", "1000000"}});
        const std::filesystem::path old =
            machine.folders.CommonAppData() / "Kestrane" / "ASCOM" / "Logs" / "KS_ASCOM_1970-01-01_00-00-00.log";
        std::filesystem::create_directories(old.parent_path());
        std::ofstream(old).close();
        std::filesystem::resize_file(old, 3'000'000);
        Start();
        return std::filesystem::exists(old);
    };
    EXPECT_TRUE(keeps("4"));
    EXPECT_FALSE(keeps("2"));
    EXPECT_TRUE(keeps("2e0")) << "no number: 500";
    EXPECT_TRUE(keeps("")) << "the same";
}

TEST_F(DriverFixture, ALogFolderThatIsNotThere_CanBeTakenBackWithoutANewStart) {
    Seed({{"LogFileDir", (machine.folders.Root() / "gone").string()}});
    Start();
    ASSERT_FALSE(driver->log.IsOpen());
    driver->handBox.EnsureLoaded();
    driver->persist.WriteIniValue("LogFileDir", "");
    driver->handBox.chkEnableDebugLog.Checked(false);
    driver->handBox.chkEnableDebugLog.Checked(true);
    ASSERT_TRUE(driver->log.IsOpen());
    EXPECT_EQ(driver->log.FileName().parent_path(), machine.folders.CommonAppData() / "Kestrane" / "ASCOM" / "Logs");
    EXPECT_NE(ContentOf(driver->log.FileName()).find("The log folder of the setting LogFileDir cannot be used"),
              std::string::npos)
        << "what the box said";
}

class FullDiskTest : public DriverFixture {
protected:
    void SetUp() override {
        if (!disk.Mounted()) {
            GTEST_SKIP() << "mounting is not permitted here: " << disk.WhyNot();
        }
    }
    std::filesystem::path Logs() { return machine.folders.CommonAppData() / "Kestrane" / "ASCOM" / "Logs"; }
    /// A slew of two hours, and back.
    void Slew(const TelescopeObject& telescope) {
        telescope->Tracking(true);
        const double ra = telescope->SiderealTime();
        const double target = ra < 2.0 ? ra + 22.0 : ra - 2.0;
        telescope->SlewToCoordinates(target, 40.0);
        EXPECT_FALSE(telescope->Slewing());
        machine.AdvanceTime(3000);
        EXPECT_NEAR(telescope->RightAscension(), target, 0.01);
    }

    SmallDisk disk{machine.folders.CommonAppData()};
};

TEST_F(FullDiskTest, ADiskThatFillsDuringARun_HoldsUpNoMotionAndLosesNoSetting) {
    TelescopeObject telescope = ConnectedTelescope();
    Slew(telescope);
    disk.Fill();
    Slew(telescope);
    for (int i = 0; i < 20; ++i) {
        driver->persist.WriteIniValue("SiteName", std::string(6000, static_cast<char>('a' + i)));
    }
    EXPECT_EQ(driver->persist.Read(setting::SiteName), std::string(6000, 't'));
    EXPECT_EQ(TimesLogged("The settings cannot be written"), 1);
    telescope->AbortSlew();
    EXPECT_TRUE(telescope->Connected());
    disk.MakeRoom();
    machine.AdvanceTime(30'000);
    Slew(telescope);
    EXPECT_EQ(TimesLogged("The settings can be written again"), 1);
    telescope.reset();
    driver.reset();
    Start();
    EXPECT_EQ(driver->persist.Read(setting::SiteName), std::string(6000, 't'));
}

TEST_F(FullDiskTest, WhatAFullDiskRefused_IsInTheFileOfTheLogOnceThereIsRoom) {
    Start();
    const std::filesystem::path file = driver->log.FileName();
    disk.Fill();
    for (int i = 0; i < 5; ++i) {
        driver->persist.WriteIniValue("SiteName", std::string(6000, static_cast<char>('a' + i)));
    }
    EXPECT_EQ(ContentOf(file).find("The settings cannot be written"), std::string::npos);
    ASSERT_EQ(machine.messageBoxes.mentioned.size(), 1U);
    EXPECT_NE(machine.messageBoxes.mentioned[0].find("The settings cannot be written"), std::string::npos);
    disk.MakeRoom();
    machine.AdvanceTime(30'000);
    driver->persist.Read(setting::SiteName);
    const std::string content = ContentOf(file);
    const std::size_t refused = content.find(": Settings        : Error     : The settings cannot be written; ");
    const std::size_t written = content.find(": Settings        : Info      : The settings can be written again\n");
    ASSERT_NE(refused, std::string::npos);
    ASSERT_NE(written, std::string::npos);
    EXPECT_LT(refused, written);
    EXPECT_EQ(content.find("The settings cannot be written", refused + 50), std::string::npos) << "once";
}

TEST_F(FullDiskTest, ADiskThatIsReadOnlyAtTheStart_GivesTheSettings_AndTheLogOnceItCanBeWritten) {
    Seed({{"Retry", "4"}, {"chkEnableDebugLog", "1"}});
    disk.ReadOnly(true);
    driver = Main(machine.Services(), true);
    ExpectSwallow("*");
    EXPECT_EQ(driver->persist.Read(setting::Retry), "4");
    EXPECT_TRUE(driver->state.g_bDebugLog);
    EXPECT_FALSE(driver->log.IsOpen());
    EXPECT_TRUE(machine.messageBoxes.Texts().empty());
    EXPECT_EQ(machine.messageBoxes.mentioned.size(), 1U);
    TelescopeObject telescope = ConnectedTelescope();
    Slew(telescope);
    disk.ReadOnly(false);
    driver->handBox.EnsureLoaded();
    driver->handBox.chkEnableDebugLog.Checked(false);
    driver->handBox.chkEnableDebugLog.Checked(true);
    ASSERT_TRUE(driver->log.IsOpen());
    EXPECT_NE(ContentOf(driver->log.FileName())
                  .find(": Settings        : Error     : The settings file can only be read, and the last writes may "
                        "be missing: "),
              std::string::npos);
}

TEST_F(FullDiskTest, ADiskThatIsFullAtTheStart_GivesTheSettingsAndServesAsUsual) {
    Seed({{"Retry", "4"}, {"chkEnableDebugLog", "1"}});
    disk.Fill();
    driver = Main(machine.Services(), true);
    EXPECT_EQ(driver->persist.Read(setting::Retry), "4");
    EXPECT_TRUE(driver->state.g_bDebugLog);
    EXPECT_TRUE(machine.messageBoxes.Texts().empty());
    ExpectSwallow("*");
    const TelescopeObject telescope = ConnectedTelescope();
    Slew(telescope);
}

}  // namespace
}  // namespace kestrane
