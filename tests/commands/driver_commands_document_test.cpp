#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
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
            verbs.push_back(line.substr(3, line.find('`', 3) - 3));
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

TEST(DriverVerbs, HaveAPresetReplyThatSaysDone) {
    for (const DriverVerb& verb : DriverVerbs()) {
        EXPECT_EQ(verb.presetReply, "1") << verb.name;
        EXPECT_NE(verb.run, nullptr) << verb.name;
    }
}

}  // namespace
}  // namespace kestrane
