#include <gtest/gtest.h>

#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

/// What a client's `Connected` does beside the bytes on the wire.
class ConnectedTest : public DriverFixture {};

TEST_F(ConnectedTest, SecondClient_RunsNoInitialization) {
    const TelescopeObject first = ConnectedTelescope();
    machine.AdvanceTime(3'000);
    const int rounds = TimesSent("G_S");
    const std::string events = driver->journal.RaDecInfo();
    ASSERT_NE(events, "1,0,0");
    const TelescopeObject second = driver->CreateTelescope();
    second->Connected(true);
    EXPECT_EQ(TimesSent("G_S"), rounds);
    EXPECT_EQ(driver->journal.RaDecInfo(), events);
    EXPECT_TRUE(driver->handBox.tmrQueryRaDecAltAz.Enabled());
}

TEST_F(ConnectedTest, SecondClient_WakesAStuckPoll) {
    const TelescopeObject first = ConnectedTelescope();
    driver->poll.SetPolling(false);
    const TelescopeObject second = driver->CreateTelescope();
    second->Connected(true);
    EXPECT_FALSE(driver->state.g_bPollSuspended);
    EXPECT_TRUE(driver->handBox.tmrQueryRaDecAltAz.Enabled());
}

TEST_F(ConnectedTest, ManyMoreConnectsThanAnyoneCounts_StayAtTheGreatestCount) {
    const TelescopeObject first = ConnectedTelescope();
    const FocuserObject focuser = driver->CreateFocuser();
    driver->state.g_nScopeConnects = 32767;
    driver->state.g_nFocuserConnects = 32767;
    first->Connected(true);
    focuser->Link(true);
    EXPECT_EQ(driver->state.g_nScopeConnects, 32767);
    EXPECT_EQ(driver->state.g_nFocuserConnects, 32767);
}

TEST_F(ConnectedTest, SilentMount_IsNoMount_AndALaterClientOfTheOpenLinkIsToldOfTheSilence) {
    ExpectSwallow("CheckSlewComplete");  // it asks for the latitude, over the link check
    ExpectSwallow("CommandString");
    mount->SetLineDead(true);
    Start();
    const TelescopeObject first = driver->CreateTelescope();
    EXPECT_EQ(ErrorOf([&] { first->Connected(true); }), 0x80040402U);
    EXPECT_TRUE(Logged("No Port"));
    const TelescopeObject second = driver->CreateTelescope();
    second->Connected(true);
    machine.AdvanceTime(30'000);
    EXPECT_EQ(ErrorOf([&] { second->RightAscension(); }), 0x80040429U);
}

TEST_F(ConnectedTest, CalibrationOfTheDirections_IsWantedAnewByARealConnectOnly) {
    const TelescopeObject first = ConnectedTelescope();
    driver->state.g_bAutoCalibrated = true;
    const TelescopeObject second = driver->CreateTelescope();
    second->Connected(true);
    EXPECT_TRUE(driver->state.g_bAutoCalibrated);
    driver->link->Connected(false);
    second->Connected(true);
    EXPECT_FALSE(driver->state.g_bAutoCalibrated);
}

TEST_F(ConnectedTest, PowerOnPosition_WithAPositionToConfirm_IsToldAndNoneIsGivenToTheMount) {
    MountSimulatorOptions options;
    options.parkedAtPowerOn = true;
    BuildMount(options);
    Seed({{"cbxUnparkFrom", "3"}});
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_TRUE(driver->state.g_bParked);
    EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Parked");
    machine.AdvanceTime(60'000);
    EXPECT_EQ(TimesLoggedAs("frmAskUnpark", 1, "No window can be shown: the question counts as cancelled"), 1);
    EXPECT_EQ(TimesSent("CM") + TimesSent("CMR") + TimesSent("PO"), 0);
    EXPECT_FALSE(mount->Picture().initialised);
}

TEST_F(ConnectedTest, PowerOnPosition_WithTheOneOfTheLastPark_IsLeft_AndNoPositionIsGivenToTheMount) {
    MountSimulatorOptions options;
    options.parkedAtPowerOn = true;
    BuildMount(options);
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_FALSE(driver->state.g_bParked);
    EXPECT_TRUE(driver->state.g_bTracking);
    EXPECT_EQ(driver->handBox.lblParkStatus.Text(), "Unparked");
    EXPECT_EQ(driver->persist.Read(setting::ParkStatus), "UnParked");
    machine.AdvanceTime(60'000);
    EXPECT_EQ(TimesSent("PO"), 1);
    EXPECT_EQ(TimesSent("CM") + TimesSent("CMR"), 0);
    EXPECT_EQ(mount->Picture().tracking, '2');
}

struct ParkStateRow {
    std::string firmware;
    std::string stored;
    bool parked;
    std::string shown;
};

class ParkStateTest : public ConnectedTest, public testing::WithParamInterface<ParkStateRow> {};

TEST_P(ParkStateTest, StoredParkStatus_RulesWhereTheMountHasNoStatusText) {
    const ParkStateRow& row = GetParam();
    BuildMount(row.firmware);
    Seed({{"ParkStatus", row.stored}});
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_EQ(driver->state.g_bParked, row.parked);
    EXPECT_EQ(driver->handBox.lblParkStatus.Text(), row.shown);
    EXPECT_FALSE(driver->state.g_bFreshConnect);
}

INSTANTIATE_TEST_SUITE_P(States, ParkStateTest,
                         testing::Values(ParkStateRow{"D", "Parked", true, "Parked"},
                                         ParkStateRow{"D", "UnParked", false, "UnParked"},
                                         ParkStateRow{"D", "Unknown", false, "Unknown"},
                                         ParkStateRow{"VKC4-P02-08", "Parked", false, "Unparked"},
                                         ParkStateRow{"E3", "Parked", false, "Unparked"}));

struct RateCapabilityRow {
    std::string controller;
    bool can;
};

class RateCapabilityTest : public ConnectedTest, public testing::WithParamInterface<RateCapabilityRow> {};

TEST_P(RateCapabilityTest, CustomRates_AreForTheThirdGenerationUp) {
    Seed({{"Controller", GetParam().controller}});
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(telescope->CanSetDeclinationRate(), GetParam().can);
    EXPECT_EQ(telescope->CanSetRightAscensionRate(), GetParam().can);
}

TEST_F(ConnectedTest, CustomRates_AreKnownWithoutReadingASetting) {
    Seed({{"Controller", "4"}});
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    const int reads = TimesLogged("Controller=>");
    EXPECT_TRUE(telescope->CanSetDeclinationRate());
    EXPECT_TRUE(telescope->CanSetRightAscensionRate());
    EXPECT_EQ(TimesLogged("Controller=>"), reads);
    EXPECT_EQ(telescope->CommandString("RAW,SetIniValue,controller=1", true), "1");
    EXPECT_FALSE(telescope->CanSetDeclinationRate());
    driver->persist.WriteIniValue("Controller", "3");  // as another program does
    telescope->Connected(true);
    EXPECT_TRUE(telescope->CanSetRightAscensionRate());
}

/// A mount that is initialized again falls silent.
TEST_F(ConnectedTest, InitializationOnALineThatHasFallenSilent_AsksForTheVersionOnly) {
    ExpectSwallow("*");
    const TelescopeObject telescope = ConnectedTelescope();
    mount->SetLineDead(true);
    const Tick start = machine.clock.GetTickCount();
    driver->InternalInstance().InitUI();
    EXPECT_LE(machine.clock.GetTickCount() - start, 3'000) << "three tries";
    EXPECT_TRUE(driver->state.g_bGosSupported) << "what is known of the firmware stays";
    EXPECT_EQ(driver->state.g_nPrecisionRa, 2);
    EXPECT_TRUE(driver->handBox.tmrQueryRaDecAltAz.Enabled());
}

TEST_F(ConnectedTest, PoleOfAnEarlierLink_IsNoPowerOnPosition) {
    ExpectSwallow("*");
    Seed({{"chkCalcAzAlt", "0"}});
    TelescopeObject telescope = ConnectedTelescope();
    driver->state.g_dRa = 0.0;
    driver->state.g_dDec = 90.0;
    ASSERT_TRUE(driver->queries.IsAtPowerOnPosition());
    driver->link->Connected(false);
    mount->Add(std::make_unique<DropsReply>("GR"));
    mount->Add(std::make_unique<DropsReply>("GD"));
    telescope->Connected(true);
    EXPECT_FALSE(driver->queries.IsAtPowerOnPosition());
    EXPECT_FALSE(driver->state.g_bParked);
}

INSTANTIATE_TEST_SUITE_P(Controllers, RateCapabilityTest,
                         testing::Values(RateCapabilityRow{"", false}, RateCapabilityRow{"0", false},
                                         RateCapabilityRow{"1", false}, RateCapabilityRow{"2", true},
                                         RateCapabilityRow{"4", true}, RateCapabilityRow{"x", false}));

TEST_F(ConnectedTest, SafeSlewRaDecOfZero_TurnsTwoLegSlewsOff) {
    Seed({{"SafeSlewRaDec", "0"}});
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_TRUE(driver->state.g_bRawRaDecSlews);
    EXPECT_TRUE(Logged("SafeSlewRaDec = 0"));
}

TEST_F(ConnectedTest, EachPulse_IsPulseGuiding) {
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_FALSE(telescope->IsPulseGuiding());
    for (const GuideDirection direction :
         {GuideDirection::North, GuideDirection::South, GuideDirection::East, GuideDirection::West}) {
        driver->motion.GuidePulseBegins(direction);
        EXPECT_TRUE(telescope->IsPulseGuiding());
        driver->motion.GuidePulseEnds(direction);
    }
}

TEST_F(ConnectedTest, EmptyOptions_CountAsNothingAndOneSecond) {
    Seed({{"txtScopeAperture", ""}, {"txtScopeFocalLength", ""}, {"Elevation", ""}, {"txtConnectTimeout", ""}});
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    telescope->LoadTelescopeOptions();
    EXPECT_EQ(telescope->ApertureDiameter(), 0.0);
    EXPECT_EQ(telescope->FocalLength(), 0.0);
    EXPECT_EQ(telescope->SiteElevation(), 0.0);
    EXPECT_EQ(driver->state.g_dConnectTimeout, 1.0);
}

TEST_F(ConnectedTest, KingCorrection_IsSetByWhatTheUserChose) {
    Seed({{"chkEnableKingRate", "1"}});
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_EQ(TimesSent("RT8"), 1);
    EXPECT_EQ(TimesSent("RT3"), 0);
}

}  // namespace
}  // namespace kestrane
