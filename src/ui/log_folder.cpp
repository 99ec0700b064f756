#include "ui/log_folder.h"

#include <string>

namespace kestrane {

void OpenLogFolder(const Essentials& driver, Processes& processes) {
    if (!driver.state.g_sLogDir.empty()) {
        const std::string& folder = driver.state.g_sLogDir;
        const bool quoted = folder.find_first_of(" \t\r\n") != std::string::npos;
        const bool isOneWord = !quoted || folder.find('"') == std::string::npos;
        if (!isOneWord || !processes.Start("xdg-open", quoted ? "\"" + folder + "\"" : folder)) {
            driver.log.LogMessage("OpenLogFolder", LogLevel::Warning,
                                  "No file browser could be started. The logs are in " + folder);
        }
    }
}

}  // namespace kestrane
