#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <string>

#include "forms/windows.h"
#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

/// The page draws each window by hand; what it draws and what the driver has must not part.
namespace kestrane::web {
namespace {

namespace fs = std::filesystem;

const fs::path kFragments = fs::path(PAGE_FOLDER) / "windows";

std::multiset<std::string> ControlsOfFragment(const fs::path& file) {
    std::ifstream stream(file);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    const std::regex control(R"x(data-control="([^"]*)")x");
    std::multiset<std::string> names;
    for (std::sregex_iterator each(text.begin(), text.end(), control), end; each != end; ++each) {
        names.insert((*each)[1]);
    }
    return names;
}

class FragmentsTest : public testing::Test {
protected:
    VirtualClock clock;
    VirtualPump pump{clock};
    Windows windows{pump};
};

TEST_F(FragmentsTest, EachWindow_HasAFragmentWithEachOfItsControlsOnce) {
    for (const Form* form : windows.All()) {
        if (form == &windows.sky) {
            continue;
        }
        std::multiset<std::string> names;
        for (const Control* control : form->Controls()) {
            if (control->Kind() != ControlKind::Timer) {
                names.insert(control->Name());
            }
        }
        EXPECT_EQ(ControlsOfFragment(kFragments / (form->Name() + ".html")), names) << form->Name();
    }
}

TEST_F(FragmentsTest, EachFragment_IsOneOfAWindow_AndThePageLoadsIt) {
    std::ifstream stream(fs::path(PAGE_FOLDER) / "main.js");
    const std::string page{std::istreambuf_iterator<char>(stream), {}};
    std::size_t fragments = 0;
    for (const auto& file : fs::directory_iterator(kFragments)) {
        const std::string name = file.path().stem();
        const auto all = windows.All();
        EXPECT_TRUE(std::ranges::any_of(all, [&](const Form* form) { return form->Name() == name; })) << name;
        EXPECT_NE(page.find("'" + name + "'"), std::string::npos) << name;
        ++fragments;
    }
    EXPECT_EQ(fragments, windows.All().size() - 1) << "each but the sky, which is drawn";
}

}  // namespace
}  // namespace kestrane::web
