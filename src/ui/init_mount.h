#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "forms/frm_init_mount.h"
#include "forms/modal.h"
#include "settings/sites.h"
#include "state/essentials.h"
#include "telescope/telescope.h"
#include "ui/hand_box/hand_box_panel.h"
#include "ui/kept_controls.h"

namespace kestrane {

struct InitMountNeeds {
    Essentials driver;
    Modal& modal;
    Sites& sites;
    frmInitMount& form;
    HandBoxPanel& panel;
    std::function<Telescope*()> telescope;  ///< the driver's own object; null while there is none
};

/// The logic of the dialog that initializes the mount, and of the button that opens it. Logic thread only.
class InitMount {
public:
    /// Sets the action of the button.
    explicit InitMount(InitMountNeeds needs);

    /// Shows the dialog and pumps until it is closed. The init string that was chosen, which may be empty; nothing when
    /// OK was not pressed. OK keeps the choices in the settings, and the hand box shows them.
    std::optional<std::string> Ask();

private:
    void KeepChoices();
    void KeepLists();
    void EnableInputs();
    void ShowCustomRate();
    void Fill();
    void FillSites();
    void AskAndInitialize();
    void Initialize(const std::string& text);
    void Accept();
    void TakeSite();
    std::string Chosen() const;
    std::string SiteItem() const;

    InitMountNeeds needs_;
    Essentials driver_;
    frmInitMount& form_;
    KeptControls kept_;
    std::vector<std::int16_t> siteIds_;  ///< of the entries of `cbxSiteList`
    bool initializes_ = false;           ///< OK is to initialize the mount
};

}  // namespace kestrane
