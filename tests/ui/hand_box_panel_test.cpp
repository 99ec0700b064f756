#include <algorithm>

#include "settings/database.h"
#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

class HandBoxPaging : public DriverFixture {
protected:
    HandBoxPaging() { Start(); }
    void SetUp() override { HandBox().EnsureLoaded(); }

    frmHandBox& HandBox() { return driver->handBox; }
    std::vector<std::string> Frames() {
        std::vector<std::string> shown;
        for (const Frame* frame :
             {&HandBox().frameConfiguration, &HandBox().framePark, &HandBox().frameBrightness,
              &HandBox().frameTelescope, &HandBox().framePemSettings, &HandBox().frameSiteSetup,
              &HandBox().frameFocuser, &HandBox().frameMeridianDelay, &HandBox().frameCommunicationsErrors}) {
            if (frame->Visible()) {
                shown.push_back(frame->Name());
            }
        }
        return shown;
    }
    std::vector<std::string> Pages() {
        std::vector<std::string> shown;
        for (const Button* button :
             {&HandBox().btnMore, &HandBox().btnNext, &HandBox().btnContract, &HandBox().btnContract2}) {
            if (button->Visible()) {
                shown.push_back(button->Name());
            }
        }
        return shown;
    }
    using Names = std::vector<std::string>;
};

TEST_F(HandBoxPaging, FirstShow_IsTheSmallPanel) {
    EXPECT_EQ(Frames(), Names{});
    EXPECT_EQ(Pages(), Names{"btnMore"});
}

TEST_F(HandBoxPaging, Next_WalksAllFramesInThreePagesAndComesAround) {
    HandBox().btnMore.FireClick();
    Names all;
    const Names first = Frames();
    for (int page = 0; page < 3; ++page) {
        EXPECT_FALSE(Frames().empty());
        EXPECT_EQ(Pages(), (Names{"btnNext", "btnContract", "btnContract2"}));
        for (const std::string& frame : Frames()) {
            EXPECT_EQ(std::count(all.begin(), all.end(), frame), 0) << frame;
            all.push_back(frame);
        }
        HandBox().btnNext.FireClick();
    }
    EXPECT_EQ(all.size(), 9U);
    EXPECT_EQ(Frames(), first);
}

TEST_F(HandBoxPaging, PageIndexOutsideThePages_ShowsPageZero) {
    HandBox().btnMore.FireClick();
    const Names first = Frames();
    for (const std::int32_t index : {3, -1, 99}) {
        HandBox().btnNext.FireClick();
        HandBox().pageIndex = index;
        driver->panel.ShowFrames();
        EXPECT_EQ(HandBox().pageIndex, 0);
        EXPECT_EQ(Frames(), first);
    }
}

TEST_F(HandBoxPaging, Contract_ShrinksAndExpandWindowRestoresThePageThatWasLeft) {
    HandBox().btnMore.FireClick();
    HandBox().btnNext.FireClick();
    const Names second = Frames();
    for (Button* button : {&HandBox().btnContract, &HandBox().btnContract2}) {
        button->FireClick();
        EXPECT_EQ(Frames(), Names{});
        EXPECT_EQ(Pages(), Names{"btnMore"});
        driver->panel.ExpandWindow();
        EXPECT_EQ(Frames(), second);
    }
    HandBox().lblMain.FireClick();
    EXPECT_EQ(Frames(), Names{});
    HandBox().lblMain.FireClick();
    EXPECT_EQ(Frames(), second);
}

TEST_F(HandBoxPaging, ShowAllControls_ShowsEveryFrameAndNoPaging) {
    HandBox().chkShowAllControls.Checked(true);
    EXPECT_EQ(Frames().size(), 9U);
    EXPECT_EQ(Pages(), Names{});
    HandBox().chkShowAllControls.Checked(false);
    EXPECT_LT(Frames().size(), 9U);
    EXPECT_EQ(Pages(), (Names{"btnNext", "btnContract", "btnContract2"}));
}

TEST_F(HandBoxPaging, MountWithoutPemOrFocuser_HasNoFrameForThem) {
    HandBox().chkShowAllControls.Checked(true);
    driver->state.g_bPemAvailable = driver->state.g_bFocuserAvailable = false;
    driver->panel.ShowMountFeatures();
    EXPECT_EQ(Frames().size(), 7U);
    EXPECT_FALSE(HandBox().framePemSettings.Visible());
    EXPECT_FALSE(HandBox().frameFocuser.Visible());
    driver->state.g_bPemAvailable = driver->state.g_bFocuserAvailable = true;
    driver->panel.ShowMountFeatures();
    EXPECT_EQ(Frames().size(), 9U);
}

