#include "kernel/base/conversions.h"
#include "ui/hand_box_panel.h"

namespace kestrane {

/// A button moves the focuser while it is held.
void HandBoxPanel::WireFocuser() {
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
}

/// What was stored counts from the next move on.
void HandBoxPanel::OnFocuserChange() {
    if (!needs_.handBox.IsFilling()) {
        needs_.focusMotor.UpdateValues();
    }
}

}  // namespace kestrane
