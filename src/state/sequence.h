#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "catalogue/wire_commands.h"
#include "kernel/base/log.h"
#include "kernel/base/waits.h"
#include "state/driver_state.h"
#include "state/mount_commands.h"

namespace kestrane {

/// When a stop gets into a procedure.
enum class Doors {
    BeforeEach,    ///< before each of its exchanges, and between the tries of one
    BetweenTries,  ///< it is one exchange: between the tries of it
    Closed,        ///< not at all: it is the stop itself, or too short, or must not be interrupted
};

/// A procedure that could move the mount: once a stop has come, nothing of it goes out any more.
struct EndingProcedure {
    std::string_view name;
    Doors doors;
};

/// A procedure that leaves a setting in the mount, or only asks: a stop gets in, and the rest goes out after it, so
/// that the mount never keeps half a setting.
struct CompletingProcedure {
    std::string_view name;
    Doors doors;
    /// No exchange of it begins when a guide pulse is about to end: the end would wait for it.
    bool waitsForPulseEnds = false;
};

/// Every procedure that talks to the mount, and what a stop does to it. The mount answers one exchange at a time, and
/// with a slow mount a procedure takes seconds; a stop waits for one try of one exchange at most where the doors are
/// open.
namespace procedure {
// clang-format off
inline constexpr EndingProcedure     SafeSlew         {"safe slew",           Doors::BeforeEach};
inline constexpr EndingProcedure     Slew             {"slew",                Doors::BeforeEach};
inline constexpr EndingProcedure     Calibration      {"calibration",         Doors::BeforeEach};
inline constexpr EndingProcedure     CompanionSlew    {"companion slew",      Doors::BeforeEach};
inline constexpr EndingProcedure     Park             {"park",                Doors::BeforeEach};
inline constexpr EndingProcedure     GuidePulse       {"guide pulse",         Doors::BeforeEach};  // its start
inline constexpr CompletingProcedure GuidePulseEnd    {"end of a pulse",      Doors::Closed};      // is a stop
inline constexpr CompletingProcedure TestMove         {"test move",           Doors::Closed};      // ends by its own stop
inline constexpr CompletingProcedure SwapDirections   {"swap of directions",  Doors::Closed};
inline constexpr CompletingProcedure StopPair         {"stop",                Doors::Closed};      // is the stop
inline constexpr CompletingProcedure Tracking         {"tracking",            Doors::Closed};      // begins with a stop
inline constexpr CompletingProcedure CustomRate       {"custom rate",         Doors::Closed};      // one exchange
inline constexpr CompletingProcedure FocuserRun       {"focuser run",         Doors::Closed};      // sent without a wait
inline constexpr CompletingProcedure FocuserStop      {"focuser stop",        Doors::Closed};      // is the stop
inline constexpr CompletingProcedure Sync             {"sync",                Doors::BeforeEach};
inline constexpr CompletingProcedure SetTime          {"time",                Doors::BeforeEach};
inline constexpr CompletingProcedure Picture          {"picture",             Doors::BeforeEach, true};  // each query
inline constexpr EndingProcedure     ClientText       {"client's text",       Doors::BetweenTries};  // it may be a move
inline constexpr CompletingProcedure Question         {"question",            Doors::BetweenTries};
inline constexpr CompletingProcedure OneSetting       {"one setting",         Doors::BetweenTries};
inline constexpr CompletingProcedure DriverVerb       {"verb of the driver",  Doors::Closed};      // has its own door
inline constexpr CompletingProcedure Reticle          {"reticle",             Doors::BeforeEach};  // a step each
inline constexpr CompletingProcedure Recovery         {"recovery",            Doors::Closed};      // of a slipped reply
inline constexpr CompletingProcedure FirstPicture     {"first picture",       Doors::BeforeEach};
inline constexpr CompletingProcedure Connect          {"connect",             Doors::BeforeEach};
inline constexpr CompletingProcedure PortCheck        {"port check",          Doors::BeforeEach};
inline constexpr CompletingProcedure ReadSite         {"site of the mount",   Doors::BeforeEach};
inline constexpr CompletingProcedure Initialization   {"initialization",      Doors::BeforeEach};
inline constexpr CompletingProcedure Unpark           {"unpark",              Doors::BeforeEach};  // starts tracking at most
// clang-format on
}  // namespace procedure

class Sequence;

/// Proof that a call which sets the mount in motion has asked whether a stop overtook it.
class MotionPermit {
private:
    friend class StopDoor;
    MotionPermit() = default;
};

/// The door through which stops get into a procedure that talks to the mount. A slew is a dozen commands to the mount
/// before it begins, and none of them pumps. So a stop has a call kind of its own: it goes to the head of the queue of
/// the pump, and runs after the exchange that is under way. Somebody may see the telescope run towards a pillar: no
/// other call that waits is as urgent, and only a stop can be let in between two exchanges without harm.
///
/// The cost: a stop gets ahead of calls that were asked for before it, and such a call would set the mount in motion
/// after the stop. So the pump remembers the order, and a call that a stop has overtaken gets no permit. Logic thread
/// only.
class StopDoor {
public:
    StopDoor(Waits& waits, Log& log, const DriverState& state) : waits_(waits), log_(log), state_(state) {}

