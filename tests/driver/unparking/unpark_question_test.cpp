#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "driver/unparking/unparking_fixture.h"

/// The question from where to unpark, and the offer after power-on.
namespace kestrane {
namespace {

TEST_F(UnparkingTest, AskedPerson_ChoosesAnotherPosition) {
    ConnectAt(47.0);
    UnparkWatcher view;
    frmAskUnpark& form = driver->windows.askUnpark;
    form.Attach(view);
    std::string selected;
    const When answers(
        machine.pump, [&] { return form.Visible(); },
        [&] {
            selected = form.cbxAskUnparkFrom.Text();
            form.cbxAskUnparkFrom.ListIndex(2);
            form.btnOK.FireClick();
        });
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    EXPECT_TRUE(Unpark(",4").ends_with("RT2 Sa+00*00:10 Sz090*00:10 CM U"));
    EXPECT_TRUE(answers.Happened());
    EXPECT_EQ(selected, "Park 4");
    EXPECT_TRUE(LoggedAs("Telescope", 0, "Unpark Complete, 2"));
    form.Detach(view);
}

TEST_F(UnparkingTest, AskedPersonWhoCancels_LeavesTheMountWithoutTracking) {
    ConnectAt(47.0);
    Park();
    UnparkWatcher view;
    frmAskUnpark& form = driver->windows.askUnpark;
    form.Attach(view);
    const When answers(
        machine.pump, [&] { return form.Visible(); }, [&] { form.btnCancel.FireClick(); });
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    EXPECT_EQ(Unpark(",4"), "RT9 U SM0:00:00.0 SL SC");
    EXPECT_TRUE(driver->state.g_bParked);
    EXPECT_FALSE(driver->state.g_bTracking);
    EXPECT_EQ(Stored(), "Parked");
    EXPECT_TRUE(LoggedAs("Telescope", 0, "Unpark Mount, 4: cancelled"));
    form.Detach(view);
}

TEST_F(UnparkingTest, DisabledButton_AsksNobody) {
    ConnectAt(47.0);
    UnparkWatcher view;
    driver->windows.askUnpark.Attach(view);
    driver->handBox.btnUNPARK.Enabled(false);
    EXPECT_TRUE(Unpark(",4").ends_with("CM U"));
    driver->windows.askUnpark.Detach(view);
}

TEST_F(UnparkingTest, DontUnpark_AsksNobody) {
    ConnectAt(47.0);
    UnparkWatcher view;
    driver->windows.askUnpark.Attach(view);
    bool asked = false;
    const When opens(
        machine.pump, [&] { return driver->windows.askUnpark.Visible(); },
        [&] {
            asked = true;
            driver->windows.askUnpark.btnCancel.FireClick();
        });
    EXPECT_EQ(Unpark(",7"), kHead);
    EXPECT_FALSE(asked);
    driver->windows.askUnpark.Detach(view);
}

TEST_F(UnparkingTest, ButtonOfTheHandBox_AsksOnce_AndUnparks) {
    ConnectAt(47.0, {{"cbxUnparkFrom", "2"}});
    UnparkWatcher view;
    frmAskUnpark& form = driver->windows.askUnpark;
    form.Attach(view);
    bool parkWasEnabled = true;
    const When answers(
        machine.pump, [&] { return form.Visible(); },
        [&] {
            parkWasEnabled = driver->handBox.btnPark.Enabled() || driver->handBox.btnUNPARK.Enabled();
            form.btnOK.FireClick();
        });
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    EXPECT_EQ(WithoutTimes(MotionDuring([&] {
                  driver->handBox.btnUNPARK.FireClick();
                  machine.AdvanceTime(1'000);
              })),
              kHead + " Sa+00*00:10 Sz090*00:10 CM U");
    EXPECT_FALSE(parkWasEnabled);
    EXPECT_TRUE(driver->handBox.btnPark.Enabled());
    EXPECT_TRUE(driver->handBox.btnUNPARK.Enabled());
    form.Detach(view);
}

TEST_F(UnparkingTest, ButtonOfTheHandBox_UnparksNothing_WhereAStopComesAfterTheAnswer) {
    ConnectAt(47.0, {{"cbxUnparkFrom", "2"}});
    UnparkWatcher view;
    frmAskUnpark& form = driver->windows.askUnpark;
    form.Attach(view);
    const When answers(
        machine.pump, [&] { return form.Visible(); },
        [&] {
            form.btnOK.FireClick();
            driver->statusPanel.AskToStop();
        });
    const std::string sent = MotionDuring([&] {
        driver->handBox.btnUNPARK.FireClick();
        machine.AdvanceTime(1'000);
    });
    EXPECT_TRUE(answers.Happened());
    EXPECT_EQ(sent.find("CM"), std::string::npos) << sent;
    EXPECT_TRUE(Logged("UnparkMount() does not begin: it was stopped before it could"));
    EXPECT_TRUE(driver->handBox.btnUNPARK.Enabled());
    form.Detach(view);
}

/// A person who looks at the question, and answers it after a while, or after something has happened.
class OpenQuestionTest : public UnparkingTest {
protected:
    void TearDown() override {
        if (driver) {
            Form().Detach(view_);
        }
        UnparkingTest::TearDown();
    }
    frmAskUnpark& Form() { return driver->windows.askUnpark; }
    /// What is sent, but for questions, by a verb whose question is accepted after so long.
    std::string AcceptedAfter(std::int64_t ms, const std::string& verb, const std::function<void()>& meanwhile = {}) {
        Form().Attach(view_);
        const When opens(
            machine.pump, [&] { return Form().Visible(); },
            [&] {
                openedAt_ = machine.clock.Elapsed();
                if (meanwhile) {
                    meanwhile();
                }
            });
        const When accepts(
            machine.pump, [&] { return opens.Happened() && machine.clock.Elapsed() - openedAt_ >= ms; },
            [&] {
                beforeAnswer_ = Tape().All();
                Form().btnOK.FireClick();
            });
        return WithoutTimes(MotionDuring([&] { telescope->CommandString("RAW," + verb, true); }));
    }
    std::string beforeAnswer_;

private:
    UnparkWatcher view_;
    std::int64_t openedAt_ = 0;
};

TEST_F(OpenQuestionTest, ThePollGoesOnUnderIt_AlsoInAnInitialization) {
    ConnectAt(47.0, {{"cbxUnparkFrom", "4"},
                     {"cbxUnparkFromText", "Park 4"},
                     {"chkSyncMountToPCTime", "0"},
                     {"chkSetGuiderRate", "0"},
                     {"chkSetPEM", "0"},
                     {"chkSetRABacklash", "0"}});
    const std::string sent = AcceptedAfter(10'000, "InitMount");
    EXPECT_EQ(sent, "# # # U RT9 U SM0:00:00.0 SL SC # Q RT2 Sa+00*00:10 Sz180*00:10 CM Bd0*00:00.0");
    const std::string questions = beforeAnswer_.substr(beforeAnswer_.find("GG"));
    EXPECT_GE(std::ranges::count(questions, 'R'), 8) << questions;
    EXPECT_TRUE(PollRuns());
}

TEST_F(OpenQuestionTest, ThatIsCancelledInAnInitialization_LeavesTheStepsAfterIt) {
    ConnectAt(47.0);
    Park();
    const std::string sent =
        AcceptedAfter(500, "InitMount,Unpark=4,PEM=1,GuideRate=0", [&] { Form().btnCancel.FireClick(); });
    EXPECT_EQ(sent, "# # Q U # # U RT9 U SM0:00:00.0 SL SC RG0 pP");
    EXPECT_EQ(Stored(), "Parked");
    EXPECT_TRUE(PollRuns());
}

TEST_F(OpenQuestionTest, ALineThatIsLostUnderIt_LeavesTheMountParked) {
    ConnectAt(47.0);
    ExpectSwallow("*");
    Park();
    const std::string sent = AcceptedAfter(1'000, "UnparkMount,4", [&] {
        Form().cbxAskUnparkFrom.ListIndex(0);
        machine.serialPorts.Disconnect(1);
        driver->state.g_bLostComms = true;
    });
    EXPECT_EQ(sent, "RT9 U SM0:00:00.0 SL SC");
    EXPECT_EQ(Label(), "Parked");
    EXPECT_EQ(Stored(), "Parked");
    EXPECT_FALSE(Logged("Unpark Complete"));
    EXPECT_EQ(TimesLogged("Unpark Mount, 0: "), 1);
}

TEST_F(OpenQuestionTest, AParkThatBeginsUnderIt_EndsWithTheAnswer) {
    ConnectAt(47.0, {{"cbxParkTo", "2"}});
    Telescope& other = OtherClient();
    AcceptedAfter(2'000, "UnparkMount,4", [&] { other.Park(); });
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_TRUE(Logged("Park canceled..."));
    machine.AdvanceTime(60'000);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_EQ(TimesSent("KA"), 0);
}

/// A person who has pressed "unpark", and goes away from the open question for a minute.
class ForgottenQuestionTest : public OpenQuestionTest {
protected:
    void SetUp() override {
        ConnectAt(47.0, {{"cbxParkTo", "2"}});
        other_ = &OtherClient();
        Form().Attach(view_);
    }
    void TearDown() override {
        Form().Detach(view_);
        OpenQuestionTest::TearDown();
    }
    Telescope& Other() { return *other_; }
    void PressInAStepOfThePoll() {
        driver->state.g_bInPoll = true;
        driver->handBox.btnUNPARK.FireClick();
        driver->state.g_bInPoll = false;
    }
    /// The minute, after which the person does not unpark.
    void Forget() {
        machine.pump.PostAt(machine.clock.Elapsed() + 60'000, CallKind::Brief, [this] {
            wasOpen = Form().Visible();
            atTheEnd();
            Form().btnCancel.FireClick();
        });
        machine.AdvanceTime(61'000);
        EXPECT_TRUE(wasOpen);
    }

    bool wasOpen = false;
    std::function<void()> atTheEnd = [] {};

private:
    Telescope* other_ = nullptr;
    UnparkWatcher view_;
};

TEST_F(ForgottenQuestionTest, ParkOfAClient_Begins_WhereverTheButtonWasPressed) {
    const std::vector<std::function<void()>> presses{
        [&] { PressInAStepOfThePoll(); },
        [&] { machine.pump.Post(CallKind::Brief, [&] { driver->handBox.btnUNPARK.FireClick(); }); }};
    for (const auto& press : presses) {
        bool parks = false;
        atTheEnd = [&] { parks = driver->state.g_bParking; };
        press();
        machine.pump.PostAt(machine.clock.Elapsed() + 50'000, CallKind::WaitsLong, [&] { Other().Park(); });
        Forget();
        EXPECT_TRUE(parks);
        telescope->AbortSlew();
        machine.AdvanceTime(20'000);
        ASSERT_FALSE(driver->state.g_bParking);
    }
}

TEST_F(ForgottenQuestionTest, BriefCall_InWhosePumpTheButtonIsPressedOrItsTimerTicks_IsNotHeld) {
    const std::vector<std::function<void()>> presses{
        [&] { PressInAStepOfThePoll(); },
        [&] { machine.pump.Post(CallKind::Brief, [&] { driver->handBox.btnUNPARK.FireClick(); }); }};
    for (const auto& press : presses) {
        const std::int64_t begin = machine.clock.Elapsed();
        std::int64_t answered = 0;
        machine.pump.Post(CallKind::Brief, [&] {
            press();
            machine.clock.Sleep(30);
            Other().Slewing();
            answered = machine.clock.Elapsed();
        });
        Forget();
        EXPECT_LT(answered - begin, 1'000);
    }
}

// --- the offer after power-on

class OfferTest : public UnparkingTest {
protected:
    void ConnectWithPerson(const std::string& unparkFrom = "2") {
        MountSimulatorOptions options;
        options.firmware = "S";
        options.parkedAtPowerOn = true;
        BuildMount(options);
        SeedForSlews({{"cbxUnparkFrom", unparkFrom}});
        Start();
        Form().Attach(view_);
        telescope = driver->CreateTelescope();
        telescope->Connected(true);
    }
    void TearDown() override {
        if (driver) {
            Form().Detach(view_);
        }
        UnparkingTest::TearDown();
    }
    frmAskUnpark& Form() { return driver->windows.askUnpark; }
    /// All commands so far that set an option of the mount, start or stop it, each after a blank.
    std::string OptionsSent() {
        std::string sent;
        for (const std::string& command : mount->Commands()) {
            for (const char* option :
                 {"#", "U", "SL", "SC", "SM", "Bd", "Br", "RG2", "p", "RT9", "RT2", "PO", "CM", "Q"}) {
                const std::string name = option;
                const bool whole = name.size() == 1 || name.size() == 3;
                if (whole ? command == name : command.starts_with(name)) {
                    sent += " " + name;
                }
            }
        }
        return sent;
    }

private:
    UnparkWatcher view_;
};

TEST_F(OfferTest, Connect_DoesNotWaitForIt_AndThePollGoesOn) {
    ConnectWithPerson();
    machine.AdvanceTime(10'000);
    EXPECT_TRUE(Form().Visible());
    EXPECT_EQ(Form().cbxAskUnparkFrom.Text(), "Park 2");
    EXPECT_FALSE(driver->handBox.btnUNPARK.Enabled());
    EXPECT_TRUE(telescope->AtPark());
    const int asked = TimesSent("GR");
    machine.AdvanceTime(10'000);
    EXPECT_GE(TimesSent("GR") - asked, 8);
    EXPECT_EQ(TimesSent("PO") + TimesSent("CM") + TimesSent("RT9"), 0);
    EXPECT_TRUE(mount->Picture().parked);
}

TEST_F(OfferTest, AcceptedOne_UnparksFromThere) {
    ConnectWithPerson();
    machine.AdvanceTime(3'600'000);
    ASSERT_TRUE(Form().Visible());
    Form().btnOK.FireClick();
    machine.AdvanceTime(1'000);
    EXPECT_EQ(TimesSent("PO"), 1);
    EXPECT_EQ(TimesSent("CM"), 1);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_NEAR(mount->Picture().azimuth, 90.0, 0.1);
    EXPECT_TRUE(driver->handBox.btnUNPARK.Enabled());
    machine.AdvanceTime(60'000);
    EXPECT_FALSE(Form().Visible());
}

TEST_F(OfferTest, DontUnpark_IsNotOffered_AndTheMountStaysAsItIs) {
    ConnectWithPerson("7");
    machine.AdvanceTime(60'000);
    EXPECT_FALSE(Form().Visible());
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_TRUE(mount->Picture().parked);
    EXPECT_EQ(TimesSent("PO") + TimesSent("CM") + TimesSent("RT9") + TimesSent("RT2"), 0);
    EXPECT_TRUE(driver->handBox.btnUNPARK.Enabled());
}

TEST_F(OfferTest, ALinkThatIsOpenedAnew_ChangesNothingAboutAnOpenOne) {
    ConnectWithPerson();
    machine.AdvanceTime(1'000);
    ASSERT_TRUE(Form().Visible());
    driver->link->Connected(false);
    machine.AdvanceTime(1'000);
    telescope->Connected(true);
    machine.AdvanceTime(10'000);
    EXPECT_TRUE(Form().Visible());
    EXPECT_EQ(TimesSent("PO") + TimesSent("CM"), 0);
    Form().btnOK.FireClick();
    machine.AdvanceTime(1'000);
    EXPECT_EQ(TimesSent("CM"), 1);
}

TEST_F(OfferTest, OneThatIsAcceptedOnAClosedLink_DoesNothing) {
    ConnectWithPerson();
    machine.AdvanceTime(1'000);
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    driver->link->Connected(false);
    Form().btnOK.FireClick();
    machine.AdvanceTime(1'000);
    EXPECT_TRUE(Logged("The mount does not report its power-on position any more: it is not unparked"));
    EXPECT_TRUE(driver->state.g_bParked);
}

TEST_F(OfferTest, OneThatIsAcceptedInAStepOfThePoll_IsNotLostToAnotherButton) {
    ConnectWithPerson();
    machine.AdvanceTime(1'000);
    driver->state.g_bInPoll = true;
    Form().btnOK.FireClick();
    driver->handBox.btnSyncMountTime.FireClick();
    machine.AdvanceTime(100);
    EXPECT_EQ(TimesSent("PO"), 0);
    const int times = TimesSent("GG");
    driver->state.g_bInPoll = false;
    machine.AdvanceTime(2'000);
    EXPECT_EQ(TimesSent("PO"), 1);
    EXPECT_EQ(TimesSent("CM"), 1);
    EXPECT_GE(TimesSent("GG") - times, 2) << "the time of the other button, and that of the unpark";
    EXPECT_TRUE(Logged("RAW,UnparkMount,2"));
}

TEST_F(OfferTest, OneThatIsMadeAgainBeforeItRan_IsAskedAgain) {
    ConnectWithPerson();
    machine.AdvanceTime(1'000);
    driver->state.g_bInPoll = true;
    Form().btnOK.FireClick();
    driver->panel.OfferUnpark(3);
    driver->state.g_bInPoll = false;
    machine.AdvanceTime(1'000);
    EXPECT_EQ(TimesSent("PO"), 0);
    ASSERT_TRUE(Form().Visible());
    EXPECT_EQ(Form().cbxAskUnparkFrom.Text(), "Park 3");
}

TEST_F(OfferTest, Initialization_WaitsForALineThatCarries) {
    ConnectWithPerson();
    machine.AdvanceTime(1'000);
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    Form().btnCancel.FireClick();
    ExpectSwallow("InitUI");
    driver->state.g_bPowerOnInitDone = false;
    driver->state.g_bMountUnproved = true;
    const int done = TimesSent("RG2");
    driver->InternalInstance().InitUI();
    EXPECT_EQ(TimesSent("RG2"), done);
    driver->state.g_bMountUnproved = false;
    driver->InternalInstance().InitUI();
    EXPECT_EQ(TimesSent("RG2"), done + 1) << "the try before it was none";
    driver->InternalInstance().InitUI();
    EXPECT_EQ(TimesSent("RG2"), done + 1);
}

TEST_F(OfferTest, Initialization_AtTheConnect_LeavesNoOptionOut) {
    ConnectWithPerson();
    machine.AdvanceTime(2'000);
    EXPECT_NE(OptionsSent().find(" # # # U SL SC Bd Br RG2 p U"), std::string::npos) << OptionsSent();
    EXPECT_EQ(TimesSent("RT9") + TimesSent("Q") + TimesSent("PO"), 0);
}

TEST_F(OfferTest, LastParked_NeedsNoPerson_AndTheTrackingIsChosenAtTheEnd_AfterEachOpening) {
    ConnectWithPerson("0");
    machine.AdvanceTime(2'000);
    EXPECT_FALSE(Form().Visible());
    const std::string initialization = " # # # U SL SC RT9 U SM SL SC PO RT2 Bd Br RG2 p Q RT2";
    EXPECT_NE(OptionsSent().find(initialization), std::string::npos) << OptionsSent();
    MountSimulatorOptions options;
    options.firmware = "S";
    options.parkedAtPowerOn = true;
    telescope->Connected(false);
    driver->link->Connected(false);
    machine.serialPorts.Disconnect(1);
    BuildMount(options);
    telescope->Connected(true);
    machine.AdvanceTime(2'000);
    EXPECT_NE(OptionsSent().find(initialization), std::string::npos) << OptionsSent();
}

TEST_F(OfferTest, CancelledOne_IsNotMadeAgain) {
    ConnectWithPerson();
    machine.AdvanceTime(1'000);
    Form().btnCancel.FireClick();
    machine.AdvanceTime(60'000);
    EXPECT_FALSE(Form().Visible());
    EXPECT_EQ(TimesSent("PO"), 0);
    EXPECT_TRUE(driver->handBox.btnUNPARK.Enabled());
}

TEST_F(OfferTest, WindowThatAPersonCloses_CountsAsCancelled) {
    ConnectWithPerson();
    machine.AdvanceTime(1'000);
    const std::vector<std::function<void()>> ways{[&] { Form().Unload(); }, [&] { Form().Hide(); }};
    for (const auto& close : ways) {
        ASSERT_TRUE(Form().Visible());
        ASSERT_FALSE(driver->handBox.btnUNPARK.Enabled());
        close();
        machine.AdvanceTime(60'000);
        EXPECT_TRUE(driver->handBox.btnUNPARK.Enabled());
        EXPECT_TRUE(driver->handBox.btnPark.Enabled());
        EXPECT_FALSE(driver->state.g_bUnparkConfirmOpen);
        EXPECT_FALSE(Form().Visible());
        EXPECT_FALSE(Form().Loaded());
        EXPECT_EQ(TimesSent("PO"), 0);
        driver->panel.OfferUnpark(3);
        machine.AdvanceTime(1'000);
    }
    EXPECT_TRUE(Form().Visible()) << "the next one is offered";
}

TEST_F(OfferTest, AMountThatLosesItsPowerAgain_IsInitializedAndOfferedAgain) {
    ConnectWithPerson();
    machine.AdvanceTime(1'000);
    Form().btnOK.FireClick();
    machine.AdvanceTime(10'000);
    ASSERT_FALSE(telescope->AtPark());
    MountSimulatorOptions options;
    options.firmware = "S";
    options.parkedAtPowerOn = true;
    MountSimulator fresh(machine.clock, options);
    SimulatorLine line(fresh);
    machine.serialPorts.Splice(1, line);
    machine.AdvanceTime(10'000);
    EXPECT_TRUE(Form().Visible());
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_EQ(fresh.Commands().end(), std::ranges::find(fresh.Commands(), "CM"));
    Form().btnOK.FireClick();
    machine.AdvanceTime(5'000);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_NEAR(fresh.Picture().azimuth, 90.0, 0.1);
    EndTheDriver();
}

TEST_F(OfferTest, AMountThatIsUnparkedAnotherWay_TakesItBack) {
    ConnectWithPerson();
    machine.AdvanceTime(1'000);
    ASSERT_TRUE(Form().Visible());
    EXPECT_EQ(telescope->CommandString("RAW,UnparkMount,4", true), "1");
    EXPECT_EQ(TimesSent("CM"), 1) << "its button is disabled, so nobody is asked again";
    machine.AdvanceTime(3'000);
    EXPECT_FALSE(Form().Visible());
    EXPECT_EQ(TimesSent("CM"), 1);
}

}  // namespace
}  // namespace kestrane
