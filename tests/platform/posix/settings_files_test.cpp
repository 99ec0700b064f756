#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/posix/environment.h"
#include "platform/posix/file_profile_store.h"
#include "platform/posix/ini_file.h"
#include "platform/posix/posix_application_settings.h"
#include "platform/posix/posix_folders.h"
#include "platform/posix/posix_registry.h"
#include "platform/posix/test_world.h"
#include "support/temporary_folder.h"

namespace kestrane {
namespace {

using test::FixedFolders;
using test::ScopedVariable;

// Folders ----------------------------------------------------------------------------------------------------------

struct FolderRow {
    std::optional<std::string> own;
    std::optional<std::string> desktop;
    const char* data;
    const char* config;
};

const FolderRow kFolderRows[] = {
    {"/own", "/desktop", "/own", "/own"},
    {std::nullopt, "/desktop", "/desktop", "/desktop"},
    {"", "/desktop", "/desktop", "/desktop"},
    {std::nullopt, std::nullopt, "/home/someone/.local/share", "/home/someone/.config"},
    {std::nullopt, "relative", "/home/someone/.local/share", "/home/someone/.config"},
    {"relative", "/desktop", "relative", "relative"},
};

TEST(PosixFolders, OwnVariable_GoesBeforeTheDesktopsBeforeTheHomeFolder) {
    const ScopedVariable home("HOME", "/home/someone");
    for (const auto& [own, desktop, data, config] : kFolderRows) {
        SCOPED_TRACE(own.value_or("(none)") + ", " + desktop.value_or("(none)"));
        const ScopedVariable ownData("KESTRANE_COMMON_APPDATA", own);
        const ScopedVariable ownConfig("KESTRANE_USER_CONFIG", own);
        const ScopedVariable desktopData("XDG_DATA_HOME", desktop);
        const ScopedVariable desktopConfig("XDG_CONFIG_HOME", desktop);
        EXPECT_EQ(PosixFolders().CommonAppData(), data);
        EXPECT_EQ(UserConfigFolder(), config);
    }
}

TEST(PosixFolders, Documents_LieInTheHomeFolderUnlessTold) {
    const ScopedVariable home("HOME", "/home/someone");
    {
        const ScopedVariable own("KESTRANE_DOCUMENTS", std::nullopt);
        EXPECT_EQ(PosixFolders().Documents(), "/home/someone/Documents");
    }
    const ScopedVariable own("KESTRANE_DOCUMENTS", "/papers");
    EXPECT_EQ(PosixFolders().Documents(), "/papers");
}

// Ini files --------------------------------------------------------------------------------------------------------

struct IniRow {
    const char* text;
    std::optional<std::string> value;  ///< of section "Driver", key "Port"
};

const IniRow kIniRows[] = {
    {"", std::nullopt},                                         //
    {"[Driver]\nPort=5\n", "5"},                                //
    {"[Driver]\nPort=5", "5"},                                  //
    {"[Driver]\r\nPort=5\r\n", "5"},                            //
    {"\xEF\xBB\xBF[Driver]\nPort=5\n", "5"},                    //
    {"  [ driver ]  \n\t pORT \t=  5 6 \n", "5 6"},             //
    {"[Driver]\nPort=\n", ""},                                  //
    {"[Driver]\nPort=a=b\n", "a=b"},                            //
    {"[Driver]\n;Port=1\n#Port=2\nPort=3\n", "3"},              //
    {"[Driver]\nPort=1\nPort=2\n", "1"},                        //
    {"[Driver]\nA=1\n[Other]\nPort=2\n[DRIVER]\nPort=3", "3"},  //
    {"Port=5\n[Driver]\n", std::nullopt},                       //
    {"[Other]\nPort=5\n", std::nullopt},                        //
    {"[Driver\nPort=5\n", std::nullopt},                        //
    {"[Driver]\nPort\n", std::nullopt},                         //
    {"[Driver]\nPorts=5\n", std::nullopt},                      //
    {"[]\n=\n[=]\n\n[Driver]\n", std::nullopt},                 //
};

TEST(IniFile, Find_TakesTheFirstLineOfTheKey) {
    for (const auto& [text, value] : kIniRows) {
        EXPECT_EQ(IniFile::Parse(text).Find("Driver", "Port"), value) << text;
    }
}

TEST(IniFile, Load_OfNoFileAFolderOrAHugeFile_IsEmpty) {
    const TemporaryFolder folder;
    EXPECT_EQ(IniFile::Load(folder.Path() / "missing.ini").ToText(), "");
    EXPECT_EQ(IniFile::Load(folder.Path()).ToText(), "");
    const auto huge = folder.Write("huge.ini", "[Driver]\nPort=5\n" + std::string(1024 * 1024, ' '));
    EXPECT_EQ(IniFile::Load(huge).ToText(), "");
}

TEST(IniFile, Set_ReplacesInAnyCaseAndKeepsTheRest) {
    IniFile file = IniFile::Parse("[One]\nA=1\nB=2\n[Two]\nA=3\n");
    file.Set("ONE", "a", "new");
    file.Set("Two", "C", "two\nlines");
    file.Set("Three", "D", "4");
    EXPECT_EQ(file.ToText(), "[One]\nA=new\nB=2\n[Two]\nA=3\nC=two lines\n[Three]\nD=4\n");
}

// Settings of other programs ---------------------------------------------------------------------------------------

class UserConfigTest : public testing::Test {
protected:
    TemporaryFolder folder_;
    ScopedVariable config_{"KESTRANE_USER_CONFIG", folder_.Path().string()};
};

TEST_F(UserConfigTest, ApplicationSetting_IsReadFromTheFileOfTheApplication) {
    folder_.Write("QUAY.ini", "[Driver]\nVirtualPort=9\n");
    EXPECT_EQ(PosixApplicationSettings().Get("QUAY", "driver", "virtualport", "0"), "9");
}

TEST_F(UserConfigTest, ApplicationSetting_WithoutFileSectionOrKey_IsTheFallback) {
    PosixApplicationSettings settings;
    EXPECT_EQ(settings.Get("QUAY", "Driver", "Port", "none"), "none");
    folder_.Write("QUAY.ini", "[Driver]\nEmpty=\n");
    EXPECT_EQ(settings.Get("QUAY", "Driver", "Port", "none"), "none");
    EXPECT_EQ(settings.Get("QUAY", "Other", "Empty", "none"), "none");
    EXPECT_EQ(settings.Get("QUAY", "Driver", "Empty", "none"), "");
}

TEST_F(UserConfigTest, ApplicationSetting_ChangedByItsProgram_IsReadAnew) {
    PosixApplicationSettings settings;
    folder_.Write("QUAY.ini", "[Driver]\nPort=1\n");
    EXPECT_EQ(settings.Get("QUAY", "Driver", "Port", ""), "1");
    folder_.Write("QUAY.ini", "[Driver]\nPort=2\n");
    EXPECT_EQ(settings.Get("QUAY", "Driver", "Port", ""), "2");
}

TEST_F(UserConfigTest, RegistryValue_IsATextWithItsTerminator) {
    folder_.Write("KestraneCommandCenter.ini", "[ExeName]\nName=/opt/quay/quay\n");
    const auto value = PosixRegistry().Read("KestraneCommandCenter\\ExeName", "Name");
    ASSERT_TRUE(value);
    EXPECT_EQ(value->type, 1U);
    EXPECT_EQ(value->data, std::string("/opt/quay/quay\0", 15));
}

TEST_F(UserConfigTest, RegistryValue_Missing_IsNothing) {
    PosixRegistry registry;
    EXPECT_FALSE(registry.Read("KestraneCommandCenter\\ExeName", "Name"));
    folder_.Write("KestraneCommandCenter.ini", "[ExeName]\nName=x\n");
    EXPECT_FALSE(registry.Read("KestraneCommandCenter\\ExeName", "Other"));
    EXPECT_FALSE(registry.Read("KestraneCommandCenter\\Other", "Name"));
    EXPECT_FALSE(registry.Read("KestraneCommandCenter", "Name"));
    EXPECT_FALSE(registry.Read("", ""));
}

// Profile store ----------------------------------------------------------------------------------------------------

class ProfileTest : public testing::Test {
protected:
    std::string Text() { return folder_.Read(kFile); }

