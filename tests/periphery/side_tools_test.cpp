#include "periphery/side_tools.h"

#include <string>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

class SideToolsTest : public DriverFixture {
protected:
    SideToolsTest() { Start(); }
    frmHandBox& HandBox() { return driver->handBox; }
    std::string InProgram(const std::string& name) { return (machine.folders.OfProgram() / name).string(); }
    std::string Told() { return machine.messageBoxes.shown.empty() ? "" : machine.messageBoxes.shown.back().text; }
    using Start1 = std::pair<std::string, std::string>;
};

TEST_F(SideToolsTest, EachControl_StartsItsTool) {
    struct Row {
        VisibleControl& control;
        std::string file;
        std::string arguments;
    };
    for (const Row& row : {Row{HandBox().btnLogZipper, "KsLogZipper.exe", ""},
                           Row{HandBox().btnPolarAlignmentTool, "KsRaPAS.exe", "-connect"},
                           Row{HandBox().mPopupLogZipper, "KsLogZipper.exe", ""},
                           Row{HandBox().mPopTimerUtility, "KsTimer.exe", "-connect"},
                           Row{HandBox().mPopupJogUtility, "KsJog.exe", "-connect"},
                           Row{HandBox().mPopupPAS, "KsRaPAS.exe", "-connect"}}) {
        SCOPED_TRACE(row.control.Name());
        machine.processes.starts.clear();
        row.control.FireClick();
        ASSERT_EQ(machine.processes.starts.size(), 1U);
        EXPECT_EQ(machine.processes.starts.front(), Start1(InProgram(row.file), row.arguments));
        EXPECT_TRUE(machine.messageBoxes.shown.empty());
    }
}

TEST_F(SideToolsTest, ToolThatIsNotThere_IsToldWithItsPath) {
    machine.processes.canStart = false;
    HandBox().btnLogZipper.FireClick();
    EXPECT_EQ(Told(), "The tool could not be started: " + InProgram("KsLogZipper.exe"));
}

TEST_F(SideToolsTest, StandardsSite_OpensInTheBrowser_OrItIsToldThatThereIsNone) {
    HandBox().picASCOM.FireClick();
    EXPECT_EQ(machine.processes.opened, std::vector<std::string>{"https://ascom-standards.org/"});
    machine.processes.canStart = false;
    HandBox().picASCOM.FireClick();
    EXPECT_EQ(Told(), "It doesn't appear that you have a web browser installed on your system.");
}

TEST_F(SideToolsTest, FirmwareLabel_OpensTheDownloadPage) {
    driver->persist.Write(setting::DownloadPage, "https://a.test/b c");
    HandBox().lblFirmware.FireClick();
    EXPECT_EQ(machine.processes.opened, std::vector<std::string>{"https://a.test/b c"});
}

}  // namespace
}  // namespace kestrane
