#include "ui/rcal_sync_warning.h"

#include <utility>

namespace kestrane {

RcalSyncWarning::RcalSyncWarning(frmRcalSyncWarning& form, Modal& modal, Log& log)
    : form_(form), modal_(modal), log_(log) {
    form_.btnOK.OnClick([this] {
        accepted_ = true;
        form_.Hide();
    });
    form_.btnCancel.OnClick([this] { form_.Hide(); });
}

void RcalSyncWarning::ShowAtConnect() {
    log_.LogMessage("Connected", LogLevel::Warning, form_.lblMessage.Text());
    if (asking_) {
        return;  // the window says the same, with the buttons of a question
    }
    form_.btnOK.Text("OK to continue");
    form_.btnCancel.Text("");
    form_.Show();
}

bool RcalSyncWarning::AskForPlainSyncs() {
    return Ask("OK to continue unchecked", "CANCEL to leave checked");
}

bool RcalSyncWarning::AskToCloseSetup() {
    return Ask("OK to close window", "CANCEL to return to setup");
}

bool RcalSyncWarning::Ask(std::string_view okText, std::string_view cancelText) {
    if (std::exchange(asking_, true)) {
        return false;
    }
    accepted_ = false;
    form_.btnOK.Text(okText);
    form_.btnCancel.Text(cancelText);
    modal_.ShowModal(form_);
    asking_ = false;
    return accepted_;
}

}  // namespace kestrane
