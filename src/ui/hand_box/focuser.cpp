#include "ui/hand_box/focuser.h"

#include "kernel/base/conversions.h"

namespace kestrane {

/// A button moves the focuser while it is held.
FocuserFrame::FocuserFrame(const HandBoxNeeds& needs, KeptControls& kept) : needs_(needs) {
    frmHandBox& handBox = needs_.handBox;
    const auto hold = [this](FocusDirection direction) {
        const bool fast = needs_.handBox.radFocusFast.Checked();
        needs_.focusMotor.Hold(direction, fast ? FocusSpeed::Fast : FocusSpeed::Slow);
    };
    handBox.btnFocusIn.OnMouseDown([hold] { hold(FocusDirection::In); });
    handBox.btnFocusOut.OnMouseDown([hold] { hold(FocusDirection::Out); });
    for (Button* button : {&handBox.btnFocusIn, &handBox.btnFocusOut}) {
        button->OnMouseUp([this] { needs_.focusMotor.Release(); });
    }
    Keep(kept);
}

void FocuserFrame::Keep(KeptControls& kept) {
    frmHandBox& handBox = needs_.handBox;
    const auto onChange = [this] { OnChange(); };
    kept.Add(KeptText{handBox.txtBacklashMSecs, setting::Focus_txtBacklashMSecs, IsAllDigits, onChange});
    kept.Add(KeptText{handBox.txtStepMultiplierMSecs, setting::Focus_txtStepMultiplierMSecs, IsAllDigits, onChange});
    kept.Add(KeptText{handBox.txtMaxIncrementMSecs, setting::Focus_txtMaxIncrementMSecs, IsAllDigits, onChange});
    kept.Add(KeptCheck{handBox.chkReverseFocusDirection, setting::Focus_chkReverseFocusDirection, onChange});
    kept.Add(KeptOption{handBox.radFocusFast, handBox.radFocusSlow, setting::Focus_radFocusFast, onChange});
    kept.Add(KeptOption{handBox.radFocusFinalDirectionIn, handBox.radFocusFinalDirectionOut,
                        setting::Focus_radFocusFinalDirectionIn, onChange});
}

/// What was stored counts from the next move on.
void FocuserFrame::OnChange() {
    if (!needs_.handBox.IsFilling()) {
        needs_.focusMotor.UpdateValues();
    }
}

}  // namespace kestrane
