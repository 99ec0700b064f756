#pragma once

#include "platform/serial_port.h"
#include "platform/system_services.h"

namespace kestrane {

/// Serial ports by number: port n is the device that the symbolic link "Kestrane/Ports/COMn" in the common data folder
/// names.
class PosixSerialPorts final : public SerialPorts {
public:
    explicit PosixSerialPorts(Folders& folders);

    std::unique_ptr<SerialPort> CreatePort() override;

private:
    Folders& folders_;
};

}  // namespace kestrane
