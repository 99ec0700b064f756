#include <gtest/gtest.h>

#include "kernel/base/text.h"
#include "support/driver_fixture.h"
#include "support/wire_transcript.h"

namespace kestrane {
namespace {

/// Connects on the wire, byte by byte and millisecond by millisecond.
class ConnectTranscriptTest : public DriverFixture {
protected:
    void Play(std::string_view script) {
        WireTranscript transcript(machine.clock, machine.pump, script);
        machine.serialPorts.Connect(1, transcript.Line());
        if (!driver) {
            Start();
        }
        driver->log.SetListener(transcript.LogListener());
        transcript.Call("Open", [&] { driver->connections.OpenConnection(ClientKind::Telescope); });
        transcript.Call("OpenForFocuser", [&] { driver->connections.OpenConnection(ClientKind::Focuser); });
        transcript.Call("Check", [&] {
            std::string version;
            const bool found = driver->connections.CheckConnection(1, 300, version);
            return std::string(found ? "True " : "False ") + version;
        });
        transcript.Call("GetSite", [&] {
            double longitude = 0.0;
            double latitude = 0.0;
            const bool read = driver->connections.GetMountLongLat(1, 300, longitude, latitude);
            return std::string(read ? "True " : "False ") + PlainNumber(longitude) + " " + PlainNumber(latitude);
        });
        transcript.Call("SetSite", [&] {
            return std::string(driver->connections.SetMountLongLat(1, 300, "-010*30:00", "+47*00:00") ? "True"
                                                                                                      : "False");
        });
        transcript.Play();
        driver->log.SetListener({});
        driver.reset();
        machine.serialPorts.Disconnect(1);
    }
};

TEST_F(ConnectTranscriptTest, MountOfTheFourthGeneration_IsAskedForVersionRateKeyFormAndSite) {
    Play(R"(
        0  = Open
        1  > :V#
        5  < VKC4-P02-08#
        5  > #:U#
        35 > :GOS#
        40 < 02000020000001#
        40 > :G\x05#
        45 < 0#
        46 > :U#
        156 > :Gg#
        160 < 350*00:00#
        160 > :Gt#
        165 < +47*00:00#
        165 L Connections Info OpenConnection: Scope Clients/Connects=0/1, Focuser Clients/Connects=0/0
        165 = ->
    )");
}

TEST_F(ConnectTranscriptTest, EarlierMount_IsNotAskedForItsStatus) {
    Play(R"(
        0  = OpenForFocuser
        1  > :V#
        5  < D#
        5  > #:U#
        35 > :G\x05#
        40 < 1#
        40 L Connections Info OpenConnection: Fork Mount detected - enabling Raw RA/Dec Slews
        41 > :U#
        151 > :Gg#
        155 < 350*00:00#
        155 > :Gt#
        160 < +47*00:00#
        160 L Connections Info OpenConnection: Scope Clients/Connects=0/0, Focuser Clients/Connects=0/1
    )");
}

TEST_F(ConnectTranscriptTest, SilentMount_IsAskedAgainUntilTheTimeIsOver) {
    ExpectSwallow("CommandString");
    Play(R"(
        0 = Open
        1 > :V#
        501 ~
        501 > #
        723 > :V#
        1223 ~
        1223 > #
        1244 L OpenConnection Error OpenConnection Failed. No response from COM1. COM1: it could be opened, but nothing answered in 1.2 s; is the mount switched on?
        1244 L Connections Info CloseConnection: Scope Clients/Connects=0/0, Focuser Clients/Connects=0/0
        1244 ! 0x80040402 No mount on IP Address or COM port, or initialization failed.
    )");
}

TEST_F(ConnectTranscriptTest, MountThatAnswersInTheSecondPass_IsFound) {
    ExpectSwallow("CommandString");
    Play(R"(
        0 = Open
        1 > :V#
        501 ~
        501 > #
        723 > :V#
        730 < E3#
        730 > #:U#
        760 > :G\x05#
        1260 ~
        * > #
        * > :G\x05#
        * > #
        * > :G\x05#
        * > #
        * > :U#
        * > :Gg#
        * < 350*00:00#
        * > :Gt#
        * < +47*00:00#
    )");
}

TEST_F(ConnectTranscriptTest, Check_AsksThreeTimesOnAClosedLink) {
    ExpectSwallow("CommandString");
    Play(R"(
        0 = Check
        0 L CheckConnection Info Checking for mount on COM1
        101 L CheckConnection Info Sending request for version
        101 > :V#
        401 ~
        401 > #
        422 L CheckConnection Info Sending request for version
        422 > :V#
        722 ~
        722 > #
        743 L CheckConnection Info Sending request for version
        743 > :V#
        750 < S#
        751 = -> True S
    )");
}

TEST_F(ConnectTranscriptTest, SiteRead_FoldsTheLongitudeOnly) {
    Play(R"(
        0   = GetSite
        0   L GetMountLongLat Info Getting Long/Lat for mount on COM1
        1   > :U#
        111 > :Gg#
        115 < 350*15:00#
        115 > :Gt#
        120 < -33*30:00#
        121 = -> True -9.75 -33.5
    )");
}

TEST_F(ConnectTranscriptTest, SiteWrite_GoesRawWithItsOwnFrame) {
    ExpectSwallow("CommandBool");
    Play(R"(
        0   = SetSite
        1   > :U#
        111 > :Sg-010*30:00#
        115 < 0
        115 > #
        136 > :St+47*00:00#
        140 < 1
        141 = -> False
    )");
}

}  // namespace
}  // namespace kestrane
