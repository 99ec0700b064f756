#include "apps/driver_views.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "kernel/base/application_info.h"
#include "views/web/doors.h"

namespace kestrane {
namespace {

std::string_view Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

/// Who may open the page. A word that is none opens no door that is closed by itself.
web::Doors PageDoors() {
    const std::string_view word = Variable("KESTRANE_HANDBOX");
    const std::optional<web::Doors> doors = web::DoorsOf(word);
    if (!doors && !word.empty()) {
        std::fprintf(stderr, "kestrane-driver: KESTRANE_HANDBOX takes local, look, lan or off. It counts as local.\n");
    }
    return doors.value_or(web::Doors::Local);
}

mirror::MirrorNeeds NeedsOfMirror(PosixPlatform& platform, Driver& driver) {
    return {
        .pump = platform.pump,
        .clock = platform.clock,
        .windows = driver.windows,
        .heldButtons = driver.heldButtons,
        .stopAll = [&driver] { driver.statusPanel.AskToStop(); },
        .passOnToIcon = [&platform](std::int32_t message) { platform.trayIcon.Tell(message); },
        .noteTray =
            [&platform](const ScreenArea& tray, const ScreenArea& screen) {
                platform.trayIcon.NotePlace({tray, screen});
            },
        .version = std::string(application::kDriverVersion),
        .process = std::to_string(getpid()) + "-" + std::to_string(platform.clock.GetTickCount().value),
    };
}

}  // namespace

DriverViews::DriverViews(PosixPlatform& platform, Driver& driver)
    : clock_(platform.clock),
      mirror_(NeedsOfMirror(platform, driver)),
      pages_(platform.pump, mirror_, PageDoors(),
             [&driver](const std::string& address, std::uint32_t number) {
                 return driver.clientsWindow.HoldsTelescope(address, number);
             }),
      programs_(platform.pump, mirror_),
      desktop_(platform.processes, driver.log, [this](int socket) { programs_.Adopt(socket); }) {
    ListenForPrograms(driver.log);
    if (Variable("KESTRANE_DESKTOP") == "1") {
        ShowOnDesktop();
    }
}

/// Without them the driver does all else: the log tells why, and no more.
void DriverViews::ListenForPrograms(Log& log) {
    const std::string_view folder = Variable("XDG_RUNTIME_DIR");
    if (folder.empty()) {
        return;
    }
    const std::string why = programs_.Listen(std::filesystem::path(folder) / "kestrane" / "handbox");
    if (!why.empty()) {
        log.LogMessage("Views", LogLevel::Warning, "No program can show the hand box: " + why);
    }
}

/// By the program beside this one.
void DriverViews::ShowOnDesktop() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    desktop_.Start(self.parent_path() / "kestrane-handbox");
}

void DriverViews::SayEnd(mirror::EndReason reason) {
    if (!std::exchange(endSaid_, true)) {
        mirror_.SayEnd(reason);
    }
}

/// A view that knows why the driver has ended does the right thing next.
void DriverViews::SayGoodbye() {
    constexpr int kLongestMs = 200;
    constexpr int kStepMs = 5;
    SayEnd(mirror::EndReason::Person);
    for (int waited = 0; waited < kLongestMs && !(pages_.AllIsSent() && programs_.AllIsSent()); waited += kStepMs) {
        clock_.Sleep(kStepMs);
    }
}

}  // namespace kestrane
