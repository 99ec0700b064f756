#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "alpaca/device_ids.h"

namespace kestrane::alpaca {

/// What the server reports about itself; no field may be blank.
struct ServerIdentity {
    std::string serverName = "Kestrane V2";
    std::string manufacturer = "Kestrane";
    std::string version;
    std::string location;
};

/// What is below /management. It needs no device object. I/O thread only.
class Management {
public:
    Management(ServerIdentity identity, std::filesystem::path deviceIdFile);

    /// The JSON value of a /management path; nothing when there is no such path.
    std::optional<std::string> ValueOf(std::string_view path);

private:
    std::string Description() const;
    std::string ConfiguredDevices();

    ServerIdentity identity_;
    DeviceIds ids_;
};

}  // namespace kestrane::alpaca
