#include <gtest/gtest.h>

#include "driver/parking/park_fixture.h"
#include "simulator/misbehaviours.h"

/// What driver and mount know of a park afterwards.
namespace kestrane {
namespace {

class ParkMemoryTest : public ParkTest {
protected:
    void StartAgain() {
        telescope.reset();
        EndTheDriver();
        machine.ConnectMount(1, *mount);
        telescope = ConnectedTelescope();
        machine.AdvanceTime(8'000);
    }
    /// Presses the button, and chooses another place in the window that asks.
    void PressParkAndChoose(
        std::int32_t place, const std::function<void()>& whileAsked = [] {},
        const std::function<void()>& onceAnswered = [] {}) {
        frmAskPark& form = driver->windows.askPark;
        form.Attach(view_);
        const When shown(
            machine.pump, [&] { return form.Visible(); },
            [&] {
                whileAsked();
                form.cbxAskParkTo.ListIndex(place);
                form.btnOK.FireClick();
                onceAnswered();
            });
        machine.pump.Post(CallKind::Brief, [&] { driver->handBox.btnPark.FireClick(); });
        machine.AdvanceTime(1'000);
        form.Detach(view_);
        EXPECT_TRUE(shown.Happened());
    }

private:
    ParkWatcher view_;
};

TEST_F(ParkMemoryTest, ARestart_KnowsThePark) {
    for (const char* firmware : {"D", "S"}) {
        ConnectAt(47.0, firmware, {{"cbxParkTo", "2"}});
        telescope->Park();
        ExpectParked();
        StartAgain();
        EXPECT_TRUE(telescope->AtPark()) << firmware;
        EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Parked");
        EndTheDriver();
    }
}

TEST_F(ParkMemoryTest, ARestartInMidPark_IsNotParked) {
    for (const char* firmware : {"D", "S"}) {
        ConnectAt(47.0, firmware, {{"cbxParkTo", "2"}});
        telescope->Park();
        machine.AdvanceTime(5'000);
        ASSERT_TRUE(mount->Picture().slewing);
        StartAgain();
        EXPECT_FALSE(telescope->AtPark()) << firmware;
        EndTheDriver();
    }
}

/// The goto leads on, and nobody is there who parks the mount at its end; firmware with places of its own does that.
TEST_F(ParkMemoryTest, AKillInMidPark_LeavesAMountAtItsPlace_ParkedWhereTheFirmwareDoesIt) {
    for (const bool wasParked : {false, true}) {
        for (const std::string firmware : {"D", "S", "VKC5-P03-01"}) {
            SCOPED_TRACE(firmware + (wasParked ? ", parked before" : ""));
            const bool byFirmware = firmware.starts_with("VKC5");
            ConnectAt(47.0, firmware, {{"cbxParkTo", "2"}, {"cbxParkToText", "Park"}});
            if (wasParked) {
                telescope->CommandString("RAW,ParkMount,4", true);
                EXPECT_TRUE(WaitForParkEnd());
                machine.AdvanceTime(5'000);
                ASSERT_TRUE(telescope->AtPark());
            }
            telescope->CommandString("RAW,ParkMount,2", true);
            machine.AdvanceTime(3'000);
            ASSERT_TRUE(mount->Picture().slewing);
            EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Parking");
            ExpectSwallow("*");
            machine.serialPorts.Disconnect(1);  // nothing goes out any more, as when it is killed
            telescope.reset();
            EndTheDriver();
            machine.ConnectMount(1, *mount);
            telescope = ConnectedTelescope();
            machine.AdvanceTime(5'000);
            EXPECT_FALSE(telescope->AtPark());
            EXPECT_NE(driver->handBox.lblParkStatus.Text(), "Parked");
            machine.AdvanceTime(60'000);
            EXPECT_FALSE(mount->Picture().slewing);
            ExpectPointsAt(0.0, 90.0, byFirmware ? 180.0 : 3.0);
            EXPECT_EQ(mount->Picture().parked, byFirmware);
            EXPECT_EQ(telescope->AtPark(), byFirmware);
            if (!byFirmware) {
                EXPECT_NE(driver->persist.Read(setting::ParkStatus), "Parked");
                telescope->CommandString("RAW,ParkMount,2", true);
                EXPECT_TRUE(WaitForParkEnd());
                machine.AdvanceTime(5'000);
                EXPECT_TRUE(telescope->AtPark()) << "another park ends it";
                EXPECT_TRUE(mount->Picture().parked);
            }
            EndTheDriver();
        }
    }
}

TEST_F(ParkMemoryTest, TheLastClientThatGoes_LeavesAParkToItsEnd) {
    for (const char* firmware : {"D", "S", "VKC5-P03-01"}) {
        SCOPED_TRACE(firmware);
        ConnectAt(47.0, firmware, {{"cbxParkTo", "3"}});
        const int ends = machine.processes.ends;
        telescope->Park();
        machine.AdvanceTime(2'000);
        ASSERT_TRUE(mount->Picture().slewing);
        telescope->Connected(false);
        telescope.reset();
        EXPECT_EQ(machine.processes.ends, ends);
        EXPECT_TRUE(WaitForParkEnd());
        machine.AdvanceTime(3'000);
        EXPECT_TRUE(mount->Picture().parked);
        EXPECT_EQ(machine.processes.ends, ends + 1);
        EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "Parked");
        EndTheDriver();
    }
}

TEST_F(ParkMemoryTest, TheLastClientThatGoes_DoesNotWaitForAParkThatStandsElsewhere) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "3"}});
    mount->Add(std::make_unique<Stalls>(20.0));
    telescope->Park();
    machine.AdvanceTime(2'000);
    telescope.reset();
    EXPECT_EQ(machine.processes.ends, 0);
    machine.AdvanceTime(60'000);
    EXPECT_EQ(machine.processes.ends, 1);
    EXPECT_FALSE(mount->Picture().parked);
}

/// A mount that reports a slew for ever.
class EndlessParkTest : public ParkMemoryTest {
protected:
    static constexpr std::int32_t kBoundMs = 30 * 60 * 1000;
    static constexpr const char* kGivenUp = "The park has not ended 30 minutes after the last client left";

    void ParkWithoutEnd() {
        Connect("S", {{"cbxParkTo", "2"}});
        StandForPark().replies["GOS"] = "020S00232O0000#";
        machine.AdvanceTime(10'000);
        telescope->Park();
        ASSERT_TRUE(driver->state.g_bParking);
    }
    void ExpectGivenUp() {
        EXPECT_EQ(machine.processes.ends, 1);
        EXPECT_EQ(TimesLogged(kGivenUp), 1);
        EXPECT_EQ(TimesLoggedAs("Connections", static_cast<int>(LogLevel::Warning),
                                std::string(kGivenUp) + ": the driver ends, and the mount is left to itself"),
                  1);
    }
};

TEST_F(EndlessParkTest, HoldsTheProcessForHalfAnHourAfterTheLastClient) {
    ParkWithoutEnd();
    telescope.reset();
    machine.AdvanceTime(kBoundMs - 1'000);
    EXPECT_EQ(machine.processes.ends, 0);
    EXPECT_EQ(TimesLogged(kGivenUp), 0);
    Tape().Clear();
    machine.AdvanceTime(2'000);
    ExpectGivenUp();
    EXPECT_EQ(Tape().Motion(), "") << "whatever moves goes on";
    EXPECT_FALSE(driver->link->Connected());
}

TEST_F(EndlessParkTest, ForAClientThatComesAndGoes_TheTimeBeginsAnew) {
    ParkWithoutEnd();
    telescope.reset();
    machine.AdvanceTime(kBoundMs - 60'000);
    telescope = driver->CreateTelescope();
    machine.AdvanceTime(120'000);
    EXPECT_EQ(machine.processes.ends, 0) << "a client is there";
    telescope.reset();
    machine.AdvanceTime(kBoundMs - 1'000);
    EXPECT_EQ(machine.processes.ends, 0);
    machine.AdvanceTime(2'000);
    ExpectGivenUp();
}

/// As the server asks, which keeps the object of the last client until the process may end.
TEST_F(EndlessParkTest, LetsTheServerEndTheProcessAfterHalfAnHour) {
    ParkWithoutEnd();
    EXPECT_FALSE(driver->MayEnd(0));
    EXPECT_FALSE(driver->MayEnd(kBoundMs - 1));
    EXPECT_TRUE(driver->MayEnd(kBoundMs));
    EXPECT_EQ(TimesLogged(kGivenUp), 0) << "the client may still come back";
    EXPECT_FALSE(driver->MayEnd(0)) << "it was back";
    EXPECT_TRUE(driver->MayEnd(kBoundMs));
    telescope.reset();
    ExpectGivenUp();
}

TEST_F(EndlessParkTest, ForAClientThatComesBackAsTheTimeIsUp_TheTimeBeginsAnew) {
    ParkWithoutEnd();
    telescope->Connected(false);
    EXPECT_TRUE(driver->MayEnd(kBoundMs));
    telescope->Connected(true);
    telescope.reset();
    EXPECT_EQ(machine.processes.ends, 0);
    machine.AdvanceTime(kBoundMs - 1'000);
    EXPECT_EQ(machine.processes.ends, 0);
    machine.AdvanceTime(2'000);
    ExpectGivenUp();
}

TEST_F(ParkMemoryTest, ASignalAfterTheLastClient_EndsTheProcessInMidPark) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "3"}});
    telescope->Park();
    machine.AdvanceTime(2'000);
    telescope.reset();
    driver->EndOnRequest();
    EXPECT_EQ(machine.processes.ends, 1);
}

/// Without a status text, a position that stays the same shows that a mount tracks: but not one from before the park.
TEST_F(ParkMemoryTest, AMountThatTrackedForLong_StaysParked) {
    for (int phase = 0; phase < 1'000; phase += 50) {
        SCOPED_TRACE(phase);
        ConnectAt(47.0, "D", {{"cbxParkTo", "0"}});
        machine.AdvanceTime(phase);
        telescope->Park();
        machine.AdvanceTime(10'000);
        EXPECT_TRUE(mount->Picture().parked);
        EXPECT_TRUE(telescope->AtPark());
        EndTheDriver();
    }
}

TEST_F(ParkMemoryTest, ARestartInTheMoveBeforeAPark_IsNotParked) {
    ConnectAt(47.0, "D", {{"cbxParkTo", "2"}, {"chkSlewEast", "1"}, {"txtSlewEastFirstHours", "5"}},
              MountPointing{-8.0, 70.0, false});
    const double before = mount->Picture().hourAxis;
    const When moving(
        machine.pump, [&] { return mount->Picture().hourAxis < before - 20.0; }, [&] { driver->EndOnRequest(); });
    ExpectSwallow("*");
    telescope->Park();
    ASSERT_TRUE(moving.Happened());
    StartAgain();
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_NEAR(mount->Picture().hourSpeed, 0.00418, 1e-3);
}

TEST_F(ParkMemoryTest, ARestartInAParkOfTheFirmware_KnowsItsEnd) {
    ConnectAt(47.0, "VKC5-P03-01", {{"cbxParkTo", "3"}});
    telescope->Park();
    machine.AdvanceTime(3'000);
    ASSERT_TRUE(mount->Picture().slewing);
    StartAgain();
    EXPECT_FALSE(telescope->AtPark());
    machine.AdvanceTime(60'000);
    EXPECT_EQ(telescope->AtPark(), mount->Picture().parked);
}

TEST_F(ParkMemoryTest, ARestartAfterACancelledPark_IsNotParked) {
    for (const char* firmware : {"D", "S"}) {
        ConnectAt(47.0, firmware, {{"cbxParkTo", "2"}});
        telescope->Park();
        machine.AdvanceTime(3'000);
        telescope->AbortSlew();
        ExpectCancelled();
        StartAgain();
        EXPECT_FALSE(telescope->AtPark()) << firmware;
        EndTheDriver();
    }
}

/// Intentional: the setting does not hear of a park where the mount stands.
TEST_F(ParkMemoryTest, ARestartAfterAParkWhereTheMountStood_KnowsItByTheStatusTextOnly) {
    for (const char* firmware : {"D", "S"}) {
        ConnectAt(47.0, firmware, {{"cbxParkTo", "0"}});
        telescope->Park();
        ExpectParked("Unknown");
        const bool told = driver->state.g_bGosSupported;
        StartAgain();
        EXPECT_EQ(telescope->AtPark(), told) << firmware;
        EndTheDriver();
    }
}

TEST_F(ParkMemoryTest, AStatusTextJustAfterThePark_IsNotBelieved_ALaterOneIs) {
    Connect("S", {{"cbxParkTo", "0"}});
    StandForPark();  // says always that it is not parked
    machine.AdvanceTime(10'000);
    telescope->Park();
    const std::int64_t parkedAt = machine.clock.Elapsed();
    ASSERT_TRUE(telescope->AtPark());
    for (int i = 0; i < 3; ++i) {
        driver->queries.QueryGos();
        EXPECT_TRUE(telescope->AtPark()) << machine.clock.Elapsed() - parkedAt;
        EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Parked");
        machine.AdvanceTime(500);
    }
    EXPECT_FALSE(Logged("The mount reports that it is not parked any more"));
    machine.AdvanceTime(1'500);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(TimesLogged("The mount reports that it is not parked any more"), 1);
}

TEST_F(ParkMemoryTest, AParkedMountThatParksElsewhere_IsNotTakenForParkedOnItsWay) {
    Connect("S");
    StandingMount& standing = StandForPark();
    standing.replies["GOS"] = "P90000232O0000#";
    machine.AdvanceTime(10'000);
    ASSERT_TRUE(telescope->AtPark());
    std::int64_t left = 0;
    standing.onCommand = [&](const std::string& command) {
        left = left == 0 && command == "RT9" ? machine.clock.Elapsed() : left;
        // The status text lags behind.
        const bool late = left == 0 || machine.clock.Elapsed() - left < 1'500;
        standing.replies["GOS"] = late ? "P90000232O0000#" : "090S00232O0000#";
    };
    telescope->CommandString("RAW,ParkMount,2", true);
    ASSERT_NE(left, 0);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Parking");
    machine.AdvanceTime(3'000);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_TRUE(driver->state.g_bParking);
    Try([&] { telescope->AbortSlew(); });
    EXPECT_EQ(error, 0U);
    Tape().Clear();
    machine.AdvanceTime(10'000);
    EXPECT_EQ(Tape().Motion().find("KA"), std::string::npos) << Tape().Motion();
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
}

TEST_F(ParkMemoryTest, AStatusTextDuringAPark_TakesAWrongOneBack_WithoutShowingIt) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "2"}});
    telescope->Park();
    machine.AdvanceTime(2'000);
    driver->state.g_tickLastGos = machine.clock.GetTickCount();
    driver->InternalInstance().ParseGOS("P90S00232O0000");
    EXPECT_TRUE(driver->state.g_bParked);
    driver->InternalInstance().ParseGOS("090S00232O0000");
    EXPECT_FALSE(driver->state.g_bParked);
    EXPECT_NE(driver->handBox.lblParkStatus.Text(), "Unparked");
    ExpectParked();
}

/// By a client's own text, or by the hand controller. One text alone may be wrong.
TEST_F(ParkMemoryTest, AParkThatTheMountAloneReports_EndsTheAxes) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "2"}});
    telescope->MoveAxis(0, 0.5);
    telescope->MoveAxis(1, 0.5);
    driver->InternalInstance().ParseGOS("P90S00232O0000");
    EXPECT_TRUE(telescope->Axes().Runs());
    driver->InternalInstance().ParseGOS("090S00232O0000");
    driver->InternalInstance().ParseGOS("P90S00232O0000");
    EXPECT_TRUE(telescope->Axes().Runs());
    telescope->CommandBlind("KA", false);
    machine.AdvanceTime(5'000);
    ASSERT_TRUE(telescope->AtPark());
    EXPECT_FALSE(telescope->Axes().Runs());
    EXPECT_FALSE(telescope->Slewing());
}

TEST_F(ParkMemoryTest, AStatusTextJustAfterAnUnpark_IsNotBelieved) {
    Connect("S");
    StandForPark().replies["GOS"] = "P90000232O0000#";
    machine.AdvanceTime(10'000);
    ASSERT_TRUE(telescope->AtPark());
    driver->motion.MountReportsParked(false);
    telescope->CommandBlind("PO", false);
    driver->queries.QueryGos();
    EXPECT_FALSE(telescope->AtPark());
    machine.AdvanceTime(3'000);
    EXPECT_TRUE(telescope->AtPark());
}

TEST_F(ParkMemoryTest, AStatusTextJustAfterAParkAtAPlace_IsNotBelievedEither) {
    Connect("S", {{"cbxParkTo", "2"}});
    StandingMount& standing = StandForPark();  // says always that it is not parked
    machine.AdvanceTime(10'000);
    telescope->Park();
    standing.replies["GA"] = "+00*00:10.0#";
    standing.replies["GZ"] = "090*00:10.0#";
    ASSERT_TRUE(RunUntil([&] { return Logged("Park completed..."); }));
    for (int i = 0; i < 3; ++i) {
        driver->queries.QueryGos();
        EXPECT_TRUE(telescope->AtPark()) << i;
        machine.AdvanceTime(500);
    }
    machine.AdvanceTime(2'000);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_EQ(TimesLogged("The mount reports that it is not parked any more"), 1);
}

TEST_F(ParkMemoryTest, TheButton_TakesAParkedMountElsewhere) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "0"}});
    telescope->Park();
    machine.AdvanceTime(5'000);
    ASSERT_TRUE(telescope->AtPark());
    PressParkAndChoose(4);
    EXPECT_FALSE(telescope->AtPark());
    EXPECT_TRUE(WaitForParkEnd());
    machine.AdvanceTime(5'000);
    EXPECT_TRUE(telescope->AtPark());
    EXPECT_TRUE(mount->Picture().parked);
    ExpectPointsAt(0.0, 180.0, 0.1);
}

TEST_F(ParkMemoryTest, TheButton_AsksWhere_AndParksThere) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "2"}});
    PressParkAndChoose(4, [&] {
        EXPECT_FALSE(driver->handBox.btnPark.Enabled());
        EXPECT_FALSE(driver->handBox.btnUNPARK.Enabled());
    });
    EXPECT_TRUE(driver->handBox.btnPark.Enabled());
    EXPECT_TRUE(driver->handBox.btnUNPARK.Enabled());
    EXPECT_TRUE(Logged("ParkMount,4")) << "by the verb";
    ExpectParked();
    ExpectPointsAt(0.0, 180.0, 0.1);
}

TEST_F(ParkMemoryTest, TheButton_Parks_UnlessAStopComesAfterTheAnswer) {
    for (const bool afterTheAnswer : {false, true}) {
        SCOPED_TRACE(afterTheAnswer);
        ConnectAt(47.0, "S", {{"cbxParkTo", "2"}});
        int stops = 0;
        const auto stop = [&] {
            machine.pump.Post(CallKind::Stop, [&] {
                ++stops;
                telescope->AbortSlew();
            });
        };
        const auto stopAtOnce = [&] {
            stop();
            machine.pump.PumpStops();
        };
        PressParkAndChoose(
            4, afterTheAnswer ? [] {} : std::function<void()>(stopAtOnce),
            afterTheAnswer ? std::function<void()>(stop) : [] {});
        EXPECT_EQ(stops, 1);
        EXPECT_EQ(driver->state.g_bParking, !afterTheAnswer);
        EXPECT_EQ(Logged("ParkMount() does not begin: it was stopped before it could"), afterTheAnswer);
        EXPECT_TRUE(driver->handBox.btnPark.Enabled());
        EndTheDriver();
    }
}

TEST_F(ParkMemoryTest, TheButtonWithNobodyToAsk_DoesNothing) {
    ConnectAt(47.0, "S", {{"cbxParkTo", "2"}});
    driver->handBox.btnPark.FireClick();
    EXPECT_EQ(MotionDuring([&] { machine.AdvanceTime(1'000); }), "");
    EXPECT_TRUE(LoggedAs("frmAskPark", 1, "No window can be shown: the question counts as cancelled"));
    EXPECT_FALSE(driver->state.g_bParking);
    EXPECT_TRUE(driver->handBox.btnPark.Enabled());
}

}  // namespace
}  // namespace kestrane
