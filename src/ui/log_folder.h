#pragma once

#include "platform/system_services.h"
#include "state/essentials.h"

namespace kestrane {

/// Shows the folder of the logs in the file browser of the system; where none can be started, the log says where the
/// folder is. Before the first log there is nothing to show: the folder is known only then.
void OpenLogFolder(const Essentials& driver, Processes& processes);

}  // namespace kestrane
