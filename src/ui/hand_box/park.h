#pragma once

#include <cstdint>
#include <functional>

#include "ui/hand_box/button_actions.h"
#include "ui/hand_box/hand_box_needs.h"
#include "ui/kept_controls.h"

namespace kestrane {

/// The frame with the park positions, and the buttons that park and unpark. Logic thread only.
class ParkFrame {
public:
    ParkFrame(const HandBoxNeeds& needs, KeptControls& kept, ButtonActions& actions);

    /// Unparks from a position (`park_index`), with the buttons off until it has ended. Errors go to the caller.
    void UnparkFrom(std::int16_t index);

    /// The buttons that park and unpark cannot be pressed while anybody holds them. Each hold needs its release.
    void HoldButtons() { EnableButtons(++holds_ == 0); }
    void ReleaseButtons() { EnableButtons(--holds_ == 0); }
    /// They can be pressed again, whoever held them.
    void FreeButtons() { EnableButtons(true); }

private:
    void Keep(KeptControls& kept);
    void OnPositionChange(const ComboBox& list);
    void EnableUserPark();
    void OnUserParkChange();
    void EnableButtons(bool enabled);
    void AskAndPark();
    void ParkAt(std::int16_t index);
    void AskAndUnpark();

    const HandBoxNeeds& needs_;
    ButtonActions& actions_;
    Essentials driver_;
    int holds_ = 0;
};

/// Keeps the two buttons from being pressed while one of them is at work.
class ParkButtonsOff {
public:
    /// The frame outlives this object.
    explicit ParkButtonsOff(ParkFrame& park) : park_(park) { park_.HoldButtons(); }
    ~ParkButtonsOff() { park_.ReleaseButtons(); }
    ParkButtonsOff(const ParkButtonsOff&) = delete;
    ParkButtonsOff& operator=(const ParkButtonsOff&) = delete;

private:
    ParkFrame& park_;
};

}  // namespace kestrane
