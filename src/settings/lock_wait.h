#pragma once

#include <cstdint>
#include <optional>

#include "platform/clock.h"

namespace kestrane {

/// How long a statement waits for a second program that holds the settings file. A wait blocks the logic thread, so
/// there is one of at most `kLongestMs`. After one that did not succeed nobody waits again for `kRestMs`, or until a
/// write succeeded. Logic thread only.
class LockWait {
public:
    static constexpr std::int32_t kLongestMs = 2000;
    static constexpr std::int32_t kStepMs = 10;
    static constexpr std::int32_t kRestMs = 10'000;

    explicit LockWait(Clock& clock) : clock_(clock) {}

    /// The statements that follow may wait, together `kLongestMs`, unless a wait failed a short while ago.
    void Begin();
    /// The statements that follow may wait, even after a wait that failed.
    void BeginAnew();
    /// The statements that follow never wait.
    void Forbid() { leftMs_ = 0; }
    /// Waits one step; false when the time to wait is used up.
    bool WaitAStep();
    void GotThrough() { inVainAt_.reset(); }

private:
    bool Rests() const;

    Clock& clock_;
    std::int32_t leftMs_ = 0;
    std::optional<Tick> inVainAt_;
};

}  // namespace kestrane
