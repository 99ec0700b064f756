#include <span>
#include <vector>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "ui/hand_box_panel.h"

namespace kestrane {
namespace {

constexpr std::string_view kAltAz = "Alt/Az";
constexpr std::string_view kPem[] = {"Disable PEM", "Enable PEM"};
constexpr std::string_view kPriorities[] = {"High", "Above Normal", "Normal", "Below Normal", "Low"};
constexpr std::string_view kParkTo[] = {"Current Position", "Park 1", "Park 2", "Park 3", "Park 4", "Park 5", kAltAz};
constexpr std::string_view kUnparkFrom[] = {"Last Parked", "Park 1", "Park 2", "Park 3",
                                            "Park 4",      "Park 5", kAltAz,   "Don't Unpark"};

std::function<std::vector<std::string>()> Fixed(std::span<const std::string_view> items) {
    return [items] { return std::vector<std::string>(items.begin(), items.end()); };
}

}  // namespace

void HandBoxPanel::WireSettings() {
    KeepLists();
    KeepChecks();
    KeepTexts();
    KeepOptions();
    kept_.Add(
        KeptScroll{needs_.handBox.hscrReticleBrightness, setting::hscrReticleBrightness, [this] { ShowBrightness(); }});
}

// clang-format off
void HandBoxPanel::KeepLists() {
    frmHandBox& handBox = needs_.handBox;
    const auto enableUserPark = [this] { EnableUserPark(); };
    kept_.Add(KeptList{.control = handBox.cbxMoveRate, .key = setting::cbxMoveRate});
    kept_.Add(KeptList{.control = handBox.cbxInitGuideRate, .key = setting::cbxInitGuideRate});
    kept_.Add(KeptList{.control = handBox.cbxInitSlewRate, .key = setting::cbxInitSlewRate});
    kept_.Add(KeptList{.control = handBox.cbxInitPEM, .key = setting::cbxInitPEM, .items = Fixed(kPem)});
    kept_.Add(KeptList{.control = handBox.cbxWindowsPriority, .key = setting::cbxWindowsPriority,
                       .items = Fixed(kPriorities), .changed = [this] { OnPriorityChange(); }});
    kept_.Add(KeptList{.control = handBox.cbxParkTo, .key = setting::cbxParkTo, .items = Fixed(kParkTo),
                       .text = setting::cbxParkToText, .changed = enableUserPark});
    kept_.Add(KeptList{.control = handBox.cbxUnparkFrom, .key = setting::cbxUnparkFrom, .items = Fixed(kUnparkFrom),
                       .text = setting::cbxUnparkFromText, .changed = enableUserPark});
}

void HandBoxPanel::KeepChecks() {
    frmHandBox& handBox = needs_.handBox;
    kept_.Add(KeptCheck{handBox.chkSlewEast, setting::chkSlewEast});
    kept_.Add(KeptCheck{handBox.chkConvertAltAzToRaDec, setting::chkConvertAltAzToRaDec});
    kept_.Add(KeptCheck{handBox.chkSwapEW, setting::chkSwapEW});
    kept_.Add(KeptCheck{handBox.chkSwapNS, setting::chkSwapNS});
    kept_.Add(KeptCheck{handBox.chkRotate90, setting::chkRotate90});
    kept_.Add(KeptCheck{handBox.chkEnableKingRate, setting::chkEnableKingRate, [this] { OnKingRateChange(); }});
    kept_.Add(KeptCheck{handBox.chkEnableMountTracking, setting::chkEnableMountTracking});
    kept_.Add(KeptCheck{handBox.chkKeepMountTimeSyncedToPcTime, setting::chkKeepMountTimeSyncedToPcTime});
    kept_.Add(KeptCheck{handBox.chkSynchronousPulseGuide, setting::chkSynchronousPulseGuide,
                        [this] { OnSynchronousPulseChange(); }});
    kept_.Add(KeptCheck{.control = handBox.chkUseRCAL, .key = setting::chkUseRCAL,
                        .mayClear = [this] { return needs_.askForPlainSyncs(); }});
    kept_.Add(KeptCheck{handBox.chkCalcAzAlt, setting::chkCalcAzAlt});
    kept_.Add(KeptCheck{handBox.chkCalcLST, setting::chkCalcLST});
    kept_.Add(KeptCheck{handBox.chkReverseFocusDirection, setting::Focus_chkReverseFocusDirection,
                        [this] { OnFocuserChange(); }});
    kept_.Add(KeptCheck{handBox.chkShowAllControls, setting::chkShowAllControls, [this] { OnShowAllChange(); }});
}

void HandBoxPanel::KeepTexts() {
    frmHandBox& handBox = needs_.handBox;
    const auto isCustomRate = [this](std::string_view text) { return CustomRateIsGood(text); };
    const auto onUserPark = [this] { OnUserParkChange(); };
    const auto onFocuser = [this] { OnFocuserChange(); };
    kept_.Add(KeptText{handBox.txtSlewEastFirstHours, setting::txtSlewEastFirstHours});
    kept_.Add(KeptText{.control = handBox.txtUserParkAlt, .key = setting::txtUserParkAlt, .changed = onUserPark});
    kept_.Add(KeptText{.control = handBox.txtUserParkAz, .key = setting::txtUserParkAz, .changed = onUserPark});
    kept_.Add(KeptText{handBox.txtRaCustom, setting::txtRaCustom, isCustomRate});
    kept_.Add(KeptText{handBox.txtDecCustom, setting::txtDecCustom, isCustomRate});
    kept_.Add(KeptText{handBox.txtInitRaBacklash, setting::txtInitRaBacklash});
    kept_.Add(KeptText{handBox.txtInitDecBacklash, setting::txtInitDecBacklash});
    kept_.Add(KeptText{handBox.txtCustomSlewRate, setting::txtCustomSlewRate});
    kept_.Add(KeptText{handBox.txtScopeFocalLength, setting::txtScopeFocalLength});
    kept_.Add(KeptText{handBox.txtScopeAperture, setting::txtScopeAperture});
    kept_.Add(KeptText{handBox.txtMeridianDelay, setting::txtMeridianDelay});
    kept_.Add(KeptText{handBox.txtBacklashMSecs, setting::Focus_txtBacklashMSecs, IsAllDigits, onFocuser});
    kept_.Add(KeptText{handBox.txtStepMultiplierMSecs, setting::Focus_txtStepMultiplierMSecs, IsAllDigits, onFocuser});
    kept_.Add(KeptText{handBox.txtMaxIncrementMSecs, setting::Focus_txtMaxIncrementMSecs, IsAllDigits, onFocuser});
}

void HandBoxPanel::KeepOptions() {
    frmHandBox& handBox = needs_.handBox;
    const auto onFocuser = [this] { OnFocuserChange(); };
    kept_.Add(KeptOption{handBox.radFocusFast, handBox.radFocusSlow, setting::Focus_radFocusFast, onFocuser});
    kept_.Add(KeptOption{handBox.radFocusFinalDirectionIn, handBox.radFocusFinalDirectionOut,
                         setting::Focus_radFocusFinalDirectionIn, onFocuser});
}
// clang-format on

void HandBoxPanel::UpdateControls() {
    frmHandBox& handBox = needs_.handBox;
    handBox.EnsureLoaded();
    const FillsForm filling(handBox);
    kept_.Fill();
    handBox.chkEnableDebugLog.Checked(state_.g_bDebugLog);
    ShowBrightness();
    FillMountLabels();
    ShowFrames();
}

void HandBoxPanel::EnableUserPark() {
    frmHandBox& handBox = needs_.handBox;
    const bool used = handBox.cbxParkTo.Text() == kAltAz || handBox.cbxUnparkFrom.Text() == kAltAz;
    handBox.txtUserParkAlt.Enabled(used);
    handBox.txtUserParkAz.Enabled(used);
}

void HandBoxPanel::OnSynchronousPulseChange() {
    state_.g_bSynchronousPulseGuide = needs_.handBox.chkSynchronousPulseGuide.Checked();
}

void HandBoxPanel::OnPriorityChange() {
    if (!needs_.handBox.IsFilling()) {
        needs_.applyWindowsPriority(needs_.handBox.cbxWindowsPriority.ListIndex());
    }
}

void HandBoxPanel::FillMountLabels() {
    frmHandBox& handBox = needs_.handBox;
    handBox.lblMountType.Text(needs_.mount.Name());
    needs_.statusWindow.lblMountType.Text(needs_.mount.Name());
    needs_.statusWindow.lblControlBox.Text(needs_.mount.ControllerName);
    FillSite();
}

void HandBoxPanel::ShowCurrentSite() {
    needs_.handBox.EnsureLoaded();
    const FillsForm filling(needs_.handBox);
    FillSite();
}

void HandBoxPanel::FillSite() {
    frmHandBox& handBox = needs_.handBox;
    handBox.lblSiteTag.Text(needs_.sites.CurrentSiteName());
    if (const Site* const site = CurrentSite()) {
        handBox.txtSiteName.Text(site->Name);
        handBox.txtLatitude.Text(site->Latitude);
        handBox.txtLongitude.Text(site->Longitude);
        handBox.txtElevation.Text(PlainNumber(site->ElevationMeters));
    }
}

const Site* HandBoxPanel::CurrentSite() {
    const std::int16_t current = needs_.sites.g_SiteDbIndex();
    for (const std::optional<Site>& site : needs_.sites.g_Sites()) {
        if (site && site->id == current && current > 0) {
            return &*site;
        }
    }
    return nullptr;
}

void HandBoxPanel::ResetReticleBrightness() {
    needs_.handBox.hscrReticleBrightness.Value(StoredNumber(driver_.persist, setting::hscrReticleBrightness));
    ShowBrightness();
}

void HandBoxPanel::ShowBrightness() {
    needs_.handBox.lblBrightness.Text(std::to_string(needs_.handBox.hscrReticleBrightness.Value()));
}

}  // namespace kestrane
