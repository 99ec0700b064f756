#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kernel/base/log.h"
#include "support/virtual_clock.h"

namespace kestrane {

/// One message as the log's listener sees it.
struct LogLine {
    std::string origin;
    int level = 0;
    std::string message;

    friend bool operator==(const LogLine&, const LogLine&) = default;
};

/// A log without a file whose messages are kept.
struct KeptLog {
    KeptLog() {
        state.g_bDebugLog = true;
        log.SetListener([this](std::string_view origin, int level, std::string_view message) {
            messages.push_back({std::string(origin), level, std::string(message)});
        });
    }

    VirtualClock clock;
    LogState state;
    Log log{state, clock};
    std::vector<LogLine> messages;
};

}  // namespace kestrane
