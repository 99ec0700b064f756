#include "telescope/motion/guiding.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/text.h"
#include "settings/setting_keys.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::int32_t kPauseBeforeMoveMs = 10;
constexpr std::int32_t kShortestOfTimerMs = 150;  // a call that asks for less waits for the end itself
constexpr std::int32_t kPieceMs = 100;            // of a wait for the end, between two pumps
constexpr std::int32_t kOwedEndIntervalMs = 1000;
constexpr std::int32_t kAllMarks = -1;
constexpr std::int16_t kNoDirection = 0;  // in the journal
constexpr double kRateTolerance = 0.001 + 1e-9;

/// A controller with this feature ends pulses below this duration by itself.
struct TimedRow {
    bool DriverState::*feature;
    std::int32_t belowMs;
};
constexpr TimedRow kTimedMoves{&DriverState::g_bHasCustomRates, 1000};
constexpr TimedRow kExtendedMoves{&DriverState::g_bExtendedPulses, 100'000};

bool Holds(const TimedRow& row, const DriverState& state, std::int32_t milliseconds) {
    return state.*row.feature && milliseconds < row.belowMs;
}

}  // namespace

struct GuidePulses::DirectionRow {
    GuideDirection direction;
    std::size_t partner;  ///< the other direction of the axis
    std::int32_t axis;
    BlindCommand move;
    BlindCommand stop;
    std::int16_t journalCode;
    Timer frmHandBox::*timer;
    std::int32_t DriverState::*duration;
    OwnedBy<Motion, bool> DriverState::*flag;
    std::string_view complete;
};

// clang-format off
/// By the number of the direction.
const std::array<GuidePulses::DirectionRow, GuidePulses::kDirections>& GuidePulses::Rows() {
    using enum GuideDirection;
    using S = DriverState;
    using H = frmHandBox;
    static const std::array<DirectionRow, kDirections> rows{{
        {North, 1, mount_axis::Secondary, wire::MoveNorth, wire::StopNorth, 3, &H::tmrNorthStop, &S::g_nPulseNorth, &S::g_bGuidingNorth, "North Move Complete"},
        {South, 0, mount_axis::Secondary, wire::MoveSouth, wire::StopSouth, 4, &H::tmrSouthStop, &S::g_nPulseSouth, &S::g_bGuidingSouth, "South Move Complete"},
        {East,  3, mount_axis::Primary,   wire::MoveEast,  wire::StopEast,  1, &H::tmrEastStop,  &S::g_nPulseEast,  &S::g_bGuidingEast,  "East Move Complete"},
        {West,  2, mount_axis::Primary,   wire::MoveWest,  wire::StopWest,  2, &H::tmrWestStop,  &S::g_nPulseWest,  &S::g_bGuidingWest,  "West Move Complete"},
    }};
    return rows;
}
// clang-format on

/// While it lives, what goes out belongs to a pulse.
class GuidePulses::SendingItself {
public:
    explicit SendingItself(GuidePulses& pulses) : pulses_(pulses), outer_(std::exchange(pulses.sendsItself_, true)) {}
    ~SendingItself() { pulses_.sendsItself_ = outer_; }
    SendingItself(const SendingItself&) = delete;
    SendingItself& operator=(const SendingItself&) = delete;

private:
    GuidePulses& pulses_;
    const bool outer_;
};

PulseForm FormOfPulse(const DriverState& state, std::int32_t milliseconds) {
    const bool timed = Holds(kTimedMoves, state, milliseconds) || Holds(kExtendedMoves, state, milliseconds);
    return timed ? PulseForm::Timed : PulseForm::Open;
}

bool StopTimerSendsStop(const DriverState& state, std::int32_t milliseconds) {
    return !Holds(kTimedMoves, state, milliseconds);
}

std::size_t GuideRateIndex(double multiple) {
    const auto row = std::ranges::find_if(
        kGuideRates, [&](const GuideRateRow& rate) { return std::abs(multiple - rate.multiple) <= kRateTolerance; });
    return row == kGuideRates.end() ? kGuideRates.size() - 1 : static_cast<std::size_t>(row - kGuideRates.begin());
}

