#include "kernel/base/waits.h"

#include <utility>

namespace kestrane {
namespace {

constexpr std::int32_t kPieceMs = 100;

}  // namespace

void Waits::WaitForMilliseconds(std::int32_t milliseconds) {
    const Tick start = clock_.GetTickCount();
    for (std::int32_t elapsed = 0; elapsed < milliseconds; elapsed = clock_.GetTickCount() - start) {
        // In 64 bits: after a backward jump of the counter, more than the whole wait remains.
        const std::int64_t remainder = std::int64_t{milliseconds} - elapsed;
        if (remainder <= kPieceMs) {
            clock_.SleepWithReads(static_cast<std::int32_t>(remainder));
            continue;
        }
        clock_.SleepWithReads(kPieceMs);
        PumpOnce();
    }
}

void Waits::PauseForStops(std::int32_t milliseconds) {
    const Tick start = clock_.GetTickCount();
    while (clock_.GetTickCount() - start < milliseconds) {
        clock_.Sleep(1);
        PumpStops();
    }
}

void Waits::PumpOnce() {
    pump_.PumpMessages();
}

void Waits::PumpBriefly() {
    constexpr std::int32_t kBriefPumpMs = 5;  // time enough for all that does not talk to the mount
    if (!std::exchange(inBriefPump_, true)) {
        pump_.PumpBriefly(kBriefPumpMs);
        inBriefPump_ = false;
    }
}

void Waits::PumpForPerson() {
    pump_.PumpForPerson();
}

void Waits::PumpStops() {
    pump_.PumpStops();
}

void Waits::PumpPromptTicks() {
    pump_.PumpPromptTicks();
}

}  // namespace kestrane
