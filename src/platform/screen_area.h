#pragma once

#include <cstdint>

namespace kestrane {

/// Pixels from the top left corner of the screen; `right` and `bottom` are the first ones outside.
struct ScreenArea {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
    bool operator==(const ScreenArea&) const = default;
};

}  // namespace kestrane
