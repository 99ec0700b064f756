#include "platform/posix/posix_serial_ports.h"

#include <utility>

#include "platform/posix/posix_serial_port.h"

namespace kestrane {

PosixSerialPorts::PosixSerialPorts(Folders& folders, std::filesystem::path deviceFolder)
    : folders_(folders), deviceFolder_(std::move(deviceFolder)) {}

SerialPortList PosixSerialPorts::ListPorts() {
    return PortLinks(LinkFolder(), deviceFolder_).List();
}

std::unique_ptr<SerialPort> PosixSerialPorts::CreatePort() {
    return std::make_unique<PosixSerialPort>(LinkFolder());
}

std::filesystem::path PosixSerialPorts::LinkFolder() {
    return folders_.CommonAppData() / "Kestrane" / "Ports";
}

}  // namespace kestrane
