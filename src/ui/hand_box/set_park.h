#pragma once

#include <optional>

#include "ui/hand_box/button_actions.h"
#include "ui/hand_box/hand_box_needs.h"

namespace kestrane {

/// The button that keeps where the mount points as the user's own park position. Logic thread only.
class SetParkButton {
public:
    SetParkButton(const HandBoxNeeds& needs, ButtonActions& actions);

private:
    ParkPlace PlaceNow() const;
    void SetPark();
    void KeepPlace(const ParkPlace& place);
    bool MayBeParkedAt(const ParkPlace& place);

    const HandBoxNeeds& needs_;
    Essentials driver_;
    DriverState& state_;
    std::optional<ParkPlace> pressedAt_;  ///< where the mount pointed when a person asked to keep that
};

}  // namespace kestrane
