#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

class SetupWatcher final : public FormView {
public:
    void Changed(Form& form, std::string_view control, Property property) override {
        openings += control.empty() && property == Property::Visible && form.Visible() ? 1 : 0;
    }
    int openings = 0;
};

/// The setup window of the focuser, as a person uses it.
class FocuserSetupTest : public DriverFixture {
protected:
    void TearDown() override {
        timer_.reset();
        DriverFixture::TearDown();
    }
    frmSetupFocuser& Window() { return driver->setupFocuser; }
    std::string Setting(std::string_view key) { return driver->persist.ReadIniValue(key, "no such setting"); }
    std::string Shown() { return machine.messageBoxes.shown.empty() ? "" : machine.messageBoxes.shown.back().text; }
    /// Opens the window; a person does this in it a second later, and must close it.
    void WithPerson(const std::function<void()>& does) {
        if (!driver) {
            Start();
        }
        const FocuserObject focuser = driver->CreateFocuser();
        const FocuserObject other = driver->CreateFocuser();
        Window().Attach(view_);
        timer_ = machine.pump.CreateTimer([this, does] {
            timer_->SetEnabled(false);
            does();
        });
        timer_->SetInterval(1'000);
        timer_->SetEnabled(true);
        focuser->SetupDialog();
        Window().Detach(view_);
        EXPECT_FALSE(Window().Loaded());
        driver->state.g_nFocuserObjects = 9;  // the process goes on after the release of the objects
    }
    void Close() { Window().Hide(); }

private:
    SetupWatcher view_;
    std::unique_ptr<PumpTimer> timer_;
};

TEST_F(FocuserSetupTest, EntryOfTheTrayMenu_OpensTheWindowOnce_AndItsValuesHoldAtOnce) {
    SetupWatcher view;
    Start();
    Window().Attach(view);
    EXPECT_EQ(driver->handBox.mPopFocuser.Text(), "Setup &Focuser...");
    int times = 0;
    std::unique_ptr<PumpTimer> person;
    person = machine.pump.CreateTimer([&] {
        if (++times == 1) {
            driver->handBox.mPopFocuser.FireClick();
        } else {
            Window().txtBacklashMSecs.Text("170");
            Window().btnOK.FireClick();
            person->SetEnabled(false);
        }
    });
    person->SetInterval(1'000);
    person->SetEnabled(true);
    driver->handBox.mPopFocuser.FireClick();
    machine.AdvanceTime(5'000);
    EXPECT_EQ(view.openings, 1);
    EXPECT_FALSE(Window().Loaded());
    EXPECT_EQ(driver->state.g_sFocusBacklash, "170");
    Window().Detach(view);
}

TEST_F(FocuserSetupTest, ShowsTheSettings) {
    Seed({{"Port", "COM4"},
          {"Focus.radFocusFast", "False"},
          {"Focus.radFocusFinalDirectionIn", "True"},
          {"Focus.txtBacklashMSecs", "70"},
          {"Focus.txtStepMultiplierMSecs", "3"},
          {"Focus.txtMaxIncrementMSecs", "250"},
          {"Focus.chkReverseFocusDirection", "1"}});
    WithPerson([&] {
        EXPECT_EQ(Window().lblVersion.Text(), "ASCOM V2 Focuser Driver - v5.50.03");
        EXPECT_EQ(Window().cbxPort.ListItems(), (std::vector<std::string>{"COM1", "COM4"}));
        EXPECT_EQ(Window().cbxPort.Text(), "COM4") << "also without a device";
        EXPECT_TRUE(Window().cbxPort.Enabled());
        EXPECT_TRUE(Window().btnCheckPort.Enabled());
        EXPECT_TRUE(Window().radFocusSlow.Checked());
        EXPECT_TRUE(Window().radFocusFinalDirectionIn.Checked());
        EXPECT_EQ(Window().txtBacklashMSecs.Text(), "70");
        EXPECT_EQ(Window().txtStepMultiplierMSecs.Text(), "3");
        EXPECT_EQ(Window().txtMaxIncrementMSecs.Text(), "250");
        EXPECT_TRUE(Window().chkReverseFocusDirection.Checked());
        Close();
    });
    EXPECT_TRUE(LoggedAs("FOCUSER", 0, "SetupDialog()"));
}

struct DefaultRow {
    std::string name;
    SettingTexts settings;
    std::string multiplier;
};

class FocuserSetupDefaults : public FocuserSetupTest, public testing::WithParamInterface<DefaultRow> {};

TEST_P(FocuserSetupDefaults, AreShown) {
    Seed(GetParam().settings);
    WithPerson([&] {
        EXPECT_EQ(Window().cbxPort.Text(), "COM1");
        EXPECT_TRUE(Window().radFocusFast.Checked());
        EXPECT_TRUE(Window().radFocusFinalDirectionOut.Checked());
        EXPECT_EQ(Window().txtBacklashMSecs.Text(), "100");
        EXPECT_EQ(Window().txtStepMultiplierMSecs.Text(), GetParam().multiplier);
        EXPECT_EQ(Window().txtMaxIncrementMSecs.Text(), "5000");
        EXPECT_FALSE(Window().chkReverseFocusDirection.Checked());
        Close();
    });
}

INSTANTIATE_TEST_SUITE_P(Settings, FocuserSetupDefaults,
                         testing::Values(DefaultRow{"NeverSet", {}, "1"},
                                         DefaultRow{"Empty",
                                                    {{"Port", ""},
                                                     {"Focus.radFocusFast", ""},
                                                     {"Focus.radFocusFinalDirectionIn", ""},
                                                     {"Focus.txtBacklashMSecs", ""},
                                                     {"Focus.txtStepMultiplierMSecs", ""},
                                                     {"Focus.txtMaxIncrementMSecs", ""},
                                                     {"Focus.chkReverseFocusDirection", ""}},
                                                    "10"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(FocuserSetupTest, OK_StoresAllThatItShows_Unchecked_AndTheMotorTakesItUp) {
    Seed({{"Port", "COM4"}});
    WithPerson([&] {
        Window().cbxPort.ListIndex(0);
        Window().radFocusSlow.Checked(true);
        Window().radFocusFinalDirectionIn.Checked(true);
        Window().txtBacklashMSecs.Text("70");
        Window().txtStepMultiplierMSecs.Text("rubbish");
        Window().txtMaxIncrementMSecs.Text("250");
        Window().chkReverseFocusDirection.Checked(true);
        EXPECT_EQ(Setting("Focus.txtBacklashMSecs"), "100") << "nothing is stored before OK";
        Window().btnOK.FireClick();
    });
    EXPECT_EQ(Setting("Port"), "COM1");
    EXPECT_EQ(Setting("Focus.radFocusFast"), "False");
    EXPECT_EQ(Setting("Focus.radFocusFinalDirectionIn"), "True");
    EXPECT_EQ(Setting("Focus.txtBacklashMSecs"), "70");
    EXPECT_EQ(Setting("Focus.txtStepMultiplierMSecs"), "rubbish");
    EXPECT_EQ(Setting("Focus.txtMaxIncrementMSecs"), "250");
    EXPECT_EQ(Setting("Focus.chkReverseFocusDirection"), "1");
    const DriverState& state = driver->state;
    EXPECT_FALSE(state.g_bFocusFast);
    EXPECT_FALSE(state.g_bFocusFinalOut);
    EXPECT_EQ(state.g_sFocusBacklash, "70");
    EXPECT_EQ(state.g_nFocusStepMultiplier, 0);
    EXPECT_EQ(state.g_nFocusMaxIncrement, 250);
    EXPECT_EQ(state.g_sFocusInCommand, "F+");
}

TEST_F(FocuserSetupTest, ClosedWithoutOK_StoresNothing_AndTheNextOpeningShowsTheSettingsAgain) {
    WithPerson([&] {
        Window().txtBacklashMSecs.Text("70");
        Window().radFocusSlow.Checked(true);
        Close();
    });
    EXPECT_EQ(Setting("Focus.txtBacklashMSecs"), "100");
    EXPECT_EQ(Setting("Focus.radFocusFast"), "True");
    WithPerson([&] {
        EXPECT_EQ(Window().txtBacklashMSecs.Text(), "100");
        EXPECT_TRUE(Window().radFocusFast.Checked());
        Close();
    });
}

TEST_F(FocuserSetupTest, CloseOfTheWindow_ReloadsTheValuesInAnyCase) {
    WithPerson([&] {
        driver->persist.WriteIniValue("Focus.txtMaxIncrementMSecs", "123");
        Close();
    });
    EXPECT_EQ(driver->state.g_nFocusMaxIncrement, 123);
}

TEST_F(FocuserSetupTest, WithoutAView_ReturnsAtOnce_WithAWarning) {
    Start();
    const FocuserObject focuser = driver->CreateFocuser();
    focuser->SetupDialog();
    EXPECT_FALSE(Window().Loaded());
    EXPECT_TRUE(LoggedAs("frmSetupFocuser", 1, "No window can be shown: the question counts as cancelled"));
}

TEST_F(FocuserSetupTest, PortAndItsCheck_AreOutOfReachWhileTheLinkIsOpen) {
    const TelescopeObject telescope = ConnectedTelescope();
    WithPerson([&] {
        EXPECT_FALSE(Window().cbxPort.Enabled());
        EXPECT_FALSE(Window().btnCheckPort.Enabled());
        Window().btnCheckPort.FireClick();
        Close();
    });
    EXPECT_EQ(machine.messageBoxes.Texts(), std::vector<std::string>{});
    driver->state.g_nScopeObjects = 9;
}

TEST_F(FocuserSetupTest, PortAndItsCheck_FollowTheLink_WhileTheWindowIsOpen) {
    WithPerson([&] {
        driver->link->Port(1);
        for (const bool connected : {true, false, true}) {
            driver->link->Connected(connected);
            driver->waits.WaitForMilliseconds(600);
            EXPECT_EQ(Window().cbxPort.Enabled(), !connected);
            EXPECT_EQ(Window().btnCheckPort.Enabled(), !connected);
        }
        driver->link->Connected(false);
        Close();
    });
}

TEST_F(FocuserSetupTest, TextThatComesAfterTheClose_IsNotShownTheNextTime) {
    WithPerson([&] { Close(); });
    Window().txtBacklashMSecs.Text("70");
    WithPerson([&] {
        EXPECT_EQ(Window().txtBacklashMSecs.Text(), "100");
        Close();
    });
}

TEST_F(FocuserSetupTest, OK_ThatComesAfterTheClose_StoresNothing) {
    WithPerson([&] {
        Window().txtBacklashMSecs.Text("70");
        Close();
        Window().btnOK.FireClick();
    });
    EXPECT_EQ(Setting("Focus.txtBacklashMSecs"), "100");
}

TEST_F(FocuserSetupTest, CheckOfAPort_TellsTheFirmware) {
    Seed({{"Port", "COM4"}, {"Timeout", "700"}});
    WithPerson([&] {
        Window().cbxPort.ListIndex(0);
        Window().btnCheckPort.FireClick();
        EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 700);
        EXPECT_EQ(driver->link->Port(), 1) << "the port that the window shows";
        Close();
    });
    EXPECT_EQ(Shown(), "Mount found! Firmware Rev: VKC4-P02-08");
    EXPECT_FALSE(driver->link->Connected());
    EXPECT_EQ(Setting("Port"), "COM4");
}

TEST_F(FocuserSetupTest, CheckOfAPort_WithATimeoutThatIsNone_TakesTheUsualOne) {
    Seed({{"Port", "COM1"}, {"Timeout", "soon"}});
    WithPerson([&] {
        Window().btnCheckPort.FireClick();
        EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 500);
        driver->persist.Write(setting::Timeout, "60000");
        Window().btnCheckPort.FireClick();
        EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 32'767);
        Close();
    });
}

TEST_F(FocuserSetupTest, CheckOfAPortWithoutAMount_SaysSo) {
    Seed({{"Port", "COM4"}});
    WithPerson([&] {
        Window().btnCheckPort.FireClick();
        Close();
    });
    EXPECT_EQ(Shown(), "Mount not found!");
}

TEST_F(FocuserSetupTest, CheckOfAPort_InAProcessThatReachesItsMountByAnAddress_OpensThatPort) {
    Seed({{"chkIPAddress", "1"}, {"Controller", "3"}, {"txtIpAddress", "mount.example"}, {"Port", "COM1"}});
    WithPerson([this] {
        EXPECT_EQ(SentBy([this] { Window().btnCheckPort.FireClick(); }), (std::vector<std::string>{"#", "V"}));
        Close();
    });
    EXPECT_EQ(Shown(), "Mount found! Firmware Rev: VKC4-P02-08");
    EXPECT_TRUE(driver->link->IsOverIp());
}

}  // namespace
}  // namespace kestrane
