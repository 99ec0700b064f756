#include "ui/goto_dialog.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kernel/base/conversions.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

struct AngleRow {
    const char* text;
    std::optional<double> angle;
};

class AngleOfFieldsTest : public DriverFixture, public testing::WithParamInterface<AngleRow> {};

TEST_P(AngleOfFieldsTest, TakesThreeNumbers) {
    Start();
    const std::optional<double> angle = AngleOfFields(GetParam().text, driver->log);
    ASSERT_EQ(angle.has_value(), GetParam().angle.has_value());
    EXPECT_NEAR(angle.value_or(0.0), GetParam().angle.value_or(0.0), 1e-9);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, AngleOfFieldsTest,
    testing::Values(AngleRow{"12 30 00", 12.5}, AngleRow{"12:30:36", 12.51}, AngleRow{"  12  30   36  ", 12.51},
                    AngleRow{"+45*30:18.0", 45.505}, AngleRow{"45 30 18,0", 45.505}, AngleRow{"12h30m36s", 12.51},
                    AngleRow{"45°30'36\"", 45.51}, AngleRow{"-5 30 0", -5.5}, AngleRow{"-0 30 0", -0.5},
                    AngleRow{"- 0 30 0", -0.5}, AngleRow{"-00 00 36", -0.01}, AngleRow{"0 59 59.999", 0.99999972222},
                    AngleRow{"0 60 0", std::nullopt}, AngleRow{"0 0 60", std::nullopt},
                    AngleRow{"5 -30 0", std::nullopt}, AngleRow{"--5 30 0", std::nullopt},
                    AngleRow{"5 +30 0", std::nullopt}, AngleRow{"12 30", std::nullopt}, AngleRow{"12.5", std::nullopt},
                    AngleRow{"1 2 3 4", std::nullopt}, AngleRow{"", std::nullopt}, AngleRow{"-", std::nullopt},
                    AngleRow{"a b c", std::nullopt}, AngleRow{"1e1 0 0", std::nullopt},
                    AngleRow{"1.2.3 0 0", std::nullopt}));

/// Both windows of bookmarks, as a person uses them.
class GotoDialogTest : public DriverFixture {
protected:
    void TearDown() override {
        telescope_ = {};
        DriverFixture::TearDown();
    }
    void Connect() {
        telescope_ = ConnectedTelescope();
        machine.AdvanceTime(10'000);
        driver->poll.SetPolling(false);
    }
    frmAskGotoRaDec& RaDec() { return driver->windows.askGotoRaDec; }
    frmAskGtoAltAz& AltAz() { return driver->windows.askGtoAltAz; }
    Database& Data() { return *driver->persist.database(); }
    void OpenRaDec() { driver->handBox.btnSlewRaDec.FireClick(); }
    void OpenAltAz() { driver->handBox.btnSlewAltAz.FireClick(); }
    void Write(const std::string& name, const std::string& ra, const std::string& dec) {
        RaDec().txtDescription.Text(name);
        RaDec().txtRA.Text(ra);
        RaDec().txtDec.Text(dec);
    }
    void WriteAltAz(const std::string& name, const std::string& alt, const std::string& az) {
        AltAz().txtDescription.Text(name);
        AltAz().txtAlt.Text(alt);
        AltAz().txtAz.Text(az);
    }
    std::vector<GotoRaDec> RaDecRows() {
        RecordArray<GotoRaDec> records(1);
        Data().GetAllGotoRaDec(records);
        std::vector<GotoRaDec> rows;
        for (std::size_t i = 1; i < records.size(); ++i) {
            rows.push_back(records[i].value());
        }
        return rows;
    }
    using Items = std::vector<std::string>;

private:
    TelescopeObject telescope_;
};

TEST_F(GotoDialogTest, Captions) {
    Start();
    const std::pair<std::string, std::string> rows[] = {
        {RaDec().lblDescription.Text(), "Name:"},
        {RaDec().btnDelete.Text(), "Delete"},
        {RaDec().btnSave.Text(), "Save"},
        {RaDec().btnRefresh.Text(), "Refresh"},
        {RaDec().btnGoto.Text(), "GoTo"},
        {RaDec().btnGetRaDec.Text(), "Get Ra/Dec from Mount"},
        {AltAz().btnGetAltAz.Text(), "GET Alt/Az from mount"},
        {AltAz().chkConvertAltAzRaDec.Text(), "Convert GOTOs from Alt/Az to RA/Dec "},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(text, expected);
    }
}

TEST_F(GotoDialogTest, Opens_WithTheBookmarksOfTheOldFile_Once) {
    const auto folder = machine.folders.Documents() / "Kestrane" / "QUAY";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "RaDecBookmarks.txt") << "05 35 17,-05 23 28,Orion, the nebula\n";
    std::ofstream(folder / "AltAzBookmarks.txt") << "45 00 00,180 00 00,South\n";
    Start();
    for (int times = 0; times < 2; ++times) {
        OpenRaDec();
        EXPECT_TRUE(RaDec().Visible());
        EXPECT_EQ(RaDec().lvwRaDec.ListItems(), Items{"Orion, the nebula\t05 35 17\t-05 23 28"});
        RaDec().Hide();
        OpenAltAz();
        EXPECT_TRUE(AltAz().Visible());
        EXPECT_EQ(AltAz().lvwAltAz.ListItems(), Items{"South\t45 00 00\t180 00 00"});
        AltAz().Hide();
    }
    EXPECT_EQ(driver->persist.ReadIniValue("TransferedRABookmarksToDB", ""), "True");
    EXPECT_EQ(driver->persist.ReadIniValue("TransferedAltBookmarksToDB", ""), "True");
}

