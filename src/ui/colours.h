#pragma once

#include <cstdint>

#include "forms/controls.h"

namespace kestrane {

/// Colours besides the normal ones: blue, green, red from the high byte to the low one.
struct Colours {
    std::int32_t back = 0;
    std::int32_t fore = 0;
};

inline constexpr Colours kNormalColours{kNormalBackColour, kNormalForeColour};
inline constexpr Colours kWarningColours{255, 128};       ///< the normal ones exchanged: something is under way
inline constexpr Colours kFaultColours{65535, 0xFF0000};  ///< blue on yellow: something is wrong

inline void Paint(VisibleControl& control, Colours colours) {
    control.BackColour(colours.back);
    control.ForeColour(colours.fore);
}

}  // namespace kestrane
