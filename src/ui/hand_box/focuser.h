#pragma once

#include "ui/hand_box/hand_box_needs.h"
#include "ui/kept_controls.h"

namespace kestrane {

/// The frame with the focuser. Logic thread only.
class FocuserFrame {
public:
    FocuserFrame(const HandBoxNeeds& needs, KeptControls& kept);

private:
    void Keep(KeptControls& kept);
    void OnChange();

    const HandBoxNeeds& needs_;
};

}  // namespace kestrane
