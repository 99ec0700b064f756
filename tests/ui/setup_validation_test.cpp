#include <ostream>
#include <string>
#include <vector>

#include "setup_fixture.h"
#include "support/comma_locale.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

const std::string kBefore = "One or more values are out of range: ";
const std::string kAfter = ". Please correct highlighted text and click 'OK' again.";

struct FieldRow {
    std::string name;
    TextBox frmInitialSetup::*box;
    std::vector<std::string> good;
    std::vector<std::string> bad;
};

void PrintTo(const FieldRow& row, std::ostream* stream) {
    *stream << row.name;
}

// clang-format off
const FieldRow kFieldRows[] = {
    {"ScopeAperture", &frmInitialSetup::txtScopeAperture,
     {"0", "10000", "10000.0", "155.5", " 155,5 ", "007"}, {"-0.1", "10000.1", "", " ", "wide", "1e3", "1 0", "-"}},
    {"ScopeFocusLength", &frmInitialSetup::txtScopeFocalLength,
     {"0", "100000", "1085.25", "1085,25"}, {"-1", "100000.1", "", "long", "0x10"}},
    {"SiteElevation", &frmInitialSetup::txtElevation,
     {"-300", "10000", "0", " 12 "}, {"-301", "10001", "", "12.5", "12,5", "high", "+5", "--5", "-"}},
    {"LatDegrees", &frmInitialSetup::txtLatDeg,
     {"0", "89", "07"}, {"-1", "91", "", "7.5", "N", "99999999999999999999"}},
    {"LatMinutes", &frmInitialSetup::txtLatMin, {"0", "59", "07"}, {"-1", "60", "", "7.5", "x"}},
    {"LatSeconds", &frmInitialSetup::txtLatSec, {"0", "59.9", "59,9", "07.5"}, {"-0.1", "59.91", "60", "", "x"}},
    {"LngDegrees", &frmInitialSetup::txtLongDeg, {"0", "359", "007"}, {"-1", "361", "", "7.5", "E"}},
    {"LngMinutes", &frmInitialSetup::txtLongMin, {"0", "59"}, {"-1", "60", "", "7.5", "x"}},
    {"LngSeconds", &frmInitialSetup::txtLongSec, {"0", "59.9", "59,9"}, {"-0.1", "59.91", "60", "", "x"}},
    {"Timeout", &frmInitialSetup::txtConnectTimeout, {"0", "600", " 1 "}, {"-1", "601", "", "1.5", "soon"}},
};
// clang-format on

class SetupValidationTest : public SetupFixture {
protected:
    /// Each text in the field: whether the dialog takes it, and how the field looks then.
    void Try(const FieldRow& row) {
        AddSite("Here", "N 45 07 03.2", "E 10 30 00.0");
        Open([&] {
            SetupNeeds needs = Needs();
            SetupValidation validation(needs);
            TextBox& box = Form().*row.box;
            for (const std::string& text : row.good) {
                box.Text(text);
                EXPECT_TRUE(validation.AllGood()) << "'" << text << "'";
                EXPECT_EQ(box.BackColour(), kNormalBackColour) << "'" << text << "'";
            }
            EXPECT_EQ(machine.messageBoxes.Texts(), std::vector<std::string>{});
            for (const std::string& text : row.bad) {
                box.Text(text);
                EXPECT_FALSE(validation.AllGood()) << "'" << text << "'";
                EXPECT_EQ(Shown(), kBefore + row.name + kAfter) << "'" << text << "'";
                EXPECT_EQ(box.BackColour(), kFaultColours.back) << "'" << text << "'";
                EXPECT_EQ(box.ForeColour(), kFaultColours.fore) << "'" << text << "'";
            }
            box.Text(row.good.front());
            EXPECT_TRUE(validation.AllGood());
            EXPECT_EQ(box.BackColour(), kNormalBackColour) << "the colour goes with the fault";
        });
    }
    /// The fields of the position, as a person fills them in.
    void Position(const std::vector<std::string>& latitude, const std::vector<std::string>& longitude) {
        Form().txtLatDeg.Text(latitude[0]);
        Form().txtLatMin.Text(latitude[1]);
        Form().txtLatSec.Text(latitude[2]);
        Form().txtLongDeg.Text(longitude[0]);
        Form().txtLongMin.Text(longitude[1]);
        Form().txtLongSec.Text(longitude[2]);
    }
    bool SaveAndAccept(const std::vector<std::string>& latitude, const std::vector<std::string>& longitude) {
        machine.messageBoxes.shown.clear();
        return OpenAndAccept([&] {
            const FillsForm filling(Form());  // as if the site were stored so
            Position(latitude, longitude);
        });
    }
};

