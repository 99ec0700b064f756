#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "commands/driver_commands.h"

namespace kestrane {
namespace {

/// The verbs of the page's table, sorted: the first cell of each row.
std::vector<std::string> VerbsOfPage(std::istream& page) {
    std::vector<std::string> verbs;
    bool inTable = false;
    for (std::string line; std::getline(page, line);) {
        inTable = line.starts_with("| verb |") || (inTable && line.starts_with('|'));
        if (inTable && line.starts_with("| `")) {
            // One row may tell several verbs: "| `A`, `B` |".
            const std::string cell = line.substr(0, line.find('|', 1));
            for (std::size_t begin = cell.find('`'); begin != std::string::npos;) {
                const std::size_t end = cell.find('`', begin + 1);
                verbs.push_back(cell.substr(begin + 1, end - begin - 1));
                begin = cell.find('`', end + 1);
            }
        }
    }
    std::ranges::sort(verbs);
    return verbs;
}

std::vector<std::string> VerbsOfRows() {
    std::vector<std::string> verbs;
    for (const DriverVerb& verb : DriverVerbs()) {
        verbs.emplace_back(verb.name);
    }
    std::ranges::sort(verbs);
    return verbs;
}

TEST(DriverCommandsDocument, TellsEachVerbAndNoOther) {
    std::ifstream page(KESTRANE_DRIVER_COMMANDS);
    EXPECT_EQ(VerbsOfPage(page), VerbsOfRows()) << "docs/driver-commands.md and the rows of src/commands differ";
}

TEST(DriverCommandsDocument, CanFail) {
    std::istringstream page("| verb | arguments |\n|---|---|\n| `Version` | |\n\n| `Other` | |\n");
    EXPECT_EQ(VerbsOfPage(page), std::vector<std::string>{"Version"});
    EXPECT_NE(VerbsOfRows(), std::vector<std::string>{"Version"});
}

TEST(DriverVerbs, HaveAPresetReplyThatSaysDone_ButForThoseThatFailFirst) {
    const std::map<std::string_view, std::string_view> others{{"GetAllIniValues", ""},
                                                              {"SetParkPosition", "0,Invalid Park Position"},
                                                              {"SetUnparkPosition", "0,Invalid Unpark Position"}};
    for (const DriverVerb& verb : DriverVerbs()) {
        const auto other = others.find(verb.name);
        EXPECT_EQ(verb.presetReply, other != others.end() ? other->second : "1") << verb.name;
        EXPECT_NE(verb.run, nullptr) << verb.name;
    }
}

}  // namespace
}  // namespace kestrane
