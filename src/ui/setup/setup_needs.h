#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "catalogue/ks_mount.h"
#include "forms/frm_hand_box.h"
#include "forms/frm_initial_setup.h"
#include "forms/hand_box_display.h"
#include "forms/modal.h"
#include "link/link_factory.h"
#include "link/mount_link.h"
#include "platform/serial_port.h"
#include "platform/system_services.h"
#include "settings/sites.h"
#include "state/controller_features.h"
#include "state/essentials.h"
#include "state/mount_rates.h"
#include "ui/help_window.h"
#include "ui/port_check.h"
#include "ui/rcal_sync_warning.h"

namespace kestrane {

/// What the setup dialog and its groups of controls work with. All of it outlives them.
struct SetupNeeds {
    Essentials driver;
    Modal& modal;
    MessageBoxes& messageBoxes;
    SerialPorts& serialPorts;
    ApplicationSettings& applicationSettings;
    Processes& processes;
    const LinkFactory& links;
    const std::unique_ptr<MountLink>& link;  ///< that of the process
    Sites& sites;
    KsMount& mount;
    MountRates& rates;
    ControllerFeatures& controller;
    HandBoxDisplay& panel;
    frmHandBox& handBox;
    frmInitialSetup& form;
    RcalSyncWarning& rcalSyncWarning;
    const PortCheck& portCheck;

    std::function<bool()> linkConnected = {};
    // See `ConnectionManager`.
    std::function<std::int32_t()> readTimeout = {};
    std::function<bool(std::int16_t port, std::int16_t timeoutMs, double& longitude, double& latitude)>
        getMountLongLat = {};
    std::function<bool(std::int16_t port, std::int16_t timeoutMs, std::string_view longitude,
                       std::string_view latitude)>
        setMountLongLat = {};

    std::function<void()> followAlwaysOnTop = {};  ///< puts the windows above others, or not, as the setting says
    std::function<void()> showQuaySettings = {};
    std::function<std::string()> newerVersion = {};  ///< empty while none is known
    std::function<void()> startLogZipper = {};
    std::function<void(HelpTopic topic)> openHelp = {};
    std::function<void()> openAscomSite = {};
    std::function<void()> openDownloadPage = {};
};

}  // namespace kestrane
