#pragma once

#include <cstdint>

#include "forms/controls.h"

namespace kestrane {

/// Asks whether to park, and where. `pump` outlives it.
class frmAskPark : public Form {
public:
    explicit frmAskPark(MessagePump& pump)
        : Form("frmAskPark", "KS V2 ASCOM Park Telescope"), tmrWarning(*this, "tmrWarning", pump, 500, false) {}

    bool UserOk = false;
    std::int16_t UserParkIndex = 0;

    Label lblMessage{*this, "lblMessage", "Select the park position to which you would like to Park the telescope:"};
    ComboBox cbxAskParkTo{*this, "cbxAskParkTo"};
    Label lblImportant{*this, "lblImportant",
                       "IMPORTANT: Click the STOP button in the Move Scope Controls if you need to stop the mount."};
    Label lblEastSlewWarning{*this, "lblEastSlewWarning", "", Shown::No};  ///< set when the mount will slew east first
    Button btnOK{*this, "btnOK", "OK"};
    Button btnCancel{*this, "btnCancel", "&Don't Park"};

    Timer tmrWarning;  ///< makes `lblEastSlewWarning` blink
};

}  // namespace kestrane
