#include <algorithm>
#include <string>
#include <vector>

#include "setup_fixture.h"
#include "support/other_program.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

using Texts = std::vector<std::string>;

const std::string kCannotSave = "Cannot save the site because a setting is missing or out of range.";

/// Two sites beside the one of a new installation; the first of them is the current one.
class SetupSiteTest : public SetupFixture {
protected:
    void SetUp() override {
        hill = AddSite("Hill", "N 45 07 03.2", "E 10 30 00.0", 1200.5);
        bay = AddSite("Bay", "S 33 00 00.0", "W 122 10 05.5", -3.0);
        driver->sites.g_SiteDbIndex(hill);
        ASSERT_EQ(driver->sites.g_Sites().size(), 4U);
    }
    Texts Fields() {
        return {Form().txtSiteName.Text(), Form().cbxNS.Text(),      Form().txtLatDeg.Text(),
                Form().txtLatMin.Text(),   Form().txtLatSec.Text(),  Form().cbxEW.Text(),
                Form().txtLongDeg.Text(),  Form().txtLongMin.Text(), Form().txtLongSec.Text(),
                Form().txtElevation.Text()};
    }
    void Write(const Texts& fields) {
        Form().txtSiteName.Text(fields[0]);
        Form().cbxNS.ListIndex(fields[1] == "S" ? 1 : 0);
        Form().txtLatDeg.Text(fields[2]);
        Form().txtLatMin.Text(fields[3]);
        Form().txtLatSec.Text(fields[4]);
        Form().cbxEW.ListIndex(fields[5] == "W" ? 1 : 0);
        Form().txtLongDeg.Text(fields[6]);
        Form().txtLongMin.Text(fields[7]);
        Form().txtLongSec.Text(fields[8]);
        Form().txtElevation.Text(fields[9]);
    }
    void ExpectEdited(bool edited) {
        EXPECT_EQ(Form().btnSaveSiteInfo.Enabled(), edited);
        EXPECT_EQ(Form().btnCancelSiteChange.Enabled(), edited);
        EXPECT_EQ(Form().cbxSiteList.Enabled(), !edited);
    }
    const Site* Named(std::string_view name) {
        driver->sites.GetAllSites();
        for (const auto& site : driver->sites.g_Sites()) {
            if (site && site->Name == name) {
                return &*site;
            }
        }
        return nullptr;
    }

    const Texts hillFields{"Hill", "N", "45", "07", "03.2", "E", "10", "30", "00.0", "1200.5"};
    const Texts bayFields{"Bay", "S", "33", "00", "00.0", "W", "122", "10", "05.5", "-3"};
    const Texts noFields{"New Site", "N", "", "", "", "E", "", "", "", ""};
    std::int16_t hill = 0;
    std::int16_t bay = 0;
};

TEST_F(SetupSiteTest, Opening_ListsTheSites_AndShowsTheCurrentOne) {
    Open([&] {
        EXPECT_EQ(Form().cbxSiteList.ListItems(), (Texts{"Default", "Hill", "Bay"}));
        EXPECT_EQ(Form().cbxSiteList.Text(), "Hill");
        EXPECT_EQ(Form().cbxNS.ListItems(), (Texts{"N", "S"}));
        EXPECT_EQ(Form().cbxEW.ListItems(), (Texts{"E", "W"}));
        EXPECT_EQ(Fields(), hillFields);
        ExpectEdited(false);
    });
}

TEST_F(SetupSiteTest, Selection_ShowsTheSite_AndMakesItTheCurrentOne) {
    Open([&] {
        Form().cbxSiteList.ListIndex(2);
        EXPECT_EQ(Fields(), bayFields);
        EXPECT_EQ(driver->sites.g_SiteDbIndex(), bay);
        ExpectEdited(false);
    });
}

TEST_F(SetupSiteTest, AnyChangeOfAField_IsAnEditing_WhichCancelTakesBack) {
    Open([&] {
        for (TextBox* box : {&Form().txtSiteName, &Form().txtLatDeg, &Form().txtLatMin, &Form().txtLatSec,
                             &Form().txtLongDeg, &Form().txtLongMin, &Form().txtLongSec, &Form().txtElevation}) {
            SCOPED_TRACE(box->Name());
            box->Text("1");
            ExpectEdited(true);
            Form().btnCancelSiteChange.FireClick();
            ExpectEdited(false);
            EXPECT_EQ(Fields(), hillFields);
        }
        for (ComboBox* list : {&Form().cbxNS, &Form().cbxEW}) {
            SCOPED_TRACE(list->Name());
            list->ListIndex(1);
            ExpectEdited(true);
            Form().btnCancelSiteChange.FireClick();
            ExpectEdited(false);
            EXPECT_EQ(Fields(), hillFields);
        }
    });
    EXPECT_EQ(Named("Hill")->Latitude, "N 45 07 03.2");
}

