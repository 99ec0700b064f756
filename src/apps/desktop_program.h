#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "kernel/base/log.h"
#include "platform/posix/posix_processes.h"

namespace kestrane {

/// The hand box on the desktop as a child of the driver, at one end of a socket pair. One that crashes is started once
/// more. It ends with the driver. Logic thread only.
class DesktopProgram final {
public:
    /// `adopt` takes over the driver's end of the socket. All outlive it.
    DesktopProgram(PosixProcesses& processes, Log& log, std::function<void(int socket)> adopt);

    /// Starts the program of this path. What fails is told by the log.
    void Start(const std::filesystem::path& program);

private:
    void StartOnce();
    void OnEnd(bool well);

    PosixProcesses& processes_;
    Log& log_;
    std::function<void(int socket)> adopt_;
    std::filesystem::path program_;
    bool wasStartedAgain_ = false;
};

}  // namespace kestrane
