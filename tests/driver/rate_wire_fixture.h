#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "support/driver_fixture.h"
#include "support/simulator_line.h"

namespace kestrane {

/// A line into a simulated mount that keeps all bytes the driver wrote.
class RecordedLine final : public LineEnd {
public:
    explicit RecordedLine(MountSimulator& mount) : line_(mount) {}

    void Write(std::string_view bytes) override {
        written.append(bytes);
        line_.Write(bytes);
    }
    std::string Read(std::size_t maxCount) override { return line_.Read(maxCount); }
    std::optional<std::int32_t> NextByteIn() override { return line_.NextByteIn(); }
    void Opened() override { line_.Opened(); }

    std::string written;

private:
    SimulatorLine line_;
};

/// A mount that tracks, a client, and the bytes that a call of the client puts on the line. A status that is not asked
/// for leaves the driver by itself with what it knows.
class RateWireFixture : public DriverFixture {
protected:
    struct Mount {
        std::string firmware = "VKC4-P02-08";
        bool asksStatus = true;
        bool king = false;
        double latitude = 47.0;
        bool westSide = false;  ///< as the mount has told it
    };

    ~RateWireFixture() override {
        if (line) {
            machine.serialPorts.Disconnect(1);
        }
    }

    void Connect() { Connect(Mount{}); }
    void Connect(const Mount& is) {
        MountSimulatorOptions options;
        options.firmware = is.firmware;
        options.parkedAtPowerOn = false;
        options.latitude = is.latitude;
        BuildMount(options);
        line = std::make_unique<RecordedLine>(*mount);
        machine.serialPorts.Connect(1, *line);
        Seed({{"DontQueryGOS", is.asksStatus ? "0" : "1"},
              {"chkEnableKingRate", is.king ? "1" : "0"},
              {"chkAutoCalibrateOnFirstSlew", "0"},
              {"chkSetSlewRate", "0"}});
        telescope = ConnectedTelescope();
        driver->state.g_bWestSide = is.westSide;
        if (!driver->state.g_bTracking) {
            telescope->Tracking(true);
        }
        log.clear();
        line->written.clear();
    }

    /// The bytes that `call` puts on the line.
    template <typename Call>
    std::string WireOf(Call&& call) {
        line->written.clear();
        std::forward<Call>(call)();
        return line->written;
    }
    std::string MessageOf(const std::function<void()>& call) {
        try {
            call();
            return "no error";
        } catch (const DriverError& error) {
            return error.Message();
        }
    }
    bool LoggedAs(const std::string& origin, int level, const std::string& message) const {
        return std::ranges::any_of(log, [&](const LogLine& entry) {
            return entry.origin == origin && entry.level == level && entry.message == message;
        });
    }
    frmHandBox& HandBox() { return driver->handBox; }

    std::unique_ptr<RecordedLine> line;
    TelescopeObject telescope;
};

}  // namespace kestrane
