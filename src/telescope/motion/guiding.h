#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "forms/frm_hand_box.h"
#include "forms/hand_box_display.h"
#include "link/mount_link.h"
#include "platform/message_pump.h"
#include "state/driver_state.h"
#include "state/essentials.h"
#include "state/event_journal.h"
#include "state/motion.h"
#include "state/mount_commands.h"
#include "state/mount_queries.h"
#include "state/sequence.h"

namespace kestrane {

/// Who ends a guide pulse.
enum class PulseForm {
    Timed,  ///< the mount, which was given the duration
    Open,   ///< the driver, by a stop command
};

/// The form of a pulse of so many milliseconds (above 0), by what the controller can do.
PulseForm FormOfPulse(const DriverState& state, std::int32_t milliseconds);
/// Whether the stop timer of such a pulse sends a stop. Intentional: also for a timed pulse of a second and more.
bool StopTimerSendsStop(const DriverState& state, std::int32_t milliseconds);
/// The row of `kGuideRates` for a multiple of sidereal; the fastest one for a multiple that is no row's.
std::size_t GuideRateIndex(double multiple);

struct GuidePulsesNeeds {
    Essentials driver;
    Motion& motion;
    StopDoor& door;
    const std::unique_ptr<MountLink>& link;  ///< may be empty
    MessagePump& pump;
    frmHandBox& handBox;
    HandBoxDisplay& panel;
    EventJournal& journal;
    MountQueries& queries;
    std::function<MountCommands&()> commands;  ///< the exchange of the driver itself
};

/// The guide pulses of the process; one may run on each axis. Nothing here raises. Logic thread only.
///
/// A pulse that the driver ends ends at its time: by a prompt timer, whose tick runs wherever a stop gets in, also
/// under a call that runs inside the one which waits for the pulse. When the line is silent or gone at that time, the
/// end is owed: it goes out once more after the line is back, also when a stop of all motion was to end the pulse.
///
/// Intentional: a pulse in place of another one of its axis sends a stop that stops the whole mount; the flag of a
/// pulse on the other axis stays up until its own end all the same. Any other stop ends all pulses.
class GuidePulses {
public:
    explicit GuidePulses(GuidePulsesNeeds needs);
    GuidePulses(const GuidePulses&) = delete;
    GuidePulses& operator=(const GuidePulses&) = delete;

    /// `Telescope::PulseGuide` after its checks. Pumps when it returns at the end of the pulse.
    void Guide(std::int32_t direction, std::int32_t milliseconds);

    /// Whether a pulse moves the mount now, or may do so because the mount has not heard its end.
    bool MayMove() const;
    /// Whether one that the driver ends has gone out since the last stop of all motion. Its end has no reply: where it
    /// was lost, the mount goes on until such a stop.
    bool EndMayBeLost() const { return endMayBeLost_; }
    /// Whether the end of a pulse went out to a line that was silent or gone, and goes out once more.
    bool EndIsOwed() const;
    /// Whether what goes out now is a command of a pulse.
    bool SendsItself() const { return sendsItself_; }
    /// A command goes out that stops all motion: all pulses have ended.
    void NoteMountStopped();
    /// Ends the pulses of one of `mount_axis`, or all, each by the stop of its direction: nothing else in the mount
    /// stops.
    void EndOnAxis(std::int32_t axis);
    void EndAll();

private:
    static constexpr std::size_t kDirections = 4;

    struct DirectionRow;
    static const std::array<DirectionRow, kDirections>& Rows();
    static const DirectionRow* RowOf(std::int32_t direction);

    /// The pulse in one direction, the last one when none runs.
    struct Pulse {
        std::uint32_t number = 0;  ///< another one since when it changes; wraps
        bool runs = false;         ///< as its flag
        bool moves = false;        ///< its move has gone out
        bool open = false;         ///< the driver is to end it
        bool awaited = false;      ///< a call waits for it: its end comes by `endTimer`, not by that of the hand box
        Tick end;                  ///< of a pulse that moves
        bool endOwed = false;      ///< its stop went out to a line that was silent or gone
        std::unique_ptr<PumpTimer> endTimer;  ///< of an awaited pulse, or of an end that is owed
    };

    class SendingItself;

    Pulse& PulseOf(const DirectionRow& row);
    bool Runs(const DirectionRow& row, std::uint32_t number);
    bool ClearAxis(Sequence& mount, bool northSouth);
    void StopNow(std::int32_t direction);
    std::uint32_t Begin(const DirectionRow* row, std::int32_t milliseconds, std::size_t rate);
    void SendMove(Sequence& mount, const DirectionRow& row, std::int32_t milliseconds, PulseForm form);
    void ArmStopTimer(const DirectionRow& row, std::int32_t milliseconds);
    void ArmEndTimer(const DirectionRow& row, std::int32_t milliseconds);
    void TakeOverAxis(const DirectionRow& row);
    void AwaitEnd(const DirectionRow& row, std::uint32_t number, std::int32_t milliseconds);
    void OnStopTimer(const DirectionRow& row);
    void OnEndTimer(const DirectionRow& row);
    void EndItself(const DirectionRow& row);
    void SendEnd(const DirectionRow& row);
    void NoteEndSent(const DirectionRow& row);
    void SendOwedEnd(const DirectionRow& row);
    void Forget(const DirectionRow& row);
    void ExpectNextEnd();
    bool LineStands() const;
    bool PortIsThere() const;

    GuidePulsesNeeds needs_;
    Essentials driver_;
    DriverState& state_;
    std::array<Pulse, kDirections> pulses_;
    bool sendsItself_ = false;
    bool endMayBeLost_ = false;
};

}  // namespace kestrane
