#include "state/controller_features.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

#include "rates_fixture.h"

namespace kestrane {
namespace {

struct FeatureRow {
    Controller_Type controller;
    const char* name;
    bool backlash;
    bool pem;
    bool focuser;
    bool ipLink;
    const char* rateType;
};

// clang-format off
const FeatureRow kFeatureRows[] = {
    {Controller_Type::VTRKC1, "VTRKC1", true,  true,  true,  false, ""},
    {Controller_Type::VTRKC2, "VTRKC2", true,  true,  true,  false, ""},
    {Controller_Type::VTRKC3, "VTRKC3", true,  true,  true,  false, ""},
    {Controller_Type::VTRKC4, "VTRKC4", false, true,  false, true,  ""},
    {Controller_Type::VTRKC5, "VTRKC5", false, false, false, true,  "3"},
};
// clang-format on

class ControllerFeaturesTest : public RatesFixture {
protected:
    void ExpectControls(bool backlash, bool pem) {
        for (Form* form : std::vector<Form*>{&initialSetup, &initMount}) {
            for (const char* name : {"chkSetRABacklash", "chkSetDecBacklash"}) {
                EXPECT_EQ(form->Find<CheckBox>(name)->Visible(), backlash) << form->Name() << " " << name;
            }
            for (const char* name : {"txtInitRaBacklash", "txtInitDecBacklash"}) {
                EXPECT_EQ(form->Find<TextBox>(name)->Visible(), backlash) << form->Name() << " " << name;
            }
            EXPECT_EQ(form->Find<CheckBox>("chkSetPEM")->Visible(), pem) << form->Name();
            EXPECT_EQ(form->Find<ComboBox>("cbxInitPEM")->Visible(), pem) << form->Name();
        }
    }
    int ShowsOfTheHandBox() const {
        return static_cast<int>(std::count(panel.calls.begin(), panel.calls.end(), "ShowMountFeatures"));
    }
};

class EachControllerTest : public ControllerFeaturesTest, public testing::WithParamInterface<FeatureRow> {};

TEST_P(EachControllerTest, AController_SetsItsFeatures_WhateverStoodBefore) {
    const FeatureRow& row = GetParam();
    for (const FeatureRow& before : kFeatureRows) {
        SCOPED_TRACE(before.name);
        controller.Apply(before.controller, 9, 9);
        initialSetup.chkIPAddress.Checked(true);
        panel.calls.clear();
        controller.Apply(row.controller, 0, 0);
        EXPECT_EQ(catalogue.ControllerType, row.controller);
        EXPECT_EQ(catalogue.ControllerName, row.name);
        EXPECT_EQ(handBox.lblControllerType.Text(), std::string("Controller Type: ") + row.name);
        EXPECT_EQ(state.g_bBacklashAvailable, row.backlash);
        EXPECT_EQ(state.g_bPemAvailable, row.pem);
        EXPECT_EQ(state.g_bFocuserAvailable, row.focuser);
        EXPECT_FALSE(state.g_bKingRateAvailable);
        EXPECT_EQ(initialSetup.chkIPAddress.Visible(), row.ipLink);
        EXPECT_EQ(initialSetup.chkIPAddress.Checked(), row.ipLink) << "only hiding it takes the tick";
        EXPECT_EQ(state.g_sMountRateType, row.rateType);
        ExpectControls(row.backlash, row.pem);
        EXPECT_FALSE(handBox.chkEnableKingRate.Enabled());
        EXPECT_EQ(ShowsOfTheHandBox(), 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Controllers, EachControllerTest, testing::ValuesIn(kFeatureRows));

TEST_F(ControllerFeaturesTest, TheKingRate_ComesWithTheFirmwareOfTheFourthControllerOnly) {
    struct Row {
        Controller_Type controller;
        int major, minor;
        bool king;
    };
    for (const Row& row : {Row{Controller_Type::VTRKC4, 0, 0, false}, Row{Controller_Type::VTRKC4, 1, 9, false},
                           Row{Controller_Type::VTRKC4, 2, 7, false}, Row{Controller_Type::VTRKC4, 2, 8, true},
                           Row{Controller_Type::VTRKC4, 2, 10, true}, Row{Controller_Type::VTRKC4, 3, 0, true},
                           Row{Controller_Type::VTRKC4, 4, 1, true}, Row{Controller_Type::VTRKC5, 3, 1, false},
                           Row{Controller_Type::VTRKC3, 3, 0, false}, Row{Controller_Type::VTRKC1, 2, 8, false}}) {
        controller.Apply(row.controller, row.major, row.minor);
        EXPECT_EQ(state.g_bKingRateAvailable, row.king) << catalogue.ControllerName << row.major << "." << row.minor;
        EXPECT_EQ(handBox.chkEnableKingRate.Enabled(), row.king);
    }
}

TEST_F(ControllerFeaturesTest, TheFifthController_ShowsTheKingBox_Disabled) {
    handBox.chkEnableKingRate.Visible(false);
    controller.Apply(Controller_Type::VTRKC4, 3, 0);
    EXPECT_FALSE(handBox.chkEnableKingRate.Visible());
    controller.Apply(Controller_Type::VTRKC5, 3, 1);
    EXPECT_TRUE(handBox.chkEnableKingRate.Visible());
    EXPECT_FALSE(handBox.chkEnableKingRate.Enabled());
}

TEST_F(ControllerFeaturesTest, TheRateTables_AreRebuiltByForce) {
    controller.Apply(Controller_Type::VTRKC3, 0, 0);
    controller.Apply(Controller_Type::VTRKC3, 0, 0);
    EXPECT_EQ(Builds(), 2);
    rates.UpdateMountRates("1");
    controller.Apply(Controller_Type::VTRKC4, 2, 8);
    EXPECT_EQ(state.g_sMountRateType, "") << "until the mount says its type again";
    controller.Apply(Controller_Type::VTRKC5, 0, 0);
    EXPECT_EQ(rates.slewRateCollection().GetMaxRate(), 1800.0);
}

TEST_F(ControllerFeaturesTest, NoSettingIsWritten_ButTheRateTypeThatTheControllerKnows) {
    persist.WriteIniValue("chkIPAddress", "1");
    persist.WriteIniValue("Controller", "4");
    logged.clear();
    const auto writes = [this] {
        std::vector<std::string> lines;
        std::ranges::copy_if(logged, std::back_inserter(lines),
                             [](const std::string& line) { return line.starts_with("WriteIniValue"); });
        return lines;
    };
    controller.Apply(Controller_Type::VTRKC2, 0, 0);
    EXPECT_EQ(writes(), std::vector<std::string>{});
    controller.Apply(Controller_Type::VTRKC5, 0, 0);
    EXPECT_EQ(writes(), std::vector<std::string>{"WriteIniValue|0|MountRateType=>'3'"});
    EXPECT_EQ(Setting("chkIPAddress"), "1");
    EXPECT_EQ(Setting("Controller"), "4");
}

TEST_F(ControllerFeaturesTest, AControllerOutsideTheCatalogue_HasAllFeatures_AndKeepsTheNameAndTheLink) {
    controller.Apply(Controller_Type::VTRKC5, 0, 0);
    controller.Apply(static_cast<Controller_Type>(7), 3, 0);
    EXPECT_EQ(handBox.lblControllerType.Text(), "Controller Type: VTRKC5");
    EXPECT_TRUE(initialSetup.chkIPAddress.Visible());
    EXPECT_TRUE(state.g_bPemAvailable && state.g_bFocuserAvailable && state.g_bBacklashAvailable);
    EXPECT_FALSE(state.g_bKingRateAvailable);
    EXPECT_EQ(state.g_sMountRateType, "");
}

TEST_F(ControllerFeaturesTest, TheBoundOfTheCustomSlewRate_FollowsTheModel) {
    controller.Apply(Controller_Type::VTRKC3, 0, 0);
    EXPECT_EQ(initMount.lblCustomSlew.Text(), "Slew Rate (1-1200):");
    EXPECT_EQ(initialSetup.lblCustomSlew.Text(), "Slew Rate (1-1200):");
    catalogue.mountType = Mount_Type::FIR;
    controller.ShowCustomSlewBounds();
    EXPECT_EQ(initMount.lblCustomSlew.Text(), "Slew Rate (1-900):");
    EXPECT_EQ(initialSetup.lblCustomSlew.Text(), "Slew Rate (1-900):");
    catalogue.mountType = Mount_Type::LARCH;
    controller.Apply(Controller_Type::VTRKC5, 0, 0);
    EXPECT_EQ(initMount.lblCustomSlew.Text(), "Slew Rate (1-1200):");
}

}  // namespace
}  // namespace kestrane
