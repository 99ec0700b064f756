#pragma once

#include "forms/controls.h"

namespace kestrane {

/// Warns a person who has chosen "Park 1".
class frmPark1Warning : public Form {
public:
    frmPark1Warning() : Form("frmPark1Warning", "KS V2 - Park 1 Warning") {}

    Label lblWarning{*this, "lblWarning", "WARNING!! "};
    Label lblMessage{*this, "lblMessage",
                     "Park 1 is considered an obsolete park position.  It presents some potential problems that are "
                     "further described in the Help page for parking.  "};
    Label lblRisk{*this, "lblRisk",
                  "Use Park 1 at your own risk.  Issues related to the use of Park 1 will not be supported by "
                  "Kestrane. "};
    CheckBox chkDontShowAgain{*this, "chkDontShowAgain", "Don't show this warning again"};
    Button btnOK{*this, "btnOK", "OK"};
};

}  // namespace kestrane
