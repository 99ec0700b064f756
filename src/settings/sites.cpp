#include "settings/sites.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "settings/database.h"
#include "settings/legacy_text.h"
#include "settings/site_text.h"

namespace kestrane {
namespace {

constexpr std::string_view kNotCopied = "False";
constexpr std::string_view kUnusedName = "Not Used";

// --- sites as older versions packed them: ten settings of ten fields each --------------------------------------------

constexpr int kPackedSites = 10;
constexpr std::string_view kPackedKey = "cbxSiteList_";
constexpr std::string_view kFirstPackedDefault = "Default|N|0|0|0|W|0|0|0|0";
constexpr std::string_view kPackedDefault = "Not Used|N|0|0|0|W|0|0|0|0";

constexpr std::size_t kNameField = 0;
constexpr std::size_t kLatitudeField = 1;   // and the three after it
constexpr std::size_t kLongitudeField = 5;  // and the three after it
constexpr std::size_t kElevationField = 9;

constexpr std::size_t kLatitudeDegreeWidth = 2;
constexpr std::size_t kLongitudeDegreeWidth = 1;

std::vector<std::string> SplitPacked(std::string_view packed) {
    std::vector<std::string> fields;
    for (;;) {
        const std::size_t bar = packed.find('|');
        fields.emplace_back(packed.substr(0, bar));
        if (bar == std::string_view::npos) {
            return fields;
        }
        packed.remove_prefix(bar + 1);
    }
}

SiteFields FourFrom(const std::vector<std::string>& fields, std::size_t first) {
    return {fields[first], fields[first + 1], fields[first + 2], fields[first + 3]};
}

/// A blank inside a field would shift the ones behind it in the position text, and fail the whole list when it is read.
bool HoldsPosition(const std::vector<std::string>& fields) {
    return fields.size() >= kElevationField &&
           std::none_of(fields.begin() + kLatitudeField, fields.begin() + kElevationField,
                        [](const std::string& field) { return field.find(' ') != std::string::npos; });
}

/// The number in a setting that holds an index or an id; 0 for what is none of 16 bits.
std::int16_t IndexOf(std::string_view text, Log& log) {
    using Limits = std::numeric_limits<std::int16_t>;
    const double number = Val_Global(text, log);
    return number >= Limits::min() && number <= Limits::max() ? static_cast<std::int16_t>(RoundHalfEven(number))
                                                              : std::int16_t{0};
}

}  // namespace

RecordArray<Site>& Sites::g_Sites() {
    StartOnce();
    return sites_;
}

bool Sites::GetAllSites() {
    StartOnce();
    sites_.assign(1, std::nullopt);
    Database* database = needs_.persist.database();
    return database != nullptr && database->GetAllSites(sites_);
}

std::int16_t Sites::g_SiteDbIndex() {
    StartOnce();
    return siteDbIndex_;
}

void Sites::g_SiteDbIndex(std::int16_t id) {
    StartOnce();
    siteDbIndex_ = id;
}

std::string Sites::CurrentSiteName() {
    StartOnce();
    for (const std::optional<Site>& site : sites_) {
        if (site && site->id == siteDbIndex_) {
            return site->Name;
        }
    }
    return {};
}

bool Sites::GetSiteNumbers(std::string_view name, SiteNumbers& numbers) {
    StartOnce();
    numbers = {};
    const Site* site = FindByName(name);
    ResumeNext errors{needs_.ledger, "Sites.GetSiteNumbers"};
    return site != nullptr && errors.Assign(numbers, [&] {
        const double latitude = SiteTextDegrees(site->Latitude, "S", needs_.log);
        const double longitude = SiteTextDegrees(site->Longitude, "W", needs_.log);
        return SiteNumbers{longitude, latitude, site->ElevationMeters};
    });
}

const Site* Sites::FindByName(std::string_view name) const {
    const std::string lowerName = ToLower(name);
    for (const std::optional<Site>& site : sites_) {
        if (site && ToLower(site->Name) == lowerName) {
            return &*site;
        }
    }
    return nullptr;
}

// --- start-up --------------------------------------------------------------------------------------------------------

void Sites::StartOnce() {
    if (started_) {
        return;
    }
    started_ = true;
    ResumeNext errors{needs_.ledger, "Sites.StartOnce"};
    const bool copied = errors.Step([&] {
        if (needs_.persist.Read(setting::SitesCopiedToDatbase) == kNotCopied) {
            CopyPackedSites();
        }
    });
    if (!copied) {
        WarnOfLastFailure("The sites in the old settings are not copied for now");
    }
    GetAllSites();
    if (!errors.Step([&] { FindCurrentSite(); })) {
        WarnOfLastFailure("The current site cannot be found");
    }
}

void Sites::CopyPackedSites() {
    const std::int16_t selected = IndexOf(needs_.persist.Read(setting::cbxSiteList), needs_.log);
    for (int i = 1; i <= kPackedSites; ++i) {
        const std::string key = std::string(kPackedKey) + PadWithZeros(std::to_string(i), 2);
        const std::string packed =
            Utf8OfLegacyText(needs_.persist.ReadIniValue(key, i == 1 ? kFirstPackedDefault : kPackedDefault));
        if (i - 1 == selected) {
            needs_.persist.Write(setting::OldSiteName, SplitPacked(packed)[kNameField]);
        }
        CopyPackedSite(packed);
    }
    needs_.persist.Write(setting::SitesCopiedToDatbase, "True");
}

void Sites::CopyPackedSite(std::string_view packed) {
    std::vector<std::string> fields = SplitPacked(packed);
    if (fields[kNameField] == kUnusedName) {
        return;
    }
    std::transform(fields.begin() + 1, fields.end(), fields.begin() + 1, Trim);
    if (!HoldsPosition(fields)) {
        Warn("An old site without a position is left out: '" + std::string(packed) + "'");
        return;
    }
    Site site;
    site.Name = fields[kNameField];
    site.Latitude = MakeSiteText(FourFrom(fields, kLatitudeField), kLatitudeDegreeWidth, needs_.log);
    site.Longitude = MakeSiteText(FourFrom(fields, kLongitudeField), kLongitudeDegreeWidth, needs_.log);
    site.ElevationMeters = fields.size() > kElevationField ? Val_Global(fields[kElevationField], needs_.log) : 0.0;
    Database* database = needs_.persist.database();
    bool isNew = true;
    if (database == nullptr || !database->SetSite(site, isNew)) {
        Warn("An old site is not added to the sites, its name may stand there already: '" + std::string(packed) + "'");
    }
}

void Sites::FindCurrentSite() {
    siteDbIndex_ = IndexOf(needs_.persist.Read(setting::SiteDbIndex), needs_.log);
    if (siteDbIndex_ >= 1) {
        return;
    }
    if (const Site* site = FindByName(needs_.persist.Read(setting::OldSiteName))) {
        siteDbIndex_ = site->id;
        needs_.persist.Write(setting::SiteDbIndex, std::to_string(site->id));
    }
}

void Sites::WarnOfLastFailure(std::string_view what) {
    Warn(std::string(what) + ": " + needs_.ledger.Entries().back().message);
}

void Sites::Warn(const std::string& text) {
    needs_.log.LogMessage("Sites", LogLevel::Warning, text);
}

}  // namespace kestrane
