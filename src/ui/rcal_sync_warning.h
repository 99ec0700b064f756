#pragma once

#include "forms/frm_rcal_sync_warning.h"
#include "kernel/base/log.h"

namespace kestrane {

/// The logic of the warning about plain syncs. Logic thread only.
class RcalSyncWarning {
public:
    RcalSyncWarning(frmRcalSyncWarning& form, Log& log);

    /// Reports the option at a connect: in the log, and in the window where a person may see it. Returns at once, so
    /// that no client waits for a person.
    void ShowAtConnect();

private:
    frmRcalSyncWarning& form_;
    Log& log_;
};

}  // namespace kestrane
