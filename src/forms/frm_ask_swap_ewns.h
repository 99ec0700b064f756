#pragma once

#include "forms/controls.h"

namespace kestrane {

/// Asks whether the mount is to swap its east and west, or its north and south.
class frmAskSwapEWNS : public Form {
public:
    frmAskSwapEWNS() : Form("frmAskSwapEWNS", "KS V2 Swap Move Direction") {}

    bool DoNS = false;  ///< set by the opener: which of the two texts is shown
    bool UserPressedOK = false;

    Label lblCaptionNS{*this, "lblCaptionNS",
                       "WARNING: This button will swap the mount's NORTH and SOUTH button directions. N/S buttons and "
                       "the ASCOM PulseGuide N/S directions will be reversed.",
                       Shown::No};
    Label lblCaptionEW{*this, "lblCaptionEW",
                       "WARNING: This button will swap the mount's EAST and WEST button directions. E/W buttons and "
                       "the ASCOM PulseGuide E/W directions will be reversed.",
                       Shown::No};
    Label lblOkCancel{*this, "lblOkCancel", "Are you sure you want to do this?"};
    Button btnOK{*this, "btnOK", "OK"};
    Button btnCancel{*this, "btnCancel", "Cancel"};
};

}  // namespace kestrane
