#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <string>

#include "forms/windows.h"
#include "support/temporary_folder.h"
#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

/// The desktop draws each window by hand; what it draws and what the driver has must not part.
namespace kestrane::desktop {
namespace {

namespace fs = std::filesystem;

const fs::path kDesigns = DESIGNS_FOLDER;

/// The widgets and menu entries of a design by the names of their controls, with their classes; but for what is the
/// desktop's own, and layouts.
std::multimap<std::string, std::string> ControlsOfDesign(const std::string& form) {
    const std::string text = ContentOf(kDesigns / (form + ".ui"));
    const std::regex element(R"x(<(widget class="([^"]*)"|action) name="([^"]*)")x");
    const std::regex member("_([0-9]+)$");
    std::multimap<std::string, std::string> controls;
    for (std::sregex_iterator each(text.begin(), text.end(), element), end; each != end; ++each) {
        const std::string name = std::regex_replace((*each)[3].str(), member, "($1)");
        if (!name.starts_with("own") && name != form) {
            controls.emplace(name, (*each)[2].matched ? (*each)[2].str() : "action");
        }
    }
    return controls;
}

/// The classes that can show a control of a kind.
const std::map<ControlKind, std::set<std::string>> kClasses{
    {ControlKind::Label, {"QLabel", "QTextBrowser"}},
    {ControlKind::Button, {"QPushButton"}},
    {ControlKind::TextBox, {"QLineEdit"}},
    {ControlKind::CheckBox, {"QCheckBox"}},
    {ControlKind::OptionButton, {"QRadioButton"}},
    {ControlKind::ComboBox, {"QComboBox"}},
    {ControlKind::ListView, {"QTreeWidget"}},
    {ControlKind::ScrollBar, {"QSlider"}},
    {ControlKind::Frame, {"QGroupBox"}},
    {ControlKind::PictureBox, {"QLabel"}},
    {ControlKind::Menu, {"QMenu", "action"}},
    {ControlKind::RichTextBox, {"QPlainTextEdit"}},
};

class DesignsTest : public testing::Test {
protected:
    VirtualClock clock;
    VirtualPump pump{clock};
    Windows windows{pump};
};

TEST_F(DesignsTest, EachWindow_HasADesignWithEachOfItsControlsOnce_AsAWidgetOfItsKind) {
    for (const Form* form : windows.All()) {
        if (form == &windows.sky) {
            continue;
        }
        auto designed = ControlsOfDesign(form->Name());
        for (const Control* control : form->Controls()) {
            if (control->Kind() == ControlKind::Timer) {
                continue;
            }
            const std::string place = form->Name() + "." + control->Name();
            ASSERT_EQ(designed.count(control->Name()), 1U) << place;
            const auto found = designed.find(control->Name());
            EXPECT_TRUE(kClasses.at(control->Kind()).contains(found->second)) << place << " is a " << found->second;
            designed.erase(found);
        }
        EXPECT_TRUE(designed.empty()) << form->Name() << " has no control " << designed.begin()->first;
    }
}

TEST_F(DesignsTest, EachDesign_IsOneOfAWindow) {
    std::size_t designs = 0;
    for (const auto& file : fs::directory_iterator(kDesigns)) {
        const std::string name = file.path().stem();
        const auto all = windows.All();
        EXPECT_TRUE(std::ranges::any_of(all, [&](const Form* form) { return form->Name() == name; })) << name;
        ++designs;
    }
    EXPECT_EQ(designs, windows.All().size() - 1) << "each but the sky, which is drawn";
}

}  // namespace
}  // namespace kestrane::desktop
