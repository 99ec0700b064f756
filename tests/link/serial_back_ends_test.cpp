#include <gtest/gtest.h>

#include "kernel/base/errors.h"
#include "link/ascom_serial.h"
#include "link/ks_serial_library.h"
#include "link/line_world.h"

namespace kestrane {
namespace {

class SerialLibrary : public testing::Test, public LineWorld {
protected:
    KsSerialLibrary library{ports.CreatePort(), clock};
    std::string text = "old";
};

TEST_F(SerialLibrary, KsSerConnectToPort_OpensThePort) {
    EXPECT_EQ(library.KsSerConnected(), 0);
    EXPECT_EQ(library.KsSerConnectToPort(3, 9600, 250), 0);
    EXPECT_NE(library.KsSerConnected(), 0);
    EXPECT_EQ(ports.Openings().back().port, 3);
    EXPECT_EQ(ports.Openings().back().speed, 9600);
    EXPECT_EQ(library.KsSerGetReadTotalTimeout(), 250);
}

TEST_F(SerialLibrary, KsSerConnectToPort_ThatFails_GivesTheErrorCode) {
    ports.SetOpenError(9, 2);
    EXPECT_EQ(library.KsSerConnectToPort(9, 9600, 250), 2);
    EXPECT_EQ(library.KsSerConnected(), 0);
}

TEST_F(SerialLibrary, KsSerConnectToPort_WithAnotherPortOrSpeed_OpensAnewAndForgetsWhatWasKept) {
    library.KsSerConnectToPort(1, 9600, 50);
    const std::pair<int, int> openings[] = {{2, 9600}, {2, 19200}, {1, 9600}};
    std::size_t expected = 1;
    for (const auto& [port, speed] : openings) {
        line.Schedule(0, "a#b");
        library.KsSerReceiveStringUntilTerminator(text, "#");
        EXPECT_EQ(library.KsSerConnectToPort(port, speed, 50), 0);
        EXPECT_EQ(ports.Openings().size(), ++expected);
        EXPECT_EQ(ports.Openings().back().port, port);
        EXPECT_EQ(ports.Openings().back().speed, speed);
        EXPECT_EQ(library.KsSerReceiveString(text), 0);
        EXPECT_EQ(text, "");
    }
}

TEST_F(SerialLibrary, KsSerConnectToPort_Again_OnlySetsTheReadLimit) {
    library.KsSerConnectToPort(1, 9600, 50);
    line.Schedule(0, "a#b");
    library.KsSerReceiveStringUntilTerminator(text, "#");
    EXPECT_EQ(library.KsSerConnectToPort(1, 9600, 70), 0);
    EXPECT_EQ(ports.Openings().size(), 1U);
    EXPECT_TRUE(ports.IsOpen(1));
    EXPECT_EQ(library.KsSerGetReadTotalTimeout(), 70);
    EXPECT_EQ(library.KsSerReceiveStringByCount(text, 1), 1);
    EXPECT_EQ(text, "b");
}

TEST_F(SerialLibrary, KsSerConnectToPort_OnAClosedPort_OpensWhateverWasOpenBefore) {
    library.KsSerConnectToPort(1, 9600, 50);
    library.KsSerDisconnectFromPort();
    EXPECT_EQ(library.KsSerConnectToPort(1, 9600, 50), 0);
    EXPECT_EQ(ports.Openings().size(), 2U);
    library.KsSerDisconnectFromPort();
    ports.SetOpenError(1, 5);
    EXPECT_EQ(library.KsSerConnectToPort(1, 9600, 50), 5);
    EXPECT_EQ(library.KsSerConnectToPort(1, 9600, 50), 5);
    EXPECT_EQ(ports.Openings().size(), 4U);
}

TEST_F(SerialLibrary, KsSerDisconnectFromPort_ClosesAndForgetsWhatWasKept) {
    library.KsSerConnectToPort(1, 9600, 50);
    line.Schedule(0, "a#b");
    library.KsSerReceiveStringUntilTerminator(text, "#");
    EXPECT_EQ(library.KsSerDisconnectFromPort(), 0);
    EXPECT_FALSE(ports.IsOpen(1));
    EXPECT_EQ(library.KsSerConnected(), 0);
    library.KsSerConnectToPort(1, 9600, 50);
    library.KsSerReceiveString(text);
    EXPECT_EQ(text, "");
}

TEST_F(SerialLibrary, Reads_ReplaceTheTextAndTellItsLength) {
    library.KsSerConnectToPort(1, 9600, 50);
    line.Schedule(0, "abc#defgh");
    EXPECT_EQ(library.KsSerReceiveStringUntilTerminator(text, "#"), 4);
    EXPECT_EQ(text, "abc#");
    EXPECT_EQ(library.KsSerReceiveStringByCount(text, 2), 2);
    EXPECT_EQ(text, "de");
    EXPECT_EQ(library.KsSerReceiveString(text), 3);
    EXPECT_EQ(text, "fgh");
    EXPECT_EQ(library.KsSerReceiveStringByCount(text, -1), 0);
    EXPECT_EQ(text, "");
}

TEST_F(SerialLibrary, KsSerSetReceiveTimeout_LimitsTheNextReads) {
    library.KsSerConnectToPort(1, 9600, 50);
    library.KsSerReceiveString(text);
    EXPECT_EQ(clock.Elapsed(), 50);
    EXPECT_EQ(library.KsSerSetReceiveTimeout(7), 0);
    library.KsSerReceiveStringByCount(text, 1);
    EXPECT_EQ(clock.Elapsed(), 57);
    EXPECT_EQ(library.KsSerGetReadTotalTimeout(), 7);
    EXPECT_EQ(library.KsSerGetReadTotalTimeoutMultiplier(), 0);
    EXPECT_EQ(library.KsSerGetReadIntervalTimeout(), 0);
}

TEST_F(SerialLibrary, AClosedPort_SwallowsAndReadsAsEmpty) {
    EXPECT_NE(library.KsSerTransmitString(":GR#"), 0);
    EXPECT_EQ(library.KsSerReceiveString(text), 0);
    EXPECT_EQ(library.KsSerReceiveStringByCount(text, 3), 0);
    EXPECT_EQ(library.KsSerReceiveStringUntilTerminator(text, "#"), 0);
    EXPECT_EQ(library.KsSerClearBuffers(), 0);
    EXPECT_EQ(text, "");
    EXPECT_EQ(line.written, "");
    EXPECT_EQ(clock.Elapsed(), 0);
}

TEST_F(SerialLibrary, KsSerTransmitString_WritesTheText) {
    library.KsSerConnectToPort(1, 9600, 50);
    EXPECT_EQ(library.KsSerTransmitString(":G\x05#"), 0);
    EXPECT_EQ(line.written, ":G\x05#");
}

TEST_F(SerialLibrary, KsSerClearBuffers_DropsWhatHasCome) {
    library.KsSerConnectToPort(1, 9600, 50);
    line.Schedule(0, "a#bc");
    library.KsSerReceiveStringUntilTerminator(text, "#");
    library.KsSerClearBuffers();
    library.KsSerReceiveString(text);
    EXPECT_EQ(text, "");
}

class SerialObject : public testing::Test, public LineWorld {
protected:
    void Open() {
        object.ReceiveTimeoutMS(50);
        object.Connected(true);
    }
    template <typename Action>
    std::uint32_t NumberOf(Action action) {
        try {
            action();
        } catch (const DriverError& error) {
            EXPECT_EQ(error.Source(), "ASCOM.Utilities.Serial");
            EXPECT_NE(error.Message(), "");
            return error.Number();
        }
        return 0;
    }

