#pragma once

#include "forms/controls.h"

namespace kestrane {

/// Asks whether to abort the running slew or park. It closes by itself when the slew has ended.
class frmAskAbortSlew : public Form {
public:
    frmAskAbortSlew() : Form("frmAskAbortSlew", "KS V2 - Abort Slew?") {}

    bool UserPressedOK = false;

    Label Label1{*this, "Label1", "ABORT SLEW?"};
    Button btnOK{*this, "btnOK", "OK", Pressing::Stops};
    Button btnCancel{*this, "btnCancel", "Cancel"};
};

}  // namespace kestrane
