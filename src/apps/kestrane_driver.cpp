// The process of the driver: serves client objects on the sockets with which it was started, and ends with the last
// one.

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "alpaca/inherited_sockets.h"
#include "alpaca/object_server.h"
#include "alpaca/served_devices.h"
#include "apps/driver_views.h"
#include "http/limits.h"
#include "http/own_hosts.h"
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

/// Takes the descriptors that the connections of `limits` need, and some more for the driver itself. Where the system
/// permits fewer, fewer connections are allowed: one that finds no descriptor could not even be told so.
void AllowDescriptors(http::Limits& limits) {
    constexpr rlim_t kForTheDriver = 256;
    constexpr rlim_t kFewest = 16;
    const rlim_t others = kForTheDriver + limits.urgentConnections;
    const rlim_t wanted = limits.connections + others;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted) {
        return;
    }
    limit.rlim_cur = std::min(limit.rlim_max, wanted);
    setrlimit(RLIMIT_NOFILE, &limit);
    limits.connections = std::max(limit.rlim_cur, others + kFewest) - others;
}

std::string HostName() {
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

std::string_view TextOf(const char* variable) {
    return variable == nullptr ? std::string_view() : variable;
}

/// In the user's own folders, settings and logs are for the user alone: they say where the telescope stands. Somebody
/// who names a common folder shares it with others, by the rules of the system. Programs that the driver starts keep
/// the rules of its user.
void KeepFilesPrivate(PosixPlatform& platform) {
    namespace fs = std::filesystem;
    if (!TextOf(std::getenv("KESTRANE_COMMON_APPDATA")).empty()) {
        return;
    }
    platform.processes.UmaskOfChildren(::umask(S_IRWXG | S_IRWXO));
    const fs::path folder = platform.folders.CommonAppData() / "Kestrane";
    for (const fs::path& place : {folder, folder / "ASCOM", folder / "ASCOM" / "Logs"}) {
        std::error_code ignored;
        for (fs::directory_iterator file(place, ignored), end; file != end; file.increment(ignored)) {
            if (file->is_regular_file(ignored) && !file->is_symlink(ignored)) {
                fs::permissions(file->path(), fs::perms::owner_read | fs::perms::owner_write, ignored);
            }
        }
    }
}

alpaca::ServerIdentity Identity() {
    alpaca::ServerIdentity identity;
    identity.serverName = application::kTitle;
    identity.version = application::kDriverVersion;
    identity.location = HostName();
    return identity;
}

/// A person who is not at the program that asked wants to hear of it.
void NoteRefused(Driver& driver, std::string_view member, const std::string& why) {
    if (member.starts_with("SlewTo") || member == "Park") {
        driver.sky.NoteRefused(member, why);
    }
}

void Serve(PosixPlatform& platform, Driver& driver, DriverViews& views, const alpaca::ServerSockets& sockets) {
    const alpaca::RouteTable routes(alpaca::TelescopeRoutes(), alpaca::FocuserRoutes());
    alpaca::DriverDevices devices(driver);
    http::Limits limits;
    AllowDescriptors(limits);
    alpaca::ObjectServer objectServer(
        {
            .pump = platform.pump,
            .clock = platform.clock,
            .devices = devices,
            .routes = routes,
            .endProcess =
                [&platform, &views] {
                    views.SayEnd(mirror::EndReason::Clients);
                    platform.processes.EndThisProcess();
                },
            .mayEnd = [&driver](std::int32_t withoutClientsMs) { return driver.MayEnd(withoutClientsMs); },
            .identity = Identity(),
            .deviceIdFile = platform.folders.CommonAppData() / "Kestrane" / "ASCOM" / "DeviceIds.ini",
            .leases =
                alpaca::LeaseTimesFrom(std::getenv("KESTRANE_LEASE_IDLE_S"), std::getenv("KESTRANE_LEASE_CONNECTED_S")),
            .limits = limits,
            .hostNames = http::HostNames(TextOf(std::getenv("KESTRANE_ALLOW_HOSTS"))),
            .viewIsOpen = [&views] { return views.AnyKeepsDriver(); },
            .refused = [&driver](std::string_view member, const std::string& why) { NoteRefused(driver, member, why); },
            .branches = views.Branches(),
        },
        sockets);
    driver.clientsWindow.SetList(&objectServer.Clients());
    platform.pump.Run();
    driver.clientsWindow.SetList(nullptr);
    views.SayGoodbye();
}

int RunProgram(bool hasArguments) {
    PosixPlatform platform(OnFault);
    PosixEndSignals endSignals;  // before the first thread
    const std::optional<alpaca::ServerSockets> sockets =
        hasArguments ? std::nullopt : alpaca::TakeInheritedSockets(std::getenv, getpid());
    if (sockets) {
        KeepFilesPrivate(platform);
    }
    const std::unique_ptr<Driver> driver = Main(platform.Services(), sockets.has_value());
    if (!driver) {
        return hasArguments ? kExitUsage : kExitRefused;
    }
    DriverViews views(platform, *driver);
    // A stop is the only call that gets into everything that waits, but not into the read of an exchange. Nothing of it
    // runs once `Serve` is over.
    endSignals.Watch([&platform, &driver, &views] {
        platform.EndReads();
        platform.pump.Post(CallKind::Stop, [&driver, &views] {
            views.SayEnd(mirror::EndReason::Stopped);
            driver->EndOnRequest();
        });
    });
    Serve(platform, *driver, views, *sockets);
    return kExitGood;
}

}  // namespace
}  // namespace kestrane

int main(int argc, char**) {
    std::signal(SIGPIPE, SIG_IGN);  // a message for a reader that has gone ends nobody
    return kestrane::RunProgram(argc > 1);
}
