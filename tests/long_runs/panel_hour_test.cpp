#include "storms/panel_hour.h"

#include <gtest/gtest.h>

#include "support/run_length.h"

namespace kestrane {
namespace {

/// Two persons who use whatever they see, beside two clients; tools/panel_hours runs many more.
TEST(PanelHourTest, WhateverIsPressed_NoControlNoFlagAndNoMotionIsLeftOver) {
    int holds = 0;
    int rests = 0;
    const int hours = RunLength(40);
    for (int seed = 1; seed <= hours; ++seed) {
        PanelHour hour({.seed = static_cast<std::uint32_t>(seed)});
        for (const std::string& wrong : hour.Run()) {
            ADD_FAILURE() << wrong << " (tools/panel_hours --hour " << seed << ")";
        }
        holds += hour.Holds();
        rests += hour.Rests();
    }
    EXPECT_GT(holds, 50 * hours);
    EXPECT_GT(rests, 5 * hours);
}

}  // namespace
}  // namespace kestrane
