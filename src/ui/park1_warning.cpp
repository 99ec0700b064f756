#include "ui/park1_warning.h"

#include "kernel/base/text.h"

namespace kestrane {

Park1Warning::Park1Warning(frmPark1Warning& form, Modal& modal, Persist& persist)
    : form_(form), modal_(modal), persist_(persist) {
    form_.btnOK.OnClick([this] { form_.Hide(); });
}

void Park1Warning::Show() {
    if (form_.IsInUse() || ToLower(persist_.Read(setting::DisablePark1Warning)) != "false") {
        return;
    }
    form_.chkDontShowAgain.Checked(false);
    modal_.ShowModal(form_);
    persist_.Write(setting::DisablePark1Warning, TrueFalse(form_.chkDontShowAgain.Checked()));
    form_.Unload();
}

}  // namespace kestrane
