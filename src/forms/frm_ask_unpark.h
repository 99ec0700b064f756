#pragma once

#include <cstdint>

#include "forms/controls.h"

namespace kestrane {

/// Asks whether to unpark, and from which position.
class frmAskUnpark : public Form {
public:
    frmAskUnpark() : Form("frmAskUnpark", "KS V2 ASCOM - Confirm Unpark") {}

    bool UserOk = false;
    std::int16_t UserUnparkIndex = 0;

    Label lblMessage{*this, "lblMessage", "Click OK to confirm Unpark from this park position:"};
    ComboBox cbxAskUnparkFrom{*this, "cbxAskUnparkFrom"};
    Button btnOK{*this, "btnOK", "OK"};
    Button btnCancel{*this, "btnCancel", "&Don't Unpark"};
};

}  // namespace kestrane
