#include <gtest/gtest.h>

#include "support/driver_fixture.h"
#include "support/wire_transcript.h"

namespace kestrane {
namespace {

/// The whole connect of a first client, family by family: the proof that a mount answers, its rate key, form and site;
/// what the firmware decides; the first picture; then the first round of queries.
class ConnectFamiliesTest : public DriverFixture {
protected:
    void Play(std::string_view script) {
        Start();
        WireTranscript transcript(machine.clock, machine.pump, script);
        machine.serialPorts.Connect(1, transcript.Line());
        TelescopeObject telescope = driver->CreateTelescope();
        transcript.Call("Connect", [&] {
            telescope->Connected(true);
            EXPECT_TRUE(driver->handBox.tmrQueryRaDecAltAz.Enabled());
            driver->poll.SetPolling(false);  // the script ends with the connect
        });
        transcript.Play();
        EXPECT_NEAR(driver->state.g_dRa, 3.601, 0.001);
        EXPECT_EQ(driver->state.g_dDec, 45.0);
        EXPECT_EQ(driver->state.g_dSiteLatitude, 47.0);
        EXPECT_EQ(driver->state.g_dSiteLongitude, -350.0);
        EXPECT_EQ(driver->state.g_nRetransmits, 0);
        EXPECT_TRUE(driver->handBox.m_bFormLoaded);
        EXPECT_FALSE(driver->state.g_bFreshConnect);
        telescope.reset();
        driver.reset();
        machine.serialPorts.Disconnect(1);
    }
};

TEST_F(ConnectFamiliesTest, MountWithoutAStatus_IsAskedForItsPictureOnly) {
    Play(R"(
        0 = Connect
        1 > :V#
        8 < D#
        8 > #:U#
        38 > :G\x05#
        45 < 0#
        46 > :U#
        156 > :Gg#
        171 < 350*00:00#
        171 > :Gt#
        186 < +47*00:00#
        186 > #
        208 > :GR#
        224 < 03:36:03.2#
        224 > :GD#
        240 < +845*00:00#
        240 > :Gt#
        255 < +47*00:00#
        255 > :Gg#
        270 < 350*00:00#
        270 > :GR#
        286 < 03:36:03.2#
        286 > :GD#
        302 < +845*00:00#
        302 > :GA#
        317 < +59*06:29#
        317 > :GZ#
        332 < 283*07:26#
        332 > :GL#
        346 < 20:00:00#
        346 > :GS#
        360 < 06:36:04#
        360 > :pS#
        370 < East#
        370 > :GG#
        387 < -01:00:00.0#
        387 = ->
    )");
}

TEST_F(ConnectFamiliesTest, ModernMount_IsAskedForItsStatusAndItsMeridianDelay) {
    Play(R"(
        0 = Connect
        1 > :V#
        8 < S#
        8 > #:U#
        38 > :G\x05#
        45 < 0#
        46 > :U#
        156 > :Gg#
        171 < 350*00:00#
        171 > :Gt#
        186 < +47*00:00#
        186 > #
        208 > :GOS#
        228 < 020000232O0000#
        228 > :GR#
        244 < 03:36:03.2#
        244 > :GD#
        259 < +45*00:00#
        259 > :Gt#
        274 < +47*00:00#
        274 > :Gg#
        289 < 350*00:00#
        289 > :GR#
        305 < 03:36:03.2#
        305 > :GD#
        320 < +45*00:00#
        320 > :GA#
        335 < +59*06:29#
        335 > :GZ#
        350 < 283*07:27#
        350 > :GM#
        366 < 00:00:00.0#
        366 > :GL#
        380 < 20:00:00#
        380 > :GS#
        394 < 06:36:04#
        394 > :pS#
        404 < East#
        404 > :GG#
        421 < -01:00:00.0#
        421 = ->
    )");
}

TEST_F(ConnectFamiliesTest, FourthGeneration_IsAskedForItsRevisionAndSetsItsKingCorrection) {
    Play(R"(
        0 = Connect
        1 > :V#
        18 < VKC4-P02-08#
        18 > #:U#
        48 > :GOS#
        68 < 020000232O0000#
        68 > :G\x05#
        75 < 0#
        76 > :U#
        186 > :Gg#
        203 < 350*00:00.0#
        203 > :Gt#
        220 < +47*00:00.0#
        220 > #
        242 > :G_S#
        251 < 208#
        251 > :GOS#
        271 < 020000232O0000#
        271 > :GR#
        288 < 03:36:03.17#
        288 > :GD#
        305 < +45*00:00.0#
        305 > :Gt#
        322 < +47*00:00.0#
        322 > :Gg#
        339 < 350*00:00.0#
        339 > :RT3#
        349 > :GR#
        366 < 03:36:03.17#
        366 > :GD#
        383 < +45*00:00.0#
        383 > :GA#
        400 < +59*06:28.1#
        400 > :GZ#
        417 < 283*07:27.0#
        417 > :GM#
        433 < 00:00:00.0#
        433 > :GL#
        447 < 20:00:00#
        447 > :GS#
        461 < 06:36:04#
        461 > :pS#
        471 < East#
        471 > :GG#
        488 < -01:00:00.0#
        488 = ->
    )");
}

TEST_F(ConnectFamiliesTest, FifthGeneration_HasNoKingCorrectionToSet) {
    Play(R"(
        0 = Connect
        1 > :V#
        18 < VKC5-P03-01#
        18 > #:U#
        48 > :GOS#
        68 < 020000232O0003#
        68 > :G\x05#
        75 < 0#
        76 > :U#
        186 > :Gg#
        203 < 350*00:00.0#
        203 > :Gt#
        220 < +47*00:00.0#
        220 > #
        242 > :G_S#
        251 < 301#
        251 > :GOS#
        271 < 020000232O0003#
        271 > :GR#
        288 < 03:36:03.17#
        288 > :GD#
        305 < +45*00:00.0#
        305 > :Gt#
        322 < +47*00:00.0#
        322 > :Gg#
        339 < 350*00:00.0#
        339 > :GR#
        356 < 03:36:03.17#
        356 > :GD#
        373 < +45*00:00.0#
        373 > :GA#
        390 < +59*06:28.2#
        390 > :GZ#
        407 < 283*07:27.0#
        407 > :GM#
        423 < 00:00:00.0#
        423 > :GL#
        437 < 20:00:00#
        437 > :GS#
        451 < 06:36:04#
        451 > :pS#
        461 < East#
        461 > :GG#
        478 < -01:00:00.0#
        478 = ->
    )");
}

}  // namespace
}  // namespace kestrane
