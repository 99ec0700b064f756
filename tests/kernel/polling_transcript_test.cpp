#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>

#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"
#include "support/wire_transcript.h"

namespace kestrane {
namespace {

/// What the poll says on the line, tick by tick, twenty seconds after the connect of a client. Each 150 ms tick asks
/// the status when it is due, and one thing more.
class PollingTranscriptTest : public DriverFixture {
protected:
    void Connect(const std::string& firmware) {
        BuildMount(firmware);
        telescope = ConnectedTelescope();
        if (!telescope->Tracking()) {
            telescope->Tracking(true);
        }
        machine.AdvanceTime(20'000);
    }
    void SlewTowardsTheMeridian() {
        telescope->SlewToCoordinatesAsync(NormalizeHours(telescope->SiderealTime() - 2.0), 45.0);
    }
    void Play(std::string_view script) {
        WireTranscript transcript(machine.clock, machine.pump, script);
        machine.serialPorts.Splice(1, transcript.Line());
        transcript.Play();
        machine.ConnectMount(1, *mount);
    }

    TelescopeObject telescope;
};

TEST_F(PollingTranscriptTest, TenQuietSeconds) {
    Connect("VKC4-P02-08");
    Play(R"(
        39 > :GA#
        56 < +59*03:07.4#
        189 > :GZ#
        206 < 283*09:50.7#
        339 > :GOS#
        359 < 020000232O0000#
        359 > :GS#
        373 < 06:36:24#
        489 > :GM#
        505 < 00:00:00.0#
        505 > :GL#
        519 < 20:00:20#
        639 > :pS#
        649 < East#
        789 > :GR#
        806 < 03:36:03.17#
        939 > :GD#
        956 < +45*00:00.0#
        1089 > :GA#
        1106 < +59*02:56.9#
        1239 > :GZ#
        1256 < 283*09:58.2#
        1839 > :GR#
        1856 < 03:36:03.17#
        1989 > :GD#
        2006 < +45*00:00.0#
        2139 > :GA#
        2156 < +59*02:46.5#
        2289 > :GZ#
        2306 < 283*10:05.6#
        2889 > :GR#
        2906 < 03:36:03.17#
        3039 > :GD#
        3056 < +45*00:00.0#
        3189 > :GA#
        3206 < +59*02:36.0#
        3339 > :GZ#
        3356 < 283*10:13.1#
        3939 > :GR#
        3956 < 03:36:03.17#
        4089 > :GD#
        4106 < +45*00:00.0#
        4239 > :GA#
        4256 < +59*02:25.5#
        4389 > :GZ#
        4406 < 283*10:20.6#
        4689 > :pS#
        4699 < East#
        4989 > :GR#
        5006 < 03:36:03.17#
        5139 > :GD#
        5156 < +45*00:00.0#
        5289 > :GA#
        5306 < +59*02:15.0#
        5439 > :GOS#
        5459 < 020000232O0000#
        5459 > :GS#
        5473 < 06:36:29#
        5589 > :GM#
        5605 < 00:00:00.0#
        5605 > :GL#
        5619 < 20:00:26#
        5739 > :GZ#
        5756 < 283*10:30.1#
        6039 > :GR#
        6056 < 03:36:03.17#
        6189 > :GD#
        6206 < +45*00:00.0#
        6339 > :GA#
        6356 < +59*02:04.5#
        6789 > :GZ#
        6806 < 283*10:37.6#
        7089 > :GR#
        7106 < 03:36:03.17#
        7239 > :GD#
        7256 < +45*00:00.0#
        7389 > :GA#
        7406 < +59*01:54.0#
        7839 > :GZ#
        7856 < 283*10:45.1#
        8139 > :GR#
        8156 < 03:36:03.17#
        8289 > :GD#
        8306 < +45*00:00.0#
        8439 > :GA#
        8456 < +59*01:43.5#
        8739 > :pS#
        8749 < East#
        8889 > :GZ#
        8906 < 283*10:52.5#
        9189 > :GR#
        9206 < 03:36:03.17#
        9339 > :GD#
        9356 < +45*00:00.0#
        9489 > :GA#
        9506 < +59*01:33.0#
        9939 > :GZ#
        9956 < 283*11:00.0#
    )");
    EXPECT_EQ(driver->handBox.lblTime.Text(), "20:00:30");
    EXPECT_EQ(driver->handBox.lblRA.Text(), "03:36:03.2");
    EXPECT_EQ(driver->state.g_nRetransmits, 0);
}

TEST_F(PollingTranscriptTest, SlewWatchedByTheStatusText_AsksForCoordinatesOnly) {
    Connect("VKC4-P02-08");
    SlewTowardsTheMeridian();
    Play(R"(
        150 > :GA#
        167 < +59*05:39.6#
        300 > :GOS#
        320 < 020S00232O0000#
        320 > :GZ#
        337 < 283*02:07.5#
        1050 > :GR#
        1067 < 03:47:15.77#
        1200 > :GA#
        1217 < +61*24:55.9#
        1350 > :GZ#
        1367 < 281*06:32.5#
        1500 > :GD#
        1517 < +45*00:00.0#
        2100 > :GR#
        2117 < 04:08:15.77#
        2250 > :GA#
        2267 < +64*56:10.8#
        2400 > :GZ#
        2417 < 278*30:11.8#
        2550 > :GD#
        2567 < +45*00:00.0#
        3150 > :GR#
        3167 < 04:29:03.44#
        3300 > :GA#
        3317 < +68*20:12.4#
        3450 > :GZ#
        3467 < 275*59:29.1#
        3600 > :GD#
        3617 < +45*00:00.0#
        4200 > :GR#
        4217 < 04:36:23.73#
        4350 > :GA#
        4367 < +69*10:50.3#
        4500 > :GZ#
        4517 < 275*33:55.2#
        4650 > :GD#
        4667 < +45*00:00.0#
        5250 > :GR#
        5267 < 04:36:23.73#
    )");
    EXPECT_TRUE(driver->state.g_bSlewing);
    EXPECT_TRUE(driver->state.g_bGosActive);
}

TEST_F(PollingTranscriptTest, SlewWatchedByItsDistance_AsksForCoordinatesOnly) {
    Connect("D");
    SlewTowardsTheMeridian();
    Play(R"(
        150 > :GA#
        165 < +59*05:40#
        300 > :GZ#
        315 < 283*03:02#
        1050 > :GR#
        1066 < 03:47:15.8#
        1200 > :GA#
        1215 < +61*24:57#
        1350 > :GZ#
        1365 < 281*06:32#
        1500 > :GD#
        1516 < +845*00:00#
        2100 > :GR#
        2116 < 04:08:15.8#
        2250 > :GA#
        2265 < +64*56:11#
        2400 > :GZ#
        2415 < 278*30:11#
        2550 > :GD#
        2566 < +845*00:00#
        3150 > :GR#
        3166 < 04:29:03.4#
        3300 > :GA#
        3315 < +68*20:13#
        3450 > :GZ#
        3465 < 275*59:29#
        3600 > :GD#
        3616 < +845*00:00#
        4200 > :GR#
        4216 < 04:36:23.7#
        4350 > :GA#
        4365 < +69*10:51#
        4500 > :GZ#
        4515 < 275*33:55#
        4650 > :GD#
        4666 < +845*00:00#
        5250 > :GR#
        5266 < 04:36:23.7#
        5400 > :GA#
        5415 < +69*10:40#
        5550 > :GZ#
        5565 < 275*34:04#
        5700 > :GD#
        5716 < +845*00:00#
        6300 > :GR#
        6316 < 04:36:23.7#
        6450 > :GA#
        6465 < +69*10:29#
        6600 > :GZ#
        6615 < 275*34:13#
        6750 > :GD#
        6766 < +845*00:00#
        7350 > :GR#
        7366 < 04:36:23.7#
        7500 > :GA#
        7515 < +69*10:18#
        7650 > :GZ#
        7665 < 275*34:21#
        7800 > :GD#
        7816 < +845*00:00#
    )");
    EXPECT_TRUE(driver->state.g_bSlewing);
    EXPECT_FALSE(driver->state.g_bGosActive);
    EXPECT_EQ(TimesLogged("Slew Target Distance="), 3);
}

// --- the counter of milliseconds wraps, or changes its sign, a minute after the start

class TickCounterTest : public DriverFixture, public testing::WithParamInterface<Tick> {
protected:
    TickCounterTest() {
        machine.clock.SetFirstTick(GetParam());
        BuildMount("VKC4-P02-08");
    }
};

TEST_P(TickCounterTest, PollingGoesOn_AndTheMountsClockStaysInStep) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(50'000);
    const int before = TimesSent("GR");
    machine.AdvanceTime(20'000);
    EXPECT_GE(TimesSent("GR") - before, 17);
    EXPECT_EQ(driver->state.g_nRetransmits, 0);
    EXPECT_EQ(TimesLogged("resending Time!"), 0);
    EXPECT_EQ(TimesLogged("updating Timezone."), 0);
    EXPECT_NEAR(telescope->SiderealTime(), mount->Picture().siderealTime, 2.0 / 3600.0);
}

TEST_P(TickCounterTest, SlewAcrossTheWrap_EndsInItsTime) {
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(55'000);
    const double ra = NormalizeHours(telescope->SiderealTime() - 1.0);
    telescope->SlewToCoordinatesAsync(ra, 20.0);
    int seconds = 0;
    while (telescope->Slewing() && seconds < 60) {
        machine.AdvanceTime(1'000);
        ++seconds;
    }
    EXPECT_LT(seconds, 30);
    EXPECT_GT(seconds, 3);
    machine.AdvanceTime(3'000);
    EXPECT_NEAR(telescope->RightAscension(), ra, 0.01);
    EXPECT_NEAR(telescope->Declination(), 20.0, 0.05);
}

INSTANTIATE_TEST_SUITE_P(FirstTicks, TickCounterTest,
                         testing::Values(VirtualClock::kZero, VirtualClock::kBeforeSignChange,
                                         VirtualClock::kBeforeWrap),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

// --- a mount in step with the PC is left alone, and one that is not is set

TEST_F(PollingTranscriptTest, MountInStepWithThePc_IsNeverSet) {
    Connect("VKC4-P02-08");
    machine.AdvanceTime(300'000);
    EXPECT_EQ(TimesLogged("resending Time!"), 0);
    EXPECT_EQ(TimesLogged("updating Timezone."), 0);
    EXPECT_EQ(mount->Picture().clockSetByMs, 0);
    EXPECT_GE(TimesSent("GL"), 58);
    EXPECT_GE(TimesSent("GG"), 10);
}

TEST_F(PollingTranscriptTest, JournalTellsThePositionsThatThePollSaw) {
    Connect("VKC4-P02-08");
    const std::string before = driver->journal.RaDecInfo();
    SlewTowardsTheMeridian();
    machine.AdvanceTime(4'000);
    EXPECT_NE(driver->journal.RaDecInfo(), before);
    EXPECT_TRUE(driver->journal.RaDecEvents("0").starts_with("1,0,4,"));
}

TEST_F(PollingTranscriptTest, StallTwoDegreesShort_EndsByStillnessWithoutAnError) {
    Connect("D");
    mount->Add(std::make_unique<Stalls>(2.0));
    SlewTowardsTheMeridian();
    int seconds = 0;
    while (telescope->Slewing() && seconds < 60) {
        machine.AdvanceTime(1'000);
        ++seconds;
    }
    EXPECT_LT(seconds, 30);
    EXPECT_TRUE(Logged("Target Distance equal to last time: 3"));
    EXPECT_GE(machine.sounds.beeps, 2);
    EXPECT_GT(AngularDistance(driver->state.g_dRa, driver->state.g_dDec, driver->state.g_dTargetRa,
                              driver->state.g_dTargetDec),
              1.0);
}

TEST_F(PollingTranscriptTest, StatusTextThatGoesSilentInMidSlew_LeavesTheEndToTheDistance) {
    ExpectSwallow("CommandString");
    Connect("VKC4-P02-08");
    SlewTowardsTheMeridian();
    machine.AdvanceTime(1'000);
    mount->Add(std::make_unique<DropsReply>("GOS"));
    int seconds = 0;
    while (telescope->Slewing() && seconds < 90) {
        machine.AdvanceTime(1'000);
        ++seconds;
    }
    EXPECT_LT(seconds, 60);
    EXPECT_FALSE(driver->state.g_bGosActive);
    EXPECT_TRUE(Logged("Slew Target Distance="));
    machine.AdvanceTime(3'000);
    EXPECT_NEAR(telescope->RightAscension(), driver->state.g_dTargetRa, 0.01);
}

}  // namespace
}  // namespace kestrane
