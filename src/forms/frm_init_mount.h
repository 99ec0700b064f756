#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The dialog that initializes a mount after power-up.
class frmInitMount : public Form {
public:
    frmInitMount() : Form("frmInitMount", "Initialize Mount") {}
};

}  // namespace kestrane
