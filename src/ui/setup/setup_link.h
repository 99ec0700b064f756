#pragma once

#include <cstdint>

#include "ui/kept_controls.h"
#include "ui/setup/setup_needs.h"

namespace kestrane {

/// The part of the setup dialog that chooses the road to the mount, and the limits on it. Logic thread only.
class SetupLink {
public:
    SetupLink(SetupNeeds& needs, KeptControls& kept);

    /// Shows what `kept` does not: after it was filled.
    void Fill();
    /// The same for storing.
    void Store();
    /// While the link is connected nobody may choose another one, or another mount.
    void ShowWhatMayChange();

private:
    void ShowKind();
    void ShowCompanion();
    void FillTimeouts();
    void FillRetries();

    SetupNeeds& needs_;
    frmInitialSetup& form_;
    Persist& persist_;
    bool retryIsChosen_ = false;  ///< by a person, since the window was filled
};

}  // namespace kestrane
