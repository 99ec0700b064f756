#include "platform/posix/sliced_wait.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <poll.h>
#include <thread>

#include "platform/posix/posix_clock.h"

namespace kestrane {
namespace {

using SteadyClock = std::chrono::steady_clock;

}  // namespace

bool WaitForDescriptor(int descriptor, short events, SlicedWait::TimePoint deadline) {
    const auto left = std::max(deadline - SteadyClock::now(), SteadyClock::duration::zero());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
    const timespec limit{seconds.count(), std::chrono::nanoseconds(left - seconds).count()};
    pollfd waited{descriptor, events, 0};
    const int ready = ppoll(&waited, 1, &limit, nullptr);
    return ready > 0 || (ready < 0 && errno == EINTR);
}

bool SlicedWait::Await(int descriptor, short events, TimePoint deadline, AtTheEnd atTheEnd) const {
    return AwaitSlices([&](TimePoint end) { return WaitForDescriptor(descriptor, events, end); }, deadline, atTheEnd);
}

bool SlicedWait::AwaitThat(const std::function<bool()>& isDone, TimePoint deadline, AtTheEnd atTheEnd) const {
    constexpr std::chrono::milliseconds kBetweenLooks{1};
    const auto look = [&](TimePoint) {
        const bool done = isDone();
        if (!done) {
            std::this_thread::sleep_for(kBetweenLooks);
        }
        return done;
    };
    return AwaitSlices(look, deadline, atTheEnd);
}

bool SlicedWait::AwaitSlices(const std::function<bool(TimePoint end)>& wait, TimePoint deadline,
                             AtTheEnd atTheEnd) const {
    constexpr std::chrono::milliseconds kSlice{PosixClock::kReadSliceMs};
    bool readsComeIn = letReadsIn_ != nullptr;
    for (auto now = SteadyClock::now(); now < deadline; now = SteadyClock::now()) {
        readsComeIn = readsComeIn && letReadsIn_();
        if (letReadsIn_ && !readsComeIn && atTheEnd == AtTheEnd::GivesUp) {
            return false;
        }
        if (wait(readsComeIn ? std::min(deadline, now + kSlice) : deadline)) {
            return true;
        }
    }
    return false;
}

}  // namespace kestrane