TEST_F(GotoDialogTest, ASelectedRow_IsCopiedIntoTheBoxes) {
    Start();
    OpenRaDec();
    Write("Vega", "18 36 56", "38 47 01");
    RaDec().btnAdd.FireClick();
    Write("Deneb", "20 41 26", "45 16 49");
    RaDec().btnAdd.FireClick();
    EXPECT_EQ(RaDec().lvwRaDec.ListItems(), (Items{"Vega\t18 36 56\t38 47 01", "Deneb\t20 41 26\t45 16 49"}));
    RaDec().lvwRaDec.ListIndex(0);
    EXPECT_EQ(RaDec().txtDescription.Text(), "Vega");
    EXPECT_EQ(RaDec().txtRA.Text(), "18 36 56");
    EXPECT_EQ(RaDec().txtDec.Text(), "38 47 01");
    OpenAltAz();
    WriteAltAz("Wall", "10 00 00", "90 00 00");
    AltAz().btnAdd.FireClick();
    WriteAltAz("", "", "");
    AltAz().lvwAltAz.ListIndex(0);
    EXPECT_EQ(AltAz().txtDescription.Text(), "Wall");
    EXPECT_EQ(AltAz().txtAlt.Text(), "10 00 00");
    EXPECT_EQ(AltAz().txtAz.Text(), "90 00 00");
}

TEST_F(GotoDialogTest, Save_WithoutASelectedRow_AddsOne) {
    Start();
    OpenRaDec();
    Write("Vega", "18 36 56", "38 47 01");
    RaDec().btnSave.FireClick();
    const std::vector<GotoRaDec> rows = RaDecRows();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].Name, "Vega");
    EXPECT_EQ(rows[0].Description, "Vega");
    EXPECT_EQ(rows[0].HourAngle, "");
}

TEST_F(GotoDialogTest, Save_UpdatesTheSelectedRow_AndKeepsWhatTheWindowDoesNotShow) {
    Start();
    bool isNew = true;
    Data().SetGotoRaDec({0, "Vega", "old", "1 2 3", "18 36 56", "38 47 01"}, isNew);
    OpenRaDec();
    RaDec().lvwRaDec.ListIndex(0);
    const std::int16_t id = RaDecRows().at(0).id;
    Write("Wega", "18 36 57", "38 47 02");
    RaDec().btnSave.FireClick();
    const std::vector<GotoRaDec> rows = RaDecRows();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].id, id);
    EXPECT_EQ(rows[0].Name, "Wega");
    EXPECT_EQ(rows[0].RightAscension, "18 36 57");
    EXPECT_EQ(rows[0].Declination, "38 47 02");
    EXPECT_EQ(rows[0].HourAngle, "1 2 3");
    EXPECT_EQ(RaDec().lvwRaDec.ListIndex(), 0) << "it stays selected";
}

TEST_F(GotoDialogTest, Save_OfARowThatAnotherWindowHasDeleted_InsertsItAnew) {
    Start();
    OpenAltAz();
    WriteAltAz("Wall", "10 00 00", "90 00 00");
    AltAz().btnAdd.FireClick();
    AltAz().lvwAltAz.ListIndex(0);
    RecordArray<GotoAltAz> rows(1);
    Data().GetAllGotoAltAz(rows);
    Data().DeleteGotoAltAz(rows.at(1)->id);
    AltAz().txtAlt.Text("11 00 00");
    AltAz().btnSave.FireClick();
    EXPECT_EQ(AltAz().lvwAltAz.ListItems(), Items{"Wall\t11 00 00\t90 00 00"});
}

