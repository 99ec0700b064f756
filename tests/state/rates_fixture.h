#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "forms/frm_init_mount.h"
#include "forms/frm_initial_setup.h"
#include "state/controller_features.h"
#include "state/mount_rates.h"
#include "state_fixture.h"

namespace kestrane {

/// The rates and the controller's features with the windows that they fill. As in a process that has just started, the
/// rate type is "unknown" and no tables are built.
class RatesFixture : public StateFixture {
protected:
    RatesFixture() { state.g_sMountRateType = "unknown"; }

    std::string Setting(std::string_view key) { return persist.ReadIniValue(key, "none"); }
    /// Lines of `UpdateMountRates` that report tables built.
    int Builds() const {
        int builds = 0;
        for (const std::string& line : logged) {
            builds += line.starts_with("UpdateMountRates|0|Created mount rate lists") ? 1 : 0;
        }
        return builds;
    }

    KsMount catalogue;
    frmInitialSetup initialSetup{machine.pump};
    frmInitMount initMount;
    MountRates rates{MountRatesNeeds{
        .driver = essentials,
        .mount = catalogue,
        .handBox = handBox,
        .initialSetup = initialSetup,
        .initMount = initMount,
    }};
    ControllerFeatures controller{ControllerFeaturesNeeds{
        .driver = essentials,
        .mount = catalogue,
        .rates = rates,
        .handBox = handBox,
        .initialSetup = initialSetup,
        .initMount = initMount,
        .panel = panel,
    }};
};

}  // namespace kestrane
