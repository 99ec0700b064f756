#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulator/mount_model.h"

namespace kestrane::simulator {

enum class Outcome {
    Done,         ///< carried out; the parts hold the answer, no part is silence
    Unsupported,  ///< a command of the protocol that this firmware lacks, or that only a companion answers
    Unknown,      ///< no command of the protocol, or one with an argument that is not valid
};

struct Answer {
    Outcome outcome = Outcome::Done;
    std::vector<std::string> parts;
    std::string_view name = {};  ///< the command without its argument; empty for an unknown one
};

/// Carries out one command, given without its frame.
Answer Execute(MountModel& mount, std::string_view version, std::string_view mountForm, std::string_view command);

}  // namespace kestrane::simulator
