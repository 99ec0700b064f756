#include <limits>

#include "kernel/base/conversions.h"
#include "support/driver_fixture.h"
#include "support/onlooker.h"

namespace kestrane {
namespace {

class HandBoxDisplay : public DriverFixture {
protected:
    HandBoxDisplay() { Start(); }

    frmHandBox& HandBox() { return driver->handBox; }
    /// The words of the guide marks that are lit.
    std::vector<std::string> LitMarks() {
        std::vector<std::string> lit;
        for (const Label* label :
             {&HandBox().lblGuideNorth, &HandBox().lblGuideSouth, &HandBox().lblGuideEast, &HandBox().lblGuideWest}) {
            if (label->BackColour() != kNormalBackColour) {
                lit.push_back(label->Text());
            }
        }
        return lit;
    }
    /// Which of the five indicators shows; -1 for none, -2 for several.
    int Indicator() {
        int shown = -1;
        for (std::size_t i = 0; i < HandBox().pbTracking.size(); ++i) {
            if (HandBox().pbTracking[i].Visible()) {
                shown = shown == -1 ? static_cast<int>(i) : -2;
            }
        }
        return shown;
    }
};

TEST_F(HandBoxDisplay, SetParkStatus_ShowsOnBothWindows) {
    driver->panel.SetParkStatus("Parking", "a place");
    driver->panel.SetParkToolTip("soon");
    EXPECT_EQ(HandBox().lblParkStatus.Text(), "Parking");
    EXPECT_EQ(driver->statusWindow.lblParkStatus.Text(), "Parking");
    EXPECT_EQ(HandBox().lblParkStatus.ToolTip(), "soon");
    EXPECT_EQ(driver->statusWindow.lblParkStatus.ToolTip(), "soon");
}

TEST_F(HandBoxDisplay, ShowTrackingRate_TextAndIndicatorByRate) {
    struct Row {
        std::int16_t rate;
        RateCorrection correction;
        bool king;
        std::string text;
        int indicator;
    };
    constexpr RateCorrection kPlain = RateCorrection::Off;
    constexpr RateCorrection kCorrected = RateCorrection::On;
    for (const Row& row : {Row{0, kPlain, false, "Not Tracking", 0}, Row{0, kCorrected, false, "Not Tracking", 0},
                           Row{1, kPlain, false, "Sidereal", 1}, Row{1, kCorrected, false, "Corr Sidereal", 1},
                           Row{1, kPlain, true, "King", 1}, Row{1, kCorrected, true, "Corr King", 1},
                           Row{2, kPlain, false, "Lunar", 2}, Row{2, kCorrected, false, "Lunar", 2},
                           Row{3, kPlain, false, "Solar", 3}, Row{3, kCorrected, false, "Solar", 3},
                           Row{4, kPlain, false, "Custom", 4}, Row{4, kCorrected, false, "Corr Custom", 4},
                           Row{5, kCorrected, false, "", -1}, Row{-1, kPlain, false, "", -1}}) {
        driver->state.g_bKingRateAvailable = driver->state.g_bKingRateEnabled = row.king;
        driver->panel.ShowTrackingRate(row.rate, row.correction);
        EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), row.text);
        EXPECT_EQ(HandBox().frameTrackingRate.Caption(), "Tracking Rate: " + row.text);
        EXPECT_EQ(Indicator(), row.indicator);
    }
}

TEST_F(HandBoxDisplay, ShowTrackingRate_KingNeedsTheFirmwareAndTheChoice) {
    driver->state.g_bKingRateAvailable = true;
    driver->state.g_bKingRateEnabled = false;
    driver->panel.ShowTrackingRate(1, RateCorrection::Off);
    EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), "Sidereal");
    driver->state.g_bKingRateAvailable = false;
    driver->state.g_bKingRateEnabled = true;
    driver->panel.ShowTrackingRate(1, RateCorrection::Off);
    EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), "Sidereal");
}

TEST_F(HandBoxDisplay, ShowTrackingRate_NotesTheTickAndTheRestoreAtAChangeOnly) {
    driver->panel.ShowTrackingRate(2, RateCorrection::Off);
    EXPECT_TRUE(driver->state.g_bRestoreRatePending);
    const Tick changed = driver->state.g_tickDisplayedRate;
    driver->state.g_bRestoreRatePending = false;
    machine.AdvanceTime(1000);
    driver->panel.ShowTrackingRate(2, RateCorrection::On);
    EXPECT_FALSE(driver->state.g_bRestoreRatePending);
    EXPECT_EQ(driver->state.g_tickDisplayedRate, changed);
    driver->panel.ShowTrackingRate(3, RateCorrection::Off);
    EXPECT_TRUE(driver->state.g_bRestoreRatePending);
    EXPECT_NE(driver->state.g_tickDisplayedRate, changed);
}

