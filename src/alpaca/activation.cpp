#include "alpaca/activation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/select.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "alpaca/activation_sockets.h"
#include "alpaca/discovery.h"
#include "alpaca/inherited_sockets.h"
#include "platform/posix/end_signals.h"

extern char** environ;

namespace kestrane::alpaca {
namespace {

constexpr int kSoonMs = 5'000;      // a driver that fails within this time failed at its start
constexpr int kFirstPauseMs = 100;  // before it is started again; doubled each time
constexpr int kLongestPauseMs = 30'000;

/// Those that ask this program to end, and the one that the end of its driver sends.
sigset_t OurSignals() {
    sigset_t signals = EndSignals();
    sigaddset(&signals, SIGCHLD);
    return signals;
}

/// The environment of the driver. LISTEN_PID is last, with room for digits that are known only in the new process.
struct DriverEnvironment {
    std::vector<std::string> texts;
    std::vector<char*> pointers;

    DriverEnvironment(bool discovery, const std::string& allowedHosts, const std::string& handBox) {
        for (char** variable = environ; *variable != nullptr; ++variable) {
            if (!std::string_view(*variable).starts_with("LISTEN_")) {
                texts.emplace_back(*variable);
            }
        }
        AllowHosts(allowedHosts);
        OpenHandBox(handBox);
        texts.emplace_back(discovery ? "LISTEN_FDS=2" : "LISTEN_FDS=1");
        texts.emplace_back(discovery ? "LISTEN_FDNAMES=alpaca:discovery" : "LISTEN_FDNAMES=alpaca");
        texts.emplace_back("LISTEN_PID=" + std::string(20, '\0'));
        for (std::string& text : texts) {
            pointers.push_back(text.data());
        }
        pointers.push_back(nullptr);
    }

    /// Adds names to those that the environment allows already.
    void AllowHosts(const std::string& names) {
        constexpr std::string_view kName = "KESTRANE_ALLOW_HOSTS=";
        if (names.empty()) {
            return;
        }
        const auto own = std::ranges::find_if(texts, [&](const std::string& text) { return text.starts_with(kName); });
        if (own == texts.end()) {
            texts.push_back(std::string(kName) + names);
        } else {
            *own += "," + names;
        }
    }

    /// Takes the place of what the environment says already.
    void OpenHandBox(const std::string& word) {
        constexpr std::string_view kName = "KESTRANE_HANDBOX=";
        if (!word.empty()) {
            std::erase_if(texts, [&](const std::string& text) { return text.starts_with(kName); });
            texts.push_back(std::string(kName) + word);
        }
    }

    void WritePid(pid_t pid) {
        std::string& text = texts.back();
        constexpr std::size_t kNameLength = std::string_view("LISTEN_PID=").size();
        std::to_chars(text.data() + kNameLength, text.data() + text.size(), pid);
    }
};

class Activation {
public:
    explicit Activation(const ActivationOptions& options)
        : driverPath_(options.driverPath),
          endingMs_(options.endingMs),
          handBox_(options.handBox),
          bindAddress_(options.bindAddress),
          http_(BindHttp(options.bindAddress, options.port)),
          discovery_(BindDiscovery(options.discoveryPort)) {
        for (const std::string& name : options.allowedHosts) {
            allowedHosts_ += (allowedHosts_.empty() ? "" : ",") + name;
        }
        const sigset_t signals = OurSignals();
        ::sigprocmask(SIG_BLOCK, &signals, &oldMask_);
        signals_ = Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
        if (!signals_.IsOpen()) {
            FailActivation("signals cannot be awaited");
        }
    }

    std::uint16_t Port() const { return PortOf(http_); }

    /// Runs until a signal ends it.
    void Run() {
        int pauseMs = 0;
        bool crashed = false;
        while (askedToEnd_ == 0 && Pause(pauseMs) && (crashed || WaitForClient())) {
            const bool afterCrash = crashed;
            pauseMs = RunDriver() ? 0 : std::clamp(pauseMs * 2, kFirstPauseMs, kLongestPauseMs);
            // The next driver stops what this one has left moving. When that one crashes too, a client has to ask.
            crashed = WIFSIGNALED(status_) && !afterCrash;
        }
    }

private:
    enum class Event { Client, TimeLimit, Other };

