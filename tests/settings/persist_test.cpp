#include "settings/persist.h"

#include <gtest/gtest.h>
#include <set>

#include "kernel/base/text.h"
#include "settings/setting_keys.h"
#include "settings_fakes.h"

namespace kestrane {
namespace {

struct PersistTest : testing::Test, SettingsWorld {
    std::string Stored(const std::string& key) {
        return Foreign().Cell("select Value from Driver where Property = '" + key + "'");
    }
    /// As the process finds the machine when it starts again.
    void Restart() {
        persist.reset();
        persist.emplace(NeedsOfPersist());
    }

    std::optional<Persist> persist{std::in_place, NeedsOfPersist()};
};

TEST_F(PersistTest, AFreshMachine_GetsItsFolderAndFile) {
    EXPECT_TRUE(std::filesystem::exists(folders.SettingsFile()));
    EXPECT_TRUE(std::filesystem::is_directory(folders.CommonAppData() / "Kestrane" / "ASCOM"));
    EXPECT_FALSE(std::filesystem::exists(folders.LegacyFile()));
    EXPECT_EQ(persist->LegacyFile(), folders.LegacyFile());
    EXPECT_FALSE(persist->PreventWrites);
    EXPECT_TRUE(boxes.Texts().empty());
    EXPECT_TRUE(ledger.Entries().empty());
}

TEST_F(PersistTest, AFirstRead_FreezesTheDefault) {
    EXPECT_EQ(persist->ReadIniValue("cbxInitGuideRate", "2"), "2");
    EXPECT_EQ(persist->ReadIniValue("CBXINITGUIDERATE", "0"), "2");
    EXPECT_EQ(Stored("cbxinitguiderate"), "2");
    EXPECT_TRUE(std::filesystem::exists(folders.LegacyFile()));
    EXPECT_EQ(std::filesystem::file_size(folders.LegacyFile()), 0U);
    Restart();
    EXPECT_EQ(persist->ReadIniValue("cbxInitGuideRate", "1"), "2");
}

TEST_F(PersistTest, AFirstReadWithAnEmptyDefault_StoresAnEmptyRow) {
    EXPECT_EQ(persist->ReadIniValue("txtIPAddress", ""), "");
    EXPECT_EQ(Stored("txtipaddress"), "");
    EXPECT_EQ(persist->ReadIniValue("txtIpAddress", "x"), "");
}

TEST_F(PersistTest, TheLegacyFile_RulesUntilTheFirstRead) {
    WriteLegacyFile("[default]\r\nport=COM7\r\n");
    EXPECT_EQ(persist->ReadIniValue("Port", "COM1"), "COM7");
    EXPECT_EQ(Stored("port"), "COM7");
    WriteLegacyFile("[default]\r\nport=COM8\r\n");
    EXPECT_EQ(persist->ReadIniValue("Port", "COM1"), "COM7");
    Restart();
    EXPECT_EQ(persist->ReadIniValue("Port", "COM1"), "COM7");
}

TEST_F(PersistTest, AWrite_RulesOverTheLegacyFileAndLeavesItAlone) {
    const std::string content = "[default]\nport=COM7\n";
    WriteLegacyFile(content);
    persist->WriteIniValue("Port", "COM2");
    EXPECT_EQ(persist->ReadIniValue("Port", "COM1"), "COM2");
    EXPECT_EQ(ContentOf(folders.LegacyFile()), content);
}

TEST_F(PersistTest, AReadOnlyLegacyFile_IsMadeWritableByItsOwner) {
    WriteLegacyFile("[default]\nport=COM7\n");
    std::filesystem::permissions(folders.LegacyFile(), std::filesystem::perms::owner_read);
    EXPECT_EQ(persist->ReadIniValue("Port", "COM1"), "COM7");
    EXPECT_NE(std::filesystem::status(folders.LegacyFile()).permissions() & std::filesystem::perms::owner_write,
              std::filesystem::perms::none);
}

TEST_F(PersistTest, ALegacyFileThatCannotBeRead_LeavesTheDefaultAndWrites) {
    std::filesystem::create_directories(folders.LegacyFile());
    EXPECT_EQ(persist->ReadIniValue("Port", "COM1"), "COM1");
    persist->WriteIniValue("Port", "COM2");
    EXPECT_EQ(persist->ReadIniValue("Port", "COM1"), "COM2");
}

struct BooleanRow {
    const char* stored;
    const char* read;
};

TEST_F(PersistTest, LowerCaseBooleans_AreReadCapitalised) {
    for (const BooleanRow& row : std::vector<BooleanRow>{{"true", "True"},
                                                         {"false", "False"},
                                                         {"TRUE", "TRUE"},
                                                         {"True", "True"},
                                                         {"tRue", "tRue"},
                                                         {"true ", "true "}}) {
        persist->WriteIniValue("ParkStatus", row.stored);
        EXPECT_EQ(persist->ReadIniValue("ParkStatus", ""), row.read);
        EXPECT_EQ(Stored("parkstatus"), row.stored);
    }
    EXPECT_EQ(persist->ReadIniValue("Other", "true"), "True");
    EXPECT_EQ(Stored("other"), "true");
}

TEST_F(PersistTest, PreventWrites_StopsWritesButNotFirstReads) {
    persist->PreventWrites = true;
    persist->WriteIniValue("Port", "COM2");
    EXPECT_EQ(Stored("port"), "(no row)");
    EXPECT_EQ(persist->ReadIniValue("Port", "COM1"), "COM1");
    EXPECT_EQ(Stored("port"), "COM1");
}

TEST_F(PersistTest, AccessesAreLogged_WithTheKeyAsWritten) {
    logState.g_bDebugLog = true;
    persist->WriteIniValue("Port", "COM2");
    persist->ReadIniValue("PORT", "COM1");
    persist->PreventWrites = true;
    persist->WriteIniValue("Retry", "3");
    EXPECT_EQ(logged, (std::vector<std::string>{"WriteIniValue|0|Port=>'COM2'", "ReadIniValue|0|PORT=>'COM2'",
                                                "WriteIniValue|0|Retry=>'3'"}));
}

TEST_F(PersistTest, TryDeleteIniValue_TakesTheRowAndSwallowsFailures) {
    persist->WriteIniValue("LatitudeDeg", "45");
    persist->TryDeleteIniValue("LatitudeDeg");
    EXPECT_EQ(Stored("latitudedeg"), "(no row)");
    EXPECT_TRUE(ledger.Entries().empty());
    EXPECT_NO_THROW(persist->TryDeleteIniValue("o'neill"));
    EXPECT_EQ(ledger.Entries().size(), 1U);
}

TEST_F(PersistTest, AKeyWithAnApostrophe_ReadsAsTheDefault) {
    EXPECT_EQ(persist->ReadIniValue("o'neill", "d"), "d");
    EXPECT_NO_THROW(persist->WriteIniValue("o'neill", "v"));
    EXPECT_EQ(persist->ReadIniValue("o'neill", "d"), "d");
}

TEST_F(PersistTest, GetAllValues_OnAnEmptyTable_IsEmptyAndOnAnyRowFails) {
    EXPECT_EQ(persist->GetAllValues(), "");
    persist->WriteIniValue("Port", "COM1");
    persist->WriteIniValue("Retry", "2");
    try {
        persist->GetAllValues();
        ADD_FAILURE();
    } catch (const RunTimeError& error) {
        EXPECT_EQ(error.Number(), 91U);
    }
}

TEST_F(PersistTest, ReadFlag_IsTrueWhenTheNumberIsNotZero) {
    const std::vector<std::pair<const char*, bool>> rows{{"0", false},   {"1", true},   {"-1", true}, {"2", true},
                                                         {"0.0", false}, {"0,5", true}, {"", false},  {"True", false}};
    for (const auto& [stored, expected] : rows) {
        persist->Write(setting::chkSlewEast, stored);
        EXPECT_EQ(persist->ReadFlag(setting::chkSlewEast), expected) << stored;
    }
    EXPECT_TRUE(persist->ReadFlag(setting::chkUseRCAL));
    EXPECT_EQ(Stored("chkusercal"), "1");
}

TEST_F(PersistTest, EveryKey_ReadsItsDefaultOnceAndForAll) {
    for (const SettingKey& key : kAllSettings) {
        EXPECT_EQ(persist->Read(key), key.fallback) << key.name;
    }
    Restart();
    for (const SettingKey& key : kAllSettings) {
        EXPECT_EQ(persist->ReadIniValue(key.name, key.laterDefault.value_or("another")), key.fallback) << key.name;
    }
    EXPECT_EQ(Foreign().Cell("select count(*) from Driver"), std::to_string(kAllSettings.size() - 1));
    EXPECT_EQ(Foreign().Cell("select Property from CommonSettings"), "sitedbindex");
}

TEST(SettingTableTest, EachKey_StandsOnceInAnyCaseWithADefaultOfItsKind) {
    std::set<std::string> seen;
    for (const SettingKey& key : kAllSettings) {
        EXPECT_TRUE(seen.insert(ToLower(key.name)).second) << key.name;
        if (key.kind == SettingKind::Flag) {
            EXPECT_TRUE(key.fallback == "0" || key.fallback == "1") << key.name;
        }
        if (key.kind == SettingKind::TrueFalse) {
            EXPECT_TRUE(key.fallback == "True" || key.fallback == "False") << key.name;
        }
        EXPECT_NE(key.laterDefault, key.fallback) << key.name;
    }
    for (std::string_view removed : kRemovedKeys) {
        EXPECT_FALSE(seen.contains(ToLower(removed))) << removed;
    }
}

struct LegacyRow {
    const char* file;
    const char* value;
};

TEST(LegacyIniTest, EachFile_GivesItsValueOrTheDefault) {
    const std::vector<LegacyRow> rows{
        {"[default]\r\nport=COM7\r\n", "COM7"},
        {"[default]\nport=COM7", "COM7"},
        {"[DEFAULT]\nPORT=Com7\n", "Com7"},
        {"[default]\nport=a=b\n", "a=b"},
        {"[default]\nport=  spaced  \n", "  spaced  "},
        {"[default]\nport=\n", ""},
        {"[default]\nport=first\nport=second\n", "first"},
        {"[default]\nports=x\nport=COM7\n", "COM7"},
        {"[default]\nport =x\n", "none"},
        {"[default]\n port=x\n", "none"},
        {"[default]\nport=x[1]\n", "none"},
        {"[default]\nx[1]=2\nport=COM7\n", "none"},
        {"[other]\nport=COM7\n", "none"},
        {"[default]\n[other]\nport=COM7\n", "none"},
        {"[other]\n[default]\nport=COM7\n", "COM7"},
        {"[other]\n[default]\n[other]\n[default]\nport=COM7\n", "COM7"},
        {" [default]\nport=COM7\n", "none"},
        {"port=COM7\n", "none"},
        {"", "none"},
        {"\r\n\r\n", "none"},
    };
    for (const LegacyRow& row : rows) {
        SettingsWorld world;
        world.WriteLegacyFile(row.file);
        Persist persist(world.NeedsOfPersist());
        EXPECT_EQ(persist.ReadIniValue("Port", "none"), row.value) << row.file;
    }
}

// --- without a settings file -------------------------------------------------------------------------------------

struct NoDatabaseTest : testing::Test, SettingsWorld {
    Persist Make() {
        PersistNeeds needs = NeedsOfPersist();
        needs.createDatabase = [] { return std::unique_ptr<Database>(); };
        return Persist(needs);
    }
};

TEST_F(NoDatabaseTest, EachAccess_ShowsItsBoxAndGivesTheDefault) {
    Persist persist = Make();
    EXPECT_EQ(persist.ReadIniValue("Port", "true"), "True");
    persist.WriteIniValue("Port", "COM1");
    persist.TryDeleteIniValue("Port");
    EXPECT_EQ(boxes.Texts(), (std::vector<std::string>{"Failed to open database", "ReadIniValue: No DB initialized!",
                                                       "WriteIniValue: No DB initialized!"}));
    EXPECT_EQ(persist.database(), nullptr);
}

TEST_F(NoDatabaseTest, GetAllValues_ListsTheLegacyFile) {
    WriteLegacyFile("[default]\r\n  port=COM7  \r\nno value\r\n[x]=y\r\nretry=2\r\n");
    Persist persist = Make();
    EXPECT_EQ(persist.GetAllValues(), "port=COM7,retry=2,");
}

TEST_F(NoDatabaseTest, AnUnusableFile_ShowsOneBoxAndReadsDefaults) {
    std::filesystem::create_directories(folders.SettingsFile());
    Persist persist(NeedsOfPersist());
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM1");
    EXPECT_NO_THROW(persist.WriteIniValue("Port", "COM2"));
    EXPECT_EQ(persist.ReadIniValue("Port", "COM1"), "COM1");
    ASSERT_EQ(boxes.Texts().size(), 1U);
    EXPECT_TRUE(boxes.Texts()[0].starts_with("Init DB Error: "));
    EXPECT_NE(persist.database(), nullptr);
}

}  // namespace
}  // namespace kestrane
