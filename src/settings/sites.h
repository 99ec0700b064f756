#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "settings/persist.h"
#include "settings/records.h"

namespace kestrane {

struct SitesNeeds {
    Persist& persist;
    Log& log;
    SwallowLedger& ledger;
};

/// The position of a site.
struct SiteNumbers {
    double longitude = 0.0;  ///< degrees, east positive
    double latitude = 0.0;   ///< degrees, north positive
    double elevation = 0.0;  ///< metres
};

/// The observing sites and which of them is the current one, shared by the telescope and the windows.
///
/// The first use of any member in a process runs the site start-up, once: sites that older versions packed into
/// settings are moved into the settings file, the list is loaded, and the current site is found. While the settings
/// file does not answer there are no sites, and each use begins the start-up again. Any other failure loses only the
/// step that failed and is noted in the ledger; a move that could not read the old settings or store each site is tried
/// again by the next process, which also brings back sites that were deleted in the meantime. No member raises. Logic
/// thread only; pumps nothing.
class Sites {
public:
    explicit Sites(SitesNeeds needs) : needs_(needs) {}
    Sites(const Sites&) = delete;
    Sites& operator=(const Sites&) = delete;

    /// The list as last loaded. Slot 0 is empty, and so is the slot of a row that cannot be read; a site without a
    /// proper position keeps its text as it is.
    RecordArray<Site>& g_Sites();
    /// Loads the list again. False when there are no sites, or one that cannot be read or has no proper position. Also
    /// false, with the list unchanged, when the settings file does not answer.
    bool GetAllSites();

    /// The id of the current site; below 1: no site is selected. It may name a site that is gone.
    std::int16_t g_SiteDbIndex();
    /// Selects a site for this process; the caller stores the setting.
    void g_SiteDbIndex(std::int16_t id);

    /// The current site's name, empty without one.
    std::string CurrentSiteName();

    /// The numbers of the site with that name, in any case; false, with all three 0, when there is none or when its
    /// position text cannot be read.
    bool GetSiteNumbers(std::string_view name, SiteNumbers& numbers);

private:
    void StartOnce();
    // These are false when the settings file did not answer, so that a later use has to begin again.
    bool StartUp();
    bool KeepsSites() const;
    bool CopySitesOnce();
    bool CopyPackedSites();
    bool LoadSites();
    bool FindCurrentSite();
    /// False when the site could not be stored for now.
    bool CopyPackedSite(std::string_view packed);
    const Site* FindByName(std::string_view name) const;
    void WarnOfLastFailure(std::string_view what);
    void Warn(const std::string& text);

    SitesNeeds needs_;
    bool started_ = false;
    bool selected_ = false;  ///< a caller has set the current site
    bool listWhole_ = false;
    RecordArray<Site> sites_ = RecordArray<Site>(1);
    std::int16_t siteDbIndex_ = 0;
};

}  // namespace kestrane
