#pragma once

#include <functional>
#include <memory>

#include "forms/frm_status.h"
#include "kernel/base/errors.h"
#include "platform/message_pump.h"
#include "telescope/telescope.h"

namespace kestrane {

struct StatusWindowNeeds {
    SwallowLedger& ledger;
    MessagePump& pump;
    frmStatus& form;
    std::function<Telescope*()> telescope;  ///< the driver's own object; null while there is none
    std::function<void()> stopFocuser;      ///< ends what the focus motor does
    std::function<void()>
        endHeldMotion;  ///< ends what a held button moves, and takes back what waits to move the mount
};

/// The logic of the compact status window. Its labels are filled by those who know the values. Logic thread only.
class StatusWindow final {
public:
    explicit StatusWindow(StatusWindowNeeds needs);

    /// The time until the window goes begins anew.
    void StartTimer();
    /// Hides the window and stops its timer, unless `chkKeepOn` is ticked.
    void HideForm();
    /// Stops all that moves, as a call of the kind Stop that is posted; what a press of `cmdStopAll` does.
    void AskToStop();

private:
    void StopAll();

    StatusWindowNeeds needs_;
    std::shared_ptr<int> token_ = std::make_shared<int>();  ///< for posted calls, which may outlive this object
};

}  // namespace kestrane
