#include "platform/posix/posix_serial_ports.h"

#include "platform/posix/posix_serial_port.h"

namespace kestrane {

PosixSerialPorts::PosixSerialPorts(Folders& folders) : folders_(folders) {}

std::unique_ptr<SerialPort> PosixSerialPorts::CreatePort() {
    return std::make_unique<PosixSerialPort>(folders_.CommonAppData() / "Kestrane" / "Ports");
}

}  // namespace kestrane
