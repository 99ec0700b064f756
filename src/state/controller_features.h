#pragma once

#include "catalogue/ks_mount.h"
#include "forms/frm_hand_box.h"
#include "forms/hand_box_actions.h"
#include "state/driver_state.h"
#include "state/mount_rates.h"

namespace kestrane {

struct ControllerFeaturesNeeds {
    DriverState& state;
    KsMount& mount;
    MountRates& rates;
    frmHandBox& handBox;
    HandBoxActions& panel;
};

/// What the choice of a controller changes elsewhere: the flags of its features, the rate tables, the controls that
/// are offered. Logic thread only.
class ControllerFeatures {
public:
    explicit ControllerFeatures(ControllerFeaturesNeeds needs) : needs_(needs) {}

    /// `major` and `minor` are the numbers of the firmware, 0 and 0 while it is not known.
    void Apply(Controller_Type controller, int major, int minor);

private:
    ControllerFeaturesNeeds needs_;
};

}  // namespace kestrane
