#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

constexpr std::uint32_t kNotConnected = 0x80040404;

class RateListsTest : public DriverFixture {
protected:
    int TimesOnAscom(const std::string& message) const { return TimesLoggedAs("ASCOM", 0, message); }
};

// --- axis rates -------------------------------------------------------------------------------------------------

struct ModelRow {
    const char* mountType;
    double fastest;
};

class AxisRatesOfModelTest : public RateListsTest, public testing::WithParamInterface<ModelRow> {};

TEST_P(AxisRatesOfModelTest, TwoAxes_HaveOneRangeUpToTheModelsFastest) {
    Seed({{"MountType", GetParam().mountType}});
    const TelescopeObject telescope = ConnectedTelescope();
    EXPECT_EQ(driver->state.g_dMaxAxisRate, GetParam().fastest);
    for (const std::int32_t axis : {0, 1}) {
        const auto rates = telescope->AxisRates(axis);
        ASSERT_EQ(rates->Count(), 1);
        EXPECT_EQ(rates->Item(1)->Minimum(), 0.0);
        EXPECT_EQ(rates->Item(1)->Maximum(), GetParam().fastest);
    }
}

INSTANTIATE_TEST_SUITE_P(Models, AxisRatesOfModelTest,
                         testing::Values(ModelRow{"0", 5.0}, ModelRow{"4", 5.0}, ModelRow{"5", 2.5}, ModelRow{"6", 5.0},
                                         ModelRow{"11", 5.0}, ModelRow{"12", 5.0}));

