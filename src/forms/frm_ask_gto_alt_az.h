#pragma once

#include "forms/controls.h"

namespace kestrane {

/// Bookmarks of horizontal coordinates, to edit and to slew to.
class frmAskGtoAltAz : public Form {
public:
    frmAskGtoAltAz() : Form("frmAskGtoAltAz", "KS V2 - Goto Alt/Az") {}

    ListView lvwAltAz{*this, "lvwAltAz"};  ///< name, altitude, azimuth
    Label lblDescription{*this, "lblDescription", "Name:"};
    TextBox txtDescription{*this, "txtDescription"};
    Label lblAltTag{*this, "lblAltTag", "Alt:"};
    TextBox txtAlt{*this, "txtAlt"};  ///< degrees, minutes, seconds
    Label lblAzTag{*this, "lblAzTag", "Az:"};
    TextBox txtAz{*this, "txtAz"};  ///< degrees, minutes, seconds
    Button btnAdd{*this, "btnAdd", "Add"};
    Button btnDelete{*this, "btnDelete", "Delete"};
    Button btnSave{*this, "btnSave", "Save"};
    Button btnRefresh{*this, "btnRefresh", "Refresh"};
    Button btnGoto{*this, "btnGoto", "GoTo"};
    Button btnGetAltAz{*this, "btnGetAltAz", "GET Alt/Az from mount"};
    CheckBox chkConvertAltAzRaDec{*this, "chkConvertAltAzRaDec", "Convert GOTOs from Alt/Az to RA/Dec "};
};

}  // namespace kestrane
