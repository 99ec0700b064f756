#pragma once

#include "ui/hand_box/hand_box_needs.h"

namespace kestrane {

/// The frame with the errors of the line and the faults of the mount. Logic thread only.
class ErrorsFrame {
public:
    explicit ErrorsFrame(const HandBoxNeeds& needs);

    /// See `HandBoxDisplay`.
    void UpdateErrorCounts();

private:
    const HandBoxNeeds& needs_;
    DriverState& state_;
};

}  // namespace kestrane
