#include "platform/posix/posix_end_signals.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace kestrane {

PosixEndSignals::PosixEndSignals() : parent_(::getppid()), wake_(::eventfd(0, EFD_CLOEXEC)) {
    if (wake_ < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    ::pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
}

PosixEndSignals::~PosixEndSignals() {
    if (thread_.joinable()) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(wake_, &one, sizeof(one));
        thread_.join();
    }
    ::close(wake_);
}

void PosixEndSignals::Watch(std::function<void()> ask) {
    ask_ = std::move(ask);
    thread_ = std::thread([this] { Run(); });
}

void PosixEndSignals::Run() {
    const int signals = ::signalfd(-1, &signals_, SFD_CLOEXEC);
    std::array<pollfd, 2> polled{{{wake_, POLLIN, 0}, {signals, POLLIN, 0}}};
    bool askedByParent = false;
    bool askedByOthers = false;
    while (polled[0].revents == 0) {
        if (::poll(polled.data(), polled.size(), -1) < 0 || polled[1].revents == 0) {
            continue;
        }
        signalfd_siginfo info{};
        if (::read(signals, &info, sizeof(info)) != ssize_t{sizeof(info)}) {
            continue;
        }
        const bool first = !askedByParent && !askedByOthers;
        bool& asked = info.ssi_pid == static_cast<std::uint32_t>(parent_) ? askedByParent : askedByOthers;
        if (std::exchange(asked, true)) {
            EndAtOnce(static_cast<int>(info.ssi_signo));
        }
        if (first) {
            ask_();
        }
    }
    ::close(signals);
}

void PosixEndSignals::EndAtOnce(int signal) {
    ::signal(signal, SIG_DFL);
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    ::raise(signal);
    std::abort();  // never reached: the signal has ended the process
}

}  // namespace kestrane
