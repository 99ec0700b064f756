// What an exchange costs above the wire: the same question and answer over a pseudo-terminal, once by bare reads and
// writes, once through the driver's exchange. The difference is the driver's own.

#include <array>
#include <atomic>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <string>
#include <termios.h>
#include <thread>
#include <unistd.h>

#include "data_folder.h"
#include "kernel/driver.h"
#include "platform/posix/posix_platform.h"

namespace kestrane {
namespace {

constexpr std::string_view kQuestion = ":GR#";
constexpr std::string_view kAnswer = "12:34:56.7#";

/// A mount that answers every command at once, on the far end of a pseudo-terminal that COM1 names.
class InstantMount {
public:
    explicit InstantMount(const std::filesystem::path& data) : far_(posix_openpt(O_RDWR | O_NOCTTY)) {
        grantpt(far_);
        unlockpt(far_);
        termios raw{};
        tcgetattr(far_, &raw);
        cfmakeraw(&raw);
        tcsetattr(far_, TCSANOW, &raw);
        name_ = ptsname(far_);
        const auto ports = data / "Kestrane" / "Ports";
        std::filesystem::create_directories(ports);
        std::filesystem::create_symlink(name_, ports / "COM1");
        holdOpen_ = open(name_.c_str(), O_RDWR | O_NOCTTY);
        thread_ = std::thread([this] { Answer(); });
    }
    ~InstantMount() {
        ended_ = true;
        thread_.join();
        close(holdOpen_);
        close(far_);
    }
    InstantMount(const InstantMount&) = delete;
    InstantMount& operator=(const InstantMount&) = delete;

    const std::string& Name() const { return name_; }

private:
    void Answer() {
        std::array<char, 64> buffer{};
        while (!ended_) {
            pollfd waiting{far_, POLLIN, 0};
            if (poll(&waiting, 1, 50) <= 0) {
                continue;
            }
            const ssize_t got = read(far_, buffer.data(), buffer.size());
            if (got > 0 && buffer[static_cast<std::size_t>(got) - 1] == '#') {
                benchmark::DoNotOptimize(write(far_, kAnswer.data(), kAnswer.size()));
            }
        }
    }

    int far_;
    int holdOpen_ = -1;
    std::string name_;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

void BareRoundTrip(benchmark::State& state) {
    const DataFolder data;
    const InstantMount mount(data.Path());
    const int port = open(mount.Name().c_str(), O_RDWR | O_NOCTTY);
    std::array<char, 64> buffer{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(write(port, kQuestion.data(), kQuestion.size()));
        std::size_t got = 0;
        while (got < kAnswer.size()) {
            pollfd waiting{port, POLLIN, 0};
            poll(&waiting, 1, 500);
            got += static_cast<std::size_t>(read(port, buffer.data(), buffer.size()));
        }
    }
    close(port);
}
BENCHMARK(BareRoundTrip)->UseRealTime();

void ExchangeRoundTrip(benchmark::State& state) {
    const DataFolder data;
    const InstantMount mount(data.Path());
    PosixPlatform platform([](const std::exception_ptr&) {});
    Driver driver(platform.Services());
    driver.link->Port(1);
    driver.link->ReceiveTimeoutMS(500);
    driver.link->Connected(true);
    Telescope& telescope = driver.InternalInstance();
    for (auto _ : state) {
        if (telescope.CommandStringInternal("GR", false) != "12:34:56.7") {
            state.SkipWithError("the exchange failed");
            break;
        }
    }
}
BENCHMARK(ExchangeRoundTrip)->UseRealTime();

}  // namespace
}  // namespace kestrane
