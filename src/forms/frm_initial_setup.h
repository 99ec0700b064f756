#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The setup dialog of the telescope.
class frmInitialSetup : public Form {
public:
    frmInitialSetup() : Form("frmInitialSetup", "Kestrane V2 Setup") {}
};

}  // namespace kestrane
