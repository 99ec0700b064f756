#pragma once

#include <cstdint>

#include "support/scripted_line.h"
#include "support/virtual_clock.h"
#include "support/virtual_serial_ports.h"

namespace kestrane {

/// Some serial ports in virtual time that all lead to one scripted line, and others that lead nowhere.
struct LineWorld {
    LineWorld() {
        for (const std::int32_t port : {1, 2, 3, 4}) {
            ports.Connect(port, line);
        }
    }

    VirtualClock clock;
    VirtualSerialPorts ports{clock};
    ScriptedLine line{clock};
};

}  // namespace kestrane