    static constexpr const char* kFile = "data/Kestrane/ASCOM/Profile.ini";
    TemporaryFolder folder_;
    FixedFolders folders_{folder_.Path() / "data"};
    FileProfileStore store_{folders_};
};

TEST_F(ProfileTest, Register_MakesTheFileAndKeepsTheDescriptionAsItStands) {
    EXPECT_FALSE(store_.IsRegistered("Telescope", "KestraneV2.Telescope"));
    store_.Register("Telescope", "KestraneV2.Telescope", "'Kestrane VTR V2 Mount");
    EXPECT_TRUE(store_.IsRegistered("Telescope", "KestraneV2.Telescope"));
    EXPECT_EQ(Text(), "[Telescope]\nKestraneV2.Telescope='Kestrane VTR V2 Mount\n");
}

TEST_F(ProfileTest, DeviceTypes_AreApart) {
    store_.Register("Telescope", "KestraneV2.Telescope", "mount");
    store_.Register("Focuser", "KestraneV2.Focuser", "focuser");
    EXPECT_FALSE(store_.IsRegistered("Focuser", "KestraneV2.Telescope"));
    store_.Unregister("Telescope", "KestraneV2.Telescope");
    EXPECT_FALSE(store_.IsRegistered("Telescope", "KestraneV2.Telescope"));
    EXPECT_TRUE(store_.IsRegistered("Focuser", "KestraneV2.Focuser"));
}

TEST_F(ProfileTest, RegisterAgain_WithTheSameDescription_LeavesTheFileAlone) {
    const auto inode = [&] {
        struct stat status {};
        stat((folder_.Path() / kFile).c_str(), &status);
        return status.st_ino;
    };
    store_.Register("Telescope", "KestraneV2.Telescope", "mount");
    const auto before = inode();
    store_.Register("Telescope", "KestraneV2.Telescope", "mount");
    EXPECT_EQ(inode(), before);
}

TEST_F(ProfileTest, RegisterAgain_WithAnotherDescription_ReplacesIt) {
    store_.Register("Telescope", "KestraneV2.Telescope", "old");
    store_.Register("Telescope", "KestraneV2.Telescope", "new");
    EXPECT_EQ(Text(), "[Telescope]\nKestraneV2.Telescope=new\n");
}

TEST_F(ProfileTest, Register_LeavesNoOtherFileBehind) {
    store_.Register("Telescope", "KestraneV2.Telescope", "mount");
    const std::filesystem::directory_iterator files(folder_.Path() / "data/Kestrane/ASCOM");
    EXPECT_EQ(std::distance(files, std::filesystem::directory_iterator()), 1);
}

TEST_F(ProfileTest, Unregister_OfAnUnknownDriver_MakesNoFile) {
    store_.Unregister("Telescope", "Other");
    EXPECT_FALSE(std::filesystem::exists(folder_.Path() / kFile));
}

TEST_F(ProfileTest, FileSystemThatRefuses_LeavesTheStoreEmptyWithoutRaising) {
    folder_.Write("data", "a file where the folder should be");
    store_.Register("Telescope", "KestraneV2.Telescope", "mount");
    EXPECT_FALSE(store_.IsRegistered("Telescope", "KestraneV2.Telescope"));
    store_.Unregister("Telescope", "KestraneV2.Telescope");
    EXPECT_TRUE(store_.Available());
}

TEST_F(ProfileTest, FileThatCannotBeReplaced_LeavesNoFreshOneBehind) {
    std::filesystem::create_directories(folder_.Path() / kFile / "a folder in the way");
    store_.Register("Telescope", "KestraneV2.Telescope", "mount");
    EXPECT_FALSE(store_.IsRegistered("Telescope", "KestraneV2.Telescope"));
    const std::filesystem::directory_iterator files(folder_.Path() / "data/Kestrane/ASCOM");
    EXPECT_EQ(std::distance(files, std::filesystem::directory_iterator()), 1);
}

}  // namespace
}  // namespace kestrane
