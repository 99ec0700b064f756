#include "kernel/base/waits.h"

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
            clock_.Sleep(static_cast<std::int32_t>(remainder));
            continue;
        }
        clock_.Sleep(kPieceMs);
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

void Waits::PumpStops() {
    pump_.PumpStops();
}

}  // namespace kestrane
