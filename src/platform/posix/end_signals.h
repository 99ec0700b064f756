#pragma once

#include <csignal>

namespace kestrane {

/// The signals that ask a process to end: SIGTERM, SIGINT, and SIGHUP, which comes at a logout, unless it was ignored
/// at the start of the process, as `nohup` does.
inline sigset_t EndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    struct sigaction hangup = {};
    ::sigaction(SIGHUP, nullptr, &hangup);
    if (hangup.sa_handler != SIG_IGN) {
        sigaddset(&signals, SIGHUP);
    }
    return signals;
}

}  // namespace kestrane