/// The mount's firmware, and what of the panel depends on it.
class HandBoxFeatures : public DriverFixture {};

TEST_F(HandBoxFeatures, Connect_ShowsWhatTheControllerOfTheFirmwareHas) {
    struct Row {
        std::string firmware;
        bool pem, focuser, king;
        std::string lastSlewRate;
    };
    for (const Row& row :
         {Row{"S", true, true, false, "Custom"}, Row{"VKC4-P02-07", true, false, false, "Custom"},
          Row{"VKC4-P02-08", true, false, true, "Custom"}, Row{"VKC5-P03-01", false, false, false, "Custom"}}) {
        driver.reset();
        log.clear();
        BuildMount(row.firmware);
        Seed({{"chkShowAllControls", "1"}});
        const auto telescope = ConnectedTelescope();
        const frmHandBox& handBox = driver->handBox;
        EXPECT_EQ(handBox.framePemSettings.Visible(), row.pem) << row.firmware;
        EXPECT_EQ(handBox.frameFocuser.Visible(), row.focuser) << row.firmware;
        EXPECT_TRUE(handBox.frameMeridianDelay.Visible()) << row.firmware;
        EXPECT_EQ(handBox.chkEnableKingRate.Enabled(), row.king) << row.firmware;
        EXPECT_TRUE(handBox.chkEnableKingRate.Visible()) << row.firmware;
        ASSERT_FALSE(handBox.cbxInitSlewRate.ListItems().empty());
        EXPECT_EQ(handBox.cbxInitSlewRate.ListItems().back(), row.lastSlewRate) << row.firmware;
    }
}

TEST_F(HandBoxPaging, LabelClicks_BringUpThePanel) {
    for (Label* label :
         {&HandBox().lblMeridianDelay, &HandBox().lblParkStatus, &HandBox().lblTime, &HandBox().lblTimeLbl,
          &HandBox().lblTZ, &HandBox().lblTzLbl, &HandBox().lblSiteTag, &HandBox().Label11, &HandBox().Label26}) {
        label->FireClick();
        EXPECT_FALSE(Frames().empty()) << label->Name();
        const Names shown = Frames();
        label->FireClick();
        EXPECT_EQ(Frames(), shown) << label->Name();
        HandBox().btnContract.FireClick();
    }
}

class SiteFromMount : public DriverFixture {
protected:
    frmHandBox& HandBox() { return driver->handBox; }
    std::vector<std::string> Boxes() {
        std::vector<std::string> texts;
        for (const RecordingMessageBoxes::Box& box : machine.messageBoxes.shown) {
            texts.push_back(box.text);
        }
        return texts;
    }
    /// Makes the site of the mount the current one, or one beside it.
    void SetCurrentSite(const std::string& latitude, const std::string& longitude) {
        driver->sites.g_SiteDbIndex();
        bool isNew = false;
        ASSERT_TRUE(
            driver->persist.database()->SetSite(Site{1, "Hill", "", longitude, latitude, 0, 0, 0, 0, 0}, isNew));
        ASSERT_TRUE(driver->sites.GetAllSites());
        driver->sites.g_SiteDbIndex(1);
    }
    bool Marked(const TextBox& box) { return box.BackColour() != kNormalBackColour && !box.ToolTip().empty(); }

    /// The times in milliseconds between the tries to read the site within that time.
    std::vector<std::int32_t> GapsBetweenTries(std::int32_t withinMs) {
        constexpr std::int32_t kStepMs = 10;
        std::vector<std::int32_t> gaps;
        int tried = TimesLogged(std::string(kFailed));
        std::optional<Tick> last;
        for (std::int32_t passed = 0; passed < withinMs; passed += kStepMs) {
            machine.AdvanceTime(kStepMs);
            if (TimesLogged(std::string(kFailed)) == tried) {
                continue;
            }
            tried = TimesLogged(std::string(kFailed));
            const Tick now = machine.clock.GetTickCount();
            if (last) {
                gaps.push_back(now - *last);
            }
            last = now;
        }
        return gaps;
    }

