#pragma once

#include "ui/kept_controls.h"
#include "ui/setup/setup_needs.h"

namespace kestrane {

/// Whether a slew rate of one's own is chosen for the initialization.
bool CustomRateIsChosen(const frmInitialSetup& form);

/// The parts of the setup dialog whose controls only keep a setting each: optics, initialization, park and options.
/// Logic thread only.
class SetupOptions {
public:
    SetupOptions(SetupNeeds& needs, KeptControls& kept);

    /// Shows what `kept` does not: before it is filled.
    void Fill();
    /// What the program does without settings. Nothing is stored.
    void ResetToDefaults();

private:
    void KeepChecks(KeptControls& kept);
    void KeepLists(KeptControls& kept);
    void ShowCustomRate();

    SetupNeeds& needs_;
    frmInitialSetup& form_;
};

}  // namespace kestrane
