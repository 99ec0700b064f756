#include "alpaca/management.h"

#include <array>
#include <cassert>

#include "kernel/base/json_text.h"

namespace kestrane::alpaca {
namespace {

struct ConfiguredDevice {
    DeviceKind kind;
    std::string_view type;
    std::string_view name;
};

constexpr std::array kDevices{
    ConfiguredDevice{DeviceKind::Telescope, "Telescope", "Kestrane V2 Telescope"},
    ConfiguredDevice{DeviceKind::Focuser, "Focuser", "Kestrane V2 Focuser"},
};

}  // namespace

Management::Management(ServerIdentity identity, std::filesystem::path deviceIdFile)
    : identity_(std::move(identity)), ids_(std::move(deviceIdFile)) {
    assert(!identity_.serverName.empty() && !identity_.manufacturer.empty() && !identity_.version.empty());
    if (identity_.location.empty()) {
        identity_.location = "This computer";
    }
}

std::optional<std::string> Management::ValueOf(std::string_view path) {
    if (path == "/management/apiversions") {
        return "[1]";
    }
    if (path == "/management/v1/description") {
        return Description();
    }
    if (path == "/management/v1/configureddevices") {
        return ConfiguredDevices();
    }
    return std::nullopt;
}

std::string Management::Description() const {
    return "{\"ServerName\":" + JsonOf(identity_.serverName) + ",\"Manufacturer\":" + JsonOf(identity_.manufacturer) +
           ",\"ManufacturerVersion\":" + JsonOf(identity_.version) + ",\"Location\":" + JsonOf(identity_.location) +
           "}";
}

std::string Management::ConfiguredDevices() {
    return JsonList(kDevices, [this](const ConfiguredDevice& device) {
        return "{\"DeviceName\":" + JsonOf(device.name) + ",\"DeviceType\":" + JsonOf(device.type) +
               ",\"DeviceNumber\":0,\"UniqueID\":" + JsonOf(ids_.IdOf(device.kind)) + "}";
    });
}

}  // namespace kestrane::alpaca