    /// Waits for a client without accepting anything; false when a signal asked the program to end.
    bool WaitForClient() {
        while (askedToEnd_ == 0) {
            if (Await(http_, nullptr) == Event::Client && askedToEnd_ == 0) {
                return true;
            }
        }
        return false;
    }

    /// Waits for the time and nothing else; false when a signal asked the program to end.
    bool Pause(int milliseconds) {
        timeval left{milliseconds / 1000, milliseconds % 1000 * 1000};
        while (askedToEnd_ == 0 && Await(Descriptor(), &left) != Event::TimeLimit) {
        }
        return askedToEnd_ == 0;  // the signal may have been read while the driver ran
    }

    /// One wait for whatever comes first. Signals are read and discovery calls answered. What has passed is taken off
    /// `limit`; without one there is none.
    Event Await(const Descriptor& clients, timeval* limit) {
        fd_set readable;
        FD_ZERO(&readable);
        int highest = 0;
        for (const Descriptor* each : std::array<const Descriptor*, 3>{&signals_, &discovery_, &clients}) {
            if (each->IsOpen()) {
                FD_SET(each->Number(), &readable);
                highest = std::max(highest, each->Number());
            }
        }
        const int ready = ::select(highest + 1, &readable, nullptr, nullptr, limit);
        if (ready < 0 && errno != EINTR) {
            FailActivation("clients cannot be awaited");
        }
        if (ready <= 0) {
            return ready == 0 ? Event::TimeLimit : Event::Other;
        }
        const auto came = [&](const Descriptor& each) { return each.IsOpen() && FD_ISSET(each.Number(), &readable); };
        if (came(signals_)) {
            ReadSignals();
        }
        if (came(discovery_)) {
            AnswerDiscovery();
        }
        return came(clients) ? Event::Client : Event::Other;
    }

    /// A call on the network is no client yet: who only looks around starts no driver.
    void AnswerDiscovery() {
        std::array<char, 512> buffer{};
        sockaddr_in sender{};
        socklen_t size = sizeof(sender);
        auto* const address = reinterpret_cast<sockaddr*>(&sender);
        const ssize_t count =
            ::recvfrom(discovery_.Number(), buffer.data(), buffer.size(), MSG_DONTWAIT, address, &size);
        if (count < 0) {
            return;
        }
        const boost::asio::ip::udp::endpoint caller(boost::asio::ip::address_v4(ntohl(sender.sin_addr.s_addr)),
                                                    ntohs(sender.sin_port));
        const std::optional<std::string> reply =
            DiscoveryReplyTo(caller, {buffer.data(), static_cast<std::size_t>(count)},
                             {{boost::asio::ip::make_address(bindAddress_), Port()}});
        if (reply) {
            ::sendto(discovery_.Number(), reply->data(), reply->size(), MSG_DONTWAIT, address, size);
        }
    }

    /// True when there is a signal to read.
    bool WaitForSignal(int milliseconds) {
        pollfd polled{signals_.Number(), POLLIN, 0};
        return ::poll(&polled, 1, milliseconds) > 0;
    }

    /// Reads the signals that came; true when one of them asks the program to end.
    bool ReadSignals() {
        signalfd_siginfo info{};
        while (::read(signals_.Number(), &info, sizeof(info)) == ssize_t{sizeof(info)}) {
            askedToEnd_ += info.ssi_signo != SIGCHLD ? 1 : 0;
        }
        return askedToEnd_ > 0;
    }

    /// Starts the driver and waits for its end; false when it failed soon after its start.
    bool RunDriver() {
        const std::optional<pid_t> driver = Start();
        if (!driver) {
            std::fprintf(stderr, "kestrane-activate: the driver cannot be started: %s\n", std::strerror(errno));
            return false;
        }
        const bool endedSoon = WaitForEnd(*driver, kSoonMs);
        if (!endedSoon) {
            WaitForEnd(*driver, -1);
        }
        const bool good = WIFEXITED(status_) && WEXITSTATUS(status_) == 0;
        if (!good && askedToEnd_ == 0) {
            Report();
        }
        return good || !endedSoon;
    }