TEST_F(GotoDialogTest, Delete_TakesTheSelectedRow) {
    Start();
    OpenRaDec();
    OpenAltAz();
    for (const char* const name : {"One", "Two"}) {
        Write(name, "1 0 0", "2 0 0");
        RaDec().btnAdd.FireClick();
        WriteAltAz(name, "1 0 0", "2 0 0");
        AltAz().btnAdd.FireClick();
    }
    RaDec().btnDelete.FireClick();
    EXPECT_EQ(RaDec().lvwRaDec.ListItems().size(), 2U) << "none is selected";
    RaDec().lvwRaDec.ListIndex(0);
    RaDec().btnDelete.FireClick();
    AltAz().lvwAltAz.ListIndex(1);
    AltAz().btnDelete.FireClick();
    EXPECT_EQ(RaDec().lvwRaDec.ListItems(), Items{"Two\t1 0 0\t2 0 0"});
    EXPECT_EQ(RaDec().lvwRaDec.ListIndex(), -1);
    EXPECT_EQ(AltAz().lvwAltAz.ListItems(), Items{"One\t1 0 0\t2 0 0"});
}

TEST_F(GotoDialogTest, Refresh_ShowsWhatOthersHaveStored_AndKeepsSelectionAndBoxes) {
    Start();
    OpenRaDec();
    Write("One", "1 0 0", "2 0 0");
    RaDec().btnAdd.FireClick();
    RaDec().lvwRaDec.ListIndex(0);
    RaDec().txtDescription.Text("half written");
    bool isNew = true;
    Data().SetGotoRaDec({0, "Other", "Other", "", "3 0 0", "4 0 0"}, isNew);
    RaDec().btnRefresh.FireClick();
    EXPECT_EQ(RaDec().lvwRaDec.ListItems(), (Items{"One\t1 0 0\t2 0 0", "Other\t3 0 0\t4 0 0"}));
    EXPECT_EQ(RaDec().lvwRaDec.ListIndex(), 0);
    EXPECT_EQ(RaDec().txtDescription.Text(), "half written");
}

struct RangeRow {
    const char* ra;
    const char* dec;
    const char* alt;
    const char* az;
    bool good;
};

class GotoRange : public GotoDialogTest, public testing::WithParamInterface<RangeRow> {};

TEST_P(GotoRange, IsCheckedBeforeARowIsStored_AndNothingThatWasWrittenIsLost) {
    Start();
    OpenRaDec();
    OpenAltAz();
    Write("Name", GetParam().ra, GetParam().dec);
    WriteAltAz("Name", GetParam().alt, GetParam().az);
    const std::size_t stored = GetParam().good ? 1 : 0;
    for (Button* const button : {&RaDec().btnAdd, &AltAz().btnSave}) {
        machine.messageBoxes.shown.clear();
        button->FireClick();
        EXPECT_EQ(machine.messageBoxes.shown.size(), 1 - stored);
    }
    EXPECT_EQ(RaDec().lvwRaDec.ListItems().size(), stored);
    EXPECT_EQ(AltAz().lvwAltAz.ListItems().size(), stored);
    EXPECT_EQ(RaDec().txtRA.Text(), GetParam().ra);
    EXPECT_EQ(AltAz().txtAz.Text(), GetParam().az);
}

INSTANTIATE_TEST_SUITE_P(Bounds, GotoRange,
                         testing::Values(RangeRow{"0 0 0", "-90 0 0", "-90 0 0", "0 0 0", true},
                                         RangeRow{"23 59 59.9", "90 0 0", "90 0 0", "360 0 0", true},
                                         RangeRow{"24 0 0", "0 0 0", "90 0 0.1", "0 0 0", false},
                                         RangeRow{"-0 0 1", "0 0 0", "-90 0 0.1", "0 0 0", false},
                                         RangeRow{"1 0 0", "90 0 0.1", "0 0 0", "360 0 0.1", false},
                                         RangeRow{"1 0 0", "-90 0 0.1", "0 0 0", "-0 0 1", false},
                                         RangeRow{"1 0", "0 0 0", "", "0 0 0", false},
                                         RangeRow{"1 0 0", "x", "0 0 0", "north", false}));

TEST_F(GotoDialogTest, BadAngle_IsNamedInTheBox) {
    Start();
    OpenRaDec();
    Write("Name", "1 0 0", "95 0 0");
    RaDec().btnAdd.FireClick();
    EXPECT_EQ(machine.messageBoxes.Texts(),
              Items{"Dec must be three numbers, as in \"12 30 00\", from -90 to 90 degrees. It is \"95 0 0\"."});
}