void Telescope::PulseGuide(std::int32_t direction, std::int32_t duration) {
    check_connected("PulseGuide", Parked::IsRefused, TrackingMust::BeEither);
    driver_.log.LogMessage("ASCOM", LogLevel::Info,
                           "PulseGuide(" + std::to_string(direction) + ", " + std::to_string(duration) +
                               ") -- Synchronous: " + std::string(TrueFalse(state_.g_bSynchronousPulseGuide)));
    if (duration > 0 && !needs_.door.Permit("PulseGuide")) {
        return;
    }
    needs_.guidePulses.Guide(direction, duration);
}

GuidePulses::GuidePulses(GuidePulsesNeeds needs)
    : needs_(std::move(needs)), driver_(needs_.driver), state_(driver_.state) {
    for (const DirectionRow& row : Rows()) {
        (needs_.handBox.*row.timer).OnTick([this, &row] { OnStopTimer(row); });
        PulseOf(row).endTimer = needs_.pump.CreatePromptTimer([this, &row] { OnEndTimer(row); });
    }
}

const GuidePulses::DirectionRow* GuidePulses::RowOf(std::int32_t direction) {
    const bool exists = direction >= 0 && direction < static_cast<std::int32_t>(kDirections);
    return exists ? &Rows()[static_cast<std::size_t>(direction)] : nullptr;
}

GuidePulses::Pulse& GuidePulses::PulseOf(const DirectionRow& row) {
    return pulses_[static_cast<std::size_t>(&row - Rows().data())];
}

bool GuidePulses::Runs(const DirectionRow& row, std::uint32_t number) {
    return PulseOf(row).runs && PulseOf(row).number == number;
}

bool GuidePulses::MayMove() const {
    return std::ranges::any_of(pulses_, [](const Pulse& pulse) { return pulse.runs || pulse.endOwed; });
}

bool GuidePulses::EndIsOwed() const {
    return std::ranges::any_of(pulses_, &Pulse::endOwed);
}

void GuidePulses::Guide(std::int32_t direction, std::int32_t milliseconds) {
    if (milliseconds <= 0) {
        StopNow(direction);
        return;
    }
    const DirectionRow* const row = RowOf(direction);
    const PulseForm form = FormOfPulse(state_, milliseconds);
    const bool returnsAtEnd =
        state_.g_bSynchronousPulseGuide || (form == PulseForm::Open && milliseconds < kShortestOfTimerMs);
    std::optional<std::uint32_t> number;
    Sequence::UntilStopped(needs_.commands(), needs_.door, procedure::GuidePulse, [&](Sequence& mount) {
        mount.LetStopInNow();  // what it ends needs no room any more
        ClearAxis(mount, row && row->axis == mount_axis::Secondary);
        const std::size_t rate = GuideRateIndex(state_.g_dGuideRate);
        mount.CommandBlindInternal(wire::GuideRate, kGuideRates[rate].argument);
        number = Begin(row, milliseconds, rate);
        needs_.door.PauseForTicks(kPauseBeforeMoveMs);
        mount.LetStopInNow();
        if (row && Runs(*row, *number)) {
            SendMove(mount, *row, milliseconds, form);
            PulseOf(*row).awaited = returnsAtEnd;
            returnsAtEnd ? ArmEndTimer(*row, milliseconds) : ArmStopTimer(*row, milliseconds);
        }
    });
    if (row && number && Runs(*row, *number)) {
        const bool moves = PulseOf(*row).moves;
        if (!moves) {
            Forget(*row);  // a stop that sent nothing came before the move
        } else if (returnsAtEnd) {
            AwaitEnd(*row, *number, milliseconds);
        }
    }
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "Exiting PulseGuide");
}

/// Intentional: with a pulse on the axis the stop goes out for that pulse, and no other.
void GuidePulses::StopNow(std::int32_t direction) {
    const DirectionRow* const row = RowOf(direction);
    needs_.motion.ParkStopAskedFor();
    Sequence mount(needs_.commands(), needs_.door, procedure::GuidePulseEnd);
    if (!ClearAxis(mount, row && row->axis == mount_axis::Secondary)) {
        mount.CommandBlind(wire::Stop);
        needs_.panel.SetUiGuideIndicator(kAllMarks, false);
    }
}

/// Ends the pulse of an axis to make room for another; true when there was one. A stop must not get in at its own stop,
/// which would pass for a part of this one.
bool GuidePulses::ClearAxis(Sequence& mount, bool northSouth) {
    const std::int32_t axis = northSouth ? mount_axis::Secondary : mount_axis::Primary;
    bool stopped = false;
    for (const DirectionRow& row : Rows()) {
        if (row.axis == axis) {
            (needs_.handBox.*row.timer).Enabled(false);
        }
    }
    for (const DirectionRow& row : Rows()) {
        if (row.axis == axis && state_.*row.flag) {
            needs_.motion.ParkAborted();  // a park that is stopped on its way must not count as arrived where it stands
            const SendingItself own(*this);
            mount.CommandBlindLight(wire::Stop);
            Forget(row);
            stopped = true;
        }
    }
    return stopped;
}

