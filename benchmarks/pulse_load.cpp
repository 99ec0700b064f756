// How well guide pulses that the driver ends keep their time: the driver on the real clock, with the program of the
// simulated mount on a pseudo-terminal at 9600 baud and the poll running. The time of a command is that at which the
// driver writes it. Exit status 1 where a p99 is above what is wanted.
//
//     bench_pulses BIN_DIR DATA_DIR

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "http_programs.h"
#include "kernel/driver.h"
#include "platform/posix/posix_platform.h"

namespace {

using namespace kestrane::benchmarks;

constexpr int kRounds = 500;               // of two pulses
constexpr double kStatedWaitsUs = 20'000;  // after the guide rate, and before the move
constexpr double kWantedUs = 2'000;
constexpr const char* kFirmware = "E3";  // ends no pulse by itself
constexpr std::array<std::string_view, 4> kMoves{":Mn#", ":Ms#", ":Me#", ":Mw#"};
constexpr std::array<std::string_view, 4> kStops{":Qn#", ":Qs#", ":Qe#", ":Qw#"};

struct Written {
    std::string text;
    Time time;
};

/// A serial port that notes each write.
class NotingPort final : public kestrane::SerialPort {
public:
    NotingPort(std::unique_ptr<kestrane::SerialPort> port, std::vector<Written>& written)
        : port_(std::move(port)), written_(written) {}
    int Open(std::int32_t port, std::int32_t speed) override { return port_->Open(port, speed); }
    void Close() override { port_->Close(); }
    bool IsOpen() override { return port_->IsOpen(); }
    void Write(std::string_view bytes) override {
        written_.push_back({std::string(bytes), Now()});
        port_->Write(bytes);
    }
    std::string Read(std::size_t maxCount, std::int32_t timeoutMs) override { return port_->Read(maxCount, timeoutMs); }
    bool DeviceIsGone() override { return port_->DeviceIsGone(); }
    std::string DeviceName() override { return port_->DeviceName(); }

private:
    std::unique_ptr<kestrane::SerialPort> port_;
    std::vector<Written>& written_;
};

class NotingPorts final : public kestrane::SerialPorts {
public:
    explicit NotingPorts(kestrane::SerialPorts& ports) : ports_(ports) {}
    kestrane::SerialPortList ListPorts() override { return ports_.ListPorts(); }
    std::unique_ptr<kestrane::SerialPort> CreatePort() override {
        return std::make_unique<NotingPort>(ports_.CreatePort(), written);
    }

