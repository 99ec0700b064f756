#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "settings/persist.h"

/// The lists that stand in several windows and never change. The index of an entry is what the settings keep.
namespace kestrane::fixed_list {

using Entries = std::vector<std::string>;

inline constexpr std::string_view kPark1 = "Park 1";
inline constexpr std::string_view kBacklashRange = "Range is 0-59 arc-seconds";

Entries Pem();
Entries Priorities();

// Each with the user's own place as the window writes it.
Entries PlacesToParkAt(std::string_view userPlace);
Entries PlacesToUnparkFrom(std::string_view userPlace);
/// The same, and "Don't Unpark" after them.
Entries UnparkChoices(std::string_view userPlace);

/// The user's own place with its stored angles: "Alt/Az  ( 12.30 | 180.00 )".
std::string UserPlace(Persist& persist);

}  // namespace kestrane::fixed_list