/// From here on the pulse counts as running, although its command is still to come.
std::uint32_t GuidePulses::Begin(const DirectionRow* row, std::int32_t milliseconds, std::size_t rate) {
    std::uint32_t number = 0;
    if (row) {
        Pulse& pulse = PulseOf(*row);
        number = ++pulse.number;
        pulse.runs = true;
        needs_.motion.GuidePulseBegins(row->direction);
        needs_.motion.GuidePulseEnds(Rows()[row->partner].direction);
        state_.*row->duration = milliseconds;
        if (driver_.persist.ReadFlag(setting::chkShowPulseGuideMovements)) {
            needs_.panel.SetUiGuideIndicator(static_cast<std::int32_t>(row - Rows().data()), true);
        }
    }
    needs_.journal.AddPulseGuideEvent(static_cast<std::int16_t>(rate), milliseconds,
                                      row ? row->journalCode : kNoDirection);
    return number;
}

void GuidePulses::SendMove(Sequence& mount, const DirectionRow& row, std::int32_t milliseconds, PulseForm form) {
    Pulse& pulse = PulseOf(row);
    const bool timed = form == PulseForm::Timed;
    const SendingItself own(*this);
    mount.CommandBlindLight(row.move, timed ? std::to_string(milliseconds) : "");
    pulse.moves = true;
    pulse.open = !timed;
    endMayBeLost_ = endMayBeLost_ || pulse.open;
    pulse.end = driver_.clock.GetTickCount() + milliseconds;
    TakeOverAxis(row);
    ExpectNextEnd();
}

/// An axis that has got a new command needs no owed end any more. On a line that does not stand it has got none.
void GuidePulses::TakeOverAxis(const DirectionRow& row) {
    if (!LineStands()) {
        return;
    }
    for (Pulse* const pulse : {&PulseOf(row), &PulseOf(Rows()[row.partner])}) {
        if (std::exchange(pulse->endOwed, false)) {
            pulse->endTimer->SetEnabled(false);
        }
    }
}

void GuidePulses::ArmStopTimer(const DirectionRow& row, std::int32_t milliseconds) {
    for (const std::size_t index : {row.partner, Rows()[row.partner].partner}) {
        (needs_.handBox.*Rows()[index].timer).Enabled(false);
    }
    Timer& timer = needs_.handBox.*row.timer;
    timer.Interval(milliseconds);
    timer.Enabled(true);
}

void GuidePulses::ArmEndTimer(const DirectionRow& row, std::int32_t milliseconds) {
    PumpTimer& timer = *PulseOf(row).endTimer;
    timer.SetEnabled(false);
    timer.SetInterval(milliseconds);
    timer.SetEnabled(true);
}

/// The end itself comes by the timer, which also runs under a call that begins here and takes longer.
void GuidePulses::AwaitEnd(const DirectionRow& row, std::uint32_t number, std::int32_t milliseconds) {
    const Tick start = driver_.clock.GetTickCount();
    const auto elapsed = [&] { return driver_.clock.GetTickCount() - start; };
    std::int32_t piece = 0;
    while (Runs(row, number) && elapsed() < milliseconds) {
        needs_.door.Pause(1);
        if (elapsed() - piece >= kPieceMs && milliseconds - piece > kPieceMs && Runs(row, number)) {
            driver_.waits.PumpOnce();
            piece = elapsed();
        }
    }
    if (Runs(row, number)) {
        EndItself(row);  // nobody pumps any more
    }
}

/// The end of a pulse whose call has returned.
void GuidePulses::OnStopTimer(const DirectionRow& row) {
    (needs_.handBox.*row.timer).Enabled(false);
    if (StopTimerSendsStop(state_, state_.*row.duration)) {
        SendEnd(row);
    }
    Forget(row);
    driver_.log.LogMessage("PulseGuide", LogLevel::Info, row.complete);
}

void GuidePulses::OnEndTimer(const DirectionRow& row) {
    Pulse& pulse = PulseOf(row);
    pulse.endTimer->SetEnabled(false);
    if (pulse.runs && pulse.awaited) {
        EndItself(row);
    } else if (pulse.endOwed) {
        SendOwedEnd(row);
    }
}

