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
        Seed({{"chkAutoCalibrateOnFirstSlew", "0"}, {"chkSetSlewRate", "0"}});  // a slew asks for nothing of its own
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
        132 > :GZ#
        149 < 283*09:50.7#
        282 > :GS#
        296 < 06:36:24#
        432 > :GOS#
        452 < 020000232O0000#
        452 > :GM#
        468 < 00:00:00.0#
        468 > :GL#
        482 < 20:00:20#
        582 > :pS#
        592 < East#
        732 > :GR#
        749 < 03:36:03.17#
        882 > :GD#
        899 < +45*00:00.0#
        1032 > :GA#
        1049 < +59*02:56.9#
        1182 > :GZ#
        1199 < 283*09:58.2#
        1782 > :GR#
        1799 < 03:36:03.17#
        1932 > :GD#
        1949 < +45*00:00.0#
        2082 > :GA#
        2099 < +59*02:46.5#
        2232 > :GZ#
        2249 < 283*10:05.6#
        2832 > :GR#
        2849 < 03:36:03.17#
        2982 > :GD#
        2999 < +45*00:00.0#
        3132 > :GA#
        3149 < +59*02:36.0#
        3282 > :GZ#
        3299 < 283*10:13.1#
        3882 > :GR#
        3899 < 03:36:03.17#
        4032 > :GD#
        4049 < +45*00:00.0#
        4182 > :GA#
        4199 < +59*02:25.5#
        4332 > :GZ#
        4349 < 283*10:20.6#
        4632 > :pS#
        4642 < East#
        4932 > :GR#
        4949 < 03:36:03.17#
        5082 > :GD#
        5099 < +45*00:00.0#
        5232 > :GA#
        5249 < +59*02:15.0#
        5382 > :GS#
        5396 < 06:36:29#
        5532 > :GOS#
        5552 < 020000232O0000#
        5552 > :GM#
        5568 < 00:00:00.0#
        5568 > :GL#
        5582 < 20:00:26#
        5682 > :GZ#
        5699 < 283*10:30.1#
        5982 > :GR#
        5999 < 03:36:03.17#
        6132 > :GD#
        6149 < +45*00:00.0#
        6282 > :GA#
        6299 < +59*02:04.5#
        6732 > :GZ#
        6749 < 283*10:37.6#
        7032 > :GR#
        7049 < 03:36:03.17#
        7182 > :GD#
        7199 < +45*00:00.0#
        7332 > :GA#
        7349 < +59*01:54.0#
        7782 > :GZ#
        7799 < 283*10:45.1#
        8082 > :GR#
        8099 < 03:36:03.17#
        8232 > :GD#
        8249 < +45*00:00.0#
        8382 > :GA#
        8399 < +59*01:43.5#
        8682 > :pS#
        8692 < East#
        8832 > :GZ#
        8849 < 283*10:52.5#
        9132 > :GR#
        9149 < 03:36:03.17#
        9282 > :GD#
        9299 < +45*00:00.0#
        9432 > :GA#
        9449 < +59*01:33.0#
        9882 > :GZ#
        9899 < 283*11:00.0#
    )");
    EXPECT_EQ(driver->handBox.lblTime.Text(), "20:00:30");
    EXPECT_EQ(driver->handBox.lblRA.Text(), "03:36:03.2");
    EXPECT_EQ(driver->state.g_nRetransmits, 0);
}

TEST_F(PollingTranscriptTest, SlewWatchedByTheStatusText_AsksForCoordinatesOnly) {
    Connect("VKC4-P02-08");
    SlewTowardsTheMeridian();
    Play(R"(
        150 > :GZ#
        167 < 283*08:01.9#
        300 > :GOS#
        320 < 020S00232O0000#
        1050 > :GA#
        1067 < +60*54:53.4#
        1200 > :GZ#
        1217 < 281*28:17.9#
        1350 > :GR#
        1367 < 03:53:15.77#
        1500 > :GD#
        1517 < +45*00:00.0#
        2100 > :GA#
        2117 < +64*25:53.4#
        2250 > :GZ#
        2267 < 278*53:03.7#
        2400 > :GR#
        2417 < 04:14:15.77#
        2550 > :GD#
        2567 < +45*00:00.0#
        3150 > :GA#
        3167 < +67*56:23.2#
        3300 > :GZ#
        3317 < 276*15:00.7#
        3450 > :GR#
        3467 < 04:33:17.86#
        3600 > :GD#
        3617 < +45*00:00.0#
        4200 > :GA#
        4217 < +69*10:51.9#
        4350 > :GZ#
        4367 < 275*33:53.8#
        4500 > :GR#
        4517 < 04:36:23.80#
        4650 > :GD#
        4667 < +45*00:00.0#
        5250 > :GA#
        5267 < +69*10:41.2#
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
        machine.clock.SetTick(GetParam());
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
