#pragma once

#include <cstdint>
#include <optional>

#include "platform/clock.h"

namespace kestrane {

/// How long a statement waits for a second program that holds the settings file. A wait blocks the logic thread, so
/// there is one of at most `kLongestMs`; after one that was in vain nobody waits again for `kRestMs`, or until a write
/// got through. Logic thread only.
class LockWait {
public:
    static constexpr std::int32_t kLongestMs = 2000;
    static constexpr std::int32_t kStepMs = 10;
    static constexpr std::int32_t kRestMs = 10'000;

    explicit LockWait(Clock& clock) : clock_(clock) {}

    /// What follows may wait, together `kLongestMs`, unless a wait was in vain a short while ago.
    void Begin();
    /// What follows may wait also after a wait in vain.
    void BeginAnew();
    /// What follows never waits.
    void Forbid() { leftMs_ = 0; }
    /// Waits one step; false when there was enough waiting.
    bool WaitAStep();
    void GotThrough() { inVainAt_.reset(); }

private:
    bool Rests() const;

    Clock& clock_;
    std::int32_t leftMs_ = 0;
    std::optional<Tick> inVainAt_;
};

}  // namespace kestrane
