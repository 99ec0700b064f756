#pragma once

#include <functional>

#include "forms/frm_initial_setup.h"

namespace kestrane {

struct SetupLinkNeeds {
    frmInitialSetup& form;
    std::function<bool()> linkConnected;
    std::function<void()> showQuaySettings;
};

/// The part of the setup dialog that chooses the road to the mount. Logic thread only.
class SetupLink {
public:
    explicit SetupLink(SetupLinkNeeds needs);

    /// While the link is connected nobody may choose another one. For each opening of the dialog.
    void ShowWhatMayChange();

private:
    SetupLinkNeeds needs_;
};

}  // namespace kestrane
