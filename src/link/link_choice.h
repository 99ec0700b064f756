#pragma once

#include "kernel/base/log.h"
#include "link/mount_link.h"
#include "settings/persist.h"

namespace kestrane {

/// Whether the mount is reached over IP. The link was chosen when the process started; where the settings choose
/// another kind by now, a warning says from when on that holds. Without a link it is what the settings choose.
bool LinkIsOverIp(const MountLink* link, Persist& persist, Log& log);

}  // namespace kestrane
