#include "ui/help_window.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

class HelpWindowTest : public DriverFixture {
protected:
    HelpWindowTest() { Start(); }
    frmHelp& Form() { return driver->windows.help; }

    static std::string TitleOf(const std::filesystem::path& page) {
        std::ostringstream text;
        text << std::ifstream(page).rdbuf();
        const std::string content = text.str();
        const std::size_t begin = content.find("<title>") + 7;
        return content.substr(begin, content.find("</title>") - begin);
    }
};

TEST_F(HelpWindowTest, HelpControls_ShowTheWindowWithTheirTopic) {
    struct Row {
        VisibleControl& control;
        std::string title;
        std::string page;
    };
    for (const Row& row : {Row{driver->handBox.btnHelpParkUnpark, "Park and unpark", "help-1-park-and-unpark.html"},
                           Row{driver->handBox.mPopHelp, "Tray icon and status window", "help-7-status.html"}}) {
        SCOPED_TRACE(row.control.Name());
        row.control.FireClick();
        EXPECT_TRUE(Form().Visible());
        EXPECT_EQ(Form().cbxTopic.Text(), row.title);
        EXPECT_EQ(Form().lblPage.Text(), row.page);
    }
    EXPECT_TRUE(machine.processes.starts.empty());
}

TEST_F(HelpWindowTest, TopicThatIsChosenInTheList_IsShown) {
    driver->handBox.mPopHelp.FireClick();
    Form().cbxTopic.ListIndex(3);
    EXPECT_EQ(Form().lblPage.Text(), "help-4-sites.html");
}

TEST_F(HelpWindowTest, WindowThatWasClosed_OpensAgainWithTheTopicOfTheButton) {
    driver->helpWindow.Open(HelpTopic::Goto);
    Form().Unload();
    driver->helpWindow.Open(HelpTopic::Goto);
    EXPECT_TRUE(Form().Visible());
    EXPECT_EQ(Form().lblPage.Text(), "help-6-goto.html");
}

TEST_F(HelpWindowTest, EachTopic_HasItsPageInTheDocuments_WithItsTitle) {
    std::size_t pages = 0;
    for ([[maybe_unused]] const auto& page : std::filesystem::directory_iterator(KESTRANE_HELP)) {
        ++pages;
    }
    EXPECT_EQ(pages, 7U);
    for (int topic = 1; topic <= 7; ++topic) {
        driver->helpWindow.Open(static_cast<HelpTopic>(topic));
        const std::string page = Form().lblPage.Text();
        EXPECT_EQ(page, HelpPage(static_cast<HelpTopic>(topic)));
        EXPECT_TRUE(page.starts_with("help-" + std::to_string(topic) + "-")) << page;
        EXPECT_EQ(TitleOf(std::filesystem::path(KESTRANE_HELP) / page), Form().cbxTopic.Text()) << page;
    }
}

}  // namespace
}  // namespace kestrane
