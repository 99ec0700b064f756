// How long a client's slew and a client's abort take to reach the wire: the real programs, with a simulated mount on a
// line without delay that notes when each command comes in. From the first byte of the request to the last of "MS" or
// of the first "Q".
//
//     bench_slews BIN_DIR DATA_DIR

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <mutex>
#include <poll.h>
#include <random>
#include <string_view>
#include <termios.h>
#include <thread>

#include "http_programs.h"
#include "platform/posix/posix_clock.h"
#include "simulator/mount_simulator.h"

namespace {

using namespace kestrane::benchmarks;

constexpr int kRounds = 300;
constexpr int kSlewer = 1;
constexpr int kStopper = 2;
constexpr std::chrono::seconds kPatience{10};

kestrane::MountSimulatorOptions WithoutDelay() {
    kestrane::MountSimulatorOptions options;
    options.parkedAtPowerOn = false;
    options.replyLatencyMs = 0;
    options.byteTimeUs = 1;
    options.slewSpeed = 1;  // so that no slew ends before it is stopped
    return options;
}

/// A simulated mount on the far end of a pseudo-terminal, which COM1 names.
class NotingMount {
public:
    explicit NotingMount(const std::filesystem::path& data) : far_(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK)) {
        if (far_ < 0 || grantpt(far_) != 0 || unlockpt(far_) != 0) {
            Fail("pseudo-terminal");
        }
        const std::string name = ptsname(far_);
        holdOpen_ = open(name.c_str(), O_RDWR | O_NOCTTY);
        termios raw{};
        tcgetattr(holdOpen_, &raw);
        cfmakeraw(&raw);
        tcsetattr(holdOpen_, TCSANOW, &raw);
        std::filesystem::create_symlink(name, data / "Kestrane" / "Ports" / "COM1");
        thread_ = std::thread([this] { Serve(); });
    }
    ~NotingMount() {
        ended_ = true;
        thread_.join();
        close(holdOpen_);
        close(far_);
    }
    NotingMount(const NotingMount&) = delete;
    NotingMount& operator=(const NotingMount&) = delete;

    /// Forgets what came so far.
    void Forget() {
        const std::scoped_lock lock(mutex_);
        noted_.clear();
    }
    /// When a command came in first since it was told to forget.
    Time TimeOf(std::string_view command) {
        std::unique_lock lock(mutex_);
        const Noted* found = nullptr;
        const bool came = somethingCame_.wait_for(lock, kPatience, [&] {
            const auto place = std::ranges::find(noted_, command, &Noted::command);
            found = place == noted_.end() ? nullptr : &*place;
            return found != nullptr;
        });
        if (!came) {
            throw std::runtime_error("the mount was not told " + std::string(command));
        }
        return found->time;
    }

private:
    struct Noted {
        std::string command;
        Time time;
    };

    void Serve() {
        std::array<char, 256> buffer{};
        while (!ended_) {
            const int wait = mount_.NextByteIn() ? 0 : 50;
            pollfd waiting{far_, POLLIN, 0};
            poll(&waiting, 1, wait);
            const ssize_t got = read(far_, buffer.data(), buffer.size());
            if (got > 0) {
                Receive({buffer.data(), static_cast<std::size_t>(got)}, Now());
            }
            const std::string reply = mount_.Read(buffer.size());
            if (!reply.empty() && write(far_, reply.data(), reply.size()) < 0) {
                Fail("write");
            }
        }
    }
    void Receive(std::string_view bytes, Time now) {
        const std::size_t before = mount_.Commands().size();
        mount_.Write(bytes);
        const std::scoped_lock lock(mutex_);
        for (std::size_t i = before; i < mount_.Commands().size(); ++i) {
            noted_.push_back({mount_.Commands()[i], now});
        }
        somethingCame_.notify_all();
    }

    int far_;
    int holdOpen_ = -1;
    kestrane::PosixClock clock_;
    kestrane::MountSimulator mount_{clock_, WithoutDelay()};
    std::mutex mutex_;
    std::condition_variable somethingCame_;
    std::vector<Noted> noted_;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

std::string Ids(int client, int transaction) {
    return "ClientID=" + std::to_string(client) + "&ClientTransactionID=" + std::to_string(transaction);
}

/// Two connected clients of one driver, one that slews and one that stops it.
class Slews {
public:
    Slews(NotingMount& mount, std::uint16_t port) : mount_(mount), slewer_(port), stopper_(port) {
        for (const int client : {kSlewer, kStopper}) {
            Connection& connection = client == kSlewer ? slewer_ : stopper_;
            RequireSuccess(connection.Ask(Put("connected", "Connected=True&" + Ids(client, NextTransaction()))));
        }
        const std::string answer = slewer_.Ask(Get("siderealtime", kSlewer));
        siderealTime_ = std::atof(answer.c_str() + answer.find("\"Value\":") + 8);
    }

