#include "state/mount_rates.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "rates_fixture.h"

namespace kestrane {
namespace {

using Texts = std::vector<std::string>;

const Texts kGuide{"0.25x", "0.50x", "1.00x"};
const Texts kLegacyMove{"0.25x", "0.50x", "1.00x", "12x", "64x", "600x", "1200x"};
const Texts kNumberedMove{"0.25x", "0.50x", "1.00x", "12x", "64x", "200x", "600x", "1200x"};

class MountRatesTest : public RatesFixture {};

// --- when tables are built --------------------------------------------------------------------------------------

TEST_F(MountRatesTest, TheFirstUpdate_Builds_AlsoForTheTypeInForce) {
    state.g_sMountRateType = "2";
    rates.UpdateMountRates("2");
    EXPECT_EQ(Builds(), 1);
    EXPECT_EQ(rates.slewRateCollection().GetMaxRate(), 600.0);
}

TEST_F(MountRatesTest, TheSameTypeTwice_BuildsNothingTheSecondTime) {
    rates.UpdateMountRates("1");
    persist.WriteIniValue("MountRateType", "untouched");
    handBox.cbxMoveRate.ListItems({"untouched"});
    const std::size_t lines = logged.size();
    rates.UpdateMountRates("1");
    EXPECT_EQ(logged.size(), lines);
    EXPECT_EQ(handBox.cbxMoveRate.ListItems(), Texts{"untouched"});
    EXPECT_EQ(Setting("MountRateType"), "untouched");
}

TEST_F(MountRatesTest, TheSameTypeByForce_BuildsAnew) {
    rates.UpdateMountRates("");
    EXPECT_EQ(rates.slewRateCollection().GetMaxRate(), 1200.0);
    catalogue.mountType = Mount_Type::FIR;
    rates.UpdateMountRates("");
    EXPECT_EQ(rates.slewRateCollection().GetMaxRate(), 1200.0);
    rates.UpdateMountRates("", RebuildRates::Always);
    EXPECT_EQ(Builds(), 2);
    EXPECT_EQ(rates.slewRateCollection().GetMaxRate(), 600.0);
}

TEST_F(MountRatesTest, AnotherType_BuildsAndIsKept) {
    rates.UpdateMountRates("");
    rates.UpdateMountRates("3");
    EXPECT_EQ(state.g_sMountRateType, "3");
    EXPECT_EQ(Setting("MountRateType"), "3");
    EXPECT_EQ(rates.slewRateCollection().GetMaxRate(), 1800.0);
    EXPECT_EQ(rates.guideRateCollection().Count(), 3U);
    EXPECT_EQ(rates.centeringRateCollection().Count(), 8U);
}

TEST_F(MountRatesTest, EmptyTypeByForce_LeavesWhatIsStored) {
    rates.UpdateMountRates("2");
    rates.UpdateMountRates("", RebuildRates::Always);
    EXPECT_EQ(state.g_sMountRateType, "");
    EXPECT_EQ(Setting("MountRateType"), "2");
    rates.ForgetToldType();
    rates.UpdateMountRates("3", RebuildRates::Always);
    EXPECT_EQ(Setting("MountRateType"), "3");
    rates.UpdateMountRates("");
    EXPECT_EQ(Setting("MountRateType"), "");
}

TEST_F(MountRatesTest, TypeThatSomebodyElseHasStored_IsReplacedByTheNextOneThatIsBuilt) {
    rates.UpdateMountRates("2");
    persist.WriteIniValue("MountRateType", "1");
    rates.ForgetToldType();
    rates.UpdateMountRates("2", RebuildRates::Always);
    EXPECT_EQ(Setting("MountRateType"), "2");
}

TEST_F(MountRatesTest, TypeThatIsStoredAlready_IsNotWritten) {
    persist.WriteIniValue("MountRateType", "2");
    logged.clear();
    rates.UpdateMountRates("2");
    EXPECT_FALSE(LoggedPart("WriteIniValue"));
}

TEST_F(MountRatesTest, TypeOfTheController_IsNotStoredOverTheOneThatTheMountHasToldOnThisLink) {
    rates.UpdateMountRates("1");
    rates.UpdateMountRates("3", RebuildRates::Always);
    EXPECT_EQ(state.g_sMountRateType, "3");
    EXPECT_EQ(Setting("MountRateType"), "1");
    rates.ForgetToldType();
    rates.UpdateMountRates("3", RebuildRates::Always);
    EXPECT_EQ(Setting("MountRateType"), "3");
}

TEST_F(MountRatesTest, ATypeHandedAsTheOneInForce_SurvivesItsOwnReplacement) {
    rates.UpdateMountRates("2");
    rates.UpdateMountRates(state.g_sMountRateType, RebuildRates::Always);
    EXPECT_EQ(state.g_sMountRateType, "2");
    EXPECT_EQ(Builds(), 2);
}

TEST_F(MountRatesTest, AnUnknownType_GivesLegacyRows_TellsTheLog_AndLeavesTypeSettingAndListsAsTheyWere) {
    rates.UpdateMountRates("0");
    const std::size_t lines = logged.size();
    rates.UpdateMountRates("4");
    EXPECT_EQ(logged.size(), lines + 1);
    EXPECT_EQ(logged.back(), "UpdateMountRates|2|Failed to create mount rate lists for mount type '4'");
    EXPECT_EQ(state.g_sMountRateType, "0");
    EXPECT_EQ(Setting("MountRateType"), "0");
    EXPECT_EQ(rates.centeringRateCollection().Count(), 4U);
    EXPECT_EQ(handBox.cbxMoveRate.ListItems(), kNumberedMove);

    rates.UpdateMountRates("4");
    EXPECT_EQ(Times("UpdateMountRates|2|Failed to create mount rate lists for mount type '4'"), 1)
        << "it still differs";
    rates.UpdateMountRates("0");
    EXPECT_EQ(rates.centeringRateCollection().Count(), 4U) << "the type in force builds nothing: wanted";
}

TEST_F(MountRatesTest, AnUnknownTypeAtFirst_LeavesLegacyRowsAndNoSetting) {
    rates.UpdateMountRates("x");
    EXPECT_EQ(rates.centeringRateCollection().Count(), 4U);
    EXPECT_EQ(state.g_sMountRateType, "unknown");
    EXPECT_EQ(Setting("MountRateType"), "none");
    EXPECT_TRUE(handBox.cbxMoveRate.ListItems().empty());
}

TEST_F(MountRatesTest, TheRateType_IsOpenUntilTheMountHasSaidIt) {
    EXPECT_TRUE(rates.IsRateTypeOpen());
    rates.UpdateMountRates("");
    EXPECT_TRUE(rates.IsRateTypeOpen());
    for (const char* type : {"0", "1", "2", "3"}) {
        rates.UpdateMountRates(type);
        EXPECT_FALSE(rates.IsRateTypeOpen()) << type;
    }
    state.g_sMountRateType = "Unknown";
    EXPECT_FALSE(rates.IsRateTypeOpen()) << "case counts";
}

// --- the log ----------------------------------------------------------------------------------------------------

TEST_F(MountRatesTest, TheRows_AreLoggedInTheirOrder) {
    rates.UpdateMountRates("");
    std::vector<std::string> lines;
    for (const std::string& line : logged) {
        if (line.find("IniValue") == std::string::npos) {
            lines.push_back(line);
        }
    }
    EXPECT_EQ(lines, (std::vector<std::string>{
                         "UpdateMountRates|0|Created mount rate lists - MountRateType=",
                         "Guider Rate|0|Rate= 0.25, String=0.25x, Command=:RG0#",
                         "Guider Rate|0|Rate= 0.5, String=0.50x, Command=:RG1#",
                         "Guider Rate|0|Rate= 1, String=1.00x, Command=:RG2#",
                         "Centering Rate|0|Rate= 12, String=12x, Command=:RC0#",
                         "Centering Rate|0|Rate= 64, String=64x, Command=:RC1#",
                         "Centering Rate|0|Rate= 600, String=600x, Command=:RC2#",
                         "Centering Rate|0|Rate= 1200, String=1200x, Command=:RC3#",
                         "Slew Rate|0|Rate= 600, String=600x, Command=:RS0#",
                         "Slew Rate|0|Rate= 900, String=900x, Command=:RS1#",
                         "Slew Rate|0|Rate= 1200, String=1200x, Command=:RS2#",
                     }));
}

// --- the lists --------------------------------------------------------------------------------------------------

TEST_F(MountRatesTest, TheLists_AreFilledOnAllThreeForms_WithTheThirdEntrySelected) {
    rates.UpdateMountRates("");
    for (const ComboBox* list :
         {&handBox.cbxInitGuideRate, &initMount.cbxInitGuideRate, &initialSetup.cbxInitGuideRate}) {
        EXPECT_EQ(list->ListItems(), kGuide);
        EXPECT_EQ(list->ListIndex(), 2);
    }
    for (const ComboBox* list : {&handBox.cbxInitSlewRate, &initMount.cbxInitSlewRate, &initialSetup.cbxInitSlewRate}) {
        EXPECT_EQ(list->ListItems(), (Texts{"600x", "900x", "1200x"}));
        EXPECT_EQ(list->ListIndex(), 2);
    }
    EXPECT_EQ(handBox.cbxMoveRate.ListItems(), kLegacyMove);
    EXPECT_EQ(handBox.cbxMoveRate.ListIndex(), 2);
}

TEST_F(MountRatesTest, TheMoveList_HasTheGuideRatesOnce) {
    rates.UpdateMountRates("0");
    EXPECT_EQ(handBox.cbxMoveRate.ListItems(), kNumberedMove);
    rates.UpdateMountRates("");
    EXPECT_EQ(handBox.cbxMoveRate.ListItems(), kLegacyMove);
    catalogue.mountType = Mount_Type::FIR;
    rates.UpdateMountRates("", RebuildRates::Always);
    EXPECT_EQ(handBox.cbxMoveRate.ListItems(), (Texts{"0.25x", "0.50x", "1.00x", "12x", "64x", "300x", "600x"}));
}

TEST_F(MountRatesTest, Custom_IsTheLastSlewEntryOfAControllerWithCustomRates) {
    state.g_bHasCustomRates = true;
    rates.UpdateMountRates("2");
    for (const ComboBox* list : {&handBox.cbxInitSlewRate, &initMount.cbxInitSlewRate, &initialSetup.cbxInitSlewRate}) {
        EXPECT_EQ(list->ListItems(), (Texts{"300x", "450x", "600x", "Custom"}));
        EXPECT_EQ(list->ListIndex(), 2);
    }
    EXPECT_EQ(rates.slewRateCollection().Count(), 3U) << "only the lists have it";
    state.g_bHasCustomRates = false;
    rates.UpdateMountRates("2", RebuildRates::Always);
    EXPECT_EQ(initMount.cbxInitSlewRate.ListItems().size(), 3U);
}

struct SelectionRow {
    const char* key;
    const char* stored;
    bool customRates;
    std::int32_t selected;
};

class SelectionTest : public RatesFixture, public testing::WithParamInterface<SelectionRow> {};

TEST_P(SelectionTest, TheStoredIndex_IsTakenUpToTheLastOne_AndStaysAsItIsStored) {
    const SelectionRow& row = GetParam();
    persist.WriteIniValue(row.key, row.stored);
    state.g_bHasCustomRates = row.customRates;
    rates.UpdateMountRates("");
    const std::string key = row.key;
    for (Form* form : std::vector<Form*>{&handBox, &initMount, &initialSetup}) {
        const ComboBox* list = form->Find<ComboBox>(row.key);
        if (key == "cbxMoveRate" && form != &handBox) {
            EXPECT_EQ(list, nullptr);
            continue;
        }
        ASSERT_NE(list, nullptr);
        EXPECT_EQ(list->ListIndex(), row.selected) << form->Name();
    }
    EXPECT_EQ(Setting(row.key), row.stored);
}

INSTANTIATE_TEST_SUITE_P(
    Indices, SelectionTest,
    testing::Values(SelectionRow{"cbxInitGuideRate", "0", false, 0}, SelectionRow{"cbxInitGuideRate", "3", false, 2},
                    SelectionRow{"cbxInitGuideRate", "-1", false, -1},
                    SelectionRow{"cbxInitGuideRate", "-9", false, -1}, SelectionRow{"cbxInitGuideRate", "", false, 0},
                    SelectionRow{"cbxInitGuideRate", "99999999999", false, 2},
                    SelectionRow{"cbxMoveRate", "6", false, 6}, SelectionRow{"cbxMoveRate", "7", false, 6},
                    SelectionRow{"cbxMoveRate", "3", true, 3}, SelectionRow{"cbxInitSlewRate", "3", false, 2},
                    SelectionRow{"cbxInitSlewRate", "3", true, 3}, SelectionRow{"cbxInitSlewRate", "4", true, 3}));

TEST_F(MountRatesTest, ASelectionOfALongList_IsFoundAgainAfterAShortOne) {
    persist.WriteIniValue("cbxMoveRate", "7");
    rates.UpdateMountRates("0");
    EXPECT_EQ(handBox.cbxMoveRate.ListIndex(), 7);
    rates.UpdateMountRates("");
    EXPECT_EQ(handBox.cbxMoveRate.ListIndex(), 6);
    rates.UpdateMountRates("1");
    EXPECT_EQ(handBox.cbxMoveRate.Text(), "900x");
}

TEST_F(MountRatesTest, Filling_IsToldToTheHandBoxAsTheDriversOwn) {
    int selections = 0;
    for (ComboBox* list : {&handBox.cbxInitGuideRate, &handBox.cbxMoveRate, &handBox.cbxInitSlewRate}) {
        list->OnClick([&] {
            ++selections;
            EXPECT_TRUE(handBox.IsFilling());
        });
    }
    rates.UpdateMountRates("");
    EXPECT_EQ(selections, 3);
    EXPECT_FALSE(handBox.IsFilling());
}

TEST_F(MountRatesTest, Filling_WritesNoSettingButTheRateType) {
    rates.UpdateMountRates("1");
    for (const std::string& line : logged) {
        if (line.starts_with("WriteIniValue")) {
            EXPECT_EQ(line, "WriteIniValue|0|MountRateType=>'1'");
        }
    }
    EXPECT_EQ(Times("WriteIniValue|0|MountRateType=>'1'"), 1);
}

}  // namespace
}  // namespace kestrane
