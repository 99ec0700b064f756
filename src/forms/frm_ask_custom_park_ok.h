#pragma once

#include "forms/controls.h"

namespace kestrane {

/// Asks whether to keep where the mount stands as the user's own park position. `pump` outlives it.
class frmAskCustomParkOK : public Form {
public:
    explicit frmAskCustomParkOK(MessagePump& pump)
        : Form("frmAskCustomParkOK", "KS V2 Driver - Custom Alt/Az Park"),
          tmrBlink(*this, "tmrBlink", pump, 500, false) {}

    // --- set by the opener
    double Alt = 0;  ///< degrees
    double Az = 0;   ///< degrees
    bool IsCwUp = false;
    bool IsOnEastSide = false;

    bool UserPressedOK = false;

    Label lblAlt{*this, "lblAlt"};
    Label lblAz{*this, "lblAz"};
    Label lblMessage{*this, "lblMessage"};
    Button btnOK{*this, "btnOK", "OK"};
    Button btnCancel{*this, "btnCancel", "Cancel"};

    Timer tmrBlink;  ///< makes the warning of a raised counterweight blink
};

}  // namespace kestrane
