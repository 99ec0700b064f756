#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace kestrane {

/// What the nine-button pad sends, raw with frames of its own.
struct MoveCommands {
    std::array<std::string, 9> move;  ///< by button
    std::vector<std::string> rate;    ///< by the index of `cbxMoveRate`
    std::vector<std::string> guide;   ///< by the index of `cbxInitGuideRate`
};

/// The tables for a mount of that rate list key; "" and "unknown" are mounts that have not told theirs.
MoveCommands LoadMoveCommands(std::string_view mountRateType);

}  // namespace kestrane
