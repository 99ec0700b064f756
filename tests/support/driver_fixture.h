#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "kernel/driver.h"
#include "simulator/mount_simulator.h"
#include "support/virtual_platform.h"

namespace kestrane {

/// The quiet normal world of a driver test: virtual time, a healthy mount on COM1 that stands unparked and tracks, a
/// driver that was started by a client. Each test changes one thing.
class DriverFixture : public testing::Test {
protected:
    struct LogLine {
        std::string origin;
        int level = 0;
        std::string message;
    };

    DriverFixture() { BuildMount("VKC4-P02-08"); }

    void TearDown() override {
        if (!driver) {
            return;
        }
        for (const SwallowedError& error : driver->ledger.Entries()) {
            EXPECT_TRUE(announced_.contains(error.procedure) || announced_.contains("*"))
                << error.procedure << " swallowed at line " << error.line << ": " << error.message;
        }
    }

    /// Failures that this test's procedure is meant to swallow; "*" for all.
    void ExpectSwallow(const std::string& procedure) { announced_.insert(procedure); }

    /// Puts another mount on COM1.
    void BuildMount(const std::string& firmware) {
        MountSimulatorOptions options;
        options.firmware = firmware;
        options.parkedAtPowerOn = false;
        BuildMount(options);
    }
    void BuildMount(const MountSimulatorOptions& options) {
        mount = std::make_unique<MountSimulator>(machine.clock, options);
        machine.ConnectMount(1, *mount);
    }

    /// Writes settings as an earlier process would have left them.
    void Seed(const std::vector<std::pair<std::string, std::string>>& settings) {
        LogState logState;
        Log quietLog(logState, machine.clock);
        SwallowLedger ledger;
        Persist persist(PersistNeeds{logState, quietLog, machine.clock, machine.folders, machine.messageBoxes, ledger});
        for (const auto& [key, value] : settings) {
            persist.WriteIniValue(key, value);
        }
    }

    /// Starts the process, as a client's request does, with its log lines kept in `log`.
    Driver& Start() {
        Seed({{"chkEnableDebugLog", "1"}});
        driver = Main(machine.Services(), true);
        driver->log.SetListener([this](std::string_view origin, int level, std::string_view message) {
            log.push_back({std::string(origin), level, std::string(message)});
        });
        return *driver;
    }
    /// Ends the process and starts it anew on the same machine.
    Driver& Restart() {
        driver.reset();
        return Start();
    }

    /// A telescope client that is connected.
    TelescopeObject ConnectedTelescope() {
        if (!driver) {
            Start();
        }
        TelescopeObject telescope = driver->CreateTelescope();
        telescope->Connected(true);
        return telescope;
    }

    bool Logged(const std::string& part) const {
        for (const LogLine& line : log) {
            if (line.message.find(part) != std::string::npos) {
                return true;
            }
        }
        return false;
    }
    int TimesLogged(const std::string& part) const {
        int times = 0;
        for (const LogLine& line : log) {
            times += line.message.find(part) != std::string::npos ? 1 : 0;
        }
        return times;
    }
    /// How often the mount got a command so far.
    int TimesSent(const std::string& command) const {
        int times = 0;
        for (const std::string& sent : mount->Commands()) {
            times += sent == command ? 1 : 0;
        }
        return times;
    }

    /// The number of the error that `call` raises; 0 when it raises none.
    template <typename Call>
    static std::uint32_t ErrorOf(Call&& call) {
        try {
            std::forward<Call>(call)();
            return 0;
        } catch (const DriverError& error) {
            return error.Number();
        }
    }

    VirtualPlatform machine;
    std::unique_ptr<MountSimulator> mount;
    std::vector<LogLine> log;
    std::unique_ptr<Driver> driver;

private:
    std::set<std::string> announced_;
};

}  // namespace kestrane
