#include "server/activation.h"

#include <algorithm>
#include <arpa/inet.h>
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
#include <stdexcept>
#include <string_view>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

extern char** environ;

namespace kestrane::server {
namespace {

constexpr int kFirstDescriptor = 3;
constexpr int kSoonMs = 5'000;      // a driver that fails within this time failed at its start
constexpr int kFirstPauseMs = 100;  // before it is started again; doubled each time
constexpr int kLongestPauseMs = 30'000;

struct ActivationError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

[[noreturn]] void Fail(const std::string& what) {
    throw ActivationError(what + ": " + std::strerror(errno));
}

class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        Close();
        number_ = std::exchange(other.number_, -1);
        return *this;
    }
    int Number() const { return number_; }
    bool IsOpen() const { return number_ >= 0; }

private:
    void Close() {
        if (number_ >= 0) {
            ::close(number_);
        }
    }
    int number_;
};

struct Address {
    sockaddr_storage storage{};
    socklen_t size = 0;

    sockaddr* Pointer() { return reinterpret_cast<sockaddr*>(&storage); }
};

Address ParseAddress(const std::string& text, std::uint16_t port) {
    Address address;
    auto* v4 = reinterpret_cast<sockaddr_in*>(&address.storage);
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&address.storage);
    if (::inet_pton(AF_INET, text.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(port);
        address.size = sizeof(*v4);
    } else if (::inet_pton(AF_INET6, text.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(port);
        address.size = sizeof(*v6);
    } else {
        throw ActivationError(text + " is no IP address");
    }
    return address;
}

void Allow(int descriptor, int option) {
    const int on = 1;
    ::setsockopt(descriptor, SOL_SOCKET, option, &on, sizeof(on));
}

std::string AddressText(const std::string& address, std::uint16_t port) {
    const bool v6 = address.find(':') != std::string::npos;
    return (v6 ? "[" + address + "]" : address) + ":" + std::to_string(port);
}

Descriptor BindHttp(const ActivationOptions& options) {
    Address address = ParseAddress(options.bindAddress, options.port);
    Descriptor socket(::socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const std::string where = AddressText(options.bindAddress, options.port);
    if (!socket.IsOpen()) {
        Fail("no socket for " + where);
    }
    Allow(socket.Number(), SO_REUSEADDR);
    if (::bind(socket.Number(), address.Pointer(), address.size) != 0 || ::listen(socket.Number(), SOMAXCONN) != 0) {
        Fail("cannot serve at " + where);
    }
    return socket;
}

std::uint16_t PortOf(int socket) {
    Address address;
    address.size = sizeof(address.storage);
    if (::getsockname(socket, address.Pointer(), &address.size) != 0) {
        Fail("the port cannot be told");
    }
    // The port stands at the same place in both kinds of address.
    return ntohs(reinterpret_cast<const sockaddr_in*>(&address.storage)->sin_port);
}

/// On all addresses, since a socket on a loopback one never sees the broadcasts of clients on the same machine. Other
/// servers on this machine may listen there too; where they do not share the port, this one does without.
Descriptor BindDiscovery(std::uint16_t port) {
    if (port == 0) {
        return Descriptor();
    }
    Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    Address address = ParseAddress("0.0.0.0", port);
    if (socket.IsOpen()) {
        Allow(socket.Number(), SO_REUSEADDR);
        Allow(socket.Number(), SO_REUSEPORT);
        if (::bind(socket.Number(), address.Pointer(), address.size) == 0) {
            return socket;
        }
    }
    std::fprintf(stderr, "kestrane-activate: no discovery at port %u: %s\n", unsigned{port}, std::strerror(errno));
    return Descriptor();
}

sigset_t OurSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGCHLD);
    return signals;
}

/// The environment of the driver. LISTEN_PID is last, with room for the digits that only the new process can tell.
struct DriverEnvironment {
    std::vector<std::string> texts;
    std::vector<char*> pointers;

