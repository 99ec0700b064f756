#pragma once

#include <memory>

#include "focuser/focuser.h"
#include "telescope/telescope.h"

namespace kestrane {

/// Ends a device object as its class asks, then deletes it.
struct EndsDeviceObject {
    template <typename Device>
    void operator()(Device* device) const {
        device->Class_Terminate();
        delete device;
    }
};

/// A client's object; destroying the pointer releases the object.
using TelescopeObject = std::unique_ptr<Telescope, EndsDeviceObject>;
using FocuserObject = std::unique_ptr<Focuser, EndsDeviceObject>;

}  // namespace kestrane
