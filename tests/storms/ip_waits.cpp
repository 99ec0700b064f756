#include "storms/ip_waits.h"

#include <algorithm>
#include <memory>

#include "kernel/driver.h"
#include "support/seed_settings.h"
#include "support/virtual_platform.h"

namespace kestrane {
namespace {

constexpr std::int64_t kFirstPictureMs = 20'000;
constexpr std::int64_t kLongestFaultMs = 120'000;
constexpr int kMoments = 60;
constexpr std::int64_t kBetweenMomentsMs = 1'237;  // no multiple of anything that the driver does by the clock

/// A driver whose mount has a network adapter.
class IpWorld {
public:
    IpWorld() {
        SeedSettings(machine, {{"chkIPAddress", "1"}, {"txtIpAddress", "mount.example"}});
        machine.http.Serve([this](const HttpRequest& request) { return adapter.Answer(request); });
    }
    ~IpWorld() {
        client = {};
        driver.reset();
        machine.http.StopServing();
    }
    IpWorld(const IpWorld&) = delete;
    IpWorld& operator=(const IpWorld&) = delete;

    bool Connect() {
        driver = Main(machine.Services(), true);
        client = driver->CreateTelescope();
        try {
            client->Connected(true);
            return true;
        } catch (const DriverError&) {
            return false;
        }
    }
    std::int64_t Now() const { return machine.clock.Elapsed(); }
    /// How long a call of this kind waits that comes a while from now.
    std::int64_t WaitOf(CallKind kind, const std::function<void()>& call) {
        const std::int64_t askedAt = Now() + kBetweenMomentsMs;
        std::int64_t ranAt = askedAt;
        machine.pump.PostAt(askedAt, kind, [&] {
            ranAt = Now();
            try {
                call();
            } catch (const DriverError&) {  // a driver without a mount says so; only the time counts here
            }
        });
        machine.AdvanceTime(2 * kBetweenMomentsMs);
        while (ranAt == askedAt && Now() - askedAt < kBetweenMomentsMs) {
            machine.AdvanceTime(kBetweenMomentsMs);
        }
        return ranAt - askedAt;
    }

    VirtualPlatform machine;
    MountSimulator mount{machine.clock, [] {
                             MountSimulatorOptions options;
                             options.parkedAtPowerOn = false;
                             return options;
                         }()};
    Chance noChance{1, 0.0};
    StormyAdapter adapter{machine.clock, mount, noChance};
    std::unique_ptr<Driver> driver;
    TelescopeObject client;
};

}  // namespace

IpWaits MeasureIpWaits(AdapterFault fault) {
    IpWaits waits;
    {
        IpWorld world;
        world.Connect();
        world.machine.AdvanceTime(kFirstPictureMs);
        world.adapter.Begin(fault, 4 * kLongestFaultMs);
        for (int moment = 0; moment < kMoments; ++moment) {
            const auto stop = [&] { world.client->AbortSlew(); };
            const auto read = [&] { world.client->RightAscension(); };
            waits.stopMs = std::max(waits.stopMs, world.WaitOf(CallKind::Stop, stop));
            waits.readMs = std::max(waits.readMs, world.WaitOf(CallKind::Read, read));
        }
    }
    IpWorld world;
    world.adapter.Begin(fault, 4 * kLongestFaultMs);
    const std::int64_t begin = world.Now();
    waits.connects = world.Connect();
    waits.connectMs = world.Now() - begin;
    return waits;
}

}  // namespace kestrane