    static constexpr std::string_view kFailed = "Failed to get Longitude/Latitude from mount!";
    static constexpr std::string_view kLatitude = "Latitude does not match site setting";
    static constexpr std::string_view kLongitude = "Longitude does not match site setting";
};

TEST_F(SiteFromMount, ASiteJustBelowZero_IsShownWithoutAMinus) {
    Start();
    driver->panel.ShowMountSite(-0.0001, -0.0001, Notice::LogOnly);
    EXPECT_EQ(HandBox().txtActualLatitude.Text(), "00*00:00");
    EXPECT_EQ(HandBox().txtActualLongitude.Text(), "00*00:00");
    driver->panel.ShowMountSite(-0.0003, -10.0, Notice::LogOnly);
    EXPECT_EQ(HandBox().txtActualLatitude.Text(), "-10*00:00");
    EXPECT_EQ(HandBox().txtActualLongitude.Text(), "-00*00:01");
}

TEST_F(SiteFromMount, Connect_ReadsTheSiteOnceAndWithoutABox) {
    auto telescope = ConnectedTelescope();
    EXPECT_EQ(HandBox().txtActualLatitude.Text(), "47*00:00");
    EXPECT_EQ(driver->statusWindow.lblLatitude.Text(), HandBox().txtActualLatitude.Text());
    EXPECT_EQ(driver->statusWindow.lblLongitude.Text(), HandBox().txtActualLongitude.Text());
    const int asked = TimesSent("Gg");
    machine.AdvanceTime(10'000);
    EXPECT_EQ(TimesSent("Gg"), asked);
    EXPECT_TRUE(Boxes().empty());
}

TEST_F(SiteFromMount, Compare_SaysWhatDiffersFromTheCurrentSite) {
    MountSimulatorOptions options;
    options.firmware = "VKC4-P02-08";
    options.parkedAtPowerOn = false;
    options.latitude = 47.5;
    options.longitudeWest = 348.75;
    BuildMount(options);
    auto telescope = ConnectedTelescope();
    EXPECT_EQ(HandBox().txtActualLongitude.Text(), "11*15:00");
    struct Row {
        std::string latitude, longitude;
        bool latitudeMatches, longitudeMatches;
    };
    for (const Row& row :
         {Row{"N 47 30 00.0", "E 11 15 00.0", true, true}, Row{"N 47 30 00.9", "E 11 14 59.1", true, true},
          Row{"N 47 30 02.0", "E 11 15 00.0", false, true}, Row{"S 47 30 00.0", "E 11 15 00.0", false, true},
          Row{"N 47 30 00.0", "W 11 15 00.0", true, false}, Row{"N 47 29 58.0", "E 11 15 02.0", false, false}}) {
        SetCurrentSite(row.latitude, row.longitude);
        for (const Notice notice : {Notice::LogOnly, Notice::Shown}) {
            machine.messageBoxes.shown.clear();
            driver->connections.ReadMountSite(notice);
            std::vector<std::string> expected;
            if (notice == Notice::Shown && !row.latitudeMatches) {
                expected.emplace_back(kLatitude);
            }
            if (notice == Notice::Shown && !row.longitudeMatches) {
                expected.emplace_back(kLongitude);
            }
            EXPECT_EQ(Boxes(), expected) << row.latitude << row.longitude;
            EXPECT_EQ(Marked(HandBox().txtActualLatitude), !row.latitudeMatches) << row.latitude;
            EXPECT_EQ(Marked(HandBox().txtActualLongitude), !row.longitudeMatches) << row.longitude;
        }
    }
}

/// A person who corrects the site sees the difference go.
TEST_F(SiteFromMount, TheMarksOfADifference_FollowTheCurrentSite) {
    auto telescope = ConnectedTelescope();
    SetCurrentSite("N 01 00 00.0", "E 01 00 00.0");
    driver->connections.ReadMountSite(Notice::LogOnly);
    EXPECT_TRUE(Marked(HandBox().txtActualLatitude));
    EXPECT_TRUE(Marked(HandBox().txtActualLongitude));
    HandBox().btnCopyLatLongToSite.FireClick();
    EXPECT_FALSE(Marked(HandBox().txtActualLatitude));
    EXPECT_FALSE(Marked(HandBox().txtActualLongitude));
    SetCurrentSite("N 02 00 00.0", "E 02 00 00.0");
    driver->panel.UpdateControls();
    EXPECT_TRUE(Marked(HandBox().txtActualLatitude));
    EXPECT_TRUE(Marked(HandBox().txtActualLongitude));
    EXPECT_TRUE(Boxes().empty());
}

TEST_F(SiteFromMount, OfTwoSitesOfOneName_TheSelectedOneIsCompared) {
    auto telescope = ConnectedTelescope();
    SetCurrentSite("N 40 00 00.0", "W 70 00 00.0");
    bool isNew = false;
    ASSERT_TRUE(
        driver->persist.database()->SetSite(Site{0, "hill", "", "E 10 00 00.0", "N 47 00 00.0", 0, 0, 0, 0, 0}, isNew));
    ASSERT_TRUE(driver->sites.GetAllSites());
    for (const std::optional<Site>& site : driver->sites.g_Sites()) {
        if (site && (site->Name == "Hill" || site->Name == "hill")) {
            driver->sites.g_SiteDbIndex(site->id);
            driver->connections.ReadMountSite(Notice::LogOnly);
            EXPECT_EQ(Marked(HandBox().txtActualLatitude), site->Name == "Hill");
            EXPECT_EQ(Marked(HandBox().txtActualLongitude), site->Name == "Hill");
        }
    }
}

TEST_F(SiteFromMount, WithoutACurrentSite_NothingIsCompared) {
    auto telescope = ConnectedTelescope();
    driver->sites.g_SiteDbIndex(0);
    driver->connections.ReadMountSite(Notice::Shown);
    EXPECT_TRUE(Boxes().empty());
    EXPECT_FALSE(Marked(HandBox().txtActualLatitude));
}

TEST_F(SiteFromMount, SilentMount_IsToldWhenAPersonAsked) {
    auto telescope = ConnectedTelescope();
    ExpectSwallow("CommandString");
    mount->SetLineDead(true);
    driver->connections.ReadMountSite(Notice::LogOnly);
    EXPECT_TRUE(Boxes().empty());
    EXPECT_TRUE(Logged(std::string(kFailed)));
    HandBox().btnGetLongLat.FireClick();
    EXPECT_EQ(Boxes(), std::vector<std::string>{std::string(kFailed)});
    HandBox().noMessageBoxes = true;
    HandBox().btnGetLongLat.FireClick();
    EXPECT_EQ(Boxes().size(), 1U);
}

TEST_F(SiteFromMount, Timer_AsksEachTwoSecondsUntilTheMountHasTold) {
    ExpectSwallow("CommandString");
    mount->Add(std::make_unique<DropsReply>("Gg"));
    auto telescope = ConnectedTelescope();
    EXPECT_EQ(HandBox().txtActualLongitude.Text(), "");
    const int triedAtConnect = TimesLogged(std::string(kFailed));
    machine.AdvanceTime(60'000);
    const int tried = TimesLogged(std::string(kFailed));
    EXPECT_GT(tried, triedAtConnect + 3);
    const std::vector<std::int32_t> gaps = GapsBetweenTries(10'000);
    ASSERT_GE(gaps.size(), 2U);
    for (const std::int32_t gap : gaps) {
        EXPECT_GE(gap, 2'000);
        EXPECT_LE(gap, 5'000) << "two seconds after the end of a try that takes longer";
    }
    mount->ClearMisbehaviours();
    machine.AdvanceTime(10'000);
    EXPECT_EQ(HandBox().txtActualLongitude.Text(), "10*00:00");
    const int asked = TimesSent("Gg");
    machine.AdvanceTime(60'000);
    EXPECT_EQ(TimesSent("Gg"), asked);
    EXPECT_TRUE(Boxes().empty());
}

TEST_F(SiteFromMount, Timer_KeepsOffTheLineWhileACommandSequenceRuns) {
    ExpectSwallow("CommandString");
    mount->Add(std::make_unique<DropsReply>("Gg"));
    auto telescope = ConnectedTelescope();
    mount->ClearMisbehaviours();
    const int asked = TimesSent("Gg");
    driver->state.g_bPollSuspended = true;
    machine.AdvanceTime(5'000);
    EXPECT_EQ(TimesSent("Gg"), asked);
    driver->state.g_bPollSuspended = false;
    machine.AdvanceTime(2'000);
    EXPECT_GT(TimesSent("Gg"), asked);
}

}  // namespace
}  // namespace kestrane