    AscomSerial object{ports.CreatePort(), clock};
};

TEST_F(SerialObject, Connected_OpensWithPortAndSpeed) {
    object.Port(4);
    object.Speed(19200);
    EXPECT_FALSE(object.Connected());
    object.Connected(true);
    EXPECT_TRUE(object.Connected());
    EXPECT_EQ(ports.Openings().back().port, 4);
    EXPECT_EQ(ports.Openings().back().speed, 19200);
    object.Connected(false);
    EXPECT_FALSE(object.Connected());
}

TEST_F(SerialObject, Connected_ThatFails_Raises) {
    ports.SetOpenError(1, 13);
    EXPECT_EQ(NumberOf([&] { object.Connected(true); }), AscomSerial::kCannotOpen);
    EXPECT_FALSE(object.Connected());
}

TEST_F(SerialObject, ReadsThatBringNothing_RaiseAtTheirLimit) {
    Open();
    EXPECT_EQ(NumberOf([&] { object.Receive(); }), AscomSerial::kReadTimeout);
    EXPECT_EQ(clock.Elapsed(), 50);
    EXPECT_EQ(NumberOf([&] { object.ReceiveCounted(3); }), AscomSerial::kReadTimeout);
    EXPECT_EQ(clock.Elapsed(), 100);
    EXPECT_EQ(NumberOf([&] { object.ReceiveTerminated("#"); }), AscomSerial::kReadTimeout);
    EXPECT_EQ(clock.Elapsed(), 150);
}

TEST_F(SerialObject, ReadsThatBringTooLittle_GiveWhatCameAtTheirLimit) {
    Open();
    line.Schedule(0, "ab");
    EXPECT_EQ(object.ReceiveCounted(3), "ab");
    EXPECT_EQ(clock.Elapsed(), 50);
    line.Schedule(50, "cd");
    EXPECT_EQ(object.ReceiveTerminated("#"), "cd");
    EXPECT_EQ(clock.Elapsed(), 100);
    line.Schedule(100, "e#");
    EXPECT_EQ(object.ReceiveTerminated("#"), "e#");
}

TEST_F(SerialObject, Reads_GiveWhatCame) {
    Open();
    line.Schedule(0, "abc#defgh");
    EXPECT_EQ(object.ReceiveTerminated("#"), "abc#");
    EXPECT_EQ(object.ReceiveCounted(2), "de");
    EXPECT_EQ(object.Receive(), "fgh");
    EXPECT_EQ(object.ReceiveCounted(0), "");
    EXPECT_EQ(object.ReceiveCounted(-1), "");
}

TEST_F(SerialObject, AClosedPort_Raises) {
    EXPECT_EQ(NumberOf([&] { object.Transmit("#"); }), AscomSerial::kNotConnected);
    EXPECT_EQ(NumberOf([&] { object.Receive(); }), AscomSerial::kNotConnected);
    EXPECT_EQ(NumberOf([&] { object.ReceiveCounted(1); }), AscomSerial::kNotConnected);
    EXPECT_EQ(NumberOf([&] { object.ReceiveTerminated("#"); }), AscomSerial::kNotConnected);
    EXPECT_EQ(line.written, "");
}

TEST_F(SerialObject, Connected_False_ForgetsWhatWasKept) {
    Open();
    line.Schedule(0, "a#b");
    object.ReceiveTerminated("#");
    object.Connected(false);
    object.Connected(true);
    EXPECT_EQ(NumberOf([&] { object.Receive(); }), AscomSerial::kReadTimeout);
}

TEST(SerialObjectEnd, ClosesThePort) {
    LineWorld world;
    {
        AscomSerial object(world.ports.CreatePort(), world.clock);
        object.Connected(true);
        EXPECT_TRUE(world.ports.IsOpen(1));
    }
    EXPECT_FALSE(world.ports.IsOpen(1));
}

}  // namespace
}  // namespace kestrane
