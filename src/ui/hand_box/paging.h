#pragma once

#include "ui/hand_box/hand_box_needs.h"
#include "ui/kept_controls.h"

namespace kestrane {

/// Which frames of the panel are shown: one of three pages, or all of them. Logic thread only.
class Paging {
public:
    Paging(const HandBoxNeeds& needs, KeptControls& kept);

    /// For the load of the window.
    void Load();
    /// Shows the frames of the present page, or all of them on the wide panel, if the mount has a use for them.
    void ShowFrames();
    /// Shows the panel on the page that was shown last.
    void ExpandWindow();
    /// The click on the window's title: shows the panel, or hides it.
    void TogglePanel();

private:
    void Contract();
    void OnShowAllChange();

    const HandBoxNeeds& needs_;
    DriverState& state_;
};

}  // namespace kestrane
