#include "alpaca/activation.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include "http/raw_client.h"
#include "support/temporary_folder.h"

namespace kestrane::alpaca {
namespace {

/// What a fake driver reports to its client.
struct Told {
    int processId = 0;
    int http = 0;
    int discovery = 0;
    std::string allowed;  ///< KESTRANE_ALLOW_HOSTS
    std::string handBox;  ///< KESTRANE_HANDBOX
};

/// A program that looks for servers.
class Caller {
public:
    explicit Caller(std::uint16_t discoveryPort, timeval limit) {
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
        address_.sin_family = AF_INET;
        address_.sin_port = htons(discoveryPort);
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    }
    ~Caller() { ::close(socket_); }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    void Send(const std::string& text) const {
        ::sendto(socket_, text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&address_), sizeof(address_));
    }
    /// Empty at the time limit.
    std::string Receive() const {
        std::array<char, 100> reply{};
        const ssize_t count = ::recv(socket_, reply.data(), reply.size(), 0);
        return {reply.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    }

private:
    int socket_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address_{};
};

/// The activator in a process of its own, with the fake driver.
class Activator {
public:
    explicit Activator(const std::string& mode, ActivationOptions options = Options(), const std::string& file = "") {
        int output[2]{};
        EXPECT_EQ(::pipe(output), 0);
        std::fflush(nullptr);  // the copy must not print what is still held back here
        process_ = ::fork();
        if (process_ == 0) {
            ::setenv("FAKE_DRIVER", mode.c_str(), 1);
            ::setenv("FAKE_DRIVER_FILE", file.c_str(), 1);
            ::setenv("LISTEN_FDS", "7", 1);  // not for its driver
            ::setenv("KESTRANE_ALLOW_HOSTS", "hut", 1);
            ::setenv("KESTRANE_HANDBOX", "look", 1);
            ::dup2(output[1], STDOUT_FILENO);
            ::dup2(output[1], STDERR_FILENO);
            ::_exit(RunActivation(options));
        }
        ::close(output[1]);
        output_ = ::fdopen(output[0], "r");
        line_ = ReadLine();
    }
    ~Activator() {
        Wait(SIGTERM);  // with its driver
        std::fclose(output_);
    }
    Activator(const Activator&) = delete;
    Activator& operator=(const Activator&) = delete;

    static ActivationOptions Options() {
        ActivationOptions options;
        options.port = 0;
        options.discoveryPort = 0;
        options.driverPath = FAKE_DRIVER_PATH;
        return options;
    }

