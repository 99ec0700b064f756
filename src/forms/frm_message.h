#pragma once

#include "forms/controls.h"

namespace kestrane {

/// A message box: a text that a person is to see. It holds nothing up.
class frmMessage : public Form {
public:
    frmMessage() : Form("frmMessage", "") {}

    Label lblMessage{*this, "lblMessage"};
    Button btnOK{*this, "btnOK", "OK"};
};

/// A message box that asks.
class frmAskMessage : public Form {
public:
    frmAskMessage() : Form("frmAskMessage", "") {}

    bool UserPressedOK = false;

    Label lblMessage{*this, "lblMessage"};
    Button btnOK{*this, "btnOK", "OK"};
    Button btnCancel{*this, "btnCancel", "Cancel"};
};

}  // namespace kestrane
