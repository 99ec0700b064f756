#pragma once

#include "catalogue/ks_mount.h"
#include "kernel/base/log.h"
#include "kernel/logged_message_boxes.h"
#include "platform/platform.h"
#include "settings/persist.h"

namespace kestrane {

struct LogFactsNeeds {
    Persist& persist;
    KsMount& mount;
    Log& log;
    Platform& platform;
    LoggedMessageBoxes& messageBoxes;
};

/// What the log asks about its surroundings. All of it outlives the log's use of the answer.
LogFileFacts FactsOfLog(LogFactsNeeds needs);

}  // namespace kestrane
