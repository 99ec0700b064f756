#include "platform/posix/posix_pump_time.h"

#include <cassert>
#include <utility>

namespace kestrane {

PosixPumpTime::PosixPumpTime(TimeSource now) : now_(std::move(now)) {
    assert(now_);
}

void PosixPumpTime::SleepUntil(std::optional<TimePoint> end) {
    const auto woken = [this] { return woken_; };
    std::unique_lock lock(mutex_);
    if (end) {
        wake_.wait_for(lock, *end - now_(), woken);
    } else {
        wake_.wait(lock, woken);
    }
    woken_ = false;
}

void PosixPumpTime::Wake() {
    {
        const std::lock_guard lock(mutex_);
        woken_ = true;
    }
    wake_.notify_one();
}

}  // namespace kestrane
