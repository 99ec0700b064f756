#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "simulator/mount_simulator.h"
#include "support/virtual_serial_ports.h"

namespace kestrane {

/// A serial line that goes directly to a simulated mount, which outlives it. What the mount sent while the port was not
/// open is lost.
class SimulatorLine final : public LineEnd {
public:
    explicit SimulatorLine(MountSimulator& mount) : mount_(mount) {}

    std::function<void(std::string_view bytes)> onWrite;  ///< called before the mount gets the bytes

    void Write(std::string_view bytes) override {
        if (onWrite) {
            onWrite(bytes);
        }
        mount_.Write(bytes);
    }
    std::string Read(std::size_t maxCount) override { return mount_.Read(maxCount); }
    std::optional<std::int32_t> NextByteIn() override { return mount_.NextByteIn(); }
    void Opened() override { mount_.Read(std::numeric_limits<std::size_t>::max()); }

private:
    MountSimulator& mount_;
};

}  // namespace kestrane