    explicit DriverEnvironment(bool discovery) {
        for (char** variable = environ; *variable != nullptr; ++variable) {
            if (!std::string_view(*variable).starts_with("LISTEN_")) {
                texts.emplace_back(*variable);
            }
        }
        texts.emplace_back(discovery ? "LISTEN_FDS=2" : "LISTEN_FDS=1");
        texts.emplace_back(discovery ? "LISTEN_FDNAMES=alpaca:discovery" : "LISTEN_FDNAMES=alpaca");
        texts.emplace_back("LISTEN_PID=" + std::string(20, '\0'));
        for (std::string& text : texts) {
            pointers.push_back(text.data());
        }
        pointers.push_back(nullptr);
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
          http_(BindHttp(options)),
          discovery_(BindDiscovery(options.discoveryPort)) {
        const sigset_t signals = OurSignals();
        ::sigprocmask(SIG_BLOCK, &signals, &oldMask_);
        signals_ = Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
        if (!signals_.IsOpen()) {
            Fail("signals cannot be awaited");
        }
    }

    std::uint16_t Port() const { return PortOf(http_.Number()); }

    /// Until a signal ends it.
    void Run() {
        int pauseMs = 0;
        while (!ending_ && Pause(pauseMs) && WaitForClient()) {
            pauseMs = RunDriver() ? 0 : std::clamp(pauseMs * 2, kFirstPauseMs, kLongestPauseMs);
        }
    }

private:
    /// Waits without accepting anything; false when a signal said to end.
    bool WaitForClient() {
        std::array<pollfd, 3> polled{{{signals_.Number(), POLLIN, 0},
                                      {http_.Number(), POLLIN, 0},
                                      {discovery_.Number(), POLLIN, 0}}};  // a negative number is passed over
        while (true) {
            if (::poll(polled.data(), polled.size(), -1) < 0 && errno != EINTR) {
                Fail("clients cannot be awaited");
            }
            if (polled[0].revents != 0 && ReadSignals()) {
                return false;
            }
            if (polled[1].revents != 0 || polled[2].revents != 0) {
                return true;
            }
        }
    }

    /// False when a signal said to end.
    bool Pause(int milliseconds) {
        if (WaitForSignal(milliseconds)) {
            ReadSignals();
        }
        return !ending_;  // the signal may have been read while the driver ran
    }

    /// True when there is a signal to read.
    bool WaitForSignal(int milliseconds) {
        pollfd polled{signals_.Number(), POLLIN, 0};
        return ::poll(&polled, 1, milliseconds) > 0;
    }

    /// Takes the signals that came; true when one of them says to end.
    bool ReadSignals() {
        signalfd_siginfo info{};
        while (::read(signals_.Number(), &info, sizeof(info)) == ssize_t{sizeof(info)}) {
            ending_ = ending_ || info.ssi_signo != SIGCHLD;
        }
        return ending_;
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
        if (!good && !ending_) {
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

    /// Nothing when the system has no room for another process just now; the client waits in the queue meanwhile.
    std::optional<pid_t> Start() {
        DriverEnvironment environment(discovery_.IsOpen());
        const pid_t driver = ::fork();
        if (driver < 0) {
            return std::nullopt;
        }
        if (driver == 0) {
            BecomeDriver(environment);
        }
        return driver;
    }

    [[noreturn]] void BecomeDriver(DriverEnvironment& environment) const {
        environment.WritePid(::getpid());
        // Out of the way first: the sockets may stand at each other's numbers.
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

    /// Waits up to so many milliseconds (-1: without limit) for the driver's end; ends it when a signal says so.
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
            ReadSignals();
        }
    }

    std::string driverPath_;
    int endingMs_;
    Descriptor http_;
    Descriptor discovery_;
    Descriptor signals_;
    sigset_t oldMask_{};
    int status_ = 0;
    bool ending_ = false;
};

}  // namespace

int RunActivation(const ActivationOptions& options) {
    try {
        if (::access(options.driverPath.c_str(), X_OK) != 0) {
            Fail("there is no driver at " + options.driverPath);
        }
        Activation activation(options);
        std::printf("Alpaca: http://%s/\n", AddressText(options.bindAddress, activation.Port()).c_str());
        std::fflush(stdout);
        activation.Run();
        return 0;
    } catch (const ActivationError& error) {
        std::fprintf(stderr, "kestrane-activate: %s\n", error.what());
        return 1;
    }
}

}  // namespace kestrane::server
