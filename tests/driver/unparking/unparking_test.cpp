#include "telescope/motion/unparking.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <regex>
#include <string>

#include "driver/slews/slew_wire_fixture.h"

/// Unparking, as it goes over the wire.
namespace kestrane {
namespace {

/// A connected client. The mount tracks; time and date on the wire are left out of what was sent. An unpark toggles the
/// format of the replies; the "U" after a sync is the poll's, which brings it back.
class UnparkingTest : public SlewWireTest {
protected:
    void ConnectAt(double latitude, const SettingTexts& settings = {}, const std::string& firmware = "S") {
        MountSimulatorOptions options;
        options.firmware = firmware;
        options.parkedAtPowerOn = false;
        options.latitude = latitude;
        Connect(options, settings);
    }
    /// A mount as after power-on, whose position of the settings nobody confirms.
    void ConnectAfterPowerOn(SettingTexts settings = {}) {
        MountSimulatorOptions options;
        options.firmware = "S";
        options.parkedAtPowerOn = true;
        BuildMount(options);
        settings.insert(settings.begin(), {"cbxUnparkFrom", "3"});
        SeedForSlews(settings);
        telescope = ConnectedTelescope();
        machine.AdvanceTime(2'000);
        tap_ = std::make_unique<SimulatorLine>(*mount);
        tap_->onWrite = [this](std::string_view bytes) { Tape().Note(machine.clock.Elapsed(), bytes); };
        machine.serialPorts.Splice(1, *tap_);
    }
    void TearDown() override {
        EndTheDriver();
        SlewWireTest::TearDown();
    }
    std::string WithoutTimes(const std::string& sent) {
        return std::regex_replace(std::regex_replace(sent, std::regex("SL\\S+"), "SL"), std::regex("SC\\S+"), "SC");
    }
    std::string Unpark(const std::string& arguments) {
        return WithoutTimes(
            MotionDuring([&] { EXPECT_EQ(telescope->CommandString("RAW,UnparkMount" + arguments, true), "1"); }));
    }
    void Park() {
        driver->motion.MountReportsParked(true);
        driver->panel.SetParkStatus("Parked", "test");
        driver->persist.Write(setting::ParkStatus, "Parked");
    }
    std::string Label() { return driver->handBox.lblParkStatus.Text(); }
    std::string Stored() { return driver->persist.Read(setting::ParkStatus); }

private:
    std::unique_ptr<SimulatorLine> tap_;
};

const std::string kHead = "RT9 U SM0:00:00.0 SL SC # Q RT2";

TEST_F(UnparkingTest, ClientsUnpark_StartsAParkedMountWhereItStands) {
    ConnectAt(47.0);
    Park();
    EXPECT_EQ(WithoutTimes(MotionDuring([&] { telescope->Unpark(); })), kHead);
    EXPECT_EQ(error, 0U);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_TRUE(driver->state.g_bTracking);
    EXPECT_EQ(Label(), "Unparked");
    EXPECT_EQ(Stored(), "UnParked");
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "Unpark"));
    EXPECT_TRUE(LoggedAs("Telescope", 0, "Unpark Mount, 0"));
    EXPECT_TRUE(LoggedAs("UnparkMount", 0, "Enabled tracking"));
    EXPECT_TRUE(LoggedAs("Telescope", 0, "Unpark Complete, 0"));
}

TEST_F(UnparkingTest, ClientsUnpark_OfAMountThatIsNotParked_SendsNothing_ButIsKept) {
    ConnectAt(47.0);
    driver->persist.Write(setting::ParkStatus, "Parked");
    EXPECT_EQ(SentDuring([&] { telescope->Unpark(); }), "");
    EXPECT_EQ(Stored(), "UnParked");
    EXPECT_TRUE(driver->state.g_bTracking);
}

TEST_F(UnparkingTest, OrderOfTheWholeExchange_WithTheQuestions) {
    ConnectAt(47.0);
    EXPECT_EQ(WithoutTimes(SentDuring([&] { telescope->CommandString("RAW,UnparkMount,4", true); })),
              "RT9 U SM0:00:00.0 GM SL SC GG # Q RT2 Gt Sa+00*00:10 Sz180*00:10 CM GR U GD GA GZ");
    EXPECT_FALSE(driver->state.g_bPollSuspended);
}

struct PlaceRow {
    int index;
    double latitude;
    std::string sync;
};

class UnparkPlaces : public UnparkingTest, public testing::WithParamInterface<PlaceRow> {};

TEST_P(UnparkPlaces, MountIsToldWhereItPoints) {
    ConnectAt(GetParam().latitude, {{"txtUserParkAlt", "30.5"}, {"txtUserParkAz", "123.25"}});
    Park();
    EXPECT_EQ(Unpark("," + std::to_string(GetParam().index)), kHead + GetParam().sync);
    EXPECT_FALSE(driver->state.g_bParked);
    EXPECT_EQ(Label(), "Unparked");
    EXPECT_EQ(Stored(), "UnParked");
}

INSTANTIATE_TEST_SUITE_P(Positions, UnparkPlaces,
                         testing::Values(PlaceRow{0, 47.0, ""}, PlaceRow{1, 47.0, " Sa+00*00:00 Sz359*59:50 CM U"},
                                         PlaceRow{2, 47.0, " Sa+00*00:10 Sz090*00:10 CM U"},
                                         PlaceRow{3, 47.0, " Sa+47*00:00 Sz359*59:50 CM U"},
                                         PlaceRow{4, 47.0, " Sa+00*00:10 Sz180*00:10 CM U"},
                                         PlaceRow{5, 47.0, " Sa+00*00:10 Sz000*00:10 CM U"},
                                         PlaceRow{6, 47.0, " Sa+30*30:00 Sz123*15:00 CM U"},
                                         PlaceRow{3, 0.0, " Sa+00*00:00 Sz359*59:50 CM U"}, PlaceRow{0, -33.0, ""},
                                         PlaceRow{1, -33.0, " Sa+00*00:00 Sz180*00:10 CM U"},
                                         PlaceRow{2, -33.0, " Sa+00*00:10 Sz089*59:50 CM U"},
                                         PlaceRow{3, -33.0, " Sa+33*00:00 Sz179*59:50 CM U"},
                                         PlaceRow{4, -33.0, " Sa+00*00:10 Sz359*59:50 CM U"},
                                         PlaceRow{5, -33.0, " Sa+00*00:10 Sz179*59:50 CM U"},
                                         PlaceRow{6, -33.0, " Sa+30*30:00 Sz123*15:00 CM U"}));

TEST_F(UnparkingTest, HighPrecision_GoesOutWithATenthOfASecond) {
    ConnectAt(47.0, {{"txtUserParkAlt", "30.50001"}, {"txtUserParkAz", "7"}}, "VKC4-P02-08");
    EXPECT_TRUE(Unpark(",6").ends_with(" Sa+30*30:00.0 Sz007*00:00.0 CM U"));
}

TEST_F(UnparkingTest, AMountAfterPowerOn_LeavesThatState_AndIsNotStopped) {
    ConnectAfterPowerOn();
    ASSERT_TRUE(driver->state.g_bParked);
    EXPECT_EQ(Unpark(",0"), "RT9 U SM0:00:00.0 SL SC PO RT2");
    EXPECT_FALSE(driver->state.g_bParked);
    machine.AdvanceTime(20'000);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(mount->Picture().tracking, '2');
    EXPECT_NE(mount->Picture().rightAscension, 0.0);
}

TEST_F(UnparkingTest, AMountAfterPowerOn_IsSyncedToTheNamedPosition) {
    ConnectAfterPowerOn();
    EXPECT_EQ(Unpark(",2"), "RT9 U SM0:00:00.0 SL SC PO RT2 Sa+00*00:10 Sz090*00:10 CM U");
    EXPECT_NEAR(mount->Picture().azimuth, 90.0, 0.1);
    EXPECT_NEAR(mount->Picture().altitude, 0.0, 0.1);
}

TEST_F(UnparkingTest, FirmwareWithoutMeridianCommands_GetsNoDelay) {
    ConnectAt(47.0, {}, "E");
    EXPECT_EQ(Unpark(",0"), "RT9 U SL SC # Q RT2");
}

TEST_F(UnparkingTest, WithoutTracking_TheMountStandsAfterwards) {
    ConnectAt(47.0, {{"chkEnableMountTracking", "0"}});
    EXPECT_EQ(Unpark(",0"), "RT9 U SM0:00:00.0 SL SC # Q RT9");
    EXPECT_FALSE(driver->state.g_bTracking);
    EXPECT_EQ(driver->state.g_nDisplayedRate, 0);
    EXPECT_FALSE(Logged("Enabled tracking"));
    EXPECT_EQ(mount->Picture().tracking, '9');
}

TEST_F(UnparkingTest, MeridianDelay_IsZeroAfterwards_InTheMountAndInTheDriver) {
    ConnectAt(47.0);
    driver->panel.SetMeridianDelayUI(2.0);
    driver->state.g_bMeridianDelayKnown = true;
    telescope->CommandBool("SM02:00:00", false);
    EXPECT_EQ(Unpark(",0"), kHead);
    EXPECT_EQ(driver->state.g_dMeridianDelay, 0.0);
    machine.AdvanceTime(60'000);
    EXPECT_EQ(mount->Picture().meridianDelay, 0.0);
}

TEST_F(UnparkingTest, DontUnpark_ChoosesTheTrackingAndLeavesTheParkStateAlone) {
    ConnectAt(47.0);
    Park();
    driver->panel.SetParkStatus("Where it was", "test");
    EXPECT_EQ(Unpark(",7"), kHead);
    EXPECT_TRUE(driver->state.g_bParked);
    EXPECT_TRUE(driver->state.g_bTracking);
    EXPECT_EQ(Label(), "Where it was");
    EXPECT_EQ(Stored(), "Parked");
    EXPECT_FALSE(Logged("Unpark Complete"));
}

TEST_F(UnparkingTest, PositionThatIsNone_IsLoggedAndNothingIsSent) {
    ConnectAt(47.0);
    Park();
    for (const char* index : {",8", ",-1", ",99999", ",-99999"}) {
        EXPECT_EQ(Unpark(index), "") << index;
    }
    EXPECT_TRUE(LoggedAs("Telescope", 2, "Unpark Mount: there is no position 8"));
    EXPECT_TRUE(driver->state.g_bParked);
}

TEST_F(UnparkingTest, AnyTextIsAPosition) {
    ConnectAt(47.0);
    for (const char* text : {"", ",", ",abc", ",0.4"}) {
        EXPECT_EQ(Unpark(text), kHead) << text;
    }
    EXPECT_TRUE(Unpark(",1.6").ends_with(" Sa+00*00:10 Sz090*00:10 CM U"));
}

TEST_F(UnparkingTest, RefusedHalfOfThePosition_EndsItAndPutsTheLabelBack) {
    for (const char* half : {"Sa", "Sz"}) {
        SCOPED_TRACE(half);
        ConnectAt(47.0);
        Park();
        driver->InternalInstance().MaxSerialRetries(0);
        mount->Add(std::make_unique<AnswersWith>(half, "0"));
        const std::string sent = Unpark(",4");
        EXPECT_EQ(sent.find("CM"), std::string::npos);
        EXPECT_EQ(Label(), "Parked");
        EXPECT_TRUE(driver->state.g_bParked);
        EXPECT_EQ(Stored(), "Parked");
        EXPECT_TRUE(Logged("Unpark Mount, 4: KS mount rejected set Target"));
        EXPECT_TRUE(driver->state.g_bPollSuspended);
        ExpectSwallow("UnparkMount");
        EXPECT_TRUE(Unpark(",4").ends_with(" CM")) << "the next one lifts the suspension";
        EXPECT_FALSE(driver->state.g_bPollSuspended);
        EndTheDriver();
    }
}

TEST_F(UnparkingTest, AMountThatMoves_IsStopped_AndIsGivenNoPosition) {
    ConnectAt(47.0);
    telescope->SlewToCoordinatesAsync(driver->state.g_dLst + 2.0, 20.0);
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(mount->Picture().slewing);
    const std::string label = Label();
    EXPECT_EQ(Unpark(",4"), kHead);
    EXPECT_TRUE(LoggedAs("Telescope", 2, "Unpark Mount, 4: the mount moves, so no position is given to it"));
    EXPECT_EQ(Label(), label);
    machine.AdvanceTime(10'000);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_TRUE(Unpark(",4").ends_with("CM U"));
}

TEST_F(UnparkingTest, AMotionWithoutAnEnd_IsStopped_AndNoPositionIsGivenForThreeSeconds) {
    ConnectAt(47.0);
    for (const char* verb : {"RAW,UnparkMount,4", "RAW,InitMount,Unpark=4"}) {
        telescope->CommandBlind("Mn", false);
        EXPECT_EQ(WithoutTimes(MotionDuring([&] { telescope->CommandString(verb, true); })).find("CM"),
                  std::string::npos)
            << verb;
        machine.AdvanceTime(4'000);
    }
    EXPECT_EQ(TimesLogged("Unpark Mount, 4: the mount moves, so no position is given to it"), 2);
    EXPECT_TRUE(Unpark(",4").ends_with("CM U"));
}

TEST_F(UnparkingTest, AMoveAheadOfAPark_IsStopped_AndNoPositionIsGivenAtOnce) {
    ConnectAt(47.0, {{"cbxParkTo", "2"}});
    driver->motion.ParkMoveBegins();
    driver->state.g_bSlewingEast = true;
    telescope->CommandBlind("Me", false);
    EXPECT_EQ(Unpark(",4").find("CM"), std::string::npos);
    EXPECT_FALSE(driver->state.g_bParking);
}

TEST_F(UnparkingTest, AxesOfAllClients_EndWithIt) {
    ConnectAt(47.0);
    telescope->Tracking(false);
    telescope->MoveAxis(0, 1.0);
    Unpark(",0");
    EXPECT_EQ(mount->Picture().tracking, '2');
    EXPECT_FALSE(driver->axisMotions.AnyStillRuns());
    EXPECT_FALSE(driver->state.g_bAxisMotionBegun);
    EXPECT_EQ(MotionDuring([&] { telescope->StopOwnAxes("The client has gone: its axes are stopped"); }), "");
    EXPECT_EQ(mount->Picture().tracking, '2');
}

TEST_F(UnparkingTest, WithoutALine_TheMountStaysParked) {
    ConnectAt(47.0);
    ExpectSwallow("*");
    Park();
    driver->state.g_bTracking = false;
    driver->state.g_bLostComms = true;
    EXPECT_EQ(Unpark(",0"), "");
    telescope->Unpark();
    EXPECT_TRUE(driver->state.g_bParked);
    EXPECT_FALSE(driver->state.g_bTracking);
    EXPECT_EQ(Label(), "Parked");
    EXPECT_FALSE(Logged("Unpark Complete"));
}

TEST_F(UnparkingTest, AParkUnderWay_IsCancelled) {
    ConnectAt(47.0, {{"cbxParkTo", "2"}});
    telescope->Park();
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(driver->state.g_bParking);
    ASSERT_TRUE(mount->Picture().slewing);
    Unpark(",0");
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_TRUE(Logged("Park canceled..."));
    EXPECT_EQ(Label(), "Unparked");
    machine.AdvanceTime(20'000);
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_FALSE(telescope->Slewing());
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(Stored(), "UnParked");
    EXPECT_EQ(TimesSent("KA"), 0);
    EXPECT_TRUE(driver->state.g_bTracking);
}

TEST_F(UnparkingTest, StatusOfBefore_DoesNotParkTheMountAgain) {
    ConnectAt(47.0);
    Park();
    telescope->Unpark();
    machine.AdvanceTime(1'000);
    driver->state.g_tickLastGos = machine.clock.GetTickCount();
    driver->InternalInstance().ParseGOS("P90000232O0000");
    EXPECT_FALSE(driver->state.g_bParked);
    EXPECT_EQ(Label(), "Unparked");
}

TEST_F(UnparkingTest, ParkAndUnpark_GoRoundAndRound) {
    ConnectAt(47.0, {{"cbxParkTo", "0"}});
    for (int round = 0; round < 3; ++round) {
        telescope->Park();
        machine.AdvanceTime(20'000);
        ASSERT_TRUE(telescope->AtPark());
        ASSERT_TRUE(mount->Picture().parked);
        telescope->Unpark();
        machine.AdvanceTime(20'000);
        EXPECT_FALSE(telescope->AtPark());
        EXPECT_FALSE(mount->Picture().parked);
        EXPECT_EQ(mount->Picture().tracking, '2');
        EXPECT_TRUE(telescope->Tracking());
        EXPECT_EQ(Stored(), "UnParked");
    }
}

TEST_F(UnparkingTest, SuspensionOfThePoll_IsLiftedAtTheHead) {
    ConnectAt(47.0);
    driver->state.g_bPollSuspended = true;
    Unpark(",0");
    EXPECT_FALSE(driver->state.g_bPollSuspended);
}

TEST_F(UnparkingTest, PauseOfTheLog_Ends) {
    ConnectAt(47.0);
    driver->state.g_bLogPaused = true;
    driver->state.g_tickParkedSince = machine.clock.GetTickCount();
    driver->handBox.pbLoggingPaused.Visible(true);
    Unpark(",0");
    EXPECT_FALSE(driver->state.g_bLogPaused);
    EXPECT_EQ(driver->state.g_tickParkedSince, Tick{});
    EXPECT_FALSE(driver->handBox.pbLoggingPaused.Visible());
}

// --- the question

class Watcher final : public FormView {
public:
    void Changed(Form&, std::string_view, Property) override {}
};

TEST_F(UnparkingTest, AskedPerson_ChoosesAnotherPosition) {
    ConnectAt(47.0);
    Watcher view;
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
    Watcher view;
    frmAskUnpark& form = driver->windows.askUnpark;
    form.Attach(view);
    const When answers(
        machine.pump, [&] { return form.Visible(); }, [&] { form.btnCancel.FireClick(); });
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    EXPECT_EQ(Unpark(",4"), "RT9 U SM0:00:00.0 SL SC");
    EXPECT_TRUE(driver->state.g_bParked);
    EXPECT_FALSE(driver->state.g_bTracking);
    EXPECT_EQ(Stored(), "Parked");
    form.Detach(view);
}

TEST_F(UnparkingTest, DisabledButton_AsksNobody) {
    ConnectAt(47.0);
    Watcher view;
    driver->windows.askUnpark.Attach(view);
    driver->handBox.btnUNPARK.Enabled(false);
    EXPECT_TRUE(Unpark(",4").ends_with("CM U"));
    driver->windows.askUnpark.Detach(view);
}

TEST_F(UnparkingTest, ButtonOfTheHandBox_AsksOnce_AndUnparks) {
    ConnectAt(47.0, {{"cbxUnparkFrom", "2"}});
    Watcher view;
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
    EXPECT_EQ(WithoutTimes(MotionDuring([&] { driver->handBox.btnUNPARK.FireClick(); })),
              kHead + " Sa+00*00:10 Sz090*00:10 CM U");
    EXPECT_FALSE(parkWasEnabled);
    EXPECT_TRUE(driver->handBox.btnPark.Enabled());
    EXPECT_TRUE(driver->handBox.btnUNPARK.Enabled());
    form.Detach(view);
}

// --- the offer after power-on

class OfferTest : public UnparkingTest {
protected:
    void ConnectWithPerson() {
        MountSimulatorOptions options;
        options.firmware = "S";
        options.parkedAtPowerOn = true;
        BuildMount(options);
        SeedForSlews({{"cbxUnparkFrom", "2"}});
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

private:
    Watcher view_;
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

TEST_F(OfferTest, CancelledOne_IsNotMadeAgain) {
    ConnectWithPerson();
    machine.AdvanceTime(1'000);
    Form().btnCancel.FireClick();
    machine.AdvanceTime(60'000);
    EXPECT_FALSE(Form().Visible());
    EXPECT_EQ(TimesSent("PO"), 0);
    EXPECT_TRUE(driver->handBox.btnUNPARK.Enabled());
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

// --- formats

TEST_F(UnparkingTest, LongFormat_IsEnsured) {
    ConnectAt(47.0);
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    Telescope& internal = driver->InternalInstance();
    ASSERT_TRUE(mount->Picture().longFormat);
    EXPECT_EQ(SentDuring([&] { EXPECT_TRUE(internal.EnsureLongFormat(true)); }), "GR GR");
    EXPECT_EQ(SentDuring([&] { EXPECT_FALSE(internal.EnsureLongFormat(false)); }), "GR U GR");
    EXPECT_EQ(SentDuring([&] { EXPECT_TRUE(internal.EnsureLongFormat(true)); }), "GR U GR");
    mount->SetLineDead(true);
    ExpectSwallow("*");
    internal.MaxSerialRetries(0);
    EXPECT_EQ(SentDuring([&] { EXPECT_FALSE(internal.EnsureLongFormat(true)); }).find('U'), std::string::npos)
        << "silence says nothing about the format";
}

TEST_F(UnparkingTest, FormatOfTheReplies_IsLongAgainSoonAfterwards) {
    ConnectAt(47.0);
    Unpark(",0");
    machine.AdvanceTime(20'000);
    EXPECT_TRUE(mount->Picture().longFormat);
    EXPECT_NEAR(telescope->RightAscension(), mount->Picture().rightAscension, 0.01);
}

}  // namespace
}  // namespace kestrane
