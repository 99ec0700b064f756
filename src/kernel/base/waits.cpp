#include "kernel/base/waits.h"

#include "kernel/base/errors.h"

namespace kestrane {
namespace {

constexpr std::int32_t kPieceMs = 100;

}  // namespace

void Waits::WaitForMilliseconds(std::int32_t milliseconds) {
    const Tick start = clock_.GetTickCount();
    for (std::int32_t elapsed = 0; elapsed < milliseconds; elapsed = clock_.GetTickCount() - start) {
        const std::int32_t remainder = milliseconds - elapsed;
        if (remainder <= kPieceMs) {
            clock_.Sleep(remainder);
            continue;
        }
        clock_.Sleep(kPieceMs);
        PumpOnce();
    }
}

void Waits::PumpOnce() {
    try {
        pump_.PumpMessages();
    } catch (const DriverError&) {
        // The failure of another event is none of the waiting procedure's.
    }
}

}  // namespace kestrane
