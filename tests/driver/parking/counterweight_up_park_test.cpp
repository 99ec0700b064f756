#include <cmath>
#include <gtest/gtest.h>
#include <tuple>

#include "driver/parking/park_fixture.h"
#include "simulator/misbehaviours.h"
#include "telescope/motion/park_end.h"

namespace kestrane {
namespace {

/// Does something when the mount answers a command, the first time.
class Tells final : public ReplyMisbehaviour {
public:
    Tells(std::string_view command, std::function<void()> action)
        : ReplyMisbehaviour(command, 1), action_(std::move(action)) {}

private:
    void Strike(SimulatedReply&) override { action_(); }
    std::function<void()> action_;
};

/// A place with the counterweight up that a person keeps, and a park there later.
class CounterweightUpParkTest : public ParkTest {
protected:
    void ConnectUp(const MountPointing& place, const SettingTexts& settings = {}, const std::string& firmware = "S") {
        ConnectAt(47.0, firmware, settings, place);
        ASSERT_TRUE(driver->state.g_bCounterweightUp);
    }
    /// Presses the button and accepts what it asks.
    void PressSetPark() {
        pressed = mount->Picture();
        frmAskCustomParkOK& form = driver->windows.askCustomParkOK;
        form.Attach(view_);
        const When shown(
            machine.pump, [&] { return form.Visible(); },
            [&] {
                whileAsked();
                form.btnOK.FireClick();
            });
        driver->handBox.btnSetPark.FireClick();
        machine.AdvanceTime(500);
        form.Detach(view_);
        EXPECT_TRUE(shown.Happened());
        driver->persist.Write(setting::cbxParkTo, "6");
    }
    /// Neither driver nor mount has a meridian delay.
    void ExpectNoDelay() {
        EXPECT_EQ(driver->state.g_dMeridianDelay, 0.0);
        EXPECT_EQ(mount->Picture().meridianDelay, 0.0);
    }
    std::function<void()> whileAsked = [] {};  ///< runs while the question of the button is open

    void GoElsewhere() {
        telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 1.0), 20.0);
        telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() + 1.0), 20.0);
        machine.AdvanceTime(6'000);
    }

    /// A place is kept with the counterweight up, and the mount has gone elsewhere since.
    void KeepAPlaceAndGo(const SettingTexts& settings = {}, const std::string& firmware = "S") {
        ConnectUp({2.0, 40.0, true}, settings, firmware);
        PressSetPark();
        GoElsewhere();
        gotosBefore_ = TimesSent("MS");
    }
    /// The legs that have been sent of a park to that place.
    int Legs() { return TimesSent("MS") - gotosBefore_; }
    bool LegIsUnderWay(int leg) { return Legs() == leg && mount->Picture().slewing; }

    MountPicture pressed;  ///< when the button was pressed last

private:
    ParkWatcher view_;
    int gotosBefore_ = 0;
};

class PlaceReachedTest : public CounterweightUpParkTest, public testing::WithParamInterface<MountPointing> {};

TEST_P(PlaceReachedTest, ThePlaceReachedIsThePlacePressed_OnTheSameSide) {
    const MountPointing place = GetParam();
    ConnectUp(place);
    PressSetPark();
    EXPECT_EQ(driver->persist.Read(setting::CounterWeightsUpPark), "1");
    GoElsewhere();
    const int gotos = TimesSent("MS");
    telescope->Park();
    ExpectParked();
    EXPECT_EQ(TimesSent("MS") - gotos, 2);
    const MountPicture reached = mount->Picture();
    EXPECT_EQ(reached.westSide, pressed.westSide);
    EXPECT_NEAR(reached.hourAngle, pressed.hourAngle, 0.02);
    EXPECT_NEAR(reached.declination, pressed.declination, 0.02);
    EXPECT_NEAR(reached.hourAxis, pressed.hourAxis, 0.5);
}

