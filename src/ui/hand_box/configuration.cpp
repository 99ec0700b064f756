#include "ui/hand_box/configuration.h"

#include <optional>

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "telescope/mount/mount_setup.h"
#include "ui/fixed_lists.h"

namespace kestrane {
namespace {

constexpr int kPemOff = 0;
constexpr int kPemOn = 1;
constexpr double kMostBacklash = 59.0;  ///< arc-seconds

}  // namespace

ConfigurationFrame::ConfigurationFrame(const HandBoxNeeds& needs, KeptControls& kept, ButtonActions& actions)
    : needs_(needs), driver_(needs.driver) {
    Keep(kept);
    WireVerbs(actions);
}

void ConfigurationFrame::Keep(KeptControls& kept) {
    frmHandBox& handBox = needs_.handBox;
    kept.Add(KeptList{.control = handBox.cbxInitGuideRate, .key = setting::cbxInitGuideRate});
    kept.Add(KeptList{.control = handBox.cbxInitSlewRate, .key = setting::cbxInitSlewRate});
    kept.Add(KeptList{.control = handBox.cbxInitPEM, .key = setting::cbxInitPEM, .items = fixed_list::Pem});
    kept.Add(KeptList{.control = handBox.cbxWindowsPriority,
                      .key = setting::cbxWindowsPriority,
                      .items = fixed_list::Priorities,
                      .changed = [this] { OnPriorityChange(); }});
    kept.Add(KeptCheck{handBox.chkEnableMountTracking, setting::chkEnableMountTracking});
    kept.Add(KeptCheck{handBox.chkKeepMountTimeSyncedToPcTime, setting::chkKeepMountTimeSyncedToPcTime});
    kept.Add(KeptCheck{handBox.chkSynchronousPulseGuide, setting::chkSynchronousPulseGuide, [this] {
                           driver_.state.g_bSynchronousPulseGuide = needs_.handBox.chkSynchronousPulseGuide.Checked();
                       }});
    kept.Add(KeptCheck{.control = handBox.chkUseRCAL, .key = setting::chkUseRCAL, .mayClear = [this] {
                           return needs_.askForPlainSyncs();
                       }});
    kept.Add(KeptCheck{handBox.chkCalcAzAlt, setting::chkCalcAzAlt});
    kept.Add(KeptCheck{handBox.chkCalcLST, setting::chkCalcLST});
    const auto isBacklash = [this](std::string_view text) {
        const std::optional<double> arcSeconds = PlainDecimal(text, driver_.log);
        return arcSeconds && *arcSeconds >= 0.0 && *arcSeconds <= kMostBacklash;
    };
    kept.Add(KeptText{handBox.txtInitRaBacklash, setting::txtInitRaBacklash, isBacklash});
    kept.Add(KeptText{handBox.txtInitDecBacklash, setting::txtInitDecBacklash, isBacklash});
    kept.Add(KeptText{handBox.txtCustomSlewRate, setting::txtCustomSlewRate});
    kept.Add(KeptText{handBox.txtScopeFocalLength, setting::txtScopeFocalLength});
    kept.Add(KeptText{handBox.txtScopeAperture, setting::txtScopeAperture});
}

/// Each button gives the mount the stored value, as the verb of its name does without an argument.
void ConfigurationFrame::WireVerbs(ButtonActions& actions) {
    const auto on = [&](ButtonAction action, std::function<void(MountSetup & mount)> give) {
        actions.On(action, [this, give] {
            if (Telescope* const telescope = needs_.telescope()) {
                MountSetup mount(*telescope);
                give(mount);
            }
        });
    };
    on(ButtonAction::SetGuideRate, [](MountSetup& mount) { mount.SetGuideRate(kOfSettings); });
    on(ButtonAction::SetSlewRate, [](MountSetup& mount) { mount.SetSlewRate(kOfSettings); });
    on(ButtonAction::SetPem, [](MountSetup& mount) { mount.SetPem(kOfSettings); });
    on(ButtonAction::SetRaBacklash, [](MountSetup& mount) { mount.SetRaBacklash(kOfSettings); });
    on(ButtonAction::SetDecBacklash, [](MountSetup& mount) { mount.SetDecBacklash(kOfSettings); });
    on(ButtonAction::SetAll, [](MountSetup& mount) {
        mount.SetSlewRate(kOfSettings);
        mount.SetGuideRate(kOfSettings);
        mount.SetPem(kOfSettings);
        mount.SetRaBacklash(kOfSettings);
        mount.SetDecBacklash(kOfSettings);
    });
    on(ButtonAction::EnablePem, [](MountSetup& mount) { mount.SetPem(kPemOn); });
    on(ButtonAction::DisablePem, [](MountSetup& mount) { mount.SetPem(kPemOff); });
    actions.On(ButtonAction::RecordPem, [this] {
        if (Telescope* const telescope = needs_.telescope()) {
            telescope->CommandBlindInternal(wire::PemRecord.With("").OnTheWire(), true);
        }
    });
}

void ConfigurationFrame::Load() {
    frmHandBox& handBox = needs_.handBox;
    handBox.chkEnableDebugLog.Checked(driver_.state.g_bDebugLog);
    handBox.chkUseRCAL.Checked(driver_.persist.ReadFlag(setting::chkUseRCAL));
    handBox.chkCalcAzAlt.Checked(driver_.persist.ReadFlag(setting::chkCalcAzAlt));
    handBox.chkCalcLST.Checked(driver_.persist.ReadFlag(setting::chkCalcLST));
    handBox.chkEnableKingRate.Checked(driver_.persist.ReadFlag(setting::chkEnableKingRate));
    handBox.customRateLimit = driver_.state.g_dMaxMoveRate;
    needs_.applyWindowsPriority(StoredNumber(driver_.persist, setting::cbxWindowsPriority));
}

void ConfigurationFrame::OnPriorityChange() {
    if (!needs_.handBox.IsFilling()) {
        needs_.applyWindowsPriority(needs_.handBox.cbxWindowsPriority.ListIndex());
    }
}

}  // namespace kestrane
