#include "platform/posix/posix_platform.h"

#include <utility>

namespace kestrane {

PosixPlatform::PosixPlatform(PosixMessagePump::FaultHandler onFault, PosixMessageBoxes::LogFunction logMessageBox)
    : clock([this] { pump.PumpReads(); }),
      pump(std::move(onFault)),
      serialPorts(folders, PortLinks::kSystemDevices, [this] { return LetReadsIn(); }),
      http([this] { return LetReadsIn(); }, HostNames::SystemLookup, BeastHttp::kLongestRest,
           [this] { return endOfReads_.load() != 0; }),
      messageBoxes(std::move(logMessageBox)),
      processes([this] { pump.Quit(); },
                [this](std::function<void()> call) { pump.Post(CallKind::Press, std::move(call)); }),
      profileStore(folders),
      astronomy(PosixClock::GetUtcTime) {}

void PosixPlatform::EndReads() {
    std::chrono::steady_clock::rep none = 0;
    endOfReads_.compare_exchange_strong(none,
                                        (std::chrono::steady_clock::now() + kLastReads).time_since_epoch().count());
}

/// False when nothing of the mount is to be waited for any longer.
bool PosixPlatform::LetReadsIn() {
    pump.PumpReads();
    const auto end = endOfReads_.load();
    return end == 0 || std::chrono::steady_clock::now().time_since_epoch().count() < end;
}

Platform PosixPlatform::Services() {
    return {.clock = clock,
            .pump = pump,
            .serialPorts = serialPorts,
            .http = http,
            .messageBoxes = messageBoxes,
            .systemInfo = systemInfo,
            .processes = processes,
            .registry = registry,
            .applicationSettings = applicationSettings,
            .profileStore = profileStore,
            .utility = utility,
            .astronomy = astronomy,
            .folders = folders,
            .sounds = sounds,
            .trayIcon = trayIcon,
            .webPages = webPages};
}

}  // namespace kestrane
