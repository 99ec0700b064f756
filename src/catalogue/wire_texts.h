#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <string_view>

#include "catalogue/wire_commands.h"

/// What a text on its way out does, whoever sends it: a client's own text may hold several commands.
namespace kestrane::wire {

/// The place of the last such command without an argument, npos when there is none. Looked for in each text that goes
/// out, for many rows: nothing is copied.
template <ReplyForm form>
std::size_t LastOf(std::string_view onTheWire, const WireRow<form>& row) {
    if (row.framing == Framing::Raw) {
        return onTheWire.rfind(row.text);
    }
    for (std::size_t at = onTheWire.rfind(row.text); at != std::string_view::npos && at != 0;
         at = onTheWire.rfind(row.text, at - 1)) {
        if (onTheWire[at - 1] == ':' && onTheWire.substr(at + row.text.size()).starts_with('#')) {
            return at - 1;
        }
    }
    return std::string_view::npos;
}

template <ReplyForm form>
bool Holds(std::string_view onTheWire, const WireRow<form>& row) {
    return LastOf(onTheWire, row) != std::string_view::npos;
}

/// `onTheWire` with its frame.
inline bool StopsAllMotion(std::string_view onTheWire) {
    return Holds(onTheWire, StopRaw);
}

inline bool StartsGoto(std::string_view onTheWire) {
    return Holds(onTheWire, SlewRaw);
}

/// Whether a text has the companion move the mount to a place.
inline bool CompanionMoves(std::string_view onTheWire) {
    const auto rows = {CompanionSlew, CompanionSlewAltAz, CompanionPark, CompanionParkAltAz};
    return std::any_of(rows.begin(), rows.end(),
                       [&](const TextCommand& row) { return onTheWire.find(row.text) != std::string_view::npos; });
}

/// Whether a text stops all motion, and starts no goto after that.
inline bool StopComesLast(std::string_view onTheWire) {
    const std::size_t stop = LastOf(onTheWire, StopRaw);
    const std::size_t slew = LastOf(onTheWire, SlewRaw);
    return stop != std::string_view::npos && (slew == std::string_view::npos || slew < stop) &&
           !CompanionMoves(onTheWire.substr(stop));
}

inline bool Parks(std::string_view onTheWire) {
    return Holds(onTheWire, Park);
}

inline bool Unparks(std::string_view onTheWire) {
    return Holds(onTheWire, Unpark);
}

/// Whether a text tells the mount where it points: what it has reported before says nothing about the place then.
inline bool GivesPlace(std::string_view onTheWire) {
    return Holds(onTheWire, Sync) || Holds(onTheWire, Recal) || Unparks(onTheWire);
}

/// Whether a text gives an axis a custom rate other than 0.
inline bool ChoosesCustomRate(std::string_view onTheWire) {
    const auto chooses = [&](const CharacterCommand& row) {
        for (std::size_t at = onTheWire.find(row.text, 1); at != std::string_view::npos;
             at = onTheWire.find(row.text, at + 1)) {
            const std::string_view rate = onTheWire.substr(at + row.text.size());
            const bool isCommand = onTheWire[at - 1] == ':';
            if (isCommand && rate.substr(0, rate.find('#')).find_first_of("123456789") != std::string_view::npos) {
                return true;
            }
        }
        return false;
    };
    return chooses(CustomRaRate) || chooses(CustomDecRate);
}

enum class EndlessMove { Untouched, Begins, Ends };

/// What a text does to a move that `begins` begin and `ends` end: the last of these commands counts.
inline EndlessMove EndlessMoveAfter(std::string_view onTheWire, std::initializer_list<BlindCommand> begins,
                                    std::initializer_list<BlindCommand> ends) {
    const auto last = [&](std::initializer_list<BlindCommand> rows) {
        std::ptrdiff_t place = -1;
        for (const BlindCommand& row : rows) {
            const std::size_t found = LastOf(onTheWire, row);
            place = found == std::string_view::npos ? place : std::max(place, static_cast<std::ptrdiff_t>(found));
        }
        return place;
    };
    const std::ptrdiff_t begin = last(begins);
    const std::ptrdiff_t end = last(ends);
    return begin > end ? EndlessMove::Begins : end > begin ? EndlessMove::Ends : EndlessMove::Untouched;
}

/// The same for a move without a time, which goes on until it is stopped or the mount parks. The stop of one direction
/// leaves it open whether another goes on, so it ends none.
inline EndlessMove EndlessMoveAfter(std::string_view onTheWire) {
    return EndlessMoveAfter(onTheWire, {MoveNorth, MoveSouth, MoveEast, MoveWest}, {StopRaw, Park});
}

/// Whether a text begins a move without a time after its last goto, which would have taken the place of one before.
inline bool MoveFollowsGoto(std::string_view onTheWire) {
    const std::size_t slew = LastOf(onTheWire, SlewRaw);
    return slew != std::string_view::npos && EndlessMoveAfter(onTheWire.substr(slew)) == EndlessMove::Begins;
}

/// Whether a text stops a move without a time that it has begun itself.
inline bool StopsItsOwnMove(std::string_view onTheWire) {
    const std::size_t stop = LastOf(onTheWire, StopRaw);
    return stop != std::string_view::npos &&
           EndlessMoveAfter(onTheWire.substr(0, stop), {MoveNorth, MoveSouth, MoveEast, MoveWest}, {}) ==
               EndlessMove::Begins;
}

/// What a text does to a run of the focus motor.
inline EndlessMove FocuserRunAfter(std::string_view onTheWire) {
    return EndlessMoveAfter(onTheWire, {FocusPlus, FocusMinus}, {FocusStop});
}

/// Whether a text begins, after its last stop, what moves the mount until its own end or without one: a goto, a park or
/// a move, also by the companion. Guide pulses, which have a time, do not count, nor do rates.
inline bool MovesInTheEnd(std::string_view onTheWire) {
    const std::size_t stop = LastOf(onTheWire, StopRaw);
    const std::string_view rest = stop == std::string_view::npos ? onTheWire : onTheWire.substr(stop);
    return StartsGoto(rest) || CompanionMoves(rest) || Parks(rest) ||
           rest.find(SetParkSlot.text) != std::string_view::npos || EndlessMoveAfter(rest) == EndlessMove::Begins;
}

}  // namespace kestrane::wire
