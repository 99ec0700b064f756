#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "catalogue/ks_mount.h"
#include "forms/frm_hand_box.h"
#include "forms/frm_init_mount.h"
#include "forms/frm_initial_setup.h"
#include "forms/hand_box_display.h"
#include "state/driver_state.h"
#include "state/essentials.h"
#include "state/mount_rates.h"

namespace kestrane {

/// Those of the five controllers, in their order.
std::vector<std::string> ControllerNames();

/// Reads the setting `Controller` for those who must not read settings.
void LoadControllerOption(const Essentials& driver);

struct ControllerFeaturesNeeds {
    Essentials driver;
    KsMount& mount;
    MountRates& rates;
    frmHandBox& handBox;
    frmInitialSetup& initialSetup;
    frmInitMount& initMount;
    HandBoxDisplay& panel;
};

/// What the choice of a controller changes elsewhere: the flags of its features, the rate tables, the controls that
/// are offered. Logic thread only.
class ControllerFeatures {
public:
    explicit ControllerFeatures(ControllerFeaturesNeeds needs) : needs_(needs), driver_(needs_.driver) {}

    /// `major` and `minor` are the numbers of the firmware, 0 and 0 while it is not known. The rate tables are rebuilt:
    /// for the newest controller those of type "3", for the others those of a mount that has not reported its rate
    /// type. No setting but `MountRateType` is written. A controller that is none of the five gets the features of the
    /// first and keeps the name shown.
    void Apply(Controller_Type controller, int major, int minor);
    /// How often that has happened: who applied last sees whether another did since.
    std::uint32_t TimesApplied() const { return timesApplied_; }

    /// Shows the upper bound of the custom slew rate that the model sets. `Apply` does it too.
    void ShowCustomSlewBounds();

private:
    void ShowIpLink(bool offered);
    void ShowControls();

    ControllerFeaturesNeeds needs_;
    Essentials driver_;
    std::uint32_t timesApplied_ = 0;
};

}  // namespace kestrane
