#pragma once

#include "forms/controls.h"

namespace kestrane {

/// Says that a parked mount does not move.
class frmAskAndWarnParked : public Form {
public:
    frmAskAndWarnParked() : Form("frmAskAndWarnParked", "KSV2 Driver - Mount Parked") {}

    Label lblMessage{*this, "lblMessage", "WARNING: Operation cannot be completed because mount is parked!"};
    Button btnOK{*this, "btnOK", "OK"};
};

}  // namespace kestrane
