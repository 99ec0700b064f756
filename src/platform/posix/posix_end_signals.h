#pragma once

#include <csignal>
#include <functional>
#include <sys/types.h>
#include <thread>

#include "platform/posix/end_signals.h"

namespace kestrane {

/// Takes the signals that ask this process to end. There is no handler: a thread waits for them, so that what is to be
/// done may be ordinary code.
class PosixEndSignals {
public:
    /// Blocks the signals for this thread and all that are started later, so it must be made before any other thread.
    PosixEndSignals();
    ~PosixEndSignals();
    PosixEndSignals(const PosixEndSignals&) = delete;
    PosixEndSignals& operator=(const PosixEndSignals&) = delete;

    /// From now on `ask` is called, once, for the first signal, on a thread of its own; also for one that came before.
    /// A second signal ends the process at once, as if nobody took it. A parent process that passes on what it got
    /// itself counts on its own: a Ctrl-C reaches both at the same time, and that is one wish.
    void Watch(std::function<void()> ask);

private:
    void Run();
    [[noreturn]] static void EndAtOnce(int signal);

    const sigset_t signals_ = EndSignals();
    const pid_t parent_;
    int wake_ = -1;  ///< written when the thread is to end
    std::function<void()> ask_;
    std::thread thread_;
};

}  // namespace kestrane
