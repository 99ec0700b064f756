#include "state/position_text.h"

#include <gtest/gtest.h>

namespace kestrane {
namespace {

TEST(PositionTextTest, HoursThatRoundUpToADay_AreHourZero) {
    EXPECT_EQ(HoursText(23.9999, ForcedSign::No), "23:59:59.6");
    EXPECT_EQ(HoursText(23.99999999, ForcedSign::No), "00:00:00.0");
    EXPECT_EQ(HoursText(0.0, ForcedSign::No), "00:00:00.0");
    EXPECT_EQ(HoursText(11.99999999, ForcedSign::Yes), "+12:00:00.0");
    EXPECT_EQ(HoursText(-0.5, ForcedSign::Yes), "-00:30:00.0");
}

TEST(PositionTextTest, DegreesThatRoundUpToAFullTurn_AreNorth) {
    EXPECT_EQ(DegreesText(359.999, ForcedSign::No), "359:59:56");
    EXPECT_EQ(DegreesText(359.99999, ForcedSign::No), "00:00:00");
    EXPECT_EQ(DegreesText(0.0, ForcedSign::No), "00:00:00");
    EXPECT_EQ(DegreesText(36.0, ForcedSign::Yes), "+36:00:00");
    EXPECT_EQ(DegreesText(89.99999, ForcedSign::Yes), "+90:00:00");
}

TEST(PositionTextTest, ValueThatRoundsUpToZero_HasNoMinus) {
    EXPECT_EQ(HoursText(-0.000001, ForcedSign::No), "00:00:00.0");
    EXPECT_EQ(HoursText(-0.000001, ForcedSign::Yes), "+00:00:00.0");
    EXPECT_EQ(DegreesText(-0.0001, ForcedSign::Yes), "+00:00:00");
    EXPECT_EQ(DegreesText(-0.001, ForcedSign::Yes), "-00:00:04");
}

}  // namespace
}  // namespace kestrane
