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
    Parked ifParked;
    TrackingMust tracks;
    std::uint32_t error;
    std::string logged;
};

class GuardTest : public DriverFixture, public testing::WithParamInterface<GuardRow> {};

TEST_P(GuardTest, MotionCheck_TestsConnectionThenParkThenTracking) {
    const GuardRow& row = GetParam();
    Seed({{"chkAutoEnableTracking", row.autoTracking ? "1" : "0"}});
    const TelescopeObject telescope = ConnectedTelescope();
    driver->state.g_bConnected = row.connected;
    driver->motion.MountReportsParked(row.parked);
    driver->state.g_bTracking = row.tracking;
    log.clear();
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", row.ifParked, row.tracks); }), row.error);
    if (row.logged.empty()) {
        for (const LogLine& line : log) {
            EXPECT_NE(line.origin, "check_connected");
        }
        const bool stays = row.tracks == TrackingMust::BeEither;
        EXPECT_EQ(driver->state.g_bTracking, stays ? row.tracking : row.tracks == TrackingMust::BeOn);
    } else {
        ASSERT_FALSE(log.empty());
        EXPECT_EQ(log.back().origin, "check_connected");
        EXPECT_EQ(log.back().level, 4);
        EXPECT_EQ(log.back().message, row.logged);
    }
}

INSTANTIATE_TEST_SUITE_P(
    States, GuardTest,
    testing::Values(GuardRow{true, false, true, false, Parked::IsRefused, TrackingMust::BeOn, 0, ""},
                    GuardRow{true, true, true, false, Parked::IsAllowed, TrackingMust::BeOn, 0, ""},
                    GuardRow{true, false, false, false, Parked::IsRefused, TrackingMust::BeOff, 0, ""},
                    // Tracking comes by itself.
                    GuardRow{true, false, false, true, Parked::IsRefused, TrackingMust::BeOn, 0, ""},
                    GuardRow{false, true, false, false, Parked::IsRefused, TrackingMust::BeOn, 0x80040404,
                             "Telescope not connected or is Nothing: Op"},
                    GuardRow{true, true, false, false, Parked::IsRefused, TrackingMust::BeOn, 0x80040409,
                             "Op : bMustNotBeParked and g_bParked: True, True"},
                    GuardRow{true, false, false, false, Parked::IsRefused, TrackingMust::BeOn, 0x80040411,
                             "Op : Track <> g_bTracking: True, False"},
                    GuardRow{true, false, true, true, Parked::IsRefused, TrackingMust::BeOff, 0x80040411,
                             "Op : Track <> g_bTracking: False, True"},
                    GuardRow{true, false, true, true, Parked::IsRefused, TrackingMust::BeEither, 0, ""},
                    GuardRow{true, false, false, true, Parked::IsRefused, TrackingMust::BeEither, 0, ""},
                    GuardRow{true, true, false, true, Parked::IsAllowed, TrackingMust::BeEither, 0, ""},
                    GuardRow{true, true, true, true, Parked::IsRefused, TrackingMust::BeEither, 0x80040409,
                             "Op : bMustNotBeParked and g_bParked: True, True"}));

class GuardFormTest : public DriverFixture {};

TEST_F(GuardFormTest, AltAzCheck_RefusesATrackingMount) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->state.g_bTracking = true;
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", Parked::IsRefused); }), 0x8004040bU);
    EXPECT_EQ(log.back().message, "Op : Invalid operation (altaz): tracking must be disabled");
    driver->state.g_bTracking = false;
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", Parked::IsRefused); }), 0U);
    driver->motion.MountReportsParked(true);
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", Parked::IsRefused); }), 0x80040409U);
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", Parked::IsAllowed); }), 0U);
    driver->state.g_bConnected = false;
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", Parked::IsAllowed); }), 0x80040404U);
}

