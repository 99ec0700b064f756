#include "ui/setup/setup_options.h"

#include <string>
#include <utility>
#include <vector>

#include "catalogue/vocabulary.h"
#include "ui/colours.h"
#include "ui/fixed_lists.h"

namespace kestrane {
namespace {

constexpr std::int32_t kDefaultRate = 2;

struct CheckRow {
    CheckBox frmInitialSetup::*box;
    SettingKey key;
};

/// All but `chkUseRCAL`, which has a question of its own.
constexpr CheckRow kChecks[] = {
    {&frmInitialSetup::chkSetLongLat, setting::chkSetLongLat},
    {&frmInitialSetup::chkSyncMountToPCTime, setting::chkSyncMountToPCTime},
    {&frmInitialSetup::chkSetGuiderRate, setting::chkSetGuiderRate},
    {&frmInitialSetup::chkSetPEM, setting::chkSetPEM},
    {&frmInitialSetup::chkSetSlewRate, setting::chkSetSlewRate},
    {&frmInitialSetup::chkSetRABacklash, setting::chkSetRABacklash},
    {&frmInitialSetup::chkSetDecBacklash, setting::chkSetDecBacklash},
    {&frmInitialSetup::chkEnableDebugLog, setting::chkEnableDebugLog},
    {&frmInitialSetup::chkEnableMountTracking, setting::chkEnableMountTracking},
    {&frmInitialSetup::chkKeepMountTimeSyncedToPcTime, setting::chkKeepMountTimeSyncedToPcTime},
    {&frmInitialSetup::chkShowInTaskBar, setting::chkShowInTaskBar},
    {&frmInitialSetup::chkShowPulseGuideMovements, setting::chkShowPulseGuideMovements},
    {&frmInitialSetup::chkAutoEnableTracking, setting::chkAutoEnableTracking},
    {&frmInitialSetup::chkAutoCalibrateOnFirstSlew, setting::chkAutoCalibrateOnFirstSlew},
    {&frmInitialSetup::chkRaMoveAxisOfZeroStopsTracking, setting::chkRaMoveAxisOfZeroStopsTracking},
    {&frmInitialSetup::chkNewVersion, setting::chkNewVersion},
    {&frmInitialSetup::chkAlwaysOnTop, setting::chkAlwaysOnTop},
    {&frmInitialSetup::chkRememberPosition, setting::chkRememberPosition},
    {&frmInitialSetup::chkAsyncPark, setting::chkAsyncPark},
    {&frmInitialSetup::MinimizeStatusWindow, setting::MinimizeStatusWindow},
};

std::vector<std::string> GuideRates() {
    std::vector<std::string> texts;
    for (const GuideRateRow& row : kGuideRates) {
        texts.emplace_back(row.text);
    }
    return texts;
}

void FillIfEmpty(ComboBox& list, std::vector<std::string> items) {
    if (list.ListItems().empty()) {
        list.ListItems(std::move(items));
    }
}

}  // namespace

bool CustomRateIsChosen(const frmInitialSetup& form) {
    return form.cbxInitSlewRate.Text() == kCustomRate;
}

SetupOptions::SetupOptions(SetupNeeds& needs, KeptControls& kept) : needs_(needs), form_(needs.form) {
    KeepChecks(kept);
    KeepLists(kept);
    kept.Add(KeptText{form_.txtScopeAperture, setting::txtScopeAperture});
    kept.Add(KeptText{form_.txtScopeFocalLength, setting::txtScopeFocalLength});
    kept.Add(KeptText{form_.txtCustomSlewRate, setting::txtCustomSlewRate});
    kept.Add(KeptText{form_.txtInitRaBacklash, setting::txtInitRaBacklash});
    kept.Add(KeptText{form_.txtInitDecBacklash, setting::txtInitDecBacklash});
    form_.btnResetToDefaults.OnClick([this] { ResetToDefaults(); });
}

void SetupOptions::KeepChecks(KeptControls& kept) {
    for (const CheckRow& row : kChecks) {
        kept.Add(KeptCheck{form_.*row.box, row.key});
    }
    kept.Add(KeptCheck{.control = form_.chkUseRCAL, .key = setting::chkUseRCAL, .mayClear = [this] {
                           return needs_.rcalSyncWarning.AskForPlainSyncs();
                       }});
}

// clang-format off
void SetupOptions::KeepLists(KeptControls& kept) {
    const auto userPlace = [this] { return fixed_list::UserPlace(needs_.driver.persist); };
    const auto parkTo = [userPlace] { return fixed_list::PlacesToParkAt(userPlace()); };
    const auto unparkFrom = [userPlace] { return fixed_list::UnparkChoices(userPlace()); };
    kept.Add(KeptList{.control = form_.cbxInitGuideRate, .key = setting::cbxInitGuideRate});
    kept.Add(KeptList{.control = form_.cbxInitSlewRate, .key = setting::cbxInitSlewRate,
                      .changed = [this] { ShowCustomRate(); }});
    kept.Add(KeptList{.control = form_.cbxInitPEM, .key = setting::cbxInitPEM, .items = fixed_list::Pem});
    kept.Add(KeptList{.control = form_.cbxWindowsPriority, .key = setting::cbxWindowsPriority,
                      .items = fixed_list::Priorities});
    kept.Add(KeptList{.control = form_.cbxParkTo, .key = setting::cbxParkTo, .items = parkTo,
                      .text = setting::cbxParkToText});
    kept.Add(KeptList{.control = form_.cbxUnparkFrom, .key = setting::cbxUnparkFrom, .items = unparkFrom,
                      .text = setting::cbxUnparkFromText});
}
// clang-format on

/// The rates of the mount are filled in by the tables in use, once there are any.
void SetupOptions::Fill() {
    FillIfEmpty(form_.cbxInitGuideRate, GuideRates());
    FillIfEmpty(form_.cbxInitSlewRate, {"300x", "450x", "600x", "900x", "1200x", std::string(kCustomRate)});
    form_.txtInitRaBacklash.ToolTip(fixed_list::kBacklashRange);
    form_.txtInitDecBacklash.ToolTip(fixed_list::kBacklashRange);
}

void SetupOptions::ShowCustomRate() {
    const bool chosen = CustomRateIsChosen(form_);
    form_.lblCustomSlew.Visible(chosen);
    form_.txtCustomSlewRate.Visible(chosen);
}

void SetupOptions::ResetToDefaults() {
    for (const CheckRow& row : kChecks) {
        (form_.*row.box).Checked(row.key.fallback == "1");
    }
    form_.chkUseRCAL.Checked(setting::chkUseRCAL.fallback == "1");
    form_.txtInitRaBacklash.Text("0");
    form_.txtInitDecBacklash.Text("0");
    form_.cbxInitGuideRate.ListIndex(kDefaultRate);
    form_.cbxInitSlewRate.ListIndex(kDefaultRate);
    form_.cbxParkTo.ListIndex(0);
    form_.cbxUnparkFrom.ListIndex(0);
    form_.txtConnectTimeout.Text("1");
    Paint(form_.txtConnectTimeout, kNormalColours);
}

}  // namespace kestrane