    std::vector<Written> written;

private:
    kestrane::SerialPorts& ports_;
};

kestrane::Platform WithPorts(const kestrane::Platform& all, kestrane::SerialPorts& ports) {
    return {all.clock,        all.pump,         ports,
            all.http,         all.messageBoxes, all.systemInfo,
            all.processes,    all.registry,     all.applicationSettings,
            all.profileStore, all.utility,      all.astronomy,
            all.folders,      all.sounds,       all.trayIcon,
            all.webPages};
}

/// Rounds of a pulse at a random moment of the poll's rhythm, and of one on the other axis that begins while it runs.
class Pulses {
public:
    Pulses(kestrane::PosixPlatform& platform, kestrane::Telescope& telescope, std::vector<Written>& written)
        : platform_(platform),
          telescope_(telescope),
          written_(written),
          nextRound_(platform.pump.CreateTimer([this] { PostOnce(*nextRound_, [this] { NextRound(); }); })),
          secondPulse_(platform.pump.CreateTimer([this] { PostOnce(*secondPulse_, [this] { Guide(second_); }); })) {
        After(5'000, *nextRound_);  // what follows a connect
    }

    /// Prints the figures; whether they are as wanted.
    bool Report() const {
        const bool startIsGood = Print("start of a pulse after the stated waits", starts_);
        const bool endIsGood = Print("end of a pulse, off its time", ends_);
        std::printf("ends more than 2 ms off: %td of %zu\n",
                    std::ranges::count_if(ends_, [](double off) { return off > kWantedUs; }), ends_.size());
        return startIsGood && endIsGood;
    }

private:
    struct Pulse {
        std::size_t direction = 0;
        int duration = 0;
        Time asked;
    };

    int Between(int lowest, int highest) { return std::uniform_int_distribution<int>(lowest, highest)(random_); }
    static void After(int milliseconds, kestrane::PumpTimer& timer) {
        timer.SetInterval(milliseconds);
        timer.SetEnabled(true);
    }
    void PostOnce(kestrane::PumpTimer& timer, std::function<void()> call) {
        timer.SetEnabled(false);
        platform_.pump.Post(kestrane::CallKind::WaitsLong, std::move(call));
    }
    Pulse PulseOf(std::size_t direction) { return {direction, Between(150, 400), {}}; }  // shorter ones end in the call
    void NextRound() {
        if (rounds_ != 0) {
            Judge(first_);
            Judge(second_);
        }
        if (rounds_++ == kRounds) {
            platform_.processes.EndThisProcess();
            return;
        }
        written_.clear();
        first_ = PulseOf(static_cast<std::size_t>(Between(0, 3)));
        second_ = PulseOf((first_.direction + 2) % 4);
        After(Between(1, first_.duration), *secondPulse_);
        After(first_.duration + second_.duration + Between(150, 450), *nextRound_);
        Guide(first_);
    }
    void Guide(Pulse& pulse) {
        pulse.asked = Now();
        telescope_.PulseGuide(static_cast<std::int32_t>(pulse.direction), pulse.duration);
    }
    Time TimeOf(std::string_view text) const {
        const auto found = std::ranges::find(written_, text, &Written::text);
        if (found == written_.end()) {
            throw std::runtime_error("not written: " + std::string(text));
        }
        return found->time;
    }
    void Judge(const Pulse& pulse) {
        const Time moved = TimeOf(kMoves.at(pulse.direction));
        starts_.push_back(Microseconds(pulse.asked, moved) - kStatedWaitsUs);
        ends_.push_back(std::abs(Microseconds(moved, TimeOf(kStops.at(pulse.direction))) - pulse.duration * 1000.0));
    }
    static bool Print(const char* what, const std::vector<double>& all) {
        const double p99 = Percentile(all, 0.99);
        std::printf("%s: p50 %.2f ms, p99 %.2f ms, longest %.2f ms%s\n", what, Percentile(all, 0.5) / 1000.0,
                    p99 / 1000.0, Percentile(all, 1.0) / 1000.0, p99 > kWantedUs ? " (above the wanted 2 ms)" : "");
        return p99 <= kWantedUs;
    }

    kestrane::PosixPlatform& platform_;
    kestrane::Telescope& telescope_;
    std::vector<Written>& written_;
    std::unique_ptr<kestrane::PumpTimer> nextRound_;
    std::unique_ptr<kestrane::PumpTimer> secondPulse_;
    std::mt19937 random_{1};
    int rounds_ = 0;
    Pulse first_, second_;
    std::vector<double> starts_, ends_;
};

void Run(const std::filesystem::path& bin, const std::filesystem::path& data) {
    UseDataFolder(data);
    const Child mount({bin / "kestrane-mount-simulator", "--unparked", "--firmware", kFirmware, "--link",
                       (data / "Kestrane" / "Ports" / "COM1").string()});
    kestrane::PosixPlatform platform([](const std::exception_ptr& fault) { std::rethrow_exception(fault); });
    NotingPorts ports(platform.serialPorts);
    const std::unique_ptr<kestrane::Driver> driver = kestrane::Main(WithPorts(platform.Services(), ports), true);
    const kestrane::TelescopeObject telescope = driver->CreateTelescope();
    telescope->Connected(true);
    telescope->Tracking(true);
    const Pulses pulses(platform, *telescope, ports.written);
    platform.pump.Run();
    if (!pulses.Report()) {
        throw std::runtime_error("pulses do not keep their time");
    }
}

}  // namespace

int main(int argc, char** argv) {
    return RunOnFolders("bench_pulses", argc, argv, Run);
}
