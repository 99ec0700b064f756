#pragma once

#include <chrono>
#include <functional>

namespace kestrane {

/// Waits for a device or a socket in slices, so that neither a cached read nor the end of the process waits for the
/// mount.
class SlicedWait {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// `letReadsIn` runs the cached reads that wait; it is called before each slice. When it returns false the wait
    /// ends, as at its limit. Without one a wait is one slice.
    explicit SlicedWait(std::function<bool()> letReadsIn = {}) : letReadsIn_(std::move(letReadsIn)) {}

    /// Waits until `descriptor` can do what `events` of poll(2) ask for, or has a fault; false at the deadline.
    bool Await(int descriptor, short events, TimePoint deadline) const;
    /// Waits until `isDone`, which is asked once in each slice; false at the deadline.
    bool AwaitThat(const std::function<bool()>& isDone, TimePoint deadline) const;

private:
    bool AwaitSlices(const std::function<bool(TimePoint end)>& wait, TimePoint deadline) const;

    std::function<bool()> letReadsIn_;
};

/// The same in one piece, without letting anything in.
bool WaitForDescriptor(int descriptor, short events, SlicedWait::TimePoint deadline);

}  // namespace kestrane
