#include "ui/setup/setup_tools.h"

#include <memory>
#include <string>
#include <vector>

#include "setup_fixture.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

using Texts = std::vector<std::string>;

TEST_F(SetupFixture, NewerVersion_ThatTheCheckHasFound_IsTheLabelsOwn_AndItsClickOpensThePage) {
    Seed({{"DownloadPage", "https://a.test/new"}});
    StartOnce();
    Open([&] {
        driver->state.g_sLatestVersion = "5.50.10";
        driver->state.g_bNewVersion = true;
        driver->waits.WaitForMilliseconds(2 * Form().tmrDifferentVersion.Interval());
        EXPECT_EQ(Form().lblVersion.Text(), "Click Here for New Driver: v5.50.10");
        Form().lblVersion.FireClick();
    });
    EXPECT_EQ(machine.processes.opened, Texts{"https://a.test/new"});
}

/// The buttons behind which there is something outside the dialog.
class SetupToolsTest : public SetupFixture {
protected:
    void SetUp() override {
        StartOnce();
        needs = std::make_unique<SetupNeeds>(Needs());
        needs->newerVersion = [this] { return newer; };
        needs->startLogZipper = [this] { started.push_back("zipper"); };
        needs->openHelp = [this](HelpTopic topic) {
            started.push_back("help " + std::to_string(static_cast<int>(topic)));
        };
        needs->openAscomSite = [this] { started.push_back("site"); };
        needs->openDownloadPage = [this] { started.push_back("page"); };
        tools = std::make_unique<SetupTools>(*needs);
        tools->Fill();
    }
    void TearDown() override {
        driver->initialSetup.Unload();
        SetupFixture::TearDown();
    }

    std::string newer;
    Texts started;
    std::unique_ptr<SetupNeeds> needs;
    std::unique_ptr<SetupTools> tools;
};

TEST_F(SetupToolsTest, EachButton_StartsItsTool) {
    for (Button* button : {&Form().btnLogZipper, &Form().btnHelpLink, &Form().btnHelpMount, &Form().btnHelpSite,
                           &Form().btnHelpInitialization, &Form().btnHelpPark, &Form().btnHelpOptions}) {
        button->FireClick();
    }
    Form().picASCOM.FireClick();
    EXPECT_EQ(started, (Texts{"zipper", "help 2", "help 2", "help 4", "help 5", "help 1", "help 2", "site"}));
}

TEST_F(SetupToolsTest, NewerVersion_Blinks_AndItsClickOpensThePage) {
    Form().lblVersion.FireClick();
    EXPECT_EQ(started, Texts{}) << "there is none";
    tools->ShowVersion();
    EXPECT_EQ(Form().lblVersion.Text(), "Kestrane V2 - v5.50.03");
    EXPECT_EQ(Form().lblVersion.BackColour(), kNormalBackColour);
    newer = "5.50.10";
    tools->ShowVersion();
    EXPECT_EQ(Form().lblVersion.Text(), "Click Here for New Driver: v5.50.10");
    EXPECT_EQ(Form().lblVersion.BackColour(), kWarningColours.back);
    tools->ShowVersion();
    EXPECT_EQ(Form().lblVersion.BackColour(), kNormalBackColour);
    tools->ShowVersion();
    EXPECT_EQ(Form().lblVersion.BackColour(), kWarningColours.back);
    Form().lblVersion.FireClick();
    EXPECT_EQ(started, Texts{"page"});
    newer.clear();
    tools->Fill();
    EXPECT_EQ(Form().lblVersion.Text(), "Kestrane V2 - v5.50.03");
    EXPECT_EQ(Form().lblVersion.BackColour(), kNormalBackColour);
}

}  // namespace
}  // namespace kestrane
