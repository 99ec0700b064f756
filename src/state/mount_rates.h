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
    /// or always; then fills the lists and stores the type as `MountRateType`, unless that holds it already. A type
    /// that was to be built always is not stored when it is empty, or while the mount has told one. Any other type
    /// gives the legacy rows and, the first time, an error in the log; the type in use, its setting and the lists stay
    /// as they were.
    void UpdateMountRates(std::string_view type, RebuildRates rebuild = RebuildRates::WhenTypeIsNew);

    /// To be called when a link is opened: another mount may be at its end.
    void ForgetToldType() { told_ = false; }

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
    bool told_ = false;                   ///< the mount has told its type on this link
    std::set<std::string> unknownTypes_;  ///< they are logged once
    MountRateCollection guide_, centering_, slew_;
};

}  // namespace kestrane
