#include "telescope/motion/safe_slew_path.h"

#include <gtest/gtest.h>
#include <optional>

namespace kestrane {
namespace {

struct PathRow {
    std::int16_t side;  // 0 East, 1 West
    double hourAngle;
    double siderealTime;
    std::optional<double> via;
};

class SafeSlewPathTest : public testing::TestWithParam<PathRow> {};

TEST_P(SafeSlewPathTest, IntermediatePoint_FollowsSideAndHourAngle) {
    const PathRow& row = GetParam();
    const auto via = IntermediateRa(row.side, row.hourAngle, row.siderealTime);
    ASSERT_EQ(via.has_value(), row.via.has_value());
    if (via) {
        EXPECT_NEAR(*via, *row.via, 1e-9);
    }
}

INSTANTIATE_TEST_SUITE_P(Positions, SafeSlewPathTest,
                         testing::Values(PathRow{0, -8.0, 5.0, 17.5},            // far east: LST + 12.5
                                         PathRow{0, -6.0, 5.0, 17.5},            // the bound belongs to the far leg
                                         PathRow{0, -5.999, 5.0, 4.5},           // near: LST - 0.5
                                         PathRow{0, -2.0, 0.25, 23.75},          // folded below 0
                                         PathRow{0, -8.0, 20.0, 8.5},            // folded above 24
                                         PathRow{0, 0.0, 5.0, std::nullopt},     // on the meridian: one leg
                                         PathRow{0, 2.0, 5.0, std::nullopt},     // counterweights down
                                         PathRow{1, 2.0, 5.0, 5.5},              // LST + 0.5
                                         PathRow{1, 5.999, 5.0, 5.5},            //
                                         PathRow{1, 6.0, 5.0, 16.5},             // LST - 12.5, folded
                                         PathRow{1, 8.0, 20.0, 7.5},             //
                                         PathRow{1, 12.0, 20.0, 7.5},            //
                                         PathRow{1, 0.0, 5.0, std::nullopt},     //
                                         PathRow{1, -2.0, 5.0, std::nullopt},    //
                                         PathRow{2, -2.0, 5.0, std::nullopt}));  // side not known

struct ShortRow {
    double ra, dec, finalRa, finalDec;
    bool isShort;
};

class ShortSlewTest : public testing::TestWithParam<ShortRow> {};

TEST_P(ShortSlewTest, WithinOneDegreeInBothAxes_IsShort) {
    const ShortRow& row = GetParam();
    EXPECT_EQ(IsShortSlew(row.ra, row.dec, row.finalRa, row.finalDec), row.isShort);
}

INSTANTIATE_TEST_SUITE_P(Distances, ShortSlewTest,
                         testing::Values(ShortRow{10.0, 20.0, 10.0, 21.0, true},     // exactly one degree
                                         ShortRow{10.0, 20.0, 10.0, 21.001, false},  //
                                         ShortRow{10.0, 20.0, 10.0625, 20.0, true},  // 0.9375 degrees
                                         ShortRow{10.0, 20.0, 10.07, 20.0, false},   //
                                         ShortRow{23.99, 20.0, 0.02, 20.5, true},    // across midnight
                                         ShortRow{0.02, -20.0, 23.99, -20.5, true},  //
                                         ShortRow{0.0, 89.0, 12.0, 89.5, false}));   // near the pole RA still counts

}  // namespace
}  // namespace kestrane