TEST_F(GuardFormTest, ParkCheck_HasItsOwnWords) {
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected_park("Park", Parked::IsRefused); }), 0U);
    driver->motion.MountReportsParked(true);
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected_park("Park", Parked::IsAllowed); }), 0U);
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected_park("Park", Parked::IsRefused); }), 0x80040409U);
    EXPECT_EQ(log.back().origin, "check_connected_park");
    EXPECT_EQ(log.back().message, "Park : bPark and g_bParked: True, True");
    driver->state.g_bConnected = false;
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected_park("Park", Parked::IsRefused); }), 0x80040404U);
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

struct WordsRow {
    ErrorNumber number;
    std::string_view words;
};

class ErrorWordsTest : public testing::TestWithParam<WordsRow> {};

TEST_P(ErrorWordsTest, Error_HasItsWordsAndTheDriversSource) {
    const DriverError error(GetParam().number);
    EXPECT_EQ(error.Message(), GetParam().words);
    EXPECT_EQ(error.Source(), "ASCOM V2 Kestrane VTR Driver");
}

INSTANTIATE_TEST_SUITE_P(Numbers, ErrorWordsTest,
                         testing::Values(WordsRow{ErrorNumber::NotConnected, "The scope is not connected"},
                                         WordsRow{ErrorNumber::IllegalWhileParked, "Illegal operation while parked"},
                                         WordsRow{ErrorNumber::InvalidOperation, "Invalid operation"},
                                         WordsRow{ErrorNumber::WrongTracking, "Wrong tracking state"},
                                         WordsRow{ErrorNumber::LostCommunications, "Lost communications with mount."}));

TEST_F(GuardFormTest, AltAzCheck_TestsConnectionAndParkBeforeTracking) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->state.g_bTracking = true;
    driver->motion.MountReportsParked(true);
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", Parked::IsRefused); }), 0x80040409U);
    EXPECT_EQ(log.back().origin, "check_connected");
    EXPECT_EQ(log.back().level, 4);
    EXPECT_EQ(log.back().message, "Op : bMustNotBeParked and g_bParked: True, True");
    driver->state.g_bConnected = false;
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", Parked::IsRefused); }), 0x80040404U);
    EXPECT_EQ(log.back().message, "Telescope not connected or is Nothing: Op");
}

TEST_F(GuardFormTest, MotionChecks_DoNotAskForCommunications) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->state.g_bLostComms = true;
    driver->state.g_bTracking = true;
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", Parked::IsRefused, TrackingMust::BeOn); }), 0U);
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected_park("Op", Parked::IsRefused); }), 0U);
}

TEST_F(GuardFormTest, LinkCheck_CountsTelescopeClientsOnly) {
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    const FocuserObject focuser = driver->CreateFocuser();
    focuser->Link(true);
    EXPECT_EQ(ErrorOf([&] { telescope->CheckConnected(); }), 0x80040404U);
    telescope->Connected(true);
    EXPECT_EQ(ErrorOf([&] { telescope->CheckConnected(); }), 0U);
}

struct AutoTrackingRow {
    std::string setting;
    std::uint32_t error;
};

class AutoTrackingTest : public DriverFixture, public testing::WithParamInterface<AutoTrackingRow> {};

TEST_P(AutoTrackingTest, TrackingThatComesByItself_ReachesTheMount) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->persist.WriteIniValue("chkAutoEnableTracking", GetParam().setting);
    driver->state.g_bTracking = false;
    driver->motion.MountReportsParked(true);
    const int sent = TimesSent("RT2");
    EXPECT_EQ(ErrorOf([&] { telescope->check_connected("Op", Parked::IsAllowed, TrackingMust::BeOn); }),
              GetParam().error);
    EXPECT_EQ(TimesSent("RT2") > sent, GetParam().error == 0);
    EXPECT_EQ(Logged("SET Tracking = True"), GetParam().error == 0);
}

INSTANTIATE_TEST_SUITE_P(Settings, AutoTrackingTest,
                         testing::Values(AutoTrackingRow{"0", 0x80040411}, AutoTrackingRow{"1", 0},
                                         AutoTrackingRow{"-1", 0}, AutoTrackingRow{"abc", 0x80040411}));

// --- the exchange as the telescope object owns it
// ----------------------------------------------------------------------

struct RetryRow {
    std::string retry;
    int attempts;
};

