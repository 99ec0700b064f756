#include "driver/rate_wire_fixture.h"

namespace kestrane {

RateWireFixture::~RateWireFixture() {
    if (line) {
        machine.serialPorts.Disconnect(1);
    }
}

void RateWireFixture::Connect(const Mount& is) {
    MountSimulatorOptions options;
    options.firmware = is.firmware;
    options.parkedAtPowerOn = false;
    options.latitude = is.latitude;
    BuildMount(options);
    line = std::make_unique<SimulatorLine>(*mount);
    line->onWrite = [this](std::string_view bytes) { written_ += bytes; };
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
}

std::string RateWireFixture::WireOf(const std::function<void()>& call) {
    written_.clear();
    call();
    return written_;
}

std::string RateWireFixture::MessageOf(const std::function<void()>& call) {
    try {
        call();
        return "no error";
    } catch (const DriverError& error) {
        return error.Message();
    }
}

}  // namespace kestrane
