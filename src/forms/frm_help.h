#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The help. A view shows the page that `lblPage` names, below the list of topics.
class frmHelp : public Form {
public:
    frmHelp() : Form("frmHelp", "Help") {}

    ComboBox cbxTopic{*this, "cbxTopic"};
    Label lblPage{*this, "lblPage"};  ///< the file name of a page of docs/help
};

}  // namespace kestrane
