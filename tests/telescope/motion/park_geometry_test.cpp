#include "telescope/motion/park_geometry.h"

#include <gtest/gtest.h>
#include <string>

#include "catalogue/vocabulary.h"

namespace kestrane {
namespace {

struct PlaceRow {
    std::int16_t index;
    const char* altitude;
    const char* north;
    const char* south;
    SiderealTimeOf siderealTime;
};

void ExpectPlace(const FixedPlace& place, const PlaceRow& row) {
    SCOPED_TRACE(row.index);
    EXPECT_EQ(place.altitude, row.altitude);
    EXPECT_EQ(place.Azimuth(51.0), row.north);
    EXPECT_EQ(place.Azimuth(0.0), row.north);
    EXPECT_EQ(place.Azimuth(-0.001), row.south);
}

TEST(ParkGeometry, PlacesToParkAt) {
    using enum SiderealTimeOf;
    for (const PlaceRow& row : {PlaceRow{1, "+00*00:10", "+359*59:50", "+180*00:10", Now},
                                PlaceRow{2, "+00*00:10", "+90*00:10", "+89*59:50", LastReading},
                                PlaceRow{3, "", "+359*59:50", "+179*59:50", LastReading},
                                PlaceRow{4, "+00*00:10", "+180*00:10", "+359*59:50", Now},
                                PlaceRow{5, "+00*00:10", "+00*00:10", "+179*59:50", Now}}) {
        ExpectPlace(FixedParkPlace(row.index), row);
        EXPECT_EQ(FixedParkPlace(row.index).siderealTime, row.siderealTime) << row.index;
    }
}

TEST(ParkGeometry, PlacesToUnparkFrom_DifferInTheFirstAltitude) {
    using enum SiderealTimeOf;
    for (const PlaceRow& row : {PlaceRow{1, "+00*00:00", "+359*59:50", "+180*00:10", LastReading},
                                PlaceRow{2, "+00*00:10", "+90*00:10", "+89*59:50", LastReading},
                                PlaceRow{3, "", "+359*59:50", "+179*59:50", LastReading},
                                PlaceRow{4, "+00*00:10", "+180*00:10", "+359*59:50", LastReading},
                                PlaceRow{5, "+00*00:10", "+00*00:10", "+179*59:50", LastReading}}) {
        ExpectPlace(FixedUnparkPlace(row.index), row);
    }
}

TEST(ParkGeometry, WayAcrossThePole_IsBarredOnEachSide) {
    struct Row {
        std::int16_t side;
        double hourAngle;
        bool crosses;
    };
    for (const Row& row :
         {Row{pier_side::East, -11.999, false}, Row{pier_side::East, -11.998, true}, Row{pier_side::East, -6.002, true},
          Row{pier_side::East, -6.001, false}, Row{pier_side::East, 3.0, false}, Row{pier_side::West, 0.0, false},
          Row{pier_side::West, 0.001, true}, Row{pier_side::West, 5.999, true}, Row{pier_side::West, 6.0, false},
          Row{pier_side::West, -7.0, false}}) {
        EXPECT_EQ(WouldCrossPole(row.side, row.hourAngle), row.crosses) << row.side << " " << row.hourAngle;
    }
}

TEST(ParkGeometry, HoursToTheEast_AreAboveZeroToTwelve) {
    EXPECT_FALSE(CanSlewEast(0.0));
    EXPECT_TRUE(CanSlewEast(0.1));
    EXPECT_TRUE(CanSlewEast(12.0));
    EXPECT_FALSE(CanSlewEast(12.001));
    EXPECT_FALSE(CanSlewEast(13.0));
    EXPECT_FALSE(CanSlewEast(-1.0));
}

struct LegRow {
    double hourAngle;
    double siderealTime;
    double firstRa;
    double secondRa;
};

class CounterweightUpLegs : public testing::TestWithParam<LegRow> {};

TEST_P(CounterweightUpLegs, GoNearTheMeridianAndThenToThePosition) {
    const LegRow& row = GetParam();
    EXPECT_NEAR(CounterweightUpFirstRa(row.hourAngle, row.siderealTime), row.firstRa, 1e-9);
    EXPECT_NEAR(CounterweightUpSecondRa(row.hourAngle, row.siderealTime), row.secondRa, 1e-9);
}

INSTANTIATE_TEST_SUITE_P(HourAngles, CounterweightUpLegs,
                         testing::Values(LegRow{-3.0, 10.0, 9.9, 13.0},     // near, east of the meridian
                                         LegRow{0.0, 10.0, 9.9, 10.0},      // exactly on it
                                         LegRow{3.0, 10.0, 10.1, 7.0},      // near, west of it
                                         LegRow{-5.999, 0.0, 23.9, 5.999},  //
                                         LegRow{-6.0, 10.0, 22.1, 16.0},    // far
                                         LegRow{-8.0, 20.0, 8.1, 4.0},      //
                                         LegRow{6.0, 10.0, 21.9, 4.0},      //
                                         LegRow{8.0, 1.0, 12.9, 17.0}));

struct DelayRow {
    std::int16_t side;
    double hourAngle;
    double offset;
    double delay;
};

class CounterweightUpDelays : public testing::TestWithParam<DelayRow> {};

TEST_P(CounterweightUpDelays, HoldTheMountOnItsSide) {
    const DelayRow& row = GetParam();
    EXPECT_NEAR(CounterweightUpOffset(row.side, row.hourAngle), row.offset, 1e-9);
    EXPECT_NEAR(CounterweightUpDelay(row.hourAngle, row.offset), row.delay, 1e-9);
}

INSTANTIATE_TEST_SUITE_P(
    HourAngles, CounterweightUpDelays,
    testing::Values(DelayRow{pier_side::East, -3.0, -9.0, 4.0}, DelayRow{pier_side::East, -5.0, -7.0, 6.0},
                    DelayRow{pier_side::East, -5.5, -6.5, 6.5},  // more than a mount takes
                    DelayRow{pier_side::East, -6.5, -5.5, -6.5}, DelayRow{pier_side::East, -7.0, -5.0, -6.0},
                    DelayRow{pier_side::East, -11.0, -1.0, -2.0}, DelayRow{pier_side::West, 3.0, 9.0, -4.0},
                    DelayRow{pier_side::West, 5.0, 7.0, -6.0}, DelayRow{pier_side::West, 7.0, 5.0, 6.0},
                    DelayRow{pier_side::West, 11.0, 1.0, 2.0}));

}  // namespace
}  // namespace kestrane
