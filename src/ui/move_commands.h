#pragma once

#include <array>
#include <string>
#include <vector>

namespace kestrane {

/// The commands of the nine-button pad, raw and with their own frames.
struct MoveCommands {
    std::array<std::string, 9> move;  ///< by button
    std::vector<std::string> rate;    ///< by the index of `cbxMoveRate`
    std::vector<std::string> guide;   ///< by the index of `cbxInitGuideRate`
};

/// The tables for a mount that has reported its rate type.
MoveCommands MoveCommandsOfToldType();
/// The tables for one that has not.
MoveCommands MoveCommandsOfOpenType();

}  // namespace kestrane