TEST_F(HandBoxDisplay, ShowTrackingRate_CustomRatesAreOfferedWhileTrackingOnly) {
    for (const bool tracking : {true, false}) {
        driver->state.g_bTracking = tracking;
        driver->panel.ShowTrackingRate(tracking ? 1 : 0, RateCorrection::Off);
        EXPECT_EQ(HandBox().btnRateCustom.Enabled(), tracking);
        EXPECT_EQ(HandBox().txtRaCustom.Enabled(), tracking);
        EXPECT_EQ(HandBox().txtDecCustom.Enabled(), tracking);
        EXPECT_TRUE(HandBox().btnRateSidereal.Enabled());
    }
}

TEST_F(HandBoxDisplay, SetMeridianDelayUI_TakesSixHoursEitherWay) {
    struct Row {
        double hours;
        bool taken;
        std::string text;
    };
    HandBox().EnsureLoaded();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for (const Row& row :
         {Row{6.0, true, "6.0"}, Row{-6.0, true, "-6.0"}, Row{1.25, true, "1.3"}, Row{0.5, true, "0.5"},
          Row{6.0000001, false, ""}, Row{-6.0000001, false, ""}, Row{100.0, false, ""}, Row{nan, false, ""}}) {
        driver->panel.SetMeridianDelayUI(0.0);
        driver->panel.SetMeridianDelayUI(row.hours);
        EXPECT_EQ(driver->state.g_dMeridianDelay, row.taken ? row.hours : 0.0);
        EXPECT_EQ(HandBox().lblMeridianDelay.Text(), row.text);
        EXPECT_EQ(HandBox().frameMeridianDelay.Caption(),
                  row.taken ? "Meridian Delay: Enabled" : "Meridian Delay: Disabled");
        for (const Label* label : {&HandBox().lblTime, &HandBox().lblMeridianDelay}) {
            EXPECT_EQ(label->BackColour() == kNormalBackColour, !row.taken) << label->Name();
            EXPECT_EQ(label->ForeColour() == kNormalForeColour, !row.taken) << label->Name();
        }
        EXPECT_EQ(log.back().origin, "SetMeridianDelayUI");
        EXPECT_EQ(log.back().level, row.taken ? 0 : 2);
    }
}

TEST_F(HandBoxDisplay, SetMeridianDelayUI_SaysTheValueInTheLog) {
    HandBox().EnsureLoaded();
    driver->panel.SetMeridianDelayUI(-2.5);
    EXPECT_EQ(log.back().message, "Setting Meridian Delay: -2.5");
    driver->panel.SetMeridianDelayUI(7.25);
    EXPECT_EQ(log.back().message, "Meridian Delay Value out of range -6 to 6: Attempted value: 7.25");
    driver->panel.SetMeridianDelayUI(0.0);
    EXPECT_EQ(HandBox().lblTime.BackColour(), kNormalBackColour);
    EXPECT_EQ(HandBox().lblMeridianDelay.ForeColour(), kNormalForeColour);
    EXPECT_EQ(HandBox().frameMeridianDelay.Caption(), "Meridian Delay: Disabled");
}

TEST_F(HandBoxDisplay, GuideIndicator_LightsOneOrAllFour) {
    struct Row {
        std::int32_t direction;
        std::vector<std::string> lit;
    };
    const Row rows[] = {
        {0, {"N"}}, {1, {"S"}}, {2, {"E"}}, {3, {"W"}}, {4, {}}, {5, {}}, {-2, {}}, {-1, {"N", "S", "E", "W"}},
    };
    for (const Row& row : rows) {
        driver->panel.SetUiGuideIndicator(row.direction, true);
        EXPECT_EQ(LitMarks(), row.lit) << row.direction;
        driver->panel.SetUiGuideIndicator(row.direction, false);
        EXPECT_EQ(LitMarks(), std::vector<std::string>{}) << row.direction;
    }
}

