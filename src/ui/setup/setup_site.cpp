#include "ui/setup/setup_site.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "settings/database.h"

namespace kestrane {
namespace {

constexpr std::size_t kDegreeWidth = 2;
constexpr std::int32_t kNorthEast = 0;  // in both lists of hemispheres
constexpr std::int32_t kSouthWest = 1;

/// "N 47 0 0.0" with the texts as they stand in the fields, without the blanks around them.
std::string PositionText(const ComboBox& hemisphere, const TextBox& degrees, const TextBox& minutes,
                         const TextBox& seconds) {
    return hemisphere.Text() + " " + Trim(degrees.Text()) + " " + Trim(minutes.Text()) + " " + Trim(seconds.Text());
}

/// Fields of an angle without its sign.
std::string AngleText(std::string_view hemisphere, double degrees) {
    return std::string(hemisphere) + " " + DegreesToDMS(std::abs(degrees), " ", " ", "", 1);
}

}  // namespace

SetupSite::SetupSite(SetupNeeds& needs, SetupValidation& validation)
    : needs_(needs), form_(needs.form), validation_(validation) {
    Wire();
}

void SetupSite::Wire() {
    const auto onChange = [this] { OnChange(); };
    for (TextBox* box : {&form_.txtSiteName, &form_.txtLatDeg, &form_.txtLatMin, &form_.txtLatSec, &form_.txtLongDeg,
                         &form_.txtLongMin, &form_.txtLongSec, &form_.txtElevation}) {
        box->OnChange(onChange);
    }
    form_.cbxNS.OnClick(onChange);
    form_.cbxEW.OnClick(onChange);
    form_.cbxSiteList.OnClick([this] { Select(); });
    form_.btnNewSite.OnClick([this] { New(); });
    form_.btnSaveSiteInfo.OnClick([this] { Save(); });
    form_.btnCancelSiteChange.OnClick([this] { ShowSite(); });
    form_.btnDeleteSite.OnClick([this] { Delete(); });
    form_.btnRefreshSites.OnClick([this] { Refresh(); });
}

void SetupSite::Fill() {
    currentBefore_ = shown_ = needs_.sites.g_SiteDbIndex();
    form_.cbxNS.ListItems({"N", "S"});
    form_.cbxEW.ListItems({"E", "W"});
    ShowList();
    ShowSite();
}

void SetupSite::Store() {
    Persist& persist = needs_.driver.persist;
    if (WithId(shown_) != nullptr) {
        MakeCurrent(shown_);
    }
    for (const std::string_view key : kRemovedKeys) {
        persist.TryDeleteIniValue(key);
    }
    persist.Write(setting::SiteName, form_.txtSiteName.Text());
    persist.Write(setting::SiteListIndex, std::to_string(form_.cbxSiteList.ListIndex()));
    persist.Write(setting::SiteDbIndex, std::to_string(needs_.sites.g_SiteDbIndex()));
    persist.Write(setting::Latitude, LatitudeText());
    persist.Write(setting::Longitude, LongitudeText());
    persist.Write(setting::Elevation, Trim(form_.txtElevation.Text()));
}

/// A site that a client has chosen meanwhile stays, and so does the one after a deletion of the current one.
void SetupSite::PutBack() {
    const bool isDeleted = currentBefore_ > 0 && WithId(currentBefore_) == nullptr;
    if (needs_.sites.g_SiteDbIndex() == shown_ && !isDeleted) {
        MakeCurrent(currentBefore_);
    }
}

void SetupSite::MakeCurrent(std::int16_t id) {
    shown_ = id;
    if (needs_.sites.g_SiteDbIndex() != id) {
        needs_.sites.g_SiteDbIndex(id);
    }
}

std::string SetupSite::LatitudeText() const {
    return PositionText(form_.cbxNS, form_.txtLatDeg, form_.txtLatMin, form_.txtLatSec);
}

std::string SetupSite::LongitudeText() const {
    return PositionText(form_.cbxEW, form_.txtLongDeg, form_.txtLongMin, form_.txtLongSec);
}

/// The sites in the order of `cbxSiteList`.
std::vector<const Site*> SetupSite::All() const {
    std::vector<const Site*> all;
    for (const std::optional<Site>& site : needs_.sites.g_Sites()) {
        if (site) {
            all.push_back(&*site);
        }
    }
    return all;
}

/// Null when the id is none of a site.
const Site* SetupSite::WithId(std::int16_t id) const {
    const std::vector<const Site*> all = All();
    const auto found = std::ranges::find_if(all, [id](const Site* site) { return id > 0 && site->id == id; });
    return found == all.end() ? nullptr : *found;
}

void SetupSite::ShowList() {
    const FillsForm filling(form_);
    std::vector<std::string> names;
    listed_.clear();
    for (const Site* const site : All()) {
        names.push_back(site->Name);
        listed_.push_back(site->id);
    }
    const auto shown = std::ranges::find(listed_, shown_);
    form_.cbxSiteList.ListItems(std::move(names));
    form_.cbxSiteList.ListIndex(shown == listed_.end() ? -1 : static_cast<std::int32_t>(shown - listed_.begin()));
}

/// Ends an editing of the fields.
void SetupSite::ShowSite() {
    const FillsForm filling(form_);
    const Site* const site = WithId(shown_);
    ResumeNext errors{needs_.driver.ledger, form_.Name()};
    ShowFields({}, {});
    validation_.ClearSite();
    errors.Step([&] {
        if (site) {
            form_.txtSiteName.Text(site->Name);
            form_.txtElevation.Text(PlainNumber(site->ElevationMeters));
            ShowFields(SplitSiteText(site->Latitude), SplitSiteText(site->Longitude));
        } else {
            ShowStored();
        }
    });
    SetEdited(false);
}

/// What clients and earlier versions have stored, where no site is the current one.
void SetupSite::ShowStored() {
    Persist& persist = needs_.driver.persist;
    form_.txtSiteName.Text(persist.Read(setting::SiteName));
    form_.txtElevation.Text(persist.Read(setting::Elevation));
    const std::string latitude = persist.Read(setting::Latitude);
    const std::string longitude = persist.Read(setting::Longitude);
    if (!latitude.empty() && !longitude.empty()) {
        ShowFields(SplitSiteText(latitude), SplitSiteText(longitude));
    }
}

void SetupSite::ShowFields(const SiteFields& latitude, const SiteFields& longitude) {
    const auto show = [](const SiteFields& fields, std::string_view negative, ComboBox& hemisphere, TextBox& degrees,
                         TextBox& minutes, TextBox& seconds) {
        hemisphere.ListIndex(ToUpper(fields[0]) == negative ? kSouthWest : kNorthEast);
        degrees.Text(fields[1]);
        minutes.Text(fields[2]);
        seconds.Text(fields[3]);
    };
    show(latitude, "S", form_.cbxNS, form_.txtLatDeg, form_.txtLatMin, form_.txtLatSec);
    show(longitude, "W", form_.cbxEW, form_.txtLongDeg, form_.txtLongMin, form_.txtLongSec);
}

void SetupSite::ShowPosition(double latitude, double longitude) {
    const std::string north = AngleText(latitude < 0.0 ? "S" : "N", latitude);
    const std::string east = AngleText(longitude < 0.0 ? "W" : "E", longitude);
    ShowFields(SplitSiteText(north), SplitSiteText(east));
}

void SetupSite::Select() {
    const std::int32_t index = form_.cbxSiteList.ListIndex();
    if (form_.IsFilling() || index < 0) {
        return;
    }
    MakeCurrent(listed_[static_cast<std::size_t>(index)]);
    ShowSite();
}

void SetupSite::OnChange() {
    if (!form_.IsFilling()) {
        SetEdited(true);
    }
}

void SetupSite::SetEdited(bool edited) {
    edited_ = edited;
    isNew_ = isNew_ && edited;
    form_.btnSaveSiteInfo.Enabled(edited);
    form_.btnCancelSiteChange.Enabled(edited);
    form_.cbxSiteList.Enabled(!edited);
}

void SetupSite::New() {
    const FillsForm filling(form_);
    form_.txtSiteName.Text("New Site");
    form_.txtElevation.Text("");
    ShowFields({}, {});
    validation_.ClearSite();
    SetEdited(true);
    isNew_ = true;
}

/// A name that another site has, or that no init string can hold, is no database failure: the person is told. Any other
/// refusal leaves the fields as they are, to be saved again.
void SetupSite::Save() {
    const bool good = validation_.SiteIsGood() && !Trim(form_.txtSiteName.Text()).empty();
    Database* const database = needs_.driver.persist.database();
    Site site = good ? SiteOfFields() : Site{};
    bool isNew = false;
    if (good && database != nullptr && database->SetSite(site, isNew)) {
        needs_.sites.GetAllSites();
        ShowSaved(site.Name);
    } else if (!good || (database != nullptr && database->Answered())) {
        needs_.messageBoxes.Show("Cannot save the site because a setting is missing or out of range.",
                                 application::kTitle, MessageIcon::Information);
    }
}

/// The site that is edited, or a new one, with what the fields hold.
Site SetupSite::SiteOfFields() const {
    Log& log = needs_.driver.log;
    const Site* const shown = WithId(shown_);
    Site site = isNew_ || shown == nullptr ? Site{} : *shown;
    site.Name = Trim(form_.txtSiteName.Text());
    site.Latitude = MakeSiteText(SplitSiteText(LatitudeText()), kDegreeWidth, log);
    site.Longitude = MakeSiteText(SplitSiteText(LongitudeText()), kDegreeWidth, log);
    site.ElevationMeters = Val_Global(Trim(form_.txtElevation.Text()), log);
    return site;
}

void SetupSite::ShowSaved(std::string_view name) {
    const std::vector<const Site*> all = All();
    const auto saved = std::ranges::find(all, name, &Site::Name);
    if (saved != all.end()) {
        MakeCurrent((*saved)->id);
    }
    const std::size_t index = saved == all.end() ? 0 : static_cast<std::size_t>(saved - all.begin()) + 1;
    needs_.driver.log.LogMessage("SaveSite", LogLevel::Info,
                                 "Site Saved. Index = " + std::to_string(index) + " of " + std::to_string(all.size()));
    ShowList();
    ShowSite();
}

/// What is no site yet only goes from the fields; one that the settings file does not let go of stays. The answer holds
/// for the site that was asked about: another view may show another one meanwhile.
void SetupSite::Delete() {
    const std::int16_t id = shown_;
    const bool wasNew = isNew_;
    if ((WithId(id) == nullptr && !wasNew) ||
        needs_.messageBoxes.Ask("OK to delete Site?", application::kTitle, {}) != MessageAnswer::Ok || shown_ != id ||
        isNew_ != wasNew) {
        return;
    }
    if (!isNew_) {
        Database* const database = needs_.driver.persist.database();
        if (database == nullptr || !database->DeleteSite(id)) {
            return;
        }
        needs_.sites.GetAllSites();
        const std::vector<const Site*> all = All();
        MakeCurrent(all.empty() ? std::int16_t{0} : all.front()->id);
        ShowList();
    }
    ShowSite();
}

void SetupSite::Refresh() {
    if (!needs_.sites.GetAllSites()) {
        needs_.messageBoxes.Show("Error getting sites information", application::kTitle, MessageIcon::Information);
    }
    ShowList();
    if (!edited_) {
        ShowSite();
    }
}

}  // namespace kestrane