class RetryTest : public DriverFixture, public testing::WithParamInterface<RetryRow> {};

TEST_P(RetryTest, DriversOwnExchanges_TakeTheSetting_AndAClientsTakeOneAttempt) {
    Seed({{"Retry", GetParam().retry}});
    ExpectSwallow("CommandString");
    const TelescopeObject telescope = ConnectedTelescope();
    log.clear();
    mount->SetLineDead(true);
    telescope->CommandString("GR", false);
    EXPECT_EQ(TimesLogged("CommandString TX=':GR#'"), 1);
    log.clear();
    driver->InternalInstance().CommandStringInternal("GR", false);
    EXPECT_EQ(TimesLogged("CommandString TX=':GR#'"), GetParam().attempts);
}

INSTANTIATE_TEST_SUITE_P(Settings, RetryTest,
                         testing::Values(RetryRow{"2", 3}, RetryRow{"0", 1}, RetryRow{"9", 6}, RetryRow{"-1", 1},
                                         RetryRow{"40000", 6}, RetryRow{"", 3}, RetryRow{"many", 3}));

TEST_F(GuardFormTest, RetriesOfAnObject_AreItsOwn) {
    const TelescopeObject first = ConnectedTelescope();
    const TelescopeObject second = driver->CreateTelescope();
    first->MaxSerialRetries(9);
    EXPECT_EQ(first->MaxSerialRetries(), 5);
    first->MaxSerialRetries(-1);
    EXPECT_EQ(first->MaxSerialRetries(), 0);
    EXPECT_EQ(second->MaxSerialRetries(), 0);
    EXPECT_EQ(driver->InternalInstance().MaxSerialRetries(), 2);
}

TEST_F(GuardFormTest, ReadLimit_ComesFromTheSettingAndIsThatOfTheLink) {
    Seed({{"Timeout", "750"}});
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_EQ(telescope->ReceiveTimeoutMS(), 750);
    EXPECT_EQ(driver->state.g_nReceiveTimeoutMS, 750);
    telescope->ReceiveTimeoutMS(300);
    EXPECT_EQ(driver->link->ReceiveTimeoutMS(), 300);
    driver->link->ReceiveTimeoutMS(40'000);
    EXPECT_EQ(ErrorOf([&] { telescope->ReceiveTimeoutMS(); }), RunTimeError::kOverflow);
    driver->link.reset();
    EXPECT_EQ(telescope->ReceiveTimeoutMS(), 0);
    ExpectSwallow("*");
}

TEST_F(GuardFormTest, LostCommunications_ComeAfterThreeSilentQueries_AndEndWithOneGoodAnswer) {
    ExpectSwallow("*");
    const TelescopeObject telescope = ConnectedTelescope();
    mount->SetLineDead(true);
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(driver->state.g_bLostComms);
        driver->queries.QueryRa();
    }
    EXPECT_TRUE(driver->state.g_bLostComms);
    mount->SetLineDead(false);
    EXPECT_TRUE(driver->InternalInstance().CommandBoolInternal("Sr01:00:00.00", false));
    EXPECT_FALSE(driver->state.g_bLostComms);
}

TEST_F(GuardFormTest, AtPark_GivesARunningPollThreeMilliseconds_ElseItPumpsOnce) {
    const TelescopeObject telescope = ConnectedTelescope();
    const int pumps = machine.pump.Pumps();
    Tick start = machine.clock.GetTickCount();
    telescope->AtPark();
    EXPECT_EQ(machine.pump.Pumps(), pumps + 1);
    driver->state.g_bInPoll = true;
    start = machine.clock.GetTickCount();
    telescope->AtPark();
    EXPECT_EQ(machine.clock.GetTickCount() - start, 23);
    EXPECT_EQ(machine.pump.Pumps(), pumps + 1);
    driver->state.g_bInPoll = false;
}

TEST_F(GuardFormTest, FirmwareRevision_IsReadAsAnInteger) {
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_GT(TimesSent("G_S"), 0);
    EXPECT_GT(driver->state.g_nFirmwareRev, 0);
}

}  // namespace
}  // namespace kestrane
