#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "kernel/base/log.h"
#include "platform/clock.h"
#include "state/driver_state.h"
#include "state/mount_queries.h"

namespace kestrane {

/// Tells a goto by the coordinates, where no status text does.
class MotionByReadings {
public:
    static constexpr double kFarDegrees = 0.5;  ///< between two readings; no tracking moves that fast
    static constexpr int kFarReadings = 2;      ///< one alone may be a wrong reading

    MotionByReadings(const DriverState& state, CoordinateReads reads)
        : firstRa_(state.g_dRa), firstDec_(state.g_dDec), ra_(state.g_dRa), dec_(state.g_dDec), reads_(reads) {}

    enum class Seen { NothingNew, Stands, MayMove, Moves };
    /// To be called again and again. One far reading may be wrong, and so may the one after it seem far: the mount
    /// moves when both are far from each other and from the first one.
    Seen Look(const DriverState& state, CoordinateReads reads);

private:
    double firstRa_, firstDec_;  ///< hours, degrees
    double ra_, dec_;            ///< of the last reading
    CoordinateReads reads_;
    int moves_ = 0;   ///< readings in a row that are far from the first one and from the one before
    int stands_ = 0;  ///< readings in a row that are near the one before
};

/// Whether a mount that was stopped stands: one that did not hear the stop, or does not obey, gets it again, each
/// second and five times at most. It is known to move by its status text or, where it has none, by its coordinates.
/// Neither shows a move, an axis or a pulse: their stop goes out again where the line had failed, as soon as the mount
/// answers. Nothing is repeated once anything else was to move the mount. Raises nothing. Logic thread only.
class StopWatch {
public:
    StopWatch(const DriverState& state, Log& log, Clock& clock) : state_(state), log_(log), clock_(clock) {}

    /// A stop pair goes out. It is watched where the stop has aborted something.
    void StopGoesOut();
    /// A stop goes out to a mount that moves, or may, without a goto. `answers` counts what the mount has answered.
    void StopOfAMoveGoesOut(std::uint32_t answers);
    /// Whether the line has failed since such a stop, so that the mount may not have heard it.
    bool StopIsOwed() const { return moveStopped_ && moveStopped_->lineFailed; }
    /// To be called again and again. Returns whether a stop that is owed is to be sent now.
    bool OwedIsDue(std::uint32_t answers);
    /// `textAskedAt` is when a status text was asked for that has just come, or nothing; `reads` counts the readings so
    /// far. Returns whether the stop is to be sent again now.
    bool RepeatIsDue(std::optional<Tick> textAskedAt, CoordinateReads reads);

private:
    bool MountMoves(std::optional<Tick> textAskedAt, CoordinateReads reads);
    bool SomethingElseMoves(Tick stoppedAt) const;

    struct Watched {
        Tick stoppedAt;  ///< the last time
        int repeats = 0;
        bool givenUp = false;
        std::optional<MotionByReadings> readings;
    };

    struct MoveStopped {
        Tick stoppedAt;
        std::uint32_t answers = 0;  ///< before it
        bool lineFailed = false;
    };

    const DriverState& state_;
    Log& log_;
    Clock& clock_;
    std::optional<Watched> watched_;
    std::optional<MoveStopped> moveStopped_;
    bool repeating_ = false;
};

}  // namespace kestrane
