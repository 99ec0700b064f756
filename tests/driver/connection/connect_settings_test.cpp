#include <functional>
#include <gtest/gtest.h>
#include <utility>

#include "driver/connection/connection_errors.h"
#include "support/driver_fixture.h"
#include "support/wire_transcript.h"

namespace kestrane {
namespace {

/// What a connect takes from the settings and from the mount's replies.
class ConnectSettingsTest : public DriverFixture {
protected:
    std::uint32_t Open() {
        return ErrorOf([&] { driver->connections.OpenConnection(ClientKind::Telescope); });
    }
};

struct StatusRow {
    std::string status;
    std::string rateType;
};

class RateKeyTest : public ConnectSettingsTest, public testing::WithParamInterface<StatusRow> {};

TEST_P(RateKeyTest, FourteenthCharacterOfTheStatus_IsTheRateKey) {
    Seed({{"Controller", "4"}});  // begins with type 3
    WireTranscript transcript(machine.clock, machine.pump,
                              "0 = Open\n* > :V#\n* < VKC4-P02-08#\n* > #:U#\n* > :GOS#\n* < " + GetParam().status +
                                  "#\n* > :G\\x05#\n* < 0#\n* > :U#\n* > :Gg#\n* < 350*00:00#\n* > :Gt#\n"
                                  "* < +47*00:00#\n* = -> " +
                                  GetParam().rateType);
    machine.serialPorts.Connect(1, transcript.Line());
    Start();
    transcript.Call("Open", [&] {
        driver->connections.OpenConnection(ClientKind::Telescope);
        return driver->state.g_sMountRateType;
    });
    transcript.Play();
    driver.reset();
    machine.serialPorts.Disconnect(1);
}

INSTANTIATE_TEST_SUITE_P(Replies, RateKeyTest,
                         testing::Values(StatusRow{"0200002000000", "3"},   // 13 characters: none
                                         StatusRow{"02000020000007", "3"},  // not a type
                                         StatusRow{"02000020000002", "2"}, StatusRow{"020000200000015", "1"}));

TEST_F(ConnectSettingsTest, Timeout_IsThatOfThePort) {
    Seed({{"Timeout", "750"}});
    Start();
    EXPECT_EQ(Open(), 0U);
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 750);
    EXPECT_EQ(driver->state.g_nReceiveTimeoutMS, 750);
}

TEST_F(ConnectSettingsTest, Timeout_IsReadAnewOnceTheMountIsFound) {
    Seed({{"Timeout", "750"}});
    SimulatorLine line(*mount);
    line.onWrite = [&](std::string_view bytes) {
        if (bytes == ":V#") {
            driver->persist.WriteIniValue("Timeout", "900");
        }
    };
    machine.serialPorts.Connect(1, line);
    Start();
    EXPECT_EQ(Open(), 0U);
    EXPECT_EQ(driver->state.g_nReceiveTimeoutMS, 750) << "as the link was opened";
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 900);
    driver.reset();
    machine.serialPorts.Disconnect(1);
}

TEST_F(ConnectSettingsTest, TimeoutThatMakesNoSense_CountsAsOneThatDoes) {
    Start();
    for (const auto& [text, milliseconds] : {std::pair{"soon", 500},
                                             {"", 500},
                                             {"0", 500},
                                             {"0.9", 500},
                                             {"-20", 500},
                                             {"1e3", 500},
                                             {"-3000000000", 500},
                                             {" 750 ", 750},
                                             {"60000", 60000},
                                             {"90000", 60000},
                                             {"3000000000", 60000}}) {
        driver->link->Connected(false);
        driver->persist.WriteIniValue("Timeout", text);
        EXPECT_EQ(Open(), 0U) << text;
        EXPECT_EQ(driver->link->ReceiveTimeoutMS(), milliseconds) << text;
        EXPECT_EQ(driver->persist.ReadIniValue("Timeout", "?"), text) << "the setting stays";
    }
}

TEST_F(ConnectSettingsTest, AnAdapterThatIsPluggedInAfterTheStart_GetsItsNumberWhenItsPortCannotBeOpened) {
    SimulatorLine line(*mount);
    for (const auto& [ascomObject, port] : {std::pair{"0", 2}, {"1", 3}}) {
        Seed({{"Port", "COM" + std::to_string(port)}, {"chkUseASCOMSerialObject", ascomObject}});
        Start();
        machine.serialPorts.PlugIn("an adapter", line);
        const int listings = machine.serialPorts.Listings();
        EXPECT_EQ(Open(), 0U) << port;
        EXPECT_EQ(machine.serialPorts.Listings(), listings + 1);
        EXPECT_EQ(machine.serialPorts.Openings().back().port, port);
        EXPECT_EQ(TimesLoggedAs("Serial", 1, "COM" + std::to_string(port) + " is an adapter from now on"), 1);
        driver.reset();
        machine.serialPorts.Disconnect(port);
    }
}

TEST_F(ConnectSettingsTest, Retry_IsThatOfTheDriversOwnObject) {
    Seed({{"Retry", "4"}});
    Start();
    EXPECT_EQ(Open(), 0U);
    EXPECT_EQ(driver->InternalInstance().MaxSerialRetries(), 4);
}

TEST_F(ConnectSettingsTest, RetryThatMakesNoSense_CountsAsOneThatDoes) {
    Start();
    for (const auto& [text, retries] : {std::pair{"often", 2},
                                        {"", 2},
                                        {"1e0", 2},
                                        {"-1", 0},
                                        {"-3000000000", 0},
                                        {"0", 0},
                                        {"3.7", 4},
                                        {"6", 5},
                                        {"3000000000", 5}}) {
        driver->link->Connected(false);
        driver->persist.WriteIniValue("Retry", text);
        EXPECT_EQ(Open(), 0U) << text;
        EXPECT_EQ(driver->InternalInstance().MaxSerialRetries(), retries) << text;
    }
}

TEST_F(ConnectSettingsTest, Probe_IsNeverRepeatedByTheExchange_NotEvenInASecondConnect) {
    Seed({{"Retry", "2"}});
    ExpectSwallow("CommandString");
    Start();
    ASSERT_EQ(Open(), 0U);
    ASSERT_EQ(driver->InternalInstance().MaxSerialRetries(), 2);
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    driver->link->Connected(false);
    mount->SetLineDead(true);
    EXPECT_EQ(Open(), kNoMount);
    EXPECT_EQ(TimesLogged("bad response: ':V#', Response='' -> Giving up!"), 2);
    EXPECT_FALSE(Logged("-> Retrying!"));
    EXPECT_EQ(driver->InternalInstance().MaxSerialRetries(), 0);
}

}  // namespace
}  // namespace kestrane
