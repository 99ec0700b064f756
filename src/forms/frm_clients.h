#pragma once

#include "forms/controls.h"

namespace kestrane {

/// The objects of clients, and a way to release one.
class frmClients : public Form {
public:
    explicit frmClients(MessagePump& pump)
        : Form("frmClients", "Clients"), tmrClients(*this, "tmrClients", pump, 1000, true) {}

    Label lblNone{*this, "lblNone", "No program is connected."};
    /// Address, number, device, since when connected, last request, and what it runs.
    ListView lvwClients{*this, "lvwClients"};
    Button btnRelease{*this, "btnRelease", "Release"};
    Timer tmrClients;  ///< reads the clients anew while the window is visible
};

}  // namespace kestrane
