#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "ui/hand_box/button_actions.h"
#include "ui/hand_box/hand_box_needs.h"
#include "ui/kept_controls.h"

namespace kestrane {

/// The frame with the tracking rates. Logic thread only.
class TrackingFrame {
public:
    TrackingFrame(const HandBoxNeeds& needs, KeptControls& kept, ButtonActions& actions);

    /// See `HandBoxDisplay`.
    void ShowTrackingRate(std::int16_t rate, RateCorrection correction);
    void EnableRateControls();
    void UpdateRateLimits();

private:
    void SetCustomRates();
    void SetCustomRate(const std::string& text, void (Telescope::*write)(double));
    void OnKingRateChange();
    bool CustomRateIsGood(std::string_view text) const;

    const HandBoxNeeds& needs_;
    Essentials driver_;
    DriverState& state_;
};

}  // namespace kestrane
