#pragma once

#include "ui/hand_box/button_actions.h"
#include "ui/hand_box/hand_box_needs.h"
#include "ui/kept_controls.h"

namespace kestrane {

/// The frame with the meridian delay, and the button that sets the mount's clock, which includes it. Logic thread only.
class MeridianFrame {
public:
    MeridianFrame(const HandBoxNeeds& needs, KeptControls& kept, ButtonActions& actions);

    /// See `HandBoxDisplay`.
    void SetMeridianDelayUI(double hours);

private:
    void SendMeridianDelay(double hours);
    void SyncMountTime();

    const HandBoxNeeds& needs_;
    Essentials driver_;
    DriverState& state_;
};

}  // namespace kestrane
