#pragma once

#include "forms/controls.h"

namespace kestrane {

/// Asks whether to end the process although clients are connected.
class frmAskUserCloseDriver : public Form {
public:
    frmAskUserCloseDriver() : Form("frmAskUserCloseDriver", "KS V2 - Close Driver?") {}

    bool UserPressedOK = false;

    Label lblMessage{*this, "lblMessage"};  ///< how many objects of clients there are
    Button btnOK{*this, "btnOK", "OK"};
    Button btnCancel{*this, "btnCancel", "Cancel"};
};

}  // namespace kestrane
