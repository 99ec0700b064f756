#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>

#include "platform/pump_engine.h"

namespace kestrane {

/// The steady clock, with a sleep on a condition variable.
class PosixPumpTime final : public PumpTime {
public:
    /// Called from every thread that posts.
    using TimeSource = std::function<TimePoint()>;

    explicit PosixPumpTime(TimeSource now = std::chrono::steady_clock::now);

    TimePoint Now() override { return now_(); }
    void SleepUntil(std::optional<TimePoint> end) override;
    void Wake() override;

private:
    const TimeSource now_;
    std::mutex mutex_;  ///< guards the last one
    std::condition_variable wake_;
    bool woken_ = false;  ///< since the last sleep
};

}  // namespace kestrane
