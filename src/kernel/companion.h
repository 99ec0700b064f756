#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "kernel/base/log.h"
#include "kernel/base/waits.h"
#include "platform/system_services.h"

namespace kestrane {

/// Finds and starts the companion application. Logic thread only.
class Companion {
public:
    Companion(Registry& registry, Processes& processes, Waits& waits, Log& log)
        : registry_(registry), processes_(processes), waits_(waits), log_(log) {}

    /// Path of the companion's executable, or an empty text. A registry value that is a number gives its digits; any
    /// other type gives nothing.
    std::string GetCompanionExePath();
    /// Whether a process with that executable name runs; case does not matter. `name` is changed to lower case in
    /// place.
    bool IsProcessRunning(std::string& name);
    /// Starts the companion unless it runs; true when this call started it, after two seconds (pumps), or as soon as
    /// `isOver` says that nobody waits for it any more, which is asked each 200 ms. One that cannot be started is
    /// logged, unless `toldBefore` says so already.
    bool StartCompanion(
        bool& toldBefore, const std::function<bool()>& isOver = [] { return false; });

private:
    Registry& registry_;
    Processes& processes_;
    Waits& waits_;
    Log& log_;
};

/// Sets the priority class of a process and returns the class read back. The process is `processId` (0: none), else the
/// owner of the window (0: none), else this process.
std::uint32_t SetProcessPriority(Processes& processes, std::uint64_t window, std::uint32_t processId,
                                 std::uint32_t priorityClass);

/// Applies the entry of the priority list, 0 "High" to 4 "Low". Intentional: "Normal" passes 527, a number that no
/// system accepts as a class, so that choosing it leaves the priority as it was. Any other index passes 0.
void ApplyWindowsPriority(Processes& processes, int index);

}  // namespace kestrane
