#pragma once

#include <cstdint>
#include <string_view>

#include "ui/hand_box/hand_box_needs.h"

namespace kestrane {

/// The frame with the position: the flash of a slew, the marks of guide pulses, the park status, hour angle or sidereal
/// time. Logic thread only.
class PositionFrame {
public:
    explicit PositionFrame(const HandBoxNeeds& needs);

    /// See `HandBoxDisplay`.
    void SlewFlashDisplay();
    void SetUiGuideIndicator(std::int32_t direction, bool on);
    void SetParkStatus(std::string_view text);
    void SetParkToolTip(std::string_view text);

private:
    void OnFlashTick();
    void ToggleHourAngle();
    void AskAbortSlew();

    const HandBoxNeeds& needs_;
    DriverState& state_;
};

}  // namespace kestrane
