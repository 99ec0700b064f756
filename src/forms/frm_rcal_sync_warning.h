#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The warning that plain syncs replace the pointing of the mount. Its callers set the captions of its buttons.
class frmRcalSyncWarning : public Form {
public:
    frmRcalSyncWarning() : Form("frmRcalSyncWarning", "KS V2 ASCOM Driver - RCAL vs. SYNC Warning!") {}

    Label lblWarning{*this, "lblWarning", "WARNING!"};
    Label lblMessage{*this, "lblMessage",
                     "If this box is not checked, Sync commands can be issued to the mount by software programs, which "
                     "may cause the mount to slew incorrectly and possibly cause damage to equipment."};
    Label lblAdvice{*this, "lblAdvice", "Kestrane recommends that you keep the box \"Use RCal for Syncs\" checked."};
    Button btnOK{*this, "btnOK", "OK to continue unchecked"};
    Button btnCancel{*this, "btnCancel", "CANCEL to leave checked"};
};

}  // namespace kestrane
