#include "ui/log_folder.h"

namespace kestrane {

void OpenLogFolder(const std::string& folder, Processes& processes, Log& log) {
    if (folder.empty()) {
        return;
    }
    const bool quoted = folder.find_first_of(" \t\r\n") != std::string::npos;
    const bool isOneWord = !quoted || folder.find('"') == std::string::npos;
    if (!isOneWord || !processes.Start("xdg-open", quoted ? "\"" + folder + "\"" : folder)) {
        log.LogMessage("OpenLogFolder", LogLevel::Warning,
                       "No file browser could be started. The logs are in " + folder);
    }
}

}  // namespace kestrane
