// How much faster than life a driver with one connected client polls a simulated mount on virtual time.

#include <benchmark/benchmark.h>

#include "kernel/driver.h"
#include "simulator/mount_simulator.h"
#include "support/virtual_platform.h"

namespace kestrane {
namespace {

constexpr std::int64_t kMinuteMs = 60'000;

void VirtualMinuteOfPolling(benchmark::State& state) {
    VirtualPlatform machine;
    MountSimulatorOptions options;
    options.parkedAtPowerOn = false;
    MountSimulator mount(machine.clock, options);
    machine.ConnectMount(1, mount);
    const auto driver = Main(machine.Services(), true);
    const TelescopeObject telescope = driver->CreateTelescope();
    telescope->Connected(true);
    for (auto _ : state) {
        machine.AdvanceTime(kMinuteMs);
    }
    state.counters["times_real_time"] =
        benchmark::Counter(static_cast<double>(kMinuteMs) / 1000.0, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(VirtualMinuteOfPolling)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrane
