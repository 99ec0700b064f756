#include "ui/log_folder.h"

namespace kestrane {

void OpenLogFolder(const std::string& folder, Processes& processes, Log& log) {
    if (!folder.empty()) {
        processes.OpenWithDesktop(folder, [folder, &log] {
            log.LogMessage("OpenLogFolder", LogLevel::Warning,
                           "No file browser could be started. The logs are in " + folder);
        });
    }
}

}  // namespace kestrane
