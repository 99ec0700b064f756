#pragma once

#include <string_view>

#include "catalogue/ks_mount.h"
#include "forms/frm_hand_box.h"
#include "forms/frm_init_mount.h"
#include "forms/frm_initial_setup.h"
#include "kernel/base/log.h"
#include "settings/persist.h"
#include "state/driver_state.h"

namespace kestrane {

struct MountRatesNeeds {
    DriverState& state;
    Persist& persist;
    Log& log;
    KsMount& mount;
    frmHandBox& handBox;
    frmInitialSetup& initialSetup;
    frmInitMount& initMount;
};

/// The rate tables in force and the lists that are filled from them. Logic thread only.
class MountRates {
public:
    explicit MountRates(MountRatesNeeds needs) : needs_(needs) {}

    /// Builds the tables for a rate type ("", "0" to "3"; others give the legacy rows and a line in the log) when it
    /// differs from the one in force, when there are none yet, or by force.
    void UpdateMountRates(std::string_view type, bool force);

private:
    MountRatesNeeds needs_;
};

}  // namespace kestrane