    /// Runs the stops and the cached reads that wait, and nothing else.
    void LetStopIn() {
        const Outside outside(*this);
        waits_.PumpStops();
    }
    /// Lets in what must happen at its time, and no stop: for the time between two tries of one exchange.
    void LetPromptTicksIn() {
        const Outside outside(*this);
        waits_.PumpPromptTicks();
    }
    /// The same before the next try of an exchange, on a line that has been cleared. Lets a stop in too, where the
    /// procedure that is under way has its doors open; one that a stop ends sends no further try, and is left by an
    /// exception.
    void LetStopInBetweenTries();
    /// When the next guide pulse ends that the mount does not end by itself; nothing when none runs.
    void ExpectPulseEnd(std::optional<Tick> end) { pulseEnd_ = end; }
    bool ExpectsPulseEnd() const { return pulseEnd_.has_value(); }
    /// Stops asked for so far; wraps.
    std::uint32_t Stops() const { return state_.g_nAborts; }
    /// Gives no permit, and logs a line, when a stop that was asked for after this call has run before it: whoever
    /// stopped the mount meant this motion too. Such a call returns like an aborted slew.
    std::optional<MotionPermit> Permit(std::string_view member);
    /// The line that `Permit` logs, for a call that is known to have been overtaken.
    void LogOvertaken(std::string_view member);
    /// A short pause of a call that waits: pumps nothing, but a stop gets in within a millisecond.
    void Pause(std::int32_t milliseconds) {
        const Outside outside(*this);
        waits_.PauseForStops(milliseconds);
    }
    /// The pause after a command that the mount does not answer: lets in what must happen at its time, also at its very
    /// end, and no stop. What is sent then has no pause of its own; it shares this one.
    void PauseForTicks(std::int32_t milliseconds);

private:
    friend class Sequence;

    /// Measures one exchange.
    class Measured {
    public:
        explicit Measured(StopDoor& door) : door_(door), begin_(door.waits_.GetTickCount()) {}
        ~Measured() { door_.NoteExchange(door_.waits_.GetTickCount() - begin_); }
        Measured(const Measured&) = delete;
        Measured& operator=(const Measured&) = delete;

    private:
        StopDoor& door_;
        const Tick begin_;
    };

    void NoteExchange(std::int32_t milliseconds);
    void AwaitNearPulseEnd();

    /// What a stop sends is no part of the procedure that it gets into.
    class Outside {
    public:
        explicit Outside(StopDoor& door) : door_(door), current_(std::exchange(door.current_, nullptr)) {}
        ~Outside() { door_.current_ = current_; }
        Outside(const Outside&) = delete;
        Outside& operator=(const Outside&) = delete;

    private:
        StopDoor& door_;
        Sequence* const current_;
    };

