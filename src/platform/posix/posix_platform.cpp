#include "platform/posix/posix_platform.h"

#include <utility>

namespace kestrane {

PosixPlatform::PosixPlatform(PosixMessagePump::FaultHandler onFault, PosixMessageBoxes::LogFunction logMessageBox)
    : clock([this] { pump.PumpReads(); }),
      pump(std::move(onFault)),
      serialPorts(folders, PortLinks::kSystemDevices, [this] { pump.PumpReads(); }),
      messageBoxes(std::move(logMessageBox)),
      processes([this] { pump.Quit(); }),
      profileStore(folders),
      astronomy(PosixClock::GetUtcTime) {}

Platform PosixPlatform::Services() {
    return {.clock = clock,
            .pump = pump,
            .serialPorts = serialPorts,
            .messageBoxes = messageBoxes,
            .systemInfo = systemInfo,
            .processes = processes,
            .registry = registry,
            .applicationSettings = applicationSettings,
            .profileStore = profileStore,
            .utility = utility,
            .astronomy = astronomy,
            .folders = folders,
            .sounds = sounds};
}

}  // namespace kestrane
