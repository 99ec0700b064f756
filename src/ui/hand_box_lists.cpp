#include <algorithm>
#include <utility>
#include <vector>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "ui/hand_box_panel.h"

namespace kestrane {
namespace {

constexpr std::string_view kAltAz = "Alt/Az";
constexpr std::int32_t kAltAzIndex = 6;
constexpr std::int32_t kOldAltAzIndex = 5;  ///< its index in settings that keep no text beside it

constexpr std::string_view kPem[] = {"Disable PEM", "Enable PEM"};
constexpr std::string_view kPriorities[] = {"High", "Above Normal", "Normal", "Below Normal", "Low"};
constexpr std::string_view kParkTo[] = {"Current Position", "Park 1", "Park 2", "Park 3", "Park 4", "Park 5", kAltAz};
constexpr std::string_view kUnparkFrom[] = {"Last Parked", "Park 1", "Park 2", "Park 3",
                                            "Park 4",      "Park 5", kAltAz,   "Don't Unpark"};

}  // namespace

// clang-format off
std::span<const HandBoxPanel::CheckRow> HandBoxPanel::CheckRows() {
    static constexpr CheckRow rows[] = {
        {&frmHandBox::chkSlewEast, setting::chkSlewEast},
        {&frmHandBox::chkConvertAltAzToRaDec, setting::chkConvertAltAzToRaDec},
        {&frmHandBox::chkSwapEW, setting::chkSwapEW},
        {&frmHandBox::chkSwapNS, setting::chkSwapNS},
        {&frmHandBox::chkRotate90, setting::chkRotate90},
        {&frmHandBox::chkEnableKingRate, setting::chkEnableKingRate, &HandBoxPanel::OnKingRateChange},
        {&frmHandBox::chkEnableMountTracking, setting::chkEnableMountTracking},
        {&frmHandBox::chkKeepMountTimeSyncedToPcTime, setting::chkKeepMountTimeSyncedToPcTime},
        {&frmHandBox::chkSynchronousPulseGuide, setting::chkSynchronousPulseGuide,
         &HandBoxPanel::OnSynchronousPulseChange},
        {&frmHandBox::chkUseRCAL, setting::chkUseRCAL, nullptr, &HandBoxPanel::MayClearRcal},
        {&frmHandBox::chkCalcAzAlt, setting::chkCalcAzAlt},
        {&frmHandBox::chkCalcLST, setting::chkCalcLST},
        {&frmHandBox::chkReverseFocusDirection, setting::Focus_chkReverseFocusDirection, &HandBoxPanel::OnFocuserChange},
        {&frmHandBox::chkShowAllControls, setting::chkShowAllControls, &HandBoxPanel::OnShowAllChange},
    };
    return rows;
}

std::span<const HandBoxPanel::TextRow> HandBoxPanel::TextRows() {
    static constexpr TextRow rows[] = {
        {&frmHandBox::txtSlewEastFirstHours, setting::txtSlewEastFirstHours},
        {&frmHandBox::txtUserParkAlt, setting::txtUserParkAlt, nullptr, &HandBoxPanel::OnUserParkChange},
        {&frmHandBox::txtUserParkAz, setting::txtUserParkAz, nullptr, &HandBoxPanel::OnUserParkChange},
        {&frmHandBox::txtRaCustom, setting::txtRaCustom, &HandBoxPanel::CustomRateIsGood},
        {&frmHandBox::txtDecCustom, setting::txtDecCustom, &HandBoxPanel::CustomRateIsGood},
        {&frmHandBox::txtInitRaBacklash, setting::txtInitRaBacklash},
        {&frmHandBox::txtInitDecBacklash, setting::txtInitDecBacklash},
        {&frmHandBox::txtCustomSlewRate, setting::txtCustomSlewRate},
        {&frmHandBox::txtScopeFocalLength, setting::txtScopeFocalLength},
        {&frmHandBox::txtScopeAperture, setting::txtScopeAperture},
        {&frmHandBox::txtMeridianDelay, setting::txtMeridianDelay},
        {&frmHandBox::txtBacklashMSecs, setting::Focus_txtBacklashMSecs, &HandBoxPanel::IsWholeNumber, &HandBoxPanel::OnFocuserChange},
        {&frmHandBox::txtStepMultiplierMSecs, setting::Focus_txtStepMultiplierMSecs, &HandBoxPanel::IsWholeNumber,
         &HandBoxPanel::OnFocuserChange},
        {&frmHandBox::txtMaxIncrementMSecs, setting::Focus_txtMaxIncrementMSecs, &HandBoxPanel::IsWholeNumber,
         &HandBoxPanel::OnFocuserChange},
    };
    return rows;
}

std::span<const HandBoxPanel::ListRow> HandBoxPanel::ListRows() {
    static constexpr ListRow rows[] = {
        {&frmHandBox::cbxMoveRate, setting::cbxMoveRate},
        {&frmHandBox::cbxInitGuideRate, setting::cbxInitGuideRate},
        {&frmHandBox::cbxInitSlewRate, setting::cbxInitSlewRate},
        {&frmHandBox::cbxInitPEM, setting::cbxInitPEM, kPem},
        {&frmHandBox::cbxWindowsPriority, setting::cbxWindowsPriority, kPriorities, nullptr, &HandBoxPanel::OnPriorityChange},
        {&frmHandBox::cbxParkTo, setting::cbxParkTo, kParkTo, &setting::cbxParkToText, &HandBoxPanel::EnableUserPark},
        {&frmHandBox::cbxUnparkFrom, setting::cbxUnparkFrom, kUnparkFrom, &setting::cbxUnparkFromText,
         &HandBoxPanel::EnableUserPark},
    };
    return rows;
}

std::span<const HandBoxPanel::OptionRow> HandBoxPanel::OptionRows() {
    static constexpr OptionRow rows[] = {
        {&frmHandBox::radFocusFast, &frmHandBox::radFocusSlow, setting::Focus_radFocusFast, &HandBoxPanel::OnFocuserChange},
        {&frmHandBox::radFocusFinalDirectionIn, &frmHandBox::radFocusFinalDirectionOut,
         setting::Focus_radFocusFinalDirectionIn, &HandBoxPanel::OnFocuserChange},
    };
    return rows;
}
// clang-format on

void HandBoxPanel::WireSettings() {
    for (const CheckRow& row : CheckRows()) {
        (needs_.handBox.*row.control).OnClick([this, &row] { OnCheck(row); });
    }
    for (const TextRow& row : TextRows()) {
        (needs_.handBox.*row.control).OnChange([this, &row] { OnText(row); });
    }
    for (const ListRow& row : ListRows()) {
        (needs_.handBox.*row.control).OnClick([this, &row] { OnList(row); });
    }
    for (const OptionRow& row : OptionRows()) {
        const auto keep = [this, &row] { OnOption(row); };
        (needs_.handBox.*row.whenTrue).OnClick(keep);
        (needs_.handBox.*row.whenFalse).OnClick(keep);
    }
    needs_.handBox.hscrReticleBrightness.OnChange([this] {
        const std::string value = std::to_string(needs_.handBox.hscrReticleBrightness.Value());
        needs_.handBox.lblBrightness.Text(value);
        Keep(setting::hscrReticleBrightness, value);
    });
}

void HandBoxPanel::OnText(const TextRow& row) {
    const std::string text = (needs_.handBox.*row.control).Text();
    if (!row.good || (this->*row.good)(text)) {
        Keep(row.key, text);
        if (row.changed) {
            (this->*row.changed)();
        }
    }
}

void HandBoxPanel::OnList(const ListRow& row) {
    const ComboBox& box = needs_.handBox.*row.control;
    if (box.ListIndex() >= 0) {
        Keep(row.key, std::to_string(box.ListIndex()));
        if (row.text) {
            Keep(*row.text, box.Text());
        }
    }
    if (row.changed) {
        (this->*row.changed)();
    }
}

void HandBoxPanel::OnOption(const OptionRow& row) {
    Keep(row.key, TrueFalse((needs_.handBox.*row.whenTrue).Checked()));
    if (row.changed) {
        (this->*row.changed)();
    }
}

void HandBoxPanel::OnCheck(const CheckRow& row) {
    CheckBox& box = needs_.handBox.*row.control;
    if (row.mayClear && needs_.handBox.fillings == 0 && !box.Checked()) {
        const bool clears = (this->*row.mayClear)();
        const FillsHandBox filling(needs_.handBox);
        box.Checked(!clears);  // the answer counts, also where the box was filled anew meanwhile
    }
    Keep(row.key, ZeroOrOne(box.Checked()));
    if (row.changed) {
        (this->*row.changed)();
    }
}

void HandBoxPanel::Keep(const SettingKey& key, std::string_view value) {
    if (needs_.handBox.fillings == 0) {
        driver_.persist.Write(key, value);
    }
}

void HandBoxPanel::UpdateControls() {
    frmHandBox& handBox = needs_.handBox;
    handBox.EnsureLoaded();
    const FillsHandBox filling(handBox);
    for (const ListRow& row : ListRows()) {
        FillList(row);
    }
    for (const CheckRow& row : CheckRows()) {
        (handBox.*row.control).Checked(driver_.persist.ReadFlag(row.key));
    }
    handBox.chkEnableDebugLog.Checked(state_.g_bDebugLog);
    for (const TextRow& row : TextRows()) {
        TextBox& box = handBox.*row.control;
        const std::string fallback = row.key.fallback.empty() ? box.Text() : std::string(row.key.fallback);
        box.Text(driver_.persist.ReadIniValue(row.key.name, fallback));
    }
    for (const OptionRow& row : OptionRows()) {
        const std::string stored = driver_.persist.Read(row.key);
        const bool value = (stored.empty() ? row.key.fallback : stored) == "True";
        (handBox.*(value ? row.whenTrue : row.whenFalse)).Checked(true);
    }
    ResetReticleBrightness();
    FillMountLabels();
    ShowFrames();
}

void HandBoxPanel::FillList(const ListRow& row) {
    ComboBox& box = needs_.handBox.*row.control;
    if (!row.items.empty()) {
        box.ListItems(std::vector<std::string>(row.items.begin(), row.items.end()));
    }
    const auto last = static_cast<std::int32_t>(box.ListItems().size()) - 1;
    std::int32_t index = StoredNumber(row.key);
    if (row.text && index == kOldAltAzIndex && driver_.persist.Read(*row.text).empty()) {
        index = kAltAzIndex;
    }
    box.ListIndex(std::min(index, last));
    if (row.changed) {
        (this->*row.changed)();
    }
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
    if (needs_.handBox.fillings == 0) {
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
    const FillsHandBox filling(needs_.handBox);
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

std::int32_t HandBoxPanel::NumberOf(std::string_view text) {
    constexpr double kLimit = 1e6;
    return RoundHalfEven(std::clamp(Val_Global(text, driver_.log), -kLimit, kLimit));
}

std::int32_t HandBoxPanel::StoredNumber(const SettingKey& key) {
    return NumberOf(driver_.persist.Read(key));
}

void HandBoxPanel::ResetReticleBrightness() {
    needs_.handBox.hscrReticleBrightness.Value(StoredNumber(setting::hscrReticleBrightness));
    needs_.handBox.lblBrightness.Text(std::to_string(needs_.handBox.hscrReticleBrightness.Value()));
}

}  // namespace kestrane
