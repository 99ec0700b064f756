#pragma once

#include "platform/system_services.h"

namespace kestrane {

/// The bell of the terminal that the driver was started from; silent without one.
class PosixSounds final : public Sounds {
public:
    void Beep() override;
};

}  // namespace kestrane