    void Measure(const char* what, const std::function<double()>& once) {
        std::vector<double> times;
        for (int i = 0; i < kRounds; ++i) {
            Pause();
            times.push_back(once());
        }
        std::printf("%s: p50 %.2f ms, p99 %.2f ms\n", what, Percentile(times, 0.5) / 1000.0,
                    Percentile(times, 0.99) / 1000.0);
        std::fflush(stdout);
    }

    double SlewToWire() {
        Stop();
        mount_.Forget();
        const Time before = Now();
        RequireSuccess(slewer_.Ask(SlewRequest("slewtocoordinatesasync")));
        return Microseconds(before, mount_.TimeOf("MS"));
    }

    double ReadSlewing() {
        const Time before = Now();
        RequireSuccess(stopper_.Ask(Get("slewing", kStopper)));
        return Microseconds(before, Now());
    }

    /// The client that slews asks nothing meanwhile.
    double AbortToWire() {
        RequireSuccess(slewer_.Ask(SlewRequest("slewtocoordinatesasync")));
        Pause();
        return Stop();
    }

    /// The call of the client that slews is held meanwhile.
    double AbortOfHeldSlewToWire() {
        mount_.Forget();
        std::thread held([this] { RequireSuccess(slewer_.Ask(SlewRequest("slewtocoordinates"))); });
        mount_.TimeOf("MS");
        Pause();
        const double time = Stop();
        held.join();
        return time;
    }

    /// The client that slews reads `Slewing` without a pause meanwhile.
    double AbortAmongReadsToWire() {
        RequireSuccess(slewer_.Ask(SlewRequest("slewtocoordinatesasync")));
        std::atomic<bool> ended = false;
        std::thread reader([&] {
            while (!ended) {
                RequireSuccess(slewer_.Ask(Get("slewing", kSlewer)));
            }
        });
        Pause();
        const double time = Stop();
        ended = true;
        reader.join();
        return time;
    }

private:
    int NextTransaction() { return ++transaction_; }

    /// So that what is measured comes at any moment of the poll's rhythm.
    void Pause() { std::this_thread::sleep_for(std::chrono::milliseconds(10 + random_() % 60)); }

    double Stop() {
        mount_.Forget();
        const Time before = Now();
        RequireSuccess(stopper_.Ask(Put("abortslew", Ids(kStopper, NextTransaction()))));
        return Microseconds(before, mount_.TimeOf("Q"));
    }

    /// To one of two places far apart, both on the side where the mount is.
    std::string SlewRequest(const std::string& member) {
        const double hourAngle = NextTransaction() % 2 == 0 ? 1.0 : 5.0;
        const double ra = siderealTime_ - hourAngle + (siderealTime_ < hourAngle ? 24.0 : 0.0);
        return Put(member, "RightAscension=" + std::to_string(ra) + "&Declination=60&" + Ids(kSlewer, transaction_));
    }

    NotingMount& mount_;
    Connection slewer_;
    Connection stopper_;
    double siderealTime_ = 0;
    int transaction_ = 0;
    std::mt19937 random_{1};  // NOLINT: the same pauses in each run
};

void Run(const std::filesystem::path& bin, const std::filesystem::path& data) {
    UseDataFolder(data);
    NotingMount mount(data);
    std::string address;
    const Child activator({bin / "kestrane-activate", "--port", "0", "--discovery-port", "0"}, &address);
    Slews slews(mount, PortOf(address));
    slews.AbortToWire();  // the first slew of a connection calibrates the directions
    slews.Measure("SlewToCoordinatesAsync, request to MS", [&] { return slews.SlewToWire(); });
    slews.Measure("Slewing, request to answer", [&] { return slews.ReadSlewing(); });
    slews.Measure("AbortSlew, request to Q", [&] { return slews.AbortToWire(); });
    slews.Measure("AbortSlew of another client's held slew", [&] { return slews.AbortOfHeldSlewToWire(); });
    slews.Measure("AbortSlew while another client reads Slewing", [&] { return slews.AbortAmongReadsToWire(); });
}

}  // namespace

int main(int argc, char** argv) {
    return RunOnFolders("bench_slews", argc, argv, Run);
}