TEST_P(AxisRatesOfModelTest, FastestRate_IsTakenByTheMountInBothDirections) {
    Seed({{"MountType", GetParam().mountType}, {"chkAutoCalibrateOnFirstSlew", "0"}});
    const TelescopeObject telescope = ConnectedTelescope();
    machine.AdvanceTime(10'000);
    for (const std::int32_t axis : {0, 1}) {
        const double fastest = telescope->AxisRates(axis)->Item(1)->Maximum();
        for (const double rate : {fastest, -fastest}) {
            telescope->MoveAxis(axis, rate);
            const auto picture = mount->Picture();
            const double speed = axis == 0 ? picture.hourSpeed : picture.polarSpeed;
            EXPECT_NEAR(std::abs(speed), fastest, 0.01) << axis << " at " << rate;
            EXPECT_EQ(driver->counters.Values().g_nRetransmits, 0) << axis << " at " << rate;
            telescope->MoveAxis(axis, 0.0);
        }
    }
}

TEST_F(RateListsTest, AnyOtherAxis_HasAnEmptyList) {
    const TelescopeObject telescope = ConnectedTelescope();
    for (const std::int32_t axis : {2, 3, -1, 2'147'483'647}) {
        EXPECT_EQ(telescope->AxisRates(axis)->Count(), 0) << axis;
    }
    EXPECT_EQ(TimesOnAscom("AxisRates(axisTertiary)"), 4);
    EXPECT_EQ(ErrorOf([&] { telescope->AxisRates(2)->Item(1); }), 9U) << "the collection's own error";
    telescope->AxisRates(0);
    telescope->AxisRates(1);
    EXPECT_EQ(TimesOnAscom("AxisRates(axisPrimary)"), 1);
    EXPECT_EQ(TimesOnAscom("AxisRates(axisSecondary)"), 1);
}

TEST_F(RateListsTest, AxisRates_AreThoseOfTheStart_WhateverModelComesLater) {
    const TelescopeObject first = ConnectedTelescope();
    driver->mount.mountType = Mount_Type::FIR;
    const TelescopeObject second = driver->CreateTelescope();
    EXPECT_EQ(second->AxisRates(0)->Item(1)->Maximum(), 5.0);
    EXPECT_EQ(first->AxisRates(0), second->AxisRates(0)) << "all objects share them";
    EXPECT_EQ(driver->state.g_dMaxAxisRate, 5.0);
}

TEST_F(RateListsTest, AxisRates_NeedAConnection_AndNothingElse) {
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(ErrorOf([&] { telescope->AxisRates(0); }), kNotConnected);
    EXPECT_EQ(TimesOnAscom("AxisRates(axisPrimary)"), 0);
    telescope->Connected(true);
    for (const bool parked : {false, true}) {
        for (const bool tracking : {false, true}) {
            driver->motion.MountReportsParked(parked);
            driver->state.g_bTracking = tracking;
            EXPECT_EQ(ErrorOf([&] { telescope->AxisRates(0); }), 0U);
            EXPECT_EQ(ErrorOf([&] { telescope->TrackingRates(); }), 0U);
        }
    }
}

TEST_F(RateListsTest, CanMoveAxis_IsTrueForTwoAxes_AlsoUnconnected) {
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_TRUE(telescope->CanMoveAxis(0));
    EXPECT_TRUE(telescope->CanMoveAxis(1));
    EXPECT_FALSE(telescope->CanMoveAxis(2));
    EXPECT_FALSE(telescope->CanMoveAxis(-1));
    EXPECT_EQ(TimesOnAscom("CanMoveAxis(axisPrimary) = True"), 1);
    EXPECT_EQ(TimesOnAscom("CanMoveAxis(axisSecondary) = True"), 1);
    EXPECT_EQ(TimesOnAscom("CanMoveAxis(axisTertiary) = False"), 2);
}

// --- the rate type of the status text -------------------------------------------------------------------------

/// Tells the rate type "1", whatever its controller has.
class TellsRateTypeOne final : public Misbehaviour {
public:
    void Change(SimulatedReply& reply) override {
        if (reply.name == "GOS") {
            reply.parts.front().bytes.at(13) = '1';
        }
    }
};

TEST_F(RateListsTest, RateTypeThatTheMountHasTold_IsStoredOnce_AndInUseAgainAfterARestart) {
    for (const char* firmware : {"VKC4-P02-08", "VKC5-P03-01"}) {
        driver.reset();
        log.clear();
        BuildMount(firmware);
        mount->Add(std::make_unique<TellsRateTypeOne>());
        Start();
        {
            const TelescopeObject telescope = ConnectedTelescope();
            EXPECT_EQ(driver->persist.ReadIniValue("MountRateType", "none"), "1") << firmware;
            log.clear();
            driver->InternalInstance().InitUI();
            driver->InternalInstance().InitUI();
            EXPECT_FALSE(LoggedAs("WriteIniValue", 0, "MountRateType=>'3'")) << firmware;
            EXPECT_FALSE(LoggedAs("WriteIniValue", 0, "MountRateType=>'1'")) << firmware;
            EXPECT_EQ(driver->state.g_sMountRateType, "1");
        }
        Restart();
        const TelescopeObject telescope = driver->CreateTelescope();
        EXPECT_EQ(driver->state.g_sMountRateType, "1") << firmware;
    }
}

// --- tracking rates ---------------------------------------------------------------------------------------------

TEST_F(RateListsTest, TrackingRates_HaveTheKingRateWithTheTwoNewestControllers) {
    const TelescopeObject telescope = ConnectedTelescope();
    for (const Controller_Type controller : {Controller_Type::VTRKC1, Controller_Type::VTRKC2, Controller_Type::VTRKC3,
                                             Controller_Type::VTRKC4, Controller_Type::VTRKC5}) {
        driver->controller.Apply(controller, 0, 0);
        ASSERT_FALSE(driver->state.g_bKingRateAvailable) << "the firmware has no say";
        const bool king = controller >= Controller_Type::VTRKC4;
        const auto rates = telescope->TrackingRates();
        EXPECT_EQ(rates->NewEnum(),
                  king ? (std::vector<std::int32_t>{0, 1, 2, 3}) : (std::vector<std::int32_t>{0, 1, 2}));
        EXPECT_EQ(rates->Count(), king ? 4 : 3);
        EXPECT_EQ(rates->Item(1), 0);
        EXPECT_EQ(ErrorOf([&] { rates->Item(0); }), 9U);
        EXPECT_EQ(ErrorOf([&] { rates->Item(5); }), 9U);
    }
    EXPECT_EQ(TimesOnAscom("GET TrackingRates"), 5);
}

TEST_F(RateListsTest, AnOlderListOfTrackingRates_KeepsItsContents) {
    const TelescopeObject telescope = ConnectedTelescope();
    driver->controller.Apply(Controller_Type::VTRKC3, 0, 0);
    const auto older = telescope->TrackingRates();
    driver->controller.Apply(Controller_Type::VTRKC5, 0, 0);
    const auto newer = telescope->TrackingRates();
    EXPECT_NE(older, newer);
    EXPECT_EQ(older->Count(), 3);
    EXPECT_EQ(newer->Count(), 4);
}

TEST_F(RateListsTest, ReadingTheTrackingRates_ChangesNothing) {
    const TelescopeObject telescope = ConnectedTelescope();
    const auto before = driver->rateLists.tracking;
    telescope->TrackingRates();
    EXPECT_EQ(driver->rateLists.tracking, before);
}

TEST_F(RateListsTest, TrackingRates_NeedAConnection_AndHoldThreeRatesBeforeIt) {
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(ErrorOf([&] { telescope->TrackingRates(); }), kNotConnected);
    EXPECT_EQ(TimesOnAscom("GET TrackingRates"), 1) << "logged before the check";
    EXPECT_EQ(driver->rateLists.tracking->NewEnum(), (std::vector<std::int32_t>{0, 1, 2}));
}

// --- the first object -------------------------------------------------------------------------------------------

TEST_F(RateListsTest, TheFirstObject_AppliesTheStoredController_AndKeepsTheStoredRateType) {
    Seed({{"Controller", "3"}, {"MountType", "2"}, {"MountRateType", "2"}});
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(driver->mount.ControllerType, Controller_Type::VTRKC4);
    EXPECT_EQ(driver->mount.mountType, Mount_Type::CEDAR);
    EXPECT_EQ(driver->handBox.lblControllerType.Text(), "Controller Type: VTRKC4");
    EXPECT_TRUE(driver->initialSetup.chkIPAddress.Visible());
    EXPECT_FALSE(driver->state.g_bBacklashAvailable);
    EXPECT_EQ(driver->state.g_sMountRateType, "2");
    EXPECT_EQ(driver->persist.Read(setting::MountRateType), "2");
    EXPECT_EQ(driver->handBox.cbxMoveRate.ListItems().size(), 8U);
}

TEST_F(RateListsTest, TheFirstObject_ForTheFirModel_HasTheHalfSpeedRows) {
    Seed({{"MountType", "5"}});
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(driver->rates.slewRateCollection().GetMaxRate(), 600.0);
    EXPECT_EQ(driver->initMount.lblCustomSlew.Text(), "Slew Rate (1-900):");
}

TEST_F(RateListsTest, StoredNumbersThatAreNone_LeaveTheModelAndControllerAsTheyWere) {
    Seed({{"MountType", "99999999999"}, {"Controller", "99999999999"}});
    ExpectSwallow("Class_Initialize");
    Start();
    const TelescopeObject telescope = driver->CreateTelescope();
    EXPECT_EQ(driver->mount.mountType, Mount_Type::ALDER);
    EXPECT_EQ(driver->mount.ControllerType, Controller_Type::VTRKC1);
    EXPECT_EQ(driver->rateLists.tracking->Count(), 3) << "the steps behind them run";
    EXPECT_EQ(driver->rates.guideRateCollection().Count(), 3U);
}

// --- the catalogue sends ----------------------------------------------------------------------------------------

TEST_F(RateListsTest, SendNoResponse_GoesToTheMountAsItIs) {
    const TelescopeObject telescope = ConnectedTelescope();
    const int before = TimesSent("RS1");
    EXPECT_TRUE(driver->mount.SendNoResponse(":RS1#"));
    EXPECT_EQ(TimesSent("RS1"), before + 1);
}

}  // namespace
}  // namespace kestrane