TEST_F(SetupSiteTest, Save_ChangesTheSelectedSite) {
    Open([&] {
        Write({"Hilltop", "S", "4", "5", "6", "W", "7", "8", "9.25", " -12 "});
        Form().btnSaveSiteInfo.FireClick();
        ExpectEdited(false);
        EXPECT_EQ(Form().cbxSiteList.ListItems(), (Texts{"Default", "Hilltop", "Bay"}));
        EXPECT_EQ(Form().cbxSiteList.Text(), "Hilltop");
        EXPECT_EQ(Fields(), (Texts{"Hilltop", "S", "04", "05", "06.0", "W", "07", "08", "09.3", "-12"}));
    });
    ASSERT_NE(Named("Hilltop"), nullptr);
    EXPECT_EQ(Named("Hilltop")->id, hill);
    EXPECT_EQ(Named("Hilltop")->Latitude, "S 04 05 06.0");
    EXPECT_EQ(Named("Hilltop")->Longitude, "W 07 08 09.3");
    EXPECT_EQ(Named("Hilltop")->ElevationMeters, -12.0);
    EXPECT_EQ(Named("Hill"), nullptr);
    EXPECT_TRUE(LoggedAs("SaveSite", 0, "Site Saved. Index = 2 of 3"));
    EXPECT_EQ(machine.messageBoxes.Texts(), Texts{});
}

TEST_F(SetupSiteTest, New_ClearsTheFields_AndSaveAddsASite) {
    Open([&] {
        Form().btnNewSite.FireClick();
        EXPECT_EQ(Fields(), noFields);
        ExpectEdited(true);
        EXPECT_EQ(Form().cbxSiteList.ListItems().size(), 3U) << "it is no site yet";
        Write({"Dome", "N", "1", "2", "3", "E", "4", "5", "6", "7"});
        Form().btnSaveSiteInfo.FireClick();
        ExpectEdited(false);
        EXPECT_EQ(Form().cbxSiteList.ListItems(), (Texts{"Default", "Hill", "Bay", "Dome"}));
        EXPECT_EQ(Form().cbxSiteList.Text(), "Dome");
        EXPECT_EQ(driver->sites.g_SiteDbIndex(), Named("Dome")->id);
        Form().txtElevation.Text("8");
        Form().btnSaveSiteInfo.FireClick();  // the second save is of the same site
        EXPECT_EQ(Form().cbxSiteList.ListItems().size(), 4U);
    });
    EXPECT_EQ(Named("Hill")->Latitude, "N 45 07 03.2");
    EXPECT_EQ(Named("Dome")->ElevationMeters, 8.0);
    EXPECT_EQ(TimesLoggedAs("SaveSite", 0, "Site Saved. Index = 4 of 4"), 2);
}

TEST_F(SetupSiteTest, CancelOfANewSite_ShowsTheSelectedOneAgain_WhichTheNextSaveChanges) {
    Open([&] {
        Form().btnNewSite.FireClick();
        Form().btnCancelSiteChange.FireClick();
        EXPECT_EQ(Fields(), hillFields);
        ExpectEdited(false);
        Form().txtElevation.Text("9");
        Form().btnSaveSiteInfo.FireClick();
        EXPECT_EQ(Form().cbxSiteList.ListItems().size(), 3U);
    });
    EXPECT_EQ(Named("Hill")->ElevationMeters, 9.0);
}

