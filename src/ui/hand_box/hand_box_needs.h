#pragma once

#include <functional>

#include "catalogue/ks_mount.h"
#include "focuser/focus_motor.h"
#include "forms/frm_hand_box.h"
#include "forms/frm_init_mount.h"
#include "forms/frm_initial_setup.h"
#include "forms/frm_status.h"
#include "forms/hand_box_display.h"
#include "forms/questions.h"
#include "platform/message_pump.h"
#include "platform/system_services.h"
#include "settings/sites.h"
#include "state/essentials.h"
#include "state/mount_queries.h"
#include "state/mount_rates.h"
#include "state/site_query.h"
#include "telescope/motion/tracking_operations.h"
#include "telescope/telescope.h"
#include "ui/shell_icon.h"

namespace kestrane {

/// What the frames of the hand box need from the rest of the driver. All of it outlives them.
struct HandBoxNeeds {
    Essentials driver;
    MessageBoxes& messageBoxes;
    SystemInfo& systemInfo;
    MessagePump& pump;
    Processes& processes;
    Sites& sites;
    KsMount& mount;
    MountQueries& queries;
    MountRates& rates;
    TrackingOperations& tracking;
    FocusMotor& focusMotor;
    frmHandBox& handBox;
    frmStatus& statusWindow;
    frmInitialSetup& initialSetup;
    frmInitMount& initMount;
    Questions& questions;
    ShellIcon& shellIcon;
    std::function<void()> showMenuOptions;   ///< ticks the entries of the tray menu that are settings
    std::function<bool()> noticeTakesClick;  ///< whether a click on `lblMain` was for the notice that it shows
    std::function<bool()> askForPlainSyncs;  ///< whether a person who has unticked recals means it; pumps
    std::function<Telescope*()> telescope;   ///< the driver's own object; null while there is none
    std::function<bool()> linkConnected;
    /// Asks the mount for its site and shows it. Talks to the mount.
    std::function<SiteAnswer(Notice notice, AfterSilence afterSilence)> readMountSite;
    std::function<void()> resetCommCounters;
    /// By the index of `cbxWindowsPriority`.
    std::function<void(int)> applyWindowsPriority;
};

}  // namespace kestrane
