#include "state/stop_watch.h"

#include "kernel/base/conversions.h"

namespace kestrane {
namespace {

constexpr int kMostStopRepeats = 5;
constexpr std::int32_t kUntilRepeatMs = 900;    // the status text is asked for each second
constexpr std::int32_t kLongestPulseMs = 5000;  // that an owed stop waits for

}  // namespace

MotionByReadings::Seen MotionByReadings::Look(const DriverState& state, CoordinateReads reads) {
    if (reads.ra == reads_.ra || reads.dec == reads_.dec) {
        return Seen::NothingNew;
    }
    const auto isFarFrom = [&](double ra, double dec) {
        return AngularDistance(ra, dec, state.g_dRa, state.g_dDec) > farDegrees_;
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

void StopWatch::StopGoesOut(const Outgoing& stop) {
    if (repeating_) {
        if (watched_) {
            watched_->stoppedAt = clock_.GetTickCount();
        }
        return;
    }
    if ((stop.endsGoto && state_.g_bStandAwaited) || stop.endsMove) {
        const bool endsMove = stop.endsMove || (watched_ && watched_->endsMove);  // the second one of a pair
        watched_ = Watched{.stoppedAt = clock_.GetTickCount(), .endsMove = endsMove, .readings = std::nullopt};
    }
    if (stop.endsMove) {
        moveStopped_ = MoveStopped{.questions = stop.questions, .dueSince = std::nullopt};
    }
}

void StopWatch::PairWentOut() {
    if (watched_) {
        watched_->form = StopForm::Pair;
    }
    if (moveStopped_) {
        moveStopped_->form = StopForm::Pair;
    }
}

void StopWatch::MotionBegins() {
    watched_.reset();
    moveStopped_.reset();
}

std::optional<StopForm> StopWatch::DueAgain(std::optional<Tick> textAskedAt, QuestionCounts questions,
                                            CoordinateReads reads) {
    if (SomethingElseMoves()) {
        MotionBegins();
        return std::nullopt;
    }
    if (OwedIsDue(questions)) {
        return moveStopped_->form;
    }
    if (RepeatIsDue(textAskedAt, reads)) {
        return watched_->form;
    }
    return std::nullopt;
}

/// Not in a pulse that has begun since, which the stop would cut; but a move may be fast, so not for long. Between two
/// looks a question may go unanswered and another be answered: which came first cannot be seen, and a stop too many
/// does no harm.
bool StopWatch::OwedIsDue(QuestionCounts questions) {
    if (!moveStopped_) {
        return false;
    }
    MoveStopped& stop = *moveStopped_;
    stop.lineFailed = stop.lineFailed || questions.unanswered != stop.questions.unanswered;
    if (questions.answered == stop.questions.answered) {
        return false;
    }
    if (!stop.lineFailed) {
        moveStopped_.reset();  // it was heard
        return false;
    }
    const Tick now = clock_.GetTickCount();
    stop.dueSince = stop.dueSince.value_or(now);
    if (PulseRuns() && now - *stop.dueSince < kLongestPulseMs) {
        return false;
    }
    moveStopped_ = MoveStopped{.questions = questions, .form = stop.form, .dueSince = std::nullopt};
    log_.LogMessage("Motion", LogLevel::Warning, "The mount may not have heard a stop: it is sent again");
    return true;
}

bool StopWatch::RepeatIsDue(std::optional<Tick> textAskedAt, CoordinateReads reads) {
    if (!watched_) {
        return false;
    }
    if (!state_.g_bStandAwaited && !watched_->endsMove) {
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
    log_.LogMessage("Motion", LogLevel::Warning, "The mount still moves: the stop is sent again");
    return true;
}

/// The flag of the motion would not do: a companion that plans its way leaves it set while the mount stands.
bool StopWatch::MountMoves(std::optional<Tick> textAskedAt, CoordinateReads reads) {
    const bool textIsNew = textAskedAt && *textAskedAt - watched_->stoppedAt >= kUntilRepeatMs;
    if (state_.g_bGosActive && textIsNew && state_.g_bStandAwaited && LastTextSaysSlewing(state_)) {
        return true;
    }
    const bool readingsCount = !state_.g_bGosActive || watched_->endsMove;
    return readingsCount && clock_.GetTickCount() - watched_->stoppedAt >= kUntilRepeatMs && MovesByReadings(reads);
}

bool StopWatch::MovesByReadings(CoordinateReads reads) {
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

/// An axis, or a park that somebody has begun since and nobody has aborted.
bool StopWatch::SomethingElseMoves() const {
    return state_.g_bAxisMotionBegun || (state_.g_bParking && !state_.g_bAbortPark) || state_.g_bParked;
}

bool StopWatch::PulseRuns() const {
    return state_.g_bGuidingNorth || state_.g_bGuidingSouth || state_.g_bGuidingEast || state_.g_bGuidingWest;
}

}  // namespace kestrane
