#pragma once

#include <cstdint>

#include "catalogue/wire_commands.h"
#include "ui/hand_box/button_actions.h"
#include "ui/hand_box/hand_box_needs.h"
#include "ui/kept_controls.h"

namespace kestrane {

/// The frame with the brightness of the reticle. The mount knows steps up and down only. Logic thread only.
class BrightnessFrame {
public:
    BrightnessFrame(const HandBoxNeeds& needs, KeptControls& kept, ButtonActions& actions);

    /// Writes the value of the scroll bar beside it.
    void Show();
    /// Shows the stored brightness, and takes the reticle to it from wherever it is: as often darker as the bar has
    /// steps, then as often brighter as the setting says.
    void ResetReticleBrightness();

private:
    void OnChange();
    void Send(const BlindCommand& step, std::int32_t times);

    const HandBoxNeeds& needs_;
    std::int32_t shown_ = 0;  ///< the value of the bar before a change
};

}  // namespace kestrane
