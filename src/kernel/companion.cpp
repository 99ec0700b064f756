#include "kernel/companion.h"

#include <array>
#include <utility>

#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr std::uint32_t kTypeText = 1;
constexpr std::uint32_t kTypeDoubleWord = 4;
constexpr std::int32_t kStartWaitMs = 2000;
constexpr std::int32_t kPieceOfWaitMs = 200;
constexpr std::uint32_t kQueryAndSetAccess = 1536;
constexpr std::uint32_t kQueryAccess = 1024;

/// Priority classes in the order of the list "High", "Above Normal", "Normal", "Below Normal", "Low".
constexpr std::array<std::uint32_t, 5> kPriorityClasses{128, 32768, 527, 16384, 64};

std::string LastPiece(const std::string& path) {
    const std::size_t slash = path.find_last_of("\\/");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string UpToNul(std::string_view text) {
    return std::string(text.substr(0, text.find('\0')));
}

std::string ReadRegistryValue(Registry& registry, std::string_view key, std::string_view name) {
    const auto value = registry.Read(key, name);
    if (!value) {
        return {};
    }
    if (value->type == kTypeText) {
        const bool terminated = value->data.ends_with('\0');
        return value->data.substr(0, value->data.size() - (terminated ? 1 : 0));
    }
    if (value->type == kTypeDoubleWord && value->data.size() >= 4) {
        std::uint32_t number = 0;
        for (std::size_t i = 4; i-- > 0;) {
            number = number * 256 + static_cast<unsigned char>(value->data[i]);
        }
        return std::to_string(number);
    }
    return {};
}

}  // namespace

std::string Companion::GetCompanionExePath() {
    return ReadRegistryValue(registry_, "KestraneCommandCenter\\ExeName", "Name");
}

bool Companion::IsProcessRunning(std::string& name) {
    name = ToLower(name);
    bool running = false;
    for (const std::string& executable : processes_.List()) {
        running = running || ToLower(UpToNul(executable)) == name;
    }
    return running;
}

bool Companion::StartCompanion(bool& toldBefore, const std::function<bool()>& isOver) {
    const std::string path = GetCompanionExePath();
    std::string executable = LastPiece(path);
    if (executable.empty() || IsProcessRunning(executable)) {
        return false;
    }
    if (!processes_.Start(path, " -c")) {
        if (!std::exchange(toldBefore, true)) {
            log_.LogMessage(
                "StartCompanion", LogLevel::Warning,
                "The companion could not be started: " + path + ". Start it yourself, or check its installation");
        }
        return false;
    }
    for (std::int32_t waited = 0; waited < kStartWaitMs && !isOver(); waited += kPieceOfWaitMs) {
        waits_.WaitForMilliseconds(kPieceOfWaitMs);
    }
    return true;
}

std::uint32_t SetProcessPriority(Processes& processes, std::uint64_t window, std::uint32_t processId,
                                 std::uint32_t priorityClass) {
    if (processId == 0) {
        processId = window != 0 ? processes.ProcessOfWindow(window) : processes.CurrentProcessId();
    }
    auto handle = processes.Open(processId, kQueryAndSetAccess);
    if (handle) {
        processes.SetPriorityClass(*handle, priorityClass);
    } else {
        handle = processes.Open(processId, kQueryAccess);
    }
    if (!handle) {
        return 0;
    }
    const std::uint32_t inForce = processes.GetPriorityClass(*handle);
    processes.Close(*handle);
    return inForce;
}

void ApplyWindowsPriority(Processes& processes, int index) {
    const bool known = index >= 0 && index < static_cast<int>(kPriorityClasses.size());
    SetProcessPriority(processes, 0, 0, known ? kPriorityClasses[static_cast<std::size_t>(index)] : 0);
}

}  // namespace kestrane
