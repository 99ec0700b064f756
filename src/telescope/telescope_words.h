#pragma once

#include <string_view>

/// The words in which the telescope's members are asked for something.
namespace kestrane {

/// Whether an operation may be asked of a parked mount.
enum class Parked { IsAllowed, IsRefused };

/// The tracking that an operation needs.
enum class TrackingMust { BeOn, BeOff, BeEither };

/// When a slew gives control back to its caller.
enum class SlewReturns { AtOnce, OnArrival };

/// A plain sync, or one that leaves the meridian logic of the mount alone.
enum class SyncKind { Plain, Recal };

/// Who asks for a slew.
enum class SlewAsker { Client, SecondLeg };

/// What a client's text has to do with parks.
enum class ParkText { Other, Begins, Cancels };

/// Whether a client's text for `CommandString` is a driver command that begins a park, or that cancels one.
ParkText ParkTextOf(std::string_view command, bool raw);

}  // namespace kestrane
