#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "alpaca/client_objects.h"
#include "alpaca/routes.h"
#include "http/request.h"

/// A device request taken apart and checked. Pure functions.
namespace kestrane::alpaca {

/// A request for a member of a device that passed every check.
struct DeviceRequest {
    const Route* route = nullptr;
    ClientKey key;
    std::uint32_t clientTransaction = 0;  ///< 0: none
    Arguments arguments;
    /// Equal for repeats of a PUT; empty when a repeat cannot be recognised, or must run again.
    std::string putIdentity;
};

/// A request that does not reach the driver; the message is the line for its client.
struct RequestRefused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Whether a path is meant for a device at all.
bool IsDevicePath(std::string_view path);

/// Whether a request, by its method and its target as they came, is for a member that stops motion.
bool IsStop(std::string_view method, std::string_view target, const RouteTable& routes);

/// Raises `RequestRefused` for an unknown device or member and for parameters that are missing or bad.
DeviceRequest ReadDeviceRequest(const http::Request& request, const RouteTable& routes);

}  // namespace kestrane::alpaca