TEST_F(HandBoxDisplay, GuideIndicator_MinusOneDarkensAllThatAreLit) {
    for (const std::int32_t direction : {0, 1, 2, 3}) {
        driver->panel.SetUiGuideIndicator(direction, true);
    }
    ASSERT_EQ(LitMarks().size(), 4U);
    driver->panel.SetUiGuideIndicator(-1, false);
    EXPECT_EQ(LitMarks(), std::vector<std::string>{});
}

TEST_F(HandBoxDisplay, LstHaClick_ChangesBetweenSiderealTimeAndHourAngle) {
    auto telescope = ConnectedTelescope();
    machine.AdvanceTime(2000);
    EXPECT_NE(driver->statusWindow.lblHourAngle.Text(), "");
    EXPECT_NE(driver->statusWindow.lblHourAngle.Text(), driver->statusWindow.lblLST.Text());
    HandBox().lblLstHA.FireClick();
    EXPECT_TRUE(HandBox().m_bShowHA);
    EXPECT_EQ(HandBox().lblLstHA.Text(), "HA");
    EXPECT_EQ(HandBox().lblLST.Text(), driver->statusWindow.lblHourAngle.Text());
    HandBox().lblLstHA.FireClick();
    EXPECT_EQ(HandBox().lblLstHA.Text(), "LST");
    EXPECT_EQ(HandBox().lblLST.Text(), driver->statusWindow.lblLST.Text());
}

class SlewFlash : public HandBoxDisplay {
protected:
    void SetUp() override {
        telescope_ = ConnectedTelescope();
        machine.AdvanceTime(2000);
    }
    void TearDown() override {
        telescope_.reset();
        HandBoxDisplay::TearDown();
    }
    std::string Labels() {
        return HandBox().lblRA.Text() + "|" + HandBox().lblDEC.Text() + "|" + HandBox().lblAlt.Text() + "|" +
               HandBox().lblAz.Text();
    }
    std::string Remembered() {
        const MountQueries& queries = driver->queries;
        return queries.LastRaText() + "|" + queries.LastDecText() + "|" + queries.LastAltText() + "|" +
               queries.LastAzText();
    }

    TelescopeObject telescope_;
};

TEST_F(SlewFlash, SlewFlashDisplay_TakesTurnsWhileSlewing) {
    driver->motion.SlewBegins();
    driver->panel.SlewFlashDisplay();
    EXPECT_EQ(Labels(), "SLEWING|CLICK|THIS TO|ABORT");
    EXPECT_EQ(HandBox().lblAz.BackColour(), kNormalForeColour);
    EXPECT_EQ(HandBox().lblAz.ForeColour(), kNormalBackColour);
    EXPECT_TRUE(driver->state.g_bFlashShowing);
    driver->panel.SlewFlashDisplay();
    EXPECT_EQ(Labels(), Remembered());
    EXPECT_EQ(HandBox().lblAz.BackColour(), kNormalBackColour);
    EXPECT_FALSE(driver->state.g_bFlashShowing);
    driver->panel.SlewFlashDisplay();
    EXPECT_EQ(HandBox().lblRA.Text(), "SLEWING");
    driver->motion.SlewEnds();
}

TEST_F(SlewFlash, SlewFlashDisplay_SaysParkingDuringAPark) {
    driver->motion.SlewBegins();
    driver->motion.ParkBegins();
    driver->panel.SlewFlashDisplay();
    EXPECT_EQ(Labels(), "PARKING|CLICK|THIS TO|ABORT");
    driver->motion.ParkEnds();
    driver->motion.SlewEnds();
}

TEST_F(SlewFlash, SlewFlashDisplay_NotSlewingShowsThePosition) {
    driver->state.g_bFlashShowing = true;
    driver->panel.SlewFlashDisplay();
    EXPECT_EQ(Labels(), Remembered());
    EXPECT_FALSE(driver->state.g_bFlashShowing);
}

TEST_F(SlewFlash, SlewThatEnds_LeavesNoClickOnALabelAfterTheNextTick) {
    for (const int phases : {1, 2}) {
        driver->motion.SlewBegins();
        HandBox().tmrSlewFlashUI.Enabled(true);
        for (int i = 0; i < phases; ++i) {
            driver->panel.SlewFlashDisplay();
        }
        driver->motion.SlewEnds();
        machine.AdvanceTime(500);
        EXPECT_FALSE(HandBox().tmrSlewFlashUI.Enabled());
        EXPECT_FALSE(driver->state.g_bFlashShowing);
        EXPECT_EQ(Labels(), Remembered());
        EXPECT_EQ(HandBox().lblDEC.BackColour(), kNormalBackColour);
        EXPECT_EQ(HandBox().lblDEC.ForeColour(), kNormalForeColour);
    }
}

