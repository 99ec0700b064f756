#pragma once

#include "ui/kept_controls.h"
#include "ui/setup/setup_checks.h"
#include "ui/setup/setup_link.h"
#include "ui/setup/setup_mount.h"
#include "ui/setup/setup_needs.h"
#include "ui/setup/setup_options.h"
#include "ui/setup/setup_site.h"
#include "ui/setup/setup_tools.h"
#include "ui/setup/setup_validation.h"

namespace kestrane {

/// The setup dialog of the telescope: opens it, and stores what it shows or takes it back. Logic thread only.
class SetupDialog {
public:
    explicit SetupDialog(SetupNeeds needs);
    SetupDialog(const SetupDialog&) = delete;
    SetupDialog& operator=(const SetupDialog&) = delete;

    /// Shows the window with the values of the settings and pumps until it is closed. Whether by its OK, which stores
    /// what it shows, checked; anything else stores nothing but what the buttons of the sites did. Returns at once,
    /// false, while it is open and where no view shows it.
    bool ShowModal();

private:
    void Fill();
    void Close();
    void OnTick();
    void OnOk();
    bool NoSiteIsEdited();
    void Store();
    void PutBack();

    SetupNeeds needs_;
    frmInitialSetup& form_;
    KeptControls kept_;
    SetupValidation validation_;
    SetupLink link_;
    SetupMount mount_;
    SetupSite site_;
    SetupOptions options_;
    SetupChecks checks_;
    SetupTools tools_;
    bool open_ = false;
    bool accepted_ = false;
};

}  // namespace kestrane
