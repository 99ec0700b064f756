#include "storms/random_hour.h"

#include <gtest/gtest.h>

#include "support/run_length.h"

namespace kestrane {
namespace {

/// Three clients and a person who call whatever there is, on a line with faults; tools/random_hours runs many more.
TEST(RandomHourTest, WhateverIsCalled_AStopStopsAll_AndTheDriverAgreesWithTheMount) {
    int stops = 0;
    int parks = 0;
    const int hours = RunLength(40);
    for (int seed = 1; seed <= hours; ++seed) {
        RandomHour hour({.seed = static_cast<std::uint32_t>(seed)});
        for (const std::string& wrong : hour.Run()) {
            ADD_FAILURE() << wrong << " (tools/random_hours --hour " << seed << ")";
        }
        stops += hour.Stops();
        parks += hour.Parks();
    }
    EXPECT_GT(stops, 20 * hours);
    EXPECT_GT(parks, 2 * hours);
}

}  // namespace
}  // namespace kestrane
