#include "settings/sites.h"

#include <algorithm>
#include <limits>
#include <utility>
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

/// A blank inside a field would shift the fields after it in the position text: the site would be somewhere else.
bool HoldsPosition(const std::vector<std::string>& fields) {
    return fields.size() >= kElevationField &&
           std::none_of(fields.begin() + kLatitudeField, fields.begin() + kElevationField,
                        [](const std::string& field) { return field.find(' ') != std::string::npos; });
}

bool CanBeStored(std::string_view packed) {
    return packed.find('\0') == std::string_view::npos;
}

/// The number in a setting that holds an index or an id; 0 for a text that is no number of 16 bits.
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
    if (started_) {
        return LoadSites() && listWhole_ && !KeepsSites();
    }
    StartOnce();
    return started_ && listWhole_;
}

std::int16_t Sites::g_SiteDbIndex() {
    StartOnce();
    return siteDbIndex_;
}

void Sites::g_SiteDbIndex(std::int16_t id) {
    StartOnce();
    siteDbIndex_ = id;
    selected_ = true;
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
    if (!started_ && needs_.persist.database() != nullptr) {
        started_ = StartUp();
    }
}

bool Sites::StartUp() {
    ResumeNext errors{needs_.ledger, "Sites.StartUp"};
    bool answered = true;
    if (!errors.Step([&] { answered = CopySitesOnce(); })) {
        WarnOfLastFailure("The sites in the old settings are not copied for now");
    }
    if (!answered || !LoadSites()) {
        return false;
    }
    if (!errors.Step([&] { answered = FindCurrentSite(); })) {
        WarnOfLastFailure("The current site cannot be found");
    }
    return answered && !KeepsSites();
}

/// Sites that wait for another program or for room on the disk are in no list yet.
bool Sites::KeepsSites() const {
    return needs_.persist.database()->KeepsRecords();
}

bool Sites::CopySitesOnce() {
    const std::optional<std::string> copied = needs_.persist.ReadIfAnswered(setting::SitesCopiedToDatbase);
    return copied && (*copied != kNotCopied || CopyPackedSites());
}

bool Sites::CopyPackedSites() {
    const std::optional<std::string> list = needs_.persist.ReadIfAnswered(setting::cbxSiteList);
    if (!list) {
        return false;
    }
    const std::int16_t selected = IndexOf(*list, needs_.log);
    bool allStand = true;
    for (std::size_t i = 0; i < kPackedSites.size(); ++i) {
        const std::optional<std::string> stored = needs_.persist.ReadIfAnswered(kPackedSites[i]);
        if (!stored) {
            return false;
        }
        const std::string packed = Utf8OfLegacyText(*stored);
        if (std::cmp_equal(i, selected)) {
            needs_.persist.Write(setting::OldSiteName, SplitPacked(packed)[kNameField]);
        }
        allStand = CopyPackedSite(packed) && allStand;
    }
    if (allStand) {
        needs_.persist.Write(setting::SitesCopiedToDatbase, "True");
    }
    return true;
}

bool Sites::CopyPackedSite(std::string_view packed) {
    std::vector<std::string> fields = SplitPacked(packed);
    if (fields[kNameField] == kUnusedName) {
        return true;
    }
    std::transform(fields.begin() + 1, fields.end(), fields.begin() + 1, Trim);
    if (!HoldsPosition(fields) || !CanBeStored(packed)) {
        Warn("An old site without a position is left out: '" + std::string(packed) + "'");
        return true;
    }
    Site site;
    site.Name = fields[kNameField];
    site.Latitude = MakeSiteText(FourFrom(fields, kLatitudeField), kLatitudeDegreeWidth, needs_.log);
    site.Longitude = MakeSiteText(FourFrom(fields, kLongitudeField), kLongitudeDegreeWidth, needs_.log);
    site.ElevationMeters = fields.size() > kElevationField ? Val_Global(fields[kElevationField], needs_.log) : 0.0;
    Database& database = *needs_.persist.database();
    bool isNew = true;
    if (database.SetSite(site, isNew, SiteNames::AsTheyAre)) {
        return true;
    }
    const bool refused = database.Answered();
    Warn("An old site is not added to the sites, " +
         std::string(refused ? "its name may stand there already" : "which is tried again at the next start") + ": '" +
         std::string(packed) + "'");
    return refused;
}

bool Sites::LoadSites() {
    RecordArray<Site> sites;
    Database& database = *needs_.persist.database();
    listWhole_ = database.GetAllSites(sites);
    if (database.Answered()) {
        sites_ = std::move(sites);
    }
    return database.Answered();
}

bool Sites::FindCurrentSite() {
    if (selected_) {
        return true;
    }
    const std::optional<std::string> index = needs_.persist.ReadIfAnswered(setting::SiteDbIndex);
    if (!index) {
        return false;
    }
    siteDbIndex_ = IndexOf(*index, needs_.log);
    if (siteDbIndex_ >= 1) {
        return true;
    }
    const std::optional<std::string> oldName = needs_.persist.ReadIfAnswered(setting::OldSiteName);
    if (!oldName) {
        return false;
    }
    if (const Site* site = FindByName(Utf8OfLegacyText(*oldName))) {
        siteDbIndex_ = site->id;
        needs_.persist.Write(setting::SiteDbIndex, std::to_string(site->id));
    }
    return true;
}

void Sites::WarnOfLastFailure(std::string_view what) {
    Warn(std::string(what) + ": " + needs_.ledger.Entries().back().message);
}

void Sites::Warn(const std::string& text) {
    needs_.log.LogMessage("Sites", LogLevel::Warning, text);
}

}  // namespace kestrane
