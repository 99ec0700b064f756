#pragma once

#include <cstdint>
#include <optional>

#include "kernel/base/log.h"
#include "platform/clock.h"
#include "state/driver_state.h"
#include "state/mount_queries.h"
#include "state/telescope_actions.h"

namespace kestrane {

/// Tells a goto by the coordinates, where no status text does.
class MotionByReadings {
public:
    static constexpr double kFarDegrees = 0.5;  ///< between two readings; no tracking moves that fast
    static constexpr int kFarReadings = 2;      ///< one alone may be a wrong reading

    /// `farDegrees`: how far apart two readings are that show a motion.
    MotionByReadings(const DriverState& state, CoordinateReads reads, double farDegrees = kFarDegrees)
        : farDegrees_(farDegrees),
          firstRa_(state.g_dRa),
          firstDec_(state.g_dDec),
          ra_(state.g_dRa),
          dec_(state.g_dDec),
          reads_(reads) {}

    enum class Seen { NothingNew, Stands, MayMove, Moves };
    /// To be called again and again. One far reading may be wrong, and so may the one after it seem far: the mount
    /// moves when both are far from each other and from the first one.
    Seen Look(const DriverState& state, CoordinateReads reads);

private:
    double farDegrees_;
    double firstRa_, firstDec_;  ///< hours, degrees
    double ra_, dec_;            ///< of the last reading
    CoordinateReads reads_;
    int moves_ = 0;   ///< readings in a row that are far from the first one and from the one before
    int stands_ = 0;  ///< readings in a row that are near the one before
};

/// Whether a mount that was stopped stands: one that did not hear the stop, or does not obey, gets it again, each
/// second and five times at most. A goto shows in the status text, where the mount gives one, else in the coordinates;
/// what moves without a goto shows in no text, and in the coordinates when it is fast. A slow move, an axis and a pulse
/// show nowhere: their stop goes out again where the line had failed, as soon as the mount answers. Nothing is repeated
/// once anything else was to move the mount. Raises nothing. Logic thread only.
class StopWatch {
public:
    StopWatch(const DriverState& state, Log& log, Clock& clock) : state_(state), log_(log), clock_(clock) {}

    /// A stop of all motion goes out, after `Motion` has heard of it.
    struct Outgoing {
        bool endsGoto = true;   ///< false for one that is not meant for a goto
        bool endsMove = false;  ///< the mount moves, or may, without a goto
        QuestionCounts questions;
    };
    void StopGoesOut(const Outgoing& stop);
    /// The stop that has just gone out was the second one of a pair: both are repeated.
    void PairWentOut();
    /// A command goes out that moves the mount: whatever was stopped before, somebody wants it to move now. Not for a
    /// guide pulse, which ends nothing that runs.
    void MotionBegins();
    /// Whether the line has failed since the stop of a move, so that the mount may not have heard it.
    bool StopIsOwed() const { return moveStopped_ && moveStopped_->lineFailed; }
    /// To be called again and again. `textAskedAt` is when a status text was asked for that has just come, or nothing.
    /// Returns the form of the stop that is to go out now, in a `Repeat`.
    std::optional<StopForm> DueAgain(std::optional<Tick> textAskedAt, QuestionCounts questions, CoordinateReads reads);
    /// While it lives, the stop that goes out is a repeat.
    class Repeat {
    public:
        explicit Repeat(StopWatch& watch) : watch_(watch) { watch_.repeating_ = true; }
        ~Repeat() { watch_.repeating_ = false; }
        Repeat(const Repeat&) = delete;
        Repeat& operator=(const Repeat&) = delete;

    private:
        StopWatch& watch_;
    };

private:
    bool OwedIsDue(QuestionCounts questions);
    bool RepeatIsDue(std::optional<Tick> textAskedAt, CoordinateReads reads);
    bool MountMoves(std::optional<Tick> textAskedAt, CoordinateReads reads);
    bool MovesByReadings(CoordinateReads reads);
    bool SomethingElseMoves() const;
    bool PulseRuns() const;

    struct Watched {
        Tick stoppedAt;  ///< the last time
        bool endsMove = false;
        StopForm form = StopForm::Single;
        int repeats = 0;
        bool givenUp = false;
        std::optional<MotionByReadings> readings;
    };

    struct MoveStopped {
        QuestionCounts questions;  ///< before it
        StopForm form = StopForm::Single;
        bool lineFailed = false;
        std::optional<Tick> dueSince;  ///< when the mount answered again
    };

    const DriverState& state_;
    Log& log_;
    Clock& clock_;
    std::optional<Watched> watched_;
    std::optional<MoveStopped> moveStopped_;
    bool repeating_ = false;  ///< see `Repeat`
};

}  // namespace kestrane
