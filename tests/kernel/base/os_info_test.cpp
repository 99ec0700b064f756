#include "kernel/base/os_info.h"

#include <gtest/gtest.h>
#include <vector>

namespace kestrane {
namespace {

struct ToldSystem final : SystemInfo {
    std::optional<OsVersion> GetVersion() override { return version; }
    bool ShellAdminTest() override { return shellSaysAdmin; }
    std::optional<int> TokenElevationType() override { return elevation; }

    std::string Name() override { return name; }

    std::optional<OsVersion> version;
    std::string name;
    bool shellSaysAdmin = false;
    std::optional<int> elevation;
};

TEST(OsInfoTest, GetOsName_OfEachVersion_IsItsName) {
    struct Row {
        OsVersion version;
        const char* name;
    };
    const std::vector<Row> rows{
        {{0, 4, 0}, "Win32s"},       {{1, 5, 0}, "Windows ME"},
        {{1, 4, 10}, "Windows 98"},  {{1, 4, 0}, "Windows 95"},
        {{1, 3, 1}, "Windows 95"},   {{2, 4, 0}, "Windows NT"},
        {{2, 5, 0}, "Windows 2000"}, {{2, 5, 1}, "Windows XP"},
        {{2, 5, 2}, "Windows XP"},   {{2, 6, 0}, "Windows Vista"},
        {{2, 6, 1}, "Windows 7"},    {{2, 6, 2}, "Windows 8.0"},
        {{2, 6, 3}, "Windows 8.1"},  {{2, 6, 4}, "Windows Major,Minor: 6 ,4"},
        {{2, 10, 0}, "Windows 10"},  {{2, 11, 3}, "Windows Major,Minor: 11 ,3"},
        {{3, 1, 0}, "unknown"},
    };
    ToldSystem system;
    EXPECT_EQ(GetOsName(system), "unknown");
    system.name = "Debian GNU/Linux 12 (bookworm), Linux 6.1.0 x86_64";
    EXPECT_EQ(GetOsName(system), system.name);
    for (const Row& row : rows) {
        system.version = row.version;
        EXPECT_EQ(GetOsName(system), row.name);
    }
}

TEST(OsInfoTest, IsAdmin_FromVersion6OfTheNtFamily_AsksTheTokenElseTheShell) {
    struct Row {
        std::optional<OsVersion> version;
        bool shell;
        std::optional<int> elevation;
        bool admin;
    };
    const std::vector<Row> rows{
        {std::nullopt, true, 1, true},
        {std::nullopt, false, 2, false},
        {OsVersion{1, 6, 0}, true, 1, true},
        {OsVersion{2, 5, 1}, true, 1, true},
        {OsVersion{2, 5, 1}, false, 2, false},
        {OsVersion{2, 6, 0}, false, 2, true},
        {OsVersion{2, 6, 0}, true, 1, false},
        {OsVersion{2, 10, 0}, true, 3, false},
        {OsVersion{2, 10, 0}, true, std::nullopt, false},
    };
    for (const Row& row : rows) {
        ToldSystem system;
        system.version = row.version;
        system.shellSaysAdmin = row.shell;
        system.elevation = row.elevation;
        EXPECT_EQ(IsAdmin(system), row.admin);
    }
}

}  // namespace
}  // namespace kestrane
