#pragma once

#include <functional>

#include "catalogue/ks_mount.h"
#include "forms/frm_hand_box.h"
#include "forms/frm_init_mount.h"
#include "forms/frm_initial_setup.h"
#include "forms/frm_status.h"
#include "forms/hand_box_actions.h"
#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "platform/clock.h"
#include "settings/persist.h"
#include "state/driver_state.h"
#include "state/mount_queries.h"
#include "telescope/telescope.h"

namespace kestrane {

struct HandBoxPanelNeeds {
    DriverState& state;
    Persist& persist;
    Log& log;
    Clock& clock;
    SwallowLedger& ledger;
    KsMount& mount;
    MountQueries& queries;
    frmHandBox& handBox;
    frmStatus& statusWindow;
    frmInitialSetup& initialSetup;
    frmInitMount& initMount;
    std::function<Telescope*()> telescope;  ///< the driver's own object; null while there is none
    /// Longitude (east positive) and latitude of the mount, degrees; false when it did not tell them.
    std::function<bool(double& longitude, double& latitude)> getMountLongLat;
};

/// The logic of the hand box: what it shows and what its controls do. Logic thread only.
class HandBoxPanel final : public HandBoxActions, public CounterView {
public:
    explicit HandBoxPanel(HandBoxPanelNeeds needs);

    // HandBoxActions, CounterView
    void UserShow() override;
    void UpdateControls() override;
    void UpdateRateLimits() override;
    void ShowMountFeatures() override;
    void SetParkStatus(std::string_view text, std::string_view origin) override;
    void SetParkToolTip(std::string_view text) override;
    void ShowTrackingRate(std::int16_t rate, bool corrected) override;
    void SetMeridianDelayUI(double hours) override;
    void GetLongLatFromMount(bool silent) override;
    void UpdateErrorCounts() override;
    void SlewFlashDisplay() override;
    void SetKingRateState() override;
    void RestoreTrackingRate(std::int16_t rate) override;

private:
    void OnLoad();

    HandBoxPanelNeeds needs_;
    DriverState& state_;
};

}  // namespace kestrane
