#pragma once

#include <string_view>

#include "ui/setup/setup_needs.h"

namespace kestrane {

/// Whether what the setup dialog shows can be stored. A field that cannot is coloured. No check depends on the locale
/// or changes a setting. Logic thread only.
class SetupValidation {
public:
    explicit SetupValidation(SetupNeeds& needs) : needs_(needs) {}

    /// All fields are good; else one message box says which are not.
    bool AllGood();
    /// The fields of the site are good. This and the next one say nothing.
    bool SiteIsGood();
    /// The fields of its position alone.
    bool PositionIsGood();
    /// Takes all colours away.
    void Clear();
    /// Those of the fields of the site.
    void ClearSite();

private:
    bool LatitudeIsTooLarge() const;
    bool LongitudeIsTooLarge() const;
    void Say(std::string_view text);

    SetupNeeds& needs_;
};

}  // namespace kestrane