INSTANTIATE_TEST_SUITE_P(Places, PlaceReachedTest,
                         testing::Values(MountPointing{-0.5, 40.0, false}, MountPointing{-2.0, 40.0, false},
                                         MountPointing{-4.8, 60.0, false}, MountPointing{-7.2, 75.0, false},
                                         MountPointing{-9.0, 75.0, false}, MountPointing{-11.0, 75.0, false},
                                         MountPointing{0.5, 40.0, true}, MountPointing{2.0, 40.0, true},
                                         MountPointing{4.8, 60.0, true}, MountPointing{7.2, 75.0, true},
                                         MountPointing{9.0, 75.0, true}, MountPointing{11.0, 75.0, true}),
                         [](const auto& row) {
                             return std::string(row.param.westSide ? "West" : "East") +
                                    std::to_string(static_cast<int>(std::abs(row.param.hourAngle) * 10));
                         });

TEST_F(CounterweightUpParkTest, InTheSouth_ThePlaceReachedIsThePlacePressed) {
    for (const bool west : {true, false}) {
        SCOPED_TRACE(west ? "west" : "east");
        ConnectAt(-47.0, "S", {}, MountPointing{west ? 2.0 : -2.0, -40.0, west});
        ASSERT_TRUE(driver->state.g_bCounterweightUp);
        PressSetPark();
        telescope->SlewToCoordinates(NormalizeHours(telescope->SiderealTime() - 1.0), -20.0);
        machine.AdvanceTime(6'000);
        telescope->Park();
        ExpectParked();
        EXPECT_EQ(mount->Picture().westSide, pressed.westSide);
        EXPECT_NEAR(mount->Picture().hourAngle, pressed.hourAngle, 0.02);
        EXPECT_NEAR(mount->Picture().declination, pressed.declination, 0.02);
        EndTheDriver();
    }
}

TEST_F(CounterweightUpParkTest, ADelayOfTheUser_DoesNotMoveThePlace) {
    ConnectUp({2.0, 40.0, true});
    PressSetPark();
    EXPECT_EQ(telescope->CommandString("RAW,SetMeridianDelay,1", true), "1");
    machine.AdvanceTime(2'000);
    GoElsewhere();
    Tape().Clear();
    telescope->Park();
    ExpectParked();
    EXPECT_NE(Tape().Motion().find("SM-03:00:"), std::string::npos) << Tape().Motion();
    EXPECT_EQ(mount->Picture().westSide, pressed.westSide);
    EXPECT_NEAR(mount->Picture().hourAngle, pressed.hourAngle, 0.02);
}

TEST_F(CounterweightUpParkTest, ARestartInEitherLeg_IsNotParked_AndSendsNoSecondLeg) {
    for (const int leg : {1, 2}) {
        SCOPED_TRACE(leg);
        KeepAPlaceAndGo();
        telescope->Park();
        ASSERT_TRUE(RunUntil([&] { return LegIsUnderWay(leg); }));
        driver->EndOnRequest();
        telescope.reset();
        EndTheDriver();
        machine.ConnectMount(1, *mount);
        telescope = ConnectedTelescope();
        machine.AdvanceTime(90'000);
        EXPECT_FALSE(telescope->AtPark());
        EXPECT_FALSE(mount->Picture().parked);
        EXPECT_EQ(Legs(), leg);
        EndTheDriver();
    }
}

TEST_F(CounterweightUpParkTest, BothLegsGoOutInTheirOrder) {
    KeepAPlaceAndGo();
    Tape().Clear();
    telescope->Park();
    ExpectParked();
    const std::string sent = Tape().Motion();
    const auto first = sent.find("MS");
    const auto delay = sent.find("SM-03:00:");
    const auto second = sent.find("MS", first + 2);
    ASSERT_NE(delay, std::string::npos) << sent;
    EXPECT_LT(first, delay);
    EXPECT_LT(delay, second);
    EXPECT_TRUE(sent.ends_with("MS KA")) << sent;
}

TEST_F(CounterweightUpParkTest, ByDistance_BothLegsLeadToItToo) {
    KeepAPlaceAndGo({{"DontUseGOSForSlew", "1"}, {"DontQueryGOS", "1"}});
    telescope->Park();
    ExpectParked();
    EXPECT_NEAR(mount->Picture().hourAngle, pressed.hourAngle, 0.02);
    EXPECT_EQ(mount->Picture().westSide, pressed.westSide);
}

TEST_F(CounterweightUpParkTest, AFirstLegThatEndsShort_IsFollowedByNothing) {
    KeepAPlaceAndGo();
    mount->Add(std::make_unique<Stalls>(5.0));
    telescope->Park();
    machine.AdvanceTime(90'000);
    EXPECT_EQ(Legs(), 1);
    EXPECT_EQ(TimesSent("KA"), 0);
    EXPECT_TRUE(driver->state.g_bParking);
    telescope->AbortSlew();
    ExpectCancelled();
    ExpectNoDelay();
}

/// Firmware that knows no delay gets it with its clock.
TEST_F(CounterweightUpParkTest, WithoutTheCommandsOfADelay_TheSecondLegFollowsTheTimeThatStandsForIt) {
    for (const bool taken : {true, false}) {
        SCOPED_TRACE(taken ? "taken" : "refused");
        Connect("E3", {{"cbxParkTo", "6"},
                       {"CounterWeightsUpPark", "1"},
                       {"CounterWeightsUpHourAngle", "2"},
                       {"CounterWeightsUpTimeOffset", "10"},
                       {"CounterWeightsUpParkIntermediateSlewDec", "40"}});
        ExpectSwallow("*");
        StandingMount& standing = StandForPark();
        machine.AdvanceTime(10'000);
        ASSERT_FALSE(driver->state.g_bHasMeridianQuery);
        Tape().Clear();
        telescope->Park();
        ASSERT_TRUE(driver->state.g_bParking);
        const std::string first = Tape().Motion();
        standing.replies["SL"] = taken ? "1" : "0";
        // At the end of the first leg.
        standing.Stand(HoursToHMS(driver->state.g_dTargetRa, ":", ":", "", 1), "+40*00:00.0", "04:00:00", "West");
        Tape().Clear();
        machine.AdvanceTime(15'000);
        const std::string second = Tape().Motion();
        EXPECT_NE(second.find("SL"), std::string::npos) << first << " | " << second;
        EXPECT_EQ(second.find("MS") != std::string::npos, taken) << first << " | " << second;
        EXPECT_EQ(driver->state.g_bParking, taken);
        if (!taken) {
            EXPECT_EQ(driver->state.g_dMeridianDelay, 0.0) << "the next time takes the clock back";
        }
        EndTheDriver();
        log.clear();
    }
}

TEST_F(CounterweightUpParkTest, APlaceKeptOnTheWay_IsThatOfTheNextPark) {
    KeepAPlaceAndGo();
    Tape().Clear();
    telescope->Park();
    driver->persist.Write(setting::CounterWeightsUpHourAngle, "4");
    driver->persist.Write(setting::CounterWeightsUpTimeOffset, "8");
    driver->persist.Write(setting::CounterWeightsUpParkIntermediateSlewDec, "10");
    ExpectParked();
    EXPECT_NE(Tape().Motion().find("SM-03:00:"), std::string::npos) << Tape().Motion();
    EXPECT_NEAR(mount->Picture().hourAngle, pressed.hourAngle, 0.02);
    EXPECT_NEAR(mount->Picture().declination, pressed.declination, 0.02);
}

TEST_F(CounterweightUpParkTest, APlaceWithoutADelayThatComesDuringTheMoveBefore_EndsThePark) {
    ConnectUp({2.0, 40.0, true});
    PressSetPark();
    const When lettingDown(
        machine.pump, [&] { return driver->state.g_bLeavingCwUp && mount->Picture().hourSpeed != 0.0; },
        [&] {
            driver->persist.Write(setting::CounterWeightsUpHourAngle, "6");
            driver->persist.Write(setting::CounterWeightsUpTimeOffset, "6");
        });
    ExpectSwallow("ParkMount");
    telescope->Park();
    EXPECT_TRUE(lettingDown.Happened());
    ExpectCancelled(false);
    EXPECT_EQ(TimesSent("MS"), 0);
    EXPECT_TRUE(Logged("No park with the counterweight up at this hour angle"));
}

TEST_F(CounterweightUpParkTest, WithoutItsDelay_TheSecondLegNeverFollows) {
    for (const bool isRefused : {true, false}) {
        KeepAPlaceAndGo();
        ExpectSwallow("*");
        telescope->Park();
        if (isRefused) {
            mount->Add(std::make_unique<AnswersWith>("SM", "0", 9));
        } else {
            mount->Add(std::make_unique<DropsReply>("SM", 9));
        }
        ExpectCancelled(false);
        EXPECT_EQ(Legs(), 1);
        EXPECT_TRUE(Logged("the second one could not be sent"));
        ExpectNoDelay();
        EndTheDriver();
    }
}

TEST_F(CounterweightUpParkTest, AroundMidnight_TheSecondLegNeverFollows) {
    KeepAPlaceAndGo();
    telescope->Park();
    machine.clock.SetLocalTime(DateTime{2024, 3, 5, 23, 58, 10, 0});
    ExpectCancelled(false);
    EXPECT_EQ(Legs(), 1);
    ExpectNoDelay();
}

TEST_F(CounterweightUpParkTest, AnHourAngleWithoutADelay_IsSaidAtOnce_AndNothingMoves) {
    ConnectUp({6.0, 75.0, true});
    driver->handBox.btnSetPark.FireClick();
    machine.AdvanceTime(500);
    ASSERT_EQ(machine.messageBoxes.shown.size(), 1U);
    EXPECT_TRUE(machine.messageBoxes.shown[0].text.starts_with("The mount cannot park here with its counterweight up"));
    EXPECT_EQ(driver->persist.Read(setting::CounterWeightsUpPark), "0");
    driver->persist.Write(setting::cbxParkTo, "6");
    driver->persist.Write(setting::CounterWeightsUpPark, "1");
    driver->persist.Write(setting::CounterWeightsUpHourAngle, "6");
    driver->persist.Write(setting::CounterWeightsUpTimeOffset, "6");
    telescope->Park();
    ExpectCancelled(false);
    EXPECT_EQ(TimesSent("MS"), 0);
    EXPECT_EQ(TimesSent("RC2"), 0);
    EXPECT_TRUE(Logged("No park with the counterweight up at this hour angle"));
}

enum class LegStopper { Client, Verb, HandBox, HandBoxWithoutClients };
constexpr const char* kLegStoppers[]{"Client", "Verb", "HandBox", "HandBoxWithoutClients"};

class LegStopTest : public CounterweightUpParkTest,
                    public testing::WithParamInterface<std::tuple<std::string, int, LegStopper>> {
protected:
    void Stop() {
        switch (std::get<LegStopper>(GetParam())) {
            case LegStopper::Client:
                return telescope->AbortSlew();
            case LegStopper::Verb:
                EXPECT_EQ(telescope->CommandString("RAW,CancelPark", true), "1");
                return;
            case LegStopper::HandBoxWithoutClients:
                telescope->Connected(false);
                telescope.reset();
                [[fallthrough]];
            case LegStopper::HandBox:
                driver->panel.AbortSlew();
        }
    }
};

TEST_P(LegStopTest, EndsThePark_AndLeavesNoDelay) {
    const auto [firmware, leg, stopper] = GetParam();
    KeepAPlaceAndGo({}, firmware);
    ParkLabel label(driver->handBox);
    const When stop(
        machine.pump, [&, leg = leg] { return LegIsUnderWay(leg); },
        [&] {
            Tape().Clear();
            Stop();
        });
    telescope->Park();
    ASSERT_TRUE(RunUntil([&] { return stop.Happened(); }));
    EXPECT_TRUE(WaitForParkEnd());
    machine.AdvanceTime(5'000);
    EXPECT_EQ(Legs(), leg);
    EXPECT_EQ(TimesSent("KA"), 0);
    EXPECT_EQ(label.Times("Park Canceled"), 1);
    EXPECT_EQ(TimesLogged("Park canceled..."), 1);
    EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
    EXPECT_FALSE(mount->Picture().slewing);
    EXPECT_EQ(mount->Picture().tracking, '2') << "as before";
    const std::string sent = Tape().Motion();
    const std::string time = driver->state.g_bHasMeridianQuery ? "RT2 SM00:00:00 SL" : "RT2 SL";
    EXPECT_EQ(sent.find(time) != std::string::npos, leg == 2) << sent;
    ExpectNoDelay();
    if (telescope) {
        ExpectCancelled();
    } else {
        EXPECT_EQ(machine.processes.ends, 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Legs, LegStopTest,
                         testing::Combine(testing::Values("S", "EK5"), testing::Values(1, 2),
                                          testing::Values(LegStopper::Client, LegStopper::Verb, LegStopper::HandBox,
                                                          LegStopper::HandBoxWithoutClients)),
                         [](const auto& row) {
                             return std::get<0>(row.param) + "Leg" + std::to_string(std::get<1>(row.param)) +
                                    kLegStoppers[static_cast<int>(std::get<2>(row.param))];
                         });

TEST_F(CounterweightUpParkTest, AClientThatGoesInTheSecondLegThatIsRefused_LeavesNoDelay) {
    KeepAPlaceAndGo();
    ExpectSwallow("*");
    telescope->Park();
    telescope->Connected(false);
    telescope.reset();
    mount->Add(std::make_unique<AnswersWith>("MS", "1"));
    EXPECT_TRUE(WaitForParkEnd());
    machine.AdvanceTime(5'000);
    EXPECT_EQ(Legs(), 2);
    EXPECT_EQ(TimesSent("KA"), 0);
    ExpectNoDelay();
}

TEST_F(CounterweightUpParkTest, ARefusedSecondLeg_LeavesNoDelay) {
    KeepAPlaceAndGo();
    ExpectSwallow("*");
    telescope->Park();
    ASSERT_EQ(Legs(), 1);
    mount->Add(std::make_unique<AnswersWith>("MS", "1"));
    ExpectCancelled(false);
    EXPECT_EQ(Legs(), 2);
    ExpectNoDelay();
}

TEST_F(CounterweightUpParkTest, WhoTakesTheMountInTheSecondLeg_IsToldOfTheDelay) {
    KeepAPlaceAndGo();
    telescope->Park();
    ASSERT_TRUE(RunUntil([&] { return LegIsUnderWay(2); }));
    EXPECT_EQ(MotionDuring([&] { telescope->Tracking(true); }), "Q RT2");
    EXPECT_TRUE(Logged("The mount keeps the meridian delay that the park has given it: -3"));
    telescope->Park();
    ASSERT_TRUE(driver->state.g_bParking);
    EXPECT_EQ(mount->Picture().meridianDelay, 0.0);
}

TEST_F(CounterweightUpParkTest, TrackingThatIsSwitchedOffOnTheWayToTheSecondLeg_KeepsItFromBeginning) {
    for (const std::string at : {"SM", "Sr", "Sd"}) {
        SCOPED_TRACE(at);
        KeepAPlaceAndGo();
        telescope->Park();
        bool called = false;
        mount->Add(std::make_unique<Tells>(at, [&] {
            machine.pump.PostAt(machine.clock.Elapsed(), CallKind::StopsOne, [&] {
                called = true;
                telescope->Tracking(false);
            });
        }));
        machine.AdvanceTime(120'000);
        ASSERT_TRUE(called);
        EXPECT_EQ(Legs(), 1);
        ExpectCancelled(false);
        EndTheDriver();
    }
}

TEST_F(CounterweightUpParkTest, AClientThatGoesInTheFirstLeg_DoesNotKeepTheSecondFromFollowing) {
    KeepAPlaceAndGo();
    telescope->Park();
    telescope->Connected(false);
    telescope.reset();
    EXPECT_TRUE(WaitForParkEnd());
    machine.AdvanceTime(3'000);
    EXPECT_EQ(Legs(), 2);
    EXPECT_TRUE(mount->Picture().parked);
}

TEST_F(CounterweightUpParkTest, ADelayThatCannotBeSent_IsNotTaken) {
    ConnectUp({2.0, 40.0, true});
    ExpectSwallow("*");
    driver->state.g_bDelayTaken = true;  // the one of an earlier time
    driver->state.g_bLostComms = true;
    EXPECT_FALSE(ParkEnd(driver->InternalInstance()).SetTimeOffset(-3.0));
}

TEST_F(CounterweightUpParkTest, ThePlaceIsTheOneWhenTheButtonWasPressed) {
    ConnectUp({2.0, 40.0, true});
    whileAsked = [&] {
        driver->state.g_dHourAngle = 3.0;
        driver->state.g_dDec = 10.0;
        driver->state.g_nSideOfPier = pier_side::East;
    };
    PressSetPark();
    const auto number = [&](const SettingKey& key) { return std::stod(driver->persist.Read(key)); };
    EXPECT_NEAR(number(setting::CounterWeightsUpHourAngle), 2.0, 0.02);
    EXPECT_NEAR(number(setting::CounterWeightsUpTimeOffset), 10.0, 0.02);
    EXPECT_NEAR(number(setting::CounterWeightsUpParkIntermediateSlewDec), 40.0, 0.02);
}

TEST_F(CounterweightUpParkTest, ThePlaceOfAVerb_EndsIt) {
    ConnectUp({2.0, 40.0, true});
    PressSetPark();
    ASSERT_EQ(driver->persist.Read(setting::CounterWeightsUpPark), "1");
    EXPECT_EQ(telescope->CommandString("RAW,SetParkAltAz,30,120", true), "1");
    EXPECT_EQ(driver->persist.Read(setting::CounterWeightsUpPark), "0");
}

TEST_F(CounterweightUpParkTest, APlaceWithTheCounterweightDown_IsAPlainOne) {
    ConnectAt(47.0, "S", {{"CounterWeightsUpPark", "1"}}, MountPointing{2.0, 40.0, false});
    PressSetPark();
    EXPECT_EQ(driver->persist.Read(setting::CounterWeightsUpPark), "0");
    EXPECT_EQ(driver->handBox.txtUserParkAlt.Text(), driver->persist.Read(setting::txtUserParkAlt));
    GoElsewhere();
    telescope->Park();
    ExpectParked();
    ExpectPointsAt(pressed.altitude, pressed.azimuth, 0.1);
}

TEST_F(CounterweightUpParkTest, APlaceThatIsNotAccepted_ChangesNothing) {
    ConnectUp({2.0, 40.0, true}, {{"txtUserParkAlt", "11"}});
    driver->handBox.btnSetPark.FireClick();
    machine.AdvanceTime(500);
    EXPECT_TRUE(LoggedAs("frmAskCustomParkOK", 1, "No window can be shown: the question counts as cancelled"));
    EXPECT_EQ(driver->persist.Read(setting::CounterWeightsUpPark), "0");
    EXPECT_EQ(driver->persist.Read(setting::txtUserParkAlt), "11");
}

TEST_F(CounterweightUpParkTest, SetParkOfAClient_EndsIt) {
    ConnectUp({2.0, 40.0, true});
    PressSetPark();
    telescope->SetPark();
    EXPECT_EQ(driver->persist.Read(setting::CounterWeightsUpPark), "0");
}

}  // namespace
}  // namespace kestrane
