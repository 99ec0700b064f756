#include <algorithm>

#include "support/driver_fixture.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

/// The rate buttons of the hand box, on a mount with custom and King rates that tracks.
class HandBoxRates : public DriverFixture {
protected:
    HandBoxRates() : telescope_(ConnectedTelescope()) { telescope_->TrackingRate(0); }

    frmHandBox& HandBox() { return driver->handBox; }
    /// What the mount gets while `call` runs, with a blank between commands.
    std::string SentBy(const std::function<void()>& call) {
        std::string sent;
        for (const std::string& command : DriverFixture::SentBy(call)) {
            sent += (sent.empty() ? "" : " ") + command;
        }
        return sent;
    }

    TelescopeObject telescope_;
};

TEST_F(HandBoxRates, CustomButton_WritesBothRates) {
    HandBox().txtRaCustom.Text("0.5");
    HandBox().txtDecCustom.Text("-15.04107");
    EXPECT_EQ(SentBy([&] { HandBox().btnRateCustom.FireClick(); }), "RR-0.50000 RD-1.00000");
    EXPECT_EQ(telescope_->RightAscensionRate(), 0.5);
    EXPECT_EQ(telescope_->DeclinationRate(), -15.04107);
    EXPECT_EQ(driver->state.g_nDisplayedRate, 4);
    EXPECT_EQ(HandBox().txtRaCustom.Text(), "0.50000");
    EXPECT_EQ(HandBox().txtDecCustom.Text(), "-15.04107");
}

struct BoxRow {
    const char* ra;
    const char* dec;
    const char* sent;
};

TEST_F(HandBoxRates, CustomButton_LeavesTheRateOfAnEmptyBoxAlone) {
    for (const BoxRow& row :
         {BoxRow{"", "", ""}, BoxRow{"  ", "", ""}, BoxRow{"1", "", "RR-1.00000"}, BoxRow{"", "15.04107", "RD1.00000"},
          BoxRow{"0", "0", "RR0.00000 RD0.00000"}, BoxRow{"0,25", " -0.25 ", "RR-0.25000 RD-0.01662"}}) {
        HandBox().txtRaCustom.Text(row.ra);
        HandBox().txtDecCustom.Text(row.dec);
        EXPECT_EQ(SentBy([&] { HandBox().btnRateCustom.FireClick(); }), row.sent) << row.ra << " / " << row.dec;
    }
}

TEST_F(HandBoxRates, CustomButton_SendsNoRateThatIsNoneOrBeyondTheLimit) {
    HandBox().txtRaCustom.Text("abc");
    HandBox().txtDecCustom.Text("1000");  // this firmware goes to 999.9999
    EXPECT_EQ(SentBy([&] { HandBox().btnRateCustom.FireClick(); }), "");
    EXPECT_TRUE(Logged("The custom rate is no number within the limit, it is not sent: 'abc'"));
    EXPECT_TRUE(Logged("The custom rate is no number within the limit, it is not sent: '1000'"));
    EXPECT_EQ(driver->state.g_nDisplayedRate, 1);
}