/// The end of a pulse whose call waits for it.
void GuidePulses::EndItself(const DirectionRow& row) {
    if (PulseOf(row).open) {
        const SendingItself own(*this);
        Sequence(needs_.commands(), needs_.door, procedure::GuidePulseEnd).CommandBlindLight(row.stop);
        NoteEndSent(row);
    }
    Forget(row);
}

/// Its pause lets ticks in: that of the same pulse must not end it once more.
void GuidePulses::SendEnd(const DirectionRow& row) {
    PulseOf(row).endTimer->SetEnabled(false);
    const SendingItself own(*this);
    Sequence(needs_.commands(), needs_.door, procedure::GuidePulseEnd).CommandBlindInternal(row.stop);
    NoteEndSent(row);
}

/// Nobody hears whether the mount takes the stop of a direction: where the line says no, the end is owed.
void GuidePulses::NoteEndSent(const DirectionRow& row) {
    Pulse& pulse = PulseOf(row);
    const bool wasOwed = pulse.endOwed;
    pulse.endOwed = (pulse.open || wasOwed) && !LineStands();
    if (pulse.endOwed && !wasOwed) {
        driver_.log.LogMessage("PulseGuide", LogLevel::Error,
                               "The mount may not have heard the end of a pulse. It goes out again when the line is "
                               "back.");
    }
}

/// A port that is gone is tried: nothing else may find out that it is back.
void GuidePulses::SendOwedEnd(const DirectionRow& row) {
    if (LineStands() || !PortIsThere()) {
        SendEnd(row);
    }
    if (PulseOf(row).endOwed) {
        ArmEndTimer(row, kOwedEndIntervalMs);
    } else {
        driver_.log.LogMessage("PulseGuide", LogLevel::Warning, "The end of a pulse went out again");
    }
}

bool GuidePulses::LineStands() const {
    const bool answers = !state_.g_bLostComms && state_.g_nNoResponse == 0 && !needs_.queries.LineIsSilent();
    return answers && PortIsThere();
}

bool GuidePulses::PortIsThere() const {
    return needs_.link && needs_.link->CanSend();
}

void GuidePulses::NoteMountStopped() {
    if (sendsItself_) {
        return;
    }
    endMayBeLost_ = false;
    for (const DirectionRow& row : Rows()) {
        Pulse& pulse = PulseOf(row);
        pulse.endOwed = (pulse.endOwed || (pulse.moves && pulse.open)) && !LineStands();
        if (pulse.runs) {
            (needs_.handBox.*row.timer).Enabled(false);
            Forget(row);
        }
    }
}

void GuidePulses::EndOnAxis(std::int32_t axis) {
    for (const DirectionRow& row : Rows()) {
        if (row.axis == axis && PulseOf(row).runs) {
            (needs_.handBox.*row.timer).Enabled(false);
            if (PulseOf(row).moves) {
                SendEnd(row);
            }
            Forget(row);
        } else if (row.axis == axis && PulseOf(row).endOwed) {
            SendOwedEnd(row);
        }
    }
}

void GuidePulses::EndAll() {
    EndOnAxis(mount_axis::Secondary);
    EndOnAxis(mount_axis::Primary);
}

/// Clears what the driver knows of a pulse; nothing is sent.
void GuidePulses::Forget(const DirectionRow& row) {
    Pulse& pulse = PulseOf(row);
    if (pulse.moves) {
        state_.g_tickMotionStopped = driver_.clock.GetTickCount();
        state_.g_bMotionStopped = true;
    }
    pulse.runs = pulse.moves = pulse.open = pulse.awaited = false;
    pulse.endTimer->SetEnabled(false);
    if (pulse.endOwed) {
        ArmEndTimer(row, kOwedEndIntervalMs);
    }
    needs_.motion.GuidePulseEnds(row.direction);
    needs_.panel.SetUiGuideIndicator(static_cast<std::int32_t>(&row - Rows().data()), false);
    ExpectNextEnd();
}

void GuidePulses::ExpectNextEnd() {
    std::optional<Tick> next;
    for (const Pulse& pulse : pulses_) {
        if (pulse.moves && pulse.open && (!next || pulse.end - *next < 0)) {
            next = pulse.end;
        }
    }
    needs_.door.ExpectPulseEnd(next);
}

}  // namespace kestrane