class EachField : public SetupValidationTest, public testing::WithParamInterface<FieldRow> {};

TEST_P(EachField, TakesItsRange_AndNothingBesideIt) {
    Try(GetParam());
}

TEST_P(EachField, IsReadAlikeInEachLocale) {
    StartOnce();
    const CommaLocale locale;
    Try(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Setup, EachField, testing::ValuesIn(kFieldRows),
                         [](const auto& row) { return row.param.name; });

TEST_F(SetupValidationTest, CustomSlewRate_EndsAtTheBoundOfItsModel_AndCountsOnlyWhileChosen) {
    AddSite("Here", "N 45 07 03.2", "E 10 30 00.0");
    driver->state.g_bHasCustomRates = true;
    driver->rates.UpdateMountRates("", RebuildRates::Always);
    struct Row {
        const char* model;
        const char* text;
        bool good;
    };
    for (const Row& row :
         {Row{"Cedar VTR", "1", true}, Row{"Cedar VTR", "0", false}, Row{"Cedar VTR", "1200", true},
          Row{"Cedar VTR", "1201", false}, Row{"Cedar VTR", "", false}, Row{"Cedar VTR", "600.5", false},
          Row{"Cedar VTR", "fast", false}, Row{"Fir VTR", "900", true}, Row{"Fir VTR", "901", false}}) {
        SCOPED_TRACE(std::string(row.model) + " " + row.text);
        machine.messageBoxes.shown.clear();
        const bool accepted = OpenAndAccept([&] {
            Form().cbxMountType.ListIndex(KsMount::FindMountListEntry(row.model));
            Form().cbxInitSlewRate.ListIndex(3);
            EXPECT_EQ(Form().cbxInitSlewRate.Text(), "Custom");
            Form().txtCustomSlewRate.Text(row.text);
        });
        EXPECT_EQ(accepted, row.good);
        EXPECT_EQ(Shown(), row.good ? "" : kBefore + "SlewRate" + kAfter);
    }
    EXPECT_TRUE(OpenAndAccept([&] {
        Form().cbxInitSlewRate.ListIndex(2);
        Form().txtCustomSlewRate.Text("fast");
    }));
}

TEST_F(SetupValidationTest, AllBadFields_AreNamedInTheirOrder_AndTheWindowStaysOpen) {
    AddSite("Here", "N 45 07 03.2", "E 10 30 00.0");
    EXPECT_FALSE(Open([&] {
        const FillsForm filling(Form());
        for (const FieldRow& row : kFieldRows) {
            (Form().*row.box).Text("");
        }
        const std::vector<std::string> before = AllSettings();
        Form().btnOK.FireClick();
        EXPECT_TRUE(Form().Visible());
        EXPECT_EQ(AllSettings(), before);
    }));
    EXPECT_EQ(Shown(), kBefore +
                           "ScopeAperture,ScopeFocusLength,SiteElevation,LatDegrees,LatMinutes,LatSeconds,LngDegrees,"
                           "LngMinutes,LngSeconds,Timeout" +
                           kAfter);
}

TEST_F(SetupValidationTest, ColoursOfAFault_AreGoneAtTheNextOpening) {
    AddSite("Here", "N 45 07 03.2", "E 10 30 00.0");
    EXPECT_FALSE(OpenAndAccept([&] { Form().txtConnectTimeout.Text("601"); }));
    Open([&] { EXPECT_EQ(Form().txtConnectTimeout.BackColour(), kNormalBackColour); });
}

TEST_F(SetupValidationTest, MostDegrees_HaveNothingAfterThem) {
    StartOnce();
    const std::vector<std::string> good{"10", "20", "30.0"};
    struct Row {
        std::vector<std::string> latitude;
        std::vector<std::string> longitude;
        std::string box;
    };
    const std::string latitude = "Latitude value is greater than 90 degrees!";
    const std::string longitude = "Longitude value is out of range!";
    for (const Row& row : {Row{{"90", "00", "00.0"}, good, ""}, Row{{"90", "00", "00.1"}, good, latitude},
                           Row{{"90", "01", "00.0"}, good, latitude}, Row{{"89", "59", "59.9"}, good, ""},
                           Row{good, {"360", "00", "00.0"}, ""}, Row{good, {"360", "01", "00.0"}, longitude},
                           Row{good, {"360", "00", "00.1"}, longitude}, Row{good, {"359", "59", "59.9"}, ""}}) {
        SCOPED_TRACE(row.latitude[0] + " " + row.latitude[2] + ", " + row.longitude[0] + " " + row.longitude[1]);
        EXPECT_EQ(SaveAndAccept(row.latitude, row.longitude), row.box.empty());
        EXPECT_EQ(Shown(), row.box);
    }
}

}  // namespace
}  // namespace kestrane
