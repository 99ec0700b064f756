#pragma once

#include <functional>
#include <optional>

#include "forms/frm_hand_box.h"
#include "forms/questions.h"
#include "platform/system_services.h"
#include "state/essentials.h"
#include "state/mount_queries.h"
#include "telescope/telescope.h"
#include "ui/hand_box_panel.h"

namespace kestrane {

struct ParkButtonsNeeds {
    Essentials driver;
    MessageBoxes& messageBoxes;
    Questions& questions;
    frmHandBox& handBox;
    HandBoxPanel& panel;
    MountQueries& queries;
    std::function<Telescope*()> telescope;  ///< the driver's own object; null while there is none
};

/// What the buttons of the hand box do that park the mount and that keep where it stands. Logic thread only.
class ParkButtons {
public:
    /// Sets the two actions of the panel, which must not run any more once this object has gone.
    explicit ParkButtons(ParkButtonsNeeds needs);

private:
    void Park();
    void ParkAt(std::int16_t index);
    ParkPlace PlaceNow() const;
    void SetPark();
    void KeepPlace(const ParkPlace& place);
    bool MayBeParkedAt(const ParkPlace& place);

    ParkButtonsNeeds needs_;
    Essentials driver_;
    DriverState& state_;
    std::optional<ParkPlace> pressedAt_;  ///< where the mount pointed when a person asked to keep that
};

}  // namespace kestrane
