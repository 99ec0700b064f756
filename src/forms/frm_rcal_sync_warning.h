#pragma once

#include <string>

#include "forms/controls.h"

namespace kestrane {

/// The warning that plain syncs replace the pointing of the mount. `pump` outlives it.
class frmRcalSyncWarning : public Form {
public:
    explicit frmRcalSyncWarning(MessagePump& pump)
        : Form("frmRcalSyncWarning", "KS V2 ASCOM Driver - RCAL vs. SYNC Warning!"),
          Timer1(*this, "Timer1", pump, 500, false) {}

    // --- set by the opener: the captions of the two buttons
    std::string OKText = "OK to continue unchecked";
    std::string CancelText = "CANCEL to leave checked";

    bool OKWasPressed = false;
    bool CancelWasPressed = false;

    Label lblWarning{*this, "lblWarning", "WARNING!"};
    Label lblMessage{*this, "lblMessage",
                     "If this box is not checked, Sync commands can be issued to the mount by software programs, which "
                     "may cause the mount to slew incorrectly and possibly cause damage to equipment."};
    Label lblAdvice{*this, "lblAdvice", "Kestrane recommends that you keep the box \"Use RCal for Syncs\" checked."};
    Button btnOK{*this, "btnOK", "OK to continue unchecked"};
    Button btnCancel{*this, "btnCancel", "CANCEL to leave checked"};

    Timer Timer1;  ///< toggles the look of `lblWarning`
};

}  // namespace kestrane
