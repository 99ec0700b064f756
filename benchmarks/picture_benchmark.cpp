// What it costs to keep the picture of the mount, on virtual time and without the wire: a tick of the poll, a status
// text taken apart, a position kept, the queries of the coordinates. The settings are a real file.

#include <array>
#include <benchmark/benchmark.h>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "kernel/driver.h"
#include "simulator/mount_simulator.h"
#include "support/virtual_platform.h"

namespace kestrane {
namespace {

/// A driver with one connected client and a mount that tracks.
struct Connected {
    Connected() {
        machine.ConnectMount(1, mount);
        driver = Main(machine.Services(), true);
        telescope = driver->CreateTelescope();
        telescope->Connected(true);
        machine.AdvanceTime(10'000);
    }

    static MountSimulatorOptions Unparked() {
        MountSimulatorOptions options;
        options.parkedAtPowerOn = false;
        return options;
    }

    VirtualPlatform machine;
    MountSimulator mount{machine.clock, Unparked()};
    std::unique_ptr<Driver> driver;
    TelescopeObject telescope;
};

void Require(benchmark::State& state, bool right) {
    if (!right) {
        state.SkipWithError("a wrong answer");
    }
}

void IdlePollTick(benchmark::State& state) {
    Connected world;
    // Each tick runs at most one query, so a few of them leave nothing that is due, as long as time stands.
    for (int i = 0; i < 20; ++i) {
        world.driver->poll.OnTimer();
    }
    const std::size_t commands = world.mount.Commands().size();
    const Tick before = world.machine.clock.GetTickCount();
    for (auto _ : state) {
        world.driver->poll.OnTimer();
    }
    Require(state, world.mount.Commands().size() == commands && world.machine.clock.GetTickCount() - before == 0);
}
BENCHMARK(IdlePollTick);

/// The same text over and over, or another one each time: park, rate, guide rate, fault and swap all differ, and so
/// much time passes that the rate is taken.
void ParseStatusText(benchmark::State& state, bool changing) {
    Connected world;
    const std::string status = world.telescope->CommandString("GOS", false);
    Require(state, status.size() == 14 && status.substr(0, 2) == "02" && status.substr(10, 3) == "000");
    std::string other = status;
    if (changing) {
        other[0] = '1';
        other[1] = '0';
        other[6] = status[6] == '2' ? '1' : '2';
        other[10] = 'N';
        other[11] = '1';
    }
    bool second = false;
    for (auto _ : state) {
        second = !second;
        world.telescope->ParseGOS(second ? other : status);
        if (changing) {
            world.machine.clock.Sleep(2000);
        }
    }
    world.telescope->ParseGOS(other);
    Require(state, world.driver->state.g_nDisplayedRate == (changing ? 2 : 1));
}
BENCHMARK_CAPTURE(ParseStatusText, Repeated, false);
BENCHMARK_CAPTURE(ParseStatusText, Changing, true);

void AddRaDecEvent(benchmark::State& state, double step) {
    Connected world;
    EventJournal& journal = world.driver->journal;
    journal.ResetEvents();
    double ra = 1.0;
    for (auto _ : state) {
        ra += step;
        journal.AddRaDecEvent(ra, 45.0);
    }
    const auto entries = step > 0.0 ? state.iterations() : 1;
    Require(state, journal.RaDecInfo().starts_with("1," + std::to_string(entries) + ","));
}
BENCHMARK_CAPTURE(AddRaDecEvent, NewPosition, 1e-6);
BENCHMARK_CAPTURE(AddRaDecEvent, SamePosition, 0.0);

/// A line whose far end has its answer ready at once.
class InstantLine final : public LineEnd {
public:
    void Write(std::string_view bytes) override {
        for (const auto& [question, answer] : kAnswers) {
            if (bytes == question) {
                waiting_ += answer;
            }
        }
    }
    std::string Read(std::size_t maxCount) override {
        std::string read = waiting_.substr(0, maxCount);
        waiting_.erase(0, maxCount);
        return read;
    }
    std::optional<std::int32_t> NextByteIn() override {
        return waiting_.empty() ? std::nullopt : std::optional(std::int32_t{0});
    }

private:
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kAnswers{{
        {":GR#", "12:34:56.7#"},
        {":GD#", "+45*30:15#"},
        {":GA#", "+50*10:20#"},
        {":GZ#", "210*20:30#"},
    }};
    std::string waiting_;
};

/// All four of them.
void CoordinateQueries(benchmark::State& state) {
    Connected world;
    InstantLine line;
    world.machine.serialPorts.Splice(1, line);
    MountQueries& queries = world.driver->queries;
    bool right = true;
    for (auto _ : state) {
        right = queries.QueryRa() && queries.QueryDec() && queries.QueryAlt() && queries.QueryAz() && right;
    }
    Require(state, right && world.driver->state.g_dAz > 210.0);
    world.telescope.reset();
    world.machine.serialPorts.Disconnect(1);
}
BENCHMARK(CoordinateQueries);

}  // namespace
}  // namespace kestrane
