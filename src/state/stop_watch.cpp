#include "state/stop_watch.h"

#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

constexpr int kMostStopRepeats = 5;
constexpr std::int32_t kUntilRepeatMs = 900;  // the status text is asked for each second

}  // namespace

MotionByReadings::Seen MotionByReadings::Look(const DriverState& state, CoordinateReads reads) {
    if (reads.ra == reads_.ra || reads.dec == reads_.dec) {
        return Seen::NothingNew;
    }
    const auto isFarFrom = [&](double ra, double dec) {
        return AngularDistance(ra, dec, state.g_dRa, state.g_dDec) > kFarDegrees;
    };
    const bool hasGone = isFarFrom(ra_, dec_);
    moves_ = hasGone && isFarFrom(firstRa_, firstDec_) ? moves_ + 1 : 0;
    stands_ = hasGone ? 0 : stands_ + 1;
    ra_ = state.g_dRa;
    dec_ = state.g_dDec;
    reads_ = reads;
    if (moves_ >= kFarReadings) {
        return Seen::Moves;
    }
    return stands_ >= kFarReadings ? Seen::Stands : Seen::MayMove;
}

void StopWatch::StopGoesOut() {
    if (watched_ && repeating_) {
        watched_->stoppedAt = clock_.GetTickCount();
    } else if (state_.g_bStandAwaited) {
        watched_ = Watched{.stoppedAt = clock_.GetTickCount(), .readings = std::nullopt};
    }
    repeating_ = false;
}

void StopWatch::StopOfAMoveGoesOut(std::uint32_t answers) {
    moveStopped_ = MoveStopped{.stoppedAt = clock_.GetTickCount(), .answers = answers};
}

bool StopWatch::OwedIsDue(std::uint32_t answers) {
    if (!moveStopped_) {
        return false;
    }
    if (SomethingElseMoves(moveStopped_->stoppedAt)) {
        moveStopped_.reset();
        return false;
    }
    if (answers == moveStopped_->answers) {
        moveStopped_->lineFailed =
            moveStopped_->lineFailed || clock_.GetTickCount() - moveStopped_->stoppedAt >= kUntilRepeatMs;
        return false;
    }
    const bool due = moveStopped_->lineFailed;
    moveStopped_.reset();
    if (due) {
        log_.LogMessage("Motion", LogLevel::Warning, "The mount may not have heard a stop: it is sent again");
        StopOfAMoveGoesOut(answers);
    }
    return due;
}

bool StopWatch::RepeatIsDue(std::optional<Tick> textAskedAt, CoordinateReads reads) {
    if (!watched_) {
        return false;
    }
    if (!state_.g_bStandAwaited || SomethingElseMoves(watched_->stoppedAt)) {
        watched_.reset();
        return false;
    }
    if (watched_->givenUp || !MountMoves(textAskedAt, reads)) {
        return false;
    }
    if (watched_->repeats == kMostStopRepeats) {
        watched_->givenUp = true;
        log_.LogMessage("Motion", LogLevel::Error, "The mount still moves although it was stopped again and again");
        return false;
    }
    ++watched_->repeats;
    repeating_ = true;
    log_.LogMessage("Motion", LogLevel::Warning, "The mount still moves: the stop is sent again");
    return true;
}

bool StopWatch::MountMoves(std::optional<Tick> textAskedAt, CoordinateReads reads) {
    if (state_.g_bGosSupported) {
        return textAskedAt && *textAskedAt - watched_->stoppedAt >= kUntilRepeatMs && state_.g_bMountSlewing;
    }
    if (clock_.GetTickCount() - watched_->stoppedAt < kUntilRepeatMs) {
        return false;
    }
    if (!watched_->readings) {
        watched_->readings.emplace(state_, reads);
    }
    if (state_.g_bTracking && (state_.g_dRaRate != 0.0 || state_.g_dDecRate != 0.0)) {
        return false;  // custom rates may go as fast as a goto
    }
    const MotionByReadings::Seen seen = watched_->readings->Look(state_, reads);
    watched_->givenUp = watched_->givenUp || seen == MotionByReadings::Seen::Stands;
    return seen == MotionByReadings::Seen::Moves;
}

/// A goto, a move, an axis or a park that came after the stop, also a client's own.
bool StopWatch::SomethingElseMoves(Tick stoppedAt) const {
    const auto isLater = [&](Tick tick) { return tick - stoppedAt > 0; };
    const bool parks = (state_.g_bParking && !state_.g_bAbortPark) ||
                       (state_.g_tickParkSent && isLater(*state_.g_tickParkSent)) || state_.g_bParked;
    return isLater(state_.g_tickLastGoto) || state_.g_bMoveSent || state_.g_bAxisMotionBegun || parks;
}

}  // namespace kestrane
