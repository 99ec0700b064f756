#include <gtest/gtest.h>
#include <sys/stat.h>

#include "settings_fakes.h"

namespace kestrane {
namespace {

struct PersistEdgesTest : testing::Test, SettingsWorld {
    std::string Stored(const std::string& key) {
        return Foreign().Cell("select Value from Driver where Property = '" + key + "'");
    }

    Persist persist{NeedsOfPersist()};
};

TEST_F(PersistEdgesTest, TheTwoMarksOfNoRow_AreNotTheSame) {
    persist.WriteIniValue("SiteName", "***###");
    EXPECT_EQ(persist.ReadIniValue("SiteName", "d"), "***###");
    persist.WriteIniValue("SiteName", "****####");
    EXPECT_EQ(Stored("sitename"), "****####");
    EXPECT_EQ(persist.ReadIniValue("SiteName", "d"), "d") << "this one counts as no row, and the default replaces it";
    EXPECT_EQ(Stored("sitename"), "d");
}

TEST_F(PersistEdgesTest, AReadThatFails_GivesTheDefaultAndHasNoOtherEffect) {
    WriteLegacyFile("[default]\nport=COM7\n");
    Foreign().Run("insert into Driver (Property, Value) values ('port', NULL)");
    EXPECT_EQ(persist.ReadIniValue("Port", "true"), "True");
    EXPECT_EQ(Stored("port"), "NULL");
    EXPECT_EQ(Foreign().Cell("select count(*) from PropertyChangedEvent"), "0");
}

TEST_F(PersistEdgesTest, WithTheLogOff_AccessesAreNotLogged) {
    persist.WriteIniValue("Port", "COM2");
    persist.ReadIniValue("Port", "COM1");
    EXPECT_TRUE(logged.empty());
}

TEST_F(PersistEdgesTest, GetAllValues_FailsAlsoOnASingleRow) {
    persist.WriteIniValue("Port", "COM1");
    EXPECT_THROW(persist.GetAllValues(), RunTimeError);
}

struct LegacyFileRow {
    const char* file;
    const char* value;
};

TEST_F(PersistEdgesTest, LegacyFilesOfOtherEditors_AreReadAll) {
    int key = 0;
    for (const LegacyFileRow& row : std::vector<LegacyFileRow>{
             {"\xEF\xBB\xBF[default]\r\nport=COM7\r\n", "COM7"},
             {"[default]\rretry=1\rport=COM7\r", "COM7"},
             {"[default]\n\nport=COM7\r\r\n", "COM7"},
             {"[default]\nport=\xEF\xBB\xBF"
              "COM7\n",
              "\xEF\xBB\xBF"
              "COM7"},
             {"\xEF\xBB\xBF", "none"},
             {"[default]\nPoRt=Mixed Case\n", "Mixed Case"},
         }) {
        SettingsWorld world;
        world.WriteLegacyFile(row.file);
        Persist one(world.NeedsOfPersist());
        EXPECT_EQ(one.ReadIniValue("PORT", "none"), row.value) << ++key;
    }
}

TEST_F(PersistEdgesTest, AMissingLegacyFolder_MeansNoLegacyValues) {
    std::filesystem::remove_all(folders.LegacyFile().parent_path());
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM1");
    EXPECT_EQ(Stored("port"), "COM1");
    EXPECT_TRUE(boxes.Texts().empty());
}

TEST_F(PersistEdgesTest, ALegacyFileThatCannotBeRead_CostsOneMessageAndStoresNoDefault) {
    std::filesystem::create_directories(folders.LegacyFile());  // a folder in its place
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM1");
    EXPECT_EQ(persist.ReadIniValue("Retry", "2"), "2");
    EXPECT_THROW(persist.ReadIfAnswered("Port", "COM1"), RunTimeError) << "nobody may act on this default";
    EXPECT_EQ(boxes.Texts().size(), 1U);
    EXPECT_NE(boxes.Texts().at(0).find(folders.LegacyFile().string()), std::string::npos);
    EXPECT_EQ(Stored("port"), "(no row)");
    std::filesystem::remove(folders.LegacyFile());
    WriteLegacyFile("[default]\nport=COM7\n");
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM7");
    EXPECT_EQ(Stored("port"), "COM7");
}

TEST_F(PersistEdgesTest, ALegacyFileThatCanBeRead_ShowsNothing) {
    WriteLegacyFile("[default]\nport=COM7\n");
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM7");
    EXPECT_TRUE(boxes.Texts().empty());
}

TEST_F(PersistEdgesTest, ALegacyValue_IsStoredAsUtf8) {
    WriteLegacyFile("[default]\nsitename=Ca\xF1on\noldsitename=Ca\xC3\xB1on\n");
    EXPECT_EQ(persist.ReadIniValue("SiteName", ""), "Ca\xC3\xB1on");
    EXPECT_EQ(Stored("sitename"), "Ca\xC3\xB1on");
    EXPECT_EQ(persist.ReadIniValue("OldSiteName", ""), "Ca\xC3\xB1on");
}

TEST_F(PersistEdgesTest, AQuietRead_LeavesNoLineInTheLog) {
    logState.g_bDebugLog = true;
    EXPECT_EQ(persist.ReadQuietly(setting::LogWhenParked), "0");
    EXPECT_TRUE(logged.empty());
    EXPECT_EQ(Stored("logwhenparked"), "0");
    persist.Read(setting::LogWhenParked);
    EXPECT_EQ(logged.size(), 1U);
}

TEST_F(PersistEdgesTest, WhatIsNoPlainLegacyFile_IsNotReadNorWaitedFor) {
    const std::filesystem::path file = folders.LegacyFile();
    const std::vector<std::function<bool()>> makers{
        [&] { return std::filesystem::create_directory(file); },
        [&] { return ::mkfifo(file.c_str(), 0600) == 0; },
    };
    for (const auto& make : makers) {
        ASSERT_TRUE(make());
        EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM1");
        EXPECT_EQ(Stored("port"), "(no row)");
        std::filesystem::remove(file);
    }
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM1");
}

/// A machine that does not name its folders, or shows no boxes.
class FailingFolders final : public Folders {
public:
    std::filesystem::path CommonAppData() override { throw RunTimeError(RunTimeError::kFileAccess, "no such folder"); }
    std::filesystem::path Documents() override { return {}; }
};

class FailingBoxes final : public MessageBoxes {
public:
    MessageAnswer Show(std::string_view, std::string_view, MessageIcon) override {
        throw RunTimeError(RunTimeError::kInvalidProcedureCall, "no window");
    }
};

TEST(PersistConstructionTest, Failures_AreIgnored) {
    SettingsWorld world;
    FailingFolders noFolders;
    Persist persist(PersistNeeds{world.logState, world.log, world.clock, noFolders, world.boxes, world.ledger});
    EXPECT_EQ(persist.database(), nullptr);
    EXPECT_EQ(world.boxes.Texts(), std::vector<std::string>{"Failed to open database"});
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM1");
    EXPECT_TRUE(persist.LegacyFile().empty());

    FailingBoxes noBoxes;
    EXPECT_NO_THROW(Persist(PersistNeeds{world.logState, world.log, world.clock, noFolders, noBoxes, world.ledger}));
}

}  // namespace
}  // namespace kestrane
