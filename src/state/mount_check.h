#pragma once

#include <string>

namespace kestrane {

/// What a check of the port of the settings has found.
struct MountCheck {
    std::string version;  ///< of the mount; empty when there is none
    std::string whyNone;  ///< a sentence for a person then

    bool Found() const { return !version.empty(); }
};

}  // namespace kestrane
