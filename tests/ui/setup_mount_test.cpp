#include <algorithm>
#include <string>
#include <vector>

#include "setup_fixture.h"

namespace kestrane {
namespace {

class SetupMountTest : public SetupFixture {
protected:
    void Choose(const char* controller) {
        const std::vector<std::string>& items = Form().cbxController.ListItems();
        Form().cbxController.ListIndex(static_cast<std::int32_t>(std::ranges::find(items, controller) - items.begin()));
    }
    void ChooseModel(const char* model) { Form().cbxMountType.ListIndex(KsMount::FindMountListEntry(model)); }

    Onlooker view;
};

TEST_F(SetupMountTest, Opening_ShowsAllModelsAndControllers_AndThoseOfTheSettings) {
    Seed({{"MountType", "5"}, {"Controller", "3"}});
    Open([&] {
        EXPECT_EQ(
            Form().cbxMountType.ListItems(),
            (std::vector<std::string>{"Alder VTR", "Birch VTR", "Cedar VTR", "Larch VTR", "Dogwood VTR", "Kauri VTR",
                                      "Elm VTR", "Juniper VTR", "Fir VTR", "GINKGO", "Hazel", "Iroko"}));
        EXPECT_EQ(Form().cbxMountType.Text(), "Fir VTR");
        EXPECT_EQ(Form().cbxController.ListItems(),
                  (std::vector<std::string>{"VTRKC1", "VTRKC2", "VTRKC3", "VTRKC4", "VTRKC5"}));
        EXPECT_EQ(Form().cbxController.Text(), "VTRKC4");
        EXPECT_EQ(Form().lblCustomSlew.Text(), "Slew Rate (1-900):");
    });
}

TEST_F(SetupMountTest, WithoutASetting_TheDialogAsksForACedar) {
    StartOnce();
    driver->persist.TryDeleteIniValue("MountType");  // the start has read it with another default
    Open([&] { EXPECT_EQ(Form().cbxMountType.Text(), "Cedar VTR"); });
    EXPECT_EQ(Setting("MountType"), "2");
}

TEST_F(SetupMountTest, SettingThatIsNoModel_ShowsTheFirstOne) {
    for (const char* const stored : {"12", "-5", "99999", "rubbish"}) {
        Seed({{"MountType", stored}});
        driver.reset();
        Open([&] { EXPECT_EQ(Form().cbxMountType.ListIndex(), 0) << stored; });
    }
}

TEST_F(SetupMountTest, NewestController_BringsItsModel_AndTakesItAway) {
    Seed({{"MountType", "5"}, {"Controller", "3"}});
    Open([&] {
        Choose("VTRKC5");
        EXPECT_EQ(Form().cbxMountType.Text(), "Larch VTR");
        EXPECT_EQ(driver->mount.mountType, Mount_Type::LARCH);
        EXPECT_EQ(driver->mount.ControllerName, "VTRKC5");
        EXPECT_EQ(driver->state.g_sMountRateType, "3") << "the controller is applied";
        Choose("VTRKC4");
        EXPECT_EQ(Form().cbxMountType.Text(), "Cedar VTR") << "the entry above it";
        EXPECT_EQ(driver->mount.mountType, Mount_Type::CEDAR);
        EXPECT_EQ(driver->mount.ControllerName, "VTRKC4");
        EXPECT_FALSE(driver->state.g_bKingRateAvailable) << "no firmware is known";
    });
}

TEST_F(SetupMountTest, OtherControllers_LeaveAnotherModelAlone) {
    Seed({{"MountType", "5"}, {"Controller", "3"}});
    Open([&] {
        Choose("VTRKC1");
        EXPECT_EQ(Form().cbxMountType.Text(), "Fir VTR");
        EXPECT_TRUE(Form().txtInitRaBacklash.Visible());
        EXPECT_FALSE(Form().chkIPAddress.Visible());
    });
}

TEST_F(SetupMountTest, NewestControllerWithItsModel_LeavesTheModel) {
    Seed({{"MountType", "11"}, {"Controller", "3"}});
    Open([&] {
        Choose("VTRKC5");
        EXPECT_EQ(Form().cbxMountType.Text(), "Larch VTR");
    });
}

TEST_F(SetupMountTest, Model_SetsTheBoundOfTheCustomSlewRate) {
    Seed({{"MountType", "2"}});
    Open([&] {
        ChooseModel("Fir VTR");
        EXPECT_EQ(Form().lblCustomSlew.Text(), "Slew Rate (1-900):");
        EXPECT_EQ(driver->mount.mountType, Mount_Type::FIR);
        ChooseModel("Elm VTR");
        EXPECT_EQ(Form().lblCustomSlew.Text(), "Slew Rate (1-1200):");
    });
}

TEST_F(SetupMountTest, CustomSlewRate_IsShownOnlyWhileItIsChosen) {
    StartOnce();
    driver->state.g_bHasCustomRates = true;
    driver->rates.UpdateMountRates("", RebuildRates::Always);
    Open([&] {
        EXPECT_FALSE(Form().txtCustomSlewRate.Visible());
        Form().cbxInitSlewRate.ListIndex(3);
        EXPECT_TRUE(Form().txtCustomSlewRate.Visible());
        EXPECT_TRUE(Form().lblCustomSlew.Visible());
        Form().cbxInitSlewRate.ListIndex(1);
        EXPECT_FALSE(Form().txtCustomSlewRate.Visible());
        EXPECT_FALSE(Form().lblCustomSlew.Visible());
    });
}

TEST_F(SetupMountTest, BeforeTheRateTablesExist_TheListsHaveTheirDefaults) {
    Start();
    Form().Attach(view);
    const auto person = machine.pump.CreateTimer([&] {
        EXPECT_EQ(Form().cbxInitGuideRate.ListItems(), (std::vector<std::string>{"0.25x", "0.50x", "1.00x"}));
        EXPECT_EQ(Form().cbxInitSlewRate.ListItems(),
                  (std::vector<std::string>{"300x", "450x", "600x", "900x", "1200x", "Custom"}));
        Form().cbxInitSlewRate.ListIndex(5);
        EXPECT_TRUE(Form().txtCustomSlewRate.Visible());
        Form().btnCancel.FireClick();
    });
    person->SetInterval(1'000);
    person->SetEnabled(true);
    driver->setupDialog.ShowModal();
    Form().Detach(view);
}

TEST_F(SetupMountTest, OK_StoresBoth_AndTheDriverWorksWithThem) {
    Seed({{"MountType", "2"}, {"Controller", "1"}});
    EXPECT_TRUE(OpenAndAccept([&] {
        EXPECT_FALSE(driver->state.g_bControllerTakesRates);
        Choose("VTRKC5");
    }));
    EXPECT_EQ(Setting("MountType"), "11");
    EXPECT_EQ(Setting("Controller"), "4");
    EXPECT_EQ(driver->mount.mountType, Mount_Type::LARCH);
    EXPECT_EQ(driver->mount.ControllerType, Controller_Type::VTRKC5);
    EXPECT_TRUE(driver->state.g_bControllerTakesRates);
    EXPECT_EQ(driver->handBox.lblMountType.Text(), "Larch VTR") << "the hand box is filled anew";
}

TEST_F(SetupMountTest, OK_AppliesAControllerOfTheSettingsThatIsNotInUse) {
    Seed({{"Controller", "3"}});
    StartOnce();
    driver->controller.Apply(Controller_Type::VTRKC1, 0, 0);
    EXPECT_TRUE(OpenAndAccept([] {}));
    EXPECT_EQ(driver->mount.ControllerType, Controller_Type::VTRKC4);
    EXPECT_EQ(driver->mount.ControllerName, "VTRKC4");
}

TEST_F(SetupMountTest, Cancel_PutsBothBack) {
    Seed({{"MountType", "5"}, {"Controller", "3"}});
    EXPECT_FALSE(Open([&] { Choose("VTRKC5"); }));
    EXPECT_EQ(Setting("MountType"), "5");
    EXPECT_EQ(Setting("Controller"), "3");
    EXPECT_EQ(driver->mount.mountType, Mount_Type::FIR);
    EXPECT_EQ(driver->mount.ControllerType, Controller_Type::VTRKC4);
    EXPECT_EQ(driver->mount.ControllerName, "VTRKC4");
    EXPECT_EQ(driver->initMount.lblCustomSlew.Text(), "Slew Rate (1-900):");
    EXPECT_EQ(driver->state.g_sMountRateType, "");
}

struct LookRow {
    const char* rateType;
    bool looksBack;
    bool accepts;
};

TEST_F(SetupMountTest, ControllerThatWasOnlyLookedAt_LeavesNoRateTypeBehind) {
    for (const LookRow& row : {LookRow{"", false, false}, LookRow{"", true, false}, LookRow{"", true, true},
                               LookRow{"1", false, false}, LookRow{"1", true, false}, LookRow{"1", true, true}}) {
        SCOPED_TRACE(std::string(row.rateType) + (row.looksBack ? ", back" : "") + (row.accepts ? ", OK" : ""));
        Seed({{"MountType", "5"}, {"Controller", "3"}, {"MountRateType", row.rateType}});
        driver.reset();
        StartOnce();
        const std::vector<std::string> rates = driver->handBox.cbxMoveRate.ListItems();
        EXPECT_EQ(Open([&] {
                      Choose("VTRKC5");
                      EXPECT_EQ(Setting("MountRateType"), "3");
                      if (row.looksBack) {
                          Choose("VTRKC4");
                          ChooseModel("Fir VTR");
                      }
                      if (row.accepts) {
                          Form().btnOK.FireClick();
                      }
                  }),
                  row.accepts);
        EXPECT_EQ(Setting("MountRateType"), row.rateType);
        EXPECT_EQ(driver->state.g_sMountRateType, row.rateType);
        EXPECT_EQ(driver->handBox.cbxMoveRate.ListItems(), rates);
    }
}

TEST_F(SetupMountTest, OpeningAndClosing_OfAConnectedMount_ChangesNothingOfIt) {
    Seed({{"MountType", "2"}, {"Controller", "2"}});
    const TelescopeObject telescope = ConnectedTelescope();
    ASSERT_EQ(driver->mount.ControllerType, Controller_Type::VTRKC4) << "by its firmware";
    ASSERT_TRUE(driver->state.g_bKingRateAvailable);
    Open([] {});
    EXPECT_TRUE(OpenAndAccept([] {}));
    EXPECT_EQ(driver->mount.ControllerType, Controller_Type::VTRKC4);
    EXPECT_TRUE(driver->state.g_bKingRateAvailable);
    EXPECT_EQ(Setting("Controller"), "2");
}

TEST_F(SetupMountTest, ClientThatConnectsWhileTheWindowIsOpen_KeepsWhatItsMountHasTold) {
    Seed({{"MountType", "2"}, {"Controller", "2"}});
    StartOnce();
    const TelescopeObject telescope = driver->CreateTelescope();
    for (const bool accepts : {false, true}) {
        SCOPED_TRACE(accepts);
        Open([&] {
            if (!telescope->Connected()) {
                ChooseModel("Fir VTR");
                Choose("VTRKC1");
                telescope->Connected(true);
            }
            ASSERT_EQ(driver->mount.ControllerType, Controller_Type::VTRKC4) << "by its firmware";
            Choose("VTRKC2");
            ChooseModel("Elm VTR");
            if (accepts) {
                Form().btnOK.FireClick();
            }
        });
        EXPECT_EQ(driver->mount.ControllerType, Controller_Type::VTRKC4);
        EXPECT_TRUE(driver->state.g_bKingRateAvailable);
        EXPECT_EQ(driver->mount.mountType, Mount_Type::CEDAR);
    }
}

/// Such a mount reports no controller: what was only looked at must not stay.
TEST_F(SetupMountTest, ClientThatConnectsToAnOldMountWhileTheWindowIsOpen_LeavesCancelToPutTheControllerBack) {
    BuildMount("E");
    Seed({{"MountType", "2"}, {"Controller", "2"}});
    StartOnce();
    const std::string rateType = Setting("MountRateType");
    const TelescopeObject telescope = driver->CreateTelescope();
    Open([&] {
        Choose("VTRKC5");
        telescope->Connected(true);
        EXPECT_EQ(driver->mount.ControllerType, Controller_Type::VTRKC5);
    });
    EXPECT_EQ(driver->mount.ControllerType, Controller_Type::VTRKC3);
    EXPECT_EQ(Setting("MountRateType"), rateType);
}

TEST_F(SetupMountTest, ModelThatAConnectCorrectsWhileTheWindowIsOpen_IsNotUndoneByOK) {
    BuildMount("VKC5-P03-01");
    Seed({{"MountType", "2"}, {"Controller", "2"}});
    StartOnce();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_TRUE(OpenAndAccept([&] { telescope->Connected(true); }));
    EXPECT_EQ(driver->mount.mountType, Mount_Type::LARCH);
    EXPECT_EQ(Setting("MountType"), "11");
}

TEST_F(SetupMountTest, ModelThatAConnectCorrectsWhileTheWindowIsOpen_StaysAlsoWhenTheLinkClosesAgain) {
    BuildMount("VKC5-P03-01");
    for (const bool accepts : {false, true}) {
        SCOPED_TRACE(accepts);
        driver.reset();
        Seed({{"MountType", "2"}, {"Controller", "2"}});
        StartOnce();
        const TelescopeObject telescope = driver->CreateTelescope();
        Open([&] {
            telescope->Connected(true);
            driver->poll.SetPolling(false);
            driver->link->Connected(false);
            if (accepts) {
                Form().btnOK.FireClick();
            }
        });
        EXPECT_EQ(driver->mount.mountType, Mount_Type::LARCH);
        EXPECT_EQ(Setting("MountType"), "11");
    }
}

}  // namespace
}  // namespace kestrane
