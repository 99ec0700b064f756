#pragma once

#include <optional>
#include <string>

#include "ui/hand_box/button_actions.h"
#include "ui/hand_box/hand_box_needs.h"

namespace kestrane {

/// The frame with the site of the settings and that of the mount. Logic thread only.
class SiteFrame {
public:
    SiteFrame(const HandBoxNeeds& needs, ButtonActions& actions);

    /// For the load of the window.
    void Load();
    /// Shows the name and the position of the current site, and whether the mount has reported another.
    void FillSite();
    /// See `HandBoxDisplay`.
    void ShowMountSite(double longitude, double latitude, Notice notice);
    void ShowNoMountSite(Notice notice);

private:
    /// Whether the site of the mount is the current one; also where there is nothing to compare.
    struct Match {
        bool latitude = true;
        bool longitude = true;
    };

    /// Null when no site is selected or the selected one is gone.
    const Site* CurrentSite();
    void OnSiteTick();
    void CopyToSite();
    /// Compares the two, and marks in the boxes of the mount's site what differs.
    Match MarkDifferences();
    void Tell(const std::string& text, Notice notice);

    const HandBoxNeeds& needs_;
    Essentials driver_;
    DriverState& state_;
    struct Position {
        double longitude = 0;  ///< degrees, east positive
        double latitude = 0;   ///< degrees, north positive
    };
    std::optional<Position> reported_;  ///< by the mount
    bool siteRead_ = false;             ///< the mount's site was read since the link was opened
    int siteFailures_ = 0;              ///< readings of the site since then that failed
    Tick siteAskedAt_;                  ///< the last of them
};

}  // namespace kestrane
