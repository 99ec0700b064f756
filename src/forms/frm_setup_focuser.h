#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The setup dialog of the focuser.
class frmSetupFocuser : public Form {
public:
    frmSetupFocuser() : Form("frmSetupFocuser", "Kestrane V2 Focuser Setup") {}
};

}  // namespace kestrane
