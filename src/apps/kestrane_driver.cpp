// The process of the driver: serves client objects on the sockets with which it was started, and ends with the last
// one.

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

#include "alpaca/inherited_sockets.h"
#include "alpaca/object_server.h"
#include "alpaca/served_devices.h"
#include "http/limits.h"
#include "kernel/base/application_info.h"
#include "kernel/base/errors.h"
#include "kernel/driver.h"
#include "platform/posix/posix_end_signals.h"
#include "platform/posix/posix_platform.h"

namespace kestrane {
namespace {

constexpr int kExitGood = 0;
constexpr int kExitRefused = 1;
constexpr int kExitUsage = 2;

/// A failure of the outside world for which no client waits is reported, and the driver goes on. A bug must not go on
/// with a state that is only half changed.
void OnFault(const std::exception_ptr& fault) {
    try {
        std::rethrow_exception(fault);
    } catch (const DriverError& error) {
        std::fprintf(stderr, "kestrane-driver: %s\n", error.what());
        return;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kestrane-driver: %s\n", error.what());
    }
    std::abort();
}

/// The descriptors that so many connections need, and some more for the driver itself.
void AllowDescriptors(std::size_t connections) {
    rlimit limit{};
    const rlim_t wanted = connections + 256;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < wanted) {
        limit.rlim_cur = limit.rlim_max < wanted ? limit.rlim_max : wanted;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

std::string HostName() {
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

alpaca::ServerIdentity Identity() {
    alpaca::ServerIdentity identity;
    identity.serverName = application::kTitle;
    identity.version = application::kDriverVersion;
    identity.location = HostName();
    return identity;
}

void Serve(PosixPlatform& platform, Driver& driver, const alpaca::ServerSockets& sockets) {
    const alpaca::RouteTable routes(alpaca::TelescopeRoutes(), alpaca::FocuserRoutes());
    alpaca::DriverDevices devices(driver);
    const http::Limits limits;
    AllowDescriptors(limits.connections);
    const alpaca::ObjectServer objectServer(
        {
            .pump = platform.pump,
            .clock = platform.clock,
            .devices = devices,
            .routes = routes,
            .endProcess = [&platform] { platform.processes.EndThisProcess(); },
            .identity = Identity(),
            .deviceIdFile = platform.folders.CommonAppData() / "Kestrane" / "ASCOM" / "DeviceIds.ini",
            .leases =
                alpaca::LeaseTimesFrom(std::getenv("KESTRANE_LEASE_IDLE_S"), std::getenv("KESTRANE_LEASE_CONNECTED_S")),
            .limits = limits,
        },
        sockets);
    platform.pump.Run();
}

int RunProgram(bool hasArguments) {
    PosixPlatform platform(OnFault);
    PosixEndSignals endSignals;  // before the first thread
    const std::optional<alpaca::ServerSockets> sockets =
        hasArguments ? std::nullopt : alpaca::TakeInheritedSockets(std::getenv, getpid());
    const std::unique_ptr<Driver> driver = Main(platform.Services(), sockets.has_value());
    if (!driver) {
        return hasArguments ? kExitUsage : kExitRefused;
    }
    // A stop is the only call that gets into everything that waits. Nothing of it runs once `Serve` is over.
    endSignals.Watch(
        [&platform, &driver] { platform.pump.Post(CallKind::Stop, [&driver] { driver->EndOnRequest(); }); });
    Serve(platform, *driver, *sockets);
    return kExitGood;
}

}  // namespace
}  // namespace kestrane

int main(int argc, char**) {
    std::signal(SIGPIPE, SIG_IGN);  // a message for a reader that has gone ends nobody
    return kestrane::RunProgram(argc > 1);
}
