#include <gtest/gtest.h>
#include <string>

#include "storms/ip_waits.h"
#include "storms/storm_night.h"
#include "support/run_length.h"

namespace kestrane {
namespace {

std::string Words(const StormReport& report) {
    std::string words;
    for (const std::string& note : report.notes) {
        words += note + "\n";
    }
    return words;
}

/// Commands and replies that are lost, late, cut, doubled, noisy or changed in a digit; tools/storms runs many more.
class StormTest : public testing::TestWithParam<const char*> {};

TEST_P(StormTest, FaultsOfTheLine_LeaveNoStuckFlagNoStrangeMotionAndNoWrongValue) {
    StormNight night({.firmware = GetParam(),
                      .seed = 1,
                      .probability = 0.02,
                      .lengthMs = RunLength(60) * 60'000,
                      .calibrates = true});
    const StormReport report = night.Run();
    EXPECT_TRUE(report.Clean()) << Words(report);
    EXPECT_GT(report.faults, RunLength(60)) << "the storm has struck";
    EXPECT_GT(report.slews, 0);
}

TEST_P(StormTest, ACableThatIsOut_LeavesNoStuckFlagAndNoSlewWithoutEnd) {
    for (const std::int64_t afterMs : {80, 6'000, 15'000}) {
        StormNight night({.firmware = GetParam(), .seed = 2});
        const StormReport report =
            night.RunCableOut([=](const StormNight::Progress& slew) { return slew.sinceMs >= afterMs; }, 10'000);
        EXPECT_TRUE(report.Clean()) << Words(report);
    }
}

TEST_P(StormTest, FaultsOfANetworkAdapter_LeaveNoStuckFlagNoStrangeMotionAndNoWrongValue) {
    StormNight night({.firmware = GetParam(),
                      .seed = 1,
                      .probability = 0.02,
                      .lengthMs = RunLength(60) * 60'000,
                      .calibrates = true,
                      .overIp = true});
    const StormReport report = night.Run();
    EXPECT_TRUE(report.Clean()) << Words(report);
    EXPECT_GT(report.faults, RunLength(60)) << "the storm has struck";
    EXPECT_GT(report.slews, 0);
}

constexpr AdapterFault kLastingFaults[]{AdapterFault::Slow,    AdapterFault::TooSlow,
                                        AdapterFault::Silent,  AdapterFault::Unplugged,
                                        AdapterFault::Reboots, AdapterFault::AnswersForAnother};

TEST_P(StormTest, AnAdapterThatFailsForAWhile_LeavesNoStuckFlagAndNoSlewWithoutEnd) {
    for (const AdapterFault fault : kLastingFaults) {
        for (const std::int64_t afterMs : {80, 6'000}) {
            StormNight night({.firmware = GetParam(), .seed = 2, .overIp = true});
            const StormReport report = night.RunAdapterFault(
                [=](const StormNight::Progress& slew) { return slew.sinceMs >= afterMs; }, fault, 10'000);
            EXPECT_TRUE(report.Clean()) << static_cast<int>(fault) << " " << Words(report);
        }
    }
}

/// Reads of what is known wait for nothing; a stop waits for one try of an exchange at most, and a connect ends soon.
TEST(IpWaitsTest, AreBounded_WhateverTheAdapterDoes) {
    constexpr std::int64_t kReadMs = 50;
    constexpr std::int64_t kOneTryMs = 1'100;
    constexpr std::int64_t kConnectMs = 10'000;
    EXPECT_TRUE(MeasureIpWaits(AdapterFault::None).connects);
    for (const AdapterFault fault : kLastingFaults) {
        SCOPED_TRACE(static_cast<int>(fault));
        const IpWaits waits = MeasureIpWaits(fault);
        EXPECT_LE(waits.readMs, kReadMs);
        EXPECT_LE(waits.stopMs, kOneTryMs);
        EXPECT_LE(waits.connectMs, kConnectMs);
        EXPECT_EQ(waits.connects, fault == AdapterFault::Slow);
    }
}

INSTANTIATE_TEST_SUITE_P(Firmware, StormTest, testing::Values("D", "S", "VKC4-P02-08", "VKC5-P03-01"));

}  // namespace
}  // namespace kestrane