TEST_F(GotoDialogTest, PresentPosition_GoesIntoTheBoxes) {
    Connect();
    driver->state.g_dRa = 23.9999999;
    driver->state.g_dDec = -0.505;
    driver->state.g_dAlt = -5.25;
    driver->state.g_dAz = 180.5;
    OpenRaDec();
    OpenAltAz();
    RaDec().txtDescription.Text("kept");
    RaDec().btnGetRaDec.FireClick();
    AltAz().btnGetAltAz.FireClick();
    EXPECT_EQ(RaDec().txtDescription.Text(), "kept");
    EXPECT_EQ(RaDec().txtRA.Text(), "00 00 00.0");
    EXPECT_EQ(RaDec().txtDec.Text(), "-00 30 18.0");
    EXPECT_EQ(AltAz().txtAlt.Text(), "-05 15 00.0");
    EXPECT_EQ(AltAz().txtAz.Text(), "180 30 00.0");
    EXPECT_TRUE(machine.messageBoxes.shown.empty());
}

TEST_F(GotoDialogTest, PresentPosition_OfNoMount_IsToldInABox) {
    Start();
    OpenRaDec();
    Write("", "1 2 3", "");
    RaDec().btnGetRaDec.FireClick();
    EXPECT_EQ(machine.messageBoxes.Texts(), Items{"The scope is not connected"});
    EXPECT_EQ(RaDec().txtRA.Text(), "1 2 3");
}

TEST_F(GotoDialogTest, SiderealTimeAndDeclination_AreShownEachSecond_WhileTheWindowIsOpen) {
    Connect();
    OpenRaDec();
    const std::string lst = RaDec().lblLST.Text();
    EXPECT_EQ(lst, HoursToHMS(driver->queries.GetLst(), ":", ":", "", 0));
    EXPECT_EQ(RaDec().lblDEC.Text(), driver->queries.LastDecText());
    EXPECT_FALSE(RaDec().lblDEC.Text().empty());
    machine.AdvanceTime(2'000);
    EXPECT_NE(RaDec().lblLST.Text(), lst);
    EXPECT_EQ(RaDec().lblLST.Text().size(), 8U);
    RaDec().Hide();
    machine.AdvanceTime(1'000);
    EXPECT_FALSE(RaDec().Loaded());
}

TEST_F(GotoDialogTest, Conversion_IsKeptAtEachClick) {
    Seed({{"chkConvertAltAzRaDec", "1"}});
    Start();
    OpenAltAz();
    EXPECT_TRUE(AltAz().chkConvertAltAzRaDec.Checked());
    for (const bool on : {false, true}) {
        AltAz().chkConvertAltAzRaDec.Checked(on);
        EXPECT_EQ(driver->persist.ReadIniValue("chkConvertAltAzRaDec", ""), on ? "1" : "0");
        EXPECT_EQ(driver->persist.ReadIniValue("chkConvertAltAzToRaDec", "0"), "0") << "that of the park frame";
    }
}

TEST_F(GotoDialogTest, BothCoordinatesInOneBox_GoEachIntoItsOwn) {
    Start();
    OpenRaDec();
    for (TextBox* box : {&RaDec().txtRA, &RaDec().txtDec}) {
        box->Text(
            "RA 05h34m31.9s Dec -00\xC2\xB0"
            "30'52\"");
        EXPECT_EQ(RaDec().txtRA.Text(), "05 34 31.9");
        EXPECT_EQ(RaDec().txtDec.Text(), "-00 30 52.0");
    }
    RaDec().txtRA.Text("359.99999 +10.0");
    EXPECT_EQ(RaDec().txtRA.Text(), "00 00 00.0") << "no full turn";
    RaDec().txtRA.Text("400.5 +10.0");
    EXPECT_EQ(RaDec().txtRA.Text(), "26 42 00.0") << "what is out of range is to be seen, and refused";
    RaDec().txtRA.Text("12 30 00");
    EXPECT_EQ(RaDec().txtRA.Text(), "12 30 00");
    EXPECT_EQ(RaDec().txtDec.Text(), "10 00 00.0") << "one coordinate is left alone";
    OpenAltAz();
    AltAz().txtAlt.Text("45.5, 120.25");
    EXPECT_EQ(AltAz().txtAlt.Text(), "45 30 00.0");
    EXPECT_EQ(AltAz().txtAz.Text(), "120 15 00.0");
}

}  // namespace
}  // namespace kestrane
