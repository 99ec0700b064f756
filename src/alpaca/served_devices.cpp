#include "alpaca/served_devices.h"

namespace kestrane::alpaca {

std::unique_ptr<DeviceObject> DriverDevices::Create(DeviceKind kind) {
    if (kind == DeviceKind::Focuser) {
        return std::make_unique<ServedFocuser>(driver_.CreateFocuser());
    }
    auto telescope = std::make_unique<ServedTelescope>(driver_.CreateTelescope());
    // Every count of the driver assumes that its own instance is among the objects.
    driver_.InternalInstance();
    return telescope;
}

}  // namespace kestrane::alpaca
