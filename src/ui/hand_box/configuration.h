#pragma once

#include "ui/hand_box/button_actions.h"
#include "ui/hand_box/hand_box_needs.h"
#include "ui/kept_controls.h"

namespace kestrane {

/// The frames with the initial values of the mount, the options, the optics and the periodic error correction. Logic
/// thread only.
class ConfigurationFrame {
public:
    ConfigurationFrame(const HandBoxNeeds& needs, KeptControls& kept, ButtonActions& actions);

    /// The values that the first queries and a real connect need, long before all controls are filled.
    void Load();

private:
    void Keep(KeptControls& kept);
    void WireVerbs(ButtonActions& actions);
    void OnPriorityChange();

    const HandBoxNeeds& needs_;
    Essentials driver_;
};

}  // namespace kestrane
