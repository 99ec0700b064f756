#pragma once

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace kestrane::process {

using SteadyClock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

inline Seconds Since(SteadyClock::time_point start) {
    return SteadyClock::now() - start;
}

/// Looks every few milliseconds until `condition` holds; false when it does not within the limit.
template <typename Condition>
bool WaitUntil(Seconds limit, Condition&& condition) {
    const auto start = SteadyClock::now();
    for (;;) {
        if (std::forward<Condition>(condition)()) {
            return true;
        }
        if (Since(start) >= limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

/// Calls `action` once per period, counted from start to start, for a time; a call that takes longer delays the next.
template <typename Action>
void EveryFor(Seconds period, Seconds time, Action&& action) {
    const auto start = SteadyClock::now();
    for (auto next = start; next - start < time;) {
        action();
        next = std::max(next + std::chrono::duration_cast<SteadyClock::duration>(period), SteadyClock::now());
        std::this_thread::sleep_until(next);
    }
}

}  // namespace kestrane::process
