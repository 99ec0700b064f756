#pragma once

#include <cstdint>

#include "platform/clock.h"

namespace kestrane {

/// How long a statement waits for a second program that holds the settings file. A wait blocks the logic thread, so
/// only the start and the end of the process allow one. Logic thread only.
class LockWait {
public:
    static constexpr std::int32_t kLongestMs = 2000;
    static constexpr std::int32_t kStepMs = 10;

    explicit LockWait(Clock& clock) : clock_(clock) {}

    /// The statements that follow may wait, together so long.
    void Begin(std::int32_t milliseconds = kLongestMs) { leftMs_ = milliseconds; }
    std::int32_t LeftMs() const { return leftMs_; }
    /// The statements that follow never wait; so it is from the beginning.
    void Forbid() { leftMs_ = 0; }
    /// Waits one step; false when the time to wait is used up.
    bool WaitAStep();

private:
    Clock& clock_;
    std::int32_t leftMs_ = 0;
};

}  // namespace kestrane