TEST_F(SlewFlash, ClickDuringTheFlash_AsksAndAbortsOnOk) {
    frmAskAbortSlew& ask = driver->askAbortSlew;
    Onlooker view;
    ask.Attach(view);
    HandBox().lblRA.FireClick();
    EXPECT_FALSE(ask.Visible()) << "nothing slews";
    for (const bool accept : {false, true}) {
        telescope_->SlewToCoordinatesAsync(NormalizeHours(driver->state.g_dRa - 1.0), accept ? 40.0 : 50.0);
        machine.AdvanceTime(1500);
        ASSERT_TRUE(telescope_->Slewing());
        for (Label* label : {&HandBox().lblRA, &HandBox().lblDEC, &HandBox().lblAlt, &HandBox().lblAz}) {
            ask.Hide();
            label->FireClick();
            EXPECT_TRUE(ask.Visible()) << label->Name();
        }
        EXPECT_EQ(ask.Label1.Text(), "ABORT SLEW?");
        (accept ? ask.btnOK : ask.btnCancel).FireClick();
        EXPECT_FALSE(ask.Visible());
        EXPECT_EQ(ask.UserPressedOK, accept);
        machine.AdvanceTime(3000);
        EXPECT_EQ(telescope_->Slewing(), !accept);
    }
    ask.Detach(view);
}

TEST_F(SlewFlash, ClickThatNobodyCanBeAskedAbout_LetsTheSlewGoOn) {
    telescope_->SlewToCoordinatesAsync(NormalizeHours(driver->state.g_dRa - 1.0), 50.0);
    machine.AdvanceTime(1500);
    HandBox().lblRA.FireClick();
    EXPECT_FALSE(driver->askAbortSlew.Visible());
    EXPECT_TRUE(LoggedAs("frmAskAbortSlew", 1, "No window can be shown: the question counts as cancelled"));
    machine.AdvanceTime(3000);
    EXPECT_TRUE(telescope_->Slewing());
}

TEST_F(SlewFlash, ClickDuringAPark_AsksForThePark) {
    driver->motion.SlewBegins();
    driver->motion.ParkBegins();
    HandBox().tmrSlewFlashUI.Enabled(true);
    Onlooker view;
    driver->askAbortSlew.Attach(view);
    HandBox().lblAz.FireClick();
    EXPECT_EQ(driver->askAbortSlew.Label1.Text(), "ABORT PARK?");
    driver->askAbortSlew.Detach(view);
    driver->motion.ParkEnds();
    driver->motion.SlewEnds();
}

TEST_F(SlewFlash, QuestionAboutASlew_GoesWithIt_AndIsNotAskedAfterIt) {
    frmAskAbortSlew& ask = driver->askAbortSlew;
    Onlooker view;
    ask.Attach(view);
    telescope_->SlewToCoordinatesAsync(NormalizeHours(driver->state.g_dRa - 1.0), 40.0);
    machine.AdvanceTime(1500);
    HandBox().lblRA.FireClick();
    EXPECT_TRUE(ask.Visible());
    for (int i = 0; i < 6000 && driver->state.g_bSlewing; ++i) {
        machine.AdvanceTime(50);
    }
    EXPECT_FALSE(ask.Visible());
    ASSERT_TRUE(HandBox().tmrSlewFlashUI.Enabled()) << "until its next tick";
    HandBox().lblRA.FireClick();
    EXPECT_FALSE(ask.Visible());
    ask.Detach(view);
}

TEST_F(SlewFlash, RealSlew_FlashesEachHalfSecondAndEndsOnThePosition) {
    telescope_->SlewToCoordinatesAsync(NormalizeHours(driver->state.g_dRa - 1.0), 40.0);
    int words = 0;
    int positions = 0;
    for (int i = 0; i < 600 && telescope_->Slewing(); ++i) {
        machine.AdvanceTime(500);
        (HandBox().lblDEC.Text() == "CLICK" ? words : positions) += 1;
    }
    ASSERT_FALSE(telescope_->Slewing());
    EXPECT_GT(words, 2);
    EXPECT_GT(positions, 2);
    machine.AdvanceTime(500);
    EXPECT_EQ(Labels(), Remembered());
}

}  // namespace
}  // namespace kestrane
