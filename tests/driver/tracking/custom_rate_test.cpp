#include <gtest/gtest.h>
#include <ostream>
#include <vector>

#include "driver/rate_wire_fixture.h"
#include "simulator/misbehaviours.h"

namespace kestrane {
namespace {

// --- bytes by generation, hemisphere, side of the pier and value -----------------------------------------------------

enum class Axis { Ra, Dec };

struct CustomRow {
    Axis axis;
    double latitude;
    bool westSide;
    double value;
    const char* wire;
};

// clang-format off
const CustomRow kCustomRates[] = {
    // RA goes through as it is, against its sign in the north, whatever the side of the pier.
    {Axis::Ra,  30.0,  false,  1.0,       ":RR-1.00000#"},
    {Axis::Ra,  30.0,  true,   1.0,       ":RR-1.00000#"},
    {Axis::Ra,  30.0,  false, -1.0,       ":RR1.00000#"},
    {Axis::Ra,  30.0,  false,  0.5,       ":RR-0.50000#"},
    {Axis::Ra,  30.0,  false,  0.123456,  ":RR-0.12346#"},
    {Axis::Ra,  30.0,  false,  0.0,       ":RR0.00000#"},
    {Axis::Ra,  30.0,  false,  0.000001,  ":RR0.00000#"},
    {Axis::Ra,  30.0,  false, -0.000001,  ":RR0.00000#"},
    {Axis::Ra, -30.0,  false,  1.0,       ":RR1.00000#"},
    {Axis::Ra, -30.0,  true,   1.0,       ":RR1.00000#"},
    {Axis::Ra, -30.0,  false, -1.0,       ":RR-1.00000#"},
    {Axis::Ra, -30.0,  true,  -0.25,      ":RR-0.25000#"},
    {Axis::Ra, -30.0,  false,  0.0,       ":RR0.00000#"},
    {Axis::Ra, -30.0,  false, -0.000001,  ":RR0.00000#"},
    // Dec is scaled to multiples of sidereal, against its sign on the west side, whatever the hemisphere.
    {Axis::Dec, 30.0,  false,  15.04107,  ":RD1.00000#"},
    {Axis::Dec, 30.0,  true,   15.04107,  ":RD-1.00000#"},
    {Axis::Dec, 30.0,  false, -15.04107,  ":RD-1.00000#"},
    {Axis::Dec, 30.0,  true,  -15.04107,  ":RD1.00000#"},
    {Axis::Dec, 30.0,  false,  1.0,       ":RD0.06648#"},
    {Axis::Dec, 30.0,  true,   1.0,       ":RD-0.06648#"},
    {Axis::Dec, 30.0,  true,   0.0,       ":RD0.00000#"},
    {Axis::Dec, 30.0,  false, -0.00001,   ":RD0.00000#"},
    {Axis::Dec, -30.0, false,  15.04107,  ":RD1.00000#"},
    {Axis::Dec, -30.0, true,   15.04107,  ":RD-1.00000#"},
    {Axis::Dec, -30.0, true,   0.0,       ":RD0.00000#"},
};
// clang-format on

class CustomRateByGenerationTest : public RateWireFixture, public testing::WithParamInterface<const char*> {
protected:
    void Write(const CustomRow& row) {
        row.axis == Axis::Ra ? telescope->RightAscensionRate(row.value) : telescope->DeclinationRate(row.value);
    }
};

TEST_P(CustomRateByGenerationTest, EachValue_IsSentInTheMountsOwnSense) {
    for (const double latitude : {30.0, -30.0}) {
        for (const bool westSide : {false, true}) {
            Connect({.firmware = GetParam(), .latitude = latitude, .westSide = westSide});
            ASSERT_EQ(driver->state.g_dSiteLatitude, latitude);
            for (const CustomRow& row : kCustomRates) {
                if (row.latitude == latitude && row.westSide == westSide) {
                    EXPECT_EQ(WireOf([&] { Write(row); }), row.wire) << row.value;
                }
            }
            telescope.reset();
            driver.reset();
            machine.serialPorts.Disconnect(1);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Mounts, CustomRateByGenerationTest,
                         testing::Values("S", "U", "VKC4-P01-00", "VKC4-P02-07", "VKC4-P02-08", "VKC5-P03-01"));

TEST_F(RateWireFixture, RateBeyondWhatTheMountTakes_IsRefused_AndTheLargestOneIsSent) {
    Connect();
    const double most = driver->state.g_dMaxMoveRate;
    for (const double beyond : {most + 0.001, -most - 0.001, 1e300}) {
        EXPECT_EQ(WireOf([&] { EXPECT_EQ(ErrorOf([&] { telescope->RightAscensionRate(beyond); }), 0x80040405U); }), "");
        EXPECT_EQ(
            WireOf([&] { EXPECT_EQ(ErrorOf([&] { telescope->DeclinationRate(beyond * 15.04107); }), 0x80040405U); }),
            "");
    }
    EXPECT_EQ(telescope->RightAscensionRate(), 0.0);
    EXPECT_EQ(telescope->DeclinationRate(), 0.0);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscensionRate(most); }), 0U);
    EXPECT_EQ(ErrorOf([&] { telescope->DeclinationRate(-most * 15.04106); }), 0U);
}

// --- mounts without custom rates -------------------------------------------------------------------------------------

class NoCustomRateTest : public RateWireFixture, public testing::WithParamInterface<const char*> {};

TEST_P(NoCustomRateTest, ReadingAndWriting_FailAlikeAndSendNothing) {
    Connect({.firmware = GetParam()});
    ASSERT_FALSE(driver->state.g_bHasCustomRates);
    const std::vector<std::pair<std::string, std::function<void()>>> calls{
        {"RightAscensionRate", [&] { telescope->RightAscensionRate(); }},
        {"RightAscensionRate", [&] { telescope->RightAscensionRate(0.0); }},
        {"DeclinationRate", [&] { telescope->DeclinationRate(); }},
        {"DeclinationRate", [&] { telescope->DeclinationRate(1.0); }},
    };
    for (const auto& [member, call] : calls) {
        log.clear();
        EXPECT_EQ(WireOf([&, call = call] { EXPECT_EQ(ErrorOf(call), 0x80040400U); }), "");
        EXPECT_EQ(MessageOf(call), member + "  is not implemented in this driver.");
        EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET " + member + " is not available for VTRKC1/2"));
        EXPECT_FALSE(Logged("ET " + member + " = "));
    }
    driver->state.g_bConnected = false;
    EXPECT_EQ(ErrorOf([&] { telescope->DeclinationRate(1.0); }), 0x80040400U) << "told before the connection is";
}

INSTANTIATE_TEST_SUITE_P(Mounts, NoCustomRateTest, testing::Values("C", "D", "E", "E3", "EK5"));

// --- what else a write does ------------------------------------------------------------------------------------------

class CustomRateTest : public RateWireFixture {};

TEST_F(CustomRateTest, Write_IsKept_Logged_AndShownWithFiveDecimals) {
    Connect();
    telescope->RightAscensionRate(0.25);
    telescope->DeclinationRate(-3.1234567);
    EXPECT_EQ(telescope->RightAscensionRate(), 0.25);
    EXPECT_EQ(telescope->DeclinationRate(), -3.1234567);
    EXPECT_EQ(HandBox().txtRaCustom.Text(), "0.25000");
    EXPECT_EQ(HandBox().txtDecCustom.Text(), "-3.12346");
    for (const char* message : {"SET RightAscensionRate = 0.25", "SET DeclinationRate = -3.1234567",
                                "GET RightAscensionRate = 0.25", "GET DeclinationRate = -3.1234567"}) {
        EXPECT_TRUE(LoggedAs("ASCOM", 0, message)) << message;
    }
}

TEST_F(CustomRateTest, Display_IsSiderealOnlyWhileBothAreZero) {
    struct Row {
        Axis axis;
        double value;
        std::int16_t displayed;
        const char* text;
    };
    Connect();
    for (const Row& row :
         {Row{Axis::Ra, 0.0, 1, "Sidereal"}, Row{Axis::Ra, 0.1, 4, "Custom"}, Row{Axis::Dec, 0.2, 4, "Custom"},
          Row{Axis::Ra, 0.0, 4, "Custom"}, Row{Axis::Dec, 0.0, 1, "Sidereal"}, Row{Axis::Dec, 1e-9, 4, "Custom"}}) {
        row.axis == Axis::Ra ? telescope->RightAscensionRate(row.value) : telescope->DeclinationRate(row.value);
        EXPECT_EQ(driver->state.g_nDisplayedRate, row.displayed);
        EXPECT_EQ(driver->statusWindow.lblTrackingRate.Text(), row.text);
    }
}

TEST_F(CustomRateTest, Write_IsRefusedUnconnected_Parked_AndWithoutTracking) {
    Connect();
    telescope->RightAscensionRate(0.5);
    telescope->DeclinationRate(0.5);
    const auto refused = [&](std::uint32_t error, const std::string& raLog, const std::string& decLog) {
        log.clear();
        EXPECT_EQ(WireOf([&] {
                      EXPECT_EQ(ErrorOf([&] { telescope->RightAscensionRate(1.0); }), error);
                      EXPECT_EQ(ErrorOf([&] { telescope->DeclinationRate(1.0); }), error);
                  }),
                  "");
        EXPECT_TRUE(LoggedAs("check_connected", 4, raLog));
        EXPECT_TRUE(LoggedAs("check_connected", 4, decLog));
        EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET RightAscensionRate = 1")) << "logged before the check";
        EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET DeclinationRate = 1"));
        EXPECT_EQ(driver->state.g_dRaRate, 0.5);
        EXPECT_EQ(driver->state.g_dDecRate, 0.5);
        EXPECT_EQ(HandBox().txtRaCustom.Text(), "0.50000");
    };
    driver->state.g_bTracking = false;
    refused(0x80040411, "RightAscensionRate : Track <> g_bTracking: True, False",
            "DeclinationRate(set) : Track <> g_bTracking: True, False");
    driver->motion.MountReportsParked(true);
    refused(0x80040409, "RightAscensionRate : bMustNotBeParked and g_bParked: True, True",
            "DeclinationRate(set) : bMustNotBeParked and g_bParked: True, True");
    driver->state.g_bConnected = false;
    refused(0x80040404, "Telescope not connected or is Nothing: RightAscensionRate",
            "Telescope not connected or is Nothing: DeclinationRate(set)");
}

TEST_F(CustomRateTest, Read_NeedsNothingButTheController) {
    Connect();
    driver->motion.MountReportsParked(true);
    driver->state.g_bTracking = false;
    driver->state.g_bConnected = false;
    EXPECT_EQ(WireOf([&] {
                  EXPECT_EQ(telescope->RightAscensionRate(), 0.0);
                  EXPECT_EQ(telescope->DeclinationRate(), 0.0);
              }),
              "");
}

TEST_F(CustomRateTest, RefusalByTheMount_IsNoError) {
    Connect();
    mount->Add(std::make_unique<CorruptsReply>("RR", kEveryTime, 0, '0'));
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscensionRate(0.5); }), 0U) << "the mount answers 0";
    EXPECT_EQ(telescope->RightAscensionRate(), 0.5);
}