    Waits& waits_;
    Log& log_;
    const DriverState& state_;
    std::optional<Tick> pulseEnd_;
    std::int32_t slowestMs_ = 40;  ///< the slowest question of late
    Sequence* current_ = nullptr;  ///< the innermost procedure; null inside a stop that got in
    bool pausesForTicks_ = false;
};

/// Sends the exchanges of one procedure, one after the other, and lets a stop in before each and between its tries.
/// Nothing of the driver but stops runs inside. What a procedure of the driver tells a mount goes this way, so that no
/// exchange can forget the door. Apart from it stand the lone "#" with which the check of a port ends the mount's
/// input, and the texts that clients and `KsMount` hand over.
///
/// A procedure may be part of another. One that begins inside a procedure which a stop ends looks for a stop first, and
/// does not begin after one, also when its own doors are closed. No step of a procedure that a stop ends may pump.
///
///     Sequence mount{commands, door, procedure::SetTime};
///     mount.CommandBoolInternal(wire::SetLocalTime, "21:00:00");
///
///     Sequence::UntilStopped(commands, door, procedure::Slew, [&](Sequence& mount) {
///         mount.CommandBoolInternal(wire::SetTargetRa, ra);
///         ... after a stop the steps end here ...
///     });
class Sequence {
public:
    Sequence(MountCommands& commands, StopDoor& door, const CompletingProcedure& procedure)
        : Sequence(commands, door, procedure.doors, OnStop::Completes) {
        waitsForPulseEnds_ = procedure.waitsForPulseEnds;
    }
    ~Sequence() { door_.current_ = outer_; }
    Sequence(const Sequence&) = delete;
    Sequence& operator=(const Sequence&) = delete;

    /// Runs the steps of a procedure that a stop ends; false when a stop has ended it.
    template <typename Steps>
    static bool UntilStopped(MountCommands& commands, StopDoor& door, const EndingProcedure& procedure, Steps&& steps) {
        Sequence sequence(commands, door, procedure.doors, OnStop::Ends);
        try {
            std::forward<Steps>(steps)(sequence);
            return door.Stops() == sequence.stopsBefore_;  // one may have got in at its last part
        } catch (const Ended& ended) {
            if (ended.sequence != &sequence) {
                throw;
            }
            return false;
        }
    }

    /// Lets a stop in before a step that has no exchange and must not run after a stop. Each exchange does so by
    /// itself: only a step that sets flags, pauses or decides by what the mount has answered needs this call before it.
    void LetStopIn();
    /// The same before an exchange that must not go out after a look at the flags: no stop gets in between the two.
    void LetStopInNow();

    void CommandBlind(const BlindCommand& row, std::string_view argument = {});
    void CommandBlindInternal(const BlindCommand& row, std::string_view argument = {});
    /// Frames and sends, and waits for nothing.
    void CommandBlindLight(const BlindCommand& row, std::string_view argument = {});
    void CommandClear();
    /// This clear belongs to the exchange that follows: no stop gets in between the two.
    void CommandClearInternal();
    /// The same, on a line that is out of step only.
    void ClearIfOutOfStep();
    bool CommandBoolInternal(const CharacterCommand& row, std::string_view argument = {});
    CharacterReply CommandCharacterInternal(const CharacterCommand& row, std::string_view argument = {});
    std::string CommandString(const TextCommand& row, std::string_view argument = {});
    std::string CommandStringInternal(const TextCommand& row, std::string_view argument = {});
    /// `CommandString` with a single try, for a procedure that begins again when a reply is missing.
    std::string CommandStringOnce(const TextCommand& row);
    std::string DriverCommandInternal(std::string_view verb);

private:
    friend class StopDoor;

    enum class OnStop { Ends, Completes };
    /// Thrown by a sequence that ends, to its own `UntilStopped`.
    struct Ended {
        const Sequence* sequence;
    };

    Sequence(MountCommands& commands, StopDoor& door, Doors doors, OnStop onStop);

    MountCommands& Next();

    MountCommands& commands_;
    StopDoor& door_;
    const Doors doors_;
    const OnStop onStop_;
    Sequence* const outer_;            ///< the procedure that this one is part of
    Sequence* const ending_;           ///< the same where a stop ends that
    const std::uint32_t stopsBefore_;  ///< when the whole of it began
    bool waitsForPulseEnds_ = false;
    bool looked_ = false;  ///< no stop gets in before the exchange that follows
};

}  // namespace kestrane
