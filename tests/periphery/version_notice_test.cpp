#include "periphery/version_notice.h"

#include <string>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

class VersionNoticeTest : public DriverFixture {
protected:
    VersionNoticeTest() {
        Start();
        HandBox().EnsureLoaded();
    }
    frmHandBox& HandBox() { return driver->handBox; }
    void Find(const std::string& version) {
        driver->state.g_sLatestVersion = version;
        driver->state.g_bNewVersion = true;
        driver->versionNotice.Begin();
    }
    std::string Shown() { return HandBox().lblMain.Text(); }
    const std::string notice = "Click Here for New Driver: v5.50.10";
};

TEST_F(VersionNoticeTest, LabelBlinksBetweenItsTextAndTheNotice) {
    Find("5.50.10");
    for (int blink = 0; blink < 3; ++blink) {
        EXPECT_EQ(Shown(), notice);
        machine.AdvanceTime(1'000);
        EXPECT_EQ(Shown(), "Kestrane V2");
        machine.AdvanceTime(1'000);
    }
}

TEST_F(VersionNoticeTest, WithoutANewerVersion_NothingBlinks) {
    driver->versionNotice.Begin();
    machine.AdvanceTime(10'000);
    EXPECT_EQ(Shown(), "Kestrane V2");
    EXPECT_EQ(HandBox().tmrVersionDifferent.Interval(), 0);
}

TEST_F(VersionNoticeTest, ClickOpensThePage_InEitherPhase_InPlaceOfItsOwnAction) {
    driver->persist.Write(setting::DownloadPage, "https://updates.test/get?a=1");
    HandBox().lblMain.FireClick();
    EXPECT_TRUE(HandBox().expanded);
    Find("5.50.10");
    HandBox().lblMain.FireClick();
    machine.AdvanceTime(1'000);
    HandBox().lblMain.FireClick();
    EXPECT_TRUE(HandBox().expanded);
    const std::string page = "https://updates.test/get?a=1";
    EXPECT_EQ(machine.processes.opened, (std::vector{page, page}));
    EXPECT_TRUE(machine.messageBoxes.shown.empty());
}

TEST_F(VersionNoticeTest, PageThatCannotBeOpened_IsTold) {
    Find("5.50.10");
    struct Row {
        const char* page;
        const char* host;
        const char* told;
    };
    for (const Row& row : {Row{"https://a.test/", "updates.test", "https://a.test/"},
                           Row{"", "updates.test", "https://updates.test/ksdriver/"},
                           Row{"", "", "(no address: the setting DownloadPage is empty)"}}) {
        driver->persist.Write(setting::DownloadPage, row.page);
        driver->persist.Write(setting::UpdateHost, row.host);
        machine.processes.canStart = false;
        machine.messageBoxes.shown.clear();
        HandBox().lblMain.FireClick();
        ASSERT_EQ(machine.messageBoxes.shown.size(), 1U);
        EXPECT_EQ(machine.messageBoxes.shown.front().text,
                  std::string("You can get the new KS V2 ASCOM driver from here: ") + row.told);
        EXPECT_EQ(machine.messageBoxes.shown.front().title, "ASCOM V2 Kestrane VTR Driver");
    }
}

TEST_F(VersionNoticeTest, AnotherWindow_ShowsItWhileItIsOpen) {
    Form form("frmAny", "Any");
    Label label(form, "lblVersion", "v5.50.03");
    Timer timer(form, "tmrDifferentVersion", machine.pump, 0, false);
    int opened = 0;
    VersionNotice other({driver->state, label, timer, [&opened] { ++opened; }});
    Find("5.50.10");
    EXPECT_FALSE(other.TakesClick());
    other.Begin();
    EXPECT_EQ(label.Text(), notice);
    EXPECT_TRUE(other.TakesClick());
    EXPECT_EQ(opened, 1);
}

}  // namespace
}  // namespace kestrane