TEST_F(SetupSiteTest, Save_OfFieldsThatAreNone_SaysSo_AndStaysInTheEditing) {
    struct Row {
        const char* what;
        Texts fields;
    };
    const Row kRows[] = {
        {"LatDegrees", {"Hill", "N", "91", "07", "03.2", "E", "10", "30", "00.0", "0"}},
        {"LatMinutes", {"Hill", "N", "45", "60", "03.2", "E", "10", "30", "00.0", "0"}},
        {"LatSeconds", {"Hill", "N", "45", "07", "", "E", "10", "30", "00.0", "0"}},
        {"LngDegrees", {"Hill", "N", "45", "07", "03.2", "E", "361", "30", "00.0", "0"}},
        {"LngMinutes", {"Hill", "N", "45", "07", "03.2", "E", "10", "-1", "00.0", "0"}},
        {"LngSeconds", {"Hill", "N", "45", "07", "03.2", "E", "10", "30", "60", "0"}},
        {"Elevation", {"Hill", "N", "45", "07", "03.2", "E", "10", "30", "00.0", "-301"}},
        {"BeyondThePole", {"Hill", "N", "90", "00", "00.1", "E", "10", "30", "00.0", "0"}},
        {"BeyondTheTurn", {"Hill", "N", "45", "07", "03.2", "E", "360", "01", "00.0", "0"}},
        {"NoName", {" ", "N", "45", "07", "03.2", "E", "10", "30", "00.0", "0"}},
        {"NameOfAnother", {"Bay", "N", "45", "07", "03.2", "E", "10", "30", "00.0", "0"}},
        {"NameThatSeparates", {"Hill, top", "N", "45", "07", "03.2", "E", "10", "30", "00.0", "0"}},
    };
    Open([&] {
        for (const Row& row : kRows) {
            SCOPED_TRACE(row.what);
            machine.messageBoxes.shown.clear();
            Write(row.fields);
            Form().btnSaveSiteInfo.FireClick();
            EXPECT_EQ(machine.messageBoxes.Texts(), Texts{kCannotSave});
            EXPECT_EQ(Fields(), row.fields);
            ExpectEdited(true);
        }
    });
    EXPECT_EQ(Named("Hill")->Latitude, "N 45 07 03.2");
    EXPECT_EQ(Named("Hill")->ElevationMeters, 1200.5);
}

TEST_F(SetupSiteTest, Delete_AfterAQuestion_SelectsTheFirstSite) {
    machine.messageBoxes.answers = {MessageAnswer::Cancel, MessageAnswer::Ok};
    Open([&] {
        Form().btnDeleteSite.FireClick();
        EXPECT_EQ(Shown(), "OK to delete Site?");
        EXPECT_EQ(Form().cbxSiteList.ListItems().size(), 3U);
        EXPECT_EQ(Fields(), hillFields);
        Form().btnDeleteSite.FireClick();
        EXPECT_EQ(Form().cbxSiteList.ListItems(), (Texts{"Default", "Bay"}));
        EXPECT_EQ(Form().cbxSiteList.Text(), "Default");
        EXPECT_EQ(Form().txtSiteName.Text(), "Default");
        EXPECT_EQ(driver->sites.g_SiteDbIndex(), Named("Default")->id);
        ExpectEdited(false);
    });
    EXPECT_EQ(Named("Hill"), nullptr);
}

TEST_F(SetupSiteTest, Delete_OfANewSite_TakesNoOtherOne) {
    Open([&] {
        Form().btnNewSite.FireClick();
        Form().btnDeleteSite.FireClick();
        EXPECT_EQ(Form().cbxSiteList.ListItems().size(), 3U);
        EXPECT_EQ(Fields(), hillFields);
        ExpectEdited(false);
    });
}

TEST_F(SetupSiteTest, Delete_TakesNothing_WhenAnotherViewHasChangedWhatIsShownDuringTheQuestion) {
    const auto deleteWhile = [&](const std::function<void()>& other) {
        machine.messageBoxes.whenShown = [other](const auto&) { other(); };
        Form().btnDeleteSite.FireClick();
        machine.messageBoxes.whenShown = {};
        driver->sites.GetAllSites();
        EXPECT_EQ(driver->sites.g_Sites().size(), 4U);
    };
    Open([&] {
        Form().btnNewSite.FireClick();
        deleteWhile([&] { Form().btnCancelSiteChange.FireClick(); });
        EXPECT_EQ(Fields(), hillFields) << "the question was about the new site";
        deleteWhile([&] { Form().btnNewSite.FireClick(); });
        EXPECT_EQ(Fields(), noFields);
        Form().btnCancelSiteChange.FireClick();
        deleteWhile([&] { Form().cbxSiteList.ListIndex(2); });
        EXPECT_EQ(Fields(), bayFields);
    });
}

TEST_F(SetupSiteTest, Cancel_AfterTheCurrentSiteWasDeleted_LeavesTheFirstOne) {
    Open([&] { Form().btnDeleteSite.FireClick(); });
    EXPECT_EQ(driver->sites.CurrentSiteName(), "Default");
}

