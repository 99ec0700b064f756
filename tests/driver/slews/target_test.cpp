#include <gtest/gtest.h>
#include <limits>

#include "driver/rate_wire_fixture.h"

namespace kestrane {
namespace {

constexpr std::uint32_t kNotSet = 0x80040403;
constexpr std::uint32_t kOutOfRange = 0x80040405;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The target lives in the driver: no write of it reaches the mount.
class TargetTest : public RateWireFixture {
protected:
    void SetUp() override { Connect(); }

    std::string Flags() const {
        const DriverState& state = driver->state;
        std::string set;
        set += state.g_bTargetRaSet ? "ra " : "";
        set += state.g_bTargetDecSet ? "dec " : "";
        set += state.g_bTargetAltSet ? "alt " : "";
        set += state.g_bTargetAzSet ? "az " : "";
        return set + (state.g_bTargetIsRaDec ? "RaDec" : "AltAz");
    }
    void TakeAltAzTarget() {
        telescope->Tracking(false);
        telescope->SlewToAltAzAsync(200.0, 50.0);
        telescope->AbortSlew();
        telescope->Tracking(true);
    }
};

TEST_F(TargetTest, BeforeItWasSet_ReadingTellsSo) {
    EXPECT_EQ(ErrorOf([&] { telescope->TargetRightAscension(); }), kNotSet);
    EXPECT_EQ(ErrorOf([&] { telescope->TargetDeclination(); }), kNotSet);
    EXPECT_EQ(MessageOf([&] { telescope->TargetRightAscension(); }),
              "Property TargetRightAscension  property has not yet been set.");
    EXPECT_EQ(MessageOf([&] { telescope->TargetDeclination(); }),
              "Property TargetDeclination  property has not yet been set.");
    EXPECT_TRUE(LoggedAs("ASCOM", 4, "GET TargetRightAscension (property not set) = 0"));
    EXPECT_TRUE(LoggedAs("ASCOM", 4, "GET TargetDeclination (value not set) = 0"));
}

TEST_F(TargetTest, RightAscension_LiesFromZeroToBelowTwentyFour) {
    for (const double hours : {0.0, 12.5, 23.999999}) {
        EXPECT_EQ(WireOf([&] { telescope->TargetRightAscension(hours); }), "");
        EXPECT_EQ(telescope->TargetRightAscension(), hours);
    }
    for (const double hours : {24.0, -0.000001, 1e9, kNaN}) {
        EXPECT_EQ(ErrorOf([&] { telescope->TargetRightAscension(hours); }), kOutOfRange) << hours;
        EXPECT_EQ(telescope->TargetRightAscension(), 23.999999) << "as it was";
    }
    EXPECT_EQ(MessageOf([&] { telescope->TargetRightAscension(24.0); }), "The property value is out of range");
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET TargetRightAscension = 12.5"));
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET TargetRightAscension = 12.5"));
    EXPECT_TRUE(LoggedAs("ASCOM", 4, "SET TargetRightAscension (out of range) = 24"));
    EXPECT_FALSE(LoggedAs("ASCOM", 0, "SET TargetRightAscension = 24"));
}

TEST_F(TargetTest, Declination_LiesFromPoleToPole) {
    for (const double degrees : {-90.0, 0.0, 90.0}) {
        EXPECT_EQ(WireOf([&] { telescope->TargetDeclination(degrees); }), "");
        EXPECT_EQ(telescope->TargetDeclination(), degrees);
    }
    for (const double degrees : {90.000001, -90.000001, kNaN}) {
        EXPECT_EQ(ErrorOf([&] { telescope->TargetDeclination(degrees); }), kOutOfRange) << degrees;
        EXPECT_EQ(telescope->TargetDeclination(), 90.0) << "as it was";
    }
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET TargetDeclination = -90"));
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET TargetDeclination = -90"));
    EXPECT_TRUE(LoggedAs("ASCOM", 4, "SET TargetDeclination (out of range) = 90.000001"));
}

TEST_F(TargetTest, OutOfRangeBeforeAnyTarget_SetsNone) {
    EXPECT_EQ(ErrorOf([&] { telescope->TargetRightAscension(24.0); }), kOutOfRange);
    EXPECT_EQ(ErrorOf([&] { telescope->TargetDeclination(91.0); }), kOutOfRange);
    EXPECT_FALSE(driver->state.g_bTargetRaSet);
    EXPECT_FALSE(driver->state.g_bTargetDecSet);
}

TEST_F(TargetTest, EachHalf_HasItsOwnFlag) {
    telescope->TargetRightAscension(1.0);
    EXPECT_EQ(Flags(), "ra RaDec");
    EXPECT_EQ(ErrorOf([&] { telescope->TargetDeclination(); }), kNotSet);
    telescope->TargetDeclination(2.0);
    EXPECT_EQ(Flags(), "ra dec RaDec");
}

TEST_F(TargetTest, EquatorialAndHorizontalTargets_ExcludeEachOther) {
    telescope->TargetRightAscension(1.0);
    telescope->TargetDeclination(2.0);
    TakeAltAzTarget();
    EXPECT_EQ(Flags(), "alt az AltAz");
    EXPECT_EQ(ErrorOf([&] { telescope->TargetRightAscension(); }), kNotSet);
    EXPECT_EQ(ErrorOf([&] { telescope->TargetDeclination(); }), kNotSet);
    EXPECT_TRUE(LoggedAs("Telescope", 0, "SET TargetAzimuth = 200"));
    EXPECT_TRUE(LoggedAs("Telescope", 0, "SET TargetAltitude = 50"));
    EXPECT_EQ(driver->state.g_dTargetRa, 1.0) << "the value behind the flag stays";
    EXPECT_EQ(driver->state.g_dTargetDec, 2.0);
    telescope->TargetRightAscension(3.0);
    EXPECT_EQ(Flags(), "ra RaDec") << "one half is enough to be rid of both others";
    EXPECT_EQ(driver->state.g_dTargetAz, 200.0);
    EXPECT_EQ(driver->state.g_dTargetAlt, 50.0);
    TakeAltAzTarget();
    telescope->TargetDeclination(3.0);
    EXPECT_EQ(Flags(), "dec RaDec");
}

struct HorizontalRow {
    double azimuth;
    double altitude;
    bool taken;
};

/// Whether the mount then takes the slew is another matter.
TEST_F(TargetTest, HorizontalTarget_HasItsBounds) {
    telescope->Tracking(false);
    DriverState& state = driver->state;
    for (const HorizontalRow& row :
         {HorizontalRow{-0.001, 50.0, false}, HorizontalRow{360.001, 50.0, false}, HorizontalRow{kNaN, 50.0, false},
          HorizontalRow{100.0, 90.001, false}, HorizontalRow{100.0, -90.001, false}, HorizontalRow{0.0, 50.0, true},
          HorizontalRow{360.0, 90.0, true}, HorizontalRow{100.0, -90.0, true}}) {
        state.g_dTargetAz = state.g_dTargetAlt = -1.0;
        state.g_bTargetAzSet = state.g_bTargetAltSet = false;
        const std::uint32_t error = ErrorOf([&] { telescope->SlewToAltAzAsync(row.azimuth, row.altitude); });
        EXPECT_EQ(error == kOutOfRange, !row.taken) << row.azimuth << ", " << row.altitude;
        EXPECT_EQ(state.g_bTargetAzSet && state.g_bTargetAltSet, row.taken);
        EXPECT_EQ(state.g_dTargetAz == row.azimuth && state.g_dTargetAlt == row.altitude, row.taken);
        telescope->AbortSlew();
    }
}

TEST_F(TargetTest, HorizontalTarget_WhileCommunicationsAreLost_IsRefused_AndNothingSlews) {
    telescope->Tracking(false);
    driver->state.g_bLostComms = true;
    EXPECT_EQ(ErrorOf([&] { telescope->SlewToAltAzAsync(120.0, 40.0); }), 0x80040429U);
    EXPECT_FALSE(driver->state.g_bTargetAzSet);
    EXPECT_FALSE(driver->state.g_bTargetAltSet);
    EXPECT_FALSE(driver->state.g_bSlewing);
    EXPECT_EQ(TimesSent("MS"), 0);
}

}  // namespace
}  // namespace kestrane
