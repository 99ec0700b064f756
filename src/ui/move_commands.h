#pragma once

#include <array>
#include <string>
#include <vector>

namespace kestrane {

/// What the nine-button pad sends, raw with frames of its own.
struct MoveCommands {
    std::array<std::string, 9> move;  ///< by button
    std::vector<std::string> rate;    ///< by the index of `cbxMoveRate`
    std::vector<std::string> guide;   ///< by the index of `cbxInitGuideRate`
};

/// The tables for a mount that has told its rate type, or for one that has left it open.
MoveCommands LoadMoveCommands(bool rateTypeOpen);

}  // namespace kestrane