TEST_F(SetupSiteTest, ColourOfAFault_GoesWithTheEditing) {
    Open([&] {
        Form().txtConnectTimeout.Text("601");
        Form().btnOK.FireClick();
        for (TextBox* box : {&Form().txtLatDeg, &Form().txtLongSec, &Form().txtElevation}) {
            SCOPED_TRACE(box->Name());
            for (Button* end : {&Form().btnCancelSiteChange, &Form().btnNewSite}) {
                box->Text("wrong");
                Form().btnSaveSiteInfo.FireClick();
                EXPECT_EQ(box->BackColour(), kFaultColours.back);
                end->FireClick();
                EXPECT_EQ(box->BackColour(), kNormalBackColour) << end->Name();
            }
        }
        EXPECT_EQ(Form().txtConnectTimeout.BackColour(), kFaultColours.back) << "no field of the site";
    });
}

TEST_F(SetupSiteTest, Delete_OfTheLastSite_LeavesNone_AndAsksNoMore) {
    Open([&] {
        for (int i = 0; i < 3; ++i) {
            Form().btnDeleteSite.FireClick();
        }
        EXPECT_EQ(Form().cbxSiteList.ListItems(), Texts{});
        EXPECT_EQ(driver->sites.g_SiteDbIndex(), 0);
        EXPECT_EQ(machine.messageBoxes.shown.size(), 3U);
        Form().btnDeleteSite.FireClick();
        EXPECT_EQ(machine.messageBoxes.shown.size(), 3U);
        Form().btnRefreshSites.FireClick();
        EXPECT_EQ(Shown(), "Error getting sites information");
    });
}

TEST_F(SetupSiteTest, Refresh_ShowsWhatAnotherProgramHasStored) {
    Open([&] {
        Site site;
        site.Name = "Beach";
        site.Latitude = site.Longitude = "N 1 2 3";
        bool isNew = false;
        driver->persist.database()->SetSite(site, isNew);
        Form().txtElevation.Text("5");
        Form().btnRefreshSites.FireClick();
        EXPECT_EQ(Form().cbxSiteList.ListItems(), (Texts{"Default", "Hill", "Bay", "Beach"}));
        EXPECT_EQ(Form().cbxSiteList.Text(), "Hill");
        EXPECT_EQ(Form().txtElevation.Text(), "5") << "an editing goes on";
        ExpectEdited(true);
    });
    EXPECT_EQ(machine.messageBoxes.Texts(), Texts{});
}

TEST_F(SetupSiteTest, WhileAnotherProgramLocksTheSettings_NothingOfAPersonIsLost) {
    machine.messageBoxes.answers = {MessageAnswer::Ok};
    ExpectSwallow("*");
    Open([&] {
        OtherProgram other(machine.folders.SettingsFile());
        ASSERT_TRUE(other.Run("BEGIN IMMEDIATE"));
        Form().txtSiteName.Text("Mound");
        Form().txtElevation.Text("1200");
        Form().btnSaveSiteInfo.FireClick();
        ASSERT_TRUE(other.Run("COMMIT"));
        Form().btnRefreshSites.FireClick();
        EXPECT_EQ(Form().cbxSiteList.ListItems(), (Texts{"Default", "Mound", "Bay"}));
        ASSERT_TRUE(other.Run("BEGIN IMMEDIATE"));
        Form().btnDeleteSite.FireClick();
        ASSERT_TRUE(other.Run("COMMIT"));
        Form().btnRefreshSites.FireClick();
        EXPECT_EQ(Form().cbxSiteList.ListItems(), (Texts{"Default", "Bay"}));
        EXPECT_EQ(machine.messageBoxes.Texts(), Texts{"OK to delete Site?"});
    });
}

TEST_F(SetupSiteTest, PendingEditing_BlocksOK) {
    EXPECT_FALSE(Open([&] {
        Form().txtElevation.Text("5");
        Form().btnOK.FireClick();
        EXPECT_EQ(Shown(), "Please Save or Cancel Site Settings first!");
        EXPECT_TRUE(Form().Visible());
    }));
    EXPECT_NE(Setting("Elevation"), "5");
    EXPECT_TRUE(OpenAndAccept([&] {
        Form().txtElevation.Text("5");
        Form().btnSaveSiteInfo.FireClick();
    }));
    EXPECT_EQ(Setting("Elevation"), "5");
}

