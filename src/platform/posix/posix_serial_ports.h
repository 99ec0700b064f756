#pragma once

#include <filesystem>
#include <functional>

#include "platform/posix/port_links.h"
#include "platform/serial_port.h"
#include "platform/system_services.h"

namespace kestrane {

/// Serial ports by number: port n is the device that the symbolic link "Kestrane/Ports/COMn" in the common data folder
/// names. `PortLinks` makes the links of the devices that have none.
class PosixSerialPorts final : public SerialPorts {
public:
    /// `letReadsIn`: see `PosixSerialPort`.
    explicit PosixSerialPorts(Folders& folders, std::filesystem::path deviceFolder = PortLinks::kSystemDevices,
                              std::function<bool()> letReadsIn = {});

    SerialPortList ListPorts() override;
    std::string Describe(std::int32_t port) override;
    std::string WhyNotOpened(std::int32_t port, int error) override;
    std::unique_ptr<SerialPort> CreatePort() override;

private:
    std::filesystem::path LinkFolder();

    Folders& folders_;
    const std::filesystem::path deviceFolder_;
    const std::function<bool()> letReadsIn_;
};

}  // namespace kestrane
