#pragma once

#include <cstdint>

#include "storms/stormy_adapter.h"

namespace kestrane {

/// How long a client waits while a network adapter has a fault, in milliseconds; the longest of many moments.
struct IpWaits {
    std::int64_t readMs = 0;     ///< of what the driver knows already
    std::int64_t stopMs = 0;     ///< until the stop begins to go out
    std::int64_t connectMs = 0;  ///< of a new driver
    bool connects = false;
};

/// Measures on virtual time, with the settings of a first run.
IpWaits MeasureIpWaits(AdapterFault fault);

}  // namespace kestrane
