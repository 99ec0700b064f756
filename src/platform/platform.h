#pragma once

#include "platform/clock.h"
#include "platform/http.h"
#include "platform/message_pump.h"
#include "platform/serial_port.h"
#include "platform/system_services.h"
#include "platform/tray_icon.h"
#include "platform/web_pages.h"

namespace kestrane {

/// All services of the machine, given to the composition root. The services outlive the driver.
struct Platform {
    Clock& clock;
    MessagePump& pump;
    SerialPorts& serialPorts;
    Http& http;
    MessageBoxes& messageBoxes;
    SystemInfo& systemInfo;
    Processes& processes;
    Registry& registry;
    ApplicationSettings& applicationSettings;
    ProfileStore& profileStore;
    UtilityService& utility;
    Astronomy& astronomy;
    Folders& folders;
    Sounds& sounds;
    TrayIcon& trayIcon;
    WebPages& webPages;
};

}  // namespace kestrane
