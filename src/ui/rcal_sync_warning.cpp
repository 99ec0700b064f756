#include "ui/rcal_sync_warning.h"

#include <utility>

#include "ui/colours.h"

namespace kestrane {

RcalSyncWarning::RcalSyncWarning(frmRcalSyncWarning& form, Modal& modal, Log& log)
    : form_(form), modal_(modal), log_(log) {
    const auto wire = [this](Button& button, bool& pressed) {
        button.OnClick([this, &pressed] {
            pressed = pressed || form_.Visible();  // a press that comes too late answers nothing
            form_.Hide();
        });
    };
    wire(form_.btnOK, form_.OKWasPressed);
    wire(form_.btnCancel, form_.CancelWasPressed);
    form_.Timer1.OnTick([this] { Blink(); });
}

void RcalSyncWarning::ShowAtConnect() {
    log_.LogMessage("Connected", LogLevel::Warning, form_.lblMessage.Text());
    if (asking_) {
        return;  // the window says the same, with the buttons of a question
    }
    Prepare("OK to continue", "");
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
    Prepare(okText, cancelText);
    modal_.ShowModal(form_);
    asking_ = false;
    return form_.OKWasPressed;
}

void RcalSyncWarning::Prepare(std::string_view okText, std::string_view cancelText) {
    form_.OKText = okText;
    form_.CancelText = cancelText;
    form_.OKWasPressed = false;
    form_.CancelWasPressed = false;
    form_.btnOK.Text(form_.OKText);
    form_.btnCancel.Text(form_.CancelText);
    Paint(form_.lblWarning, kNormalColours);
    form_.Timer1.Enabled(true);
}

void RcalSyncWarning::Blink() {
    const bool isNormal = form_.lblWarning.BackColour() == kNormalColours.back;
    Paint(form_.lblWarning, isNormal ? kWarningColours : kNormalColours);
    form_.Timer1.Enabled(form_.Visible());
}

}  // namespace kestrane
