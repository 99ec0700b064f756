#pragma once

#include <atomic>
#include <chrono>

#include "platform/platform.h"
#include "platform/posix/beast_http.h"
#include "platform/posix/erfa_astronomy.h"
#include "platform/posix/file_profile_store.h"
#include "platform/posix/https_pages.h"
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
#include "platform/posix/view_tray_icon.h"

namespace kestrane {

/// The machine's real services, owned together. `EndThisProcess` ends the pump's `Run`.
struct PosixPlatform {
    explicit PosixPlatform(PosixMessagePump::FaultHandler onFault, PosixMessageBoxes::LogFunction logMessageBox = {});

    /// References into this object.
    Platform Services();

    /// The process is about to end: from `kLastReads` after the first call on, no read of a serial port waits for bytes
    /// any more, and no request over HTTP for its reply. So an exchange with a mount that answers comes to its end, and
    /// one with a silent mount holds up nobody, whatever its read limit. Writes go out as before. Any thread.
    void EndReads();
    static constexpr std::chrono::milliseconds kLastReads{200};

    PosixClock clock;
    PosixMessagePump pump;
    PosixFolders folders;
    PosixSerialPorts serialPorts;
    BeastHttp http;
    PosixMessageBoxes messageBoxes;
    PosixSystemInfo systemInfo;
    PosixProcesses processes;
    PosixRegistry registry;
    PosixApplicationSettings applicationSettings;
    FileProfileStore profileStore;
    PosixUtility utility;
    ErfaAstronomy astronomy;
    PosixSounds sounds;
    ViewTrayIcon trayIcon;
    HttpsPages webPages{pump};

private:
    bool LetReadsIn();

    /// Of the steady clock; 0 while there is none.
    std::atomic<std::chrono::steady_clock::rep> endOfReads_{0};
};

}  // namespace kestrane
