#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "forms/hand_box_display.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "state/driver_state.h"
#include "state/essentials.h"

namespace kestrane {

class Telescope;

struct TrackingOperationsNeeds {
    Essentials driver;
    HandBoxDisplay& panel;
    std::function<Telescope*()> telescope;  ///< the driver's own object; null while there is none
};

/// What a person does to the tracking with the hand box, and what the driver does in the same way by itself: after a
/// slew it chooses the rate again, at a connect it sends the choice of the King correction. All of it talks to the
/// mount through the driver's own telescope object, and sends nothing while there is none. Nothing here raises:
/// failures are swallowed. Logic thread only.
class TrackingOperations {
public:
    explicit TrackingOperations(TrackingOperationsNeeds needs)
        : needs_(std::move(needs)), driver_(needs_.driver), state_(driver_.state) {}

    /// Switches the King correction of the mount as the user wants it; sends nothing to firmware without it.
    void SetKingRateState();
    /// 0 stops the tracking; 1 starts sidereal, 2 lunar, 3 solar. Any other number does nothing: a custom rate consists
    /// of two values, which are not known here.
    void ChooseRate(std::int16_t rate);

private:
    void StopTracking();
    void StartTracking(std::int32_t telescopeRate);

    TrackingOperationsNeeds needs_;
    Essentials driver_;
    DriverState& state_;
};

}  // namespace kestrane