TEST_F(SetupSiteTest, OK_StoresTheShownSite) {
    EXPECT_TRUE(OpenAndAccept([&] { Form().cbxSiteList.ListIndex(2); }));
    EXPECT_EQ(Setting("SiteName"), "Bay");
    EXPECT_EQ(Setting("SiteListIndex"), "2");
    EXPECT_EQ(Setting("SiteDbIndex"), std::to_string(bay));
    EXPECT_EQ(Setting("Latitude"), "S 33 00 00.0");
    EXPECT_EQ(Setting("Longitude"), "W 122 10 05.5");
    EXPECT_EQ(Setting("Elevation"), "-3");
    EXPECT_EQ(driver->sites.g_SiteDbIndex(), bay);
    EXPECT_EQ(driver->handBox.txtSiteName.Text(), "Bay") << "the hand box is filled anew";
}

TEST_F(SetupSiteTest, Cancel_KeepsWhatTheButtonsStored_AndPutsTheCurrentSiteBack) {
    const std::string before = Setting("SiteDbIndex");
    Open([&] {
        Form().txtElevation.Text("5");
        Form().btnSaveSiteInfo.FireClick();
        Form().cbxSiteList.ListIndex(2);
    });
    EXPECT_EQ(driver->sites.g_SiteDbIndex(), hill);
    EXPECT_EQ(Setting("SiteDbIndex"), before);
    EXPECT_EQ(Named("Hill")->ElevationMeters, 5.0);
    Open([&] { EXPECT_EQ(Form().cbxSiteList.Text(), "Hill"); });
}

TEST_F(SetupSiteTest, SiteThatAClientChoosesMeanwhile_IsNotTakenForTheShownOne) {
    Open([&] {
        Form().txtElevation.Text("5");
        driver->sites.g_SiteDbIndex(bay);
        Form().btnSaveSiteInfo.FireClick();
        EXPECT_EQ(Form().txtSiteName.Text(), "Hill");
        driver->sites.g_SiteDbIndex(bay);
    });
    EXPECT_EQ(Named("Bay")->ElevationMeters, -3.0);
    EXPECT_EQ(Named("Hill")->ElevationMeters, 5.0);
    EXPECT_EQ(driver->sites.g_SiteDbIndex(), bay) << "Cancel leaves the client's choice";
    driver->sites.g_SiteDbIndex(hill);
    EXPECT_TRUE(OpenAndAccept([&] { driver->sites.g_SiteDbIndex(bay); }));
    EXPECT_EQ(Setting("SiteName"), "Hill");
    EXPECT_EQ(Setting("SiteDbIndex"), std::to_string(hill)) << "OK takes what is shown";
}

TEST_F(SetupSiteTest, SelectionOfASiteThatHasGoneMeanwhile_ShowsNone) {
    Open([&] {
        driver->persist.database()->DeleteSite(bay);
        driver->sites.GetAllSites();
        Form().cbxSiteList.ListIndex(2);
        EXPECT_EQ(Form().txtLatDeg.Text(), "");
        ExpectEdited(false);
    });
}

TEST_F(SetupSiteTest, WithoutACurrentSite_TheStoredPositionIsShown) {
    driver->sites.g_SiteDbIndex(0);
    Open([&] {
        EXPECT_EQ(Form().cbxSiteList.ListIndex(), -1);
        EXPECT_EQ(Fields(), (Texts{"Default", "N", "", "", "", "E", "", "", "", "0"}));
    });
    for (const auto& [key, text] :
         SettingTexts{{"SiteName", "Old"}, {"Latitude", "S 1 2 3"}, {"Longitude", "W 4 5 6"}, {"Elevation", "7"}}) {
        driver->persist.WriteIniValue(key, text);
    }
    Open([&] {
        EXPECT_EQ(Fields(), (Texts{"Old", "S", "1", "2", "3", "W", "4", "5", "6", "7"}));
        ExpectEdited(false);
        Form().txtElevation.Text("8");
        Form().btnSaveSiteInfo.FireClick();
        EXPECT_EQ(Form().cbxSiteList.Text(), "Old") << "it becomes a site";
    });
}

TEST_F(SetupSiteTest, PositionThatCannotBeRead_LeavesTheFieldsEmpty) {
    ExpectSwallow("frmInitialSetup");
    driver->sites.g_Sites()[2]->Latitude = "north";
    Open([&] { EXPECT_EQ(Fields(), (Texts{"Hill", "N", "", "", "", "E", "", "", "", "1200.5"})); });
}

}  // namespace
}  // namespace kestrane
