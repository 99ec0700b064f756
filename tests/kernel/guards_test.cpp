#include <gtest/gtest.h>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

/// What the guard is asked, the state it finds, and what comes of it: an error number (0: none) and a log line.
struct GuardRow {
    bool connected;
    bool parked;
    bool tracking;
    bool autoTracking;
    bool mustNotBeParked;
    bool requiredTracking;
    std::uint32_t error;
    std::string logged;
};

class GuardTest : public DriverFixture, public testing::WithParamInterface<GuardRow> {};

TEST_P(GuardTest, MotionCheck_TestsConnectionThenParkThenTracking) {
    const GuardRow& row = GetParam();
    Seed({{"chkAutoEnableTracking", row.autoTracking ? "1" : "0"}});
    const TelescopeObject telescope = ConnectedTelescope();
    driver->state.g_bConnected = row.connected;
    driver->state.g_bParked = row.parked;
    driver->state.g_bTracking = row.tracking;
    log.clear();
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", row.mustNotBeParked, row.requiredTracking); }), row.error);
    if (row.logged.empty()) {
        for (const LogLine& line : log) {
            EXPECT_NE(line.origin, "check_connected");
        }
        EXPECT_EQ(driver->state.g_bTracking, row.requiredTracking);
    } else {
        ASSERT_FALSE(log.empty());
        EXPECT_EQ(log.back().origin, "check_connected");
        EXPECT_EQ(log.back().level, 4);
        EXPECT_EQ(log.back().message, row.logged);
    }
}

INSTANTIATE_TEST_SUITE_P(
    States, GuardTest,
    testing::Values(
        GuardRow{true, false, true, false, true, true, 0, ""},
        GuardRow{true, true, true, false, false, true, 0, ""},
        GuardRow{true, false, false, false, true, false, 0, ""},
        GuardRow{true, false, false, true, true, true, 0, ""},  // tracking comes by itself
        GuardRow{false, true, false, false, true, true, 0x80040404, "Telescope not connected or is Nothing: Op"},
        GuardRow{true, true, false, false, true, true, 0x80040409, "Op : bMustNotBeParked and g_bParked: True, True"},
        GuardRow{true, false, false, false, true, true, 0x80040411, "Op : Track <> g_bTracking: True, False"},
        GuardRow{true, false, true, true, true, false, 0x80040411, "Op : Track <> g_bTracking: False, True"}));

class GuardFormTest : public DriverFixture {};

TEST_F(GuardFormTest, AltAzCheck_RefusesATrackingMount) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->state.g_bTracking = true;
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", true); }), 0x8004040bU);
    EXPECT_EQ(log.back().message, "Op : Invalid operation (altaz): tracking must be disabled");
    driver->state.g_bTracking = false;
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", true); }), 0U);
    driver->state.g_bParked = true;
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", true); }), 0x80040409U);
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", false); }), 0U);
    driver->state.g_bConnected = false;
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", false); }), 0x80040404U);
}

TEST_F(GuardFormTest, ParkCheck_HasItsOwnWords) {
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected_park("Park", true); }), 0U);
    driver->state.g_bParked = true;
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected_park("Park", false); }), 0U);
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected_park("Park", true); }), 0x80040409U);
    EXPECT_EQ(log.back().origin, "check_connected_park");
    EXPECT_EQ(log.back().message, "Park : bPark and g_bParked: True, True");
    driver->state.g_bConnected = false;
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected_park("Park", true); }), 0x80040404U);
    EXPECT_EQ(log.back().message, "Telescope not connected or is Nothing : Park");
}

TEST_F(GuardFormTest, LinkCheck_TellsALostMountFromALostClient) {
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_EQ(ErrorOf([&] { telescope->CheckConnected(); }), 0U);
    driver->state.g_bLostComms = true;
    EXPECT_EQ(ErrorOf([&] { telescope->CheckConnected(); }), 0x80040429U);
    driver->state.g_bConnected = false;
    EXPECT_EQ(ErrorOf([&] { telescope->CheckConnected(); }), 0x80040404U);
}

TEST_F(GuardFormTest, Errors_CarryTheDriversSourceAndWords) {
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    try {
        telescope->CheckConnected();
        ADD_FAILURE() << "no error";
    } catch (const DriverError& error) {
        EXPECT_EQ(error.Source(), "ASCOM V2 Kestrane VTR Driver");
        EXPECT_EQ(error.Message(), "The scope is not connected");
    }
}

}  // namespace
}  // namespace kestrane
