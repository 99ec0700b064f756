#include "ui/init_mount.h"

#include <algorithm>
#include <utility>

#include "catalogue/vocabulary.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "settings/site_text.h"
#include "telescope/mount/init_verb.h"
#include "ui/fixed_lists.h"

namespace kestrane {
namespace {

/// A box and what it switches on.
struct Input {
    CheckBox& box;
    std::vector<VisibleControl*> controls;
};

std::vector<Input> InputsOf(frmInitMount& form) {
    return {
        {form.chkUnpark, {&form.cbxUnparkFrom}},
        {form.chkSetLongLat, {&form.cbxSiteList}},
        {form.chkSetTrackingRate, {&form.cbxInitTrackingRate}},
        {form.chkSetSlewRate, {&form.cbxInitSlewRate, &form.txtCustomSlewRate}},
        {form.chkSetGuiderRate, {&form.cbxInitGuideRate}},
        {form.chkSetPEM, {&form.cbxInitPEM}},
        {form.chkSetRABacklash, {&form.txtInitRaBacklash}},
        {form.chkSetDecBacklash, {&form.txtInitDecBacklash}},
    };
}

/// Items with a "," between two. One with a value is left out where nothing is chosen.
class InitStringText {
public:
    void Add(const std::string& item) { text_ += (text_.empty() ? "" : ",") + item; }
    void Add(const CheckBox& box, std::string_view key, const ComboBox& list) {
        if (box.Checked() && list.ListIndex() >= 0) {
            Add(std::string(key) + "=" + std::to_string(list.ListIndex()));
        }
    }
    /// A comma would begin the next item, so a decimal one becomes a point.
    void Add(const CheckBox& box, std::string_view key, const TextBox& number) {
        if (box.Checked()) {
            Add(std::string(key) + "=" + ReplaceAll(number.Text(), ",", "."));
        }
    }
    const std::string& Text() const { return text_; }

private:
    std::string text_;
};

}  // namespace

InitMount::InitMount(InitMountNeeds needs)
    : needs_(std::move(needs)),
      driver_(needs_.driver),
      form_(needs_.form),
      kept_(form_, driver_.persist, Keeps::WhenStored) {
    KeepLists();
    KeepChoices();
    form_.chkUnpark.OnClick([this] { EnableInputs(); });
    form_.btnOK.OnClick([this] { Accept(); });
    form_.btnCancel.OnClick([this] { form_.Hide(); });
    needs_.panel.OnAction(ButtonAction::InitNow, [this] { AskAndInitialize(); });
}

void InitMount::KeepLists() {
    const auto trackingRates = [] { return std::vector<std::string>{"Lunar", "Solar", "Sidereal", "Zero"}; };
    const auto positions = [this] { return fixed_list::UnparkChoices(fixed_list::UserPlace(driver_.persist)); };
    kept_.Add(
        KeptList{.control = form_.cbxInitTrackingRate, .key = setting::cbxInitTrackingRate, .items = trackingRates});
    kept_.Add(KeptList{.control = form_.cbxUnparkFrom,
                       .key = setting::cbxUnparkFrom,
                       .items = positions,
                       .text = setting::cbxUnparkFromText});
    kept_.Add(KeptList{
        .control = form_.cbxInitSlewRate, .key = setting::cbxInitSlewRate, .changed = [this] { ShowCustomRate(); }});
    kept_.Add(KeptList{.control = form_.cbxInitGuideRate, .key = setting::cbxInitGuideRate});
    kept_.Add(KeptList{.control = form_.cbxInitPEM, .key = setting::cbxInitPEM, .items = fixed_list::Pem});
}

void InitMount::KeepChoices() {
    const auto keep = [this](CheckBox& box, const SettingKey& key) {
        kept_.Add(KeptCheck{box, key, [this] { EnableInputs(); }});
    };
    keep(form_.chkSyncMountToPCTime, setting::chkSyncMountToPCTime);
    keep(form_.chkSetLongLat, setting::chkSetLongLat);
    keep(form_.chkSetTrackingRate, setting::chkSetTrackingRate);
    keep(form_.chkSetSlewRate, setting::chkSetSlewRate);
    keep(form_.chkSetGuiderRate, setting::chkSetGuiderRate);
    keep(form_.chkSetPEM, setting::chkSetPEM);
    keep(form_.chkSetRABacklash, setting::chkSetRABacklash);
    keep(form_.chkSetDecBacklash, setting::chkSetDecBacklash);
    kept_.Add(KeptText{form_.txtCustomSlewRate, setting::txtCustomSlewRate});
    kept_.Add(KeptText{form_.txtInitRaBacklash, setting::txtInitRaBacklash});
    kept_.Add(KeptText{form_.txtInitDecBacklash, setting::txtInitDecBacklash});
}

void InitMount::EnableInputs() {
    for (const Input& input : InputsOf(form_)) {
        for (VisibleControl* const control : input.controls) {
            control->Enabled(input.box.Checked());
        }
    }
}

void InitMount::ShowCustomRate() {
    const bool custom = form_.cbxInitSlewRate.Text() == kCustomRate;
    form_.txtCustomSlewRate.Visible(custom);
    form_.lblCustomSlew.Visible(custom);
}

std::optional<std::string> InitMount::Ask() {
    if (form_.IsInUse()) {
        return std::nullopt;
    }
    Fill();
    needs_.modal.ShowModal(form_);
    form_.Unload();
    return form_.UserPressedOK ? std::optional(form_.MountInitString) : std::nullopt;
}

/// At each opening: other windows fill lists here long before, which loads this one.
void InitMount::Fill() {
    form_.UserPressedOK = false;
    form_.MountInitString.clear();
    form_.txtInitRaBacklash.ToolTip(fixed_list::kBacklashRange);
    form_.txtInitDecBacklash.ToolTip(fixed_list::kBacklashRange);
    kept_.Fill();
    FillSites();
    form_.chkUnpark.Checked(false);
    EnableInputs();
}

void InitMount::FillSites() {
    siteIds_.clear();
    std::vector<std::string> items;
    for (const std::optional<Site>& site : needs_.sites.g_Sites()) {
        if (site) {
            siteIds_.push_back(site->id);
            items.push_back(site->Name + "  ( " + site->Latitude + " | " + site->Longitude + " )");
        }
    }
    const auto current = std::ranges::find(siteIds_, needs_.sites.g_SiteDbIndex());
    form_.cbxSiteList.ListItems(std::move(items));
    form_.cbxSiteList.ListIndex(current == siteIds_.end() ? -1 : static_cast<std::int32_t>(current - siteIds_.begin()));
}

/// The initialization is a call of its own, posted by the press of OK: a stop before that was not meant for it, one
/// after it is.
void InitMount::AskAndInitialize() {
    if (!form_.IsInUse()) {
        initializes_ = true;
        Ask();
        initializes_ = false;
    }
}

void InitMount::Initialize(const std::string& text) {
    needs_.panel.RunAsLongCall([this, text] {
        Telescope* const telescope = needs_.telescope();
        if (telescope && driver_.waits.OvertakenByStop()) {
            telescope->DoesNotBegin("InitMount");
        } else if (telescope) {
            InitVerb(*telescope).InitMount(text);
        }
    });
}

/// A press that comes late, from a view that still shows the window, accepts nothing.
void InitMount::Accept() {
    if (!form_.Visible()) {
        return;
    }
    kept_.Store();
    TakeSite();
    form_.MountInitString = Chosen();
    form_.UserPressedOK = true;
    form_.Hide();
    if (initializes_ && !form_.MountInitString.empty()) {
        Initialize(form_.MountInitString);
    }
    needs_.panel.UpdateControls();
}

/// The site that was chosen becomes the current one, with its elevation. The one that is current already keeps that:
/// a client may have written another.
void InitMount::TakeSite() {
    const std::int32_t index = form_.cbxSiteList.ListIndex();
    if (index < 0) {
        return;
    }
    const std::int16_t id = siteIds_[static_cast<std::size_t>(index)];
    const bool isNew = needs_.sites.g_SiteDbIndex() != id;
    needs_.sites.g_SiteDbIndex(id);
    driver_.persist.Write(setting::SiteDbIndex, std::to_string(id));
    SiteNumbers numbers;
    if (isNew && needs_.sites.GetSiteNumbers(needs_.sites.CurrentSiteName(), numbers)) {
        driver_.state.g_dSiteElevation = numbers.elevation;
        driver_.persist.Write(setting::Elevation, PlainNumber(numbers.elevation));
    }
}

std::string InitMount::Chosen() const {
    InitStringText text;
    if (form_.chkSyncMountToPCTime.Checked()) {
        text.Add("SyncTime");
    }
    text.Add(form_.chkUnpark, "Unpark", form_.cbxUnparkFrom);
    if (const std::string site = SiteItem(); !site.empty()) {
        text.Add(site);
    }
    text.Add(form_.chkSetTrackingRate, "TrackingRate", form_.cbxInitTrackingRate);
    if (form_.cbxInitSlewRate.Text() == kCustomRate) {
        text.Add(form_.chkSetSlewRate, "CustomSlewRate", form_.txtCustomSlewRate);
    } else {
        text.Add(form_.chkSetSlewRate, "SlewRate", form_.cbxInitSlewRate);
    }
    text.Add(form_.chkSetGuiderRate, "GuideRate", form_.cbxInitGuideRate);
    text.Add(form_.chkSetPEM, "PEM", form_.cbxInitPEM);
    text.Add(form_.chkSetRABacklash, "RaBacklash", form_.txtInitRaBacklash);
    text.Add(form_.chkSetDecBacklash, "DecBacklash", form_.txtInitDecBacklash);
    return text.Text();
}

/// Empty without a site. A name that an init string cannot hold would begin other items.
std::string InitMount::SiteItem() const {
    const std::string name = needs_.sites.CurrentSiteName();
    if (!form_.chkSetLongLat.Checked() || name.empty()) {
        return {};
    }
    if (!IsGoodSiteName(name)) {
        driver_.log.LogMessage(form_.Name(), LogLevel::Warning,
                               "The site is not sent, since its name has a comma or an equals sign: '" + name + "'");
        return {};
    }
    return "Site=" + name;
}

}  // namespace kestrane
