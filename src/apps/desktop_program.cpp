#include "apps/desktop_program.h"

#include <array>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace kestrane {

DesktopProgram::DesktopProgram(PosixProcesses& processes, Log& log, std::function<void(int socket)> adopt)
    : processes_(processes), log_(log), adopt_(std::move(adopt)) {}

void DesktopProgram::Start(const std::filesystem::path& program) {
    program_ = program;
    StartOnce();
}

void DesktopProgram::StartOnce() {
    std::array<int, 2> ends{-1, -1};
    const bool started =
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0 &&
        processes_.StartWithSocket(program_.string(), {"--socket", "3"}, ends[1], [this](bool well) { OnEnd(well); });
    if (ends[1] >= 0) {
        ::close(ends[1]);
    }
    if (started) {
        adopt_(ends[0]);
        return;
    }
    if (ends[0] >= 0) {
        ::close(ends[0]);
    }
    log_.LogMessage("Views", LogLevel::Warning, "The hand box cannot be shown on the desktop: " + program_.string());
}

/// A person who has ended it does not want it back.
void DesktopProgram::OnEnd(bool well) {
    if (!well && !std::exchange(wasStartedAgain_, true)) {
        log_.LogMessage("Views", LogLevel::Warning, "The hand box on the desktop has crashed, and is started again");
        StartOnce();
    }
}

}  // namespace kestrane
