#include <gtest/gtest.h>
#include <vector>

#include "driver/rate_wire_fixture.h"

namespace kestrane {
namespace {

constexpr double kSidereal = 15.04107 / 3600.0;  // degrees per second

class GuideRateTest : public RateWireFixture {
protected:
    void SetUp() override { Connect(); }

    void Write(bool ra, double degreesPerSecond) {
        ra ? telescope->GuideRateRightAscension(degreesPerSecond) : telescope->GuideRateDeclination(degreesPerSecond);
    }
    std::string Stored() { return driver->persist.ReadIniValue("cbxInitGuideRate", "none"); }
};

TEST_F(GuideRateTest, AtFirst_IsTheSiderealSpeedOnBothAxes) {
    EXPECT_DOUBLE_EQ(telescope->GuideRateRightAscension(), kSidereal);
    EXPECT_DOUBLE_EQ(telescope->GuideRateDeclination(), kSidereal);
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET GuideRateRightAscension = 0.004178075 arc-sec/sec"));
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET GuideRateDeclination = 0.004178075 arc-sec/sec"));
}

struct Row {
    double degreesPerSecond;
    double multiple;      ///< 0: the value is dropped
    const char* setting;  ///< of the list
};

TEST_F(GuideRateTest, EachValue_IsOneOfThreeMultiplesOrDropped) {
    const std::vector<Row> rows{
        {0.0020890375, 0.5, "1"},
        {0.25 * kSidereal, 0.25, "0"},
        {0.5 * kSidereal, 0.5, "1"},
        {1.0 * kSidereal, 1.0, "2"},
        {0.249 * kSidereal, 0.25, "0"},
        {0.251 * kSidereal, 0.25, "0"},
        {0.499 * kSidereal, 0.5, "1"},
        {0.501 * kSidereal, 0.5, "1"},
        {0.999 * kSidereal, 1.0, "2"},
        {1.001 * kSidereal, 1.0, "2"},
        {0.2489 * kSidereal, 0.0, ""},
        {0.2511 * kSidereal, 0.0, ""},
        {0.4989 * kSidereal, 0.0, ""},
        {0.5011 * kSidereal, 0.0, ""},
        {0.9989 * kSidereal, 0.0, ""},
        {1.0011 * kSidereal, 0.0, ""},
        {0.004, 0.0, ""},
        {0.0, 0.0, ""},
        {-0.5 * kSidereal, 0.0, ""},
        {0.75 * kSidereal, 0.0, ""},
        {1e300, 0.0, ""},
    };
    for (const bool ra : {true, false}) {
        for (const Row& row : rows) {
            driver->state.g_dGuideRate = 0.125;
            driver->persist.WriteIniValue("cbxInitGuideRate", "7");
            const bool taken = row.multiple != 0.0;
            EXPECT_EQ(WireOf([&] { Write(ra, row.degreesPerSecond); }), "") << "the mount learns it when it is set up";
            EXPECT_EQ(driver->state.g_dGuideRate, taken ? row.multiple : 0.125) << row.degreesPerSecond / kSidereal;
            EXPECT_EQ(Stored(), taken ? row.setting : "7") << row.degreesPerSecond / kSidereal;
        }
    }
}

TEST_F(GuideRateTest, OneValue_ServesBothAxes) {
    telescope->GuideRateDeclination(0.5 * kSidereal);
    EXPECT_DOUBLE_EQ(telescope->GuideRateRightAscension(), 0.5 * kSidereal);
    telescope->GuideRateRightAscension(0.25 * kSidereal);
    EXPECT_DOUBLE_EQ(telescope->GuideRateDeclination(), 0.25 * kSidereal);
}

TEST_F(GuideRateTest, Write_LogsTheMultipleInForce) {
    telescope->GuideRateDeclination(0.5 * kSidereal);
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET GuideRateDeclination = 0.5 sec/sec"));
    telescope->GuideRateRightAscension(0.004);
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET GuideRateRightAscension = 0.5 sec/sec"))
        << "that of a dropped one is the old";
}

TEST_F(GuideRateTest, Members_WorkUnconnectedAndParked) {
    driver->state.g_bConnected = false;
    driver->motion.MountReportsParked(true);
    EXPECT_EQ(ErrorOf([&] { telescope->GuideRateDeclination(0.25 * kSidereal); }), 0U);
    EXPECT_EQ(ErrorOf([&] { telescope->GuideRateRightAscension(); }), 0U);
}

}  // namespace
}  // namespace kestrane
