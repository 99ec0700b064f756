#include "platform/posix/posix_message_pump.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

/// What only real time and real threads can show; the rules of the pump are in tests/platform.
namespace kestrane {
namespace {

using std::chrono::milliseconds;
using enum CallKind;

/// A pump on real time whose faults fail the test.
class PosixMessagePumpTest : public testing::Test {
protected:
    PosixMessagePump pump_{[](std::exception_ptr) { ADD_FAILURE() << "a call raised"; }};
};

TEST_F(PosixMessagePumpTest, Quit_FromAnotherThread_WakesTheLoop) {
    std::thread other([&] { pump_.Quit(); });
    pump_.Run();
    other.join();
}

TEST_F(PosixMessagePumpTest, Run_TakesCallsOfSeveralThreadsEachInItsOrder) {
    constexpr int kThreads = 4;
    constexpr int kCalls = 500;
    std::vector<std::vector<int>> seen(kThreads);
    int left = kThreads * kCalls;
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kCalls; ++i) {
                pump_.Post(i % 2 == 0 ? Brief : WaitsLong, [&, thread, i] {
                    seen[thread].push_back(i);
                    if (--left == 0) {
                        pump_.Quit();
                    }
                    pump_.PumpMessages();
                });
            }
        });
    }
    pump_.Run();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(left, 0);
    for (const auto& calls : seen) {
        EXPECT_EQ(calls.size(), std::size_t{kCalls});
        // Long calls may be overtaken by brief ones, never by each other.
        for (const int parity : {0, 1}) {
            std::vector<int> ofOneKind;
            std::ranges::copy_if(calls, std::back_inserter(ofOneKind), [&](int i) { return i % 2 == parity; });
            EXPECT_TRUE(std::ranges::is_sorted(ofOneKind));
        }
    }
}

TEST_F(PosixMessagePumpTest, Run_WithNothingDue_UsesNoProcessorTime) {
    const auto processorTime = [] {
        rusage usage{};
        getrusage(RUSAGE_THREAD, &usage);
        return milliseconds(usage.ru_utime.tv_sec * 1000 + usage.ru_utime.tv_usec / 1000 +
                            usage.ru_stime.tv_sec * 1000 + usage.ru_stime.tv_usec / 1000);
    };
    const auto timer = pump_.CreateTimer([&] { pump_.Quit(); });
    timer->SetInterval(60);
    timer->SetEnabled(true);
    const auto before = processorTime();
    pump_.Run();
    EXPECT_LT(processorTime() - before, milliseconds(20));
}

}  // namespace
}  // namespace kestrane