TEST_F(CustomRateTest, RateOfAClient_IsShown_ButTheSettingsKeepTheUsersOwn) {
    Connect();
    HandBox().txtRaCustom.Text("0.5");
    HandBox().txtDecCustom.Text("2");
    telescope->RightAscensionRate(0.25);
    telescope->DeclinationRate(-1.0);
    EXPECT_EQ(HandBox().txtRaCustom.Text(), "0.25000");
    EXPECT_EQ(HandBox().txtDecCustom.Text(), "-1.00000");
    telescope->MoveAxis(0, 0.0);
    telescope->MoveAxis(1, 0.5);
    EXPECT_EQ(HandBox().txtRaCustom.Text(), "-1.00000");
    EXPECT_EQ(HandBox().txtDecCustom.Text(), "119.67234");
    EXPECT_EQ(driver->persist.ReadIniValue("txtRaCustom", "none"), "0.5");
    EXPECT_EQ(driver->persist.ReadIniValue("txtDecCustom", "none"), "2");
    HandBox().txtRaCustom.Text("0.75");
    EXPECT_EQ(driver->persist.ReadIniValue("txtRaCustom", "none"), "0.75");
}

TEST_F(CustomRateTest, RateAskedForBeforeAStop_StaysAway_ButItsEndDoesNot) {
    Connect();
    const auto overtaken = [&](std::function<void()> write) {
        const std::int64_t due = machine.clock.Elapsed() + 10;
        machine.pump.PostAt(due, CallKind::Brief, std::move(write));
        machine.pump.PostAt(due, CallKind::Stop, [&] { telescope->AbortSlew(); });
        machine.AdvanceTime(40);
    };
    overtaken([&] { telescope->RightAscensionRate(10.0); });
    overtaken([&] { telescope->DeclinationRate(10.0); });
    EXPECT_EQ(telescope->RightAscensionRate(), 0.0);
    EXPECT_EQ(telescope->DeclinationRate(), 0.0);
    EXPECT_EQ(TimesLogged("Rate() does not begin: it was stopped before it could"), 2);
    telescope->RightAscensionRate(0.5);
    telescope->DeclinationRate(0.5);
    overtaken([&] { telescope->RightAscensionRate(0.0); });
    overtaken([&] { telescope->DeclinationRate(0.0); });
    EXPECT_EQ(telescope->RightAscensionRate(), 0.0);
    EXPECT_EQ(telescope->DeclinationRate(), 0.0);
}

}  // namespace
}  // namespace kestrane
