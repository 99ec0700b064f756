#pragma once

#include <string>

#include "kernel/base/log.h"
#include "platform/system_services.h"

namespace kestrane {

/// Shows the folder of the logs in the machine's file browser. Nothing while it is empty: before the first log it is
/// not known. When no browser starts, the log names the folder.
void OpenLogFolder(const std::string& folder, Processes& processes, Log& log);

}  // namespace kestrane