TEST_F(HandBoxRates, AButton_WaitsForTheEndOfAStepOfThePoll) {
    driver->state.g_bInPoll = true;
    EXPECT_EQ(SentBy([&] { HandBox().btnRateLunar.FireClick(); }), "");
    driver->state.g_bInPoll = false;
    machine.AdvanceTime(1'000);
    EXPECT_EQ(driver->state.g_nDisplayedRate, 2);
}

TEST_F(HandBoxRates, ABacklashOutOfRange_IsMarked_AndNotKept) {
    TextBox& box = HandBox().txtInitRaBacklash;
    for (const char* good : {"0", "59", "12.5"}) {
        box.Text(good);
        EXPECT_EQ(box.ForeColour(), kNormalColours.fore) << good;
        EXPECT_EQ(driver->persist.ReadIniValue("txtInitRaBacklash", "none"), good);
    }
    for (const char* bad : {"-1", "59.1", "60", "abc", ""}) {
        box.Text(bad);
        EXPECT_EQ(box.ForeColour(), kWarningColours.fore) << bad;
        EXPECT_EQ(driver->persist.ReadIniValue("txtInitRaBacklash", "none"), "12.5");
    }
}

TEST_F(HandBoxRates, ATextThatIsNoRate_IsMarked) {
    HandBox().txtRaCustom.Text("abc");
    EXPECT_EQ(HandBox().txtRaCustom.ForeColour(), kWarningColours.fore);
    HandBox().txtRaCustom.Text("0.5");
    EXPECT_EQ(HandBox().txtRaCustom.ForeColour(), kNormalColours.fore);
}

TEST_F(HandBoxRates, CustomRateWithAnExponent_IsNoRate) {
    HandBox().txtRaCustom.Text("0.5");
    HandBox().txtDecCustom.Text("0.5");
    for (const char* text : {"1e2", "5E-1", "1E", "+1e0"}) {
        HandBox().txtRaCustom.Text(text);
        HandBox().txtDecCustom.Text(text);
        EXPECT_EQ(SentBy([&] { HandBox().btnRateCustom.FireClick(); }), "") << text;
        EXPECT_EQ(TimesLogged("it is not sent: '" + std::string(text) + "'"), 2);
    }
    EXPECT_EQ(driver->persist.ReadIniValue("txtRaCustom", "none"), "0.5");
    EXPECT_EQ(driver->persist.ReadIniValue("txtDecCustom", "none"), "0.5");
}

TEST_F(HandBoxRates, ChoiceOfARateThatThereIsNot_SendsNothing) {
    EXPECT_EQ(SentBy([&] {
                  driver->tracking.ChooseRate(-1);
                  driver->tracking.ChooseRate(5);
              }),
              "");
}

TEST_F(HandBoxRates, SameRateShownAgain_LeavesTheTimeOfItsChange) {
    driver->panel.ShowTrackingRate(2, RateCorrection::Off);
    const Tick shown = driver->state.g_tickDisplayedRate;
    machine.AdvanceTime(10);
    driver->state.g_nDisplayedRate = 2;  // whatever the poll has shown meanwhile
    driver->state.g_tickDisplayedRate = shown;
    driver->panel.ShowTrackingRate(2, RateCorrection::On);
    EXPECT_EQ(driver->state.g_tickDisplayedRate - shown, 0);
    driver->panel.ShowTrackingRate(3, RateCorrection::Off);
    EXPECT_GT(driver->state.g_tickDisplayedRate - shown, 0);
}

TEST_F(HandBoxRates, CustomButton_OnAMountThatStandsSendsNothing) {
    ExpectSwallow("btnRateCustom");
    HandBox().txtRaCustom.Text("0.5");
    driver->state.g_bTracking = false;
    EXPECT_EQ(SentBy([&] { HandBox().btnRateCustom.FireClick(); }), "");
}

struct ChoiceRow {
    std::int16_t rate;
    Button frmHandBox::*button;
    const char* sent;
};

TEST_F(HandBoxRates, ChooseRate_DoesWhatTheButtonOfTheRateDoes) {
    HandBox().txtRaCustom.Text("0.5");
    HandBox().txtDecCustom.Text("");
    EXPECT_EQ(SentBy([&] { driver->tracking.ChooseRate(4); }), "") << "custom rates are for their button alone";
    EXPECT_EQ(SentBy([&] { HandBox().btnRateCustom.FireClick(); }), "RR-0.50000");
    for (const ChoiceRow& row :
         {ChoiceRow{3, &frmHandBox::btnRateSolar, "RT3 Q RT1"}, ChoiceRow{2, &frmHandBox::btnRateLunar, "RT3 Q RT0"},
          ChoiceRow{1, &frmHandBox::btnRateSidereal, "RT3 Q RT3 RT2"},
          ChoiceRow{0, &frmHandBox::btnRateZero, "# Q RT9"}}) {
        EXPECT_EQ(SentBy([&] { driver->tracking.ChooseRate(row.rate); }), row.sent) << row.rate;
        EXPECT_EQ(SentBy([&] { (HandBox().*row.button).FireClick(); }), row.sent) << row.rate;
    }
}

TEST_F(HandBoxRates, ButtonsWithTheKingRate_SwitchItOnFirst) {
    driver->state.g_bKingRateEnabled = true;
    EXPECT_EQ(SentBy([&] { HandBox().btnRateSidereal.FireClick(); }), "RT8 Q RT2");
    EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), "King");
    EXPECT_EQ(SentBy([&] { HandBox().btnRateLunar.FireClick(); }), "RT8 Q RT0");
    EXPECT_EQ(SentBy([&] { HandBox().btnRateSolar.FireClick(); }), "RT8 Q RT1");
}

TEST_F(HandBoxRates, ButtonsOfAMountWithoutTheKingRate_DoNotNameIt) {
    driver->state.g_bKingRateAvailable = false;
    for (const bool enabled : {true, false}) {
        driver->state.g_bKingRateEnabled = enabled;
        EXPECT_EQ(SentBy([&] { HandBox().btnRateSidereal.FireClick(); }), "Q RT2");
        EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), "Sidereal");
    }
}

TEST_F(HandBoxRates, SiderealButton_LeavesAClientTheKingRateThatItAskedFor) {
    driver->state.g_bKingRateEnabled = true;
    telescope_->TrackingRate(3);
    EXPECT_EQ(SentBy([&] { driver->tracking.ChooseRate(1); }), "RT8 Q RT8 RT2");
    EXPECT_EQ(telescope_->TrackingRate(), 3);
    telescope_->TrackingRate(1);
    EXPECT_EQ(SentBy([&] { driver->tracking.ChooseRate(1); }), "RT8 Q RT2");
    EXPECT_EQ(telescope_->TrackingRate(), 0);
}

struct KingBoxRow {
    std::int32_t asked;
    const char* on;
    const char* off;
};

TEST_F(HandBoxRates, KingCheckBox_SwitchesTheMountWhateverTheClientAskedFor) {
    for (const KingBoxRow& row :
         {KingBoxRow{0, "RT8 Q RT2", "RT3 Q RT3 RT2"}, KingBoxRow{3, "RT8 Q RT8 RT2", "RT3 Q RT2"}}) {
        telescope_->TrackingRate(row.asked);
        EXPECT_EQ(SentBy([&] { HandBox().chkEnableKingRate.Checked(true); }), row.on);
        EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), "King");
        EXPECT_EQ(SentBy([&] { HandBox().chkEnableKingRate.Checked(false); }), row.off);
        EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), "Sidereal");
        EXPECT_EQ(telescope_->TrackingRate(), row.asked);
    }
}

TEST_F(HandBoxRates, KingCheckBox_OfAMountThatStands_SendsNothing) {
    telescope_->Tracking(false);
    EXPECT_EQ(SentBy([&] { HandBox().chkEnableKingRate.Checked(true); }), "");
    EXPECT_TRUE(driver->state.g_bKingRateEnabled);
    EXPECT_EQ(driver->persist.ReadIniValue("chkEnableKingRate", "none"), "1");
}

}  // namespace
}  // namespace kestrane
