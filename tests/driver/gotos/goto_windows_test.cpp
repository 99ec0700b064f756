#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "driver/slews/slew_wire_fixture.h"
#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"
#include "support/onlooker.h"

namespace kestrane {
namespace {

/// Gotos from the two windows of bookmarks, on the wire.
class GotoWindowsTest : public SlewWireTest {
protected:
    using Texts = std::vector<std::string>;
    frmAskGotoRaDec& RaDec() { return driver->windows.askGotoRaDec; }
    frmAskGtoAltAz& AltAz() { return driver->windows.askGtoAltAz; }
    RecordingMessageBoxes& Boxes() { return machine.messageBoxes; }

    /// Opens the window with one row, which is selected.
    void ShowRaDec(const std::string& ra, const std::string& dec) {
        driver->handBox.btnSlewRaDec.FireClick();
        RaDec().txtDescription.Text("Star");
        RaDec().txtRA.Text(ra);
        RaDec().txtDec.Text(dec);
        RaDec().btnAdd.FireClick();
        RaDec().lvwRaDec.ListIndex(0);
    }
    void ShowAltAz(const std::string& alt, const std::string& az, bool converted) {
        driver->handBox.btnSlewAltAz.FireClick();
        AltAz().chkConvertAltAzRaDec.Checked(converted);
        AltAz().txtDescription.Text("Wall");
        AltAz().txtAlt.Text(alt);
        AltAz().txtAz.Text(az);
        AltAz().btnAdd.FireClick();
        AltAz().lvwAltAz.ListIndex(0);
    }
    /// What goes out, but for questions, in the second after a press.
    std::string SentBy(Button& button) {
        return MotionDuring([&] {
            button.FireClick();
            machine.AdvanceTime(1'000);
        });
    }
    /// A place an hour or so from where the mount points.
    std::string NearRa() { return HoursToHMS(NormalizeHours(driver->state.g_dRa - 1.0), " ", " ", "", 0); }
    std::string OnTheWire(std::string text) {
        for (char& letter : text) {
            letter = letter == ' ' ? ':' : letter;
        }
        return text;
    }
    void StopTracking() {
        telescope->Tracking(false);
        machine.AdvanceTime(6'000);
        LeaveTrackingAlone();
        ASSERT_FALSE(driver->state.g_bTracking);
    }
};

TEST_F(GotoWindowsTest, RaDec_AsksAndSlews) {
    Connect("S");
    const std::string ra = NearRa();
    ShowRaDec(ra, "40 30 00");
    EXPECT_EQ(SentBy(RaDec().btnGoto), "RT2 Sr" + OnTheWire(ra) + ".0 Sd+40*30:00 MS");
    EXPECT_EQ(Boxes().Texts(), Texts{"OK to slew to Ra/Dec = (" + ra + ", 40 30 00) ?"});
    EXPECT_TRUE(LoggedAs("Goto RA/Dec", 0, "Star, RA=" + ra + ", Dec=40 30 00"));
    EXPECT_TRUE(Logged("Starting Slew to RA="));
    EXPECT_TRUE(Logged("SlewToCoordinatesAsync() RA="));
    EXPECT_TRUE(driver->state.g_bSlewing);
    EXPECT_TRUE(WaitForEnd());
    ExpectAt(*AngleOfFields(ra, driver->log), 40.5);
    EXPECT_EQ(RaDec().lvwRaDec.ListIndex(), 0) << "the list stays";
}

TEST_F(GotoWindowsTest, Sign_OfAZero_Counts) {
    Connect("S");
    ShowRaDec(NearRa(), "-0 30 00");
    EXPECT_TRUE(SentBy(RaDec().btnGoto).ends_with("Sd-00*30:00 MS"));
}

TEST_F(GotoWindowsTest, ParkedMount_GetsNoQuestion) {
    Connect("S");
    ShowRaDec(NearRa(), "40 30 00");
    ShowAltAz("40 00 00", "150 00 00", true);
    driver->poll.SetPolling(false);
    driver->motion.MountReportsParked(true);
    for (Button* const button : {&RaDec().btnGoto, &AltAz().btnGoto}) {
        Boxes().shown.clear();
        EXPECT_EQ(SentBy(*button), "");
        EXPECT_EQ(Boxes().Texts(), Texts{"Please Unpark mount first!"});
    }
}

TEST_F(GotoWindowsTest, MountThatParksUnderTheQuestion_IsLeftAlone) {
    Connect("S");
    StopTracking();
    ShowRaDec(NearRa(), "40 30 00");
    driver->poll.SetPolling(false);
    Boxes().whenShown = [this](const auto&) { driver->motion.MountReportsParked(true); };
    EXPECT_EQ(SentBy(RaDec().btnGoto), "");
    EXPECT_EQ(Boxes().Texts().back(), "Please Unpark mount first!");
}

TEST_F(GotoWindowsTest, Cancel_SendsNothing) {
    Connect("S");
    ShowRaDec(NearRa(), "40 30 00");
    ShowAltAz("40 00 00", "150 00 00", true);
    for (Button* const button : {&RaDec().btnGoto, &AltAz().btnGoto}) {
        Boxes().answers = {MessageAnswer::Cancel};
        EXPECT_EQ(SentBy(*button), "");
    }
    EXPECT_EQ(Boxes().shown.size(), 2U);
    EXPECT_FALSE(Logged("Starting Slew to"));
}

TEST_F(GotoWindowsTest, WithoutASelectedRow_NothingHappens) {
    Connect("S");
    ShowRaDec(NearRa(), "40 30 00");
    RaDec().lvwRaDec.ListIndex(-1);
    EXPECT_EQ(SentBy(RaDec().btnGoto), "");
    EXPECT_TRUE(Boxes().shown.empty());
}

TEST_F(GotoWindowsTest, RowThatIsNoPlace_IsToldAndNotAsked) {
    Connect("S");
    bool isNew = true;
    driver->persist.database()->SetGotoRaDec({0, "Old", "Old", "", "25 0 0", "1 0 0"}, isNew);
    driver->handBox.btnSlewRaDec.FireClick();
    RaDec().lvwRaDec.ListIndex(0);
    EXPECT_EQ(SentBy(RaDec().btnGoto), "");
    ASSERT_EQ(Boxes().shown.size(), 1U);
    EXPECT_TRUE(Boxes().Texts()[0].starts_with("RA must be three numbers"));
}

TEST_F(GotoWindowsTest, TrackingThatIsOff_IsTurnedOnFirst) {
    for (const bool altAz : {false, true}) {
        Connect("S");
        StopTracking();
        if (altAz) {
            ShowAltAz("50 00 00", "150 00 00", true);
        } else {
            ShowRaDec(NearRa(), "40 30 00");
        }
        const std::string sent = SentBy(altAz ? AltAz().btnGoto : RaDec().btnGoto);
        const std::size_t tracks = sent.find("RT2");
        ASSERT_NE(tracks, std::string::npos) << sent;
        EXPECT_LT(tracks, sent.find("Sr")) << sent;
        EXPECT_TRUE(sent.ends_with("MS")) << sent;
        EXPECT_TRUE(driver->state.g_bTracking);
        EXPECT_EQ(Boxes().shown.size(), altAz ? 2U : 1U);
        EndTheDriver();
    }
}

TEST_F(GotoWindowsTest, AltAz_Converted_SlewsToTheSamePlaceInRaDec) {
    Connect("S");
    ShowAltAz("50 00 00", "150 00 00", true);
    const std::string sent = SentBy(AltAz().btnGoto);
    EXPECT_NE(sent.find(" Sr"), std::string::npos) << sent;
    EXPECT_EQ(sent.find("Sa"), std::string::npos) << sent;
    EXPECT_EQ(Boxes().Texts(), Texts{"OK to slew to Alt/Az = (50 00 00, 150 00 00) ?"});
    EXPECT_TRUE(LoggedAs("Goto Alt/Az", 0, "Wall, Alt=50 00 00, Az=150 00 00"));
    EXPECT_TRUE(WaitForEnd());
    EXPECT_NEAR(mount->Picture().altitude, 50.0, 0.5);
    EXPECT_NEAR(mount->Picture().azimuth, 150.0, 1.0);
}

TEST_F(GotoWindowsTest, AltAz_NotConverted_SlewsOverTheHorizon) {
    Connect("S");
    StopTracking();
    ShowAltAz("45 30 00", "150 00 00", false);
    EXPECT_EQ(SentBy(AltAz().btnGoto), "# Q RT9 Sa+45*30:00 Sz150*00:00 MS");
    EXPECT_TRUE(LoggedAs("Goto Alt/Az", 0, "Starting Slew to Alt=45.5, Az=150"));
    EXPECT_TRUE(WaitForEnd());
    EXPECT_NEAR(mount->Picture().altitude, 45.5, 0.1);
    EXPECT_FALSE(driver->state.g_bTracking);
}

TEST_F(GotoWindowsTest, Error_IsShownInABox) {
    Connect("S");
    ShowAltAz("45 30 00", "150 00 00", false);
    EXPECT_EQ(SentBy(AltAz().btnGoto), "") << "the mount tracks";
    EXPECT_EQ(Boxes().Texts().back(), "Wrong tracking state");
    EXPECT_EQ(Boxes().shown.back().icon, MessageIcon::Critical);
    StopTracking();
    mount->Add(std::make_unique<AnswersWith>("MS", "1"));
    SentBy(AltAz().btnGoto);
    EXPECT_EQ(Boxes().Texts().back(), "The selected coordinates are below the horizon.");
    EXPECT_EQ(AltAz().lvwAltAz.ListItems().size(), 1U);
}

TEST_F(GotoWindowsTest, WithoutAConnection_IsShownInABox) {
    Connect("S");
    ShowRaDec(NearRa(), "40 30 00");
    telescope->Connected(false);
    machine.AdvanceTime(1'000);
    RaDec().btnGoto.FireClick();
    machine.AdvanceTime(1'000);
    EXPECT_EQ(Boxes().Texts().back(), "The scope is not connected");
}

/// The person who has said OK may see the mount run towards a pillar.
TEST_F(GotoWindowsTest, StopRightAfterTheAnswer_KeepsTheMountWhereItIs) {
    Connect("S");
    StopTracking();
    ShowRaDec(NearRa(), "40 30 00");
    const std::string sent = MotionDuring([&] {
        machine.pump.Post(CallKind::WaitsLong, [&] {
            driver->panel.Press(ButtonAction::GotoRaDec);
            machine.pump.PumpMessages();  // the question, and its answer
            machine.pump.Post(CallKind::Stop, [&] { driver->panel.AbortSlew(); });
        });
        machine.AdvanceTime(1'000);
    });
    EXPECT_EQ(Boxes().shown.size(), 1U);
    EXPECT_EQ(sent.find("MS"), std::string::npos) << sent;
    EXPECT_EQ(sent.find("RT2"), std::string::npos) << sent;
    EXPECT_FALSE(driver->state.g_bSlewing);
}

/// Whoever asks sees the answer a moment after the press; calls that run under the question may hold him for long.
TEST_F(GotoWindowsTest, StopBetweenThePressAndTheEndOfTheQuestion_KeepsTheMountWhereItIs) {
    Connect("S");
    ShowRaDec(NearRa(), "40 30 00");
    frmAskMessage& question = driver->windows.askMessage;
    Onlooker view;
    question.Attach(view);
    const When shown(
        machine.pump, [&] { return question.Visible(); },
        [&] {
            question.btnOK.FireClick();
            driver->statusPanel.AskToStop();
        });
    const std::string sent = SentBy(RaDec().btnGoto);
    question.Detach(view);
    EXPECT_TRUE(shown.Happened());
    EXPECT_EQ(sent.find("MS"), std::string::npos) << sent;
    EXPECT_TRUE(Logged("Goto RA/Dec() does not begin: it was stopped before it could"));
    EXPECT_FALSE(driver->state.g_bSlewing);
}

/// Neither the call in whose pump a person presses nor the poll waits for the answer.
TEST_F(GotoWindowsTest, Question_IsALongCallOfItsOwn) {
    Connect("S");
    ShowRaDec(NearRa(), "40 30 00");
    machine.pump.Post(CallKind::Brief, [&] {
        RaDec().btnGoto.FireClick();
        machine.pump.PumpMessages();
        EXPECT_TRUE(Boxes().shown.empty());
    });
    machine.AdvanceTime(1'000);
    EXPECT_EQ(Boxes().shown.size(), 1U);
}

}  // namespace
}  // namespace kestrane
