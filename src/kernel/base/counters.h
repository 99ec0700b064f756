#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kernel/base/log.h"

namespace kestrane {

/// The six link counters; members of the shared state record.
struct CounterState {
    std::int32_t g_nRetransmits = 0;
    std::int32_t g_nReceiveCountedErrors = 0;
    std::int32_t g_nReceiveTerminatedErrors = 0;
    std::int32_t g_nMotorStalls = 0;
    std::int32_t g_nServoFaults = 0;
    std::int32_t g_nLowPower = 0;
};

/// Shows the counters; implemented by the hand box.
class CounterView {
public:
    virtual ~CounterView() = default;
    virtual void UpdateErrorCounts() = 0;
};

/// Increments the link counters: each increment logs the new value with origin "Telescope" and refreshes the view.
class Counters {
public:
    Counters(CounterState& state, Log& log) : state_(state), log_(log) {}

    /// `view` may be null; it must outlive the counters or be taken away first.
    void SetView(CounterView* view) { view_ = view; }

    void CountRetransmit();
    void CountReceiveCountedError();
    void CountReceiveTerminatedError();
    void CountMotorStall();
    void CountServoFault();
    void CountLowPower();

    /// Zeroes all six without a log line; the view is not refreshed.
    void Reset() { state_ = CounterState{}; }
    const CounterState& Values() const { return state_; }

private:
    void Count(std::int32_t CounterState::*counter, std::string_view text, LogLevel level);

    CounterState& state_;
    Log& log_;
    CounterView* view_ = nullptr;
};

/// What a low power alarm does to the rest of the driver.
class AlarmActions {
public:
    virtual ~AlarmActions() = default;
    /// Sets `g_bLostComms` and `g_bLowPower`, blanks the position labels, writes "LOW" and "POWER" over RA and Dec.
    virtual void ShowLowPower() = 0;
};

/// Removes the unsolicited alarm letters from what the mount sent: "X" servo fault, "Y" low power, "Z" motor stall.
/// Each letter is removed once per reply and counted. Intentional: a reply that really holds one of them loses it.
class AlarmFilter {
public:
    explicit AlarmFilter(Counters& counters) : counters_(counters) {}
    void SetActions(AlarmActions* actions) { actions_ = actions; }

    /// Changes `reply` and returns it.
    std::string FilterAlarms(std::string& reply);

private:
    Counters& counters_;
    AlarmActions* actions_ = nullptr;
};

/// `text` without the character at `position` (from 1); an empty text for a position outside it.
std::string RemoveChar(std::string_view text, std::size_t position);

}  // namespace kestrane
