#include <algorithm>
#include <limits>
#include <vector>

#include "mount_fixture.h"

namespace kestrane {
namespace {

constexpr double kSidereal = 15.0410686 / 3600;  // degrees per second

double FoldedHours(double hours) {
    return std::remainder(hours, 24.0);
}

class MotionTest : public MountTest {};

TEST_F(MotionTest, PowerOn_ReportsTheUninitialisedPositionAndTracksNothing) {
    EXPECT_EQ(Ask("GR"), "00:00:00.00#");
    EXPECT_EQ(Ask("GD"), "+90*00:00.0#");
    EXPECT_EQ(Ask("GOS").substr(0, 2), "P9");
    Wait(3'600'000);
    EXPECT_EQ(Ask("GR"), "00:00:00.00#");
    EXPECT_EQ(Mount().Picture().hourAxis, 0);
}

TEST_F(MotionTest, Unparked_TracksTheSky) {
    options.parkedAtPowerOn = false;
    const MountPicture before = Mount().Picture();
    EXPECT_NEAR(before.hourAngle, 3, 1e-9);
    EXPECT_NEAR(before.declination, 45, 1e-9);
    Wait(3'600'000);
    const MountPicture after = Mount().Picture();
    EXPECT_NEAR(FoldedHours(after.rightAscension - before.rightAscension) * 3600, 0, 0.01);
    EXPECT_NEAR(after.hourAxis - before.hourAxis, kSidereal * 3600, 1e-4);
}

TEST_F(MotionTest, Unpark_TellsWhereTheHomePositionPoints) {
    Ask("PO");
    const MountPicture picture = Mount().Picture();
    EXPECT_TRUE(picture.initialised);
    EXPECT_FALSE(picture.parked);
    EXPECT_NEAR(picture.hourAngle, 6, 1e-4);
    EXPECT_EQ(picture.declination, 90);
    EXPECT_NE(Ask("GR"), "00:00:00.00#");
    EXPECT_EQ(Ask("GOS").substr(0, 2), "02");
}

TEST_F(MotionTest, Slew_ArrivesAtTheTargetAndStaysOnIt) {
    Ask("PO");
    const std::string ra = WireHours(Mount().Picture().siderealTime - 2);
    Ask("Sr" + ra);
    Ask("Sd+20*30:15");
    EXPECT_EQ(Ask("MS"), "0");
    EXPECT_EQ(Ask("GOS")[3], 'S');
    const std::int32_t waited = WaitForSlew();
    EXPECT_GT(waited, 5000);
    EXPECT_LT(waited, 60000);
    EXPECT_EQ(Ask("GOS")[3], '0');
    EXPECT_EQ(Ask("GR"), ra + ".00#");
    EXPECT_EQ(Ask("GD"), "+20*30:15.0#");
    Wait(600'000);
    EXPECT_EQ(Ask("GR"), ra + ".00#");
    EXPECT_EQ(Ask("GD"), "+20*30:15.0#");
}

TEST_F(MotionTest, Slew_KeepsToSpeedAndAcceleration) {
    TargetHourAngle(4, "-10*00:00");
    Mount().Write(":MS#");
    MountPicture before = Mount().Picture();
    double highest = 0;
    while (before.slewing) {
        Wait(10);
        const MountPicture now = Mount().Picture();
        EXPECT_LE(std::abs(now.polarSpeed), options.slewSpeed + 1e-9);
        EXPECT_LE(std::abs(now.polarSpeed - before.polarSpeed), options.slewAcceleration * 0.01 + 1e-3);
        EXPECT_NEAR(now.polarAxis - before.polarAxis, (now.polarSpeed + before.polarSpeed) / 2 * 0.01, 1e-3);
        EXPECT_GE(now.polarAxis, before.polarAxis - 1e-9);
        highest = std::max(highest, now.polarSpeed);
        before = now;
    }
    EXPECT_NEAR(highest, options.slewSpeed, 1e-9);
    EXPECT_NEAR(before.declination, -10, 1e-4);
}

TEST_F(MotionTest, Slew_TakesAsLongAsTheSpeedSays) {
    // 100 degrees at 5 per second with 1 s up and 1 s down.
    TargetHourAngle(5, "-10*00:00");
    ASSERT_EQ(Ask("St+00*00:00"), "1");
    ASSERT_EQ(Ask("MS"), "0");
    EXPECT_NEAR(WaitForSlew(), 21'000 - 200, 100);
}

TEST_F(MotionTest, Slew_ReadOftenOrOnce_EndsAtTheSamePlace) {
    TargetHourAngle(-3, "+35*00:00");
    ASSERT_EQ(Ask("MS"), "0");
    VirtualClock otherClock = EveningClock();
    MountSimulator other(otherClock, options);
    other.Write(":PO#");
    otherClock.Sleep(200);
    for (const std::string& command : Mount().Commands()) {
        if (command != "PO") {
            other.Write(':' + command + '#');
            otherClock.Sleep(200);
        }
    }
    for (int i = 0; i < 8000; ++i) {
        Wait(1);
        Mount().Picture();
    }
    otherClock.Sleep(8000);
    EXPECT_NEAR(Mount().Picture().hourAxis, other.Picture().hourAxis, 1e-9);
    EXPECT_NEAR(Mount().Picture().polarAxis, other.Picture().polarAxis, 1e-9);
}

TEST_F(MotionTest, SlewRate_ScalesTheSpeed) {
    TargetHourAngle(4, "+10*00:00");
    Ask("RS0");
    Mount().Write(":MS#");
    Wait(8000);
    EXPECT_NEAR(Mount().Picture().polarSpeed, options.slewSpeed / 2, 1e-9);
    Ask("Q");
    Ask("Rs240");
    Wait(8000);
    Mount().Write(":MS#");
    Wait(5000);
    EXPECT_NEAR(Mount().Picture().polarSpeed, options.slewSpeed / 5, 1e-9);
}

TEST_F(MotionTest, Slew_RefusesWhatItCannotReach) {
    options.minimumElevation = 15;
    EXPECT_EQ(Ask("MS"), "9") << "no target";
    Ask("Sa-00*10:00");
    EXPECT_EQ(Ask("MS"), "9") << "half a target";
    Ask("Sz100*00:00");
    EXPECT_EQ(Ask("MS"), "1");
    Ask("Sa+14*59:59");
    EXPECT_EQ(Ask("MS"), "2");
    EXPECT_FALSE(Mount().Picture().initialised);
    Ask("Sa+15*00:00");
    EXPECT_EQ(Ask("MS"), "0");
    Ask("Q");
    TargetHourAngle(12, "-30*00:00");
    EXPECT_EQ(Ask("MS"), "1");
}

TEST_F(MotionTest, AltAzSlew_WithTrackingOff_StandsStill) {
    Ask("PO");
    Ask("RT9");
    Ask("Sa+30*00:00");
    Ask("Sz225*00:00");
    EXPECT_EQ(Ask("MS"), "0");
    WaitForSlew();
    Wait(600'000);
    EXPECT_EQ(Ask("GA"), "+30*00:00.0#");
    EXPECT_EQ(Ask("GZ"), "225*00:00.0#");
}

TEST_F(MotionTest, Stop_BrakesASlewWithTheAcceleration) {
    TargetHourAngle(4, "-10*00:00");
    Mount().Write(":MS#");
    Wait(5000);
    const double before = Mount().Picture().polarAxis;
    EXPECT_NEAR(Mount().Picture().polarSpeed, 5, 1e-9);
    Mount().Write(":Q#");
    EXPECT_TRUE(Mount().Picture().slewing) << "it is still being braked";
    Wait(500);
    EXPECT_NEAR(Mount().Picture().polarSpeed, 2.5, 0.01);
    Wait(510);
    EXPECT_FALSE(Mount().Picture().slewing);
    EXPECT_EQ(Mount().Picture().polarSpeed, 0);
    EXPECT_NEAR(Mount().Picture().polarAxis - before, 2.5, 0.01);
}

struct SideCase {
    double hourAngle;
    std::string delay;
    std::string side;
};

TEST_F(MotionTest, Slew_ChoosesTheSideWithTheCounterweightDown) {
    const std::vector<SideCase> cases{
        {0.1, "0:00:00", "East#"},   {5, "0:00:00", "East#"},     {-0.1, "0:00:00", "West#"}, {-5, "0:00:00", "West#"},
        {-0.25, "0:30:00", "East#"}, {0.25, "-0:30:00", "West#"}, {-0.6, "0:30:00", "West#"},
    };
    for (const SideCase& side : cases) {
        SCOPED_TRACE(side.hourAngle);
        ASSERT_EQ(Ask("SM" + side.delay), "1");
        GotoHourAngle(side.hourAngle, "+20*00:00");
        EXPECT_EQ(Ask("pS"), side.side);
        const MountPicture picture = Mount().Picture();
        EXPECT_EQ(picture.westSide, side.side == "West#");
        EXPECT_LE(std::abs(picture.hourAxis), 90 + 7.6) << "counterweight near down";
        EXPECT_NEAR(picture.declination, 20, 1e-4);
    }
}

TEST_F(MotionTest, Slew_AcrossTheMeridian_FlipsThroughThePole) {
    GotoHourAngle(-1, "+20*00:00");
    TargetHourAngle(1, "+20*00:00");
    ASSERT_EQ(Ask("MS"), "0");
    double highest = 0;
    while (Mount().Picture().slewing) {
        highest = std::max(highest, Mount().Picture().declination);
        Wait(20);
    }
    EXPECT_GT(highest, 89.9);
    EXPECT_EQ(Ask("pS"), "East#");
}

TEST_F(MotionTest, Tracking_PastTheMeridian_KeepsTheSide) {
    GotoHourAngle(-0.5, "+20*00:00");
    Wait(3'600'000);
    EXPECT_GT(Mount().Picture().hourAngle, 0.4);
    EXPECT_EQ(Ask("pS"), "West#");
}

TEST_F(MotionTest, Southern_Slew_ReachesTheTargetOnBothSides) {
    options.latitude = -33;
    for (const double hourAngle : {-2.0, 2.0}) {
        GotoHourAngle(hourAngle, "-60*00:00");
        EXPECT_NEAR(Mount().Picture().hourAngle, hourAngle, 0.01) << "the sky went on meanwhile";
        EXPECT_NEAR(Mount().Picture().declination, -60, 1e-4);
        EXPECT_EQ(Mount().Picture().westSide, hourAngle < 0);
    }
}

TEST_F(MotionTest, Sync_MovesThePictureNotTheRest) {
    TargetHourAngle(-2, "+30*00:00");
    EXPECT_EQ(Ask("CM").back(), '#');
    EXPECT_NEAR(Mount().Picture().hourAngle, -2, 0.001);
    EXPECT_NEAR(Mount().Picture().declination, 30, 1e-9);
    EXPECT_EQ(Ask("pS"), "West#") << "a plain sync takes the side from the hour angle";
    EXPECT_FALSE(Mount().Picture().slewing);
}

TEST_F(MotionTest, Recal_KeepsTheSide) {
    TargetHourAngle(-0.2, "+30*00:00");
    EXPECT_EQ(Ask("CMR").back(), '#');
    EXPECT_NEAR(Mount().Picture().hourAngle, -0.2, 0.001);
    EXPECT_NEAR(Mount().Picture().declination, 30, 1e-9);
    EXPECT_EQ(Ask("pS"), "East#");
}

TEST_F(MotionTest, Sync_InitialisesAPoweredOnMount) {
    Ask("Sr05:00:00");
    Ask("Sd+10*00:00");
    Ask("CM");
    EXPECT_EQ(Ask("GR").substr(0, 8), "05:00:00");
    EXPECT_TRUE(Mount().Picture().parked) << "a sync does not unpark";
}

struct TrackCase {
    std::vector<std::string> commands;
    double multiple;  // of sidereal, of the hour axis
    char letter;
};

TEST_F(MotionTest, TrackingRates_TurnTheHourAxis) {
    const std::vector<TrackCase> cases{
        {{"RT2"}, 1, '2'},
        {{"RT0"}, 14.685 / 15.0410686, '0'},
        {{"RT1"}, 15 / 15.0410686, '1'},
        {{"RT9"}, 0, '9'},
        {{"RT8", "RT2"}, 15.0369 / 15.0410686, '2'},
        {{"RT3", "RT2"}, 1, '2'},
        {{"RT2", "RR1.00000"}, 0, 'C'},
        {{"RT9", "RR1.00000"}, 0, 'C'},
        {{"RT9", "RR0.00000"}, 1, '2'},
        {{"RT2", "RR-0.50000"}, 1.5, 'C'},
        {{"RT0", "RR0.25000", "RT2"}, 1, '2'},
        {{"RT9", "RR0.25000", "Q"}, 0, '9'},
    };
    Ask("PO");
    for (const TrackCase& track : cases) {
        std::string trace;
        for (const std::string& command : track.commands) {
            trace += command + ' ';
            Ask(command);
        }
        SCOPED_TRACE(trace);
        const double before = Mount().Picture().hourAxis;
        Wait(100'000);
        EXPECT_NEAR((Mount().Picture().hourAxis - before) / 100, track.multiple * kSidereal, 1e-8);
        EXPECT_EQ(Ask("GOS")[1], track.letter);
    }
}

TEST_F(MotionTest, CustomDecRate_MovesTheDeclinationByTheSideOfThePier) {
    for (const double hourAngle : {2.0, -2.0}) {
        GotoHourAngle(hourAngle, "+30*00:00");
        Ask("RD2.00000");
        const double before = Mount().Picture().declination;
        Wait(100'000);
        EXPECT_NEAR(Mount().Picture().declination - before, (hourAngle > 0 ? 2 : -2) * kSidereal * 100, 1e-6);
        Ask("RD0.0000");
        const double after = Mount().Picture().declination;
        Wait(10'000);
        EXPECT_EQ(Mount().Picture().declination, after);
    }
}

TEST_F(MotionTest, SouthernCustomRaRate_CountsTheOtherWay) {
    options.latitude = -33;
    Ask("PO");
    Ask("RR-1.00000");
    EXPECT_NEAR(Mount().Picture().hourSpeed, 0, 1e-12);
}

struct PulseCase {
    std::string command;
    double ra;   // degrees of sky per degree moved, RA growing eastward
    double dec;  // on the east side
};

TEST_F(MotionTest, Pulses_MoveByRateTimesTime) {
    const std::vector<PulseCase> cases{{"Mn", 0, -1}, {"Ms", 0, 1}, {"Me", 1, 0}, {"Mw", -1, 0}};
    GotoHourAngle(2, "+30*00:00");
    Ask("RG1");
    for (const PulseCase& pulse : cases) {
        SCOPED_TRACE(pulse.command);
        const MountPicture before = Mount().Picture();
        Ask(pulse.command + "500");
        Wait(5000);
        const MountPicture after = Mount().Picture();
        const double moved = 0.5 * kSidereal * 0.5;
        EXPECT_NEAR(FoldedHours(after.rightAscension - before.rightAscension) * 15, pulse.ra * moved, 2e-6);
        EXPECT_NEAR(after.declination - before.declination, pulse.dec * moved, 2e-6);
    }
}

TEST_F(MotionTest, Moves_RunAtTheCenteringRateUntilStopped) {
    GotoHourAngle(2, "+30*00:00");
    Ask("RC1");
    Mount().Write(":Mn#:Me#");
    Wait(2000);
    EXPECT_NEAR(Mount().Picture().polarSpeed, 64 * kSidereal, 1e-6);
    EXPECT_NEAR(Mount().Picture().hourSpeed, -63 * kSidereal, 1e-6);
    Mount().Write(":Qn#");
    Wait(1000);
    EXPECT_NEAR(Mount().Picture().polarSpeed, 0, 1e-12);
    EXPECT_NEAR(Mount().Picture().hourSpeed, -63 * kSidereal, 1e-6);
    Mount().Write(":Q#");
    Wait(1000);
    EXPECT_NEAR(Mount().Picture().hourSpeed, kSidereal, 1e-9);
}

TEST_F(MotionTest, EastAndNorthMoves_GrowRaAndLowerDecOnTheEastSide) {
    for (const double hourAngle : {2.0, -2.0}) {
        GotoHourAngle(hourAngle, "+30*00:00");
        Ask("RC1");
        const MountPicture before = Mount().Picture();
        Mount().Write(":Me#:Mn#");
        Wait(100);
        Mount().Write(":Q#");
        Wait(1000);
        const MountPicture after = Mount().Picture();
        EXPECT_GT(FoldedHours(after.rightAscension - before.rightAscension), 0);
        EXPECT_EQ(after.declination<before.declination, hourAngle> 0);
    }
}

TEST_F(MotionTest, Swaps_TurnTheMovesRound) {
    GotoHourAngle(2, "+30*00:00");
    Ask("EW");
    Ask("NS");
    EXPECT_EQ(Ask("GOS").substr(11, 2), "11");
    Ask("RC1");
    const MountPicture before = Mount().Picture();
    Mount().Write(":Me#:Mn#");
    Wait(1000);
    EXPECT_LT(FoldedHours(Mount().Picture().rightAscension - before.rightAscension), 0);
    EXPECT_GT(Mount().Picture().declination, before.declination);
    Ask("EW");
    EXPECT_EQ(Ask("GOS").substr(11, 2), "01");
}

TEST_F(MotionTest, Park_StopsEverythingWhereItStands) {
    GotoHourAngle(2, "+30*00:00");
    Ask("KA");
    EXPECT_EQ(Ask("GOS").substr(0, 2), "P9");
    const MountPicture before = Mount().Picture();
    Ask("Mn500");
    Wait(60'000);
    EXPECT_EQ(Mount().Picture().hourAxis, before.hourAxis);
    EXPECT_EQ(Mount().Picture().polarAxis, before.polarAxis);
    EXPECT_GT(FoldedHours(Mount().Picture().rightAscension - before.rightAscension), 0.016);
    Ask("PO");
    EXPECT_EQ(Ask("GOS").substr(0, 2), "02");
}

TEST_F(MotionTest, FixedPark_GoesThereAndParks) {
    GotoHourAngle(2, "+30*00:00");
    AskRaw("$K5#");
    EXPECT_EQ(Ask("GOS")[0], '0');
    EXPECT_EQ(Ask("GOS")[3], 'S');
    WaitForSlew();
    EXPECT_EQ(Ask("GOS").substr(0, 4), "P900");
    EXPECT_NEAR(Mount().Picture().hourAxis, 0, 1e-9);
    EXPECT_NEAR(Mount().Picture().polarAxis, -90, 1e-9);
}

TEST_F(MotionTest, FixedPark_Stopped_DoesNotPark) {
    GotoHourAngle(2, "+30*00:00");
    AskRaw("$K5#");
    Ask("Q");
    Wait(60'000);
    EXPECT_FALSE(Mount().Picture().parked);
}

TEST_F(MotionTest, Focuser_RunsAtItsTwoSpeeds) {
    Mount().Write(":FF#:F+#");
    Wait(1000);
    EXPECT_DOUBLE_EQ(Mount().Picture().focuserPosition, 1000);
    Mount().Write(":FS#");
    Wait(400);
    EXPECT_DOUBLE_EQ(Mount().Picture().focuserPosition, 1100);
    Mount().Write(":F-#");
    Wait(200);
    Mount().Write(":FQ#");
    Wait(1000);
    EXPECT_DOUBLE_EQ(Mount().Picture().focuserPosition, 1050);
    EXPECT_EQ(Mount().Picture().focuserRuns, 0);
}

TEST_F(MotionTest, Ticks_MayWrapInTheMiddleOfASlew) {
    for (const std::int32_t first : {std::numeric_limits<std::int32_t>::max() - 3000, -3000, 0}) {
        VirtualClock wrapping = EveningClock(Tick{first});
        MountSimulator mount(wrapping, options);
        for (const char* command : {":PO#", ":Sa+40*00:00#", ":Sz180*00:00#", ":MS#"}) {
            mount.Write(command);
        }
        for (int i = 0; i < 600; ++i) {
            wrapping.Sleep(100);
            mount.Picture();
        }
        EXPECT_FALSE(mount.Picture().slewing);
        EXPECT_NEAR(mount.Picture().altitude, 40, 0.2);
        EXPECT_EQ(mount.Picture().localTime.minute, 16);
    }
}

}  // namespace
}  // namespace kestrane
