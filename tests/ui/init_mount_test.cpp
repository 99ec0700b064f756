#include "ui/init_mount.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/driver_fixture.h"
#include "support/onlooker.h"

namespace kestrane {
namespace {

/// The dialog that initializes the mount, as a person uses it.
class InitMountTest : public DriverFixture {
protected:
    void TearDown() override {
        timer_.reset();
        telescope_ = {};
        DriverFixture::TearDown();
    }
    frmInitMount& Form() { return driver->initMount; }
    std::string Setting(std::string_view key) { return driver->persist.ReadIniValue(key, "no such setting"); }

    /// What the dialog gives when a person does this in it, and then presses a button.
    std::optional<std::string> Ask(const std::function<void()>& does, Button frmInitMount::*press) {
        Form().Attach(view_);
        Person([this, does, press] {
            does();
            (Form().*press).FireClick();
        });
        const std::optional<std::string> chosen = driver->initMountWindow.Ask();
        Form().Detach(view_);
        EXPECT_FALSE(Form().Loaded());
        return chosen;
    }
    std::optional<std::string> Accepted(const std::function<void()>& does = [] {}) {
        return Ask(does, &frmInitMount::btnOK);
    }
    /// Does it a second from now.
    void Person(std::function<void()> does) {
        timer_ = machine.pump.CreateTimer([this, does = std::move(does)] {
            timer_->SetEnabled(false);
            does();
        });
        timer_->SetInterval(1'000);
        timer_->SetEnabled(true);
    }
    /// All boxes with the value of theirs.
    void Tick(bool checked) {
        for (CheckBox frmInitMount::*const box : kBoxes) {
            (Form().*box).Checked(checked);
        }
    }
    /// The id of the new site.
    std::int16_t AddSite(const std::string& name) {
        Site site;
        site.Name = name;
        site.Longitude = "E 10 30 00.0";
        site.Latitude = "N 47 15 30.5";
        site.ElevationMeters = 812.0;
        bool isNew = true;
        driver->persist.database()->SetSite(site, isNew, SiteNames::AsTheyAre);
        driver->sites.GetAllSites();
        return driver->sites.g_Sites().back()->id;
    }
    void MakeCurrent(std::int16_t id) { driver->sites.g_SiteDbIndex(id); }
    void EndTheDriver() {
        telescope_ = {};
        driver.reset();
        machine.serialPorts.Disconnect(1);
    }
    void Connect() {
        telescope_ = ConnectedTelescope();
        machine.AdvanceTime(3'000);
        driver->poll.SetPolling(false);
    }

    static constexpr CheckBox frmInitMount::*kBoxes[] = {&frmInitMount::chkSyncMountToPCTime,
                                                         &frmInitMount::chkUnpark,
                                                         &frmInitMount::chkSetLongLat,
                                                         &frmInitMount::chkSetTrackingRate,
                                                         &frmInitMount::chkSetSlewRate,
                                                         &frmInitMount::chkSetGuiderRate,
                                                         &frmInitMount::chkSetPEM,
                                                         &frmInitMount::chkSetRABacklash,
                                                         &frmInitMount::chkSetDecBacklash};

    Onlooker view_;

private:
    std::unique_ptr<PumpTimer> timer_;
    TelescopeObject telescope_;
};

TEST_F(InitMountTest, Captions) {
    Start();
    const std::pair<std::string, std::string> rows[] = {
        {Form().lblMessage.Text(),
         "You can initialize and optionally unpark your mount with this dialog. Do not unpark your mount if it has "
         "already been unparked."},
        {Form().btnOK.Text(), "&Initialize"},
        {Form().btnCancel.Text(), "&Cancel"},
        {Form().chkSyncMountToPCTime.Text(), "Sync Mount To PC Time"},
        {Form().chkUnpark.Text(), "Unpark:"},
        {Form().chkSetLongLat.Text(), "Set Longitude/Latitude:"},
        {Form().chkSetTrackingRate.Text(), "Set Tracking Rate"},
        {Form().chkSetSlewRate.Text(), "Set Slew Rate"},
        {Form().chkSetGuiderRate.Text(), "Set PulseGuide/Guide Rate"},
        {Form().chkSetPEM.Text(), "Set PEM"},
        {Form().chkSetRABacklash.Text(), "Set RA Backlash"},
        {Form().chkSetDecBacklash.Text(), "Set Dec Backlash"},
        {Form().chkUseHorizonCheck.Text(), "Use Horizon Check"},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(text, expected);
    }
}

TEST_F(InitMountTest, Opens_WithTheSettings_AndNeverWithTheWishToUnpark) {
    Seed({{"txtUserParkAlt", "12.345"}, {"txtUserParkAz", "7"}, {"cbxUnparkFrom", "6"}, {"chkSetPEM", "0"}});
    Connect();
    const std::int16_t site = AddSite("Summit");
    MakeCurrent(site);
    Accepted([&] { Form().chkUnpark.Checked(true); });
    Ask(
        [&] {
            EXPECT_FALSE(Form().chkUnpark.Checked());
            EXPECT_TRUE(Form().chkSyncMountToPCTime.Checked());
            EXPECT_TRUE(Form().chkSetLongLat.Checked());
            EXPECT_FALSE(Form().chkSetPEM.Checked());
            EXPECT_EQ(Form().cbxInitTrackingRate.ListItems(),
                      (std::vector<std::string>{"Lunar", "Solar", "Sidereal", "Zero"}));
            EXPECT_EQ(Form().cbxInitTrackingRate.Text(), "Sidereal");
            EXPECT_EQ(Form().cbxInitPEM.ListItems(), (std::vector<std::string>{"Disable PEM", "Enable PEM"}));
            EXPECT_EQ(Form().cbxUnparkFrom.ListItems(),
                      (std::vector<std::string>{"Last Parked", "Park 1", "Park 2", "Park 3", "Park 4", "Park 5",
                                                "Alt/Az  ( 12.35 | 7.00 )", "Don't Unpark"}));
            EXPECT_EQ(Form().cbxUnparkFrom.ListIndex(), 6);
            EXPECT_EQ(Form().cbxSiteList.Text(), "Summit  ( N 47 15 30.5 | E 10 30 00.0 )");
            EXPECT_EQ(Form().txtCustomSlewRate.Text(), "600");
            EXPECT_EQ(Form().txtInitRaBacklash.Text(), "0");
            EXPECT_EQ(Form().txtInitRaBacklash.ToolTip(), "Range is 0-59 arc-seconds");
            EXPECT_EQ(Form().txtInitDecBacklash.ToolTip(), "Range is 0-59 arc-seconds");
            EXPECT_EQ(Form().cbxInitSlewRate.ListItems(), driver->handBox.cbxInitSlewRate.ListItems());
            EXPECT_EQ(Form().cbxInitGuideRate.ListIndex(), 2);
        },
        &frmInitMount::btnCancel);
}

TEST_F(InitMountTest, EachInput_IsEnabledOnlyWhileItsBoxIsChecked) {
    Seed({{"chkSetPEM", "0"}});
    Connect();
    Accepted([&] {
        const std::pair<CheckBox*, std::vector<VisibleControl*>> rows[] = {
            {&Form().chkUnpark, {&Form().cbxUnparkFrom}},
            {&Form().chkSetLongLat, {&Form().cbxSiteList}},
            {&Form().chkSetTrackingRate, {&Form().cbxInitTrackingRate}},
            {&Form().chkSetSlewRate, {&Form().cbxInitSlewRate, &Form().txtCustomSlewRate}},
            {&Form().chkSetGuiderRate, {&Form().cbxInitGuideRate}},
            {&Form().chkSetPEM, {&Form().cbxInitPEM}},
            {&Form().chkSetRABacklash, {&Form().txtInitRaBacklash}},
            {&Form().chkSetDecBacklash, {&Form().txtInitDecBacklash}},
        };
        for (const auto& [box, inputs] : rows) {
            for (VisibleControl* const input : inputs) {
                SCOPED_TRACE(input->Name());
                EXPECT_EQ(input->Enabled(), box->Checked()) << "at the opening";
                for (const bool checked : {true, false, true}) {
                    box->Checked(checked);
                    EXPECT_EQ(input->Enabled(), checked);
                }
            }
        }
    });
}

TEST_F(InitMountTest, CustomRate_ShowsForItsEntryOnly_UnderTheBoundOfTheModel) {
    for (const auto& [model, label] : {std::pair{"5", "Slew Rate (1-900):"}, std::pair{"2", "Slew Rate (1-1200):"}}) {
        Seed({{"MountType", model}});
        BuildMount("S");
        Connect();
        Accepted([&, label = label] {
            EXPECT_EQ(Form().lblCustomSlew.Text(), label);
            const auto last = static_cast<std::int32_t>(Form().cbxInitSlewRate.ListItems().size()) - 1;
            for (std::int32_t index = 0; index <= last; ++index) {
                Form().cbxInitSlewRate.ListIndex(index);
                EXPECT_EQ(Form().txtCustomSlewRate.Visible(), Form().cbxInitSlewRate.Text() == "Custom");
                EXPECT_EQ(Form().lblCustomSlew.Visible(), Form().cbxInitSlewRate.Text() == "Custom");
            }
            EXPECT_EQ(Form().cbxInitSlewRate.Text(), "Custom");
        });
        EndTheDriver();
    }
}

struct ItemRow {
    const char* name;
    CheckBox frmInitMount::*box;
    std::function<void(frmInitMount& form)> choose;
    const char* item;
};

class InitMountItem : public InitMountTest, public testing::WithParamInterface<ItemRow> {};

TEST_P(InitMountItem, OfABox_IsAddedWhileItIsChecked) {
    Connect();
    MakeCurrent(AddSite("Summit"));
    EXPECT_EQ(Accepted([&] {
                  Tick(false);
                  (Form().*GetParam().box).Checked(true);
                  GetParam().choose(Form());
              }),
              GetParam().item);
}

INSTANTIATE_TEST_SUITE_P(
    Items, InitMountItem,
    testing::Values(ItemRow{"Time", &frmInitMount::chkSyncMountToPCTime, [](frmInitMount&) {}, "SyncTime"},
                    ItemRow{"Unpark", &frmInitMount::chkUnpark,
                            [](frmInitMount& form) { form.cbxUnparkFrom.ListIndex(4); }, "Unpark=4"},
                    ItemRow{"DontUnpark", &frmInitMount::chkUnpark,
                            [](frmInitMount& form) { form.cbxUnparkFrom.ListIndex(7); }, "Unpark=7"},
                    ItemRow{"Site", &frmInitMount::chkSetLongLat, [](frmInitMount&) {}, "Site=Summit"},
                    ItemRow{"TrackingRate", &frmInitMount::chkSetTrackingRate,
                            [](frmInitMount& form) { form.cbxInitTrackingRate.ListIndex(3); }, "TrackingRate=3"},
                    ItemRow{"SlewRate", &frmInitMount::chkSetSlewRate,
                            [](frmInitMount& form) { form.cbxInitSlewRate.ListIndex(1); }, "SlewRate=1"},
                    ItemRow{"CustomSlewRate", &frmInitMount::chkSetSlewRate,
                            [](frmInitMount& form) {
                                form.cbxInitSlewRate.ListIndex(3);
                                form.txtCustomSlewRate.Text("850,5");
                            },
                            "CustomSlewRate=850.5"},
                    ItemRow{"GuideRate", &frmInitMount::chkSetGuiderRate,
                            [](frmInitMount& form) { form.cbxInitGuideRate.ListIndex(0); }, "GuideRate=0"},
                    ItemRow{"Pem", &frmInitMount::chkSetPEM, [](frmInitMount& form) { form.cbxInitPEM.ListIndex(1); },
                            "PEM=1"},
                    ItemRow{"RaBacklash", &frmInitMount::chkSetRABacklash,
                            [](frmInitMount& form) { form.txtInitRaBacklash.Text("3,5"); }, "RaBacklash=3.5"},
                    ItemRow{"DecBacklash", &frmInitMount::chkSetDecBacklash,
                            [](frmInitMount& form) { form.txtInitDecBacklash.Text("12"); }, "DecBacklash=12"}),
    [](const auto& row) { return row.param.name; });

TEST_F(InitMountTest, AllBoxes_GiveTheirItemsInOrder) {
    Connect();
    MakeCurrent(AddSite("Summit"));
    EXPECT_EQ(Accepted([&] { Tick(true); }),
              "SyncTime,Unpark=0,Site=Summit,TrackingRate=2,SlewRate=2,GuideRate=2,PEM=0,RaBacklash=0,DecBacklash=0");
}

TEST_F(InitMountTest, WithAllBoxesCleared_TheStringIsEmpty_AndOkCountsAsPressed) {
    Connect();
    EXPECT_EQ(Accepted([&] { Tick(false); }), "");
    EXPECT_TRUE(Form().UserPressedOK);
}

TEST_F(InitMountTest, WithoutACurrentSite_NoSiteIsAdded) {
    Connect();
    MakeCurrent(0);
    EXPECT_EQ(Accepted([&] {
                  Tick(false);
                  Form().chkSetLongLat.Checked(true);
                  EXPECT_EQ(Form().cbxSiteList.ListIndex(), -1);
              }),
              "");
}

TEST_F(InitMountTest, CurrentSiteThatIsDeletedWhileTheWindowIsOpen_IsNotAdded) {
    Connect();
    MakeCurrent(AddSite("Hill"));
    EXPECT_EQ(Accepted([&] {
                  Tick(false);
                  Form().chkSetLongLat.Checked(true);
                  driver->persist.database()->DeleteSite(driver->sites.g_SiteDbIndex());
                  driver->sites.GetAllSites();
              }),
              "");
}

/// "A,Unpark=5" would unpark the mount.
TEST_F(InitMountTest, SiteThatTheStringCannotHold_IsLeftOut) {
    Connect();
    MakeCurrent(AddSite("A,Unpark=5"));
    EXPECT_EQ(Accepted([&] {
                  Tick(false);
                  Form().chkSetLongLat.Checked(true);
              }),
              "");
    EXPECT_TRUE(LoggedAs("frmInitMount", 1,
                         "The site is not sent, since its name has a comma or an equals sign: 'A,Unpark=5'"));
}

TEST_F(InitMountTest, HorizonCheck_ReachesNeitherTheStringNorASetting) {
    Connect();
    EXPECT_EQ(Accepted([&] {
                  Tick(false);
                  Form().chkUseHorizonCheck.Checked(true);
              }),
              "");
    EXPECT_EQ(Setting("chkUseHorizonCheck"), "no such setting");
}

TEST_F(InitMountTest, Choices_AreKeptAtOk_ShownByTheHandBox_AndNotAtCancel) {
    Connect();
    MakeCurrent(AddSite("Valley"));
    const std::int16_t summit = AddSite("Summit");
    const std::string valley = std::to_string(driver->sites.g_SiteDbIndex());
    driver->persist.Write(setting::SiteDbIndex, valley);
    const auto choose = [&] {
        Tick(false);
        Form().cbxInitTrackingRate.ListIndex(0);
        Form().cbxUnparkFrom.ListIndex(5);
        Form().cbxInitSlewRate.ListIndex(1);
        Form().cbxInitGuideRate.ListIndex(1);
        Form().cbxInitPEM.ListIndex(1);
        Form().cbxSiteList.ListIndex(static_cast<std::int32_t>(Form().cbxSiteList.ListItems().size()) - 1);
        Form().txtCustomSlewRate.Text("800");
        Form().txtInitRaBacklash.Text("3,5");
        Form().txtInitDecBacklash.Text("4");
    };
    struct Row {
        const char* key;
        std::string before;
        std::string after;
    };
    const Row rows[] = {
        {"chkSyncMountToPCTime", "1", "0"},
        {"chkSetLongLat", "1", "0"},
        {"chkSetTrackingRate", "1", "0"},
        {"chkSetSlewRate", "1", "0"},
        {"chkSetGuiderRate", "1", "0"},
        {"chkSetPEM", "1", "0"},
        {"chkSetRABacklash", "1", "0"},
        {"chkSetDecBacklash", "1", "0"},
        {"cbxInitTrackingRate", "2", "0"},
        {"cbxUnparkFrom", "0", "5"},
        {"cbxUnparkFromText", "", "Park 5"},
        {"cbxInitSlewRate", "2", "1"},
        {"cbxInitGuideRate", "2", "1"},
        {"cbxInitPEM", "0", "1"},
        {"SiteDbIndex", valley, std::to_string(summit)},
        {"txtCustomSlewRate", "600", "800"},
        {"txtInitRaBacklash", "0", "3,5"},
        {"txtInitDecBacklash", "0", "4"},
    };
    Ask(choose, &frmInitMount::btnCancel);
    for (const Row& row : rows) {
        EXPECT_EQ(Setting(row.key), row.before) << row.key;
    }
    EXPECT_EQ(driver->sites.CurrentSiteName(), "Valley");
    Accepted(choose);
    for (const Row& row : rows) {
        EXPECT_EQ(Setting(row.key), row.after) << row.key;
    }
    EXPECT_EQ(driver->sites.CurrentSiteName(), "Summit");
    EXPECT_EQ(driver->state.g_dSiteElevation, 812.0);
    EXPECT_EQ(Setting("Elevation"), "812");
    EXPECT_EQ(driver->handBox.cbxUnparkFrom.Text(), "Park 5");
    EXPECT_EQ(driver->handBox.cbxInitGuideRate.ListIndex(), 1);
    EXPECT_EQ(driver->handBox.txtInitRaBacklash.Text(), "3,5");
    EXPECT_EQ(driver->handBox.lblSiteTag.Text(), "Summit");
}

TEST_F(InitMountTest, Nothing_IsChosen_WithoutOk) {
    Connect();
    EXPECT_EQ(Ask([] {}, &frmInitMount::btnCancel), std::nullopt);
    EXPECT_EQ(driver->initMountWindow.Ask(), std::nullopt) << "nobody can see it";
    EXPECT_EQ(Ask(
                  [&] {
                      Form().btnCancel.FireClick();
                      Form().btnOK.FireClick();
                  },
                  &frmInitMount::btnOK),
              std::nullopt)
        << "too late";
    EXPECT_EQ(Ask([&] { EXPECT_EQ(driver->initMountWindow.Ask(), std::nullopt); }, &frmInitMount::btnOK).has_value(),
              true);
}

TEST_F(InitMountTest, LastViewThatLeaves_ChoosesNothing) {
    Connect();
    Form().Attach(view_);
    machine.pump.Post(CallKind::Brief, [this] {
        EXPECT_TRUE(Form().Visible());
        Form().txtCustomSlewRate.Text("77");
        Form().Detach(view_);
    });
    EXPECT_EQ(driver->initMountWindow.Ask(), std::nullopt);
    EXPECT_FALSE(Form().Loaded());
    EXPECT_EQ(Setting("txtCustomSlewRate"), "600");
    EXPECT_TRUE(Accepted().has_value()) << "it opens again";
}

// --- the button

class InitNowTest : public InitMountTest {
protected:
    /// What the mount gets when a person presses the button and answers.
    std::vector<std::string> Sent(const std::function<void()>& choose, Button frmInitMount::*press) {
        Form().Attach(view_);
        std::vector<std::string> sent = SentBy([&] {
            driver->handBox.btnInitNow.FireClick();
            Person([this, choose, press] {
                EXPECT_TRUE(Form().Visible());
                Tick(false);
                choose();
                (Form().*press).FireClick();
            });
            machine.AdvanceTime(5'000);
        });
        Form().Detach(view_);
        return sent;
    }
    std::vector<std::string> WithoutQuestions(std::vector<std::string> sent) {
        std::erase_if(sent, [](const std::string& text) { return text.starts_with('G') || text == "pS"; });
        return sent;
    }
};

TEST_F(InitNowTest, SendsWhatWasChosen_AsTheVerbDoes) {
    Connect();
    const auto choose = [&] {
        Form().chkSetRABacklash.Checked(true);
        Form().txtInitRaBacklash.Text("3,5");
    };
    const std::vector<std::string> sent = WithoutQuestions(Sent(choose, &frmInitMount::btnOK));
    EXPECT_NE(std::ranges::find(sent, "Br0*00:03.5"), sent.end());
    EXPECT_EQ(std::ranges::find(sent, "Bd0*00:00.0"), sent.end());
    EXPECT_TRUE(LoggedAs("UI_INIT", 0, "RaBacklash=3.5"));
    EXPECT_TRUE(Logged("RAW,InitMount,RaBacklash=3.5"));
}

TEST_F(InitNowTest, SendsNothing_ForAnEmptyStringOrCancel) {
    Connect();
    const auto one = [&] { Form().chkSetPEM.Checked(true); };
    EXPECT_EQ(WithoutQuestions(Sent([] {}, &frmInitMount::btnOK)), std::vector<std::string>{});
    EXPECT_EQ(WithoutQuestions(Sent(one, &frmInitMount::btnCancel)), std::vector<std::string>{});
    EXPECT_FALSE(Logged("RAW,InitMount"));
}

TEST_F(InitNowTest, StopRightAfterTheAnswer_KeepsTheMountAsItIs) {
    Connect();
    Form().Attach(view_);
    driver->handBox.btnInitNow.FireClick();
    Person([this] {
        Form().chkSetTrackingRate.Checked(true);
        Form().btnOK.FireClick();
        driver->statusPanel.AskToStop();
    });
    machine.AdvanceTime(5'000);
    Form().Detach(view_);
    EXPECT_FALSE(Logged("RAW,InitMount"));
    EXPECT_TRUE(Logged("InitMount() does not begin: it was stopped before it could"));
}

TEST_F(InitNowTest, ADoublePress_AsksOnce) {
    Connect();
    Form().Attach(view_);
    driver->handBox.btnInitNow.FireClick();
    driver->handBox.btnInitNow.FireClick();
    Person([this] { Form().btnCancel.FireClick(); });
    machine.AdvanceTime(1'500);
    EXPECT_FALSE(Form().Visible());
    Form().Detach(view_);
}

}  // namespace
}  // namespace kestrane
