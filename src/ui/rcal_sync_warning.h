#pragma once

#include <string_view>

#include "forms/frm_rcal_sync_warning.h"
#include "forms/modal.h"
#include "kernel/base/log.h"

namespace kestrane {

/// The logic of the warning about plain syncs. Logic thread only.
class RcalSyncWarning {
public:
    RcalSyncWarning(frmRcalSyncWarning& form, Modal& modal, Log& log);

    /// Reports the option at a connect: in the log, and in the window where a person may see it. Returns at once, so
    /// that no client waits for a person.
    void ShowAtConnect();
    /// Whether a person who has unticked the option means it; pumps until the answer. Without a view, and while the
    /// same is asked already: no.
    bool AskForPlainSyncs();
    /// The same of a person who closes the setup dialog with plain syncs.
    bool AskToCloseSetup();

private:
    bool Ask(std::string_view okText, std::string_view cancelText);
    void Prepare(std::string_view okText, std::string_view cancelText);
    void Blink();

    frmRcalSyncWarning& form_;
    Modal& modal_;
    Log& log_;
    bool asking_ = false;
};

}  // namespace kestrane
