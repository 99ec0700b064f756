#pragma once

#include <string>
#include <string_view>

#include "platform/system_services.h"

namespace kestrane {

/// The platform's store of registered drivers for one kind of device, "Telescope" at creation.
class Profile {
public:
    explicit Profile(ProfileStore& store) : store_(store) {}

    const std::string& DeviceType() const { return deviceType_; }
    void DeviceType(std::string_view type) { deviceType_ = type; }

    void Register(std::string_view driverId, std::string_view description) {
        store_.Register(deviceType_, driverId, description);
    }
    void Unregister(std::string_view driverId) { store_.Unregister(deviceType_, driverId); }
    bool IsRegistered(std::string_view driverId) { return store_.IsRegistered(deviceType_, driverId); }

private:
    ProfileStore& store_;
    std::string deviceType_ = "Telescope";
};

}  // namespace kestrane
