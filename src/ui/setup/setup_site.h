#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "settings/records.h"
#include "settings/site_text.h"
#include "ui/setup/setup_needs.h"
#include "ui/setup/setup_validation.h"

namespace kestrane {

/// The observing sites in the setup dialog. Its fields show the current site, or are being edited: from the first
/// change of a field until it is saved or taken back. Sites are saved and deleted at once; the choice of the current
/// one is stored or taken back at the end of the dialog. Logic thread only.
class SetupSite {
public:
    SetupSite(SetupNeeds& needs, SetupValidation& validation);

    void Fill();
    void Store();
    /// Back to the current site before `Fill`.
    void PutBack();

    bool IsEdited() const { return edited_; }

    /// The position of the fields, as a site has it: "N 47 00 00.0", "W 122 10 00.0".
    std::string LatitudeText() const;
    std::string LongitudeText() const;
    /// Shows a position in the fields, as if a person had written it. Degrees, north and east positive.
    void ShowPosition(double latitude, double longitude);

private:
    void Wire();
    void Select();
    void New();
    void Save();
    Site SiteOfFields() const;
    void ShowSaved(std::string_view name);
    void Delete();
    void Refresh();
    void OnChange();
    void SetEdited(bool edited);
    void ShowList();
    void ShowSite();
    void ShowFields(const SiteFields& latitude, const SiteFields& longitude);
    void ShowStored();
    std::vector<const Site*> All() const;
    const Site* WithId(std::int16_t id) const;
    void MakeCurrent(std::int16_t id);

    SetupNeeds& needs_;
    frmInitialSetup& form_;
    SetupValidation& validation_;
    std::vector<std::int16_t> listed_;  ///< ids of the entries of `cbxSiteList`
    std::int16_t currentBefore_ = 0;
    std::int16_t shown_ = 0;  ///< the site of the fields; a client's initialization may choose another one meanwhile
    bool edited_ = false;
    bool isNew_ = false;  ///< what is edited is no site yet
};

}  // namespace kestrane
