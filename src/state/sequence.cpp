#include "state/sequence.h"

#include <algorithm>
#include <utility>

namespace kestrane {
namespace {

/// Marks that a pause lets ticks in, however it ends.
class PauseWithTicks {
public:
    explicit PauseWithTicks(bool& pauses) : pauses_(pauses) { pauses_ = true; }
    ~PauseWithTicks() { pauses_ = false; }
    PauseWithTicks(const PauseWithTicks&) = delete;
    PauseWithTicks& operator=(const PauseWithTicks&) = delete;

private:
    bool& pauses_;
};

}  // namespace

std::optional<MotionPermit> StopDoor::Permit(std::string_view member) {
    if (!waits_.OvertakenByStop()) {
        return MotionPermit{};
    }
    LogOvertaken(member);
    return std::nullopt;
}

void StopDoor::LogOvertaken(std::string_view member) {
    log_.LogMessage("ASCOM", LogLevel::Warning,
                    std::string(member) + "() does not begin: it was stopped before it could");
}

void StopDoor::LetStopInBetweenTries() {
    if (current_ == nullptr || current_->doors_ == Doors::Closed) {
        LetPromptTicksIn();
        return;
    }
    try {
        current_->LetStopIn();
    } catch (const Sequence::Ended&) {
        log_.LogMessage("Driver", LogLevel::Info, "No further try: a stop has ended what the mount was asked for");
        throw;
    }
}

/// In one piece, which keeps its time to a part of a millisecond, up to where a pulse ends: cached reads run in it.
void StopDoor::PauseForTicks(std::int32_t milliseconds) {
    if (pausesForTicks_) {
        return;
    }
    if (!pulseEnd_) {
        waits_.WaitForMilliseconds(milliseconds);
        return;
    }
    const PauseWithTicks inPause(pausesForTicks_);
    const Tick end = waits_.GetTickCount() + milliseconds;
    LetPromptTicksIn();
    for (std::int32_t left = milliseconds; left > 0; left = end - waits_.GetTickCount()) {
        const std::int32_t untilPulseEnd = pulseEnd_ ? *pulseEnd_ - waits_.GetTickCount() : left;
        waits_.WaitForMilliseconds(std::clamp(untilPulseEnd, 1, left));
        LetPromptTicksIn();
    }
}

/// Remembers the slowest one, and forgets it little by little.
void StopDoor::NoteExchange(std::int32_t milliseconds) {
    constexpr std::int32_t kMostMs = 300;  // a silent mount must not keep the poll off the line
    slowestMs_ = std::max(std::min(milliseconds, kMostMs), slowestMs_ * 7 / 8);
}

/// A pulse may end in each direction. An end whose tick has come may still be a part of a millisecond away: the ticks
/// are whole ones, the timer that ends the pulse is not.
void StopDoor::AwaitNearPulseEnd() {
    constexpr std::int32_t kReserveMs = 5;
    constexpr std::int32_t kOverdueMs = 2;  // later than that nothing is about to end
    constexpr int kMostEnds = 4;
    for (int ends = 0; ends < kMostEnds && pulseEnd_; ++ends) {
        const std::int32_t left = *pulseEnd_ - waits_.GetTickCount();
        if (left < -kOverdueMs || left > slowestMs_ + kReserveMs) {
            return;
        }
        const Tick end = *pulseEnd_;
        if (left <= 0) {
            LetStopIn();
        }
        if (pulseEnd_ == end) {
            Pause(std::max(left, 1));
        }
    }
}

Sequence::Sequence(MountCommands& commands, StopDoor& door, Doors doors, OnStop onStop)
    : commands_(commands),
      door_(door),
      doors_(doors),
      onStop_(onStop),
      outer_(door.current_),
      ending_(outer_ && outer_->onStop_ == OnStop::Ends ? outer_ : nullptr),
      stopsBefore_(ending_ ? ending_->stopsBefore_ : door.Stops()) {
    if (ending_) {
        ending_->LetStopIn();
        looked_ = true;
    }
    door_.current_ = this;
}

void Sequence::LetStopIn() {
    door_.LetStopIn();
    if (onStop_ == OnStop::Ends && door_.Stops() != stopsBefore_) {
        throw Ended{this};
    }
}

void Sequence::LetStopInNow() {
    LetStopIn();
    looked_ = true;
}

/// The way to the mount for the next exchange.
MountCommands& Sequence::Next() {
    if (doors_ == Doors::BeforeEach && !std::exchange(looked_, false)) {
        if (waitsForPulseEnds_) {
            door_.AwaitNearPulseEnd();
        }
        LetStopIn();
    }
    return commands_;
}

void Sequence::CommandBlind(const BlindCommand& row, std::string_view argument) {
    Next().CommandBlind(row.With(argument));
}

void Sequence::CommandBlindInternal(const BlindCommand& row, std::string_view argument) {
    Next().CommandBlindInternal(row.With(argument));
}

void Sequence::CommandBlindLight(const BlindCommand& row, std::string_view argument) {
    Next().CommandBlindLight(row.With(argument));
}

void Sequence::CommandClear() {
    Next().CommandClear();
    looked_ = true;
}

void Sequence::CommandClearInternal() {
    Next().CommandClearInternal();
    looked_ = true;
}

void Sequence::ClearIfOutOfStep() {
    MountCommands& commands = Next();  // before the look at the line: a stop clears it too
    if (door_.state_.g_bResync) {
        commands.CommandClearInternal();
    }
    looked_ = true;
}

bool Sequence::CommandBoolInternal(const CharacterCommand& row, std::string_view argument) {
    MountCommands& commands = Next();
    const StopDoor::Measured measured(door_);
    return commands.CommandBoolInternal(row.With(argument));
}

CharacterReply Sequence::CommandCharacterInternal(const CharacterCommand& row, std::string_view argument) {
    return Next().CommandCharacterInternal(row.With(argument));
}

std::string Sequence::CommandString(const TextCommand& row, std::string_view argument) {
    MountCommands& commands = Next();
    const StopDoor::Measured measured(door_);
    return commands.CommandString(row.With(argument));
}

std::string Sequence::CommandStringInternal(const TextCommand& row, std::string_view argument) {
    MountCommands& commands = Next();
    const StopDoor::Measured measured(door_);
    return commands.CommandStringInternal(row.With(argument));
}

std::string Sequence::CommandStringOnce(const TextCommand& row) {
    return Next().CommandStringOnce(row);
}

std::string Sequence::DriverCommandInternal(std::string_view verb) {
    return Next().DriverCommandInternal(verb);
}

}  // namespace kestrane