    const std::string& FirstLine() const { return line_; }
    std::uint16_t Port() const { return static_cast<std::uint16_t>(std::stoi(line_.substr(line_.rfind(':') + 1))); }
    std::string ReadLine() {
        std::string line;
        for (int c = std::fgetc(output_); c != EOF && c != '\n'; c = std::fgetc(output_)) {
            line += static_cast<char>(c);
        }
        return line;
    }
    void Send(int signal) const { ::kill(process_, signal); }
    /// Waits until there is a driver; its process.
    int AwaitDriver() const {
        const std::string id = std::to_string(process_);
        int driver = 0;
        while (!(std::ifstream("/proc/" + id + "/task/" + id + "/children") >> driver)) {
            ::usleep(10'000);
        }
        return driver;
    }
    /// Sends a signal (0 for none) and waits for the end; the exit status, or -1 for an end by signal.
    int Wait(int signal) {
        if (process_ == 0) {
            return -2;
        }
        ::kill(process_, signal);
        int status = 0;
        ::waitpid(process_, &status, 0);
        process_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    Told Ask() const {
        int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(Port());
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        std::string text;
        char c = 0;
        while (::read(socket, &c, 1) == 1) {
            text += c;
        }
        ::close(socket);
        Told told;
        std::istringstream(text) >> told.processId >> told.http >> told.discovery >> told.allowed >> told.handBox;
        return told;
    }

private:
    pid_t process_ = 0;
    FILE* output_ = nullptr;
    std::string line_;
};

bool IsAlive(int processId) {
    return ::kill(processId, 0) == 0;
}

TEST(Activation, PrintsItsAddressAndStartsTheDriverForTheFirstClient) {
    Activator activator("answer");
    EXPECT_EQ(activator.FirstLine(), "Alpaca: http://127.0.0.1:" + std::to_string(activator.Port()) + "/");
    const Told told = activator.Ask();
    EXPECT_GT(told.processId, 0);
    EXPECT_EQ(told.http, 1);
    EXPECT_EQ(told.discovery, 0);
}

TEST(Activation, HandsTheDiscoverySocketOnToo) {
    ActivationOptions options = Activator::Options();
    // Any free port: the one that a socket of ours holds right now for TCP.
    const int reserved = http::ListenOnLoopback();
    options.discoveryPort = http::PortOfSocket(reserved);
    Activator activator("answer", options);
    EXPECT_EQ(activator.Ask().discovery, 1);
    ::close(reserved);
}

TEST(Activation, AnswersDiscoveryCallsWithoutADriver) {
    const TemporaryFolders folders;
    const std::filesystem::path starts = folders.Root() / "starts";
    ActivationOptions options = Activator::Options();
    const int reserved = http::ListenOnLoopback();
    options.discoveryPort = http::PortOfSocket(reserved);
    Activator activator("crash", options, starts.string());
    const Caller caller(options.discoveryPort, {10, 0});
    for (const std::string text : {"hello", "", "alpacadiscovery1"}) {
        caller.Send(text);
    }
    EXPECT_EQ(caller.Receive(), "{\"AlpacaPort\":" + std::to_string(activator.Port()) + "}");
    EXPECT_FALSE(std::filesystem::exists(starts));  // it started nobody
    ::close(reserved);
}

TEST(Activation, HandsOnTheNamesThatAreAllowed) {
    ActivationOptions options = Activator::Options();
    options.allowedHosts = {"dome.example.org", "pi"};
    Activator activator("answer", options);
    EXPECT_EQ(activator.Ask().allowed, "hut,dome.example.org,pi");
}

TEST(Activation, HandsOnWhoMayOpenTheHandBox) {
    EXPECT_EQ(Activator("answer").Ask().handBox, "look");
    ActivationOptions options = Activator::Options();
    options.handBox = "off";
    EXPECT_EQ(Activator("answer", options).Ask().handBox, "off");
}

TEST(Activation, OnAllAddresses_PrintsOnesThatWork) {
    ActivationOptions options = Activator::Options();
    options.bindAddress = "0.0.0.0";
    Activator activator("answer", options);
    EXPECT_EQ(activator.FirstLine(), "Alpaca: http://127.0.0.1:" + std::to_string(activator.Port()) + "/");
    EXPECT_GT(activator.Ask().processId, 0);
}

TEST(Activation, StartsADriverForEachClientAfterTheLastOneEnded) {
    Activator activator("answer");
    const int first = activator.Ask().processId;
    const int second = activator.Ask().processId;
    EXPECT_GT(first, 0);
    EXPECT_GT(second, 0);
    EXPECT_NE(first, second);
}

TEST(Activation, StartsANewDriverAfterAKill) {
    Activator activator("stay");
    const int first = activator.Ask().processId;
    ASSERT_EQ(::kill(first, SIGKILL), 0);
    const int second = activator.Ask().processId;
    EXPECT_GT(second, 0);
    EXPECT_NE(first, second);
}

TEST(Activation, StartsTheDriverAgainAfterACrash_WithoutAClient_Once) {
    Activator activator("stay");
    const int first = activator.Ask().processId;
    ASSERT_EQ(::kill(first, SIGKILL), 0);
    EXPECT_EQ(activator.ReadLine(), "kestrane-activate: the driver was ended by signal 9");
    const int second = activator.AwaitDriver();
    EXPECT_GT(second, 0);
    ASSERT_EQ(::kill(second, SIGKILL), 0);
    EXPECT_EQ(activator.ReadLine(), "kestrane-activate: the driver was ended by signal 9");
    const int third = activator.Ask().processId;
    EXPECT_GT(third, 0);
    EXPECT_NE(third, second);
}

TEST(Activation, EndsTheDriverAndItselfOnASignal) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        Activator activator("stay");
        const int driver = activator.Ask().processId;
        EXPECT_TRUE(IsAlive(driver));
        EXPECT_EQ(activator.Wait(signal), 0);
        EXPECT_FALSE(IsAlive(driver));
    }
}

TEST(Activation, GoesOnAfterAHangupThatWasIgnoredAtItsStart) {
    const auto before = ::signal(SIGHUP, SIG_IGN);  // as nohup does
    Activator activator("stay");
    ::signal(SIGHUP, before);
    const int first = activator.Ask().processId;
    activator.Send(SIGHUP);
    ASSERT_EQ(::kill(first, SIGKILL), 0);
    const int second = activator.Ask().processId;
    EXPECT_GT(second, 0);
    EXPECT_NE(first, second);
}

TEST(Activation, EndsWithoutADriver) {
    Activator activator("stay");
    EXPECT_EQ(activator.Wait(SIGTERM), 0);
}

TEST(Activation, InsistsWithADriverThatDoesNotEnd) {
    ActivationOptions options = Activator::Options();
    options.endingMs = 200;
    Activator activator("deaf", options);
    const int driver = activator.Ask().processId;
    EXPECT_EQ(activator.Wait(SIGTERM), 0);
    EXPECT_FALSE(IsAlive(driver));
}

TEST(Activation, SlowsDownWhenTheDriverFailsAtOnce) {
    const TemporaryFolders folders;
    const std::filesystem::path starts = folders.Root() / "starts";
    Activator activator("crash", Activator::Options(), starts.string());
    http::RawClient waiting(activator.Port());
    // Pauses of 100, 200, 400, 800 ms: the fifth start comes after 1.5 s.
    for (int start = 0; start < 5; ++start) {
        EXPECT_EQ(activator.ReadLine(), "kestrane-activate: the driver ended with status 3");
    }
    EXPECT_LE(std::filesystem::file_size(starts), 6U);
    EXPECT_EQ(activator.Wait(SIGTERM), 0);
}

TEST(Activation, AnswersDiscoveryCallsInThePauseAfterAFailedStartToo) {
    const TemporaryFolders folders;
    const int reserved = http::ListenOnLoopback();
    ActivationOptions options = Activator::Options();
    options.discoveryPort = http::PortOfSocket(reserved);
    Activator activator("crash", options, (folders.Root() / "starts").string());
    http::RawClient waiting(activator.Port());
    for (int start = 0; start < 5; ++start) {
        EXPECT_EQ(activator.ReadLine(), "kestrane-activate: the driver ended with status 3");
    }
    const Caller caller(options.discoveryPort, {0, 800'000});  // the pause lasts 1.6 s now
    caller.Send("alpacadiscovery1");
    EXPECT_EQ(caller.Receive(), "{\"AlpacaPort\":" + std::to_string(activator.Port()) + "}");
    EXPECT_EQ(activator.Wait(SIGTERM), 0);
    ::close(reserved);
}

TEST(Activation, PrintsAnAddressHoweverItIsWritten) {
    ActivationOptions options = Activator::Options();
    for (const auto& [bind, printed] : {std::pair{"::0", "[::1]"}, std::pair{"0:0:0:0:0:0:0:1", "[::1]"}}) {
        options.bindAddress = bind;
        Activator activator("answer", options);
        if (activator.FirstLine().find("cannot serve") != std::string::npos ||
            activator.FirstLine().find("no socket") != std::string::npos) {
            GTEST_SKIP() << "this machine has no IPv6";
        }
        EXPECT_EQ(activator.FirstLine(),
                  "Alpaca: http://" + std::string(printed) + ":" + std::to_string(activator.Port()) + "/");
    }
}

TEST(Activation, SaysThatAnAddressIsInUse) {
    const int taken = http::ListenOnLoopback();
    ActivationOptions options = Activator::Options();
    options.port = http::PortOfSocket(taken);
    Activator activator("answer", options);
    EXPECT_EQ(activator.FirstLine(), "kestrane-activate: cannot serve at 127.0.0.1:" + std::to_string(options.port) +
                                         ": Address already in use");
    EXPECT_EQ(activator.Wait(0), 1);
    ::close(taken);
}

TEST(Activation, SaysWhatIsWrongWithItsOptions) {
    ActivationOptions noAddress = Activator::Options();
    noAddress.bindAddress = "here";
    Activator first("answer", noAddress);
    EXPECT_EQ(first.FirstLine(), "kestrane-activate: here is no IP address");
    EXPECT_EQ(first.Wait(0), 1);
    ActivationOptions noDriver = Activator::Options();
    noDriver.driverPath = "/nowhere/kestrane-driver";
    Activator second("answer", noDriver);
    EXPECT_EQ(second.FirstLine(),
              "kestrane-activate: there is no driver at /nowhere/kestrane-driver: No such file or directory");
    EXPECT_EQ(second.Wait(0), 1);
}

}  // namespace
}  // namespace kestrane::alpaca
