#pragma once

#include "ui/setup/setup_needs.h"

namespace kestrane {

/// The parts of the setup dialog that keep no setting: the version, the size of the window, help and side tools. Logic
/// thread only.
class SetupTools {
public:
    explicit SetupTools(SetupNeeds& needs);

    void Fill();
    /// For each tick while the window is open: a newer version, once it is known, is shown blinking.
    void ShowVersion();

private:
    void ShowAdvanced(bool advanced);

    SetupNeeds& needs_;
    frmInitialSetup& form_;
    bool lit_ = false;
};

}  // namespace kestrane
