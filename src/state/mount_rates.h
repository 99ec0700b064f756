#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "catalogue/ks_mount.h"
#include "catalogue/rate_tables.h"
#include "forms/frm_hand_box.h"
#include "forms/frm_init_mount.h"
#include "forms/frm_initial_setup.h"
#include "kernel/base/log.h"
#include "settings/persist.h"
#include "state/driver_state.h"
#include "state/essentials.h"

namespace kestrane {

struct MountRatesNeeds {
    Essentials driver;
    KsMount& mount;
    frmHandBox& handBox;
    frmInitialSetup& initialSetup;
    frmInitMount& initMount;
};

enum class RebuildRates { WhenTypeIsNew, Always };

/// The rate tables in use and the lists that are filled from them. Logic thread only.
class MountRates {
public:
    explicit MountRates(MountRatesNeeds needs) : needs_(needs), driver_(needs_.driver) {}

    /// Builds the tables for a rate type ("", "0" to "3") when it differs from the one in use, when there are none yet,
    /// or always; then fills the lists and stores the type as `MountRateType`, unless it was stored last already or is
    /// an empty one that was to be built always. Any other type gives the legacy rows and, the first time, an error in
    /// the log; the type in use, its setting and the lists stay as they were.
    void UpdateMountRates(std::string_view type, RebuildRates rebuild = RebuildRates::WhenTypeIsNew);

    /// Whether the mount has not reported its rate type: "" and "unknown".
    bool IsRateTypeOpen() const;

    /// Empty until the first `UpdateMountRates`.
    const MountRateCollection& guideRateCollection() const { return guide_; }
    const MountRateCollection& centeringRateCollection() const { return centering_; }
    const MountRateCollection& slewRateCollection() const { return slew_; }

private:
    void LogRates(std::string_view origin, const MountRateCollection& rates);
    void FillLists();
    void Fill(ComboBox& list, const std::vector<std::string>& texts, const SettingKey& selection);

    MountRatesNeeds needs_;
    Essentials driver_;
    std::optional<MountRatesFactory> factory_;
    std::optional<std::string> stored_;   ///< the type that was stored last
    std::set<std::string> unknownTypes_;  ///< they are logged once
    MountRateCollection guide_, centering_, slew_;
};

}  // namespace kestrane
