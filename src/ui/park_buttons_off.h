#pragma once

#include "ui/hand_box_panel.h"

namespace kestrane {

/// Keeps the two buttons from being pressed while one of them is at work.
class ParkButtonsOff {
public:
    /// The panel outlives this object.
    explicit ParkButtonsOff(HandBoxPanel& panel) : panel_(panel) { panel_.HoldParkButtons(); }
    ~ParkButtonsOff() { panel_.ReleaseParkButtons(); }
    ParkButtonsOff(const ParkButtonsOff&) = delete;
    ParkButtonsOff& operator=(const ParkButtonsOff&) = delete;

private:
    HandBoxPanel& panel_;
};

}  // namespace kestrane
