#include "ui/rcal_sync_warning.h"

namespace kestrane {

RcalSyncWarning::RcalSyncWarning(frmRcalSyncWarning& form, Log& log) : form_(form), log_(log) {
    form_.btnOK.OnClick([this] { form_.Hide(); });
    form_.btnCancel.OnClick([this] { form_.Hide(); });
}

void RcalSyncWarning::ShowAtConnect() {
    log_.LogMessage("Connected", LogLevel::Warning, form_.lblMessage.Text());
    form_.btnOK.Text("OK to continue");
    form_.btnCancel.Text("");
    form_.Show();
}

}  // namespace kestrane
