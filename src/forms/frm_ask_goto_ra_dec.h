#pragma once

#include "forms/controls.h"

namespace kestrane {

/// Bookmarks of equatorial coordinates, to edit and to slew to. `pump` outlives it.
class frmAskGotoRaDec : public Form {
public:
    explicit frmAskGotoRaDec(MessagePump& pump)
        : Form("frmAskGotoRaDec", "KS V2 - Goto RA/Dec"), tmrPosition(*this, "tmrPosition", pump, 1000, true) {}

    ListView lvwRaDec{*this, "lvwRaDec"};  ///< name, right ascension, declination
    Label lblDescription{*this, "lblDescription", "Name:"};
    TextBox txtDescription{*this, "txtDescription"};
    Label lblRaTag{*this, "lblRaTag", "RA:"};
    TextBox txtRA{*this, "txtRA"};  ///< hours, minutes, seconds
    Label lblDecTag{*this, "lblDecTag", "Dec:"};
    TextBox txtDec{*this, "txtDec"};  ///< degrees, minutes, seconds
    Label lblLST{*this, "lblLST"};    ///< the sidereal time now
    Label lblDEC{*this, "lblDEC"};    ///< the declination where the mount points
    Button btnAdd{*this, "btnAdd", "Add"};
    Button btnDelete{*this, "btnDelete", "Delete"};
    Button btnSave{*this, "btnSave", "Save"};
    Button btnRefresh{*this, "btnRefresh", "Refresh"};
    Button btnGoto{*this, "btnGoto", "GoTo"};
    Button btnGetRaDec{*this, "btnGetRaDec", "Get Ra/Dec from Mount"};

    Timer tmrPosition;  ///< refreshes the two labels
};

}  // namespace kestrane
