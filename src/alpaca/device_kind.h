#pragma once

#include <array>
#include <string_view>

namespace kestrane::alpaca {

enum class DeviceKind { Telescope, Focuser };

inline constexpr std::array kDeviceKinds{DeviceKind::Telescope, DeviceKind::Focuser};

/// "telescope" or "focuser", as used in paths.
constexpr std::string_view PathName(DeviceKind kind) {
    return kind == DeviceKind::Telescope ? "telescope" : "focuser";
}

}  // namespace kestrane::alpaca
