#pragma once

#include <cstdint>
#include <memory>

#include "platform/platform.h"
#include "support/recording_services.h"
#include "support/recording_tray_icon.h"
#include "support/simulator_line.h"
#include "support/temporary_folder.h"
#include "support/virtual_clock.h"
#include "support/virtual_http.h"
#include "support/virtual_pump.h"
#include "support/virtual_serial_ports.h"
#include "support/virtual_web_pages.h"

namespace kestrane {

/// A machine for tests: virtual time, serial ports with nothing on them, healthy services that record, its own folders.
/// A driver can be built on it, ended and built again, as a process is started again on the same machine.
///
///     VirtualPlatform machine;
///     MountSimulator mount{machine.clock, {}};
///     machine.ConnectMount(1, mount);
///     ... build the driver on machine.Services() ...
///     machine.AdvanceTime(60'000);
struct VirtualPlatform {
    explicit VirtualPlatform(Tick firstTick = VirtualClock::kZero) : clock(firstTick) {}

    VirtualClock clock;
    VirtualPump pump{clock};
    VirtualSerialPorts serialPorts{clock};
    VirtualHttp http{clock};
    RecordingMessageBoxes messageBoxes;
    SettableSystemInfo systemInfo;
    RecordingProcesses processes;
    SettableRegistry registry;
    SettableApplicationSettings applicationSettings;
    RecordingProfileStore profileStore;
    SettableUtilityService utility;
    VirtualAstronomy astronomy{clock};
    TemporaryFolders folders;
    CountingSounds sounds;
    RecordingTrayIcon trayIcon;
    VirtualWebPages webPages{clock, pump};

    Platform Services() {
        return {clock,        pump,         serialPorts,
                http,         messageBoxes, systemInfo,
                processes,    registry,     applicationSettings,
                profileStore, utility,      astronomy,
                folders,      sounds,       trayIcon,
                webPages};
    }

    void AdvanceTime(std::int64_t milliseconds) { pump.AdvanceTime(milliseconds); }

    /// The mount must live as long as the port is in use.
    void ConnectMount(std::int32_t port, MountSimulator& mount) {
        serialPorts.Connect(port, std::make_unique<SimulatorLine>(mount));
    }
};

}  // namespace kestrane
