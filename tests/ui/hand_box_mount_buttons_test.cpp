#include <functional>
#include <string>
#include <vector>

#include "support/driver_fixture.h"

/// The buttons of the hand box that give the mount an initial value, and those of PEM, reticle and site.
namespace kestrane {
namespace {

using Wire = std::vector<std::string>;

class HandBoxMountButtons : public DriverFixture {
protected:
    frmHandBox& HandBox() { return driver->handBox; }
    /// A driver that polls nothing.
    void Ready() {
        telescope_ = ConnectedTelescope();
        HandBox().tmrQueryRaDecAltAz.Enabled(false);
    }
    Wire SentByClick(Button& button) {
        return SentBy([&] { button.FireClick(); });
    }

    TelescopeObject telescope_;
};

TEST_F(HandBoxMountButtons, EachSetButton_SendsItsStoredValue) {
    Seed(
        {{"cbxInitGuideRate", "1"}, {"cbxInitSlewRate", "1"}, {"txtInitRaBacklash", "7"}, {"txtInitDecBacklash", "8"}});
    Ready();
    const Wire guide = SentByClick(HandBox().btnSetGuideRate);
    const Wire slew = SentByClick(HandBox().btnSetSlewRate);
    const Wire pem = SentByClick(HandBox().btnSetPEM);
    const Wire ra = SentByClick(HandBox().btnSetRaBacklash);
    const Wire dec = SentByClick(HandBox().btnSetDecBacklash);
    EXPECT_EQ(guide, Wire{"RG1"});
    ASSERT_EQ(slew.size(), 1U);
    EXPECT_TRUE(slew.front().starts_with("R")) << slew.front();
    EXPECT_EQ(pem, Wire{"p"});
    ASSERT_EQ(ra.size(), 1U);
    EXPECT_TRUE(ra.front().starts_with("Br")) << ra.front();
    ASSERT_EQ(dec.size(), 1U);
    EXPECT_TRUE(dec.front().starts_with("Bd")) << dec.front();
    Wire all;
    for (const Wire& part : {slew, guide, pem, ra, dec}) {
        all.insert(all.end(), part.begin(), part.end());
    }
    EXPECT_EQ(SentByClick(HandBox().btnSetAll), all);
}

TEST_F(HandBoxMountButtons, Pem_IsTurnedOnAndOffAndRecorded) {
    Ready();
    EXPECT_EQ(SentByClick(HandBox().btnEnablePEM), Wire{"pP"});
    EXPECT_EQ(HandBox().framePemSettings.Caption(), "PEM: Enabled");
    EXPECT_EQ(SentByClick(HandBox().btnDisablePEM), Wire{"p"});
    EXPECT_EQ(HandBox().framePemSettings.Caption(), "PEM: Disabled");
    EXPECT_EQ(SentByClick(HandBox().btnPEMRecord), Wire{"pR"});
}

TEST_F(HandBoxMountButtons, InAStepOfThePoll_TheyWait) {
    Ready();
    driver->state.g_bInPoll = true;
    EXPECT_EQ(SentByClick(HandBox().btnPEMRecord), Wire{});
    driver->state.g_bInPoll = false;
    EXPECT_EQ(SentBy([&] { machine.AdvanceTime(20); }), Wire{"pR"});
}

TEST_F(HandBoxMountButtons, TheReticle_GetsOneStepForEachStepOfTheBar) {
    Seed({{"hscrReticleBrightness", "3"}});
    Ready();
    driver->panel.UpdateControls();
    EXPECT_EQ(SentBy([&] { HandBox().hscrReticleBrightness.Value(5); }), (Wire{"B+", "B+"}));
    EXPECT_EQ(HandBox().lblBrightness.Text(), "5");
    EXPECT_EQ(driver->persist.Read(setting::hscrReticleBrightness), "5");
    EXPECT_EQ(SentBy([&] { HandBox().hscrReticleBrightness.Value(4); }), Wire{"B-"});
    EXPECT_EQ(SentBy([&] { HandBox().hscrReticleBrightness.Value(4); }), Wire{});
}

TEST_F(HandBoxMountButtons, TheReticle_IsTakenToItsSettingFromWhereverItIs) {
    Seed({{"hscrReticleBrightness", "2"}});
    Ready();
    driver->panel.UpdateControls();
    Wire expected(static_cast<std::size_t>(HandBox().hscrReticleBrightness.Maximum()), "B-");
    expected.insert(expected.end(), {"B+", "B+"});
    EXPECT_EQ(SentByClick(HandBox().btnReticleBrightness), expected);
    EXPECT_EQ(HandBox().lblBrightness.Text(), "2");
}

/// Each step is an exchange, and some mounts are slow.
TEST_F(HandBoxMountButtons, TheReticle_LetsAStopInBetweenItsSteps) {
    Seed({{"hscrReticleBrightness", "2"}});
    Ready();
    driver->panel.UpdateControls();
    bool stopped = false;
    for (const auto& change : std::vector<std::function<void()>>{
             [&] { HandBox().btnReticleBrightness.FireClick(); },
             [&] { HandBox().hscrReticleBrightness.Value(5); },
         }) {
        stopped = false;
        machine.pump.Post(CallKind::Stop, [&] { stopped = true; });
        change();
        EXPECT_TRUE(stopped);
    }
}

TEST_F(HandBoxMountButtons, TheFillOfTheWindow_SendsNothingToTheReticle) {
    Seed({{"hscrReticleBrightness", "6"}});
    Ready();
    EXPECT_EQ(SentBy([&] { driver->panel.UpdateControls(); }), Wire{});
    EXPECT_EQ(HandBox().hscrReticleBrightness.Value(), 6);
}

TEST_F(HandBoxMountButtons, TheSiteOfTheMount_BecomesThatOfTheSettings) {
    Ready();
    driver->panel.ShowMountSite(-70.5, 12.25, Notice::LogOnly);
    HandBox().btnCopyLatLongToSite.FireClick();
    EXPECT_EQ(driver->persist.Read(setting::Latitude), "N 12 15 0");
    EXPECT_EQ(driver->persist.Read(setting::Longitude), "W 70 30 0");
    EXPECT_FALSE(Logged("The site could not be changed"));
}

TEST_F(HandBoxMountButtons, ASiteThatTheMountHasNotReported_IsNotCopied) {
    Start();
    HandBox().EnsureLoaded();
    const std::string before = driver->persist.Read(setting::Latitude);
    HandBox().btnCopyLatLongToSite.FireClick();
    EXPECT_EQ(driver->persist.Read(setting::Latitude), before);
    EXPECT_EQ(machine.messageBoxes.shown.size(), 1U);
}

}  // namespace
}  // namespace kestrane
