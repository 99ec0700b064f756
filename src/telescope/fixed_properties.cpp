#include "kernel/base/application_info.h"
#include "kernel/base/text.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr int kGermanPolar = 2;
constexpr int kLocalTopocentric = 1;
constexpr int kInterfaceVersion = 2;

}  // namespace

int Telescope::AlignmentMode() {
    return LogGet("AlignmentMode", kGermanPolar);
}
bool Telescope::AtHome() {
    return LogGet("AtHome", false);
}
int Telescope::EquatorialSystem() {
    return LogGet("EquatorialSystem", kLocalTopocentric);
}
int Telescope::InterfaceVersion() {
    return LogGet("InterfaceVersion", kInterfaceVersion);
}

std::string Telescope::Name() {
    const std::string name = "KestraneV2";
    LogGetText("Name", name);
    return name;
}

std::string Telescope::Description() {
    const std::string description = "Kestrane " + std::string(needs_.mount.Name()) + " Mount";
    LogGetText("Description", description);
    return description;
}

std::string Telescope::DriverInfo() {
    const std::string info = application::DriverInfoText();
    LogGetText("DriverInfo", info);
    return info;
}

std::string Telescope::DriverVersion() {
    const std::string version{application::kDriverVersion};
    LogGetText("DriverVersion", version);
    return version;
}

bool Telescope::CanFindHome() {
    return LogGet("CanFindHome", false);
}
bool Telescope::CanPark() {
    return LogGet("CanPark", true);
}
bool Telescope::CanPulseGuide() {
    return LogGet("CanPulseGuide", true);
}
bool Telescope::CanSetDeclinationRate() {
    return LogGet("CanSetDeclinationRate", state_.g_bControllerTakesRates);
}
bool Telescope::CanSetGuideRates() {
    return LogGet("CanSetGuideRates", true);
}
bool Telescope::CanSetPark() {
    return LogGet("CanSetPark", true);
}
bool Telescope::CanSetPierSide() {
    return LogGet("CanSetPierSide", false);
}
bool Telescope::CanSetRightAscensionRate() {
    return LogGet("CanSetRightAscensionRate", state_.g_bControllerTakesRates);
}
bool Telescope::CanSetTracking() {
    return LogGet("CanSetTracking", true);
}
bool Telescope::CanSlew() {
    return LogGet("CanSlew", true);
}
bool Telescope::CanSlewAltAz() {
    return LogGet("CanSlewAltAz", true);
}
bool Telescope::CanSlewAltAzAsync() {
    return LogGet("CanSlewAltAzAsync", true);
}
bool Telescope::CanSlewAsync() {
    return LogGet("CanSlewAsync", true);
}
bool Telescope::CanSync() {
    return LogGet("CanSync", true);
}
bool Telescope::CanSyncAltAz() {
    return LogGet("CanSyncAltAz", true);
}
bool Telescope::CanUnpark() {
    return LogGet("CanUnpark", true);
}

void Telescope::FindHome() {
    driver_.log.LogMessage("ASCOM", LogLevel::Exception, "FindHome()");
    throw DriverError(ErrorNumber::NotImplemented, "Method FindHome() is not implemented in this driver.");
}

}  // namespace kestrane