    void Report() const {
        if (WIFSIGNALED(status_)) {
            std::fprintf(stderr, "kestrane-activate: the driver was ended by signal %d\n", WTERMSIG(status_));
        } else {
            std::fprintf(stderr, "kestrane-activate: the driver ended with status %d\n", WEXITSTATUS(status_));
        }
    }

    /// Nothing when the system has no room for another process at the moment; the client meanwhile waits in the queue.
    std::optional<pid_t> Start() {
        DriverEnvironment environment(discovery_.IsOpen(), allowedHosts_, handBox_);
        const pid_t us = ::getpid();
        const pid_t driver = ::fork();
        if (driver < 0) {
            return std::nullopt;
        }
        if (driver == 0) {
            BecomeDriver(environment, us);
        }
        return driver;
    }

    [[noreturn]] void BecomeDriver(DriverEnvironment& environment, pid_t activator) const {
        // The driver of a killed activator ends too: nobody could start its next one, or find this one.
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (::getppid() != activator) {
            ::_exit(0);
        }
        environment.WritePid(::getpid());
        // First moves both out of the way: each socket may have the number that the other one needs.
        const int http = ::fcntl(http_.Number(), F_DUPFD_CLOEXEC, kFirstDescriptor + 2);
        const int discovery =
            discovery_.IsOpen() ? ::fcntl(discovery_.Number(), F_DUPFD_CLOEXEC, kFirstDescriptor + 2) : -1;
        ::dup2(http, kFirstDescriptor);
        if (discovery >= 0) {
            ::dup2(discovery, kFirstDescriptor + 1);
        }
        ::sigprocmask(SIG_SETMASK, &oldMask_, nullptr);
        std::string path = driverPath_;
        std::array<char*, 2> arguments{path.data(), nullptr};
        ::execve(path.c_str(), arguments.data(), environment.pointers.data());
        ::_exit(127);
    }

    /// Waits for the end of the driver, at most `milliseconds` (-1: without limit); ends the driver when a signal asks
    /// for that.
    bool WaitForEnd(pid_t driver, int milliseconds) {
        while (true) {
            if (::waitpid(driver, &status_, WNOHANG) == driver) {
                return true;
            }
            if (!WaitForSignal(milliseconds)) {
                return false;
            }
            if (ReadSignals()) {
                End(driver);
                return true;
            }
        }
    }

    void End(pid_t driver) {
        ::kill(driver, SIGTERM);
        while (::waitpid(driver, &status_, WNOHANG) == 0) {
            if (!WaitForSignal(endingMs_)) {
                ::kill(driver, SIGKILL);
                ::waitpid(driver, &status_, 0);
                return;
            }
            const int before = askedToEnd_;
            ReadSignals();
            if (askedToEnd_ > before) {
                ::kill(driver, SIGTERM);  // a second one ends it at once
            }
        }
    }

    std::string driverPath_;
    int endingMs_;
    std::string handBox_;
    std::string bindAddress_;
    std::string allowedHosts_;  ///< with commas between them
    Descriptor http_;
    Descriptor discovery_;
    Descriptor signals_;
    sigset_t oldMask_{};
    int status_ = 0;
    int askedToEnd_ = 0;  ///< signals that asked this program to end
};

}  // namespace

int RunActivation(const ActivationOptions& options) {
    try {
        if (::access(options.driverPath.c_str(), X_OK) != 0) {
            FailActivation("there is no driver at " + options.driverPath);
        }
        Activation activation(options);
        for (const std::string& address : AddressesOf(options.bindAddress)) {
            std::printf("Alpaca: http://%s/\n", AddressText(address, activation.Port()).c_str());
        }
        std::fflush(stdout);
        activation.Run();
        return 0;
    } catch (const ActivationError& error) {
        std::fprintf(stderr, "kestrane-activate: %s\n", error.what());
        return 1;
    }
}

}  // namespace kestrane::alpaca
