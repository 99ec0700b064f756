#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "catalogue/wire_commands.h"
#include "kernel/base/log.h"
#include "link/mount_link.h"
#include "platform/message_pump.h"
#include "settings/persist.h"
#include "state/driver_state.h"
#include "state/essentials.h"
#include "state/mount_commands.h"
#include "state/sequence.h"

namespace kestrane {

/// What the focus motor needs from its surroundings. All of it outlives the motor.
struct FocusMotorNeeds {
    Essentials driver;
    MessagePump& pump;
    StopDoor& door;
    const std::unique_ptr<MountLink>& link;    ///< the shared link; empty when it could not be built
    std::function<MountCommands&()> commands;  ///< the exchange of all that the driver itself sends
};

/// The origin of the focuser's lines in the log.
inline constexpr std::string_view kFocuserOrigin = "FOCUSER";

enum class FocusDirection { In, Out };
enum class FocusSpeed { Fast, Slow };

/// The one focus motor on the mount's auxiliary port, which all focuser objects and the hand box drive. It has no
/// encoder: the mount can only run it one way, run it the other way and stop it. So a move is a run of a given time,
/// and the end of the run is sent by a timer. A move against the final direction goes too far by the backlash, stops,
/// waits a second and comes back, so that each move ends in the final direction.
///
///     idle        both timers off
///     single run  pulse timer on                      its tick: idle
///     first leg   pulse timer on, return pending      its tick: pause
///     pause       delay timer on                      its tick: return leg
///     return leg  pulse timer on                      its tick: idle
///
/// All commands are sent light: no wait lengthens a run. Each stands in the log twice, on origin "FOCUSER" and, by the
/// exchange, on "ASCOM". A stop that could not be written is sent again each second until it could be. Nothing here
/// raises. Logic thread only.
class FocusMotor {
public:
    explicit FocusMotor(FocusMotorNeeds needs);
    FocusMotor(const FocusMotor&) = delete;
    FocusMotor& operator=(const FocusMotor&) = delete;

    /// Reloads the shared values (`g_...Focus...`) from the settings. A number beyond 32 bits leaves its value as it
    /// was.
    void UpdateValues();

    /// Whether a run or the pause between two legs is under way: by the timers alone, the mount is not asked.
    bool IsMoving() const { return pulse_.Enabled() || delay_.Enabled(); }

    /// Runs by so many steps: positive is out, negative in. 0 sends the stop and leaves the timers as they are.
    ///
    /// Intentional: a move during a run is not refused and clears nothing. It takes over the pulse timer; a return leg
    /// that was still to come follows the new run, and a pause that runs goes on and begins its return leg in the
    /// middle of the new run. A run of 0 milliseconds or less ends as soon as the pump gets to it. One longer than 2^31
    /// - 1 milliseconds is not begun.
    void Move(std::int32_t steps);
    /// Stops the motor, in each state.
    void Halt();

    /// Runs the motor while a button of the hand box is held. The timers stay as they are.
    void Hold(FocusDirection direction, FocusSpeed speed);
    void Release();

    /// To be called with each text that goes out: a client's own text may run or stop the motor too.
    void NoteSent(std::string_view onTheWire);
    /// Whether the motor runs, may run or will run by itself: no stop followed what has set it in motion, the pause
    /// between two legs, or a stop that is still to be written.
    bool MayRun() const { return IsMoving() || runs_ || stopOwed_; }
    /// Whether a stop could not be written yet.
    bool StopIsOwed() const { return stopOwed_; }
    /// Stops the motor if it may run, also one that a button runs.
    void StopRun();
    /// The same for the end of the process. Where the stop cannot be written, `MayRun` stays true.
    void EndRun();

private:
    /// A timer that repeats until it is disabled. A new interval, also an equal one, begins at once.
    class RunTimer {
    public:
        RunTimer(MessagePump& pump, std::function<void()> onTick) : timer_(pump.CreateTimer(std::move(onTick))) {}
        /// Milliseconds. 0 and less: the shortest time of the pump.
        void Interval(std::int64_t milliseconds);
        void Enabled(bool enabled);
        bool Enabled() const { return enabled_; }

    private:
        std::unique_ptr<PumpTimer> timer_;
        bool enabled_ = false;
    };

    void OnPulseTick();
    void OnDelayTick();
    void BeginBacklashMove(bool inward, std::int64_t milliseconds);
    std::int32_t Backlash() const;
    const BlindCommand& CommandOf(FocusDirection direction) const;
    void SendRun(const BlindCommand& row);
    void SendSpeed(FocusSpeed speed);
    void SendStop();
    void Send(const CompletingProcedure& procedure, const BlindCommand& row);
    bool LineTakesBytes() const;
    void Note(LogLevel level, std::string_view text);

    FocusMotorNeeds needs_;
    Essentials driver_;
    DriverState& state_;
    RunTimer pulse_;      ///< ends each run
    RunTimer delay_;      ///< between the two legs of a backlash move
    RunTimer stopAgain_;  ///< while a stop is owed
    bool held_ = false;
    bool runs_ = false;  ///< by the last text that has run or stopped it
    bool stopOwed_ = false;
};

}  // namespace kestrane
