#pragma once

#include "platform/platform.h"
#include "platform/posix/erfa_astronomy.h"
#include "platform/posix/file_profile_store.h"
#include "platform/posix/posix_application_settings.h"
#include "platform/posix/posix_clock.h"
#include "platform/posix/posix_folders.h"
#include "platform/posix/posix_message_boxes.h"
#include "platform/posix/posix_message_pump.h"
#include "platform/posix/posix_processes.h"
#include "platform/posix/posix_registry.h"
#include "platform/posix/posix_serial_ports.h"
#include "platform/posix/posix_sounds.h"
#include "platform/posix/posix_system_info.h"
#include "platform/posix/posix_utility.h"

namespace kestrane {

/// The machine's real services, owned together. `EndThisProcess` ends the pump's `Run`.
struct PosixPlatform {
    explicit PosixPlatform(PosixMessagePump::FaultHandler onFault, PosixMessageBoxes::LogFunction logMessageBox = {});

    /// References into this object.
    Platform Services();

    PosixClock clock;
    PosixMessagePump pump;
    PosixFolders folders;
    PosixSerialPorts serialPorts;
    PosixMessageBoxes messageBoxes;
    PosixSystemInfo systemInfo;
    PosixProcesses processes;
    PosixRegistry registry;
    PosixApplicationSettings applicationSettings;
    FileProfileStore profileStore;
    PosixUtility utility;
    ErfaAstronomy astronomy;
    PosixSounds sounds;
};

}  // namespace kestrane
