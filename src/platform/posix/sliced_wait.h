#pragma once

#include <chrono>
#include <functional>

namespace kestrane {

/// Waits for a device or a socket in slices, so that neither a cached read nor the end of the process waits for the
/// mount.
class SlicedWait {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// What a wait does once no reads are let in any more: the process is about to end.
    enum class AtTheEnd {
        GivesUp,  ///< as at its limit: nobody needs what it waits for
        WaitsOn,  ///< up to its limit: what is to go out may be a stop
    };

    /// `letReadsIn` runs the cached reads that wait; it is called before each slice, and answers false when no more
    /// reads are to come in. Without one a wait is one slice.
    explicit SlicedWait(std::function<bool()> letReadsIn = {}) : letReadsIn_(std::move(letReadsIn)) {}

    /// Waits until `descriptor` can do what `events` of poll(2) ask for, or has a fault; false at the deadline.
    bool Await(int descriptor, short events, TimePoint deadline, AtTheEnd atTheEnd = AtTheEnd::GivesUp) const;
    /// Waits until `isDone`, which is asked once in each slice; false at the deadline.
    bool AwaitThat(const std::function<bool()>& isDone, TimePoint deadline,
                   AtTheEnd atTheEnd = AtTheEnd::GivesUp) const;

private:
    bool AwaitSlices(const std::function<bool(TimePoint end)>& wait, TimePoint deadline, AtTheEnd atTheEnd) const;

    std::function<bool()> letReadsIn_;
};

/// The same in one piece, without letting anything in.
bool WaitForDescriptor(int descriptor, short events, SlicedWait::TimePoint deadline);

}  // namespace kestrane
