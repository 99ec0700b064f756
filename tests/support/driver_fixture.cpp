#include "support/driver_fixture.h"

#include <algorithm>

namespace kestrane {

DriverFixture::DriverFixture() {
    BuildMount("VKC4-P02-08");
}

void DriverFixture::TearDown() {
    if (!driver) {
        return;
    }
    for (const SwallowedError& error : driver->ledger.Entries()) {
        EXPECT_TRUE(announced_.contains(error.procedure) || announced_.contains("*"))
            << error.procedure << " swallowed at line " << error.line << ": " << error.message;
    }
}

void DriverFixture::BuildMount(const std::string& firmware) {
    MountSimulatorOptions options;
    options.firmware = firmware;
    options.parkedAtPowerOn = false;
    BuildMount(options);
}

void DriverFixture::BuildMount(const MountSimulatorOptions& options) {
    mount = std::make_unique<MountSimulator>(machine.clock, options);
    machine.ConnectMount(1, *mount);
}

Driver& DriverFixture::Start() {
    Seed({{"chkEnableDebugLog", "1"}});
    driver = Main(machine.Services(), true);
    driver->log.SetListener([this](std::string_view origin, int level, std::string_view message) {
        log.push_back({std::string(origin), level, std::string(message)});
    });
    return *driver;
}

Driver& DriverFixture::Restart() {
    driver.reset();
    return Start();
}

TelescopeObject DriverFixture::ConnectedTelescope() {
    if (!driver) {
        Start();
    }
    TelescopeObject telescope = driver->CreateTelescope();
    telescope->Connected(true);
    return telescope;
}

int DriverFixture::TimesLogged(std::string_view part) const {
    return static_cast<int>(
        std::ranges::count_if(log, [&](const LogLine& line) { return line.message.find(part) != std::string::npos; }));
}

bool DriverFixture::LoggedAs(std::string_view origin, int level, std::string_view message) const {
    return TimesLoggedAs(origin, level, message) > 0;
}

int DriverFixture::TimesLoggedAs(std::string_view origin, int level, std::string_view message) const {
    return static_cast<int>(std::ranges::count_if(log, [&](const LogLine& line) {
        return line.origin == origin && line.level == level && line.message == message;
    }));
}

int DriverFixture::TimesSent(std::string_view command) const {
    return static_cast<int>(std::ranges::count(mount->Commands(), command));
}

std::vector<std::string> DriverFixture::SentBy(const std::function<void()>& call) {
    const std::size_t before = mount->Commands().size();
    call();
    return {mount->Commands().begin() + static_cast<std::ptrdiff_t>(before), mount->Commands().end()};
}

void DriverFixture::PlayOnOpenLink(WireTranscript& transcript) {
    machine.serialPorts.Connect(1, transcript.Line());
    driver->link->Port(1);
    driver->link->ReceiveTimeoutMS(500);
    driver->link->Connected(true);
    driver->log.SetListener(transcript.LogListener());
    transcript.Play();
    driver->log.SetListener({});
    driver->link->Connected(false);
    machine.serialPorts.Disconnect(1);
}

std::uint32_t DriverFixture::ErrorOf(const std::function<void()>& call) {
    try {
        call();
        return 0;
    } catch (const DriverError& error) {
        return error.Number();
    }
}

}  // namespace kestrane
