#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/companion.h"
#include "simulator/http_adapter.h"
#include "support/driver_fixture.h"
#include "support/serve_simulator.h"

namespace kestrane {

/// How the driver reaches the mount.
enum class Road { Serial, Adapter, CompanionPort, CompanionRest };

/// A driver whose mount stands at the end of any road. The companion publishes COM9; the mount itself is on COM1. The
/// line carries nothing that a test does not ask for: no calibration, no slew rate, no clock that is set.
class CompanionRoadTest : public DriverFixture {
public:
    ~CompanionRoadTest() override {
        telescope.reset();
        driver.reset();
        for (const int port : {1, 9}) {
            machine.serialPorts.Disconnect(port);
        }
    }

protected:
    static constexpr std::string_view kAdapter = "192.0.2.7";

    void SeedFor(Road road, const SettingTexts& settings = {}) {
        Seed({{"chkSetSlewRate", "0"}, {"chkAutoCalibrateOnFirstSlew", "0"}, {"chkKeepMountTimeSyncedToPcTime", "0"}});
        if (road == Road::Adapter) {
            Seed({{"chkIPAddress", "1"}, {"txtIpAddress", std::string(kAdapter)}});
            ServeAdapter(machine.http, adapter);
        } else if (road == Road::CompanionRest) {
            Seed({{"chkIPAddress", "1"}, {"chkQuayRestApi", "1"}});
            ServeRest(machine.http, companion);
        } else if (road == Road::CompanionPort) {
            Seed({{"chkQUAY", "1"}});
            machine.applicationSettings.Set("QUAY", "Driver", "COMPort", "COM9 x");
            machine.serialPorts.Connect(9, line_);
        }
        Seed(settings);
    }
    /// A client that is connected by that road, some seconds ago, and tracks.
    void Connect(Road road, const SettingTexts& settings = {}) {
        SeedFor(road, settings);
        telescope = ConnectedTelescope();
        if (!driver->state.g_bTracking) {
            telescope->Tracking(true);
        }
        machine.AdvanceTime(10'000);
        driver->state.g_bRestoreRatePending = false;
        MarkNow();
    }
    void InstallCompanion() {
        machine.registry.SetText("KestraneCommandCenter\\ExeName", "Name", "C:\\Quay\\Quay.exe");
    }

    /// Does it once, right before the companion's port gets a text with this part.
    void Before(std::string part, std::function<void()> action) {
        line_.onWrite = [this, part = std::move(part), action = std::move(action)](std::string_view bytes) {
            if (bytes.find(part) != std::string_view::npos) {
                const auto once = action;  // it may wait for another text itself
                line_.onWrite = {};
                once();
            }
        };
    }

    /// From here on `Told` counts.
    void MarkNow() { mark_ = companion.Commands().size(); }
    /// What the companion got, without numbers, a blank between two.
    std::string Told() const {
        std::string told;
        for (std::size_t i = mark_; i < companion.Commands().size(); ++i) {
            told += (told.empty() ? "" : " ") + Unwrapped(companion.Commands()[i]);
        }
        return told;
    }
    /// The same of commands that begin so.
    int TimesTold(std::string_view beginning) const {
        int times = 0;
        for (std::size_t i = mark_; i < companion.Commands().size(); ++i) {
            times += Unwrapped(companion.Commands()[i]).starts_with(beginning) ? 1 : 0;
        }
        return times;
    }
    bool WaitForParkEnd() {
        for (int i = 0; i < 1200 && driver->state.g_bParking; ++i) {
            machine.AdvanceTime(250);
        }
        return !driver->state.g_bParking;
    }
    bool WaitForSlewEnd() {
        for (int i = 0; i < 480 && telescope->Slewing(); ++i) {
            machine.AdvanceTime(250);
        }
        return !telescope->Slewing();
    }

    SimulatedCompanion companion{machine.clock, *mount};
    HttpAdapter adapter{machine.clock, *mount};
    TelescopeObject telescope;

private:
    static std::string Unwrapped(const std::string& command) {
        constexpr std::string_view kHead = "QUAY,";
        return command.starts_with(kHead) ? command.substr(command.find(',', kHead.size()) + 1) : command;
    }

    CompanionLine line_{companion};
    std::size_t mark_ = 0;
};

}  // namespace kestrane
