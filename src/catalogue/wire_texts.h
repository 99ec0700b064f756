#pragma once

#include <string_view>

#include "catalogue/wire_commands.h"

/// What a text on its way out does, whoever sends it: a client's own text may hold several commands.
namespace kestrane::wire {

/// `onTheWire` with its frame.
inline bool StopsAllMotion(std::string_view onTheWire) {
    return onTheWire.find(StopRaw.text) != std::string_view::npos;
}

inline bool StartsGoto(std::string_view onTheWire) {
    return onTheWire.find(SlewRaw.text) != std::string_view::npos;
}

/// A move without a time: it goes on until it is stopped.
inline bool StartsEndlessMove(std::string_view onTheWire) {
    for (const BlindCommand& row : {MoveNorth, MoveSouth, MoveEast, MoveWest}) {
        if (onTheWire.find(row.With("").OnTheWire()) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

}  // namespace kestrane::wire
