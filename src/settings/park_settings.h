#pragma once

#include <cstdint>

#include "settings/persist.h"

namespace kestrane {

/// The index of `cbxParkTo`, 0 to 6 in a healthy file: 5 means the user's own place when no text is kept beside it, as
/// older settings have it. A text that is no number counts as 0.
std::int16_t StoredParkIndex(Persist& persist, Log& log);
/// The same of `cbxUnparkFrom`, 0 to 7.
std::int16_t StoredUnparkIndex(Persist& persist, Log& log);

}  // namespace kestrane
